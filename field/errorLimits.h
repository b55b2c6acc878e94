// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "field/Request.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// The face of a piston for a wave.
Face faceOf(const RectangularPiston& piston, const Wave& wave);

/// k*A/(2*pi), what |p| times k*R is far away, times k.
double farAmplitude(const Face& face);

/// What errors are relative to with `Tolerance::Of::local`, at a distance from the face's centre.
double localAmplitude(const Face& face, double distance);

/// An error within a fraction of the local amplitude.
ErrorLimit localLimit(const Face& face, double fraction);

/// What rounding adds to |p| in the integrals, relative to the local amplitude: edges cancel beside
/// the face, and phases relative to the reference are up to the sides. The factors are above the
/// largest errors seen; see docs/reliability.md.
double roundingOfIntegrals(const Face& face, bool inSingle);

/// What rounding adds to a phase in double precision, relative to the phase.
inline constexpr double roundingOfPhase = 4 * 0x1p-53;

/// The same in two parts in single precision, which sums over elements on a device take.
inline constexpr double roundingOfPhaseInTwo = 0x1p-43;

/// Why there is no tolerance for a side of so many wavelengths, for which there are no orders, or
/// no digits in single precision; empty where there is one.
std::string whySideIsRefused(double wavelengths);

/// The part of a request that says where its points are.
const char* fieldOfPoints(const Request& request);

/// @param reach the largest distance of a point from a face, times the wavenumber
/// @throws InvalidRequest where products overflow in single precision, and a phase has no digits
///     left in double
void requireReach(double reach, const Request& request);

/// A point lies behind a piston, which is named.
[[noreturn]] void refuseBehind(const std::array<double, 3>& position, const std::string& piston,
                               const Request& request);

/// A precision cannot keep the request's tolerance, but `least` at best.
[[noreturn]] void refuseTolerance(double least, const Request& request);

}  // namespace pistonfield
