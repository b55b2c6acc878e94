// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// A spherical cap that moves as one, along its normals: the apex is at the origin, the centre of
/// curvature, the focus, at (0, 0, radius), and it radiates to the focus.
struct CapPiston {
    double radius = 0;    ///< of curvature
    double aperture = 0;  ///< the diameter of the rim, up to twice the radius
    double hole = 0;      ///< the diameter of a hole about the apex, or none
};

/// A rectangle that is bent about a parallel of y through (0, 0, radius), the focal line, to which
/// it radiates; the origin is its middle.
struct CylindricalPiston {
    double radius = 0;  ///< of curvature
    double width = 0;   ///< along the arc, up to half the circle
    double height = 0;  ///< along y
};

/// Flat rectangles in place of a curved face. The areas of the parts that they stand for are
/// theirs, and their planes lie in the mean of these.
///
/// Errors are relative to what |p| would be if all of the face arrived in phase: k/(2*pi) times the
/// integral of 1/R.
struct FlatTiles {
    std::vector<Element> elements;
    double phase = 0;      ///< the wavenumber times the largest distance of tiles from the face
    double misplaced = 0;  ///< the area beside tiles' parts of the face, of the whole area

    /// An estimate of the field's error, from above.
    double error() const noexcept { return phase + misplaced; }
};

/// Tiles that are no farther from the face than a fraction of the wavelength.
/// @param fraction up to 1/8
/// @throws InvalidRequest named after the member that is wrong; of `wavenumber`; of `fraction` also
///     where it takes more than `Array::mostElements` tiles or `Array::mostShapes` rings
FlatTiles tilesOf(const CapPiston& piston, double wavenumber, double fraction);
FlatTiles tilesOf(const CylindricalPiston& piston, double wavenumber, double fraction);

}  // namespace pistonfield
