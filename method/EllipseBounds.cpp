// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/EllipseBounds.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace pistonfield {

namespace {

/// Beyond this m and h, in units of c, the bounds are those of the border.
constexpr double border = 16;
constexpr int arcs = 12;  // of a quarter of an ellipse

/// An ellipse with foci +-1: its semi-axes, and the ends of its upper half's arcs.
struct Ellipse {
    explicit Ellipse(double rho) : rho(rho), a((rho + 1 / rho) / 2), b((rho - 1 / rho) / 2) {
        for (int i = 0; i <= 2 * arcs; ++i) {
            const double angle = std::numbers::pi / 2 * i / arcs;
            u[i] = a * std::cos(angle);
            v[i] = b * std::sin(angle);
        }
    }

    double rho;
    double a, b;
    double u[2 * arcs + 1], v[2 * arcs + 1];
};

/// Im sqrt(h^2 + (u + jv)^2).
double imaginary(double u, double v, double h) {
    const double q = h * h + u * u - v * v;
    const double root = std::sqrt(q * q + 4 * u * u * v * v);
    return q > 0 ? std::sqrt(2 * u * u * v * v / (root + q)) : std::sqrt((root - q) / 2);
}

/// Whether an ellipse about m keeps clear of the cuts, by a small margin.
bool isClear(const Ellipse& ellipse, double m, double h) {
    if (m >= ellipse.a) return true;
    const double height = ellipse.b * std::sqrt(1 - m * m / (ellipse.a * ellipse.a));
    return height < 0.97 * h;
}

/// On the right half, which is farther away from t = 0.
double largestImaginary(const Ellipse& ellipse, double m, double h) {
    double largest = 0;
    for (int i = 0; i < arcs; ++i)
        largest = std::max(largest, imaginary(m + ellipse.u[i], ellipse.v[i + 1], h));
    return largest;
}

/// The least |R| for the middles from `from` to `to`.
double leastDistance(const Ellipse& ellipse, double from, double to, double h) {
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 2 * arcs; ++i) {
        const double high = to + ellipse.u[i];
        const double low = from + ellipse.u[i + 1];
        const double u = std::max({0.0, low, -high});
        const double vMost = std::max(ellipse.v[i], ellipse.v[i + 1]);
        const double vLeast = std::min(ellipse.v[i], ellipse.v[i + 1]);
        const double q = std::max(0.0, h * h + u * u - vMost * vMost);
        least = std::min(least, q * q + 4 * u * u * vLeast * vLeast);
    }
    return std::sqrt(std::sqrt(least));
}

float up(double value) {
    return std::nextafter(static_cast<float>(value), std::numeric_limits<float>::infinity());
}

}  // namespace

const EllipseBounds& EllipseBounds::instance() {
    static const EllipseBounds bounds;
    return bounds;
}

EllipseBounds::EllipseBounds() : cells(static_cast<std::size_t>(widths) * heights) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (int j = 0; j < ellipses; ++j) {
        const auto at = static_cast<std::size_t>(j);
        const Ellipse ellipse(1.06 * std::pow(1.3, j));
        slopes[at] = up(1 / (2 * std::log(ellipse.rho)));
        const double offset = std::log(64.0 / 15 / (1 - 1 / (ellipse.rho * ellipse.rho)));
        offsets[at] = up(offset);
        for (int i = 0; i < widths; ++i) {
            const bool isLast = i == widths - 1;
            const double from = mus.begin(i);
            const double to = mus.begin(i + 1);
            for (int l = 0; l < heights; ++l) {
                const double h = etas.begin(l);
                const double distance = std::sqrt(from * from + h * h);
                // Of the border's cells what holds beyond them, too.
                const double near = distance > border / 1.25 ? distance - ellipse.a
                                                             : leastDistance(ellipse, from, to, h);
                const bool isBound = isClear(ellipse, from, h) && near > 0;
                const int number = i * heights + l;
                Cell& cell = cells[static_cast<std::size_t>(number)];
                cell.imaginary[at] =
                    !isBound ? infinity : up(isLast ? ellipse.b : largestImaginary(ellipse, to, h));
                cell.offset[at] = !isBound ? infinity : up(offset - std::log(near));
            }
        }
    }
}

}  // namespace pistonfield
