// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A program of a user of the installed library: includes every header, computes the pressure at one
// point on the CPU, on a device and through a plan, and compares them with a sum over the piston's
// surface.

#include <FastNearfield/Complex.h>
#include <FastNearfield/CudaStorage.h>
#include <FastNearfield/GaussLegendre.h>
#include <FastNearfield/Integ.h>
#include <FastNearfield/IntegratorCuda.h>
#include <FastNearfield/Piston.h>
#include <FastNearfield/QuadratureFiles.h>
#include <FastNearfield/RectangularPiston2.h>
#include <FastNearfield/RectangularPistonCuda.h>
#include <FastNearfield/Transducer.h>
#include <arrays/AnnularArray.h>
#include <arrays/ApodisedPiston.h>
#include <arrays/ArrayReport.h>
#include <arrays/BowlArray.h>
#include <arrays/ConvexArray.h>
#include <arrays/Foci.h>
#include <arrays/HoneycombArray.h>
#include <arrays/RadiatedPower.h>
#include <arrays/Window.h>
#include <arrays/arrayTable.h>
#include <arrays/curvedPistons.h>
#include <arrays/elementPressures.h>
#include <arrays/pistonShapes.h>
#include <arrays/planarArrays.h>
#include <arrays/quantised.h>
#include <arrays/steering.h>
#include <beam/Beam.h>
#include <beam/BeamField.h>
#include <beam/BeamReport.h>
#include <beam/GridField.h>
#include <beam/Hydrophone.h>
#include <beam/Samples.h>
#include <beam/SourceField.h>
#include <core/Constants.h>
#include <core/ErrorHandler.h>
#include <core/Grid.h>
#include <core/Grid3DR.h>
#include <core/LatticeBox.h>
#include <core/MMatrix.h>
#include <core/Mode.h>
#include <core/Vector.h>
#include <core/cuda_init.h>
#include <core/cudahelper.h>
#include <core/limits.h>
#include <cuda_runtime/runtime.h>
#include <field/Array.h>
#include <field/Medium.h>
#include <field/Plan.h>
#include <field/Request.h>
#include <method/Outline.h>
#include <parallel/threads.h>
#include <pistonfield.h>
#include <signals/PulsePlan.h>
#include <signals/Signal.h>
#include <signals/SpectralField.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstdio>

namespace {

constexpr double l = 3;
constexpr double s = 2;
constexpr double k = 2.5;
constexpr double z = 4;  // on the axis

/// The Rayleigh integral by the midpoint rule: its error falls with the square of the cells' sides,
/// and at 400 by 400 cells is below 1e-5 here.
std::complex<double> surfaceSum() {
    constexpr int cells = 400;
    std::complex<double> sum;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const double x = s * ((i + 0.5) / cells - 0.5);
            const double y = l * ((j + 0.5) / cells - 0.5);
            const double r = std::sqrt(x * x + y * y + z * z);
            sum += std::polar(1 / r, -k * r);
        }
    return k / (2 * Math::Pi) * sum * (l * s / (cells * cells));
}

constexpr std::array<double, 16> transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, z, 0, 0, 0, 1};

std::complex<double> onCpu() {
    double re = 0;
    double im = 0;
    RectangularPistonCuda2(l, s, k).computeCPU<double, double>(
        &re, &im, Grid3DR<double>(transform.data(), 1, 1, 1));
    return {re, im};
}

std::complex<double> onDevice() {
    const CudaDeviceThread device;
    setCudaIntegratorParameters("RectangularPiston", 32);
    std::array<Complex, 2> p{};  // in the piston's face, and at z
    do_calculate(p.data(), 1, 1, 2, 0, 0, z, l, s, k);
    return {p[1].re, p[1].im};
}

/// In single precision on the device, through a plan.
std::complex<double> planned() {
    pistonfield::Request request;
    request.piston = {.width = s, .height = l};
    request.wave.wavenumber = k;
    request.lattice = {.transform = transform, .sizes = {1, 1, 1}};
    request.rule.order = 32;
    request.mode = pistonfield::modeCalled("cuda");
    std::complex<double> p;
    const pistonfield::Plan plan(request);
    plan.compute(request.lattice.box(), &p);
    return plan.secondsOfAPoint() > 0 ? p : 0;
}

bool refuses() {
    try {
        const pistonfield::Plan plan{pistonfield::Request{}};
    } catch (const pistonfield::InvalidRequest& refusal) {
        return refusal.field() == "transform";
    }
    return false;
}

/// The pressure of an array of one element, whose power goes both ways.
std::complex<double> ofAnArray() {
    const auto elements =
        elementsOf(pistonfield::LineArray{.elements = 1, .width = s, .height = l});
    const auto p =
        pistonfield::elementPressures(elements, {.wavenumber = k}, {{0}, {0}, {z}}, 1e-8);
    const auto power = [&](pistonfield::PowerBy way) {
        return pistonfield::radiatedPower(elements, {1.0}, {.wavenumber = k}, way).value;
    };
    const double change =
        power(pistonfield::PowerBy::faces) / power(pistonfield::PowerBy::farField) - 1;
    return p.front() + change;
}

bool agrees(const char* where, std::complex<double> p) {
    const double difference = std::abs(p - surfaceSum());
    std::printf("%s: |p| = %.6f, off by %.1e\n", where, std::abs(p), difference);
    return difference < 1e-5;
}

}  // namespace

int main() {
    pistonfield::useThreads(2);
    const bool cpu = agrees("cpu", onCpu());
    const bool plan = agrees("plan", planned());
    const bool array = agrees("array", ofAnArray());
    const bool device = agrees("device", onDevice());
    return cpu && array && device && plan && refuses() && pistonfield_interface() > 0 ? 0 : 1;
}
