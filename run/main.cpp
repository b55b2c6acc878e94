// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// pistonfield-run: pressure fields of any size into HDF5 files, by any number of processes.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "parallel/threads.h"
#include "run/commands/commands.h"
#include "run/commands/readTable.h"
#include "run/commands/readText.h"
#include "run/file/Hdf5.h"
#include "run/file/openFiles.h"
#include "run/formatting.h"
#include "run/processes/Watch.h"
#include "run/processes/agreement.h"
#include "run/processes/streams.h"

namespace {

using namespace run;
using Words = std::vector<std::string>;

/// One operation for each command.
struct Executor {
    Ranks& ranks;

    int operator()(const Answer& answer) const {
        if (ranks.isFirst()) std::cout << answer.text;
        return 0;
    }
    int operator()(const ComputeCommand& command) const { return compute(command, ranks); }
    int operator()(const JoinCommand& command) const { return join(command); }
    int operator()(const VerifyCommand& command) const { return verify(command); }
    int operator()(const ExtractCommand& command) const { return extract(command); }
    int operator()(const ShowCommand& command) const { return show(command); }
    int operator()(const BeamCommand& command) const { return beam(command); }
};

/// The command that all processes were started with. Files are read by the first, because what is
/// in a pipe can be read once.
Command commandOf(const Words& words, const Ranks& ranks) {
    Command command;
    requireSameWords(words, ranks);
    ranks.together([&] {
        const auto byTheFirst = [&](std::string (*read)(const std::filesystem::path&)) {
            return [&ranks, read](const std::filesystem::path& path) {
                return ranks.shared([&] { return read(path); });
            };
        };
        command = readCommand(words, {byTheFirst(&readText), byTheFirst(&readTable)});
    });
    return command;
}

/// Whether work is for one process.
bool isForOne(const Command& command) {
    const auto* computing = std::get_if<ComputeCommand>(&command);
    return computing == nullptr || computing->part.has_value();
}

/// @throws std::runtime_error where there are other processes than the command is for
void requireRanks(const Command& command, const Launch& launch, const Ranks& ranks) {
    if (std::holds_alternative<Answer>(command)) return;
    if (!isForOne(command)) return requireAll(launch, ranks.size());
    ranks.together([&] {
        if (ranks.size() > 1)
            throw std::runtime_error(
                "--part, join, verify, extract, show and beam are for one process: start it "
                "without mpirun");
    });
}

/// Has the computation use the threads that are asked for. Processes that a launcher starts are,
/// unless the user says otherwise, one for each core.
void chooseThreads(const Command& command, const Launch& launch) {
    const auto* computing = std::get_if<ComputeCommand>(&command);
    if (computing == nullptr) return;
    if (computing->threads)
        pistonfield::useThreads(*computing->threads);
    else if (launch.oneOfMany() && !pistonfield::threadsAreChosen())
        pistonfield::useThreads(1);
    // A variable that is no number is told before anything is touched.
    static_cast<void>(pistonfield::threadCount());
}

/// Has the processes that compute a field watched, where there is more than one.
std::unique_ptr<Watch> watched(const Command& command, const Ranks& ranks) {
    const auto* computing = std::get_if<ComputeCommand>(&command);
    if (computing == nullptr) return nullptr;
    // Here, as the watch has a thread.
    if (ranks.size() > 1) ranks.together([&] { shareLocks(computing->output); });
    return watchOf(ranks);
}

void complain(const std::exception& error) {
    std::cerr << formatting::complaint(error) << std::endl;
}

/// Does what the words say, with all processes.
/// @return the exit status
int execute(const Words& words, const Launch& launch, Ranks& ranks) {
    // Ends with all others', and so not where there is a failure.
    std::unique_ptr<Watch> watch;
    try {
        const Command command = commandOf(words, ranks);
        requireRanks(command, launch, ranks);
        ranks.together([&] { chooseThreads(command, launch); });
        watch = watched(command, ranks);
        const int status = std::visit(Executor{ranks}, command);
        if (!std::cout.flush()) throw std::runtime_error("the standard output cannot be written");
        return status;
    } catch (const Unconnected&) {
        throw;
    } catch (const CollectiveFailure& failure) {
        if (ranks.isFirst()) complain(failure);
        ranks.abandon(1);
    } catch (const std::exception& failure) {
        complain(failure);
        ranks.abort(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Launch launch = launchOf(&std::getenv);
    try {
        openStandardStreams();
        prepareForFiles();
        Ranks ranks(launch);
        hdf5::beSilent();
        return execute({argv + 1, argv + argc}, launch, ranks);
    } catch (const Unconnected& failure) {
        if (isFirstOfStep(&std::getenv)) complain(failure);
        return 1;
    } catch (const std::exception& failure) {
        complain(failure);
        return 1;
    }
}
