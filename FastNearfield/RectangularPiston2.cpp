// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPiston2.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <memory>
#include <type_traits>
#include <vector>

#include "FastNearfield/RectangularPistonCuda.h"
#include "core/ErrorHandler.h"

// The assertion stands in every build.
#undef NDEBUG
#include <cassert>

namespace {

constexpr double oneOverTwoPi = 0.15915494309189535;

/// Calls store(index, value) with the pressure at every point, x fastest, then y, then z.
template <class T, class GridT, class Store>
void forEachPoint(const RectangularPistonCuda2& piston, const Grid3DR<GridT>& grid, Store store) {
    const T hx = static_cast<T>(piston.s * 0.5);
    const T hy = static_cast<T>(piston.l * 0.5);
    const T k = static_cast<T>(piston.k);
    const std::complex<T> factor(0, static_cast<T>(-oneOverTwoPi));
    const auto sx = static_cast<int>(grid.sizeX());
    const auto sy = static_cast<int>(grid.sizeY());
    const auto sz = static_cast<int>(grid.sizeZ());

    std::size_t index = 0;
    for (int iz = 0; iz < sz; ++iz)
        for (int iy = 0; iy < sy; ++iy)
            for (int ix = 0; ix < sx; ++ix) {
                const Vector<GridT, 3> p = grid.place(ix, iy, iz);
                const T x = static_cast<T>(p[0]);
                const T y = static_cast<T>(p[1]);
                const T z = static_cast<T>(p[2]);
                RectangularPistonCuda2::FirstIntegral<T> fi;
                fi.k = k;
                fi.z = z;
                fi.expKz = std::exp(std::complex<T>(0, -(z * k)));
                store(index++, piston.doFastNearfield_Private<T>(fi, x - hx, x + hx, y - hy, y + hy,
                                                                 k, z, factor));
            }
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
    std::cout << " CUDADATA: " << data[0] << " " << data[1] << " " << data[2] << " " << data[3]
              << std::endl;
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
    forEachPoint<T>(*this, grid, [out](std::size_t i, std::complex<T> value) {
        out[2 * i] = value.real();
        out[2 * i + 1] = value.imag();
    });
}

template <class T, class GridT>
void RectangularPistonCuda2::computeCPU(T* re, T* im, const Grid3DR<GridT>& grid) const {
    forEachPoint<T>(*this, grid, [re, im](std::size_t i, std::complex<T> value) {
        re[i] = value.real();
        im[i] = value.imag();
    });
}

template void RectangularPistonCuda2::computeCPU(float*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(double*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(double*, double*, const Grid3DR<double>&) const;
template void RectangularPistonCuda2::computeCPU(float*, float*, const Grid3DR<float>&) const;

void resort(float* data, int n) {
    const std::vector<float> parts(data, data + 2 * static_cast<std::ptrdiff_t>(n));
    for (std::size_t i = 0; i < parts.size() / 2; ++i) {
        data[2 * i] = parts[i];
        data[2 * i + 1] = parts[parts.size() / 2 + i];
    }
}
