// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/FieldReader.h"

#include <stdexcept>

namespace run {

FieldReader::FieldReader(const std::filesystem::path& path)
    : name(path), file(path, FieldFile::Access::read) {
    if (!file.provenance().complete) throw std::runtime_error(path.string() + " is not complete");
    if (file.joined()) parts.emplace(path);
}

void FieldReader::read(const LatticeBox& box, void* values) {
    if (parts)
        parts->read(box, values);
    else
        file.read(box, values, nullptr);
}

std::vector<std::filesystem::path> FieldReader::files() const {
    std::vector<std::filesystem::path> all{name};
    if (!parts) return all;
    const std::vector<std::filesystem::path> others = parts->paths();
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

}  // namespace run
