// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// NOLINTBEGIN(modernize-*): a header of C

// A substitute for MATLAB's header of this name: the operations that the module may use and no
// others, in the form with separate real and imaginary data (R2017b). What compiles against it uses
// nothing else of MATLAB.
#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct mxArray_tag mxArray;
typedef size_t mwSize;

typedef enum {
    mxUNKNOWN_CLASS,
    mxCELL_CLASS,
    mxSTRUCT_CLASS,
    mxLOGICAL_CLASS,
    mxCHAR_CLASS,
    mxVOID_CLASS,
    mxDOUBLE_CLASS,
    mxSINGLE_CLASS,
    mxINT8_CLASS,
    mxUINT8_CLASS,
    mxINT16_CLASS,
    mxUINT16_CLASS,
    mxINT32_CLASS,
    mxUINT32_CLASS,
    mxINT64_CLASS,
    mxUINT64_CLASS,
    mxFUNCTION_CLASS
} mxClassID;

typedef enum { mxREAL, mxCOMPLEX } mxComplexity;

// libmx

size_t mxGetM(const mxArray* array);
size_t mxGetN(const mxArray* array);
bool mxIsComplex(const mxArray* array);
bool mxIsClass(const mxArray* array, const char* name);
bool mxIsChar(const mxArray* array);
char* mxArrayToString(const mxArray* array);
double mxGetScalar(const mxArray* array);
double* mxGetPr(const mxArray* array);
void* mxGetData(const mxArray* array);
void* mxGetImagData(const mxArray* array);

#define mxCreateNumericArray mxCreateNumericArray_730
mxArray* mxCreateNumericArray(mwSize dimensionCount, const mwSize* dimensions, mxClassID classId,
                              mxComplexity complexity);

// libmex

mxArray* mexCallMATLABWithTrap(int outputCount, mxArray* outputs[], int inputCount,
                               mxArray* inputs[], const char* name);
int mexPrintf(const char* format, ...);
void mexErrMsgTxt(const char* message);
void mexErrMsgIdAndTxt(const char* identifier, const char* format, ...);

// The module

void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-*)
