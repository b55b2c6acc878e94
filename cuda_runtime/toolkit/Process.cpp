// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/Process.h"

#include <unistd.h>

namespace cuda_runtime::toolkit {

Process::Process() : constants(theConstants()), maker(getpid()) {}

Process::~Process() {
    // In a forked child the driver works no more, and what is held is the parent's.
    if (getpid() != maker) return;
    while (!units.empty()) static_cast<void>(end(units.front()));
    static_cast<void>(letGo());
}

::cudaError_t Process::begin(int device, UnitOfWork*& unit) {
    unit = nullptr;
    const std::lock_guard lock(mutex);
    units.emplace_back(held, device);
    const ::cudaError_t status = units.back().begin();
    if (status != ::cudaSuccess)
        units.pop_back();
    else
        unit = &units.back();
    return status;
}

::cudaError_t Process::end(UnitOfWork& unit) {
    const ::cudaError_t status = unit.end([&] { return constants.clear(unit); });
    constants.forget(unit);
    const std::lock_guard lock(mutex);
    units.remove_if([&unit](const UnitOfWork& other) { return &other == &unit; });
    return status;
}

Process& process() {
    static Process instance;
    return instance;
}

}  // namespace cuda_runtime::toolkit
