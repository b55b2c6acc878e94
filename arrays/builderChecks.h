// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pistonfield {

/// @throws InvalidRequest unless it is a length above 0
void requireLength(const std::string& name, double length);

/// @throws InvalidRequest unless it is a length, or 0
void requireNoLess(const std::string& name, double length);

/// @throws InvalidRequest unless there are 1 to `Array::mostElements`
void requireCount(const std::string& name, std::int64_t count);

/// A way to say how far elements are apart.
struct Spacing {
    std::string name;
    bool isGiven;
};

/// @param needed whether one way must be given
/// @throws InvalidRequest of the first one where more than one is given, or none that is needed
void requireOne(const std::vector<Spacing>& spacings, bool needed);

}  // namespace pistonfield
