// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FaceRules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <variant>

namespace pistonfield {

namespace {

using std::numbers::pi;

double lengthOf(const PlaneVector& vector) { return std::hypot(vector[0], vector[1]); }

double crossOf(const PlaneVector& a, const PlaneVector& b) { return a[0] * b[1] - a[1] * b[0]; }

/// A part of the face: w = u(t)*c(s) over s in [-1, 1] and t in [0, 1].
struct Fan {
    OutlineEdge edge;
};

/// What a whole circle about the origin encloses. Over an even number of equal steps of the angle
/// the odd powers of t cancel: what is left is a function of t^2, which takes half the nodes.
struct Disc {
    double radius;
    double sign;  ///< -1 for a hole
};

/// w = a*s + b*t over s and t in [-1, 1].
struct Parallelogram {
    PlaneVector a, b;
};

using Part = std::variant<Fan, Disc, Parallelogram>;

/// A loop that is a circle about the origin.
std::optional<Disc> discOf(const Loop& loop) {
    double radius = 0;
    double sweep = 0;
    for (const OutlineEdge& edge : loop) {
        const Arc* const arc = std::get_if<Arc>(&edge);
        constexpr double rounding = 1e-15;
        if (arc == nullptr || lengthOf(arc->centre) > rounding * arc->radius ||
            (radius != 0 && arc->radius != radius) || arc->sweep * sweep < 0)
            return std::nullopt;
        radius = arc->radius;
        sweep += arc->sweep;
    }
    constexpr double rounding = 1e-12;
    if (std::abs(std::abs(sweep) - 2 * pi) > rounding) return std::nullopt;
    return Disc{radius, sweep < 0 ? -1.0 : 1.0};
}

/// An outline that is a parallelogram about the origin, as rectangles are.
std::optional<Parallelogram> parallelogramOf(const Outline& outline) {
    constexpr std::size_t corners = 4;
    if (outline.loops.size() != 1 || outline.loops.front().size() != corners) return std::nullopt;
    std::array<PlaneVector, corners> at{};
    double size = 0;
    for (std::size_t i = 0; i < corners; ++i) {
        const StraightEdge* const edge = std::get_if<StraightEdge>(&outline.loops.front()[i]);
        if (edge == nullptr) return std::nullopt;
        at[i] = edge->from;
        size = std::max(size, lengthOf(at[i]));
    }
    constexpr double rounding = 1e-15;
    for (std::size_t i = 0; i < 2; ++i)
        if (std::hypot(at[i][0] + at[i + 2][0], at[i][1] + at[i + 2][1]) > rounding * size)
            return std::nullopt;
    return Parallelogram{{(at[1][0] - at[0][0]) / 2, (at[1][1] - at[0][1]) / 2},
                         {(at[2][0] - at[1][0]) / 2, (at[2][1] - at[1][1]) / 2}};
}

std::vector<Part> partsOf(const Outline& outline) {
    if (const auto whole = parallelogramOf(outline)) return {*whole};
    std::vector<Part> parts;
    for (const Loop& loop : outline.loops)
        if (const auto disc = discOf(loop))
            parts.emplace_back(*disc);
        else
            for (const OutlineEdge& edge : loop) parts.emplace_back(Fan{edge});
    return parts;
}

/// Ellipses with foci +-1.
struct Ellipse {
    double rho;
    double larger, smaller;  ///< semi-axes
};

/// What is known of places w of which some parameter is within an ellipse.
struct Reach {
    double size;       ///< the largest |w|
    double imaginary;  ///< the largest |Im w|
    double area;       ///< the largest cross of w and its derivative, or of its derivatives
};

Reach alongEdge(const StraightEdge& edge, const Ellipse& ellipse) {
    const PlaneVector middle{(edge.from[0] + edge.to[0]) / 2, (edge.from[1] + edge.to[1]) / 2};
    const PlaneVector half{(edge.to[0] - edge.from[0]) / 2, (edge.to[1] - edge.from[1]) / 2};
    return {lengthOf(middle) + ellipse.larger * lengthOf(half), ellipse.smaller * lengthOf(half),
            std::abs(crossOf(middle, half))};
}

Reach alongEdge(const Arc& arc, const Ellipse& ellipse) {
    const double half = std::abs(arc.sweep) / 2;
    const double beside = half * ellipse.smaller;
    const double stretch = std::sqrt(std::cosh(2 * beside));
    const double size = lengthOf(arc.centre) + arc.radius * stretch;
    return {size, arc.radius * std::sinh(beside), half * size * arc.radius * stretch};
}

Reach alongEdge(const Fan& fan, const Ellipse& ellipse) {
    return std::visit([&](const auto& edge) { return alongEdge(edge, ellipse); }, fan.edge);
}

/// Bounds of the integrand, relative to |k|/Q * exp(-a*Q), of all points from a distance on.
class Magnitudes {
  public:
    Magnitudes(double distance, double wavenumber, double attenuation)
        : distance(distance),
          wavenumber(wavenumber),
          attenuation(attenuation),
          magnitude(std::hypot(wavenumber, attenuation)) {}

    /// @return infinity where nothing is known
    double at(double size, double imaginary) const {
        const double x = size / distance;
        const double square = 1 - 2 * x - x * x;
        constexpr double least = 1e-3;
        if (!(square > least)) return std::numeric_limits<double>::infinity();
        const double theta = std::sqrt(square);
        const double growth =
            wavenumber * imaginary * (1 + x) / theta + attenuation * distance * (1 - theta);
        const double near = 1 / (theta * magnitude * distance);
        const double first = (1 + near) * (1 + x) / (theta * theta);
        const double bend = (1 + 3 * near * (1 + near)) * (1 + x) / (theta * theta * theta) +
                            (1 + near) * near / theta;
        return std::exp(growth) * std::max(first, bend * magnitude / wavenumber);
    }

  private:
    double distance;
    double wavenumber;
    double attenuation;
    double magnitude;
};

/// The least number of nodes with which a bound is within an error.
class NodeCount {
  public:
    /// @param rate the bound is `factor` times exp(-rate*nodes)
    void offer(double factor, double rate, double error) {
        if (!(factor < std::numeric_limits<double>::infinity())) return;
        least = std::min(least, std::max(1.0, std::ceil(std::log(factor / error) / rate)));
    }

    int value() const {
        constexpr double most = OrderLadder::mostNodes;
        return static_cast<int>(std::min(least, most));
    }

  private:
    double least = std::numeric_limits<double>::infinity();
};

/// Does a work with some ellipses, from narrow to wide ones.
template <class Work>
void forEllipses(Work work) {
    constexpr int count = 26;
    double rho = 1.15;
    for (int i = 0; i < count; ++i) {
        work(Ellipse{rho, (rho + 1 / rho) / 2, (rho - 1 / rho) / 2});
        rho *= 1.3;
    }
}

/// The factor of an interval of the half-length 1.
double gaussFactor(const Ellipse& ellipse) {
    return 64.0 / 15 / (1 - 1 / (ellipse.rho * ellipse.rho));
}

/// How many nodes the rules of a part have.
struct Counts {
    int along, across;
};

/// Finds the counts of a part; the bound of each direction's error is within `error`.
class PartCounts {
  public:
    PartCounts(const Magnitudes& magnitudes, double error) : magnitudes(magnitudes), error(error) {}

    Counts operator()(const Fan& fan) const {
        NodeCount along;
        NodeCount across;
        const Reach real = alongEdge(fan, {1, 1, 0});
        forEllipses([&](const Ellipse& ellipse) {
            const Reach reach = alongEdge(fan, ellipse);
            constexpr double ofAcross = 0.5;  // the integral of t
            offer(along, ellipse, ofAcross * reach.area, reach);
            constexpr double ofAlong = 2;
            const double most = (1 + ellipse.larger) / 2;  // |t|
            offer(across, ellipse, ofAlong * real.area * most / 2,
                  {most * real.size, ellipse.smaller / 2 * real.size, 0});
        });
        return {along.value(), across.value()};
    }

    Counts operator()(const Disc& disc) const {
        const double square = disc.radius * disc.radius;
        NodeCount along;
        // exp(m*b) - 1 is at least half of exp(m*b), as the bound is far above the error asked for.
        constexpr int widths = 24;
        double beside = 0.1;
        for (int i = 0; i < widths; ++i) {
            along.offer(4 * pi * square *
                            magnitudes.at(disc.radius * std::sqrt(std::cosh(2 * beside)),
                                          disc.radius * std::sinh(beside)),
                        beside, error);
            beside *= 1.2;
        }
        NodeCount across;
        forEllipses([&](const Ellipse& ellipse) {
            // Of t, the root of the parameter.
            const double most = std::sqrt((ellipse.larger + 1) / 2);
            const double imaginary = std::sqrt((ellipse.larger - 1) / 2);
            offer(across, ellipse, 2 * pi * square / 4,
                  {most * disc.radius, imaginary * disc.radius, 0});
        });
        return {2 * ((std::max(2, along.value()) + 1) / 2), across.value()};
    }

    Counts operator()(const Parallelogram& face) const {
        const double area = std::abs(crossOf(face.a, face.b));
        const auto countAlong = [&](double length, double other) {
            NodeCount count;
            forEllipses([&](const Ellipse& ellipse) {
                constexpr double ofOther = 2;
                offer(count, ellipse, ofOther * area,
                      {ellipse.larger * length + other, ellipse.smaller * length, 0});
            });
            return count.value();
        };
        const double a = lengthOf(face.a);
        const double b = lengthOf(face.b);
        return {countAlong(a, b), countAlong(b, a)};
    }

  private:
    void offer(NodeCount& to, const Ellipse& ellipse, double factor, const Reach& reach) const {
        to.offer(factor * gaussFactor(ellipse) * magnitudes.at(reach.size, reach.imaginary),
                 2 * std::log(ellipse.rho), error);
    }

    const Magnitudes& magnitudes;
    double error;
};

/// Appends the nodes of parts to a rule.
class PartNodes {
  public:
    PartNodes(const Rules<double>& rules, const Counts& counts, FaceRule& rule)
        : counts(counts), across(ruleOf(rules, counts.across)), rules(rules), rule(rule) {}

    void operator()(const Fan& fan) const {
        const Nodes<double>& along = ruleOf(rules, counts.along);
        for (int i = 0; i < along.count; ++i) {
            const auto [at, tangent] = placeOn(fan.edge, along.abscissas[i]);
            const double cross = along.weights[i] * crossOf(at, tangent);
            for (int n = 0; n < across.count; ++n) {
                const double t = (1 + across.abscissas[n]) / 2;
                rule.push_back({t * at[0], t * at[1], t * cross * across.weights[n] / 2});
            }
        }
    }

    void operator()(const Disc& disc) const {
        const double step = 2 * pi / counts.along;
        for (int i = 0; i < counts.along; ++i) {
            const double x = disc.radius * std::cos(i * step);
            const double y = disc.radius * std::sin(i * step);
            for (int n = 0; n < across.count; ++n) {
                const double t = std::sqrt((1 + across.abscissas[n]) / 2);
                rule.push_back(
                    {t * x, t * y,
                     disc.sign * step * disc.radius * disc.radius / 4 * across.weights[n]});
            }
        }
    }

    void operator()(const Parallelogram& face) const {
        const Nodes<double>& along = ruleOf(rules, counts.along);
        const double area = crossOf(face.a, face.b);
        for (int i = 0; i < along.count; ++i)
            for (int n = 0; n < across.count; ++n) {
                const double s = along.abscissas[i];
                const double t = across.abscissas[n];
                rule.push_back({s * face.a[0] + t * face.b[0], s * face.a[1] + t * face.b[1],
                                area * along.weights[i] * across.weights[n]});
            }
    }

  private:
    static const Nodes<double>& ruleOf(const Rules<double>& rules, int count) {
        const Rung rung = OrderLadder::rungOf(count);
        rules.require(rung);
        return rules.table()[rung];
    }

    Counts counts;
    const Nodes<double>& across;
    const Rules<double>& rules;
    FaceRule& rule;
};

}  // namespace

FaceRules::FaceRules(const Outline& outline, double radius, double wavenumber, double attenuation,
                     const Rules<double>& rules)
    : outline(outline),
      radius(radius),
      wavenumber(wavenumber),
      attenuation(attenuation),
      scale(std::hypot(wavenumber, attenuation) * areaOf(outline)),
      rules(rules) {}

const FaceRule* FaceRules::ruleFor(double distance, double error) const {
    const double ratio = distance / (leastRadii * radius);
    if (!(ratio >= 1)) return nullptr;
    const int range = std::min(std::ilogb(ratio), ranges - 1);
    const double relative = 2 * pi * error * distance / scale;
    const double level = std::max(0.0, std::ceil(-2 * std::log10(relative)) - 1);
    if (!(level < levels)) return nullptr;
    const auto number = static_cast<int>(level);
    Range& ofRange = made[static_cast<std::size_t>(range)];
    std::call_once(ofRange.made,
                   [&] { ofRange.slots = std::make_unique<std::array<Slot, levels>>(); });
    Slot& slot = (*ofRange.slots)[static_cast<std::size_t>(number)];
    std::call_once(slot.made, [&] { slot.rule = makeRule(range, number); });
    return slot.rule ? &*slot.rule : nullptr;
}

std::optional<FaceRule> FaceRules::makeRule(int range, int level) const {
    const std::vector<Part> parts = partsOf(outline);
    const Magnitudes magnitudes(leastRadii * radius * std::ldexp(1.0, range), wavenumber,
                                attenuation);
    constexpr double directions = 2;
    const double error = std::pow(10, -(level + 1) / 2.0) * areaOf(outline) /
                         (directions * static_cast<double>(parts.size()));
    FaceRule rule;
    for (const Part& part : parts) {
        const Counts counts = std::visit(PartCounts(magnitudes, error), part);
        const auto along = static_cast<std::size_t>(counts.along);
        const auto across = static_cast<std::size_t>(counts.across);
        if (rule.size() + along * across > mostNodes) return std::nullopt;
        std::visit(PartNodes(rules, counts, rule), part);
    }
    return rule;
}

}  // namespace pistonfield
