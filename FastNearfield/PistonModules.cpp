// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonModules.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

#include "FastNearfield/BoxModules.h"
#include "cuda_runtime/DeviceModule.h"
#include "lanes/PerInstructionSet.h"

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

/// How many instruction sets have kernels of their own.
#ifdef PISTONFIELD_KERNELS_PER_INSTRUCTION_SET
constexpr std::size_t copies = std::size(lanes::instructionSets);
#else
constexpr std::size_t copies = 1;
#endif

/// The modules of one precision; null for the sets that the processor lacks.
template <class Module>
using Modules = lanes::PerInstructionSet<std::unique_ptr<const Registered<Module>>, copies>;

template <class Module>
std::unique_ptr<const Registered<Module>> registered(lanes::InstructionSet set, Module (*make)()) {
    if (set > lanes::bestInstructionSet()) return nullptr;
    return std::make_unique<const Registered<Module>>(make());
}

const Modules<SinglePistonModule> singlePrecision([]<lanes::InstructionSet set>() {
    return registered(set, &singlePistonModuleOf<set>);
});
const Modules<DoublePistonModule> doublePrecision([]<lanes::InstructionSet set>() {
    return registered(set, &doublePistonModuleOf<set>);
});
const Modules<SingleBoxModule> singleBoxes([]<lanes::InstructionSet set>() {
    return registered(set, &singleBoxModuleOf<set>);
});
const Modules<DoubleBoxModule> doubleBoxes([]<lanes::InstructionSet set>() {
    return registered(set, &doubleBoxModuleOf<set>);
});

}  // namespace

const SinglePistonModule& singlePistonModule() { return singlePrecision.inUse()->module; }
const DoublePistonModule& doublePistonModule() { return doublePrecision.inUse()->module; }

const SingleBoxModule& boxModule(float /*precision*/) { return singleBoxes.inUse()->module; }
const DoubleBoxModule& boxModule(double /*precision*/) { return doubleBoxes.inUse()->module; }

std::string singleConstantName(const char* stem, char variable) {
    return std::string("global_") + stem + "_float_" + variable;
}

std::string doubleConstantName(const char* stem, char variable) {
    return std::string("global_dp") + stem + "_double_" + variable;
}
