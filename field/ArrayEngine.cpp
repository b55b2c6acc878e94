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
    const std::size_t weightings = terms->array().weightings();
    std::vector<std::complex<double>> values(points.size() * weightings);
    inParallel(static_cast<std::int64_t>(points.size()), 1, threadCount(),
               [&](std::int64_t first, std::int64_t last) {
                   std::vector<std::complex<T>> ofPoint(weightings);
                   for (auto i = static_cast<std::size_t>(first);
                        i < static_cast<std::size_t>(last); ++i) {
                       this->fill({points[i], {1, 1, 1}}, interleaved(ofPoint.data(), 1), 1);
                       std::copy(ofPoint.begin(), ofPoint.end(), &values[i * weightings]);
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
std::shared_ptr<const Engine<T>> makeArrayEngine(const Request& request, SharedFaces* shared) {
    const auto terms = std::make_shared<const ArrayTerms>(request);
    if (isOnGpu(request.mode)) return makeDeviceSumEngine<T>(terms);
    const std::shared_ptr<const ArrayEngine<T>> sum = makeSumEngine<T>(terms, shared);
    auto convolution = makeConvolutionEngine<T>(terms, sum);
    if (convolution && convolution->secondsOfAPoint() < sum->secondsOfAPoint()) return convolution;
    return sum;
}

template class ArrayEngine<float>;
template class ArrayEngine<double>;
template std::shared_ptr<const Engine<float>> makeArrayEngine(const Request&, SharedFaces*);
template std::shared_ptr<const Engine<double>> makeArrayEngine(const Request&, SharedFaces*);

}  // namespace pistonfield
