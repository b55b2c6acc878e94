// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A driver library that is of no use. The CUDA runtime loads it in the place of the installed one,
// finds PISTONFIELD_DRIVER_VERSION as its version, PISTONFIELD_DRIVER_STATUS as the outcome of its
// start, and nothing of what a driver can do beyond that.

#include <cuda.h>

#include <cstdlib>
#include <string>

// The names of the library, behind those that the header calls by newer ones.
#undef cuGetProcAddress

namespace {

int numberIn(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? 0 : std::stoi(text);
}

CUresult missing() { return CUDA_ERROR_NOT_FOUND; }

}  // namespace

extern "C" {

CUresult cuDriverGetVersion(int* version) {
    *version = numberIn("PISTONFIELD_DRIVER_VERSION");
    return CUDA_SUCCESS;
}

CUresult cuInit(unsigned /*flags*/) {
    return static_cast<CUresult>(numberIn("PISTONFIELD_DRIVER_STATUS"));
}

CUresult cuGetExportTable(const void** table, const CUuuid* /*id*/) {
    *table = nullptr;
    return missing();
}

CUresult cuGetProcAddress_v2(const char* symbol, void** address, int /*version*/,
                             cuuint64_t /*flags*/, CUdriverProcAddressQueryResult* outcome) {
    const std::string name = symbol;
    if (name == "cuDriverGetVersion")
        *address = reinterpret_cast<void*>(cuDriverGetVersion);
    else if (name == "cuGetProcAddress" || name == "cuGetProcAddress_v2")
        *address = reinterpret_cast<void*>(cuGetProcAddress_v2);
    else if (name == "cuInit")
        *address = reinterpret_cast<void*>(cuInit);
    else
        *address = reinterpret_cast<void*>(missing);
    if (outcome != nullptr) *outcome = CU_GET_PROC_ADDRESS_SUCCESS;
    return CUDA_SUCCESS;
}

CUresult cuGetProcAddress(const char* symbol, void** address, int version, cuuint64_t flags) {
    return cuGetProcAddress_v2(symbol, address, version, flags, nullptr);
}
}
