// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "run/FieldFile.h"
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

}  // namespace

int extract(const ExtractCommand& command) {
    // The field itself above all. A device or a pipe may be there.
    if (std::filesystem::is_regular_file(command.output))
        throw std::runtime_error(command.output.string() + " exists: remove it first");
    const FieldFile file(command.file, FieldFile::Access::read);
    if (!file.account().complete)
        throw std::runtime_error(command.file.string() + " is not complete");
    const LatticeBox box = boxOf(command, file.layout().box);
    // Pieces that follow each other in the output: rows, as many as fit.
    constexpr std::int64_t pointsAtATime = 1 << 20;
    const std::int64_t x = std::min(box.size[0], pointsAtATime);
    const Slabs pieces(box,
                       {x, x < box.size[0] ? 1 : std::max<std::int64_t>(1, pointsAtATime / x), 1});
    std::vector<char> values(
        static_cast<std::size_t>(pointsAtATime * file.layout().request.valueBytes()));
    std::ofstream out(command.output, std::ios::binary);
    for (std::int64_t i = 0; i < pieces.count() && out; ++i) {
        const LatticeBox piece = pieces.slab(i);
        file.read(piece, values.data(), nullptr);
        out.write(values.data(), piece.points() * file.layout().request.valueBytes());
    }
    out.close();
    if (!out)
        throw std::runtime_error(command.output.string() +
                                 " cannot be written: " + std::generic_category().message(errno));
    return 0;
}

}  // namespace run
