// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>

#include "capi/outcome.h"
#include "capi/pistonfield.h"

namespace pistonfield {

/// A struct grows at its end: the sizes that it has had.
using Sizes = std::span<const std::size_t>;

/// @param hint what to do about it
/// @throws InvalidArgument unless a struct of that size is one that this library knows
inline void requireKnown(std::size_t size, Sizes known, const char* argument,
                         const std::string& hint = {}) {
    if (std::find(known.begin(), known.end(), size) == known.end())
        throw InvalidArgument(argument, "a size of " + std::to_string(size) +
                                            " bytes is not that of interface 1 to " +
                                            std::to_string(PISTONFIELD_INTERFACE) + hint);
}

/// A caller's struct with all members that this library knows.
template <class T>
T completed(const T* given, Sizes known, const char* argument) {
    const std::size_t size = required(given, argument).size;
    requireKnown(size, known, argument,
                 std::string("; call pistonfield_") + argument + "_init first");
    T all{};
    std::memcpy(&all, given, size);
    return all;
}

/// Fills as much of a caller's struct as the caller knows.
template <class T>
void initialise(T* given, std::size_t size, T defaults, Sizes known, const char* argument) {
    requireGiven(given, argument);
    requireKnown(size, known, argument);
    defaults.size = size;
    std::memcpy(given, &defaults, size);
}

}  // namespace pistonfield
