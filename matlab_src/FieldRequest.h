// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "core/Mode.h"
#include "matlab_src/Arguments.h"

/// A checked request for a field.
struct FieldRequest {
    const double* transform = nullptr;      ///< 16 values in the caller's storage order
    std::array<double, 3> sizes{};          ///< sx, sy, sz, unconverted
    double l = 0;                           ///< piston side along y
    double s = 0;                           ///< piston side along x
    double k = 0;                           ///< wavenumber
    std::int32_t nAbscissas = 10;           ///< quadrature order
    const double* abscissaTable = nullptr;  ///< nAbscissas (abscissa, weight) pairs, or none
    pistonfield::Mode mode = pistonfield::Mode::cuda;

    /// The number of grid points, in 32-bit arithmetic that wraps around.
    std::int32_t pointCount() const noexcept;
};

/// Checks all arguments but the mode, in a fixed order, and reads them: transform, sizes, l, s, k,
/// mode, abscissas, of which the last two may be absent. Prints the lines
/// "using <M> abscissas." and "l=..., s=..., k=...".
/// @return none after a refusal, where the host's error operation returns
std::optional<FieldRequest> readRequest(int outputCount, Arguments arguments);

/// Reads the mode; "cuda" without a mode argument, and after a refusal where the host's error
/// operation returns.
pistonfield::Mode readMode(Arguments arguments);
