// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Request.h"

#include <algorithm>
#include <cmath>

#include "FastNearfield/GaussLegendre.h"

namespace run {

using pistonfield::Mode;

namespace {

[[noreturn]] void refuse(const char* what, const std::string& reason) {
    throw NoField(what, reason);
}

bool finite(const auto& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

void checkSizes(const Request& request) {
    // The coordinates of the points have to be exact in the precision of the mode.
    const std::int64_t most = std::int64_t{1} << (request.singlePrecision() ? 24 : 53);
    std::int64_t bytes = request.valueBytes();
    for (const std::int64_t size : request.sizes) {
        if (size < 1) refuse("sizes", "each must be 1 or more");
        if (size > most)
            refuse("sizes", "" + std::to_string(size) + " points in a row are more than the " +
                                std::to_string(most) + " of the mode " + nameOf(request.mode));
        if (__builtin_mul_overflow(bytes, size, &bytes))
            refuse("sizes", "the field has more than 2^63 bytes");
    }
}

void checkRule(const Request& request) {
    const int most = request.mode == Mode::cuda ? 512 : largestAccurateOrder;
    if (request.order < 1 || request.order > most)
        refuse(request.table.empty() ? "order" : "table",
               (request.table.empty() ? "" : "an order of ") + std::to_string(request.order) +
                   " is not within 1 to " + std::to_string(most) + " of the mode " +
                   nameOf(request.mode));
    if (!finite(request.table)) refuse("table", "every number must be finite");
}

}  // namespace

Mode modeCalled(const std::string& name) {
    const auto mode = pistonfield::findMode(name);
    if (!mode) refuse("mode", "'" + name + "' is none of cpu, cpudp, cpusp, cuda");
    return *mode;
}

void check(const Request& request) {
    if (request.mode == Mode::cudadp)
        refuse("mode", "cudadp fields cannot be cut without a difference in rounding; take cpu");
    if (!finite(request.transform)) refuse("transform", "every number must be finite");
    if (std::any_of(&request.transform[12], &request.transform[15],
                    [](double v) { return v != 0; }))
        refuse("transform",
               "the last row must be 0 0 0 and a number; is it the transpose, as the "
               "module takes it?");
    if (request.transform.back() == 0) refuse("transform", "the last number must not be 0");
    if (!(std::isfinite(request.l) && request.l > 0)) refuse("l", "must be a length above 0");
    if (!(std::isfinite(request.s) && request.s > 0)) refuse("s", "must be a length above 0");
    if (!(std::isfinite(request.k) && request.k > 0)) refuse("k", "must be a wavenumber above 0");
    checkSizes(request);
    checkRule(request);
}

}  // namespace run
