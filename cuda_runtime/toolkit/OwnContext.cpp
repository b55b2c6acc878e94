// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/OwnContext.h"

#include <utility>

namespace cuda_runtime::toolkit {

namespace {

// The driver interface's statuses have the runtime's numbers.
::cudaError_t asRuntimeStatus(CUresult status) { return static_cast<::cudaError_t>(status); }

/// Calls a function of the driver interface, found through the runtime.
template <class... Parameters, class... Arguments>
::cudaError_t callDriver(const char* name, unsigned version, CUresult (*)(Parameters...),
                         Arguments... arguments) {
    void* found = nullptr;
    ::cudaDriverEntryPointQueryResult outcome{};
    const ::cudaError_t status =
        ::cudaGetDriverEntryPointByVersion(name, &found, version, ::cudaEnableDefault, &outcome);
    if (status != ::cudaSuccess) return status;
    if (found == nullptr || outcome != ::cudaDriverEntryPointSuccess)
        return ::cudaErrorCallRequiresNewerDriver;
    return asRuntimeStatus(reinterpret_cast<CUresult (*)(Parameters...)>(found)(arguments...));
}

// The functions' shapes at the versions asked for.
using Init = CUresult (*)(unsigned);
using GetDevice = CUresult (*)(CUdevice*, int);
using CreateContext = CUresult (*)(CUcontext*, unsigned, CUdevice);
using WithContext = CUresult (*)(CUcontext);
using ToContext = CUresult (*)(CUcontext*);
constexpr unsigned firstVersion = 2000;
constexpr unsigned createVersion = 3020;
constexpr unsigned contextVersion = 4000;

}  // namespace

::cudaError_t OwnContext::create(int device) {
    CUdevice handle = 0;
    ::cudaError_t status = callDriver("cuInit", firstVersion, Init(), 0U);
    if (status == ::cudaSuccess)
        status = callDriver("cuDeviceGet", firstVersion, GetDevice(), &handle, device);
    if (status == ::cudaSuccess)
        status = callDriver("cuCtxCreate", createVersion, CreateContext(), &context, 0U, handle);
    return status;
}

::cudaError_t OwnContext::enter(int device) {
    // A new context is current already.
    if (context == nullptr) return create(device);
    return callDriver("cuCtxPushCurrent", contextVersion, WithContext(), context);
}

::cudaError_t OwnContext::leave() {
    CUcontext left = nullptr;
    return callDriver("cuCtxPopCurrent", contextVersion, ToContext(), &left);
}

::cudaError_t OwnContext::end() {
    if (context == nullptr) return ::cudaSuccess;
    return callDriver("cuCtxDestroy", contextVersion, WithContext(),
                      std::exchange(context, nullptr));
}

}  // namespace cuda_runtime::toolkit
