// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPiston2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "CapturedStream.h"
#include "FastNearfield/Piston.h"
#include "FastNearfield/Transducer.h"
#include "PointField.h"
#include "core/Grid3DR.h"
#include "reference/NearField.h"

namespace {

// --- the object

TEST(RectangularPiston, StartsWithItsParametersAndTheGpuInUse) {
    const RectangularPistonCuda2 piston(5e-3, 7.5e-3, 4188.8);
    EXPECT_EQ(piston.l, 5e-3);
    EXPECT_EQ(piston.s, 7.5e-3);
    EXPECT_EQ(piston.k, 4188.8);
    EXPECT_TRUE(piston.useCuda);
}

template <class T>
void expectRuleOfOrder100(const GaussLegendre<T>& rule) {
    EXPECT_EQ(rule.order, 100);
    EXPECT_FALSE(rule.unallocated);
    std::array<T, 100> nodes{};
    std::array<T, 100> weights{};
    legendre_compute(100, nodes.data(), weights.data());
    EXPECT_EQ(std::vector<T>(rule.abscissas, rule.abscissas + 100),
              std::vector<T>(nodes.begin(), nodes.end()));
    EXPECT_EQ(std::vector<T>(rule.weights, rule.weights + 100),
              std::vector<T>(weights.begin(), weights.end()));
}

TEST(RectangularPiston, StartsWithRulesOfOrder100InBothPrecisions) {
    const RectangularPistonCuda2 piston(1, 1, 1);
    expectRuleOfOrder100(piston.doubleRule);
    expectRuleOfOrder100(piston.floatRule);
}

TEST(RectangularPiston, PrintsNothingWhenBuilt) {
    const CapturedStream output(std::cout);
    const RectangularPistonCuda2 piston(1, 1, 1);
    EXPECT_EQ(output.text(), "");
}

// The sanitizers watch what is freed.
TEST(RectangularPiston, IsDestroyedAsATransducerWithRulesOfAnotherOrder) {
    for (const int order : {0, 1, 7, 512}) {
        auto piston = std::make_unique<RectangularPistonCuda2>(1, 1, 1);
        EXPECT_TRUE(piston->doubleRule.setOrder(order));
        EXPECT_TRUE(piston->floatRule.setOrder(order));
        const std::unique_ptr<Transducer> transducer = std::move(piston);
    }
}

// --- fields over grids

constexpr std::array<double, 16> tilted{0.31,  0.05,  -0.02, -0.6,   //
                                        -0.04, 0.27,  0.03,  -0.45,  //
                                        0.02,  -0.01, 0.4,   0.35,   //
                                        9.0,   -8.0,  7.0,   1.75};

/// The position that the transform gives to a lattice point; the bottom row's first three elements
/// play no part.
std::array<double, 3> placed(const std::array<double, 16>& m, int ix, int iy, int iz) {
    std::array<double, 3> p{};
    for (std::size_t r = 0; r < 3; ++r) {
        double sum = m[4 * r + 3];
        sum += m[4 * r] * ix;
        sum += m[4 * r + 1] * iy;
        sum += m[4 * r + 2] * iz;
        p[r] = sum / m[15];
    }
    return p;
}

struct GridCase {
    std::array<double, 16> transform;
    int sx, sy, sz;

    [[nodiscard]] Grid3DR<double> grid() const {
        return {transform.data(), static_cast<unsigned>(sx), static_cast<unsigned>(sy),
                static_cast<unsigned>(sz)};
    }
    [[nodiscard]] std::size_t count() const {
        return static_cast<std::size_t>(sx) * static_cast<std::size_t>(sy) *
               static_cast<std::size_t>(sz);
    }
};

const GridCase& tiltedGrid() {
    static const GridCase grid{tilted, 5, 4, 3};
    return grid;
}

class PistonField : public testing::Test {
  protected:
    static constexpr double l = 1.3;  // along y
    static constexpr double s = 0.9;  // along x
    static constexpr double k = 7.1;

    PistonField() {
        piston.doubleRule.compute(20);
        piston.floatRule.compute(20);
        piston.useCuda = false;
    }

    /// The points' pressures, one by one, x fastest, then y, then z.
    template <class T>
    std::vector<std::complex<T>> pointByPoint(const GridCase& c) const {
        std::vector<std::complex<T>> field;
        for (int iz = 0; iz < c.sz; ++iz)
            for (int iy = 0; iy < c.sy; ++iy)
                for (int ix = 0; ix < c.sx; ++ix) {
                    const std::array<double, 3> p = placed(c.transform, ix, iy, iz);
                    const auto point = PointField<T>::at(
                        static_cast<T>(p[0]), static_cast<T>(p[1]), static_cast<T>(p[2]),
                        static_cast<T>(s * 0.5), static_cast<T>(l * 0.5), static_cast<T>(k));
                    field.push_back(point.pressure(piston));
                }
        return field;
    }

    template <class T>
    std::vector<std::complex<T>> interleaved(const GridCase& c) const {
        const CapturedStream quiet(std::cout);
        std::vector<T> out(2 * c.count());
        piston.computeCPU<T, double>(out.data(), c.grid());
        std::vector<std::complex<T>> field;
        for (std::size_t i = 0; i < c.count(); ++i) field.emplace_back(out[2 * i], out[2 * i + 1]);
        return field;
    }

    template <class T>
    std::vector<std::complex<T>> inTwoArrays(const GridCase& c) const {
        std::vector<T> re(c.count());
        std::vector<T> im(c.count());
        const Grid3DR<T> grid(c.transform.data(), static_cast<unsigned>(c.sx),
                              static_cast<unsigned>(c.sy), static_cast<unsigned>(c.sz));
        piston.computeCPU<T, T>(re.data(), im.data(), grid);
        std::vector<std::complex<T>> field;
        for (std::size_t i = 0; i < c.count(); ++i) field.emplace_back(re[i], im[i]);
        return field;
    }

    RectangularPistonCuda2 piston{l, s, k};
};

TEST_F(PistonField, InTwoDoubleArraysEqualsItsPointsBitForBit) {
    EXPECT_EQ(inTwoArrays<double>(tiltedGrid()), pointByPoint<double>(tiltedGrid()));
}

TEST_F(PistonField, InterleavedInDoubleEqualsItsPointsBitForBit) {
    EXPECT_EQ(interleaved<double>(tiltedGrid()), pointByPoint<double>(tiltedGrid()));
}

TEST_F(PistonField, InterleavedInFloatEqualsItsPointsBitForBit) {
    // Positions are double, and rounded once they are divided by the transform's last element.
    EXPECT_EQ(interleaved<float>(tiltedGrid()), pointByPoint<float>(tiltedGrid()));
}

TEST_F(PistonField, OverAFloatGridEqualsItsPointsBitForBit) {
    std::array<float, 16> m{};
    for (std::size_t i = 0; i < 16; ++i) m.at(i) = static_cast<float>(tilted.at(i));
    std::vector<std::complex<float>> expected;
    for (int iz = 0; iz < 3; ++iz)
        for (int iy = 0; iy < 4; ++iy)
            for (int ix = 0; ix < 5; ++ix) {
                std::array<float, 3> p{};
                for (std::size_t r = 0; r < 3; ++r) {
                    float sum = m[4 * r + 3];
                    sum += m[4 * r] * static_cast<float>(ix);
                    sum += m[4 * r + 1] * static_cast<float>(iy);
                    sum += m[4 * r + 2] * static_cast<float>(iz);
                    p[r] = sum / m[15];
                }
                expected.push_back(
                    PointField<float>::at(p[0], p[1], p[2], static_cast<float>(s * 0.5),
                                          static_cast<float>(l * 0.5), static_cast<float>(k))
                        .pressure(piston));
            }
    EXPECT_EQ(inTwoArrays<float>(tiltedGrid()), expected);
}

TEST_F(PistonField, DoubleLayoutsAreIdentical) {
    EXPECT_EQ(interleaved<double>(tiltedGrid()), inTwoArrays<double>(tiltedGrid()));
}

TEST_F(PistonField, IsThatOfTheFormulaAtThePlacedPoints) {
    const GridCase& c = tiltedGrid();
    const std::vector<std::complex<double>> field = inTwoArrays<double>(c);
    const reference::Rule rule = widenedRuleOf<double>(piston);
    for (std::size_t i = 0; i < field.size(); ++i) {
        const int index = static_cast<int>(i);
        const auto p = placed(c.transform, index % 5, index / 5 % 4, index / 20);
        const reference::Field expected =
            reference::nearField(reference::offsetsOf(p[0], p[1], s / 2, l / 2), p[2], k, rule);
        EXPECT_NEAR(field[i].real(), static_cast<double>(expected.pressure.re), 2e-14);
        EXPECT_NEAR(field[i].imag(), static_cast<double>(expected.pressure.im), 2e-14);
    }
}

TEST_F(PistonField, InFloatHasTheAccuracyOfFloatAndIsNoRoundedDoubleField) {
    const std::vector<std::complex<double>> exact = interleaved<double>(tiltedGrid());
    const std::vector<std::complex<float>> field = interleaved<float>(tiltedGrid());
    bool anyDiffers = false;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        EXPECT_LT(std::abs(std::complex<double>(field[i]) - exact[i]), 2e-5);
        anyDiffers = anyDiffers || field[i] != std::complex<float>(exact[i]);
    }
    EXPECT_TRUE(anyDiffers);
}

TEST_F(PistonField, ComesOutTheSameEveryTime) {
    const std::vector<std::complex<double>> first = inTwoArrays<double>(tiltedGrid());
    EXPECT_EQ(inTwoArrays<double>(tiltedGrid()), first);
}

TEST_F(PistonField, WritesNothingBeyondItsPoints) {
    const CapturedStream quiet(std::cout);
    const GridCase& c = tiltedGrid();
    std::vector<double> re(c.count() + 1, 42.0);
    std::vector<double> im(c.count() + 1, 42.0);
    piston.computeCPU<double, double>(re.data(), im.data(), c.grid());
    EXPECT_EQ(re.back(), 42.0);
    EXPECT_EQ(im.back(), 42.0);
    std::vector<float> out(2 * c.count() + 1, 42.0F);
    piston.computeCPU<float, double>(out.data(), c.grid());
    EXPECT_EQ(out.back(), 42.0F);
}

TEST_F(PistonField, OverOnePointIsOneValueAndPrintsTheGrid) {
    const GridCase one{tilted, 1, 1, 1};
    const CapturedStream output(std::cout);
    std::vector<double> out(2);
    piston.computeCPU<double, double>(out.data(), one.grid());
    EXPECT_EQ(std::complex<double>(out[0], out[1]), pointByPoint<double>(one)[0]);
    EXPECT_EQ(output.text(), "grid: 1 1 1\n");
    EXPECT_EQ(output.flushedText(), output.text());

    std::vector<float> single(2);
    piston.computeCPU<float, double>(single.data(), one.grid());
    EXPECT_EQ(std::complex<float>(single[0], single[1]), pointByPoint<float>(one)[0]);
    EXPECT_EQ(output.text(), "grid: 1 1 1\ngrid: 1 1 1\n");
}

TEST_F(PistonField, InTwoArraysPrintsNothing) {
    const CapturedStream output(std::cout);
    inTwoArrays<double>(tiltedGrid());
    inTwoArrays<float>(tiltedGrid());
    EXPECT_EQ(output.text(), "");
}

TEST_F(PistonField, GridLineNamesTheSizesInTheOrderXYZ) {
    const CapturedStream output(std::cout);
    std::vector<float> out(2 * tiltedGrid().count());
    piston.computeCPU<float, double>(out.data(), tiltedGrid().grid());
    EXPECT_EQ(output.text(), "grid: 5 4 3\n");
}

TEST_F(PistonField, GridWithoutPointsYieldsNothingButTheGridLine) {
    for (const GridCase& empty : {GridCase{tilted, 0, 4, 3}, GridCase{tilted, 5, 0, 3}}) {
        const CapturedStream output(std::cout);
        std::vector<double> out(2, 42.0);
        piston.computeCPU<double, double>(out.data(), empty.grid());
        piston.computeCPU<double, double>(out.data(), out.data() + 1, empty.grid());
        EXPECT_EQ(out, std::vector<double>(2, 42.0));
        EXPECT_EQ(output.text(), empty.sx == 0 ? "grid: 0 4 3\n" : "grid: 5 0 3\n");
    }
}

TEST_F(PistonField, GridWithTwoNegativeSizesHasNoPointsEither) {
    for (const GridCase& c :
         {GridCase{tilted, -1, -1, 1}, GridCase{tilted, -1, 1, -1}, GridCase{tilted, 1, -1, -1}}) {
        std::vector<double> out(2, 42.0);
        piston.computeCPU<double, double>(out.data(), out.data() + 1, c.grid());
        EXPECT_EQ(out, std::vector<double>(2, 42.0));
    }
}

TEST_F(PistonField, UndefinedAndInfinitePositionsReachTheField) {
    for (const double odd :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        GridCase c{tilted, 2, 1, 1};
        c.transform[0] = odd;  // the second point's x
        c.transform[12] = odd;
        const std::vector<std::complex<double>> field = inTwoArrays<double>(c);
        EXPECT_TRUE(std::isnan(field[1].real()) && std::isnan(field[1].imag()));
    }
    GridCase flat{tilted, 1, 1, 1};
    flat.transform[15] = 0;
    EXPECT_TRUE(std::isnan(inTwoArrays<double>(flat)[0].real()));
}

TEST_F(PistonField, ComputedInFloatOnTheCpuPrintsCpuAfterTheGrid) {
    const GridCase one{tilted, 1, 1, 1};
    const CapturedStream output(std::cout);
    std::vector<float> out(2);
    static_cast<const Transducer&>(piston).compute(out.data(), one.grid());
    EXPECT_EQ(output.text(), "grid: 1 1 1\ncpu\n");
    EXPECT_EQ(output.flushedText(), output.text());
    EXPECT_EQ(std::complex<float>(out[0], out[1]), pointByPoint<float>(one)[0]);
}

TEST_F(PistonField, ComputedInDoubleOnTheCpuPrintsTheGridAlone) {
    const GridCase one{tilted, 1, 1, 1};
    const CapturedStream output(std::cout);
    std::vector<double> out(2);
    piston.compute(out.data(), one.grid());
    EXPECT_EQ(output.text(), "grid: 1 1 1\n");
    EXPECT_EQ(std::complex<double>(out[0], out[1]), pointByPoint<double>(one)[0]);
}

// --- resort

TEST(Resort, PairsTheTwoHalves) {
    std::array<float, 4> two{1, 2, 3, 4};
    resort(two.data(), 2);
    EXPECT_THAT(two, testing::ElementsAre(1, 3, 2, 4));

    std::array<float, 6> three{1, 2, 3, 4, 5, 6};
    resort(three.data(), 3);
    EXPECT_THAT(three, testing::ElementsAre(1, 4, 2, 5, 3, 6));

    std::array<float, 2> one{1, 2};
    resort(one.data(), 1);
    EXPECT_THAT(one, testing::ElementsAre(1, 2));
}

TEST(Resort, TouchesNothingBehindThePairs) {
    std::array<float, 8> data{1, 2, 3, 4, 5, 6, 7, 8};
    resort(data.data(), 2);
    EXPECT_THAT(data, testing::ElementsAre(1, 3, 2, 4, 5, 6, 7, 8));
}

TEST(Resort, ChangesNothingForNoPairs) {
    std::array<float, 2> data{1, 2};
    resort(data.data(), 0);
    EXPECT_THAT(data, testing::ElementsAre(1, 2));
    resort(nullptr, 0);
}

}  // namespace
