// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Fields by rules of which an edge's interval equals the end nodes as they were mapped last: the
// mapping is then kept, in fields as in the integrator. No Gauss-Legendre rule meets that but by
// chance, so these rules are made by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <ostream>
#include <vector>

#include "CapturedStream.h"
#include "FastNearfield/RectangularPiston2.h"
#include "PointField.h"

namespace {

/// A rule of two nodes and a point, by its offsets from the edges, where a mapping is kept.
struct Case {
    const char* name;
    std::array<double, 2> nodes;
    double x1, x2, y1, y2;

    friend std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.name; }
};

// The offsets are small whole numbers, which positions and mappings have exactly.
constexpr std::array<Case, 4> cases{{
    // The nodes of [1, 5] are 2 and 4, and [2, 4] follows.
    {"BetweenPairs", {-0.5, 0.5}, 2, 4, 1, 5},
    // The nodes of [0, 2] are -1 and 0, and [-1, 0] follows.
    {"BetweenPiecesAlongY", {-2, -1}, 3, 7, -1, 2},
    {"BetweenPiecesAlongX", {-2, -1}, -1, 2, 3, 7},
    // The nodes of [-2, 0] are 0 and 2, and the second edge's [0, 2] follows.
    {"BetweenEdges", {1, 3}, 3, 7, -2, 2},
}};

constexpr std::array<double, 2> weights{0.75, 1.5};

/// The edge sum as the class's integrator has it. With `forgetting` every interval is mapped
/// afresh.
template <class T>
std::complex<T> byIntegrator(const PointField<T>& p, const std::array<double, 2>& nodes,
                             bool forgetting) {
    GaussLegendre<T> rule;
    const std::array<double, 4> table{nodes[0], weights[0], nodes[1], weights[1]};
    rule.take(2, table.data());
    const Integ<T> integrate(&rule);
    const auto edge = [&](T e, T from, T to) {
        if (forgetting) rule.mappedAbscissas[0] = std::numeric_limits<T>::quiet_NaN();
        return integrate(RectangularPistonCuda2::FirstIntegral<T>{e * e, p.k, p.z,
                                                                  std::polar(T(1), -(p.k * p.z))},
                         from, to);
    };
    const auto term = [&](T e, T a, T b) {
        if ((a > 0) == (b > 0)) return e * edge(e, a, b);
        const std::complex<T> upper = edge(e, 0, b);
        return e * (edge(e, a, 0) + upper);
    };
    const std::complex<T> t1 = term(p.x1, p.y1, p.y2);
    const std::complex<T> t2 = term(p.x2, p.y1, p.y2);
    const std::complex<T> t3 = term(p.y1, p.x1, p.x2);
    const std::complex<T> t4 = term(p.y2, p.x1, p.x2);
    return std::complex<T>(0, static_cast<T>(-0.15915494309189535)) * (t1 - t2 + t3 - t4);
}

class KeptMapping : public testing::TestWithParam<Case> {
  protected:
    KeptMapping() {
        const std::array<double, 4> table{GetParam().nodes[0], weights[0], GetParam().nodes[1],
                                          weights[1]};
        piston.doubleRule.take(2, table.data());
        piston.floatRule.take(2, table.data());
    }

    static constexpr double k = 1.5;
    static constexpr double z = 2.25;

    template <class T>
    static PointField<T> point() {
        const Case& c = GetParam();
        return {static_cast<T>(c.x1), static_cast<T>(c.x2), static_cast<T>(c.y1),
                static_cast<T>(c.y2), static_cast<T>(z),    static_cast<T>(k)};
    }

    template <class T>
    static void expectClose(std::complex<T> got, std::complex<T> wanted) {
        EXPECT_LT(std::abs(got - wanted), 20 * std::numeric_limits<T>::epsilon());
    }

    template <class T>
    void expectKeptAtOnePoint() const {
        const PointField<T> p = point<T>();
        const std::complex<T> kept = byIntegrator(p, GetParam().nodes, false);
        EXPECT_GT(std::abs(kept - byIntegrator(p, GetParam().nodes, true)), T(1e-3));
        expectClose(p.pressure(piston), kept);
    }

    /// A row of points, askew, of which the one in the middle is the case's.
    template <class T, class G>
    void expectKeptInAField() const {
        constexpr unsigned count = 23;
        constexpr double middle = 11;
        constexpr double stepX = 0.25;
        constexpr double stepY = 1.25;  // beside the case's point there are some of other pieces
        const Case& c = GetParam();
        const double px = (c.x1 + c.x2) / 2 - middle * stepX;
        const double py = (c.y1 + c.y2) / 2 - middle * stepY;
        const std::array<double, 16> transform{stepX, 0, 0, px,  //
                                               stepY, 1, 0, py,  //
                                               0,     0, 1, z,   //
                                               0,     0, 0, 1};
        std::vector<T> re(count);
        std::vector<T> im(count);
        piston.computeCPU(re.data(), im.data(), Grid3DR<G>(transform.data(), count, 1, 1));
        for (unsigned i = 0; i < count; ++i) {
            PointField<T> p = point<T>();
            for (T* offset : {&p.x1, &p.x2}) *offset += static_cast<T>((i - middle) * stepX);
            for (T* offset : {&p.y1, &p.y2}) *offset += static_cast<T>((i - middle) * stepY);
            SCOPED_TRACE(i);
            expectClose({re[i], im[i]}, byIntegrator(p, c.nodes, false));
        }
    }

    RectangularPistonCuda2 piston{GetParam().y2 - GetParam().y1, GetParam().x2 - GetParam().x1, k};
};

TEST_P(KeptMapping, IsKeptAtOnePoint) {
    expectKeptAtOnePoint<double>();
    expectKeptAtOnePoint<float>();
}

TEST_P(KeptMapping, IsKeptInFieldsWhateverThePointsBesideIt) {
    expectKeptInAField<double, double>();
    expectKeptInAField<float, float>();
}

INSTANTIATE_TEST_SUITE_P(Cases, KeptMapping, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

}  // namespace
