// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Relations between fields that hold whatever the field is: each in random cases, in every mode.
//
// Usage: relations CASES

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <iomanip>
#include <iostream>
#include <map>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "CountArgument.h"
#include "FastNearfield/GaussLegendre.h"
#include "ModeField.h"
#include "reference/TruncationBound.h"
#include "support/RandomPoints.h"

namespace {

using Value = std::complex<double>;

/// A piston by its half sides along x and y, and a point in front of it.
struct Scene {
    double a, b, k;
    double x, y, z;
    int order;

    [[nodiscard]] reference::Offsets offsets() const { return reference::offsetsOf(x, y, a, b); }
    /// The wavenumber belongs to 1/factor times the lengths.
    [[nodiscard]] Scene scaled(double factor) const {
        return {a * factor, b * factor, k / factor, x * factor, y * factor, z * factor, order};
    }
};

FieldCall callFor(const Scene& s) {
    return {{0, 0, 0, s.x, 0, 0, 0, s.y, 0, 0, 0, s.z, 0, 0, 0, 1},
            {1, 1, 1},
            2 * s.b,
            2 * s.a,
            s.k,
            s.order};
}

Value pressure(Mode mode, const Scene& scene) { return fieldOf(mode, callFor(scene)).at(0); }

/// A rule as a mode has it, and how far its nodes and weights are off.
struct ModeRule {
    reference::Rule rule;
    double nodeError = 0;
    double weightError = 0;  ///< relative
};

template <class T>
ModeRule modeRule(int order) {
    std::vector<T> x(static_cast<std::size_t>(order));
    std::vector<T> w(static_cast<std::size_t>(order));
    legendre_compute(order, x.data(), w.data());
    ModeRule result{reference::widen(order, x.data(), w.data())};
    const reference::Rule exact = reference::legendreRule(order);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const Quad node = fabsq(result.rule.nodes[i] - exact.nodes[i]);
        const Quad weight = fabsq(result.rule.weights[i] / exact.weights[i] - 1);
        result.nodeError = std::max(result.nodeError, static_cast<double>(node));
        result.weightError = std::max(result.weightError, static_cast<double>(weight));
    }
    return result;
}

const ModeRule& ruleOf(Mode mode, int order) {
    static std::map<std::pair<bool, int>, ModeRule> rules;
    const auto [found, isNew] = rules.try_emplace({!isInSingle(mode), order});
    if (isNew) found->second = !isInSingle(mode) ? modeRule<double>(order) : modeRule<float>(order);
    return found->second;
}

reference::Field measuresOf(Mode mode, const Scene& s) {
    return reference::nearField(s.offsets(), s.z, s.k, ruleOf(mode, s.order).rule);
}

/// How far a mode's value may be from the edge sum by the mode's own rule.
double rounding(Mode mode, const Scene& s) {
    const auto measure = reference::errorMeasure(measuresOf(mode, s), s.k);
    return roundingBound(mode) * static_cast<double>(measure);
}

/// How far a mode's value may be from the pressure: by rounding, by the rule's own errors and by
/// truncation. With S, R and the drift as for reference::Field, relative errors w of the weights
/// change the edge sum by w*S; errors x of the nodes move t by x*h, h <= R being half the interval,
/// which changes the numerator of the integrand by x*h*k and its denominator as the drift has it.
double uncertainty(Mode mode, const Scene& s) {
    const reference::Field field = measuresOf(mode, s);
    const ModeRule& rule = ruleOf(mode, s.order);
    const Quad moved = rule.nodeError * (s.k * field.reach * field.scale + field.drift);
    const Quad weighed = rule.weightError * field.scale;
    return roundingBound(mode) * static_cast<double>(reference::errorMeasure(field, s.k)) +
           static_cast<double>(moved + weighed) +
           reference::truncationBound(s.offsets(), s.z, s.k, s.order);
}

/// Draws scenes of numbers so short that sums and products of few of them are exact in float.
class Scenes {
  public:
    /// A scene of an order that may be too low: the edge sum obeys most relations at any order.
    Scene draw() {
        Scene s{};
        s.a = multiple(1, 512, -7);
        s.b = multiple(1, 512, -7);
        s.k = 3 * multiple(16, 512, -6);
        s.x = random.below(4) == 0 ? random.sign() * s.a : random.sign() * multiple(0, 1024, -7);
        // On no line of an edge: over a corner the field has no value.
        s.y = random.sign() * (multiple(0, 1024, -7) + std::ldexp(1, -9));
        s.z = multiple(32, 2048, -7);
        s.order = 2 + static_cast<int>(random.below(63));
        return s;
    }
    /// Chooses an order at which the sum has converged.
    static void converge(Scene& s) {
        constexpr double farBelowRounding = 1e-16;
        for (s.order = 16; s.order < 512; s.order *= 2)
            if (reference::truncationBound(s.offsets(), s.z, s.k, s.order) < farBelowRounding)
                return;
    }
    /// A whole number from [low, high) times 2^exponent.
    double multiple(int low, int high, int exponent) {
        return std::ldexp(std::floor(random.between(low, high)), exponent);
    }

    Random random{20261121};
};

/// A difference and what it may be.
struct Difference {
    double found;
    double allowed;
};

Difference difference(Value a, Value b, double allowed) { return {std::abs(a - b), allowed}; }

/// Mirrored in x = 0 the edge sum is the same. The GPU modes take |x| and |y|: nothing may change.
Difference mirrored(Mode mode, Scenes& scenes) {
    const Scene s = scenes.draw();
    Scene other = s;
    other.x = -s.x;
    if (scenes.random.below(2) == 0) other.y = -s.y;
    const double allowed = isOnGpu(mode) ? 0 : 2 * rounding(mode, s);
    return difference(pressure(mode, s), pressure(mode, other), allowed);
}

/// With x and y exchanged the edge sum is the same.
Difference exchanged(Mode mode, Scenes& scenes) {
    const Scene s = scenes.draw();
    const Scene other{s.b, s.a, s.k, s.y, s.x, s.z, s.order};
    return difference(pressure(mode, s), pressure(mode, other), 2 * rounding(mode, s));
}

/// A piston that is cut in two along x = cut radiates what its parts do.
Difference superposed(Mode mode, Scenes& scenes) {
    Scene whole = scenes.draw();
    const double parts = std::ldexp(whole.a, 7) + 1;
    whole.a = std::ldexp(parts, -7);
    const double cut = std::ldexp(std::floor(scenes.random.between(1 - parts, parts)), -7);
    const auto part = [&](double from, double to) {
        Scene s = whole;
        s.a = (to - from) / 2;
        s.x = whole.x - (from + to) / 2;
        Scenes::converge(s);
        return s;
    };
    Scenes::converge(whole);
    const Scene left = part(-whole.a, cut);
    const Scene right = part(cut, whole.a);
    return difference(
        pressure(mode, whole), pressure(mode, left) + pressure(mode, right),
        uncertainty(mode, whole) + uncertainty(mode, left) + uncertainty(mode, right));
}

/// Lengths times a power of two and the wavenumber over it: lengths in every step of the sum are
/// multiplied by the power or divided by it, which rounds nothing, and phases do not change. Holds
/// as long as no number leaves the range and none crosses the absolute limit 1e-7.
Difference scaledByTwo(Mode mode, Scenes& scenes) {
    const Scene s = scenes.draw();
    const double factor = std::ldexp(1, static_cast<int>(scenes.random.below(21)) - 10);
    return difference(pressure(mode, s), pressure(mode, s.scaled(factor)), 0);
}

/// Times 3, exactly: the wavenumbers drawn are multiples of 3.
Difference scaledByThree(Mode mode, Scenes& scenes) {
    const Scene s = scenes.draw();
    return difference(pressure(mode, s), pressure(mode, s.scaled(3)), 2 * rounding(mode, s));
}

/// A lattice point's pressure is that of a lattice moved there. The two positions are off by
/// `positionRoundings` units at most. Along x the pressure changes as the integrals of
/// k/(2pi) * exp(-j*k*R)/R along the edges x = +-a do, whose magnitudes are k/(2pi) * 2b/z at most;
/// along y alike; along z by k times 1 for the plane wave exp(-j*k*z) and times 1/(2pi) of the
/// angles, at most pi, under which the foot point sees each of the four edges.
Difference moved(Mode mode, Scenes& scenes) {
    constexpr double positionRoundings = 7.01;
    Random& random = scenes.random;
    Scene s = scenes.draw();
    FieldCall grid = callFor(s);
    grid.sizes = {5, 4, 3};
    for (std::size_t i = 0; i < 12; ++i)
        grid.transform.at(i) += random.between(-0.5, 0.5) * (i % 4 == 3 ? 0.1 : 1);
    for (std::size_t i = 8; i < 11; ++i) grid.transform.at(i) = random.between(0, 2);

    std::array<double, 3> index{};
    std::size_t linear = 0;
    for (std::size_t c = 3; c-- > 0;) {
        const auto size = static_cast<std::size_t>(grid.sizes.at(c));
        const std::size_t i = random.below(size);
        index.at(c) = static_cast<double>(i);
        linear = linear * size + i;
    }
    std::array<double, 3> at{};
    std::array<double, 3> shift{};
    for (std::size_t r = 0; r < 3; ++r) {
        const double* const row = grid.transform.data() + 4 * r;
        at.at(r) = ((row[2] * index[2] + row[1] * index[1]) + row[0] * index[0]) + row[3];
        const double magnitudes = std::abs(row[3]) + std::abs(row[0]) * index[0] +
                                  std::abs(row[1]) * index[1] + std::abs(row[2]) * index[2];
        const double u = !isInSingle(mode) ? 0x1p-53 : 0x1p-24;
        shift.at(r) = 2 * positionRoundings * u * magnitudes;
    }
    s.x = at[0];
    s.y = at[1];
    s.z = at[2];
    Scenes::converge(s);
    grid.order = s.order;
    const double slope = s.k / (2 * std::numbers::pi) * 4 / (s.z - shift[2]);
    const double byPosition = slope * (s.b * shift[0] + s.a * shift[1]) + 3 * s.k * shift[2];
    return difference(fieldOf(mode, grid).at(linear), pressure(mode, s),
                      2 * uncertainty(mode, s) + byPosition);
}

double sinc(double x) { return x == 0 ? 1 : std::sin(x) / x; }

/// Far away p = k*A/(2pi*R) * exp(-j*k*R) * sinc(k*a*x/R) * sinc(k*b*y/R), A = 4ab. With rho the
/// half diagonal, an element of the piston is at a distance off R less its projection by
/// rho^2/(2*(R - rho)) at most, for the difference of the two squares is rho^2 at most; and its 1/R
/// is off by rho/(R*(R - rho)).
Difference farAway(Mode mode, Scenes& scenes) {
    Scene s = scenes.draw();
    const double reach = std::floor(scenes.random.magnitude(2.5, 4.5));
    const double polar = scenes.random.between(0, 0.45) * std::numbers::pi;
    const double azimuth = scenes.random.between(-1, 1) * std::numbers::pi;
    s.x = std::floor(reach * std::sin(polar) * std::cos(azimuth));
    s.y = std::floor(reach * std::sin(polar) * std::sin(azimuth)) + 0.5;
    s.z = std::floor(reach * std::cos(polar));
    Scenes::converge(s);
    const double r = std::hypot(s.x, s.y, s.z);
    const double amplitude = s.k * 4 * s.a * s.b / (2 * std::numbers::pi * r);
    const Value expected = amplitude * sinc(s.k * s.a * s.x / r) * sinc(s.k * s.b * s.y / r) *
                           std::polar(1.0, -s.k * r);
    const double rho = std::hypot(s.a, s.b);
    const double allowed = amplitude * (s.k * rho * rho / 2 + rho) / (r - rho);
    return difference(pressure(mode, s), expected, allowed + uncertainty(mode, s));
}

using Long = long double;

/// The integral of exp(-j*k*R(phi)) - exp(-j*k*z), R(phi)^2 = z^2 + (a/cos(phi))^2, over phi from 0
/// to the corner. By phi = atan(sinh(u)), so that a/cos(phi) = a*cosh(u) and dphi = du/cosh(u) are
/// smooth for slender pistons too. A panel of 32 nodes covers a few radians of the phase.
std::complex<Long> octant(Long a, Long b, Long z, Long k) {
    static const reference::Rule rule = reference::legendreRule(32);
    constexpr int panels = 32;
    const Long half = std::asinh(b / a) / (2 * panels);
    const auto wave = [k](Long r) { return std::polar(Long{1}, -k * r); };
    std::complex<Long> sum = 0;
    for (int panel = 0; panel < panels; ++panel)
        for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
            const Long u = half * (static_cast<Long>(rule.nodes[i]) + 2 * panel + 1);
            const Long edge = a * std::cosh(u);
            const Long weight = half * static_cast<Long>(rule.weights[i]) / std::cosh(u);
            sum += weight * (wave(std::sqrt(z * z + edge * edge)) - wave(z));
        }
    return sum;
}

/// On the axis, in polar coordinates about the piston's middle: the radial integral of
/// k/(2pi) * exp(-j*k*R)/R * r*dr, with r*dr = R*dR, is elementary and leaves
/// j/(2pi) * (exp(-j*k*R(phi)) - exp(-j*k*z)) to integrate over the angle, R(phi) being the
/// distance of the rim. Four of each octant make the whole.
Difference onAxis(Mode mode, Scenes& scenes) {
    Scene s = scenes.draw();
    s.x = 0;
    s.y = 0;
    Scenes::converge(s);
    const auto sum = octant(s.a, s.b, s.z, s.k) + octant(s.b, s.a, s.z, s.k);
    const std::complex<Long> expected = std::complex<Long>(0, 2 / std::numbers::pi_v<Long>) * sum;
    return difference(pressure(mode, s), static_cast<Value>(expected), uncertainty(mode, s));
}

struct Relation {
    const char* name;
    Difference (*check)(Mode, Scenes&);
};

constexpr std::array relations{
    Relation{"mirrored in x or in x and y", mirrored},
    Relation{"x and y exchanged", exchanged},
    Relation{"the sum of its two parts", superposed},
    Relation{"scaled by a power of two", scaledByTwo},
    Relation{"scaled by three", scaledByThree},
    Relation{"the lattice moved", moved},
    Relation{"the far field", farAway},
    Relation{"the integral on the axis", onAxis},
};

/// Prints a line of the table.
/// @return whether the relation holds in all cases
bool report(const Relation& relation, Mode mode, int cases) {
    Scenes scenes;
    double largest = 0;
    double largestShare = 0;
    int broken = 0;
    for (int i = 0; i < cases; ++i) {
        const auto [found, allowed] = relation.check(mode, scenes);
        if (!(found <= allowed)) ++broken;
        largest = std::fmax(largest, found);
        if (allowed > 0) largestShare = std::fmax(largestShare, found / allowed);
    }
    std::cout << std::left << std::setw(29) << relation.name << std::setw(8) << nameOf(mode)
              << std::right << std::setw(7) << cases << std::scientific << std::setprecision(1)
              << std::setw(10) << largest << std::fixed << std::setprecision(3) << std::setw(10)
              << largestShare << std::setw(8) << broken << std::endl;
    return broken == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    std::cout << "relation                     mode      cases   largest  of bound  broken\n";
    bool hold = true;
    for (const Relation& relation : relations)
        for (const Mode mode : modes) hold &= report(relation, mode, count);
    return hold ? 0 : 1;
}
