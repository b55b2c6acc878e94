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
#include "field/Array.h"

namespace pistonfield {

/// A harmonic wave in the medium, for the time dependence exp(+j*omega*t):
/// exp(-j*(wavenumber - j*attenuation)*R) over a distance R.
struct Wave {
    double wavenumber = 0;   ///< radians per unit of length
    double attenuation = 0;  ///< nepers per unit of length, with a tolerance

    bool operator==(const Wave&) const = default;
};

/// A regular lattice of points in the frame of the piston or the array; see `Grid3DR`.
struct Lattice {
    std::array<double, 16> transform{};   ///< row by row, from lattice coordinates to positions
    std::array<std::int64_t, 3> sizes{};  ///< points along x, y and z

    /// All of its points.
    LatticeBox box() const noexcept { return {{}, sizes}; }

    bool operator==(const Lattice&) const = default;
};

/// Any points in the frame of the piston or the array, as three arrays of the same length.
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
        largest,  ///< the largest |p| at the request's points, of each weighting of an array; the
                  ///< largest |v|, of an intensity the product of both
        local     ///< at each point k*A/(2*pi*R), of the face's area A and the distance R of its
                  ///< centre, or sqrt(A)/4 where that is more; and at most 1; with losses times
                  ///< exp(-attenuation*R). That is what |p| is far away on the axis, and about its
                  ///< largest value near a face that is not thin. Of an array the sum of its
                  ///< elements', each times its |weight|; of an intensity its square. No less than
                  ///< the smallest normal number of the mode's precision
    };

    double value = 1e-4;  ///< the largest error, above 0 and below 1
    Of of = Of::largest;

    bool operator==(const Tolerance&) const = default;
};

/// What the plane about a piston is. With anything but a rigid one it takes a tolerance.
enum class Baffle {
    rigid,  ///< moves nowhere: p = k/(2pi) * integral of exp(-j*k*R)/R dS
    soft,   ///< has no pressure (pressure release), the piston's face one of rho*c*u0: p times j is
            ///< -1/(2pi) times the derivative by z of that integral
    free    ///< is not there: half the sum of both, which has the obliquity factor (1 + cos)/2; a
            ///< model for a piston that radiates from a housing about as large as itself
};

/// What is computed at each point. All but the pressure take a tolerance.
enum class Quantity {
    pressure,  ///< one number: the pressure over j*rho*c*u0
    velocity,  ///< three: the particle velocity's components along x, y and z, over u0
    intensity  ///< three: those of the complex intensity p*conj(v)/2 over rho*c*|u0|^2/2: the real
               ///< parts are the active intensity, the imaginary ones the reactive one
};

/// The field that is asked for: plain values, in any one unit of length in which no side of the
/// piston is below 1e-7, and points at z >= 0; what lies behind the piston means nothing.
///
/// Its value at a point is p = k/(2pi) * integral over the piston of exp(-j*k*R)/R dS, without
/// unit; times j*rho*c*u0 it is the pressure. Of an array it is the sum of its elements', each
/// times its weight. In a medium with losses the factor before the integral is the wavenumber, so
/// that the face moves with u0 all the same.
struct Request {
    RectangularPiston piston;
    /// Instead of the piston, with a tolerance: the elements that radiate. Each weighting has a
    /// field of its own.
    std::optional<Array> array;
    Wave wave;
    Lattice lattice;
    Rule rule;
    Mode mode = Mode::cpu;
    /// Instead of the rule: the mode then says the precision, of all arithmetic, and what computes.
    std::optional<Tolerance> tolerance;
    /// Instead of the lattice, with a tolerance: its sizes are then the number of points, 1 and 1,
    /// and its transform means nothing.
    std::optional<PointList> points;
    /// Whether points behind the piston, or behind any element, are asked for, with a tolerance:
    /// their value is the integral's, which is that of the point mirrored in the piston's plane.
    bool behind = false;
    Baffle baffle = Baffle::rigid;  ///< of a piston, of each element's plane
    Quantity quantity = Quantity::pressure;

    /// Whether arithmetic and values are in single precision.
    bool inSingle() const noexcept { return isInSingle(mode); }

    /// The numbers at a point.
    std::int64_t components() const noexcept { return quantity == Quantity::pressure ? 1 : 3; }

    /// The fields that are computed: for each weighting one after the other those of the
    /// components.
    std::int64_t fields() const noexcept {
        return (array ? static_cast<std::int64_t>(array->weightings()) : 1) * components();
    }

    /// Bytes of one complex value in the precision of the mode.
    std::int64_t valueBytes() const noexcept { return inSingle() ? 8 : 16; }

    bool operator==(const Request&) const = default;
};

/// What of a request there is no field for: its text is "<field>: <reason>".
class InvalidRequest : public std::runtime_error {
  public:
    /// @param field  transform, sizes, width, height, wavenumber, mode, order, table, tolerance,
    ///     points, elements, weights, attenuation, baffle or quantity; of what arrays are
    ///     made of, the parameter's name; of requests in C, outlines or outline_of
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

/// Whether a request is for more than the pressure of rectangles without losses in a rigid baffle.
bool takesContours(const Request& request) noexcept;

/// @throws InvalidRequest where there is no field
void check(const Request& request);

}  // namespace pistonfield
