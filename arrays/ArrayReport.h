// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// What can be seen of an array's elements. Lengths are in the array's unit. Faces with outlines
/// are taken for polygons, with 128 chords in a turn of an arc, which are off by up to 3e-4 of its
/// radius; but for the area, which is exact.
struct ArrayReport {
    /// Elements by their numbers from 0, the lesser one first.
    using Pair = std::pair<std::size_t, std::size_t>;

    /// A list of pairs ends with so many; the array may have more.
    static constexpr std::size_t mostListed = 1000;

    std::size_t elements = 0;

    /// Elements whose faces intersect, in a plane or across it, in rising order. Those that touch
    /// each other at their rims, to 1e-9 of their sides, do not.
    std::vector<Pair> overlaps;

    /// The least distance between two faces, 0 where some overlap, and whose it is; of one element
    /// there is none.
    std::optional<double> smallestGap;
    Pair closest{};

    /// Elements that face each other, in rising order: each centre lies before the other's face,
    /// the normals are more than a right angle apart, and the ray from one's centre along its
    /// normal meets the other's face. The waves of one would then be scattered by the other, which
    /// the sum of their fields leaves out.
    std::vector<Pair> facing;

    std::array<Pose::Vector, 2> extent{};  ///< the least and the largest x, y, z of all faces
    double area = 0;                       ///< of all faces together
    bool isCoplanar = false;               ///< whether all lie in one plane and face the same way

    /// What part of the outline the elements fill, as seen along their mean normal; the outline is
    /// the convex hull. None where the normals cancel.
    std::optional<double> fillFactor;
};

/// Surveys an array, in a time that grows little faster than the number of elements.
/// @throws InvalidRequest where the elements are none of a `Request`; std::bad_alloc
ArrayReport survey(const std::vector<Element>& elements);

}  // namespace pistonfield
