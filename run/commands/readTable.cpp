// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/readTable.h"

#include <sstream>
#include <stdexcept>
#include <system_error>

#include "arrays/arrayTable.h"
#include "run/commands/readText.h"
#include "run/file/ReadingGuard.h"
#include "run/file/arrayDatasets.h"

namespace run {

namespace {

std::string textOf(const std::filesystem::path& path) {
    const std::string name = path.string();
    const ReadingGuard guard(name, static_cast<std::int64_t>(std::filesystem::file_size(path)));
    const hdf5::File file(H5Fopen(name.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), name);
    if (!arrayDatasets::areIn(file)) throw std::runtime_error(name + " has no dataset 'elements'");
    try {
        std::ostringstream text;
        writeArray(text, arrayDatasets::read(file));
        return text.str();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
}

}  // namespace

bool isHdf5(const std::filesystem::path& path) {
    std::error_code none;
    return std::filesystem::is_regular_file(path, none) && H5Fis_hdf5(path.c_str()) > 0;
}

std::string readTable(const std::filesystem::path& path) {
    return isHdf5(path) ? textOf(path) : readText(path);
}

}  // namespace run
