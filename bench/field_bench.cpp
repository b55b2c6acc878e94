// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of whole fields in every mode, of the formula written plainly ("reference"), and of the
// bare integrand loop ("limit"). docs/performance.md says how to read it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPiston2.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "bench/Fields.h"
#include "bench/Limit.h"
#include "bench/Reference.h"
#include "bench/limitSets.h"
#include "core/cudahelper.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "tests/support/SilentOutput.h"

namespace {

using namespace bench;

template <class T>
class Rule {
  public:
    explicit Rule(int order) { rule.compute(order); }
    std::span<const T> abscissas() const { return {rule.abscissas, size()}; }
    std::span<const T> weights() const { return {rule.weights, size()}; }

  private:
    std::size_t size() const { return static_cast<std::size_t>(rule.order); }
    GaussLegendre<T> rule;
};

/// A mode fills fields over a box with a rule of some order.
class CpuMode {
  public:
    using Real = double;
    CpuMode(const Box& box, int order) : grid(box.grid<double>()) {
        evaluator.doubleRule.compute(order);
    }
    void fill(Field<double>& field) const {
        evaluator.computeCPU<double, double>(field.re.data(), field.im.data(), grid);
    }

  private:
    RectangularPistonCuda2 evaluator{piston.l, piston.s, piston.k};
    Grid3DR<double> grid;
};

class CpuSingleMode {
  public:
    using Real = float;
    CpuSingleMode(const Box& box, int order) : grid(box.grid<float>()) {
        evaluator.floatRule.compute(order);
    }
    void fill(Field<float>& field) const {
        evaluator.computeCPU<float, float>(field.re.data(), field.im.data(), grid);
    }

  private:
    RectangularPistonCuda2 evaluator{piston.l, piston.s, piston.k};
    Grid3DR<float> grid;
};

constexpr const char* stem = "RectangularPiston";

/// The whole launcher call: device memory, the kernel, the field's way back.
class CudaMode {
  public:
    using Real = double;
    CudaMode(const Box& box, int order) : grid(box.grid<double>()) {
        setCudaIntegratorParameters(stem, order);
    }
    void fill(Field<double>& field) const {
        evaluator.computeCuda<double>(field.re.data(), field.im.data(), grid);
    }

  private:
    CudaDeviceThread device;
    RectangularPistonCuda2 evaluator{piston.l, piston.s, piston.k};
    Grid3DR<double> grid;
};

class CudaDoubleMode {
  public:
    using Real = double;
    CudaDoubleMode(const Box& box, int order) : sizes(box.sizes), transform(box.transform()) {
        setCudaIntegratorParameters(stem, order);
    }
    void fill(Field<double>& field) const {
        RectangularPiston_func2_d(field.re.data(), field.im.data(), static_cast<int>(sizes[0]),
                                  static_cast<int>(sizes[1]), static_cast<int>(sizes[2]),
                                  transform.data(), piston.l, piston.s, piston.k);
    }

  private:
    CudaDeviceThread device;
    std::array<unsigned, 3> sizes;
    std::array<double, 16> transform;
};

template <class T>
class ReferenceMode {
  public:
    using Real = T;
    ReferenceMode(const Box& box, int order) : rule(order), grid(box.grid<T>()) {}
    void fill(Field<T>& field) const {
        const Reference<T> reference(piston, rule.abscissas(), rule.weights());
        for (unsigned i = 0; i < grid.nbPositions(); ++i) {
            const auto p = grid.getPosition(static_cast<int>(i));
            const std::complex<T> value = reference.at(p[0], p[1], p[2]);
            field.re[i] = value.real();
            field.im[i] = value.imag();
        }
    }

  private:
    Rule<T> rule;
    Grid3DR<T> grid;
};

/// The largest deviation from the plain formula in double precision at some of the points, relative
/// to the largest of these pressures.
template <class T>
double largestError(const Field<T>& field, const Box& box, int order) {
    const Rule<double> rule(order);
    const Reference<double> reference(piston, rule.abscissas(), rule.weights());
    const auto grid = box.grid<double>();
    const std::size_t stride = 1 + field.re.size() / 97;
    double error = 0;
    double largest = 0;
    for (std::size_t i = 0; i < field.re.size(); i += stride) {
        const auto p = grid.getPosition(static_cast<int>(i));
        const std::complex<double> expected = reference.at(p[0], p[1], p[2]);
        const std::complex<double> actual(static_cast<double>(field.re[i]),
                                          static_cast<double>(field.im[i]));
        error = std::max(error, std::abs(actual - expected));
        largest = std::max(largest, std::abs(expected));
    }
    return error / largest;
}

/// Seconds for each of `count` things an iteration does: of wall-clock time for fields, of the
/// thread's own time for the loops of one thread.
benchmark::Counter timePer(std::int64_t count) {
    return {static_cast<double>(count),
            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert};
}

/// Of the repetitions: what other work on the machine disturbs least.
double least(const std::vector<double>& repetitions) {
    return *std::min_element(repetitions.begin(), repetitions.end());
}

/// The threads of a mode that computes with one, and of one that computes with every core.
constexpr unsigned oneThread = 1;
const unsigned allThreads = pistonfield::usableCores();

template <class Mode>
void timeField(benchmark::State& state, const Box& box, int order, unsigned threads) {
    const SilentOutput quiet;
    pistonfield::useThreads(threads);
    const Mode mode(box, order);
    Field<typename Mode::Real> field(box.points());
    for ([[maybe_unused]] auto _ : state) {
        mode.fill(field);
        benchmark::ClobberMemory();
    }
    state.counters["points"] = static_cast<double>(box.points());
    state.counters["order"] = order;
    state.counters["time/point"] = timePer(box.points());
    state.counters["time/evaluation"] = timePer(box.evaluations(order));
    state.counters["error"] = largestError(field, box, order);
}

template <class Mode>
void addField(const std::string& name, const char* mode, const Box& box, int order,
              unsigned threads) {
    benchmark::RegisterBenchmark((name + "/" + mode).c_str(), &timeField<Mode>, box, order, threads)
        ->Unit(benchmark::kMillisecond)
        ->ComputeStatistics("least", &least)
        ->UseRealTime();
}

void addModes(const std::string& name, const Box& box, int order) {
    addField<CpuMode>(name, "cpu", box, order, oneThread);
    addField<CpuMode>(name, "cpu_cores", box, order, allThreads);
    addField<CpuSingleMode>(name, "cpusp", box, order, oneThread);
    addField<CpuSingleMode>(name, "cpusp_cores", box, order, allThreads);
    addField<CudaMode>(name, "cuda", box, order, allThreads);
    addField<CudaDoubleMode>(name, "cudadp", box, order, allThreads);
}

/// The plain formula over a hundredth of the box's points, in rows of the same length.
void addReferences(const std::string& name, const Box& box, int order) {
    addField<ReferenceMode<double>>(name, "reference", box.thinned(10), order, oneThread);
    addField<ReferenceMode<float>>(name, "reference_single", box.thinned(10), order, oneThread);
}

void addFields() {
    constexpr std::array<unsigned, 3> million{100, 100, 100};
    struct Region {
        const char* name;
        Box box;
    };
    const std::array regions{Region{"shadow", shadowBox(million)},
                             Region{"outside", outsideBox(million)},
                             Region{"across", acrossBox(million)}};
    for (const auto& [region, box] : regions)
        for (const int order : {10, 32, 100}) {
            const std::string name = std::string(region) + "/order:" + std::to_string(order);
            addModes(name, box, order);
            addReferences(name, box, order);
        }
}

void addShapes() {
    constexpr int order = 32;
    addModes("one_point/order:32", acrossBox({1, 1, 1}), order);
    addReferences("one_point/order:32", acrossBox({1, 1, 1}), order);
    addModes("rows_of_one/order:32", acrossBox({1, 100, 1000}), order);
    for (const unsigned n : {4U, 8U, 16U, 32U, 64U})
        addModes("points:" + std::to_string(n * n * n) + "/order:32", acrossBox({n, n, n}), order);
}

void addOrders() {
    for (const int order : {4, 8, 16, 32, 64, 128, 256})
        addModes("by_order/order:" + std::to_string(order), acrossBox({40, 25, 10}), order);
}

/// What every call of the module does besides the field.
template <class Make>
void addSetUp(const char* name, Make make) {
    benchmark::RegisterBenchmark(name,
                                 [make](benchmark::State& state) {
                                     const SilentOutput quiet;
                                     for ([[maybe_unused]] auto _ : state) make();
                                 })
        ->ComputeStatistics("least", &least)
        ->UseRealTime();
}

void addSetUps() {
    addSetUp("set_up/device", [] { const CudaDeviceThread device; });
    addSetUp("set_up/piston", [] {
        RectangularPistonCuda2 evaluator(piston.l, piston.s, piston.k);
        benchmark::DoNotOptimize(evaluator.doubleRule.abscissas);
    });
}

void timeLimit(benchmark::State& state, const LimitLoop& loop) {
    constexpr long packs = 4096;
    const long rounds = packs / loop.packs;
    LimitPoint point{1.25, 2.5, piston.k};
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(point);
        double sum = loop.run(point, rounds);
        benchmark::DoNotOptimize(sum);
    }
    state.counters["lanes"] = loop.lanes;
    state.counters["time/pack"] = timePer(packs);
    state.counters["time/evaluation"] = timePer(packs * loop.lanes);
}

void addLimit(const LimitSet& set) {
    for (const LimitLoop& loop :
         std::span(set.loops.first, static_cast<std::size_t>(set.loops.count)))
        benchmark::RegisterBenchmark((std::string("limit/") + set.name + "/" + loop.arithmetic +
                                      "/" + loop.part + "/packs:" + std::to_string(loop.packs))
                                         .c_str(),
                                     &timeLimit, loop)
            ->ComputeStatistics("least", &least);
}

/// One clock cycle: additions that wait for each other take one each.
void timeClock(benchmark::State& state) {
    constexpr std::int64_t additions = 8;
    std::uint64_t sum = 1;
    for ([[maybe_unused]] auto _ : state)
        for (int i = 0; i < 1000; ++i)
            asm volatile(
                "add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\t"
                "add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0"
                : "+r"(sum));
    state.counters["time/cycle"] = timePer(1000 * additions);
}

/// Adds the loops of the named instruction set, of all, or of the best one.
/// @return whether there are any
bool addLimits(std::string_view choice) {
    bool found = false;
    for (const LimitSet& set : limitSets()) {
        if (!set.runnable) continue;
        const bool isBest = !found;
        if (choice == "all" || choice == set.name || (choice == "best" && isBest)) {
            addLimit(set);
            found = true;
        }
    }
    return found;
}

/// The value of the last --limit=..., else "best".
std::string_view limitChoice(std::span<char*> arguments) {
    constexpr std::string_view option = "--limit=";
    std::string_view choice = "best";
    for (const std::string_view argument : arguments)
        if (argument.starts_with(option)) choice = argument.substr(option.size());
    return choice;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string_view choice =
        limitChoice(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    addFields();
    addShapes();
    addOrders();
    addSetUps();
    benchmark::RegisterBenchmark("clock", &timeClock)->ComputeStatistics("least", &least);
    if (!addLimits(choice)) {
        std::cerr << "--limit=" << choice
                  << ": expected best, all, v4, v3 or baseline, and a processor that has it\n";
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
