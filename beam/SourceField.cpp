// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/SourceField.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "field/SharedFaces.h"

namespace pistonfield {

namespace {

PointList seenFrom(const Pose& pose, const PointList& points) {
    PointList seen = points;
    for (std::size_t i = 0; i < points.x.size(); ++i) {
        const Pose::Vector place = pose.placeOf({points.x[i], points.y[i], points.z[i]});
        seen.x[i] = place[0];
        seen.y[i] = place[1];
        seen.z[i] = place[2];
    }
    return seen;
}

}  // namespace

SourceField::SourceField(Request request, Conduct conduct)
    : source(std::move(request)),
      conduct(std::move(conduct)),
      shared(std::make_shared<SharedFaces>()) {
    if (source.quantity != Quantity::pressure)
        throw InvalidRequest("quantity", "a beam is that of the pressure");
    if (source.fields() != 1)
        throw InvalidRequest("weights",
                             "a beam has one weighting, not " + std::to_string(source.fields()));
    if (!source.tolerance)
        throw InvalidRequest("tolerance", "a beam is looked at point by point, within a tolerance");
    constexpr double enough = 1e-8;
    source.tolerance->value = std::min(source.tolerance->value, enough);
    source.tolerance->of = Tolerance::Of::largest;
    source.mode = Mode::cpu;
    // Whether the region reaches there has been looked at; points on its rim are rounded.
    source.behind = true;
    source.points = PointList{{0}, {0}, {0}};
    source.lattice.sizes = {1, 1, 1};
    check(source);
    if (!source.array || source.array->elements.size() != 1) return;
    const Element& element = source.array->elements.front();
    if (element.outline) return;
    source.piston = element.piston;
    pose = element.pose;
    weight = source.array->weights.front();
    source.array.reset();
}

std::vector<std::complex<double>> SourceField::pressures(const PointList& points) const {
    std::vector<std::complex<double>> values(points.x.size());
    if (values.empty()) return values;
    Request request = source;
    request.points = pose ? seenFrom(*pose, points) : points;
    request.lattice.sizes = {static_cast<std::int64_t>(values.size()), 1, 1};
    const LatticeBox all = request.lattice.box();
    Conduct some{conduct.stop, {}, conduct.threads};
    if (conduct.progress)
        some.progress = [this](std::int64_t count) { conduct.progress(done + count); };
    Plan(std::move(request), *shared).compute(all, values.data(), some);
    for (std::complex<double>& value : values) value *= weight;
    done += all.points();
    return values;
}

double SourceField::uncertainty(const Pose::Vector& /*place*/) const {
    return source.tolerance->value;
}

}  // namespace pistonfield
