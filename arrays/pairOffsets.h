// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

namespace pistonfield {

/// Two faces, one as it is seen from the other one.
struct PairOffset {
    std::size_t one, other;  ///< their shapes
    std::int64_t x, y;       ///< in steps

    bool operator==(const PairOffset&) const = default;
};

struct HashOfPairOffset {
    std::size_t operator()(const PairOffset& offset) const noexcept {
        // Odd factors without a pattern spread numbers that lie next to each other.
        std::uint64_t hash = static_cast<std::uint64_t>(offset.x) * 0x9E3779B97F4A7C15U;
        hash = (hash ^ (hash >> 29U)) + static_cast<std::uint64_t>(offset.y);
        hash *= 0xBF58476D1CE4E5B9U;
        hash = (hash ^ (hash >> 32U)) + offset.one * 0x94D049BB133111EBU + offset.other;
        return hash * 0x9E3779B97F4A7C15U >> 7U;
    }
};

/// Offsets that differ by no more than this part of the array's size are the same.
constexpr double offsetRounding = 1e-12;

}  // namespace pistonfield
