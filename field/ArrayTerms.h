// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "field/ElementFields.h"
#include "field/Plan.h"
#include "field/Positions.h"

namespace pistonfield {

/// What the tolerance of a request for an array means for its points and elements: the limits that
/// the errors in exact arithmetic keep once rounding has its share.
class ArrayTerms {
  public:
    using Index = std::array<std::int64_t, 3>;

    /// @param request outlives this
    /// @throws InvalidRequest where there are no orders for an element's sides or for points, where
    ///     a point lies behind an element and was not asked for, or where the mode's precision
    ///     cannot keep the tolerance; std::bad_alloc
    explicit ArrayTerms(const Request& request);

    const Request& request() const noexcept { return theRequest; }
    const Array& array() const noexcept { return *theRequest.array; }
    const Positions& positions() const noexcept { return thePositions; }

    /// The limit of the error of an element's field that is driven by 1, for a part of what is left
    /// of the tolerance once rounding has its share.
    ErrorLimit limitOf(const Face& face, double part = 1) const;

    /// The linear index of a point.
    std::int64_t numberOf(const Index& index) const noexcept {
        const Index& sizes = theRequest.lattice.sizes;
        return (index[2] * sizes[1] + index[1]) * sizes[0] + index[0];
    }

    /// Points spread over all of them, at which one looks beforehand; fewer of larger arrays.
    std::vector<Index> coarsePoints() const;

    /// Some of these: 18 at the most.
    std::vector<Index> fewPoints() const;

    /// Others, at which the accuracy is measured.
    std::vector<Index> finePoints() const;

    /// How exact values at the fine points are, point by point those of all weightings, but for the
    /// evaluations, which are not known here.
    /// @throws std::bad_alloc
    Accuracy measure(const std::vector<std::complex<double>>& values) const;

  private:
    bool isLocal() const noexcept { return theRequest.tolerance->of == Tolerance::Of::local; }

    void requireSides() const;
    double reachWithin() const;
    void requireBefore() const;

    /// The pressure at some points in double precision, of all weightings point by point, within a
    /// fraction of the local amplitude: for a preview, and by the elements' edges alone.
    std::vector<std::complex<double>> previewAt(const std::vector<Index>& points,
                                                double fraction) const;
    std::vector<std::complex<double>> pressureAt(const std::vector<Index>& points,
                                                 double fraction) const;

    /// Sums over the elements, at a point for a weighting.
    struct Amplitudes {
        double sum = 0;     ///< of |weight| times the local amplitude
        double square = 0;  ///< of the square of that
    };

    /// Those of all weightings point by point.
    std::vector<Amplitudes> amplitudesAt(const std::vector<Index>& points) const;

    /// What is known of a weighting's field beforehand.
    struct Preview {
        double largest;   ///< a lower bound of the largest |p|
        double rounding;  ///< of the elements' local amplitudes what their rounding errors add up
                          ///< to, for an error of 1 of each
        double weights;   ///< the sum of the weights' magnitudes
    };

    std::vector<Preview> previewsOf() const;

    double roundingIn(bool inSingle) const;

    const Request& theRequest;
    Positions thePositions;
    ElementFields<double> fields;
    double reach = 0;  ///< the largest distance of a point from an element, times the wavenumber
    std::vector<Preview> previews;
    double share = 0;
};

}  // namespace pistonfield
