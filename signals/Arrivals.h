// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// Seconds per unit of length: of what arrives first and last.
struct Slowness {
    double least;
    double most;
};

/// From when to when waves arrive that leave a source at the time 0.
struct Arrival {
    double first;
    double last;
};

/// When waves of a request's source arrive at its points, and how near these are.
class Arrivals {
  public:
    /// @param request its wave means nothing
    /// @param delays  of each element of the array, in seconds, or none
    Arrivals(const Request& request, const std::vector<double>& delays, const Slowness& slowness);

    /// At a point.
    const Arrival& at(std::int64_t point) const noexcept {
        return each[static_cast<std::size_t>(point)];
    }

    /// At all of them.
    const Arrival& all() const noexcept { return total; }

    /// The least distance of a point from a face.
    double nearest() const noexcept { return least; }

  private:
    std::vector<Arrival> each;
    Arrival total{};
    double least = 0;
};

}  // namespace pistonfield
