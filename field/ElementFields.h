// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "field/Array.h"
#include "field/Positions.h"
#include "method/RectangleField.h"

namespace pistonfield {

/// The fields of an array's elements, each within a limit of its error in exact arithmetic, which
/// is in T. Equal pistons share what is known of their orders.
template <class T>
class ElementFields {
  public:
    /// @param elements outlive this
    /// @throws std::bad_alloc
    ElementFields(const std::vector<Element>& elements, const Wave& wave);

    std::size_t count() const noexcept { return elements.size(); }

    const Element& operator[](std::size_t element) const noexcept { return elements[element]; }

    const Face& faceOf(std::size_t element) const noexcept { return faces[shapes[element]]; }

    /// The number of an element's face among the different ones.
    std::size_t shapeOf(std::size_t element) const noexcept { return shapes[element]; }

    /// The different pistons' faces.
    const std::vector<Face>& differentFaces() const noexcept { return faces; }

    /// The orders of one of these.
    const GroupOrders& ordersOf(std::size_t shape) const noexcept {
        return fields[shape]->orders();
    }

    /// The points of a group in an element's frame.
    void placeIn(std::size_t element, const GroupPlaces& places, GroupPoints& points) const;

    /// Computes the pressure of an element that is driven by 1 at a group's points.
    /// @return evaluations of the integrand at each of the points; see `GroupOrders::inParts`
    /// @throws std::bad_alloc
    int compute(std::size_t element, const GroupPlaces& places, const ErrorLimit& limit,
                GroupValues<T>& values) const;

    /// How many elements from one on, 16 at most, have the same piston.
    int alike(std::size_t first) const noexcept;

    /// Computes the pressures of `count` elements that are `alike`, each driven by 1, at one point.
    /// Elements that follow each other mostly lie side by side, and share their orders.
    /// @throws std::bad_alloc
    void computeAt(const Pose::Vector& point, std::size_t first, int count, const ErrorLimit& limit,
                   GroupValues<T>& values) const;

    /// What `compute` returns.
    int evaluationsOf(std::size_t element, const GroupPlaces& places,
                      const ErrorLimit& limit) const;

  private:
    const std::vector<Element>& elements;
    std::vector<std::size_t> shapes;  ///< of each element, the number of its face
    std::vector<Face> faces;
    std::vector<std::unique_ptr<const RectangleField<T>>> fields;  ///< of each face
};

}  // namespace pistonfield
