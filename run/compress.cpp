// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/compress.h"

#include <stdexcept>

#include "run/FieldFile.h"
#include "run/Interruption.h"
#include "run/Progress.h"
#include "run/SlabValues.h"

namespace run {

namespace {

/// Copies a field slab by slab, comparing every value with its checksum.
/// @return whether all of it was copied: a signal stops this
bool copy(const FieldFile& from, FieldFile& to, const std::string& name) {
    const std::vector<SlabRecord> records = from.records();
    const Slabs slabs = from.layout().slabs();
    SlabValues values(from.layout());
    Progress progress("compressing", from.layout().box.points(), 0);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        if (signalled() != 0) return false;
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
    return true;
}

}  // namespace

bool compress(const std::filesystem::path& path, int level) {
    const FieldFile from(path, FieldFile::Access::read);
    if (from.compressed()) return true;
    const std::filesystem::path beside = path.string() + ".compressing";
    try {
        FieldFile::create(beside, from.layout(), level);
        FieldFile to(beside, FieldFile::Access::write);
        const bool whole = copy(from, to, path.string());
        if (whole)
            std::filesystem::rename(beside, path);
        else
            std::filesystem::remove(beside);
        return whole;
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        throw;
    }
}

}  // namespace run
