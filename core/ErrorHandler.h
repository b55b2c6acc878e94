// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <string>

/// The one way in which every room reports a failed condition. The host environment decides what a
/// failure means by installing a handler; code that reports does not expect `fail` to return.
///
/// The installed handler is process-wide and not locked: install and report from one thread.
class ErrorHandler {
  public:
    ErrorHandler() = default;
    ErrorHandler(const ErrorHandler&) = delete;
    ErrorHandler& operator=(const ErrorHandler&) = delete;
    virtual ~ErrorHandler() = default;

    /// Reports a failure.
    /// @param condition source text of the failed condition, or a complete message
    /// @param line      source line of the check
    /// @param file      source file of the check
    virtual void fail(const char* condition, int line, const char* file) = 0;

    /// The installed handler, or the static default one while none is installed. Never null.
    static ErrorHandler* getErrorHandler() noexcept;

    /// Deletes the installed handler and installs `handler`, a heap object that belongs to the
    /// handler system from now on. Null installs a new `DefaultErrorHandler` (or, with memory
    /// exhausted, none, which is served by the static one and acts alike).
    static void setErrorHandler(ErrorHandler* handler) noexcept;

  private:
    /// Deletes the last handler when the program ends or the module is unloaded.
    static std::unique_ptr<ErrorHandler> theErrorHandler;
};

/// Prints the report on standard error and aborts the process.
class DefaultErrorHandler : public ErrorHandler {
  public:
    constexpr DefaultErrorHandler() = default;
    void fail(const char* condition, int line, const char* file) override;

    /// Served while no handler is installed; never deleted by the handler operations.
    static DefaultErrorHandler theDefaultErrorHandler;
};

/// The report that every handler delivers: two lines and an empty one.
std::string failureReport(const char* condition, int line, const char* file);
