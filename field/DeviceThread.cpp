// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/DeviceThread.h"

#include <unistd.h>

#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "core/cudahelper.h"
#include "cuda_runtime/callersMemory.h"
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

void besideDeviceThreads(const std::function<void()>& work) {
    std::unique_lock alone(deviceInUse(), std::defer_lock);
    if (!cuda_runtime::hasGpus()) alone.lock();
    work();
}

/// The thread and what it shares with its callers.
class DeviceThread::Service {
  public:
    Service() {
        const SignalsBlocked blocked;
        thread = std::thread([this] { serve(); });
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() {
        {
            const std::lock_guard lock(exchange);
            ending = true;
        }
        changed.notify_all();
        thread.join();
    }

    void run(const std::function<void()>& work) {
        const std::lock_guard alone(callers);
        std::unique_lock lock(exchange);
        task = &work;
        changed.notify_all();
        changed.wait(lock, [this] { return task == nullptr; });
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
    }

    void keep(std::shared_ptr<void> made) {
        const std::lock_guard lock(exchange);
        kept.push_back(std::move(made));
    }

  private:
    void serve() {
        std::unique_lock lock(exchange);
        while (true) {
            changed.wait(lock, [this] { return task != nullptr || ending; });
            if (task == nullptr) break;
            perform(*task);
            task = nullptr;
            changed.notify_all();
        }
        const std::lock_guard alone(deviceInUse());
        kept.clear();
        static_cast<void>(cuda_runtime::cudaThreadExit());
    }

    void perform(const std::function<void()>& work) noexcept {
        const std::lock_guard alone(deviceInUse());
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    }

    std::mutex callers;  ///< held by the one whose work is done
    std::mutex exchange;
    std::condition_variable changed;
    const std::function<void()>* task = nullptr;
    bool ending = false;
    std::exception_ptr failure;
    std::vector<std::shared_ptr<void>> kept;
    std::thread thread;
};

DeviceThread::DeviceThread() : process(getpid()) {
    try {
        service = std::make_unique<Service>();
    } catch (const std::system_error& error) {
        throw DeviceFailure(std::string("starting the device's thread: ") + error.what());
    }
    run(bringUp);
}

DeviceThread::~DeviceThread() {
    // What is waited for there would never come.
    if (isForked()) static_cast<void>(service.release());
}

bool DeviceThread::isForked() const noexcept { return getpid() != process; }

void DeviceThread::requireOwnProcess() const {
    if (isForked())
        throw DeviceFailure("a plan of a GPU's mode belongs to the process that made it");
}

void DeviceThread::run(const std::function<void()>& work) {
    requireOwnProcess();
    service->run(work);
}

void DeviceThread::keep(std::shared_ptr<void> made) { service->keep(std::move(made)); }

bool DeviceThread::isEmulated() {
    cuda_runtime::cudaDeviceProp properties{};
    run([&properties] {
        requireSuccess(cuda_runtime::cudaGetDeviceProperties(&properties, chooseDeviceSilently()),
                       "cudaGetDeviceProperties");
    });
    return properties.major == 9999 && properties.minor == 9999;
}

}  // namespace pistonfield
