// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/lobes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "beam/places.h"

namespace pistonfield {

namespace {

/// One side of a curve: ways from 0 on, and |p| there.
struct Side {
    const Curve* curve;
    std::vector<double> ways;
    std::vector<double> values;

    Side(const Curve& curve, double reach) : curve(&curve) {
        constexpr double most = 1 << 16;
        if (reach == 0) return;
        const auto steps =
            static_cast<int>(std::min(std::ceil(std::abs(reach) / curve.step), most));
        for (int i = 0; i <= steps; ++i) ways.push_back(reach * i / steps);
    }

    /// Whether there is a local maximum within.
    bool hasMaximum(std::size_t i) const noexcept {
        return values[i] >= values[i - 1] && values[i] > values[i + 1];
    }

    /// The first local minimum, or the end.
    std::size_t firstMinimum() const noexcept {
        std::size_t i = 1;
        while (i + 1 < values.size() && !(values[i] <= values[i - 1] && values[i] < values[i + 1]))
            ++i;
        return i;
    }
};

/// A local maximum between two ways.
struct Bracket {
    const Curve* curve;
    double from, to;
    CurveLobe best;
};

/// Both sides of all curves, with their values.
std::vector<Side> sidesOf(const BeamField& field, const std::vector<Curve>& curves) {
    std::vector<Side> sides;
    Places places;
    for (const Curve& curve : curves)
        for (const double reach : {curve.range.from, curve.range.to}) {
            sides.emplace_back(curve, reach);
            for (const double way : sides.back().ways) places.add(curve.at(way));
        }
    const std::vector<double> values = field.magnitudes(places.list());
    auto next = values.begin();
    for (Side& side : sides) {
        const auto end = next + static_cast<std::ptrdiff_t>(side.ways.size());
        side.values.assign(next, end);
        next = end;
    }
    return sides;
}

/// The largest ones on a curve, of maxima that are no less than the least one.
std::vector<Bracket> bracketsOn(const Curve& curve, const std::vector<Side>& sides, double least) {
    constexpr std::size_t most = 8;
    std::vector<Bracket> brackets;
    for (const Side& side : sides) {
        if (side.curve != &curve) continue;
        for (std::size_t i = side.firstMinimum() + 1; i + 1 < side.values.size(); ++i)
            if (side.hasMaximum(i) && side.values[i] >= least)
                brackets.push_back(
                    {&curve, side.ways[i - 1], side.ways[i + 1], {side.ways[i], side.values[i]}});
    }
    std::stable_sort(brackets.begin(), brackets.end(), [](const Bracket& a, const Bracket& b) {
        return a.best.value > b.best.value;
    });
    if (brackets.size() > most) brackets.erase(brackets.begin() + most, brackets.end());
    return brackets;
}

/// Narrows all brackets about the best of some ways within each.
void narrow(const BeamField& field, std::vector<Bracket>& brackets) {
    constexpr std::size_t within = 33;
    std::vector<double> ways;
    Places places;
    for (const Bracket& bracket : brackets)
        for (std::size_t i = 1; i <= within; ++i) {
            ways.push_back(bracket.from +
                           (bracket.to - bracket.from) * static_cast<double>(i) / (within + 1.0));
            places.add(bracket.curve->at(ways.back()));
        }
    const std::vector<double> values = field.magnitudes(places.list());
    for (std::size_t i = 0; i < ways.size(); ++i) {
        CurveLobe& best = brackets[i / within].best;
        if (values[i] > best.value) best = {ways[i], values[i]};
    }
    for (Bracket& bracket : brackets) {
        const double half = (bracket.to - bracket.from) / (within + 1.0);
        bracket.from = bracket.best.at - half;
        bracket.to = bracket.best.at + half;
    }
}

}  // namespace

std::vector<std::vector<CurveLobe>> lobesOn(const BeamField& field,
                                            const std::vector<Curve>& curves, double peak) {
    constexpr double floor = 1e-3;
    constexpr int rounds = 3;
    const std::vector<Side> sides = sidesOf(field, curves);
    std::vector<Bracket> brackets;
    for (const Curve& curve : curves) {
        const std::vector<Bracket> some = bracketsOn(curve, sides, floor * peak);
        brackets.insert(brackets.end(), some.begin(), some.end());
    }
    for (int round = 0; round < rounds; ++round) narrow(field, brackets);
    std::stable_sort(brackets.begin(), brackets.end(), [](const Bracket& a, const Bracket& b) {
        return a.best.value > b.best.value;
    });
    std::vector<std::vector<CurveLobe>> lobes(curves.size());
    for (const Bracket& bracket : brackets)
        lobes[static_cast<std::size_t>(bracket.curve - curves.data())].push_back(bracket.best);
    return lobes;
}

}  // namespace pistonfield
