// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

/// A double truncated toward zero to a 32-bit signed integer. NaN becomes 0, and a value out of
/// range the nearest end of the range.
std::int32_t truncateToInt32(double value) noexcept;

/// A double truncated toward zero to an array's dimension. NaN and negative values become 0, and a
/// value out of range the largest signed size, which no array can have.
std::size_t truncateToDimension(double value) noexcept;

/// The product of three sizes in 32-bit arithmetic that wraps around.
std::int32_t wrappedProduct(std::int32_t a, std::int32_t b, std::int32_t c) noexcept;
