// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/runtime.h"

#include "cuda_runtime/emulated/Emulator.h"

namespace cuda_runtime {

using emulated::emulator;

cudaError_t cudaGetDeviceCount(int* count) { return emulator().getDeviceCount(count); }

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    return emulator().getDeviceProperties(properties, device);
}

cudaError_t cudaSetDevice(int device) { return emulator().setDevice(device); }

cudaError_t cudaMalloc(void** address, std::size_t bytes) {
    return emulator().malloc(address, bytes);
}

cudaError_t cudaFree(void* address) { return emulator().free(address); }

cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    return emulator().memcpy(to, from, bytes, kind);
}

cudaError_t cudaMemcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind) {
    return emulator().memcpyToSymbol(name, from, bytes, offset, kind);
}

cudaError_t cudaMallocHost(void** address, std::size_t bytes) {
    return emulator().mallocHost(address, bytes);
}

cudaError_t cudaFreeHost(void* address) { return emulator().freeHost(address); }

cudaError_t cudaStreamCreate(cudaStream_t* stream) { return emulator().streamCreate(stream); }

cudaError_t cudaStreamDestroy(cudaStream_t stream) { return emulator().streamDestroy(stream); }

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
    return emulator().streamSynchronize(stream);
}

cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t stream) {
    return emulator().memcpyAsync(to, from, bytes, kind, stream);
}

cudaError_t cudaConfigureCall(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream) {
    return emulator().configureCall(grid, block, sharedBytes, stream);
}

cudaError_t cudaSetupArgument(const void* argument, std::size_t bytes, std::size_t offset) {
    return emulator().setupArgument(argument, bytes, offset);
}

cudaError_t cudaLaunch(const void* entry) { return emulator().launch(entry); }

cudaError_t cudaThreadSynchronize() { return emulator().threadSynchronize(); }

cudaError_t cudaThreadExit() { return emulator().threadExit(); }

cudaError_t letGoOfDevices() { return cudaSuccess; }

cudaError_t cudaGetLastError() { return emulator().getLastError(); }

const char* cudaGetErrorString(cudaError_t status) {
    switch (status) {
        case cudaSuccess:
            return "no error";
        case cudaErrorInvalidValue:
            return "invalid argument";
        case cudaErrorMemoryAllocation:
            return "out of memory";
        case cudaErrorInitializationError:
            return "initialization error";
        case cudaErrorInvalidConfiguration:
            return "invalid configuration argument";
        case cudaErrorInvalidSymbol:
            return "invalid device symbol";
        case cudaErrorInvalidDevicePointer:
            return "invalid device pointer";
        case cudaErrorInvalidMemcpyDirection:
            return "invalid copy direction for memcpy";
        case cudaErrorInsufficientDriver:
            return "CUDA driver version is insufficient for CUDA runtime version";
        case cudaErrorDevicesUnavailable:
            return "CUDA-capable device(s) is/are busy or unavailable";
        case cudaErrorMissingConfiguration:
            return "__global__ function call is not configured";
        case cudaErrorInvalidDeviceFunction:
            return "invalid device function";
        case cudaErrorNoDevice:
            return "no CUDA-capable device is detected";
        case cudaErrorInvalidDevice:
            return "invalid device ordinal";
        case cudaErrorDeviceUninitialized:
            return "invalid device context";
        case cudaErrorNoKernelImageForDevice:
            return "no kernel image is available for execution on the device";
        case cudaErrorInvalidResourceHandle:
            return "invalid resource handle";
        case cudaErrorIllegalAddress:
            return "an illegal memory access was encountered";
        case cudaErrorLaunchOutOfResources:
            return "too many resources requested for launch";
        case cudaErrorLaunchFailure:
            return "unspecified launch failure";
        case cudaErrorUnknown:
            return "unknown error";
    }
    return "unrecognized error code";
}

}  // namespace cuda_runtime
