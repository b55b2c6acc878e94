// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The field's rounding errors, against the same formula with the same rule in 113 bits.
//
// With u the unit roundoff, R the largest distance from the point to the piston and S the bound of
// the edge sum, a rounded evaluation is off by a small multiple of u * (1 + k*R) * S: the argument
// k*R of the exponential alone carries a rounding error of u * k*R.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "PointField.h"
#include "reference/NearField.h"
#include "support/RandomPoints.h"
#include "support/RoundingBounds.h"

namespace {

using namespace heights;
using reference::Span;

/// A point and a piston, all in T exactly.
template <class T>
struct Scene {
    T px, py, pz;
    T halfX, halfY;
    T k;

    [[nodiscard]] PointField<T> field() const {
        return PointField<T>::at(px, py, pz, halfX, halfY, k);
    }
    [[nodiscard]] reference::Offsets exactOffsets() const {
        return reference::offsetsOf(px, py, halfX, halfY);
    }
};

template <class T>
Scene<T> drawScene(Random& random, const Height& height, double wavelength, double halfX,
                   double halfY) {
    Scene<T> scene;
    scene.halfX = static_cast<T>(halfX);
    scene.halfY = static_cast<T>(halfY);
    scene.k = static_cast<T>(2 * std::numbers::pi / wavelength);
    const auto draw = [&](T half) {
        const auto place = static_cast<Place>(random.below(places));
        return static_cast<T>(coordinate(random, place, static_cast<double>(half), wavelength));
    };
    scene.px = draw(scene.halfX);
    scene.py = draw(scene.halfY);
    scene.pz = static_cast<T>(height.draw(random, wavelength));
    return scene;
}

double drawWavelength(Random& random) { return random.magnitude(-3, 1); }

/// Half a side of 0.1 to 20 wavelengths.
double usualHalf(Random& random, double wavelength) {
    return 0.5 * wavelength * random.magnitude(-1, 1.3);
}

/// Half a side below 1e-7, where the formula takes forms of its own.
double thinHalf(Random& random) { return 0.5 * random.magnitude(-10, -7.1); }

template <class T>
Scene<T> drawUsualScene(Random& random, const Height& height) {
    const double wavelength = drawWavelength(random);
    const double halfX = usualHalf(random, wavelength);
    const double halfY = usualHalf(random, wavelength);
    return drawScene<T>(random, height, wavelength, halfX, halfY);
}

/// A piston with one side or both too thin.
template <class T>
Scene<T> drawThinScene(Random& random, const Height& height) {
    const double wavelength = drawWavelength(random);
    const std::size_t which = random.below(3);
    const double halfX = which == 0 ? usualHalf(random, wavelength) : thinHalf(random);
    const double halfY = which == 1 ? usualHalf(random, wavelength) : thinHalf(random);
    return drawScene<T>(random, height, wavelength, halfX, halfY);
}

/// A piston much smaller than the wavelength, of 10^-3 to 10^-1 wavelengths.
template <class T>
Scene<T> drawSmallScene(Random& random, const Height& height) {
    const double wavelength = drawWavelength(random);
    const double halfX = 0.5 * wavelength * random.magnitude(-3, -1);
    const double halfY = 0.5 * wavelength * random.magnitude(-3, -1);
    return drawScene<T>(random, height, wavelength, halfX, halfY);
}

template <class T>
struct OrderedPiston {
    explicit OrderedPiston(int order) {
        piston.doubleRule.compute(order);
        piston.floatRule.compute(order);
        rule = widenedRuleOf<T>(piston);
    }
    RectangularPistonCuda2 piston{1, 1, 1};
    reference::Rule rule;
};

std::string named(Span span) {
    constexpr std::array<const char*, 4> names{"whole", "split", "doubled upper", "doubled whole"};
    return names.at(static_cast<std::size_t>(span));
}

/// The largest error of a set of points, in units of u * (1 + k*R) * S.
template <class T>
class Errors {
  public:
    /// @param orders of the rules; every other point has the first
    explicit Errors(const std::vector<int>& orders) {
        for (const int order : orders) pistons.push_back(std::make_unique<OrderedPiston<T>>(order));
    }

    /// Adds a point's error.
    /// @param offsets what the reference takes for the point's offsets
    /// @param withDrift whether the unit counts the rounding of the mapped nodes as well
    void add(const Scene<T>& scene, const reference::Offsets& offsets, bool withDrift) {
        const OrderedPiston<T>& by = nextPiston();
        const PointField<T> field = scene.field();
        const std::complex<T> got = field.pressure(by.piston);
        const reference::Field expected = reference::nearField(offsets, field.z, field.k, by.rule);
        const reference::Spans spans = reference::hostSpans(offsets);
        ++counts[named(spans.alongY) + ", " + named(spans.alongX)];

        // Straight above or below three of the corners the formula divides zero by zero.
        if (std::isnan(static_cast<double>(reference::magnitude(expected.pressure)))) {
            EXPECT_TRUE(std::isnan(got.real()) && std::isnan(got.imag())) << describe(scene);
            return;
        }
        const Quad error = reference::magnitude(reference::QuadComplex{got.real(), got.imag()} -
                                                expected.pressure);
        const Quad measure = withDrift ? reference::errorMeasureWithDrift(expected, field.k)
                                       : reference::errorMeasure(expected, field.k);
        const auto units = static_cast<double>(error / (unitRoundoff * measure));
        if (units <= largest) return;
        largest = units;
        worst = describe(scene) + ", order " + std::to_string(by.rule.nodes.size());
    }

    /// Publishes the largest error and holds it against the bound.
    /// @param spans how the edges along y and x were integrated: each at least this often
    void expectBounded(const std::string& what, const std::vector<std::string>& spans) const {
        std::cout << what << ": " << points << " points, largest error " << largest << " units, at "
                  << worst << '\n';
        testing::Test::RecordProperty("largest_error", std::to_string(largest));
        testing::Test::RecordProperty("points", std::to_string(points));
        EXPECT_LE(largest, roundingbounds::cpu) << worst;
        constexpr int often = 40;
        for (const std::string& span : spans) {
            const auto found = counts.find(span);
            EXPECT_TRUE(found != counts.end() && found->second >= often) << span;
        }
    }

  private:
    static constexpr Quad unitRoundoff = std::numeric_limits<T>::epsilon() / 2;

    const OrderedPiston<T>& nextPiston() {
        const int turn = points++;
        return *pistons[turn % 2 == 0 ? 0 : static_cast<std::size_t>(turn / 2) % pistons.size()];
    }

    static std::string describe(const Scene<T>& scene) {
        std::ostringstream text;
        text << std::setprecision(std::numeric_limits<T>::max_digits10) << "p = (" << scene.px
             << ", " << scene.py << ", " << scene.pz << "), half sides " << scene.halfX << ", "
             << scene.halfY << ", k = " << scene.k;
        return text.str();
    }

    std::vector<std::unique_ptr<OrderedPiston<T>>> pistons;
    double largest = 0;
    std::string worst;
    int points = 0;
    std::map<std::string, int> counts;
};

struct PrecisionName {
    template <class T>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<T, float> ? "float" : "double";
    }
};

// Five heights of usual pistons make 10,000 points in each precision.
constexpr int usualPointsEach = 2000;
constexpr int smallPointsEach = 1000;
constexpr unsigned seed = 20261121;

const std::vector<std::string>& usualSpans() {
    static const std::vector<std::string> spans{"whole, whole", "whole, split", "split, whole",
                                                "split, split"};
    return spans;
}

const std::vector<std::string>& thinSpans() {
    static const std::vector<std::string> spans{"doubled upper, whole", "doubled upper, split",
                                                "doubled upper, doubled whole",
                                                "whole, doubled whole", "split, doubled whole"};
    return spans;
}

template <class T>
class NearFieldRounding : public testing::Test {
  protected:
    using Draw = Scene<T> (*)(Random&, const Height&);

    /// Points of which the reference takes the position and the sides as they are: the error
    /// includes that of the rounded offsets.
    static void checkPoints(Draw draw, int count, const Height& height, bool withDrift) {
        Errors<T> errors({100, 1, 2, 7, 16, 33, 64});
        Random random(seed);
        for (int i = 0; i < count; ++i) {
            const Scene<T> scene = draw(random, height);
            errors.add(scene, scene.exactOffsets(), withDrift);
        }
        errors.expectBounded(height.name, usualSpans());
    }

    /// Points of thin pistons. Their sides are lost in the rounding of a distant point's offsets,
    /// so the reference takes the rounded offsets. A rule of one node is left out: of it, an
    /// interval [0, 0] keeps the mapping of a symmetric one before.
    static void checkThinPistons(const Height& height, bool withDrift) {
        Errors<T> errors({100, 2, 3, 7, 16, 33, 64});
        Random random(seed);
        for (int i = 0; i < smallPointsEach; ++i) {
            const auto scene = drawThinScene<T>(random, height);
            errors.add(scene, scene.field().offsets(), withDrift);
        }
        errors.expectBounded(height.name, thinSpans());
    }

    static void checkUsualPistons(const Height& height, bool withDrift) {
        checkPoints(drawUsualScene<T>, usualPointsEach, height, withDrift);
    }
    static void checkSmallPistons(const Height& height, bool withDrift) {
        checkPoints(drawSmallScene<T>, smallPointsEach, height, withDrift);
    }
};

using Precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(NearFieldRounding, Precisions, PrecisionName);

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundInThePistonsPlane) {
    this->checkUsualPistons(inPlane, false);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundCloseToThePiston) {
    this->checkUsualPistons(nearby, false);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundWavelengthsAway) {
    this->checkUsualPistons(middle, false);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundFarAway) { this->checkUsualPistons(far, false); }

// Behind the piston exp(-j*k*R) and exp(-j*k*z) differ where D is small, beside an edge or a
// corner, and the nodes' own rounding errors show: by far more than the bound within 1e-3 of a
// side.
TYPED_TEST(NearFieldRounding, StaysWithinTheBoundAndTheNodesDriftBehindThePiston) {
    this->checkUsualPistons(behind, true);
}

// Above an edge of a piston thin both ways a single integral of equal terms carries the field, and
// no rounding averages out: such points come closest to the bound, where k*R is about 1.
TYPED_TEST(NearFieldRounding, StaysWithinTheBoundForThinPistonsInTheirPlane) {
    this->checkThinPistons(inPlane, false);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundForThinPistonsWavelengthsAway) {
    this->checkThinPistons(middle, false);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundAndTheNodesDriftBehindThinPistons) {
    this->checkThinPistons(behind, true);
}

TYPED_TEST(NearFieldRounding, StaysWithinTheBoundForPistonsSmallerThanTheWavelength) {
    this->checkSmallPistons(middle, false);
}

}  // namespace
