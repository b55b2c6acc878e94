// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/DeviceThread.h"

#include <string>
#include <system_error>
#include <utility>

#include "core/cudahelper.h"
#include "field/Plan.h"
#include "parallel/SignalsBlocked.h"

namespace pistonfield {

namespace {

std::mutex& deviceInUse() {
    static std::mutex mutex;
    return mutex;
}

void bringUp() {
    requireSuccess(cuda_runtime::cudaSetDevice(chooseDeviceSilently()), "cudaSetDevice");
    requireSuccess(cuda_runtime::cudaFree(nullptr), "creating a context");
    requireSuccess(cuda_runtime::cudaThreadSynchronize(), "cudaThreadSynchronize");
}

}  // namespace

void requireSuccess(cuda_runtime::cudaError_t status, const char* operation) {
    if (status == cuda_runtime::cudaSuccess) return;
    static_cast<void>(cuda_runtime::cudaGetLastError());
    throw DeviceFailure(std::string(operation) + ": " + cuda_runtime::cudaGetErrorString(status));
}

DeviceThread::DeviceThread() {
    try {
        const SignalsBlocked blocked;
        thread = std::thread([this] { serve(); });
    } catch (const std::system_error& error) {
        throw DeviceFailure(std::string("starting the device's thread: ") + error.what());
    }
    try {
        run(bringUp);
    } catch (...) {
        end();
        throw;
    }
}

DeviceThread::~DeviceThread() { end(); }

void DeviceThread::end() noexcept {
    {
        const std::lock_guard lock(exchange);
        ending = true;
    }
    changed.notify_all();
    thread.join();
}

void DeviceThread::run(const std::function<void()>& work) {
    const std::lock_guard alone(callers);
    std::unique_lock lock(exchange);
    task = &work;
    changed.notify_all();
    changed.wait(lock, [this] { return task == nullptr; });
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

void DeviceThread::serve() {
    std::unique_lock lock(exchange);
    while (true) {
        changed.wait(lock, [this] { return task != nullptr || ending; });
        if (task == nullptr) break;
        perform(*task);
        task = nullptr;
        changed.notify_all();
    }
    const std::lock_guard alone(deviceInUse());
    static_cast<void>(cuda_runtime::cudaThreadExit());
}

void DeviceThread::perform(const std::function<void()>& work) noexcept {
    const std::lock_guard alone(deviceInUse());
    try {
        work();
    } catch (...) {
        failure = std::current_exception();
    }
}

}  // namespace pistonfield
