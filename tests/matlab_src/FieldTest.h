// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <vector>

#include "tests/matlab_src/GatewayTest.h"
#include "tests/matlab_src/SurfaceIntegral.h"

/// Fields that the gateway returns, and the surface integral that defines them.
class FieldTest : public GatewayTest {
  protected:
    using Field = std::vector<std::complex<double>>;

    static constexpr PistonSides sides{3, 2};
    static constexpr double k = 2.5;
    static constexpr double singleAccuracy = 3e-6;  // some forty single-precision roundings

    /// Points above the piston, beside it and above an edge, no two of them alike.
    static Request grid() {
        return Request()
            .piston(sides.l, sides.s, k)
            .lattice(origin, steps)
            .sizes({3, 4, 2})
            .abscissas(40);
    }

    /// The field of `grid()`, x fastest, then y, then z.
    static const Field& reference() {
        static const Field field = [] {
            Field values;
            for (int iz = 0; iz < 2; ++iz)
                for (int iy = 0; iy < 4; ++iy)
                    for (int ix = 0; ix < 3; ++ix)
                        values.push_back(surfaceIntegral(sides, k, origin[0] + ix * steps[0],
                                                         origin[1] + iy * steps[1],
                                                         origin[2] + iz * steps[2]));
            return values;
        }();
        return field;
    }

    Field fieldOf(const Request& request) {
        const Outcome outcome = call(request);
        EXPECT_EQ(outcome.ending, Ending::answered) << outcome.error;
        expectNothingLeft(outcome);
        return outcome.values();
    }

    static double largestDifference(const Field& a, const Field& b) {
        EXPECT_EQ(a.size(), b.size());
        double largest = 0;
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_FALSE(std::isnan(std::abs(a[i])));
            largest = std::max(largest, std::abs(a[i] - b[i]));
        }
        return largest;
    }

    static constexpr std::array<double, 3> origin{-0.5, -1.25, 0.75};
    static constexpr std::array<double, 3> steps{0.75, 1.0, 0.625};
};
