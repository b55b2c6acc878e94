// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <vector>

#include "field/ContourFields.h"
#include "field/ElementTerms.h"
#include "field/Watch.h"

namespace pistonfield {

/// What a tolerance means for integrals along contours: the limits that the errors in exact
/// arithmetic keep once rounding has its share. The error of a vector is its length.
class ContourTerms : public ElementTerms {
  public:
    /// @param request outlives this
    /// @throws InvalidRequest where a piston is too small or too large for the wavelength, points
    ///     are too far away, a point lies behind a piston and was not asked for, or double
    ///     precision cannot keep the tolerance; Stopped; std::bad_alloc
    explicit ContourTerms(const Request& request, const Watch& watch = {});

    const ContourFields& fields() const noexcept { return theFields; }
    std::complex<double> weight(std::size_t weighting, std::size_t element) const noexcept;

    /// The limit of an element that is driven by 1, for a part of what is left of the tolerance
    /// once rounding has its share.
    DecayingLimit limitOf(std::size_t element, double part = 1) const noexcept;

    /// The fields of all weightings at a group's points, weighting by weighting, each element
    /// within a limit.
    /// @return evaluations of the integrand at each of the points, of all elements
    template <class LimitOf>
    int sumUp(const GroupPlaces& places, LimitOf limitOf,
              std::vector<std::array<PointField, groupSize>>& sums,
              ContourFields::Work& work) const {
        sums.assign(weightings(), {});
        std::array<PointField, groupSize> values;
        int evaluations = 0;
        for (std::size_t element = 0; element < theFields.count(); ++element) {
            evaluations += theFields.compute(element, places, limitOf(element), values, work);
            for (std::size_t w = 0; w < sums.size(); ++w) add(values, weight(w, element), sums[w]);
        }
        return evaluations;
    }

    /// The quantity's components at some points, of all weightings point by point, within a
    /// fraction of the local amplitude.
    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points,
                                               double fraction) const;

    Accuracy measure(const std::vector<std::complex<double>>& values) const override;

    /// The components of a quantity. On a piston's edge, where a velocity is infinite, all of them
    /// are.
    static void componentsOf(const PointField& field, Quantity quantity, std::complex<double>* to);

  private:
    /// What is known of a weighting's field beforehand.
    struct Preview {
        double pressure = 0;  ///< lower bounds of the largest |p| and |v|
        double velocity = 0;
        bool hasVelocity = false;  ///< whether |v| is finite at any of the points
        double amplitude = 0;  ///< what the elements' rounding is a part of, weighted and summed up
        double weights = 0;    ///< the sum of the weights' magnitudes
    };

    bool withVelocity() const noexcept { return request().quantity != Quantity::pressure; }
    static void add(const std::array<PointField, groupSize>& values, std::complex<double> weight,
                    std::array<PointField, groupSize>& sum);
    void requireSizes() const;
    std::vector<Pose::Vector> centres() const;
    void requireBefore(const Watch& watch) const;
    void requireVelocities() const;
    std::vector<PointField> fieldsAt(const std::vector<Index>& points, double fraction,
                                     const Watch& watch) const;
    double amplitudeAt(const Index& index, std::size_t weighting) const;
    double roundedAmplitudeAt(const Index& index, std::size_t weighting) const;
    std::vector<Preview> previewsOf(const Watch& watch) const;
    double excessWithin() const;
    double roundingOfAnElement() const;
    double rounding() const;
    double unitOf(const Preview& preview) const noexcept;

    ContourFields theFields;
    double reach = 0;  ///< the largest distance of a point from an element, times the wavenumber
    std::vector<Preview> previews;
    double excess = 1;  ///< the largest one of an element at the points
    double share = 0;   ///< of p and v each
};

}  // namespace pistonfield
