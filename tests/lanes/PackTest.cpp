// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/Pack.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "LanesTest.h"

namespace {

template <class T>
using PackTest = LanesTest<T>;
TYPED_TEST_SUITE(PackTest, Precisions, PrecisionName);

/// The lanes' truth values that the bits of a number stand for.
std::unique_ptr<bool[]> maskOfBits(unsigned bits, int lanes) {
    auto mask = std::make_unique<bool[]>(static_cast<std::size_t>(lanes));
    for (int i = 0; i < lanes; ++i) mask[static_cast<std::size_t>(i)] = ((bits >> i) & 1U) != 0;
    return mask;
}

TYPED_TEST(PackTest, SelectsEachLaneByItsOwnBitOfTheMask) {
    using T = TypeParam;
    this->forEachPack([](const PackOperations<T>& pack) {
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        std::vector<T> a(lanes);
        std::vector<T> b(lanes);
        for (std::size_t i = 0; i < lanes; ++i) {
            a[i] = static_cast<T>(i + 1);
            b[i] = -a[i];
        }
        for (unsigned bits = 0; bits < 1U << lanes; ++bits) {
            const auto mask = maskOfBits(bits, pack.lanes);
            std::vector<T> selected(lanes);
            pack.select(mask.get(), a.data(), b.data(), selected.data());
            for (std::size_t i = 0; i < lanes; ++i)
                ASSERT_EQ(selected[i], mask[i] ? a[i] : b[i]) << "mask " << bits << ", lane " << i;
        }
    });
}

TYPED_TEST(PackTest, HasAnyWhenOneLaneIsSet) {
    using T = TypeParam;
    this->forEachPack([](const PackOperations<T>& pack) {
        for (unsigned bits = 0; bits < 1U << pack.lanes; ++bits)
            ASSERT_EQ(pack.any(maskOfBits(bits, pack.lanes).get()), bits != 0) << bits;
    });
}

/// Values of every kind, as often as they fill packs.
template <class T>
std::vector<T> valuesOfEveryKind(std::size_t lanes) {
    using Limits = std::numeric_limits<T>;
    std::vector<T> values{T(0),
                          T(1),
                          T(2),
                          T(3),
                          T(0.1),
                          T(1e-7),
                          Limits::min(),
                          Limits::denorm_min(),
                          Limits::min() / 2,
                          Limits::max(),
                          std::nextafter(T(1), T(0)),
                          std::nextafter(T(4), T(5)),
                          Limits::infinity()};
    while (values.size() % lanes != 0) values.push_back(static_cast<T>(values.size()));
    return values;
}

TYPED_TEST(PackTest, TakesOffTheSignOnly) {
    using T = TypeParam;
    this->forEachPack([](const PackOperations<T>& pack) {
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        const std::vector<T> values = valuesOfEveryKind<T>(lanes);
        for (std::size_t first = 0; first < values.size(); first += lanes) {
            std::vector<T> signedValues(lanes);
            std::vector<T> magnitudes(lanes);
            for (std::size_t i = 0; i < lanes; ++i)
                signedValues[i] = i % 2 == 0 ? -values[first + i] : values[first + i];
            pack.absolute(signedValues.data(), magnitudes.data());
            for (std::size_t i = 0; i < lanes; ++i) {
                EXPECT_EQ(magnitudes[i], values[first + i]);
                EXPECT_FALSE(std::signbit(magnitudes[i]));
            }
        }
    });
}

TYPED_TEST(PackTest, RoundsSquareRootsCorrectly) {
    using T = TypeParam;
    this->forEachPack([](const PackOperations<T>& pack) {
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        std::vector<T> values = valuesOfEveryKind<T>(lanes);
        for (int i = 0; i < 64 * pack.lanes; ++i)
            values.push_back(std::ldexp(static_cast<T>(1 + 0.618 * i), i % 200 - 100));
        std::vector<T> roots(values.size());
        for (std::size_t first = 0; first < values.size(); first += lanes)
            pack.squareRoot(&values[first], &roots[first]);
        // The hardware's scalar root is correctly rounded.
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(roots[i], std::sqrt(values[i])) << values[i];
    });
}

TYPED_TEST(PackTest, HasNoSquareRootOfNegativeNumbers) {
    using T = TypeParam;
    this->forEachPack([](const PackOperations<T>& pack) {
        const std::vector<T> values(static_cast<std::size_t>(pack.lanes), T(-1));
        std::vector<T> roots(values.size());
        pack.squareRoot(values.data(), roots.data());
        for (const T root : roots) EXPECT_TRUE(std::isnan(root));
    });
}

}  // namespace
