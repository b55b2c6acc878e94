// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda_runtime_api.h>

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "cuda_runtime/ConstantSymbol.h"
#include "cuda_runtime/toolkit/UnitOfWork.h"

namespace cuda_runtime::toolkit {

/// The constants by their names, and whose values they hold on which device. Units of work on one
/// device share them: a value is that of the last one that wrote it, and is zero after its end.
///
/// Of any thread at any time.
class Constants {
  public:
    void add(const ConstantSymbol& symbol);
    void remove(const ConstantSymbol& symbol);

    /// Copies into a constant, for a unit of work.
    ::cudaError_t write(UnitOfWork& writer, const char* name, const void* from, std::size_t bytes,
                        std::size_t offset, ::cudaMemcpyKind kind);

    /// Makes what a unit of work wrote last zero, within the device's context.
    ::cudaError_t clear(const UnitOfWork& writer);

    /// A unit of work is no more.
    void forget(const UnitOfWork& writer) noexcept;

  private:
    struct Constant {
        ConstantSymbol symbol;
        std::map<int, const UnitOfWork*> writers;  ///< by device
    };

    std::mutex mutex;
    std::map<std::string, Constant, std::less<>> constants;
};

/// Those of this module.
Constants& theConstants();

}  // namespace cuda_runtime::toolkit
