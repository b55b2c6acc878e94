// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/compress.h"

#include <stdexcept>

#include "run/FieldFile.h"
#include "run/Progress.h"
#include "run/SlabValues.h"

namespace run {

namespace {

/// Copies a field slab by slab, comparing every value with its checksum.
void copy(const FieldFile& from, FieldFile& to, const std::string& name) {
    const std::vector<SlabRecord> records = from.records();
    const Slabs slabs = from.layout().slabs();
    SlabValues values(from.layout());
    Progress progress("compressing", from.layout().box.points(), 0);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        const LatticeBox box = slabs.slab(i);
        values.read(from, box);
        const std::uint64_t checksum = values.checksum(box);
        if (checksum != records[static_cast<std::size_t>(i)].checksum)
            throw std::runtime_error(name + " has changed since it was written; --resume mends it");
        values.write(to, box);
        to.record(i, checksum);
        progress.add(box.points());
    }
    to.setAccount(from.account());
    to.close();
}

}  // namespace

void compress(const std::filesystem::path& path, int level) {
    const FieldFile from(path, FieldFile::Access::read);
    if (from.compressed()) return;
    const std::filesystem::path beside = path.string() + ".compressing";
    try {
        FieldFile::create(beside, from.layout(), level);
        FieldFile to(beside, FieldFile::Access::write);
        copy(from, to, path.string());
        std::filesystem::rename(beside, path);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        throw;
    }
}

}  // namespace run
