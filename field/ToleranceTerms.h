// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <vector>

#include "field/Plan.h"
#include "field/Positions.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// What a request's tolerance means for its points: the limit that the errors in exact arithmetic
/// keep once rounding has its share.
class ToleranceTerms {
  public:
    using Index = std::array<std::int64_t, 3>;

    /// @param request outlives this
    /// @throws InvalidRequest where there are no orders for its sides or points, where a point lies
    ///     behind the face and was not asked for, or where the mode's precision cannot keep the
    ///     tolerance; std::bad_alloc
    explicit ToleranceTerms(const Request& request);

    const Face& face() const noexcept { return theFace; }
    const Positions& positions() const noexcept { return thePositions; }
    const ErrorLimit& limit() const noexcept { return theLimit; }

    /// The limit of a part of what is left of the tolerance once rounding has its share.
    ErrorLimit partOfLimit(double part) const { return limitOf(part * share); }

    /// How far all points may be from their places for such a part, times the wavenumber: for each
    /// radian |p| changes by about the local amplitude.
    double shiftWithin(double part) const {
        return isLocal() ? part * share : part * share * preview.largest / preview.amplitude;
    }

    /// The linear index of a point.
    std::int64_t numberOf(const Index& index) const noexcept {
        return (index[2] * sizes[1] + index[1]) * sizes[0] + index[0];
    }

    /// Points per row, rows per plane and planes.
    const Index& latticeSizes() const noexcept { return sizes; }

    /// Points spread over all of them, at which one looks beforehand: 343 at the most.
    std::vector<Index> coarsePoints() const;

    /// Some of these: 18 at the most.
    std::vector<Index> fewPoints() const;

    /// Others, at which the accuracy is measured: 512 at the most.
    std::vector<Index> finePoints() const;

    /// How exact values at the fine points are, but for the evaluations, which are not known here.
    /// @throws std::bad_alloc
    Accuracy measure(const std::vector<std::complex<double>>& values) const;

  private:
    bool isLocal() const noexcept { return tolerance.of == Tolerance::Of::local; }

    /// What the error of a value is relative to.
    double unitAt(const Index& index) const;

    ErrorLimit limitOf(double share) const;

    /// What rounding adds to the error, relative to what the tolerance is relative to: in the
    /// precision of the arithmetic to the integrals, where edges cancel beside the face and phases
    /// relative to the reference are up to the sides; and in double to the reference phase. The
    /// factors are above the largest errors seen; see docs/reliability.md.
    double roundingOf(bool inSingle) const;

    /// What is known of the field beforehand, where errors are relative to the largest |p|.
    struct Preview {
        double largest = 0;    ///< a lower bound of the largest |p|
        double amplitude = 0;  ///< the largest local amplitude of the points looked at
    };

    Preview previewOf() const;

    Tolerance tolerance;
    Index sizes;
    Positions thePositions;
    Face theFace;
    Preview preview{};
    double share = 0;
    ErrorLimit theLimit{};
};

}  // namespace pistonfield
