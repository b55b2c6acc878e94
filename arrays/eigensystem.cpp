// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/eigensystem.h"

#include <cmath>

namespace pistonfield {

namespace {

using Complex = SquareMatrix::Complex;

/// The products of numbers of moderate size, without the checks for infinities of the operator.
Complex product(const Complex& a, const Complex& b) noexcept {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

/// The rotation of two of a Hermitian matrix's rows, and of the columns, after which their number
/// across is 0.
class Rotation {
  public:
    Rotation(const SquareMatrix& hermitian, std::size_t p, std::size_t q)
        : p(p), q(q), across(std::abs(hermitian(p, q))) {
        const double slope = (hermitian(q, q).real() - hermitian(p, p).real()) / (2 * across);
        tangent = std::copysign(1.0, slope) / (std::abs(slope) + std::hypot(1.0, slope));
        cosine = 1 / std::hypot(1.0, tangent);
        sine = tangent * cosine / across * hermitian(p, q);
    }

    void turnRows(SquareMatrix& m) const noexcept {
        for (std::size_t i = 0; i < m.rows(); ++i) {
            const Complex upper = m(p, i);
            const Complex lower = m(q, i);
            m(p, i) = cosine * upper - product(sine, lower);
            m(q, i) = product(std::conj(sine), upper) + cosine * lower;
        }
    }

    /// The columns are the rows' mirror images, but for where both meet.
    void turn(SquareMatrix& hermitian) const noexcept {
        const Complex ofP = hermitian(p, p) - tangent * across;
        const Complex ofQ = hermitian(q, q) + tangent * across;
        turnRows(hermitian);
        hermitian(p, p) = ofP;
        hermitian(q, q) = ofQ;
        hermitian(p, q) = hermitian(q, p) = 0;
        for (std::size_t i = 0; i < hermitian.rows(); ++i) {
            hermitian(i, p) = std::conj(hermitian(p, i));
            hermitian(i, q) = std::conj(hermitian(q, i));
        }
    }

  private:
    std::size_t p, q;
    double across, tangent, cosine;
    Complex sine;  ///< times the phase of the number across
};

double normOf(const SquareMatrix& matrix) {
    double square = 0;
    for (std::size_t i = 0; i < matrix.rows(); ++i)
        for (std::size_t j = 0; j < matrix.rows(); ++j) square += std::norm(matrix(i, j));
    return std::sqrt(square);
}

/// Rotates every pair of rows once that has a number of more than `least` across.
/// @param vectors the conjugate vectors, in rows
/// @return whether there were any
bool sweep(SquareMatrix& hermitian, SquareMatrix& vectors, double least,
           const std::function<void()>& look) {
    bool hasTurned = false;
    for (std::size_t p = 0; p < hermitian.rows(); ++p) {
        if (look) look();
        for (std::size_t q = p + 1; q < hermitian.rows(); ++q) {
            if (std::abs(hermitian(p, q)) <= least) continue;
            const Rotation rotation(hermitian, p, q);
            rotation.turn(hermitian);
            rotation.turnRows(vectors);
            hasTurned = true;
        }
    }
    return hasTurned;
}

}  // namespace

Eigensystem eigensystemOf(SquareMatrix hermitian, const std::function<void()>& look) {
    const std::size_t rows = hermitian.rows();
    SquareMatrix turned(rows);
    for (std::size_t i = 0; i < rows; ++i) turned(i, i) = 1;
    const double least = 0x1p-54 / static_cast<double>(rows) * normOf(hermitian);
    // Convergence is quadratic: 10 sweeps do for some hundred rows.
    constexpr int mostSweeps = 60;
    for (int i = 0; i < mostSweeps; ++i)
        if (!sweep(hermitian, turned, least, look)) break;
    Eigensystem system{{}, SquareMatrix(rows)};
    for (std::size_t i = 0; i < rows; ++i) {
        system.values.push_back(hermitian(i, i).real());
        for (std::size_t j = 0; j < rows; ++j) system.vectors(j, i) = std::conj(turned(i, j));
    }
    return system;
}

}  // namespace pistonfield
