// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/GroupModules.h"

#include "cuda_runtime/ModuleOfSets.h"

namespace pistonfield {

namespace {

template <class T>
std::vector<const void*> entries(const GroupModule<T>& module) {
    return {module.compute.address()};
}

const cuda_runtime::ModuleOfSets<GroupModule<float>> inSingle(
    []<lanes::InstructionSet set>() { return singleGroupModuleOf<set>(); }, &entries);
const cuda_runtime::ModuleOfSets<GroupModule<double>> inDouble(
    []<lanes::InstructionSet set>() { return doubleGroupModuleOf<set>(); }, &entries);

}  // namespace

const GroupModule<float>& groupModule(float /*precision*/) { return inSingle.inUse(); }
const GroupModule<double>& groupModule(double /*precision*/) { return inDouble.inUse(); }

}  // namespace pistonfield
