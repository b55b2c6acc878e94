// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToleranceEngine.h"

#include <algorithm>

#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

template <class T>
std::optional<Accuracy> ToleranceEngine<T>::accuracy() const {
    const auto points = terms.finePoints();
    Accuracy measured = terms.measure(valuesAt(points));
    measured.evaluations = meanEvaluations(points);
    return measured;
}

template <class T>
std::int64_t ToleranceEngine<T>::forThreads(std::int64_t points, unsigned threads) {
    const unsigned count = threads == 0 ? threadCount() : threads;
    return points * std::min(count, usableCores());
}

template class ToleranceEngine<float>;
template class ToleranceEngine<double>;

}  // namespace pistonfield
