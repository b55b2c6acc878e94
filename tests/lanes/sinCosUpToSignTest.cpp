// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/sinCosUpToSign.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>
#include <type_traits>
#include <vector>

#include "LanesTest.h"
#include "reference/Quad.h"
#include "tests/support/RandomPoints.h"

namespace {

constexpr unsigned seed = 20261123;

/// The largest error of a sine or cosine, in units of u = 2^-24 or 2^-53.
constexpr double bound = 3;

template <class T>
constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;

/// Sine and cosine with more bits than T has.
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
};

/// The largest errors at some angles, in units of u.
struct Errors {
    double each = 0;     ///< of the sine and the cosine, with one sign for both
    double squares = 0;  ///< of their squares
    double product = 0;
};

template <class Wide>
double units(Wide difference, double unit) {
    return std::fabs(static_cast<double>(difference)) / unit;
}

/// Of no numbers infinite.
double largest(double a, double b) {
    return std::isnan(b) ? std::numeric_limits<double>::infinity() : std::fmax(a, b);
}

template <class T>
class SinCosUpToSignTest : public LanesTest<T> {
  protected:
    /// Up to the limit of each kind of pack.
    static Errors errorsAt(const PackOperations<T>& pack, std::vector<T> angles) {
        using Wide = typename Exact<T>::Wide;
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        angles.resize((angles.size() + lanes - 1) / lanes * lanes);
        std::vector<T> sines(angles.size());
        std::vector<T> cosines(angles.size());
        for (std::size_t i = 0; i < angles.size(); i += lanes)
            pack.sinCosUpToSign(&angles[i], &sines[i], &cosines[i]);
        Errors errors;
        for (std::size_t i = 0; i < angles.size(); ++i) {
            const Exact<T> exact(angles[i]);
            const Wide s = sines[i];
            const Wide c = cosines[i];
            const bool isOpposite = s * exact.sine + c * exact.cosine < 0;
            const Wide sign = isOpposite ? -1 : 1;
            errors.each = largest(errors.each, units(sign * s - exact.sine, unit<T>));
            errors.each = largest(errors.each, units(sign * c - exact.cosine, unit<T>));
            errors.squares =
                largest(errors.squares, units(s * s - exact.sine * exact.sine, unit<T>));
            errors.squares =
                largest(errors.squares, units(c * c - exact.cosine * exact.cosine, unit<T>));
            errors.product =
                largest(errors.product, units(s * c - exact.sine * exact.cosine, unit<T>));
        }
        return errors;
    }

    /// Angles that a limit, that of a kind of pack, goes into.
    template <class AnglesUpTo>
    void expectAccurate(AnglesUpTo anglesUpTo) {
        double worst = 0;
        this->forEachPack([&](const PackOperations<T>& pack) {
            const Errors errors = errorsAt(pack, anglesUpTo(pack.fastLimit));
            EXPECT_LE(errors.each, bound);
            // d(s^2) = 2s ds, and d(sc) = s dc + c ds: twice, and sqrt(2) times.
            EXPECT_LE(errors.squares, 2 * bound);
            EXPECT_LE(errors.product, 1.42 * bound);
            worst = std::fmax(worst, errors.each);
        });
        this->RecordProperty("largest_error", std::to_string(worst));
    }
};
TYPED_TEST_SUITE(SinCosUpToSignTest, Precisions, PrecisionName);

TYPED_TEST(SinCosUpToSignTest, IsWithinItsBoundAtAnglesOfEveryMagnitude) {
    using T = TypeParam;
    this->expectAccurate([](T limit) {
        Random random(seed);
        std::vector<T> angles{limit, -limit};
        const double top = std::log2(static_cast<double>(limit));
        for (int i = 0; i < 40000; ++i)
            angles.push_back(static_cast<T>(random.sign() * std::exp2(random.between(-30, top))));
        return angles;
    });
}

TYPED_TEST(SinCosUpToSignTest, IsWithinItsBoundAllOverTheFirstTurns) {
    using T = TypeParam;
    this->expectAccurate([](T /*limit*/) {
        std::vector<T> angles;
        constexpr int steps = 40000;
        for (int i = -steps; i <= steps; ++i)
            angles.push_back(static_cast<T>(4 * std::numbers::pi * i / steps));
        return angles;
    });
}

// The sine and the cosine vanish there, and the multiple that is nearest changes.
TYPED_TEST(SinCosUpToSignTest, IsWithinItsBoundBesideMultiplesOfAQuarterTurn) {
    using T = TypeParam;
    this->expectAccurate([](T limit) {
        Random random(seed);
        std::vector<T> angles;
        const double last = std::floor(static_cast<double>(limit) * 2 / std::numbers::pi);
        const auto add = [&](double multiple) {
            const auto near = static_cast<T>(
                static_cast<double>(static_cast<Quad>(multiple) * reference::pi / 2));
            for (const T to : {T(0), std::numeric_limits<T>::infinity()})
                angles.push_back(std::nextafter(near, to));
            angles.push_back(-near);
        };
        for (int i = 0; i < 5000; ++i) {
            add(i);
            add(last - 1 - i);
            add(std::floor(random.between(0, last)));
        }
        return angles;
    });
}

TYPED_TEST(SinCosUpToSignTest, OfATinyAngleIsTheAngleAndOne) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    this->forEachPack([](const PackOperations<T>& pack) {
        for (const T magnitude : {T(0), Limits::denorm_min(), Limits::min() / 4, Limits::min(),
                                  Limits::epsilon() / 16}) {
            for (const T angle : {magnitude, -magnitude}) {
                const std::vector<T> angles(static_cast<std::size_t>(pack.lanes), angle);
                std::vector<T> sines(angles);
                std::vector<T> cosines(angles);
                pack.sinCosUpToSign(angles.data(), sines.data(), cosines.data());
                EXPECT_EQ(sines.back(), angle);
                EXPECT_EQ(cosines.back(), T(1)) << angle;
            }
        }
    });
}

}  // namespace
