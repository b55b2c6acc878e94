// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The errors of random fields by integrals along outlines, against integrals over the surfaces:
// pistons of any shape, side by side or tilted, with losses, in every baffle, all quantities; and
// whether a box of the points has the bits of the whole.
//
// Usage: contours CASES

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "CountArgument.h"
#include "field/Plan.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "support/RandomPoints.h"
#include "tests/field/ContourCase.h"
#include "tests/field/FieldCase.h"

namespace {

using namespace pistonfield;
using Values = std::vector<std::complex<double>>;

Values computed(const Plan& plan, const LatticeBox& box) {
    Values values(static_cast<std::size_t>(box.points() * plan.request().fields()));
    plan.compute(box, values.data(), {.threads = 1});
    return values;
}

/// How many values of one random point differ from those of the whole.
std::int64_t differences(const Plan& plan, const Values& whole, Random& random) {
    const auto& sizes = plan.request().lattice.sizes;
    LatticeBox box{{}, {1, 1, 1}};
    for (std::size_t i = 0; i < 3; ++i)
        box.first.at(i) =
            static_cast<std::int64_t>(random.below(static_cast<std::size_t>(sizes.at(i))));
    const Values part = computed(plan, box);
    const std::int64_t points = plan.request().lattice.box().points();
    const std::int64_t number = (box.first[2] * sizes[1] + box.first[1]) * sizes[0] + box.first[0];
    std::int64_t count = 0;
    for (std::int64_t f = 0; f < plan.request().fields(); ++f)
        if (part[static_cast<std::size_t>(f)] !=
            whole[static_cast<std::size_t>(f * points + number)])
            ++count;
    return count;
}

/// What cases have come to.
struct Tally {
    int cases = 0;
    double share = 0;

    void add(double another) {
        ++cases;
        if (!(another <= share)) share = another;
    }
};

constexpr std::array quantities{"pressure", "velocity", "intensity"};
constexpr std::array baffles{"rigid", "soft", "free"};

class Results {
  public:
    void add(const Request& request, double share) {
        const std::scoped_lock lock(guard);
        tallies.at(static_cast<std::size_t>(request.quantity))
            .at(static_cast<std::size_t>(request.baffle))
            .at(request.tolerance->of == Tolerance::Of::local ? 0 : 1)
            .add(share);
    }

    void addFailure(std::size_t number, const std::string& what) {
        const std::scoped_lock lock(guard);
        failures[number] += "case " + std::to_string(number) + ": " + what + '\n';
    }

    void addRefusal() {
        const std::scoped_lock lock(guard);
        ++refused;
    }

    /// @return whether there are cases, and all that has to hold does
    bool report() const {
        int cases = 0;
        std::cout << "largest errors at the points looked at, over what they may be, and cases\n"
                     "quantity   baffle          local          largest\n"
                  << std::setprecision(3);
        for (std::size_t q = 0; q < quantities.size(); ++q)
            for (std::size_t b = 0; b < baffles.size(); ++b) {
                std::cout << std::left << std::setw(11) << quantities.at(q) << std::setw(6)
                          << baffles.at(b) << std::right;
                for (const Tally& tally : tallies.at(q).at(b)) {
                    std::cout << std::setw(11) << tally.share << std::setw(6) << tally.cases;
                    cases += tally.cases;
                }
                std::cout << '\n';
            }
        std::cout << cases << " cases; " << refused << " refused\n";
        for (const auto& [number, text] : failures) std::cout << text;
        return cases > 0 && failures.empty();
    }

  private:
    std::mutex guard;
    std::array<std::array<std::array<Tally, 2>, 3>, 3> tallies{};
    int refused = 0;
    std::map<std::size_t, std::string> failures;  ///< by the number of the case
};

void measure(std::size_t number, Results& results) {
    Random random(static_cast<unsigned>(number));
    ContourCase drawn = drawContourCase(random);
    try {
        drawn.request = takenPlan(drawn.request).request();
    } catch (const InvalidRequest& refusal) {
        if (refusal.field() != "tolerance") throw;
        results.addRefusal();
        return;
    }
    const Plan plan(drawn.request);
    const Values values = computed(plan, drawn.request.lattice.box());
    constexpr std::size_t pointsLookedAt = 5;
    const double share = worstOf(drawn, values, pointsLookedAt, random);
    results.add(drawn.request, share);
    const std::string words = describe(drawn.request);
    if (!(share <= 1))
        results.addFailure(number,
                           "an error of " + std::to_string(share) + " tolerances: " + words);
    const auto accuracy = plan.accuracy();
    if (!(accuracy->error <= accuracy->bound && accuracy->bound <= drawn.request.tolerance->value))
        results.addFailure(number, "a measured error beyond the tolerance: " + words);
    if (const std::int64_t count = differences(plan, values, random))
        results.addFailure(number, std::to_string(count) + " values differ in a box: " + words);
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    Results results;
    inParallel(count, 1, usableCores(), [&](std::int64_t first, std::int64_t last) {
        for (auto number = static_cast<std::size_t>(first); number < static_cast<std::size_t>(last);
             ++number)
            try {
                measure(number, results);
            } catch (const std::exception& failure) {
                results.addFailure(number, failure.what());
            }
    });
    return results.report() ? 0 : 1;
}
