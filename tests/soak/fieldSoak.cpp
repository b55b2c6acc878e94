// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "fieldSoak.h"

#include <bit>
#include <cmath>
#include <exception>
#include <iostream>

#include "parallel/threads.h"
#include "parallel/usableCores.h"

using namespace pistonfield;

namespace {

bool sameBits(std::complex<double> a, std::complex<double> b) {
    const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    return bits(a.real()) == bits(b.real()) && bits(a.imag()) == bits(b.imag());
}

/// How many values of a random box have other bits than those of the whole.
std::int64_t differences(const Plan& plan, const Values& whole, Random& random) {
    const auto& sizes = plan.request().lattice.sizes;
    LatticeBox box;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto below = [&](std::int64_t limit) {
            return static_cast<std::int64_t>(random.below(static_cast<std::size_t>(limit)));
        };
        box.first.at(i) = below(sizes.at(i));
        box.size.at(i) = 1 + below(sizes.at(i) - box.first.at(i));
    }
    const Values part = computed(plan, box);
    std::int64_t count = 0;
    std::size_t next = 0;
    for (std::int64_t field = 0; field < plan.request().fields(); ++field)
        for (std::int64_t z = 0; z < box.size[2]; ++z)
            for (std::int64_t y = 0; y < box.size[1]; ++y)
                for (std::int64_t x = 0; x < box.size[0]; ++x) {
                    const std::int64_t at =
                        ((field * sizes[2] + box.first[2] + z) * sizes[1] + box.first[1] + y) *
                            sizes[0] +
                        box.first[0] + x;
                    if (!sameBits(part[next++], whole[static_cast<std::size_t>(at)])) ++count;
                }
    return count;
}

}  // namespace

void Tally::add(double another) {
    ++cases;
    keepLargest(share, another);
}

void keepLargest(double& largest, double candidate) {
    if (!std::isnan(largest) && !(candidate <= largest)) largest = candidate;
}

void Failures::add(std::size_t number, const std::string& what) {
    const std::scoped_lock lock(guard);
    texts[number] += "case " + std::to_string(number) + ": " + what + '\n';
}

bool Failures::report() const {
    for (const auto& [number, text] : texts) std::cout << text;
    return texts.empty();
}

Values computed(const Plan& plan, const LatticeBox& box) {
    Values values(static_cast<std::size_t>(box.points() * plan.request().fields()));
    plan.compute(box, values.data(), {.threads = 1});
    return values;
}

void checkPlan(const Plan& plan, const Values& values, double share, const std::string& words,
               std::size_t number, Random& random, Failures& failures) {
    const double tolerance = plan.request().tolerance->value;
    const auto inTolerances = [&](double error) {
        return std::to_string(error / tolerance) + " tolerances";
    };
    if (!(share <= 1))
        failures.add(number, "an error of " + std::to_string(share) + " tolerances: " + words);
    if (const auto accuracy = plan.accuracy();
        !(accuracy->error <= accuracy->bound && accuracy->bound <= tolerance))
        failures.add(number, "a measured error of " + inTolerances(accuracy->error) +
                                 ", a bound of " + inTolerances(accuracy->bound) + ": " + words);
    if (const std::int64_t count = differences(plan, values, random))
        failures.add(number, std::to_string(count) + " values differ in a box: " + words);
}

void forEachCase(int count, Failures& failures,
                 const std::function<void(std::size_t number)>& measure) {
    inParallel(count, 1, usableCores(), [&](std::int64_t first, std::int64_t last) {
        for (auto number = static_cast<std::size_t>(first); number < static_cast<std::size_t>(last);
             ++number)
            try {
                measure(number);
            } catch (const std::exception& failure) {
                failures.add(number, failure.what());
            }
    });
}
