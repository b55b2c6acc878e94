// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/sinCos.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "LanesTest.h"
#include "reference/Quad.h"

namespace {

/// The largest error of a sine or cosine, in units of u = 2^-24 or 2^-53.
constexpr double bound = 2;

template <class T>
auto bitsOf(T value) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<Bits>(value);
}

template <class T>
struct SinesAndCosines {
    std::vector<T> sines;
    std::vector<T> cosines;
};

/// Sines and cosines of any number of angles, pack by pack.
template <class T>
SinesAndCosines<T> sinesAndCosines(const PackOperations<T>& pack, std::vector<T> angles) {
    const std::size_t count = angles.size();
    const auto lanes = static_cast<std::size_t>(pack.lanes);
    angles.resize((count + lanes - 1) / lanes * lanes);
    SinesAndCosines<T> results{angles, angles};
    for (std::size_t first = 0; first < angles.size(); first += lanes)
        pack.sinCos(&angles[first], &results.sines[first], &results.cosines[first]);
    results.sines.resize(count);
    results.cosines.resize(count);
    return results;
}

/// Sine and cosine with more bits than T has: the processor's extended precision for float, 113
/// bits for double.
template <class T>
struct Exact {
    using Wide = std::conditional_t<std::is_same_v<T, float>, long double, Quad>;
    Wide sine;
    Wide cosine;

    explicit Exact(T angle) {
        if constexpr (std::is_same_v<T, float>) {
            sine = std::sin(static_cast<long double>(angle));
            cosine = std::cos(static_cast<long double>(angle));
        } else {
            sincosq(angle, &sine, &cosine);
        }
    }

    /// The larger of the two errors, in units of u.
    [[nodiscard]] double error(T gotSine, T gotCosine) const {
        constexpr T unit = std::numeric_limits<T>::epsilon() / 2;
        const auto units = [](Wide difference) {
            return std::fabs(static_cast<double>(difference / static_cast<Wide>(unit)));
        };
        return std::fmax(units(gotSine - sine), units(gotCosine - cosine));
    }
};

template <class T>
class SinCosTest : public LanesTest<T> {
  protected:
    /// Holds every kind of pack to the bound at these angles.
    void expectAccurate(const std::vector<T>& angles) {
        std::vector<Exact<T>> exact;
        exact.reserve(angles.size());
        for (const T angle : angles) exact.emplace_back(angle);
        this->forEachPack([&](const PackOperations<T>& pack) {
            const auto [sines, cosines] = sinesAndCosines(pack, angles);
            for (std::size_t i = 0; i < angles.size(); ++i) {
                const double error = exact[i].error(sines[i], cosines[i]);
                // Not "greater than", which no NaN is.
                if (!(error <= largest)) {
                    largest = error;
                    worst = angles[i];
                }
            }
        });
        this->RecordProperty("largest_error", std::to_string(largest));
        EXPECT_LE(largest, bound) << "at " << testing::PrintToString(worst);
    }

    /// The largest of the packs' fast limits.
    static T fastLimit() {
        T limit = 0;
        for (const PackOperations<T>& pack : packOperations<T>())
            limit = std::fmax(limit, pack.fastLimit);
        return limit;
    }

  private:
    double largest = 0;
    T worst = 0;
};
TYPED_TEST_SUITE(SinCosTest, Precisions, PrecisionName);

/// Random numbers, the same in every run and with every standard library.
class Random {
  public:
    explicit Random(unsigned seed) : engine(seed) {}

    double between(double low, double high) {
        return low + (high - low) * std::ldexp(static_cast<double>(engine() >> 11U), -53);
    }

  private:
    std::mt19937_64 engine;
};

constexpr unsigned seed = 20261121;

/// The value of T next to a multiple of pi/4, and its neighbours.
template <class T>
void addNeighbourhood(std::vector<T>& angles, double multiple) {
    const T nearest =
        static_cast<T>(static_cast<double>(static_cast<Quad>(multiple) * reference::pi / 4));
    T below = nearest;
    T above = nearest;
    for (int i = 0; i < 2; ++i) {
        below = std::nextafter(below, T(0));
        above = std::nextafter(above, std::numeric_limits<T>::infinity());
        angles.push_back(-below);
        angles.push_back(above);
    }
    angles.push_back(nearest);
}

TYPED_TEST(SinCosTest, IsWithinTwoRoundingsAtAnglesOfEveryMagnitude) {
    using T = TypeParam;
    Random random(seed);
    const double top = std::log2(static_cast<double>(this->fastLimit()));
    std::vector<T> angles;
    for (int i = 0; i < 100000; ++i) {
        const auto angle = static_cast<T>(std::exp2(random.between(-30, top)));
        angles.push_back(i % 2 == 0 ? angle : -angle);
    }
    this->expectAccurate(angles);
}

TYPED_TEST(SinCosTest, IsWithinTwoRoundingsAllOverTheFirstTurns) {
    using T = TypeParam;
    std::vector<T> angles;
    constexpr int steps = 100000;
    for (int i = 0; i <= steps; ++i)
        angles.push_back(static_cast<T>(20 * std::numbers::pi * i / steps));
    this->expectAccurate(angles);
}

TYPED_TEST(SinCosTest, IsWithinTwoRoundingsBesideTheFirstMultiplesOfAnEighthTurn) {
    using T = TypeParam;
    std::vector<T> angles;
    for (int multiple = 0; multiple < 30000; ++multiple) addNeighbourhood(angles, multiple);
    this->expectAccurate(angles);
}

// The multiples beside which the reduction cancels most are among the large ones.
TYPED_TEST(SinCosTest, IsWithinTwoRoundingsBesideLargeMultiplesOfAnEighthTurn) {
    using T = TypeParam;
    Random random(seed);
    const double last = std::floor(static_cast<double>(this->fastLimit()) * 4 / std::numbers::pi);
    std::vector<T> angles;
    for (int i = 0; i < 20000; ++i) {
        addNeighbourhood(angles, std::floor(random.between(0, last)));
        addNeighbourhood(angles, last - i);
    }
    this->expectAccurate(angles);
}

TYPED_TEST(SinCosTest, IsWithinTwoRoundingsAtTheFastLimitAndBeyond) {
    using T = TypeParam;
    std::vector<T> angles;
    for (const PackOperations<T>& pack : packOperations<T>()) {
        for (const T sign : {T(-1), T(1)}) {
            angles.push_back(sign * pack.fastLimit);
            angles.push_back(sign * std::nextafter(pack.fastLimit, T(0)));
            angles.push_back(sign * std::nextafter(pack.fastLimit, 2 * pack.fastLimit));
        }
    }
    for (int exponent = 18; exponent < 120; ++exponent)
        angles.push_back(std::ldexp(static_cast<T>(std::numbers::e / 3), exponent));
    angles.push_back(std::numeric_limits<T>::max());
    this->expectAccurate(angles);
}

TYPED_TEST(SinCosTest, OfATinyAngleIsTheAngleAndOne) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const std::vector<T> angles{T(0),
                                -T(0),
                                Limits::denorm_min(),
                                -Limits::denorm_min(),
                                Limits::min() / 4,
                                -Limits::min() / 4,
                                Limits::min(),
                                -Limits::min(),
                                Limits::epsilon() / 16,
                                -Limits::epsilon() / 16};
    this->forEachPack([&](const PackOperations<T>& pack) {
        const auto [sines, cosines] = sinesAndCosines(pack, angles);
        for (std::size_t i = 0; i < angles.size(); ++i) {
            EXPECT_EQ(sines[i], angles[i]);
            EXPECT_EQ(cosines[i], T(1)) << angles[i];
        }
    });
}

TYPED_TEST(SinCosTest, IsNoNumberForInfinitiesAndNan) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const std::vector<T> angles{Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()};
    this->forEachPack([&](const PackOperations<T>& pack) {
        const auto [sines, cosines] = sinesAndCosines(pack, angles);
        for (std::size_t i = 0; i < angles.size(); ++i) {
            EXPECT_TRUE(std::isnan(sines[i])) << angles[i];
            EXPECT_TRUE(std::isnan(cosines[i])) << angles[i];
        }
    });
}

/// Angles of all magnitudes, some beyond the fast limits and some that are no numbers.
template <class T>
std::vector<T> mixedAngles() {
    Random random(seed);
    std::vector<T> angles{T(1e9), T(3e12), std::numeric_limits<T>::infinity(),
                          std::numeric_limits<T>::quiet_NaN()};
    for (int i = 0; i < 500; ++i)
        angles.push_back(static_cast<T>(std::exp2(random.between(-20, 17))));
    return angles;
}

template <class T>
bool same(T a, T b) {
    return bitsOf(a) == bitsOf(b) || (std::isnan(a) && std::isnan(b));
}

TYPED_TEST(SinCosTest, IsOddForTheSineAndEvenForTheCosine) {
    using T = TypeParam;
    std::vector<T> angles = mixedAngles<T>();
    std::vector<T> negative(angles);
    for (T& angle : negative) angle = -angle;
    this->forEachPack([&](const PackOperations<T>& pack) {
        const auto [sines, cosines] = sinesAndCosines(pack, angles);
        const auto [negativeSines, negativeCosines] = sinesAndCosines(pack, negative);
        for (std::size_t i = 0; i < angles.size(); ++i) {
            EXPECT_TRUE(same(negativeSines[i], -sines[i])) << angles[i];
            EXPECT_TRUE(same(negativeCosines[i], cosines[i])) << angles[i];
        }
    });
}

// The neighbours' angles may need the slow reduction, the lane's own not, and the other way round.
TYPED_TEST(SinCosTest, OfALaneDependsOnItsOwnAngleOnly) {
    using T = TypeParam;
    const std::vector<T> angles = mixedAngles<T>();
    const std::vector<T> neighbours{T(0.5), T(1e9), -std::numeric_limits<T>::infinity(),
                                    std::numeric_limits<T>::quiet_NaN()};
    this->forEachPack([&](const PackOperations<T>& pack) {
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        for (const T angle : angles) {
            std::vector<T> values(lanes, angle);
            SinesAndCosines<T> alone{values, values};
            pack.sinCos(values.data(), alone.sines.data(), alone.cosines.data());
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                for (const T neighbour : neighbours) {
                    values.assign(lanes, neighbour);
                    values[lane] = angle;
                    SinesAndCosines<T> beside{values, values};
                    pack.sinCos(values.data(), beside.sines.data(), beside.cosines.data());
                    ASSERT_TRUE(same(beside.sines[lane], alone.sines[0]))
                        << angle << " in lane " << lane << " beside " << neighbour;
                    ASSERT_TRUE(same(beside.cosines[lane], alone.cosines[0]))
                        << angle << " in lane " << lane << " beside " << neighbour;
                }
            }
        }
    });
}

}  // namespace
