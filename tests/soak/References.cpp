// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The reference of converged fields, by integrals along the edges, against the integral over the
// face, by regions of points and kinds of pistons.
//
// Usage: references POINTS
//     of each region and kind

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <thread>
#include <vector>

#include "CountArgument.h"
#include "reference/ConvergedPressure.h"
#include "support/FieldRegions.h"

namespace {

constexpr double k = 2 * std::numbers::pi;

/// Relative to k*A/(2*pi*R), R being the distance of the furthest corner.
struct Largest {
    double difference = 0;
    double error = 0;  ///< that the reference says it may have
};

/// A NaN is more than any number.
void raise(double& largest, double value) {
    if (!std::isnan(largest) && !(value <= largest)) largest = value;
}

/// Surfaces of more square wavelengths take long.
constexpr double mostArea = 400;

Largest compare(int points, const PistonKind& kind, const FieldRegion& region, unsigned seed) {
    Random random(seed);
    Largest largest;
    for (int i = 0; i < points;) {
        const PistonSides sides = kind.draw(random);
        if (sides.x * sides.y > mostArea) continue;
        const Line line = region.draw(random, sides.x / 2, sides.y / 2);
        const reference::Rectangle piston{sides.x, sides.y};
        const reference::Point point{line.x.from, line.y.from, line.z.from};
        const double reach =
            std::hypot(std::fabs(point.x) + sides.x / 2, std::fabs(point.y) + sides.y / 2, point.z);
        const double amplitude = k * sides.x * sides.y / (2 * std::numbers::pi * reach);
        const auto pressure = reference::convergedPressure(piston, point, k);
        const auto surface = reference::surfaceIntegral(piston, point, k);
        const auto difference = static_cast<double>(magnitude(pressure.value - surface));
        raise(largest.difference, difference / amplitude);
        raise(largest.error, pressure.error / amplitude);
        ++i;
    }
    return largest;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    constexpr std::size_t cells = fieldRegions.size() * pistonKinds.size();
    std::array<Largest, cells> table{};
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < cells; i = next++)
            table.at(i) = compare(count, pistonKinds.at(i % pistonKinds.size()),
                                  fieldRegions.at(i / pistonKinds.size()),
                                  static_cast<unsigned>(20261122 + i));
    };
    {
        std::vector<std::jthread> workers(std::max(1U, std::thread::hardware_concurrency()));
        for (std::jthread& worker : workers) worker = std::jthread(work);
    }

    constexpr double promised = 1e-18;
    bool holds = true;
    std::cout << "largest difference of the two integrals, and largest error that the one along "
                 "the edges says\nit may have, relative to k*A/(2*pi*R)\n"
              << std::scientific << std::setprecision(1) << std::left << std::setw(30) << "points";
    for (const PistonKind& kind : pistonKinds) std::cout << std::setw(18) << kind.name;
    std::cout << '\n';
    for (std::size_t region = 0; region < fieldRegions.size(); ++region) {
        std::cout << std::setw(30) << fieldRegions.at(region).name;
        for (std::size_t kind = 0; kind < pistonKinds.size(); ++kind) {
            const Largest& largest = table.at(region * pistonKinds.size() + kind);
            holds &= largest.difference <= promised && largest.error <= promised;
            std::cout << largest.difference << "  " << std::setw(9) << largest.error;
        }
        std::cout << '\n';
    }
    return holds ? 0 : 1;
}
