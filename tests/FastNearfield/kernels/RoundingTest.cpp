// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The pressures' rounding errors, against the kernels' own formula with the same rule in 113 bits.

#include <array>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <limits>
#include <map>
#include <numbers>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "FastNearfield/RectangularPistonCuda.h"
#include "KernelTest.h"
#include "support/RandomPoints.h"

namespace {

using namespace heights;

constexpr unsigned seed = 20261121;

/// The sizes of a piston's half sides: 10^low to 10^high, in wavelengths or absolute.
struct Sides {
    double low, high;
    bool inWavelengths;
};

constexpr Sides usual{-1.3, 1, true};
constexpr Sides small{-3.3, -1.3, true};
/// About the distance within which points count as on the axis.
constexpr Sides tiny{-8, -5.3, false};

/// The orders in turn; high ones have fewer points, for they take long in 113 bits.
constexpr std::array orders{1, 10, 32, 2, 31, 100, 3, 10, 32, 512, 1, 31, 10, 2, 32, 511};
constexpr int pointsOf(int order) { return order > 200 ? 12 : order > 50 ? 40 : 62; }

template <class Precision>
class RoundingTest : public KernelTest<Precision> {
  protected:
    using Real = typename Precision::Real;
    using Complex = typename Precision::Complex;

    /// Checks at least this many points in groups of one piston and one order each.
    void check(int count, const Sides& sides, const Height& height) {
        // In front of the piston the integrand stays bounded where D = X^2 + t^2 is small. Behind
        // it exp(-j*k*R) and exp(-j*k*z) differ there, 1/D shows, and with it the rounding of the
        // nodes t in single precision: near an edge by far more than the bound.
        const bool withDrift = std::is_same_v<Real, float> && height.sign < 0;
        for (std::size_t group = 0; points < count; ++group) {
            const int order = orders[group % orders.size()];
            const reference::Rule rule = this->uploadLegendreRule(order);
            const std::vector<Scene<Real>> scenes =
                drawScenes(static_cast<std::size_t>(pointsOf(order)), sides, height);
            const std::vector<Complex> field = computed(group, scenes);
            for (std::size_t i = 0; i < scenes.size(); ++i)
                add(scenes[i], field[i], rule, withDrift);
        }
        this->RecordProperty("points", points);
        this->RecordProperty("largest_error", std::to_string(largest));
        EXPECT_LE(largest, Precision::bound) << worst;
        constexpr int often = 10;
        for (const auto& [spans, times] : counts) EXPECT_GE(times, often) << spans;
        EXPECT_EQ(counts.size(), 9U) << testing::PrintToString(counts);
    }

  private:
    std::vector<Scene<Real>> drawScenes(std::size_t count, const Sides& sides,
                                        const Height& height) {
        const double wavelength = random.magnitude(-3, 1);
        const double unit = sides.inWavelengths ? wavelength : 1;
        const auto a = static_cast<Real>(unit * random.magnitude(sides.low, sides.high));
        const auto b = static_cast<Real>(unit * random.magnitude(sides.low, sides.high));
        std::vector<Scene<Real>> scenes(count);
        const auto draw = [&](Real half) {
            const auto place = static_cast<Place>(random.below(places));
            return static_cast<Real>(
                coordinate(random, place, static_cast<double>(half), wavelength));
        };
        for (Scene<Real>& scene : scenes) {
            const auto distance = static_cast<Real>(height.draw(random, wavelength));
            scene = {draw(a), draw(b), distance,
                     a,       b,       static_cast<Real>(2 * std::numbers::pi / wavelength)};
        }
        return scenes;
    }

    /// By the launchers of the family in turn.
    static std::vector<Complex> computed(std::size_t turn, const std::vector<Scene<Real>>& scenes) {
        if constexpr (std::is_same_v<Real, float>) {
            if (turn % 2 == 0) return asOneSet(scenes);
        }
        std::vector<Complex> field;
        field.reserve(scenes.size());
        for (const Scene<Real>& scene : scenes) field.push_back(alone(turn + field.size(), scene));
        return field;
    }

    static std::vector<Complex> asOneSet(const std::vector<Scene<float>>& scenes) {
        std::vector<float> positions;
        for (const Scene<float>& p : scenes) positions.insert(positions.end(), {p.x, p.y, p.z});
        std::vector<Complex> field(scenes.size());
        const Scene<float>& any = scenes[0];
        RectangularPiston_func_unstructured(field.data(), static_cast<int>(scenes.size()),
                                            positions.data(), 2 * any.b, 2 * any.a, any.k);
        return field;
    }

    static ::Complex alone(std::size_t turn, const Scene<float>& p) {
        ::Complex pressure{};
        if (turn % 3 == 0)
            do_calculate_grid(&pressure, 1, 1, 1, 0, 0, 0, p.x, 0, 0, 0, p.y, 0, 0, 0, p.z, 2 * p.b,
                              2 * p.a, p.k);
        const std::array<float, 16> transform{0, 0, 0, p.x, 0, 0, 0, p.y, 0, 0, 0, p.z, 0, 0, 0, 1};
        if (turn % 3 == 1)
            RectangularPiston_func(&pressure, 1, 1, 1, transform.data(), 2 * p.b, 2 * p.a, p.k);
        if (turn % 3 == 2)
            RectangularPiston_func2(&pressure.re, &pressure.im, 1, 1, 1, transform.data(), 2 * p.b,
                                    2 * p.a, p.k);
        return pressure;
    }

    static ::Complexd alone(std::size_t turn, const Scene<double>& p) {
        ::Complexd pressure{};
        if (turn % 3 == 0)
            do_calculate_grid_d(&pressure, 1, 1, 1, 0, 0, 0, p.x, 0, 0, 0, p.y, 0, 0, 0, p.z,
                                2 * p.b, 2 * p.a, p.k);
        const std::array<double, 16> transform{0, 0, 0, p.x, 0, 0, 0, p.y,
                                               0, 0, 0, p.z, 0, 0, 0, 1};
        if (turn % 3 == 1)
            RectangularPiston_func_d(&pressure, 1, 1, 1, transform.data(), 2 * p.b, 2 * p.a, p.k);
        if (turn % 3 == 2)
            RectangularPiston_func2_d(&pressure.re, &pressure.im, 1, 1, 1, transform.data(),
                                      2 * p.b, 2 * p.a, p.k);
        return pressure;
    }

    void add(const Scene<Real>& scene, const Complex& pressure, const reference::Rule& rule,
             bool withDrift) {
        const reference::Spans spans = deviceSpans(scene);
        const reference::Field expected = deviceField(scene, rule, spans);
        ++points;
        ++counts[std::to_string(static_cast<int>(spans.alongY)) + " along y, " +
                 std::to_string(static_cast<int>(spans.alongX)) + " along x"];
        if (std::isnan(static_cast<double>(reference::magnitude(expected.pressure)))) {
            EXPECT_FALSE(std::isfinite(pressure.re)) << describe(scene);
            EXPECT_FALSE(std::isfinite(pressure.im)) << describe(scene);
            return;
        }
        const Quad error = reference::magnitude(reference::QuadComplex{pressure.re, pressure.im} -
                                                expected.pressure);
        const Quad measure = withDrift ? reference::errorMeasureWithDrift(expected, scene.k)
                                       : reference::errorMeasure(expected, scene.k);
        const auto units = static_cast<double>(error / (static_cast<Quad>(unitRoundoff) * measure));
        if (units <= largest) return;
        largest = units;
        worst = describe(scene) + ", order " + std::to_string(rule.nodes.size());
    }

    static std::string describe(const Scene<Real>& scene) {
        std::ostringstream text;
        text << std::setprecision(std::numeric_limits<Real>::max_digits10) << "p = (" << scene.x
             << ", " << scene.y << ", " << scene.z << "), half sides " << scene.a << ", " << scene.b
             << ", k = " << scene.k;
        return text.str();
    }

    Random random{seed};
    int points = 0;
    double largest = 0;
    std::string worst;
    std::map<std::string, int> counts;
};
TYPED_TEST_SUITE(RoundingTest, Families, FamilyName);

// Five heights of usual pistons make 10,000 points in each family.
constexpr int usualPointsEach = 2000;
constexpr int smallPointsEach = 1000;

TYPED_TEST(RoundingTest, StaysWithinTheBoundInThePistonsPlane) {
    this->check(usualPointsEach, usual, inPlane);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundCloseToThePiston) {
    this->check(usualPointsEach, usual, nearby);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundWavelengthsAway) {
    this->check(usualPointsEach, usual, middle);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundFarAway) { this->check(usualPointsEach, usual, far); }

TYPED_TEST(RoundingTest, StaysWithinTheBoundAndTheNodesDriftBehindThePiston) {
    this->check(usualPointsEach, usual, behind);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundForPistonsSmallerThanTheWavelength) {
    this->check(smallPointsEach, small, middle);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundForTinyPistons) {
    this->check(smallPointsEach, tiny, middle);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundForTinyPistonsInTheirPlane) {
    this->check(smallPointsEach, tiny, inPlane);
}

TYPED_TEST(RoundingTest, StaysWithinTheBoundAndTheNodesDriftBehindTinyPistons) {
    this->check(smallPointsEach, tiny, behind);
}

}  // namespace
