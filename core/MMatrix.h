// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

template <class T, int N, bool RowMajor>
class MMatrix;

/// A 4x4 matrix whose 16 elements are kept row by row: element (r, c) at position 4r + c.
template <class T>
class MMatrix<T, 4, true> {
  public:
    MMatrix() = default;

    /// Takes 16 values in storage order.
    template <class U>
    explicit MMatrix(const U* values) {
        std::transform(values, values + 16, elements.begin(),
                       [](U value) { return static_cast<T>(value); });
    }

    /// Element (r, c); the indices are not checked.
    T& operator()(int r, int c) { return elements[position(r, c)]; }
    const T& operator()(int r, int c) const { return elements[position(r, c)]; }

    /// The 16 values in storage order.
    const T* data() const noexcept { return elements.data(); }

    /// The determinant of the 3x3 minor left when row i and column j are removed.
    T subDeterminant(int i, int j) const {
        const std::array<int, 3> row = kept(i);
        const std::array<int, 3> column = kept(j);
        const auto a = [&](std::size_t p, std::size_t q) { return (*this)(row[p], column[q]); };
        return (a(1, 2) * a(0, 1) - a(1, 1) * a(0, 2)) * a(2, 0) +
               ((a(1, 1) * a(2, 2) - a(1, 2) * a(2, 1)) * a(0, 0) -
                (a(2, 2) * a(0, 1) - a(2, 1) * a(0, 2)) * a(1, 0));
    }

    /// Laplace expansion along the bottom row; terms whose bottom-row element is zero are skipped.
    T determinant() const {
        T sum = 0;
        for (int j = 0; j < 4; ++j) {
            const T element = (*this)(3, j);
            if (element == T(0)) continue;
            const T term = element * subDeterminant(3, j);
            sum = j % 2 == 1 ? sum + term : sum - term;
        }
        return sum;
    }

    /// The adjugate over the determinant. A singular matrix yields infinite or NaN elements.
    MMatrix inverse() const {
        const T det = determinant();
        MMatrix result;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                const T minor = subDeterminant(c, r);
                result(r, c) = ((r + c) % 2 == 1 ? -minor : minor) / det;
            }
        return result;
    }

  private:
    static constexpr std::size_t position(int r, int c) {
        return 4 * static_cast<std::size_t>(r) + static_cast<std::size_t>(c);
    }

    /// The three indices other than `removed`, in increasing order.
    static constexpr std::array<int, 3> kept(int removed) {
        return {removed < 1 ? 1 : 0, removed < 2 ? 2 : 1, removed > 2 ? 2 : 3};
    }

    std::array<T, 16> elements{};
};
