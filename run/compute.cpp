// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "run/Evaluation.h"
#include "run/FieldFile.h"
#include "run/FileBeside.h"
#include "run/FileLock.h"
#include "run/Interruption.h"
#include "run/Progress.h"
#include "run/SlabValues.h"
#include "run/commands.h"
#include "run/compress.h"
#include "run/estimate.h"
#include "run/texts.h"
#include "run/xdmf.h"

namespace run {

namespace {

using Clock = std::chrono::steady_clock;
using Numbers = std::vector<std::int64_t>;

Layout layoutOf(const ComputeCommand& command) {
    checkComplete(command);
    const Request& request = command.request;
    Layout layout{request, request.lattice(), {}, command.magnitude};
    if (command.part) layout.box = boxOf(*command.part, request.sizes);
    layout.slabSizes = slabSizes(layout.box.size, command.slabPoints);
    return layout;
}

/// Takes the room on the disk that a file has by its size, where the file system can do that.
void reserve(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    const auto size = static_cast<off_t>(std::filesystem::file_size(path));
    const int error = fallocate(file, 0, 0, size) == 0 ? 0 : errno;
    close(file);
    if (error == ENOSPC || error == EDQUOT || error == EFBIG)
        throw std::runtime_error(path.string() + " has no room for its " +
                                 texts::bytes(static_cast<double>(size)) + ": " +
                                 std::generic_category().message(error));
}

/// Removes what a run that was killed may have left beside the output. Nobody else is at work
/// there: this run has the lock.
void removeLeftovers(const std::filesystem::path& output) {
    for (const char* ending : {".new", ".compressing"}) {
        std::error_code ignored;
        std::filesystem::remove(output.string() + ending, ignored);
    }
}

/// Creates the output, all at once: whatever happens, it is there as a whole or not at all.
void createOutput(const std::filesystem::path& output, const Layout& layout) {
    const FileBeside beside(output);
    FieldFile::create(beside.path(), layout);
    reserve(beside.path());
    beside.takePlace();
}

std::int64_t pointsOf(const Slabs& slabs, const Numbers& numbers) {
    std::int64_t points = 0;
    for (const std::int64_t number : numbers) points += slabs.slab(number).points();
    return points;
}

Numbers numbersOf(const std::vector<SlabRecord>& records, bool finished) {
    Numbers numbers;
    for (std::size_t i = 0; i < records.size(); ++i)
        if ((records[i].finished != 0) == finished) numbers.push_back(static_cast<std::int64_t>(i));
    return numbers;
}

void requireSame(const ComputeCommand& command, const FieldFile& file) {
    const std::string name = command.output.string();
    if (file.joined()) throw std::runtime_error(name + " is joined from parts: resume those");
    if (const auto option = contradiction(command, file.layout().request))
        throw std::runtime_error(*option + " differs from the request that " + name +
                                 " was begun with");
}

/// Says what the field takes and sees to it that there is an output.
void prepare(const ComputeCommand& command, int processes) {
    const std::filesystem::path& output = command.output;
    if (!std::filesystem::exists(output)) {
        const Layout layout = layoutOf(command);
        printEstimate(output, layout, layout.box.points(), processes);
        if (!command.onlyEstimate) createOutput(output, layout);
        return;
    }
    if (!command.resume && !command.onlyEstimate)
        throw std::runtime_error(output.string() +
                                 " exists: complete it with --resume, or remove it");
    const FieldFile file(output, FieldFile::Access::read);
    requireSame(command, file);
    const Layout& layout = file.layout();
    const std::int64_t missing =
        pointsOf(layout.slabs(), numbersOf(file.records(), /*finished=*/false));
    printEstimate(output, layout, missing, processes);
}

/// One process's part in a file that all work on.
class Worker {
  public:
    Worker(Team& team, FieldFile& file)
        : team(team), file(file), slabs(file.layout().slabs()), values(file.layout()) {}

    /// Compares the finished slabs with their checksums.
    /// @return those of this process's share that are not what they were
    Numbers findChanged(const std::vector<SlabRecord>& records) {
        Numbers changed;
        const Numbers finished = shareOf(numbersOf(records, /*finished=*/true));
        workOn("verifying", finished, [&](std::int64_t number) {
            const LatticeBox box = slabs.slab(number);
            values.read(file, box);
            if (values.checksum(box) != records[static_cast<std::size_t>(number)].checksum)
                changed.push_back(number);
        });
        return changed;
    }

    /// Computes and writes slabs.
    void compute(const Numbers& numbers) {
        std::unique_ptr<Evaluation> evaluation;
        team.together([&] { evaluation = evaluationOf(file.layout().request); });
        workOn("computing", numbers, [&](std::int64_t number) {
            const LatticeBox box = slabs.slab(number);
            values.compute(*evaluation, box);
            values.write(file, box);
            file.record(number, values.checksum(box));
        });
    }

    /// Every n-th, in n processes.
    Numbers shareOf(const Numbers& numbers) const {
        Numbers share;
        for (auto i = static_cast<std::size_t>(team.rank()); i < numbers.size();
             i += static_cast<std::size_t>(team.size()))
            share.push_back(numbers[i]);
        return share;
    }

  private:
    /// Does something to slabs, one after the other, until a process is told to stop or fails.
    void workOn(const char* what, const Numbers& numbers,
                const std::function<void(std::int64_t)>& work) {
        if (stopped) return;
        const std::int64_t all = file.layout().box.points();
        const auto todo =
            static_cast<std::int64_t>(team.sum(static_cast<double>(pointsOf(slabs, numbers))));
        std::optional<Progress> progress;
        if (team.isFirst()) progress.emplace(what, all, all - todo);
        Conversation conversation(team, [&](std::int64_t points) { progress->add(points); });
        for (const std::int64_t number : numbers) {
            if (signalled() != 0) conversation.tellStop();
            if (conversation.stopped()) break;
            try {
                work(number);
            } catch (const std::exception& error) {
                conversation.tellFailure(error.what());
                break;
            }
            conversation.tellPoints(slabs.slab(number).points());
        }
        const std::optional<std::string> failure = conversation.finish();
        progress.reset();
        team.first([&] {
            if (failure) throw std::runtime_error(*failure);
        });
        stopped = team.largest(signalled()) != 0;
    }

    Team& team;
    FieldFile& file;
    Slabs slabs;
    SlabValues values;
    bool stopped = false;
};

/// Tells of slabs that are not what was written. In a compressed file they cannot be replaced.
void sayChanged(const ComputeCommand& command, const Team& team, const FieldFile& file,
                const Numbers& changed) {
    const double count = team.sum(static_cast<double>(changed.size()));
    if (count == 0) return;
    if (file.compressed())
        throw std::runtime_error(command.output.string() +
                                 " has changed since it was compressed: compute it anew");
    if (team.isFirst())
        std::cout << "computing again what has changed since it was written: " << count << " of "
                  << file.layout().slabs().count() << " slabs\n";
}

/// Opens the output and does one process's part in it.
void computeMissing(const ComputeCommand& command, Team& team, std::optional<FieldFile>& file) {
    std::vector<SlabRecord> records;
    std::optional<Worker> worker;
    team.together([&] {
        file.emplace(command.output, FieldFile::Access::write, team.communicator());
        records = file->records();
        worker.emplace(team, *file);
    });
    Numbers todo = worker->findChanged(records);
    team.together([&] { sayChanged(command, team, *file, todo); });
    const Numbers missing = worker->shareOf(numbersOf(records, /*finished=*/false));
    todo.insert(todo.end(), missing.begin(), missing.end());
    worker->compute(todo);
}

/// Writes down whether all slabs are finished, and what that took.
void keepAccount(const ComputeCommand& command, const Team& team, const std::string& started,
                 double seconds, std::int64_t memory) {
    FieldFile file(command.output, FieldFile::Access::write);
    Account account = file.account();
    std::array<char, 256> host{};
    static_cast<void>(gethostname(host.data(), host.size() - 1));
    account.host = host.data();
    if (account.started.empty()) account.started = started;
    account.finished = texts::timeNow();
    account.seconds += seconds;
    account.processes = team.size();
    account.peakMemory = std::max(account.peakMemory, memory);
    account.complete = numbersOf(file.records(), /*finished=*/false).empty();
    file.setAccount(account);
    file.close();
}

/// Says what there is now, and makes of a complete field what else was asked for.
/// @return whether nothing is left to do
bool conclude(const ComputeCommand& command) {
    const FieldFile file(command.output, FieldFile::Access::read);
    const Layout& layout = file.layout();
    const std::vector<SlabRecord> records = file.records();
    const Numbers missing = numbersOf(records, /*finished=*/false);
    const std::string name = command.output.string();
    if (!missing.empty()) {
        std::cout << name << " has " << records.size() - missing.size() << " of " << records.size()
                  << " slabs; --resume computes the others\n";
        return false;
    }
    if (layout.magnitude) writeXdmf(command.output, layout);
    const bool done = command.deflate == 0 || compress(command.output, command.deflate);
    std::cout << name << " is complete, " << layout.box.points() << " points"
              << (done ? "" : ", and not compressed; --resume --compress does that") << "\n";
    return done;
}

}  // namespace

int compute(const ComputeCommand& command, Team& team) {
    std::optional<FileLock> lock;
    team.first([&] {
        if (!command.onlyEstimate) {
            lock.emplace(command.output);
            removeLeftovers(command.output);
        }
        prepare(command, team.size());
    });
    if (command.onlyEstimate) return 0;

    const std::string started = texts::timeNow();
    const Clock::time_point begin = Clock::now();
    std::optional<FieldFile> file;
    try {
        computeMissing(command, team, file);
    } catch (...) {
        if (file) file->abandon();
        throw;
    }
    team.together([&] { file->close(); });

    const std::chrono::duration<double> time = Clock::now() - begin;
    const std::int64_t memory = team.largest(peakMemory());
    bool done = true;
    team.first([&] {
        keepAccount(command, team, started, time.count(), memory);
        done = conclude(command);
    });
    const bool stopped = team.largest(done ? 0 : 1) != 0;
    return stopped ? 128 + static_cast<int>(team.largest(signalled())) : 0;
}

}  // namespace run
