// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/Transducer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/support/FailureHandlers.h"

namespace {

constexpr std::array<double, 16> identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
const Grid3DR<double> grid(identity.data(), 2, 1, 1);

/// A transducer without a computation for `CudaStorage` of its own.
class Counting : public Transducer {
  public:
    using Transducer::compute;
    void compute(float* data, const Grid3DR<double>& over) const override {
        for (unsigned i = 0; i < 2 * over.nbPositions(); ++i) data[i] = static_cast<float>(i + 1);
    }
};

TEST(Transducer, FillsTheHostSideOfAFloatStorage) {
    const RecordedFailures recorded(AfterFailure::throws);
    CudaStorage storage(CudaStorage::DT_FLOAT, 4);
    Counting().compute(&storage, grid);
    const auto* values = static_cast<const float*>(storage.getHostPointer());
    EXPECT_TRUE(std::equal(values, values + 4, std::array<float, 4>{1, 2, 3, 4}.begin()));
}

TEST(Transducer, RefusesAStorageOfDoubles) {
    const RecordedFailures recorded(AfterFailure::throws);
    CudaStorage storage(CudaStorage::DT_DOUBLE, 4);
    EXPECT_THROW(Counting().compute(&storage, grid), Failure);
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"data->getType() == CudaStorage::DT_FLOAT", 14,
                                             "FastNearfield/Transducer"}));
    EXPECT_EQ(*static_cast<const double*>(storage.getHostPointer()), 0);
}

TEST(Transducer, GoesOnWithAStorageOfDoublesWhereTheHandlerReturns) {
    const RecordedFailures recorded(AfterFailure::returns);
    CudaStorage storage(CudaStorage::DT_DOUBLE, 4);
    Counting().compute(&storage, grid);
    EXPECT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(static_cast<const float*>(storage.getHostPointer())[3], 4);
}

}  // namespace
