// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/preparation.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "run/FieldFile.h"
#include "run/FileBeside.h"
#include "run/SlabNumbers.h"
#include "run/estimate.h"
#include "run/texts.h"

namespace run {

namespace {

Layout layoutOf(const ComputeCommand& command) {
    checkComplete(command);
    const Request& request = command.request;
    Layout layout{request, request.lattice(), {}, command.magnitude};
    if (command.part) layout.box = boxOf(*command.part, request.sizes);
    layout.slabSizes = slabSizes(layout.box.size, command.slabPoints);
    return layout;
}

/// Takes the room on the disk that a file has by its size, where the file system can do that, and
/// sees to it that what is in it is there.
void reserve(const std::filesystem::path& path) {
    const auto size = static_cast<off_t>(std::filesystem::file_size(path));
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    int error = fallocate(file, 0, 0, size) == 0 ? 0 : errno;
    if (error == EOPNOTSUPP || error == EINTR) error = 0;
    if (error == 0 && fdatasync(file) != 0) error = errno;
    close(file);
    if (error != 0)
        throw std::runtime_error(path.string() + " has no room for its " +
                                 texts::bytes(static_cast<double>(size)) + ": " +
                                 std::generic_category().message(error));
}

/// Creates the output, all at once: whatever happens, it is there as a whole or not at all.
void createOutput(const std::filesystem::path& output, const Layout& layout) {
    const FileBeside beside(output);
    FieldFile::create(beside.path(), layout);
    reserve(beside.path());
    beside.takePlace();
}

void requireSame(const ComputeCommand& command, const FieldFile& file) {
    const std::string name = command.output.string();
    if (file.joined()) throw std::runtime_error(name + " is joined from parts: resume those");
    if (const auto option = contradiction(command, file.layout().request))
        throw std::runtime_error(*option + " differs from the request that " + name +
                                 " was begun with");
}

}  // namespace

void removeLeftovers(const std::filesystem::path& output) {
    for (const char* ending : {".new", ".compressing"}) {
        std::error_code ignored;
        std::filesystem::remove(output.string() + ending, ignored);
    }
}

void prepare(const ComputeCommand& command, int processes) {
    const std::filesystem::path& output = command.output;
    if (!std::filesystem::exists(output)) {
        const Layout layout = layoutOf(command);
        const std::filesystem::path folder = std::filesystem::absolute(output).parent_path();
        if (!std::filesystem::is_directory(folder))
            throw std::runtime_error(folder.string() + " is no folder");
        printEstimate(output, layout, layout.box.points(), processes);
        if (command.onlyEstimate) return;
        const auto free = static_cast<double>(std::filesystem::space(folder).available);
        if (layout.bytes() > free)
            throw std::runtime_error(output.string() + " has no room for its " +
                                     texts::bytes(layout.bytes()) + ": " + texts::bytes(free) +
                                     " are free");
        createOutput(output, layout);
        return;
    }
    if (std::filesystem::is_directory(output))
        throw std::runtime_error(output.string() + " is a folder: name a file in it");
    if (!std::filesystem::is_regular_file(output))
        throw std::runtime_error(output.string() + " is no file to write to");
    if (!command.resume && !command.onlyEstimate)
        throw std::runtime_error(output.string() +
                                 " exists: complete it with --resume, or remove it");
    const FieldFile file(output, FieldFile::Access::read);
    requireSame(command, file);
    const Layout& layout = file.layout();
    const std::int64_t missing =
        pointsOf(layout.slabs(), numbersOf(file.records(), /*finished=*/false));
    printEstimate(output, layout, missing, processes);
}

}  // namespace run
