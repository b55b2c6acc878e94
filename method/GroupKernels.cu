// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/kernel.h"
#include "method/GroupModules.h"
#include "method/pointSums.h"

namespace pistonfield {

namespace {

/// A thread computes one point of a part and, if that is a member, stores its pressure.
template <class T>
__global__ void compute_parts(GroupValues<T>* values, const GroupNumbers<T>* numbers,
                              const PartOnDevice* parts, int count, const Nodes<T>* rules, T halfX,
                              T halfY) {
    using Reals = typename cuda_runtime::Lanes<T>::Reals;
    using Ints = typename cuda_runtime::Lanes<T>::Ints;
    const int number = cuda_runtime::runNumber<T, groupSize>();
    if (number >= count) return;
    const PartOnDevice& part = parts[number];
    const Ints place = cuda_runtime::placesInRun<T, groupSize>();
    const auto isMember = (((Ints{} + part.members) >> place) & 1) != 0;
    if (!cuda_runtime::any(isMember)) return;
    const auto load = [place](const T* of) { return cuda_runtime::loadRun<Reals>(of, place); };
    const GroupNumbers<T>& of = numbers[part.group];
    const Points<Reals> points{load(of.x),
                               load(of.y),
                               load(of.nearX),
                               load(of.nearY),
                               {load(of.zz), load(of.reference)},
                               {load(of.cosine), load(of.sine)}};
    const auto p = pressureAt<Reals>(rules, {halfX, halfY}, part.orders, points);
    GroupValues<T>& to = values[part.group];
    cuda_runtime::store(to.re, place, isMember, p.re);
    cuda_runtime::store(to.im, place, isMember, p.im);
}

template <class T>
GroupModule<T> module() {
    return {typename GroupModule<T>::Compute(cuda_runtime::entryOf<T, &compute_parts<T>>())};
}

}  // namespace

template <>
GroupModule<float> singleGroupModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return module<float>();
}

template <>
GroupModule<double> doubleGroupModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return module<double>();
}

}  // namespace pistonfield
