// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point of an array's field within a tolerance, for each element: in nanoseconds and
// in times of the bare integrand's evaluation in single precision, the `limit`. Beside it the loop
// over the elements with the least order that keeps the tolerance. docs/performance.md says how to
// read the table.
//
// Usage: arrays_bench FOLDER
//     leaves there what bench/arrays.py goes on with

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <limits>
#include <numbers>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/limitSets.h"
#include "field/Plan.h"
#include "field/Positions.h"

namespace {

using pistonfield::Array;
using pistonfield::Element;
using pistonfield::Lattice;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::PointList;
using pistonfield::Pose;
using pistonfield::Request;
using pistonfield::Tolerance;
using Values = std::vector<std::complex<double>>;

// Lengths are in wavelengths.
constexpr double wavenumber = 2 * std::numbers::pi;
constexpr int repetitions = 7;

/// The time of the calling thread alone: other work on the machine takes turns with it.
double nanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

template <class Work>
double timeOf(Work work) {
    const double begin = nanoseconds();
    work();
    return nanoseconds() - begin;
}

/// The evaluation of the bare integrand in single precision, on the best instruction set and with
/// as many packs side by side as are fastest.
class Limit {
  public:
    Limit() {
        const auto sets = bench::limitSets();
        const auto* const best =
            std::find_if(sets.begin(), sets.end(), [](const auto& set) { return set.runnable; });
        double least = std::numeric_limits<double>::infinity();
        for (const bench::LimitLoop& one :
             std::span(best->loops.first, static_cast<std::size_t>(best->loops.count))) {
            if (one.arithmetic != std::string_view("single") ||
                one.part != std::string_view("whole"))
                continue;
            for (int i = 0; i < 20; ++i)
                if (const double time = timeOfEvaluation(one); time < least) {
                    least = time;
                    loop = &one;
                }
        }
    }

    /// Nanoseconds that one takes, just now.
    double time() const { return timeOfEvaluation(*loop); }

  private:
    static double timeOfEvaluation(const bench::LimitLoop& loop) {
        constexpr long packs = 1 << 16;
        const long rounds = packs / loop.packs;
        volatile double sum = 0;
        const double time =
            timeOf([&] { sum = loop.run({.offset = 1.25, .z = 2.5, .k = wavenumber}, rounds); });
        return time / static_cast<double>(rounds * loop.packs * loop.lanes);
    }

    const bench::LimitLoop* loop = nullptr;
};

/// Nanoseconds of a work and of an evaluation: of some repetitions in turns the least of each.
struct Times {
    double work = std::numeric_limits<double>::infinity();
    double limit = std::numeric_limits<double>::infinity();
};

/// Repeats a work for about a second, twice at least and not more often than `repetitions`.
template <class Work>
Times leastTimes(const Limit& limit, Work work) {
    Times least;
    double total = 0;
    for (int i = 0; i < 2 || (i < repetitions && total < 1e9); ++i) {
        for (int j = 0; j < 5; ++j) least.limit = std::min(least.limit, limit.time());
        const double time = timeOf(work);
        least.work = std::min(least.work, time);
        total += time;
    }
    return least;
}

double distance(const Pose::Vector& a, const Pose::Vector& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Driven in phase at a focus.
Array focused(std::vector<Element> elements, const Pose::Vector& focus) {
    Array array{.elements = std::move(elements), .weights = {}};
    array.weights.reserve(array.elements.size());
    for (const Element& element : array.elements)
        array.weights.push_back(std::polar(1.0, wavenumber * distance(element.pose.centre, focus)));
    return array;
}

/// Elements side by side, without gaps.
Array matrix(int side, double size) {
    std::vector<Element> elements;
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i)
            elements.push_back({.piston = {.width = size, .height = size},
                                .pose = {.centre = {(i - (side - 1) / 2.0) * size,
                                                    (j - (side - 1) / 2.0) * size, 0}}});
    return focused(std::move(elements), {0, 0, 20});
}

/// 256 elements of half a wavelength, tilted towards the centre of a sphere.
Array bowl() {
    constexpr int side = 16;
    constexpr double radius = 30;
    constexpr double pitch = 1.5;
    std::vector<Element> elements;
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i) {
            const double a = (i - (side - 1) / 2.0) * pitch / radius;
            const double b = (j - (side - 1) / 2.0) * pitch / radius;
            const Pose::Vector normal{-std::sin(a), -std::cos(a) * std::sin(b),
                                      std::cos(a) * std::cos(b)};
            elements.push_back({.piston = {.width = 0.5, .height = 0.5},
                                .pose = {.centre = {-radius * normal[0], -radius * normal[1],
                                                    radius * (1 - normal[2])},
                                         .alongWidth = {std::cos(a), -std::sin(a) * std::sin(b),
                                                        std::sin(a) * std::cos(b)},
                                         .alongHeight = {0, std::cos(b), std::sin(b)}}});
        }
    return focused(std::move(elements), {0, 0, radius});
}

/// 64 elements of 0.27 by 10 mm at 3 MHz in water, 0.3 mm apart.
Array lineArray() {
    constexpr int count = 64;
    std::vector<Element> elements;
    elements.reserve(count);
    for (int i = 0; i < count; ++i)
        elements.push_back({.piston = {.width = 0.54, .height = 20},
                            .pose = {.centre = {(i - (count - 1) / 2.0) * 0.6, 0, 0}}});
    return focused(std::move(elements), {0, 0, 40});
}

/// Points about the axis, a step apart, from a height on.
Lattice latticeFrom(double z, std::array<std::int64_t, 3> sizes, double step) {
    const auto first = [&](std::size_t i) {
        return -step / 2 * static_cast<double>(sizes.at(i) - 1);
    };
    return {.transform = {step, 0, 0, first(0), 0, step, 0, first(1), 0, 0, step, z, 0, 0, 0, 1},
            .sizes = sizes};
}

constexpr std::array<std::int64_t, 3> manyPoints{128, 128, 8};
constexpr double quarter = 0.25;

struct Accuracy {
    Mode mode;
    Tolerance tolerance;
};

constexpr std::array accuracies{Accuracy{Mode::cpusp, {1e-4, Tolerance::Of::largest}},
                                Accuracy{Mode::cpusp, {1e-4, Tolerance::Of::local}},
                                Accuracy{Mode::cpu, {1e-4, Tolerance::Of::largest}},
                                Accuracy{Mode::cpu, {1e-4, Tolerance::Of::local}},
                                Accuracy{Mode::cpu, {1e-10, Tolerance::Of::largest}}};

Request requestOf(Array array, const Lattice& lattice, const Accuracy& accuracy = accuracies[0]) {
    Request request;
    request.array = std::move(array);
    request.wave.wavenumber = wavenumber;
    request.lattice = lattice;
    request.mode = accuracy.mode;
    request.tolerance = accuracy.tolerance;
    return request;
}

/// The same points as a list, each one some two thirds of the list behind the one before where they
/// are to be in no order.
Request asList(Request request, bool inOrder) {
    const auto count = request.lattice.box().points();
    const auto sizes = request.lattice.sizes;
    const pistonfield::Positions positions(request);
    const std::int64_t step = inOrder ? 1 : 2 * count / 3 | 1;
    PointList list;
    for (std::int64_t i = 0, at = 0; i < count; ++i, at = (at + step) % count) {
        const auto place =
            positions.at({at % sizes[0], at / sizes[0] % sizes[1], at / sizes[0] / sizes[1]});
        list.x.push_back(place[0]);
        list.y.push_back(place[1]);
        list.z.push_back(place[2]);
    }
    request.points = std::move(list);
    request.lattice = {.transform = {}, .sizes = {count, 1, 1}};
    return request;
}

/// So many weightings, each turned against the one before.
Request weighted(Request request, int weightings) {
    auto& weights = request.array->weights;
    const std::size_t elements = weights.size();
    for (int i = 1; i < weightings; ++i)
        for (std::size_t e = 0; e < elements; ++e)
            weights.push_back(weights[e] * std::polar(1.0, 0.01 * i * static_cast<double>(e)));
    return request;
}

void printHeader() {
    std::printf("%-38s %-6s %-13s %-15s %8s %8s %7s  %7s %8s\n", "elements and points", "",
                "tolerance", "engine", "ns", "limit", "limits", "error", "plan, ms");
}

std::string nameOf(const Tolerance& tolerance) {
    return (tolerance.value == 1e-4 ? "1e-04" : "1e-10") +
           std::string(tolerance.of == Tolerance::Of::local ? " local" : " largest");
}

/// @param work the product of elements, points and weightings
void printRow(const std::string& what, const Request& request, std::string_view how,
              const Times& times, double work, double error, std::optional<double> plan = {}) {
    std::printf("%-38s %-6s %-13s %-15s %8.3f %8.3f %7.2f  %7.1e", what.c_str(),
                request.inSingle() ? "single" : "double",
                request.tolerance ? nameOf(*request.tolerance).c_str() : "",
                std::string(how).c_str(), times.work / work, times.limit,
                times.work / work / times.limit, error);
    if (plan) std::printf(" %8.1f", *plan / 1e6);
    std::puts("");
}

void printLine(const std::string& what, const std::string& text) {
    std::printf("%-38s %s\n", what.c_str(), text.c_str());
}

double workOf(const Request& request) {
    return static_cast<double>(request.lattice.box().points()) *
           static_cast<double>(request.array->elements.size()) *
           static_cast<double>(request.fields());
}

/// Times the field of a request, and measures its error.
/// @return the time of the field
double addField(const Limit& limit, const std::string& what, const Request& request) try {
    const auto box = request.lattice.box();
    std::optional<Plan> plan;
    const double planTime = timeOf([&] { plan.emplace(Request(request)); });
    std::vector<std::byte> values(
        static_cast<std::size_t>(box.points() * request.fields() * request.valueBytes()));
    const Times times =
        leastTimes(limit, [&] { plan->computeNative(box, values.data(), {.threads = 1}); });
    printRow(what, request, plan->engine(), times, workOf(request), plan->accuracy()->error,
             planTime);
    return times.work;
} catch (const pistonfield::InvalidRequest& refusal) {
    printLine(what, refusal.what());
    return 0;
}

Values fieldOf(const Request& request) {
    const auto box = request.lattice.box();
    Values values(static_cast<std::size_t>(box.points() * request.fields()));
    Plan(request).compute(box, values.data(), {.threads = 1});
    return values;
}

/// The field of an array without tilted elements, one element after the other, with an order.
class ElementLoop {
  public:
    ElementLoop(const Array& array, const Lattice& lattice, Mode mode)
        : array(array), lattice(lattice), mode(mode) {}

    Values compute(int order) const {
        Values sum(static_cast<std::size_t>(lattice.box().points()));
        Values values(sum.size());
        for (std::size_t e = 0; e < array.elements.size(); ++e) {
            Plan(requestOfElement(array.elements[e], order))
                .compute(lattice.box(), values.data(), {.threads = 1});
            for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += array.weights[e] * values[i];
        }
        return sum;
    }

    Request requestOfElement(const Element& element, int order) const {
        Request request;
        request.piston = element.piston;
        request.wave.wavenumber = wavenumber;
        request.lattice = lattice;
        for (std::size_t i = 0; i < 3; ++i)
            request.lattice.transform.at(4 * i + 3) -= element.pose.centre.at(i);
        request.mode = mode;
        request.rule.order = order;
        return request;
    }

  private:
    const Array& array;
    Lattice lattice;
    Mode mode;
};

/// The largest error, relative to the largest value.
double errorOf(const Values& values, const Values& exact) {
    double error = 0;
    double largest = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        error = std::max(error, std::abs(values[i] - exact[i]));
        largest = std::max(largest, std::abs(exact[i]));
    }
    return error / largest;
}

/// Every eighth point along x and along y.
Lattice thinned(Lattice lattice) {
    for (std::size_t i = 0; i < 3; ++i)
        if (const std::int64_t size = lattice.sizes.at(i); size > 16) {
            lattice.sizes.at(i) = size / 8;
            for (std::size_t row = 0; row < 3; ++row) lattice.transform.at(4 * row + i) *= 8;
        }
    return lattice;
}

/// Times the loop over the elements with the least order that keeps 1e-4 of the largest |p|.
void addLoop(const Limit& limit, const std::string& what, const Array& array,
             const Lattice& lattice, const Values& exact, Mode mode) {
    constexpr int mostOrders = 64;
    const ElementLoop few(array, thinned(lattice), mode);
    int order = 1;
    double error = errorOf(few.compute(order), exact);
    while (error > 1e-4 && order < mostOrders) error = errorOf(few.compute(++order), exact);
    const Request request = few.requestOfElement(array.elements.front(), order);
    if (error > 1e-4) {
        printLine(what, "no order of " + std::string(pistonfield::nameOf(mode)) + " keeps it");
        return;
    }
    const ElementLoop loop(array, lattice, mode);
    const Times times = leastTimes(limit, [&] { loop.compute(order); });
    printRow(
        what, request, std::string(pistonfield::nameOf(mode)) + ", order " + std::to_string(order),
        times,
        static_cast<double>(lattice.box().points()) * static_cast<double>(array.elements.size()),
        error);
}

/// What another program needs to compute the field again, all as doubles: the limit, the numbers of
/// elements and points; width, height, centre and weight of each element; the coordinates of all
/// points and their pressure.
void leave(const std::filesystem::path& file, double limit, const Array& array,
           const Lattice& lattice, const Values& exact) {
    std::vector<double> numbers{limit, static_cast<double>(array.elements.size()),
                                static_cast<double>(exact.size())};
    for (std::size_t e = 0; e < array.elements.size(); ++e) {
        const Element& element = array.elements[e];
        numbers.insert(numbers.end(),
                       {element.piston.width, element.piston.height, element.pose.centre[0],
                        element.pose.centre[1], element.pose.centre[2], array.weights[e].real(),
                        array.weights[e].imag()});
    }
    const PointList points = *asList(requestOf(array, lattice), true).points;
    for (const auto* coordinates : {&points.x, &points.y, &points.z})
        numbers.insert(numbers.end(), coordinates->begin(), coordinates->end());
    for (const std::complex<double>& value : exact)
        numbers.insert(numbers.end(), {value.real(), value.imag()});
    std::ofstream out(file, std::ios::binary);
    out.exceptions(std::ios::failbit | std::ios::badbit);
    out.write(reinterpret_cast<const char*>(numbers.data()),
              static_cast<std::streamsize>(numbers.size() * sizeof(double)));
}

std::string nameOfMatrix(int side, double size, double z) {
    std::ostringstream words;
    words << std::fixed << side << "^2 of " << std::setprecision(1) << size
          << ", from z = " << std::setprecision(0) << z << " on";
    return words.str();
}

/// The same array, the first element of which is a little narrower: only sums compute it.
Array withOneNarrower(Array array) {
    array.elements.front().piston.width *= 0.9;
    return array;
}

/// Adds the fields of the matrices that `arrayOf` makes of a side's elements and their size.
template <class ArrayOf>
void addMatrices(const Limit& limit, ArrayOf arrayOf, const std::array<std::int64_t, 3>& points) {
    for (const int side : {16, 32})
        for (const double size : {0.5, 1.0})
            for (const double z : {3.0, 10.0, 40.0})
                for (const Accuracy& accuracy : accuracies)
                    if (side == 16 || accuracy.tolerance.of == Tolerance::Of::largest)
                        addField(limit, nameOfMatrix(side, size, z),
                                 requestOf(arrayOf(side, size), latticeFrom(z, points, quarter),
                                           accuracy));
}

void addMatrices(const Limit& limit) {
    std::puts("\nmatrices, 128 by 128 by 8 points a quarter wavelength apart");
    addMatrices(limit, matrix, manyPoints);
}

void addSums(const Limit& limit) {
    std::puts("\nthe same at 64 by 64 by 8 points, with one element narrower than the others");
    const auto uneven = [](int side, double size) { return withOneNarrower(matrix(side, size)); };
    addMatrices(limit, uneven, {64, 64, 8});
    for (const Accuracy& accuracy : accuracies)
        addField(limit, "line array, from z = 2.5 on",
                 requestOf(withOneNarrower(lineArray()), latticeFrom(2.5, {121, 1, 156}, 0.5),
                           accuracy));
}

void addOthers(const Limit& limit) {
    std::puts("\na bowl of 256 elements of 0.5, 64 by 64 by 8 points about its focus");
    for (const Accuracy& accuracy : accuracies)
        addField(limit, "bowl, from z = 29 on",
                 requestOf(bowl(), latticeFrom(29, {64, 64, 8}, quarter), accuracy));

    std::puts("\nlists of 64 by 64 by 8 points, a quarter wavelength apart");
    for (const Accuracy& accuracy : {accuracies[0], accuracies[2]}) {
        const Request request =
            requestOf(matrix(16, 0.5), latticeFrom(10, {64, 64, 8}, quarter), accuracy);
        addField(limit, "16^2 of 0.5, from z = 10 on, lattice", request);
        addField(limit, "the same, list in order", asList(request, true));
        addField(limit, "the same, list in no order", asList(request, false));
    }

    std::puts("\n64 elements of 0.54 by 20 in a line, 121 by 156 points of the plane y = 0");
    for (const Accuracy& accuracy : accuracies)
        addField(limit, "line array, from z = 2.5 on",
                 requestOf(lineArray(), latticeFrom(2.5, {121, 1, 156}, 0.5), accuracy));
}

void addWeightings(const Limit& limit) {
    std::puts("\nweightings, 64 by 64 by 8 points; for each point, element and weighting");
    for (const Accuracy& accuracy : {accuracies[0], accuracies[2]})
        for (const bool isEqual : {true, false}) {
            const Array array = matrix(16, 0.5);
            const Request request = requestOf(isEqual ? array : withOneNarrower(array),
                                              latticeFrom(10, {64, 64, 8}, quarter), accuracy);
            const double one = addField(limit, "16^2 of 0.5, 1 weighting", request);
            const double hundred =
                addField(limit, "16^2 of 0.5, 100 weightings", weighted(request, 100));
            std::printf("%-38s %.1f times the time of one\n", "", hundred / one);
        }
}

void addCounts(const Limit& limit) {
    std::puts("\nelements of 0.5 from z = 10 on, 64 by 64 by 4 points");
    for (const int side : {1, 2, 4, 8, 16, 32, 64, 100})
        addField(limit, std::to_string(side * side) + " elements",
                 requestOf(matrix(side, 0.5), latticeFrom(10, {64, 64, 4}, quarter)));
}

void addLoops(const Limit& limit, const std::filesystem::path& folder) {
    struct Case {
        std::string name;
        Array array;
        Lattice lattice;
    };
    std::vector<Case> cases;
    for (const double size : {0.5, 1.0})
        for (const double z : {3.0, 10.0, 40.0})
            cases.push_back(
                {nameOfMatrix(16, size, z), matrix(16, size), latticeFrom(z, manyPoints, quarter)});
    cases.push_back(
        {"line array, from z = 2.5 on", lineArray(), latticeFrom(2.5, {121, 1, 156}, 0.5)});

    std::puts("\none element after the other, the least order that keeps 1e-4 of the largest |p|");
    int number = 0;
    for (const auto& [name, array, lattice] : cases) {
        const Lattice few = thinned(lattice);
        const Values exact =
            fieldOf(requestOf(array, few, {Mode::cpu, {1e-10, Tolerance::Of::largest}}));
        for (const Mode mode : {Mode::cpusp, Mode::cpu})
            addLoop(limit, name, array, lattice, exact, mode);
        leave(folder / (std::to_string(number++) + " " + name), limit.time(), array, few, exact);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: arrays_bench FOLDER\n";
        return 2;
    }
    std::printf(
        "Nanoseconds a point and element, of the thread's own time on one core, of 2 to %d "
        "repetitions the least;\nlengths in wavelengths.\n\n",
        repetitions);
    const Limit limit;
    printHeader();
    addMatrices(limit);
    addSums(limit);
    addOthers(limit);
    addWeightings(limit);
    addCounts(limit);
    addLoops(limit, argv[1]);
    return 0;
}
