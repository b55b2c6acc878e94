// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Array.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <stop_token>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "field/ElementFields.h"
#include "field/Plan.h"
#include "field/errorLimits.h"
#include "reference/ConvergedPressure.h"
#include "tests/field/smallRequest.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/Refused.h"
#include "tests/support/hasDevice.h"

namespace {

using pistonfield::Array;
using pistonfield::Conduct;
using pistonfield::Element;
using pistonfield::Plan;
using pistonfield::PointList;
using pistonfield::Pose;
using pistonfield::Request;
using pistonfield::Tolerance;
using testing::HasSubstr;
using testing::StartsWith;
using enum Tolerance::Of;
using Vector = Pose::Vector;
using Complex = std::complex<double>;

constexpr unsigned seed = 20261129;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = std::numbers::pi;

double lengthOf(const Vector& v) { return std::hypot(v[0], v[1], v[2]); }

/// A pose turned about y and then about its normal.
Pose posed(const Vector& centre, double tilt = 0, double turn = 0) {
    const Vector u{std::cos(tilt), 0, -std::sin(tilt)};
    const Vector v{0, 1, 0};
    Pose pose{centre, {}, {}};
    for (std::size_t i = 0; i < 3; ++i) {
        pose.alongWidth[i] = std::cos(turn) * u[i] + std::sin(turn) * v[i];
        pose.alongHeight[i] = std::cos(turn) * v[i] - std::sin(turn) * u[i];
    }
    return pose;
}

/// Where a point of a piston's frame lies.
Vector placed(const Pose& pose, const Vector& at) {
    const Vector normal = pose.normal();
    Vector place = pose.centre;
    for (std::size_t i = 0; i < 3; ++i)
        place[i] += at[0] * pose.alongWidth[i] + at[1] * pose.alongHeight[i] + at[2] * normal[i];
    return place;
}

/// A request at points, for a wavelength of 1.
Request requestAt(const std::vector<Vector>& points, Array array, const char* mode,
                  Tolerance tolerance) {
    Request request;
    request.wave.wavenumber = 2 * pi;
    request.mode = pistonfield::modeCalled(mode);
    request.tolerance = tolerance;
    request.array = std::move(array);
    request.lattice.sizes = {static_cast<std::int64_t>(points.size()), 1, 1};
    PointList& list = request.points.emplace();
    for (const Vector& point : points) {
        list.x.push_back(point[0]);
        list.y.push_back(point[1]);
        list.z.push_back(point[2]);
    }
    return request;
}

/// A request on a lattice of any directions, for a wavelength of 1.
Request requestOn(const std::array<std::int64_t, 3>& sizes, const std::array<double, 12>& rows,
                  Array array, const char* mode, Tolerance tolerance) {
    Request request;
    request.wave.wavenumber = 2 * pi;
    request.mode = pistonfield::modeCalled(mode);
    request.tolerance = tolerance;
    request.array = std::move(array);
    request.lattice.sizes = sizes;
    std::copy(rows.begin(), rows.end(), request.lattice.transform.begin());
    request.lattice.transform[15] = 1;
    return request;
}

/// The positions of all points of a request.
std::vector<Vector> positionsOf(const Request& request) {
    std::vector<Vector> positions;
    if (request.points) {
        for (std::size_t i = 0; i < request.points->x.size(); ++i)
            positions.push_back({request.points->x[i], request.points->y[i], request.points->z[i]});
        return positions;
    }
    const auto& [m, sizes] = request.lattice;
    for (std::int64_t z = 0; z < sizes[2]; ++z)
        for (std::int64_t y = 0; y < sizes[1]; ++y)
            for (std::int64_t x = 0; x < sizes[0]; ++x) {
                Vector at{};
                for (std::size_t row = 0; row < 3; ++row)
                    at[row] = (m[4 * row + 3] + m[4 * row] * static_cast<double>(x) +
                               m[4 * row + 1] * static_cast<double>(y) +
                               m[4 * row + 2] * static_cast<double>(z)) /
                              m[15];
                positions.push_back(at);
            }
    return positions;
}

/// A pressure by the reference, and what a tolerance of the local amplitude is relative to.
struct Expected {
    Complex value;
    double local;
};

Expected expectedAt(const Request& request, std::size_t weighting, const Vector& point) {
    const Array& array = *request.array;
    const double k = request.wave.wavenumber;
    Expected sum{};
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        const auto& [piston, pose, outline] = array.elements[i];
        const Complex weight = array.weights[weighting * array.elements.size() + i];
        const auto [x, y, z] = pose.placeOf(point);
        const auto p = reference::convergedPressure({piston.width, piston.height},
                                                    {std::abs(x), std::abs(y), std::abs(z)}, k)
                           .value;
        sum.value += weight * Complex(static_cast<double>(p.re), static_cast<double>(p.im));
        const double area = piston.width * piston.height;
        const double distance = std::max(std::hypot(x, y, z), std::sqrt(area) / 4);
        sum.local += std::abs(weight) * std::min(1.0, k * area / (2 * pi * distance));
    }
    return sum;
}

/// All values, weighting by weighting.
template <class T = double>
std::vector<std::complex<T>> computed(const Plan& plan, const LatticeBox& box,
                                      const Conduct& conduct = {}) {
    std::vector<std::complex<T>> values(
        static_cast<std::size_t>(box.points() * plan.request().fields()),
        {static_cast<T>(nan), static_cast<T>(nan)});
    plan.compute(box, values.data(), conduct);
    return values;
}

template <class T = double>
std::vector<std::complex<T>> computed(const Plan& plan) {
    return computed<T>(plan, plan.request().lattice.box());
}

std::vector<Complex> computed(const Request& request) { return computed(Plan(request)); }

/// Expects every `every`th value of a request to be within its tolerance.
void expectWithin(const Request& request, const std::string& what, std::size_t every = 1) {
    const std::vector<Vector> points = positionsOf(request);
    const Plan plan(request);
    const auto values = computed(plan);
    for (std::size_t w = 0; w < request.array->weightings(); ++w) {
        double most = 0;
        for (std::size_t i = 0; i < points.size(); ++i)
            most = std::max(most, std::abs(values[w * points.size() + i]));
        for (std::size_t i = 0; i < points.size(); i += every) {
            const Expected expected = expectedAt(request, w, points[i]);
            const double unit = request.tolerance->of == local ? expected.local : most;
            const double error = std::abs(values[w * points.size() + i] - expected.value) / unit;
            ASSERT_LE(error, request.tolerance->value)
                << what << ", weighting " << w << ", point " << points[i][0] << ", " << points[i][1]
                << ", " << points[i][2];
        }
    }
}

Complex drawWeight(Random& random) {
    const double phase = 2 * pi * random.between(0, 1);
    return std::polar(random.between(0.2, 2), phase);
}

void drawWeights(Random& random, Array& array, std::size_t weightings = 1) {
    array.weights.clear();
    for (std::size_t i = 0; i < weightings * array.elements.size(); ++i)
        array.weights.push_back(drawWeight(random));
}

/// Equal elements in the plane z = 0, side by side but for gaps.
Array planeArray(Random& random, int columns, int rows, double width = 0.4, double height = 0.6) {
    Array array;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            array.elements.push_back({{width, height},
                                      posed({(column - (columns - 1) / 2.0) * (width + 0.1),
                                             (row - (rows - 1) / 2.0) * (height + 0.1), 0})});
    drawWeights(random, array);
    return array;
}

/// Elements of three kinds in the plane z = 0 and turned in it, or, on a bowl, towards a focus.
Array mixedArray(Random& random, std::size_t count, bool isBowl) {
    Array array;
    constexpr pistonfield::RectangularPiston pistons[]{{0.4, 0.5}, {2, 0.3}, {1.2, 1.7}};
    for (std::size_t i = 0; i < count; ++i) {
        const double x = random.between(-4, 4);
        const double y = random.between(-4, 4);
        constexpr double radius = 20;
        const Vector centre{x, y, isBowl ? -2 + (x * x) / (2 * radius) : 0};
        const double tilt = isBowl ? -std::asin(x / radius) : 0;
        array.elements.push_back(
            {pistons[random.below(3)], posed(centre, tilt, random.between(-3, 3))});
    }
    drawWeights(random, array);
    return array;
}

/// Lattices with a patch's, a row's and a few points before a plane.
struct Shape {
    const char* name;
    std::array<std::int64_t, 3> sizes;
    std::array<double, 12> rows;
};

constexpr Shape shapes[]{
    {"a fine plane", {40, 1, 37}, {0.1, 0, 0, -2, 0, 0, 0, 0.3, 0, 0, 0.1, 0.2}},
    {"a plane far away", {33, 35, 1}, {0.2, 0, 0, -3, 0, 0.2, 0, -3, 0, 0, 1, 50}},
    {"an oblique lattice", {20, 18, 5}, {.3, .1, 0, -4, .1, .3, .2, -4, .05, 0.1, 0.7, 3}},
    {"a coarse lattice", {7, 6, 5}, {4, 0, 0, -12, 0, 5, 0, -11, 0, 0, 9, 0}},
    {"a line", {1, 1, 90}, {0, 0, 0, 0.7, 0, 0, 0, 0.1, 0, 0, 0.4, 0}}};

struct InSingle {
    using Real = float;
    static constexpr const char* mode = "cpusp";
};
struct InDouble {
    using Real = double;
    static constexpr const char* mode = "cpu";
};

struct OnGpuInSingle {
    using Real = float;
    static constexpr const char* mode = "cuda";
};
struct OnGpuInDouble {
    using Real = double;
    static constexpr const char* mode = "cudadp";
};

template <class Precision>
struct ArrayTest : testing::Test {
    using Real = typename Precision::Real;

    static constexpr const char* mode = Precision::mode;
    static constexpr bool isSingle = sizeof(Real) == 4;

    void SetUp() override {
        const bool isOnGpu =
            std::is_same_v<Precision, OnGpuInSingle> || std::is_same_v<Precision, OnGpuInDouble>;
        if (isOnGpu && !hasDevice()) GTEST_SKIP() << "no device";
    }

    /// Tolerances from rough to nearly all digits.
    static std::vector<double> tolerances() {
        if (isSingle) return {1e-2, 1e-4, 3e-5};
        return {1e-2, 1e-4, 1e-7, 1e-10};
    }
};
using Precisions = testing::Types<InSingle, InDouble, OnGpuInSingle, OnGpuInDouble>;
TYPED_TEST_SUITE(ArrayTest, Precisions);

TYPED_TEST(ArrayTest, IsTheSumOfItsElementsOnLattices) {
    Random random(seed);
    for (const double tolerance : this->tolerances())
        for (const Shape& shape : shapes)
            for (const auto of : {local, largest}) {
                const Array array = planeArray(random, 4, 3);
                expectWithin(requestOn(shape.sizes, shape.rows, array, this->mode, {tolerance, of}),
                             shape.name, 41);
            }
}

TYPED_TEST(ArrayTest, IsTheSumOfElementsOfAnyKindAndDirection) {
    Random random(seed + 1);
    for (const double tolerance : this->tolerances())
        for (const bool isBowl : {false, true})
            for (const Shape& shape : shapes) {
                Request request = requestOn(shape.sizes, shape.rows, mixedArray(random, 21, isBowl),
                                            this->mode, {tolerance, local});
                request.behind = true;
                expectWithin(request, shape.name, 97);
            }
}

TYPED_TEST(ArrayTest, IsTheSumOfItsElementsAtAListOfPoints) {
    Random random(seed + 2);
    for (const double tolerance : this->tolerances()) {
        std::vector<Vector> points;
        for (int i = 0; i < 25; ++i) {
            const double distance = random.magnitude(-1, 3);
            points.push_back({distance * random.between(-1, 1), distance * random.between(-1, 1),
                              distance * random.between(0, 1)});
        }
        const Array array = mixedArray(random, 17, false);
        expectWithin(requestAt(points, array, this->mode, {tolerance, local}), "a list");
        // Of some points and elements the largest pressure is far below the amplitudes.
        expectWithin(requestAt(points, array, this->mode, {4 * tolerance, largest}), "a list");
    }
}

// Long and large elements next to the points are taken in parts, or along their edges.
TYPED_TEST(ArrayTest, IsTheSumOfElementsThatAreNearAndLarge) {
    Random random(seed + 3);
    for (const double tolerance : this->tolerances())
        for (const auto& [width, height] :
             {std::pair{8.0, 8.0}, {0.3, 12.0}, {25.0, 25.0}, {0.3, 0.6}}) {
            Array array;
            for (int i = 0; i < 3; ++i)
                array.elements.push_back({{width, height}, posed({i * (width + 0.1), 0, 0})});
            drawWeights(random, array);
            for (const double z : {0.01, 0.5, 5.0, 40.0, 600.0})
                expectWithin(requestOn({30, 20, 1}, {0.3, 0, 0, -2, 0, 0.3, 0, -1, 0, 0, 1, z},
                                       array, this->mode, {tolerance, local}),
                             "large elements", 97);
        }
}

TYPED_TEST(ArrayTest, HasAValueOnItsFacesEdgesAndCorners) {
    Random random(seed + 4);
    Array array = planeArray(random, 3, 3, 0.8, 0.5);
    std::vector<Vector> points;
    for (const Element& element : array.elements)
        for (const double x : {-0.4, -0.2, 0.0, 0.4})
            for (const double y : {-0.25, 0.0, 0.1, 0.25})
                points.push_back(placed(element.pose, {x, y, 0}));
    for (const double tolerance : this->tolerances())
        for (const auto of : {local, largest})
            expectWithin(requestAt(points, array, this->mode, {tolerance, of}), "on the faces", 5);
    // And as a lattice whose points lie on the elements' centres.
    expectWithin(requestOn({17, 17, 1}, {0.1, 0, 0, -0.9, 0, 0.1, 0, -0.6, 0, 0, 1, 0}, array,
                           this->mode, {1e-4, local}),
                 "a lattice on the faces", 13);
}

TYPED_TEST(ArrayTest, OfOneElementIsThePiston) {
    for (const double tolerance : this->tolerances())
        for (const Shape& shape : shapes) {
            Array array{{{{0.9, 1.3}, {}}}, {1}};
            Request request =
                requestOn(shape.sizes, shape.rows, array, this->mode, {tolerance, local});
            const auto values = computed(request);
            request.piston = array.elements.front().piston;
            request.array.reset();
            const auto piston = computed(request);
            const auto points = positionsOf(request);
            for (std::size_t i = 0; i < points.size(); ++i) {
                const double distance = std::max(lengthOf(points[i]), std::sqrt(0.9 * 1.3) / 4);
                EXPECT_LE(std::abs(values[i] - piston[i]),
                          2 * tolerance * std::min(1.0, 0.9 * 1.3 / distance));
            }
        }
}

TYPED_TEST(ArrayTest, OfATurnedElementIsThePistonAtThePointsOfItsFrame) {
    Random random(seed + 5);
    for (const double tolerance : this->tolerances()) {
        const Pose pose = posed({3, -40, 7}, random.between(-3, 3), random.between(-3, 3));
        std::vector<Vector> inFrame;
        std::vector<Vector> points;
        for (int i = 0; i < 60; ++i) {
            const double distance = random.magnitude(-1, 3);
            inFrame.push_back({distance * random.between(-1, 1), distance * random.between(-1, 1),
                               distance * random.between(0.01, 1)});
            points.push_back(placed(pose, inFrame.back()));
        }
        const auto values = computed(
            requestAt(points, {{{{2.2, 0.7}, pose}}, {1}}, this->mode, {tolerance, local}));
        Request piston = requestAt(inFrame, {}, this->mode, {tolerance, local});
        piston.array.reset();
        piston.piston = {2.2, 0.7};
        const auto expected = computed(piston);
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double distance = std::max(lengthOf(inFrame[i]), std::sqrt(2.2 * 0.7) / 4);
            EXPECT_LE(std::abs(values[i] - expected[i]),
                      2 * tolerance * std::min(1.0, 2.2 * 0.7 / distance));
        }
    }
}

/// Expects values that are equal within a part of the largest magnitude.
void expectNear(const std::vector<Complex>& values, const std::vector<Complex>& expected,
                double part) {
    ASSERT_EQ(values.size(), expected.size());
    double most = 0;
    for (const Complex& value : expected) most = std::max(most, std::abs(value));
    EXPECT_GT(most, 0);
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_LE(std::abs(values[i] - expected[i]), part * most) << "value " << i;
}

constexpr std::array<std::int64_t, 3> someSizes{25, 19, 3};
constexpr std::array<double, 12> someRows{0.3, 0, 0, -3, 0, 0.3, 0, -2, 0, 0, 2, 1};

TYPED_TEST(ArrayTest, OfTwoArraysIsTheSumOfBoth) {
    Random random(seed + 6);
    constexpr double tolerance = 1e-4;
    const Array one = planeArray(random, 5, 3);
    const Array other = mixedArray(random, 9, false);
    Array both = one;
    both.elements.insert(both.elements.end(), other.elements.begin(), other.elements.end());
    both.weights.insert(both.weights.end(), other.weights.begin(), other.weights.end());
    const auto fieldOf = [&](const Array& array) {
        return computed(requestOn(someSizes, someRows, array, this->mode, {tolerance, largest}));
    };
    auto sum = fieldOf(one);
    const auto second = fieldOf(other);
    double most = 0;
    for (std::size_t i = 0; i < sum.size(); ++i)
        most = std::max({most, std::abs(sum[i]), std::abs(second[i])});
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += second[i];
    const auto values = fieldOf(both);
    for (const Complex& value : values) most = std::max(most, std::abs(value));
    for (std::size_t i = 0; i < sum.size(); ++i)
        EXPECT_LE(std::abs(values[i] - sum[i]), 3 * tolerance * most);
}

// The sum of pressures over the tiles of a face is that of the face.
TYPED_TEST(ArrayTest, OfTilesIsThePistonThatTheyMakeUp) {
    Array array;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 3; ++j)
            array.elements.push_back({{0.5, 0.7}, posed({0.5 * (i - 1.5), 0.7 * (j - 1), 0})});
    array.weights.assign(array.elements.size(), 1);
    Request request = requestOn(someSizes, someRows, array, this->mode, {1e-4, largest});
    const auto values = computed(request);
    request.array.reset();
    request.piston = {2, 2.1};
    expectNear(values, computed(request), 2e-4);
}

TYPED_TEST(ArrayTest, HasTheValuesOfEachWeightingByItself) {
    Random random(seed + 7);
    for (const auto of : {local, largest}) {
        Array array = planeArray(random, 6, 4);
        drawWeights(random, array, 7);
        const std::size_t elements = array.elements.size();
        const Request request = requestOn(someSizes, someRows, array, this->mode, {1e-4, of});
        const auto all = computed(request);
        const auto points = static_cast<std::size_t>(request.lattice.box().points());
        for (std::size_t w = 0; w < 7; ++w) {
            Request alone = request;
            const auto first = array.weights.begin() + static_cast<std::ptrdiff_t>(w * elements);
            alone.array->weights.assign(first, first + static_cast<std::ptrdiff_t>(elements));
            const auto values = computed(alone);
            const auto from = all.begin() + static_cast<std::ptrdiff_t>(w * points);
            const std::vector<Complex> ofAll(from, from + static_cast<std::ptrdiff_t>(points));
            // A tolerance of the local amplitude means the same to each element.
            if (of == local)
                EXPECT_EQ(values, ofAll);
            else
                expectNear(values, ofAll, 2e-4);
        }
        expectWithin(request, "weightings", 331);
    }
}

TYPED_TEST(ArrayTest, TurnsWithTheWeights) {
    Random random(seed + 8);
    Array array = planeArray(random, 6, 4);
    const Request request = requestOn(someSizes, someRows, array, this->mode, {1e-3, local});
    const Complex turn = std::polar(3.0, 0.7);
    Request turned = request;
    for (Complex& weight : turned.array->weights) weight *= turn;
    auto expected = computed(request);
    for (Complex& value : expected) value *= turn;
    // Nodes are the same; it is rounding alone that differs.
    expectNear(computed(turned), expected, this->isSingle ? 1e-6 : 1e-14);
}

TYPED_TEST(ArrayTest, IsTheSameWhereAllIsMovedOrMirrored) {
    Random random(seed + 9);
    constexpr double tolerance = 1e-4;
    const Array array = mixedArray(random, 15, false);
    const Request request = requestOn(someSizes, someRows, array, this->mode, {tolerance, largest});
    const auto values = computed(request);

    Request moved = request;
    const Vector by{-7, 11, 3};
    for (Element& element : moved.array->elements)
        for (std::size_t i = 0; i < 3; ++i) element.pose.centre[i] += by[i];
    for (std::size_t i = 0; i < 3; ++i) moved.lattice.transform[4 * i + 3] += by[i];
    expectNear(computed(moved), values, 2 * tolerance);

    Request mirrored = request;
    for (Element& element : mirrored.array->elements) {
        Pose& pose = element.pose;
        pose.centre[0] *= -1;
        pose.alongWidth[0] *= -1;
        // Mirrored axes span a normal that points back.
        for (double& number : pose.alongHeight) number *= -1;
        pose.alongHeight[0] *= -1;
    }
    for (std::size_t i = 0; i < 4; ++i) mirrored.lattice.transform[i] *= -1;
    expectNear(computed(mirrored), values, 2 * tolerance);

    // The order of the elements means nothing.
    Request reversed = request;
    std::reverse(reversed.array->elements.begin(), reversed.array->elements.end());
    std::reverse(reversed.array->weights.begin(), reversed.array->weights.end());
    expectNear(computed(reversed), values, 2 * tolerance);
}

// A small element radiates as much to another one's place as that one to its own.
TYPED_TEST(ArrayTest, IsReciprocal) {
    Random random(seed + 10);
    for (int i = 0; i < 20; ++i) {
        const Pose one = posed({0, 0, 0}, random.between(-0.3, 0.3), random.between(-3, 3));
        const Vector away{random.between(-2, 2), random.between(-2, 2), random.magnitude(1, 3)};
        Pose other = posed(away, pi + random.between(-0.3, 0.3), random.between(-3, 3));
        const auto pressure = [&](const Pose& from, const Pose& at) {
            return computed(requestAt({at.centre}, {{{{1e-3, 2e-3}, from}}, {1}}, this->mode,
                                      {1e-4, local}))
                .front();
        };
        const Complex there = pressure(one, other);
        EXPECT_LE(std::abs(pressure(other, one) - there), 3e-4 * std::abs(there));
        EXPECT_NEAR(std::abs(there), 2e-6 / lengthOf(away), 2e-4 * 2e-6 / lengthOf(away));
    }
}

TYPED_TEST(ArrayTest, HasTheGratingLobesOfItsPitch) {
    constexpr int count = 16;
    constexpr double pitch = 1.5;
    constexpr double width = 0.4;
    constexpr double radius = 1e7;
    Array array;
    for (int i = 0; i < count; ++i)
        array.elements.push_back({{width, 0.2}, posed({pitch * (i - (count - 1) / 2.0), 0, 0})});
    array.weights.assign(count, 1);
    std::vector<double> sines;
    for (int i = -120; i <= 120; ++i) sines.push_back(i / 121.0);
    for (const double lobe : {-2.0 / 3, 2.0 / 3}) sines.push_back(lobe);
    std::vector<Vector> points;
    for (const double s : sines) points.push_back({radius * s, 0, radius * std::sqrt(1 - s * s)});
    const auto values = computed(requestAt(points, array, this->mode, {1e-3, local}));
    const double amplitude = width * 0.2 / radius;
    for (std::size_t i = 0; i < sines.size(); ++i) {
        double factor = 0;
        for (int k = 0; k < count; ++k)
            factor += std::cos(2 * pi * pitch * (k - (count - 1) / 2.0) * sines[i]);
        const double x = pi * width * sines[i];
        const double ofElement = x == 0 ? 1 : std::sin(x) / x;
        EXPECT_NEAR(std::abs(values[i]), amplitude * std::abs(factor * ofElement),
                    amplitude * count * 1.5e-3)
            << "sine " << sines[i];
    }
    // At the grating lobes all elements are in phase.
    const double x = pi * width * 2 / 3;
    for (std::size_t i = sines.size() - 2; i < sines.size(); ++i)
        EXPECT_NEAR(std::abs(values[i]), amplitude * count * std::sin(x) / x,
                    amplitude * count * 1.5e-3);
}

/// A request with patches, parts and edges.
Request variedRequest(Random& random, const char* mode, Tolerance tolerance,
                      std::size_t weightings = 1) {
    Array array = mixedArray(random, 40, false);
    drawWeights(random, array, weightings);
    return requestOn({70, 21, 6}, {0.15, 0.02, 0, -5, 0, 0.3, 0.1, -4, 0, 0, 1.5, 0.1}, array, mode,
                     tolerance);
}

TYPED_TEST(ArrayTest, HasTheBitsOfTheWholeInEveryBox) {
    Random random(seed + 11);
    for (const std::size_t weightings : {1U, 3U}) {
        const Plan plan(variedRequest(random, this->mode, {1e-4, local}, weightings));
        const LatticeBox whole = plan.request().lattice.box();
        const auto values = computed(plan);
        for (int i = 0; i < 15; ++i) {
            LatticeBox box{};
            for (std::size_t k = 0; k < 3; ++k) {
                const auto size = static_cast<std::size_t>(whole.size[k]);
                box.first[k] = static_cast<std::int64_t>(random.below(size));
                const auto left = size - static_cast<std::size_t>(box.first[k]);
                box.size[k] = i == 0 ? 1 : 1 + static_cast<std::int64_t>(random.below(left));
            }
            const auto part = computed(plan, box);
            std::size_t at = 0;
            for (std::size_t w = 0; w < weightings; ++w)
                for (std::int64_t z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
                    for (std::int64_t y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                        for (std::int64_t x = box.first[0]; x < box.first[0] + box.size[0]; ++x) {
                            const std::int64_t number = (z * whole.size[1] + y) * whole.size[0] + x;
                            ASSERT_EQ(part[at++],
                                      values[w * static_cast<std::size_t>(whole.points()) +
                                             static_cast<std::size_t>(number)]);
                        }
        }
    }
}

TYPED_TEST(ArrayTest, HasTheSameBitsInAnyNumberOfThreadsAndPieces) {
    Random random(seed + 12);
    const Request request = variedRequest(random, this->mode, {1e-4, largest}, 2);
    const Plan plan(request);
    const LatticeBox box = request.lattice.box();
    const auto values = computed(plan, box, {.threads = 1});
    EXPECT_EQ(computed(plan, box, {.threads = 5}), values);
    EXPECT_EQ(computed(plan, box, {.progress = [](std::int64_t) {}, .threads = 1}), values);
    EXPECT_EQ(computed(Plan(request)), values);
}

// What a plan keeps once it is asked for depends on no order of what is asked.
TYPED_TEST(ArrayTest, HasTheSameBitsWhateverWasComputedBefore) {
    Random random(seed + 13);
    const Request request = variedRequest(random, this->mode, {1e-5, local});
    const auto values = computed(request);
    const Plan plan(request);
    static_cast<void>(plan.accuracy());
    static_cast<void>(plan.cost(request.lattice.box()));
    for (const std::int64_t z : {5, 2, 0})
        static_cast<void>(computed(plan, {{13, 4, z}, {40, 11, 1}}));
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back([&] { EXPECT_EQ(computed(plan), values); });
}

TYPED_TEST(ArrayTest, ConvertsToTheCallersPrecision) {
    using Real = typename TestFixture::Real;
    Random random(seed + 14);
    // So many values that they are converted in several pieces.
    Array array = planeArray(random, 2, 1);
    drawWeights(random, array, 300);
    const Plan plan(requestOn({60, 70, 1}, {0.3, 0, 0, -3, 0, 0.3, 0, -2, 0, 0, 2, 1}, array,
                              this->mode, {1e-3, local}));
    using Other = std::conditional_t<TestFixture::isSingle, double, float>;
    const auto values = computed<Real>(plan);
    const auto converted = computed<Other>(plan);
    ASSERT_EQ(values.size(), 300U * 60 * 70);
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(converted[i], static_cast<std::complex<Other>>(values[i])) << "value " << i;
}

TYPED_TEST(ArrayTest, GoesToWhereTheCallerWantsIt) {
    using Real = typename TestFixture::Real;
    Random random(seed + 15);
    Array array = planeArray(random, 3, 2);
    drawWeights(random, array, 3);
    const Plan plan(requestOn({11, 7, 2}, {0.3, 0, 0, -3, 0, 0.3, 0, -2, 0, 0, 2, 1}, array,
                              this->mode, {1e-3, local}));
    const LatticeBox box{{2, 1, 0}, {6, 5, 2}};
    const auto expected = computed<Real>(plan, box);
    // Every third number, and 7 numbers between fields.
    constexpr Real untouched = -77;
    const std::ptrdiff_t toNext = 3 * box.points() + 7;
    std::vector<Real> re(static_cast<std::size_t>(3 * toNext), untouched);
    std::vector<Real> im = re;
    plan.compute(box, pistonfield::Destination<Real>{re.data(), im.data(), 3, toNext});
    for (std::ptrdiff_t i = 0; i < 3 * toNext; ++i) {
        const std::ptrdiff_t inField = i % toNext;
        const auto at = static_cast<std::size_t>(i);
        if (inField % 3 != 0 || inField >= 3 * box.points()) {
            EXPECT_EQ(re[at], untouched);
            EXPECT_EQ(im[at], untouched);
            continue;
        }
        const auto number = static_cast<std::size_t>(i / toNext * box.points() + inField / 3);
        EXPECT_EQ(std::complex<Real>(re[at], im[at]), expected[number]);
    }
}

TYPED_TEST(ArrayTest, KnowsItsAccuracy) {
    Random random(seed + 16);
    for (const double tolerance : this->tolerances())
        for (const auto of : {local, largest}) {
            const Plan plan(variedRequest(random, this->mode, {tolerance, of}, 2));
            const auto accuracy = plan.accuracy();
            ASSERT_TRUE(accuracy);
            EXPECT_EQ(accuracy->bound, tolerance);
            EXPECT_LE(accuracy->error, tolerance);
            EXPECT_GT(accuracy->error, tolerance * 1e-6);
            EXPECT_GT(accuracy->points, 100);
            EXPECT_GT(accuracy->evaluations, 0);
        }
}

TYPED_TEST(ArrayTest, SaysWhatABoxTakes) {
    Random random(seed + 17);
    const Plan plan(variedRequest(random, this->mode, {1e-4, local}));
    const auto whole = plan.cost(plan.request().lattice.box());
    EXPECT_GT(whole.evaluations, 0);
    EXPECT_GT(whole.memory, 0);
    EXPECT_EQ(whole.deviceMemory > 0, isOnGpu(plan.request().mode));
    EXPECT_NEAR(plan.cost({{}, {70, 21, 3}}).evaluations, whole.evaluations / 2,
                1e-9 * whole.evaluations);
}

TYPED_TEST(ArrayTest, IsTheSumOfItsElementsOnSparseLattices) {
    // A step of hundreds of radians has no digits of its phase left in single precision.
    for (const double step : {3.0, 30.0, 300.0}) {
        Random random(seed + 19);
        const double tolerance = this->isSingle ? 2e-5 : 1e-9;
        Array array = planeArray(random, 4, 4, 0.5, 0.5);
        array.elements.front().piston.width *= 0.9;
        expectWithin(requestOn({32, 1, 1}, {step, 0, 0, -5, 0, step, 0, 0.3, 0, 0, step, 20}, array,
                               this->mode, {tolerance, local}),
                     "step " + std::to_string(step));
    }
}

TEST(ElementFieldsTest, HasElementsAtAPointAsEachHasItThere) {
    Random random(seed + 30);
    Array array = planeArray(random, 6, 7);
    for (std::size_t i = 17; i < 25; ++i) array.elements[i].piston.width *= 0.8;
    const pistonfield::ElementFields<double> fields(array.elements, {2 * std::numbers::pi});
    const Pose::Vector point{0.3, -1.7, 0.9};
    pistonfield::GroupPlaces places;
    std::fill_n(places.x, pistonfield::groupSize, point[0]);
    std::fill_n(places.y, pistonfield::groupSize, point[1]);
    std::fill_n(places.z, pistonfield::groupSize, point[2]);
    std::vector<int> counts;
    for (std::size_t i = 0; i < fields.count();) {
        const pistonfield::ErrorLimit limit = pistonfield::localLimit(fields.faceOf(i), 1e-13);
        counts.push_back(fields.alike(i));
        pistonfield::GroupValues<double> together;
        fields.computeAt(point, i, counts.back(), limit, together);
        for (int lane = 0; lane < counts.back(); ++lane, ++i) {
            pistonfield::GroupValues<double> alone;
            fields.compute(i, places, limit, alone);
            EXPECT_NEAR(together.re[lane], alone.re[0], 1e-12) << i;
            EXPECT_NEAR(together.im[lane], alone.im[0], 1e-12) << i;
        }
    }
    EXPECT_EQ(counts, (std::vector<int>{16, 1, 8, 16, 1}));
}

/// A request that takes several pieces of a computation that is watched.
Request longRequest(const char* mode) {
    Random random(seed + 18);
    Array array = planeArray(random, 20, 20);
    // Of elements that differ no convolution.
    array.elements.front().piston.width *= 0.9;
    return requestOn({64, 64, 60}, {0.2, 0, 0, -6, 0, 0.2, 0, -6, 0, 0, 0.4, 20}, array, mode,
                     {1e-3, local});
}

TYPED_TEST(ArrayTest, TellsHowFarItIs) {
    const Plan plan(longRequest(this->mode));
    const LatticeBox box = plan.request().lattice.box();
    std::vector<std::int64_t> told;
    const Conduct conduct{.progress = [&](std::int64_t points) { told.push_back(points); },
                          .threads = 1};
    static_cast<void>(computed(plan, box, conduct));
    ASSERT_GT(told.size(), 2U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_GT(told.front(), 0);
    EXPECT_EQ(told.back(), box.points());
}

TYPED_TEST(ArrayTest, IsStoppedBetweenPieces) {
    const Plan plan(longRequest(this->mode));
    const LatticeBox box = plan.request().lattice.box();
    std::stop_source source;
    std::int64_t done = 0;
    const Conduct conduct{.stop = source.get_token(),
                          .progress =
                              [&](std::int64_t points) {
                                  done = points;
                                  source.request_stop();
                              },
                          .threads = 1};
    EXPECT_THROW(computed(plan, box, conduct), pistonfield::Stopped);
    EXPECT_GT(done, 0);
    EXPECT_LT(done, box.points());
    // The plan is none the worse for it.
    EXPECT_EQ(computed(plan, {{}, {9, 1, 1}}),
              computed(Plan(longRequest(this->mode)), {{}, {9, 1, 1}}));
}

TYPED_TEST(ArrayTest, BehindAnElementIsThatOfTheMirroredPoint) {
    Request request = requestAt({{0.3, 0.4, -2}, {0.3, 0.4, 2}}, {{{{1, 1.5}, {}}}, {1}},
                                this->mode, {1e-4, local});
    EXPECT_EQ(refused([&] { Plan{request}; }),
              "points: the point (0.3, 0.4, -2) lies behind element 1");
    request.behind = true;
    const auto values = computed(request);
    EXPECT_LE(std::abs(values[0] - values[1]), 2e-4);
    expectWithin(request, "behind");
}

TYPED_TEST(ArrayTest, OfManyElementsTakesBoundedMemory) {
    Random random(seed + 19);
    const Request request =
        requestOn({64, 64, 2}, {0.2, 0, 0, -6, 0, 0.2, 0, -6, 0, 0, 1, 500},
                  planeArray(random, 400, 250, 0.2, 0.2), this->mode, {1e-3, local});
    const Plan plan(request);
    const auto memory = plan.cost(request.lattice.box()).memory;
    // The places and directions of the elements, and what some hundred threads work on.
    EXPECT_GT(memory, 100000 * 24);
    EXPECT_LT(memory, 300e6);
    const auto values = computed(plan, {{5, 6, 1}, {2, 1, 1}});
    // Elements of a fifth of a wavelength have their far field there.
    const Vector point = positionsOf(request)[64 * 64 + 6 * 64 + 5];
    const auto directivity = [](double x) { return x == 0 ? 1 : std::sin(x) / x; };
    Complex sum = 0;
    double amplitudes = 0;
    for (std::size_t i = 0; i < request.array->elements.size(); ++i) {
        const Vector at = request.array->elements[i].pose.placeOf(point);
        const double distance = lengthOf(at);
        sum += request.array->weights[i] *
               std::polar(0.04 / distance * directivity(pi * 0.2 * at[0] / distance) *
                              directivity(pi * 0.2 * at[1] / distance),
                          -2 * pi * distance);
        amplitudes += std::abs(request.array->weights[i]) * 0.04 / distance;
    }
    EXPECT_LE(std::abs(values[0] - sum), 1.1e-3 * amplitudes);
}

TEST(Array, KnowsHowManyWeightingsItHas) {
    Array array;
    EXPECT_EQ(array.weightings(), 0U);
    array.elements.resize(3);
    array.weights.resize(12);
    EXPECT_EQ(array.weightings(), 4U);
}

TEST(Pose, HasPointsOfThePistonsFrameWhereTheyAre) {
    Random random(seed + 20);
    for (int i = 0; i < 50; ++i) {
        const Pose pose = posed({random.between(-9, 9), random.between(-9, 9), 3},
                                random.between(-3, 3), random.between(-3, 3));
        const Vector at{random.between(-9, 9), random.between(-9, 9), random.between(-9, 9)};
        const Vector back = pose.placeOf(placed(pose, at));
        for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(back[k], at[k], 1e-14 * 50);
        EXPECT_NEAR(lengthOf(pose.normal()), 1, 1e-15);
    }
    EXPECT_EQ(Pose{}.normal(), (Vector{0, 0, 1}));
}

TEST(Engine, IsNamed) {
    Random random(seed + 21);
    Request request = smallRequest();
    EXPECT_EQ(Plan(request).engine(), "order");
    request.tolerance.emplace();
    EXPECT_EQ(Plan(request).engine(), "points");
    request = requestOn({64, 64, 2}, {0.2, 0, 0, -6, 0, 0.2, 0, -6, 0, 0, 1, 2},
                        mixedArray(random, 9, false), "cpu", {1e-3, local});
    EXPECT_EQ(Plan(request).engine(), "sum");
    request.array.reset();
    request.piston = {1, 2};
    EXPECT_EQ(Plan(request).engine(), "runs");
    for (const char* mode : {"cpu", "cpudp", "cpusp"})
        EXPECT_EQ(Plan(requestAt({{0, 0, 1}, {0, 1, 2}}, mixedArray(random, 3, false), mode,
                                 {1e-3, local}))
                      .engine(),
                  "sum");
}

/// What a request for three elements is refused with once something of it is changed.
std::string refusal(const std::function<void(Request&)>& change, const char* mode = "cpu") {
    Random random(seed + 22);
    Request request = requestOn({7, 5, 3}, {0.3, 0, 0, -1, 0, 0.3, 0, -1, 0, 0, 1, 2},
                                planeArray(random, 3, 1), mode, {1e-3, largest});
    change(request);
    return refused([&] { Plan{request}; });
}

TEST(ArrayRefusals, AreNoneOfAFieldThatThereIs) {
    for (const char* mode : {"cpu", "cpudp", "cpusp"})
        EXPECT_EQ(refusal([](Request&) {}, mode), "no failure");
    // The piston means nothing.
    EXPECT_EQ(refusal([](Request& r) { r.piston = {-1, nan}; }), "no failure");
}

TEST(ArrayRefusals, NameElementsThatAreNone) {
    EXPECT_EQ(refusal([](Request& r) { r.array->elements.clear(); }),
              "elements: 0 are not within 1 to 1000000");
    EXPECT_EQ(refusal([](Request& r) { r.array->elements.resize(1000001); }),
              "elements: 1000001 are not within 1 to 1000000");
    EXPECT_EQ(refusal([](Request& r) { r.tolerance.reset(); }),
              "elements: an array takes a tolerance");
    for (const double side : {0.0, -1.0, nan, HUGE_VAL, 1e300})
        EXPECT_EQ(refusal([=](Request& r) { r.array->elements[1].piston.height = side; }),
                  "elements: element 2: the sides must be lengths above 0, within the range of the "
                  "mode cpu");
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[2].piston.width = 1e25; }, "cpusp"),
              "elements: element 3: the sides must be lengths above 0, within the range of the "
              "mode cpusp");
    for (const double number : {nan, HUGE_VAL})
        EXPECT_EQ(refusal([=](Request& r) { r.array->elements[0].pose.centre[2] = number; }),
                  "elements: element 1: the centre must be within the range of the mode cpu");
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[0].pose.centre[1] = -1e39; }, "cpusp"),
              "elements: element 1: the centre must be within the range of the mode cpusp");
}

TEST(ArrayRefusals, NameDirectionsThatAreNone) {
    const std::string reason =
        "elements: element 3: the directions of width and height must be of length 1 and at a "
        "right angle";
    const auto along = [](const Vector& width, const Vector& height) {
        return refusal([&](Request& r) {
            r.array->elements[2].pose.alongWidth = width;
            r.array->elements[2].pose.alongHeight = height;
        });
    };
    EXPECT_EQ(along({1.001, 0, 0}, {0, 1, 0}), reason);
    EXPECT_EQ(along({1, 0, 0}, {0, 0.999, 0}), reason);
    EXPECT_EQ(along({0, 0, 0}, {0, 1, 0}), reason);
    EXPECT_EQ(along({1, 0, 0}, {std::sin(1e-6), std::cos(1e-6), 0}), reason);
    EXPECT_EQ(along({1, 0, 0}, {1, 0, 0}), reason);
    EXPECT_EQ(along({nan, 0, 0}, {0, 1, 0}), reason);
    EXPECT_EQ(along({1, 0, 0}, {0, HUGE_VAL, 0}), reason);
    EXPECT_EQ(along({1, 0, 0}, {1e-12, 1 - 1e-12, 0}), "no failure");
}

TEST(ArrayRefusals, NameSidesThatHaveNoOrders) {
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[1].piston.width = 3000; }),
              "elements: element 2: 3000 wavelengths are not within the 1e-05 to 2000 for which a "
              "tolerance is kept");
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[0].piston.height = 1e-6; }),
              "elements: element 1: 1e-06 wavelengths are not within the 1e-05 to 2000 for which "
              "a tolerance is kept");
}

TEST(ArrayRefusals, NameMorePistonsThanAnArrayHas) {
    EXPECT_EQ(refusal([](Request& r) {
                  r.array->elements.resize(1025, {{1, 1}, {}});
                  for (std::size_t i = 0; i < 1025; ++i)
                      r.array->elements[i].piston.width = 1 + 1e-4 * static_cast<double>(i);
                  r.array->weights.assign(1025, 1);
              }),
              "elements: 1025 different pistons are more than the 1024 of an array");
}

TEST(ArrayRefusals, NameWeightsThatAreNone) {
    EXPECT_EQ(refusal([](Request& r) { r.array->weights.clear(); }),
              "weights: 0 are not one or several for each of the 3 elements");
    EXPECT_EQ(refusal([](Request& r) { r.array->weights.resize(7); }),
              "weights: 7 are not one or several for each of the 3 elements");
    EXPECT_EQ(refusal([](Request& r) { r.array->weights.resize(std::size_t{3} * 4097, 1); }),
              "weights: 4097 weightings are more than the 4096 of a request");
    for (const Complex odd :
         {Complex(nan, 0), Complex(0, nan), Complex(HUGE_VAL, 0), Complex(1e308, 0)})
        EXPECT_EQ(refusal([=](Request& r) { r.array->weights.assign(3, odd); }),
                  "weights: every number must be finite");
    EXPECT_EQ(refusal([](Request& r) {
                  r.array->weights.assign(9, 0);
                  r.array->weights[1] = 1;
                  r.array->weights[8] = 1;
              }),
              "weights: all of weighting 2 are 0");
    EXPECT_EQ(refusal([](Request& r) { r.array->weights[1] = 0; }), "no failure");
}

TEST(ArrayRefusals, NameToleranceAndPrecision) {
    for (const double odd : {0.0, 1.0, -1.0, nan})
        EXPECT_EQ(refusal([=](Request& r) { r.tolerance->value = odd; }),
                  "tolerance: must be above 0 and below 1");
    for (const auto of : {local, largest}) {
        const auto with = [=](double value, const char* mode) {
            return refusal([=](Request& r) { r.tolerance = Tolerance{value, of}; }, mode);
        };
        EXPECT_THAT(with(1e-7, "cpusp"), StartsWith("tolerance: 1e-07 is below the "));
        EXPECT_THAT(with(1e-7, "cpusp"), HasSubstr("that single precision keeps of this field"));
        EXPECT_EQ(with(1e-7, "cpu"), "no failure");
        EXPECT_THAT(with(1e-16, "cpu"), HasSubstr("that double precision keeps of this field"));
    }
}

TEST(ArrayRefusals, NameThePointBehindAnElement) {
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[1].pose.centre[2] = 2.5; }),
              "transform: the point (-1, -1, 2) lies behind element 2");
    EXPECT_EQ(refusal([](Request& r) {
                  r.array->elements[1].pose.centre[2] = 2.5;
                  r.behind = true;
              }),
              "no failure");
    // An element that is turned away, and one on whose plane points lie.
    EXPECT_THAT(refusal([](Request& r) {
                    r.array->elements[2].pose = posed({0, 0, 0}, pi);
                }),
                HasSubstr("lies behind element 3"));
    EXPECT_EQ(refusal([](Request& r) {
                  for (Element& element : r.array->elements) element.pose.centre[2] = 2;
              }),
              "no failure");
    // The least corner of a tilted element's half space.
    EXPECT_EQ(refusal([](Request& r) {
                  r.array->elements.assign(1, {{1, 1}, posed({0, 0, 1.5}, 0.7)});
                  r.array->weights.assign(1, 1);
              }),
              "transform: the point (-1, -1, 2) lies behind element 1");
}

TEST(ArrayRefusals, NamePointsThatAreTooFar) {
    const std::string reason =
        ": there are points more than 1e9/wavenumber away, which is too far for a tolerance";
    EXPECT_EQ(refusal([](Request& r) { r.lattice.transform[11] = 2e8; }), "transform" + reason);
    EXPECT_EQ(refusal([](Request& r) { r.array->elements[2].pose.centre[1] = -2e8; }),
              "transform" + reason);
    EXPECT_EQ(refusal([](Request& r) {
                  r.points = PointList{{0}, {0}, {1e9}};
                  r.lattice.sizes = {1, 1, 1};
              }),
              "points" + reason);
    EXPECT_EQ(refusal([](Request& r) {
                  r.lattice.transform[11] = 1e8;
                  r.tolerance->of = local;
              }),
              "no failure");
}

TEST(ArrayRefusals, NameAFieldThatIsNextToNone) {
    // Two elements cancel.
    EXPECT_THAT(refusal([](Request& r) {
                    r.array->elements.assign(2, {{1, 1}, {}});
                    r.array->weights = {1, -1};
                }),
                HasSubstr("take a tolerance of the local amplitude"));
}

}  // namespace
