// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/PulsePlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>

#include "tests/support/Refused.h"

namespace {

using pistonfield::Array;
using pistonfield::Conduct;
using pistonfield::discOutline;
using pistonfield::Element;
using pistonfield::lossless;
using pistonfield::Outline;
using pistonfield::PointList;
using pistonfield::PulseError;
using pistonfield::PulsePlan;
using pistonfield::PulseRequest;
using pistonfield::Quantity;
using pistonfield::Request;
using pistonfield::Signal;
using pistonfield::Tolerance;
using pistonfield::Wave;
using Complex = std::complex<double>;

constexpr double pi = std::numbers::pi;
constexpr double c = 1.5;  ///< mm/us

/// Four periods of a tone of 1 MHz, below a Hann window.
constexpr double burstLength = 4;
double burst(double t) {
    if (t <= 0 || t >= burstLength) return 0;
    return std::pow(std::sin(pi * t / burstLength), 2) * std::sin(2 * pi * t);
}
double slopeOfBurst(double t) {
    if (t <= 0 || t >= burstLength) return 0;
    return pi / burstLength * std::sin(2 * pi * t / burstLength) * std::sin(2 * pi * t) +
           std::pow(std::sin(pi * t / burstLength), 2) * 2 * pi * std::cos(2 * pi * t);
}

Signal sampledBurst(double rate) {
    Signal signal{{}, rate};
    for (int i = 0; i <= static_cast<int>(burstLength * rate); ++i)
        signal.samples.push_back(burst(i / rate));
    return signal;
}

Request atPoints(const PointList& points, double tolerance) {
    Request request;
    request.points = points;
    request.lattice.sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1};
    request.tolerance = Tolerance{tolerance};
    return request;
}

PulseRequest rectanglePulse(const PointList& points, double tolerance, double rate) {
    Request field = atPoints(points, tolerance);
    field.piston = {6, 4};
    return {field, sampledBurst(rate), lossless(c)};
}

constexpr double discRadius = 5;

PulseRequest discPulse(const PointList& points, double tolerance, double rate) {
    static const auto disc = std::make_shared<const Outline>(discOutline(discRadius));
    Request field = atPoints(points, tolerance);
    field.array = Array{{Element{{}, {}, disc}}, {1.0}};
    return {field, sampledBurst(rate), lossless(c)};
}

PointList onAxis(const std::vector<double>& z) {
    return {std::vector<double>(z.size(), 0), std::vector<double>(z.size(), 0), z};
}

struct Computed {
    explicit Computed(const PulseRequest& request)
        : plan(request),
          points(request.field.lattice.box().points()),
          values(static_cast<std::size_t>(points * plan.times() * request.field.fields())),
          error(plan.compute(values.data())) {}

    double timeOf(std::int64_t t) const {
        return plan.start() + static_cast<double>(t) / plan.request().signal.rate;
    }
    double at(std::int64_t point, std::int64_t t, std::int64_t field = 0) const {
        return values[static_cast<std::size_t>((field * plan.times() + t) * points + point)];
    }

    /// The largest |value| of some fields, and the largest difference from what is expected at a
    /// point and a time.
    template <class Expected>
    std::array<double, 2> compare(std::int64_t field, Expected expected) const {
        double largest = 0;
        double difference = 0;
        for (std::int64_t t = 0; t < plan.times(); ++t)
            for (std::int64_t i = 0; i < points; ++i) {
                largest = std::max(largest, std::abs(at(i, t, field)));
                difference =
                    std::max(difference, std::abs(at(i, t, field) - expected(i, timeOf(t))));
            }
        return {largest, difference};
    }

    PulsePlan plan;
    std::int64_t points;
    std::vector<double> values;
    PulseError error;
};

/// The wave from the face, and from its rim.
double discOnAxis(double z, double t) {
    return burst(t - z / c) - burst(t - std::hypot(z, discRadius) / c);
}

TEST(PulsePlan, OfADiscOnItsAxisIsItsPlaneAndItsEdgeWave) {
    const std::vector<double> z{0.5, 2, 10, 40};
    for (const double rate : {8.0, 16.0})
        for (const double tolerance : {1e-2, 1e-4}) {
            const Computed pulse(discPulse(onAxis(z), tolerance, rate));
            const auto [largest, difference] = pulse.compare(0, [&](std::int64_t i, double t) {
                return discOnAxis(z[static_cast<std::size_t>(i)], t);
            });
            EXPECT_GT(largest, 1);
            EXPECT_LT(pulse.error.total(), 3 * tolerance + (rate == 8 ? 5e-4 : 5e-5));
            EXPECT_LE(difference, pulse.error.total() * largest) << rate << ' ' << tolerance;
        }
}

/// What the impulse response of a rectangle gives, as a sum over its face by the midpoint rule: to
/// 3e-5 of the largest pressure here.
double sumOverFace(const pistonfield::RectangularPiston& piston,
                   const pistonfield::Pose::Vector& place, double t, double slope(double)) {
    constexpr int cells = 300;
    double sum = 0;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const double x = place[0] - piston.width * ((i + 0.5) / cells - 0.5);
            const double y = place[1] - piston.height * ((j + 0.5) / cells - 0.5);
            const double r = std::sqrt(x * x + y * y + place[2] * place[2]);
            sum += slope(t - r / c) / r;
        }
    return sum * piston.width * piston.height / (cells * cells) / (2 * pi * c);
}

TEST(PulsePlan, OfARectangleIsTheConvolutionWithItsImpulseResponse) {
    const PointList points{{0, 3, 4.5, -1}, {0, 2, -1, 6}, {2, 5, 9, 40}};
    const Computed pulse(rectanglePulse(points, 1e-4, 16));
    EXPECT_LT(pulse.error.total(), 5e-4);
    double largest = 0;
    double difference = 0;
    for (std::int64_t i = 0; i < 4; ++i)
        for (std::int64_t t = 0; t < pulse.plan.times(); t += 5) {
            const auto at = static_cast<std::size_t>(i);
            const double expected = sumOverFace({6, 4}, {points.x[at], points.y[at], points.z[at]},
                                                pulse.timeOf(t), slopeOfBurst);
            largest = std::max(largest, std::abs(pulse.at(i, t)));
            difference = std::max(difference, std::abs(pulse.at(i, t) - expected));
        }
    EXPECT_LE(difference, pulse.error.total() * largest);
}

/// Two elements of which the second is turned and moves later.
PulseRequest delayedPulse(const PointList& points) {
    PulseRequest request = rectanglePulse(points, 5e-3, 8);
    request.field.array = Array{{Element{{3, 4}, {{-2, 0, 0}}},
                                 Element{{2, 3}, {{2, 0.5, 0.25}, {0.8, 0, -0.6}, {0, 1, 0}}}},
                                {1.0, -0.5, 0.25, 2.0}};
    request.delays = {0, 0.77};
    return request;
}

TEST(PulsePlan, OfAnArrayIsTheSumOfDelayedElements) {
    const PointList points{{0, 3}, {1, 2}, {9, 14}};
    const PulseRequest request = delayedPulse(points);
    const Computed pulse(request);
    const Array& array = *request.field.array;
    for (std::size_t weighting = 0; weighting < 2; ++weighting) {
        double largest = 0;
        double difference = 0;
        for (std::int64_t i = 0; i < 2; ++i)
            for (std::int64_t t = 0; t < pulse.plan.times(); t += 5) {
                const auto at = static_cast<std::size_t>(i);
                double expected = 0;
                for (std::size_t e = 0; e < 2; ++e)
                    expected += array.weights[2 * weighting + e].real() *
                                sumOverFace(array.elements[e].piston,
                                            array.elements[e].pose.placeOf(
                                                {points.x[at], points.y[at], points.z[at]}),
                                            pulse.timeOf(t) - request.delays[e], slopeOfBurst);
                const double value = pulse.at(i, t, static_cast<std::int64_t>(weighting));
                largest = std::max(largest, std::abs(value));
                difference = std::max(difference, std::abs(value - expected));
            }
        EXPECT_LE(difference, pulse.error.total() * largest);
        EXPECT_LT(pulse.error.total(), 3e-2);
    }
}

TEST(PulsePlan, TakesNoLongerWindowsFarAway) {
    const auto times = [](double z) { return PulsePlan(discPulse(onAxis({z}), 1e-4, 16)).times(); };
    EXPECT_GE(times(1e6), 65);
    EXPECT_LE(times(1e6), 68);
    const Computed pulse(discPulse(onAxis({1e4, 1e4 + 3}), 1e-4, 32));
    EXPECT_NEAR(pulse.plan.start(), 1e4 / c, 1.0 / 32);
    const auto [largest, difference] = pulse.compare(0, [&](std::int64_t i, double t) {
        return discOnAxis(1e4 + 3 * static_cast<double>(i), t);
    });
    EXPECT_LT(pulse.error.total(), 1e-2);
    EXPECT_LE(difference, pulse.error.total() * largest);
}

TEST(PulsePlan, HasVelocities) {
    PulseRequest request = discPulse(onAxis({2, 10}), 1e-4, 16);
    request.field.quantity = Quantity::velocity;
    const Computed pulse(request);
    const auto [largest, difference] = pulse.compare(2, [&](std::int64_t i, double t) {
        const double z = i == 0 ? 2 : 10;
        const double edge = std::hypot(z, discRadius);
        return burst(t - z / c) - z / edge * burst(t - edge / c);
    });
    EXPECT_GT(largest, 0.9);
    EXPECT_LE(difference, pulse.error.total() * largest);
    EXPECT_LE(pulse.compare(0, [](std::int64_t, double) { return 0.0; })[1],
              pulse.error.total() * largest);
}

/// Attenuation that goes with the frequency's power, and the dispersion that makes it causal.
Wave inTissue(double frequency) {
    constexpr double attenuation = 0.02;  // nepers per mm at 1 MHz
    constexpr double power = 1.4;
    const double omega = 2 * pi * frequency;
    const double alpha = attenuation * std::pow(frequency, power);
    const double dispersion = attenuation / std::pow(2 * pi, power) * std::tan(pi * power / 2) *
                              omega * (std::pow(omega, power - 1) - std::pow(2 * pi, power - 1));
    return {omega / c + dispersion, alpha};
}

/// The field on the axis of a disc in a medium with losses, by plain sums over the frequencies of a
/// window some ten times as long.
double lossyOnAxis(double z, double t, double rate) {
    const Signal signal = sampledBurst(rate);
    constexpr int length = 8000;
    static const std::vector<Complex> amplitudes = [&] {
        std::vector<Complex> sums(length / 2);
        for (int n = 1; n < length / 2; ++n)
            for (std::size_t i = 0; i < signal.samples.size(); ++i)
                sums[static_cast<std::size_t>(n)] +=
                    signal.samples[i] *
                    std::polar(2.0 / length, -2 * pi * n * static_cast<double>(i) / length);
        return sums;
    }();
    double sum = 0;
    for (int n = 1; n < length / 2; ++n) {
        const double frequency = n * rate / length;
        const Wave wave = inTissue(frequency);
        const Complex k(wave.wavenumber, -wave.attenuation);
        const auto along = [&](double distance) { return std::exp(Complex(0, -1) * k * distance); };
        sum += (amplitudes[static_cast<std::size_t>(n)] * (wave.wavenumber / k) *
                (along(z) - along(std::hypot(z, discRadius))) *
                std::polar(1.0, 2 * pi * frequency * t))
                   .real();
    }
    return sum;
}

TEST(PulsePlan, DecaysAndSpreadsInAMediumWithLosses) {
    const std::vector<double> z{5, 60};
    PulseRequest request = discPulse(onAxis(z), 1e-4, 16);
    request.wave = inTissue;
    const Computed pulse(request);
    double largest = 0;
    double difference = 0;
    for (std::int64_t i = 0; i < 2; ++i)
        for (std::int64_t t = 0; t < pulse.plan.times(); t += 5) {
            const double expected =
                lossyOnAxis(z[static_cast<std::size_t>(i)], pulse.timeOf(t), 16);
            largest = std::max(largest, std::abs(pulse.at(i, t)));
            difference = std::max(difference, std::abs(pulse.at(i, t) - expected));
        }
    EXPECT_LT(pulse.error.total(), 5e-3);
    EXPECT_LE(difference, pulse.error.total() * largest);
}

TEST(PulsePlan, ComputesPlanesAsItDoesTheirPoints) {
    PulseRequest request = rectanglePulse({}, 1e-5, 16);
    request.field.points.reset();
    request.field.lattice = {{0.5, 0, 0, -2, 0, 0, 1, 0.25, 0, 0.5, 0, 3, 0, 0, 0, 1}, {7, 5, 1}};
    const Computed plane(request);
    PointList points;
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 7; ++i) {
            points.x.push_back(0.5 * i - 2);
            points.y.push_back(0.25);
            points.z.push_back(0.5 * j + 3);
        }
    const Computed list(rectanglePulse(points, 1e-5, 16));
    ASSERT_EQ(plane.plan.times(), list.plan.times());
    const auto [largest, difference] = plane.compare(0, [&](std::int64_t i, double t) {
        const auto time = std::llround((t - list.plan.start()) * 16);
        return list.at(i, time);
    });
    EXPECT_LE(difference, 4e-5 * largest);
}

TEST(PulsePlan, TellsWhatASignalThatIsSampledTooSeldomMayBeOffBy) {
    PulseRequest request = rectanglePulse(onAxis({10}), 1e-5, 16);
    request.signal = {{0, 1, 0, 0, 0, 0, 0, 0}, 1};  // as much of each frequency
    EXPECT_GT(Computed(request).error.sampling, 0.1);
    // What begins with a jump rings before it arrives.
    request.signal.samples.assign(16, 1);
    EXPECT_GT(Computed(request).error.folded, 0.01);
}

TEST(PulsePlan, IsInTheUnitOfASpeed) {
    PulseRequest request = rectanglePulse(onAxis({10, 30}), 1e-3, 16);
    const Computed own(request);
    request.speed = 2 * c;
    const Computed half(request);
    ASSERT_EQ(half.values.size(), own.values.size());
    for (std::size_t i = 0; i < own.values.size(); ++i)
        EXPECT_NEAR(half.values[i], own.values[i] / 2, 1e-12);
    // Errors are relative to the largest value.
    const auto expectSame = [](double one, double other) {
        EXPECT_GT(other, 0);
        EXPECT_NEAR(one, other, 1e-9 * other);
    };
    expectSame(half.error.sampling, own.error.sampling);
    expectSame(half.error.dropped, own.error.dropped);
    expectSame(half.error.tolerance, own.error.tolerance);
    expectSame(half.error.folded, own.error.folded);
}

TEST(PulsePlan, IsWatchedAndStopped) {
    const PulsePlan plan(rectanglePulse(onAxis({10, 20}), 1e-3, 16));
    std::vector<double> values(static_cast<std::size_t>(2 * plan.times()));
    std::int64_t last = 0;
    Conduct conduct;
    conduct.threads = 1;
    conduct.progress = [&](std::int64_t points) { last = points; };
    plan.compute(values.data(), conduct);
    EXPECT_EQ(last, 2 * static_cast<std::int64_t>(plan.frequencies().size()));
    std::stop_source stop;
    conduct.stop = stop.get_token();
    stop.request_stop();
    EXPECT_THROW(plan.compute(values.data(), conduct), pistonfield::Stopped);
}

TEST(PulsePlan, CostsItsFieldsAndItsSpectra) {
    const PulsePlan plan(rectanglePulse(onAxis({10, 20}), 1e-3, 16));
    EXPECT_GT(plan.cost().evaluations, 0);
    EXPECT_GE(plan.cost().memory, static_cast<std::int64_t>(32 * plan.frequencies().size()));
}

TEST(PulsePlan, OfWhatThereIsNoneIsRefused) {
    const auto refusedWith = [](auto change) {
        PulseRequest request = rectanglePulse(onAxis({10}), 1e-3, 16);
        change(request);
        return refused([&] { const PulsePlan plan(request); });
    };
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.signal.rate = 0; }),
              "rate: must be a number of samples per second above 0");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.field.tolerance->of = Tolerance::Of::local; }),
              "tolerance: a pulse takes one of the largest value");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.field.tolerance.reset(); }),
              "tolerance: a pulse takes one of the largest value");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.field.quantity = Quantity::intensity; }),
              "quantity: a pulse has no intensity of a period");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.speed = -1; }),
              "speed: must be a speed of 0 or above");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.delays = {1}; }),
              "delays: 1 are not one for each element of an array");
    EXPECT_EQ(refusedWith([](PulseRequest& r) {
                  r.field.array = Array{{Element{{1, 1}, {}}}, {1.0}};
                  r.delays = {std::numeric_limits<double>::quiet_NaN()};
              }),
              "delays: every number must be finite");
    EXPECT_EQ(refusedWith([](PulseRequest& r) { r.field.piston.width = 0; }),
              "width: must be a length above 0");
    EXPECT_EQ(refusedWith([](PulseRequest& r) {
                  r.wave = [](double f) { return Wave{f < 2 ? 0.0 : f}; };
              }).substr(0, 40),
              "wavenumber: there is none at the frequen");
    EXPECT_EQ(refused([] { lossless(0); }), "speed: must be a speed above 0");
}

}  // namespace
