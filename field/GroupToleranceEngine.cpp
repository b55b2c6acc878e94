// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/GroupToleranceEngine.h"

#include <algorithm>
#include <cstddef>

#include "parallel/threads.h"

namespace pistonfield {

template <class T>
std::int64_t GroupToleranceEngine<T>::pieceToWatch(unsigned threads) const {
    constexpr std::int64_t points = 1 << 18;
    return this->forThreads(points, threads);
}

template <class T>
unsigned GroupToleranceEngine<T>::threadsFor(std::int64_t pieces, unsigned threads) {
    if (pieces <= piecesOfATurn) return 1;
    return threads == 0 ? threadCount() : std::min(threads, mostThreads);
}

template <class T>
void GroupToleranceEngine<T>::store(const GroupRuns::Piece& piece, const GroupValues<T>& values,
                                    const Destination<T>& to) {
    const std::int64_t offset = piece.first - piece.beginOfGroup();
    for (std::int64_t i = 0; i < piece.last - piece.first; ++i) {
        const Destination<T> at = to.from(piece.to + i);
        *at.re = values.re[offset + i];
        *at.im = values.im[offset + i];
    }
}

template <class T>
std::vector<std::int64_t> GroupToleranceEngine<T>::groupsOf(
    const std::vector<Index>& points) const {
    std::vector<std::int64_t> groups(points.size());
    std::transform(points.begin(), points.end(), groups.begin(),
                   [this](const auto& index) { return terms.numberOf(index) / groupSize; });
    return groups;
}

template <class T>
double GroupToleranceEngine<T>::meanEvaluations(const std::vector<Index>& points) const {
    double sum = 0;
    GroupPoints group;
    for (const std::int64_t number : groupsOf(points)) {
        terms.positions().group(number, group);
        sum += orders().inParts(group, terms.limit(), [](const GroupPart& /*part*/) {});
    }
    return sum / static_cast<double>(points.size());
}

template <class T>
std::vector<std::complex<double>> GroupToleranceEngine<T>::valuesAt(
    const std::vector<Index>& points) const {
    const auto groups = groupsOf(points);
    std::vector<GroupValues<T>> computed(groups.size());
    compute(groups, computed);
    std::vector<std::complex<double>> values;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto lane = static_cast<std::size_t>(terms.numberOf(points[i]) % groupSize);
        values.emplace_back(computed[i].re[lane], computed[i].im[lane]);
    }
    return values;
}

template class GroupToleranceEngine<float>;
template class GroupToleranceEngine<double>;

}  // namespace pistonfield
