// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cuda_runtime_api.h>

#include <sys/types.h>

#include <list>
#include <mutex>

#include "cuda_runtime/toolkit/Constants.h"
#include "cuda_runtime/toolkit/HeldDevices.h"
#include "cuda_runtime/toolkit/UnitOfWork.h"

namespace cuda_runtime::toolkit {

/// What this module has on the devices. It goes when the module is unloaded.
class Process {
  public:
    Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    /// Ends the units of work whose threads did not, and lets go of the devices. A forked child
    /// leaves both to its parent.
    ~Process();

    /// Begins a unit of work of the calling thread; on failure `unit` is null.
    ::cudaError_t begin(int device, UnitOfWork*& unit);
    /// Ends it, with all memory and all constants of it.
    ::cudaError_t end(UnitOfWork& unit);

    ::cudaError_t letGo() { return held.letGo(); }

  private:
    Constants& constants;
    pid_t maker;
    HeldDevices held;
    std::mutex mutex;
    std::list<UnitOfWork> units;
};

/// The one of this module. It is made at its first use and not when the module is loaded, so that
/// it goes while the installed runtime still works.
Process& process();

}  // namespace cuda_runtime::toolkit
