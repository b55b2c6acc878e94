// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/peak.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

#include "beam/Region.h"
#include "beam/places.h"

namespace pistonfield {

namespace {

constexpr double worthLooking = 0.5;  ///< of the largest sample

/// The samples times the factor; where even without the factor they are too small to matter, 0.
std::vector<double> weighted(const Samples& samples, const Region& region,
                             const PlaceFactor& factor) {
    if (!factor) return samples.magnitudes;
    const auto placeOf = [&](std::size_t number) {
        const auto& sizes = samples.lattice.sizes;
        const auto n = static_cast<std::int64_t>(number);
        const std::int64_t line = n / sizes[0];
        const std::int64_t plane = line / sizes[1];
        return region.placeOf({static_cast<double>(n % sizes[0]),
                               static_cast<double>(line % sizes[1]), static_cast<double>(plane)});
    };
    // Factors are at most 1, so that most samples need none once large ones have theirs.
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < samples.magnitudes.size(); ++i)
        if (samples.magnitudes[i] > 0) order.push_back(i);
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return samples.magnitudes[a] > samples.magnitudes[b];
    });
    std::vector<double> values(samples.magnitudes.size());
    double largest = 0;
    for (const std::size_t i : order) {
        if (samples.magnitudes[i] < worthLooking * largest) break;
        values[i] = samples.magnitudes[i] * factor(placeOf(i));
        largest = std::max(largest, values[i]);
    }
    return values;
}

/// A place where the peak may be, in the lattice's coordinates.
struct Candidate {
    Vector3 at{};
    double value = 0;
};

bool isLess(const Candidate& a, const Candidate& b) { return a.value < b.value; }

/// The local maxima among values on a lattice, the largest ones first.
std::vector<Candidate> localMaxima(const std::array<std::int64_t, 3>& sizes,
                                   const std::vector<double>& values) {
    const auto number = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return static_cast<std::size_t>((z * sizes[1] + y) * sizes[0] + x);
    };
    double largest = 0;
    for (const double value : values)
        if (value > largest) largest = value;
    const auto isLargest = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        const double value = values[number(x, y, z)];
        for (std::int64_t k = std::max<std::int64_t>(z - 1, 0); k <= std::min(z + 1, sizes[2] - 1);
             ++k)
            for (std::int64_t j = std::max<std::int64_t>(y - 1, 0);
                 j <= std::min(y + 1, sizes[1] - 1); ++j)
                for (std::int64_t i = std::max<std::int64_t>(x - 1, 0);
                     i <= std::min(x + 1, sizes[0] - 1); ++i)
                    if (values[number(i, j, k)] > value) return false;
        return true;
    };
    std::vector<Candidate> found;
    for (std::int64_t z = 0; z < sizes[2]; ++z)
        for (std::int64_t y = 0; y < sizes[1]; ++y)
            for (std::int64_t x = 0; x < sizes[0]; ++x) {
                const double value = values[number(x, y, z)];
                if (value > 0 && value >= worthLooking * largest && isLargest(x, y, z))
                    found.push_back(
                        {{static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)},
                         value});
            }
    constexpr std::size_t most = 64;
    std::stable_sort(found.begin(), found.end(),
                     [](const Candidate& a, const Candidate& b) { return isLess(b, a); });
    found.resize(std::min(found.size(), most));
    return found;
}

/// The offsets of a stencil in the directions in which a region extends.
std::vector<Vector3> stencilOf(const Region& region) {
    std::vector<Vector3> offsets{{}};
    for (std::size_t i = 0; i < 3; ++i) {
        if (!region.extends(i)) continue;
        const std::vector<Vector3> before = offsets;
        for (const double offset : {-1.0, 1.0})
            for (Vector3 other : before) {
                other[i] = offset;
                offsets.push_back(other);
            }
    }
    return offsets;
}

/// Moves candidates towards their local maxima.
class Climb {
  public:
    Climb(const BeamField& field, const Region& region, const PlaceFactor& factor)
        : field(field), region(region), factor(factor), offsets(stencilOf(region)) {}

    /// Moves each to the best point of the stencil around it.
    void step(std::vector<Candidate>& candidates, double width) const {
        Places places;
        std::vector<Vector3> coordinates;
        for (const Candidate& candidate : candidates)
            for (const Vector3& offset : offsets) {
                coordinates.push_back(region.within(plus(candidate.at, width, offset)));
                places.add(region.placeOf(coordinates.back()));
            }
        const std::vector<double> values = field.magnitudes(places.list());
        for (std::size_t i = 0; i < coordinates.size(); ++i) {
            Candidate& candidate = candidates[i / offsets.size()];
            const double value = values[i] * (factor ? factor(places.at(i)) : 1);
            // What the samples said was less exact; the first offset is none.
            if (i % offsets.size() == 0) candidate.value = 0;
            if (value > candidate.value) candidate = {coordinates[i], value};
        }
    }

  private:
    const BeamField& field;
    const Region& region;
    const PlaceFactor& factor;
    std::vector<Vector3> offsets;
};

/// Drops all but the best ones.
void keepBest(std::vector<Candidate>& candidates, std::size_t count, double ratio) {
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return isLess(b, a); });
    const double least = ratio * candidates.front().value;
    std::erase_if(candidates, [&](const Candidate& each) { return each.value < least; });
    candidates.resize(std::min(candidates.size(), count));
}

}  // namespace

BeamPeak findPeak(const BeamField& field, const Samples& samples, const PlaceFactor& factor) {
    const Region region(samples.lattice);
    std::vector<Candidate> candidates =
        localMaxima(samples.lattice.sizes, weighted(samples, region, factor));
    if (candidates.empty())
        throw InvalidRequest("values", "there is no peak: |p| is above 0 nowhere");
    const Climb climb(field, region, factor);
    // The widest are gone through twice: a ridge may lie across the directions.
    for (const double width : {0.5, 0.5, 0.25, 0.25}) climb.step(candidates, width);
    keepBest(candidates, 8, 0.9);
    constexpr int halvings = 8;
    double width = 0.125;
    for (int i = 0; i < halvings; ++i) {
        climb.step(candidates, width);
        keepBest(candidates, i < 2 ? 4 : 1, 0.99);
        width /= 2;
    }
    const Candidate best = *std::max_element(candidates.begin(), candidates.end(), isLess);
    const Vector3 place = region.placeOf(best.at);
    return {place, best.value, region.isOnEdge(best.at), field.uncertainty(place)};
}

}  // namespace pistonfield
