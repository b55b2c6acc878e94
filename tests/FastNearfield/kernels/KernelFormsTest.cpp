// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Where the kernels place their points and store the pressures, whatever form these have.

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "FastNearfield/RectangularPistonCuda.h"
#include "KernelTest.h"

namespace {

/// A grid's sizes.
struct Sizes {
    int x, y, z;

    [[nodiscard]] int points() const { return x * y * z; }
};

/// Grids of every shape; none fills blocks.
constexpr std::array<Sizes, 8> shapes{
    {{7, 5, 3}, {1, 6, 4}, {6, 1, 4}, {6, 4, 1}, {1, 1, 9}, {1, 9, 1}, {9, 1, 1}, {1, 1, 1}}};

template <class Precision>
class KernelFormsTest : public KernelTest<Precision> {
  protected:
    using Real = typename Precision::Real;
    using Complex = typename Precision::Complex;
    using Transform = std::array<Real, 12>;

    void SetUp() override {
        KernelTest<Precision>::SetUp();
        if (this->IsSkipped()) return;
        this->uploadLegendreRule(5);
    }

    static constexpr Real a = static_cast<Real>(3.7);
    static constexpr Real b = static_cast<Real>(2.4);
    static constexpr Real k = static_cast<Real>(1.9);

    /// Neither steps nor products of it are exact.
    static constexpr Transform oblique{
        static_cast<Real>(0.71),  static_cast<Real>(0.23), static_cast<Real>(-0.11),
        static_cast<Real>(-1.3),  static_cast<Real>(0.13), static_cast<Real>(0.83),
        static_cast<Real>(0.37),  static_cast<Real>(-2.1), static_cast<Real>(-0.07),
        static_cast<Real>(0.019), static_cast<Real>(0.97), static_cast<Real>(0.53)};
    static constexpr Transform identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

    static Real placed(const Transform& m, std::size_t row, int ix, int iy, int iz) {
        const Real* r = &m[4 * row];
        return ((r[1] * static_cast<Real>(iy) + r[0] * static_cast<Real>(ix)) +
                r[2] * static_cast<Real>(iz)) +
               r[3];
    }

    /// The pressures at place(ix, iy, iz), point by point: x fastest, then y, then z.
    template <class Place>
    static std::vector<Complex> pointByPoint(Sizes n, Place place) {
        std::vector<Complex> field;
        for (int iz = 0; iz < n.z; ++iz)
            for (int iy = 0; iy < n.y; ++iy)
                for (int ix = 0; ix < n.x; ++ix)
                    field.push_back(KernelTest<Precision>::pressureAt(place(ix, iy, iz)));
        return field;
    }

    static std::vector<Complex> obliquePointByPoint(Sizes n) {
        return pointByPoint(n, [](int ix, int iy, int iz) {
            return Scene<Real>{placed(oblique, 0, ix, iy, iz),
                               placed(oblique, 1, ix, iy, iz),
                               placed(oblique, 2, ix, iy, iz),
                               a,
                               b,
                               k};
        });
    }

    // Launches over blocks that cover the grid.

    std::vector<Complex> calculated(Sizes n, Real dx, Real dy, Real dz) {
        return this->fieldOf(n.points(), [&](Complex* array) {
            Precision::module().calculate.launch(this->blocksFor(n.points()), this->block, array,
                                                 n.x, n.y, n.z, dx, dy, dz, a, b, k);
        });
    }

    std::vector<Complex> byValues(Sizes n, const Transform& m) {
        return this->fieldOf(n.points(), [&](Complex* array) {
            Precision::module().gridByValues.launch(
                this->blocksFor(n.points()), this->block, array, n.x, n.y, n.z, m[0], m[1], m[2],
                m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11], a, b, k);
        });
    }

    std::vector<Complex> byPointer(Sizes n, const Transform& m) {
        const DeviceArray<Real> transform({m.begin(), m.end()});
        return this->fieldOf(n.points(), [&](Complex* array) {
            Precision::module().grid.launch(this->blocksFor(n.points()), this->block, array, n.x,
                                            n.y, n.z, transform.data(), a, b, k);
        });
    }

    /// Calls launch(re, im) and joins the halves.
    template <class Launch>
    std::vector<Complex> joined(Sizes n, Launch launch) {
        const std::vector<Real> poisoned(static_cast<std::size_t>(n.points()), this->poison.re);
        const DeviceArray<Real> re(poisoned);
        const DeviceArray<Real> im(poisoned);
        launch(re.data(), im.data());
        const std::vector<Real> reals = re.values();
        const std::vector<Real> imaginaries = im.values();
        std::vector<Complex> field;
        for (std::size_t i = 0; i < reals.size(); ++i) field.push_back({reals[i], imaginaries[i]});
        return field;
    }

    std::vector<Complex> splitByValues(Sizes n, const Transform& m) {
        return joined(n, [&](Real* re, Real* im) {
            Precision::module().splitGridByValues.launch(
                this->blocksFor(n.points()), this->block, re, im, n.x, n.y, n.z, m[0], m[1], m[2],
                m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11], a, b, k);
        });
    }

    std::vector<Complex> splitByPointer(Sizes n, const Transform& m) {
        const DeviceArray<Real> transform({m.begin(), m.end()});
        return joined(n, [&](Real* re, Real* im) {
            Precision::module().splitGrid.launch(this->blocksFor(n.points()), this->block, re, im,
                                                 n.x, n.y, n.z, transform.data(), a, b, k);
        });
    }
};
TYPED_TEST_SUITE(KernelFormsTest, Families, FamilyName);

TYPED_TEST(KernelFormsTest, CalculatePlacesPointsAtMultiplesOfTheSteps) {
    using Real = typename TypeParam::Real;
    const auto dx = static_cast<Real>(0.71);
    const auto dy = static_cast<Real>(-0.83);
    const auto dz = static_cast<Real>(0.97);
    for (const Sizes& n : shapes) {
        const auto expected = this->pointByPoint(n, [&](int ix, int iy, int iz) {
            return Scene<Real>{static_cast<Real>(ix) * dx,
                               static_cast<Real>(iy) * dy,
                               static_cast<Real>(iz) * dz,
                               this->a,
                               this->b,
                               this->k};
        });
        EXPECT_TRUE(sameBits(this->calculated(n, dx, dy, dz), expected)) << n.x << " by " << n.y;
    }
}

TYPED_TEST(KernelFormsTest, GridByValuesTransformsTheIndices) {
    for (const Sizes& n : shapes)
        EXPECT_TRUE(sameBits(this->byValues(n, this->oblique), this->obliquePointByPoint(n)));
}

TYPED_TEST(KernelFormsTest, GridByPointerTransformsTheIndices) {
    for (const Sizes& n : shapes)
        EXPECT_TRUE(sameBits(this->byPointer(n, this->oblique), this->obliquePointByPoint(n)));
}

TYPED_TEST(KernelFormsTest, SplitGridByValuesTransformsTheIndices) {
    for (const Sizes& n : shapes)
        EXPECT_TRUE(sameBits(this->splitByValues(n, this->oblique), this->obliquePointByPoint(n)));
}

TYPED_TEST(KernelFormsTest, SplitGridByPointerTransformsTheIndices) {
    for (const Sizes& n : shapes)
        EXPECT_TRUE(sameBits(this->splitByPointer(n, this->oblique), this->obliquePointByPoint(n)));
}

TYPED_TEST(KernelFormsTest, AnIdentityTransformIsUnitSteps) {
    const Sizes n{7, 5, 3};
    EXPECT_TRUE(sameBits(this->byValues(n, this->identity), this->calculated(n, 1, 1, 1)));
    EXPECT_TRUE(sameBits(this->byPointer(n, this->identity), this->calculated(n, 1, 1, 1)));
}

// The grid has 105 points, the launch 384 threads and the array as many elements.
TYPED_TEST(KernelFormsTest, SurplusThreadsWriteNothing) {
    using Complex = typename TypeParam::Complex;
    const Sizes n{7, 5, 3};
    const int threads = 384;
    const std::vector<Complex> field = this->fieldOf(threads, [&](Complex* array) {
        TypeParam::module().calculate.launch({3, 1, 1}, this->block, array, n.x, n.y, n.z, 1, 1, 1,
                                             this->a, this->b, this->k);
    });
    const auto count = static_cast<std::size_t>(n.points());
    for (std::size_t i = 0; i < field.size(); ++i)
        EXPECT_EQ(sameBits(field[i], this->poison), i >= count) << i;
}

TYPED_TEST(KernelFormsTest, SurplusThreadsWriteNothingToHalves) {
    using Real = typename TypeParam::Real;
    const std::vector<Real> poisoned(384, this->poison.re);
    const DeviceArray<Real> re(poisoned);
    const DeviceArray<Real> im(poisoned);
    const DeviceArray<Real> transform({this->oblique.begin(), this->oblique.end()});
    TypeParam::module().splitGrid.launch({3, 1, 1}, this->block, re.data(), im.data(), 7, 5, 3,
                                         transform.data(), this->a, this->b, this->k);
    for (const std::vector<Real>& half : {re.values(), im.values()})
        for (std::size_t i = 0; i < half.size(); ++i)
            EXPECT_EQ(half[i] == this->poison.re, i >= 105) << i;
}

TYPED_TEST(KernelFormsTest, AGridWithoutPointsWritesNothing) {
    using Complex = typename TypeParam::Complex;
    const std::vector<Sizes> empty{{0, 5, 3}, {5, 0, 3}, {5, 3, 0}};
    for (const Sizes& n : empty) {
        const std::vector<Complex> field = this->fieldOf(128, [&](Complex* array) {
            TypeParam::module().calculate.launch({1, 1, 1}, this->block, array, n.x, n.y, n.z, 1, 1,
                                                 1, this->a, this->b, this->k);
        });
        for (const Complex& element : field) EXPECT_TRUE(sameBits(element, this->poison));
    }
}

class SinglePrecisionFormsTest : public KernelFormsTest<SinglePrecision> {
  protected:
    static std::vector<float> axis(int n, float first, float step) {
        std::vector<float> positions;
        positions.reserve(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i)
            positions.push_back(first + step * static_cast<float>(i * i % 7));
        return positions;
    }
};

TEST_F(SinglePrecisionFormsTest, StructuredGridsTakeTheirCoordinatesFromTables) {
    for (const Sizes& n : shapes) {
        const std::vector<float> x = axis(n.x, -1.3F, 0.71F);
        const std::vector<float> y = axis(n.y, 2.1F, -0.53F);
        const std::vector<float> z = axis(n.z, 0.3F, 0.97F);
        const DeviceArray<float> posx(x);
        const DeviceArray<float> posy(y);
        const DeviceArray<float> posz(z);
        const auto field = fieldOf(n.points(), [&](Complex* array) {
            singlePistonModule().structured.launch(blocksFor(n.points()), block, array, n.x, n.y,
                                                   n.z, posx.data(), posy.data(), posz.data(), a, b,
                                                   k);
        });
        const auto expected = pointByPoint(n, [&](int ix, int iy, int iz) {
            return Scene<float>{x[static_cast<std::size_t>(ix)],
                                y[static_cast<std::size_t>(iy)],
                                z[static_cast<std::size_t>(iz)],
                                a,
                                b,
                                k};
        });
        EXPECT_TRUE(sameBits(field, expected)) << n.x << " by " << n.y << " by " << n.z;
    }
}

TEST_F(SinglePrecisionFormsTest, UnstructuredPointsAreTriples) {
    const int count = 37;
    std::vector<float> positions;
    std::vector<Complex> expected;
    for (int i = 0; i < count; ++i) {
        const auto t = static_cast<float>(i);
        const Scene<float> p{0.31F * t - 5, 0.17F * t - 3, 0.1F + 0.23F * t, a, b, k};
        positions.insert(positions.end(), {p.x, p.y, p.z});
        expected.push_back(pressureAt(p));
    }
    const DeviceArray<float> pos(positions);
    const auto field = fieldOf(count, [&](Complex* array) {
        singlePistonModule().unstructured.launch({1, 1, 1}, block, array, count, pos.data(), a, b,
                                                 k);
    });
    EXPECT_TRUE(sameBits(field, expected));
}

TEST_F(SinglePrecisionFormsTest, SurplusThreadsOfUnstructuredPointsWriteNothing) {
    const DeviceArray<float> pos({1, 1, 1, 2, 2, 2, 3, 3, 3});
    const auto field = fieldOf(128, [&](Complex* array) {
        singlePistonModule().unstructured.launch({1, 1, 1}, block, array, 3, pos.data(), a, b, k);
    });
    for (std::size_t i = 0; i < field.size(); ++i)
        EXPECT_EQ(sameBits(field[i], poison), i >= 3) << i;
}

TEST_F(SinglePrecisionFormsTest, NoUnstructuredPointsWriteNothing) {
    const DeviceArray<float> pos({1, 1, 1});
    for (const int count : {0, -1}) {
        const auto field = fieldOf(128, [&](Complex* array) {
            singlePistonModule().unstructured.launch({1, 1, 1}, block, array, count, pos.data(), a,
                                                     b, k);
        });
        for (const Complex& element : field) EXPECT_TRUE(sameBits(element, poison));
    }
}

TEST_F(SinglePrecisionFormsTest, TheFourthRowOfATransformChangesNothing) {
    std::array<float, 16> transform{};
    std::copy(oblique.begin(), oblique.end(), transform.begin());
    transform[15] = 1;
    const auto field = [&] {
        std::vector<Complex> values(105);
        RectangularPiston_func(values.data(), 7, 5, 3, transform.data(), 2 * b, 2 * a, k);
        return values;
    };
    const std::vector<Complex> expected = field();
    std::fill(transform.begin() + 12, transform.end(), std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(sameBits(field(), expected));
}

}  // namespace
