// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ArrayEngine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "parallel/threads.h"

namespace pistonfield {

template <class T>
std::vector<std::complex<double>> ArrayEngine<T>::valuesAt(const std::vector<Index>& points) const {
    const auto fields = static_cast<std::size_t>(terms->request().fields());
    std::vector<std::complex<double>> values(points.size() * fields);
    inParallel(static_cast<std::int64_t>(points.size()), 1, threadCount(),
               [&](std::int64_t first, std::int64_t last) {
                   std::vector<std::complex<T>> ofPoint(fields);
                   for (auto i = static_cast<std::size_t>(first);
                        i < static_cast<std::size_t>(last); ++i) {
                       this->fill({points[i], {1, 1, 1}}, interleaved(ofPoint.data(), 1), 1);
                       std::copy(ofPoint.begin(), ofPoint.end(), &values[i * fields]);
                   }
               });
    return values;
}

template <class T>
std::optional<Accuracy> ArrayEngine<T>::accuracy() const {
    Accuracy measured = terms->measure(valuesAt(terms->finePoints()));
    measured.evaluations = evaluationsOfAPoint();
    return measured;
}

template <class T>
std::shared_ptr<const Engine<T>> makeArrayEngine(const Request& request, SharedFaces* shared,
                                                 const Watch& watch) {
    const auto terms = std::make_shared<const ArrayTerms>(request, watch);
    if (isOnGpu(request.mode)) return makeDeviceSumEngine<T>(terms);
    return fastestOf<T>(
        terms, std::shared_ptr<const ArrayEngine<T>>(makeSumEngine<T>(terms, shared)), watch);
}

template class ArrayEngine<float>;
template class ArrayEngine<double>;
template std::shared_ptr<const Engine<float>> makeArrayEngine(const Request&, SharedFaces*,
                                                              const Watch&);
template std::shared_ptr<const Engine<double>> makeArrayEngine(const Request&, SharedFaces*,
                                                               const Watch&);

}  // namespace pistonfield
