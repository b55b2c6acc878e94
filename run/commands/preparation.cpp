// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/preparation.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "run/commands/leftovers.h"
#include "run/file/Descriptor.h"
#include "run/file/FieldFile.h"
#include "run/file/SlabNumbers.h"
#include "run/file/TemporaryFile.h"
#include "run/file/headCopy.h"
#include "run/file/outputs.h"
#include "run/file/xdmf.h"
#include "run/formatting.h"

namespace run {

namespace {

/// All but the sizes of slabs.
Layout layoutOf(const ComputeCommand& command) {
    checkComplete(command);
    const pistonfield::Request& request = command.request;
    Layout layout{request, request.lattice.box(), {}, command.magnitude};
    if (command.part) layout.box = boxOf(*command.part, request.lattice.sizes);
    return layout;
}

/// The sizes of slabs. Where nobody says how many points, a slab has some megabytes, or a tile for
/// each thread where that is more, up to half a gigabyte.
std::array<std::int64_t, 3> slabSizesOf(const ComputeCommand& command, const Layout& layout,
                                        const pistonfield::Plan& plan) {
    constexpr std::int64_t usual = 1 << 18;
    constexpr std::int64_t most = 1 << 25;
    const std::array<std::int64_t, 3> tile = plan.tile();
    std::int64_t points = std::min(pistonfield::threadCount(), pistonfield::usableCores());
    for (std::size_t i = 0; i < tile.size(); ++i) points *= std::min(tile[i], layout.box.size[i]);
    return slabSizes(layout.box.size, command.slabPoints.value_or(std::clamp(points, usual, most)),
                     tile);
}

/// @throws std::runtime_error where there is no plan
pistonfield::Plan planOf(const ComputeCommand& command, const Layout& layout) {
    try {
        return pistonfield::Plan(layout.request);
    } catch (const pistonfield::InvalidRequest& error) {
        refuse(command, error);
    }
}

/// Takes the room on the disk that a file has by its size, where the file system can do that, and
/// sees to it that what is in it is there.
void reserve(const std::filesystem::path& path) {
    const auto size = static_cast<off_t>(std::filesystem::file_size(path));
    const Descriptor file(path, O_RDWR);
    int error = fallocate(file, 0, 0, size) == 0 ? 0 : errno;
    if (error == EOPNOTSUPP || error == EINTR) error = 0;
    if (error == 0 && fdatasync(file) != 0) error = errno;
    if (error != 0)
        failWith(
            path.string() + " has no room for its " + formatting::bytes(static_cast<double>(size)),
            error);
}

/// Creates the output, all at once: whatever happens, it is there as a whole or not at all.
FileLock createOutput(const std::filesystem::path& file, const Layout& layout, bool replacing) {
    TemporaryFile temporary(file);
    temporary.fill([&](const std::filesystem::path& path) {
        FieldFile::create(path, layout, 0, temporary.head());
        reserve(path);
    });
    return temporary.takePlace(replacing, firstBytes());
}

void requireSame(const ComputeCommand& command, const FieldFile& file) {
    const std::string name = command.output.string();
    if (file.joined()) throw std::runtime_error(name + " is joined from parts: resume those");
    if (const auto option = contradiction(command, file.layout().request))
        throw std::runtime_error(*option + " differs from the request that " + name +
                                 " was begun with");
}

void requireRoom(const ComputeCommand& command, const Layout& layout) {
    const std::filesystem::path folder = std::filesystem::absolute(command.output).parent_path();
    const auto free = static_cast<double>(std::filesystem::space(folder).available);
    if (layout.bytes() > free)
        throw std::runtime_error(command.output.string() + " has no room for its " +
                                 formatting::bytes(layout.bytes()) + ": " +
                                 formatting::bytes(free) + " are free, " +
                                 formatting::bytes(layout.bytes() - free) + " too few");
}

Preparation begin(const ComputeCommand& command, int processes) {
    const std::filesystem::path& output = command.output;
    Layout layout = layoutOf(command);
    if (!command.onlyEstimate) {
        outputs::require(output, /*overwrite=*/true, command.inputs);
        outputs::requireFolder(output);
        if (command.magnitude) requireViewersFile(output, command.overwrite);
    }
    const pistonfield::Plan plan = planOf(command, layout);
    layout.slabSizes = slabSizesOf(command, layout, plan);
    const Outlook outlook = printEstimate(output, layout, plan, layout.box.points(), processes);
    if (command.onlyEstimate) return {};
    requireRoom(command, layout);
    const std::filesystem::path file = outputs::target(output);
    std::optional<FileLock> old;
    if (std::filesystem::exists(file)) old.emplace(file);
    removeLeftovers(output);
    return {createOutput(file, layout, command.overwrite), outlook};
}

/// Opens an output to go on with, after it was mended where it cannot be opened otherwise.
FieldFile openMended(const std::filesystem::path& output, bool mend) {
    try {
        return {output, FieldFile::Access::read};
    } catch (const DamagedHead&) {
        if (!mend || !headCopy::restore(output)) throw;
    }
    std::cout << output.string() << " was damaged at its beginning or cut off, and is mended: "
              << "what is lost is computed again\n";
    return {output, FieldFile::Access::read};
}

Preparation goOn(const ComputeCommand& command, int processes) {
    const std::filesystem::path& output = command.output;
    if (std::filesystem::is_directory(output))
        throw std::runtime_error(output.string() + " is a folder: name a file in it");
    if (!std::filesystem::is_regular_file(output))
        throw std::runtime_error(output.string() + " is no file to write to");
    if (!command.resume && !command.onlyEstimate)
        throw std::runtime_error(
            output.string() + " exists: complete it with --resume, or replace it with --overwrite");
    std::optional<FileLock> lock;
    if (!command.onlyEstimate) lock.emplace(output);
    const FieldFile file = openMended(output, !command.onlyEstimate);
    requireSame(command, file);
    const Layout& layout = file.layout();
    if (!command.onlyEstimate && layout.magnitude) requireViewersFile(output, command.overwrite);
    const std::int64_t missing =
        pointsOf(layout.slabs(), numbersOf(file.records(), /*finished=*/false));
    const Outlook outlook =
        printEstimate(output, layout, planOf(command, layout), missing, processes);
    if (lock) removeLeftovers(output);
    return {std::move(lock), outlook};
}

}  // namespace

void requireViewersFile(const std::filesystem::path& output, bool overwrite) {
    const std::filesystem::path path = xdmfPath(output);
    outputs::requireRoomInName(output, path.extension().string());
    if (!overwrite && !mayReplaceXdmf(path))
        throw std::runtime_error(
            path.string() +
            " exists, and is no file of this program: remove it first, or give "
            "--overwrite");
}

std::string firstBytes() {
    std::string bytes = "A field of pistonfield-run: what follows these words is HDF5.\n";
    bytes.resize(TemporaryFile::headBytes);
    return bytes;
}

Preparation prepare(const ComputeCommand& command, int processes) {
    const bool there = std::filesystem::exists(command.output) && !command.overwrite;
    return there ? goOn(command, processes) : begin(command, processes);
}

}  // namespace run
