// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/SpectralField.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/Refused.h"

namespace {

using pistonfield::Array;
using pistonfield::Conduct;
using pistonfield::Element;
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
