// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "ModeField.h"

#include "matlab_src/Gateway.h"
#include "support/RoundingBounds.h"
#include "tests/matlab_src/SubstituteHost.h"
#include "tests/support/SilentOutput.h"

double roundingBound(Mode mode) {
    const double units = mode == Mode::cuda     ? roundingbounds::singleKernels
                         : mode == Mode::cudadp ? roundingbounds::doubleKernels
                                                : roundingbounds::cpu;
    return units * unitRoundoffOf(mode);
}

double unitRoundoffOf(Mode mode) { return mode == Mode::cpu ? 0x1p-53 : 0x1p-24; }

FieldValues fieldOf(Mode mode, const FieldCall& call) {
    using substitute::doubles;
    using substitute::number;
    const SilentOutput silence;
    const std::vector<const host::Array*> arguments{
        doubles({call.transform.begin(), call.transform.end()}, {4, 4}),
        doubles({call.sizes.begin(), call.sizes.end()}, {1, 3}),
        number(call.l),
        number(call.s),
        number(call.k),
        substitute::text(nameOf(mode)),
        number(call.order)};
    host::Array* output = nullptr;
    answerCall(1, output, arguments);
    FieldValues values = substitute::valuesOf(output);
    substitute::theHost().reset();
    return values;
}

std::vector<lanes::InstructionSet> availableSets() {
    std::vector<lanes::InstructionSet> sets;
    for (const auto set : lanes::instructionSets)
        if (set <= lanes::bestInstructionSet()) sets.push_back(set);
    return sets;
}
