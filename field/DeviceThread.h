// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "cuda_runtime/runtime.h"

namespace pistonfield {

/// @throws DeviceFailure with the operation and the runtime's report, unless the status is success
void requireSuccess(cuda_runtime::cudaError_t status, const char* operation);

/// A thread that has a device, because a context belongs to the thread that made it. Of several in
/// a process one works at a time.
class DeviceThread {
  public:
    /// Chooses the device as `chooseDevice` does and waits for it.
    /// @throws DeviceFailure
    DeviceThread();
    DeviceThread(const DeviceThread&) = delete;
    DeviceThread& operator=(const DeviceThread&) = delete;
    /// Ends the context, with all that is in it.
    ~DeviceThread();

    /// Has the thread do a work, and waits for it. May be called from any threads.
    /// @throws what the work throws
    void run(const std::function<void()>& work);

  private:
    void end() noexcept;
    void serve();
    void perform(const std::function<void()>& work) noexcept;

    std::mutex callers;  ///< held by the one whose work is done
    std::mutex exchange;
    std::condition_variable changed;
    const std::function<void()>* task = nullptr;
    bool ending = false;
    std::exception_ptr failure;
    std::thread thread;
};

}  // namespace pistonfield
