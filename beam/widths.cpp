// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/widths.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "beam/places.h"

namespace pistonfield {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

/// Where |p| falls below a level: between two places on a line.
struct Bracket {
    double from, to;
    double above, below;  ///< |p| there
    double level;

    /// Cuts it into as many parts as there are values within and one more, and takes the first one
    /// that leads below the level.
    void narrow(const double* values, std::size_t count) noexcept {
        const double part = (to - from) / static_cast<double>(count + 1);
        const double begin = from;
        for (std::size_t i = 0; i < count; ++i) {
            const double at = begin + part * static_cast<double>(i + 1);
            if (values[i] <= level) {
                to = at;
                below = values[i];
                return;
            }
            from = at;
            above = values[i];
        }
    }

    double crossing() const noexcept {
        return from + (to - from) * (above - level) / (above - below);
    }
};

/// One side of a line, as far as it has been gone along.
class Side {
  public:
    Side(const Line& line, double reach, const std::vector<double>& levels, double value)
        : line(line), reach(reach), lastValue(value) {
        for (const double level : levels) brackets.push_back({none, none, none, none, level});
    }

    /// The next places, up to the end; none where all levels have been found.
    std::vector<double> next(const StepAt& stepAt) const {
        constexpr std::size_t atATime = 64;
        constexpr double fewest = 16;  // steps on a short side
        const double sign = reach < 0 ? -1 : 1;
        const double end = std::abs(reach);
        std::vector<double> ways;
        double at = std::abs(last);
        while (!isDone && ways.size() < atATime && at < end) {
            at = std::min(at + std::min(stepAt(line.at(sign * at)), end / fewest), end);
            ways.push_back(sign * at);
        }
        return ways;
    }

    /// Takes |p| at a place to which one has gone.
    void take(double way, double value) noexcept {
        isDone = isDone || std::isnan(value);
        if (isDone) return;
        for (; found < brackets.size() && value <= brackets[found].level; ++found)
            brackets[found] = {last, way, lastValue, value, brackets[found].level};
        last = way;
        lastValue = value;
        isDone = found == brackets.size();
    }

    Vector3 at(double way) const noexcept { return line.at(way); }

    /// Those of the levels that have been found, which fall.
    Bracket* begin() noexcept { return brackets.data(); }
    Bracket* end() noexcept { return brackets.data() + found; }

    /// How far it is to a level.
    double wayTo(std::size_t level) const noexcept {
        return level < found ? std::abs(brackets[level].crossing()) : none;
    }

  private:
    Line line;
    double reach;
    double last = 0;
    double lastValue;
    std::vector<Bracket> brackets;
    std::size_t found = 0;
    bool isDone = false;
};

/// Goes along all sides, until each has found its levels or has come to its end.
void goAlong(const BeamField& field, std::vector<Side>& sides, const StepAt& stepAt) {
    for (;;) {
        Places places;
        std::vector<std::pair<Side*, double>> steps;
        for (Side& side : sides)
            for (const double way : side.next(stepAt)) {
                steps.emplace_back(&side, way);
                places.add(side.at(way));
            }
        if (steps.empty()) return;
        const std::vector<double> values = field.magnitudes(places.list());
        for (std::size_t i = 0; i < steps.size(); ++i)
            steps[i].first->take(steps[i].second, values[i]);
    }
}

/// Narrows brackets until the line between their ends is straight.
void narrowAll(const BeamField& field, std::vector<Side>& sides) {
    constexpr int rounds = 3;
    constexpr std::size_t within = 16;
    for (int round = 0; round < rounds; ++round) {
        Places places;
        std::vector<Bracket*> brackets;
        for (Side& side : sides)
            for (Bracket& bracket : side) {
                brackets.push_back(&bracket);
                for (std::size_t i = 1; i <= within; ++i)
                    places.add(side.at(bracket.from + (bracket.to - bracket.from) *
                                                          static_cast<double>(i) / (within + 1.0)));
            }
        const std::vector<double> values = field.magnitudes(places.list());
        for (std::size_t i = 0; i < brackets.size(); ++i)
            brackets[i]->narrow(values.data() + i * within, within);
    }
}

}  // namespace

std::array<BeamReaches, 3> reachesAlong(const BeamField& field, const std::array<Line, 3>& lines,
                                        double value, const StepAt& stepAt) {
    std::vector<double> levels(beamLevels.size());
    std::transform(beamLevels.begin(), beamLevels.end(), levels.begin(),
                   [&](double level) { return value * std::pow(10, level / 20); });
    std::vector<Side> sides;
    for (const Line& line : lines)
        for (const double reach : {line.range.from, line.range.to})
            sides.emplace_back(line, reach, levels, value);
    goAlong(field, sides, stepAt);
    narrowAll(field, sides);
    std::array<BeamReaches, 3> reaches{};
    for (std::size_t i = 0; i < reaches.size(); ++i)
        for (std::size_t level = 0; level < levels.size(); ++level)
            reaches[i][level] = {sides[2 * i].wayTo(level), sides[2 * i + 1].wayTo(level)};
    return reaches;
}

}  // namespace pistonfield
