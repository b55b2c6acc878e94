// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>

#include "field/Request.h"
#include "method/OutlineField.h"

namespace pistonfield {

/// A pressure over j*rho*c*u0, and a particle velocity's components over u0.
struct PointField {
    std::complex<double> pressure;
    std::array<std::complex<double>, 3> velocity;
};

/// The derivatives that a quantity takes.
Derivatives derivativesFor(Baffle baffle, Quantity quantity) noexcept;

/// The field of a piston at a point of a group, in its own frame: the velocity only where the
/// derivatives are known that it takes. By Euler's equation it is -grad p/(j*omega*rho).
PointField fieldAt(const Potentials& potentials, std::size_t i, Baffle baffle, bool withVelocity,
                   double wavenumber) noexcept;

/// The complex intensity's components over rho*c*|u0|^2/2, of the sums over all pistons.
std::array<std::complex<double>, 3> intensityOf(const PointField& field) noexcept;

}  // namespace pistonfield
