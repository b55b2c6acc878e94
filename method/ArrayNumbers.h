// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "method/DirectivityTerms.h"
#include "method/GroupNumbers.h"

namespace pistonfield {

// What a device sums up an array's elements from; lengths are in wavelengths, so that whole turns
// of a phase are whole numbers. Places have a second part in single precision, which is what the
// first one rounds off; in double it is 0.

/// The elements that a device takes one after the other, which for one group have one directivity.
inline constexpr int elementsOfABlock = 64;

/// An element: its centre and the directions of its sides.
template <class T>
struct ElementNumbers {
    T centre[3];
    T rest[3];
    T alongX[3];
    T alongY[3];
};

/// The places of a group's points.
template <class T>
struct SiteNumbers {
    alignas(64) T place[3][groupSize];
    alignas(64) T rest[3][groupSize];
};

/// The sums at a group's points, each with what has been rounded off it.
template <class T>
struct GroupSums {
    alignas(64) T re[groupSize];
    alignas(64) T im[groupSize];
    alignas(64) T restOfRe[groupSize];
    alignas(64) T restOfIm[groupSize];
};

/// Points of a group that an element is too near to for its directivity.
struct NearElement {
    std::int32_t element;
    std::uint16_t members;  ///< one bit for each point
};

/// A directivity for some distances.
template <class T>
struct DirectivityOnDevice {
    DirectivityTerms<T> terms;
    T least;  ///< that of the terms, in wavelengths
};

/// The number of no directivity: all of a block's elements are too near.
inline constexpr std::uint8_t noDirectivity = 255;

}  // namespace pistonfield
