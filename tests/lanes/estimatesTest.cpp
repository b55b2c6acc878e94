// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/estimates.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "LanesTest.h"
#include "reference/Quad.h"
#include "tests/support/RandomPoints.h"

namespace {

constexpr unsigned seed = 20261123;

/// How far `got` is from the exact value, in units of the last place of that one.
template <class T>
double ulps(T got, Quad exact) {
    int exponent = 0;
    static_cast<void>(std::frexp(static_cast<double>(exact), &exponent));
    const double ulp = std::ldexp(1.0, exponent - std::numeric_limits<T>::digits);
    const double error = std::fabs(static_cast<double>((static_cast<Quad>(got) - exact) / ulp));
    return std::isnan(error) ? std::numeric_limits<double>::infinity() : error;
}

/// Normal numbers up to `most`, all magnitudes, and those beside every power of 2.
template <class T>
std::vector<T> normalNumbers(T most) {
    using Limits = std::numeric_limits<T>;
    Random random(seed);
    std::vector<T> numbers{Limits::min(), most};
    const int top = std::ilogb(most);
    for (int exponent = Limits::min_exponent; exponent < top; ++exponent) {
        const T power = std::ldexp(T(1), exponent);
        for (const T number : {power, std::nextafter(power, T(0)), std::nextafter(power, most)})
            numbers.push_back(number);
    }
    for (int i = 0; i < 40000; ++i)
        numbers.push_back(static_cast<T>(
            std::ldexp(random.between(1, 2),
                       static_cast<int>(random.between(Limits::min_exponent - 1, top)))));
    return numbers;
}

template <class T>
class EstimatesTest : public LanesTest<T> {
  protected:
    using Operation = void (*PackOperations<T>::*)(const T*, T*);

    /// The largest error of an operation at some numbers, in units of the last place.
    template <class Exact>
    void expectWithin(double bound, Operation operation, std::vector<T> numbers, Exact exactOf) {
        while (numbers.size() % 64 != 0) numbers.push_back(1);
        double worst = 0;
        this->forEachPack([&](const PackOperations<T>& pack) {
            std::vector<T> results(numbers.size());
            for (std::size_t i = 0; i < numbers.size(); i += static_cast<std::size_t>(pack.lanes))
                (pack.*operation)(&numbers[i], &results[i]);
            double largest = 0;
            T where = 0;
            for (std::size_t i = 0; i < numbers.size(); ++i) {
                const double error = ulps(results[i], exactOf(static_cast<Quad>(numbers[i])));
                if (error <= largest) continue;
                largest = error;
                where = numbers[i];
            }
            EXPECT_LE(largest, bound) << "at " << testing::PrintToString(where);
            worst = std::fmax(worst, largest);
        });
        this->RecordProperty("largest_error", std::to_string(worst));
    }
};
TYPED_TEST_SUITE(EstimatesTest, Precisions, PrecisionName);

TYPED_TEST(EstimatesTest, OfTheSquareRootAreWithinTwoAndAHalfUnitsOfTheLastPlace) {
    using T = TypeParam;
    this->expectWithin(2.5, &PackOperations<T>::nearSquareRoot,
                       normalNumbers(std::numeric_limits<T>::max()),
                       [](Quad v) { return sqrtq(v); });
}

// Estimates of numbers that are hardly normal may be 0.
TYPED_TEST(EstimatesTest, OfTheReciprocalAreWithinTwoUnitsOfTheLastPlace) {
    using T = TypeParam;
    this->expectWithin(2, &PackOperations<T>::nearReciprocal,
                       normalNumbers(1 / std::numeric_limits<T>::min() / 2),
                       [](Quad v) { return 1 / v; });
}

}  // namespace
