// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cfloat>

#if LDBL_MANT_DIG == 113

#include <cmath>

/// IEEE 754 binary128, 113 significant bits: the arithmetic of the references. The library's
/// doubles and floats widen to it exactly.
using Quad = long double;

inline Quad sqrtq(Quad x) noexcept { return std::sqrt(x); }
inline Quad fabsq(Quad x) noexcept { return std::fabs(x); }
inline Quad expq(Quad x) noexcept { return std::exp(x); }
inline Quad expm1q(Quad x) noexcept { return std::expm1(x); }
inline void sincosq(Quad x, Quad* sine, Quad* cosine) noexcept {
    *sine = std::sin(x);
    *cosine = std::cos(x);
}

#else

using Quad = __float128;

// The few functions of GCC's libquadmath that the references call; <quadmath.h> is known to GCC
// only.
extern "C" {
__float128 sqrtq(__float128 x) noexcept;
__float128 fabsq(__float128 x) noexcept;
__float128 expq(__float128 x) noexcept;
__float128 expm1q(__float128 x) noexcept;
void sincosq(__float128 x, __float128* sine, __float128* cosine) noexcept;
}

#endif

namespace reference {

/// pi: the double next to it plus the two doubles that complete it to 113 bits.
inline constexpr Quad pi = static_cast<Quad>(0x1.921fb54442d18p+1) +
                           static_cast<Quad>(0x1.1a62633145c07p-53) +
                           static_cast<Quad>(-0x1.f1976b7ed8fbcp-109);

/// A complex number.
struct QuadComplex {
    Quad re = 0;
    Quad im = 0;

    friend QuadComplex operator+(QuadComplex a, QuadComplex b) {
        return {a.re + b.re, a.im + b.im};
    }
    friend QuadComplex operator-(QuadComplex a, QuadComplex b) {
        return {a.re - b.re, a.im - b.im};
    }
    friend QuadComplex operator*(Quad a, QuadComplex b) { return {a * b.re, a * b.im}; }
};

inline Quad magnitude(QuadComplex a) { return sqrtq(a.re * a.re + a.im * a.im); }

}  // namespace reference
