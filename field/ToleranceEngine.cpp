// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToleranceEngine.h"

#include <algorithm>
#include <complex>
#include <cstddef>

#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

template <class T>
std::int64_t ToleranceEngine<T>::pieceToWatch(unsigned threads) const {
    constexpr std::int64_t points = 1 << 18;
    const unsigned count = threads == 0 ? threadCount() : threads;
    return points * std::min(count, usableCores());
}

template <class T>
unsigned ToleranceEngine<T>::threadsFor(std::int64_t pieces, unsigned threads) {
    if (pieces <= piecesOfATurn) return 1;
    return threads == 0 ? threadCount() : std::min(threads, mostThreads);
}

template <class T>
void ToleranceEngine<T>::store(const GroupRuns::Piece& piece, const GroupValues<T>& values,
                               const Destination<T>& to) {
    const std::int64_t offset = piece.first - piece.beginOfGroup();
    for (std::int64_t i = 0; i < piece.last - piece.first; ++i) {
        const Destination<T> at = to.from(piece.to + i);
        *at.re = values.re[offset + i];
        *at.im = values.im[offset + i];
    }
}

template <class T>
std::vector<std::int64_t> ToleranceEngine<T>::groupsOf(
    const std::vector<ToleranceTerms::Index>& points) const {
    std::vector<std::int64_t> groups(points.size());
    std::transform(points.begin(), points.end(), groups.begin(),
                   [this](const auto& index) { return terms.numberOf(index) / groupSize; });
    return groups;
}

template <class T>
double ToleranceEngine<T>::meanEvaluations(std::span<const std::int64_t> groups) const {
    double sum = 0;
    GroupPoints points;
    for (const std::int64_t group : groups) {
        terms.positions().group(group, points);
        sum += orders().inParts(points, terms.limit(), [](const GroupPart& /*part*/) {});
    }
    return sum / static_cast<double>(groups.size());
}

template <class T>
double ToleranceEngine<T>::evaluationsOfAPoint() const {
    return meanEvaluations(groupsOf(terms.coarsePoints()));
}

template <class T>
Accuracy ToleranceEngine<T>::accuracy() const {
    const auto points = terms.finePoints();
    const auto groups = groupsOf(points);
    std::vector<GroupValues<T>> computed(groups.size());
    compute(groups, computed);
    std::vector<std::complex<double>> values;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto lane = static_cast<std::size_t>(terms.numberOf(points[i]) % groupSize);
        values.emplace_back(computed[i].re[lane], computed[i].im[lane]);
    }
    Accuracy measured = terms.measure(values);
    measured.evaluations = meanEvaluations(groups);
    return measured;
}

template class ToleranceEngine<float>;
template class ToleranceEngine<double>;

}  // namespace pistonfield
