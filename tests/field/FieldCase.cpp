// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/field/FieldCase.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "reference/ConvergedPressure.h"

namespace {

/// Rounds numbers so that sums of a few hundred times them are exact.
class Rounding {
  public:
    explicit Rounding(double largest)
        : unit(largest > 0 ? std::ldexp(1.0, std::ilogb(largest) - 40) : 1) {}

    [[nodiscard]] double operator()(double value) const { return std::round(value / unit) * unit; }

  private:
    double unit;
};

/// The transform of a point and steps, in wavelengths of a length.
std::array<double, 16> transformOf(const std::array<double, 3>& origin,
                                   const std::array<std::array<double, 3>, 3>& steps) {
    std::array<double, 16> transform{};
    transform[15] = 1;
    for (std::size_t row = 0; row < 3; ++row) {
        double largest = 0;
        for (const auto& step : steps) largest = std::max(largest, std::fabs(step.at(row)));
        const bool moves = largest > 0;
        const Rounding rounded(std::max(largest, std::fabs(origin.at(row))));
        for (std::size_t axis = 0; axis < 3; ++axis)
            transform.at(4 * row + axis) = rounded(steps.at(axis).at(row));
        transform.at(4 * row + 3) = moves ? rounded(origin.at(row)) : origin.at(row);
    }
    return transform;
}

pistonfield::Request requestOf(const PistonSides& sides, double wavelength) {
    pistonfield::Request request;
    request.piston = {.width = sides.x * wavelength, .height = sides.y * wavelength};
    request.wave.wavenumber = 2 * std::numbers::pi / wavelength;
    return request;
}

}  // namespace

double ExpectedPressure::rounding() const {
    constexpr double unitRoundoff = 0x1p-53;
    return 8 * unitRoundoff * (8 + phase);
}

double ExpectedPressure::errorOf(std::complex<double> got) const {
    return static_cast<double>(
        reference::magnitude(reference::QuadComplex{got.real(), got.imag()} - value));
}

reference::Point FieldCase::position(std::int64_t point) const {
    const auto& [transform, sizes] = request.lattice;
    const std::array index{static_cast<double>(point % sizes[0]),
                           static_cast<double>(point / sizes[0] % sizes[1]),
                           static_cast<double>(point / sizes[0] / sizes[1])};
    std::array<double, 3> at{};
    for (std::size_t row = 0; row < 3; ++row) {
        const double* const m = transform.data() + 4 * row;
        at.at(row) = m[3] + m[0] * index[0] + m[1] * index[1] + m[2] * index[2];
    }
    return {at[0], at[1], at[2]};
}

ExpectedPressure FieldCase::expected(std::int64_t point) const {
    const reference::Rectangle piston{request.piston.width, request.piston.height};
    const double k = request.wave.wavenumber;
    reference::Point p = position(point);
    p.z = std::fabs(p.z);
    const auto value = reference::convergedPressure(piston, p, k).value;
    const auto size = static_cast<double>(magnitude(value));
    const double area = piston.sideX * piston.sideY;
    const double source = k * area / (2 * std::numbers::pi);
    const double distance = std::hypot(p.x, p.y, p.z);
    return {value, size, std::min(1.0, source / std::max(distance, std::sqrt(area) / 4)),
            std::max(size, source / distance), k * (distance + (piston.sideX + piston.sideY) / 2)};
}

std::vector<ExpectedPressure> FieldCase::expected() const {
    std::vector<ExpectedPressure> all;
    for (std::int64_t i = 0; i < request.lattice.box().points(); ++i) all.push_back(expected(i));
    return all;
}

double largestMagnitude(const std::vector<ExpectedPressure>& expected) {
    double largest = 0;
    for (const ExpectedPressure& e : expected) largest = std::max(largest, e.magnitude);
    return largest;
}

double toleranceInDouble(const std::vector<ExpectedPressure>& expected,
                         pistonfield::Tolerance::Of of, double least) {
    constexpr double overlooked = 8;
    double rounding = 0;
    double local = 0;
    for (const ExpectedPressure& e : expected) {
        rounding = std::max(rounding, e.rounding());
        local = std::max(local, e.local);
    }
    if (of == pistonfield::Tolerance::Of::local) return least + rounding;
    return overlooked * (least + rounding) * local / largestMagnitude(expected);
}

pistonfield::Plan takenPlan(pistonfield::Request request, int* refusals) {
    while (true) try {
            return pistonfield::Plan(request);
        } catch (const pistonfield::InvalidRequest& refusal) {
            request.tolerance->value *= 2;
            if (refusal.field() != "tolerance" || request.tolerance->value >= 1) throw;
            if (refusals != nullptr) ++*refusals;
        }
}

FieldCase drawCase(Random& random, const PistonKind& kind, const FieldRegion& region, int points) {
    const double wavelength = random.magnitude(-1, 2);
    const PistonSides sides = kind.draw(random);
    const Line line = region.draw(random, sides.x / 2, sides.y / 2);
    const double steps = std::max(1, points - 1);
    const auto step = [&](const Stretch& stretch) {
        return wavelength * (stretch.to - stretch.from) / steps;
    };
    FieldCase drawn{requestOf(sides, wavelength)};
    drawn.request.lattice = {
        transformOf({wavelength * line.x.from, wavelength * line.y.from, wavelength * line.z.from},
                    {{{step(line.x), step(line.y), step(line.z)}, {}, {}}}),
        {points, 1, 1}};
    return drawn;
}

FieldCase drawLattice(Random& random) {
    const double wavelength = random.magnitude(-1, 2);
    const PistonSides sides{random.magnitude(-2, 2.3), random.magnitude(-2, 2.3)};
    const double range = random.magnitude(-2, 3);
    const double width = range + random.between(0, 1) * sides.x;
    const double depth = range + random.between(0, 1) * sides.y;
    std::array<std::int64_t, 3> sizes{};
    for (std::int64_t& size : sizes) size = 4 + static_cast<std::int64_t>(random.below(9));

    const bool alongAxes = random.below(2) == 0;
    std::array<std::array<double, 3>, 3> steps{};
    std::array<double, 3> origin{random.between(-1, 1) * width, random.between(-1, 1) * depth,
                                 random.below(4) == 0 ? 0 : wavelength * random.magnitude(-4, 2)};
    origin[0] *= wavelength;
    origin[1] *= wavelength;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::array extents{random.between(-1, 1) * width, random.between(-1, 1) * depth,
                                 random.between(0, 1) * range};
        for (std::size_t row = 0; row < 3; ++row)
            if (!alongAxes || row == axis)
                steps.at(axis).at(row) =
                    wavelength * extents.at(row) / static_cast<double>(sizes.at(axis));
    }
    FieldCase drawn{requestOf(sides, wavelength)};
    drawn.request.lattice = {transformOf(origin, steps), sizes};
    return drawn;
}

FieldCase drawAlignedLattice(Random& random) {
    const double wavelength = random.magnitude(-1, 2);
    const PistonSides sides{random.magnitude(-2, 2.3), random.magnitude(-2, 2.3)};
    constexpr std::array<std::array<std::int64_t, 3>, 6> shapes{
        {{67, 62, 1}, {100, 1, 41}, {1, 70, 70}, {33, 31, 5}, {2, 3, 700}, {20, 15, 14}}};
    const auto& shape = shapes.at(random.below(shapes.size()));
    const std::size_t turn = random.below(3);
    const double range = random.magnitude(-2, 2.5);
    std::array<std::array<double, 3>, 3> steps{};
    std::array<double, 3> origin{};
    std::array<std::int64_t, 3> sizes{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t direction = (axis + turn) % 3;
        sizes.at(direction) = shape.at(axis);
        const auto last = static_cast<double>(shape.at(axis) - 1);
        const double extent = wavelength * (range + random.between(0, 1) * sides.x);
        // A binary fraction, so that the middle between points is exact.
        const double step = std::ldexp(1.0, std::ilogb(extent / std::max(1.0, last)));
        const double way = axis == 2 ? 1 : random.sign();
        steps.at(direction).at(axis) = way * step;
        if (axis == 2)
            origin[2] = random.below(4) == 0 ? 0 : wavelength * random.magnitude(-3, 2);
        else if (random.below(2) == 0)
            origin.at(axis) = -way * step * std::floor(last * random.between(0, 1)) / 2;
        else
            origin.at(axis) = random.between(-1, 1) * extent;
    }
    FieldCase drawn{requestOf(sides, wavelength)};
    drawn.request.lattice = {transformOf(origin, steps), sizes};
    return drawn;
}
