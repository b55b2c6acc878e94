// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// pistonfield-run: pressure fields of any size into HDF5 files, by any number of processes.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "run/Hdf5.h"
#include "run/commands.h"
#include "run/limits.h"

namespace {

using namespace run;

/// One operation for each command.
struct Executor {
    Team& team;

    int operator()(const Answer& answer) const {
        if (team.isFirst()) std::cout << answer.out;
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

/// @throws std::runtime_error where mpirun has started several processes of a command for one
void requireOne(const Command& command) {
    const char* processes = std::getenv("OMPI_COMM_WORLD_SIZE");
    if (isForOne(command) && processes != nullptr && std::string(processes) != "1")
        throw std::runtime_error(
            "--part, join, verify, extract and show are for one process: "
            "start it without mpirun");
}

void complain(const std::exception& error) {
    std::cerr << "pistonfield-run: " << error.what() << std::endl;
}

/// What a command line or a request file has wrong, in one process maybe, is everyone's failure.
void refuse(const Command& command) {
    const auto* answer = std::get_if<Answer>(&command);
    if (answer != nullptr && answer->status != 0) throw std::runtime_error(answer->error);
}

}  // namespace

int main(int argc, char** argv) {
    const Command command = readCommand(argc, argv);
    Team team(isForOne(command));
    hdf5::beSilent();
    prepareForFiles();
    try {
        requireOne(command);
        team.together([&] { refuse(command); });
        const int status = std::visit(Executor{team}, command);
        if (!std::cout.flush()) throw std::runtime_error("the standard output cannot be written");
        return status;
    } catch (const AgreedFailure& failure) {
        if (team.isFirst()) complain(failure);
        team.abandon(1);
    } catch (const std::exception& failure) {
        complain(failure);
        team.abort(1);
    }
}
