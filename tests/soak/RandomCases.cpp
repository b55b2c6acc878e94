// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "RandomCases.h"

#include <algorithm>
#include <numbers>

namespace {

constexpr std::array drawnHeights{heights::inPlane, heights::nearby, heights::middle, heights::far,
                                  heights::behind};

}  // namespace

Case RandomCases::draw() {
    const double wavelength = random.magnitude(-3, 1);
    const std::size_t kind = random.below(8);
    const bool thin = kind == 0;
    const std::size_t thinSide = random.below(3);
    const double halfX = thin && thinSide != 0 ? thinHalf() : halfSide(kind, wavelength);
    const double halfY = thin && thinSide != 1 ? thinHalf() : halfSide(kind, wavelength);
    const Height& height = drawnHeights.at(random.below(drawnHeights.size()));
    const auto place = [&] { return static_cast<Place>(random.below(places)); };
    const auto point = [&] {
        return Vector3{coordinate(random, place(), halfX, wavelength),
                       coordinate(random, place(), halfY, wavelength),
                       height.draw(random, wavelength)};
    };

    FieldCall call{};
    for (int& size : call.sizes) size = 1 + static_cast<int>(random.below(5));
    call.transform = drawTransform(point(), {point(), point(), point()}, call.sizes);
    call.l = 2 * halfY;
    call.s = 2 * halfX;
    call.k = 2 * std::numbers::pi / wavelength;
    call.order = drawOrder(thin);
    Case scene{call, call, thin};
    const double divisor = drawDivisor();
    for (double& element : scene.divided.transform) element *= divisor;
    scene.undivided.transform[15] = divisor;
    return scene;
}

/// Half a side of 10^-3 to 0.1 wavelengths in one kind, else of 0.1 to 200 wavelengths.
double RandomCases::halfSide(std::size_t kind, double wavelength) {
    constexpr std::size_t small = 1;
    return 0.5 * wavelength *
           (kind == small ? random.magnitude(-3, -1) : random.magnitude(-1, 2.3));
}

/// Half a side below 1e-7, where the formula takes forms of its own.
double RandomCases::thinHalf() { return 0.5 * random.magnitude(-10, -7.1); }

/// A lattice from the first point towards the others: any rotation, scale and shear, or along
/// the axes so that whole rows lie above an edge.
std::array<double, 16> RandomCases::drawTransform(const Vector3& from,
                                                  const std::array<Vector3, 3>& to,
                                                  const std::array<int, 3>& sizes) {
    const bool alongAxes = random.below(2) == 0;
    std::array<double, 16> transform{0, 0, 0, from.x, 0, 0, 0, from.y, 0, 0, 0, from.z, 0, 0, 0, 1};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double steps = std::max(1, sizes.at(axis) - 1);
        const Vector3& end = to.at(axis);
        const std::array step{(end.x - from.x) / steps, (end.y - from.y) / steps,
                              (end.z - from.z) / steps};
        for (std::size_t row = 0; row < 3; ++row)
            if (!alongAxes || row == axis) transform.at(4 * row + axis) = step.at(row);
    }
    return transform;
}

/// Of a rule of one node a thin piston keeps the mapping of another interval.
int RandomCases::drawOrder(bool thin) {
    constexpr std::array orders{1, 2, 3, 4, 5, 6, 7, 8, 10, 10, 12, 15, 16, 20, 24, 31, 32};
    if (random.below(100) == 0) return 100;
    return std::max(orders.at(random.below(orders.size())), thin ? 2 : 1);
}

double RandomCases::drawDivisor() {
    constexpr std::array divisors{1.0, 1.0, 2.0, 0.5, 3.0, -1.7};
    const std::size_t drawn = random.below(divisors.size() + 1);
    return drawn < divisors.size() ? divisors.at(drawn) : random.magnitude(-2, 2);
}
