// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "arrays/RadiatedPower.h"
#include "beam/GridField.h"
#include "beam/Hydrophone.h"
#include "beam/Samples.h"
#include "field/Plan.h"

namespace pistonfield {

/// The levels, relative to the peak, between which a beam's widths are measured, in dB of the
/// pressure.
inline constexpr std::array<double, 3> beamLevels{-3, -6, -20};

/// A largest |p|.
struct BeamPeak {
    Pose::Vector place{};
    double value = 0;        ///< |p| there, without unit
    bool isOnEdge = false;   ///< whether it lies on the region's edge: there may be more beyond
    double uncertainty = 0;  ///< how far the value may be off, relative to it
};

/// How far from the peak |p| first falls to a level; not a number where that is beyond the region.
struct BeamReach {
    double before = 0;  ///< against the direction
    double behind = 0;  ///< along it

    double width() const noexcept { return before + behind; }
};

/// A local maximum of |p| beyond the first minimum beside the main lobe.
struct BeamLobe {
    Pose::Vector place{};
    double level = 0;  ///< relative to the peak, in dB
    double angle = 0;  ///< from the axis towards the lateral direction, as seen from the source's
                       ///< centre, in radians; not a number where there is no source
    bool grating = false;  ///< whether it is where the elements' pitch has a grating lobe
};

/// What a hydrophone tells of a beam.
struct HydrophoneBeam {
    HydrophoneReading peak;  ///< with its centre at the peak
    /// As `Beam::reaches`, relative to that reading.
    std::array<std::array<BeamReach, beamLevels.size()>, 3> reaches{};
};

/// What there is to say of a beam. Lengths are in the request's unit, pressures without unit as
/// those of a request.
struct Beam {
    BeamPeak peak;
    /// Two lateral directions and the axis, along which the beam goes: all through the peak.
    std::array<Pose::Vector, 3> directions{};
    /// Direction by direction, for each of `beamLevels`.
    std::array<std::array<BeamReach, beamLevels.size()>, 3> reaches{};
    /// In the planes of the axis and each lateral direction, the largest ones first.
    std::array<std::vector<BeamLobe>, 2> lobes;
    double depth = 0;  ///< the peak's distance from the face
    /// |p| at the peak over the mean of the elements' |weight|, each times its area; not a number
    /// where there is no source.
    double gain = 0;
    BeamPeak derated;         ///< the largest |p| times the derating
    double deratedDepth = 0;  ///< its distance from the face
    std::optional<HydrophoneBeam> hydrophone;
    std::optional<RadiatedPower> power;  ///< where it was asked for and is known
};

/// How a beam is measured.
struct BeamOptions {
    /// The direction that it goes in, of any length above 0. By default that from the source's
    /// centre to the peak, or the third direction of a grid of which no source is known.
    std::optional<Pose::Vector> axis;
    double derating = 0;             ///< dB per unit of length
    std::vector<double> hydrophone;  ///< the size of one, see `Hydrophone`; or none. It faces the
                                     ///< axis, its sides along the lateral directions
    bool power = true;  ///< whether the radiated power is found, which of arrays takes its time
};

/// Measures the beam of a source within what the request's lattice spans. The field is computed
/// where it is looked at.
///
/// Lobes are looked for on arcs about the source's centre through the peak, before all elements:
/// also beyond the region. See `BeamLobe`; those below -60 dB are left out, and all but the 8
/// largest of each plane.
/// @param samples the field at the points of a lattice that spans the same region, as `sampled`
///     makes them
/// @throws InvalidRequest, of `axis`, `derating`, `hydrophone`, and as `Plan`; Stopped;
///     DeviceFailure; std::bad_alloc
Beam beamOf(const Request& request, const Samples& samples, const BeamOptions& options,
            const Conduct& conduct = {});

/// Measures the beam of a field that is known at the points of a grid. Lobes are looked for on
/// lines through the peak. Distances from the face are those from the plane z = 0, unless a source
/// is given.
/// @param source of which the geometry is taken, not the field
/// @param conduct of the search for the power: of progress it is told nothing
Beam beamOf(const GridField& field, const Wave& wave, const BeamOptions& options,
            const std::optional<Request>& source = std::nullopt, const Conduct& conduct = {});

}  // namespace pistonfield
