// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FaceRules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace {

using namespace pistonfield;
using Complex = std::complex<double>;

constexpr double pi = std::numbers::pi;

const Rules<double> shared;

double areaOfRule(const FaceRule& rule) {
    double area = 0;
    for (const FaceNode& node : rule) area += node.weight;
    return area;
}

std::vector<Outline> outlines() {
    // The last one has its circle's centre on the origin, and one hole off it.
    Outline holed = discOutline(1);
    holed.loops.push_back({Arc{{0.3, -0.2}, 0.4, 0, -pi}, Arc{{0.3, -0.2}, 0.4, -pi, -pi}});
    return {discOutline(1.3),
            ringOutline(0.9, 1),
            rectangleOutline(1.2, 0.4),
            polygonOutline({{-1, -0.5}, {0.8, -0.6}, {1, 0.5}, {-0.8, 0.6}}),
            polygonOutline({{-1, -0.6}, {0.2, -0.9}, {1.1, 0.1}, {0.1, 0}, {-0.2, 0.8}}),
            sectorOutline(0.4, 1, 0, 2 * pi / 3),
            holed};
}

TEST(FaceRules, haveTheAreaForTheirWeights) {
    for (const Outline& outline : outlines())
        for (const double error : {1e-2, 1e-7, 1e-12}) {
            const FaceRules rules(outline, 1.5, 2, 0, shared);
            const double scale = 2 * areaOf(outline) / (2 * pi * 100);
            const FaceRule* const rule = rules.ruleFor(100, error * scale);
            ASSERT_NE(rule, nullptr);
            EXPECT_NEAR(areaOfRule(*rule), areaOf(outline), 1e-13 * areaOf(outline));
        }
}

TEST(FaceRules, takeMoreNodesForLessError) {
    const Outline outline = discOutline(1);
    const FaceRules rules(outline, 1, 3, 0.1, shared);
    std::size_t last = 0;
    for (const double error : {1e-2, 1e-4, 1e-6, 1e-8, 1e-10}) {
        const FaceRule* const rule = rules.ruleFor(50, error * 3 / (2 * 50));
        ASSERT_NE(rule, nullptr);
        EXPECT_GT(rule->size(), last);
        last = rule->size();
        EXPECT_LE(last, FaceRules::mostNodes);
        EXPECT_EQ(rules.ruleFor(50, error * 3 / (2 * 50)), rule);
    }
}

TEST(FaceRules, areNoneNearAndForLargeFacesAndForNoError) {
    const Outline outline = discOutline(1);
    const FaceRules rules(outline, 1, 3, 0, shared);
    EXPECT_EQ(rules.ruleFor(0.99 * FaceRules::leastRadii, 1e-3), nullptr);
    EXPECT_NE(rules.ruleFor(1.01 * FaceRules::leastRadii, 1e-3), nullptr);
    EXPECT_EQ(rules.ruleFor(50, 1e-18), nullptr);
    EXPECT_EQ(rules.ruleFor(50, 0), nullptr);
    EXPECT_EQ(rules.ruleFor(std::nan(""), 1e-3), nullptr);
    const FaceRules ofMany(outline, 1, 300, 0, shared);
    EXPECT_EQ(ofMany.ruleFor(50, 1e-3), nullptr);
}

/// On a disc's axis, where the integral of exp(-jkR)/R has a closed form.
TEST(FaceRules, integrateOverADisc) {
    const Outline outline = discOutline(1);
    for (const double k : {0.1, 1.0, 2.5})
        for (const double z : {4.0, 9.0, 90.0})
            for (const double error : {1e-2, 1e-5, 1e-9}) {
                const FaceRules rules(outline, 1, k, 0, shared);
                const double limit = error * k / (2 * z);
                const FaceRule* const rule = rules.ruleFor(z, limit);
                ASSERT_NE(rule, nullptr);
                Complex sum;
                for (const auto& [x, y, weight] : *rule) {
                    const double R = std::hypot(x, y, z);
                    sum += weight * std::polar(1 / R, -k * R);
                }
                const Complex exact =
                    2 * pi / k * Complex(0, 1) *
                    (std::polar(1.0, -k * std::hypot(1, z)) - std::polar(1.0, -k * z));
                EXPECT_LE(k * std::abs(sum - exact) / (2 * pi), limit + 4e-16 * (2 + k * z));
            }
}

}  // namespace
