// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The pressures do not depend on how the threads that compute them are arranged.

#include <cstddef>
#include <vector>

#include "KernelTest.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "parallel/threads.h"

namespace {

using cuda_runtime::dim3;

template <class Precision>
class LaunchGeometryTest : public KernelTest<Precision> {
  protected:
    using Real = typename Precision::Real;
    using Complex = typename Precision::Complex;

    void SetUp() override {
        KernelTest<Precision>::SetUp();
        if (this->IsSkipped()) return;
        this->uploadLegendreRule(3);
    }

    /// A field through all kinds of places: the axes, the piston's face, edges and outside. Some
    /// angles in its far corner are beyond the range of the fast sine and cosine.
    static std::vector<Complex> field(dim3 grid, dim3 block) {
        const auto k = static_cast<Real>(5e3);
        return KernelTest<Precision>::fieldOf(sx * sy * sz, [&](Complex* array) {
            Precision::module().gridByValues.launch(grid, block, array, sx, sy, sz,  //
                                                    1, 0, 0, -20,                    //
                                                    0, 1, 0, -9,                     //
                                                    0, 0, 30, 0, 11, 5, k);
        });
    }

    static constexpr int sx = 41;
    static constexpr int sy = 23;
    static constexpr int sz = 11;
};
TYPED_TEST_SUITE(LaunchGeometryTest, Families, FamilyName);

/// The 10373 points need 82 blocks of 128 threads.
constexpr dim3 plainGrid{82, 1, 1};
constexpr dim3 plainBlock{128, 1, 1};

TYPED_TEST(LaunchGeometryTest, AnyGridThatCoversThePointsGivesTheSameField) {
    struct Geometry {
        dim3 grid, block;
    };
    const auto expected = this->field(plainGrid, plainBlock);
    for (const auto& [grid, block] : {Geometry{{1, 82, 1}, {128, 1, 1}},   //
                                      Geometry{{1, 1, 82}, {128, 1, 1}},   //
                                      Geometry{{3, 4, 7}, {128, 1, 1}},    //
                                      Geometry{{11, 1, 1}, {1024, 1, 1}},  //
                                      Geometry{{5, 13, 5}, {37, 1, 1}},    //
                                      Geometry{{10373, 1, 1}, {1, 1, 1}},  //
                                      Geometry{{3, 35, 1}, {128, 1, 1}},   //
                                      Geometry{{200, 50, 2}, {128, 1, 1}}})
        EXPECT_TRUE(sameBits(this->field(grid, block), expected))
            << grid.x << " by " << grid.y << " by " << grid.z << " blocks of " << block.x;
}

TYPED_TEST(LaunchGeometryTest, AnyNumberOfThreadsGivesTheSameField) {
    pistonfield::useThreads(1);
    const auto expected = this->field(plainGrid, plainBlock);
    for (const unsigned workers : {2U, 3U, 7U}) {
        pistonfield::useThreads(workers);
        EXPECT_TRUE(sameBits(this->field(plainGrid, plainBlock), expected)) << workers;
    }
    pistonfield::useThreads(0);
}

TYPED_TEST(LaunchGeometryTest, APointsPressureIsThatOfALaunchOfItsOwn) {
    using Real = typename TypeParam::Real;
    const auto field = this->field(plainGrid, plainBlock);
    std::size_t index = 0;
    for (int iz = 0; iz < this->sz; ++iz)
        for (int iy = 0; iy < this->sy; ++iy)
            for (int ix = 0; ix < this->sx; ++ix) {
                const auto alone = this->pressureAt(
                    {static_cast<Real>(ix - 20), static_cast<Real>(iy - 9),
                     static_cast<Real>(30 * iz), Real(11), Real(5), static_cast<Real>(5e3)});
                ASSERT_TRUE(sameBits(field[index++], alone)) << ix << ", " << iy << ", " << iz;
            }
}

}  // namespace
