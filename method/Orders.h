// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <vector>

#include "method/EllipseBounds.h"
#include "method/PointOrders.h"

namespace pistonfield {

/// Orders of rules: all up to 32, then in steps of an eighth at most, so that there are few rules
/// whatever the orders are.
class OrderLadder {
  public:
    /// There are no orders beyond this one. Sides of 2000 wavelengths take half of it.
    static constexpr int mostNodes = 1 << 14;

    /// The least rung that has so many nodes or more; of less than one node the first.
    static constexpr Rung rungOf(int nodes) {
        if (nodes <= every) return static_cast<Rung>(nodes < 1 ? 0 : nodes - 1);
        int rung = every;
        int base = every;
        for (; nodes > 2 * base; base *= 2) rung += 8;
        const int step = base / 8;
        return static_cast<Rung>(rung + (nodes - base - 1) / step);
    }

    /// The nodes of a rung.
    static constexpr int nodesOf(int rung) {
        if (rung < every) return rung + 1;
        const int base = every << (rung - every) / 8;
        return base + ((rung - every) % 8 + 1) * (base / 8);
    }

  private:
    static constexpr int every = 32;
};

/// The nodes of panels whose foot lies between a line's ends: the most that any foot takes.
inline int nodesOf(const Panels& panels) {
    int nodes = OrderLadder::nodesOf(panels.inner);
    for (int i = 0; i < panels.gradings; ++i) nodes += 2 * OrderLadder::nodesOf(panels.outer[i]);
    return nodes;
}

/// The face of a rectangular piston, in its own frame: half its sides, in any unit of length, and
/// the wavenumber in radians per unit.
struct Face {
    double halfX, halfY;
    double k = 1;

    /// With lengths times the wavenumber.
    constexpr Face scaled() const { return {halfX * k, halfY * k}; }

    /// From so many half sides on points lie beside the face.
    static constexpr double besideHalfSides = 12;

    /// Whether a point is so far beside the face that the four edges cancel: rounding errors of the
    /// formula `edges` are about 5u |e|/s, of the offset e from an edge and the side s across it.
    constexpr bool hasBeside(double x, double y) const {
        return x > besideHalfSides * halfX || y > besideHalfSides * halfY;
    }

    /// The formula of points beside the face. With `edgesBeside` rounding grows with the
    /// ratio of the sides.
    constexpr Formula besideFormula() const {
        constexpr double thin = 24;
        return halfX > thin * halfY || halfY > thin * halfX ? Formula::lines : Formula::edgesBeside;
    }
};

/// A range of numbers that are not negative.
struct Span {
    float least, most;

    /// The magnitudes of the numbers from `from` to `to`, a little wider for the sake of rounding.
    static Span ofMagnitudes(double from, double to) {
        const double far = std::max(std::abs(from), std::abs(to));
        const double near = from * to < 0 ? 0 : std::min(std::abs(from), std::abs(to));
        return {static_cast<float>(near * (1 - wider)), static_cast<float>(far * (1 + wider))};
    }

    /// By so much of a number bounds are wider.
    static constexpr double wider = 0x1p-22;

    float leastDistance(float from) const {
        return std::max(0.0F, std::max(least - from, from - most));
    }

    float largestDistance(float from) const {
        return std::max(std::abs(least - from), std::abs(most - from));
    }
};

/// Where points lie: the least and the largest |x| and |y|, from the centre of the face, and the
/// least |z|, times the wavenumber.
struct Extent {
    Span x, y;
    float z;
};

/// Where points lie, and at most how far from the centre of the face.
struct Place {
    Extent extent;
    double reach;

    /// The place within these bounds of |x|, |y|, |z| and of the distance, which k has yet to
    /// multiply, a little wider for the sake of rounding.
    static Place within(const std::array<double, 3>& least, const std::array<double, 3>& most,
                        double reach, double k) {
        const auto below = [k](double v) { return static_cast<float>(v * k * (1 - Span::wider)); };
        const auto above = [k](double v) { return static_cast<float>(v * k * (1 + Span::wider)); };
        return {
            {{below(least[0]), above(most[0])}, {below(least[1]), above(most[1])}, below(least[2])},
            reach * k};
    }
};

/// The numbers of nodes for intervals of one length, cell by cell: each is found when it is first
/// asked for, by any thread.
class KnownOrders {
  public:
    /// @throws std::bad_alloc
    explicit KnownOrders(float half);

    /// The least rung for an integral of exp(-jR)/R over an interval of this length, times
    /// `amplitude`, whose middle lies `middle` from t = 0, within a tolerance.
    Rung rungOf(const Span& middle, float height, float amplitude, float tolerance) const;

    float half() const noexcept { return length; }

  private:
    static constexpr int levels = 96;      ///< powers of 2 of the amplitude over the tolerance, for
                                           ///< which orders are kept
    static constexpr int levelOfOne = 24;  ///< where they are equal

    Rung rungOf(int mu, int eta, int level) const;
    Rung newRungOf(int mu, int eta, int level) const;

    float length;
    float inverse;
    mutable std::vector<std::atomic<std::int16_t>> rungs;  ///< 0: not known; else the rung, plus 1
};

/// An edge as points see it; lengths are times the wavenumber.
struct SeenEdge {
    bool alongX;
    Span along;   ///< the distance of the edge's middle from the points' feet, along it
    Span offset;  ///< the distance of its line from the feet
    float z;      ///< the least |z|
};

/// Chooses numbers of nodes from `EllipseBounds`.
class Orders {
  public:
    /// @throws std::bad_alloc
    explicit Orders(const Face& face);

    /// The orders that keep the error of |p|, in exact arithmetic, below `tolerance` at all points
    /// that lie so.
    PointOrders choose(Formula formula, const Extent& extent, float tolerance) const;

    /// An integral of exp(-jR)/R times an amplitude along a straight line, from -half to half about
    /// a middle; lengths are times the wavenumber.
    struct Integral {
        float half;    ///< half the interval's length
        Span middle;   ///< the distance of its middle from t = 0
        float height;  ///< the least h
        float amplitude;
        float tolerance;
    };

    /// The nodes that it takes.
    static int nodesOf(const Integral& integral);

    /// How an edge is integrated such that the offset times its integral of
    /// (exp(-jR) - exp(-jz))/D is within a tolerance.
    Panels ofEdge(const SeenEdge& edge, float tolerance) const;

  private:
    struct Edge;

    PointOrders ofEdges(Formula formula, const Extent& extent, float tolerance) const;
    PointOrders ofLines(const Extent& extent, float tolerance) const;
    Panels ofEdgeBeside(const SeenEdge& edge, float tolerance) const;
    Edge edgeOf(const SeenEdge& seen) const;
    static Panels panelsOf(const Edge& edge, float amplitude, float tolerance, float height);
    static Panels gradedPanels(const Edge& edge, float amplitude, float tolerance, float height);
    static int orderOfAngle(const Edge& edge, float tolerance);

    Face face;
    std::array<KnownOrders, 2> known;  ///< of the edges along x and along y
};

}  // namespace pistonfield
