// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/PanelRules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace reference {
namespace {

constexpr std::array<int, mostPanelRules> orders{2,  3,  4,  5,  6,  8,  10, 12, 14, 16, 19,
                                                 22, 26, 30, 35, 40, 46, 53, 61, 70, 80};

std::vector<Rule> allRules() {
    std::vector<Rule> rules;
    for (const int order : orders) rules.push_back(legendreRule(order));
    return rules;
}

}  // namespace

const Rule& panelRule(std::size_t step) {
    static const std::vector<Rule> rules = allRules();
    return rules.at(step);
}

std::size_t panelRuleFor(double rho, double phase) {
    constexpr double digits = 50;  // 21.7 decimal ones, as a natural logarithm
    double order = std::numeric_limits<double>::infinity();
    double r = rho;
    while (r > 1.5) {
        order = std::min(order, (digits + phase * (r - 1 / r) / 2) / (2 * std::log(r)));
        r /= 1.3;
    }
    const auto* const enough =
        std::find_if(orders.begin(), orders.end(), [&](int n) { return n >= order; });
    return std::min<std::size_t>(static_cast<std::size_t>(enough - orders.begin()),
                                 mostPanelRules - 2);
}

}  // namespace reference
