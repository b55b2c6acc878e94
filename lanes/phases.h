// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/Lane.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// Sines and cosines, lane by lane.
template <class V>
struct SinCos {
    V sine;
    V cosine;
};

namespace detail {

/// Adding it rounds to an integer, which then stands in the low bits.
template <class T>
inline constexpr T roundingShift = sizeof(T) == 8 ? T(0x1.8p52) : T(0x1.8p23F);

}  // namespace detail

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
