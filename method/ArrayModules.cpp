// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ArrayModules.h"

#include "cuda_runtime/ModuleOfSets.h"

namespace pistonfield {

namespace {

template <class T>
std::vector<const void*> entries(const ArrayModule<T>& module) {
    return {module.addFarOfOne.address(), module.addFarOfMany.address(), module.addNear.address()};
}

const cuda_runtime::ModuleOfSets<ArrayModule<float>> inSingle(
    []<lanes::InstructionSet set>() { return singleArrayModuleOf<set>(); }, &entries);
const cuda_runtime::ModuleOfSets<ArrayModule<double>> inDouble(
    []<lanes::InstructionSet set>() { return doubleArrayModuleOf<set>(); }, &entries);

}  // namespace

const ArrayModule<float>& arrayModule(float /*precision*/) { return inSingle.inUse(); }
const ArrayModule<double>& arrayModule(double /*precision*/) { return inDouble.inUse(); }

}  // namespace pistonfield
