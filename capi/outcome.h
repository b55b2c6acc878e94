// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>
#include <string>

#include "capi/pistonfield.h"

namespace pistonfield {

/// An argument of a call is not as it has to be: the text is "<argument>: <reason>".
class InvalidArgument : public std::runtime_error {
  public:
    InvalidArgument(const std::string& argument, const std::string& reason)
        : std::runtime_error(argument + ": " + reason) {}
};

/// @throws InvalidArgument where a pointer is null
inline void requireGiven(const void* pointer, const char* argument) {
    if (pointer == nullptr) throw InvalidArgument(argument, "is null");
}

/// What a pointer points to.
/// @throws InvalidArgument where it is null
template <class T>
T& required(T* pointer, const char* argument) {
    requireGiven(pointer, argument);
    return *pointer;
}

/// What the exception that is being handled is to a caller.
/// @param message or null
pistonfield_status failureOf(pistonfield_message* message) noexcept;

/// Does a work whose exceptions become statuses.
/// @param message or null
template <class Work>
pistonfield_status outcomeOf(pistonfield_message* message, const Work& work) noexcept {
    if (message != nullptr) message->text[0] = '\0';
    try {
        work();
        return PISTONFIELD_SUCCESS;
    } catch (...) {
        return failureOf(message);
    }
}

}  // namespace pistonfield
