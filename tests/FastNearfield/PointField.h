// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <type_traits>

#include "FastNearfield/RectangularPiston2.h"
#include "reference/NearField.h"

/// A field point as the piston's point evaluation takes it.
template <class T>
struct PointField {
    T x1, x2, y1, y2;
    T z;
    T k;

    /// A point of a piston with the given half sides; the offsets are rounded to T.
    static PointField at(T px, T py, T pz, T halfX, T halfY, T k) {
        return {px - halfX, px + halfX, py - halfY, py + halfY, pz, k};
    }

    /// The pressure by the piston's rule of precision T.
    [[nodiscard]] std::complex<T> pressure(const RectangularPistonCuda2& piston) const {
        RectangularPistonCuda2::FirstIntegral<T> fi;
        fi.k = k;
        fi.z = z;
        fi.expKz = std::exp(std::complex<T>(0, -(z * k)));
        const std::complex<T> factor(0, static_cast<T>(-0.15915494309189535));  // -j/(2pi)
        return piston.doFastNearfield_Private<T>(fi, x1, x2, y1, y2, k, z, factor);
    }

    [[nodiscard]] reference::Offsets offsets() const { return {x1, x2, y1, y2}; }
};

/// The rule of precision T that a piston holds.
template <class T>
const GaussLegendre<T>& ruleOf(const RectangularPistonCuda2& piston) {
    if constexpr (std::is_same_v<T, float>)
        return piston.floatRule;
    else
        return piston.doubleRule;
}

/// The same rule in the reference's precision.
template <class T>
reference::Rule widenedRuleOf(const RectangularPistonCuda2& piston) {
    const GaussLegendre<T>& rule = ruleOf<T>(piston);
    return reference::widen(rule.order, rule.abscissas, rule.weights);
}
