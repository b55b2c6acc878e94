// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// What order a field needs, and what is left in the modes with single precision: errors against the
// converged field, over the size of the piston and the distance from it.
//
// Usage: orders POINTS

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <vector>

#include "CountArgument.h"
#include "ModeField.h"
#include "reference/TruncationBound.h"
#include "support/RandomPoints.h"

namespace {

constexpr std::array orders{4, 8, 16, 32, 64, 128};
// In wavelengths.
constexpr std::array sides{0.5, 1.0, 5.0, 20.0, 100.0};
constexpr std::array distances{0.1, 1.0, 10.0, 100.0, 1000.0};
constexpr std::array singleModes{Mode::cudadp, Mode::cpusp, Mode::cuda};
constexpr double k = 2 * std::numbers::pi;

struct Point {
    double x, y;
    std::complex<double> pressure;  ///< converged
};

reference::Offsets offsetsOf(const Point& p, double side) {
    return reference::offsetsOf(p.x, p.y, side / 2, side / 2);
}

/// Of the order 1024, whose truncation is far below the rounding of doubles.
std::complex<double> converged(const Point& p, double side, double z) {
    constexpr int order = 1024;
    static const reference::Rule rule = reference::legendreRule(order);
    const auto field = reference::nearField(offsetsOf(p, side), z, k, rule);
    return {static_cast<double>(field.pressure.re), static_cast<double>(field.pressure.im)};
}

/// Points over 1.5 times the piston's sides.
std::vector<Point> drawPoints(int count, double side, double z) {
    Random random(20261121);
    std::vector<Point> points(static_cast<std::size_t>(count));
    for (Point& p : points) {
        p.x = random.between(-0.75, 0.75) * side;
        p.y = random.between(-0.75, 0.75) * side;
        p.pressure = converged(p, side, z);
    }
    return points;
}

double errorAt(const Point& p, double side, double z, Mode mode, int order) {
    const FieldCall call{
        {0, 0, 0, p.x, 0, 0, 0, p.y, 0, 0, 0, z, 0, 0, 0, 1}, {1, 1, 1}, side, side, k, order};
    return std::abs(fieldOf(mode, call).at(0) - p.pressure);
}

double largestError(const std::vector<Point>& points, double side, double z, Mode mode, int order) {
    double largest = 0;
    for (const Point& p : points) largest = std::max(largest, errorAt(p, side, z, mode, order));
    return largest;
}

/// The largest error in double precision in parts of its bound.
double largestShare(const std::vector<Point>& points, double side, double z, int order) {
    // The rounding of the rules and of the evaluation, by far.
    constexpr double rounding = 1e-10;
    double largest = 0;
    for (const Point& p : points) {
        const double bound = reference::truncationBound(offsetsOf(p, side), z, k, order);
        largest = std::fmax(largest, errorAt(p, side, z, Mode::cpu, order) / (bound + rounding));
    }
    return largest;
}

double largestMagnitude(const std::vector<Point>& points) {
    double largest = 0;
    for (const Point& p : points) largest = std::max(largest, std::abs(p.pressure));
    return largest;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    std::cout << "largest error over the largest pressure at that distance: of mode cpu by order, "
                 "of others with\n"
                 "order 128; side and distance in wavelengths"
              << std::setprecision(1) << std::scientific << '\n';
    std::cout << "    side distance";
    for (const int order : orders) std::cout << std::setw(9) << order;
    for (const Mode mode : singleModes) std::cout << std::setw(9) << nameOf(mode);
    std::cout << '\n';
    double share = 0;
    for (const double side : sides)
        for (const double z : distances) {
            const auto points = drawPoints(count, side, z);
            const double scale = largestMagnitude(points);
            std::cout << std::defaultfloat << std::setprecision(4) << std::setw(8) << side
                      << std::setw(9) << z << std::scientific << std::setprecision(1);
            for (const int order : orders) {
                share = std::fmax(share, largestShare(points, side, z, order));
                std::cout << std::setw(9)
                          << largestError(points, side, z, Mode::cpu, order) / scale;
            }
            for (const Mode mode : singleModes)
                std::cout << std::setw(9)
                          << largestError(points, side, z, mode, orders.back()) / scale;
            std::cout << std::endl;
        }
    std::cout << "largest error in parts of its bound: " << share << '\n';
    return share <= 1 ? 0 : 1;
}
