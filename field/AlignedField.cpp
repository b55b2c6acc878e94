// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/AlignedField.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// The size of even parts of at most `most`.
std::int64_t evenPart(std::int64_t count, std::int64_t most) {
    const std::int64_t parts = (count + most - 1) / most;
    return (count + parts - 1) / parts;
}

template <class T>
std::array<int, 3> ticksOf(const LatticeAxes& axes) {
    constexpr std::int64_t mostTicks = BrickField<T>::mostTicks;
    const std::int64_t x = evenPart(axes[0].count(), mostTicks);
    const std::int64_t y = evenPart(axes[1].count(), mostTicks);
    const std::int64_t left = BrickField<T>::mostPoints / (x * y);
    const std::int64_t z = evenPart(axes[2].count(), std::clamp<std::int64_t>(left, 1, mostTicks));
    return {static_cast<int>(x), static_cast<int>(y), static_cast<int>(z)};
}

/// The points of the longest runs in so many ticks.
int longestRun(int ticks) {
    constexpr int most = 32;
    return static_cast<int>(evenPart(ticks, most));
}

/// Where a brick's coordinate goes: to an index in a box, in values.
struct Copy {
    std::ptrdiff_t from, to;
};

}  // namespace

template <class T>
AlignedField<T>::AlignedField(const Face& face, const LatticeAxes& axes, const BrickLimits& limits)
    : axes(axes),
      limits(limits),
      ticks(ticksOf<T>(axes)),
      field(face, {axes[0].step(), axes[1].step()}, {longestRun(ticks[0]), longestRun(ticks[1])}) {}

template <class T>
Brick AlignedField<T>::brickAt(const BrickIndex& index) const {
    const auto along = [&](std::size_t axis) {
        const std::int64_t first = index[axis] * ticks[axis];
        const std::int64_t left = axes[axis].count() - first;
        return axes[axis].ticks(first, static_cast<int>(std::min<std::int64_t>(ticks[axis], left)));
    };
    return {along(0), along(1), along(2)};
}

template <class T>
void AlignedField<T>::fillFrom(const BrickIndex& index, const LatticeBox& box,
                               const Destination<T>& to, BrickWork<T>& work) const {
    const Brick brick = brickAt(index);
    const std::ptrdiff_t columns = brick[0].count;
    const std::array<std::ptrdiff_t, 3> strides{1, columns, columns * brick[1].count};
    const std::array<std::ptrdiff_t, 3> boxStrides{1, box.size[0], box.size[0] * box.size[1]};
    BrickPart part{};
    std::array<std::vector<Copy>, 3> copies;  // by the lattice's directions
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const std::size_t along = axes[i].direction();
        const IndexRange indices{box.first[along], box.first[along] + box.size[along]};
        const IndexRange numbers = axes[i].numbersOf(indices);
        const std::int64_t begin = index[i] * ticks[i];
        part.first[i] = static_cast<int>(std::max<std::int64_t>(0, numbers.first - begin));
        part.last[i] =
            static_cast<int>(std::min<std::int64_t>(brick[i].count, numbers.last - begin));
        for (int tick = part.first[i]; tick < part.last[i]; ++tick)
            for (const std::int64_t at : axes[i].indicesOf(begin + tick, indices))
                copies[along].push_back(
                    {tick * strides[i], (at - indices.first) * boxStrides[along]});
    }
    field.compute(brick, part, limits, work);
    for (const Copy& z : copies[2])
        for (const Copy& y : copies[1]) {
            const Destination<T> row = to.from(z.to + y.to);
            const T* const re = work.points.re.data() + z.from + y.from;
            const T* const im = work.points.im.data() + z.from + y.from;
            for (const Copy& x : copies[0]) {
                row.re[x.to * row.stride] = re[x.from];
                row.im[x.to * row.stride] = im[x.from];
            }
        }
}

template <class T>
void AlignedField<T>::fill(const LatticeBox& box, const Destination<T>& to,
                           unsigned threads) const {
    BrickIndex first;
    BrickIndex count;
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const std::size_t along = axes[i].direction();
        const IndexRange numbers =
            axes[i].numbersOf({box.first[along], box.first[along] + box.size[along]});
        first[i] = numbers.first / ticks[i];
        count[i] = (numbers.last - 1) / ticks[i] + 1 - first[i];
    }
    const auto fillBricks = [&](std::int64_t from, std::int64_t end) {
        BrickWork<T> work;
        for (std::int64_t i = from; i < end; ++i)
            fillFrom({first[0] + i % count[0], first[1] + i / count[0] % count[1],
                      first[2] + i / count[0] / count[1]},
                     box, to, work);
    };
    constexpr std::int64_t piece = 8;
    const std::int64_t bricks = count[0] * count[1] * count[2];
    const auto allowed = [threads] {
        return threads == 0 ? threadCount() : std::min(threads, mostThreads);
    };
    inParallel(bricks, std::clamp<std::int64_t>(bricks / 32, 1, piece), bricks > 1 ? allowed() : 1,
               fillBricks);
}

template <class T>
double AlignedField<T>::evaluationsOf(const std::array<std::int64_t, 3>& index) const {
    BrickIndex brick;
    std::array<int, 3> point;
    double share = 1;  // of the points that are computed
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const IndexRange range{index[axes[i].direction()], index[axes[i].direction()] + 1};
        const std::int64_t number = axes[i].numbersOf(range).first;
        brick[i] = number / ticks[i];
        point[i] = static_cast<int>(number % ticks[i]);
        share *= static_cast<double>(axes[i].count()) / static_cast<double>(axes[i].size());
    }
    return share * field.evaluationsOf(brickAt(brick), point, limits);
}

template class AlignedField<float>;
template class AlignedField<double>;

}  // namespace pistonfield
