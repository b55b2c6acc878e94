// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Where the GPU's fields are those of the CPU evaluation, and where they are not.

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "KernelTest.h"
#include "core/Grid3DR.h"

namespace {

/// The two halves of a field, in double.
struct Field {
    explicit Field(std::size_t points) : re(points), im(points) {}

    std::vector<double> re;
    std::vector<double> im;
};

class HostAgreementTest : public KernelTest<DoublePrecision> {
  protected:
    static constexpr double l = 2.5;
    static constexpr double s = 1.75;
    static constexpr double k = 5.5;
    static constexpr int sx = 9;
    static constexpr int sy = 8;
    static constexpr int sz = 5;
    static constexpr std::size_t points = std::size_t{sx} * sy * sz;

    /// All positions are short binary fractions, which no precision rounds; none is on an edge's
    /// line.
    using Transform = std::array<double, 16>;
    static constexpr Transform transform{0.5, 0, 0, -2, 0, 0.5, 0, -1.5, 0, 0, 2, 0.25, 0, 0, 0, 1};

    static Grid3DR<double> gridOf(const Transform& m) { return {m.data(), sx, sy, sz}; }

    static void setOrder(RectangularPistonCuda2& piston, int order) {
        piston.floatRule.compute(order);
        piston.doubleRule.compute(order);
        setCudaIntegratorParameters(stem, order);
    }

    static Field onGpu(const RectangularPistonCuda2& piston, const Transform& m) {
        Field field(points);
        piston.computeCuda<double>(field.re.data(), field.im.data(), gridOf(m));
        return field;
    }

    static Field onGpuInDouble(const Transform& m) {
        Field field(points);
        RectangularPiston_func2_d(field.re.data(), field.im.data(), sx, sy, sz, m.data(), l, s, k);
        return field;
    }

    static Field onCpu(const RectangularPistonCuda2& piston, const Transform& m) {
        Field field(points);
        piston.computeCPU<double, double>(field.re.data(), field.im.data(), gridOf(m));
        return field;
    }

    static Field onCpuInFloat(const RectangularPistonCuda2& piston, const Transform& m) {
        std::vector<float> pairs(2 * points);
        piston.computeCPU<float, double>(pairs.data(), gridOf(m));
        Field field(points);
        for (std::size_t i = 0; i < points; ++i) {
            field.re[i] = pairs[2 * i];
            field.im[i] = pairs[2 * i + 1];
        }
        return field;
    }

    /// The largest difference, in units of u * (1 + k*R) * S.
    static double difference(const Field& a, const Field& b, int order) {
        const reference::Rule rule = reference::legendreRule(order);
        double largest = 0;
        for (std::size_t i = 0; i < points; ++i) {
            const auto index = static_cast<int>(i);
            const int ix = index % sx;
            const int iy = index / sx % sy;
            const int iz = index / (sx * sy);
            const Scene<double> scene{-2 + 0.5 * ix, -1.5 + 0.5 * iy, 0.25 + 2.0 * iz,
                                      s / 2,         l / 2,           k};
            const double apart = std::hypot(a.re[i] - b.re[i], a.im[i] - b.im[i]);
            const auto measure = static_cast<double>(roundingMeasure(deviceField(scene, rule), k));
            largest = std::fmax(largest, apart / measure);
        }
        return largest;
    }

    static bool same(const Field& a, const Field& b) {
        return sameBits(a.re, b.re) && sameBits(a.im, b.im);
    }
};

// Either side may be off by its own bound.

TEST_F(HostAgreementTest, SinglePrecisionIsTheCpusSinglePrecision) {
    RectangularPistonCuda2 piston(l, s, k);
    for (const int order : {1, 2, 3, 10, 31, 100}) {
        setOrder(piston, order);
        EXPECT_LE(difference(onGpu(piston, transform), onCpuInFloat(piston, transform), order),
                  3 + 2);
    }
}

TEST_F(HostAgreementTest, DoublePrecisionIsTheCpusDoublePrecisionToTheRoundingOfFloat) {
    RectangularPistonCuda2 piston(l, s, k);
    for (const int order : {1, 2, 3, 10, 31, 100}) {
        setOrder(piston, order);
        EXPECT_LE(difference(onGpuInDouble(transform), onCpu(piston, transform), order), 2);
    }
}

TEST_F(HostAgreementTest, TheCpuDividesByTheLastElementAndTheGpuDoesNot) {
    RectangularPistonCuda2 piston(l, s, k);
    setOrder(piston, 10);
    Transform halved = transform;
    halved[15] = 2;
    EXPECT_TRUE(same(onGpu(piston, halved), onGpu(piston, transform)));
    EXPECT_TRUE(same(onGpuInDouble(halved), onGpuInDouble(transform)));
    EXPECT_GT(difference(onCpu(piston, halved), onCpu(piston, transform), 10), 1e5);
}

TEST_F(HostAgreementTest, TheGpuKnowsTheFirstHalfOfARuleOnly) {
    RectangularPistonCuda2 piston(l, s, k);
    piston.doubleRule.compute(5);
    const std::array<double, 5> x{-0.9, -0.5, 0.1, 0.3, 0.6};
    const std::array<double, 5> w{0.25, 0.5, 0.55, 0.3, 0.4};
    setIntegratorWeightsSym_d(stem, x.data(), w.data(), 5);
    const auto set = [&piston](std::array<double, 5> nodes, std::array<double, 5> weights) {
        for (std::size_t i = 0; i < 5; ++i) {
            piston.doubleRule.abscissas[i] = nodes[i];
            piston.doubleRule.weights[i] = weights[i];
        }
    };
    const Field gpu = onGpuInDouble(transform);
    set(x, w);
    EXPECT_GT(difference(gpu, onCpu(piston, transform), 5), 1e4);
    set({-0.9, -0.5, 0, 0.5, 0.9}, {0.25, 0.5, 0.55, 0.5, 0.25});
    EXPECT_LE(difference(gpu, onCpu(piston, transform), 5), 2);
}

}  // namespace
