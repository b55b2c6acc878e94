// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <vector>

#include "arrays/vectors.h"

namespace pistonfield {

/// The faces of elements: rectangles, and outlines as polygons; see `Polygon`. Those of outlines
/// throw std::bad_alloc.

double areaOfFace(const Element& element) noexcept;

/// The mean of the places of the face.
Vector3 centreOfFace(const Element& element);

/// The largest distance of a point of the face from the element's centre.
double reachOfFace(const Element& element) noexcept;

/// The corners of the face, in turn.
std::vector<Vector3> cornersOfFace(const Element& element);

/// Whether two faces intersect, by more than 1e-9 of their sides.
bool facesOverlap(const Element& a, const Element& b);

/// The distance between two faces that do not overlap.
double distanceBetweenFaces(const Element& a, const Element& b);

/// How far along a ray from a point, in a direction of length 1, it meets a face, if it does.
std::optional<double> meetsFace(const Vector3& from, const Vector3& direction,
                                const Element& element);

}  // namespace pistonfield
