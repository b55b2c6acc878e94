// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The pressure of a small ultrasound piston in water, in the plane through its long middle line,
// computed on all cores of the processor.

#include <field/Plan.h>

#include <complex>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr double soundSpeed = 1500;  // m/s
constexpr double density = 1000;     // kg/m^3
constexpr double velocity = 0.1;     // m/s, the piston's amplitude
constexpr double frequency = 1e6;    // Hz

// The lattice point (ix, iy, iz) lies at x = -15 mm + ix * step, y = 0, z = (iz + 1) * step.
constexpr double step = 0.5e-3;
constexpr std::int64_t sx = 61;
constexpr std::int64_t sz = 160;

using Field = std::vector<std::complex<double>>;

Field fieldInPlane() {
    pistonfield::Request request;
    request.piston = {.width = 7.5e-3, .height = 5e-3};
    request.wave = {.wavenumber = 2 * std::numbers::pi * frequency / soundSpeed};
    request.lattice.transform = {step, 0, 0, -15e-3, 0, step, 0, 0, 0, 0, step, step, 0, 0, 0, 1};
    request.lattice.sizes = {sx, 1, sz};
    request.rule.order = 32;  // abscissas of each edge integral
    const pistonfield::Plan plan(request);
    Field field(sx * sz);
    plan.compute(request.lattice.box(), field.data());
    return field;
}

}  // namespace

int main() {
    const Field field = fieldInPlane();
    std::puts(" z (mm)  |p| on the axis (kPa)");
    for (std::int64_t iz = 9; iz < sz; iz += 10) {
        const std::complex<double> p = field[static_cast<std::size_t>(iz * sx + sx / 2)];
        std::printf("%7.1f  %10.3f\n", static_cast<double>(iz + 1) * step * 1e3,
                    density * soundSpeed * velocity * std::abs(p) * 1e-3);
    }
}
