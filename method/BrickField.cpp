// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/BrickField.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace pistonfield {

namespace {

std::size_t numberOf(const Brick& brick, int x, int y, int z) {
    const int number = (z * brick[1].count + y) * brick[0].count + x;
    return static_cast<std::size_t>(number);
}

/// The largest magnitude of coordinates.
double farthest(const Ticks& ticks) {
    return std::max(std::abs(ticks.at(0)), std::abs(ticks.at(ticks.count - 1)));
}

}  // namespace

template <class T>
BrickField<T>::BrickField(const Face& face, const std::array<double, 2>& steps,
                          const std::array<int, 2>& longest)
    : face(face),
      orders(face.scaled()),
      single(face),
      edges{EdgeRuns<T>(face, orders, rules, true, steps[0], longest[0]),
            EdgeRuns<T>(face, orders, rules, false, steps[1], longest[1])} {}

/// Whether the formula `edges` serves all points: the face has none beside it, or the edges cancel
/// there by less than rounding may add. By rounding they are off by 6u |e|/s of the local
/// amplitude, of the offset e from an edge and the side s across it.
template <class T>
bool BrickField<T>::hasEdges(const Brick& brick, const BrickLimits& limits) const {
    const double x = farthest(brick[0]);
    const double y = farthest(brick[1]);
    if (!face.hasBeside(x, y)) return true;
    const double reach = face.k * std::hypot(x, y, farthest(brick[2]));
    const double side = 2 * face.k * std::max(face.halfX, face.halfY);
    constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;
    return 6 * unit * side / (2 * std::numbers::pi) <= limits.rounding.at(reach);
}

/// Computes points of a row along x by themselves.
template <class T>
int BrickField<T>::computeRow(const Brick& brick, const std::array<int, 3>& first, int count,
                              const BrickLimits& limits, BrickNumbers<T>& points) const {
    GroupPoints group;
    for (int lane = 0; lane < groupSize; ++lane) {
        group.x[lane] = std::abs(brick[0].at(first[0] + std::min(lane, count - 1)));
        group.y[lane] = std::abs(brick[1].at(first[1]));
        group.z[lane] = std::abs(brick[2].at(first[2]));
    }
    findPlace(group, face.k);
    GroupValues<T> values;
    const int evaluations = single.compute(group, limits.nodes, values);
    const std::size_t at = numberOf(brick, first[0], first[1], first[2]);
    std::copy_n(values.re, count, points.re.begin() + static_cast<std::ptrdiff_t>(at));
    std::copy_n(values.im, count, points.im.begin() + static_cast<std::ptrdiff_t>(at));
    return evaluations;
}

/// The pressure as the sum over the edges.
template <class T>
void BrickField<T>::addEdges(const Brick& brick, const BrickPart& part, BrickWork<T>& work) const {
    const auto& [alongX, alongY] = work.edges;
    const int columns = rowsIn(brick, 1);
    const int rows = rowsIn(brick, 0);
    for (int z = part.first[2]; z < part.last[2]; ++z) {
        const double angle = face.k * std::abs(brick[2].at(z));
        const auto cosine = static_cast<T>(std::cos(angle));
        const auto sine = static_cast<T>(std::sin(angle));
        for (int y = part.first[1]; y < part.last[1]; ++y) {
            const int ofX = z * brick[1].count + y;
            const int ofY = y * rows + z * brick[0].count;
            const std::size_t to = numberOf(brick, 0, y, z);
            for (int x = part.first[0]; x < part.last[0]; ++x) {
                const int inColumns = ofX + x * columns;
                const int inRows = ofY + x;
                const auto first = static_cast<std::size_t>(inColumns);
                const auto second = static_cast<std::size_t>(inRows);
                const T re = alongX.re[first] + alongY.re[second];
                const T im = alongX.im[first] + alongY.im[second];
                const std::size_t at = to + static_cast<std::size_t>(x);
                // The conjugate of the product with the reference phase.
                work.points.re[at] = re * cosine - im * sine;
                work.points.im[at] = -(re * sine + im * cosine);
            }
        }
    }
}

template <class T>
void BrickField<T>::compute(const Brick& brick, const BrickPart& part, const BrickLimits& limits,
                            BrickWork<T>& work) const {
    const std::size_t size = numberOf(brick, 0, 0, brick[2].count);
    work.points.re.resize(size);
    work.points.im.resize(size);
    if (hasEdges(brick, limits)) {
        for (std::size_t i = 0; i < edges.size(); ++i)
            edges[i].compute(brick, part, limits, work.edges[i]);
        return addEdges(brick, part, work);
    }
    for (int z = part.first[2]; z < part.last[2]; ++z)
        for (int y = part.first[1]; y < part.last[1]; ++y)
            for (int x = part.first[0] / groupSize * groupSize; x < part.last[0]; x += groupSize)
                computeRow(brick, {x, y, z}, std::min(groupSize, brick[0].count - x), limits,
                           work.points);
}

template <class T>
double BrickField<T>::evaluationsOf(const Brick& brick, const std::array<int, 3>& point,
                                    const BrickLimits& limits) const {
    if (hasEdges(brick, limits))
        return edges[0].evaluationsOf(brick, point, limits) +
               edges[1].evaluationsOf(brick, point, limits);
    const int x = point[0] / groupSize * groupSize;
    BrickNumbers<T> points;
    points.re.resize(numberOf(brick, 0, 0, brick[2].count));
    points.im.resize(points.re.size());
    const int count = std::min(groupSize, brick[0].count - x);
    const double idle = static_cast<double>(groupSize) / count;
    return idle * computeRow(brick, {x, point[1], point[2]}, count, limits, points);
}

template class BrickField<float>;
template class BrickField<double>;

}  // namespace pistonfield
