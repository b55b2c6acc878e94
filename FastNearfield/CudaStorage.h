// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <memory>

/// An owned array of reals with a host side and a device side.
///
/// A side is allocated when it is first asked for, zero-filled, and asking for it brings the other
/// side's values over when those are newer: whoever asks may write. Runtime failures are reported
/// through the current error handler. The storage must not outlive the device context in which its
/// device side was made.
class CudaStorage {
  public:
    enum DataType { DT_FLOAT = 0, DT_DOUBLE = 1 };

    /// @param size the number of reals, two for each complex value
    CudaStorage(DataType type, std::size_t size) noexcept : type(type), size(size) {}
    CudaStorage(const CudaStorage&) = delete;
    CudaStorage& operator=(const CudaStorage&) = delete;
    ~CudaStorage();

    DataType getType() const noexcept { return type; }
    std::size_t getSize() const noexcept { return size; }

    /// The values in device memory; null after a failed allocation.
    void* getDevicePointer();
    /// The values in host memory.
    /// @throws std::bad_alloc
    void* getHostPointer();

  private:
    enum class Side { none, host, device };

    std::size_t bytes() const noexcept;

    DataType type;
    std::size_t size;
    std::unique_ptr<std::byte[]> host;
    void* device = nullptr;
    Side newest = Side::none;
};
