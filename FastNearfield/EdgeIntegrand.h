// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/words.h"

namespace pistonfield {

/// A complex number in every lane.
template <class Reals>
struct LaneComplex {
    Reals re, im;
};

/// The integrand of the integrals along a piston's edges, for the CPU and the kernels: the
/// difference exp(-j*k*sqrt(z^2 + D)) - E times a factor, which is 1/D or a weight over D. D is the
/// squared distance of the abscissa from the point's foot, E is exp(-j*k*z). In three stages, which
/// `pipelined` runs beside each other.
///
/// @tparam Mathematics what the stages compute with: the types Scalar, Reals (a Scalar in every
///     lane) and Angle (a reduced angle in every lane), and the functions squareRoot(Reals),
///     reduceAngle(Reals) and sinCos(Angle), whose result has the members sine and cosine
template <class Mathematics>
struct EdgeIntegrand {
    using Scalar = typename Mathematics::Scalar;
    using Reals = typename Mathematics::Reals;

    struct Node {
        Reals angle;  ///< -k*sqrt(z^2 + D)
        Reals factor;
    };

    struct ReducedNode {
        typename Mathematics::Angle angle;
        Reals factor;
    };

    /// Of the first stage: a node's angle, from z^2, D and -k. D is not tested for zero.
    [[gnu::always_inline]] __device__ static Reals angleAt(Reals zz, Reals d, Scalar minusK) {
        return Mathematics::squareRoot(zz + d) * minusK;
    }

    /// The second stage.
    [[gnu::always_inline]] __device__ static ReducedNode reduced(const Node& node) {
        return {Mathematics::reduceAngle(node.angle), node.factor};
    }

    /// The third one: the integrand's value.
    [[gnu::always_inline]] __device__ static LaneComplex<Reals> valueAt(
        const ReducedNode& node, const LaneComplex<Reals>& E) {
        const auto phase = Mathematics::sinCos(node.angle);
        return {(phase.cosine - E.re) * node.factor, (phase.sine - E.im) * node.factor};
    }
};

}  // namespace pistonfield
