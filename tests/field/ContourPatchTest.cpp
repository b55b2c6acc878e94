// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Fields of flat pistons of any outline that are interpolated on patches of a lattice.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "ContourCase.h"
#include "field/ArrayEngine.h"
#include "field/Plan.h"
#include "tests/field/FieldCase.h"

using namespace pistonfield;
using Complex = std::complex<double>;
using Values = std::vector<Complex>;

namespace {

constexpr double turn = 2 * std::numbers::pi;

/// Discs and rectangles on a bowl about the place (0, 0, 30), lengths in wavelengths; and points
/// of a plane through it.
Request bowlRequest(double attenuation, Baffle baffle, Quantity quantity, double tolerance) {
    Request request;
    request.wave = {turn, attenuation};
    request.baffle = baffle;
    request.quantity = quantity;
    request.tolerance = Tolerance{tolerance};
    Array& array = request.array.emplace();
    const auto disc = std::make_shared<const Outline>(discOutline(0.7));
    constexpr double radius = 30;
    for (int i = 0; i < 12; ++i) {
        const double around = 2.4 * i;
        const double tilt = 0.15 + 0.03 * i;
        const Pose::Vector along{std::cos(around) * std::cos(tilt),
                                 std::sin(around) * std::cos(tilt), std::sin(tilt)};
        const Pose::Vector across{-std::sin(around), std::cos(around), 0};
        const Pose pose{{radius * std::sin(tilt) * std::cos(around),
                         radius * std::sin(tilt) * std::sin(around), radius * (1 - std::cos(tilt))},
                        along,
                        across};
        if (i % 3 == 0)
            array.elements.push_back({{0.9, 1.6}, pose, {}});
        else
            array.elements.push_back({{}, pose, disc});
    }
    for (std::size_t i = 0; i < 2 * array.elements.size(); ++i)
        array.weights.push_back(std::polar(1.0, 0.3 * static_cast<double>(i * i)));
    // Oblique steps: no direction is that of another one.
    request.lattice = {
        .transform = {0.21, 0.03, 0, -5, 0.02, 0.19, 0, -4, 0.01, 0.02, 2, 25, 0, 0, 0, 1},
        .sizes = {53, 41, 2}};
    request.behind = true;
    return request;
}

Values computed(const Request& request, const LatticeBox& box, unsigned threads = 0) {
    const Plan plan(request);
    Values values(static_cast<std::size_t>(box.points() * request.fields()));
    plan.compute(box, values.data(), {.threads = threads});
    return values;
}

/// The same points as a list: each is computed by itself.
Request listed(Request request) {
    const Positions positions(request);
    const auto& sizes = request.lattice.sizes;
    PointList list;
    for (std::int64_t i = 0; i < request.lattice.box().points(); ++i) {
        const auto [x, y, z] =
            positions.at({i % sizes[0], i / sizes[0] % sizes[1], i / sizes[0] / sizes[1]});
        list.x.push_back(x);
        list.y.push_back(y);
        list.z.push_back(z);
    }
    request.lattice = {.transform = {}, .sizes = {static_cast<std::int64_t>(list.x.size()), 1, 1}};
    request.points = std::move(list);
    return request;
}

double largestOf(const Values& values) {
    double most = 0;
    for (const Complex& value : values) most = std::max(most, std::abs(value));
    return most;
}

double farthestApart(const Values& a, const Values& b) {
    double most = 0;
    for (std::size_t i = 0; i < a.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

TEST(ContourPatches, HaveTheFieldOfEachPointWithinTheTolerance) {
    for (const double attenuation : {0.0, 0.05})
        for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free})
            for (const Quantity quantity : {Quantity::pressure, Quantity::velocity}) {
                if (attenuation == 0 && baffle == Baffle::rigid && quantity == Quantity::pressure)
                    continue;
                for (const double tolerance : {1e-3, 1e-9}) {
                    const Request lattice = bowlRequest(attenuation, baffle, quantity, tolerance);
                    Request exact = listed(lattice);
                    exact.tolerance->value = 1e-10;
                    const Values values = computed(lattice, lattice.lattice.box());
                    const Values wanted = computed(exact, exact.lattice.box());
                    const double apart = farthestApart(values, wanted) / largestOf(wanted);
                    EXPECT_LE(apart, tolerance + 1e-10);
                    EXPECT_GT(apart, 0);
                }
            }
}

/// Where a wavelength is far, fields fall as a power of the distance: nodes beside the peak see
/// none.
TEST(ContourPatches, HaveThePeakBeforeTinyPistons) {
    for (const double radius : {0.001, 0.003, 0.01})
        for (const Baffle baffle : {Baffle::rigid, Baffle::soft})
            for (const double tolerance : {0.05, 0.01}) {
                Request row;
                row.array.emplace().elements = {
                    {{}, Pose{}, std::make_shared<const Outline>(discOutline(radius))}};
                row.array->weights = {1};
                row.wave = {turn};
                row.baffle = baffle;
                row.quantity = Quantity::velocity;
                row.tolerance = Tolerance{tolerance};
                row.lattice = {
                    .transform = {0.3 / 63, 0, 0, -0.05, 0, 1, 0, 0, 0, 0, 1, 0.007, 0, 0, 0, 1},
                    .sizes = {64, 1, 1}};
                Request exact = listed(row);
                exact.tolerance->value = 1e-9;
                const Values wanted = computed(exact, exact.lattice.box());
                const double apart =
                    farthestApart(computed(row, row.lattice.box()), wanted) / largestOf(wanted);
                EXPECT_LE(apart, tolerance + 1e-9) << radius;
            }
}

TEST(ContourPatches, TakeFarFewerEvaluationsThanPoints) {
    const Request lattice = bowlRequest(0.05, Baffle::rigid, Quantity::pressure, 1e-4);
    const Request list = listed(lattice);
    const auto evaluationsOf = [](const Request& request) {
        return Plan(request).cost(request.lattice.box()).evaluations;
    };
    EXPECT_LT(10 * evaluationsOf(lattice), evaluationsOf(list));
}

TEST(ContourPatches, HaveTheSameBitsInEveryBoxAndOnEveryThread) {
    const Request request = bowlRequest(0.05, Baffle::free, Quantity::velocity, 1e-5);
    const Values whole = computed(request, request.lattice.box(), 1);
    EXPECT_EQ(computed(request, request.lattice.box(), 3), whole);
    const LatticeBox box{{7, 11, 1}, {30, 19, 1}};
    const Values part = computed(request, box);
    const auto& sizes = request.lattice.sizes;
    std::size_t number = 0;
    for (std::int64_t f = 0; f < request.fields(); ++f)
        for (std::int64_t y = 0; y < box.size[1]; ++y)
            for (std::int64_t x = 0; x < box.size[0]; ++x, ++number) {
                const std::int64_t of =
                    ((f * sizes[2] + box.first[2]) * sizes[1] + box.first[1] + y) * sizes[0] +
                    box.first[0] + x;
                ASSERT_EQ(part[number], whole[static_cast<std::size_t>(of)]);
            }
}

TEST(ContourPatches, AreNotTakenBeforeLargeNearPistons) {
    Request request = bowlRequest(0.05, Baffle::rigid, Quantity::pressure, 1e-4);
    const auto terms = [](const Request& of) { return std::make_shared<const ContourTerms>(of); };
    EXPECT_NE(makeContourPatchEngine<double>(terms(request)), nullptr);
    request.array->elements = {{{}, Pose{}, std::make_shared<const Outline>(discOutline(12))}};
    request.array->weights = {1};
    EXPECT_EQ(makeContourPatchEngine<double>(terms(request)), nullptr);
    EXPECT_EQ(makeContourPatchEngine<double>(terms(listed(request))), nullptr);
}

}  // namespace
