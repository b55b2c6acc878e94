// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/FlatSource.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "reference/Legendre.h"

namespace reference {

namespace {

using Vector = std::array<double, 2>;

struct Place {
    Vector at;
    Vector tangent;  ///< the derivative by t
};

/// Where a border is at t from 0 to 1.
Place placeOf(const Border& border, double t) {
    if (border.radius == 0) {
        const Vector all{border.to[0] - border.from[0], border.to[1] - border.from[1]};
        return {{border.from[0] + t * all[0], border.from[1] + t * all[1]}, all};
    }
    const double angle = border.angle + t * border.sweep;
    const Vector arm{border.radius * std::cos(angle), border.radius * std::sin(angle)};
    return {{border.from[0] + arm[0], border.from[1] + arm[1]},
            {-border.sweep * arm[1], border.sweep * arm[0]}};
}

double lengthOf(const Border& border) {
    if (border.radius > 0) return border.radius * std::abs(border.sweep);
    return std::hypot(border.to[0] - border.from[0], border.to[1] - border.from[1]);
}

struct GaussNode {
    double at;  ///< from 0 to 1
    double weight;
};

const std::vector<GaussNode>& gaussNodes() {
    static const auto nodes = [] {
        const Rule rule = legendreRule(16);
        std::vector<GaussNode> all;
        for (std::size_t i = 0; i < rule.nodes.size(); ++i)
            all.push_back({static_cast<double>((1 + rule.nodes[i]) / 2),
                           static_cast<double>(rule.weights[i] / 2)});
        return all;
    }();
    return nodes;
}

class Integration {
  public:
    /// @param apex that the triangles share
    Integration(const Point& point, const Vector& apex, std::complex<double> k)
        : point(point), apex(apex), k(k), longest(std::numbers::pi / std::abs(k)) {}

    /// Along a part of a border, in panels no longer than their distance from the foot.
    void add(const Border& border, double from, double to, int cuts = 0) {
        const double length = (to - from) * lengthOf(border);
        const Place middle = placeOf(border, (from + to) / 2);
        const double away = std::hypot(middle.at[0] - point.x, middle.at[1] - point.y);
        constexpr int mostCuts = 44;
        const bool isShort = length <= 0.7 * std::hypot(away, point.z) && length <= longest &&
                             (border.radius == 0 || length <= 0.7 * border.radius);
        if (!isShort && cuts < mostCuts) {
            add(border, from, (from + to) / 2, cuts + 1);
            add(border, (from + to) / 2, to, cuts + 1);
            return;
        }
        for (const GaussNode& node : gaussNodes()) {
            const Place place = placeOf(border, from + (to - from) * node.at);
            addRay(place, (to - from) * node.weight);
        }
    }

    const FlatIntegrals& sums() const { return all; }

  private:
    /// From the apex to a place of the border, in parts that grow with their distance.
    void addRay(const Place& place, double weight) {
        const Vector ray{place.at[0] - apex[0], place.at[1] - apex[1]};
        const double length = std::hypot(ray[0], ray[1]);
        const double cross = ray[0] * place.tangent[1] - ray[1] * place.tangent[0];
        if (length == 0 || cross == 0) return;
        for (double from = 0; from < 1;) {
            // In the plane the element of area takes 1/R away.
            const double x = apex[0] + from * ray[0] - point.x;
            const double y = apex[1] + from * ray[1] - point.y;
            const bool isAtFoot = point.z == 0 && from == 0 && x == 0 && y == 0;
            const double near = isAtFoot ? longest : std::hypot(x, y, point.z);
            const double to = std::min(1.0, from + 0.7 * std::min(near, longest) / length);
            for (const GaussNode& node : gaussNodes()) {
                const double u = from + (to - from) * node.at;
                addPoint({point.x - apex[0] - u * ray[0], point.y - apex[1] - u * ray[1]},
                         u * cross * weight * (to - from) * node.weight);
            }
            from = to;
        }
    }

    /// @param apart from the place on the source to the foot
    void addPoint(const Vector& apart, double area) {
        constexpr std::complex<double> j(0, 1);
        const double z = point.z;
        const double R = std::hypot(apart[0], apart[1], z);
        const std::complex<double> wave = std::exp(-j * k * R) / R;
        // G'/R and its derivative by R, over R.
        const std::complex<double> first = -(1.0 + j * k * R) / (R * R) * wave;
        const std::complex<double> second =
            (3.0 + 3.0 * j * k * R - k * k * R * R) / (R * R * R * R) * wave;
        all.value += area * wave;
        all.x += area * apart[0] * first;
        all.y += area * apart[1] * first;
        all.z += area * z * first;
        all.xz += area * apart[0] * z * second;
        all.yz += area * apart[1] * z * second;
        all.zz += area * (first + z * z * second);
    }

    Point point;
    Vector apex;
    std::complex<double> k;
    double longest;
    FlatIntegrals all{};
};

/// The point's foot; or the frame's origin where the source lies about it and the foot is beside:
/// in a medium with losses waves from the foot would be the strongest ones by far, and cancel.
Vector apexOf(const FlatSource& source, const Point& point) {
    double reach = 0;
    for (const Border& border : source)
        for (const double t : {0.0, 0.5, 1.0}) {
            const Vector at = placeOf(border, t).at;
            reach = std::max(reach, std::hypot(at[0], at[1]));
        }
    if (std::hypot(point.x, point.y) < 2 * reach) return {point.x, point.y};
    return {0, 0};
}

Border circle(double radius, double angle, double sweep) {
    return {.radius = radius, .angle = angle, .sweep = sweep};
}

}  // namespace

FlatSource polygonSource(const std::vector<std::array<double, 2>>& corners) {
    FlatSource source;
    for (std::size_t i = 0; i < corners.size(); ++i)
        source.push_back({.from = corners[i], .to = corners[(i + 1) % corners.size()]});
    return source;
}

FlatSource ringSource(double inner, double outer) {
    constexpr double turn = 2 * std::numbers::pi;
    FlatSource source{circle(outer, 0, turn)};
    if (inner > 0) source.push_back(circle(inner, 0, -turn));
    return source;
}

FlatSource sectorSource(double inner, double outer, double from, double sweep) {
    const auto at = [](double radius, double angle) {
        return Vector{radius * std::cos(angle), radius * std::sin(angle)};
    };
    const double to = from + sweep;
    FlatSource source{circle(outer, from, sweep),
                      {.from = at(outer, to), .to = at(inner, to)},
                      {.from = at(inner, from), .to = at(outer, from)}};
    if (inner > 0) source.push_back(circle(inner, to, -sweep));
    return source;
}

FlatIntegrals flatIntegrals(const FlatSource& source, const Point& point, std::complex<double> k) {
    Integration integration(point, apexOf(source, point), k);
    for (const Border& border : source) integration.add(border, 0, 1);
    return integration.sums();
}

}  // namespace reference
