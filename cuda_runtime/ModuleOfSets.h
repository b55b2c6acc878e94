// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <span>
#include <vector>

#include "cuda_runtime/DeviceModule.h"
#include "lanes/PerInstructionSet.h"

namespace cuda_runtime {

/// A device module's copies for the instruction sets that the processor has, each registered with
/// the runtime for as long as this lives.
template <class Module>
class ModuleOfSets {
  public:
    /// @param make    make.template operator()<set>() is the copy of a set
    /// @param entries the registered entries of a copy
    template <class Make>
    ModuleOfSets(Make make, std::vector<const void*> (*entries)(const Module&))
        : copies([&]<lanes::InstructionSet set>() {
              if (set > lanes::bestInstructionSet()) return std::unique_ptr<const Registered>();
              const Module module = make.template operator()<set>();
              return std::make_unique<const Registered>(module, entries(module));
          }) {}

    /// The copy of the set in use.
    const Module& inUse() const noexcept { return copies.inUse()->module; }

  private:
    struct Registered {
        Registered(const Module& made, const std::vector<const void*>& entries)
            : module(made), registration(entries, constants()) {}

        std::span<const ConstantSymbol> constants() const noexcept {
            if constexpr (requires { module.constants; })
                return module.constants;
            else
                return {};
        }

        Module module;
        DeviceModule registration;
    };

    // How many instruction sets have kernels of their own.
#ifdef PISTONFIELD_KERNELS_PER_INSTRUCTION_SET
    static constexpr std::size_t count = std::size(lanes::instructionSets);
#else
    static constexpr std::size_t count = 1;
#endif

    lanes::PerInstructionSet<std::unique_ptr<const Registered>, count> copies;
};

}  // namespace cuda_runtime
