// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>

#include "cuda_runtime/runtime.h"

namespace pistonfield {

/// @throws DeviceFailure with the operation and the runtime's report, unless the status is success
void requireSuccess(cuda_runtime::cudaError_t status, const char* operation);

/// Does a work with devices that takes no context, in the calling thread. The emulation device is
/// one thread's at a time: no `DeviceThread` works meanwhile. GPUs take any threads' work, and
/// nobody waits.
void besideDeviceThreads(const std::function<void()>& work);

/// A thread that has a device, because a context belongs to the thread that made it. Of several in
/// a process one works at a time. A forked child has no such thread.
class DeviceThread {
  public:
    /// Chooses the device as `chooseDevice` does and waits for it.
    /// @throws DeviceFailure
    DeviceThread();
    DeviceThread(const DeviceThread&) = delete;
    DeviceThread& operator=(const DeviceThread&) = delete;
    /// Ends the context, with all that is in it. In a forked child it leaves everything as it is.
    ~DeviceThread();

    /// Has the thread do a work, and waits for it. May be called from any threads.
    /// @throws what the work throws; DeviceFailure in a forked child
    void run(const std::function<void()>& work);

    /// Whether this is a forked child.
    bool isForked() const noexcept;

    /// @throws DeviceFailure in a forked child
    void requireOwnProcess() const;

    /// Keeps what was or will be made in the thread until the context ends, and ends it there. In a
    /// forked child it stays as it is.
    void keep(std::shared_ptr<void> made);

    /// Whether the device is the emulation device.
    /// @throws DeviceFailure
    bool isEmulated();

  private:
    class Service;

    pid_t process;
    std::unique_ptr<Service> service;
};

}  // namespace pistonfield
