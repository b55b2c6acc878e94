// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// The function K of the distance R for which the mutual radiation resistance of two pistons in one
/// plane is an integral over both boundaries, of their elements dl and dl':
///
///     Z = -1/(2*pi) * integral of K(R) dl . dl'.
///
/// In a rigid baffle Z is k/(2*pi) times the integral over both faces of the imaginary part of
/// -exp(-s*R)/R, with s = attenuation + j*k. That is the divergence of a gradient: with
/// H = Ein(s*R)/s, where Ein(z) is the integral from 0 to z of (1 - exp(-t))/t, the Laplacian of H
/// in the plane is exp(-s*R)/R, and Gauss's theorem on either face leaves K = -k*Im(H). Without
/// losses that is Cin(k*R), the integral of (1 - cos(t))/t.
///
/// In a soft baffle, where the face has the pressure rho*c*u0, the normal velocity is that of the
/// second derivative by z of the integral phi of exp(-j*k*R)/R, by the Helmholtz equation
/// -k^2*phi less the Laplacian in the plane: K = Cin(k*R) + sin(k*R)/(k*R), without losses.
class MutualKernel {
  public:
    /// @param baffle   rigid, or without losses soft
    /// @param farthest the largest distance
    /// @throws std::bad_alloc
    MutualKernel(const Wave& wave, Baffle baffle, double farthest);

    /// Whether it is a smooth function of the square of R: without losses.
    bool isSmooth() const noexcept { return smooth; }

    /// Its value at a distance, to rounding.
    double at(double distance) const noexcept;

  private:
    static constexpr std::size_t terms = 12;

    /// Polynomials of T_0 to T_11, one for each radian.
    std::vector<std::array<double, terms>> pieces;
    double perDistance;
    bool smooth;
};

}  // namespace pistonfield
