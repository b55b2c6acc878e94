// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/emulated/Emulator.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <sstream>
#include <thread>
#include <utility>

#include "parallel/threads.h"

namespace cuda_runtime::emulated {

namespace {

constexpr std::align_val_t addressAlignment{256};  // what the runtime guarantees
constexpr std::size_t sharedBytesLimit = std::size_t{48} * 1024;

/// Whether a kernel of the running launch used an illegal address.
std::atomic<bool> faulted{false};

std::ostream& operator<<(std::ostream& out, dim3 extent) {
    return out << "(" << extent.x << ", " << extent.y << ", " << extent.z << ")";
}

std::ostream& operator<<(std::ostream& out, cudaMemcpyKind kind) {
    constexpr std::array names{"cudaMemcpyHostToHost", "cudaMemcpyHostToDevice",
                               "cudaMemcpyDeviceToHost", "cudaMemcpyDeviceToDevice"};
    const auto number = static_cast<std::size_t>(kind);
    return out << (number < names.size() ? names[number] : "no direction");
}

/// "name(argument, argument)"
template <class... Arguments>
std::string callText(const char* name, const Arguments&... arguments) {
    std::ostringstream out;
    out << name << "(";
    [[maybe_unused]] const char* separator = "";
    ((out << std::exchange(separator, ", ") << arguments), ...);
    out << ")";
    return out.str();
}

/// The limits of today's devices.
bool isLaunchable(const PendingCall& call) {
    const dim3 grid = call.grid;
    const dim3 block = call.block;
    const auto within = [](unsigned extent, unsigned limit) {
        return extent >= 1 && extent <= limit;
    };
    return within(grid.x, 2147483647U) && within(grid.y, 65535U) && within(grid.z, 65535U) &&
           within(block.x, 1024U) && within(block.y, 1024U) && within(block.z, 64U) &&
           block.x * block.y * block.z <= 1024U && call.sharedBytes <= sharedBytesLimit;
}

/// The host's threads live as long as the launch.
cudaError_t runThreads(const KernelImage& image, const PendingCall& call, std::int64_t threads) {
    constexpr std::int64_t runLength = 2048;
    faulted = false;
    pistonfield::inParallel(
        threads, runLength, pistonfield::threadCount(),
        [&](std::int64_t first, std::int64_t last) { image.run(call.arguments(), first, last); });
    return faulted ? cudaErrorIllegalAddress : cudaSuccess;
}

}  // namespace

void reportFault() noexcept { faulted = true; }

Emulator& emulator() {
    static Emulator instance;
    return instance;
}

Emulator::Emulator() : devices(defaultDevices()), memoryLimit(defaultMemoryLimit()) {}

Emulator::~Emulator() {
    while (!contexts.empty()) endContext(contexts.back());
}

std::vector<cudaDeviceProp> Emulator::defaultDevices() {
    constexpr int nominalClock = 1000000;  // kHz: the device's one rate is the host's, unknown here
    cudaDeviceProp device{"emulation device", 9999, 9999, 1, nominalClock};
    device.multiProcessorCount =
        static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    return {device};
}

std::size_t Emulator::defaultMemoryLimit() noexcept {
    return static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void Emulator::setDevices(std::vector<cudaDeviceProp> list) {
    devices = std::move(list);
    chosenDevice = 0;
}

void Emulator::registerModule(std::span<const void* const> entries,
                              std::span<const ConstantSymbol> symbols) {
    kernels.insert(kernels.end(), entries.begin(), entries.end());
    for (const ConstantSymbol& symbol : symbols) constants.emplace(symbol.name, Constant{symbol});
}

void Emulator::unregisterModule(std::span<const void* const> entries,
                                std::span<const ConstantSymbol> symbols) {
    for (const void* const entry : entries) {
        const auto found = std::find(kernels.begin(), kernels.end(), entry);
        if (found != kernels.end()) kernels.erase(found);  // once: another module may have it too
    }
    for (const ConstantSymbol& symbol : symbols)
        std::erase_if(constants, [&symbol](const auto& named) {
            return named.second.symbol.symbol == symbol.symbol;
        });
}

template <class... Arguments>
bool Emulator::intercepted(cudaError_t& status, Operation operation, const char* name,
                           const Arguments&... arguments) {
    if (!interceptor) return false;
    status = interceptor({operation, callText(name, arguments...)});
    return status != cudaSuccess;
}

cudaError_t Emulator::remember(cudaError_t status) noexcept {
    if (status != cudaSuccess) lastError = status;
    return status;
}

cudaError_t Emulator::enterContext() {
    if (devices.empty()) return cudaErrorNoDevice;
    const std::thread::id own = std::this_thread::get_id();
    if (std::find(contexts.begin(), contexts.end(), own) == contexts.end()) contexts.push_back(own);
    return cudaSuccess;
}

void Emulator::endContext(std::thread::id owner) noexcept {
    for (const auto& [stream, work] : streams)
        if (work->owner == owner) static_cast<void>(work->finish());
    std::erase_if(streams, [&](const auto& named) { return named.second->owner == owner; });
    memory.freeOf(owner);
    hostMemory.freeOf(owner);
    for (auto& [name, constant] : constants)
        if (constant.writer == owner) {
            std::memset(constant.symbol.symbol, 0, constant.symbol.bytes);
            constant.writer = {};
        }
    std::erase(contexts, owner);
    if (contexts.empty()) std::vector<std::thread::id>().swap(contexts);
}

cudaError_t Emulator::getDeviceCount(int* count) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::GetDeviceCount, "cudaGetDeviceCount"))
        return remember(status);
    *count = static_cast<int>(devices.size());
    return remember(devices.empty() ? cudaErrorNoDevice : cudaSuccess);
}

cudaError_t Emulator::getDeviceProperties(cudaDeviceProp* properties, int device) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::GetDeviceProperties, "cudaGetDeviceProperties", device))
        return remember(status);
    if (device < 0 || device >= static_cast<int>(devices.size()))
        return remember(devices.empty() ? cudaErrorNoDevice : cudaErrorInvalidDevice);
    *properties = devices[static_cast<std::size_t>(device)];
    return cudaSuccess;
}

cudaError_t Emulator::setDevice(int device) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::SetDevice, "cudaSetDevice", device)) return remember(status);
    if (device < 0 || device >= static_cast<int>(devices.size()))
        return remember(devices.empty() ? cudaErrorNoDevice : cudaErrorInvalidDevice);
    chosenDevice = device;
    return cudaSuccess;
}

cudaError_t Emulator::malloc(void** address, std::size_t bytes) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::Malloc, "cudaMalloc", bytes)) return remember(status);
    if (address == nullptr) return remember(cudaErrorInvalidValue);
    status = enterContext();
    if (status == cudaSuccess) status = memory.allocate(address, bytes, memoryLimit, chosenDevice);
    return remember(status);
}

cudaError_t Emulator::free(void* address) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::Free, "cudaFree")) return remember(status);
    status = enterContext();
    if (status != cudaSuccess || address == nullptr) return remember(status);
    status = finishAll();
    const cudaError_t freed = memory.free(address);
    return remember(status != cudaSuccess ? status : freed);
}

cudaError_t Emulator::mallocHost(void** address, std::size_t bytes) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::MallocHost, "cudaMallocHost", bytes))
        return remember(status);
    if (address == nullptr) return remember(cudaErrorInvalidValue);
    status = enterContext();
    if (status == cudaSuccess)
        status = hostMemory.allocate(address, bytes, std::numeric_limits<std::size_t>::max(),
                                     chosenDevice);
    return remember(status);
}

cudaError_t Emulator::freeHost(void* address) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::FreeHost, "cudaFreeHost")) return remember(status);
    status = enterContext();
    if (status != cudaSuccess || address == nullptr) return remember(status);
    status = finishAll();
    const cudaError_t freed = hostMemory.free(address);
    return remember(status != cudaSuccess ? status : freed);
}

cudaError_t Emulator::streamCreate(cudaStream_t* stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::StreamCreate, "cudaStreamCreate")) return remember(status);
    if (stream == nullptr) return remember(cudaErrorInvalidValue);
    status = enterContext();
    if (status != cudaSuccess) return remember(status);
    auto work = std::make_unique<Work>(Work{std::this_thread::get_id(), {}});
    *stream = reinterpret_cast<cudaStream_t>(work.get());
    streams.emplace(*stream, std::move(work));
    return cudaSuccess;
}

cudaError_t Emulator::streamDestroy(cudaStream_t stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::StreamDestroy, "cudaStreamDestroy")) return remember(status);
    Work* const work = workOf(stream);
    if (work == nullptr) return remember(cudaErrorInvalidResourceHandle);
    status = work->finish();
    streams.erase(stream);
    return remember(status);
}

cudaError_t Emulator::streamSynchronize(cudaStream_t stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::StreamSynchronize, "cudaStreamSynchronize"))
        return remember(status);
    if (stream == nullptr) return remember(enterContext());
    Work* const work = workOf(stream);
    return remember(work != nullptr ? work->finish() : cudaErrorInvalidResourceHandle);
}

Emulator::Work* Emulator::workOf(cudaStream_t stream) const {
    const auto found = streams.find(stream);
    return found != streams.end() ? found->second.get() : nullptr;
}

cudaError_t Emulator::Work::finish() {
    cudaError_t status = cudaSuccess;
    for (const auto& operation : std::exchange(operations, {}))
        if (status == cudaSuccess) status = operation();
    return status;
}

cudaError_t Emulator::finishAll() {
    cudaError_t first = cudaSuccess;
    for (const auto& [stream, work] : streams) {
        const cudaError_t status = work->finish();
        if (first == cudaSuccess) first = status;
    }
    return first;
}

std::size_t Emulator::pendingOperations() const noexcept {
    std::size_t count = 0;
    for (const auto& [stream, work] : streams) count += work->operations.size();
    return count;
}

cudaError_t Emulator::Memory::allocate(void** address, std::size_t bytes, std::size_t limit,
                                       int device) {
    *address = nullptr;
    if (bytes == 0) return cudaSuccess;
    if (bytes > limit - std::min(limit, allocated)) return cudaErrorMemoryAllocation;
    const auto release = [](void* block) { ::operator delete(block, addressAlignment); };
    std::unique_ptr<void, decltype(release)> block(
        ::operator new(bytes, addressAlignment, std::nothrow), release);
    if (!block) return cudaErrorMemoryAllocation;
    blocks.emplace(static_cast<std::byte*>(block.get()),
                   Block{bytes, std::this_thread::get_id(), device});
    allocated += bytes;
    *address = block.release();
    return cudaSuccess;
}

cudaError_t Emulator::Memory::free(void* address) {
    const auto found = blocks.find(static_cast<std::byte*>(address));
    if (found == blocks.end()) return cudaErrorInvalidValue;
    allocated -= found->second.bytes;
    blocks.erase(found);
    ::operator delete(address, addressAlignment);
    return cudaSuccess;
}

void Emulator::Memory::freeOf(std::thread::id owner) noexcept {
    std::erase_if(blocks, [&](const auto& named) {
        const auto& [address, block] = named;
        if (block.owner != owner) return false;
        allocated -= block.bytes;
        ::operator delete(address, addressAlignment);
        return true;
    });
}

auto Emulator::Memory::blockOf(const void* address, std::size_t bytes) const -> const Block* {
    const auto* first = static_cast<const std::byte*>(address);
    auto after = blocks.upper_bound(first);
    if (after == blocks.begin()) return nullptr;
    const auto& [base, block] = *std::prev(after);
    const auto offset = static_cast<std::size_t>(first - base);
    return offset <= block.bytes && bytes <= block.bytes - offset ? &block : nullptr;
}

bool Emulator::Memory::contains(const void* address, std::size_t bytes) const {
    return blockOf(address, bytes) != nullptr;
}

cudaError_t Emulator::requireDevice(int device) const noexcept {
    if (devices.empty()) return cudaErrorNoDevice;
    return device < 0 || device >= static_cast<int>(devices.size()) ? cudaErrorInvalidDevice
                                                                    : cudaSuccess;
}

cudaError_t Emulator::checkCopy(const void* to, const void* from, std::size_t bytes,
                                cudaMemcpyKind kind) {
    if (kind < cudaMemcpyHostToHost || kind > cudaMemcpyDeviceToDevice)
        return cudaErrorInvalidMemcpyDirection;
    const cudaError_t status = enterContext();
    if (status != cudaSuccess || bytes == 0) return status;
    const bool toDevice = kind == cudaMemcpyHostToDevice || kind == cudaMemcpyDeviceToDevice;
    const bool fromDevice = kind == cudaMemcpyDeviceToHost || kind == cudaMemcpyDeviceToDevice;
    const bool isValid = to != nullptr && from != nullptr &&
                         (!toDevice || memory.contains(to, bytes)) &&
                         (!fromDevice || memory.contains(from, bytes));
    return isValid ? cudaSuccess : cudaErrorInvalidValue;
}

cudaError_t Emulator::memcpy(void* to, const void* from, std::size_t bytes, cudaMemcpyKind kind) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::Memcpy, "cudaMemcpy", bytes, kind)) return remember(status);
    status = checkCopy(to, from, bytes, kind);
    if (status == cudaSuccess && bytes > 0) std::memmove(to, from, bytes);
    return remember(status);
}

cudaError_t Emulator::memcpyAsync(void* to, const void* from, std::size_t bytes,
                                  cudaMemcpyKind kind, cudaStream_t stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::MemcpyAsync, "cudaMemcpyAsync", bytes, kind))
        return remember(status);
    status = checkCopy(to, from, bytes, kind);
    if (status != cudaSuccess || bytes == 0) return remember(status);
    return remember(give(stream, [=] {
        std::memmove(to, from, bytes);
        return cudaSuccess;
    }));
}

cudaError_t Emulator::give(cudaStream_t stream, std::function<cudaError_t()> operation) const {
    if (stream == nullptr) return operation();
    Work* const work = workOf(stream);
    if (work == nullptr) return cudaErrorInvalidResourceHandle;
    work->operations.push_back(std::move(operation));
    return cudaSuccess;
}

cudaError_t Emulator::memcpyToSymbol(const char* name, const void* from, std::size_t bytes,
                                     std::size_t offset, cudaMemcpyKind kind) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::MemcpyToSymbol, "cudaMemcpyToSymbol", name, bytes))
        return remember(status);
    status = enterContext();
    if (status != cudaSuccess) return remember(status);
    const auto [first, last] = constants.equal_range(name);
    if (first == last) return remember(cudaErrorInvalidSymbol);
    if (kind != cudaMemcpyHostToDevice) return remember(cudaErrorInvalidMemcpyDirection);
    const std::size_t capacity = first->second.symbol.bytes;
    if (offset > capacity || bytes > capacity - offset) return remember(cudaErrorInvalidValue);
    for (auto named = first; named != last; ++named) {
        std::memcpy(static_cast<std::byte*>(named->second.symbol.symbol) + offset, from, bytes);
        named->second.writer = std::this_thread::get_id();
    }
    return cudaSuccess;
}

cudaError_t Emulator::placeOf(const void* address, int device, Place* place) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::PlaceOf, "placeOf", device)) return remember(status);
    status = requireDevice(device);
    if (status != cudaSuccess) return remember(status);
    const Memory::Block* const block = memory.blockOf(address, 1);
    *place = {block != nullptr, false, block != nullptr ? block->device : 0};
    return cudaSuccess;
}

// It happens at once: nothing that the emulation device has been asked for is pending.
cudaError_t Emulator::copyInOrder(void* to, const void* from, std::size_t bytes,
                                  cudaMemcpyKind kind, int device, const void* stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::CopyInOrder, "copyInOrder", bytes, kind, device,
                    reinterpret_cast<std::uintptr_t>(stream)))
        return remember(status);
    status = requireDevice(device);
    if (status != cudaSuccess) return remember(status);
    const bool toDevice = kind == cudaMemcpyHostToDevice;
    if (!toDevice && kind != cudaMemcpyDeviceToHost)
        return remember(cudaErrorInvalidMemcpyDirection);
    if (to == nullptr || from == nullptr || !memory.contains(toDevice ? to : from, bytes))
        return remember(cudaErrorInvalidValue);
    std::memcpy(to, from, bytes);
    return cudaSuccess;
}

cudaError_t Emulator::configureCall(dim3 grid, dim3 block, std::size_t sharedBytes,
                                    cudaStream_t stream) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::ConfigureCall, "cudaConfigureCall", grid, block, sharedBytes,
                    stream == nullptr ? 0 : 1))
        return remember(status);
    pending.emplace(grid, block, sharedBytes, stream);
    return cudaSuccess;
}

cudaError_t Emulator::setupArgument(const void* argument, std::size_t bytes, std::size_t offset) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::SetupArgument, "cudaSetupArgument", bytes, offset))
        return remember(status);
    if (!pending) return remember(cudaErrorMissingConfiguration);
    return remember(pending->put(argument, bytes, offset) ? cudaSuccess : cudaErrorInvalidValue);
}

cudaError_t Emulator::launch(const void* entry) {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::Launch, "cudaLaunch")) {
        pending.reset();
        return remember(status);
    }
    status = enterContext();
    const auto found = std::find(kernels.begin(), kernels.end(), entry);
    if (status == cudaSuccess && !pending) status = cudaErrorMissingConfiguration;
    if (status == cudaSuccess && found == kernels.end()) status = cudaErrorInvalidDeviceFunction;
    if (status == cudaSuccess) status = start(*static_cast<const KernelImage*>(entry), *pending);
    pending.reset();
    return remember(status);
}

cudaError_t Emulator::start(const KernelImage& image, const PendingCall& call) const {
    if (!isLaunchable(call)) return cudaErrorInvalidConfiguration;
    if (call.argumentBytes() < image.argumentBytes) return cudaErrorInvalidValue;
    std::int64_t threads = call.block.x;
    for (const unsigned extent : {call.grid.x, call.grid.y, call.grid.z})
        if (__builtin_mul_overflow(threads, extent, &threads)) return cudaErrorInvalidConfiguration;
    return give(call.stream, [image, call, threads] { return runThreads(image, call, threads); });
}

cudaError_t Emulator::threadSynchronize() {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::ThreadSynchronize, "cudaThreadSynchronize"))
        return remember(status);
    status = enterContext();
    return remember(status == cudaSuccess ? finishAll() : status);
}

cudaError_t Emulator::threadExit() {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::ThreadExit, "cudaThreadExit")) return remember(status);
    endContext(std::this_thread::get_id());
    pending.reset();
    return remember(devices.empty() ? cudaErrorNoDevice : cudaSuccess);
}

cudaError_t Emulator::getLastError() {
    cudaError_t status = cudaSuccess;
    if (intercepted(status, Operation::GetLastError, "cudaGetLastError")) return status;
    return std::exchange(lastError, cudaSuccess);
}

}  // namespace cuda_runtime::emulated

namespace cuda_runtime {

DeviceModule::DeviceModule(std::span<const void* const> kernels,
                           std::span<const ConstantSymbol> constants)
    : kernels(kernels.begin(), kernels.end()), constants(constants) {
    emulated::emulator().registerModule(kernels, constants);
}

DeviceModule::~DeviceModule() { emulated::emulator().unregisterModule(kernels, constants); }

}  // namespace cuda_runtime
