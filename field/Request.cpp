// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Request.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "core/limits.h"

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

void checkWavenumber(double wavenumber, Mode mode) {
    if (!positive(wavenumber)) throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    if (wavenumber > largestNumber(mode)) throw InvalidRequest("wavenumber", rangeOf(mode));
}

void checkSizes(const Request& request) {
    // The index of a point in a list is part of no coordinate.
    const std::int64_t most =
        request.points ? std::numeric_limits<std::int64_t>::max() : mostPointsInARow(request.mode);
    std::int64_t bytes = request.valueBytes();
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

void check(const Request& request) {
    if (request.points)
        checkPoints(request);
    else
        checkTransform(request.lattice.transform, request.mode);
    checkSide("height", request.piston.height, request);
    checkSide("width", request.piston.width, request);
    checkWavenumber(request.wave.wavenumber, request.mode);
    checkSizes(request);
    if (request.tolerance)
        checkTolerance(request);
    else
        checkRule(request.rule, request.mode);
}

}  // namespace pistonfield
