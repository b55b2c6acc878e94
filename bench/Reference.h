// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <span>

namespace bench {

/// A piston at the origin of the plane z = 0: its sides along y and along x, and the wavenumber.
struct PistonShape {
    double l;
    double s;
    double k;
};

/// The fast near-field method written down plainly, one point and one node at a time: what the
/// faster evaluations are measured against, and compared with.
template <class T>
class Reference {
  public:
    /// @param abscissas,weights the whole rule on [-1, 1]; not owned
    Reference(const PistonShape& piston, std::span<const T> abscissas, std::span<const T> weights)
        : hx(static_cast<T>(piston.s / 2)),
          hy(static_cast<T>(piston.l / 2)),
          k(static_cast<T>(piston.k)),
          abscissas(abscissas),
          weights(weights) {}

    /// The pressure at (x, y, z), the sum over the edges.
    std::complex<T> at(T x, T y, T z) const {
        constexpr T oneOverTwoPi = static_cast<T>(0.15915494309189535);
        const Height height{z, std::exp(std::complex<T>(0, -k * z))};
        const std::complex<T> sum =
            edge(height, x - hx, y - hy, y + hy) - edge(height, x + hx, y - hy, y + hy) +
            edge(height, y - hy, x - hx, x + hx) - edge(height, y + hy, x - hx, x + hx);
        return std::complex<T>(0, -oneOverTwoPi) * sum;
    }

  private:
    struct Height {
        T z;
        std::complex<T> phase;  ///< exp(-j*k*z)
    };

    /// The edge's offset times the integral along it, split at the foot of the point.
    std::complex<T> edge(const Height& height, T offset, T from, T to) const {
        if ((from > 0) == (to > 0)) return offset * integral(height, offset, from, to);
        return offset * (integral(height, offset, from, 0) + integral(height, offset, 0, to));
    }

    std::complex<T> integral(const Height& height, T offset, T from, T to) const {
        const T half = (to - from) / 2;
        const T middle = (from + to) / 2;
        std::complex<T> sum = 0;
        for (std::size_t i = 0; i < abscissas.size(); ++i)
            sum += half * weights[i] * integrand(height, offset, middle + half * abscissas[i]);
        return sum;
    }

    std::complex<T> integrand(const Height& height, T offset, T t) const {
        const T d = t * t + offset * offset;
        const T r = std::sqrt(height.z * height.z + d);
        return (std::exp(std::complex<T>(0, -k * r)) - height.phase) / std::complex<T>(d, 0);
    }

    T hx;
    T hy;
    T k;
    std::span<const T> abscissas;
    std::span<const T> weights;
};

}  // namespace bench
