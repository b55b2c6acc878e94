// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/cudahelper.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>

#include "core/CudaCheck.h"
#include "core/cuda_init.h"

using namespace cuda_runtime;

namespace {

struct CoresRow {
    int capability;  // major * 16 + minor
    int cores;
};

constexpr std::array<CoresRow, 7> coresTable{
    {{0x10, 8}, {0x11, 8}, {0x12, 8}, {0x13, 8}, {0x20, 32}, {0x21, 48}, {-1, -1}}};

cudaDeviceProp propertiesOf(int device) {
    cudaDeviceProp properties{};
    static_cast<void>(cudaGetDeviceProperties(&properties, device));
    return properties;
}

int deviceCount() {
    int count = 0;
    static_cast<void>(cudaGetDeviceCount(&count));
    return count;
}

int bestArchitecture(int count) {
    int best = 0;
    for (int device = 0; device < count; ++device) {
        const int major = propertiesOf(device).major;
        if (major >= 1 && major <= 9998) best = std::max(best, major);
    }
    return best;
}

/// The table's value; -1 of an unknown capability.
int knownCores(int major, int minor) noexcept {
    if (major == 9999 && minor == 9999) return 1;
    const int key = major * 16 + minor;
    const auto* row = coresTable.begin();
    while (row->capability != -1 && row->capability != key) ++row;
    return row->cores;
}

/// Wraps around in 32 bits.
std::int32_t estimatedRate(const cudaDeviceProp& device, int (*coresOf)(int, int)) {
    const auto cores = static_cast<std::uint32_t>(coresOf(device.major, device.minor));
    return static_cast<std::int32_t>(cores *
                                     static_cast<std::uint32_t>(device.multiProcessorCount) *
                                     static_cast<std::uint32_t>(device.clockRate));
}

int chooseBy(int (*coresOf)(int, int)) {
    const int count = deviceCount();
    const int best = bestArchitecture(count);
    int maxRate = 0;
    int chosen = 0;
    for (int device = 0; device < count; ++device) {
        const cudaDeviceProp properties = propertiesOf(device);
        const int rate = estimatedRate(properties, coresOf);
        if (rate <= maxRate || (best > 2 && properties.major != best)) continue;
        maxRate = rate;
        chosen = device;
    }
    return chosen;
}

}  // namespace

int coresPerMultiprocessor(int major, int minor) {
    const int cores = knownCores(major, minor);
    if (cores == -1) {
        static_cast<void>(std::printf("MapSMtoCores undefined SMversion %d.%d!\n", major, minor));
        static_cast<void>(std::fflush(stdout));
    }
    return cores;
}

int chooseDevice() { return chooseBy(coresPerMultiprocessor); }

int chooseDeviceSilently() { return chooseBy(knownCores); }

CudaDeviceThread::CudaDeviceThread() {
    static_cast<void>(cudaSetDevice(chooseDevice()));
    try {
        static_cast<void>(CudaInterface::init());
        static_cast<void>(CudaInterface::sync());
    } catch (...) {
        static_cast<void>(cudaThreadExit());
        throw;
    }
}

CudaDeviceThread::~CudaDeviceThread() noexcept(false) {
    try {
        CudaInterface::release();
    } catch (...) {
        if (std::uncaught_exceptions() == 0) throw;
    }
}

cudaError_t CudaInterface::init() { return cuda_init(); }

cudaError_t CudaInterface::sync() { return cuda_sync(); }

void CudaInterface::release() {
    checkCall(cudaThreadExit(), "cudaThreadExit()", "core/cudahelper", 25);
}

void CudaInterface::dumpDevices() {
    const int count = deviceCount();
    for (int i = 0; i < count; ++i) {
        const cudaDeviceProp properties = propertiesOf(i);
        std::cout << "Device: " << i << " Processors " << properties.multiProcessorCount
                  << " clockrate " << properties.clockRate << std::endl;
    }
    std::cout << "Total: " << count << " devices." << std::endl;
}
