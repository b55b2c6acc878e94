// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <vector>

#include "run/commands/commands.h"
#include "run/commands/compress.h"
#include "run/commands/estimate.h"
#include "run/commands/preparation.h"
#include "run/file/FieldFile.h"
#include "run/file/FileLock.h"
#include "run/file/xdmf.h"
#include "run/formatting.h"
#include "run/processes/Interruption.h"
#include "run/processes/Worker.h"
#include "run/processes/agreement.h"

namespace run {

namespace {

using Clock = std::chrono::steady_clock;

/// Has slabs that are not what was written count as missing. In a compressed file they cannot be
/// replaced.
void giveUp(const ComputeCommand& command, const Ranks& ranks, FieldFile& file, Worker& worker,
            const SlabNumbers& changed) {
    const auto count = static_cast<std::int64_t>(ranks.sum(static_cast<double>(changed.size())));
    if (count == 0) return;
    if (file.compressed())
        throw std::runtime_error(command.output.string() +
                                 " has changed since it was compressed: compute it anew");
    file.setIncomplete();
    worker.forget(changed);
    if (ranks.isFirst())
        std::cout << "computing again what has changed since it was written: " << count << " of "
                  << file.layout().slabs().count() << " slabs" << std::endl;
}

/// What others have done to the output's name is not this run's to undo.
void requireStillThere(const ComputeCommand& command, const FileLock& lock) {
    if (!lock.file().isAt(command.output))
        throw std::runtime_error(command.output.string() +
                                 " was removed or replaced while it was computed");
}

/// One process's share of what is to be done.
struct Todo {
    SlabNumbers missing;
    SlabNumbers changed;   ///< those that are not what was written
    bool stopped = false;  ///< whether not all were compared with that
};

/// Looks for what is to be done. Only reads: to open a file for writing is to change it.
Todo findTodo(const ComputeCommand& command, Ranks& ranks) {
    std::optional<FieldFile> file;
    std::vector<SlabRecord> records;
    std::optional<Worker> worker;
    Todo todo;
    ranks.together([&] {
        file.emplace(command.output, FieldFile::Access::read);
        records = file->records();
        worker.emplace(ranks, *file);
        todo.missing = worker->shareOf(numbersOf(records, /*finished=*/false));
    });
    todo.changed = worker->findChanged(records);
    todo.stopped = worker->stopped();
    return todo;
}

/// Opens the output where something is to be done, and does one process's part in it.
/// @return whether it was not stopped
bool computeMissing(const ComputeCommand& command, const std::optional<FileLock>& lock,
                    Ranks& ranks, std::optional<FieldFile>& file) {
    requireSameOutput(command.output, ranks);
    Todo todo = findTodo(command, ranks);
    // Changed slabs become missing ones however that ended.
    if (todo.stopped) todo.missing.clear();
    if (ranks.sum(static_cast<double>(todo.missing.size() + todo.changed.size())) == 0)
        return !todo.stopped;
    std::optional<Worker> worker;
    ranks.first([&] { requireStillThere(command, *lock); });
    ranks.together([&] {
        file.emplace(command.output, FieldFile::Access::write, ranks.communicator());
        worker.emplace(ranks, *file);
    });
    // Another file has other slabs.
    ranks.first([&] { requireStillThere(command, *lock); });
    ranks.together([&] { giveUp(command, ranks, *file, *worker, todo.changed); });
    if (todo.stopped) return false;
    todo.missing.insert(todo.missing.end(), todo.changed.begin(), todo.changed.end());
    worker->compute(todo.missing);
    return !worker->stopped();
}

std::int64_t undefinedIn(const std::vector<SlabRecord>& records) {
    std::int64_t count = 0;
    for (const SlabRecord& record : records) count += record.undefined;
    return count;
}

/// Writes down whether all slabs are finished, and what that took.
void keepProvenance(const ComputeCommand& command, const Ranks& ranks, const std::string& started,
                    double seconds, std::int64_t memory, const Outlook& outlook) {
    Provenance provenance = FieldFile(command.output, FieldFile::Access::read).provenance();
    // Nothing was to be done.
    if (provenance.complete) return;
    FieldFile file(command.output, FieldFile::Access::write);
    const std::vector<SlabRecord> records = file.records();
    std::array<char, 256> host{};
    static_cast<void>(gethostname(host.data(), host.size() - 1));
    provenance.host = host.data();
    if (provenance.started.empty()) provenance.started = started;
    provenance.finished = formatting::timeNow();
    provenance.seconds += seconds;
    provenance.processes = ranks.size();
    provenance.peakMemory = std::max(provenance.peakMemory, memory);
    provenance.complete = numbersOf(records, /*finished=*/false).empty();
    provenance.undefined = undefinedIn(records);
    provenance.accuracy = outlook.accuracy;
    provenance.engine = outlook.engine;
    file.setProvenance(provenance);
    file.close();
}

/// Says what there is now, and makes of a complete field what else was asked for.
/// @param whole whether all finished slabs were compared with their checksums
/// @return whether nothing is left to do
bool conclude(const ComputeCommand& command, bool whole) {
    const FieldFile file(command.output, FieldFile::Access::read);
    const Layout& layout = file.layout();
    const std::vector<SlabRecord> records = file.records();
    const SlabNumbers missing = numbersOf(records, /*finished=*/false);
    const std::string name = command.output.string();
    if (!missing.empty()) {
        std::cout << name << " has " << records.size() - missing.size() << " of " << records.size()
                  << " slabs; --resume computes the others\n";
        return false;
    }
    if (!whole) {
        std::cout << name
                  << " was not compared with its checksums to the end; --resume does that\n";
        return false;
    }
    if (layout.magnitude) writeXdmf(command.output, layout, command.overwrite);
    const bool done = command.deflate == 0 || compress(command.output, command.deflate);
    std::cout << name << " is complete, " << layout.box.points() << " points"
              << (done ? "" : ", and not compressed; --resume --compress does that") << "\n";
    if (const std::int64_t undefined = undefinedIn(records); undefined > 0)
        std::cout << "note    " << undefined
                  << " of them have no value (NaN): they lie straight over a corner of the piston, "
                     "or the request overflows there\n";
    return done;
}

}  // namespace

int compute(const ComputeCommand& command, Ranks& ranks) {
    Preparation prepared;
    ranks.first([&] { prepared = prepare(command, ranks.size()); });
    const std::optional<FileLock>& lock = prepared.lock;
    if (command.onlyEstimate) return 0;
    listenForSignals();

    const std::string started = formatting::timeNow();
    const Clock::time_point begin = Clock::now();
    std::optional<FieldFile> file;
    bool whole = false;
    try {
        whole = computeMissing(command, lock, ranks, file);
    } catch (...) {
        if (file) file->abandon();
        throw;
    }
    ranks.together([&] {
        if (file) file->close();
    });

    const std::chrono::duration<double> time = Clock::now() - begin;
    const std::int64_t memory = ranks.largest(peakMemory());
    bool done = true;
    ranks.first([&] {
        requireStillThere(command, *lock);
        keepProvenance(command, ranks, started, time.count(), memory, prepared.outlook);
        done = conclude(command, whole);
    });
    const bool stopped = ranks.largest(done ? 0 : 1) != 0;
    return stopped ? 128 + static_cast<int>(ranks.largest(signalled())) : 0;
}

}  // namespace run
