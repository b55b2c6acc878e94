// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

namespace pistonfield {

/// How far a Gauss-Legendre rule is from an integral along a straight interval of functions of the
/// distance R = sqrt(h^2 + t^2), for all orders at once.
///
/// A rule of n nodes on an interval of half-length c errs by at most
///
///     64/15 * c * M * rho^(-2n) / (1 - rho^-2)
///
/// for a function that is analytic within the ellipse about the interval's ends whose semi-axes
/// have the sum rho*c, and is of magnitude M there at most (Trefethen, SIAM Review 50, 67-87, 2008,
/// theorem 4.5). A distance R is analytic but on the cuts t = +-j*v, v >= h, and |exp(-jR)| =
/// exp(Im R). So all that a bound needs of an ellipse is the largest |Im R| and the smallest |R| on
/// it. Both are tabulated here for some ellipses, in units of c, over cells of mu = m/c and eta =
/// h/c, where m >= 0 is the distance of the interval's middle from t = 0; each value holds for its
/// whole cell, and for every larger h.
///
/// Why these hold: let t = u + jv with u, v >= 0. From R^2 = h^2 + t^2 follows
/// v^2 = Y^2 (1 + h^2/(u^2 + Y^2)) for Y = Im R, so that Y grows with u and with v and falls with
/// h. An ellipse is cut into arcs; on each of them u and v are at most what they are at one of its
/// ends. |R^2| is at least |h^2 + u^2 - v^2| where that is positive, and 2uv.
/// Moving the point away, m and h by the same factor f >= 1, makes Y smaller and |R| at least f
/// times (the distance less the ellipse's larger semi-axis); so points far away take the bounds of
/// the point on the table's border in the same direction.
class EllipseBounds {
  public:
    static constexpr int ellipses = 12;

    /// Of each ellipse one number.
    using Row = std::array<float, ellipses>;

    struct Cell {
        Row imaginary;  ///< at least max |Im R| / c; infinite where the ellipse reaches a cut
        Row offset;     ///< at least log(64/15 / (1 - rho^-2) / (min |R| / c))
    };

    /// The cells that a point range lies in, and by how much it is further away than them.
    struct Range {
        int first, last;  ///< cells of mu
        int height;       ///< cell of eta
        float factor;     ///< the f above
    };

    static const EllipseBounds& instance();

    /// @param from,to the least and the largest m, in units of c
    /// @param height  the least h, in units of c
    static Range cellsOf(float from, float to, float height) {
        // A little inside the border, for the cells before the last ones.
        constexpr float inside = 16 * (1 - 0x1p-20F);
        const float farther = std::max(from, height);
        if (farther <= inside) return {mus.of(from), mus.of(to), etas.of(height), 1};
        const float factor = farther / inside;
        return {mus.of(from / factor), mus.of(to / factor), etas.of(height / factor), factor};
    }

    const Cell& at(int mu, int eta) const {
        const int cell = mu * heights + eta;
        return cells[static_cast<std::size_t>(cell)];
    }

    /// 1 / (2 log rho) of each ellipse.
    const Row& perDigit() const { return slopes; }

    /// log(64/15 / (1 - rho^-2)) of each ellipse.
    const Row& constants() const { return offsets; }

    static constexpr int widths = 58;   ///< cells of mu: [0, 1/8), eight an octave, [16, infinity)
    static constexpr int heights = 34;  ///< cells of eta: [0, 1/16), four an octave, [16, infinity)

  private:
    /// Cells of numbers from 0 on: of the same number in each octave from `least` to 16, one below
    /// and one above. The top bits of floats count them.
    template <int bits>
    struct Octaves {
        float least;

        static constexpr int ordinal(float value) {
            return std::bit_cast<int>(value) >> (23 - bits);
        }

        constexpr int of(float value) const {
            return value < least ? 0 : ordinal(std::min(value, 16.0F)) - ordinal(least) + 1;
        }

        constexpr double begin(int cell) const {
            if (cell == 0) return 0;
            return std::bit_cast<float>((ordinal(least) + cell - 1) << (23 - bits));
        }
    };

    static constexpr Octaves<3> mus{0x1p-3F};
    static constexpr Octaves<2> etas{0x1p-4F};

    EllipseBounds();

    std::vector<Cell> cells;
    Row slopes{};
    Row offsets{};
};

}  // namespace pistonfield
