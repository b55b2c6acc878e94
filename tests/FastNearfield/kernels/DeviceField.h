// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "reference/NearField.h"

/// The first half of a symmetric rule, as it is uploaded: ceil(order/2) abscissas and weights.
template <class T>
struct HalfRule {
    int order;
    std::vector<T> x;
    std::vector<T> w;
};

/// The Gauss-Legendre rule of an order, computed in 113 bits and rounded to T.
template <class T>
HalfRule<T> halfLegendreRule(int order) {
    const reference::Rule rule = reference::legendreRule(order);
    HalfRule<T> half{order, {}, {}};
    for (std::size_t i = 0; i < (rule.nodes.size() + 1) / 2; ++i) {
        half.x.push_back(static_cast<T>(rule.nodes[i]));
        half.w.push_back(static_cast<T>(rule.weights[i]));
    }
    return half;
}

/// The whole rule that the kernels make of a half: pairs +-x[i] of weight w[i], and the middle
/// weight at 0.
template <class T>
reference::Rule mirrored(const HalfRule<T>& half) {
    reference::Rule rule;
    const auto pairs = static_cast<std::size_t>(half.order / 2);
    for (std::size_t i = 0; i < pairs; ++i) {
        for (const T node : {half.x[i], -half.x[i]}) {
            rule.nodes.push_back(node);
            rule.weights.push_back(half.w[i]);
        }
    }
    if (half.order % 2 != 0) {
        rule.nodes.push_back(0);
        rule.weights.push_back(half.w[pairs]);
    }
    return rule;
}

/// A point and a piston with its half sides a along x and b along y, all in T exactly.
template <class T>
struct Scene {
    T x, y, z;
    T a, b;
    T k;
};

/// How the kernels integrate along a pair of edges over a coordinate: beyond 1e-7 beside the axis
/// the integral is split, within it one half is doubled.
template <class T>
reference::Span deviceSpan(T coordinate, T halfSide) {
    const T distance = std::fabs(coordinate);
    if (distance > halfSide) return reference::Span::whole;
    return distance > static_cast<T>(1e-7) ? reference::Span::split : reference::Span::doubledUpper;
}

template <class T>
reference::Spans deviceSpans(const Scene<T>& scene) {
    return {deviceSpan(scene.y, scene.b), deviceSpan(scene.x, scene.a)};
}

/// The kernels' formula in 113 bits.
template <class T>
reference::Field deviceField(const Scene<T>& scene, const reference::Rule& rule,
                             reference::Spans spans) {
    const reference::Offsets offsets =
        reference::offsetsOf(std::fabs(scene.x), std::fabs(scene.y), scene.a, scene.b);
    return reference::nearField(offsets, scene.z, scene.k, rule, spans);
}

template <class T>
reference::Field deviceField(const Scene<T>& scene, const reference::Rule& rule) {
    return deviceField(scene, rule, deviceSpans(scene));
}

/// Of float, in which the square roots, sines and cosines of both precisions are computed.
inline constexpr double unitRoundoff = 0x1p-24;

/// The unit in which a pressure's rounding error is measured.
inline Quad roundingMeasure(const reference::Field& field, Quad k) {
    return static_cast<Quad>(unitRoundoff) * reference::errorMeasure(field, k);
}

/// How far a pressure is off, in these units. Not a number where one of the two is none.
template <class Complex>
double roundingError(const Complex& pressure, const reference::Field& field, Quad k) {
    const reference::QuadComplex got{pressure.re, pressure.im};
    return static_cast<double>(reference::magnitude(got - field.pressure) /
                               roundingMeasure(field, k));
}
