// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Beam.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "beam/Region.h"
#include "beam/SourceField.h"
#include "beam/SourceGeometry.h"
#include "beam/lobes.h"
#include "beam/peak.h"
#include "beam/widths.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

double wavelengthOf(const Wave& wave) noexcept { return 2 * pi / wave.wavenumber; }

/// What a beam is measured in.
struct Scene {
    const BeamField& field;
    Region region;
    const SourceGeometry* source;  ///< or null
    Wave wave;
    StepAt stepAt;

    double depthOf(const Vector3& place) const noexcept {
        return source != nullptr ? source->distanceFrom(place) : std::max(place[2], 0.0);
    }
};

/// The waves that meet at a place come from within the aperture: at a distance from it they differ
/// so little in direction that |p| varies over longer ways.
StepAt stepsBefore(const SourceGeometry& source, const Wave& wave) {
    const double finest = wavelengthOf(wave) / 8;
    const double aperture = std::max(source.aperture(), wavelengthOf(wave));
    return [finest, aperture, centre = source.centre()](const Vector3& place) {
        return finest * std::max(1.0, lengthOf(minus(place, centre)) / aperture);
    };
}

/// A direction without its part along another one, both of length 1; none where nothing is left.
std::optional<Vector3> without(const Vector3& direction, const Vector3& other) noexcept {
    constexpr double least = 1e-6;
    const Vector3 rest = plus(direction, -dot(direction, other), other);
    if (lengthOf(rest) < least) return std::nullopt;
    return unitOf(rest);
}

Vector3 axisOf(const Scene& scene, const Vector3& peak, const BeamOptions& options,
               const Vector3& usual) {
    if (options.axis) {
        const double length = lengthOf(*options.axis);
        if (!(std::isfinite(length) && length > 0))
            throw InvalidRequest("axis", "must be a direction: three numbers, not all 0");
        return unitOf(*options.axis);
    }
    if (scene.source == nullptr) return usual;
    const Vector3 way = minus(peak, scene.source->centre());
    const double wavelength = wavelengthOf(scene.wave);
    // So near to the centre the way to the peak says nothing about where the waves go.
    if (lengthOf(way) < wavelength / 4) return scene.source->normal();
    // And a hundredth of a beam's width is less than a peak's place says about its direction.
    const double least = 0.01 * std::min(1.0, wavelength / scene.source->aperture());
    const bool isAlong = lengthOf(minus(unitOf(way), scene.source->normal())) < least;
    return isAlong ? scene.source->normal() : unitOf(way);
}

/// The lateral directions, which follow the source's width or x where they can; and the axis.
std::array<Vector3, 3> directionsAlong(const Vector3& axis, const SourceGeometry* source) {
    const Vector3 width = source != nullptr ? source->alongWidth() : Vector3{1, 0, 0};
    const Vector3 first =
        without(width, axis).value_or(without({0, 1, 0}, axis).value_or(Vector3{0, 0, 1}));
    return {first, cross(axis, first), axis};
}

std::array<BeamReaches, 3> reachesOf(const Scene& scene, const BeamField& field,
                                     const std::array<Vector3, 3>& directions, const Vector3& place,
                                     double value) {
    std::array<Line, 3> lines{};
    for (std::size_t i = 0; i < lines.size(); ++i)
        lines[i] = {place, directions[i], scene.region.rangeOf(place, directions[i])};
    return reachesAlong(field, lines, value, scene.stepAt);
}

/// An arc about the source's centre through the peak, whose ways are angles.
class Arc {
  public:
    Arc(const Scene& scene, const Vector3& peak, const Vector3& lateral) : source(*scene.source) {
        centre = source.centre();
        const Vector3 way = minus(peak, centre);
        radius = lengthOf(way);
        towards = unitOf(way);
        across = without(lateral, towards).value_or(lateral);
        step = scene.stepAt(peak) / radius;
    }

    Vector3 at(double angle) const noexcept {
        return plus(plus(centre, radius * std::cos(angle), towards), radius * std::sin(angle),
                    across);
    }

    Curve curve() const {
        return {[*this](double angle) { return at(angle); }, {-reach(-1), reach(1)}, step};
    }

  private:
    /// How far the arc goes before it is behind an element.
    double reach(double sign) const noexcept {
        constexpr int halvings = 13;  // of steps that end before the first one behind
        double last = 0;
        double part = pi / 256;
        for (int i = 0; i < halvings; ++i) {
            while (last + part <= pi && source.isBefore(at(sign * (last + part)))) last += part;
            part /= 2;
        }
        return last;
    }

    const SourceGeometry& source;
    Vector3 centre{};
    Vector3 towards{};
    Vector3 across{};
    double radius = 0;
    double step = 0;
};

/// Whether a direction is that of a grating lobe beside one that the beam goes in: the cosines of
/// their angles with the elements' row differ by a multiple of wavelength/pitch, to as much as
/// leads from the lobe's peak to the zero beside it.
bool isGrating(const Scene& scene, const Vector3& row, const Vector3& beam, const Vector3& lobe) {
    const std::optional<double> pitch = scene.source->pitchAlong(row);
    if (!pitch) return false;
    const double order = (dot(lobe, row) - dot(beam, row)) * *pitch / wavelengthOf(scene.wave);
    const double nearest = std::round(order);
    const auto rows = static_cast<double>(scene.source->placesAlong(row));
    return nearest != 0 && std::abs(order - nearest) < 1 / rows;
}

/// The curve in the plane of the axis and a lateral direction: an arc about a source whose field
/// may be looked at anywhere, else a line.
Curve curveOf(const Scene& scene, const Vector3& peak, const Vector3& lateral, bool onArcs) {
    if (onArcs && lengthOf(minus(peak, scene.source->centre())) > 0)
        return Arc(scene, peak, lateral).curve();
    const Line line{peak, lateral, scene.region.rangeOf(peak, lateral)};
    return {[line](double way) { return line.at(way); }, line.range, scene.stepAt(peak)};
}

/// Where a lobe is as seen from the source.
void lookFromSource(const Scene& scene, const Beam& beam, const Vector3& lateral, BeamLobe& lobe) {
    const Vector3 seen = unitOf(minus(lobe.place, scene.source->centre()));
    const Vector3 main = unitOf(minus(beam.peak.place, scene.source->centre()));
    lobe.angle = std::atan2(dot(seen, lateral), dot(seen, beam.directions[2]));
    const std::optional<Vector3> row = without(lateral, scene.source->normal());
    lobe.grating = row && isGrating(scene, *row, main, seen);
}

std::array<std::vector<BeamLobe>, 2> lobesOf(const Scene& scene, const Beam& beam, bool onArcs) {
    std::vector<Curve> curves;
    for (std::size_t i = 0; i < 2; ++i)
        curves.push_back(curveOf(scene, beam.peak.place, beam.directions[i], onArcs));
    const auto found = lobesOn(scene.field, curves, beam.peak.value);
    std::array<std::vector<BeamLobe>, 2> lobes;
    for (std::size_t i = 0; i < lobes.size(); ++i)
        for (const CurveLobe& each : found[i]) {
            BeamLobe lobe{curves[i].at(each.at), 20 * std::log10(each.value / beam.peak.value),
                          none, false};
            if (scene.source != nullptr) lookFromSource(scene, beam, beam.directions[i], lobe);
            lobes[i].push_back(lobe);
        }
    return lobes;
}

PlaceFactor deratingOf(const Scene& scene, double rate) {
    if (!(std::isfinite(rate) && rate >= 0))
        throw InvalidRequest("derating", "must be a number of at least 0");
    if (rate == 0) return {};
    return [&scene, rate](const Vector3& place) {
        return std::pow(10, -rate * scene.depthOf(place) / 20);
    };
}

HydrophoneBeam throughHydrophone(const Scene& scene, const Beam& beam,
                                 const std::vector<double>& size) {
    const Hydrophone hydrophone{size, beam.directions[0], beam.directions[1]};
    const Vector3& place = beam.peak.place;
    HydrophoneBeam told;
    told.peak = hydrophoneReadings(scene.field, hydrophone, {{place[0]}, {place[1]}, {place[2]}},
                                   scene.wave)
                    .front();
    const HydrophoneField field(scene.field, hydrophone, scene.wave);
    told.reaches = reachesOf(scene, field, beam.directions, place, std::abs(told.peak.pressure));
    return told;
}

/// The power, unless these elements have none that can be found in that way.
std::optional<RadiatedPower> powerBy(PowerBy way, const SourceGeometry& source,
                                     const Request& request, const Conduct& conduct) {
    try {
        return radiatedPower(source.elements(), source.weights(), request.wave, way, conduct,
                             request.baffle);
    } catch (const InvalidRequest& refusal) {
        if (refusal.field() != "elements") throw;
        return std::nullopt;
    }
}

/// Where the faces take too many places, the power is found far away. With losses, which leave
/// nothing of it there, there is none then, nor where the baffle is not rigid.
std::optional<RadiatedPower> powerOf(const SourceGeometry& source, const Request& request,
                                     const Conduct& conduct) {
    const PowerBy way = usualWay(source.elements());
    const bool hasLosses = request.wave.attenuation > 0;
    if (hasLosses && (way == PowerBy::farField || request.baffle != Baffle::rigid))
        return std::nullopt;
    const Conduct silent{conduct.stop, {}, conduct.threads};
    std::optional<RadiatedPower> power = powerBy(way, source, request, silent);
    if (power || hasLosses || way == PowerBy::farField) return power;
    return powerBy(PowerBy::farField, source, request, silent);
}

/// @param onArcs  whether lobes are looked for on arcs about the source
/// @param usual   the axis, where neither the options nor a source have one
Beam measured(const Scene& scene, const Samples& samples, const BeamOptions& options, bool onArcs,
              const Vector3& usual) {
    const PlaceFactor derating = deratingOf(scene, options.derating);
    Beam beam;
    beam.peak = findPeak(scene.field, samples);
    const Vector3& peak = beam.peak.place;
    beam.directions = directionsAlong(axisOf(scene, peak, options, usual), scene.source);
    beam.reaches = reachesOf(scene, scene.field, beam.directions, peak, beam.peak.value);
    beam.lobes = lobesOf(scene, beam, onArcs);
    beam.depth = scene.depthOf(peak);
    beam.derated = derating ? findPeak(scene.field, samples, derating) : beam.peak;
    beam.deratedDepth = scene.depthOf(beam.derated.place);
    beam.gain = scene.source != nullptr ? beam.peak.value / scene.source->meanDrive() : none;
    if (!options.hydrophone.empty())
        beam.hydrophone = throughHydrophone(scene, beam, options.hydrophone);
    return beam;
}

}  // namespace

Beam beamOf(const Request& request, const Samples& samples, const BeamOptions& options,
            const Conduct& conduct) {
    const SourceField field(request, conduct);
    const SourceGeometry source(request);
    const Scene scene{field, Region(samples.lattice), &source, request.wave,
                      stepsBefore(source, request.wave)};
    Beam beam = measured(scene, samples, options, true, source.normal());
    if (options.power) beam.power = powerOf(source, request, conduct);
    return beam;
}

Beam beamOf(const GridField& field, const Wave& wave, const BeamOptions& options,
            const std::optional<Request>& request, const Conduct& conduct) {
    std::optional<SourceGeometry> source;
    if (request) source.emplace(*request);
    const Region region(field.lattice());
    const double step = region.shortestStep() / 2;
    const Scene scene{field, region, source ? &*source : nullptr, wave,
                      [step](const Vector3& /*place*/) { return step; }};
    const Vector3 along = minus(region.placeOf({0, 0, 1}), region.placeOf({}));
    Beam beam =
        measured(scene, samplesOf(field.lattice(), field.values()), options, false, unitOf(along));
    if (options.power && request) beam.power = powerOf(*source, *request, conduct);
    return beam;
}

}  // namespace pistonfield
