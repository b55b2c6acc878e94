// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/slowSinCos.h"

#include <cmath>

namespace lanes {

namespace {

template <class T>
void eachSinCos(const T* angles, T* sines, T* cosines, int n) noexcept {
    for (int i = 0; i < n; ++i) {
        sines[i] = std::sin(angles[i]);
        cosines[i] = std::cos(angles[i]);
    }
}

}  // namespace

void slowSinCos(const float* angles, float* sines, float* cosines, int n) noexcept {
    eachSinCos(angles, sines, cosines, n);
}

void slowSinCos(const double* angles, double* sines, double* cosines, int n) noexcept {
    eachSinCos(angles, sines, cosines, n);
}

}  // namespace lanes
