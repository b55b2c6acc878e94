// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/primaryContext.h"

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
using Retain = CUresult (*)(CUcontext*, CUdevice);
using Release = CUresult (*)(CUdevice);
using GetState = CUresult (*)(CUdevice, unsigned*, int*);
using WithContext = CUresult (*)(CUcontext);
using ToContext = CUresult (*)(CUcontext*);
constexpr unsigned firstVersion = 2000;
constexpr unsigned contextVersion = 4000;
constexpr unsigned retainVersion = 7000;
constexpr unsigned releaseVersion = 11000;

::cudaError_t handleOf(int device, CUdevice& handle) {
    return callDriver("cuDeviceGet", firstVersion, GetDevice(), &handle, device);
}

}  // namespace

::cudaError_t askPrimaryContext(int device, bool& isActive) {
    CUdevice handle = 0;
    unsigned flags = 0;
    int active = 0;
    ::cudaError_t status = callDriver("cuInit", firstVersion, Init(), 0U);
    if (status == ::cudaSuccess) status = handleOf(device, handle);
    if (status == ::cudaSuccess)
        status = callDriver("cuDevicePrimaryCtxGetState", retainVersion, GetState(), handle, &flags,
                            &active);
    isActive = active != 0;
    return status;
}

::cudaError_t retainPrimaryContext(int device, CUcontext& context) {
    CUdevice handle = 0;
    ::cudaError_t status = callDriver("cuInit", firstVersion, Init(), 0U);
    if (status == ::cudaSuccess) status = handleOf(device, handle);
    if (status == ::cudaSuccess)
        status = callDriver("cuDevicePrimaryCtxRetain", retainVersion, Retain(), &context, handle);
    return status;
}

::cudaError_t releasePrimaryContext(int device) {
    CUdevice handle = 0;
    const ::cudaError_t status = handleOf(device, handle);
    if (status != ::cudaSuccess) return status;
    return callDriver("cuDevicePrimaryCtxRelease", releaseVersion, Release(), handle);
}

::cudaError_t pushContext(CUcontext context) {
    return callDriver("cuCtxPushCurrent", contextVersion, WithContext(), context);
}

::cudaError_t popContext() {
    CUcontext left = nullptr;
    return callDriver("cuCtxPopCurrent", contextVersion, ToContext(), &left);
}

}  // namespace cuda_runtime::toolkit
