// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ContourPanels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace pistonfield {

namespace {

/// Panels are cut until they are no longer than so much of their distance from the points.
constexpr double longest = 0.7;

/// The same of arcs, whose theta is 0 from x = 0.41 on.
constexpr double longestArc = 0.3;

/// Panels are cut so often at the most.
constexpr int mostCuts = 48;

/// Ellipses with foci +-1.
struct Ellipse {
    double larger, smaller;  ///< semi-axes
    double offset;           ///< log(64/15 / (1 - rho^-2))
    double perNode;          ///< 2 log(rho)
};

constexpr std::size_t ellipseCount = 24;

std::array<Ellipse, ellipseCount> makeEllipses() {
    std::array<Ellipse, ellipseCount> ellipses{};
    double rho = 1.08;
    for (Ellipse& ellipse : ellipses) {
        ellipse = {(rho + 1 / rho) / 2, (rho - 1 / rho) / 2,
                   std::log(64.0 / 15 / (1 - 1 / (rho * rho))), 2 * std::log(rho)};
        rho *= 1.25;
    }
    return ellipses;
}

const std::array<Ellipse, ellipseCount>& ellipses() {
    static const std::array<Ellipse, ellipseCount> all = makeEllipses();
    return all;
}

/// Not for numbers whose squares overflow, unlike std::hypot, which takes several times as long.
double lengthOf(double x, double y, double z = 0) { return std::sqrt(x * x + y * y + z * z); }

/// A panel as points see it.
struct SeenPanel {
    double half;      ///< half its length
    double radius;    ///< of an arc; 0: straight
    double distance;  ///< d: the least one of a point from its middle
    double along;     ///< that of the middle from the foot of the ball's centre, along the panel
    double across;    ///< e: that from the panel's line, at the middle
    double offset;    ///< the largest e of a point
    double height;    ///< the least z
};

/// What an ellipse about a panel is for the integrands.
struct Reach {
    double theta;
    double imaginary;  ///< the largest |Im R|
    double shift;      ///< how far a node may be from the middle
};

/// @return with a theta of 0 where nothing is known
Reach reachOf(const SeenPanel& panel, const Ellipse& ellipse) {
    if (panel.radius == 0) {
        const double shift = ellipse.larger * panel.half;
        return {std::max(0.0, 1 - shift / panel.distance), ellipse.smaller * panel.half, shift};
    }
    const double half = panel.half / panel.radius;
    const double angle = half * ellipse.larger;
    constexpr double mostAngle = 2;
    if (angle > mostAngle) return {};
    const double shift = panel.radius * lengthOf(std::cosh(angle) - 1, std::sinh(angle));
    const double x = shift / panel.distance;
    const double square = 1 - 2 * x - x * x;
    if (!(square > 0)) return {};
    const double theta = std::sqrt(square);
    return {theta, panel.radius * std::sinh(half * ellipse.smaller) * (1 + x) / theta, shift};
}

class PanelOrders {
  public:
    PanelOrders(const PointBall& points, bool beside, const ContourLimit& limit)
        : points(points),
          beside(beside),
          limit(limit),
          k(lengthOf(limit.wavenumber, limit.attenuation)) {}

    SeenPanel see(const OutlineEdge& edge, double from, double to) const {
        const auto [at, tangent] = placeOn(edge, (from + to) / 2);
        const double length = lengthOf(tangent[0], tangent[1]);
        const double x = at[0] - points.foot[0];
        const double y = at[1] - points.foot[1];
        const double within = lengthOf(x, y);
        const Arc* const arc = std::get_if<Arc>(&edge);
        SeenPanel panel{};
        panel.half = (to - from) / 2 * length;
        panel.radius = arc != nullptr ? arc->radius : 0;
        panel.height = std::max(0.0, points.z - points.radius);
        panel.distance =
            std::max(0.0, (beside ? within : lengthOf(within, points.z)) - points.radius);
        const double cross = std::abs(x * tangent[1] - y * tangent[0]) / length;
        panel.along = std::abs(x * tangent[0] + y * tangent[1]) / length;
        panel.across = cross;
        panel.offset = cross + points.radius;
        return panel;
    }

    /// Whether a panel is short enough for a bound.
    static bool isShort(const SeenPanel& panel) {
        return isFar(panel) && (panel.radius == 0 || panel.half <= panel.radius / 2);
    }

    /// Whether the points are far enough from a panel; an arc may have to be cut all the same.
    static bool isFar(const SeenPanel& panel) {
        return panel.half <= (panel.radius == 0 ? longest : longestArc) * panel.distance;
    }

    Rung rungOf(const SeenPanel& panel, double error) const {
        double least = OrderLadder::mostNodes;
        for (const Ellipse& ellipse : ellipses()) {
            const Reach reach = reachOf(panel, ellipse);
            if (!(reach.theta > 0.02)) break;
            const double exponent = limit.wavenumber * reach.imaginary + growthOf(panel, reach);
            const double size = panel.half * boundOf(panel, reach) / error;
            const double nodes = (ellipse.offset + exponent + std::log(size)) / ellipse.perNode;
            // It has one minimum, but for roundings of the ladder of ellipses.
            if (nodes > 1.1 * least) break;
            least = std::min(least, nodes);
        }
        const int nodes = static_cast<int>(std::ceil(std::max(1.0, least)));
        if (limit.derivatives != Derivatives::potential || beside || panel.radius > 0)
            return OrderLadder::rungOf(nodes);
        return OrderLadder::rungOf(std::min(nodes, nodesOfEdge(panel, error)));
    }

  private:
    /// The nodes that phi alone takes on a straight edge.
    int nodesOfEdge(const SeenPanel& panel, double error) const {
        const double b = limit.wavenumber;
        const double radius = points.radius;
        const double height =
            lengthOf(std::max(0.0, panel.across - radius), std::max(0.0, points.z - radius));
        const double growth = std::exp(limit.attenuation * (points.z + radius));
        const auto scaled = [b](double length) { return static_cast<float>(b * length); };
        return Orders::nodesOf(
            {scaled(panel.half),
             Span::ofMagnitudes(b * (panel.along - radius), b * (panel.along + radius)),
             scaled(height * (1 - Span::wider)),
             static_cast<float>(k * panel.offset * growth * (1 + Span::wider)),
             static_cast<float>(error)});
    }

    /// By which power of e the amplitude may exceed that of the reference.
    double growthOf(const SeenPanel& panel, const Reach& reach) const {
        if (limit.attenuation == 0) return 0;
        const double reference =
            points.radius +
            (beside ? lengthOf(points.foot[0], points.foot[1], points.z) : points.z);
        const double distance = beside ? lengthOf(panel.distance, panel.height) : panel.distance;
        return limit.attenuation * std::max(0.0, reference - reach.theta * distance);
    }

    double boundOf(const SeenPanel& panel, const Reach& reach) const {
        const double theta = reach.theta;
        const double offset = panel.offset + (panel.radius == 0 ? 0 : reach.shift);
        const double d = panel.distance;
        const double z = panel.height;
        const double R = beside ? lengthOf(d, z) : d;
        double largest = 0;
        if (beside) {
            largest = 4 * offset / (theta * theta * theta * d * d);
        } else {
            largest = offset * (k / (theta * theta) + 1 / (theta * theta * theta * d)) / (d + z);
        }
        if (limit.derivatives >= Derivatives::gradient)
            largest = std::max(largest, 1 / (theta * R));
        if (limit.derivatives == Derivatives::second) {
            const double scaled = 1 / (theta * R);
            largest = std::max(largest, (points.z + points.radius + offset) * scaled * scaled *
                                            (k + scaled) / limit.wavenumber);
        }
        return largest;
    }

    const PointBall& points;
    bool beside;
    const ContourLimit& limit;
    double k;
};

}  // namespace

PanelChoice choosePanels(const Outline& outline, const PointBall& points, bool beside,
                         const ContourLimit& limit, std::vector<ContourPanel>& panels) {
    const PanelOrders orders(points, beside, limit);
    panels.clear();
    PanelChoice choice = PanelChoice::bounded;
    const auto cut = [&](const auto& self, const OutlineEdge& edge, double from, double to,
                         int cuts) -> void {
        const SeenPanel seen = orders.see(edge, from, to);
        if (PanelOrders::isShort(seen)) {
            panels.push_back({&edge, from, to, 0});
        } else if (seen.half < points.radius && !PanelOrders::isFar(seen)) {
            choice = PanelChoice::tooFarApart;
        } else if (cuts == mostCuts) {
            choice = PanelChoice::touching;
            panels.push_back({&edge, from, to, 0});
        } else {
            const double middle = (from + to) / 2;
            self(self, edge, from, middle, cuts + 1);
            if (choice != PanelChoice::tooFarApart) self(self, edge, middle, to, cuts + 1);
        }
    };
    for (const Loop& loop : outline.loops)
        for (const OutlineEdge& edge : loop) {
            cut(cut, edge, -1, 1, 0);
            if (choice == PanelChoice::tooFarApart) return choice;
        }
    // Three components of a vector are within the limit together.
    const double error = std::numbers::pi * limit.error / static_cast<double>(panels.size());
    for (ContourPanel& panel : panels) {
        const SeenPanel seen = orders.see(*panel.edge, panel.from, panel.to);
        constexpr int few = 4;  // where a panel is next to a point
        panel.rung =
            PanelOrders::isShort(seen) ? orders.rungOf(seen, error) : OrderLadder::rungOf(few);
    }
    return choice;
}

}  // namespace pistonfield
