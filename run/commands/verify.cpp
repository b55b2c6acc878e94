// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>

#include "run/commands/commands.h"
#include "run/file/Descriptor.h"
#include "run/file/PartFiles.h"
#include "run/file/SlabValues.h"
#include "run/file/outputs.h"
#include "run/formatting.h"
#include "run/processes/Progress.h"

namespace run {

namespace {

namespace fs = std::filesystem;

bool isAsWritten(const FieldFile& file, const SlabRecord& record, const LatticeBox& box,
                 SlabValues& values) {
    try {
        values.read(file, box);
    } catch (const std::runtime_error&) {
        return false;
    }
    return values.match(record, box);
}

/// Whether all slabs of a file are there as they were written.
bool areWhole(const FieldFile& file, const std::string& name) {
    const Layout& layout = file.layout();
    const std::vector<SlabRecord> records = file.records();
    const Slabs slabs = layout.slabs();
    SlabValues values(layout);
    std::int64_t missing = 0;
    std::int64_t changed = 0;
    Progress progress("verifying", layout.box.points(), 0);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        const SlabRecord& record = records[static_cast<std::size_t>(i)];
        const LatticeBox box = slabs.slab(i);
        progress.add(box.points());
        if (!record.finished)
            ++missing;
        else if (!isAsWritten(file, record, box, values))
            ++changed;
    }
    const bool complete = file.provenance().complete;
    std::cout << name << ": " << slabs.count() << " slabs, " << missing << " missing, " << changed
              << " changed since they were written"
              << (missing == 0 && changed == 0 && !complete ? "; --resume completes its account"
                                                            : "")
              << "\n";
    return missing == 0 && changed == 0 && complete;
}

bool isWhole(const fs::path& path);

/// Whether all parts are whole, and those that were joined.
bool arePartsWhole(const FieldFile& joined, const fs::path& path) {
    const fs::path folder = outputs::target(path).parent_path();
    bool whole = true;
    for (const JoinedPart& part : joined.parts()) {
        const fs::path place = folder / part.file;
        if (outputs::areOne(place, path))
            throw std::runtime_error(place.string() + " is " + path.string() + " itself");
        if (!isWhole(place)) {
            whole = false;
            continue;
        }
        const std::string complaint =
            complaintAbout(part, FieldFile(place, FieldFile::Access::read));
        if (complaint.empty()) continue;
        std::cout << place.string() << " " << complaint << "\n";
        whole = false;
    }
    if (!joined.provenance().complete) {
        std::cout << path.string() << " is not complete: join its parts again\n";
        whole = false;
    }
    return whole;
}

/// Whether all of a field is there as it was written. Says what is not.
bool isWhole(const fs::path& path) {
    try {
        const FieldFile file(path, FieldFile::Access::read);
        return file.joined() ? arePartsWhole(file, path) : areWhole(file, path.string());
    } catch (const std::exception& error) {
        std::cerr << formatting::complaint(error) << std::endl;
        return false;
    }
}

/// Asks that of a process of its own, which what is in a damaged file may end.
bool isWholeToAnother(const fs::path& path) {
    std::cout.flush();
    const pid_t child = fork();
    if (child < 0) failWith("a process cannot be started", errno);
    if (child == 0) {
        // Nobody waits for a child whose parent was killed.
        static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
        const bool whole = isWhole(path);
        std::cout.flush();
        _exit(whole && std::cout ? 0 : 1);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFSIGNALED(status)) return WEXITSTATUS(status) == 0;
    const std::runtime_error death(path.string() + " is damaged: reading it ended by " +
                                   strsignal(WTERMSIG(status)));
    std::cerr << formatting::complaint(death) << std::endl;
    return false;
}

}  // namespace

int verify(const VerifyCommand& command) {
    int status = 0;
    for (const fs::path& path : command.files)
        if (!isWholeToAnother(path)) status = 1;
    return status;
}

}  // namespace run
