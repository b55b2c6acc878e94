// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/compress.h"

#include <stdexcept>

#include "run/FieldFile.h"
#include "run/FileBeside.h"
#include "run/Interruption.h"
#include "run/Progress.h"
#include "run/SlabValues.h"

namespace run {

bool compress(const std::filesystem::path& path, int level) {
    const FieldFile from(path, FieldFile::Access::read);
    if (from.compressed()) return true;
    const FileBeside beside(path, ".compressing");
    FieldFile::create(beside.path(), from.layout(), level);
    FieldFile to(beside.path(), FieldFile::Access::write);

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
            throw std::runtime_error(path.string() +
                                     " has changed since it was written; --resume mends it");
        values.write(to, box);
        to.record(i, {checksum, 1});
        progress.add(box.points());
    }
    to.setAccount(from.account());
    to.close();
    beside.takePlace();
    return true;
}

}  // namespace run
