// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PistonModules.h"

#include <vector>

#include "cuda_runtime/DeviceModule.h"

// Each instruction set's own copy of the modules.
namespace baseline {
SinglePistonModule singlePistonModule();
DoublePistonModule doublePistonModule();
}  // namespace baseline

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

/// A module and its registration.
template <class Module>
struct Registered {
    Module module;
    cuda_runtime::DeviceModule registration{entries(module), module.constants};
};

const Registered<SinglePistonModule> singlePrecision{baseline::singlePistonModule()};
const Registered<DoublePistonModule> doublePrecision{baseline::doublePistonModule()};

}  // namespace

const SinglePistonModule& singlePistonModule() { return singlePrecision.module; }
const DoublePistonModule& doublePistonModule() { return doublePrecision.module; }

std::string singleConstantName(const char* stem, char variable) {
    return std::string("global_") + stem + "_float_" + variable;
}

std::string doubleConstantName(const char* stem, char variable) {
    return std::string("global_dp") + stem + "_double_" + variable;
}
