// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/pointTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <vector>

#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "run/pointwise.h"

namespace run {

namespace {

using Clock = std::chrono::steady_clock;
using Sizes = std::array<std::int64_t, 3>;

/// On lattices along the axes so many rows share evaluations; few of them take the time of all.
constexpr std::int64_t mostRows = 64;

/// Times the tiles of a plan all over a field.
class Stopwatch {
  public:
    Stopwatch(const Layout& layout, const pistonfield::Plan& plan)
        : plan(plan), slabs(layout.slabs()), tile(plan.tile()), threads(threadsOf(layout)) {
        // Some of the places are large enough for several threads and some are not.
        if (!isOnGpu(layout.request.mode)) conduct.threads = 1;
        const Sizes most = tilesOf(layout.slabSizes);
        along = most[2] > 1 ? 2 : 1;
        placesInSlab = most[along];
        const Sizes largest = sizesOf(layout.slabSizes, rowsOf(most) * most[0]);
        values.resize(
            static_cast<std::size_t>(largest[0] * largest[1] * largest[2] * layout.pointBytes()));
    }

    /// Seconds that a point takes on average. It is timed at places all over the field, and again
    /// in the middle between two of them while it changes much from the one to the other.
    double secondsOfAPoint() {
        constexpr std::size_t mostPlaces = 40;
        constexpr std::chrono::seconds most{2};
        const Clock::time_point begin = Clock::now();
        const std::int64_t last = slabs.count() * placesInSlab - 1;
        std::map<std::int64_t, double> seconds{{0, secondsAt(0)}};
        if (last > 0) seconds.emplace(last, secondsAt(last));
        while (seconds.size() < mostPlaces && Clock::now() - begin < most) {
            const std::optional<std::int64_t> place = mostDoubtful(seconds);
            if (!place) break;
            seconds.emplace(*place, secondsAt(*place));
        }
        return meanOf(seconds);
    }

  private:
    using Seconds = std::map<std::int64_t, double>;

    static unsigned threadsOf(const Layout& layout) {
        if (isOnGpu(layout.request.mode)) return 1;
        return std::min(pistonfield::threadCount(), pistonfield::usableCores());
    }

    /// The integral of what is known, as if it changed evenly from place to place.
    static double sumOf(const Seconds& seconds) {
        double sum = 0;
        for (auto one = seconds.begin(), next = std::next(one); next != seconds.end(); one = next++)
            sum += static_cast<double>(next->first - one->first) * (one->second + next->second) / 2;
        return sum;
    }

    static double meanOf(const Seconds& seconds) {
        const std::int64_t last = seconds.rbegin()->first;
        return last == 0 ? seconds.begin()->second : sumOf(seconds) / static_cast<double>(last);
    }

    /// The middle of the places between which least is known, unless enough is known of all: these
    /// are an eighth of all, or less where the times differ.
    static std::optional<std::int64_t> mostDoubtful(const Seconds& seconds) {
        std::optional<std::int64_t> place;
        double most = sumOf(seconds) / 16;
        for (auto one = seconds.begin(), next = std::next(one); next != seconds.end();
             one = next++) {
            const std::int64_t between = next->first - one->first;
            const double doubt =
                static_cast<double>(between) *
                (std::abs(next->second - one->second) + (next->second + one->second) / 4);
            if (between < 2 || doubt <= most) continue;
            most = doubt;
            place = one->first + between / 2;
        }
        return place;
    }

    /// The tiles of a slab along each direction.
    Sizes tilesOf(const Sizes& slab) const {
        Sizes tiles{};
        for (std::size_t i = 0; i < tiles.size(); ++i) tiles[i] = (slab[i] - 1) / tile[i] + 1;
        return tiles;
    }

    static std::int64_t rowsOf(const Sizes& tiles) { return std::min(mostRows, tiles[1]); }

    /// The sizes of some tiles of a slab: whole rows of them, where there are enough for one.
    Sizes sizesOf(const Sizes& slab, std::int64_t count) const {
        const Sizes tiles = tilesOf(slab);
        const std::int64_t inRow = std::min(tiles[0], count);
        return {std::min(slab[0], inRow * tile[0]),
                std::min(slab[1], std::min(rowsOf(tiles), count / inRow) * tile[1]),
                std::min(slab[2], tile[2])};
    }

    /// Some tiles at a place of a slab, which begin where a tile does if the slab has a whole one.
    LatticeBox someOf(const LatticeBox& slab, std::int64_t place, std::int64_t count) const {
        LatticeBox box{slab.first, sizesOf(slab.size, count)};
        box.first[along] += place * tile[along];
        for (std::size_t i = 0; i < tile.size(); ++i) {
            const std::int64_t begin = (box.first[i] + tile[i] - 1) / tile[i] * tile[i];
            const std::int64_t last = slab.first[i] + slab.size[i] - box.size[i];
            box.first[i] = std::min(begin, last);
        }
        return box;
    }

    /// Seconds that a point takes at a place: of one tile at first, which may take long, and of
    /// more until their time can be told. In the slab some tiles may be cut, and threads idle.
    double secondsAt(std::int64_t place) {
        constexpr std::chrono::milliseconds enough{5};
        constexpr std::int64_t more = 8;
        const LatticeBox slab = slabs.slab(place / placesInSlab);
        const Sizes tiles = tilesOf(slab.size);
        const std::int64_t most = rowsOf(tiles) * tiles[0];
        for (std::int64_t count = 1;; count = std::min(count * more, most)) {
            const LatticeBox box = someOf(slab, place % placesInSlab, count);
            const std::chrono::duration<double> time = timeOf(box);
            if (count < most && time < enough) continue;
            const double inSlab = tilesIn(slab, tile);
            const double turns = std::ceil(inSlab / threads);
            return time.count() / tilesIn(box, tile) * turns / static_cast<double>(slab.points());
        }
    }

    /// The lesser time of two, as the first one may be that of a start, or of other work.
    std::chrono::duration<double> timeOf(const LatticeBox& box) {
        constexpr std::chrono::milliseconds longEnough{200};
        const auto timed = [&] {
            const Clock::time_point begin = Clock::now();
            computePointwise(plan, box, values.data(), conduct);
            return std::chrono::duration<double>(Clock::now() - begin);
        };
        const std::chrono::duration<double> first = timed();
        return first > longEnough ? first : std::min(first, timed());
    }

    const pistonfield::Plan& plan;
    Slabs slabs;
    Sizes tile;
    unsigned threads;
    pistonfield::Conduct conduct;
    std::size_t along;          ///< the direction along which a slab has places
    std::int64_t placesInSlab;  ///< tiles along it
    std::vector<std::byte> values;
};

}  // namespace

double secondsOfAPoint(const Layout& layout, const pistonfield::Plan& plan) {
    return Stopwatch(layout, plan).secondsOfAPoint();
}

}  // namespace run
