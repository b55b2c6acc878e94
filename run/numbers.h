// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Numbers in texts, whether these are options or come from files. A whole text has to be one
/// number in decimal digits, maybe with a sign; where it is none, std::runtime_error says so and
/// repeats the text.
namespace run::numbers {

/// The double that is nearest to a number such as "4188.79", "-.5" or "5e-3".
double real(std::string_view text);

/// A whole number. "010" is 10.
std::int64_t whole(std::string_view text);

/// The shortest text that `real` reads as this number.
std::string textOf(double number);

}  // namespace run::numbers
