// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// A pressure field that can be looked at where one likes, without unit as that of a `Request`.
class BeamField {
  public:
    BeamField() = default;
    BeamField(const BeamField&) = default;
    BeamField& operator=(const BeamField&) = default;
    virtual ~BeamField() = default;

    /// p at points; not a number where it is not known.
    virtual std::vector<std::complex<double>> pressures(const PointList& points) const = 0;

    /// |p| at points; not a number where it is not known.
    virtual std::vector<double> magnitudes(const PointList& points) const;

    /// How far |p| at a point may be off, relative to it.
    virtual double uncertainty(const Pose::Vector& place) const = 0;
};

}  // namespace pistonfield
