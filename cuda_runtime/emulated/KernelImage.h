// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstring>
#include <utility>

#include "cuda_runtime/arguments.h"
#include "cuda_runtime/runtime.h"

namespace cuda_runtime::emulated {

/// What the emulation device needs of a kernel: how many argument bytes it reads, and a function
/// that runs one thread of it.
struct KernelImage {
    std::size_t argumentBytes;
    void (*run)(const std::byte* arguments);
};

/// Reads a kernel's packed arguments and calls it for one thread.
template <class... Parameters>
class Unpacked {
  public:
    template <void (*kernel)(Parameters...)>
    static void run(const std::byte* arguments) {
        call<kernel>(arguments, std::index_sequence_for<Parameters...>());
    }

    static constexpr std::size_t bytes() {
        ArgumentLayout layout(sizeof(void*));
        (static_cast<void>(layout.place(ParameterKind::of<Parameters>())), ...);
        return layout.size();
    }

  private:
    template <void (*kernel)(Parameters...), std::size_t... I>
    static void call([[maybe_unused]] const std::byte* arguments, std::index_sequence<I...>) {
        [[maybe_unused]] constexpr auto offsets = argumentOffsets<Parameters...>(sizeof(void*));
        kernel(read<Parameters>(arguments + offsets[I])...);
    }

    template <class T>
    static T read(const std::byte* from) {
        T value;
        std::memcpy(&value, from, sizeof(T));
        return value;
    }
};

}  // namespace cuda_runtime::emulated
