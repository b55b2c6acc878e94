// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/compress.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>

#include "run/commands/preparation.h"
#include "run/file/FieldFile.h"
#include "run/file/SlabValues.h"
#include "run/file/TemporaryFile.h"
#include "run/file/headCopy.h"
#include "run/file/outputs.h"
#include "run/processes/Interruption.h"
#include "run/processes/Progress.h"

namespace run {

namespace {

/// Lets those read and write a file who may do so with another.
void giveSameRights(const Descriptor& from, const Descriptor& to, const std::string& name) {
    struct stat status {};
    constexpr unsigned permissions = 07777;
    if (fstat(from, &status) != 0 || fchown(to, status.st_uid, status.st_gid) != 0 ||
        fchmod(to, status.st_mode & permissions) != 0)
        failWith(name + " cannot be compressed with the same owner and rights", errno);
    constexpr const char* list = "system.posix_acl_access";
    const ssize_t size = fgetxattr(from, list, nullptr, 0);
    if (size <= 0) return;
    std::string rights(static_cast<std::size_t>(size), '\0');
    if (fgetxattr(from, list, rights.data(), rights.size()) != size ||
        fsetxattr(to, list, rights.data(), rights.size(), 0) != 0)
        failWith(name + " cannot be compressed with the same rights", errno);
}

/// @return whether it was not stopped
bool copyValues(const FieldFile& from, FieldFile& to, const std::string& name) {
    const std::vector<SlabRecord> records = from.records();
    const Slabs slabs = from.layout().slabs();
    SlabValues values(from.layout());
    Progress progress("compressing", from.layout().box.points(), 0);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        if (signalled() != 0) return false;
        const LatticeBox box = slabs.slab(i);
        values.read(from, box);
        if (!values.match(records[static_cast<std::size_t>(i)], box))
            throw std::runtime_error(name + " has changed since it was written; --resume mends it");
        values.write(to, box);
        to.record(i, values.record(box));
        progress.add(box.points());
    }
    return true;
}

}  // namespace

bool compress(const std::filesystem::path& path, int level) {
    const FieldFile from(path, FieldFile::Access::read);
    if (from.compressed()) return true;
    const Descriptor raw(path, O_RDONLY);
    TemporaryFile temporary(outputs::target(path));
    giveSameRights(raw, temporary.lock().file(), path.string());
    bool done = false;
    temporary.fill([&](const std::filesystem::path& compressed) {
        FieldFile::create(compressed, from.layout(), level, temporary.head());
        FieldFile to(compressed, FieldFile::Access::write);
        done = copyValues(from, to, path.string());
        if (!done) return;
        to.setProvenance(from.provenance());
        to.close();
        // Now that the page leads to the values.
        headCopy::make(compressed, /*canBeFilled=*/false);
    });
    if (!done) return false;
    if (!raw.isAt(path))
        throw std::runtime_error(path.string() +
                                 " was removed or replaced while it was compressed");
    static_cast<void>(temporary.takePlace(/*replacing=*/true, firstBytes()));
    return true;
}

}  // namespace run
