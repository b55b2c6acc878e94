// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace pistonfield {

/// What the directivity of a face is a polynomial of, of the cosines u and v of the angles between
/// the direction of a point and those of the face's sides.
enum class Cosines {
    sum,   ///< s = u^2 + v^2 and t = u^2/s
    each,  ///< s = u^2 and t = v^2: for faces that are long
};

/// A directivity as the arithmetic takes it; see `Directivity`.
template <class T>
struct DirectivityTerms {
    Cosines cosines;
    const int* columns;  ///< of each polynomial of 2s - 1 how many of 2t - 1 multiply it
    const int* powers;   ///< of each of these how many powers of least/R multiply it
    const T* re;         ///< coefficients, from the highest power to the lowest
    const T* im;
    int rows;         ///< polynomials of 2s - 1
    int mostColumns;  ///< of any of these
    double least;
};

}  // namespace pistonfield
