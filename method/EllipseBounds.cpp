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
constexpr double growth = 1.15;        // of the cells of mu beyond 1.5
constexpr double heightGrowth = 1.19;  // of the cells of eta
constexpr int arcs = 12;               // of a quarter of an ellipse

/// An ellipse with foci +-1: its semi-axes.
struct Ellipse {
    explicit Ellipse(double rho) : rho(rho), a((rho + 1 / rho) / 2), b((rho - 1 / rho) / 2) {}

    double rho;
    double a, b;
};

Ellipse ellipseNumber(int j) { return Ellipse(1.06 * std::pow(1.3, j)); }

/// Im sqrt(h^2 + (u + jv)^2).
double imaginary(double u, double v, double h) {
    const double q = h * h + u * u - v * v;
    const double root = std::hypot(q, 2 * u * v);
    return q > 0 ? std::sqrt(2 * u * u * v * v / (root + q)) : std::sqrt((root - q) / 2);
}

/// Whether an ellipse about m keeps clear of the cuts, by a small margin.
bool isClear(const Ellipse& ellipse, double m, double h) {
    if (m >= ellipse.a) return true;
    const double height = ellipse.b * std::sqrt(1 - m * m / (ellipse.a * ellipse.a));
    return height < 0.97 * h;
}

double largestImaginary(const Ellipse& ellipse, double m, double h) {
    double largest = 0;
    for (int i = 0; i < arcs; ++i) {
        const double from = std::numbers::pi / 2 * i / arcs;
        const double to = std::numbers::pi / 2 * (i + 1) / arcs;
        largest = std::max(largest,
                           imaginary(m + ellipse.a * std::cos(from), ellipse.b * std::sin(to), h));
    }
    return largest;
}

/// The least |R| for the middles from `from` to `to`.
double leastDistance(const Ellipse& ellipse, double from, double to, double h) {
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 2 * arcs; ++i) {
        const double begin = std::numbers::pi / 2 * i / arcs;
        const double end = std::numbers::pi / 2 * (i + 1) / arcs;
        const double high = to + ellipse.a * std::cos(begin);
        const double low = from + ellipse.a * std::cos(end);
        const double u = low > 0 ? low : (high < 0 ? -high : 0);
        const double v1 = ellipse.b * std::sin(begin);
        const double v2 = ellipse.b * std::sin(end);
        const double vMost = std::max(v1, v2);
        const double q = std::max(0.0, h * h + u * u - vMost * vMost);
        least = std::min(least, std::sqrt(std::hypot(q, 2 * u * std::min(v1, v2))));
    }
    return least;
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
    const auto beginOfWidth = [](int i) {
        return i <= nearWidths ? i / 8.0 : 1.5 * std::pow(growth, i - nearWidths);
    };
    const auto beginOfHeight = [](int i) {
        return i == 0 ? 0 : leastHeight * std::pow(heightGrowth, i - 1);
    };
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (int j = 0; j < ellipses; ++j) {
        const auto at = static_cast<std::size_t>(j);
        const Ellipse ellipse = ellipseNumber(j);
        slopes[at] = up(1 / (2 * std::log(ellipse.rho)));
        const double offset = std::log(64.0 / 15 / (1 - 1 / (ellipse.rho * ellipse.rho)));
        offsets[at] = up(offset);
        for (int i = 0; i < widths; ++i) {
            for (int l = 0; l < heights; ++l) {
                Cell& cell = cells[static_cast<std::size_t>(i * heights + l)];
                const double from = beginOfWidth(i);
                const double to = beginOfWidth(i + 1) * (1 + 1e-5);
                const double h = beginOfHeight(l);
                const bool isLast = i == widths - 1;
                const bool isFar = std::hypot(from, h) >= border / 1.2;
                if (!isClear(ellipse, from, h)) {
                    cell.imaginary[at] = cell.offset[at] = infinity;
                    continue;
                }
                const double near =
                    isFar ? std::hypot(from, h) - ellipse.a : leastDistance(ellipse, from, to, h);
                if (near <= 0) {
                    cell.imaginary[at] = cell.offset[at] = infinity;
                    continue;
                }
                cell.imaginary[at] = up(isLast ? ellipse.b : largestImaginary(ellipse, to, h));
                cell.offset[at] = up(offset - std::log(near));
            }
        }
    }
}

EllipseBounds::Range EllipseBounds::cellsOf(float from, float to, float height) {
    constexpr float inside = static_cast<float>(border) * (1 - 0x1p-20F);
    const float factor = std::max(1.0F, std::max(from, height) / inside);
    const auto widthOf = [](float mu) {
        if (mu < 1.5F) return static_cast<int>(mu * 8);
        static const float perOctave = 1 / std::log2(static_cast<float>(growth));
        const int i =
            nearWidths + static_cast<int>(std::log2(mu / 1.5F) * perOctave * (1 - 0x1p-20F));
        return std::min(i, mu < static_cast<float>(border) ? widths - 2 : widths - 1);
    };
    const auto heightOf = [](float eta) {
        if (eta < leastHeight * (1 + 0x1p-20F)) return 0;
        static const float perOctave = 1 / std::log2(static_cast<float>(heightGrowth));
        const int i =
            1 + static_cast<int>(std::log2(eta / leastHeight) * perOctave * (1 - 0x1p-20F));
        return std::min(i, heights - 1);
    };
    return {widthOf(from / factor), widthOf(to / factor), heightOf(height / factor), factor};
}

}  // namespace pistonfield
