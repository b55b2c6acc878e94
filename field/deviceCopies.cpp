// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/deviceCopies.h"

#include "cuda_runtime/callersMemory.h"
#include "field/DeviceThread.h"

namespace pistonfield {

namespace {

int deviceCount() {
    int count = 0;
    requireSuccess(cuda_runtime::cudaGetDeviceCount(&count), "cudaGetDeviceCount");
    return count;
}

cuda_runtime::Place placeOf(int device, const void* address) {
    cuda_runtime::Place place{};
    requireSuccess(cuda_runtime::placeOf(address, device, &place), "asking where an address lies");
    return place;
}

/// What is wrong with one address.
std::string reasonAgainst(const CallersDevice& device, const void* address) {
    const cuda_runtime::Place place = placeOf(device.number, address);
    if (place.isShared || (place.isOnDevice && place.device == device.number)) return {};
    if (place.isOnDevice)
        return "lies in the memory of device " + std::to_string(place.device) + ", not of device " +
               std::to_string(device.number);
    const std::string reason = "is not in the memory of device " + std::to_string(device.number);
    return cuda_runtime::hasGpus()
               ? reason
               : reason +
                     ", which is the processor: this build of the library takes no memory of "
                     "a GPU";
}

void copy(const CallersDevice& device, void* to, const void* from, std::size_t bytes,
          cuda_runtime::cudaMemcpyKind kind, const char* argument) {
    const std::string operation = std::string(argument) + ": copying in the order of the stream";
    besideDeviceThreads([&] {
        requireSuccess(
            cuda_runtime::copyInOrder(to, from, bytes, kind, device.number, device.stream),
            operation.c_str());
    });
}

}  // namespace

std::optional<int> deviceWith(const void* address) {
    std::optional<int> found;
    besideDeviceThreads([&] {
        const int count = deviceCount();
        for (int device = 0; device < count && !found; ++device) {
            const cuda_runtime::Place place = placeOf(device, address);
            if (place.isOnDevice) found = place.isShared ? device : place.device;
        }
    });
    return found;
}

std::string reasonAgainst(const CallersDevice& device, const void* first, std::size_t bytes) {
    std::string reason;
    besideDeviceThreads([&] {
        const int count = deviceCount();
        if (device.number < 0 || device.number >= count) {
            reason = "is said to be in the memory of device " + std::to_string(device.number) +
                     ", which is none of 0 to " + std::to_string(count - 1);
            return;
        }
        reason = reasonAgainst(device, first);
        if (reason.empty() && bytes > 1)
            reason = reasonAgainst(device, static_cast<const std::byte*>(first) + bytes - 1);
    });
    return reason;
}

void copyToDevice(const CallersDevice& device, void* to, const void* from, std::size_t bytes,
                  const char* argument) {
    copy(device, to, from, bytes, cuda_runtime::cudaMemcpyHostToDevice, argument);
}

void copyFromDevice(const CallersDevice& device, void* to, const void* from, std::size_t bytes,
                    const char* argument) {
    copy(device, to, from, bytes, cuda_runtime::cudaMemcpyDeviceToHost, argument);
}

}  // namespace pistonfield
