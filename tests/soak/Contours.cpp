// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The errors of random fields by integrals along outlines, against integrals over the surfaces:
// pistons of any shape, side by side or tilted, with losses, in every baffle, all quantities; equal
// ones on grids of a lattice's steps, which convolutions compute; and whether a box of the points
// has the bits of the whole.
//
// Usage: contours CASES

#include <array>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <string>

#include "CountArgument.h"
#include "field/Plan.h"
#include "fieldSoak.h"
#include "support/RandomPoints.h"
#include "tests/field/ContourCase.h"
#include "tests/field/FieldCase.h"

namespace {

using namespace pistonfield;

constexpr std::array quantities{"pressure", "velocity", "intensity"};
constexpr std::array baffles{"rigid", "soft", "free"};

class Results {
  public:
    void add(const Plan& plan, double share) {
        const std::scoped_lock lock(guard);
        const Request& request = plan.request();
        tallies.at(static_cast<std::size_t>(request.quantity))
            .at(static_cast<std::size_t>(request.baffle))
            .at(request.tolerance->of == Tolerance::Of::local ? 0 : 1)
            .add(share);
        engines[std::string(plan.engine())].add(share);
    }

    void addRefusal() {
        const std::scoped_lock lock(guard);
        ++refused;
    }

    /// @return whether there are cases
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
        std::cout << cases << " cases;";
        for (const auto& [engine, tally] : engines)
            std::cout << " engine " << engine << ' ' << tally.cases << ", largest " << tally.share
                      << ';';
        std::cout << ' ' << refused << " refused\n";
        return cases > 0;
    }

  private:
    std::mutex guard;
    std::array<std::array<std::array<Tally, 2>, 3>, 3> tallies{};
    std::map<std::string, Tally> engines;
    int refused = 0;
};

void measure(std::size_t number, Results& results, Failures& failures) {
    Random random(static_cast<unsigned>(number));
    ContourCase drawn = random.below(2) == 0 ? drawContourGrid(random) : drawContourCase(random);
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
    results.add(plan, share);
    checkPlan(plan, values, share, describe(drawn.request), number, random, failures);
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    Results results;
    Failures failures;
    forEachCase(count, failures, [&](std::size_t number) { measure(number, results, failures); });
    const bool hasCases = results.report();
    return failures.report() && hasCases ? 0 : 1;
}
