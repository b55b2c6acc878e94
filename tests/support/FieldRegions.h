// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cmath>

#include "RandomPoints.h"

/// The sides of a rectangular piston, in wavelengths.
struct PistonSides {
    double x, y;
};

/// Pistons of a kind.
struct PistonKind {
    const char* name;
    double low, high;  ///< the longer side, 10 to these powers
    double ratio;      ///< of the sides, 10 to this power at most
    bool thin;         ///< that ratio and no other

    [[nodiscard]] PistonSides draw(Random& random) const {
        const double longer = random.magnitude(low, high);
        const double shorter = longer * std::pow(10.0, -(thin ? ratio : random.between(0, ratio)));
        if (random.below(2) == 0) return {longer, shorter};
        return {shorter, longer};
    }
};

inline constexpr std::array pistonKinds{
    PistonKind{"small", -2, 0, 0.5, false}, PistonKind{"ordinary", 0, 1, 0.5, false},
    PistonKind{"large", 1, 2.3, 0.5, false}, PistonKind{"thin", -2, 2.3, 3, true}};

/// A coordinate that goes from one value to another along a line.
struct Stretch {
    double from, to;
};

/// A straight line, in wavelengths, all of whose points lie in one region about a piston.
struct Line {
    Stretch x, y, z;
};

/// Where points lie about a piston with the halves a and b of its sides.
struct FieldRegion {
    const char* name;
    Line (*draw)(Random& random, double a, double b);
};

namespace regions {

inline Stretch fixed(double value) { return {value, value}; }

inline Stretch between(Random& random, double low, double high) {
    const double from = random.between(low, high);
    return {from, random.between(low, high)};
}

inline Stretch edge(Random& random, double half) { return fixed(random.sign() * half); }

/// Outside, up to three times as far from the axis as the edge.
inline Stretch beyond(Random& random, double half) {
    const double sign = random.sign();
    return {sign * half * random.between(1, 3), sign * half * random.between(1, 3)};
}

/// 10^low to 10^high wavelengths, and up to three times that.
inline Stretch height(Random& random, double low, double high) {
    const double from = random.magnitude(low, high);
    return {from, from * random.between(1, 3)};
}

/// Beside an edge, on either side, by 10^-8 to 10^-1 of half a side.
inline Stretch beside(Random& random, double half) {
    const double near = random.sign() * random.magnitude(-8, -1);
    const double sign = random.sign();
    return {sign * half * (1 + near), sign * half * (1 + near * random.between(0.5, 2))};
}

inline Stretch either(Random& random, double range) { return between(random, -range, range); }

}  // namespace regions

inline constexpr std::array fieldRegions{
    FieldRegion{"over the face",
                [](Random& random, double a, double b) {
                    return Line{regions::either(random, a), regions::either(random, b),
                                regions::height(random, -6, 2)};
                }},
    FieldRegion{"about the piston",
                [](Random& random, double a, double b) {
                    return Line{regions::either(random, 1.5 * a + 1),
                                regions::either(random, 1.5 * b + 1),
                                regions::height(random, -2, 2)};
                }},
    FieldRegion{
        "on the axis",
        [](Random& random, double, double) {
            return Line{regions::fixed(0), regions::fixed(0), regions::height(random, -6, 4)};
        }},
    FieldRegion{"in a plane of symmetry",
                [](Random& random, double, double b) {
                    return Line{regions::fixed(0), regions::either(random, 3 * b),
                                regions::height(random, -4, 2)};
                }},
    FieldRegion{"over an edge",
                [](Random& random, double a, double b) {
                    return Line{regions::edge(random, a), regions::either(random, b),
                                regions::height(random, -6, 3)};
                }},
    FieldRegion{"over an edge's line",
                [](Random& random, double a, double b) {
                    return Line{regions::beyond(random, a), regions::edge(random, b),
                                regions::height(random, -6, 3)};
                }},
    FieldRegion{"over a corner",
                [](Random& random, double a, double b) {
                    return Line{regions::edge(random, a), regions::edge(random, b),
                                regions::height(random, -6, 4)};
                }},
    FieldRegion{"beside the shadow's border",
                [](Random& random, double a, double b) {
                    return Line{regions::beside(random, a), regions::either(random, b),
                                regions::height(random, -4, 3)};
                }},
    FieldRegion{"beside a corner",
                [](Random& random, double a, double b) {
                    return Line{regions::beside(random, a), regions::beside(random, b),
                                regions::height(random, -8, 1)};
                }},
    FieldRegion{
        "on the face",
        [](Random& random, double a, double b) {
            return Line{regions::either(random, a), regions::either(random, b), regions::fixed(0)};
        }},
    FieldRegion{
        "on the face's axes",
        [](Random& random, double a, double) {
            return Line{regions::either(random, 3 * a), regions::fixed(0), regions::fixed(0)};
        }},
    FieldRegion{
        "on an edge",
        [](Random& random, double a, double b) {
            return Line{regions::either(random, a), regions::edge(random, b), regions::fixed(0)};
        }},
    FieldRegion{
        "on an edge's line",
        [](Random& random, double a, double b) {
            return Line{regions::edge(random, a), regions::beyond(random, b), regions::fixed(0)};
        }},
    FieldRegion{
        "on a corner",
        [](Random& random, double a, double b) {
            return Line{regions::edge(random, a), regions::edge(random, b), regions::fixed(0)};
        }},
    FieldRegion{
        "beside an edge, in the plane",
        [](Random& random, double a, double b) {
            return Line{regions::either(random, a), regions::beside(random, b), regions::fixed(0)};
        }},
    FieldRegion{"in the plane outside",
                [](Random& random, double a, double b) {
                    return Line{regions::beyond(random, a), regions::either(random, 3 * b),
                                regions::fixed(0)};
                }},
    FieldRegion{"far away, beside",
                [](Random& random, double, double) {
                    return Line{regions::either(random, 1e4), regions::either(random, 1e4),
                                regions::height(random, -3, 2)};
                }},
    FieldRegion{"far away, before", [](Random& random, double, double) {
                    const double z = random.magnitude(1, 4);
                    return Line{regions::either(random, z), regions::either(random, z),
                                regions::between(random, z, 2 * z)};
                }}};
