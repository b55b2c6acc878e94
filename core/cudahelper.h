// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/runtime.h"

/// Brings a CUDA device up for a scope and takes it down at its end.
///
/// The constructor chooses the device with the highest estimated compute rate, makes it current,
/// creates its context and waits for it. A failure is reported through the current error handler;
/// an exception from there leaves no context behind.
class CudaDeviceThread {
  public:
    CudaDeviceThread();
    CudaDeviceThread(const CudaDeviceThread&) = delete;
    CudaDeviceThread& operator=(const CudaDeviceThread&) = delete;

    /// Ends the context. A failure is reported through the current error handler, whose exception
    /// leaves the destructor unless another one is already on its way.
    ~CudaDeviceThread() noexcept(false);
};

/// The device operations around a unit of work.
class CudaInterface {
  public:
    /// Creates the context; see `cuda_init`.
    static cuda_runtime::cudaError_t init();
    /// Waits for the device.
    static cuda_runtime::cudaError_t sync();
    /// Ends the calling thread's context; a failure is reported as a failing "cudaThreadExit()".
    static void release();
    /// Lists the devices on standard output.
    static void dumpDevices();
};

/// Cores per multiprocessor by compute capability: the table's value, 1 for the emulation device
/// (9999.9999), or -1 and a line on standard output when the capability is unknown.
int coresPerMultiprocessor(int major, int minor);

/// The device with the highest estimated compute rate (cores * multiprocessors * clock rate); ties
/// keep the earlier one, and with no or no known devices it is device 0.
int chooseDevice();

/// The same device, without a line about unknown capabilities.
int chooseDeviceSilently();
