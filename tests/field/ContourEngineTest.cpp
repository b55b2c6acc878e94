// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Fields by integrals along outlines: losses, baffles, velocity, intensity, any flat shape.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "ContourCase.h"
#include "field/Plan.h"
#include "reference/ConvergedPressure.h"
#include "reference/Legendre.h"
#include "tests/field/FieldCase.h"
#include "tests/support/Refused.h"

using namespace pistonfield;
using Of = Tolerance::Of;
using Complex = std::complex<double>;
using Values = std::vector<Complex>;

namespace {

constexpr double turn = 2 * std::numbers::pi;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

Values computed(const Plan& plan, const LatticeBox& box, const Conduct& conduct = {}) {
    Values values(static_cast<std::size_t>(box.points() * plan.request().fields()));
    plan.compute(box, values.data(), conduct);
    return values;
}

Values computed(const Request& request) {
    const Plan plan(request);
    EXPECT_EQ(plan.engine(), "contours");
    return computed(plan, request.lattice.box());
}

Request withPoints(Request request, PointList points) {
    request.lattice = {.transform = {},
                       .sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1}};
    request.points = std::move(points);
    return request;
}

/// For an array of one element.
Request requestOf(Outline outline, const Wave& wave, double tolerance = 1e-9, Of of = Of::local) {
    Request request;
    request.array.emplace().elements = {
        {{}, Pose{}, std::make_shared<const Outline>(std::move(outline))}};
    request.array->weights = {1};
    request.wave = wave;
    request.tolerance = Tolerance{tolerance, of};
    return request;
}

/// A rectangle in a lossy medium.
Request smallRequest(double tolerance = 1e-6) {
    Request request;
    request.piston = {.width = 1.2, .height = 0.7};
    request.wave = {8, 0.01};
    request.tolerance = Tolerance{tolerance, Of::local};
    request.lattice = {.transform = {0.2, 0, 0, -1, 0, 0.3, 0, -1, 0, 0, 0.7, 0.1, 0, 0, 0, 1},
                       .sizes = {21, 9, 5}};
    return request;
}

double farthestApart(const Values& a, const Values& b) {
    double most = 0;
    for (std::size_t i = 0; i < a.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

TEST(ContourEngine, KeepsTolerancesOfRandomRequests) {
    Random random(20261122);
    for (int i = 0; i < 40; ++i) {
        const ContourCase drawn = drawContourCase(random);
        const Plan plan = takenPlan(drawn.request);
        SCOPED_TRACE(describe(plan.request()));
        ASSERT_EQ(plan.engine(), "contours");
        const Values values = computed(plan, drawn.request.lattice.box());
        const double worst = worstOf({plan.request(), drawn.sources}, values, 4, random);
        EXPECT_LE(worst, 1);
        const auto accuracy = plan.accuracy();
        EXPECT_LE(accuracy->error, accuracy->bound);
        EXPECT_LE(accuracy->bound, plan.request().tolerance->value);
    }
}

TEST(ContourEngine, HasTheSameBitsInEveryBoxAndOnEveryThread) {
    Random random(3);
    for (const Quantity quantity : {Quantity::pressure, Quantity::velocity, Quantity::intensity}) {
        Request request = smallRequest(1e-4);
        request.quantity = quantity;
        request.baffle = Baffle::free;
        const Plan plan(request);
        const Values whole = computed(plan, request.lattice.box(), {.threads = 1});
        EXPECT_EQ(computed(plan, request.lattice.box(), {.threads = 3}), whole);
        for (int i = 0; i < 20; ++i) {
            LatticeBox box;
            for (std::size_t d = 0; d < 3; ++d) {
                const auto below = [&](std::int64_t limit) {
                    return static_cast<std::int64_t>(random.below(static_cast<std::size_t>(limit)));
                };
                box.first[d] = below(request.lattice.sizes[d]);
                box.size[d] = 1 + below(request.lattice.sizes[d] - box.first[d]);
            }
            const Values part = computed(plan, box);
            std::size_t number = 0;
            for (std::int64_t f = 0; f < request.fields(); ++f)
                for (std::int64_t z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
                    for (std::int64_t y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                        for (std::int64_t x = box.first[0]; x < box.first[0] + box.size[0]; ++x)
                            ASSERT_EQ(
                                part[number++],
                                whole[static_cast<std::size_t>(((f * 5 + z) * 9 + y) * 21 + x)]);
        }
    }
}

TEST(ContourEngine, OfRectanglesWithoutLossesIsTheFieldOfTheOtherEngines) {
    for (const Of of : {Of::local, Of::largest})
        for (const double tolerance : {1e-4, 1e-10}) {
            Request request = smallRequest(tolerance);
            request.tolerance->of = of;
            request.wave.attenuation = 0;
            const Plan other(request);
            EXPECT_NE(other.engine(), "contours");
            const Values expected = computed(other, request.lattice.box());
            request.wave.attenuation = 1e-14;
            const Values values = computed(request);
            EXPECT_LE(farthestApart(values, expected), 2 * tolerance + 1e-13);
        }
}

TEST(ContourEngine, OfAnIntensityIsThatOfItsPressureAndVelocity) {
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free}) {
        Request request = smallRequest(1e-10);
        request.baffle = baffle;
        const Values pressure = computed(request);
        request.quantity = Quantity::velocity;
        const Values velocity = computed(request);
        request.quantity = Quantity::intensity;
        const Values intensity = computed(request);
        ASSERT_EQ(intensity.size(), 3 * pressure.size());
        for (std::size_t i = 0; i < intensity.size(); ++i)
            ASSERT_LE(std::abs(intensity[i] - Complex(0, 1) * pressure[i % pressure.size()] *
                                                  std::conj(velocity[i])),
                      1e-8);
    }
}

TEST(ContourEngine, HasTheVelocityThatThePressuresSlopeGives) {
    Request request = smallRequest(1e-10);
    request.wave.attenuation = 0;
    request.quantity = Quantity::velocity;
    constexpr double step = 0x1p-11;
    const auto pressureAt = [&](std::array<double, 3> at, std::size_t axis, double steps) {
        at[axis] += steps * step;
        const auto exact = reference::convergedPressure({1.2, 0.7}, {at[0], at[1], at[2]}, 8).value;
        return exact;
    };
    const std::vector<std::array<double, 3>> points{
        {0.25, 0.125, 0.5}, {-0.5, 0.25, 0.0625}, {3, 2, 0.25}, {0.625, -0.5, 20}};
    PointList list;
    for (const auto& [x, y, z] : points) {
        list.x.push_back(x);
        list.y.push_back(y);
        list.z.push_back(z);
    }
    const Values values = computed(withPoints(request, list));
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            // Off by the step's sixth power.
            const auto difference = [&](double steps) {
                return pressureAt(points[i], axis, steps) - pressureAt(points[i], axis, -steps);
            };
            const reference::QuadComplex slope =
                static_cast<Quad>(1 / (60 * step)) *
                (static_cast<Quad>(45) * difference(1) + static_cast<Quad>(-9) * difference(2) +
                 difference(3));
            const Complex velocity(static_cast<double>(slope.re) / -8,
                                   static_cast<double>(slope.im) / -8);
            EXPECT_LE(std::abs(values[axis * points.size() + i] - velocity), 1e-9) << i << axis;
        }
}

/// The Gauss-Legendre rule of 64 points on [from, to].
struct Rule64 {
    std::vector<double> nodes, weights;

    Rule64(double from, double to) {
        const reference::Rule rule = reference::legendreRule(64);
        for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
            nodes.push_back(from + (to - from) / 2 * (1 + static_cast<double>(rule.nodes[i])));
            weights.push_back((to - from) / 2 * static_cast<double>(rule.weights[i]));
        }
    }
};

/// The power of a disc of radius 1 through a half sphere about its centre, over its area times
/// rho*c*|u0|^2/2.
double powerThroughSphere(const Wave& wave, double radius, Baffle baffle = Baffle::rigid) {
    const Rule64 angles(0, turn / 4);
    PointList list;
    for (const double angle : angles.nodes) {
        list.x.push_back(radius * std::sin(angle));
        list.y.push_back(0);
        list.z.push_back(radius * std::cos(angle));
    }
    Request request = withPoints(requestOf(discOutline(1), wave, 1e-8), list);
    request.quantity = Quantity::intensity;
    request.baffle = baffle;
    const Values values = computed(request);
    double power = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        const double normal = values[i].real() * std::sin(angles.nodes[i]) +
                              values[128 + i].real() * std::cos(angles.nodes[i]);
        power += angles.weights[i] * normal * turn * radius * radius * std::sin(angles.nodes[i]);
    }
    return power / (turn / 2);
}

TEST(ContourEngine, RadiatesThePowerOfADisc) {
    for (const double k : {0.4, 2.0, 5.0, 13.0}) {
        const double exact = 1 - std::cyl_bessel_j(1, 2 * k) / k;
        // What flows through the face, where the velocity is 1: r = sin(t) takes the slope of the
        // pressure at the rim, which is infinite, away.
        const Rule64 angles(0, turn / 4);
        PointList list;
        for (const double angle : angles.nodes) {
            list.x.push_back(std::sin(angle));
            list.y.push_back(0);
            list.z.push_back(0);
        }
        Request request = withPoints(requestOf(discOutline(1), {k, 0}, 1e-9), list);
        request.quantity = Quantity::intensity;
        const Values values = computed(request);
        double power = 0;
        for (std::size_t i = 0; i < 64; ++i)
            power += angles.weights[i] * values[128 + i].real() * 2 * std::sin(angles.nodes[i]) *
                     std::cos(angles.nodes[i]);
        EXPECT_NEAR(power, exact, 1e-6) << k;
        for (const double radius : {1.5, 10.0, 200.0})
            EXPECT_NEAR(powerThroughSphere({k, 0}, radius), exact, 3e-8) << k << ' ' << radius;
    }
}

TEST(ContourEngine, LosesPowerOnTheWay) {
    constexpr double losses = 0.02;
    const double at100 = powerThroughSphere({5, losses}, 100);
    const double at200 = powerThroughSphere({5, losses}, 200);
    EXPECT_NEAR(at100 / at200, std::exp(2 * losses * 100), 1e-3 * std::exp(2 * losses * 100));
    EXPECT_GT(powerThroughSphere({5, 0}, 100), 10 * at100);
    // Between soft planes power is kept as well.
    EXPECT_NEAR(powerThroughSphere({5, 0}, 3, Baffle::soft),
                powerThroughSphere({5, 0}, 150, Baffle::soft), 1e-7);
    // The other one's plane is open.
    EXPECT_GT(powerThroughSphere({5, 0}, 50, Baffle::free), 0.5);
}

TEST(ContourEngine, OfADiscDecaysOnTheAxisAsItsClosedForm) {
    constexpr Complex j(0, 1);
    const Wave wave{9, 0.3};
    const Complex k(9, -0.3);
    PointList list;
    for (const double z : {0.0, 0.01, 0.5, 3.0, 20.0, 100.0}) {
        list.x.push_back(0);
        list.y.push_back(0);
        list.z.push_back(z);
    }
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free}) {
        Request request = withPoints(requestOf(discOutline(1), wave, 1e-9), list);
        request.baffle = baffle;
        const Values values = computed(request);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double z = list.z[i];
            const double R = std::hypot(1, z);
            const Complex rigid = 9.0 * j / k * (std::exp(-j * k * R) - std::exp(-j * k * z));
            const Complex soft = j * (z / R * std::exp(-j * k * R) - std::exp(-j * k * z));
            const Complex exact = baffle == Baffle::rigid  ? rigid
                                  : baffle == Baffle::soft ? soft
                                                           : (rigid + soft) / 2.0;
            EXPECT_LE(std::abs(values[i] - exact), 1e-9 * std::exp(-0.3 * z)) << z;
        }
    }
}

TEST(ContourEngine, OfAnArrayIsTheSumOfItsElements) {
    Request request = smallRequest(1e-9);
    request.quantity = Quantity::velocity;
    const auto ring = std::make_shared<const Outline>(ringOutline(0.2, 0.5));
    Request both = request;
    both.array.emplace().elements = {{request.piston, Pose{}, {}},
                                     {{}, {{0.8, 0.4, 0}, {0, 1, 0}, {-1, 0, 0}}, ring}};
    const Complex a(0.3, -1.2);
    const Complex b(-2, 0.1);
    both.array->weights = {1, 0, 0, 1, a, b};
    const Values values = computed(both);
    const auto count = values.size() / 3;
    for (std::size_t i = 0; i < count; ++i)
        ASSERT_LE(std::abs(a * values[i] + b * values[count + i] - values[2 * count + i]), 1e-8);
    EXPECT_LE(farthestApart({values.begin(), values.begin() + static_cast<long>(count)},
                            computed(request)),
              1e-8);
}

TEST(ContourEngine, MirrorsBehindThePistonsPlane) {
    const PointList before{{0.3, 1.5}, {-0.2, 2}, {0.4, 3}};
    PointList behind = before;
    for (double& z : behind.z) z = -z;
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft}) {
        Request request = requestOf(sectorOutline(0.2, 0.9, 0, 2), {8, 0.2});
        request.baffle = baffle;
        request.behind = true;
        const double sign = baffle == Baffle::rigid ? 1 : -1;
        const Values p = computed(withPoints(request, before));
        const Values mirrored = computed(withPoints(request, behind));
        for (std::size_t i = 0; i < p.size(); ++i) EXPECT_EQ(mirrored[i], sign * p[i]);
        request.quantity = Quantity::velocity;
        const Values v = computed(withPoints(request, before));
        const Values turned = computed(withPoints(request, behind));
        for (std::size_t i = 0; i < v.size(); ++i)
            EXPECT_LE(std::abs(turned[i] - (i < 4 ? sign : -sign) * v[i]), 1e-12);
    }
}

TEST(ContourEngine, HasInfiniteVelocitiesOnEdgesAndPressures) {
    const PointList edge{{0.6, 0}, {0, 0}, {0, 0.5}};
    Request request = smallRequest(1e-6);
    request.array.emplace().elements = {{request.piston, Pose{}, {}},
                                        {{0.3, 0.3}, {{0.75, 0, 0}, {0, 1, 0}, {-1, 0, 0}}, {}}};
    // The first element's edge, and one that is not driven.
    request.array->weights = {1, Complex(0, 1), 0, 1};
    for (const Of of : {Of::local, Of::largest}) {
        request.tolerance->of = of;
        request.quantity = Quantity::pressure;
        for (const Complex& p : computed(withPoints(request, edge)))
            EXPECT_TRUE(std::isfinite(std::abs(p)));
        for (const Quantity quantity : {Quantity::velocity, Quantity::intensity}) {
            request.quantity = quantity;
            const Request asked = withPoints(request, edge);
            const Values values = computed(asked);
            for (std::size_t c = 0; c < 3; ++c) {
                EXPECT_EQ(values[2 * c], Complex(infinity));
                EXPECT_TRUE(std::isfinite(std::abs(values[2 * c + 1])));
            }
            EXPECT_LE(Plan(asked).accuracy()->error, 1e-6);
        }
    }
}

TEST(ContourEngine, SaysWhereVelocitiesAreInfiniteAtAllPoints) {
    Request request = smallRequest(1e-6);
    request.array.emplace().elements = {{request.piston, Pose{}, {}}};
    request.array->weights = {1};
    for (const Quantity quantity : {Quantity::velocity, Quantity::intensity}) {
        request.quantity = quantity;
        request.tolerance->of = Of::largest;
        const Request onEdges = withPoints(request, {{0.6, -0.6}, {0, 0.1}, {0, 0}});
        EXPECT_EQ(refused([&] { Plan{onEdges}; }),
                  "points: at all points that were looked at the velocity is infinite: they lie on "
                  "an edge of the source. There is no largest |v| for the tolerance to be relative "
                  "to; take one of the local amplitude, or other points");
        request.tolerance->of = Of::local;
        for (const Complex& value : computed(withPoints(request, {{0.6, -0.6}, {0, 0.1}, {0, 0}})))
            EXPECT_EQ(value, Complex(infinity));
    }
}

TEST(ContourEngine, IsNothingWhereLossesLeaveNothing) {
    Request request = smallRequest(1e-6);
    request.wave.attenuation = 0.5;
    request.lattice.transform[11] = 3000;
    for (const Complex& value : computed(request)) EXPECT_EQ(value, 0.0);
    EXPECT_EQ(Plan(request).accuracy()->error, 0);
    request.tolerance->of = Of::largest;
    EXPECT_EQ(refused([&] { Plan{request}; }),
              "tolerance: there is next to no pressure at the points that were looked at; take a "
              "tolerance of the local amplitude");
}

TEST(ContourEngine, KeepsATolerancesDigitsOrRefusesWithStrongLosses) {
    // The local amplitude is that of the centre's distance, a side's pressure far more.
    for (const double losses : {0.2, 1.0}) {
        ContourCase drawn;
        drawn.request = requestOf(discOutline(1.5), {turn, losses * turn}, 1e-3);
        drawn.request.lattice = {
            .transform = {0.3, 0, 0, -3.6, 0, 0, 0, 0.1, 0, 0, 0.5, 0.05, 0, 0, 0, 1},
            .sizes = {25, 1, 4}};
        drawn.sources = {reference::ringSource(0, 1.5)};
        Random random(6);
        for (const Of of : {Of::local, Of::largest}) {
            drawn.request.tolerance = Tolerance{1e-12, of};
            const Plan plan = takenPlan(drawn.request);
            drawn.request = plan.request();
            const Values values = computed(plan, drawn.request.lattice.box());
            EXPECT_LE(worstOf(drawn, values, 60, random), 1) << losses;
        }
    }
}

/// What a request is refused with once something of it is changed.
std::string refusal(const std::function<void(Request&)>& change) {
    Request request = smallRequest();
    change(request);
    return refused([&] { Plan{request}; });
}

TEST(ContourEngine, TakesATolerance) {
    EXPECT_EQ(refusal([](Request& r) { r.tolerance.reset(); }),
              "attenuation: losses take a tolerance");
    EXPECT_EQ(refusal([](Request& r) {
                  r.tolerance.reset();
                  r.wave.attenuation = 0;
                  r.baffle = Baffle::free;
              }),
              "baffle: soft and free ones take a tolerance");
    EXPECT_EQ(refusal([](Request& r) {
                  r.tolerance.reset();
                  r.wave.attenuation = 0;
                  r.quantity = Quantity::intensity;
              }),
              "quantity: velocities and intensities take a tolerance");
    EXPECT_EQ(refusal([](Request& r) {
                  r = requestOf(discOutline(1), {7, 0});
                  r.lattice = smallRequest().lattice;
                  r.tolerance.reset();
              }),
              "elements: an array takes a tolerance");
    EXPECT_EQ(refusal([](Request& r) { r.tolerance->value = 1e-16; }).substr(0, 25),
              "tolerance: 1e-16 is below");
    EXPECT_EQ(refusal([](Request& r) {
                  r.mode = Mode::cpusp;
                  r.tolerance->value = 1e-8;
              }).substr(0, 25),
              "tolerance: 1e-08 is below");
}

TEST(ContourEngine, IsNotOfAGpu) {
    for (const Mode mode : {Mode::cuda, Mode::cudadp}) {
        const std::string text = std::string(" are not computed in the mode ") + nameOf(mode);
        EXPECT_EQ(refusal([&](Request& r) { r.mode = mode; }), "attenuation: losses" + text);
        EXPECT_EQ(refusal([&](Request& r) {
                      r.mode = mode;
                      r.wave.attenuation = 0;
                      r.baffle = Baffle::soft;
                  }),
                  "baffle: soft and free ones" + text);
        EXPECT_EQ(refusal([&](Request& r) {
                      r.mode = mode;
                      r.wave.attenuation = 0;
                      r.quantity = Quantity::velocity;
                  }),
                  "quantity: velocities and intensities" + text);
    }
}

TEST(ContourEngine, TakesAttenuationsUpToTheWavenumber) {
    for (const double odd : {-1e-9, 8.1, nan, infinity, -infinity})
        EXPECT_EQ(refusal([=](Request& r) { r.wave.attenuation = odd; }),
                  "attenuation: must be within 0 and the wavenumber");
    EXPECT_EQ(refusal([](Request& r) { r.wave.attenuation = 8; }), "no failure");
}

TEST(ContourEngine, RefusesPointsBehindUnlessTheyAreAskedFor) {
    const auto lower = [](Request& r) { r.lattice.transform[11] = -0.25; };
    EXPECT_EQ(refusal(lower), "transform: the point (-1, -1, -0.25) lies behind the piston");
    EXPECT_EQ(refusal([&](Request& r) {
                  lower(r);
                  r.behind = true;
              }),
              "no failure");
}

TEST(ContourEngine, RefusesWhatIsNoOutlineOrTooLarge) {
    const auto withOutline = [](const Outline& outline) {
        return refusal([&](Request& r) {
            const Lattice lattice = r.lattice;
            r = requestOf(outline, {turn, 0});
            r.lattice = lattice;
        });
    };
    EXPECT_EQ(withOutline(discOutline(1)), "no failure");
    EXPECT_EQ(withOutline(ringOutline(2, 1)),
              "elements: element 1: its outline: there is no area inside, or its loops have it on "
              "their right");
    EXPECT_EQ(withOutline(discOutline(1100)),
              "elements: element 1: 2200 wavelengths are not within the 1e-05 to 2000 for which a "
              "tolerance is kept");
    EXPECT_EQ(refusal([](Request& r) {
                  const Lattice lattice = r.lattice;
                  r = requestOf(discOutline(1), {turn, 0});
                  r.lattice = lattice;
                  for (std::size_t i = 0; i < Array::mostShapes; ++i) {
                      r.array->elements.push_back(
                          {{}, Pose{}, std::make_shared<const Outline>(discOutline(1))});
                      r.array->weights.emplace_back(1);
                  }
              }),
              "elements: their outlines are more than the 1024 of an array");
    EXPECT_EQ(refusal([](Request& r) { r.piston.width = 1e5; }),
              "width: 127324 wavelengths are not within the 1e-05 to 2000 for which a tolerance is "
              "kept");
    EXPECT_EQ(refusal([](Request& r) { r.lattice.transform[11] = 1e9; }),
              "transform: there are points more than 1e9/wavenumber away, which is too far for a "
              "tolerance");
}

TEST(ContourEngine, TellsHowFarItIsIsStoppedAndSaysWhatItTakes) {
    Request request = smallRequest(1e-10);
    request.lattice.sizes = {300, 300, 5};
    const Plan plan(request);
    const LatticeBox box = request.lattice.box();
    const Cost whole = plan.cost(box);
    EXPECT_GT(whole.evaluations, 4.0 * static_cast<double>(box.points()));
    EXPECT_GT(whole.memory, 0);
    EXPECT_EQ(whole.deviceMemory, 0);
    EXPECT_NEAR(plan.cost({{}, {300, 300, 1}}).evaluations, whole.evaluations / 5,
                1e-9 * whole.evaluations);
    std::vector<std::int64_t> told;
    std::stop_source source;
    const Conduct conduct{.stop = source.get_token(),
                          .progress =
                              [&](std::int64_t points) {
                                  told.push_back(points);
                                  if (told.size() == 2) source.request_stop();
                              },
                          .threads = 1};
    EXPECT_THROW(computed(plan, box, conduct), Stopped);
    ASSERT_EQ(told.size(), 2);
    EXPECT_LT(0, told[0]);
    EXPECT_LT(told[0], told[1]);
    EXPECT_LT(told[1], box.points());
}

}  // namespace
