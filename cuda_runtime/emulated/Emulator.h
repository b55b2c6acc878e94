// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
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
    MallocHost,
    FreeHost,
    StreamCreate,
    StreamDestroy,
    StreamSynchronize,
    MemcpyAsync,
};

/// One call of the runtime, before it is carried out.
struct RuntimeCall {
    Operation operation;
    std::string text;  ///< name and arguments, addresses left out: "cudaMalloc(64)"
};

/// The emulation device: a device that is the CPU, with memory accounted to the byte.
///
/// What is launched or copied on a stream is done when the stream, or the device, is waited for and
/// not before: results that are taken too early are not there.
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
    std::size_t liveBytes() const noexcept { return memory.bytes(); }
    /// Bytes of the host's memory that are allocated for the device now.
    std::size_t liveHostBytes() const noexcept { return hostMemory.bytes(); }
    /// Streams that exist now.
    std::size_t liveStreams() const noexcept { return streams.size(); }
    /// Launches and copies that were not waited for.
    std::size_t pendingOperations() const noexcept;
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
    cudaError_t mallocHost(void** address, std::size_t bytes);
    cudaError_t freeHost(void* address);
    cudaError_t streamCreate(cudaStream_t* stream);
    cudaError_t streamDestroy(cudaStream_t stream);
    cudaError_t streamSynchronize(cudaStream_t stream);
    cudaError_t memcpyAsync(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            cudaStream_t stream);
    cudaError_t placeOf(const void* address, int device, Place* place);
    cudaError_t copyInOrder(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind,
                            int device, const void* stream);
    cudaError_t configureCall(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream);
    cudaError_t setupArgument(const void* argument, std::size_t bytes, std::size_t offset);
    cudaError_t launch(const void* entry);
    cudaError_t threadSynchronize();
    cudaError_t threadExit();
    cudaError_t getLastError();

  private:
    /// Memory of the device, or of the host for it.
    class Memory {
      public:
        struct Block {
            std::size_t bytes;
            std::thread::id owner;
            int device;  ///< that was chosen where it was allocated
        };

        /// Zero bytes are the address null.
        cudaError_t allocate(void** address, std::size_t bytes, std::size_t limit, int device);
        cudaError_t free(void* address);
        void freeOf(std::thread::id owner) noexcept;
        /// The block that so many bytes lie in; null where there is none.
        const Block* blockOf(const void* address, std::size_t bytes) const;
        bool contains(const void* address, std::size_t bytes) const;
        std::size_t bytes() const noexcept { return allocated; }

      private:
        std::map<std::byte*, Block, std::less<>> blocks;
        std::size_t allocated = 0;
    };
    struct Constant {
        ConstantSymbol symbol;
        std::thread::id writer{};
    };

    /// What was given to a stream and is not done yet.
    struct Work {
        /// Does it, in its order, up to the first failure.
        cudaError_t finish();

        std::thread::id owner;
        std::vector<std::function<cudaError_t()>> operations;
    };

    template <class... Arguments>
    bool intercepted(cudaError_t& status, Operation operation, const char* name,
                     const Arguments&... arguments);
    cudaError_t remember(cudaError_t status) noexcept;
    cudaError_t enterContext();
    Work* workOf(cudaStream_t stream) const;
    cudaError_t finishAll();
    /// Does an operation on the default stream, or leaves it to another one.
    cudaError_t give(cudaStream_t stream, std::function<cudaError_t()> operation) const;
    cudaError_t start(const KernelImage& image, const PendingCall& call) const;
    cudaError_t checkCopy(const void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind);
    void endContext(std::thread::id owner) noexcept;
    cudaError_t requireDevice(int device) const noexcept;

    std::vector<cudaDeviceProp> devices;
    std::size_t memoryLimit;
    Interceptor interceptor;
    std::multimap<std::string, Constant, std::less<>> constants;
    std::vector<const void*> kernels;

    int chosenDevice = 0;
    std::vector<std::thread::id> contexts;
    Memory memory;
    Memory hostMemory;
    std::map<cudaStream_t, std::unique_ptr<Work>> streams;
    std::optional<PendingCall> pending;
    cudaError_t lastError = cudaSuccess;
};

/// The process's emulation device.
Emulator& emulator();

}  // namespace cuda_runtime::emulated
