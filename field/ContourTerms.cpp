// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ContourTerms.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>

#include "field/errorLimits.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// Elements times points that one looks at beforehand, and to measure.
constexpr std::size_t mostPreviewed = 1 << 16;
constexpr std::size_t mostMeasured = 1 << 17;

double lengthOf(const std::array<std::complex<double>, 3>& v) {
    return std::sqrt(std::norm(v[0]) + std::norm(v[1]) + std::norm(v[2]));
}

double distanceOf(const Pose::Vector& v) { return std::hypot(v[0], v[1], v[2]); }

Pose::Vector differenceOf(const Pose::Vector& a, const Pose::Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

/// What losses may leave less of than a precision has numbers for.
double leastUnit(const Request& request) {
    return request.inSingle() ? std::numeric_limits<float>::min()
                              : std::numeric_limits<double>::min();
}

std::string nameOfElement(const Request& request, std::size_t i) {
    return request.array ? "element " + std::to_string(i + 1) : "the piston";
}

}  // namespace

ContourTerms::ContourTerms(const Request& request, const Watch& watch)
    : ElementTerms(request, request.array ? request.array->elements.size() : 1,
                   {mostPreviewed, 8, mostMeasured, 8}),
      theFields(request) {
    requireSizes();
    reach = reachFrom(centres());
    if (!request.behind) requireBefore(watch);
    excess = excessWithin();
    previews = previewsOf(watch);
    requireVelocities();
    const double rounded = rounding();
    const double asked = request.tolerance->value;
    if (!(asked >= 2 * rounded && rounded >= 0)) refuseTolerance(2 * rounded, request);
    share = asked - rounded;
    // An intensity errs by what its two factors do, of which each is about twice the local
    // amplitude at most, and with losses so often the excess.
    constexpr double ofLargest = 2.5;
    constexpr double ofLocal = 5;
    if (request.quantity == Quantity::intensity) share /= isLocal() ? ofLocal * excess : ofLargest;
}

std::complex<double> ContourTerms::weight(std::size_t weighting,
                                          std::size_t element) const noexcept {
    if (!request().array) return 1;
    return request().array->weights[weighting * theFields.count() + element];
}

void ContourTerms::add(const std::array<PointField, groupSize>& values, std::complex<double> weight,
                       std::array<PointField, groupSize>& sum) {
    for (std::size_t i = 0; i < groupSize; ++i) {
        sum[i].pressure += weight * values[i].pressure;
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum[i].velocity[axis] += weight * values[i].velocity[axis];
    }
}

void ContourTerms::requireSizes() const {
    const double wavelength = 2 * std::numbers::pi / request().wave.wavenumber;
    const auto require = [&](double side, const char* field, const std::string& element) {
        if (const std::string reason = whySideIsRefused(side / wavelength); !reason.empty())
            throw InvalidRequest(field, element + reason);
    };
    if (!request().array) {
        require(request().piston.width, "width", "");
        require(request().piston.height, "height", "");
        return;
    }
    for (std::size_t i = 0; i < theFields.count(); ++i) {
        const std::string element = nameOfElement(request(), i) + ": ";
        if (theFields[i].outline) {
            require(2 * theFields.outlineOf(i).circle().radius, "elements", element);
        } else {
            require(theFields[i].piston.width, "elements", element);
            require(theFields[i].piston.height, "elements", element);
        }
    }
}

void ContourTerms::requireVelocities() const {
    if (!withVelocity() || isLocal()) return;
    for (const Preview& preview : previews)
        if (!preview.hasVelocity)
            throw InvalidRequest(
                fieldOfPoints(request()),
                "at all points that were looked at the velocity is infinite: they lie on an edge "
                "of the source. There is no largest |v| for the tolerance to be relative to; take "
                "one of the local amplitude, or other points");
}

std::vector<Pose::Vector> ContourTerms::centres() const {
    // Those of the elements' frames, and of the circles about their outlines.
    std::vector<Pose::Vector> all;
    all.reserve(2 * theFields.count());
    for (std::size_t i = 0; i < theFields.count(); ++i) {
        all.push_back(theFields[i].pose.centre);
        all.push_back(theFields.centreOf(i));
    }
    return all;
}

void ContourTerms::requireBefore(const Watch& watch) const {
    const double rounding = 8 * 0x1p-53 * reach / request().wave.wavenumber;
    const auto bounds = positions().bounds();
    for (std::size_t i = 0; i < theFields.count(); ++i) {
        watch.look();
        if (const auto position = pointBehind(theFields[i].pose, bounds, rounding))
            refuseBehind(*position, nameOfElement(request(), i), request());
    }
}

double ContourTerms::unitOf(const Preview& preview) const noexcept {
    switch (request().quantity) {
        case Quantity::pressure:
            return preview.pressure;
        case Quantity::velocity:
            return preview.velocity;
        case Quantity::intensity:
            break;
    }
    return preview.pressure * preview.velocity;
}

DecayingLimit ContourTerms::limitOf(std::size_t element, double part) const noexcept {
    if (isLocal()) return theFields.localLimit(element, part * share);
    double least = std::numeric_limits<double>::infinity();
    for (const Preview& preview : previews) {
        const bool needsPressure = request().quantity != Quantity::velocity;
        const double largest = !withVelocity() ? preview.pressure
                               : needsPressure ? std::min(preview.pressure, preview.velocity)
                                               : preview.velocity;
        least = std::min(least, largest / preview.weights);
    }
    return {{part * share * least}, false};
}

std::vector<PointField> ContourTerms::fieldsAt(const std::vector<Index>& points, double fraction,
                                               const Watch& watch) const {
    const std::size_t count = weightings();
    std::vector<PointField> fields(points.size() * count);
    constexpr std::int64_t some = 4;
    const auto all = static_cast<std::int64_t>(points.size());
    inParallel(all, some, all > some ? watch.threads() : 1,
               [&](std::int64_t first, std::int64_t last) {
                   ContourFields::Work work;
                   std::vector<std::array<PointField, groupSize>> sums;
                   GroupPlaces places;
                   for (auto i = static_cast<std::size_t>(first);
                        i < static_cast<std::size_t>(last); ++i) {
                       const auto [x, y, z] = positions().at(points[i]);
                       std::fill_n(places.x, groupSize, x);
                       std::fill_n(places.y, groupSize, y);
                       std::fill_n(places.z, groupSize, z);
                       const auto limitOf = [&](std::size_t element) {
                           watch.look();
                           return theFields.localLimit(element, fraction);
                       };
                       sumUp(places, limitOf, sums, work);
                       for (std::size_t w = 0; w < count; ++w) fields[i * count + w] = sums[w][0];
                   }
               });
    return fields;
}

void ContourTerms::componentsOf(const PointField& field, Quantity quantity,
                                std::complex<double>* to) {
    if (quantity == Quantity::pressure) {
        *to = field.pressure;
        return;
    }
    auto components = quantity == Quantity::velocity ? field.velocity : intensityOf(field);
    // In a turned frame all components are sums with an infinite one.
    if (!std::isfinite(lengthOf(field.velocity)))
        components.fill(std::numeric_limits<double>::infinity());
    std::copy(components.begin(), components.end(), to);
}

std::vector<std::complex<double>> ContourTerms::valuesAt(const std::vector<Index>& points,
                                                         double fraction) const {
    const std::vector<PointField> fields = fieldsAt(points, fraction, {});
    const auto components = static_cast<std::size_t>(request().components());
    std::vector<std::complex<double>> values(fields.size() * components);
    for (std::size_t i = 0; i < fields.size(); ++i)
        componentsOf(fields[i], request().quantity, &values[i * components]);
    return values;
}

double ContourTerms::amplitudeAt(const Index& index, std::size_t weighting) const {
    const auto position = positions().at(index);
    double sum = 0;
    for (std::size_t i = 0; i < theFields.count(); ++i)
        sum +=
            std::abs(weight(weighting, i)) *
            theFields.localAmplitude(i, distanceOf(differenceOf(position, theFields.centreOf(i))));
    return sum;
}

double ContourTerms::roundedAmplitudeAt(const Index& index, std::size_t weighting) const {
    const auto position = positions().at(index);
    double sum = 0;
    for (std::size_t i = 0; i < theFields.count(); ++i) {
        const double distance = distanceOf(differenceOf(position, theFields.centreOf(i)));
        sum += std::abs(weight(weighting, i)) * theFields.localAmplitude(i, distance) *
               theFields.excessAt(i, position);
    }
    return sum;
}

auto ContourTerms::previewsOf(const Watch& watch) const -> std::vector<Preview> {
    const std::size_t count = weightings();
    std::vector<Preview> seen(count);
    for (std::size_t w = 0; w < count; ++w)
        for (std::size_t i = 0; i < theFields.count(); ++i)
            seen[w].weights += std::abs(weight(w, i));
    if (isLocal()) return seen;
    constexpr double error = 1e-6;
    const std::vector<Index> points = coarsePoints();
    const std::vector<PointField> fields = fieldsAt(points, error, watch);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        Preview& of = seen[i % count];
        const double amplitude = amplitudeAt(points[i / count], i % count);
        const double velocity = lengthOf(fields[i].velocity);
        of.amplitude = std::max(of.amplitude, roundedAmplitudeAt(points[i / count], i % count));
        of.pressure = std::max(of.pressure, std::abs(fields[i].pressure) - error * amplitude);
        // On an edge a velocity is infinite, which says nothing of the others.
        if (!std::isfinite(velocity)) continue;
        of.hasVelocity = true;
        of.velocity = std::max(of.velocity, velocity - error * amplitude);
    }
    return seen;
}

double ContourTerms::excessWithin() const {
    if (request().wave.attenuation == 0) return 1;
    const auto bounds = positions().bounds();
    double most = 1;
    for (std::size_t i = 0; i < theFields.count(); ++i)
        most = std::max(most, theFields.excessWithin(i, bounds));
    return most;
}

double ContourTerms::roundingOfAnElement() const {
    // In the integrals edges cancel, the more the longer the boundary, and phases are up to those
    // of the sides; the factors are above the largest errors seen.
    double most = 0;
    const double k = request().wave.wavenumber;
    constexpr double unit = 0x1p-53;
    for (std::size_t i = 0; i < theFields.count(); ++i)
        most = std::max(most, unit * (256 + 2 * k * perimeterOf(theFields.outlineOf(i).outline())));
    return most + (roundingOfPhase * reach) * (withVelocity() ? 4 : 1);
}

double ContourTerms::rounding() const {
    const double ofElement = roundingOfAnElement();
    const double ofResult = request().inSingle() ? 0x1p-23 : 0;
    const bool isProduct = request().quantity == Quantity::intensity;
    if (isLocal()) {
        // Pressures and velocities are about twice the local amplitude at most, times the excess.
        const double relative = excess * (ofElement + ofResult);
        return isProduct ? 4 * excess * relative : relative;
    }
    double most = 0;
    for (const Preview& preview : previews) {
        const double largest =
            withVelocity() ? std::min(preview.pressure, preview.velocity) : preview.pressure;
        if (!(unitOf(preview) >= leastUnit(request())))
            return std::numeric_limits<double>::infinity();
        most = std::max(most, ofElement * preview.amplitude / largest);
    }
    return (isProduct ? 2 : 1) * most + ofResult;
}

Accuracy ContourTerms::measure(const std::vector<std::complex<double>>& values) const {
    const std::vector<Index> points = finePoints();
    const auto finer = valuesAt(points, 1e-14);
    const auto components = static_cast<std::size_t>(request().components());
    const std::size_t count = weightings();
    Accuracy measured{request().tolerance->value, 0, 0, static_cast<std::int64_t>(points.size())};
    for (std::size_t i = 0; i < points.size() * count; ++i) {
        double square = 0;
        for (std::size_t c = 0; c < components; ++c)
            square += std::norm(values[i * components + c] - finer[i * components + c]);
        // Values that are infinite have no error.
        if (std::isinf(std::abs(finer[i * components]))) continue;
        double unit = unitOf(previews[i % count]);
        if (isLocal()) {
            unit = amplitudeAt(points[i / count], i % count);
            if (request().quantity == Quantity::intensity) unit *= unit;
        }
        const double error = std::sqrt(square) / std::max(unit, leastUnit(request()));
        if (!(error <= measured.error) && !std::isnan(measured.error)) measured.error = error;
    }
    return measured;
}

}  // namespace pistonfield
