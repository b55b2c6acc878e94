// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <optional>
#include <vector>

#include "arrays/polygons.h"
#include "field/Request.h"

namespace pistonfield {

/// What a beam needs to know of its source: where it is, not what it radiates.
class SourceGeometry {
  public:
    /// @throws InvalidRequest where there is no element
    explicit SourceGeometry(const Request& request);

    const std::vector<Element>& elements() const noexcept { return faces; }
    const std::vector<std::complex<double>>& weights() const noexcept { return drive; }

    /// The mean of the faces' places.
    const Vector3& centre() const noexcept { return middle; }

    /// The direction of the mean normal; where the normals cancel, that of the first element.
    const Vector3& normal() const noexcept { return forward; }

    /// The direction along the width of the first element.
    const Vector3& alongWidth() const noexcept { return faces.front().pose.alongWidth; }

    /// Twice the distance of the furthest corner from the centre; of an arc, of points along it.
    double aperture() const noexcept { return size; }

    /// The mean of |weight|, each times its element's area.
    double meanDrive() const noexcept;

    /// Whether a place lies before all elements.
    bool isBefore(const Vector3& place) const noexcept;

    /// The distance of a place from the nearest face; see `Polygon`.
    double distanceFrom(const Vector3& place) const noexcept;

    /// How far the faces' centres are apart along a direction, where they are in one plane and
    /// their places along it follow each other at equal distances.
    std::optional<double> pitchAlong(const Vector3& direction) const;

    /// How many places along a direction the centres have.
    std::size_t placesAlong(const Vector3& direction) const;

  private:
    std::vector<double> sortedPlacesAlong(const Vector3& direction) const;

    std::vector<Element> faces;
    std::vector<std::complex<double>> drive;
    std::vector<Vector3> centres;                  ///< of the faces
    std::vector<std::optional<Polygon>> polygons;  ///< of those that have an outline
    Vector3 middle{};
    Vector3 forward{};
    double size = 0;
};

}  // namespace pistonfield
