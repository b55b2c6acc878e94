// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "method/ContourSums.h"
#include "method/Orders.h"
#include "method/Outline.h"

namespace pistonfield {

/// A ball about points, in the piston's frame, at z >= 0.
struct PointBall {
    PlaneVector foot;  ///< of its centre
    double z;          ///< of its centre, 0 or more
    double radius;
};

/// A part of an edge and the order of its Gauss-Legendre rule.
struct ContourPanel {
    const OutlineEdge* edge;
    double from, to;  ///< of the edge's s
    Rung rung;
};

/// What a piston's boundary integrals have to keep.
struct ContourLimit {
    double wavenumber;
    double attenuation;
    Derivatives derivatives;
    /// The largest error of phi/(2pi) times |k|, of its gradient over 2pi and of that of its
    /// derivative by z over 2pi times the wavenumber; relative to exp(-a*Q), Q being the points'
    /// reference and a the attenuation.
    double error;
};

/// What has become of a choice of panels.
enum class PanelChoice {
    bounded,
    touching,    ///< the point lies on the boundary, but for 2^-48 of an edge's length
    tooFarApart  ///< the points lie too far apart, seen from a part of the boundary: no panels
};

/// How the boundary is cut into panels, and with which orders.
///
/// A panel of half-length c whose middle is m is no longer than 0.7 times its distance d from the
/// points. Its rule of n nodes errs by at most 64/15 * c * M * rho^(-2n)/(1 - rho^-2) for an
/// integrand that is analytic and at most M within the ellipse about its ends whose semi-axes add
/// up to rho*c (Trefethen, SIAM Review 50, 67-87, 2008, theorem 4.5). With the larger one r < d,
/// every distance R_s = sqrt(z^2 + s*D), 0 < s <= 1, is there at least theta times what it is at m,
/// where theta = 1 - r/d; and on a straight edge |Im R_s| <= sqrt(s) times the smaller semi-axis.
/// From the mean value of the derivative by D over R_s then follow
///
///     |e (E - 1)/D|          <= g |k| e / (theta (d + z))
///     |e (z/R E - 1)/D|      <= g e (|k|/(theta^2 (d + z)) + 1/(theta^3 d (d + z)))
///     |E/R|                  <= g / (theta d)
///     |(z or e) (1 + jkR) E/R^3| <= g (z + e) (1/(theta^3 d^3) + |k|/(theta^2 d^2))
///
/// for the offset e and g = exp(b*Im R + a*(Q - Re R)). On an arc of radius q, whose parameter is
/// an angle, the ellipse's points are up to q*sqrt((cosh r - 1)^2 + sinh(r)^2) = x*d away, so that
/// theta^2 = 1 - 2x - x^2, and |Im R| <= q*sinh of the smaller semi-axis times (1 + x)/theta.
///
/// Where phi alone is asked for, a straight edge takes the nodes of `Orders` if these are fewer:
/// the integrand |e (E - 1)/D| is at most |k e exp(b |Im R| + a z)/R| within any ellipse.
///
/// Points beside the piston, whose integrands are not analytic where D = 0, take their distance
/// within the plane for d.
///
/// @param panels where they go
/// @throws std::bad_alloc
PanelChoice choosePanels(const Outline& outline, const PointBall& points, bool beside,
                         const ContourLimit& limit, std::vector<ContourPanel>& panels);

}  // namespace pistonfield
