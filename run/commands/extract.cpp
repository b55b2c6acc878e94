// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "run/commands/commands.h"
#include "run/file/FieldReader.h"
#include "run/file/TemporaryFile.h"
#include "run/file/outputs.h"

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

/// Calls `take` with the values of a box, pieces of which follow each other.
void forPieces(FieldReader& source, const LatticeBox& box,
               const std::function<void(const std::string&)>& take) {
    // Rows, as many as fit.
    constexpr std::int64_t pointsAtATime = 1 << 20;
    const std::int64_t x = std::min(box.size[0], pointsAtATime);
    const std::int64_t y = x < box.size[0] ? 1 : std::max<std::int64_t>(1, pointsAtATime / x);
    const Slabs pieces(box, {x, y, 1});
    const std::int64_t bytes = source.layout().pointBytes();
    std::string values;
    for (std::int64_t i = 0; i < pieces.count(); ++i) {
        const LatticeBox piece = pieces.slab(i);
        values.resize(static_cast<std::size_t>(piece.points() * bytes));
        source.read(piece, values.data());
        take(values);
    }
}

/// Into a device or a pipe.
void copyInto(FieldReader& source, const LatticeBox& box, const std::filesystem::path& output) {
    std::ofstream out(output, std::ios::binary);
    forPieces(source, box, [&](const std::string& values) {
        if (!out.write(values.data(), static_cast<std::streamsize>(values.size())).flush())
            failWith(output.string() + " cannot be written", errno);
    });
}

/// Into a file that is there as a whole, or not at all.
void copyTo(FieldReader& source, const LatticeBox& box, const ExtractCommand& command) {
    TemporaryFile temporary(outputs::target(command.output));
    std::string begin;
    std::int64_t size = 0;
    forPieces(source, box, [&](const std::string& values) {
        // The first bytes come last: until then they say what the file is.
        const std::size_t kept = std::min(values.size(), TemporaryFile::headBytes - begin.size());
        begin += values.substr(0, kept);
        temporary.lock().file().write(values.data() + kept, values.size() - kept,
                                      size + static_cast<std::int64_t>(kept));
        size += static_cast<std::int64_t>(values.size());
    });
    static_cast<void>(temporary.takePlace(command.overwrite, begin, size));
}

}  // namespace

int extract(const ExtractCommand& command) {
    FieldReader source(command.file);
    const LatticeBox box = boxOf(command, source.layout().box);
    // A device or a pipe may be there.
    std::error_code none;
    const std::filesystem::file_status status = std::filesystem::status(command.output, none);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
        !std::filesystem::is_directory(status)) {
        copyInto(source, box, command.output);
        return 0;
    }
    outputs::require(command.output, command.overwrite, source.files());
    outputs::requireFolder(command.output);
    TemporaryFile::removeLeftovers(outputs::target(command.output));
    copyTo(source, box, command);
    return 0;
}

}  // namespace run
