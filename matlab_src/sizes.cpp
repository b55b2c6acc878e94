// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/sizes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

template <class Integer>
Integer truncateTo(double value) noexcept {
    using Limits = std::numeric_limits<Integer>;
    // The first value beyond the range: a power of two, exact in double.
    const double beyond = std::ldexp(1.0, Limits::digits);
    if (std::isnan(value)) return 0;
    if (value >= beyond) return Limits::max();
    if (value <= -beyond) return Limits::min();
    return static_cast<Integer>(value);
}

}  // namespace

std::int32_t truncateToInt32(double value) noexcept { return truncateTo<std::int32_t>(value); }

std::size_t truncateToDimension(double value) noexcept {
    return static_cast<std::size_t>(std::max(std::ptrdiff_t{0}, truncateTo<std::ptrdiff_t>(value)));
}

std::int32_t wrappedProduct(std::int32_t a, std::int32_t b, std::int32_t c) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b) *
                                     static_cast<std::uint32_t>(c));
}
