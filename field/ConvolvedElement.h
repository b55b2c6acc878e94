// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "field/ArrayTerms.h"
#include "field/ContourTerms.h"
#include "field/Plan.h"

namespace pistonfield {

/// The field of one element on a lattice in its frame, in numbers of K.
template <class K>
class ElementLattice {
  public:
    using Index = std::array<std::int64_t, 3>;

    ElementLattice() = default;
    ElementLattice(const ElementLattice&) = delete;
    ElementLattice& operator=(const ElementLattice&) = delete;
    virtual ~ElementLattice() = default;

    virtual const Index& sizes() const noexcept = 0;

    /// Computes a box of the lattice, whole along the direction that the lattice was made for:
    /// component after component. Where the stop token asks for that, it ends with values missing.
    /// @throws std::bad_alloc
    virtual void fill(const LatticeBox& box, const Destination<K>& to,
                      const Conduct& conduct) const = 0;

    /// The evaluations of the integrand that a point takes, on average over those that are computed
    /// with it.
    virtual double evaluationsOf(const Index& index) const = 0;
};

/// An element that all those of an array are equal to, as a convolution takes it: its field in
/// numbers of K, driven by 1, and what errors it may have.
template <class K>
class ConvolvedElement {
  public:
    /// About what a point of the field takes on one core.
    struct Seconds {
        double ofAPoint;  ///< and an evaluation of the integrand there
        double ofAnEvaluation;
    };

    ConvolvedElement() = default;
    ConvolvedElement(const ConvolvedElement&) = delete;
    ConvolvedElement& operator=(const ConvolvedElement&) = delete;
    virtual ~ConvolvedElement() = default;

    virtual std::shared_ptr<const ElementTerms> terms() const noexcept = 0;

    /// The complex numbers of the field at a point: the pressure, or the velocity's components, or
    /// for an intensity the pressure and these.
    virtual std::size_t components() const noexcept = 0;

    virtual Seconds seconds() const noexcept = 0;

    /// The distance of its plane below which its field is not convolved; 0 where it always is.
    virtual double nearest() const noexcept = 0;

    /// The limit of the errors of the field at a distance from the frame's origin, for a part of
    /// what is left of the tolerance once rounding has its share.
    virtual double limitAt(double distance, double part) const noexcept = 0;

    /// The magnitude of the field, about so much at most, of points no nearer to the frame's origin
    /// than a distance and to its plane than a height.
    virtual double largestAt(double distance, double height) const noexcept = 0;

    /// A face whose pressure bounds what spreading elements over places adds; none where they are
    /// not to be spread.
    virtual std::optional<Face> spreadFace() const noexcept { return std::nullopt; }

    /// Its field on a lattice in its frame, within a part of the limit.
    /// @param along the direction that boxes are whole along
    /// @throws std::bad_alloc
    virtual std::unique_ptr<const ElementLattice<K>> on(const Lattice& lattice, std::size_t along,
                                                        double part) const = 0;
};

/// The first element of an array of rectangles, whose pressure in a rigid baffle without losses is
/// computed in runs along the edges.
template <class T>
std::unique_ptr<const ConvolvedElement<T>> makeConvolvedRectangle(
    std::shared_ptr<const ArrayTerms> terms);

/// The first element of any array, by integrals along its outline.
std::unique_ptr<const ConvolvedElement<double>> makeConvolvedOutline(
    std::shared_ptr<const ContourTerms> terms);

}  // namespace pistonfield
