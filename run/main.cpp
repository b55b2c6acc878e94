// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// pistonfield-run: pressure fields of any size into HDF5 files, by any number of processes.

#include <exception>
#include <iostream>

#include "run/Hdf5.h"
#include "run/Interruption.h"
#include "run/commands.h"

namespace {

using namespace run;

/// One operation for each command.
struct Executor {
    Team& team;

    int operator()(const Answer& answer) const {
        if (team.isFirst()) {
            std::cout << answer.out;
            std::cerr << answer.error;
        }
        return answer.status;
    }
    int operator()(const ComputeCommand& command) const { return compute(command, team); }
    int operator()(const JoinCommand& command) const { return join(command); }
    int operator()(const VerifyCommand& command) const { return verify(command); }
    int operator()(const ExtractCommand& command) const { return extract(command); }
    int operator()(const ShowCommand& command) const { return show(command); }
};

/// Whether a command is for one process, which MPI need not have started.
bool isForOne(const Command& command) {
    if (const auto* computing = std::get_if<ComputeCommand>(&command))
        return computing->part.has_value();
    return !std::holds_alternative<Answer>(command);
}

}  // namespace

int main(int argc, char** argv) {
    const Command command = readCommand(argc, argv);
    Team team(isForOne(command));
    hdf5::beSilent();
    listenForSignals();
    try {
        return std::visit(Executor{team}, command);
    } catch (const std::exception& error) {
        if (team.isFirst()) std::cerr << "pistonfield-run: " << error.what() << std::endl;
        team.abandon(1);
    }
}
