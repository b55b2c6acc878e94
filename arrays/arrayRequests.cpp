// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/arrayRequests.h"

#include <string>
#include <utility>

namespace pistonfield {

Request localRequest(const std::vector<Element>& elements,
                     std::vector<std::complex<double>> weights, const Wave& wave,
                     const PointList& points, double tolerance, bool behind, Baffle baffle) {
    Request request;
    request.array = Array{elements, std::move(weights)};
    request.wave = wave;
    request.lattice.sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1};
    request.tolerance = Tolerance{tolerance, Tolerance::Of::local};
    request.points = points;
    request.behind = behind;
    request.baffle = baffle;
    check(request);
    return request;
}

void requireElements(const std::vector<Element>& elements) {
    const std::vector<std::complex<double>> equal(elements.size(), 1.0);
    localRequest(elements, equal, {1}, {{0}, {0}, {0}}, 0.5, true);
}

void requireWeights(const std::vector<std::complex<double>>& weights,
                    const std::vector<Element>& elements) {
    if (weights.size() != elements.size())
        throw InvalidRequest("weights", std::to_string(weights.size()) +
                                            " are not one for each of the " +
                                            std::to_string(elements.size()) + " elements");
    localRequest(elements, weights, {1}, {{0}, {0}, {0}}, 0.5, true);
}

}  // namespace pistonfield
