// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// How the elements of an array lie in a lattice: equal pistons, turned alike, in one plane that
/// contains one or two of the lattice's directions.
class ElementPlane {
  public:
    using Vector = Pose::Vector;

    /// One of the lattice's directions in the plane.
    struct Direction {
        std::size_t along;            ///< the lattice's direction
        Vector step;                  ///< from point to point
        std::vector<double> ticks;    ///< of each element, from the lattice's origin, in steps
        std::optional<int> division;  ///< ticks are so many-th of steps apart, to rounding
    };

    /// None where the elements or the points lie otherwise, or there is no array.
    /// @param request outlives this
    static std::optional<ElementPlane> of(const Request& request);

    const std::vector<Direction>& directions() const noexcept { return inPlane; }

    /// Elements that the plane's directions lead from one to the other; for each element the number
    /// of its row.
    const std::vector<std::size_t>& rowOf() const noexcept { return rowNumbers; }
    std::size_t rows() const noexcept { return firstOfRow.size(); }

    /// Where a row is, in the array's frame: the place with the ticks given.
    Vector placeIn(std::size_t row, const std::vector<double>& ticks) const;

    /// The distance of a point from the plane, with a sign.
    double distanceOf(const std::array<std::int64_t, 3>& index) const;

    /// The step between points in a direction of the lattice, and its point with the index 0.
    Vector stepIn(std::size_t direction) const;
    Vector origin() const;

    const Element& element() const noexcept { return request->array->elements.front(); }

  private:
    explicit ElementPlane(const Request& request) : request(&request) {}

    bool isOne() const;
    bool findDirections();
    void findTicks();
    void findDivisions();

    const Request* request;
    double rounding = 0;  ///< of positions
    std::vector<Direction> inPlane;
    std::vector<std::size_t> rowNumbers;
    std::vector<std::size_t> firstOfRow;
};

/// How elements that are on no grid are spread over places of one: over so many successive places
/// along a direction, `spacing` or less apart, by the polynomial that interpolates there.
struct Spreading {
    double spacing;
    int nodes;  ///< even
};

/// The weights of an array as numbers on grids with the steps of a lattice: the field is the sum
/// over the terms of the convolutions of such a grid with one element's field on the lattice,
/// enlarged and moved.
class ElementGrid {
  public:
    /// Along a direction of the lattice.
    struct Axis {
        std::size_t along;        ///< the lattice's direction
        int division = 1;         ///< places of elements in a step of the lattice
        std::int64_t places = 1;  ///< of a term's grid; 1 where nothing is convolved
        double spacing = 0;       ///< of places where elements are spread, else 0
    };

    /// Those places that are whole steps apart: from place 0 by so many divisions, in the order of
    /// the axes that are convolved.
    struct Term {
        std::size_t row;
        std::array<int, 2> phase;
    };

    /// @param plane     outlives this
    /// @param spreading along directions where elements are not whole steps apart, or none: these
    ///     are all on grids of steps' divisions
    /// @param withTerms else only the axes are found
    ElementGrid(const ElementPlane& plane, const std::array<std::int64_t, 3>& sizes,
                const std::optional<Spreading>& spreading, bool withTerms = true);

    /// Those that are convolved, one or two; none where no element has a neighbour.
    const std::vector<Axis>& axes() const noexcept { return convolved; }

    const std::vector<Term>& terms() const noexcept { return theTerms; }

    /// The weights of a term's places, the first axis' one after the other.
    /// @param weights of the elements
    std::vector<std::complex<double>> weightsOf(const Term& term,
                                                const std::complex<double>* weights) const;

    /// The lattice that one element's field is taken at for a row, in the element's frame.
    Lattice latticeOf(std::size_t row) const;

    /// How much spreading may enlarge errors of that field: the largest sum of an element's
    /// factors' magnitudes; 1 without.
    double enlargement() const noexcept { return largestSum; }

  private:
    /// The elements' places along a direction of the plane.
    struct Placing {
        Axis axis;
        double begin;                     ///< the ticks of place 0
        int nodes;                        ///< successive places of an element
        std::vector<std::int64_t> first;  ///< of each element
        std::vector<double> factors;      ///< of each element's places, one element after the other
    };

    static Placing placingOf(const ElementPlane::Direction& direction,
                             const std::optional<Spreading>& spreading, bool withFactors);
    void findTerms();

    const ElementPlane& plane;
    std::array<std::int64_t, 3> sizes;
    std::vector<Placing> placings;
    std::vector<std::size_t> used;  ///< the numbers of those that are convolved
    std::vector<Axis> convolved;
    std::vector<Term> theTerms;
    double largestSum = 1;
};

/// What an interpolation at places one `Spreading` apart is off by, as a part of what an element's
/// field is far away, at distances `distance` from the element and more: times the distance, in
/// units of 1/k.
/// @param spacing  times the wavenumber
/// @param distance from the element's nearest point, times the wavenumber
double spreadingError(int nodes, double spacing, double distance);

/// The largest sum of the magnitudes of an interpolation's factors between its middle places.
double sumOfFactors(int nodes);

}  // namespace pistonfield
