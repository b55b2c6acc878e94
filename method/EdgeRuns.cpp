// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/EdgeRuns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace pistonfield {

namespace {

/// Runs of fewer points take more nodes than each of their points alone.
constexpr int fewestPoints = 4;

/// The least step, in radians, with which points are in runs: the inverse of a length in floats,
/// times any distance, is finite. There is none between points that repeat.
constexpr double leastStep = 1e-20;

/// What a node's share in a point's sum takes, in evaluations of the integrand.
constexpr double evaluationsOfProduct = 0.08;

float hypotenuse(float a, float b) { return std::sqrt(a * a + b * b); }

}  // namespace

template <class T>
EdgeRuns<T>::Level::Level(int points, double step, double k)
    : points(points),
      half((points - 1) * step / 2),
      orders(static_cast<float>(half * k)),
      rules(points) {}

template <class T>
EdgeRuns<T>::EdgeRuns(const Face& face, const Orders& orders, const Rules<T>& rules, bool alongX,
                      double step, int longest)
    : orders(orders),
      rules(rules),
      alongX(alongX),
      sides{alongX ? face.halfX : face.halfY, alongX ? face.halfY : face.halfX, face.k},
      longest(longest) {
    if (step * face.k < leastStep) return;
    for (int points = longest; points >= fewestPoints; points = (points + 1) / 2)
        levels.emplace_back(points, step, face.k);
}

/// Rows that share the numbers of nodes, and where they lie as the edges have it, times k.
template <class T>
struct EdgeRuns<T>::RowGroup {
    Rows rows;
    Span offsets[2];  ///< of the edges at +across and at -across
    float z;          ///< the least
    double square;    ///< the largest of across^2 + z^2
};

template <class T>
struct EdgeRuns<T>::ChosenRun {
    int first;
    int points;
    const Level* level;  ///< null: one point alone
    int nodes;
    std::array<Panels, 2> edges;
    int alone;  ///< evaluations at the middle

    int evaluations() const { return 4 * nodes + alone; }
};

template <class T>
auto EdgeRuns<T>::groupOf(const Brick& brick, int group) const -> RowGroup {
    const Ticks& across = brick[alongX ? 1 : 0];
    const Ticks& z = brick[2];
    constexpr double infinity = std::numeric_limits<double>::infinity();
    RowGroup to{};
    to.rows.count = std::min(rowsOfRun, across.count * z.count - group * rowsOfRun);
    double leastZ = infinity;
    double least = infinity;
    double most = -infinity;
    for (int lane = 0; lane < rowsOfRun; ++lane) {
        const int row = std::min(group * rowsOfRun + lane, across.count * z.count - 1);
        const double b = across.at(row % across.count);
        const double height = std::abs(z.at(row / across.count));
        to.rows.across[lane] = b;
        to.rows.z[lane] = height;
        least = std::min(least, b);
        most = std::max(most, b);
        leastZ = std::min(leastZ, height);
        to.square = std::max(to.square, b * b + height * height);
    }
    const double k = sides.k;
    to.square *= k * k;
    to.z = Span::ofMagnitudes(leastZ * k, leastZ * k).least;
    to.offsets[0] = Span::ofMagnitudes((sides.across - most) * k, (sides.across - least) * k);
    to.offsets[1] = Span::ofMagnitudes((sides.across + least) * k, (sides.across + most) * k);
    return to;
}

/// Chooses how rows are cut into runs.
template <class T>
class EdgeRuns<T>::Choice {
  public:
    Choice(const EdgeRuns& edges, const RowGroup& rows, const Ticks& along,
           const BrickLimits& limits)
        : edges(edges), rows(rows), along(along), limits(limits) {}

    /// Cuts points into runs of a level or of shorter ones.
    /// @return what they take, in evaluations
    double cut(std::size_t level, int first, int count) {
        const bool isLast = level == edges.levels.size();
        if (isLast || count == 1) return alone(first, count);
        const std::size_t begin = runs.size();
        const double whole = asOne(edges.levels[level], first, count);
        // A run is hardly ever worth cutting where it has no more nodes than points, or where its
        // points alone would each take as much as its middle does.
        const bool isShortest = level + 1 == edges.levels.size();
        if (runs.size() > begin &&
            (runs.back().nodes <= count || (isShortest && whole < 0.8 * count * runs.back().alone)))
            return whole;
        const std::size_t end = runs.size();
        const int half = std::min(count, (edges.levels[level].points + 1) / 2);
        double parts = cut(level + 1, first, half);
        if (half < count) parts += cut(level + 1, first + half, count - half);
        const auto at = [this](std::size_t i) {
            return runs.begin() + static_cast<std::ptrdiff_t>(i);
        };
        if (parts < whole)
            runs.erase(at(begin), at(end));
        else
            runs.erase(at(end), runs.end());
        return std::min(parts, whole);
    }

    std::vector<ChosenRun> runs;

  private:
    double reach(double from, double to) const {
        const double farthest = std::max(std::abs(from), std::abs(to)) * edges.sides.k;
        return std::sqrt(rows.square + farthest * farthest);
    }

    /// Chooses the panels of the integrals along the edges for a point.
    int choosePanels(double at, double tolerance, std::array<Panels, 2>& panels) const {
        const double distance = std::abs(at) * edges.sides.k;
        int nodes = 0;
        for (std::size_t i = 0; i < panels.size(); ++i) {
            panels[i] = edges.orders.ofEdge(
                {edges.alongX, Span::ofMagnitudes(distance, distance), rows.offsets[i], rows.z},
                static_cast<float>(tolerance));
            nodes += pistonfield::nodesOf(panels[i]);
        }
        return nodes;
    }

    /// The limit of the error of all integrals along the edges.
    double tolerance(double from, double to) const {
        return std::numbers::pi * limits.nodes.at(reach(from, to));
    }

    double alone(int first, int count) {
        double evaluations = 0;
        for (int i = first; i < first + count; ++i) {
            const double at = along.at(i);
            ChosenRun run{i, 1, nullptr, 0, {}, 0};
            run.alone = choosePanels(at, tolerance(at, at) / 2, run.edges);
            evaluations += run.alone;
            runs.push_back(run);
        }
        return evaluations;
    }

    /// The points as one run, if it has a bound.
    double asOne(const Level& level, int first, int count) {
        const double from = along.at(first);
        const double to = from + 2 * level.half;
        const double limit = tolerance(from, to);
        const int nodes = nodesOf(level, from, to, limit / 8);
        constexpr double infinity = std::numeric_limits<double>::infinity();
        if (nodes > RunRules<T>::mostNodes || !keepsDigits(level, from, to)) return infinity;
        ChosenRun run{first, count, &level, nodes, {}, 0};
        run.alone = choosePanels(from + level.half, limit / 4, run.edges);
        runs.push_back(run);
        return run.evaluations() + evaluationsOfProduct * nodes * count;
    }

    /// The distance along an edge of one of its ends from the run's middle.
    double distanceOfEnd(double middle, int end) const {
        return std::abs(edges.sides.along + end * middle) * edges.sides.k;
    }

    /// The nodes that keep each of the four integrals of the integrand at an edge's end within a
    /// tolerance. The bound is that of a rule with half as many, but for a factor of
    /// 15/16 (1 + 1/rho).
    int nodesOf(const Level& level, double from, double to, double tolerance) const {
        int half = 0;
        for (const Span& offset : rows.offsets) {
            const auto share = static_cast<float>(tolerance);
            const float amplitude = std::max(2 * offset.most, share);
            const float height = hypotenuse(offset.least, rows.z);
            for (const int end : {-1, 1}) {
                const double middle = distanceOfEnd((from + to) / 2, end);
                const int rung = level.orders.rungOf(Span::ofMagnitudes(middle, middle), height,
                                                     amplitude, share);
                half = std::max(half, OrderLadder::nodesOf(rung));
            }
        }
        return 2 * half;
    }

    /// Whether rounding adds little: a run's values are sums of terms that may be larger than they
    /// are. About 8 units for the arithmetic, and 2 for each radian of a phase.
    bool keepsDigits(const Level& level, double from, double to) const {
        const double half = level.half * edges.sides.k;
        const double distance = reach(from, to);
        double sum = 0;
        for (const Span& offset : rows.offsets)
            for (const int end : {-1, 1}) {
                const double nearest = std::max(0.0, distanceOfEnd((from + to) / 2, end) - half);
                const double square =
                    nearest * nearest + offset.least * offset.least + rows.z * rows.z;
                sum += std::min({offset.most / std::sqrt(square), 1 / nearest, 2.0 / offset.least});
            }
        const double phase = (distance - rows.z) / 2;
        constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;
        return unit * (8 + 2 * phase) * half * sum / (2 * std::numbers::pi) <=
               limits.rounding.at(distance);
    }

    const EdgeRuns& edges;
    const RowGroup& rows;
    const Ticks& along;
    const BrickLimits& limits;
};

template <class T>
auto EdgeRuns<T>::runsOf(const Brick& brick, const RowGroup& rows, int first, int last,
                         const BrickLimits& limits) const -> std::vector<ChosenRun> {
    const Ticks& along = brick[alongX ? 0 : 1];
    Choice choice(*this, rows, along, limits);
    for (int at = first / longest * longest; at < last; at += longest)
        choice.cut(0, at, std::min(longest, along.count - at));
    return choice.runs;
}

template <class T>
void EdgeRuns<T>::compute(const Brick& brick, const BrickPart& part, const BrickLimits& limits,
                          BrickNumbers<T>& values) const {
    const std::size_t along = alongX ? 0 : 1;
    const std::size_t across = 1 - along;
    const int width = brick[across].count;
    const int rows = rowsIn(brick, across);
    const std::size_t size =
        static_cast<std::size_t>(brick[along].count) * static_cast<std::size_t>(rows);
    values.re.resize(size);
    values.im.resize(size);
    const int firstRow = part.first[2] * width + part.first[across];
    const int lastRow = (part.last[2] - 1) * width + part.last[across];
    const auto computeRun = runFields().in<T>();
    for (int g = firstRow / rowsOfRun; g * rowsOfRun < lastRow; ++g) {
        const RowGroup group = groupOf(brick, g);
        const auto runs = runsOf(brick, group, part.first[along], part.last[along], limits);
        for (const ChosenRun& run : runs) {
            if (run.first >= part.last[along] || run.first + run.points <= part.first[along])
                continue;
            for (const Panels& panels : run.edges) rules.require(panels);
            const double half = run.level == nullptr ? 0 : run.level->half;
            const RunRule<T> rule =
                run.level == nullptr ? RunRule<T>{} : run.level->rules.rule(run.nodes);
            const std::ptrdiff_t at =
                std::ptrdiff_t{run.first} * rows + std::ptrdiff_t{g} * rowsOfRun;
            computeRun(rules.table(), sides, group.rows,
                       {brick[along].at(run.first) + half,
                        half,
                        rule,
                        run.points,
                        {run.edges[0], run.edges[1]}},
                       {values.re.data() + at, values.im.data() + at, rows});
        }
    }
}

template <class T>
double EdgeRuns<T>::evaluationsOf(const Brick& brick, const std::array<int, 3>& point,
                                  const BrickLimits& limits) const {
    const std::size_t along = alongX ? 0 : 1;
    const int row = point[2] * brick[1 - along].count + point[1 - along];
    const RowGroup group = groupOf(brick, row / rowsOfRun);
    const auto runs = runsOf(brick, group, point[along], point[along] + 1, limits);
    const auto found = std::find_if(runs.begin(), runs.end(), [&](const ChosenRun& run) {
        return point[along] >= run.first && point[along] < run.first + run.points;
    });
    // Packs of the widest registers are filled up.
    constexpr int lanes = 64 / sizeof(T);
    const int rows = (group.rows.count + lanes - 1) / lanes * lanes;
    const double idle = static_cast<double>(rows) / group.rows.count;
    return idle * found->evaluations() / found->points;
}

template class EdgeRuns<float>;
template class EdgeRuns<double>;

}  // namespace pistonfield
