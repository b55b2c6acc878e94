// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/ElementFields.h"
#include "field/ElementTerms.h"
#include "field/Watch.h"

namespace pistonfield {

/// What the tolerance of a request for an array means for its points and elements: the limits that
/// the errors in exact arithmetic keep once rounding has its share.
class ArrayTerms : public ElementTerms {
  public:
    /// @param request outlives this
    /// @throws InvalidRequest where there are no orders for an element's sides or for points, where
    ///     a point lies behind an element and was not asked for, or where the mode's precision
    ///     cannot keep the tolerance; Stopped; std::bad_alloc
    explicit ArrayTerms(const Request& request, const Watch& watch = {});

    const Array& array() const noexcept { return *request().array; }

    /// The limit of the error of an element's field that is driven by 1, for a part of what is left
    /// of the tolerance once rounding has its share.
    ErrorLimit limitOf(const Face& face, double part = 1) const;

    Accuracy measure(const std::vector<std::complex<double>>& values) const override;

  private:
    void requireSides() const;
    void requireBefore(const Watch& watch) const;

    /// The pressure at some points in double precision, of all weightings point by point, within a
    /// fraction of the local amplitude: for a preview, and by the elements' edges alone.
    std::vector<std::complex<double>> previewAt(const std::vector<Index>& points, double fraction,
                                                const Watch& watch) const;
    std::vector<std::complex<double>> pressureAt(const std::vector<Index>& points,
                                                 double fraction) const;

    /// Sums over the elements, at a point for a weighting.
    struct Amplitudes {
        double sum = 0;     ///< of |weight| times the local amplitude
        double square = 0;  ///< of the square of that
    };

    /// Those of all weightings point by point.
    std::vector<Amplitudes> amplitudesAt(const std::vector<Index>& points,
                                         const Watch& watch) const;

    /// What is known of a weighting's field beforehand.
    struct Preview {
        double largest;   ///< a lower bound of the largest |p|
        double rounding;  ///< of the elements' local amplitudes what their rounding errors add up
                          ///< to, for an error of 1 of each
        double weights;   ///< the sum of the weights' magnitudes
    };

    std::vector<Preview> previewsOf(const Watch& watch) const;

    double roundingIn(bool inSingle) const;

    ElementFields<double> fields;
    double reach = 0;  ///< the largest distance of a point from an element, times the wavenumber
    std::vector<Preview> previews;
    double share = 0;
};

}  // namespace pistonfield
