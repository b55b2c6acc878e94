// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PointSums.h"

#include "lanes/InstructionSet.h"

namespace pointsums {

namespace {

/// The functions of the instruction set in use.
const Functions& functions() noexcept {
    switch (lanes::instructionSet()) {
        case lanes::InstructionSet::v4:
            return v4::functions;
        case lanes::InstructionSet::v3:
            return v3::functions;
        case lanes::InstructionSet::baseline:
            break;
    }
    return baseline::functions;
}

}  // namespace

Value<float> unitPhase(float angle) { return functions().unitPhaseInFloat(angle); }

Value<double> unitPhase(double angle) { return functions().unitPhaseInDouble(angle); }

Value<float> edgeSum(const Rule<float>& rule, const Point<float>& point) {
    return functions().edgeSumInFloat(rule, point);
}

Value<double> edgeSum(const Rule<double>& rule, const Point<double>& point) {
    return functions().edgeSumInDouble(rule, point);
}

void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<float>& lattice,
          const Field<float>& field) {
    functions().fillFloatOnFloat(rule, piston, lattice, field);
}

void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<double>& lattice,
          const Field<float>& field) {
    functions().fillFloatOnDouble(rule, piston, lattice, field);
}

void fill(const Rule<double>& rule, const Piston<double>& piston, const Lattice<double>& lattice,
          const Field<double>& field) {
    functions().fillDoubleOnDouble(rule, piston, lattice, field);
}

}  // namespace pointsums
