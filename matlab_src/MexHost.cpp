// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/MexHost.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

namespace host {

namespace {

/// Whether an array of doubles of these dimensions has a size in bytes at all.
bool isAddressable(const std::array<std::size_t, 3>& dimensions) {
    if (std::count(dimensions.begin(), dimensions.end(), 0U) > 0) return true;
    std::size_t bytes = sizeof(double);
    for (const std::size_t dimension : dimensions) {
        if (bytes > static_cast<std::size_t>(PTRDIFF_MAX) / dimension) return false;
        bytes *= dimension;
    }
    return true;
}

Array* createDoubles(std::span<const mwSize> dimensions, mxComplexity complexity) {
    mxArray* const array = guarded([&] {
        return mxCreateNumericArray(static_cast<mwSize>(dimensions.size()), dimensions.data(),
                                    mxDOUBLE_CLASS, complexity);
    });
    if (array == nullptr) throw std::bad_alloc();
    return reinterpret_cast<Array*>(array);
}

}  // namespace

std::size_t rows(const Array* array) { return mxGetM(toMex(array)); }

std::size_t columns(const Array* array) { return mxGetN(toMex(array)); }

bool isComplex(const Array* array) { return mxIsComplex(toMex(array)); }

bool isClass(const Array* array, const char* name) {
    return std::strcmp(name, "sparse") == 0 ? isSparse(array) : mxIsClass(toMex(array), name);
}

bool isChar(const Array* array) { return mxIsChar(toMex(array)); }

std::string text(const Array* array) {
    const std::unique_ptr<char, void (*)(char*)> characters(
        guarded([array] { return mxArrayToString(toMex(array)); }), releaseString);
    return characters ? characters.get() : "";
}

double scalar(const Array* array) {
    return guarded([array] { return mxGetScalar(toMex(array)); });
}

const double* realData(const Array* array) {
    return guarded([array] { return mxGetPr(toMex(array)); });
}

Array* createResult(std::size_t sx, std::size_t sy, std::size_t sz) {
    if (!isAddressable({sx, sy, sz})) throw std::bad_array_new_length();
    const std::array dimensions{static_cast<mwSize>(sx), static_cast<mwSize>(sy),
                                static_cast<mwSize>(sz)};
    return createDoubles(dimensions, mxCOMPLEX);
}

double* resultReal(Array* result) { return static_cast<double*>(mxGetData(toMex(result))); }

double* resultImaginary(Array* result) {
    return static_cast<double*>(mxGetImagData(toMex(result)));
}

Array* createReal(std::size_t rows, std::size_t columns) {
    if (!isAddressable({rows, columns, 1})) throw std::bad_array_new_length();
    return createDoubles(std::array{static_cast<mwSize>(rows), static_cast<mwSize>(columns)},
                         mxREAL);
}

void print(const std::string& text) {
    guarded([&text] { return mexPrintf("%s", text.c_str()); });
}

bool tell(const Array* function, double number) {
    Array* const told = createReal(1, 1);
    *resultReal(told) = number;
    // The interface changes no argument, but has no const.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
    mxArray* arguments[]{const_cast<mxArray*>(toMex(function)), toMex(told)};
    return guarded([&arguments] {
        return mexCallMATLABWithTrap(0, nullptr, 2, arguments, "feval") == nullptr;
    });
}

void raise(const char* message) { throw RaisedError{{}, message}; }

void raise(const char* identifier, const char* message) { throw RaisedError{identifier, message}; }

}  // namespace host
