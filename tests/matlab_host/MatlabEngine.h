// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <mex.h>

#include <cstddef>
#include <string>
#include <vector>

/// An array of the substitute for MATLAB.
struct mxArray_tag {
    std::string className = "double";
    std::vector<std::size_t> dimensions;
    bool isSparse = false;
    bool isComplex = false;
    std::vector<double> real;  ///< of class char too: one value for each character
    std::vector<double> imaginary;
};

/// What the substitute libraries need of the program that loads the module. MATLAB's own libraries
/// lean on the running MATLAB in the same way.
class MatlabEngine {
  public:
    MatlabEngine() = default;
    MatlabEngine(const MatlabEngine&) = delete;
    MatlabEngine& operator=(const MatlabEngine&) = delete;
    MatlabEngine(MatlabEngine&&) = delete;
    MatlabEngine& operator=(MatlabEngine&&) = delete;
    virtual ~MatlabEngine() = default;

    /// A new array that lives until the call ends, or null.
    virtual mxArray* create(const std::vector<std::size_t>& dimensions, mxClassID classId,
                            mxComplexity complexity) = 0;
    /// A zero-terminated text that lives until the call ends, or null.
    virtual char* keepText(const std::string& text) = 0;
    virtual void print(const char* text) = 0;
    /// Calls a function with inputs; where it fails the exception is what is returned, else null.
    virtual mxArray* callFunction(int outputCount, const std::vector<mxArray*>& inputs,
                                  const std::string& name) = 0;
    /// Leaves the module without returning into it.
    [[noreturn]] virtual void raise(const char* identifier, const char* message) = 0;
};

/// The program's engine, found by the libraries when they are loaded.
[[gnu::visibility("default")]] MatlabEngine& matlabEngine();
