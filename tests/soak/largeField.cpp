// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// large_field SX SY SZ: a field of so many points on the CPU, in double precision: that every value
// was written, and that those of a sample of points are right. Ends with 77 where there is not the
// memory for it.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "core/Grid3DR.h"
#include "reference/Legendre.h"
#include "reference/NearField.h"

namespace {

constexpr int order = 2;
constexpr double l = 3;
constexpr double s = 2;
constexpr double k = 6.25;
// Exact in binary, so that the reference's positions are the grid's. No point lies in a plane
// through a side of the piston.
constexpr double step = 1.0 / 128;
constexpr double first = 1.0 / 256;
constexpr int skipped = 77;

struct Sizes {
    std::size_t x, y, z;
    [[nodiscard]] std::size_t points() const { return x * y * z; }
};

std::size_t availableBytes() {
    std::ifstream information("/proc/meminfo");
    for (std::string name, unit; information >> name;) {
        std::size_t kilobytes = 0;
        if (!(information >> kilobytes)) return 0;
        if (name == "MemAvailable:") return kilobytes * 1024;
        std::getline(information, unit);
    }
    return 0;
}

struct Field {
    explicit Field(std::size_t points)
        : re(points, std::numeric_limits<double>::quiet_NaN()), im(re) {}
    std::vector<double> re;
    std::vector<double> im;
};

void compute(Field& field, const Sizes& n) {
    RectangularPistonCuda2 piston(l, s, k);
    piston.doubleRule.compute(order);
    const double transform[16]{step, 0, 0, first, 0, step, 0, first, 0, 0, step, first, 0, 0, 0, 1};
    const Grid3DR<double> grid(transform, static_cast<unsigned>(n.x), static_cast<unsigned>(n.y),
                               static_cast<unsigned>(n.z));
    piston.computeCPU<double, double>(field.re.data(), field.im.data(), grid);
}

std::size_t unwritten(const std::vector<double>& values) {
    return static_cast<std::size_t>(std::count_if(values.begin(), values.end(),
                                                  [](double value) { return std::isnan(value); }));
}

/// The points at the ends, those on both sides of offsets of 2^31 and 2^32 bytes, and random ones.
std::vector<std::size_t> sampleOf(std::size_t points) {
    std::vector<std::size_t> sample{0, points - 1};
    for (const unsigned power : {28U, 29U})
        for (const std::size_t index : {(std::size_t{1} << power) - 1, std::size_t{1} << power})
            if (index < points) sample.push_back(index);
    std::mt19937_64 random(1);
    std::uniform_int_distribution<std::size_t> any(0, points - 1);
    while (sample.size() < 20000) sample.push_back(any(random));
    return sample;
}

/// The difference from the reference, in units of the rounding error that the terms of the sums
/// may have: an ulp each, and one of the phase in each of them.
double error(const Field& field, const Sizes& n, std::size_t index, const reference::Rule& rule) {
    const auto coordinate = [](std::size_t i) { return first + step * static_cast<double>(i); };
    const double px = coordinate(index % n.x);
    const double py = coordinate(index / n.x % n.y);
    const double pz = coordinate(index / (n.x * n.y));
    const reference::Field expected =
        nearField(reference::offsetsOf(px, py, s / 2, l / 2), pz, k, rule);
    const auto re = static_cast<double>(field.re[index] - expected.pressure.re);
    const auto im = static_cast<double>(field.im[index] - expected.pressure.im);
    const auto unit = static_cast<double>(expected.scale * (1 + k * expected.reach)) *
                      std::numeric_limits<double>::epsilon();
    return std::hypot(re, im) / unit;
}

int check(const Sizes& n) {
    Field field(n.points());
    compute(field, n);
    const std::size_t missing = unwritten(field.re) + unwritten(field.im);
    const reference::Rule rule = reference::legendreRule(order);
    double largest = 0;
    const std::vector<std::size_t> sample = sampleOf(n.points());
    for (const std::size_t index : sample)
        largest = std::max(largest, error(field, n, index, rule));
    std::printf(
        "%zu points, %zu reals not written, %zu points compared, largest error %.2f units\n",
        n.points(), missing, sample.size(), largest);
    return missing == 0 && largest < 4 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) return EXIT_FAILURE;
    const auto size = [arguments](int i) { return std::stoul(arguments[i]); };
    const Sizes n{size(1), size(2), size(3)};
    const std::size_t needed = 2 * sizeof(double) * n.points() + (std::size_t{1} << 30U);
    if (availableBytes() < needed) {
        std::printf("skipped: %zu bytes of memory are needed, %zu are there\n", needed,
                    availableBytes());
        return skipped;
    }
    return check(n);
}
