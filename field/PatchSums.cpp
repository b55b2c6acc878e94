// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/PatchSums.h"

#include <algorithm>
#include <cmath>

namespace pistonfield {

template <class T>
PatchSums<T>::PatchSums(const Array& array, const Wave& wave,
                        const std::function<ErrorLimit(const Face&)>& limitOf,
                        const std::array<int, 2>& counts, SharedFaces* shared)
    : array(array),
      fields(array.elements, wave),
      rules{RowRules<T>(counts[0]), RowRules<T>(counts[1])} {
    for (const Face& face : fields.differentFaces())
        shapes.push_back(shared != nullptr
                             ? shared->of<T>(face, limitOf(face))
                             : std::make_shared<const FaceLevels<T>>(face, limitOf(face)));
    for (std::size_t i = 0; i < fields.count(); ++i) numbers.push_back(i);
    std::stable_sort(numbers.begin(), numbers.end(), [this](std::size_t a, std::size_t b) {
        return fields.shapeOf(a) < fields.shapeOf(b);
    });
    for (std::size_t first = 0; first < numbers.size(); first += packs.back().count) {
        const std::size_t shape = fields.shapeOf(numbers[first]);
        std::size_t count = 1;
        while (count < packSize && first + count < numbers.size() &&
               fields.shapeOf(numbers[first + count]) == shape)
            ++count;
        packs.push_back({shape, packs.size(), first, count});
        place(packs.back(), shapes[shape]->levels.front()->parts, wholes.emplace_back());
    }
}

template <class T>
PatchSums<T>::Work::Work(const PatchSums& of)
    : row(mostUnits),
      weights(of.array.weightings() * mostUnits * 2 * packSize),
      toNext(static_cast<std::size_t>(of.rules[1].points()) * mostInRow),
      re(of.array.weightings() * toNext),
      im(re.size()) {}

template <class T>
double PatchSums<T>::compute(const LatticePatches::Piece& piece, Work& work) const {
    std::fill(work.re.begin(), work.re.end(), 0.0);
    std::fill(work.im.begin(), work.im.end(), 0.0);
    work.evaluations = 0;
    for (const Some& some : packs) addSome(some, 0, piece, work);
    sumUp(piece, work);
    return work.evaluations;
}

template <class T>
void PatchSums<T>::place(const Some& some, const FaceParts& parts, FacePack<T>& pack) const {
    for (int lane = 0; lane < packSize; ++lane) {
        const Pose& pose = fields[numbers[placeOf(some, parts, lane)]].pose;
        const auto [x, y] = parts.centreOf(lane % parts.count());
        for (std::size_t axis = 0; axis < 3; ++axis) {
            pack.centre[axis][lane] =
                pose.centre[axis] + x * pose.alongWidth[axis] + y * pose.alongHeight[axis];
            pack.alongX[axis][lane] = static_cast<T>(pose.alongWidth[axis]);
            pack.alongY[axis][lane] = static_cast<T>(pose.alongHeight[axis]);
        }
    }
}

template <class T>
void PatchSums<T>::addSome(const Some& some, std::size_t number, const LatticePatches::Piece& piece,
                           Work& work) const {
    if (work.units.size() == work.used) work.units.push_back(std::make_unique<Unit>());
    Unit& unit = *work.units[work.used];
    const typename FaceLevels<T>::Level& level = *shapes[some.shape]->levels[number];
    unit.some = some;
    unit.parts = &level.parts;
    unit.pack = number == 0 ? &wholes[some.pack] : &unit.ownPack;
    if (number > 0) place(some, level.parts, unit.ownPack);
    std::array<double, packSize> distances;
    farSums().in<T>().findDistances(*unit.pack, piece.patch, distances.data());
    const auto [nearest, farthest] = std::minmax_element(distances.begin(), distances.end());
    if (*nearest >= level.part.least()) {
        unit.face = level.part.at(*nearest);
        const double error =
            level.part.interpolationError(*farthest + 2 * piece.patch.halfDiagonal());
        work.evaluations +=
            packSize * farSums().in<T>().findNodes(*unit.pack, unit.face, piece.patch, *nearest,
                                                   {{&rules[0], &rules[1]}}, error, unit.nodes);
        // Many parts point by point take longer than the edges.
        constexpr int manyParts = 4;
        if (unit.nodes.areFew || level.parts.count() < manyParts) {
            if (++work.used == mostUnits) sumUp(piece, work);
            return;
        }
    } else if (number + 1 < levels) {
        const std::size_t half = packSize / static_cast<std::size_t>(2 * level.parts.count());
        addSome({some.shape, some.pack, some.first, std::min(half, some.count)}, number + 1, piece,
                work);
        if (some.count > half)
            addSome({some.shape, some.pack, some.first + half, some.count - half}, number + 1,
                    piece, work);
        return;
    }
    for (std::size_t i = 0; i < some.count; ++i) addEdges(numbers[some.first + i], piece, work);
}

template <class T>
void PatchSums<T>::sumUp(const LatticePatches::Piece& piece, Work& work) const {
    const FarSumsIn<T>& sums = farSums().in<T>();
    T* weight = work.weights.data();
    for (std::size_t w = 0; w < array.weightings(); ++w)
        for (std::size_t u = 0; u < work.used; ++u) {
            const Some& some = work.units[u]->some;
            const FaceParts& parts = *work.units[u]->parts;
            for (int lane = 0; lane < packSize; ++lane, ++weight) {
                const std::size_t element = numbers[placeOf(some, parts, lane)];
                const auto of = array.weights[w * fields.count() + element];
                const bool isFilling = static_cast<std::size_t>(lane / parts.count()) >= some.count;
                weight[0] = isFilling ? T(0) : static_cast<T>(of.real());
                weight[packSize] = isFilling ? T(0) : static_cast<T>(of.imag());
            }
            weight += packSize;
        }
    for (int row = piece.first[1]; row < piece.first[1] + piece.count[1]; ++row) {
        for (std::size_t u = 0; u < work.used; ++u) {
            const Unit& unit = *work.units[u];
            work.evaluations += packSize * sums.computeRow(*unit.pack, unit.face, piece.patch,
                                                           unit.nodes, row, work.row[u]);
        }
        const auto first = static_cast<std::size_t>(row) * mostInRow;
        sums.weigh(work.row.data(), static_cast<int>(work.used), piece.patch.count[0],
                   work.weights.data(), static_cast<int>(array.weightings()),
                   static_cast<std::ptrdiff_t>(work.toNext), &work.re[first], &work.im[first]);
    }
    work.used = 0;
}

template <class T>
void PatchSums<T>::addEdges(std::size_t element, const LatticePatches::Piece& piece,
                            Work& work) const {
    const Patch& patch = piece.patch;
    const ErrorLimit& limit = shapes[fields.shapeOf(element)]->limit;
    GroupPlaces places;
    GroupValues<T> values;
    for (int row = piece.first[1]; row < piece.first[1] + piece.count[1]; ++row)
        for (int first = 0; first < patch.count[0]; first += groupSize) {
            const double across = row - (patch.count[1] - 1) / 2.0;
            for (int i = 0; i < groupSize; ++i) {
                const double along =
                    std::min(first + i, patch.count[0] - 1) - (patch.count[0] - 1) / 2.0;
                const auto coordinate = [&](int axis) {
                    return patch.middle[axis] + along * patch.step[0][axis] +
                           across * patch.step[1][axis];
                };
                places.x[i] = coordinate(0);
                places.y[i] = coordinate(1);
                places.z[i] = coordinate(2);
            }
            work.evaluations += groupSize * fields.compute(element, places, limit, values);
            const int count = std::min(groupSize, patch.count[0] - first);
            for (std::size_t w = 0; w < array.weightings(); ++w) {
                const auto weight = array.weights[w * fields.count() + element];
                const std::size_t to = w * work.toNext + static_cast<std::size_t>(row) * mostInRow +
                                       static_cast<std::size_t>(first);
                for (int i = 0; i < count; ++i) {
                    const std::complex<double> value =
                        weight * std::complex<double>(values.re[i], values.im[i]);
                    work.re[to + static_cast<std::size_t>(i)] += value.real();
                    work.im[to + static_cast<std::size_t>(i)] += value.imag();
                }
            }
        }
}

template <class T>
std::int64_t PatchSums<T>::memoryOfWork() const noexcept {
    const std::size_t perWeighting =
        mostUnits * 2 * packSize * sizeof(T) +
        static_cast<std::size_t>(rules[1].points()) * mostInRow * 2 * sizeof(double);
    return static_cast<std::int64_t>(mostUnits * (sizeof(Unit) + sizeof(RowNumbers<T>)) +
                                     array.weightings() * perWeighting);
}

template <class T>
std::int64_t PatchSums<T>::memory() const noexcept {
    return static_cast<std::int64_t>(fields.count() * 2 * sizeof(std::size_t) +
                                     packs.size() * (sizeof(Some) + sizeof(FacePack<T>)));
}

template class PatchSums<float>;
template class PatchSums<double>;

}  // namespace pistonfield
