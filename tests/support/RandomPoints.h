// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <cstddef>
#include <random>

/// Random numbers, the same in every run and with every standard library.
class Random {
  public:
    explicit Random(unsigned seed) : engine(seed) {}

    double between(double low, double high) {
        return low + (high - low) * std::ldexp(static_cast<double>(engine() >> 11U), -53);
    }
    /// 10 to a power from [low, high).
    double magnitude(double low, double high) { return std::pow(10.0, between(low, high)); }
    double sign() { return below(2) == 0 ? -1.0 : 1.0; }
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine() % limit); }

  private:
    std::mt19937_64 engine;
};

/// Where a coordinate lies with respect to the piston's two edges across it.
enum class Place { axis, besideAxis, inside, nearEdge, onEdge, outside, far };
inline constexpr std::size_t places = 7;

inline double coordinate(Random& random, Place place, double half, double wavelength) {
    switch (place) {
        case Place::besideAxis:
            return random.sign() * random.magnitude(-9, -5);
        case Place::inside:
            return random.between(-half, half);
        case Place::nearEdge:
            return random.sign() * half * (1 + random.sign() * random.magnitude(-8, -1));
        case Place::onEdge:
            return random.sign() * half;
        case Place::outside:
            return random.sign() * (half + wavelength * random.magnitude(-1, 1.5));
        case Place::far:
            return random.sign() * wavelength * random.magnitude(1.5, 4);
        default:
            return 0;
    }
}

/// How far points lie from the piston's plane: 10^low to 10^high wavelengths, on the side of sign.
struct Height {
    const char* name;
    double sign;
    double low, high;

    [[nodiscard]] double draw(Random& random, double wavelength) const {
        return sign * wavelength * random.magnitude(low, high);
    }
};

namespace heights {
inline constexpr Height inPlane{"in the piston's plane", 0, 0, 0};
inline constexpr Height nearby{"close to the piston", 1, -6, -1};
inline constexpr Height middle{"wavelengths away", 1, -1, 2};
inline constexpr Height far{"far away", 1, 2, 4};
inline constexpr Height behind{"behind the piston", -1, -4, 4};
}  // namespace heights
