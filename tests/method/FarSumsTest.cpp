// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FarSums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::Directivity;
using pistonfield::Face;
using pistonfield::FacePack;
using pistonfield::farSums;
using pistonfield::packSize;
using pistonfield::Patch;
using pistonfield::PatchNodes;
using pistonfield::RowNumbers;
using pistonfield::RowRules;
using Vector = std::array<double, 3>;
using Complex = std::complex<double>;

constexpr unsigned seed = 20261127;

Vector sum(const Vector& a, double factor, const Vector& b) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

double product(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

double lengthOf(const Vector& a) { return std::sqrt(product(a, a)); }

Vector drawVector(Random& random, double extent) {
    return {random.between(-extent, extent), random.between(-extent, extent),
            random.between(-extent, extent)};
}

Vector drawDirection(Random& random) {
    while (true) {
        const Vector v = drawVector(random, 1);
        const double length = lengthOf(v);
        if (length > 0.1 && length < 1) return sum({}, 1 / length, v);
    }
}

/// A direction of length 1 at a right angle to another one.
Vector drawAcross(Random& random, const Vector& direction) {
    while (true) {
        const Vector v = drawDirection(random);
        const Vector across = sum(v, -product(v, direction), direction);
        if (lengthOf(across) > 0.1) return sum({}, 1 / lengthOf(across), across);
    }
}

Vector vectorOf(const double (&numbers)[3]) { return {numbers[0], numbers[1], numbers[2]}; }

/// A patch of any size and direction; steps are at right angles or not.
Patch drawPatch(Random& random, bool isRight) {
    Patch patch{};
    const Vector middle = drawVector(random, 10);
    const Vector along = drawDirection(random);
    const Vector across = isRight ? drawAcross(random, along) : drawDirection(random);
    const double steps[]{random.magnitude(-2, 0), random.magnitude(-2, 0)};
    for (int axis = 0; axis < 3; ++axis) {
        const auto i = static_cast<std::size_t>(axis);
        patch.middle[axis] = middle[i];
        patch.step[0][axis] = steps[0] * along[i];
        patch.step[1][axis] = steps[1] * across[i];
    }
    for (int& count : patch.count)
        count = random.below(5) == 0 ? 1 : 1 + static_cast<int>(random.below(40));
    return patch;
}

/// A point of a patch, so many steps along its directions from the middle.
Vector pointOf(const Patch& patch, double along, double across) {
    return sum(sum(vectorOf(patch.middle), along, vectorOf(patch.step[0])), across,
               vectorOf(patch.step[1]));
}

/// A point of a patch by its numbers.
Vector latticePoint(const Patch& patch, int i, int row) {
    return pointOf(patch, i - (patch.count[0] - 1) / 2.0, row - (patch.count[1] - 1) / 2.0);
}

template <class T>
struct FarSumsTest : testing::Test {
    static constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;

    const pistonfield::FarSumsIn<T>& sums = farSums().in<T>();

    static FacePack<T> drawPack(Random& random, double extent) {
        FacePack<T> pack{};
        for (int lane = 0; lane < packSize; ++lane) {
            const Vector centre = drawVector(random, extent);
            const Vector alongX = drawDirection(random);
            const Vector alongY = drawAcross(random, alongX);
            for (int axis = 0; axis < 3; ++axis) {
                const auto i = static_cast<std::size_t>(axis);
                pack.centre[axis][lane] = centre[i];
                pack.alongX[axis][lane] = static_cast<T>(alongX[i]);
                pack.alongY[axis][lane] = static_cast<T>(alongY[i]);
            }
        }
        return pack;
    }

    static Vector centreOf(const FacePack<T>& pack, int lane) {
        return {pack.centre[0][lane], pack.centre[1][lane], pack.centre[2][lane]};
    }

    std::array<double, packSize> distances(const FacePack<T>& pack, const Patch& patch) const {
        std::array<double, packSize> nearest{};
        sums.findDistances(pack, patch, nearest.data());
        return nearest;
    }

    /// Faces of one size at a patch, and what they share.
    struct Scene {
        FacePack<T> pack;
        Patch patch;
        Directivity<T> directivity;
        pistonfield::PackFace<T> face;
        double nearest;
        RowRules<T> rules[2];

        pistonfield::PatchRules<T> patchRules() const { return {{&rules[0], &rules[1]}}; }
    };

    Scene sceneOf(const Face& face, const FacePack<T>& pack, const Patch& patch,
                  double error) const {
        const auto all = distances(pack, patch);
        const double nearest = *std::min_element(all.begin(), all.end());
        const double least = Directivity<T>::leastDistance(face);
        EXPECT_GE(nearest, least);
        Directivity<T> directivity(face, least, error);
        const auto terms = directivity.terms();
        const double far = face.k * face.k * 4 * face.halfX * face.halfY / (2 * std::numbers::pi);
        return {pack,
                patch,
                std::move(directivity),
                {face.k, std::hypot(face.halfX, face.halfY), far, terms},
                nearest,
                {RowRules<T>(patch.count[0]), RowRules<T>(patch.count[1])}};
    }

    int findNodes(const Scene& scene, double error, PatchNodes<T>& nodes) const {
        return sums.findNodes(scene.pack, scene.face, scene.patch, scene.nearest,
                              scene.patchRules(), error, nodes);
    }

    int computeRow(const Scene& scene, const PatchNodes<T>& nodes, int row,
                   RowNumbers<T>& to) const {
        return sums.computeRow(scene.pack, scene.face, scene.patch, nodes, row, to);
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(FarSumsTest, Precisions);

TYPED_TEST(FarSumsTest, FindDistancesThatNoPointIsNearerThan) {
    Random random(seed);
    for (int i = 0; i < 300; ++i) {
        const Patch patch = drawPatch(random, i % 2 == 0);
        const auto pack = this->drawPack(random, i % 3 == 0 ? 100 : 12);
        const auto nearest = this->distances(pack, patch);
        for (int lane = 0; lane < packSize; ++lane) {
            const Vector centre = this->centreOf(pack, lane);
            double least = HUGE_VAL;
            double farthest = 0;
            for (int row = 0; row < patch.count[1]; ++row)
                for (int point = 0; point < patch.count[0]; ++point) {
                    const double distance =
                        lengthOf(sum(latticePoint(patch, point, row), -1, centre));
                    least = std::min(least, distance);
                    farthest = std::max(farthest, distance);
                }
            const double found = nearest[static_cast<std::size_t>(lane)];
            ASSERT_GE(found, 0);
            ASSERT_LE(found * found, least * least + 1e-14 * farthest * farthest)
                << "patch " << i << ", lane " << lane;
        }
    }
}

TYPED_TEST(FarSumsTest, FindTheDistancesOfPatchesWithRightAngles) {
    Random random(seed + 1);
    for (int i = 0; i < 300; ++i) {
        const Patch patch = drawPatch(random, true);
        const auto pack = this->drawPack(random, 12);
        const auto nearest = this->distances(pack, patch);
        for (int lane = 0; lane < packSize; ++lane) {
            const Vector centre = this->centreOf(pack, lane);
            // The nearest point of the rectangle.
            const Vector from = sum(centre, -1, vectorOf(patch.middle));
            double steps[2];
            for (int k = 0; k < 2; ++k) {
                const Vector step = vectorOf(patch.step[k]);
                const double last = (patch.count[k] - 1) / 2.0;
                steps[k] = std::clamp(product(from, step) / product(step, step), -last, last);
            }
            const double exact = lengthOf(sum(pointOf(patch, steps[0], steps[1]), -1, centre));
            const double found = nearest[static_cast<std::size_t>(lane)];
            ASSERT_NEAR(found * found, exact * exact, 1e-13 * product(from, from))
                << "patch " << i << ", lane " << lane;
        }
    }
}

TYPED_TEST(FarSumsTest, KnowHowFarAPatchReaches) {
    Random random(seed + 2);
    for (int i = 0; i < 100; ++i) {
        const Patch patch = drawPatch(random, i % 2 == 0);
        for (int k = 0; k < 2; ++k)
            EXPECT_NEAR(patch.half(k), lengthOf(vectorOf(patch.step[k])) * (patch.count[k] - 1) / 2,
                        1e-12);
        for (const int row : {0, patch.count[1] - 1})
            for (const int point : {0, patch.count[0] - 1})
                EXPECT_LE(
                    lengthOf(sum(latticePoint(patch, point, row), -1, vectorOf(patch.middle))),
                    patch.halfDiagonal() * (1 + 1e-12));
    }
}

/// A square patch of so many points along each side, before the plane of the faces.
Patch squarePatch(int count, double step, double z) {
    return {{0.3, -0.2, z}, {{step, 0, 0}, {0, step, 0}}, {count, count}};
}

TYPED_TEST(FarSumsTest, FindFewNodesWherePatchesAreFineAndFar) {
    Random random(seed + 3);
    const Face face{0.25, 0.25, 2 * std::numbers::pi};
    const auto pack = this->drawPack(random, 3);
    const auto nodes = std::make_unique<PatchNodes<TypeParam>>();
    const auto scene = this->sceneOf(face, pack, squarePatch(32, 0.05, 40), 1e-4);
    const int evaluations = this->findNodes(scene, 1e-8, *nodes);
    ASSERT_TRUE(nodes->areFew);
    EXPECT_LE(nodes->rules[0].count * nodes->rules[1].count, 64);
    EXPECT_GE(evaluations, nodes->rules[0].count * nodes->rules[1].count);
    RowNumbers<TypeParam> row;
    EXPECT_EQ(this->computeRow(scene, *nodes, 5, row), 0);
}

TYPED_TEST(FarSumsTest, FindNoNodesWherePointsAreFew) {
    Random random(seed + 4);
    const Face face{0.25, 0.25, 2 * std::numbers::pi};
    const auto pack = this->drawPack(random, 1);
    const auto nodes = std::make_unique<PatchNodes<TypeParam>>();
    for (const int count : {1, 2, 3}) {
        const auto scene = this->sceneOf(face, pack, squarePatch(count, 1, 10), 1e-4);
        EXPECT_EQ(this->findNodes(scene, 1e-6, *nodes), 0);
        EXPECT_FALSE(nodes->areFew);
        RowNumbers<TypeParam> row;
        EXPECT_EQ(this->computeRow(scene, *nodes, 0, row), count);
    }
}

// Limits of the last coefficients along two directions; what they leave out adds up to twice as
// much of each.
TYPED_TEST(FarSumsTest, InterpolateWithinFourTimesTheLimitOfTheCoefficients) {
    Random random(seed + 5);
    int found = 0;
    for (int i = 0; i < 60; ++i) {
        const double k = random.magnitude(-1, 2);
        const double wavelength = 2 * std::numbers::pi / k;
        const double half = wavelength * random.magnitude(-2, 0.3);
        const Face face{half, half * random.magnitude(-0.5, 0.5), k};
        auto pack = this->drawPack(random, 2 * wavelength);
        Patch patch = drawPatch(random, i % 3 != 0);
        const double least = Directivity<TypeParam>::leastDistance(face);
        const Vector towards = drawDirection(random);
        for (int axis = 0; axis < 3; ++axis) {
            for (auto& step : patch.step) step[axis] *= wavelength / 3;
        }
        const double distance =
            patch.halfDiagonal() + 4 * wavelength + least * random.magnitude(0.2, 1.5);
        for (int axis = 0; axis < 3; ++axis)
            patch.middle[axis] = distance * towards[static_cast<std::size_t>(axis)];
        const double relative = random.magnitude(sizeof(TypeParam) == 4 ? -5 : -9, -2);
        const auto scene = this->sceneOf(face, pack, patch, relative);
        const double amplitude = scene.face.farAmplitude / (k * scene.nearest);
        const double error = relative * amplitude;
        const auto nodes = std::make_unique<PatchNodes<TypeParam>>();
        this->findNodes(scene, error, *nodes);
        if (!nodes->areFew) continue;
        ++found;
        const auto none = std::make_unique<PatchNodes<TypeParam>>();
        none->areFew = false;
        const auto interpolated = std::make_unique<RowNumbers<TypeParam>>();
        const auto expected = std::make_unique<RowNumbers<TypeParam>>();
        const double rounding = (32 + 2 * k * half) * this->unit * amplitude;
        for (int row = 0; row < patch.count[1]; row += 3) {
            this->computeRow(scene, *nodes, row, *interpolated);
            this->computeRow(scene, *none, row, *expected);
            for (int point = 0; point < patch.count[0]; ++point)
                for (int lane = 0; lane < packSize; ++lane) {
                    const Complex difference(
                        interpolated->re[point][lane] - expected->re[point][lane],
                        interpolated->im[point][lane] - expected->im[point][lane]);
                    ASSERT_LE(std::abs(difference), 4 * error + rounding)
                        << "scene " << i << ", row " << row << ", point " << point << ", lane "
                        << lane << ", error " << error << " of " << amplitude;
                }
        }
    }
    EXPECT_GE(found, 15);
}

// Packs of single precision change the reference of their phases along a row.
TYPED_TEST(FarSumsTest, HaveThePhaseOfTheDistanceAlongLongRows) {
    Random random(seed + 6);
    const Face face{1e-4, 1e-4, 2 * std::numbers::pi};
    const auto pack = this->drawPack(random, 2);
    for (const double step : {0.01, 0.2, 3.0}) {
        const Patch patch{{5, 4, 400}, {{step, 0.1 * step, 0}, {0, 0, 1}}, {64, 2}};
        const auto scene = this->sceneOf(face, pack, patch, 1e-6);
        PatchNodes<TypeParam> nodes{};
        RowNumbers<TypeParam> row;
        this->computeRow(scene, nodes, 1, row);
        for (int point = 0; point < 64; ++point)
            for (int lane = 0; lane < packSize; ++lane) {
                const double distance =
                    lengthOf(sum(latticePoint(patch, point, 1), -1, this->centreOf(pack, lane)));
                const double amplitude = scene.face.farAmplitude / (face.k * distance);
                const Complex exact = std::polar(amplitude, -face.k * distance);
                EXPECT_LE(std::abs(Complex(row.re[point][lane], row.im[point][lane]) - exact),
                          amplitude * (2e-6 + 64 * this->unit + 0x1p-50 * face.k * distance))
                    << "step " << step << ", point " << point << ", lane " << lane;
            }
    }
}

TYPED_TEST(FarSumsTest, WeighLikeAPlainLoop) {
    Random random(seed + 7);
    constexpr int points = 13;
    constexpr std::ptrdiff_t toNext = 20;
    for (const int packs : {1, 3})
        for (const int weightings : {1, 4, 7}) {
            std::vector<RowNumbers<TypeParam>> numbers(static_cast<std::size_t>(packs));
            const auto draw = [&] { return static_cast<TypeParam>(random.between(-1, 1)); };
            for (auto& of : numbers)
                for (int point = 0; point < pistonfield::mostInRow; ++point)
                    for (int lane = 0; lane < packSize; ++lane) {
                        of.re[point][lane] = draw();
                        of.im[point][lane] = draw();
                    }
            std::vector<TypeParam> weights(
                static_cast<std::size_t>(weightings * packs * 2 * packSize));
            for (TypeParam& weight : weights) weight = draw();
            std::vector<double> re(static_cast<std::size_t>(weightings * toNext));
            for (double& value : re) value = random.between(-1, 1);
            std::vector<double> im = re;
            std::reverse(im.begin(), im.end());
            std::vector<Complex> expected;
            for (std::size_t i = 0; i < re.size(); ++i) expected.emplace_back(re[i], im[i]);
            for (int w = 0; w < weightings; ++w)
                for (int point = 0; point < points; ++point)
                    for (int pack = 0; pack < packs; ++pack)
                        for (int lane = 0; lane < packSize; ++lane) {
                            const TypeParam* const of =
                                &weights[static_cast<std::size_t>((w * packs + pack) * 2 *
                                                                  packSize) +
                                         static_cast<std::size_t>(lane)];
                            const auto& value = numbers[static_cast<std::size_t>(pack)];
                            expected[static_cast<std::size_t>(w * toNext + point)] +=
                                Complex(of[0], of[packSize]) *
                                Complex(value.re[point][lane], value.im[point][lane]);
                        }
            this->sums.weigh(numbers.data(), packs, points, weights.data(), weightings, toNext,
                             re.data(), im.data());
            for (std::size_t i = 0; i < expected.size(); ++i)
                EXPECT_LE(std::abs(Complex(re[i], im[i]) - expected[i]),
                          8 * packs * packSize * this->unit)
                    << packs << " packs, " << weightings << " weightings, sum " << i;
        }
}

}  // namespace
