// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/Vector.h"

#include <gtest/gtest.h>

#include "tests/support/FailureHandlers.h"

namespace {

/// An index that the compiler does not see through.
int opaque(int i) {
    volatile int seen = i;
    return seen;
}

TEST(LinearStorage, ReportsAnIndexPastTheEnd) {
    RecordedFailures recorded(AfterFailure::returns);
    LinearStorage<float, 3> storage;
    static_cast<void>(storage[opaque(3)]);
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"i<N", 48, "core/Vector"}));
}

TEST(LinearStorage, ReportsANegativeIndex) {
    const RecordedFailures recorded(AfterFailure::throws);
    LinearStorage<float, 3> storage;
    EXPECT_THROW(static_cast<void>(storage[opaque(-1)]), Failure);
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"i>=0", 48, "core/Vector"}));
}

TEST(LinearStorage, AcceptsEveryIndexInRange) {
    const RecordedFailures recorded(AfterFailure::throws);
    LinearStorage<float, 3> storage;
    for (int i = 0; i < 3; ++i) storage[i] = static_cast<float>(i);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(storage[i], static_cast<float>(i));
    EXPECT_TRUE(recorded.failures.empty());
}

TEST(LinearStorage, KeepsItsElementsSideBySide) {
    LinearStorage<float, 3> storage;
    EXPECT_EQ(&storage[1], &storage[0] + 1);
    EXPECT_EQ(&storage[2], &storage[0] + 2);
}

TEST(Vector, ReportsFromItsOwnLineWhenConst) {
    const RecordedFailures recorded(AfterFailure::throws);
    const Vector<double, 3> vector;
    EXPECT_THROW(static_cast<void>(vector[opaque(-1)]), Failure);
    EXPECT_THROW(static_cast<void>(vector[opaque(3)]), Failure);
    ASSERT_EQ(recorded.failures.size(), 2U);
    EXPECT_EQ(recorded.failures[0], (Failure{"i>=0", 42, "core/Vector"}));
    EXPECT_EQ(recorded.failures[1], (Failure{"i<N", 42, "core/Vector"}));
}

TEST(Vector, ReportsFromTheStoragesLineWhenMutable) {
    const RecordedFailures recorded(AfterFailure::throws);
    Vector<double, 3> vector;
    EXPECT_THROW(vector[opaque(3)] = 1.0, Failure);
    ASSERT_EQ(recorded.failures.size(), 1U);
    EXPECT_EQ(recorded.failures[0], (Failure{"i<N", 48, "core/Vector"}));
}

}  // namespace
