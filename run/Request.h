// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/LatticeBox.h"
#include "core/Mode.h"

namespace run {

/// The field that is asked for. Lengths are in any one unit, the wavenumber in radians per that
/// unit.
struct Request {
    std::array<double, 16> transform{};   ///< row by row; see `Grid3DR`
    std::array<std::int64_t, 3> sizes{};  ///< points along x, y and z
    double l = 0;                         ///< piston side along y
    double s = 0;                         ///< piston side along x
    double k = 0;                         ///< wavenumber
    pistonfield::Mode mode = pistonfield::Mode::cpu;
    int order = 10;             ///< abscissas of each edge integral
    std::vector<double> table;  ///< (abscissa, weight) pairs of a rule, or none

    /// Whether arithmetic and values are in single precision.
    bool singlePrecision() const noexcept { return isInSingle(mode); }

    /// Bytes of one complex value.
    std::int64_t valueBytes() const noexcept { return singlePrecision() ? 8 : 16; }

    LatticeBox lattice() const noexcept { return {{}, sizes}; }

    bool operator==(const Request&) const = default;
};

/// What a request has no field for: its text is "<what>: <reason>".
class NoField : public std::runtime_error {
  public:
    /// @param what   of the request: transform, sizes, l, s, k, mode, order or table
    /// @param reason what is wrong with it
    NoField(const std::string& what, const std::string& reason)
        : std::runtime_error(what + ": " + reason), name(what), why(reason) {}

    const std::string& of() const noexcept { return name; }
    const std::string& reason() const noexcept { return why; }

  private:
    std::string name;
    std::string why;
};

/// The mode with a name, which is one of all modes.
/// @throws NoField
pistonfield::Mode modeCalled(const std::string& name);

/// @throws NoField where there is no field
void check(const Request& request);

}  // namespace run
