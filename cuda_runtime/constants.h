// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace cuda_runtime {

/// Makes a constant-memory variable known to `cudaMemcpyToSymbol` by its name, for as long as the
/// object lives: one static object for each constant of a module.
class RegisteredConstant {
  public:
    template <class T>
    RegisteredConstant(const char* name, T& symbol)
        : RegisteredConstant(name, &symbol, sizeof(T)) {}
    RegisteredConstant(const RegisteredConstant&) = delete;
    RegisteredConstant& operator=(const RegisteredConstant&) = delete;
    ~RegisteredConstant();

  private:
    RegisteredConstant(const char* name, void* symbol, std::size_t bytes);

    const char* name;
};

}  // namespace cuda_runtime
