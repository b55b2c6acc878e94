// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// What a device takes: to be brought up, for a launch, for the kernels, for whole calls of 1 point
// and more, beside the processor, for copies to the two kinds of the host's memory, for slabs in
// flight together and one after the other, and for the field of an array. Wall-clock times, of
// repetitions the least.
//
// Usage: device_bench [POINTS]
//     POINTS is the most points of a call, 10^8 without it

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <limits>
#include <numbers>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/PistonModules.h"
#include "core/cuda_init.h"
#include "core/cudahelper.h"
#include "cuda_runtime/runtime.h"
#include "field/Plan.h"

namespace {

using namespace cuda_runtime;
using pistonfield::Array;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;

constexpr int order = 10;
constexpr int blockSize = 128;
constexpr double wavenumber = 2 * std::numbers::pi;

void require(cudaError_t status) {
    if (status != cudaSuccess) throw std::runtime_error(cudaGetErrorString(status));
}

/// The least time of some repetitions, in nanoseconds.
template <class Work>
double leastTime(int repetitions, Work work) {
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < repetitions; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::nano> taken =
            std::chrono::steady_clock::now() - begin;
        least = std::min(least, taken.count());
    }
    return least;
}

/// Keeps the launchers' progress lines from the report.
class Silence {
  public:
    Silence() : shown(std::cout.rdbuf(kept.rdbuf())) {}
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() { std::cout.rdbuf(shown); }

  private:
    std::ostringstream kept;
    std::streambuf* shown;
};

/// Device memory for values of one type.
template <class T>
class DeviceValues {
  public:
    explicit DeviceValues(std::size_t count) {
        void* memory = nullptr;
        require(cudaMalloc(&memory, count * sizeof(T)));
        address = static_cast<T*>(memory);
    }
    DeviceValues(const DeviceValues&) = delete;
    DeviceValues& operator=(const DeviceValues&) = delete;
    ~DeviceValues() { static_cast<void>(cudaFree(address)); }

    T* get() const noexcept { return address; }

  private:
    T* address = nullptr;
};

void nameDevice() {
    const int number = chooseDeviceSilently();
    cudaDeviceProp properties{};
    require(cudaGetDeviceProperties(&properties, number));
    std::printf("device %d: %s, %d.%d, %d multiprocessors at %d kHz\n\n", number, properties.name,
                properties.major, properties.minor, properties.multiProcessorCount,
                properties.clockRate);
}

void measureContext() {
    const Silence silence;
    const auto upAndDown = [] { const CudaDeviceThread device; };
    std::printf("first time up and down         %12.1f us\n", leastTime(1, upAndDown) / 1e3);
    std::printf("later times                    %12.1f us\n", leastTime(20, upAndDown) / 1e3);
    require(letGoOfDevices());
    std::printf("after letting go of the device %12.1f us\n", leastTime(1, upAndDown) / 1e3);
    const CudaDeviceThread device;
    const double launch = leastTime(100, [] {
        static_cast<void>(cuda_init());
        require(cuda_sync());
    });
    std::printf("an empty kernel, and to wait   %12.1f us\n\n", launch / 1e3);
}

/// The kernel alone, over a plane of 1024 points along x; its values stay on the device.
template <class Real, class Complex, class Module>
void measureKernel(const char* name, const Module& module, std::int64_t points) {
    const Silence silence;
    const CudaDeviceThread device;
    setCudaIntegratorParameters("RectangularPiston", order);
    constexpr int across = 1024;
    const int rows = static_cast<int>(std::max<std::int64_t>(1, points / across));
    const std::int64_t count = std::int64_t{across} * rows;
    const DeviceValues<Complex> values(static_cast<std::size_t>(count));
    const auto step = static_cast<Real>(0.01);
    const double time = leastTime(5, [&] {
        require(module.gridByValues.launch({static_cast<unsigned>(count / blockSize)}, {blockSize},
                                           values.get(), across, rows, 1, step, 0, 0, -5, 0, step,
                                           0, -5, 0, 0, 0, 2, static_cast<Real>(2.5),
                                           static_cast<Real>(3.75), static_cast<Real>(wavenumber)));
        require(cudaThreadSynchronize());
    });
    const double each = time / static_cast<double>(count);
    std::printf("kernel of %-8s %10lld points %10.4f ns a point, %8.4f ns an evaluation\n", name,
                static_cast<long long>(count), each, each / (4 * order));
}

Request planeOf(std::int64_t points, Mode mode) {
    Request request;
    request.piston = {.width = 5, .height = 7.5};
    request.wave.wavenumber = wavenumber;
    const std::int64_t across = std::min<std::int64_t>(points, 1000);
    request.lattice.transform = {0.01, 0, 0, -5, 0, 0.01, 0, -5, 0, 0, 0.01, 2, 0, 0, 0, 1};
    request.lattice.sizes = {across, points / across, 1};
    request.rule.order = order;
    request.mode = mode;
    return request;
}

/// A plan's second and later calls, in nanoseconds.
template <class T>
double callTime(std::int64_t points, Mode mode) {
    const Plan plan(planeOf(points, mode));
    std::vector<std::complex<T>> values(static_cast<std::size_t>(points));
    const auto call = [&] {
        plan.compute(plan.request().lattice.box(), pistonfield::interleaved(values.data()));
    };
    call();
    return leastTime(points > 1'000'000 ? 2 : 5, call);
}

/// To get the field of so many points from the device into new memory.
double copyTime(std::int64_t points) {
    const CudaDeviceThread device;
    const auto count = static_cast<std::size_t>(points);
    const DeviceValues<std::complex<float>> values(count);
    return leastTime(3, [&] {
        std::vector<std::complex<float>> copy(count);
        require(
            cudaMemcpy(copy.data(), values.get(), count * sizeof copy[0], cudaMemcpyDeviceToHost));
    });
}

/// Memory of the host that the device reaches.
template <class T>
class HostValues {
  public:
    explicit HostValues(std::size_t count) {
        void* memory = nullptr;
        require(cudaMallocHost(&memory, count * sizeof(T)));
        address = static_cast<T*>(memory);
    }
    HostValues(const HostValues&) = delete;
    HostValues& operator=(const HostValues&) = delete;
    ~HostValues() { static_cast<void>(cudaFreeHost(address)); }

    T* get() const noexcept { return address; }

  private:
    T* address = nullptr;
};

/// Copies of so many points' field into memory that was used before, and into such that the device
/// reaches.
void measureCopies(std::int64_t points) {
    const CudaDeviceThread device;
    const auto count = static_cast<std::size_t>(points);
    using Value = std::complex<float>;
    const DeviceValues<Value> values(count);
    std::vector<Value> usual(count);
    const HostValues<Value> pinned(count);
    const auto copyTo = [&](Value* to) {
        return leastTime(5, [&] {
            require(cudaMemcpyAsync(to, values.get(), count * sizeof(Value), cudaMemcpyDeviceToHost,
                                    nullptr));
            require(cudaStreamSynchronize(nullptr));
        });
    };
    const auto rate = [&](double time) { return static_cast<double>(points * 8) / time; };
    std::printf("copies of %lld points: %.2f GB/s to usual memory, %.2f GB/s to pinned memory\n",
                static_cast<long long>(points), rate(copyTo(usual.data())),
                rate(copyTo(pinned.get())));
}

/// A field in one call, of which the plan has two slabs in flight, and in a call for each slab.
void measureSlabs(std::int64_t points) {
    constexpr std::int64_t pointsOfASlab = 1 << 18;  // a plan's
    const std::int64_t slabs = std::max<std::int64_t>(1, points / pointsOfASlab);
    Request request = planeOf(1, Mode::cuda);
    request.lattice.sizes = {512, std::max<std::int64_t>(1, std::min(points, pointsOfASlab) / 512),
                             slabs};
    const Plan plan(request);
    const LatticeBox all = plan.request().lattice.box();
    std::vector<std::complex<float>> values(static_cast<std::size_t>(all.points()));
    std::vector<std::complex<double>> widened(values.size());
    const auto timeOf = [&](auto& to, std::int64_t layers) {
        return leastTime(5, [&] {
            for (std::int64_t first = 0; first < slabs; first += layers) {
                const LatticeBox box{{0, 0, first}, {all.size[0], all.size[1], layers}};
                plan.compute(box, to.data() + first * (all.size[0] * all.size[1]));
            }
        });
    };
    static_cast<void>(timeOf(values, slabs));
    const double together = timeOf(values, slabs);
    const double apart = timeOf(values, 1);
    std::printf(
        "%lld slabs: in one call %.1f us, in a call for each %.1f us (%.2f times as long)\n",
        static_cast<long long>(slabs), together / 1e3, apart / 1e3, apart / together);
    static_cast<void>(timeOf(widened, slabs));
    std::printf("in one call, into doubles: %.1f us\n\n", timeOf(widened, slabs) / 1e3);
}

void measureCalls(std::int64_t most) {
    std::printf("%10s %14s %14s %14s %14s\n", "points", "cuda us", "cudadp us", "cpusp us",
                "copy alone us");
    std::optional<std::int64_t> breakEven;
    for (std::int64_t points = 1; points <= most; points *= 10) {
        const double single = callTime<float>(points, Mode::cuda);
        const double twice = callTime<double>(points, Mode::cudadp);
        const double processor = callTime<float>(points, Mode::cpusp);
        const double copy = copyTime(points);
        std::printf("%10lld %14.1f %14.1f %14.1f %14.1f\n", static_cast<long long>(points),
                    single / 1e3, twice / 1e3, processor / 1e3, copy / 1e3);
        if (!breakEven && single < processor) breakEven = points;
    }
    if (breakEven)
        std::printf(
            "break-even: the device takes less time than the processor from %lld points on\n",
            static_cast<long long>(*breakEven));
    else
        std::printf("break-even: none, the processor takes less time at any number of points\n");
}

void measureArray(std::int64_t points) {
    constexpr int side = 16;
    Array array;
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j)
            array.elements.push_back({.piston = {.width = 0.5, .height = 0.5},
                                      .pose = {.centre = {0.5 * j, 0.5 * i, 0}}});
    array.weights.assign(array.elements.size(), 1);
    Request request = planeOf(points, Mode::cuda);
    request.array = std::move(array);
    request.tolerance = pistonfield::Tolerance{.value = 1e-3};
    const Plan plan(request);
    std::vector<std::complex<float>> values(static_cast<std::size_t>(points));
    const double time = leastTime(2, [&] {
        plan.compute(plan.request().lattice.box(), pistonfield::interleaved(values.data()));
    });
    std::printf("array of %d elements, %lld points, %s: %.4f ns for a point and an element\n\n",
                side * side, static_cast<long long>(points), plan.engine().data(),
                time / (static_cast<double>(points) * side * side));
}

std::int64_t mostPoints(int count, char** arguments) {
    constexpr std::int64_t usual = 100'000'000;
    if (count < 2) return usual;
    const std::string_view text = arguments[1];
    std::int64_t points = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), points);
    if (error != std::errc() || end != text.data() + text.size() || points < 1)
        throw std::runtime_error("POINTS is a number of 1 or more");
    return points;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        // What is done is told, also where the time is up in the middle.
        static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ));
        const std::int64_t most = mostPoints(count, arguments);
        nameDevice();
        measureContext();
        const std::int64_t ofKernel = std::min<std::int64_t>(most, 1 << 24);
        measureKernel<float, Complex>("single", singlePistonModule(), ofKernel);
        measureKernel<double, Complexd>("double", doublePistonModule(), ofKernel);
        std::printf("\n");
        measureCopies(ofKernel);
        measureSlabs(ofKernel);
        measureArray(std::min<std::int64_t>(most, 1'000'000));
        measureCalls(most);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "device_bench: %s\n", error.what()));
        return 1;
    }
}
