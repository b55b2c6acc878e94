// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <mutex>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "field/Plan.h"
#include "reference/SurfaceIntegral.h"
#include "tests/field/smallRequest.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/hasDevice.h"

namespace {

using pistonfield::Accuracy;
using pistonfield::Conduct;
using pistonfield::InvalidRequest;
using pistonfield::Plan;
using pistonfield::PointList;
using pistonfield::Request;
using pistonfield::Tolerance;
using enum Tolerance::Of;

constexpr unsigned seed = 20261123;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// The small request by a tolerance.
Request tolerantRequest(const char* mode, Tolerance tolerance = {}) {
    Request request = smallRequest(mode);
    request.tolerance = tolerance;
    return request;
}

/// Points from next to the face to far away and beside it, in rows that groups do not fit in.
Request randomRequest(Random& random, const char* mode) {
    Request request = tolerantRequest(mode, {1e-3, random.below(2) == 0 ? largest : local});
    request.piston = {random.magnitude(-1, 0.7), random.magnitude(-1, 0.7)};
    auto& m = request.lattice.transform;
    for (std::size_t i = 0; i < 12; ++i) m[i] = random.sign() * random.magnitude(-2, 0);
    m[3] *= 10;
    m[7] *= 10;
    for (auto& size : request.lattice.sizes) size = 1 + static_cast<std::int64_t>(random.below(30));
    request.behind = true;
    return request;
}

LatticeBox randomBox(Random& random, const LatticeBox& whole) {
    LatticeBox box{};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto size = static_cast<std::size_t>(whole.size[i]);
        // Whole rows and planes now and then, which are one run of points.
        const std::size_t first = random.below(3) == 0 ? 0 : random.below(size);
        box.first[i] = static_cast<std::int64_t>(first);
        box.size[i] = static_cast<std::int64_t>(
            first == 0 && random.below(2) == 0 ? size : 1 + random.below(size - first));
    }
    return box;
}

/// A mode and the precision of its arithmetic.
struct CpuSingle {
    using Real = float;
    static constexpr const char* mode = "cpusp";
};
struct CpuDouble {
    using Real = double;
    static constexpr const char* mode = "cpu";
};
struct GpuSingle {
    using Real = float;
    static constexpr const char* mode = "cuda";
};
struct GpuDouble {
    using Real = double;
    static constexpr const char* mode = "cudadp";
};

template <class OfMode>
struct ToleranceTest : testing::Test {
    using Real = typename OfMode::Real;
    using Values = std::vector<std::complex<Real>>;

    static constexpr const char* mode = OfMode::mode;
    static constexpr bool isSingle = sizeof(Real) == 4;
    static constexpr bool isOnGpu =
        std::is_same_v<OfMode, GpuSingle> || std::is_same_v<OfMode, GpuDouble>;

    void SetUp() override {
        if (isOnGpu && !hasDevice()) GTEST_SKIP() << "no device";
    }

    static Values computed(const Plan& plan, const LatticeBox& box, const Conduct& conduct = {}) {
        Values values(static_cast<std::size_t>(box.points()), {nan, nan});
        plan.compute(box, values.data(), conduct);
        return values;
    }

    static Values computed(const Plan& plan) {
        return computed(plan, plan.request().lattice.box());
    }

    /// Expects a box to have the values of the whole lattice.
    static void expectBitsOfTheWhole(const Plan& plan, const LatticeBox& box,
                                     const Values& values) {
        const auto& sizes = plan.request().lattice.sizes;
        const auto part = computed(plan, box);
        std::size_t at = 0;
        for (std::int64_t z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
            for (std::int64_t y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                for (std::int64_t x = box.first[0]; x < box.first[0] + box.size[0]; ++x)
                    ASSERT_EQ(part[at++],
                              values[static_cast<std::size_t>((z * sizes[1] + y) * sizes[0] + x)])
                        << "point " << x << ", " << y << ", " << z;
    }
};
using Modes = testing::Types<CpuSingle, CpuDouble, GpuSingle, GpuDouble>;
TYPED_TEST_SUITE(ToleranceTest, Modes);

TYPED_TEST(ToleranceTest, HasTheBitsOfTheWholeInEveryBox) {
    Random random(seed);
    for (int i = 0; i < 40; ++i) {
        const Plan plan(randomRequest(random, this->mode));
        const LatticeBox whole = plan.request().lattice.box();
        const auto values = this->computed(plan);
        for (int k = 0; k < 20; ++k) {
            const LatticeBox box = randomBox(random, whole);
            this->expectBitsOfTheWhole(plan, box, values);
        }
    }
}

/// Lattices that are computed in runs along the axes, some the same on both sides of them.
Request alignedRequest(Random& random, const char* mode) {
    Request request = tolerantRequest(mode, {1e-3, random.below(2) == 0 ? largest : local});
    const std::size_t turn = random.below(3);
    constexpr std::array<std::int64_t, 3> sizes{41, 30, 5};
    auto& m = request.lattice.transform;
    m = {};
    m.back() = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t direction = (axis + turn) % 3;
        request.lattice.sizes[direction] = sizes[axis];
        const double step = 0.0625 * (axis < 2 ? random.sign() : 1);
        m[4 * axis + direction] = step;
        m[4 * axis + 3] = axis == 2 ? 0.5 : -step * static_cast<double>(random.below(50));
    }
    return request;
}

TYPED_TEST(ToleranceTest, HasTheBitsOfTheWholeInEveryBoxAlongTheAxes) {
    Random random(seed);
    for (int i = 0; i < 20; ++i) {
        const Plan plan(alignedRequest(random, this->mode));
        const LatticeBox whole = plan.request().lattice.box();
        const auto values = this->computed(plan);
        for (int k = 0; k < 12; ++k)
            this->expectBitsOfTheWhole(plan, randomBox(random, whole), values);
    }
}

TYPED_TEST(ToleranceTest, TakesFarFewerEvaluationsAlongTheAxes) {
    if (TestFixture::isOnGpu) GTEST_SKIP() << "a GPU computes point by point";
    Request request = tolerantRequest(this->mode, {1e-4, largest});
    request.lattice.transform = {0.05, 0, 0, 0.3, 0, 0.05, 0, 0.4, 0, 0, 0.3, 2, 0, 0, 0, 1};
    request.lattice.sizes = {64, 64, 2};
    const double aligned = Plan(request).accuracy()->evaluations;
    request.lattice.transform[1] = 1e-6;
    const double oblique = Plan(request).accuracy()->evaluations;
    EXPECT_LT(aligned, oblique / 3);
    EXPECT_GT(aligned, 1);
}

TYPED_TEST(ToleranceTest, HasTheValueOfAPointAloneAlongTheAxes) {
    Random random(seed);
    for (int i = 0; i < 6; ++i) {
        const Request request = alignedRequest(random, this->mode);
        const Plan plan(request);
        const auto values = this->computed(plan);
        const auto& m = request.lattice.transform;
        for (std::size_t k = 0; k < 30; ++k) {
            const std::size_t number = random.below(values.size());
            const auto n = static_cast<std::int64_t>(number);
            const auto& sizes = request.lattice.sizes;
            const std::array<double, 3> index{static_cast<double>(n % sizes[0]),
                                              static_cast<double>(n / sizes[0] % sizes[1]),
                                              static_cast<double>(n / sizes[0] / sizes[1])};
            std::array<double, 3> at{};
            for (std::size_t r = 0; r < 3; ++r)
                at[r] = m[4 * r + 3] + m[4 * r] * index[0] + m[4 * r + 1] * index[1] +
                        m[4 * r + 2] * index[2];
            Request alone = request;
            alone.points = PointList{{at[0]}, {at[1]}, {at[2]}};
            alone.lattice.sizes = {1, 1, 1};
            alone.tolerance = Tolerance{1e-4, local};
            std::complex<typename TestFixture::Real> value;
            Plan(alone).compute({{}, {1, 1, 1}}, &value);
            // |p| is at most 2.
            EXPECT_LE(std::abs(value - values[number]), 2 * 1.1e-3);
        }
    }
}

// Runs of no length, and of less than floats have an inverse of.
TYPED_TEST(ToleranceTest, TakesPointsThatAreTheSameAlongTheAxes) {
    for (const auto& step : {std::array{0.0, 0.05},
                             {0.05, 0.0},
                             {0.0, 0.0},
                             {1e-19, 0.05},
                             {1e-21, 0.05},
                             {1e-30, 0.05},
                             {1e-44, 0.05},
                             {1e-300, 0.05}}) {
        Request request = tolerantRequest(this->mode, {1e-4, local});
        request.lattice.transform = {step[0], 0, 0, 0, 0, step[1], 0, 0, 0, 0, 0, 2, 0, 0, 0, 1};
        request.lattice.sizes = {64, 64, 1};
        const auto values = this->computed(Plan(request));
        request.lattice.sizes = {63, 64, 1};  // too few for runs
        const auto fewer = this->computed(Plan(request));
        for (std::size_t i = 0; i < fewer.size(); ++i)
            EXPECT_LE(std::abs(fewer[i] - values[i / 63 * 64 + i % 63]), 2e-4) << i;
    }
}

/// More points than a piece that is watched has in a thread.
template <class OfMode>
Request longRequest() {
    Request request = tolerantRequest(ToleranceTest<OfMode>::mode, {0.1, largest});
    request.lattice.transform = {0.01, 0, 0, 1, 0, 0.01, 0, 1, 0, 0, 0.01, 30, 0, 0, 0, 1};
    request.lattice.sizes = {127, 101, 100};
    return request;
}

TYPED_TEST(ToleranceTest, HasTheSameBitsInAnyNumberOfThreadsAndPieces) {
    const Plan plan(longRequest<TypeParam>());
    const LatticeBox box{{3, 5, 1}, {120, 90, 99}};
    const auto values = this->computed(plan, box, {.threads = 1});
    for (const unsigned threads : {2U, 3U, 8U})
        EXPECT_EQ(this->computed(plan, box, {.threads = threads}), values);
    std::vector<std::int64_t> told;
    const Conduct watched{.progress = [&](std::int64_t points) { told.push_back(points); },
                          .threads = 1};
    EXPECT_EQ(this->computed(plan, box, watched), values);
    EXPECT_GT(told.size(), 1U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), box.points());
}

TYPED_TEST(ToleranceTest, HasTheSameBitsFromAnyThreadsAtTheSameTime) {
    Random random(seed);
    const Request request = randomRequest(random, this->mode);
    const auto values = this->computed(Plan(request));
    const Plan shared(request);  // which has found no orders yet
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { EXPECT_EQ(this->computed(shared), values); });
}

double seconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The part of the process's work that the calling thread does.
template <class Work>
double shareOfCaller(Work work) {
    const double own = seconds(CLOCK_THREAD_CPUTIME_ID);
    const double all = seconds(CLOCK_PROCESS_CPUTIME_ID);
    work();
    return (seconds(CLOCK_THREAD_CPUTIME_ID) - own) / (seconds(CLOCK_PROCESS_CPUTIME_ID) - all);
}

TYPED_TEST(ToleranceTest, UsesAsManyThreadsAsAskedFor) {
    if (this->isOnGpu) GTEST_SKIP() << "a device has threads of its own";
    const Plan plan(longRequest<TypeParam>());
    const auto share = [&](unsigned threads) {
        return shareOfCaller([&] {
            static_cast<void>(
                this->computed(plan, plan.request().lattice.box(), {.threads = threads}));
        });
    };
    EXPECT_GT(share(1), 0.95);
    EXPECT_LT(share(8), 0.8);
    setenv("PISTONFIELD_THREADS", "none", 1);
    EXPECT_THROW(share(0), std::runtime_error);
    // A small box asks for no threads.
    EXPECT_NO_THROW(this->computed(plan, {{}, {9, 1, 1}}));
    setenv("PISTONFIELD_THREADS", "1", 1);
    EXPECT_GT(share(0), 0.95);
    unsetenv("PISTONFIELD_THREADS");
}

TYPED_TEST(ToleranceTest, IsStoppedBetweenPieces) {
    const Plan plan(longRequest<TypeParam>());
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
    EXPECT_THROW(this->computed(plan, box, conduct), pistonfield::Stopped);
    EXPECT_GT(done, 0);
    EXPECT_LT(done, box.points());
    // The plan is none the worse for it.
    EXPECT_EQ(this->computed(plan, {{}, {9, 1, 1}}),
              this->computed(Plan(longRequest<TypeParam>()), {{}, {9, 1, 1}}));
}

/// Errors of a plan's values at some of its points, relative to what the tolerance is relative to.
template <class OfMode>
double measuredError(const Plan& plan, std::int64_t every) {
    const Request& request = plan.request();
    const LatticeBox whole = request.lattice.box();
    const auto values = ToleranceTest<OfMode>::computed(plan);
    double most = 0;
    for (const auto& value : values) most = std::max<double>(most, std::abs(value));
    const double area = request.piston.width * request.piston.height;
    const double k = request.wave.wavenumber;
    double error = 0;
    for (std::int64_t i = 0; i < whole.points(); i += every) {
        const std::array<std::int64_t, 3> index{i % whole.size[0],
                                                i / whole.size[0] % whole.size[1],
                                                i / whole.size[0] / whole.size[1]};
        std::array<double, 3> at{};
        const auto& m = request.lattice.transform;
        for (std::size_t r = 0; r < 3; ++r) {
            at[r] = m[4 * r + 3];
            for (std::size_t c = 0; c < 3; ++c)
                at[r] += m[4 * r + c] * static_cast<double>(index[c]);
            at[r] /= m[15];
        }
        // The surface integral does not settle next to the surface.
        if (std::fabs(at[2]) < 0.5) continue;
        const auto exact = reference::surfacePressure({request.piston.width, request.piston.height},
                                                      {at[0], at[1], std::fabs(at[2])}, k);
        const double R = std::max(std::hypot(at[0], at[1], at[2]), std::sqrt(area) / 4);
        const double unit = request.tolerance->of == largest
                                ? most
                                : std::min(1.0, k * area / (2 * std::numbers::pi * R));
        const std::complex<long double> value(values[static_cast<std::size_t>(i)]);
        error = std::max(error, static_cast<double>(std::abs(value - exact)) / unit);
    }
    return error;
}

TYPED_TEST(ToleranceTest, IsKept) {
    Random random(seed);
    for (int i = 0; i < 12; ++i) {
        Request request = randomRequest(random, this->mode);
        for (auto& size : request.lattice.sizes) size = std::min<std::int64_t>(size, 12);
        request.tolerance->value = random.magnitude(TestFixture::isSingle ? -4 : -10, -1);
        const Plan plan(request);
        const std::int64_t every = 1 + request.lattice.box().points() / 30;
        EXPECT_LE(measuredError<TypeParam>(plan, every), request.tolerance->value) << i;
    }
}

TYPED_TEST(ToleranceTest, KnowsItsAccuracy) {
    Random random(seed);
    for (int i = 0; i < 20; ++i) {
        Request request = randomRequest(random, this->mode);
        request.tolerance->value = random.magnitude(TestFixture::isSingle ? -4 : -10, -1);
        const std::optional<Accuracy> accuracy = Plan(request).accuracy();
        ASSERT_TRUE(accuracy);
        EXPECT_EQ(accuracy->bound, request.tolerance->value);
        EXPECT_LE(accuracy->error, accuracy->bound);
        EXPECT_GT(accuracy->error, 0);
        EXPECT_GE(accuracy->evaluations, 4);
        EXPECT_LT(accuracy->evaluations, 2000);
        EXPECT_GE(accuracy->points, std::min<std::int64_t>(request.lattice.box().points(), 8));
        EXPECT_LE(accuracy->points, std::min<std::int64_t>(request.lattice.box().points(), 512));
    }
    EXPECT_FALSE(Plan(smallRequest(this->mode)).accuracy());
}

TYPED_TEST(ToleranceTest, IsOfOnePointToo) {
    for (const auto of : {largest, local}) {
        Request request = tolerantRequest(this->mode, {1e-4, of});
        request.lattice.sizes = {1, 1, 1};
        const Plan plan(request);
        EXPECT_LE(measuredError<TypeParam>(plan, 1), 1e-4);
        const auto accuracy = plan.accuracy();
        ASSERT_TRUE(accuracy);
        EXPECT_EQ(accuracy->points, 1);
        EXPECT_LE(accuracy->error, 1e-4);
    }
}

TYPED_TEST(ToleranceTest, OfTheLocalAmplitudeTakesMoreEvaluationsFarAwayThanThatOfTheLargest) {
    const auto evaluations = [&](Tolerance::Of of) {
        Request request = tolerantRequest(this->mode, {1e-3, of});
        request.lattice.transform = {0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 50, 0.2, 0, 0, 0, 1};
        return Plan(request).accuracy()->evaluations;
    };
    EXPECT_GT(evaluations(local), 1.1 * evaluations(largest));
}

TYPED_TEST(ToleranceTest, OfAListHasTheValuesOfTheLatticesPoints) {
    const Request request = tolerantRequest(this->mode, {1e-4, local});
    const auto values = this->computed(Plan(request));
    Request list = request;
    list.points.emplace();
    const auto& m = request.lattice.transform;
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 7; ++x) {
                list.points->x.push_back((m[0] * x + m[3]) / m[15]);
                list.points->y.push_back((m[5] * y + m[7]) / m[15]);
                list.points->z.push_back((m[10] * z + m[11]) / m[15]);
            }
    list.lattice.sizes = {140, 1, 1};
    const auto listed = this->computed(Plan(list));
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_LE(std::abs(listed[i] - values[i]), 2e-4);
}

TYPED_TEST(ToleranceTest, BehindTheFaceIsThatOfTheMirroredPoint) {
    Request request = tolerantRequest(this->mode);
    const auto before = this->computed(Plan(request));
    for (std::size_t i = 8; i < 12; ++i) request.lattice.transform[i] *= -1;
    request.behind = true;
    EXPECT_EQ(this->computed(Plan(request)), before);
}

TYPED_TEST(ToleranceTest, IsKeptWhereTheWholeFieldIsFarBelowTheLocalAmplitude) {
    Request request = tolerantRequest(this->mode, {1e-2, largest});
    request.wave.wavenumber = 2 * std::numbers::pi;
    request.piston = {100, 100};
    request.lattice.transform = {10, 0, 0, 30000.3, 0, 10, 0, 29000.7, 0, 0, 10, 30000, 0, 0, 0, 1};
    request.mode = pistonfield::Mode::cpu;
    EXPECT_NO_THROW(Plan{request});
}

TYPED_TEST(ToleranceTest, IsRefusedOrOfFiniteValuesAtAnyDistance) {
    for (const double distance : {1e13, 1e20, 1e40, 1e155, 1e300}) {
        Request request = tolerantRequest(this->mode, {0.2, largest});
        request.points = PointList{{distance, 0, 0}, {0, distance, 0}, {1, 1, distance}};
        request.lattice.sizes = {3, 1, 1};
        try {
            const Plan plan(request);
            for (const auto& value : this->computed(plan))
                EXPECT_TRUE(std::isfinite(value.real()) && std::isfinite(value.imag())) << distance;
        } catch (const InvalidRequest& refused) {
            EXPECT_EQ(refused.field(), "points");
        }
    }
}

/// The field and the reason that a request is refused with.
std::pair<std::string, std::string> refusal(const Request& request) {
    try {
        const Plan plan(request);
    } catch (const InvalidRequest& refused) {
        return {refused.field(), refused.reason()};
    }
    return {"none", ""};
}

TEST(ToleranceRefusals, NameATolerance) {
    for (const double value : {0.0, 1.0, -1e-3, 2.0, nan, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(
            refusal(tolerantRequest("cpu", {value})),
            (std::pair<std::string, std::string>("tolerance", "must be above 0 and below 1")));
}

TEST(ToleranceRefusals, NameAToleranceThatThePrecisionDoesNotKeep) {
    for (const auto of : {largest, local}) {
        const auto ofDouble = refusal(tolerantRequest("cpu", {1e-17, of}));
        EXPECT_EQ(ofDouble.first, "tolerance");
        EXPECT_NE(ofDouble.second.find("double precision"), std::string::npos) << ofDouble.second;
        EXPECT_EQ(refusal(tolerantRequest("cpu", {1e-12, of})).first, "none");
        const auto ofSingle = refusal(tolerantRequest("cpusp", {1e-7, of}));
        EXPECT_EQ(ofSingle.first, "tolerance");
        EXPECT_NE(ofSingle.second.find("single precision"), std::string::npos) << ofSingle.second;
        EXPECT_EQ(refusal(tolerantRequest("cpusp", {1e-4, of})).first, "none");
    }
}

TEST(ToleranceRefusals, NameThePointBehindTheFace) {
    Request request = tolerantRequest("cpu");
    request.lattice.transform = {0.5, 0, 0, 1, 0, 0.25, 0, 2, 0, -0.5, 0, 1, 0, 0, 0, 1};
    EXPECT_EQ(refusal(request),
              (std::pair<std::string, std::string>(
                  "transform", "the point (1, 2.75, -0.5) lies behind the piston")));
    request.behind = true;
    EXPECT_EQ(refusal(request).first, "none");
    request.behind = false;
    request.points = PointList{{1, 2, 3}, {4, 5, 6}, {7, -8, -9}};
    request.lattice.sizes = {3, 1, 1};
    EXPECT_EQ(refusal(request), (std::pair<std::string, std::string>(
                                    "points", "the point (2, 5, -8) lies behind the piston")));
}

TEST(ToleranceRefusals, NameASideThatHasNoOrders) {
    for (const double side : {1e-6, 3000.0}) {
        Request request = tolerantRequest("cpu");
        request.wave.wavenumber = 2 * std::numbers::pi;
        request.piston = {side, 1};
        EXPECT_EQ(refusal(request).first, "width");
        request.piston = {1, side};
        EXPECT_EQ(refusal(request).first, "height");
    }
}

TEST(ToleranceRefusals, NameAListThatIsNone) {
    Request request = tolerantRequest("cpu");
    request.points = PointList{{1, 2}, {4, 5}, {7}};
    request.lattice.sizes = {2, 1, 1};
    EXPECT_EQ(refusal(request).first, "points");
    request.points->z = {7, nan};
    EXPECT_EQ(refusal(request).first, "points");
    request.points->z = {7, 8};
    EXPECT_EQ(refusal(request).first, "none");
    request.lattice.sizes = {1, 2, 1};
    EXPECT_EQ(refusal(request).first, "sizes");
    request.lattice.sizes = {2, 1, 1};
    request.tolerance.reset();
    EXPECT_EQ(refusal(request).first, "points");
}

}  // namespace
