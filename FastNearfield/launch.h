// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "FastNearfield/RectangularPistonCuda.h"
#include "core/CudaCheck.h"
#include "cuda_runtime/runtime.h"

/// What the launchers of both precisions share.
namespace launch {

/// All launches use blocks of 128 threads.
inline constexpr cuda_runtime::dim3 block{128, 1, 1};

/// The blocks over a regular grid: each covers 16 points along x by 8 of the flattened (y, z)
/// index.
inline cuda_runtime::dim3 regularGrid(int sx, int sy, int sz) {
    const auto layers =
        static_cast<int>(static_cast<unsigned>(sy) * static_cast<unsigned>(sz));  // wraps around
    return {static_cast<unsigned>(iDivUp(sx, 16)), static_cast<unsigned>(iDivUp(layers, 8)), 1};
}

/// Bytes of sx*sy*sz elements in 32-bit arithmetic that wraps around, as progress lines print them.
inline std::int32_t printedBytes(int sx, int sy, int sz, unsigned elementBytes) {
    return static_cast<std::int32_t>(static_cast<unsigned>(sx) * static_cast<unsigned>(sy) *
                                     static_cast<unsigned>(sz) * elementBytes);
}

/// Bytes of sx*sy*sz elements. Where they do not fit 31 bits, or a size is negative, more than any
/// device has, so that the allocation fails and nothing writes past a size that wrapped around.
inline std::size_t fieldBytes(int sx, int sy, int sz, int elementBytes) {
    constexpr std::size_t tooMany = std::size_t{1} << 60;
    std::int32_t bytes = elementBytes;
    for (const int size : {sx, sy, sz})
        if (size < 0 || __builtin_mul_overflow(bytes, size, &bytes)) return tooMany;
    return static_cast<std::size_t>(bytes);
}

inline double microsecondsBetween(const timeval& start, const timeval& stop) {
    return static_cast<std::int32_t>((stop.tv_sec - start.tv_sec) * 1000000 +
                                     (stop.tv_usec - start.tv_usec));
}

/// Starts a kernel, and where `do_timing` is set waits for it and keeps the time it took.
/// @param unit,line the caller's, for the report of a failing wait
template <class Start>
void timed(const char* unit, int line, Start start) {
    timeval before{};
    static_cast<void>(gettimeofday(&before, nullptr));
    start();
    if (do_timing == 0) return;
    checkCall(cuda_runtime::cudaThreadSynchronize(), "cudaThreadSynchronize()", unit, line);
    timeval after{};
    static_cast<void>(gettimeofday(&after, nullptr));
    global_time = microsecondsBetween(before, after);
}

}  // namespace launch
