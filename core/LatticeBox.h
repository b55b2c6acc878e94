// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>

/// The points of a lattice whose coordinates are first[i] .. first[i] + size[i] - 1 along its
/// directions x, y and z. Numbered x fastest, then y, then z.
struct LatticeBox {
    std::array<std::int64_t, 3> first{};
    std::array<std::int64_t, 3> size{};

    /// The number of points; they fit 64 bits in every lattice that there is memory or disk for.
    std::int64_t points() const noexcept { return size[0] * size[1] * size[2]; }

    bool operator==(const LatticeBox&) const = default;
};
