// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "arrays/Window.h"
#include "field/Array.h"

namespace pistonfield {

/// A polynomial of a place from -1 to 1.
struct Polynomial {
    std::vector<double> coefficients;  ///< of x^0, x^1, x^2, ...

    double at(double x) const noexcept;
};

/// How the velocity goes along a side, whose ends are at -1 and 1.
using VelocityProfile = std::variant<Polynomial, Window>;

/// A flat rectangle, centred on the origin in the plane z = 0 and radiating to +z, whose normal
/// velocity is the product of a profile along x and one along y.
struct ApodisedPiston {
    double width = 0;   ///< side along x
    double height = 0;  ///< side along y
    VelocityProfile alongX{Window{}};
    VelocityProfile alongY{Window{}};
};

/// Equal rectangles side by side in place of an apodised piston.
struct TiledPiston {
    /// The tiles row by row, from the least y on, and in each row from the least x on. Each one's
    /// weight is the mean of the velocity over it, so that the volume velocity is the piston's.
    Array array;
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    double error = 0;  ///< see `tilingError`
};

/// An estimate of how far the field of so many tiles is from that of the piston, at all points that
/// are so far from its face or farther: relative to `Tolerance::Of::local` of the whole face with
/// its largest velocity.
///
/// Along a side with tiles of the length h the tiles' field is that of the profile f + f''*h^2/12,
/// and at the face's ends of lines of f'*h^2/12; that counts twice. What the steps between tiles
/// radiate decays as exp(-2*pi*z/h*sqrt(1 - (h/wavelength)^2)) before the face.
/// @param distance above 0
/// @throws InvalidRequest of width, height, columns, rows, wavenumber, distance, and of
///     `profile`; infinite where a side with a velocity that varies has tiles of half a wavelength
///     or more
double tilingError(const ApodisedPiston& piston, std::int64_t columns, std::int64_t rows,
                   double wavenumber, double distance);

/// So many tiles.
/// @throws InvalidRequest as `tilingError`
TiledPiston tiled(const ApodisedPiston& piston, std::int64_t columns, std::int64_t rows,
                  double wavenumber, double distance);

/// The least number of tiles along each side whose error is half the tolerance, or all of it where
/// the velocity varies along the other side alone. It goes with 1/sqrt(tolerance), and is two
/// a wavelength at least. A field takes the time of an array of so many equal elements in a plane.
/// @throws InvalidRequest as `tilingError`; of `tolerance` also where it takes more than
///     `Array::mostElements` tiles
TiledPiston tiled(const ApodisedPiston& piston, double tolerance, double wavenumber,
                  double distance);

}  // namespace pistonfield
