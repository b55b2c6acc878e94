// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ElementGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace pistonfield {

namespace {

using Vector = Pose::Vector;

double product(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector difference(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double lengthOf(const Vector& a) { return std::hypot(a[0], a[1], a[2]); }

/// The most places of elements in a step.
constexpr int mostDivisions = 8;

/// The factors of an interpolation at so many places, the places' distance apart, for a point at
/// `from` the place in the middle (of an even number, the one before it).
std::vector<double> factorsOf(int nodes, double from) {
    std::vector<double> factors;
    const int first = 1 - nodes / 2;
    for (int i = first; i < first + nodes; ++i) {
        double factor = 1;
        for (int j = first; j < first + nodes; ++j)
            if (j != i) factor *= (from - j) / (i - j);
        factors.push_back(factor);
    }
    return factors;
}

}  // namespace

std::optional<ElementPlane> ElementPlane::of(const Request& request) {
    if (request.points || !request.array || request.array->elements.size() < 2) return std::nullopt;
    ElementPlane plane(request);
    double reach = 0;
    for (const Element& element : request.array->elements)
        reach = std::max(reach, lengthOf(element.pose.centre));
    double farthest = lengthOf(plane.origin());
    for (std::size_t i = 0; i < 3; ++i)
        farthest += lengthOf(plane.stepIn(i)) * static_cast<double>(request.lattice.sizes[i] - 1);
    plane.rounding = (reach + farthest) * 0x1p-51;
    if (!plane.isOne() || !plane.findDirections()) return std::nullopt;
    plane.findTicks();
    plane.findDivisions();
    return plane;
}

bool ElementPlane::isOne() const {
    const Element& first = element();
    const Vector normal = first.pose.normal();
    const auto isNear = [](const Vector& a, const Vector& b) {
        return lengthOf(difference(a, b)) <= 0x1p-51;
    };
    return std::all_of(request->array->elements.begin(), request->array->elements.end(),
                       [&](const Element& other) {
                           return other.isShapedAs(first) &&
                                  isNear(other.pose.alongWidth, first.pose.alongWidth) &&
                                  isNear(other.pose.alongHeight, first.pose.alongHeight) &&
                                  std::abs(product(difference(other.pose.centre, first.pose.centre),
                                                   normal)) <= rounding;
                       });
}

Vector ElementPlane::stepIn(std::size_t direction) const {
    const auto& transform = request->lattice.transform;
    Vector step;
    for (std::size_t i = 0; i < 3; ++i) step[i] = transform[4 * i + direction] / transform.back();
    return step;
}

Vector ElementPlane::origin() const { return stepIn(3); }

bool ElementPlane::findDirections() {
    const Vector normal = element().pose.normal();
    for (std::size_t i = 0; i < 3; ++i) {
        if (request->lattice.sizes[i] == 1) continue;
        const Vector step = stepIn(i);
        const auto steps = static_cast<double>(request->lattice.sizes[i] - 1);
        if (!(lengthOf(step) * steps > 0)) return false;
        if (std::abs(product(step, normal)) * steps > rounding) continue;
        inPlane.push_back({i, step, {}, std::nullopt});
    }
    if (inPlane.empty() || inPlane.size() > 2) return false;
    if (inPlane.size() == 1) return true;
    const Vector& a = inPlane[0].step;
    const Vector& b = inPlane[1].step;
    constexpr double leastSine = 0.05;
    return lengthOf(cross(a, b)) > leastSine * lengthOf(a) * lengthOf(b);
}

void ElementPlane::findTicks() {
    const Vector& a = inPlane[0].step;
    const double aa = product(a, a);
    const Vector aside = cross(element().pose.normal(), a);
    std::map<double, std::size_t> rowsAt;  // by their place aside
    for (const Element& at : request->array->elements) {
        const Vector from = difference(at.pose.centre, origin());
        if (inPlane.size() == 2) {
            const Vector& b = inPlane[1].step;
            const double ab = product(a, b);
            const double bb = product(b, b);
            const double determinant = aa * bb - ab * ab;
            const double fa = product(from, a);
            const double fb = product(from, b);
            inPlane[0].ticks.push_back((fa * bb - fb * ab) / determinant);
            inPlane[1].ticks.push_back((fb * aa - fa * ab) / determinant);
            if (firstOfRow.empty()) firstOfRow.push_back(0);
            rowNumbers.push_back(0);
            continue;
        }
        inPlane[0].ticks.push_back(product(from, a) / aa);
        const double place = product(from, aside) / std::sqrt(aa);
        auto row = rowsAt.lower_bound(place - rounding);
        if (row == rowsAt.end() || row->first > place + rounding) {
            row = rowsAt.emplace(place, firstOfRow.size()).first;
            firstOfRow.push_back(rowNumbers.size());
        }
        rowNumbers.push_back(row->second);
    }
}

void ElementPlane::findDivisions() {
    for (Direction& direction : inPlane) {
        const double most = 2 * rounding / lengthOf(direction.step);
        const auto fits = [&](int division) {
            return std::all_of(direction.ticks.begin(), direction.ticks.end(), [&](double tick) {
                const double parts = (tick - direction.ticks.front()) * division;
                return std::abs(parts - std::round(parts)) <= most * division;
            });
        };
        for (int division = 1; division <= mostDivisions && !direction.division; ++division)
            if (fits(division)) direction.division = division;
    }
}

Vector ElementPlane::placeIn(std::size_t row, const std::vector<double>& ticks) const {
    const std::size_t first = firstOfRow[row];
    Vector place = request->array->elements[first].pose.centre;
    for (std::size_t i = 0; i < inPlane.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            place[axis] += (ticks[i] - inPlane[i].ticks[first]) * inPlane[i].step[axis];
    return place;
}

double ElementPlane::distanceOf(const std::array<std::int64_t, 3>& index) const {
    Vector point = origin();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] += static_cast<double>(index[i]) * stepIn(i)[axis];
    return product(difference(point, element().pose.centre), element().pose.normal());
}

ElementGrid::ElementGrid(const ElementPlane& plane, const std::array<std::int64_t, 3>& sizes,
                         const std::optional<Spreading>& spreading, bool withTerms)
    : plane(plane), sizes(sizes) {
    for (const ElementPlane::Direction& direction : plane.directions()) {
        const Placing& placing = placings.emplace_back(placingOf(direction, spreading, withTerms));
        if (placing.nodes > 1) largestSum *= sumOfFactors(placing.nodes);
        if (placing.axis.places == 1 && placing.axis.division == 1) continue;
        used.push_back(placings.size() - 1);
        convolved.push_back(placing.axis);
    }
    if (withTerms && !convolved.empty()) findTerms();
}

auto ElementGrid::placingOf(const ElementPlane::Direction& direction,
                            const std::optional<Spreading>& spreading, bool withFactors)
    -> Placing {
    const double least = *std::min_element(direction.ticks.begin(), direction.ticks.end());
    const bool isExact = direction.division && (!spreading || *direction.division == 1);
    Placing placing{{direction.along}, least, 1, {}, {}};
    Axis& axis = placing.axis;
    if (isExact) {
        axis.division = *direction.division;
    } else {
        const double step = lengthOf(direction.step);
        axis.division = std::max(1, static_cast<int>(std::ceil(step / spreading->spacing)));
        axis.spacing = step / axis.division;
        placing.nodes = spreading->nodes;
        // A place of the lattice's own, so that mirrored points stay mirrored.
        const int before = placing.nodes / 2 - 1;
        placing.begin = (std::floor(least * axis.division) - before) / axis.division;
    }
    std::int64_t last = 0;
    for (const double tick : direction.ticks) {
        const double from = (tick - placing.begin) * axis.division;
        const double before = isExact ? std::round(from) : std::floor(from);
        const double first = std::max(0.0, before - std::max(0, placing.nodes / 2 - 1));
        placing.first.push_back(static_cast<std::int64_t>(first));
        last = std::max(last, placing.first.back() + placing.nodes - 1);
        if (!withFactors) continue;
        const double middle = first + std::max(0, placing.nodes / 2 - 1);
        for (const double factor : factorsOf(placing.nodes, isExact ? 0 : from - middle))
            placing.factors.push_back(factor);
    }
    axis.places = last / axis.division + 1;
    return placing;
}

void ElementGrid::findTerms() {
    std::set<std::tuple<std::size_t, int, int>> found;  // those that read the same numbers together
    const auto phasesOf = [&](std::size_t number, std::size_t element) {
        std::set<int> phases;
        if (number >= used.size()) return std::set<int>{0};
        const Placing& placing = placings[used[number]];
        for (int node = 0; node < std::min(placing.nodes, placing.axis.division); ++node)
            phases.insert(
                static_cast<int>((placing.first[element] + node) % placing.axis.division));
        return phases;
    };
    for (std::size_t element = 0; element < plane.rowOf().size(); ++element)
        for (const int second : phasesOf(1, element))
            for (const int first : phasesOf(0, element))
                found.emplace(plane.rowOf()[element], second, first);
    for (const auto& [row, second, first] : found) theTerms.push_back({row, {first, second}});
}

std::vector<std::complex<double>> ElementGrid::weightsOf(
    const Term& term, const std::complex<double>* weights) const {
    std::array<std::int64_t, 2> places{1, 1};
    for (std::size_t i = 0; i < used.size(); ++i) places[i] = convolved[i].places;
    std::vector<std::complex<double>> sums(static_cast<std::size_t>(places[0] * places[1]));
    // Does a work with an element's places in the term along an axis and with their factors.
    const auto forEachPlace = [&](std::size_t number, std::size_t element, const auto& work) {
        if (number >= used.size()) return work(std::int64_t{0}, 1.0);
        const Placing& placing = placings[used[number]];
        const std::int64_t first = placing.first[element];
        const int division = placing.axis.division;
        const auto past = static_cast<int>(first % division);
        const double* const factors =
            placing.factors.data() + element * static_cast<std::size_t>(placing.nodes);
        for (int node = (term.phase[number] - past + division) % division; node < placing.nodes;
             node += division)
            work((first + node) / division, factors[node]);
    };
    for (std::size_t element = 0; element < plane.rowOf().size(); ++element) {
        if (plane.rowOf()[element] != term.row) continue;
        forEachPlace(1, element, [&](std::int64_t second, double factor) {
            forEachPlace(0, element, [&](std::int64_t first, double factorThere) {
                sums[static_cast<std::size_t>(second * places[0] + first)] +=
                    factor * factorThere * weights[element];
            });
        });
    }
    return sums;
}

Lattice ElementGrid::latticeOf(std::size_t row) const {
    const Pose& pose = plane.element().pose;
    const Vector axes[]{pose.alongWidth, pose.alongHeight, pose.normal()};
    std::vector<double> begins;
    for (const Placing& placing : placings) begins.push_back(placing.begin);
    Vector origin = difference(plane.origin(), plane.placeIn(row, begins));
    Lattice lattice;
    lattice.sizes = sizes;
    std::array<Vector, 3> steps{plane.stepIn(0), plane.stepIn(1), plane.stepIn(2)};
    for (const Placing& placing : placings) {
        const Axis& axis = placing.axis;
        Vector& step = steps[axis.along];
        lattice.sizes[axis.along] = axis.division * (sizes[axis.along] + axis.places - 1);
        const auto before = static_cast<double>(axis.division * axis.places - 1);
        for (std::size_t i = 0; i < 3; ++i) {
            step[i] /= axis.division;
            origin[i] -= before * step[i];
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t direction = 0; direction < 3; ++direction)
            lattice.transform[4 * i + direction] = product(steps[direction], axes[i]);
        lattice.transform[4 * i + 3] = product(origin, axes[i]);
    }
    lattice.transform.back() = 1;
    return lattice;
}

double spreadingError(int nodes, double spacing, double distance) {
    // The logarithm of the largest product of the distances from the places.
    double logarithm = nodes * std::log(spacing);
    for (int i = 1; i <= nodes / 2; ++i) logarithm += 2 * std::log(i - 0.5);
    // The radius with the least bound, from where its derivative is 0:
    // 1 + 1/(distance - r) - nodes/r = 0.
    const double sum = distance + 1 + nodes;
    const double radius =
        2 * nodes * distance / (sum + std::sqrt(sum * sum - 4 * nodes * distance));
    return std::exp(logarithm + radius - nodes * std::log(radius)) / (distance - radius);
}

double sumOfFactors(int nodes) {
    double largest = 1;
    constexpr int steps = 64;
    for (int i = 1; i < steps; ++i) {
        double sum = 0;
        for (const double factor : factorsOf(nodes, static_cast<double>(i) / steps))
            sum += std::abs(factor);
        largest = std::max(largest, sum);
    }
    return largest;
}

}  // namespace pistonfield
