// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "field/Plan.h"
#include "field/Positions.h"

namespace pistonfield {

/// What a tolerance means for elements that radiate together: at which of the request's points one
/// looks beforehand and afterwards, and how exact values are.
class ElementTerms {
  public:
    using Index = std::array<std::int64_t, 3>;

    ElementTerms(const ElementTerms&) = delete;
    ElementTerms& operator=(const ElementTerms&) = delete;
    virtual ~ElementTerms() = default;

    const Request& request() const noexcept { return theRequest; }
    const Positions& positions() const noexcept { return thePositions; }

    /// How often the elements are weighted; once where there is no array.
    std::size_t weightings() const noexcept {
        return theRequest.array ? theRequest.array->weightings() : 1;
    }

    /// The linear index of a point.
    std::int64_t numberOf(const Index& index) const noexcept {
        const Index& sizes = theRequest.lattice.sizes;
        return (index[2] * sizes[1] + index[1]) * sizes[0] + index[0];
    }

    /// Points spread over all of them, at which one looks beforehand; fewer with many elements.
    std::vector<Index> coarsePoints() const;

    /// Some of these: 18 at the most.
    std::vector<Index> fewPoints() const;

    /// Others, at which the accuracy is measured.
    std::vector<Index> finePoints() const;

    /// How exact values at the fine points are, point by point all fields of the request, but for
    /// the evaluations, which are not known here.
    /// @throws std::bad_alloc
    virtual Accuracy measure(const std::vector<std::complex<double>>& values) const = 0;

  protected:
    /// How many points one looks at: elements times points, but no fewer points than the least.
    struct Looks {
        std::size_t mostPreviewed, leastPreviewed;
        std::size_t mostMeasured, leastMeasured;
    };

    /// @param request  outlives this
    /// @param elements their number
    ElementTerms(const Request& request, std::size_t elements, const Looks& looks)
        : theRequest(request), thePositions(request), count(elements), looks(looks) {}

    bool isLocal() const noexcept { return theRequest.tolerance->of == Tolerance::Of::local; }

    /// The largest distance of a point from centres of elements, times the wavenumber, with what
    /// the rounding of positions and centres is relative to.
    /// @throws InvalidRequest where points are too far away for a tolerance
    double reachFrom(const std::vector<Pose::Vector>& centres) const;

    /// A point behind a piston, by more than `rounding`, if there is one.
    /// @param bounds those of all points
    std::optional<std::array<double, 3>> pointBehind(
        const Pose& pose, const std::array<std::array<double, 2>, 3>& bounds,
        double rounding) const;

  private:
    const Request& theRequest;
    Positions thePositions;
    std::size_t count;
    Looks looks;
};

}  // namespace pistonfield
