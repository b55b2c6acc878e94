// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "method/DirectivityTerms.h"
#include "method/Orders.h"

namespace pistonfield {

/// The directivity G of a rectangular face at a finite distance, the limit of which is the far
/// field's: at the distance R from the centre of the face of the area A
///
///     p = k*A/(2*pi*R) * exp(-j*k*R) * G.
///
/// It is a sum of Chebyshev polynomials of 2s - 1 and 2t - 1 times powers of least/R; see
/// `Cosines`.
template <class T>
class Directivity {
  public:
    /// The most polynomials along each direction.
    static constexpr int most = 64;

    /// The least error that rounding lets it keep.
    static constexpr double leastError = 2e-12;

    /// The least distance of a face: the series converge, and beyond the near field phases across
    /// the face are small enough for powers of 1/R. Infinite where a face takes too many
    /// polynomials.
    static double leastDistance(const Face& face);

    /// @param least the distance from which on it holds, at least `leastDistance`
    /// @param error the largest error of G, at least `leastError`
    /// @throws std::bad_alloc
    Directivity(const Face& face, double least, double error);

    /// They are valid as long as this is.
    DirectivityTerms<T> terms() const noexcept;

    double least() const noexcept { return distance; }

    /// The number of coefficients.
    std::size_t size() const noexcept { return re.size(); }

  private:
    Cosines cosines;
    double distance;
    std::vector<int> columns, powers;
    std::vector<T> re, im;
};

}  // namespace pistonfield
