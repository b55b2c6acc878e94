// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Request.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/limits.h"

namespace pistonfield {

namespace {

bool finite(const auto& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

bool positive(double value) { return std::isfinite(value) && value > 0; }

void checkTransform(const std::array<double, 16>& transform) {
    if (!finite(transform)) throw InvalidRequest("transform", "every number must be finite");
    if (std::any_of(&transform[12], &transform[15], [](double v) { return v != 0; }))
        throw InvalidRequest("transform",
                             "the last row must be 0 0 0 and a number; is it the transpose, as the "
                             "module takes it?");
    if (transform.back() == 0) throw InvalidRequest("transform", "the last number must not be 0");
}

void checkSizes(const Request& request) {
    const std::int64_t most = mostPointsInARow(request.mode);
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
}

void checkTolerance(const Request& request) {
    const double value = request.tolerance->value;
    if (!(value > 0 && value < 1)) throw InvalidRequest("tolerance", "must be above 0 and below 1");
    if (isOnGpu(request.mode))
        throw InvalidRequest(
            "tolerance",
            std::string("the modes that keep one are cpu and cpusp, not ") + nameOf(request.mode));
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
        checkTransform(request.lattice.transform);
    if (!positive(request.piston.height))
        throw InvalidRequest("height", "must be a length above 0");
    if (!positive(request.piston.width)) throw InvalidRequest("width", "must be a length above 0");
    if (!positive(request.wave.wavenumber))
        throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    checkSizes(request);
    if (request.tolerance)
        checkTolerance(request);
    else
        checkRule(request.rule, request.mode);
}

}  // namespace pistonfield
