// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "field/Array.h"

/// Elements of sides within 0.5 to 1.5, anywhere in a cube and turned anyhow.
inline std::vector<pistonfield::Element> randomElements(std::size_t count, double cube,
                                                        unsigned seed) {
    std::mt19937 bits(seed);
    const auto number = [&](double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(bits);
    };
    std::vector<pistonfield::Element> elements;
    for (std::size_t i = 0; i < count; ++i) {
        // A rotation as the product of two planes' rotations: about z, then about x.
        const double a = number(0, 6.28);
        const double b = number(0, 6.28);
        elements.push_back(
            {{number(0.5, 1.5), number(0.5, 1.5)},
             {{number(0, cube), number(0, cube), number(0, cube)},
              {std::cos(a), std::cos(b) * std::sin(a), std::sin(b) * std::sin(a)},
              {-std::sin(a), std::cos(b) * std::cos(a), std::sin(b) * std::cos(a)}}});
    }
    return elements;
}
