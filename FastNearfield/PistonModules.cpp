// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonModules.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <vector>

#include "FastNearfield/BoxModules.h"
#include "cuda_runtime/DeviceModule.h"
#include "lanes/InstructionSet.h"

// The modules as they were compiled for each instruction set of the host; a GPU's have one form.
namespace baseline {
SinglePistonModule singlePistonModule();
DoublePistonModule doublePistonModule();
SingleBoxModule singleBoxModule();
DoubleBoxModule doubleBoxModule();
}  // namespace baseline
#ifdef PISTONFIELD_KERNELS_PER_INSTRUCTION_SET
namespace v3 {
SinglePistonModule singlePistonModule();
DoublePistonModule doublePistonModule();
SingleBoxModule singleBoxModule();
DoubleBoxModule doubleBoxModule();
}  // namespace v3
namespace v4 {
SinglePistonModule singlePistonModule();
DoublePistonModule doublePistonModule();
SingleBoxModule singleBoxModule();
DoubleBoxModule doubleBoxModule();
}  // namespace v4
#endif

namespace {

template <class Real, class Complex>
std::vector<const void*> commonEntries(const PistonModule<Real, Complex>& module) {
    return {module.calculate.address(), module.gridByValues.address(),
            module.splitGridByValues.address(), module.grid.address(), module.splitGrid.address()};
}

std::vector<const void*> entries(const SinglePistonModule& module) {
    std::vector<const void*> all = commonEntries(module);
    all.push_back(module.structured.address());
    all.push_back(module.unstructured.address());
    return all;
}

std::vector<const void*> entries(const DoublePistonModule& module) { return commonEntries(module); }

template <class Real, class Complex>
std::vector<const void*> entries(const BoxModule<Real, Complex>& module) {
    return {module.box.address()};
}

/// A module and its registration.
template <class Module>
struct Registered {
    explicit Registered(const Module& made)
        : module(made), registration(entries(module), module.constants) {}

    Module module;
    cuda_runtime::DeviceModule registration;
};

/// The modules of one precision, for the instruction sets that the processor has.
template <class Module>
class Modules {
  public:
    /// @param makers one for each instruction set, the plainest first
    Modules(std::initializer_list<Module (*)()> makers) {
        for (Module (*const make)() : makers)
            if (modules.size() <= static_cast<std::size_t>(lanes::bestInstructionSet()))
                modules.push_back(std::make_unique<Registered<Module>>(make()));
    }

    /// The module for the instruction set in use.
    const Module& current() const {
        const auto set = static_cast<std::size_t>(lanes::instructionSet());
        return modules[std::min(set, modules.size() - 1)]->module;
    }

  private:
    std::vector<std::unique_ptr<Registered<Module>>> modules;
};

#ifdef PISTONFIELD_KERNELS_PER_INSTRUCTION_SET
const Modules<SinglePistonModule> singlePrecision{baseline::singlePistonModule,
                                                  v3::singlePistonModule, v4::singlePistonModule};
const Modules<DoublePistonModule> doublePrecision{baseline::doublePistonModule,
                                                  v3::doublePistonModule, v4::doublePistonModule};
const Modules<SingleBoxModule> singleBoxes{baseline::singleBoxModule, v3::singleBoxModule,
                                           v4::singleBoxModule};
const Modules<DoubleBoxModule> doubleBoxes{baseline::doubleBoxModule, v3::doubleBoxModule,
                                           v4::doubleBoxModule};
#else
const Modules<SinglePistonModule> singlePrecision{baseline::singlePistonModule};
const Modules<DoublePistonModule> doublePrecision{baseline::doublePistonModule};
const Modules<SingleBoxModule> singleBoxes{baseline::singleBoxModule};
const Modules<DoubleBoxModule> doubleBoxes{baseline::doubleBoxModule};
#endif

}  // namespace

const SinglePistonModule& singlePistonModule() { return singlePrecision.current(); }
const DoublePistonModule& doublePistonModule() { return doublePrecision.current(); }

const SingleBoxModule& boxModule(float /*precision*/) { return singleBoxes.current(); }
const DoubleBoxModule& boxModule(double /*precision*/) { return doubleBoxes.current(); }

std::string singleConstantName(const char* stem, char variable) {
    return std::string("global_") + stem + "_float_" + variable;
}

std::string doubleConstantName(const char* stem, char variable) {
    return std::string("global_dp") + stem + "_double_" + variable;
}
