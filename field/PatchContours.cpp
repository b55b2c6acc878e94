// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/PatchContours.h"

#include <algorithm>
#include <cmath>

namespace pistonfield {

namespace {

using Vector = Pose::Vector;

/// Shares of a limit: of the coefficients that end the interpolation, of which four times as much
/// may be left out; and of the numbers at nodes, whose errors rules of up to 32 nodes along both
/// directions enlarge by up to 10.3, the square of their Lebesgue constant.
constexpr double ofCoefficients = 1.0 / 8;
constexpr double ofNodes = 1.0 / 32;

Vector placeOn(const Patch& patch, double along, double across) {
    Vector place;
    for (std::size_t axis = 0; axis < place.size(); ++axis)
        place[axis] =
            patch.middle[axis] + along * patch.step[0][axis] + across * patch.step[1][axis];
    return place;
}

double productOf(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Vector stepOf(const Patch& patch, int direction) {
    const double(&step)[3] = patch.step[direction];
    return {step[0], step[1], step[2]};
}

double lengthOf(const Vector& vector) { return std::sqrt(productOf(vector, vector)); }

/// No point of the patch is nearer to a place.
double nearestOf(const Patch& patch, const Vector& place) {
    const Vector from = minus(placeOn(patch, 0, 0), place);
    const Vector steps[]{stepOf(patch, 0), stepOf(patch, 1)};
    const double oblique = productOf(steps[0], steps[1]);
    const double least = std::max(0.0, lengthOf(from) - patch.halfDiagonal());
    if (oblique * oblique > 1e-20 * productOf(steps[0], steps[0]) * productOf(steps[1], steps[1]))
        return least;
    double square = productOf(from, from);
    for (int direction = 0; direction < 2; ++direction) {
        const double ofStep = productOf(steps[direction], steps[direction]);
        if (ofStep == 0) continue;
        const double last = (patch.count[direction] - 1) / 2.0;
        const double along = productOf(from, steps[direction]);
        const double to = std::clamp(-along / ofStep, -last, last);
        square += to * (2 * along + to * ofStep);
    }
    return std::max(least, std::sqrt(std::max(0.0, square)));
}

DecayingLimit partOf(const DecayingLimit& limit, double part) {
    return {{limit.limit.fixed * part, limit.limit.local * part, limit.limit.nearest},
            limit.decays};
}

}  // namespace

/// A piston as seen from a patch.
struct PatchContours::Sight {
    Vector centre;
    double nearest;
    std::array<int, 2> counts;  ///< of nodes, by estimate
    double error;               ///< of the last coefficients, relative to exp(-jkR)
    bool isFar;                 ///< whether the field is smooth
};

PatchContours::PatchContours(const ContourTerms& terms, const std::array<int, 2>& counts)
    : terms(terms),
      k{terms.request().wave.wavenumber, terms.request().wave.attenuation},
      components(terms.request().quantity == Quantity::pressure ? 1 : 4),
      rules{RowRules<double>(counts[0]), RowRules<double>(counts[1])} {}

PatchContours::Work::Work(const PatchContours& of)
    : waves{},
      row{},
      components(of.components),
      rows(static_cast<std::size_t>(of.rules[1].points())),
      nodes(of.components),
      re(of.terms.weightings() * components * rows * mostInRow),
      im(re.size()),
      values{} {}

PointField PatchContours::Work::at(std::size_t weighting, int row, int point) const {
    const auto number = [&](std::size_t component) {
        const std::size_t i = placeOf(weighting, component, row) + static_cast<std::size_t>(point);
        return std::complex<double>(re[i], im[i]);
    };
    if (components == 1) return {number(0), {}};
    return {number(0), {number(1), number(2), number(3)}};
}

auto PatchContours::sightOf(std::size_t element, const Patch& patch) const -> Sight {
    const ContourFields& fields = terms.fields();
    const double radius = fields.outlineOf(element).circle().radius;
    Sight sight{fields.centreOf(element), 0, {1, 1}, 0, false};
    sight.nearest = nearestOf(patch, sight.centre);
    const double farthest =
        lengthOf(minus(placeOn(patch, 0, 0), sight.centre)) + patch.halfDiagonal();
    constexpr double smoothFrom = 2;   // radii: a radius from all of the face
    constexpr double mostDecay = 300;  // exp(-a*R) and its inverse have room to spare
    sight.isFar = sight.nearest >= smoothFrom * radius && k.attenuation * farthest < mostDecay;
    if (!sight.isFar) return sight;
    const DecayingLimit limit = terms.limitOf(element);
    sight.error = ofCoefficients * limit.limit.at(k.real * farthest) *
                  (limit.decays ? 1 : std::exp(k.attenuation * sight.nearest));
    // But for exp(-jkR), with what |p| or |v| has near the piston.
    const double amplitude = fields.largestAt(element, sight.nearest, 0) *
                             std::exp(k.attenuation * (sight.nearest - radius));
    for (int direction = 0; direction < 2; ++direction) {
        const double halfLengths = patch.half(direction) / sight.nearest;
        const int nodes =
            estimatedNodes(k.real * radius * halfLengths, halfLengths, sight.error / amplitude);
        sight.counts[static_cast<std::size_t>(direction)] = patch.count[direction] == 1 ? 1 : nodes;
    }
    return sight;
}

/// Whether nodes are fewer than points, and there are rules of so many.
bool PatchContours::isWorthIt(const std::array<int, 2>& counts) const noexcept {
    const int points = rules[0].points() * rules[1].points();
    return 2 * counts[0] * counts[1] < points && counts[0] * counts[1] <= mostNodes &&
           counts[0] <= RowRules<double>::mostNodes && counts[1] <= RowRules<double>::mostNodes;
}

/// @return evaluations, of all nodes; less than 0 where the field is computed at each point instead
int PatchContours::findNodes(std::size_t element, const Patch& patch, Work& work) const {
    const Sight sight = sightOf(element, patch);
    if (!sight.isFar) return -1;
    std::array<int, 2> counts = sight.counts;
    int evaluations = 0;
    while (isWorthIt(counts)) {
        for (std::size_t i = 0; i < counts.size(); ++i) work.used[i] = rules[i].rule(counts[i]);
        evaluations += evaluateNodes(element, patch, sight, work);
        if (isResolved(sight.error, work)) return evaluations;
        for (std::size_t i = 0; i < counts.size(); ++i)
            if (patch.count[i] > 1) counts[i] += 2;
    }
    return -1;
}

int PatchContours::evaluateNodes(std::size_t element, const Patch& patch, const Sight& sight,
                                 Work& work) const {
    const auto& [along, across] = work.used;
    const DecayingLimit limit = partOf(terms.limitOf(element), ofNodes);
    const int count = along.count * across.count;
    int evaluations = 0;
    for (int begin = 0; begin < count; begin += groupSize) {
        GroupPlaces places;
        for (int i = 0; i < groupSize; ++i) {
            const int node = std::min(begin + i, count - 1);
            const Vector place =
                placeOn(patch, along.nodes[node % along.count] * (patch.count[0] - 1) / 2,
                        across.nodes[node / along.count] * (patch.count[1] - 1) / 2);
            places.x[i] = place[0];
            places.y[i] = place[1];
            places.z[i] = place[2];
        }
        evaluations +=
            groupSize * terms.fields().compute(element, places, limit, work.values, work.fields);
        for (int i = 0; i < std::min(groupSize, count - begin); ++i) {
            const auto& [pressure, velocity] = work.values[static_cast<std::size_t>(i)];
            const double R = lengthOf(minus({places.x[i], places.y[i], places.z[i]}, sight.centre));
            const std::complex<double> turned = std::polar(std::exp(k.attenuation * R), k.real * R);
            for (std::size_t c = 0; c < components; ++c) {
                const std::complex<double> value = turned * (c == 0 ? pressure : velocity[c - 1]);
                work.nodes[c].re[begin + i] = value.real();
                work.nodes[c].im[begin + i] = value.imag();
            }
        }
    }
    return evaluations;
}

/// Whether the coefficients of the last two polynomials along a line of nodes are within an error,
/// of the last but one half of it. Where coefficients fall by half from one to the next, those that
/// are left out then add up to twice the error.
bool PatchContours::isResolved(int begin, int stride, const RowRule<double>& rule, double error,
                               const Work& work) const {
    for (int last = 0; last < 2 && rule.count > 1; ++last) {
        const double* const weights =
            rule.lastCoefficients + static_cast<std::ptrdiff_t>(last) * rule.count;
        double square = 0;
        for (std::size_t c = 0; c < components; ++c) {
            double re = 0;
            double im = 0;
            for (int i = 0; i < rule.count; ++i) {
                re += weights[i] * work.nodes[c].re[begin + i * stride];
                im += weights[i] * work.nodes[c].im[begin + i * stride];
            }
            square += re * re + im * im;
        }
        const double most = error * (1 + last);
        if (!(square <= most * most)) return false;
    }
    return true;
}

bool PatchContours::isResolved(double error, const Work& work) const {
    const auto& [along, across] = work.used;
    for (int i = 0; i < across.count; ++i)
        if (!isResolved(i * along.count, 1, along, error, work)) return false;
    for (int i = 0; i < along.count; ++i)
        if (!isResolved(i, along.count, across, error, work)) return false;
    return true;
}

/// A rule's weights node by node.
const double* PatchContours::weightsAlong(const RowRule<double>& rule, Work& work) const {
    std::vector<double>& weights = work.along[static_cast<std::size_t>(rule.count)];
    if (weights.empty()) {
        weights.resize(static_cast<std::size_t>(rule.count) * mostInRow);
        for (int point = 0; point < rules[0].points(); ++point)
            for (int i = 0; i < rule.count; ++i)
                weights[static_cast<std::size_t>(i) * mostInRow + static_cast<std::size_t>(point)] =
                    rule.weights[point * rule.count + i];
    }
    return weights.data();
}

void PatchContours::addRows(std::size_t element, const LatticePatches::Piece& piece,
                            Work& work) const {
    const Patch& patch = piece.patch;
    const auto& [along, across] = work.used;
    const Vector centre = terms.fields().centreOf(element);
    const Vector step = stepOf(patch, 0);
    const RadialRows& rows = radialRows();
    const double* const weights = weightsAlong(along, work);
    for (int row = piece.first[1]; row < piece.first[1] + piece.count[1]; ++row) {
        const Vector middle = minus(placeOn(patch, 0, row - (patch.count[1] - 1) / 2.0), centre);
        const RadialRow seen{patch.count[0], lengthOf(middle), 2 * productOf(middle, step),
                             productOf(step, step)};
        rows.findWaves(seen, k, work.waves);
        const std::complex<double> wave =
            std::polar(std::exp(-k.attenuation * seen.reference), -k.real * seen.reference);
        for (std::size_t c = 0; c < components; ++c) {
            double re[RowRules<double>::mostNodes];
            double im[RowRules<double>::mostNodes];
            for (int i = 0; i < along.count; ++i) {
                std::complex<double> sum;
                for (int n = 0; n < across.count; ++n) {
                    const double weight = across.weights[row * across.count + n];
                    const int node = n * along.count + i;
                    sum += weight *
                           std::complex<double>(work.nodes[c].re[node], work.nodes[c].im[node]);
                }
                re[i] = sum.real() * wave.real() - sum.imag() * wave.imag();
                im[i] = sum.real() * wave.imag() + sum.imag() * wave.real();
            }
            rows.interpolate({along.count, weights, re, im}, patch.count[0], work.waves, work.row);
            for (std::size_t w = 0; w < terms.weightings(); ++w) {
                const std::complex<double> weight = terms.weight(w, element);
                const std::size_t to = work.placeOf(w, c, row);
                rows.add(work.row, patch.count[0], weight.real(), weight.imag(), &work.re[to],
                         &work.im[to]);
            }
        }
    }
}

/// Does a work with the points of the wanted rows, some of a row at a time: their row, the number
/// of the first one and their places, the last one of which is repeated.
template <class Use>
void PatchContours::forGroups(const LatticePatches::Piece& piece, Use use) const {
    const Patch& patch = piece.patch;
    for (int row = piece.first[1]; row < piece.first[1] + piece.count[1]; ++row)
        for (int first = 0; first < patch.count[0]; first += groupSize) {
            GroupPlaces places;
            for (int i = 0; i < groupSize; ++i) {
                const int point = std::min(first + i, patch.count[0] - 1);
                const Vector place = placeOn(patch, point - (patch.count[0] - 1) / 2.0,
                                             row - (patch.count[1] - 1) / 2.0);
                places.x[i] = place[0];
                places.y[i] = place[1];
                places.z[i] = place[2];
            }
            use(row, first, places);
        }
}

void PatchContours::addPoints(std::size_t element, const LatticePatches::Piece& piece,
                              Work& work) const {
    const DecayingLimit limit = terms.limitOf(element);
    forGroups(piece, [&](int row, int first, const GroupPlaces& places) {
        terms.fields().compute(element, places, limit, work.values, work.fields);
        const int count = std::min(groupSize, piece.patch.count[0] - first);
        for (std::size_t w = 0; w < terms.weightings(); ++w)
            for (std::size_t c = 0; c < components; ++c) {
                const std::complex<double> weight = terms.weight(w, element);
                const std::size_t to = work.placeOf(w, c, row) + static_cast<std::size_t>(first);
                for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                    const auto& [pressure, velocity] = work.values[i];
                    const std::complex<double> value =
                        weight * (c == 0 ? pressure : velocity[c - 1]);
                    work.re[to + i] += value.real();
                    work.im[to + i] += value.imag();
                }
            }
    });
}

void PatchContours::compute(const LatticePatches::Piece& piece, Work& work) const {
    std::fill(work.re.begin(), work.re.end(), 0.0);
    std::fill(work.im.begin(), work.im.end(), 0.0);
    for (std::size_t i = 0; i < terms.fields().count(); ++i)
        if (findNodes(i, piece.patch, work) >= 0)
            addRows(i, piece, work);
        else
            addPoints(i, piece, work);
}

double PatchContours::evaluationsOf(const LatticePatches::Piece& piece, Work& work) const {
    double evaluations = 0;
    for (std::size_t i = 0; i < terms.fields().count(); ++i) {
        const int ofNodes = findNodes(i, piece.patch, work);
        evaluations += std::max(0, ofNodes);
        if (ofNodes >= 0) continue;
        const DecayingLimit limit = terms.limitOf(i);
        forGroups(piece, [&](int /*row*/, int /*first*/, const GroupPlaces& places) {
            evaluations += groupSize * terms.fields().evaluationsOf(i, places, limit, work.fields);
        });
    }
    return evaluations;
}

double PatchContours::interpolatedPart(const Patch& patch) const {
    const std::size_t count = terms.fields().count();
    constexpr std::size_t most = 64;
    const std::size_t some = std::min(most, count);
    std::size_t interpolated = 0;
    for (std::size_t i = 0; i < some; ++i) {
        const Sight sight = sightOf(i * count / some, patch);
        if (sight.isFar && isWorthIt(sight.counts)) ++interpolated;
    }
    return static_cast<double>(interpolated) / static_cast<double>(some);
}

std::int64_t PatchContours::memoryOfWork() const noexcept {
    const std::size_t sums =
        terms.weightings() * components * static_cast<std::size_t>(rules[1].points()) * mostInRow;
    return static_cast<std::int64_t>(2 * sums * sizeof(double) +
                                     components * sizeof(Work::Numbers) + sizeof(Work));
}

}  // namespace pistonfield
