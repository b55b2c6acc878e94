// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The sums of single lanes, as a thread of a GPU forms them, in the CPU's arithmetic.

#include "method/pointSums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

#include "EdgeIntegrals.h"
#include "method/RectangleField.h"

namespace {

using edge_integrals::Position;
using pistonfield::Face;
using pistonfield::Formula;
using pistonfield::GroupNumbers;
using pistonfield::GroupPoints;
using pistonfield::groupSize;
using pistonfield::GroupValues;
using pistonfield::PointOrders;
using pistonfield::Rules;

constexpr unsigned seed = 20261123;

template <class T>
struct SingleLanes : testing::Test {
    static constexpr bool isDouble = sizeof(T) == 8;

    static void requireRules(const Rules<T>& rules, const PointOrders& orders) {
        rules.require(orders.across);
        for (const auto& panels : orders.edges) {
            rules.require(panels.inner);
            for (const int rung : panels.outer) rules.require(rung);
        }
    }

    static GroupValues<T> pressure(const Face& face, const PointOrders& orders,
                                   const GroupPoints& points) {
        const Rules<T> rules;
        requireRules(rules, orders);
        GroupNumbers<T> of;
        pistonfield::groupFields().in<T>().findNumbers(face, orders.formula, points, of);
        const auto sides = pistonfield::halfSidesOf<T>(face);
        GroupValues<T> values;
        for (int i = 0; i < groupSize; ++i) {
            const auto p = pistonfield::pressureAt<T>(rules.table(), sides, orders,
                                                      {of.x[i],
                                                       of.y[i],
                                                       of.nearX[i],
                                                       of.nearY[i],
                                                       {of.zz[i], of.reference[i]},
                                                       {of.cosine[i], of.sine[i]}});
            values.re[i] = p.re;
            values.im[i] = p.im;
        }
        return values;
    }

    /// Expects a tolerance of the local amplitude to be kept by a formula.
    static void expectKept(Random& random, const Face& face, Formula formula,
                           const GroupPoints& points) {
        const double tolerance = random.magnitude(isDouble ? -10 : -4, -1);
        const double amplitude = edge_integrals::leastAmplitude(face, points);
        const PointOrders orders = pistonfield::Orders(face).choose(
            formula, points.place.extent, static_cast<float>(tolerance * amplitude));
        const auto values = pressure(face, orders, points);
        const double rounding =
            std::numeric_limits<T>::epsilon() / 2.0 * (24 + 0.15 * (face.halfX + face.halfY));
        const double phase = std::numeric_limits<double>::epsilon() * 2 * points.place.reach;
        EXPECT_LE(edge_integrals::largestError(face, points, values),
                  (tolerance + rounding + phase) * amplitude)
            << "tolerance " << tolerance << ", half sides " << face.halfX << ", " << face.halfY
            << ", first point " << points.x[0] << ", " << points.y[0] << ", " << points.z[0];
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(SingleLanes, Precisions);

TYPED_TEST(SingleLanes, KeepATolerance) {
    Random random(seed);
    std::set<Formula> seen;
    for (int i = 0; i < 60; ++i) {
        const Face face = edge_integrals::randomFace(random, 200);
        const bool isBeside = i % 2 == 0;
        const double far = isBeside ? 13 : 0;
        const Position from{face.halfX * (far + random.between(0, 10)),
                            face.halfY * (far + random.between(0, 10)),
                            i % 4 == 0 ? 0 : random.magnitude(-6, 3)};
        const double step = std::min(face.halfX, face.halfY) * random.magnitude(-4, -1.5);
        const auto points = edge_integrals::groupAlong(from, {step, step / 2, 0});
        const Formula formula = isBeside ? face.besideFormula() : Formula::edges;
        seen.insert(formula);
        this->expectKept(random, face, formula, points);
        if (this->HasFailure()) return;
    }
    EXPECT_EQ(seen.size(), 3U);
}

// On the edges, the corners and the axes, where nodes meet the foot.
TYPED_TEST(SingleLanes, HaveTheirValueOnEdgesAndCorners) {
    Random random(seed);
    const Face face{3, 5};
    for (const Position& at :
         {Position{3, 5, 0}, {3, 0, 0}, {0, 5, 0}, {3, 5, 2}, {3, 1, 7}, {0, 0, 0}, {0, 0, 1e-7}})
        this->expectKept(random, face, Formula::edges, edge_integrals::groupAlong(at, {0, 0, 0}));
}

}  // namespace
