// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <memory>
#include <vector>

#include "method/Outline.h"

namespace pistonfield {

/// A flat rectangular piston in the plane z = 0 of its own frame, centred on the origin, in an
/// infinite rigid baffle.
struct RectangularPiston {
    double width = 0;   ///< side along x
    double height = 0;  ///< side along y

    bool operator==(const RectangularPiston&) const = default;
};

/// Where a piston's frame stands in another one: a point at (x, y, z) of the piston's is at
/// centre + x*alongWidth + y*alongHeight + z*normal there.
struct Pose {
    using Vector = std::array<double, 3>;

    Vector centre{};
    Vector alongWidth{1, 0, 0};   ///< of length 1
    Vector alongHeight{0, 1, 0};  ///< of length 1, at a right angle to it

    /// The direction that the piston radiates to: alongWidth x alongHeight.
    Vector normal() const noexcept;

    /// Where a point lies in the piston's frame.
    Vector placeOf(const Vector& point) const noexcept;

    bool operator==(const Pose&) const = default;
};

/// A piston of an array, in the array's frame. Its field is that of the piston alone in an infinite
/// rigid baffle in its own plane.
struct Element {
    RectangularPiston piston;
    Pose pose;
    /// Instead of the piston, whose sides then mean nothing: any flat one. Equal ones share it.
    std::shared_ptr<const Outline> outline{};

    /// Whether the other one has an equal outline, or where there is none an equal piston.
    bool isShapedAs(const Element& other) const;

    bool operator==(const Element& other) const;
};

/// Pistons that radiate together, and how they are driven.
struct Array {
    static constexpr std::size_t mostElements = 1000000;
    static constexpr std::size_t mostShapes = 1024;  ///< different rectangles, and outlines
    static constexpr std::size_t mostWeightings = 4096;
    static constexpr std::size_t mostEdges = 4096;  ///< of an outline

    std::vector<Element> elements;

    /// The complex velocities of the elements, relative to one that they share: for each weighting
    /// of the array one after the other those of all elements.
    std::vector<std::complex<double>> weights;

    /// How often the array is weighted.
    std::size_t weightings() const noexcept {
        return elements.empty() ? 0 : weights.size() / elements.size();
    }

    bool operator==(const Array&) const = default;
};

}  // namespace pistonfield
