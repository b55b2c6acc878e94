// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Directivity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>
#include <string>

#include "method/FarSums.h"
#include "reference/ConvergedPressure.h"
#include "reference/SurfaceIntegral.h"
#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::Directivity;
using pistonfield::Face;
using pistonfield::FacePack;
using pistonfield::packSize;
using Vector = std::array<double, 3>;
using Complex = std::complex<double>;

constexpr unsigned seed = 20261126;

/// A face with sides in wavelengths.
Face faceOf(double width, double height, double wavelength = 1) {
    return {width * wavelength / 2, height * wavelength / 2, 2 * std::numbers::pi / wavelength};
}

double areaOf(const Face& face) { return 4 * face.halfX * face.halfY; }

/// A point before a face's plane at a distance: in the direction of an axis of the face, in the
/// plane, or anywhere.
Vector draw(Random& random, double distance) {
    const double u = random.between(0, 1);
    const double azimuth = 2 * std::numbers::pi * random.between(0, 1);
    switch (random.below(6)) {
        case 0:
            return {0, 0, distance};
        case 1:
            return {distance, 0, 0};
        case 2:
            return {0, -distance, 0};
        case 3:
            return {distance * std::cos(azimuth), distance * std::sin(azimuth), 0};
        default: {
            const double across = std::sqrt(1 - u * u);
            return {distance * across * std::cos(azimuth), distance * across * std::sin(azimuth),
                    distance * u};
        }
    }
}

/// The pressure over k*A/(2*pi*R), by the integral over the face.
Complex relativePressure(const Face& face, const Vector& at, bool overTheFace) {
    const reference::Rectangle piston{2 * face.halfX, 2 * face.halfY};
    const reference::Point point{std::abs(at[0]), std::abs(at[1]), at[2]};
    const auto p = overTheFace ? reference::surfaceIntegral(piston, point, face.k)
                               : reference::convergedPressure(piston, point, face.k).value;
    const double amplitude =
        face.k * areaOf(face) / (2 * std::numbers::pi * std::hypot(at[0], at[1], at[2]));
    return Complex(static_cast<double>(p.re), static_cast<double>(p.im)) / amplitude;
}

template <class T>
struct DirectivityTest : testing::Test {
    static constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;

    /// The pressure over k*A/(2*pi*R) as a directivity has it, at a point from each of a pack of
    /// faces.
    static std::array<Complex, packSize> computed(const Face& face, const Directivity<T>& of,
                                                  const std::array<Vector, packSize>& offsets) {
        FacePack<T> pack{};
        for (std::size_t lane = 0; lane < packSize; ++lane) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                pack.centre[axis][lane] = -offsets[lane][axis];
            pack.alongX[0][lane] = 1;
            pack.alongY[1][lane] = 1;
        }
        const pistonfield::PackFace<T> packFace{
            face.k, std::hypot(face.halfX, face.halfY),
            face.k * face.k * areaOf(face) / (2 * std::numbers::pi), of.terms()};
        const pistonfield::Patch point{{}, {}, {1, 1}};
        const auto nodes = std::make_unique<pistonfield::PatchNodes<T>>();
        nodes->areFew = false;
        const auto row = std::make_unique<pistonfield::RowNumbers<T>>();
        pistonfield::farSums().in<T>().computeRow(pack, packFace, point, *nodes, 0, *row);
        std::array<Complex, packSize> values;
        for (std::size_t lane = 0; lane < packSize; ++lane) {
            const Vector& at = offsets[lane];
            values[lane] =
                Complex(row->re[0][lane], row->im[0][lane]) *
                (std::hypot(at[0], at[1], at[2]) * 2 * std::numbers::pi / (face.k * areaOf(face)));
        }
        return values;
    }

    /// What rounding adds: to the sum of the polynomials, and in double to the phase.
    static double roundingOf(const Face& face, double distance) {
        const double phase = 4 * 0x1p-53 * face.k * distance;
        return sizeof(T) == 4 ? ofPolynomials(face) + phase : phase;
    }

    static double ofPolynomials(const Face& face) {
        return unit * (32 + 0.15 * face.k * (face.halfX + face.halfY));
    }

    /// Compares a directivity from a distance on, up to a thousand times it.
    static void expectWithin(const Face& face, double least, double error, Random& random,
                             bool overTheFace = false) {
        const Directivity<T> directivity(face, least, error);
        std::array<Vector, packSize> offsets;
        for (Vector& offset : offsets)
            offset =
                draw(random, least * (random.below(3) == 0 ? 1 + 1e-6 : random.magnitude(0, 3)));
        const auto values = computed(face, directivity, offsets);
        for (std::size_t lane = 0; lane < packSize; ++lane) {
            const Vector& at = offsets[lane];
            const double distance = std::hypot(at[0], at[1], at[2]);
            EXPECT_LE(std::abs(values[lane] - relativePressure(face, at, overTheFace)),
                      error + roundingOf(face, distance))
                << "error " << error << ", half sides times k " << face.k * face.halfX << ", "
                << face.k * face.halfY << ", " << distance / least << " times the least distance "
                << least << ", at " << at[0] << ", " << at[1] << ", " << at[2];
        }
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DirectivityTest, Precisions);

/// Square, long, small and larger faces in several units of length, by their sides in wavelengths.
const Face faces[]{
    faceOf(1e-4, 1e-4), faceOf(0.3, 0.2),  faceOf(0.5, 0.5, 3e-3), faceOf(1, 1),
    faceOf(1, 2),       faceOf(4, 1),      faceOf(0.3, 3, 40),     faceOf(5, 4),
    faceOf(0.05, 0.5),  faceOf(7, 3.7),    faceOf(10, 1, 1e2),     faceOf(6, 6),
    faceOf(0.1, 0.191), faceOf(0.2, 0.4),  faceOf(0.3, 0.1),       faceOf(0.01, 0.04),
    faceOf(0.1, 0.6),   faceOf(1e-3, 0.1), faceOf(1.2, 0.6)};

TYPED_TEST(DirectivityTest, IsThatOfTheIntegralFromTheLeastDistanceOn) {
    Random random(seed);
    for (const Face& face : faces)
        for (const double error : {1e-3, 1e-5, 4e-7, 1e-8, 2e-12})
            this->expectWithin(face, Directivity<TypeParam>::leastDistance(face), error, random);
}

TYPED_TEST(DirectivityTest, IsThatOfTheIntegralOverTheFace) {
    Random random(seed + 1);
    for (const Face& face : {faceOf(1, 1), faceOf(0.3, 2.5)})
        this->expectWithin(face, Directivity<TypeParam>::leastDistance(face), 2e-12, random, true);
}

TYPED_TEST(DirectivityTest, IsThatOfTheIntegralFromAnyLargerDistanceOn) {
    Random random(seed + 2);
    for (int i = 0; i < 12; ++i) {
        const double width = random.magnitude(-2, 0.8);
        const Face face = faceOf(width, width * random.magnitude(-1, 0), random.magnitude(-3, 2));
        const double least = Directivity<TypeParam>::leastDistance(face) * random.magnitude(0, 2);
        this->expectWithin(face, least, random.magnitude(-11, -2), random);
    }
}

TYPED_TEST(DirectivityTest, TakesFewerCoefficientsTheLargerTheErrorAndTheDistance) {
    for (const Face& face : {faceOf(1, 1), faceOf(0.3, 1), faceOf(3, 2)}) {
        const double least = Directivity<TypeParam>::leastDistance(face);
        const auto size = [&](double distance, double error) {
            return Directivity<TypeParam>(face, distance, error).size();
        };
        EXPECT_LE(size(least, 1e-3), size(least, 1e-6));
        EXPECT_LT(size(least, 1e-3), size(least, 1e-10));
        EXPECT_LE(size(100 * least, 1e-6), size(least, 1e-6));
        EXPECT_EQ(Directivity<TypeParam>(face, 3 * least, 1e-3).least(), 3 * least);
    }
}

TYPED_TEST(DirectivityTest, OfASmallFaceIsAConstant) {
    const Face face = faceOf(1e-5, 1e-5);
    EXPECT_LE(Directivity<TypeParam>(face, 1, 1e-3).size(), 2U);
}

TYPED_TEST(DirectivityTest, OfAFaceThatIsTooLargeHoldsNowhere) {
    EXPECT_EQ(Directivity<TypeParam>::leastDistance(faceOf(20, 20)),
              std::numeric_limits<double>::infinity());
    EXPECT_EQ(Directivity<TypeParam>::leastDistance(faceOf(0.1, 21)),
              std::numeric_limits<double>::infinity());
    EXPECT_LT(Directivity<TypeParam>::leastDistance(faceOf(14, 14)), 1e3);
}

TYPED_TEST(DirectivityTest, HoldsBeyondTheCornersAndTheNearField) {
    for (const Face& face : faces) {
        const double half = std::hypot(face.halfX, face.halfY);
        const double least = Directivity<TypeParam>::leastDistance(face);
        EXPECT_GE(least, 2 * half);
        // Phases across the face, beyond those of the far field, in radians.
        EXPECT_LE(face.k * half * half / (2 * least), 2);
        // The same for any unit of length.
        const Face scaled{face.halfX * 1000, face.halfY * 1000, face.k / 1000};
        EXPECT_NEAR(Directivity<TypeParam>::leastDistance(scaled), 1000 * least, 1e-9 * least);
    }
}

}  // namespace
