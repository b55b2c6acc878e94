// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <functional>
#include <vector>

namespace pistonfield {

/// A square matrix of a few hundred rows at most.
class SquareMatrix {
  public:
    using Complex = std::complex<double>;

    explicit SquareMatrix(std::size_t rows) : size(rows), numbers(rows * rows) {}

    std::size_t rows() const noexcept { return size; }

    Complex& operator()(std::size_t row, std::size_t column) noexcept {
        return numbers[row * size + column];
    }

    const Complex& operator()(std::size_t row, std::size_t column) const noexcept {
        return numbers[row * size + column];
    }

  private:
    std::size_t size;
    std::vector<Complex> numbers;
};

/// A Hermitian matrix as the sum over i of values[i]*v*v', of the orthonormal columns v of
/// `vectors`.
struct Eigensystem {
    std::vector<double> values;  ///< in no order
    SquareMatrix vectors;
};

/// By Jacobi's rotations, cyclic by rows. The errors are about rounding of the largest value.
/// @param hermitian both of its halves
/// @param look comes once for each row of a turn over all; what it throws ends the work
/// @throws std::bad_alloc
Eigensystem eigensystemOf(SquareMatrix hermitian, const std::function<void()>& look = {});

}  // namespace pistonfield
