// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/RectangularPiston2.h"

#include <cstddef>
#include <iostream>
#include <vector>

#include "core/ErrorHandler.h"

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

void refuseGpu(int line) {
    ErrorHandler::getErrorHandler()->fail("the GPU integrator is not part of this build", line,
                                          "FastNearfield/RectangularPiston2");
}

}  // namespace

RectangularPistonCuda2::RectangularPistonCuda2(double l, double s, double k) : l(l), s(s), k(k) {
    constexpr int startOrder = 100;
    doubleRule.compute(startOrder);
    floatRule.compute(startOrder);
}

void RectangularPistonCuda2::compute(float* data, const Grid3DR<double>& grid) const {
    if (useCuda)
        return refuseGpu(__LINE__);
    computeCPU<float, double>(data, grid);
    std::cout << "cpu" << std::endl;
}

void RectangularPistonCuda2::compute(double* data, const Grid3DR<double>& grid) const {
    if (useCuda)
        return refuseGpu(__LINE__);
    computeCPU<double, double>(data, grid);
}

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
