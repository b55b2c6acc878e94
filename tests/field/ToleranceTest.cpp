// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Fields that keep a tolerance, against the reference.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "field/Plan.h"
#include "lanes/InstructionSet.h"
#include "tests/field/FieldCase.h"
#include "tests/support/hasDevice.h"

namespace {

using pistonfield::InvalidRequest;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;
using pistonfield::Tolerance;
using testing::HasSubstr;
using Of = pistonfield::Tolerance::Of;

std::vector<std::complex<double>> computed(const Plan& plan) {
    const LatticeBox box = plan.request().lattice.box();
    std::vector<std::complex<double>> values(static_cast<std::size_t>(box.points()));
    plan.compute(box, values.data());
    return values;
}

Request withTolerance(Request request, Mode mode, Tolerance tolerance) {
    request.mode = mode;
    request.tolerance = tolerance;
    return request;
}

std::string describe(const FieldCase& scene, std::size_t point) {
    const reference::Point p = scene.position(static_cast<std::int64_t>(point));
    std::ostringstream text;
    text.precision(17);
    text << " at (" << p.x << ", " << p.y << ", " << p.z << "), sides "
         << scene.request.piston.width << ", " << scene.request.piston.height
         << ", k = " << scene.request.wave.wavenumber;
    return text.str();
}

/// A case of a region and the reference's values.
struct Scene {
    std::string name;
    FieldCase field;
    std::vector<ExpectedPressure> expected;
};

std::vector<Scene> drawScenes() {
    constexpr int points = 12;
    Random random(20261123);
    std::vector<Scene> scenes;
    for (const PistonKind& kind : pistonKinds)
        for (const FieldRegion& region : fieldRegions) {
            const FieldCase field = drawCase(random, kind, region, points);
            scenes.push_back(
                {std::string(region.name) + ", " + kind.name, field, field.expected()});
        }
    return scenes;
}

const std::vector<Scene>& scenes() {
    static const std::vector<Scene> drawn = drawScenes();
    return drawn;
}

/// The CPU or a GPU, and each instruction set that the processor has, in turn.
class ToleranceOnEverySet : public testing::TestWithParam<std::tuple<bool, lanes::InstructionSet>> {
  protected:
    static bool isOnGpu() { return std::get<0>(GetParam()); }
    static Mode inDouble() { return isOnGpu() ? Mode::cudadp : Mode::cpu; }
    static Mode inSingle() { return isOnGpu() ? Mode::cuda : Mode::cpusp; }

    void SetUp() override {
        const auto set = std::get<1>(GetParam());
        if (set > lanes::bestInstructionSet()) GTEST_SKIP() << "not on this processor";
        if (isOnGpu() && !hasDevice()) GTEST_SKIP() << "no device";
        lanes::useInstructionSet(set);
    }
    void TearDown() override { lanes::useInstructionSet(before); }

  private:
    lanes::InstructionSet before = lanes::instructionSet();
};

std::string nameOfCase(const testing::TestParamInfo<std::tuple<bool, lanes::InstructionSet>>& of) {
    const auto [isOnGpu, set] = of.param;
    return std::string(isOnGpu ? "gpu" : "cpu") + "_set" + std::to_string(static_cast<int>(set));
}

INSTANTIATE_TEST_SUITE_P(Sets, ToleranceOnEverySet,
                         testing::Combine(testing::Bool(),
                                          testing::ValuesIn(lanes::instructionSets)),
                         nameOfCase);

/// Expects the error of each value to be within the tolerance of a plan.
void expectKept(const Plan& plan, const Scene& scene) {
    const auto [tolerance, of] = *plan.request().tolerance;
    const double largest = largestMagnitude(scene.expected);
    const auto values = computed(plan);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ExpectedPressure& expected = scene.expected[i];
        EXPECT_LE(expected.errorOf(values[i]),
                  tolerance * (of == Of::local ? expected.local : largest))
            << scene.name << describe(scene.field, i) << ", tolerance " << tolerance
            << (of == Of::local ? " of local" : " of largest");
    }
}

TEST_P(ToleranceOnEverySet, IsKeptInDouble) {
    for (const Of of : {Of::local, Of::largest})
        for (const double tolerance : {1e-2, 1e-6, 0.0})
            for (const Scene& scene : scenes()) {
                const double asked = std::max(tolerance, toleranceInDouble(scene.expected, of));
                const Plan plan =
                    takenPlan(withTolerance(scene.field.request, inDouble(), {asked, of}));
                // A trillionth is taken at least where kR does not have more.
                EXPECT_LE(plan.request().tolerance->value,
                          std::max(tolerance, toleranceInDouble(scene.expected, of, 1e-12)))
                    << scene.name << describe(scene.field, 0);
                expectKept(plan, scene);
            }
}

TEST_P(ToleranceOnEverySet, IsKeptInSingle) {
    for (const Of of : {Of::local, Of::largest})
        for (const Scene& scene : scenes())
            expectKept(takenPlan(withTolerance(scene.field.request, inSingle(), {1e-7, of})),
                       scene);
}

TEST_P(ToleranceOnEverySet, OfAHundredThousandthIsKeptInSingle) {
    for (const Scene& scene : scenes()) {
        const Plan plan =
            takenPlan(withTolerance(scene.field.request, inSingle(), {1e-7, Of::local}));
        // Lines on a thin face add up phases of its whole length.
        const bool isThin = scene.name.find("thin") != std::string::npos;
        EXPECT_LE(plan.request().tolerance->value, isThin ? 4e-5 : 3e-5) << scene.name;
        const auto values = computed(plan);
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_LE(scene.expected[i].errorOf(values[i]), 1e-5 * scene.expected[i].amplitude)
                << scene.name << describe(scene.field, i);
    }
}

TEST_P(ToleranceOnEverySet, IsKeptOnLatticesAlongTheAxes) {
    Random random(20261122);
    for (int i = 0; i < 24; ++i) {
        const FieldCase field = drawAlignedLattice(random);
        const bool single = random.below(2) == 0;
        const Of of = random.below(2) == 0 ? Of::local : Of::largest;
        const Plan plan = takenPlan(withTolerance(field.request, single ? Mode::cpusp : Mode::cpu,
                                                  {random.magnitude(single ? -5 : -11, -2), of}));
        const auto values = computed(plan);
        double largest = 0;
        for (const auto& value : values) largest = std::max(largest, std::abs(value));
        for (int k = 0; k < 6; ++k) {
            const std::size_t point = random.below(values.size());
            const ExpectedPressure expected = field.expected(static_cast<std::int64_t>(point));
            EXPECT_LE(
                expected.errorOf(values[point]),
                plan.request().tolerance->value * (of == Of::local ? expected.local : largest))
                << "lattice " << i << describe(field, point);
        }
        const auto accuracy = plan.accuracy();
        ASSERT_TRUE(accuracy);
        EXPECT_LE(accuracy->error, accuracy->bound) << "lattice " << i << describe(field, 0);
    }
}

TEST_P(ToleranceOnEverySet, HasTheBitsOfTheLatticeAtSinglePoints) {
    for (const Scene& scene : scenes())
        for (const Mode mode : {inDouble(), inSingle()}) {
            const Plan plan(withTolerance(scene.field.request, mode, {1e-4, Of::local}));
            const auto whole = computed(plan);
            for (std::size_t i = 0; i < whole.size(); ++i) {
                std::complex<double> alone;
                plan.compute({{static_cast<std::int64_t>(i), 0, 0}, {1, 1, 1}}, &alone);
                EXPECT_EQ(alone, whole[i]) << scene.name << describe(scene.field, i);
            }
        }
}

TEST(Tolerance, IsTheBoundThatAPlanReports) {
    for (const Of of : {Of::local, Of::largest})
        for (const Scene& scene : scenes()) {
            const Plan plan(withTolerance(scene.field.request, Mode::cpu, {1e-5, of}));
            const auto accuracy = plan.accuracy();
            ASSERT_TRUE(accuracy);
            EXPECT_LE(accuracy->error, accuracy->bound) << scene.name;
            EXPECT_LE(accuracy->bound, 1e-5) << scene.name;
            EXPECT_GT(accuracy->evaluations, 0) << scene.name;
            EXPECT_GT(accuracy->points, 0) << scene.name;
            expectKept(plan, scene);
        }
}

TEST(Tolerance, ThatALooserPlanNeedsFewerEvaluationsFor) {
    const Request request = scenes().front().field.request;
    const Plan loose(withTolerance(request, Mode::cpu, {1e-2, Of::local}));
    const Plan tight(withTolerance(request, Mode::cpu, {1e-12, Of::local}));
    EXPECT_LT(loose.accuracy()->evaluations, tight.accuracy()->evaluations);
    EXPECT_GT(loose.secondsOfAPoint(), 0);
    EXPECT_LT(loose.secondsOfAPoint(), tight.secondsOfAPoint());
}

/// A lattice of which the points from the third on lie behind the piston.
Request reachingBehind(Mode mode) {
    Request request;
    request.piston = {.width = 2, .height = 3};
    request.wave.wavenumber = 5;
    request.lattice = {{0.25, 0, 0, -1, 0, 0.25, 0, -1, 0, 0, -0.5, 1, 0, 0, 0, 1}, {3, 2, 5}};
    return withTolerance(request, mode, {1e-4, Of::local});
}

TEST(Tolerance, RefusesPointsBehindThePistonByTheirPosition) {
    for (const Mode mode : {Mode::cpu, Mode::cpusp}) try {
            const Plan plan(reachingBehind(mode));
            ADD_FAILURE() << "taken in the mode " << pistonfield::nameOf(mode);
        } catch (const InvalidRequest& refusal) {
            EXPECT_THAT((std::array{"lattice", "transform"}), testing::Contains(refusal.field()));
            EXPECT_THAT(refusal.reason(), HasSubstr("-0.5"));
        }
}

TEST(Tolerance, HasTheMirroredPointsValueBehind) {
    for (const Mode mode : {Mode::cpu, Mode::cpusp}) {
        Request behind = reachingBehind(mode);
        behind.behind = true;
        Request mirrored = behind;
        mirrored.lattice.transform[10] *= -1;
        mirrored.lattice.transform[11] *= -1;
        EXPECT_EQ(computed(Plan(behind)), computed(Plan(mirrored)));
    }
}

TEST(Tolerance, BehindHasTheReferencesValue) {
    Request request = reachingBehind(Mode::cpu);
    request.behind = true;
    const FieldCase field{request};
    const auto expected = field.expected();
    const auto values = computed(Plan(request));
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_LE(expected[i].errorOf(values[i]), 1e-4 * expected[i].local) << describe(field, i);
}

}  // namespace
