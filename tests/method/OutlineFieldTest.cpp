// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/OutlineField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "reference/ConvergedPressure.h"
#include "reference/FlatSource.h"
#include "reference/Legendre.h"
#include "tests/support/RandomPoints.h"

namespace {

using namespace pistonfield;
using Complex = std::complex<double>;
using reference::FlatIntegrals;
using reference::Point;

constexpr double turn = 2 * std::numbers::pi;
constexpr Complex j(0, 1);

struct Shape {
    std::string name;
    Outline outline;
    reference::FlatSource source;
};

std::vector<Shape> shapes() {
    const std::vector<PlaneVector> arrow{
        {-1, -0.6}, {0.2, -0.9}, {1.1, 0.1}, {0.1, 0}, {-0.2, 0.8}};
    const std::vector<PlaneVector> square{{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}};
    const std::vector<PlaneVector> hole{{-0.2, -0.3}, {-0.1, 0.3}, {0.3, 0.2}};
    reference::FlatSource holed = reference::polygonSource(square);
    for (const reference::Border& border : reference::polygonSource(hole)) holed.push_back(border);
    return {
        {"rectangle", rectangleOutline(1.4, 0.6),
         reference::polygonSource({{-0.7, -0.3}, {0.7, -0.3}, {0.7, 0.3}, {-0.7, 0.3}})},
        {"disc", discOutline(0.8), reference::ringSource(0, 0.8)},
        {"ring", ringOutline(0.5, 0.9), reference::ringSource(0.5, 0.9)},
        {"sector", sectorOutline(0.3, 1.1, 0.4, 1.9), reference::sectorSource(0.3, 1.1, 0.4, 1.9)},
        {"wedge", sectorOutline(0, 1, -2, 4.5), reference::sectorSource(0, 1, -2, 4.5)},
        {"arrow", polygonOutline(arrow), reference::polygonSource(arrow)},
        {"square with a hole", polygonOutline(square, {hole}), holed}};
}

PlacesInFrame placesOf(const std::vector<Point>& points) {
    PlacesInFrame places{};
    for (std::size_t i = 0; i < groupSize; ++i) {
        const Point& point = points[std::min(i, points.size() - 1)];
        places.x[i] = point.x;
        places.y[i] = point.y;
        places.z[i] = point.z;
    }
    return places;
}

DecayingLimit fixedLimit(double error) { return {{error}, false}; }

/// The values at a group's points.
Potentials computed(const OutlineField& field, const std::vector<Point>& points, double error,
                    Derivatives derivatives = Derivatives::second) {
    OutlineField::Work work;
    Potentials values;
    const int evaluations =
        field.compute(placesOf(points), derivatives, fixedLimit(error), values, work);
    EXPECT_EQ(field.evaluations(placesOf(points), derivatives, fixedLimit(error), work),
              evaluations);
    return values;
}

/// The largest of the errors that a limit is of: of phi times |k|, of the gradient, and of that of
/// the derivative by z over the wavenumber; each over 2pi.
double errorOf(const Potentials& got, std::size_t i, const FlatIntegrals& exact, Complex k,
               Derivatives derivatives) {
    const auto lengthOf = [](Complex x, Complex y, Complex z) {
        return std::sqrt(std::norm(x) + std::norm(y) + std::norm(z));
    };
    double error =
        std::max(std::abs(k) * std::abs(got.phi[i] - exact.value), std::abs(got.z[i] - exact.z));
    if (derivatives != Derivatives::none)
        error =
            std::max(error, lengthOf(got.x[i] - exact.x, got.y[i] - exact.y, got.z[i] - exact.z));
    if (derivatives == Derivatives::second)
        error = std::max(
            error,
            lengthOf(got.xz[i] - exact.xz, got.yz[i] - exact.yz, got.zz[i] - exact.zz) / k.real());
    return error / turn;
}

/// Points over a shape and about it, near its plane and away from it: one like the other in height.
std::vector<Point> drawGroup(Random& random, double height, double spread) {
    const Point first{random.between(-1.5, 1.5), random.between(-1.5, 1.5), height};
    std::vector<Point> points;
    for (int i = 0; i < groupSize; ++i)
        points.push_back({first.x + random.between(-spread, spread),
                          first.y + random.between(-spread, spread),
                          height * random.between(0.7, 1.3)});
    return points;
}

constexpr Derivatives allDerivatives[]{Derivatives::none, Derivatives::gradient,
                                       Derivatives::second};

TEST(OutlineField, KeepsItsLimitBeforeEveryShape) {
    Random random(20261122);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        for (const double losses : {0.0, 1e-3, 0.2, 1.0}) {
            const Complex k(8, -8 * losses);
            const OutlineField field(shape.outline, k.real(), -k.imag());
            double worst = 0;
            for (const double height : {0.05, 0.6, 5.0}) {
                const auto points = drawGroup(random, height, random.magnitude(-2, 0.3));
                const Derivatives derivatives = allDerivatives[random.below(3)];
                const double limit = random.magnitude(-11, -2);
                const Potentials got = computed(field, points, limit, derivatives);
                for (std::size_t i = 0; i < 3; ++i) {
                    const auto exact = reference::flatIntegrals(shape.source, points[i], k);
                    worst = std::max(worst, errorOf(got, i, exact, k, derivatives) / limit);
                }
            }
            EXPECT_LE(worst, 1) << losses;
        }
    }
}

/// From where rules over the face take the place of those along the boundary.
TEST(OutlineField, KeepsItsLimitFarFromEveryShape) {
    Random random(20261125);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        for (const double losses : {0.0, 1e-3, 0.05}) {
            const Complex k(random.magnitude(-1, 1.2), 0);
            const Complex lossy(k.real(), -k.real() * losses);
            const OutlineField field(shape.outline, lossy.real(), -lossy.imag());
            const Circle& circle = field.circle();
            double worst = 0;
            for (int trial = 0; trial < 12; ++trial) {
                const double distance = circle.radius * random.magnitude(0.4, 2);
                const double height = random.between(-1, 1);
                const double around = random.between(0, turn);
                const double within = std::sqrt(1 - height * height) * distance;
                const double spread = distance * random.magnitude(-3, -0.7);
                std::vector<Point> points;
                for (int i = 0; i < groupSize; ++i) {
                    const double x = random.between(-spread, spread);
                    const double y = random.between(-spread, spread);
                    points.push_back({circle.centre[0] + within * std::cos(around) + x,
                                      circle.centre[1] + within * std::sin(around) + y,
                                      height * distance});
                }
                const Derivatives derivatives = allDerivatives[random.below(3)];
                // Relative to the amplitude there, less what doubles keep of it.
                const double limit = random.magnitude(-9, -1) * std::abs(lossy) * field.area() /
                                     (turn * distance) * std::exp(lossy.imag() * distance);
                const Potentials got = computed(field, points, limit, derivatives);
                for (std::size_t i = 0; i < 2; ++i) {
                    auto above = points[i];
                    above.z = std::abs(above.z);
                    auto exact = reference::flatIntegrals(shape.source, above, lossy);
                    if (points[i].z < 0)
                        for (Complex* odd : {&exact.z, &exact.xz, &exact.yz}) *odd = -*odd;
                    worst = std::max(worst, errorOf(got, i, exact, lossy, derivatives) / limit);
                }
            }
            EXPECT_LE(worst, 1) << losses;
            EXPECT_GT(worst, 0) << losses;
        }
    }
}

TEST(OutlineField, TakesFewEvaluationsFarFromSmallPistons) {
    // Half a wavelength across, at 1e-4 of the amplitude.
    const double radius = turn / 4;
    const double distance = 40 * radius;
    for (const Outline& outline : {discOutline(radius), rectangleOutline(1.4 * radius, radius)}) {
        const OutlineField field(outline, 1, 0);
        const double limit = 1e-4 * field.area() / (turn * distance);
        OutlineField::Work work;
        EXPECT_LE(field.evaluations(placesOf({{distance, 0, 0}}), Derivatives::none,
                                    fixedLimit(limit), work),
                  40);
    }
}

TEST(OutlineField, DecaysWithItsLimit) {
    Random random(20261123);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const Complex k(6, -0.9);
        const OutlineField field(shape.outline, k.real(), -k.imag());
        const auto points = drawGroup(random, 9, 0.5);
        OutlineField::Work work;
        Potentials got;
        constexpr double limit = 1e-8;
        field.compute(placesOf(points), Derivatives::second, {{limit}, true}, got, work);
        for (std::size_t i = 0; i < 4; ++i) {
            const Point& p = points[i];
            const double R =
                std::hypot(p.x - field.circle().centre[0], p.y - field.circle().centre[1], p.z);
            const auto exact = reference::flatIntegrals(shape.source, p, k);
            EXPECT_LE(errorOf(got, i, exact, k, Derivatives::second),
                      limit * std::exp(k.imag() * R));
        }
    }
}

/// Tones from `first` to `last`, in runs of as many as go into one, or each by itself.
std::vector<EvenTones> evenTones(Complex first, Complex last, int count, int inARun) {
    const Complex step = (last - first) / static_cast<double>(count - 1);
    std::vector<EvenTones> runs;
    for (int n = 0; n < count; n += inARun) {
        const Complex k = first + static_cast<double>(n) * step;
        runs.push_back(
            {k.real(), -k.imag(), step.real(), -step.imag(), std::min(inARun, count - n)});
    }
    return runs;
}

std::vector<ContourSums::Sum> computedTones(const OutlineField& field,
                                            const std::vector<Point>& points,
                                            const DecayingLimit& limit,
                                            const std::vector<EvenTones>& tones, int count) {
    OutlineField::Work work;
    std::vector<ContourSums::Sum> values(static_cast<std::size_t>(count));
    const int nodes = field.computeTones(placesOf(points), limit, tones, values, work);
    EXPECT_EQ(field.evaluations(placesOf(points), Derivatives::potential, limit, work), nodes);
    return values;
}

TEST(OutlineField, KeepsTheLimitAtEachOfSeveralTones) {
    constexpr int count = 21;
    Random random(20261126);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        for (const double losses : {0.0, 1e-3, 0.2}) {
            const Complex first(3, -2 * losses);
            const Complex last(9, -9 * losses);
            const OutlineField field(shape.outline, {last.real(), -last.imag(), -first.imag()});
            double worst = 0;
            for (const double height : {0.05, 0.6, 5.0, 12.0}) {
                const auto points = drawGroup(random, height, random.magnitude(-2, 0.3));
                const double limit = random.magnitude(-11, -2);
                const bool decays = random.below(2) == 1;
                const auto runs = evenTones(first, last, count, 8);
                const auto got = computedTones(field, points, {{limit}, decays}, runs, count);
                for (const int n : {0, 6, 13, count - 1}) {
                    const Complex k = first + n / (count - 1.0) * (last - first);
                    const Point& p = points[static_cast<std::size_t>(n % groupSize)];
                    const auto exact = reference::flatIntegrals(shape.source, p, k);
                    const double R = std::hypot(p.x - field.circle().centre[0],
                                                p.y - field.circle().centre[1], p.z);
                    const double most = limit * (decays ? std::exp(last.imag() * R) : 1);
                    const auto i = static_cast<std::size_t>(n % groupSize);
                    const Complex value = got[static_cast<std::size_t>(n)].at(i);
                    worst = std::max(worst, std::abs(value - k / j * exact.value) / turn / most);
                }
            }
            EXPECT_LE(worst, 1) << losses;
        }
    }
}

TEST(OutlineField, RoundsTonesInARunByNoMoreThanIsSaid) {
    constexpr int count = 33;
    Random random(20261127);
    for (const Shape& shape : shapes())
        for (const double losses : {0.0, 1e-2, 0.3}) {
            const Complex first(20, -20 * losses);
            const Complex last(40, -40 * losses);
            const OutlineField field(shape.outline, {40, 40 * losses, 20 * losses});
            const auto points = drawGroup(random, 0.4, 0.3);
            const DecayingLimit limit{{1e-8}, false};
            const auto inRuns =
                computedTones(field, points, limit, evenTones(first, last, count, 8), count);
            const auto alone =
                computedTones(field, points, limit, evenTones(first, last, count, 1), count);
            double difference = 0;
            for (std::size_t n = 0; n < count; ++n)
                for (std::size_t i = 0; i < groupSize; ++i)
                    difference = std::max(difference, std::abs(inRuns[n].at(i) - alone[n].at(i)));
            // Around an outline that is not convex the angles add up to a few turns at most.
            EXPECT_LE(difference, 3 * turn * 0x1p-45) << shape.name;
            EXPECT_GT(difference, 0) << shape.name;
        }
}

TEST(OutlineField, OfADiscAndARingHasItsClosedFormsOnTheAxis) {
    for (const double losses : {0.0, 1e-6, 1e-3, 0.2})
        for (const auto& [inner, outer] :
             {std::pair{0.0, 2.7}, {1.1, 2.7}, {0.0, 1e-4}, {0.0, 200.0}, {150.0, 200.0}}) {
            // Lengths are in wavelengths.
            const Complex k(turn, -turn * losses);
            const double rounding = 2e-12 + 1e-14 * outer;
            const OutlineField field(inner > 0 ? ringOutline(inner, outer) : discOutline(outer),
                                     k.real(), -k.imag());
            for (const double z : {0.0, 1e-6, 0.01, 0.3, 1.0, 2.7, 11.0, 140.0, 3000.0, 10000.0}) {
                // Of a circle, relative to exp(-jkz), whose phase is rounded alike.
                const auto along = [&](double radius) {
                    if (radius == 0) return Complex(1);
                    return std::exp(-j * k * (radius * radius / (std::hypot(radius, z) + z)));
                };
                const auto slopeOf = [&](double radius) {
                    return radius == 0 ? Complex(1) : z / std::hypot(radius, z) * along(radius);
                };
                const Complex wave = std::exp(-j * k * z);
                const Complex phi = turn * j / k * wave * (along(outer) - along(inner));
                const Complex slope = turn * wave * (slopeOf(outer) - slopeOf(inner));
                const Potentials got = computed(field, {{0, 0, z}}, 1e-13, Derivatives::gradient);
                const double size = std::abs(wave);
                EXPECT_LE(std::abs(k) * std::abs(got.phi[0] - phi), rounding * size) << z;
                EXPECT_LE(std::abs(got.z[0] - slope), rounding * size) << z;
                EXPECT_LE(std::abs(got.x[0]) + std::abs(got.y[0]), rounding * size) << z;
            }
        }
}

TEST(OutlineField, OfARectangleIsTheOneOfFourEdges) {
    Random random(20261124);
    for (const double width : {1e-4, 0.03, 1.0, 20.0, 200.0})
        for (const double height : {1e-4, 0.7, 200.0}) {
            const OutlineField field(rectangleOutline(width, height), turn, 0);
            const double x = width / 2;
            const double y = height / 2;
            const double far = 1e4;
            for (const Point& point :
                 {Point{0, 0, 0}, Point{x, 0, 0}, Point{x, -y, 0}, Point{0.4 * x, 0.9 * y, 0},
                  Point{x, y, 0.3}, Point{x * (1 + 1e-7), 0, 1e-6}, Point{3 * x, 0.2 * y, 0},
                  Point{far, 30, 0.5}, Point{far, far, 0}, Point{0.1 * x, y, far},
                  Point{random.between(-x, x), random.between(-y, y), random.magnitude(-3, 2)}}) {
                const auto exact = reference::convergedPressure({width, height}, point, turn).value;
                const Complex expected(static_cast<double>(exact.re),
                                       static_cast<double>(exact.im));
                // What phases and positions lose in double precision.
                const double R = std::hypot(point.x, point.y, point.z);
                const double amplitude = std::min(1.0, width * height / std::max(R, 1e-300));
                const double rounding =
                    4e-16 * (turn * R + 64 + 2 * turn * (width + height)) *
                    std::min(1.0, amplitude + turn * std::hypot(width, height) / 64);
                constexpr double limit = 1e-12;
                const Potentials got = computed(field, {point}, limit, Derivatives::none);
                EXPECT_LE(std::abs(got.phi[0] - expected), limit + rounding)
                    << width << " by " << height << " at " << point.x << ' ' << point.y << ' '
                    << point.z;
            }
        }
}

TEST(OutlineField, FarBesideIsTheIntegralOverTheFace) {
    // Lengths are in wavelengths. Polar coordinates about the disc's own centre have no
    // singularities there.
    constexpr double radius = 1.3;
    const Complex k(turn, -1e-4);
    const OutlineField field(discOutline(radius), k.real(), -k.imag());
    for (const Point& point : {Point{1e4, 0, 0}, Point{-6000, 8000, 30}, Point{3, -200, 0.01},
                               Point{5000, 5000, 5000}, Point{4, 0, 1e4}}) {
        FlatIntegrals exact{};
        const reference::Rule rule = reference::legendreRule(40);
        constexpr int angles = 64;
        for (std::size_t n = 0; n < rule.nodes.size(); ++n)
            for (int i = 0; i < angles; ++i) {
                const double r = radius / 2 * (1 + static_cast<double>(rule.nodes[n]));
                const double area =
                    radius / 2 * static_cast<double>(rule.weights[n]) * r * turn / angles;
                const double x = point.x - r * std::cos(turn * i / angles);
                const double y = point.y - r * std::sin(turn * i / angles);
                const double R = std::hypot(x, y, point.z);
                const Complex wave = std::exp(-j * k * R) / R * area;
                const Complex first = -(1.0 + j * k * R) / (R * R) * wave;
                const Complex second =
                    (3.0 + 3.0 * j * k * R - k * k * R * R) / (R * R * R * R) * wave;
                exact.value += wave;
                exact.x += x * first;
                exact.y += y * first;
                exact.z += point.z * first;
                exact.xz += x * point.z * second;
                exact.yz += y * point.z * second;
                exact.zz += first + point.z * point.z * second;
            }
        const double R = std::hypot(point.x, point.y, point.z);
        const double amplitude = turn / 2 * radius * radius / R * std::exp(k.imag() * R);
        const Potentials got = computed(field, {point}, 1e-11 * amplitude);
        // Phases of 6e4 lose five digits.
        EXPECT_LE(errorOf(got, 0, exact, k, Derivatives::second), 1e-10 * amplitude) << point.x;
    }
}

TEST(OutlineField, OfAPolygonWithARectanglesCornersIsThatRectangle) {
    const OutlineField one(rectangleOutline(1.2, 0.7), 9, 0.4);
    // In the other sense of turning, and with a corner on a side.
    const OutlineField other(
        polygonOutline({{-0.6, 0.35}, {0.6, 0.35}, {0.6, -0.35}, {0.1, -0.35}, {-0.6, -0.35}}), 9,
        0.4);
    Random random(5);
    for (const double height : {0.0, 0.02, 3.0}) {
        const auto points = drawGroup(random, height, 0.5);
        const Potentials a = computed(one, points, 1e-12, Derivatives::gradient);
        const Potentials b = computed(other, points, 1e-12, Derivatives::gradient);
        for (std::size_t i = 0; i < groupSize; ++i) {
            EXPECT_LE(std::abs(a.phi[i] - b.phi[i]), 3e-12);
            EXPECT_LE(std::abs(a.x[i] - b.x[i]) + std::abs(a.z[i] - b.z[i]), 3e-11);
        }
    }
}

TEST(OutlineField, OfPolygonsTendsToThatOfTheirCircle) {
    const std::vector<Point> points{{0.2, 0.1, 0.5}, {0, 0, 0}, {1.4, 0.3, 0.1}, {3, 2, 8}};
    const OutlineField disc(discOutline(1), 10, 0.05);
    const Potentials exact = computed(disc, points, 1e-12, Derivatives::gradient);
    const auto errorWith = [&](int corners) {
        std::vector<PlaneVector> polygon;
        for (int i = 0; i < corners; ++i)
            polygon.push_back({std::cos(turn * i / corners), std::sin(turn * i / corners)});
        const OutlineField field(polygonOutline(polygon), 10, 0.05);
        const Potentials got = computed(field, points, 1e-12, Derivatives::gradient);
        double worst = 0;
        for (std::size_t i = 0; i < points.size(); ++i)
            worst = std::max(worst, std::abs(got.phi[i] - exact.phi[i]));
        return worst;
    };
    const double of64 = errorWith(64);
    const double of128 = errorWith(128);
    const double of1024 = errorWith(1024);
    EXPECT_LE(of64, 0.02);
    EXPECT_NEAR(of64 / of128, 4, 0.1);
    EXPECT_NEAR(of128 / of1024, 64, 1);
}

TEST(OutlineField, HasTheFacesVelocityOnIt) {
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const OutlineField field(shape.outline, 8, 1);
        Random random(11);
        for (int i = 0; i < 40; ++i) {
            const Point point{random.between(-1.2, 1.2), random.between(-1.2, 1.2), 0};
            // What the borders' angle adds up to says whether the point is on the face.
            const auto exact =
                reference::flatIntegrals(shape.source, {point.x, point.y, 1e-4}, 1e-9);
            const bool isOnFace = std::abs(exact.z) > turn / 2;
            const Potentials got = computed(field, {point}, 1e-11, Derivatives::none);
            EXPECT_LE(std::abs(got.z[0] + (isOnFace ? turn : 0)), 1e-12);
        }
    }
}

TEST(OutlineField, OnTheFaceAndInItsPlaneIsTheSurfaceIntegral) {
    Random random(12);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        for (const Complex k : {Complex(8), Complex(8, -0.5)}) {
            const OutlineField field(shape.outline, k.real(), -k.imag());
            const auto points = drawGroup(random, 0, 0.8);
            const Potentials got = computed(field, points, 1e-11, Derivatives::gradient);
            for (std::size_t i = 0; i < 6; ++i) {
                const auto exact = reference::flatIntegrals(shape.source, points[i], k);
                EXPECT_LE(std::abs(got.phi[i] - exact.value) * std::abs(k), turn * 1e-11);
            }
        }
    }
}

TEST(OutlineField, OnTheBoundaryHasItsPressureAndInfiniteDerivativesAlongThePlane) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const OutlineField disc(discOutline(0.8), 8, 0);
    const OutlineField square(rectangleOutline(1, 1), 8, 0);
    const reference::FlatSource circle = reference::ringSource(0, 0.8);
    const auto corners =
        reference::polygonSource({{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}});
    struct Rim {
        const OutlineField* field;
        const reference::FlatSource* source;
        Point point;
        double part;  ///< of the face about the point
    };
    for (const auto& [field, source, point, part] :
         {Rim{&disc, &circle, {0.8, 0, 0}, 0.5}, Rim{&square, &corners, {0.5, 0.2, 0}, 0.5},
          Rim{&square, &corners, {-0.5, 0.5, 0}, 0.25}}) {
        const Potentials got = computed(*field, {point}, 1e-9);
        const auto exact = reference::flatIntegrals(*source, point, 8);
        EXPECT_LE(std::abs(got.phi[0] - exact.value) * 8, turn * 1e-9);
        EXPECT_NEAR(got.z[0].real(), -turn * part, 1e-6);
        for (const auto* derivative : {&got.x, &got.y, &got.xz, &got.yz, &got.zz})
            EXPECT_EQ((*derivative)[0], Complex(infinity));
    }
}

TEST(OutlineField, MirrorsInThePistonsPlane) {
    Random random(13);
    for (const Shape& shape : shapes()) {
        const OutlineField field(shape.outline, 8, 0.3);
        auto points = drawGroup(random, 0.4, 0.6);
        const Potentials before = computed(field, points, 1e-6);
        for (Point& point : points) point.z = -point.z;
        const Potentials behind = computed(field, points, 1e-6);
        for (std::size_t i = 0; i < groupSize; ++i) {
            EXPECT_EQ(before.phi[i], behind.phi[i]);
            EXPECT_EQ(before.x[i], behind.x[i]);
            EXPECT_EQ(before.y[i], behind.y[i]);
            EXPECT_EQ(before.z[i], -behind.z[i]);
            EXPECT_EQ(before.xz[i], -behind.xz[i]);
            EXPECT_EQ(before.yz[i], -behind.yz[i]);
            EXPECT_EQ(before.zz[i], behind.zz[i]);
        }
    }
}

TEST(OutlineField, KeepsItsLimitInGroupsOfPointsFarApart) {
    Random random(14);
    for (const Shape& shape : shapes()) {
        SCOPED_TRACE(shape.name);
        const Complex k(8, -0.2);
        const OutlineField field(shape.outline, k.real(), -k.imag());
        std::vector<Point> points;
        for (int i = 0; i < groupSize; ++i)
            points.push_back({random.sign() * random.magnitude(-2, 1),
                              random.sign() * random.magnitude(-2, 1), random.magnitude(-1, 1)});
        const Potentials got = computed(field, points, 1e-9);
        for (std::size_t i = 0; i < groupSize; i += 3) {
            const auto exact = reference::flatIntegrals(shape.source, points[i], k);
            EXPECT_LE(errorOf(got, i, exact, k, Derivatives::second), 1e-9) << i;
        }
    }
}

TEST(OutlineField, TakesMoreEvaluationsForALesserLimitAndFewFarAway) {
    const OutlineField field(discOutline(1), 10, 0);
    OutlineField::Work work;
    const auto evaluations = [&](const Point& point, double error) {
        return field.evaluations(placesOf({point}), Derivatives::none, fixedLimit(error), work);
    };
    EXPECT_LT(evaluations({0, 0, 1}, 1e-3), evaluations({0, 0, 1}, 1e-10));
    EXPECT_LT(evaluations({0, 0, 1e4}, 1e-6), evaluations({0, 0, 1}, 1e-6));
}

}  // namespace
