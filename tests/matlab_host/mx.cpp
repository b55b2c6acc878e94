// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The substitute for libmx.
#include <cstring>
#include <functional>
#include <numeric>

#include "tests/matlab_host/MatlabEngine.h"

namespace {

/// The interface hands out writable data of any array.
double* data(const std::vector<double>& half) {
    return const_cast<double*>(half.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

}  // namespace

#pragma GCC visibility push(default)

size_t mxGetM(const mxArray* array) { return array->dimensions.front(); }

size_t mxGetN(const mxArray* array) {
    return std::accumulate(array->dimensions.begin() + 1, array->dimensions.end(), size_t{1},
                           std::multiplies<>());
}

bool mxIsComplex(const mxArray* array) { return array->isComplex; }

bool mxIsClass(const mxArray* array, const char* name) {
    return array->className == name || (array->isSparse && std::strcmp(name, "sparse") == 0);
}

bool mxIsChar(const mxArray* array) { return array->className == "char"; }

char* mxArrayToString(const mxArray* array) {
    std::string text;
    for (const double character : array->real) text += static_cast<char>(character);
    return matlabEngine().keepText(text);
}

double mxGetScalar(const mxArray* array) { return array->real.at(0); }

double* mxGetPr(const mxArray* array) { return data(array->real); }

void* mxGetData(const mxArray* array) { return data(array->real); }

void* mxGetImagData(const mxArray* array) { return data(array->imaginary); }

mxArray* mxCreateNumericArray(mwSize dimensionCount, const mwSize* dimensions, mxClassID classId,
                              mxComplexity complexity) {
    return matlabEngine().create({dimensions, dimensions + dimensionCount}, classId, complexity);
}

#pragma GCC visibility pop
