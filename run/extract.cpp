// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "run/FieldFile.h"
#include "run/FileBeside.h"
#include "run/commands.h"

namespace run {

namespace {

/// The box that is asked for, within what the file has.
LatticeBox boxOf(const ExtractCommand& command, const LatticeBox& whole) {
    LatticeBox box = whole;
    if (command.first) box.first = *command.first;
    for (std::size_t i = 0; i < box.first.size(); ++i) {
        const std::int64_t end = whole.first[i] + whole.size[i];
        if (box.first[i] < whole.first[i] || box.first[i] >= end)
            throw std::runtime_error("--first: " + std::to_string(box.first[i]) +
                                     " is not within " + std::to_string(whole.first[i]) + " to " +
                                     std::to_string(end - 1));
        box.size[i] = command.size ? (*command.size)[i] : end - box.first[i];
        if (box.size[i] < 1 || box.size[i] > end - box.first[i])
            throw std::runtime_error("--size: " + std::to_string(box.size[i]) +
                                     " is not within 1 to " + std::to_string(end - box.first[i]));
    }
    return box;
}

/// Without a part HDF5 would read other values in its place.
void requireParts(const FieldFile& file) {
    for (const std::filesystem::path& part : file.sources())
        static_cast<void>(FieldFile(part, FieldFile::Access::read));
    rlimit files{};
    constexpr std::size_t others = 32;
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && file.sources().size() + others > files.rlim_cur)
        throw std::runtime_error("there are more parts than the " + std::to_string(files.rlim_cur) +
                                 " files that may be open at a time (ulimit -n)");
}

/// @return whether that could be written
bool copyValues(const FieldFile& file, const LatticeBox& box, const std::filesystem::path& path) {
    // Pieces that follow each other in the output: rows, as many as fit.
    constexpr std::int64_t pointsAtATime = 1 << 20;
    const std::int64_t x = std::min(box.size[0], pointsAtATime);
    const std::int64_t y = x < box.size[0] ? 1 : std::max<std::int64_t>(1, pointsAtATime / x);
    const Slabs pieces(box, {x, y, 1});
    const std::int64_t bytes = file.layout().request.valueBytes();
    std::vector<char> values(static_cast<std::size_t>(pointsAtATime * bytes));
    std::ofstream out(path, std::ios::binary);
    for (std::int64_t i = 0; i < pieces.count() && out; ++i) {
        const LatticeBox piece = pieces.slab(i);
        file.read(piece, values.data(), nullptr);
        out.write(values.data(), piece.points() * bytes);
    }
    out.close();
    return !out.fail();
}

}  // namespace

int extract(const ExtractCommand& command) {
    // The field itself above all. A device or a pipe may be there.
    const bool exists = std::filesystem::exists(command.output);
    if (exists && std::filesystem::is_regular_file(command.output))
        throw std::runtime_error(command.output.string() + " exists: remove it first");
    const FieldFile file(command.file, FieldFile::Access::read);
    if (!file.account().complete)
        throw std::runtime_error(command.file.string() + " is not complete");
    if (file.joined()) requireParts(file);
    const LatticeBox box = boxOf(command, file.layout().box);
    // What is there goes on being there.
    const FileBeside beside(command.output);
    if (!copyValues(file, box, exists ? command.output : beside.path()))
        throw std::runtime_error(command.output.string() +
                                 " cannot be written: " + std::generic_category().message(errno));
    if (!exists) beside.takePlace();
    return 0;
}

}  // namespace run
