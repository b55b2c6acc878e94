// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/PendingCall.h"
#include "cuda_runtime/callersMemory.h"
#include "cuda_runtime/emulated/KernelImage.h"
#include "cuda_runtime/runtime.h"

namespace cuda_runtime::emulated {

/// The operations of the runtime that an interceptor sees.
enum class Operation {
    GetDeviceCount,
    GetDeviceProperties,
    SetDevice,
    Malloc,
    Free,
    Memcpy,
    MemcpyToSymbol,
    PlaceOf,
    CopyInOrder,
    ConfigureCall,
    SetupArgument,
    Launch,
    ThreadSynchronize,
    ThreadExit,
    GetLastError,
};

/// One call of the runtime, before it is carried out.
struct RuntimeCall {
    Operation operation;
    std::string text;  ///< name and arguments, addresses left out: "cudaMalloc(64)"
};

/// The emulation device: a device that is the CPU, with memory accounted to the byte.
///
/// A context belongs to the host thread that made it, with the memory and the constants in it. One
/// thread uses the device at a time; constants that two contexts have at once are those of the
/// last one that wrote them.
/// Host programs and tests configure it; without configuration it is one device of compute
/// capability 9999.9999 whose memory is the machine's.
class Emulator {
  public:
    /// Sees every call of the runtime. A status other than success becomes the call's result, and
    /// the call is not carried out.
    using Interceptor = std::function<cudaError_t(const RuntimeCall&)>;

    Emulator();
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;
    ~Emulator();

    /// Replaces the device list; an empty list is a machine without devices.
    void setDevices(std::vector<cudaDeviceProp> list);
    static std::vector<cudaDeviceProp> defaultDevices();

    /// Bytes that the device's memory holds.
    void setMemoryLimit(std::size_t bytes) noexcept { memoryLimit = bytes; }
    static std::size_t defaultMemoryLimit() noexcept;

    /// Null removes it.
    void setInterceptor(Interceptor function) { interceptor = std::move(function); }

    /// Bytes allocated on the device now.
    std::size_t liveBytes() const noexcept { return allocatedBytes; }
    /// Whether any thread has a context.
    bool hasContext() const noexcept { return !contexts.empty(); }
    /// The device that `cudaSetDevice` chose last.
    int currentDevice() const noexcept { return chosenDevice; }

    /// A constant that several modules register under one name, one for each instruction set, is
    /// written in all of them.
    void registerModule(std::span<const void* const> entries,
                        std::span<const ConstantSymbol> symbols);
    void unregisterModule(std::span<const void* const> entries,
                          std::span<const ConstantSymbol> symbols);

    cudaError_t getDeviceCount(int* count);
    cudaError_t getDeviceProperties(cudaDeviceProp* properties, int device);
    cudaError_t setDevice(int device);
    cudaError_t malloc(void** address, std::size_t bytes);
    cudaError_t free(void* address);
    cudaError_t memcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind);
    cudaError_t memcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                               std::size_t offset, cudaMemcpyKind kind);
    cudaError_t placeOf(const void* address, int device, Place* place);
    cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            int device, const void* stream);
    cudaError_t configureCall(dim3 grid, dim3 block, std::size_t sharedBytes, int stream);
    cudaError_t setupArgument(const void* argument, std::size_t bytes, std::size_t offset);
    cudaError_t launch(const void* entry);
    cudaError_t threadSynchronize();
    cudaError_t threadExit();
    cudaError_t getLastError();

  private:
    /// A block of device memory.
    struct Block {
        std::size_t bytes;
        std::thread::id owner;
        int device;
    };
    struct Constant {
        ConstantSymbol symbol;
        std::thread::id writer{};
    };

    template <class... Arguments>
    bool intercepted(cudaError_t& status, Operation operation, const char* name,
                     const Arguments&... arguments);
    cudaError_t remember(cudaError_t status) noexcept;
    cudaError_t enterContext();
    void endContext(std::thread::id owner) noexcept;
    bool isDeviceRange(const void* address, std::size_t bytes) const;
    const Block* blockOf(const void* address, std::size_t bytes) const;
    cudaError_t requireDevice(int device) const noexcept;
    cudaError_t runPending(const KernelImage& image) const;
    void runThreads(const KernelImage& image, std::int64_t threads) const;

    std::vector<cudaDeviceProp> devices;
    std::size_t memoryLimit;
    Interceptor interceptor;
    std::multimap<std::string, Constant, std::less<>> constants;
    std::vector<const void*> kernels;

    int chosenDevice = 0;
    std::vector<std::thread::id> contexts;
    std::map<std::byte*, Block, std::less<>> allocations;
    std::size_t allocatedBytes = 0;
    std::optional<PendingCall> pending;
    cudaError_t lastError = cudaSuccess;
};

/// The process's emulation device.
Emulator& emulator();

}  // namespace cuda_runtime::emulated
