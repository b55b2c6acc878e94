// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/OutlineField.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace pistonfield {

namespace {

OutlineEdge moved(const StraightEdge& edge, const PlaneVector& by) {
    return StraightEdge{{edge.from[0] - by[0], edge.from[1] - by[1]},
                        {edge.to[0] - by[0], edge.to[1] - by[1]}};
}

OutlineEdge moved(const Arc& arc, const PlaneVector& by) {
    Arc there = arc;
    there.centre = {arc.centre[0] - by[0], arc.centre[1] - by[1]};
    return there;
}

Outline centredOn(const Outline& outline, const PlaneVector& centre) {
    Outline there = outline;
    for (Loop& loop : there.loops)
        for (OutlineEdge& edge : loop)
            edge = std::visit([&](const auto& one) { return moved(one, centre); }, edge);
    return there;
}

/// Appends a panel's nodes.
void addNodes(const ContourPanel& panel, const Nodes<double>& rule,
              std::vector<ContourNode>& nodes) {
    const double middle = (panel.from + panel.to) / 2;
    const double half = (panel.to - panel.from) / 2;
    for (int i = 0; i < rule.count; ++i) {
        const auto [at, tangent] = placeOn(*panel.edge, middle + half * rule.abscissas[i]);
        const double weight = half * rule.weights[i];
        nodes.push_back({at[0], at[1], weight * tangent[0], weight * tangent[1]});
    }
}

int nodesOf(const std::vector<ContourPanel>& panels) {
    int nodes = 0;
    for (const ContourPanel& panel : panels) nodes += OrderLadder::nodesOf(panel.rung);
    return nodes;
}

}  // namespace

/// Some of a group's points, one after the other.
struct OutlineField::Range {
    std::size_t first, last;

    std::size_t count() const noexcept { return last - first; }
    std::size_t middle() const noexcept { return (first + last) / 2; }
};

OutlineField::OutlineField(Outline outline, double wavenumber, double attenuation)
    : OutlineField(std::move(outline), {wavenumber, attenuation, attenuation}) {}

OutlineField::OutlineField(Outline outline, const WaveBand& band)
    : theOutline(std::move(outline)),
      theCircle(circleAbout(theOutline)),
      centred(centredOn(theOutline, theCircle.centre)),
      theArea(areaOf(theOutline)),
      wavenumber(band.wavenumber),
      attenuation(band.attenuation),
      leastAttenuation(band.leastAttenuation),
      faceRules(centred, theCircle.radius, wavenumber, attenuation, rules) {}

PointBall OutlineField::ballAbout(const PlacesInFrame& places, const Range& range) const {
    const auto middleOf = [&](auto at) {
        double least = std::numeric_limits<double>::infinity();
        double most = -least;
        for (std::size_t i = range.first; i < range.last; ++i) {
            least = std::min(least, at(i));
            most = std::max(most, at(i));
        }
        return least / 2 + most / 2;
    };
    const auto x = [&](std::size_t i) { return places.x[i] - theCircle.centre[0]; };
    const auto y = [&](std::size_t i) { return places.y[i] - theCircle.centre[1]; };
    const auto z = [&](std::size_t i) { return std::abs(places.z[i]); };
    PointBall ball{{middleOf(x), middleOf(y)}, middleOf(z), 0};
    double square = 0;
    for (std::size_t i = range.first; i < range.last; ++i) {
        const double toX = x(i) - ball.foot[0];
        const double toY = y(i) - ball.foot[1];
        const double toZ = z(i) - ball.z;
        square = std::max(square, toX * toX + toY * toY + toZ * toZ);
    }
    ball.radius = std::sqrt(square);
    return ball;
}

/// @param fromCentre whether the points' reference is the distance of the circle's centre, not z
double OutlineField::errorAt(const PointBall& ball, bool fromCentre,
                             const DecayingLimit& limit) const {
    const double distance = std::hypot(ball.foot[0], ball.foot[1], ball.z) + ball.radius;
    const double reference =
        std::max(0.0, (fromCentre ? distance - 2 * ball.radius : ball.z - ball.radius));
    // Errors are relative to the decay up to the reference, which is the least with the least
    // attenuation; less what the limit decays by, and that is the most with the largest.
    const double decay =
        limit.decays ? attenuation * (reference - distance) : leastAttenuation * reference;
    return limit.limit.at(wavenumber * distance) * std::exp(std::min(decay, 600.0));
}

template <class Use>
int OutlineField::inParts(const PlacesInFrame& places, const Range& range, Derivatives derivatives,
                          const DecayingLimit& limit, Work& work, Use use) const {
    const PointBall ball = ballAbout(places, range);
    const double beyond = std::hypot(ball.foot[0], ball.foot[1]) - besideRadii * theCircle.radius;
    const bool beside = beyond >= ball.radius;
    const bool isMixed = !beside && beyond > -ball.radius && range.count() > 1;
    const auto choose = [&] {
        return choosePanels(centred, ball, beside,
                            {wavenumber, attenuation, derivatives, errorAt(ball, beside, limit)},
                            work.panels);
    };
    const PanelChoice choice = isMixed ? PanelChoice::tooFarApart : choose();
    if (choice == PanelChoice::tooFarApart)
        return inParts(places, {range.first, range.middle()}, derivatives, limit, work, use) +
               inParts(places, {range.middle(), range.last}, derivatives, limit, work, use);
    use(range, beside, choice == PanelChoice::touching);
    return nodesOf(work.panels);
}

/// The rule over the face for all points of a group; null where it takes the boundary, as tones
/// always do.
const FaceRule* OutlineField::faceRuleFor(const PlacesInFrame& places, Derivatives derivatives,
                                          const DecayingLimit& limit) const {
    if (derivatives == Derivatives::potential) return nullptr;
    const PointBall ball = ballAbout(places, {0, groupSize});
    const double nearest = std::hypot(ball.foot[0], ball.foot[1], ball.z) - ball.radius;
    return faceRules.ruleFor(nearest, errorAt(ball, true, limit));
}

int OutlineField::compute(const PlacesInFrame& places, Derivatives derivatives,
                          const DecayingLimit& limit, Potentials& values, Work& work) const {
    if (const FaceRule* const rule = faceRuleFor(places, derivatives, limit)) {
        computeByFace(*rule, places, derivatives, values);
        return static_cast<int>(rule->size());
    }
    return inParts(places, {0, groupSize}, derivatives, limit, work,
                   [&](const Range& range, bool beside, bool touches) {
                       computePart(places, range, beside, touches, derivatives, values, work);
                   });
}

int OutlineField::evaluations(const PlacesInFrame& places, Derivatives derivatives,
                              const DecayingLimit& limit, Work& work) const {
    if (const FaceRule* const rule = faceRuleFor(places, derivatives, limit))
        return static_cast<int>(rule->size());
    return inParts(places, {0, groupSize}, derivatives, limit, work,
                   [](const Range& /*range*/, bool /*beside*/, bool /*touches*/) {});
}

void OutlineField::findNodes(Work& work) const {
    work.nodes.clear();
    for (const ContourPanel& panel : work.panels) {
        rules.require(panel.rung);
        addNodes(panel, rules.table()[panel.rung], work.nodes);
    }
}

/// Some points as sums take them, the last one repeated.
ContourPoints OutlineField::pointsOf(const PlacesInFrame& places, const Range& range,
                                     bool beside) const {
    ContourPoints points;
    points.count = static_cast<int>(range.count());
    points.beside = beside;
    for (std::size_t i = 0; i < groupSize; ++i) {
        const std::size_t from = std::min(range.first + i, range.last - 1);
        points.x[i] = places.x[from] - theCircle.centre[0];
        points.y[i] = places.y[from] - theCircle.centre[1];
        points.z[i] = std::abs(places.z[from]);
        points.reference[i] = beside
                                  ? std::sqrt(points.x[i] * points.x[i] +
                                              points.y[i] * points.y[i] + points.z[i] * points.z[i])
                                  : points.z[i];
    }
    return points;
}

int OutlineField::computeTones(const PlacesInFrame& places, const DecayingLimit& limit,
                               std::span<const EvenTones> tones, std::span<ContourSums::Sum> values,
                               Work& work) const {
    work.tones.resize(values.size());
    return inParts(places, {0, groupSize}, Derivatives::potential, limit, work,
                   [&](const Range& range, bool beside, bool /*touches*/) {
                       findNodes(work);
                       toneSums().compute(work.nodes.data(), work.nodes.size(), tones.data(),
                                          tones.size(), pointsOf(places, range, beside),
                                          work.tones.data());
                       for (std::size_t n = 0; n < values.size(); ++n) {
                           std::copy_n(work.tones[n].re, range.count(), values[n].re + range.first);
                           std::copy_n(work.tones[n].im, range.count(), values[n].im + range.first);
                       }
                   });
}

std::complex<double> OutlineField::waveAt(double reference) const {
    return std::polar(std::exp(-attenuation * reference), -wavenumber * reference);
}

void OutlineField::computeByFace(const FaceRule& rule, const PlacesInFrame& places,
                                 Derivatives derivatives, Potentials& values) const {
    const ContourPoints points = pointsOf(places, {0, groupSize}, true);
    FaceSums sums;
    faceSums().compute(rule.data(), rule.size(), wavenumber, attenuation, derivatives, points,
                       sums);
    for (std::size_t i = 0; i < groupSize; ++i) {
        const double side = places.z[i] < 0 ? -1 : 1;
        const double z = points.z[i];
        const std::complex<double> wave = waveAt(points.reference[i]);
        values.phi[i] = wave * sums.phi.at(i);
        values.z[i] = -side * z * wave * sums.slope.at(i);
        if (derivatives < Derivatives::gradient) continue;
        values.x[i] = -wave * sums.slopeX.at(i);
        values.y[i] = -wave * sums.slopeY.at(i);
        if (derivatives != Derivatives::second) continue;
        values.xz[i] = side * z * wave * sums.bendX.at(i);
        values.yz[i] = side * z * wave * sums.bendY.at(i);
        values.zz[i] = wave * (z * z * sums.bend.at(i) - sums.slope.at(i));
    }
}

void OutlineField::computePart(const PlacesInFrame& places, const Range& range, bool beside,
                               bool touches, Derivatives derivatives, Potentials& values,
                               Work& work) const {
    findNodes(work);
    const ContourPoints points = pointsOf(places, range, beside);
    ContourSums sums;
    contourSums().compute(work.nodes.data(), work.nodes.size(), wavenumber, attenuation,
                          derivatives, points, sums);
    const std::complex<double> k(wavenumber, -attenuation);
    const std::complex<double> factor = std::complex<double>(0, 1) / k;
    for (std::size_t i = 0; i < range.count(); ++i) {
        const std::size_t to = range.first + i;
        const double side = places.z[to] < 0 ? -1 : 1;
        const std::complex<double> wave = waveAt(points.reference[i]);
        values.phi[to] = factor * wave * sums.phi.at(i);
        values.z[to] = side * wave * sums.alongZ.at(i);
        if (derivatives < Derivatives::gradient) continue;
        values.x[to] = -wave * sums.onX.at(i);
        values.y[to] = wave * sums.onY.at(i);
        if (derivatives == Derivatives::second) {
            const double z = points.z[i];
            values.xz[to] = side * z * wave * sums.bentX.at(i);
            values.yz[to] = -side * z * wave * sums.bentY.at(i);
            values.zz[to] = wave * sums.bent.at(i) - k * k * values.phi[to];
        }
        if (!touches) continue;
        constexpr double infinity = std::numeric_limits<double>::infinity();
        for (Potentials::Values* infinite : {&values.x, &values.y}) (*infinite)[to] = infinity;
        if (derivatives == Derivatives::second)
            for (Potentials::Values* infinite : {&values.xz, &values.yz, &values.zz})
                (*infinite)[to] = infinity;
    }
}

}  // namespace pistonfield
