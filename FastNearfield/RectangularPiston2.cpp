// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPiston2.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "FastNearfield/PointSums.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/ErrorHandler.h"

// Declares the platform's assertion failure in every build.
#undef NDEBUG
#include <cassert>

namespace {

const GaussLegendre<float>& ruleOf(const RectangularPistonCuda2& piston, float /*precision*/) {
    return piston.floatRule;
}

const GaussLegendre<double>& ruleOf(const RectangularPistonCuda2& piston, double /*precision*/) {
    return piston.doubleRule;
}

template <class T>
pointsums::Rule<T> pointRule(const RectangularPistonCuda2& piston) {
    const GaussLegendre<T>& rule = ruleOf(piston, T());
    return {rule.abscissas, rule.weights, rule.order};
}

/// A lattice that begins with its first point.
template <class G>
pointsums::Lattice<G> latticeOf(const MMatrix<G, 4, true>& transform, int sx, int sy, int sz) {
    pointsums::Lattice<G> lattice{};
    std::copy_n(transform.data(), std::size(lattice.rows), lattice.rows);
    lattice.divisor = transform(3, 3);
    lattice.sx = sx;
    lattice.sy = sy;
    lattice.sz = sz;
    return lattice;
}

template <class G>
pointsums::Lattice<G> latticeOf(const Grid3DR<G>& grid) {
    return latticeOf(grid.getTransform(), static_cast<int>(grid.sizeX()),
                     static_cast<int>(grid.sizeY()), static_cast<int>(grid.sizeZ()));
}

template <class G>
pointsums::Lattice<G> latticeOf(const MMatrix<G, 4, true>& transform, const LatticeBox& box) {
    const auto size = [&](std::size_t i) {
        if (box.size[i] > INT32_MAX) throw std::bad_array_new_length();
        return static_cast<int>(box.size[i]);
    };
    pointsums::Lattice<G> lattice = latticeOf(transform, size(0), size(1), size(2));
    std::transform(box.first.begin(), box.first.end(), lattice.first,
                   [](std::int64_t first) { return static_cast<G>(first); });
    return lattice;
}

/// Computes the pressure at every point of the lattice.
template <class T, class G>
void fillField(const RectangularPistonCuda2& piston, const pointsums::Lattice<G>& lattice,
               const pointsums::Field<T>& field) {
    const pointsums::Piston<T> sides{static_cast<T>(piston.s * 0.5), static_cast<T>(piston.l * 0.5),
                                     static_cast<T>(piston.k)};
    pointsums::fill(pointRule<T>(piston), sides, lattice, field);
}

/// A grid and a piston as the launchers of precision T take them.
template <class T>
struct LauncherArguments {
    LauncherArguments(const RectangularPistonCuda2& piston, const Grid3DR<double>& grid)
        : sx(static_cast<int>(grid.sizeX())),
          sy(static_cast<int>(grid.sizeY())),
          sz(static_cast<int>(grid.sizeZ())),
          transform(grid.getTransform().data()),
          l(static_cast<T>(piston.l)),
          s(static_cast<T>(piston.s)),
          k(static_cast<T>(piston.k)) {}

    int sx, sy, sz;
    MMatrix<T, 4, true> transform;
    T l, s, k;
};

}  // namespace

RectangularPistonCuda2::RectangularPistonCuda2(double l, double s, double k) : l(l), s(s), k(k) {
    constexpr int startOrder = 100;
    doubleRule.compute(startOrder);
    floatRule.compute(startOrder);
}

void RectangularPistonCuda2::compute(float* data, const Grid3DR<double>& grid) const {
    if (!useCuda) {
        computeCPU<float, double>(data, grid);
        std::cout << "cpu" << std::endl;
        return;
    }
    const LauncherArguments<float> a(*this, grid);
    RectangularPiston_func(reinterpret_cast<Complex*>(data), a.sx, a.sy, a.sz, a.transform.data(),
                           a.l, a.s, a.k);
    std::cout << "cuda" << std::endl;
    std::cout << " CUDADATA:";
    for (unsigned i = 0; i < std::min(4U, 2 * grid.nbPositions()); ++i) std::cout << " " << data[i];
    std::cout << std::endl;
}

void RectangularPistonCuda2::compute(double* data, const Grid3DR<double>& grid) const {
    if (!useCuda) return computeCPU<double, double>(data, grid);
    std::cout << "computeCudaDouble 1" << std::endl;
    const LauncherArguments<double> a(*this, grid);
    RectangularPiston_func_d(reinterpret_cast<Complexd*>(data), a.sx, a.sy, a.sz,
                             a.transform.data(), a.l, a.s, a.k);
}

void RectangularPistonCuda2::compute(CudaStorage* data, const Grid3DR<double>& grid) const {
    constexpr const char* source = "FastNearfield/RectangularPiston2";
    if (data->getSize() != std::size_t{grid.nbPositions()} * 2)
        ErrorHandler::getErrorHandler()->fail("data->getSize() == grid.nbPositions()*2", 56,
                                              source);
    if (data->getType() == CudaStorage::DT_DOUBLE) {
        // The GPU does not evaluate into double storage.
        if (useCuda) __assert_fail("false", source, 64, "compute");
        return computeCPU<double, double>(static_cast<double*>(data->getHostPointer()), grid);
    }
    if (!useCuda)
        return computeCPU<float, double>(static_cast<float*>(data->getHostPointer()), grid);
    std::cout << "CudaStorage function in RectangularPistonCuda2" << std::endl;
    const LauncherArguments<float> a(*this, grid);
    RectangularPiston_func_device(static_cast<Complex*>(data->getDevicePointer()), a.sx, a.sy, a.sz,
                                  a.transform.data(), a.l, a.s, a.k);
}

template <class T>
void RectangularPistonCuda2::computeCuda(T* re, T* im, const Grid3DR<double>& grid) const {
    std::cout << "computeCuda" << std::endl;
    const LauncherArguments<float> a(*this, grid);
    const auto launch = [&a](float* datar, float* datai) {
        RectangularPiston_func2(datar, datai, a.sx, a.sy, a.sz, a.transform.data(), a.l, a.s, a.k);
    };
    if constexpr (std::is_same_v<T, float>) {
        std::cout << "type already float" << std::endl;
        launch(re, im);
    } else {
        std::cout << "type cast to float" << std::endl;
        const std::size_t points = grid.nbPositions();
        const auto floatRe = std::make_unique_for_overwrite<float[]>(points);
        const auto floatIm = std::make_unique_for_overwrite<float[]>(points);
        launch(floatRe.get(), floatIm.get());
        std::copy_n(floatRe.get(), points, re);
        std::copy_n(floatIm.get(), points, im);
    }
}

template void RectangularPistonCuda2::computeCuda(float*, float*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCuda(double*, double*, const Grid3DR<double>&) const;

template <class T, class GridT>
void RectangularPistonCuda2::computeCPU(T* out, const Grid3DR<GridT>& grid) const {
    std::cout << "grid: " << grid.sizeX() << " " << grid.sizeY() << " " << grid.sizeZ()
              << std::endl;
    fillField<T>(*this, latticeOf(grid), {out, out + 1, 2});
}

template <class T, class GridT>
void RectangularPistonCuda2::computeCPU(T* re, T* im, const Grid3DR<GridT>& grid) const {
    fillField<T>(*this, latticeOf(grid), {re, im, 1});
}

template void RectangularPistonCuda2::computeCPU(float*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(double*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(double*, double*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(float*, float*, const Grid3DR<float>&) const;

template <class T>
void RectangularPistonCuda2::computeBox(std::complex<T>* out, const double* transform,
                                        const LatticeBox& box) const {
    T* const values = reinterpret_cast<T*>(out);
    fillField<T>(*this, latticeOf(MMatrix<T, 4, true>(transform), box), {values, values + 1, 2});
}

template void RectangularPistonCuda2::computeBox(std::complex<float>*, const double*,
                                                 const LatticeBox&) const;
template void RectangularPistonCuda2::computeBox(std::complex<double>*, const double*,
                                                 const LatticeBox&) const;

template <class T>
std::complex<T> RectangularPistonCuda2::doFastNearfield_Private(
    FirstIntegral<T>& fi, const T& x1, const T& x2, const T& y1, const T& y2,
    [[maybe_unused]] const T& k, [[maybe_unused]] const T& z, const std::complex<T>& factor) const {
    const pointsums::Value<T> sum = pointsums::edgeSum(
        pointRule<T>(*this), {x1, x2, y1, y2, fi.z, fi.k, fi.expKz.real(), fi.expKz.imag()});
    return factor * std::complex<T>(sum.re, sum.im);
}

template std::complex<float> RectangularPistonCuda2::doFastNearfield_Private(
    FirstIntegral<float>&, const float&, const float&, const float&, const float&, const float&,
    const float&, const std::complex<float>&) const;
template std::complex<double> RectangularPistonCuda2::doFastNearfield_Private(
    FirstIntegral<double>&, const double&, const double&, const double&, const double&,
    const double&, const double&, const std::complex<double>&) const;

void resort(float* data, int n) {
    const std::vector<float> parts(data, data + 2 * static_cast<std::ptrdiff_t>(n));
    for (std::size_t i = 0; i < parts.size() / 2; ++i) {
        data[2 * i] = parts[i];
        data[2 * i + 1] = parts[parts.size() / 2 + i];
    }
}
