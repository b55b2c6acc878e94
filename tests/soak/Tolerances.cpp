// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The errors of fields that keep a tolerance, against converged pressures: at random points of
// every region about pistons of every kind, in both precisions and on every instruction set; and of
// random requests for lattices and for lists of their points in no order, with what their plans say
// of themselves.
//
// Usage: tolerances POINTS
//     and a request for every 100 points

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <mutex>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CountArgument.h"
#include "field/Plan.h"
#include "lanes/InstructionSet.h"
#include "parallel/threads.h"
#include "tests/field/FieldCase.h"

namespace {

using pistonfield::InvalidRequest;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;
using pistonfield::Tolerance;
using Of = Tolerance::Of;
using Values = std::vector<std::complex<double>>;

/// The largest of ratios; a NaN is more than any number.
struct Largest {
    double ratio = 0;
    std::string where;

    void add(double candidate, const std::function<std::string()>& describe) {
        if (std::isnan(ratio) || candidate <= ratio) return;
        ratio = candidate;
        where = describe();
    }
    void add(const Largest& other) {
        add(other.ratio, [&] { return other.where; });
    }
    [[nodiscard]] bool holds() const { return ratio <= 1; }
};

/// What is measured, and what the errors are relative to.
enum Measure : std::uint8_t {
    doubleLocal,      ///< a tolerance
    doubleLargest,    ///< a tolerance
    doubleTightest,   ///< the tightest tolerance of the local amplitude that is taken
    singleLocal,      ///< the same
    singleLargest,    ///< the same, of the largest magnitude
    singleAmplitude,  ///< 1e-5 of the larger one of |p| and k*A/(2*pi*R)
    measures
};
constexpr std::array<const char*, measures> measureNames{"dp local", "dp largest", "dp tight",
                                                         "sp local", "sp largest", "sp/1e-5"};

using Row = std::array<Largest, measures>;

void add(Row& row, const Row& other) {
    for (std::size_t i = 0; i < row.size(); ++i) row.at(i).add(other.at(i));
}

std::vector<lanes::InstructionSet> availableSets() {
    std::vector<lanes::InstructionSet> sets;
    for (const auto set : lanes::instructionSets)
        if (set <= lanes::bestInstructionSet()) sets.push_back(set);
    return sets;
}

Request withTolerance(Request request, Mode mode, Tolerance tolerance) {
    request.mode = mode;
    request.tolerance = tolerance;
    return request;
}

Values computed(const Plan& plan) {
    const LatticeBox box = plan.request().lattice.box();
    Values values(static_cast<std::size_t>(box.points()));
    plan.compute(box, values.data(), {.threads = 1});
    return values;
}

std::string describe(const Request& request, const reference::Point& p, double error) {
    std::ostringstream text;
    text << std::setprecision(17) << request.piston.width << " by " << request.piston.height
         << ", k = " << request.wave.wavenumber << ", at (" << p.x << ", " << p.y << ", " << p.z
         << "), " << pistonfield::nameOf(request.mode) << " on "
         << lanes::nameOf(lanes::instructionSet()) << ", tolerance " << std::setprecision(3)
         << request.tolerance->value
         << (request.tolerance->of == Of::local ? " of local" : " of largest") << ", error "
         << error;
    return text.str();
}

/// Lines of points that no tolerance of the largest magnitude is taken for in single precision, by
/// the instruction sets.
std::atomic<int> linesRefused{0};

/// A line of points about a piston.
struct Scene {
    std::size_t row;
    FieldCase field;
    double tolerance;
    std::vector<ExpectedPressure> expected;

    Scene(std::size_t row, unsigned seed, int points) : row(row) {
        Random random(seed);
        field = drawCase(random, pistonKinds.at(row % pistonKinds.size()),
                         fieldRegions.at(row / pistonKinds.size()), points);
        tolerance = random.magnitude(-12, -2);
        expected = field.expected();
    }

    [[nodiscard]] std::string name() const {
        return describe(withTolerance(field.request, Mode::cpu, {tolerance, Of::local}),
                        field.position(0), 0);
    }

    /// Adds the errors of a plan's values relative to allowed(the expected pressure).
    void measure(const Plan& plan, Largest& largest,
                 const std::function<double(const ExpectedPressure&)>& allowed) const {
        const Values values = computed(plan);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double error = expected[i].errorOf(values[i]);
            largest.add(error / allowed(expected[i]), [&] {
                return describe(plan.request(), field.position(static_cast<std::int64_t>(i)),
                                error);
            });
        }
    }

    [[nodiscard]] Row measured() const {
        const Request& request = field.request;
        const double largest = largestMagnitude(expected);
        Row row;
        const auto measureLocal = [&](const Plan& plan, Largest& to) {
            const double value = plan.request().tolerance->value;
            measure(plan, to, [=](const ExpectedPressure& e) { return value * e.local; });
        };
        const auto measureLargest = [&](const Plan& plan, Largest& to) {
            const double value = plan.request().tolerance->value;
            measure(plan, to, [=](const ExpectedPressure&) { return value * largest; });
        };
        const auto inDouble = [&](double value, Of of) {
            return takenPlan(withTolerance(request, Mode::cpu,
                                           {std::max(value, toleranceInDouble(expected, of)), of}));
        };
        const auto inSingle = [&](Of of) {
            return takenPlan(withTolerance(request, Mode::cpusp, {1e-7, of}));
        };
        measureLocal(inDouble(tolerance, Of::local), row[doubleLocal]);
        measureLargest(inDouble(tolerance, Of::largest), row[doubleLargest]);
        measureLocal(inDouble(0, Of::local), row[doubleTightest]);
        // Where |p| is next to nothing at all points single precision keeps no tolerance of it.
        const auto ofLargestInSingle = [&]() -> std::optional<Plan> {
            try {
                return inSingle(Of::largest);
            } catch (const InvalidRequest& refusal) {
                if (refusal.field() != "tolerance") throw;
                return std::nullopt;
            }
        };
        const Plan single = inSingle(Of::local);
        measureLocal(single, row[singleLocal]);
        measure(single, row[singleAmplitude],
                [](const ExpectedPressure& e) { return 1e-5 * e.amplitude; });
        if (const auto plan = ofLargestInSingle())
            measureLargest(*plan, row[singleLargest]);
        else
            ++linesRefused;
        return row;
    }
};

/// Does a work on the numbers below a count, on all cores.
void onAllCores(std::size_t count, const std::function<void(std::size_t)>& work) {
    pistonfield::inParallel(static_cast<std::int64_t>(count), 1,
                            std::max(1U, std::thread::hardware_concurrency()),
                            [&](std::int64_t first, std::int64_t last) {
                                for (; first < last; ++first) work(static_cast<std::size_t>(first));
                            });
}

/// Failures of several threads.
class Failures {
  public:
    /// Does a work, and keeps what it throws.
    void watch(const std::string& what, const std::function<void()>& work) {
        try {
            work();
        } catch (const std::exception& failure) {
            const std::scoped_lock lock(guard);
            texts.push_back(what + ": " + failure.what());
        }
    }

    /// @return whether there are none
    [[nodiscard]] bool report() const {
        for (const std::string& text : texts) std::cout << "FAILED: " << text << '\n';
        return texts.empty();
    }

  private:
    std::mutex guard;
    std::vector<std::string> texts;
};

/// A row for each region and kind.
using Table = std::vector<Row>;

/// @return whether all that has to hold does
bool report(const Table& table) {
    bool holds = true;
    std::cout << std::left << std::setw(40) << "points" << std::right;
    for (const char* name : measureNames) std::cout << std::setw(11) << name;
    std::cout << '\n' << std::setprecision(3);
    for (std::size_t i = 0; i < table.size(); ++i) {
        std::cout << std::left << std::setw(40)
                  << std::string(fieldRegions.at(i / pistonKinds.size()).name) + ", " +
                         pistonKinds.at(i % pistonKinds.size()).name
                  << std::right;
        for (const Largest& largest : table[i]) std::cout << std::setw(11) << largest.ratio;
        std::cout << '\n';
        for (std::size_t m = 0; m < measures; ++m) {
            if (table[i].at(m).holds()) continue;
            std::cout << "    BROKEN, " << measureNames.at(m) << ": " << table[i].at(m).where
                      << '\n';
            holds = false;
        }
    }
    return holds;
}

/// @return whether no request was refused and no error was above its bound
bool measureRegions(int points) {
    constexpr int pointsOfALine = 32;
    const auto lines = static_cast<std::size_t>((points + pointsOfALine - 1) / pointsOfALine);
    Table table(fieldRegions.size() * pistonKinds.size());
    Failures failures;
    for (std::size_t done = 0; done < lines; done += table.size()) {
        const std::size_t count = std::min(table.size(), lines - done);
        std::vector<std::optional<Scene>> scenes(count);
        onAllCores(count, [&](std::size_t i) {
            scenes[i].emplace(i, static_cast<unsigned>(20261122 + done + i), pointsOfALine);
        });
        for (const lanes::InstructionSet set : availableSets()) {
            lanes::useInstructionSet(set);
            onAllCores(count, [&](std::size_t i) {
                failures.watch(scenes[i]->name(), [&] { add(table[i], scenes[i]->measured()); });
            });
        }
    }
    std::cout << "largest errors relative to what they may be, at " << lines * pointsOfALine
              << " points\n";
    const bool bounded = report(table);
    std::cout << linesRefused << " lines refused in single precision, of all sets\n";
    return failures.report() && bounded;
}

/// What random requests of a mode have come to, by the decade of their tolerance.
struct Decade {
    int requests = 0;
    int refused = 0;         ///< with a tighter tolerance, drawn first
    double evaluations = 0;  ///< at a point, added up
    Largest error;           ///< at the sampled points, relative to the tolerance
    Largest errorOfBound;    ///< the same, relative to the bound that the plan says
    Largest bound;           ///< that the plan says, relative to the tolerance
    Largest measured;        ///< the error that the plan has measured, relative to its bound
};

using Decades = std::map<std::pair<Mode, int>, Decade>;

/// The first points of the lattice, the last ones, and some between.
constexpr int samples = 6;

/// Numbers from 0 on: in their order, or in none.
std::vector<std::size_t> numbersBelow(std::size_t count, bool inOrder, Random& random) {
    std::vector<std::size_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    if (inOrder) return numbers;
    for (std::size_t left = count; left > 1; --left)
        std::swap(numbers[left - 1], numbers[random.below(left)]);
    return numbers;
}

/// The request for a list of a lattice's points.
Request listOf(const FieldCase& field, const std::vector<std::size_t>& points) {
    Request request = field.request;
    pistonfield::PointList& list = request.points.emplace();
    for (const std::size_t point : points) {
        const reference::Point at = field.position(static_cast<std::int64_t>(point));
        list.x.push_back(at.x);
        list.y.push_back(at.y);
        list.z.push_back(at.z);
    }
    request.lattice = {.transform = {}, .sizes = {static_cast<std::int64_t>(points.size()), 1, 1}};
    return request;
}

void measureRequest(unsigned seed, Decades& decades, std::mutex& guard) {
    Random random(seed);
    const FieldCase field = random.below(2) == 0 ? drawLattice(random) : drawAlignedLattice(random);
    const Mode mode = random.below(2) == 0 ? Mode::cpu : Mode::cpusp;
    const bool single = mode == Mode::cpusp;
    const double drawn = random.magnitude(single ? -5 : -12, -2);
    const Of of = random.below(2) == 0 ? Of::largest : Of::local;
    const bool isLattice = random.below(3) > 0;
    const std::vector<std::size_t> points = numbersBelow(
        static_cast<std::size_t>(field.request.lattice.box().points()), isLattice, random);
    const Request request = isLattice ? field.request : listOf(field, points);
    int refusals = 0;
    const Plan plan = takenPlan(withTolerance(request, mode, {drawn, of}), &refusals);
    const double value = plan.request().tolerance->value;
    const auto accuracy = plan.accuracy();
    const Values values = computed(plan);
    double largest = 0;
    for (const auto& v : values) largest = std::max(largest, std::abs(v));

    Decade one;
    one.requests = 1;
    one.refused = refusals > 0 ? 1 : 0;
    const auto words = [&] { return describe(plan.request(), field.position(0), 0); };
    if (accuracy) {
        one.evaluations = accuracy->evaluations;
        one.bound.add(accuracy->bound / value, words);
        one.measured.add(accuracy->error / accuracy->bound, words);
    }
    for (int i = 0; i < samples; ++i) {
        const std::size_t number = random.below(values.size());
        const auto point = static_cast<std::int64_t>(points[number]);
        const ExpectedPressure expected = field.expected(point);
        const double error = expected.errorOf(values[number]);
        const double scale = of == Of::local ? expected.local : largest;
        const auto where = [&] {
            return describe(plan.request(), field.position(point), error) +
                   (isLattice ? "" : ", in a list");
        };
        one.error.add(error / (value * scale), where);
        one.errorOfBound.add(error / (accuracy ? accuracy->bound * scale : 0), where);
    }

    const std::scoped_lock lock(guard);
    Decade& sum = decades[{mode, static_cast<int>(std::floor(std::log10(value)))}];
    sum.requests += one.requests;
    sum.refused += one.refused;
    sum.evaluations += one.evaluations;
    sum.error.add(one.error);
    sum.errorOfBound.add(one.errorOfBound);
    sum.bound.add(one.bound);
    sum.measured.add(one.measured);
}

bool measureRequests(int requests) {
    Decades decades;
    Failures failures;
    std::mutex guard;
    lanes::useInstructionSet(lanes::bestInstructionSet());
    onAllCores(static_cast<std::size_t>(requests), [&](std::size_t i) {
        const auto seed = static_cast<unsigned>(i + 1);
        failures.watch("request " + std::to_string(seed),
                       [&] { measureRequest(seed, decades, guard); });
    });

    bool holds = true;
    std::cout
        << "random requests: errors at sampled points in parts of the tolerance and of the "
           "plan's bound, that\n"
           "bound in parts of the tolerance, the error that the plan has measured in parts "
           "of its bound\n"
           "   mode tolerance requests  refused evaluations   error of bound    bound measured\n"
        << std::setprecision(3);
    for (const auto& [key, decade] : decades) {
        std::cout << std::setw(7) << nameOf(key.first) << "  1e" << std::setw(5) << key.second
                  << std::setw(10) << decade.requests << std::setw(9) << decade.refused
                  << std::setw(12) << decade.evaluations / decade.requests << std::setw(9)
                  << decade.error.ratio << std::setw(9) << decade.errorOfBound.ratio << std::setw(9)
                  << decade.bound.ratio << std::setw(9) << decade.measured.ratio << '\n';
        for (const Largest* largest :
             {&decade.error, &decade.errorOfBound, &decade.bound, &decade.measured}) {
            if (largest->holds()) continue;
            std::cout << "    BROKEN: " << largest->where << '\n';
            holds = false;
        }
    }
    return failures.report() && holds;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    constexpr int pointsOfARequest = 100;
    const bool regionsHold = measureRegions(count);
    const bool requestsHold = measureRequests((count + pointsOfARequest - 1) / pointsOfARequest);
    return regionsHold && requestsHold ? 0 : 1;
}
