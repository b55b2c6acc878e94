// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <iostream>

#include "run/Progress.h"
#include "run/SlabValues.h"
#include "run/commands.h"

namespace run {

namespace {

/// Whether all of a field is there as it was written.
bool isWhole(const std::filesystem::path& path) {
    const FieldFile file(path, FieldFile::Access::read);
    if (file.joined()) {
        bool whole = true;
        for (const std::filesystem::path& part : file.sources()) whole = isWhole(part) && whole;
        return whole;
    }
    const std::vector<SlabRecord> records = file.records();
    const Slabs slabs = file.layout().slabs();
    SlabValues values(file.layout());
    std::int64_t missing = 0;
    std::int64_t changed = 0;
    Progress progress("verifying", file.layout().box.points(), 0);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        const SlabRecord& record = records[static_cast<std::size_t>(i)];
        const LatticeBox box = slabs.slab(i);
        progress.add(box.points());
        if (record.finished == 0) {
            ++missing;
            continue;
        }
        values.read(file, box);
        if (values.checksum(box) != record.checksum) ++changed;
    }
    std::cout << path.string() << ": " << slabs.count() << " slabs, " << missing << " missing, "
              << changed << " changed since they were written\n";
    return missing == 0 && changed == 0;
}

}  // namespace

int verify(const VerifyCommand& command) {
    int status = 0;
    for (const std::filesystem::path& path : command.files)
        if (!isWhole(path)) status = 1;
    return status;
}

}  // namespace run
