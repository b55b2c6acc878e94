// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Arrays as convolutions, against sums of their elements' fields.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "ArrayCase.h"
#include "ContourCase.h"
#include "FieldCase.h"
#include "field/ArrayEngine.h"
#include "field/ConvolvedElement.h"
#include "field/ElementGrid.h"
#include "method/Fft.h"

using namespace pistonfield;
using Of = Tolerance::Of;

namespace {

template <class T>
std::shared_ptr<const ArrayEngine<T>> sumOf(const std::shared_ptr<const ArrayTerms>& terms) {
    return makeSumEngine<T>(terms);
}

template <class T>
std::shared_ptr<const ArrayEngine<T>> sumOf(const std::shared_ptr<const ContourTerms>& terms) {
    return makeContourSumEngine<T>(terms);
}

/// A request's convolution engine, whether or not sums would take less time.
template <class T, class Terms = ArrayTerms>
struct Convolution {
    explicit Convolution(const Request& asked)
        : request(asked),
          terms(std::make_shared<const Terms>(request)),
          sum(sumOf<T>(terms)),
          engine(makeConvolutionEngine<T>(terms, sum)) {}

    std::vector<std::complex<T>> fill(const LatticeBox& box, unsigned threads = 1) const {
        std::vector<std::complex<T>> values(
            static_cast<std::size_t>(box.points() * request.fields()));
        engine->fill(box, interleaved(values.data(), box.points()), threads);
        return values;
    }

    Request request;
    std::shared_ptr<const Terms> terms;
    std::shared_ptr<const ArrayEngine<T>> sum;
    std::unique_ptr<const ArrayEngine<T>> engine;
};

template <class T>
double worstIn(const Request& request, std::size_t points, Random& random) {
    const Convolution<T> convolution(request);
    if (!convolution.engine) return HUGE_VAL;
    const auto values = convolution.fill(request.lattice.box());
    return worstOf(request, {values.begin(), values.end()}, points, random);
}

/// How far values are off at some points, in parts of the tolerance; infinite without an engine.
double worstOf(const Request& request, std::size_t points, Random& random) {
    return request.inSingle() ? worstIn<float>(request, points, random)
                              : worstIn<double>(request, points, random);
}

/// The same of integrals along outlines; nothing without an engine.
template <class T>
std::optional<double> worstAlongOutlines(const ContourCase& drawn, std::size_t points,
                                         Random& random) {
    const Convolution<T, ContourTerms> convolution(drawn.request);
    if (!convolution.engine) return std::nullopt;
    const auto values = convolution.fill(drawn.request.lattice.box());
    return worstOf(drawn, {values.begin(), values.end()}, points, random);
}

std::optional<double> worstAlongOutlines(const ContourCase& drawn, std::size_t points,
                                         Random& random) {
    return drawn.request.inSingle() ? worstAlongOutlines<float>(drawn, points, random)
                                    : worstAlongOutlines<double>(drawn, points, random);
}

Request withTolerance(Request request, double value, Of of = Of::largest) {
    request.tolerance = Tolerance{value, of};
    return request;
}

class ConvolutionEngineTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!haveFft()) GTEST_SKIP() << "no library for Fourier transforms";
    }

    /// A matrix array before a lattice.
    Request matrix(const ElementLayout& layout, Mode mode = Mode::cpu, int weightings = 1) {
        return requestOf(arrayOf(layout, 0.45, weightings, random),
                         latticeAbout({21, 18, 3}, {0.5, 0.25, 0.7}, 2), mode);
    }

    Random random{7};
};

TEST_F(ConvolutionEngineTest, KeepsTolerancesOnTheLattice) {
    const ElementLayout layout{6, 5, 0.5, 0.5};
    for (const Of of : {Of::largest, Of::local}) {
        EXPECT_LE(worstOf(withTolerance(matrix(layout), 1e-4, of), 200, random), 1);
        EXPECT_LE(worstOf(withTolerance(matrix(layout), 1e-11, of), 200, random), 1);
        EXPECT_LE(worstOf(withTolerance(matrix(layout, Mode::cpusp), 1e-4, of), 200, random), 1);
    }
}

TEST_F(ConvolutionEngineTest, KeepsTolerancesBetweenTheLatticesPlaces) {
    const ElementLayout layout{6, 5, 0.5 * 2 / 3, 0.125};
    EXPECT_LE(worstOf(withTolerance(matrix(layout), 1e-11), 200, random), 1);
    EXPECT_LE(worstOf(withTolerance(matrix(layout, Mode::cpusp), 1e-4), 200, random), 1);
}

TEST_F(ConvolutionEngineTest, KeepsTolerancesAnywhereInThePlane) {
    const ElementLayout layout{6, 5, 0.5, 0.5, 0.1};
    for (const Of of : {Of::largest, Of::local})
        for (const double tolerance : {1e-2, 1e-4, 1e-6})
            EXPECT_LE(worstOf(withTolerance(matrix(layout), tolerance, of), 200, random), 1);
}

TEST_F(ConvolutionEngineTest, TurnsWithTheElements) {
    ElementLayout layout{6, 5, 0.5, 0.5};
    layout.turn = 0.3;
    EXPECT_LE(worstOf(withTolerance(matrix(layout), 1e-8), 200, random), 1);
    Request all = turned(withTolerance(matrix(layout), 1e-8), random);
    all.behind = true;
    EXPECT_LE(worstOf(all, 200, random), 1);
}

/// Planes of elements have planes of points, and lines up to 64 lines of them.
TEST_F(ConvolutionEngineTest, HasSheetsAsTiles) {
    using Sizes = std::array<std::int64_t, 3>;
    const auto tileOf = [&](const ElementLayout& layout, const Sizes& sizes,
                            const std::array<std::size_t, 3>& directions) {
        const Request request =
            requestOf(arrayOf(layout, 0.2, 1, random),
                      latticeAbout(sizes, {0.25, 0.25, 0.25}, 4, directions), Mode::cpu);
        return Plan(withTolerance(request, 1e-6)).tile();
    };
    EXPECT_EQ(tileOf({40, 30, 0.25, 0.25}, {50, 40, 3}, {0, 1, 2}), (Sizes{50, 40, 1}));
    EXPECT_EQ(tileOf({40, 30, 0.25, 0.25}, {3, 50, 40}, {2, 0, 1}), (Sizes{1, 50, 40}));
    EXPECT_EQ(tileOf({200, 1, 0.25, 0.25}, {60, 1, 90}, {0, 1, 2}), (Sizes{60, 1, 64}));
}

TEST_F(ConvolutionEngineTest, TakesTheLatticesDirectionsInAnyOrder) {
    std::array<std::size_t, 3> directions{0, 1, 2};
    do {
        std::array<std::int64_t, 3> sizes{};
        for (std::size_t i = 0; i < 3; ++i) sizes[i] = directions[i] == 2 ? 3 : 12;
        const Request request =
            requestOf(arrayOf({4, 3, 0.5, 0.25}, 0.4, 1, random),
                      latticeAbout(sizes, {0.25, 0.25, 0.25}, 0.5, directions), Mode::cpu);
        EXPECT_LE(worstOf(withTolerance(request, 1e-9), 400, random), 1);
    } while (std::next_permutation(directions.begin(), directions.end()));
}

TEST_F(ConvolutionEngineTest, TakesPlanesAcrossTheElements) {
    for (const bool isLine : {true, false})
        for (const std::array<std::int64_t, 3>& sizes :
             {std::array<std::int64_t, 3>{40, 1, 90}, {1, 40, 70}, {40, 1, 1}}) {
            const ElementLayout layout{5, isLine ? 1 : 4, 0.5, 0.5};
            if (isLine && sizes[0] == 1) continue;
            const Request request =
                requestOf(arrayOf(layout, 0.4, 1, random),
                          latticeAbout(sizes, {0.25, 0.25, 0.1}, 0.5), Mode::cpu);
            EXPECT_LE(worstOf(withTolerance(request, 1e-8), 300, random), 1)
                << isLine << ' ' << sizes[0];
        }
}

TEST_F(ConvolutionEngineTest, IsAsExactNearTheFaces) {
    for (const double jitter : {0.0, 0.05})
        for (const Of of : {Of::largest, Of::local}) {
            const Request request =
                requestOf(arrayOf({5, 4, 0.5, 0.5, jitter}, 0.35, 1, random),
                          latticeAbout({20, 20, 5}, {0.125, 0.125, 0.4}, 0), Mode::cpu);
            EXPECT_LE(worstOf(withTolerance(request, 1e-5, of), 300, random), 1) << jitter;
        }
}

TEST_F(ConvolutionEngineTest, HasAFieldForEachWeighting) {
    const Request request = withTolerance(matrix({6, 5, 0.5, 0.25}, Mode::cpu, 3), 1e-7);
    EXPECT_LE(worstOf(request, 100, random), 1);
}

TEST_F(ConvolutionEngineTest, HasTheSameBitsInEveryBoxAndOnEveryThread) {
    for (const double jitter : {0.0, 0.05})
        for (const std::array<std::int64_t, 3>& sizes :
             {std::array<std::int64_t, 3>{21, 18, 5}, {20, 1, 150}, {9, 70, 3}}) {
            const ElementLayout layout{6, sizes[1] == 1 ? 1 : 3, 0.5, 0.5, jitter};
            const Convolution<float> convolution(
                withTolerance(requestOf(arrayOf(layout, 0.45, 2, random),
                                        latticeAbout(sizes, {0.5, 0.25, 0.7}, 0.1), Mode::cpusp),
                              1e-3));
            ASSERT_TRUE(convolution.engine);
            const LatticeBox all = convolution.request.lattice.box();
            const auto whole = convolution.fill(all);
            EXPECT_EQ(convolution.fill(all, 3), whole);
            for (int i = 0; i < 12; ++i) {
                LatticeBox box;
                for (std::size_t d = 0; d < 3; ++d) {
                    box.first[d] =
                        static_cast<std::int64_t>(random.below(static_cast<std::size_t>(sizes[d])));
                    box.size[d] = 1 + static_cast<std::int64_t>(random.below(
                                          static_cast<std::size_t>(sizes[d] - box.first[d])));
                }
                const auto part = convolution.fill(box, i % 2 == 0 ? 1U : 2U);
                std::size_t number = 0;
                for (std::int64_t w = 0; w < 2; ++w)
                    for (std::int64_t z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
                        for (std::int64_t y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                            for (std::int64_t x = box.first[0]; x < box.first[0] + box.size[0];
                                 ++x, ++number)
                                ASSERT_EQ(part[number],
                                          whole[static_cast<std::size_t>(
                                              ((w * sizes[2] + z) * sizes[1] + y) * sizes[0] + x)]);
            }
        }
}

/// The elements' plane has the last direction of the lattice in it, so that all is one piece.
TEST_F(ConvolutionEngineTest, IsWatchedAndStoppedBetweenSheets) {
    const Request request = withTolerance(
        requestOf(arrayOf({8, 8, 0.5, 0.5}, 0.45, 2, random),
                  latticeAbout({40, 60, 50}, {0.5, 0.5, 0.5}, 2, {2, 0, 1}), Mode::cpu),
        1e-4);
    const Convolution<double> convolution(request);
    ASSERT_TRUE(convolution.engine);
    const LatticeBox box = request.lattice.box();
    ASSERT_EQ(convolution.engine->pieceToWatch(1), box.points());
    std::vector<std::complex<double>> values(static_cast<std::size_t>(2 * box.points()));
    const auto fill = [&](const Conduct& conduct) {
        convolution.engine->fillWatched(box, interleaved(values.data(), box.points()), conduct);
    };

    std::vector<std::int64_t> told;
    fill({.progress = [&](std::int64_t points) { told.push_back(points); }, .threads = 2});
    EXPECT_EQ(values, convolution.fill(box));
    ASSERT_GT(told.size(), 1U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_GT(told.front(), 0);
    EXPECT_LT(told.back(), box.points());  // the end is for the plan to tell

    std::stop_source stop;
    std::int64_t done = 0;
    EXPECT_THROW(fill({stop.get_token(),
                       [&](std::int64_t points) {
                           done = points;
                           stop.request_stop();
                       },
                       1}),
                 Stopped);
    EXPECT_EQ(done, 3000);  // one sheet of the one thread
}

TEST_F(ConvolutionEngineTest, CountsTheMemoryOfSumsNearTheFaces) {
    const ElementLayout jittered{12, 12, 0.6, 0.6, 0.07};
    const auto costOf = [&](int weightings) {
        const Request request =
            withTolerance(requestOf(arrayOf(jittered, 0.45, weightings, random),
                                    latticeAbout({64, 64, 8}, {0.3, 0.3, 0.05}, 0.01), Mode::cpu),
                          1e-3);
        const Convolution<double> convolution(request);
        return convolution.engine ? convolution.engine->memoryOf(request.lattice.box()) -
                                        convolution.sum->memoryOf(request.lattice.box())
                                  : 0;
    };
    EXPECT_GT(costOf(256), 255 * 16 * 8 * 8);
}

TEST_F(ConvolutionEngineTest, IsNotForOtherElementsNorPoints) {
    const auto isFor = [](const Request& request) {
        return Convolution<double>(withTolerance(request, 1e-4)).engine != nullptr;
    };
    const Request plain = matrix({4, 4, 0.5, 0.5});
    EXPECT_TRUE(isFor(plain));
    Request other = plain;
    other.array->elements[3].piston.width *= 1.01;
    EXPECT_FALSE(isFor(other));
    other = plain;
    other.array->elements[3].pose.centre[2] = -0.1;
    EXPECT_FALSE(isFor(other));
    other = plain;
    other.array->elements[3].pose.alongWidth = {std::cos(0.1), std::sin(0.1), 0};
    other.array->elements[3].pose.alongHeight = {-std::sin(0.1), std::cos(0.1), 0};
    EXPECT_FALSE(isFor(other));
    other = plain;
    other.lattice = latticeAbout({1, 1, 30}, {0.5, 0.5, 0.2}, 1);
    EXPECT_FALSE(isFor(other));
    other = plain;
    for (std::size_t i = 0; i < 3; ++i) other.lattice.transform[8 + i] += 0.3;
    EXPECT_FALSE(isFor(other));
    other = plain;
    other.points = PointList{{0, 0.5}, {0, 0}, {1, 1}};
    other.lattice.sizes = {2, 1, 1};
    EXPECT_FALSE(isFor(other));
}

TEST_F(ConvolutionEngineTest, LeavesTheRestToSums) {
    // Elements that are too far apart for the lattice's steps, and of many rows.
    Request request = matrix({4, 4, 5000, 5000});
    EXPECT_EQ(Plan(withTolerance(request, 1e-4)).engine(), "sum");
    request = matrix({2, 1100, 0.5, 0.31});
    request.lattice = latticeAbout({4, 1, 3}, {0.5, 0.5, 0.5}, 1);
    EXPECT_EQ(Plan(withTolerance(request, 1e-4)).engine(), "sum");
    // Nearer to elements on no grid than they can be spread.
    request = withTolerance(matrix({4, 4, 0.5, 0.5, 0.05}), 1e-6);
    request.lattice = latticeAbout({20, 20, 1}, {0.5, 0.5, 1}, 0.05);
    const Convolution<double> near(request);
    ASSERT_TRUE(near.engine);
    const LatticeBox box = request.lattice.box();
    std::vector<std::complex<double>> sums(static_cast<std::size_t>(box.points()));
    near.sum->fill(box, interleaved(sums.data()), 1);
    EXPECT_EQ(near.fill(box), sums);
}

TEST_F(ConvolutionEngineTest, ComputesManyWeightingsWhoseSpectraAreNotKept) {
    // 45 times 800*500 complex numbers of double would be 288 MB.
    Request request = requestOf(arrayOf({2, 2, 180, 120}, 0.4, 45, random),
                                latticeAbout({60, 20, 1}, {0.25, 0.25, 1}, 30), Mode::cpu);
    request.tolerance = Tolerance{1e-6, Of::local};
    const Convolution<double> convolution(request);
    ASSERT_TRUE(convolution.engine);
    EXPECT_LT(convolution.engine->memoryOf(request.lattice.box()), 100e6);
    const auto values = convolution.fill(request.lattice.box());
    EXPECT_LE(worstOf(request, values, 4, random), 1);
}

TEST_F(ConvolutionEngineTest, IsTakenWhereSumsTakeLonger) {
    const Plan many(withTolerance(matrix({20, 20, 0.5, 0.5}), 1e-4));
    EXPECT_EQ(many.engine(), "convolution");
    Request few = matrix({20, 20, 0.5, 0.5});
    few.lattice = latticeAbout({2, 1, 1}, {0.5, 0.5, 1}, 5);
    EXPECT_EQ(Plan(withTolerance(few, 1e-4)).engine(), "sum");
    const auto accuracy = many.accuracy();
    ASSERT_TRUE(accuracy);
    EXPECT_LE(accuracy->error, 1e-4);
    EXPECT_GT(many.cost(many.request().lattice.box()).memory, 0);
}

TEST_F(ConvolutionEngineTest, KeepsTolerancesOfRandomRequests) {
    const char* const asked = std::getenv("PISTONFIELD_RANDOM_ARRAYS");
    const int cases = asked == nullptr ? 60 : std::atoi(asked);
    int convolved = 0;
    int refused = 0;
    double worst = 0;
    for (int i = 0; i < cases; ++i) {
        std::string text;
        const Request request = drawArrayRequest(random, text);
        try {
            const double ratio = worstOf(request, 60, random);
            if (std::isinf(ratio)) continue;
            EXPECT_LE(ratio, 1) << text;
            worst = std::max(worst, ratio);
            ++convolved;
        } catch (const InvalidRequest& refusal) {
            EXPECT_EQ(refusal.field(), "tolerance") << refusal.what() << ": " << text;
            ++refused;
        }
    }
    RecordProperty("worst", std::to_string(worst));
    EXPECT_GE(convolved, cases / 2) << refused << " refused";
}

TEST_F(ConvolutionEngineTest, KeepsTolerancesOfRandomRequestsForAnyOutline) {
    int convolved = 0;
    double worst = 0;
    constexpr int cases = 12;
    for (int i = 0; i < cases; ++i) {
        ContourCase drawn = drawContourGrid(random);
        drawn.request = takenPlan(drawn.request).request();
        const std::optional<double> ratio = worstAlongOutlines(drawn, 2, random);
        if (!ratio) continue;
        EXPECT_LE(*ratio, 1) << describe(drawn.request);
        worst = std::max(worst, *ratio);
        ++convolved;
    }
    RecordProperty("worst", std::to_string(worst));
    RecordProperty("convolved", convolved);
    EXPECT_GE(convolved, cases / 2);
}

/// Discs in a lossy medium, by two weightings, before a lattice of 30 by 20 points a sheet.
Request discs(Quantity quantity, Baffle baffle, std::int64_t sheets = 2, double nearest = 0.4) {
    Random random{9};
    Request request =
        requestOf(arrayOf({4, 3, 0.5, 0.75}, 1, 2, random),
                  latticeAbout({30, 20, sheets}, {0.25, 0.25, 0.7}, nearest), Mode::cpu);
    const auto disc = std::make_shared<const Outline>(discOutline(0.2));
    for (Element& element : request.array->elements) element.outline = disc;
    request.wave.attenuation = 0.05;
    request.quantity = quantity;
    request.baffle = baffle;
    return withTolerance(request, 1e-7);
}

TEST_F(ConvolutionEngineTest, IsTakenForAnyOutlineWhereSumsTakeLonger) {
    const Request request = discs(Quantity::velocity, Baffle::free);
    const Plan plan(request);
    EXPECT_EQ(plan.engine(), "convolution");
    const auto accuracy = plan.accuracy();
    EXPECT_LE(accuracy->error, accuracy->bound);
    EXPECT_LE(accuracy->bound, 1e-7);
    // A sheet has three components of an element and six spectra at least.
    EXPECT_GT(plan.cost(request.lattice.box()).memory, 9 * 16 * 30 * 20);
    Request other = request;
    other.array->elements.back().outline =
        std::make_shared<const Outline>(discOutline(0.2));  // an equal one
    EXPECT_EQ(Plan(other).engine(), "convolution");
    other.array->elements.back().outline = std::make_shared<const Outline>(discOutline(0.21));
    EXPECT_EQ(Plan(other).engine(), "contours");
    // Off the lattice's steps.
    other = request;
    other.array->elements.back().pose.centre[0] += 0.01;
    EXPECT_EQ(Plan(other).engine(), "contours");
    // After that the losses leave less on the way than transforms have digits for.
    other = request;
    other.wave.attenuation = 5;
    other.lattice.transform[10] = 20;
    other.tolerance->of = Of::local;
    EXPECT_EQ(Plan(other).engine(), "contours");
}

TEST_F(ConvolutionEngineTest, ForAnyOutlineHasTheSameBitsInEveryBoxAndOnEveryThread) {
    for (const Quantity quantity : {Quantity::pressure, Quantity::velocity, Quantity::intensity}) {
        const Convolution<double, ContourTerms> convolution(discs(quantity, Baffle::soft, 4));
        ASSERT_TRUE(convolution.engine);
        const auto whole = convolution.fill(convolution.request.lattice.box());
        EXPECT_EQ(convolution.fill(convolution.request.lattice.box(), 3), whole);
        const LatticeBox box{{3, 2, 1}, {17, 5, 3}};
        const auto part = convolution.fill(box, 2);
        std::size_t number = 0;
        for (std::size_t f = 0; f < static_cast<std::size_t>(convolution.request.fields()); ++f)
            for (std::size_t z = 1; z < 4; ++z)
                for (std::size_t y = 2; y < 7; ++y)
                    for (std::size_t x = 3; x < 20; ++x)
                        ASSERT_EQ(part[number++], whole[((f * 4 + z) * 20 + y) * 30 + x]);
    }
}

/// There are points on rims, where velocities are infinite.
TEST_F(ConvolutionEngineTest, LeavesVelocitiesInTheElementsPlaneToSums) {
    for (const Quantity quantity : {Quantity::pressure, Quantity::velocity, Quantity::intensity}) {
        Request request = discs(quantity, Baffle::rigid, 2, 0);
        for (Element& element : request.array->elements)
            element.outline = std::make_shared<const Outline>(discOutline(0.25));
        const Convolution<double, ContourTerms> convolution(request);
        ASSERT_TRUE(convolution.engine);
        const auto whole = convolution.fill(request.lattice.box());
        std::vector<std::complex<double>> sums(whole.size());
        convolution.sum->fill(request.lattice.box(),
                              interleaved(sums.data(), request.lattice.box().points()), 1);
        double farthest = 0;
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const bool inPlane = i % (std::size_t{30} * 20 * 2) < std::size_t{30} * 20;
            if (inPlane && quantity != Quantity::pressure) {
                ASSERT_EQ(whole[i], sums[i]);
            } else {
                farthest = std::max(farthest, std::abs(whole[i] - sums[i]));
            }
        }
        EXPECT_LE(farthest, 1e-5);
        EXPECT_GT(farthest, 0);
    }
}

TEST(ConvolvedOutlineTest, EndsWithoutItsFieldWhereItIsStopped) {
    const Request request = discs(Quantity::pressure, Baffle::soft);
    const auto element = makeConvolvedOutline(std::make_shared<const ContourTerms>(request));
    const Lattice lattice = latticeAbout({40, 5, 1}, {0.25, 0.25, 0.7}, 0.4);
    const auto field = element->on(lattice, 0, 1);
    std::stop_source stop;
    stop.request_stop();
    constexpr std::complex<double> untouched(7, 7);
    std::vector<std::complex<double>> values(200, untouched);
    field->fill(lattice.box(), interleaved(values.data()), {.stop = stop.get_token()});
    EXPECT_THAT(values, testing::Each(untouched));
    field->fill(lattice.box(), interleaved(values.data()), {});
    EXPECT_THAT(values, testing::Each(testing::Ne(untouched)));
}

TEST(ElementGridTest, BoundsWhatSpreadingAdds) {
    // A plane wave along the places has the largest derivatives of all fields far away.
    for (const int nodes : {4, 8, 12})
        for (const double spacing : {0.3, 0.8}) {
            double worst = 0;
            for (double from = 0.05; from < 1; from += 0.05) {
                std::complex<double> value = 0;
                for (int i = 1 - nodes / 2; i <= nodes / 2; ++i) {
                    double factor = 1;
                    for (int j = 1 - nodes / 2; j <= nodes / 2; ++j)
                        if (j != i) factor *= (from - j) / (i - j);
                    value += factor * std::polar(1.0, spacing * i);
                }
                worst = std::max(worst, std::abs(value - std::polar(1.0, spacing * from)));
            }
            const double distance = 1e5;
            EXPECT_LE(worst, spreadingError(nodes, spacing, distance) * distance);
            EXPECT_GE(worst, spreadingError(nodes, spacing, distance) * distance / 40);
        }
}

template <class T>
class FftTest : public testing::Test {};
using Numbers = testing::Types<float, double>;
TYPED_TEST_SUITE(FftTest, Numbers);

TYPED_TEST(FftTest, IsTheSumOfItsDefinition) {
    if (!haveFft()) GTEST_SKIP() << "no library for Fourier transforms";
    using T = TypeParam;
    Random random{3};
    for (const std::size_t length : {2U, 3U, 4U, 5U, 12U, 45U, 160U}) {
        const Fft<T> fft(length, length % 2 == 1);
        const std::size_t width = fft.lines();
        struct alignas(64) Chunk {
            T numbers[16];
        };
        std::vector<Chunk> from(2 * width * length / 16 + 1);
        std::vector<Chunk> to(from.size());
        T* const in = from[0].numbers;
        T* const out = to[0].numbers;
        for (std::size_t i = 0; i < 2 * width * length; ++i)
            in[i] = static_cast<T>(random.between(-1, 1));
        fft.transform(in, out);
        const double sign = length % 2 == 1 ? 1 : -1;
        const auto at = [&](const T* numbers, std::size_t n, std::size_t line) {
            return std::complex<double>(numbers[2 * width * n + line],
                                        numbers[2 * width * n + width + line]);
        };
        for (std::size_t line = 0; line < width; ++line)
            for (std::size_t m = 0; m < length; ++m) {
                std::complex<double> sum = 0;
                for (std::size_t n = 0; n < length; ++n)
                    sum += at(in, n, line) *
                           std::polar(1.0, sign * 2 * M_PI * static_cast<double>(m * n % length) /
                                               static_cast<double>(length));
                EXPECT_NEAR(std::abs(at(out, m, line) - sum), 0,
                            40 * std::numeric_limits<T>::epsilon() *
                                std::sqrt(static_cast<double>(length)));
            }
    }
}

TEST(FftLengthTest, HasSmallFactors) {
    EXPECT_EQ(Fft<float>::lengthFrom(1), 2U);
    EXPECT_EQ(Fft<float>::lengthFrom(287), 288U);
    EXPECT_EQ(Fft<float>::lengthFrom(361), 375U);
}

}  // namespace
