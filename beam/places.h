// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

/// A list of points that grows.
class Places {
  public:
    void add(const Vector3& place) {
        points.x.push_back(place[0]);
        points.y.push_back(place[1]);
        points.z.push_back(place[2]);
    }

    Vector3 at(std::size_t i) const { return {points.x[i], points.y[i], points.z[i]}; }
    const PointList& list() const noexcept { return points; }

  private:
    PointList points;
};

}  // namespace pistonfield
