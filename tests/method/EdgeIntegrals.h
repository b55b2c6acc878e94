// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>

#include "method/GroupField.h"
#include "method/Rules.h"
#include "tests/support/RandomPoints.h"

/// The integrals along a face's edges with more digits than any that are tested, by panels graded
/// about the foot; lengths are times the wavenumber.
namespace edge_integrals {

using Complex = std::complex<long double>;

struct Position {
    double x, y, z;
};

/// The position in a group.
Position positionOf(const pistonfield::GroupPoints& points, int i);

/// e times the integral of (exp(-jR) - exp(-jz))/D along an edge: those at y = halfY, y = -halfY,
/// x = halfX and x = -halfX, in this order.
Complex exact(const pistonfield::Face& face, int edge, const Position& at);

/// The same by one rule over the whole edge.
Complex byRule(const pistonfield::Face& face, int edge, const Position& at,
               const pistonfield::Nodes<double>& rule);

/// The pressure, j/(2pi) times the sum of the four.
Complex pressure(const pistonfield::Face& face, const Position& at);

/// The largest error of the pressure of some points.
template <class T>
double largestError(const pistonfield::Face& face, const pistonfield::GroupPoints& points,
                    const pistonfield::GroupValues<T>& values) {
    double largest = 0;
    for (int i = 0; i < pistonfield::groupSize; ++i) {
        const Complex difference =
            Complex(values.re[i], values.im[i]) - pressure(face, positionOf(points, i));
        const auto error = static_cast<double>(std::abs(difference));
        if (!(error <= largest)) largest = error;
    }
    return largest;
}

/// A group along a straight line, at equal steps.
pistonfield::GroupPoints groupAlong(const Position& from, const Position& step);

/// k*A/(2*pi*R) at a group's farthest point, or with sqrt(A)/4 for R, and at most 1.
double leastAmplitude(const pistonfield::Face& face, const pistonfield::GroupPoints& points);

/// A face of sides up to some wavelengths, one up to `ratio` times the other.
pistonfield::Face randomFace(Random& random, double ratio);

}  // namespace edge_integrals
