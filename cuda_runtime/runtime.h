// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

/// The classic CUDA runtime, as far as this project uses it. Two backends implement it: `toolkit`
/// over the installed CUDA runtime, and `emulated`, whose device is the CPU.
///
/// The names are the runtime's own; the namespace keeps them apart from the toolkit's headers, so
/// that a program may use both. Statuses have the numbers and texts of CUDA 13.0.
namespace cuda_runtime {

enum cudaError_t : int {
    cudaSuccess = 0,
    cudaErrorInvalidValue = 1,
    cudaErrorMemoryAllocation = 2,
    cudaErrorInitializationError = 3,
    cudaErrorInvalidConfiguration = 9,
    cudaErrorInvalidSymbol = 13,
    cudaErrorInvalidDevicePointer = 17,
    cudaErrorInvalidMemcpyDirection = 21,
    cudaErrorInsufficientDriver = 35,
    cudaErrorDevicesUnavailable = 46,
    cudaErrorMissingConfiguration = 52,
    cudaErrorInvalidDeviceFunction = 98,
    cudaErrorNoDevice = 100,
    cudaErrorInvalidDevice = 101,
    cudaErrorDeviceUninitialized = 201,
    cudaErrorNoKernelImageForDevice = 209,
    cudaErrorInvalidResourceHandle = 400,
    cudaErrorIllegalAddress = 700,
    cudaErrorLaunchOutOfResources = 701,
    cudaErrorLaunchFailure = 719,
    cudaErrorUnknown = 999,
};

enum cudaMemcpyKind : int {
    cudaMemcpyHostToHost = 0,
    cudaMemcpyHostToDevice = 1,
    cudaMemcpyDeviceToHost = 2,
    cudaMemcpyDeviceToDevice = 3,
};

/// What the project asks of a device.
struct cudaDeviceProp {
    char name[256];
    int major;  ///< compute capability, before the point
    int minor;  ///< compute capability, after the point
    int multiProcessorCount;
    int clockRate;  ///< kHz
};

/// The extent of a grid in blocks or of a block in threads.
struct dim3 {
    unsigned x = 1;
    unsigned y = 1;
    unsigned z = 1;
};

/// A queue of work on a device. Null is the default stream; the toolkit's own streams are those of
/// an installed runtime.
using cudaStream_t = struct Stream*;

cudaError_t cudaGetDeviceCount(int* count);
cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device);
cudaError_t cudaSetDevice(int device);

cudaError_t cudaMalloc(void** address, std::size_t bytes);
cudaError_t cudaFree(void* address);
cudaError_t cudaMemcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind);

/// Copies into the constant that was registered under `name`.
cudaError_t cudaMemcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                               std::size_t offset = 0,
                               cudaMemcpyKind kind = cudaMemcpyHostToDevice);

/// Memory of the host that a device reaches by itself: a copy from or to it goes on beside the
/// calling thread.
cudaError_t cudaMallocHost(void** address, std::size_t bytes);
cudaError_t cudaFreeHost(void* address);

/// A stream that goes on beside the default one: neither waits for the other.
cudaError_t cudaStreamCreate(cudaStream_t* stream);
/// Lets go of a stream, whose work is still done.
cudaError_t cudaStreamDestroy(cudaStream_t stream);
/// Waits for the work of a stream, and reports what failed in it.
cudaError_t cudaStreamSynchronize(cudaStream_t stream);

/// Copies behind the work of a stream. Neither side changes or goes until the stream was waited
/// for.
cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t stream);

/// A launch is three steps: the geometry, the arguments one by one, and the start. `entry` is the
/// kernel's registered entry (`cuda_runtime/kernel.h`).
cudaError_t cudaConfigureCall(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream);
cudaError_t cudaSetupArgument(const void* argument, std::size_t bytes, std::size_t offset);
cudaError_t cudaLaunch(const void* entry);

/// Waits for the device.
cudaError_t cudaThreadSynchronize();

/// Ends the calling thread's context: its memory, its streams and its pending work are gone, and
/// the constants that it wrote last are zero. Over the toolkit that is what the thread did through
/// this interface; the device's primary context, which the whole process shares, goes on.
cudaError_t cudaThreadExit();

/// Lets go of what stays on the devices between contexts so that the next one is ready sooner:
/// primary contexts over the toolkit, nothing on the emulation device. Contexts that are in use go
/// on, and the module does the same when it is unloaded.
/// @return the first failure
cudaError_t letGoOfDevices();

/// The last failure, cleared by reading it: one of this interface, else one that another caller of
/// an installed runtime left pending to the thread. Of that one is told once, and it stays pending.
cudaError_t cudaGetLastError();
const char* cudaGetErrorString(cudaError_t status);

}  // namespace cuda_runtime
