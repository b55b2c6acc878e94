// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "reference/Legendre.h"
#include "reference/Quad.h"

namespace reference {

/// A point's signed distances from the lines of a rectangular piston's edges.
struct Offsets {
    Quad x1, x2;  ///< from the edges at x = +halfX and x = -halfX
    Quad y1, y2;  ///< from the edges at y = +halfY and y = -halfY
};

Offsets offsetsOf(Quad px, Quad py, Quad halfX, Quad halfY);

/// How a pair of parallel edges is integrated over the coordinate t that runs from `from` to `to`.
enum class Span {
    whole,         ///< [from, to]
    split,         ///< [from, 0] and [0, to]
    doubledUpper,  ///< twice [0, to]
    doubledWhole,  ///< twice [from, to]
};

/// The spans along the edges parallel to y and along those parallel to x.
struct Spans {
    Span alongY;
    Span alongX;
};

/// The spans of the CPU evaluation: split where the point lies between the two lines, zero counting
/// with the negative side; pistons thinner than 1e-7 have forms of their own.
Spans hostSpans(const Offsets& offsets);

/// The rule applied to (exp(-j*k*R) - exp(-j*k*z))/D, D = offset^2 + t^2, R = sqrt(z^2 + D), over t
/// in [from, to]; and to the two measures that the integral's rounding errors grow with.
struct EdgeIntegral {
    QuadComplex value;
    /// The rule applied to 2/D, the largest magnitude that the integrand f can have.
    Quad bound;
    /// The rule applied to max(|from|, |to|) * 2|t|/D * |f|, with |f| taken as |Re f| + |Im f|: how
    /// much 1/D changes the integral when the nodes t move by a fraction of the interval, as they
    /// do when they are mapped to an interval in rounded arithmetic.
    Quad drift;
};
EdgeIntegral edgeIntegral(Quad offset, Quad from, Quad to, Quad z, Quad k, const Rule& rule);

/// The pressure at a point, with the measures that its rounding errors grow with.
struct Field {
    QuadComplex pressure;
    /// (1/2pi) * sum over the edges of |offset| * the bounds of the edge's pieces.
    Quad scale;
    /// (1/2pi) * sum over the edges of |offset| * the drifts of the edge's pieces. Beside `scale`
    /// it matters behind the piston only: elsewhere f stays small where D does.
    Quad drift;
    /// The largest distance from the point to the piston.
    Quad reach;
};

/// What a pressure's rounding errors grow with: (1 + k*R) * S, R being the reach and S the scale.
/// The argument k*R of the exponential alone carries a relative error of the unit roundoff.
Quad errorMeasure(const Field& field, Quad k);
/// The same and the drift, for points behind the piston.
Quad errorMeasureWithDrift(const Field& field, Quad k);

/// The sum over the edges -j/(2pi) * (x1*I(x1) - x2*I(x2) + y1*I(y1) - y2*I(y2)), with I the
/// integral along an edge by `rule`. Nothing is rounded to less than 113 bits.
Field nearField(const Offsets& offsets, Quad z, Quad k, const Rule& rule, Spans spans);

/// As the CPU evaluation chooses the spans.
Field nearField(const Offsets& offsets, Quad z, Quad k, const Rule& rule);

}  // namespace reference
