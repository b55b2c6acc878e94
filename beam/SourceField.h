// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <optional>

#include "beam/BeamField.h"
#include "field/Plan.h"

namespace pistonfield {

/// The field of a source, computed wherever it is looked at: on the CPU, in double precision,
/// within 1e-8 of the largest |p| that is asked for at a time, or the request's tolerance where
/// that is less. One thread at a time looks at it.
class SourceField final : public BeamField {
  public:
    /// @param request its points mean nothing
    /// @param conduct its progress is told how many points have been computed so far
    /// @throws InvalidRequest of `weights` where an array is not weighted once, of `tolerance`
    ///     where there is none
    explicit SourceField(Request request, Conduct conduct = {});

    /// @throws as `Plan`, and as its `compute`
    std::vector<std::complex<double>> pressures(const PointList& points) const override;

    double uncertainty(const Pose::Vector& place) const override;

  private:
    Request source;
    /// Of an array of one element, which is computed as the piston that it is.
    std::optional<Pose> pose;
    std::complex<double> weight = 1;
    Conduct conduct;
    mutable std::int64_t done = 0;        ///< points that were computed
    std::shared_ptr<SharedFaces> shared;  ///< by the plans of all points
};

}  // namespace pistonfield
