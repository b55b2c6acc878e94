// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/LatticeBox.h"
#include "core/Mode.h"

namespace pistonfield {

/// A flat rectangular piston in the plane z = 0 of its own frame, centred on the origin, in an
/// infinite rigid baffle.
struct RectangularPiston {
    double width = 0;   ///< side along x
    double height = 0;  ///< side along y

    bool operator==(const RectangularPiston&) const = default;
};

/// A harmonic wave in the medium, for the time dependence exp(+j*omega*t).
struct Wave {
    double wavenumber = 0;  ///< radians per unit of length

    bool operator==(const Wave&) const = default;
};

/// A regular lattice of points in the piston's frame; see `Grid3DR`.
struct Lattice {
    std::array<double, 16> transform{};   ///< row by row, from lattice coordinates to positions
    std::array<std::int64_t, 3> sizes{};  ///< points along x, y and z

    /// All of its points.
    LatticeBox box() const noexcept { return {{}, sizes}; }

    bool operator==(const Lattice&) const = default;
};

/// Any points in the piston's frame, as three arrays of the same length.
struct PointList {
    std::vector<double> x, y, z;

    bool operator==(const PointList&) const = default;
};

/// The quadrature rule of each edge integral: Gauss-Legendre, or one of the caller's own, which is
/// symmetric about 0 in the modes of a GPU: these take its first half.
struct Rule {
    int order = 10;             ///< abscissas
    std::vector<double> table;  ///< `order` (abscissa, weight) pairs on [-1, 1], or none

    bool operator==(const Rule&) const = default;
};

/// How exact the values are to be. The number of nodes then follows from a bound, edge by edge and
/// point by point, and the request's rule means nothing.
struct Tolerance {
    /// What the error of a value is relative to.
    enum class Of {
        largest,  ///< the largest |p| at the request's points
        local     ///< at each point k*A/(2*pi*R), of the face's area A and the distance R of its
                  ///< centre, or sqrt(A)/4 where that is more; and at most 1. That is what |p| is
                  ///< far away on the axis, and about its largest value near a face that is not
                  ///< thin.
    };

    double value = 1e-4;  ///< the largest error, above 0 and below 1
    Of of = Of::largest;

    bool operator==(const Tolerance&) const = default;
};

/// The field that is asked for: plain values, in any one unit of length in which no side of the
/// piston is below 1e-7, and points at z >= 0; what lies behind the piston means nothing.
///
/// Its value at a point is p = k/(2pi) * integral over the piston of exp(-j*k*R)/R dS, without
/// unit; times j*rho*c*u0 it is the pressure.
struct Request {
    RectangularPiston piston;
    Wave wave;
    Lattice lattice;
    Rule rule;
    Mode mode = Mode::cpu;
    /// Instead of the rule: the mode then says the precision, of all arithmetic, and what computes.
    std::optional<Tolerance> tolerance;
    /// Instead of the lattice, with a tolerance: its sizes are then the number of points, 1 and 1,
    /// and its transform means nothing.
    std::optional<PointList> points;
    /// Whether points behind the piston are asked for, with a tolerance: their value is the
    /// integral's, which is that of the point mirrored in the piston's plane.
    bool behind = false;

    /// Whether arithmetic and values are in single precision.
    bool inSingle() const noexcept { return isInSingle(mode); }

    /// Bytes of one complex value in the precision of the mode.
    std::int64_t valueBytes() const noexcept { return inSingle() ? 8 : 16; }

    bool operator==(const Request&) const = default;
};

/// What of a request there is no field for: its text is "<field>: <reason>".
class InvalidRequest : public std::runtime_error {
  public:
    /// @param field  transform, sizes, width, height, wavenumber, mode, order, table, tolerance or
    ///     points
    /// @param reason what is wrong with it
    InvalidRequest(const std::string& field, const std::string& reason)
        : std::runtime_error(field + ": " + reason), name(field), why(reason) {}

    const std::string& field() const noexcept { return name; }
    const std::string& reason() const noexcept { return why; }

  private:
    std::string name;
    std::string why;
};

/// The mode with a name.
/// @throws InvalidRequest where there is none
Mode modeCalled(const std::string& name);

/// @throws InvalidRequest where there is no field
void check(const Request& request);

}  // namespace pistonfield
