// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/preparation.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "run/commands/estimate.h"
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

Layout layoutOf(const ComputeCommand& command) {
    checkComplete(command);
    const pistonfield::Request& request = command.request;
    Layout layout{request, request.lattice.box(), {}, command.magnitude};
    if (command.part) layout.box = boxOf(*command.part, request.lattice.sizes);
    layout.slabSizes = slabSizes(layout.box.size, command.slabPoints);
    return layout;
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

/// Tells what a field takes, and refuses one that there is no plan for.
std::optional<pistonfield::Accuracy> estimate(const ComputeCommand& command, const Layout& layout,
                                              std::int64_t missing, int processes) {
    try {
        return printEstimate(command.output, layout, missing, processes);
    } catch (const pistonfield::InvalidRequest& error) {
        refuse(command, error);
    }
}

Preparation begin(const ComputeCommand& command, int processes) {
    const std::filesystem::path& output = command.output;
    const Layout layout = layoutOf(command);
    if (!command.onlyEstimate) {
        outputs::require(output, /*overwrite=*/true, command.inputs);
        outputs::requireFolder(output);
        if (command.magnitude) requireViewersFile(output, command.overwrite);
    }
    const auto accuracy = estimate(command, layout, layout.box.points(), processes);
    if (command.onlyEstimate) return {};
    requireRoom(command, layout);
    const std::filesystem::path file = outputs::target(output);
    std::optional<FileLock> old;
    if (std::filesystem::exists(file)) old.emplace(file);
    removeLeftovers(output);
    return {createOutput(file, layout, command.overwrite), accuracy};
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
    const auto accuracy = estimate(command, layout, missing, processes);
    if (lock) removeLeftovers(output);
    return {std::move(lock), accuracy};
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
