// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/numbers.h"

#include <array>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace run::numbers {

namespace {

/// @param kind  what the text has to be, as "no number"
/// @param range what the number has to lie in
template <class Number>
Number read(std::string_view text, const char* kind, const char* range) {
    const auto refuse = [&](const char* reason) {
        throw std::runtime_error("'" + std::string(text) + "' is " + reason);
    };
    std::string_view digits = text;
    if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
    Number number{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error == std::errc::invalid_argument || stop != end) refuse(kind);
    if (error != std::errc{}) refuse(range);
    return number;
}

}  // namespace

double real(std::string_view text) {
    return read<double>(text, "no number", "beyond the range of double precision");
}

std::int64_t whole(std::string_view text) {
    return read<std::int64_t>(text, "no whole number", "beyond the range of 64 bits");
}

std::string textOf(double number) {
    std::array<char, 32> digits{};
    const char* end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    return {static_cast<const char*>(digits.begin()), end};
}

}  // namespace run::numbers
