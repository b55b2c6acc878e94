// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <vector>

#include "reference/SurfaceIntegral.h"

namespace reference {

/// A piece of the boundary of a flat source: a straight one, or with a radius one along a circle.
struct Border {
    std::array<double, 2> from{};  ///< or the circle's centre
    std::array<double, 2> to{};    ///< where it is straight
    double radius = 0;             ///< 0: straight
    double angle = 0;              ///< where it begins
    double sweep = 0;              ///< by how much it turns towards the y axis
};

/// A flat source in the plane z = 0, on the left of its borders.
using FlatSource = std::vector<Border>;

FlatSource polygonSource(const std::vector<std::array<double, 2>>& corners);
FlatSource ringSource(double inner, double outer);
FlatSource sectorSource(double inner, double outer, double from, double sweep);

/// The integral of G = exp(-jkR)/R over a source, and those of its derivatives.
struct FlatIntegrals {
    std::complex<double> value;
    std::complex<double> x, y, z;
    std::complex<double> xz, yz, zz;
};

/// These integrals over the source's area, in double precision: over the triangles from the point's
/// foot to the borders, or from the origin where the foot lies beside, whose signs make up the
/// source, with Gauss rules in both directions on cells no longer than their distance from the
/// point and about half a wavelength. At z = 0 those of the derivatives mean something where the
/// foot is outside alone.
FlatIntegrals flatIntegrals(const FlatSource& source, const Point& point, std::complex<double> k);

}  // namespace reference
