// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// Pressures that are demanded at several points at once.
struct Foci {
    static constexpr std::size_t mostPoints = 256;

    PointList points;                             ///< in the array's frame
    std::vector<std::complex<double>> pressures;  ///< p at each of them
    double tolerance = 1e-8;   ///< of the elements' pressures there, see `elementPressures`
    double leastRatio = 1e-6;  ///< singular values below this part of the largest one are dropped,
                               ///< at least 1e-7
    std::optional<double> largestWeight{};  ///< the weights are scaled such that the largest
                                            ///< |weight| is this one
    int iterations = 0;   ///< of the weighting that evens the weights' magnitudes out, at most;
                          ///< up to 1000
    bool behind = false;  ///< see `elementPressures`
    Baffle baffle = Baffle::rigid;
};

/// Weights for several foci.
struct FociWeights {
    std::vector<std::complex<double>> weights;
    std::size_t dropped = 0;  ///< singular values that were
    double leastKept = 0;     ///< the least singular value that was kept, over the largest one
    double efficiency = 0;    ///< the sum of |weight|^2 over elements times the largest |weight|^2:
                              ///< 1 if all elements are driven equally
    int iterations = 0;       ///< that led to these weights
    double scale = 1;         ///< what `largestWeight` multiplies the weights by, and the pressures
    double residual = 0;      ///< the largest |p/scale - demanded| at a point, over the largest
                              ///< |demanded|: about rounding unless singular values were dropped
};

/// The weights u of the least norm with which the pressures H*u are those demanded, by the
/// pseudo-inverse: u = W H'(H W H')^-1 p with W = 1 (Ebbini and Cain, IEEE Trans. UFFC 36, 540-548,
/// 1989). With iterations W is divided by |u| each time, element by element, which evens the
/// magnitudes out and keeps the pressures. The weights of the largest efficiency count, and from
/// 0.999 on they are even enough.
/// @param conduct whose progress is told 0 points, so that it can stop
/// @throws InvalidRequest of points, pressures, tolerance, leastRatio, largestWeight or iterations,
///     or of the elements; Stopped; std::bad_alloc
FociWeights weightsOf(const Foci& foci, const std::vector<Element>& elements, const Wave& wave,
                      const Conduct& conduct = {});

}  // namespace pistonfield
