// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "method/FaceSums.h"
#include "method/Outline.h"
#include "method/Rules.h"

namespace pistonfield {

/// Rules for integrals over a flat piston at points far from it: there an integral over the face
/// takes fewer nodes than one along its boundary.
///
/// The face is the sum of the fans from the circle's centre to the edges, with the signs of the
/// edges' turning. At t in [0, 1] and s along an edge c(s) a fan has the place w = t*c(s) and the
/// element of area t*cross(c, c') ds dt; a parallelogram, as rectangles are, has w = a*s + b*t.
/// Directions take Gauss-Legendre rules, of n nodes on an interval of half-length h with an error
/// of at most 64/15 * h * M * rho^(-2n)/(1 - rho^-2) for an integrand that is at most M within the
/// ellipse about the interval's ends whose semi-axes add up to rho*h (Trefethen, SIAM Review 50,
/// 67-87, 2008, theorem 4.5). Along a whole circle about the centre m equal steps of the angle err
/// by at most 4*pi*M/(exp(m*b) - 1), M being that of angles up to b beside the real ones (Trefethen
/// and Weideman, SIAM Review 56, 385-458, 2014, theorem 3.2). With an even m the odd powers of t
/// cancel, so that t^2 is integrated over in place of t.
///
/// Places w that are complex lie at the distances R with R^2 = Q^2 - 2u.w + w.w of a point at u at
/// the distance Q. With |w| <= x*Q and theta^2 = 1 - 2x - x^2 > 0, Re R >= theta*Q, |R| <= (1 + x)Q
/// and |Im R| <= |Im w| (1 + x)/theta. What is integrated is bounded by these: exp(-jkR)/R, its
/// first derivatives and those of the one by z.
class FaceRules {
  public:
    /// There are rules from so many radii of the circle on.
    static constexpr double leastRadii = 4;

    /// No rule has more nodes: the integrals along the boundary are as fast.
    static constexpr std::size_t mostNodes = 512;

    /// @param outline outlives this; about the centre of its circle
    /// @param radius  the circle's
    /// @param rules   outlive this
    FaceRules(const Outline& outline, double radius, double wavenumber, double attenuation,
              const Rules<double>& rules);

    /// The rule for points from a distance of the circle's centre on. Any thread may ask for it.
    /// @param error the largest one of phi/(2pi) times |k|, of its gradient over 2pi, and of that
    /// of
    ///     its derivative by z over 2pi times the wavenumber; relative to exp(-a*Q) of the
    ///     attenuation a
    /// @return null where the distance is too small, the error too small, or the nodes too many
    /// @throws std::bad_alloc
    const FaceRule* ruleFor(double distance, double error) const;

  private:
    static constexpr int ranges = 8;   ///< of distances, each from twice as far on
    static constexpr int levels = 26;  ///< of errors relative to |k|*area/Q, two to a digit

    struct Slot {
        std::once_flag made;
        std::optional<FaceRule> rule;
    };

    /// The rules from a distance on.
    struct Range {
        std::once_flag made;
        std::unique_ptr<std::array<Slot, levels>> slots;
    };

    std::optional<FaceRule> makeRule(int range, int level) const;

    const Outline& outline;
    double radius;
    double wavenumber;
    double attenuation;
    double scale;  ///< |k| times the area
    const Rules<double>& rules;
    mutable std::array<Range, ranges> made;
};

}  // namespace pistonfield
