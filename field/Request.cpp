// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Request.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "core/limits.h"
#include "method/outlineChecks.h"

namespace pistonfield {

namespace {

bool finite(const auto& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

bool positive(double value) { return std::isfinite(value) && value > 0; }

constexpr double mostInSingle = std::numeric_limits<float>::max();

/// The largest number that a mode reads.
double largestNumber(Mode mode) {
    return isInSingle(mode) ? mostInSingle : std::numeric_limits<double>::max();
}

/// The largest side of a piston: half of it still has a square where the mode takes roots, which on
/// a GPU are single with an order.
double largestSide(const Request& request) {
    const bool inSingle = isOnGpu(request.mode) && !request.tolerance;
    return 2 * std::sqrt(inSingle ? mostInSingle : largestNumber(request.mode));
}

bool areWithin(const auto& values, double most) {
    return std::all_of(values.begin(), values.end(),
                       [most](double v) { return std::abs(v) <= most; });
}

std::string rangeOf(Mode mode) {
    return std::string("must be within the range of the mode ") + nameOf(mode);
}

void checkTransform(const std::array<double, 16>& transform, Mode mode) {
    if (!finite(transform)) throw InvalidRequest("transform", "every number must be finite");
    if (std::any_of(&transform[12], &transform[15], [](double v) { return v != 0; }))
        throw InvalidRequest("transform",
                             "the last row must be 0 0 0 and a number; is it the transpose?");
    if (transform.back() == 0) throw InvalidRequest("transform", "the last number must not be 0");
    if (!areWithin(transform, largestNumber(mode)))
        throw InvalidRequest("transform", "every number " + rangeOf(mode));
    if (isInSingle(mode) && static_cast<float>(transform.back()) == 0)
        throw InvalidRequest("transform", std::string("the last number is 0 in the precision of "
                                                      "the mode ") +
                                              nameOf(mode));
}

void checkSide(const char* name, double side, const Request& request) {
    if (!positive(side)) throw InvalidRequest(name, "must be a length above 0");
    if (side > largestSide(request)) throw InvalidRequest(name, rangeOf(request.mode));
}

bool isSide(double side, const Request& request) {
    return positive(side) && side <= largestSide(request);
}

std::string elementNumber(std::size_t i) { return "element " + std::to_string(i + 1); }

/// Whether vectors are of length 1 and at a right angle, but for the rounding of their numbers.
bool areAxes(const Pose::Vector& a, const Pose::Vector& b) {
    constexpr double rounding = 1e-9;
    const auto product = [](const Pose::Vector& u, const Pose::Vector& v) {
        return u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
    };
    return std::abs(product(a, a) - 1) <= rounding && std::abs(product(b, b) - 1) <= rounding &&
           std::abs(product(a, b)) <= rounding;
}

void checkElement(const Element& element, std::size_t i, const Request& request) {
    const auto refuse = [i](const std::string& reason) {
        throw InvalidRequest("elements", elementNumber(i) + ": " + reason);
    };
    const RectangularPiston& piston = element.piston;
    if (!element.outline && !(isSide(piston.width, request) && isSide(piston.height, request)))
        refuse("the sides must be lengths above 0, within the range of the mode " +
               std::string(nameOf(request.mode)));
    const Pose& pose = element.pose;
    if (!finite(pose.centre) || !areWithin(pose.centre, largestNumber(request.mode)))
        refuse("the centre " + rangeOf(request.mode));
    if (!areAxes(pose.alongWidth, pose.alongHeight))
        refuse("the directions of width and height must be of length 1 and at a right angle");
}

void checkShapes(const std::vector<Element>& elements) {
    std::set<std::pair<double, double>> shapes;
    for (const Element& element : elements)
        if (!element.outline) shapes.emplace(element.piston.width, element.piston.height);
    if (shapes.size() > Array::mostShapes)
        throw InvalidRequest("elements", std::to_string(shapes.size()) +
                                             " different pistons are more than the " +
                                             std::to_string(Array::mostShapes) + " of an array");
}

void checkWeights(const Array& array, Mode mode) {
    // Sums of weights for which no product with a pressure leaves the numbers of a precision: local
    // amplitudes are at least 1e-19.
    const double largest = isInSingle(mode) ? 1e15 : 1e250;
    const std::size_t count = array.elements.size();
    if (array.weights.empty() || array.weights.size() % count != 0)
        throw InvalidRequest("weights", std::to_string(array.weights.size()) +
                                            " are not one or several for each of the " +
                                            std::to_string(count) + " elements");
    if (array.weightings() > Array::mostWeightings)
        throw InvalidRequest("weights",
                             std::to_string(array.weightings()) + " weightings are more than the " +
                                 std::to_string(Array::mostWeightings) + " of a request");
    for (std::size_t first = 0; first < array.weights.size(); first += count) {
        // A sum that overflows is refused as well.
        double sum = 0;
        for (std::size_t i = first; i < first + count; ++i) sum += std::abs(array.weights[i]);
        if (!std::isfinite(sum)) throw InvalidRequest("weights", "every number must be finite");
        if (sum == 0)
            throw InvalidRequest(
                "weights", "all of weighting " + std::to_string(first / count + 1) + " are 0");
        if (sum > largest || sum < 1 / largest)
            throw InvalidRequest("weights", "those of weighting " +
                                                std::to_string(first / count + 1) +
                                                " add up to less or more than what is within the "
                                                "range of the mode " +
                                                nameOf(mode));
    }
}

void checkOutlines(const std::vector<Element>& elements) {
    std::set<const Outline*> known;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const Outline* const outline = elements[i].outline.get();
        if (outline == nullptr || !known.insert(outline).second) continue;
        if (known.size() > Array::mostShapes)
            throw InvalidRequest("elements", "their outlines are more than the " +
                                                 std::to_string(Array::mostShapes) +
                                                 " of an array");
        if (const std::string reason = whyRefused(*outline, Array::mostEdges); !reason.empty())
            throw InvalidRequest("elements", elementNumber(i) + ": its outline: " + reason);
    }
}

void checkArray(const Request& request) {
    const Array& array = *request.array;
    if (!request.tolerance) throw InvalidRequest("elements", "an array takes a tolerance");
    if (array.elements.empty() || array.elements.size() > Array::mostElements)
        throw InvalidRequest("elements", std::to_string(array.elements.size()) +
                                             " are not within 1 to " +
                                             std::to_string(Array::mostElements));
    for (std::size_t i = 0; i < array.elements.size(); ++i)
        checkElement(array.elements[i], i, request);
    checkShapes(array.elements);
    checkOutlines(array.elements);
    checkWeights(array, request.mode);
}

void checkWavenumber(double wavenumber, Mode mode) {
    if (!positive(wavenumber)) throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    if (wavenumber > largestNumber(mode)) throw InvalidRequest("wavenumber", rangeOf(mode));
}

void checkSizes(const Request& request) {
    // The index of a point in a list is part of no coordinate.
    const std::int64_t most =
        request.points ? std::numeric_limits<std::int64_t>::max() : mostPointsInARow(request.mode);
    std::int64_t bytes = request.valueBytes() * request.fields();
    for (const std::int64_t size : request.lattice.sizes) {
        if (size < 1) throw InvalidRequest("sizes", "each must be 1 or more");
        if (size > most)
            throw InvalidRequest("sizes",
                                 std::to_string(size) + " points in a row are more than the " +
                                     std::to_string(most) + " of the mode " + nameOf(request.mode));
        if (__builtin_mul_overflow(bytes, size, &bytes))
            throw InvalidRequest("sizes", "the field has more than 2^63 bytes");
    }
}

using Pair = std::array<double, 2>;

/// So many pairs of a table, from a number on, on this side of 0 or mirrored, in rising order.
std::vector<Pair> pairsOf(const std::vector<double>& table, std::size_t first, std::size_t count,
                          double side) {
    std::vector<Pair> pairs;
    for (std::size_t i = first; i < first + count; ++i)
        pairs.push_back({side * table[2 * i], table[2 * i + 1]});
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

/// Whether two numbers of a rule are one for the modes of a GPU, which have sines in single
/// precision.
bool alike(double a, double b) {
    return std::abs(a - b) <=
           std::numeric_limits<float>::epsilon() * std::max({1.0, std::abs(a), std::abs(b)});
}

/// Whether the second half of a rule is the first one on the other side of 0, which lies between
/// them where the order is odd.
bool isSymmetric(const Rule& rule) {
    const auto order = static_cast<std::size_t>(rule.order);
    const std::size_t half = order / 2;
    if (order % 2 != 0 && !alike(rule.table[2 * half], 0)) return false;
    const std::vector<Pair> left = pairsOf(rule.table, 0, half, -1);
    const std::vector<Pair> right = pairsOf(rule.table, order - half, half, 1);
    return std::equal(left.begin(), left.end(), right.begin(), [](const Pair& a, const Pair& b) {
        return alike(a[0], b[0]) && alike(a[1], b[1]);
    });
}

void checkRule(const Rule& rule, Mode mode) {
    const int most = largestOrder(mode);
    const std::string order = std::to_string(rule.order);
    const std::string limits =
        " is not within 1 to " + std::to_string(most) + " of the mode " + nameOf(mode);
    const bool within = rule.order >= 1 && rule.order <= most;
    if (rule.table.empty()) {
        if (!within) throw InvalidRequest("order", order + limits);
        return;
    }
    if (!within) throw InvalidRequest("table", "an order of " + order + limits);
    if (rule.table.size() != 2 * static_cast<std::size_t>(rule.order))
        throw InvalidRequest("table", std::to_string(rule.table.size()) +
                                          " numbers are no pairs of a rule of order " + order);
    if (!finite(rule.table)) throw InvalidRequest("table", "every number must be finite");
    if (!areWithin(rule.table, largestNumber(mode)))
        throw InvalidRequest("table", "every number " + rangeOf(mode));
    if (isOnGpu(mode) && !isSymmetric(rule))
        throw InvalidRequest("table",
                             std::string("must be symmetric about 0 in the mode ") + nameOf(mode));
}

bool hasOutlines(const Request& request) {
    if (!request.array) return false;
    const std::vector<Element>& elements = request.array->elements;
    return std::any_of(elements.begin(), elements.end(),
                       [](const Element& element) { return element.outline != nullptr; });
}

/// What integrals along contours are taken for: in doubles on the processor, and with a tolerance.
void checkContours(const Request& request) {
    const auto require = [&](bool isAsked, const char* field, const char* what) {
        if (!isAsked) return;
        if (!request.tolerance)
            throw InvalidRequest(field, std::string(what) + " take a tolerance");
        if (isOnGpu(request.mode))
            throw InvalidRequest(
                field, std::string(what) + " are not computed in the mode " + nameOf(request.mode));
    };
    const double attenuation = request.wave.attenuation;
    constexpr double mostOfWavenumber = 1;
    if (!(attenuation >= 0 && attenuation <= mostOfWavenumber * request.wave.wavenumber))
        throw InvalidRequest("attenuation", "must be within 0 and the wavenumber");
    require(attenuation > 0, "attenuation", "losses");
    require(request.baffle != Baffle::rigid, "baffle", "soft and free ones");
    require(request.quantity != Quantity::pressure, "quantity", "velocities and intensities");
    require(hasOutlines(request), "elements", "outlines");
}

void checkTolerance(const Request& request) {
    const double value = request.tolerance->value;
    if (!(value > 0 && value < 1)) throw InvalidRequest("tolerance", "must be above 0 and below 1");
}

void checkPoints(const Request& request) {
    const auto& [x, y, z] = *request.points;
    if (!request.tolerance) throw InvalidRequest("points", "a list takes a tolerance");
    if (x.size() != y.size() || x.size() != z.size())
        throw InvalidRequest("points", "the three arrays must be of the same length");
    if (request.lattice.sizes !=
        std::array{static_cast<std::int64_t>(x.size()), std::int64_t{1}, std::int64_t{1}})
        throw InvalidRequest("sizes", "those of a list of points are their number, 1 and 1");
    if (!finite(x) || !finite(y) || !finite(z))
        throw InvalidRequest("points", "every number must be finite");
}

}  // namespace

Mode modeCalled(const std::string& name) {
    const auto mode = findMode(name);
    if (!mode)
        throw InvalidRequest("mode", "'" + name + "' is none of cpu, cpudp, cpusp, cuda, cudadp");
    return *mode;
}

bool takesContours(const Request& request) noexcept {
    return request.wave.attenuation != 0 || request.baffle != Baffle::rigid ||
           request.quantity != Quantity::pressure || hasOutlines(request);
}

void check(const Request& request) {
    if (request.points)
        checkPoints(request);
    else
        checkTransform(request.lattice.transform, request.mode);
    if (request.array) {
        checkArray(request);
    } else {
        checkSide("height", request.piston.height, request);
        checkSide("width", request.piston.width, request);
    }
    checkWavenumber(request.wave.wavenumber, request.mode);
    checkContours(request);
    checkSizes(request);
    if (request.tolerance)
        checkTolerance(request);
    else
        checkRule(request.rule, request.mode);
}

}  // namespace pistonfield
