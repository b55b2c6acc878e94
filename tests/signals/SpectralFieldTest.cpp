// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/SpectralField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Refused.h"

namespace {

using pistonfield::Array;
using pistonfield::Conduct;
using pistonfield::Element;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;
using pistonfield::SpectralField;
using pistonfield::Stopped;
using pistonfield::Tone;
using Complex = std::complex<double>;

/// Points in a plane before a piston or two, within a tolerance.
Request planeOf(std::int64_t points) {
    Request request;
    request.piston = {3, 2};
    request.lattice = {{0.05, 0, 0, -1, 0, 0.07, 0, 0.3, 0, 0, 1, 2, 0, 0, 0, 1}, {points, 4, 1}};
    request.tolerance = pistonfield::Tolerance{1e-6};
    return request;
}

Request twoElements(std::int64_t points) {
    Request request = planeOf(points);
    request.array = Array{{Element{{1, 2}, {{-0.6, 0, 0}}}, Element{{1, 2}, {{0.6, 0, 0}}}},
                          {1.0, 1.0, 1.0, -1.0}};
    return request;
}

const std::vector<Tone> tones{{{1.5}}, {{4.0}}, {{9.25}}};

TEST(SpectralField, IsThatOfEachFrequency) {
    for (const std::int64_t points : {40, 400}) {
        const Request request = planeOf(points);
        const SpectralField field(request, tones);
        const auto count = static_cast<std::size_t>(4 * points);
        std::vector<Complex> values(3 * count);
        std::vector<std::int64_t> progress;
        Conduct conduct;
        conduct.progress = [&](std::int64_t done) { progress.push_back(done); };
        field.compute(request.lattice.box(), values.data(), conduct);
        for (std::size_t i = 0; i < 3; ++i) {
            Request one = request;
            one.wave = tones[i].wave;
            std::vector<Complex> expected(count);
            Plan(one).compute(one.lattice.box(), expected.data());
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), &values[i * count]));
        }
        EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
        ASSERT_FALSE(progress.empty());
        EXPECT_LE(progress.back(), static_cast<std::int64_t>(3 * count));
    }
}

TEST(SpectralField, OfManyPointsTellsThatAllAreDone) {
    const Request request = planeOf(400);
    std::vector<Complex> values(3 * 1600);
    std::int64_t last = 0;
    Conduct conduct;
    conduct.progress = [&](std::int64_t done) { last = done; };
    SpectralField(request, tones).compute(request.lattice.box(), values.data(), conduct);
    EXPECT_EQ(last, 3 * 1600);
}

TEST(SpectralField, HasTheWeightsOfEachFrequency) {
    const Request request = twoElements(40);
    std::vector<Tone> weighted = tones;
    weighted[0].weights = weighted[1].weights = request.array->weights;
    weighted[2].weights = {Complex(0, 1), 2.0, 0.5, 1.0};
    std::vector<Complex> values(3 * 320);
    SpectralField(request, weighted).compute(request.lattice.box(), values.data());
    Request one = request;
    one.wave = weighted[2].wave;
    one.array->weights = weighted[2].weights;
    std::vector<Complex> expected(320);
    Plan(one).compute(one.lattice.box(), expected.data());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), &values[640]));
}

/// Waves whose frequencies share what they can, with losses that grow with the frequency.
std::vector<Tone> manyTones(double losses, double exponent = 1) {
    std::vector<Tone> many;
    for (int n = 6; n < 70; ++n) {
        if (n % 11 == 0) continue;
        const double k = 0.125 * n;
        many.push_back({{k, losses * std::pow(k, exponent)}});
    }
    return many;
}

/// The largest difference of a field from that of a plan for each tone within a hundredth of the
/// tolerance, relative to the largest value of the tone and weighting.
double errorOf(const Request& request, const std::vector<Tone>& all,
               const std::vector<Complex>& values) {
    double error = 0;
    const auto points = static_cast<std::size_t>(request.lattice.box().points());
    const Complex* got = values.data();
    for (const Tone& tone : all) {
        Request one = request;
        one.wave = tone.wave;
        one.tolerance->value /= 100;
        if (!tone.weights.empty()) one.array->weights = tone.weights;
        std::vector<Complex> expected(points * static_cast<std::size_t>(one.fields()));
        Plan(one).compute(one.lattice.box(), expected.data());
        for (std::size_t first = 0; first < expected.size(); first += points) {
            double largest = 0;
            double difference = 0;
            for (std::size_t i = first; i < first + points; ++i, ++got) {
                largest = std::max(largest, std::abs(expected[i]));
                difference = std::max(difference, std::abs(expected[i] - *got));
            }
            error = std::max(error, difference / largest);
        }
    }
    return error;
}

std::vector<Complex> valuesOf(const SpectralField& field, const Conduct& conduct = {}) {
    const Request& request = field.request();
    const auto box = request.lattice.box();
    std::vector<Complex> values(field.tones().size() *
                                static_cast<std::size_t>(box.points() * request.fields()));
    field.compute(box, values.data(), conduct);
    return values;
}

Request discOf(std::int64_t points) {
    Request request = planeOf(points);
    request.array = Array{
        {Element{
            {}, {}, std::make_shared<const pistonfield::Outline>(pistonfield::discOutline(2))}},
        {1.0}};
    return request;
}

TEST(SpectralField, KeepsTheToleranceAtFrequenciesThatShare) {
    for (const double tolerance : {1e-3, 1e-9})
        for (const double losses : {0.0, 0.01}) {
            for (Request request : {planeOf(30), discOf(30), twoElements(30)}) {
                request.tolerance->value = tolerance;
                const auto all = manyTones(losses);
                EXPECT_LE(errorOf(request, all, valuesOf({request, all})), tolerance);
            }
        }
}

TEST(SpectralField, KeepsTheToleranceWhereFrequenciesAreNotEvenlySpaced) {
    const Request request = planeOf(30);
    const auto all = manyTones(0.003, 1.7);
    EXPECT_LE(errorOf(request, all, valuesOf({request, all})), 1e-6);
}

TEST(SpectralField, KeepsTheToleranceOfWavenumbersThatFall) {
    const Request request = planeOf(30);
    for (const double step : {1.0, 0.5}) {
        std::vector<Tone> all;
        for (int n = 0; n < 8; ++n) all.push_back({{16 - step * n}});
        EXPECT_LE(errorOf(request, all, valuesOf({request, all})), 1e-6) << step;
    }
}

TEST(SpectralField, HasTheWeightsOfFrequenciesThatShare) {
    const Request request = twoElements(30);
    auto all = manyTones(0);
    for (Tone& tone : all)
        tone.weights = {std::polar(1.0, tone.wave.wavenumber), 1.0, 0.5, Complex(0, -2)};
    EXPECT_LE(errorOf(request, all, valuesOf({request, all})), 1e-6);
}

TEST(SpectralField, HasOtherBitsThanAPlanWhereFrequenciesShare) {
    const Request request = planeOf(30);
    const auto all = manyTones(0.001);
    const SpectralField field(request, all);
    Request last = request;
    last.wave = all.back().wave;
    std::vector<Complex> alone(120);
    Plan(last).compute(last.lattice.box(), alone.data());
    const auto values = valuesOf(field);
    EXPECT_FALSE(std::equal(alone.begin(), alone.end(), values.end() - 120));
}

TEST(SpectralField, HasTheSameBitsInBoxesAndThreads) {
    const Request request = planeOf(37);
    const auto all = manyTones(0.001);
    const SpectralField field(request, all);
    const auto values = valuesOf(field, {.threads = 1});
    EXPECT_EQ(values, valuesOf(field, {.threads = 3}));
    const LatticeBox box{{5, 1, 0}, {29, 2, 1}};
    std::vector<Complex> part(all.size() * 58);
    field.compute(box, part.data());
    for (std::size_t n = 0; n < all.size(); ++n)
        for (std::size_t row = 0; row < 2; ++row)
            EXPECT_TRUE(std::equal(&part[n * 58 + row * 29], &part[n * 58 + row * 29] + 29,
                                   &values[n * 148 + (row + 1) * 37 + 5]));
}

TEST(SpectralField, IsInSinglePrecisionToo) {
    Request request = planeOf(30);
    request.mode = Mode::cpusp;
    request.tolerance->value = 1e-4;
    const auto all = manyTones(0.001);
    const SpectralField field(request, all);
    std::vector<std::complex<float>> values(all.size() * 120);
    field.compute(request.lattice.box(), values.data());
    request.mode = Mode::cpu;
    const std::vector<Complex> wide(values.begin(), values.end());
    EXPECT_LE(errorOf(request, all, wide), 1e-4);
}

TEST(SpectralField, TellsWhatAFrequencyAmongOthersIsRefusedFor) {
    Request behind = planeOf(30);
    behind.lattice.transform[11] = -1;
    EXPECT_EQ(refused([&] {
                  valuesOf({behind, manyTones(0)});
              }),
              refused([&] {
                  behind.wave = manyTones(0).front().wave;
                  Plan plan(behind);
              }));
    Request fine = planeOf(30);
    fine.tolerance->value = 1e-15;
    EXPECT_NE(refused([&] {
                  valuesOf({fine, manyTones(0)});
              }).find("tolerance: "),
              std::string::npos);
}

TEST(SpectralField, OfFrequenciesThatShareTellsThatAllAreDoneAndIsStopped) {
    const Request request = planeOf(400);
    const auto all = manyTones(0.001);
    std::vector<std::int64_t> progress;
    Conduct conduct;
    conduct.progress = [&](std::int64_t done) { progress.push_back(done); };
    const SpectralField field(request, all);
    valuesOf(field, conduct);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), static_cast<std::int64_t>(1600 * all.size()));
    std::stop_source stop;
    conduct.stop = stop.get_token();
    conduct.progress = [&](std::int64_t /*done*/) { stop.request_stop(); };
    EXPECT_THROW(valuesOf(field, conduct), Stopped);
}

TEST(SpectralField, CostsWhatItsFrequenciesDo) {
    const Request request = planeOf(40);
    const auto box = request.lattice.box();
    double evaluations = 0;
    std::int64_t memory = 0;
    for (const Tone& tone : tones) {
        Request one = request;
        one.wave = tone.wave;
        const pistonfield::Cost cost = Plan(one).cost(box);
        evaluations += cost.evaluations;
        memory = std::max(memory, cost.memory);
    }
    const pistonfield::Cost cost = SpectralField(request, tones).cost(box);
    EXPECT_DOUBLE_EQ(cost.evaluations, evaluations);
    EXPECT_EQ(cost.memory, memory);
    EXPECT_EQ(cost.deviceMemory, 0);
}

TEST(SpectralField, IsStopped) {
    std::stop_source stop;
    stop.request_stop();
    Conduct conduct;
    conduct.stop = stop.get_token();
    for (const std::int64_t points : {40, 400}) {
        const Request request = planeOf(points);
        std::vector<Complex> values(static_cast<std::size_t>(3 * 4 * points));
        EXPECT_THROW(
            SpectralField(request, tones).compute(request.lattice.box(), values.data(), conduct),
            Stopped);
    }
}

TEST(SpectralField, OfWhatHasNoneIsRefused) {
    EXPECT_EQ(refused([] { SpectralField(planeOf(4), {}); }), "wavenumber: there is none");
    EXPECT_EQ(refused([] {
                  SpectralField(planeOf(4), {{{1}}, {{0}}});
              }),
              "wavenumber: must be a wavenumber above 0");
    EXPECT_EQ(refused([] {
                  SpectralField(planeOf(4), {{{1, 2}}});
              }),
              "attenuation: must be within 0 and the wavenumber");
    EXPECT_EQ(refused([] {
                  SpectralField(twoElements(4), {{{1}, {1.0, 1.0}}, {{2}, {}}});
              }),
              "weights: are not as many at each frequency");
}

}  // namespace
