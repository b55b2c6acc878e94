// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <vector>

#include "beam/BeamField.h"

namespace pistonfield {

/// The active face of a hydrophone, flat: what it tells is p averaged over that face.
struct Hydrophone {
    /// One length is a disc's diameter, two are a rectangle's sides.
    std::vector<double> size;
    Pose::Vector along{1, 0, 0};   ///< the first side's direction, of length 1
    Pose::Vector across{0, 1, 0};  ///< the second side's, of length 1 and at a right angle to it
};

/// What a hydrophone tells at a point.
struct HydrophoneReading {
    std::complex<double> pressure;
    double change = 0;  ///< by how much a rule with fewer nodes says something else: an estimate of
                        ///< the error, beside that of the field
};

/// What a hydrophone tells with its centre at points; not a number where the face reaches to where
/// the field is not known.
///
/// A rectangle's average is that of a Gauss-Legendre rule along each side. That of a disc is a
/// Gauss-Legendre rule in the square of the radius, times equal steps of the angle. The orders
/// grow with the face's size in wavelengths, and from there until the change is below 1e-7 of |p|.
/// @throws InvalidRequest of `hydrophone` unless its size is one or two lengths above 0, or where
///     it is more than 100 wavelengths; what the field throws
std::vector<HydrophoneReading> hydrophoneReadings(const BeamField& field,
                                                  const Hydrophone& hydrophone,
                                                  const PointList& points, const Wave& wave);

/// The field as a hydrophone tells it.
class HydrophoneField final : public BeamField {
  public:
    /// @param field lives at least as long
    HydrophoneField(const BeamField& field, Hydrophone hydrophone, const Wave& wave);

    std::vector<std::complex<double>> pressures(const PointList& points) const override;
    double uncertainty(const Pose::Vector& place) const override;

  private:
    const BeamField& field;
    Hydrophone hydrophone;
    Wave wave;
};

}  // namespace pistonfield
