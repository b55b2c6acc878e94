// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/ErrorHandler.h"

#include <cstdlib>
#include <iostream>
#include <new>

std::unique_ptr<ErrorHandler> ErrorHandler::theErrorHandler;
DefaultErrorHandler DefaultErrorHandler::theDefaultErrorHandler;

ErrorHandler* ErrorHandler::getErrorHandler() noexcept {
    return theErrorHandler ? theErrorHandler.get() : &DefaultErrorHandler::theDefaultErrorHandler;
}

void ErrorHandler::setErrorHandler(ErrorHandler* handler) noexcept {
    theErrorHandler.reset();
    theErrorHandler.reset(handler ? handler : new (std::nothrow) DefaultErrorHandler);
}

void DefaultErrorHandler::fail(const char* condition, int line, const char* file) {
    std::cerr << failureReport(condition, line, file) << std::flush;
    std::abort();
}

std::string failureReport(const char* condition, int line, const char* file) {
    std::string report = "ERROR: assertion failure in ";
    report += file;
    report += " at line ";
    report += std::to_string(line);
    report += "\n       condition failed: (";
    report += condition;
    report += ").\n\n";
    return report;
}
