// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "field/PointField.h"
#include "field/Positions.h"
#include "field/Request.h"
#include "method/OutlineField.h"

namespace pistonfield {

/// The fields of a request's pistons by integrals along their outlines, in the request's frame.
/// Equal pistons share what is known of them.
class ContourFields {
  public:
    /// What a thread computes with.
    struct Work {
        OutlineField::Work outline;
        Potentials potentials;
    };

    /// @throws std::bad_alloc
    explicit ContourFields(const Request& request);

    /// For `computeTones` of tones within a band, whose largest numbers are the wave of what else
    /// is asked.
    /// @throws std::bad_alloc
    ContourFields(const Request& request, const WaveBand& band);

    /// The pistons: those of the array, or the request's one.
    std::size_t count() const noexcept { return elements.size(); }
    const Element& operator[](std::size_t element) const noexcept { return elements[element]; }

    /// An element's outline, in its own frame.
    const OutlineField& outlineOf(std::size_t element) const noexcept {
        return *fields[shapes[element]];
    }

    /// The place of its circle's centre, in the request's frame.
    Pose::Vector centreOf(std::size_t element) const noexcept;

    /// What |p| of an element that is driven by 1 is about, at a distance from that centre.
    double localAmplitude(std::size_t element, double distance) const noexcept;

    /// By how much of it rounding is more, where it is relative to the decay of what is summed up:
    /// at a point with losses, 1 without.
    double excessAt(std::size_t element, const Pose::Vector& point) const noexcept;

    /// The largest one of points within bounds.
    double excessWithin(std::size_t element,
                        const std::array<std::array<double, 2>, 3>& bounds) const noexcept;

    /// A fraction of that amplitude, as a limit.
    DecayingLimit localLimit(std::size_t element, double fraction) const noexcept;

    /// Computes the field of an element that is driven by 1 at a group's points.
    /// @return evaluations of the integrand at each of the points
    /// @throws std::bad_alloc
    int compute(std::size_t element, const GroupPlaces& places, const DecayingLimit& limit,
                std::array<PointField, groupSize>& values, Work& work) const;

    /// The same at points in the element's frame.
    int computeInFrame(std::size_t element, const PlacesInFrame& places, const DecayingLimit& limit,
                       std::array<PointField, groupSize>& values, Work& work) const;

    /// Computes an element's integrals for some tones; see `OutlineField::computeTones`.
    int computeTones(std::size_t element, const GroupPlaces& places, const DecayingLimit& limit,
                     std::span<const EvenTones> tones, std::span<ContourSums::Sum> values,
                     Work& work) const;

    /// What `compute` returns, and what `computeInFrame` does.
    int evaluationsOf(std::size_t element, const GroupPlaces& places, const DecayingLimit& limit,
                      Work& work) const;
    int evaluationsInFrame(std::size_t element, const PlacesInFrame& places,
                           const DecayingLimit& limit, Work& work) const;

    /// What |p| of an element that is driven by 1 is at most, and |v| where it is asked for, at
    /// points no nearer to its plane than `height` and to its circle's centre than `distance`.
    double largestAt(std::size_t element, double distance, double height) const noexcept;

  private:
    ContourFields(const Request& request, const WaveBand& band, Derivatives derivatives);

    double excessOf(std::size_t element, double lead) const noexcept;
    Pose::Vector fromCentre(std::size_t element, const Pose::Vector& point) const noexcept;
    PlacesInFrame placed(std::size_t element, const GroupPlaces& places) const noexcept;

    Wave wave;
    Baffle baffle;
    bool withVelocity;
    Derivatives derivatives;
    std::vector<Element> elements;
    std::vector<std::size_t> shapes;  ///< of each element, the number of its outline's field
    std::vector<std::unique_ptr<const OutlineField>> fields;
};

}  // namespace pistonfield
