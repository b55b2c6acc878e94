// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/elementPressures.h"

#include <algorithm>

#include "arrays/arrayRequests.h"
#include "field/ArrayTerms.h"
#include "field/ContourTerms.h"
#include "field/Watch.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// Each element's pressure at all points, group by group of them, in parallel.
/// @param workOf makes what a thread computes with: a function of an element and a group's places,
///     that returns the pressure at a point of the group
template <class WorkOf>
std::vector<std::complex<double>> pressuresOf(std::size_t elements, const Positions& positions,
                                              std::size_t points, const Watch& watch,
                                              WorkOf workOf) {
    std::vector<std::complex<double>> values(points * elements);
    const auto groups = static_cast<std::int64_t>((points + groupSize - 1) / groupSize);
    const auto count = static_cast<std::int64_t>(elements);
    // Numbers go through the groups of points of one element, then of the next one.
    const auto computeSome = [&](std::int64_t first, std::int64_t last) {
        auto work = workOf();
        GroupPlaces places;
        for (std::int64_t number = first; number < last; ++number) {
            watch.look();
            const auto element = static_cast<std::size_t>(number / groups);
            const auto from = static_cast<std::size_t>(number % groups) * groupSize;
            positions.group(number % groups, places);
            const auto pressureAt = work(element, places);
            const std::size_t size = std::min<std::size_t>(groupSize, points - from);
            for (std::size_t i = 0; i < size; ++i)
                values[(from + i) * elements + element] = pressureAt(i);
        }
    };
    constexpr std::int64_t aTurn = 16;
    inParallel(groups * count, aTurn, groups * count > aTurn ? watch.threads() : 1, computeSome);
    return values;
}

std::vector<std::complex<double>> pressuresByEdges(const Request& request, const Watch& watch) {
    const ArrayTerms terms(request, watch);
    const ElementFields<double> fields(request.array->elements, request.wave);
    return pressuresOf(fields.count(), terms.positions(), request.points->x.size(), watch, [&] {
        return [&, group = GroupValues<double>()](std::size_t element,
                                                  const GroupPlaces& places) mutable {
            fields.compute(element, places, terms.limitOf(fields.faceOf(element)), group);
            return
                [&group](std::size_t i) { return std::complex<double>(group.re[i], group.im[i]); };
        };
    });
}

std::vector<std::complex<double>> pressuresByContours(const Request& request, const Watch& watch) {
    const ContourTerms terms(request, watch);
    const ContourFields& fields = terms.fields();
    return pressuresOf(fields.count(), terms.positions(), request.points->x.size(), watch, [&] {
        return [&, work = ContourFields::Work(), group = std::array<PointField, groupSize>()](
                   std::size_t element, const GroupPlaces& places) mutable {
            fields.compute(element, places, terms.limitOf(element), group, work);
            return [&group](std::size_t i) { return group[i].pressure; };
        };
    });
}

}  // namespace

std::vector<std::complex<double>> elementPressures(const std::vector<Element>& elements,
                                                   const Wave& wave, const PointList& points,
                                                   double tolerance, bool behind, Baffle baffle,
                                                   const Conduct& conduct) {
    const std::vector<std::complex<double>> equal(elements.size(), 1.0);
    const Request request = localRequest(elements, equal, wave, points, tolerance, behind, baffle);
    const Watch watch(conduct);
    return takesContours(request) ? pressuresByContours(request, watch)
                                  : pressuresByEdges(request, watch);
}

}  // namespace pistonfield
