// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Directivity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numbers>

#include "FastNearfield/GaussLegendre.h"
#include "method/FarSums.h"

namespace pistonfield {

namespace {

using Complex = std::complex<double>;

double halfDiagonal(const Face& face) { return std::hypot(face.halfX, face.halfY); }

/// Faces that are so many times as long as wide have directivities by the cosines themselves.
constexpr double longFace = 1.9;

Cosines cosinesOf(const Face& face) {
    return std::max(face.halfX, face.halfY) > longFace * std::min(face.halfX, face.halfY)
               ? Cosines::each
               : Cosines::sum;
}

/// From where on the series in 1/R converge so fast that sums of their powers keep their digits:
/// so many times the distance at which a corner's, of any cosines, is 0.
double distanceOfSeries(const Face& face) {
    const double half = halfDiagonal(face);
    if (cosinesOf(face) == Cosines::sum) return 2 * half;
    // Both cosines are up to 1: R^2 - 2*(halfX + halfY)*R + half^2 is 0.
    const double corner = face.halfX + face.halfY + std::sqrt(2 * face.halfX * face.halfY);
    return std::max(2 * half, 1.75 * corner);
}

/// A Gauss-Legendre rule over a side, filled up to whole packs.
struct SideRule {
    std::vector<double> places, weights;

    SideRule(double half, double k) {
        // Enough for double precision: phases across the side are at most those of the far field
        // and some radians.
        const int nodes = 12 + static_cast<int>(std::ceil(k * half));
        places.resize(static_cast<std::size_t>(nodes));
        weights.resize(places.size());
        legendre_compute(nodes, places.data(), weights.data());
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i] *= half;
            weights[i] /= 2;
        }
        while (places.size() % packSize != 0) {
            places.push_back(0);
            weights.push_back(0);
        }
    }
};

/// The directivity by a product rule over the face.
class SurfaceSum {
  public:
    explicit SurfaceSum(const Face& face)
        : k(face.k), across(face.halfX, face.k), along(face.halfY, face.k) {}

    /// @param w 1/R
    Complex at(double u, double v, double w) const {
        const auto nodes = static_cast<int>(along.places.size());
        Complex sum = 0;
        for (std::size_t i = 0; i < across.places.size() && across.weights[i] > 0; ++i) {
            double re = 0;
            double im = 0;
            farSums().lineSum({k, u, v, w}, across.places[i], along.places.data(),
                              along.weights.data(), nodes, re, im);
            sum += across.weights[i] * Complex(re, im);
        }
        return sum;
    }

  private:
    double k;
    SideRule across, along;
};

/// Numbers of a lattice of three directions.
struct Cube {
    std::array<std::size_t, 3> sizes;
    std::vector<Complex> values;

    explicit Cube(const std::array<std::size_t, 3>& sizes)
        : sizes(sizes), values(sizes[0] * sizes[1] * sizes[2]) {}

    Complex& at(std::size_t i, std::size_t j, std::size_t l) {
        return values[(i * sizes[1] + j) * sizes[2] + l];
    }
};

/// Chebyshev's points on [0, 1].
double chebyshevPoint(std::size_t i, std::size_t count) {
    return (1 + std::cos(std::numbers::pi * (static_cast<double>(i) + 0.5) /
                         static_cast<double>(count))) /
           2;
}

/// Turns the values at Chebyshev's points along a direction into the polynomials' coefficients.
void toCoefficients(Cube& cube, std::size_t direction) {
    const std::size_t count = std::max<std::size_t>(1, cube.sizes[direction]);
    std::size_t stride = 1;
    for (std::size_t i = 2; i > direction; --i) stride *= std::max<std::size_t>(1, cube.sizes[i]);
    std::vector<double> cosines;  // of multiples of pi/(2*count)
    cosines.reserve(4 * count);
    for (std::size_t i = 0; i < 4 * count; ++i)
        cosines.push_back(
            std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(2 * count)));
    std::vector<Complex> line(count);
    for (std::size_t first = 0; first < cube.values.size(); ++first) {
        if (first / stride % count != 0) continue;
        for (std::size_t m = 0; m < count; ++m) {
            line[m] = 0;
            std::size_t phase = m;  // m * (2 * i + 1), less whole turns
            for (std::size_t i = 0; i < count; ++i) {
                line[m] += cube.values[first + i * stride] * cosines[phase];
                phase += 2 * m;
                if (phase >= cosines.size()) phase -= cosines.size();
            }
            line[m] *= (m == 0 ? 1.0 : 2.0) / static_cast<double>(count);
        }
        for (std::size_t m = 0; m < count; ++m) cube.values[first + m * stride] = line[m];
    }
}

/// The directivity's coefficients by polynomials of 2s - 1, 2t - 1 and 2*least/R - 1.
Cube coefficientsOf(const SurfaceSum& sum, Cosines cosines, double least,
                    const std::array<std::size_t, 3>& sizes) {
    Cube cube(sizes);
    for (std::size_t i = 0; i < sizes[0]; ++i)
        for (std::size_t j = 0; j < sizes[1]; ++j)
            for (std::size_t l = 0; l < sizes[2]; ++l) {
                const double s = chebyshevPoint(i, sizes[0]);
                const double t = chebyshevPoint(j, sizes[1]);
                const double w = chebyshevPoint(l, sizes[2]) / least;
                cube.at(i, j, l) = cosines == Cosines::each
                                       ? sum.at(std::sqrt(s), std::sqrt(t), w)
                                       : sum.at(std::sqrt(s * t), std::sqrt(s * (1 - t)), w);
            }
    for (std::size_t direction = 0; direction < 3; ++direction) toCoefficients(cube, direction);
    return cube;
}

/// The largest sum of the magnitudes of the last two layers of coefficients along a direction.
double tailOf(Cube& cube, std::size_t direction) {
    double sum = 0;
    std::array<std::size_t, 3> index{};
    auto& [i, j, l] = index;
    for (i = 0; i < cube.sizes[0]; ++i)
        for (j = 0; j < cube.sizes[1]; ++j)
            for (l = 0; l < cube.sizes[2]; ++l)
                if (index[direction] + 2 >= cube.sizes[direction])
                    sum += std::abs(cube.at(i, j, l));
    return sum;
}

/// The coefficients, so many that the last ones along each direction add up to less than an error.
Cube resolvedCoefficients(const Face& face, double least, double error) {
    const SurfaceSum sum(face);
    const Cosines cosines = cosinesOf(face);
    const auto beginning = [&](double half) {
        return static_cast<std::size_t>(6 + face.k * half / 2);
    };
    const double diagonal = halfDiagonal(face);
    std::array<std::size_t, 3> sizes{beginning(diagonal), beginning(diagonal), 6};
    if (cosines == Cosines::each) sizes = {beginning(face.halfX), beginning(face.halfY), 6};
    while (true) {
        Cube cube = coefficientsOf(sum, cosines, least, sizes);
        bool isResolved = true;
        for (std::size_t direction = 0; direction < 3; ++direction) {
            constexpr std::size_t most = Directivity<double>::most;
            if (tailOf(cube, direction) <= error || sizes[direction] == most) continue;
            sizes[direction] = std::min(most, sizes[direction] + 2 + sizes[direction] / 4);
            isResolved = false;
        }
        if (isResolved) return cube;
    }
}

/// The coefficients of powers of x of a sum of Chebyshev polynomials of 2x - 1.
std::vector<Complex> powersOf(const std::vector<Complex>& chebyshev) {
    const std::size_t count = chebyshev.size();
    std::vector<Complex> powers(count);
    std::vector<double> before(count);
    std::vector<double> now(count);
    now[0] = 1;
    for (std::size_t m = 0; m < count; ++m) {
        for (std::size_t l = 0; l < count; ++l) powers[l] += chebyshev[m] * now[l];
        // T_(m+1) = 2 (2x - 1) T_m - T_(m-1), but T_1 = 2x - 1.
        const double factor = m == 0 ? 1 : 2;
        std::vector<double> next(count);
        for (std::size_t l = 0; l < count; ++l)
            next[l] = factor * ((l == 0 ? 0 : 2 * now[l - 1]) - now[l]) - before[l];
        before = now;
        now = next;
    }
    return powers;
}

/// The magnitude below which coefficients add up to at most an error.
double threshold(const Cube& cube, double error) {
    std::vector<double> magnitudes;
    for (const Complex& value : cube.values) magnitudes.push_back(std::abs(value));
    std::sort(magnitudes.begin(), magnitudes.end());
    double sum = 0;
    double below = 0;
    for (const double magnitude : magnitudes) {
        sum += magnitude;
        if (sum > error) break;
        below = magnitude;
    }
    return below;
}

}  // namespace

template <class T>
double Directivity<T>::leastDistance(const Face& face) {
    const double half = halfDiagonal(face);
    constexpr double mostRadians = most;
    if (face.k * half > mostRadians) return std::numeric_limits<double>::infinity();
    return std::max(distanceOfSeries(face), face.k * half * half / 4);
}

template <class T>
Directivity<T>::Directivity(const Face& face, double least, double error)
    : cosines(cosinesOf(face)), distance(least) {
    Cube cube = resolvedCoefficients(face, least, error / 4);
    const double below = threshold(cube, error / 2);
    for (std::size_t i = 0; i < cube.sizes[0]; ++i) {
        const std::size_t before = powers.size();
        for (std::size_t j = 0; j < cube.sizes[1]; ++j) {
            std::size_t count = cube.sizes[2];
            while (count > 0 && std::abs(cube.at(i, j, count - 1)) <= below) --count;
            powers.push_back(static_cast<int>(count));
            if (count == 0) continue;
            const std::vector<Complex> of =
                powersOf(std::vector<Complex>(&cube.at(i, j, 0), &cube.at(i, j, 0) + count));
            std::transform(of.rbegin(), of.rend(), std::back_inserter(re),
                           [](const Complex& c) { return static_cast<T>(c.real()); });
            std::transform(of.rbegin(), of.rend(), std::back_inserter(im),
                           [](const Complex& c) { return static_cast<T>(c.imag()); });
        }
        while (powers.size() > before && powers.back() == 0) powers.pop_back();
        columns.push_back(static_cast<int>(powers.size() - before));
    }
    while (!columns.empty() && columns.back() == 0) columns.pop_back();
}

template <class T>
DirectivityTerms<T> Directivity<T>::terms() const noexcept {
    return {cosines,
            columns.data(),
            powers.data(),
            re.data(),
            im.data(),
            static_cast<int>(columns.size()),
            columns.empty() ? 0 : *std::max_element(columns.begin(), columns.end()),
            distance};
}

template class Directivity<float>;
template class Directivity<double>;

}  // namespace pistonfield
