// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonModules.h"

#include <vector>

#include "FastNearfield/BoxModules.h"
#include "cuda_runtime/ModuleOfSets.h"

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

template <class Module, class Make>
cuda_runtime::ModuleOfSets<Module> registered(Make make) {
    return {make, [](const Module& module) { return entries(module); }};
}

const auto singlePrecision = registered<SinglePistonModule>(
    []<lanes::InstructionSet set>() { return singlePistonModuleOf<set>(); });
const auto doublePrecision = registered<DoublePistonModule>(
    []<lanes::InstructionSet set>() { return doublePistonModuleOf<set>(); });
const auto singleBoxes = registered<SingleBoxModule>(
    []<lanes::InstructionSet set>() { return singleBoxModuleOf<set>(); });
const auto doubleBoxes = registered<DoubleBoxModule>(
    []<lanes::InstructionSet set>() { return doubleBoxModuleOf<set>(); });

}  // namespace

const SinglePistonModule& singlePistonModule() { return singlePrecision.inUse(); }
const DoublePistonModule& doublePistonModule() { return doublePrecision.inUse(); }

const SingleBoxModule& boxModule(float /*precision*/) { return singleBoxes.inUse(); }
const DoubleBoxModule& boxModule(double /*precision*/) { return doubleBoxes.inUse(); }

std::string singleConstantName(const char* stem, char variable) {
    return std::string("global_") + stem + "_float_" + variable;
}

std::string doubleConstantName(const char* stem, char variable) {
    return std::string("global_dp") + stem + "_double_" + variable;
}
