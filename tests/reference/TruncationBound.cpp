// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/TruncationBound.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

namespace reference {
namespace {

using Complex = std::complex<double>;

/// The semi-axes' sum of the ellipse with foci +-1 through w.
double ellipseThrough(Complex w) {
    const Complex root = std::sqrt(w * w - 1.0);
    return std::max(std::abs(w + root), std::abs(w - root));
}

/// One edge's integrand at a point.
class Edge {
  public:
    Edge(double offset, double z, double k)
        : ee(offset * offset), zz(z * z), k(k), atFoot(std::polar(1.0, -k * z)) {}

    /// Of the integral over [from, to].
    [[nodiscard]] double bound(double from, double to, int order) const {
        const double half = (to - from) / 2;
        if (half <= 0 || ee == 0) return 0;
        const double middle = (from + to) / 2;
        const double limit = ellipseThrough(Complex(-middle, std::sqrt(zz + ee)) / half);
        double best = std::numeric_limits<double>::infinity();
        for (int step = 1; step < 20; ++step) {
            const double rho = std::pow(limit, 0.05 * step);
            const double error = 64.0 / 15 * largestOn(rho, half, middle) *
                                 std::pow(rho, -2.0 * order) / (1 - 1 / (rho * rho));
            best = std::fmin(best, error);
        }
        return std::sqrt(ee) * half * best;
    }

  private:
    [[nodiscard]] double largestOn(double rho, double half, double middle) const {
        constexpr int samples = 128;
        double largest = 0;
        for (int i = 0; i < samples; ++i) {
            const Complex w = std::polar(rho, 2 * std::numbers::pi * i / samples);
            largest = std::fmax(largest, std::abs(at(half * 0.5 * (w + 1.0 / w) + middle)));
        }
        return 2 * largest;
    }

    [[nodiscard]] Complex at(Complex t) const {
        const Complex d = ee + t * t;
        return (std::exp(Complex(0, -k) * std::sqrt(zz + d)) - atFoot) / d;
    }

    double ee;
    double zz;
    double k;
    Complex atFoot;
};

double boundOf(const Edge& edge, double from, double to, int order) {
    if (from < 0 && to > 0) return edge.bound(from, 0, order) + edge.bound(0, to, order);
    return edge.bound(from, to, order);
}

}  // namespace

double truncationBound(const Offsets& offsets, double z, double k, int order) {
    const auto x1 = static_cast<double>(offsets.x1);
    const auto x2 = static_cast<double>(offsets.x2);
    const auto y1 = static_cast<double>(offsets.y1);
    const auto y2 = static_cast<double>(offsets.y2);
    const double sum = boundOf({x1, z, k}, y1, y2, order) + boundOf({x2, z, k}, y1, y2, order) +
                       boundOf({y1, z, k}, x1, x2, order) + boundOf({y2, z, k}, x1, x2, order);
    return sum / (2 * std::numbers::pi);
}

}  // namespace reference
