// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/leftovers.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "run/file/TemporaryFile.h"
#include "run/file/outputs.h"
#include "run/file/removal.h"

namespace run {

namespace {

namespace fs = std::filesystem;

/// Whether a name is "<output>-<number>-<number>.lock".
bool hasLocksName(const std::string& name, const std::string& output) {
    const std::string begin = output + "-";
    const std::string end = ".lock";
    if (name.size() < begin.size() + end.size() || !name.starts_with(begin) || !name.ends_with(end))
        return false;
    const std::string middle = name.substr(begin.size(), name.size() - begin.size() - end.size());
    const std::size_t dash = middle.find('-');
    return dash != 0 && dash + 1 < middle.size() &&
           middle.find_first_not_of("0123456789-") == std::string::npos &&
           std::count(middle.begin(), middle.end(), '-') == 1;
}

/// Whether a file has what Open MPI writes into a lock: the place that is shared, which is the
/// beginning, as this program shares none.
bool isLock(const fs::path& path) {
    std::error_code none;
    if (!fs::is_regular_file(fs::symlink_status(path, none))) return false;
    if (fs::file_size(path, none) > sizeof(std::int64_t)) return false;
    std::ifstream in(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    return bytes == std::string(sizeof(std::int64_t), '\0');
}

}  // namespace

void removeLeftovers(const fs::path& output) {
    TemporaryFile::removeLeftovers(outputs::target(output));
    removeFrom(fs::absolute(output).parent_path(), [&](const fs::path& path) {
        return hasLocksName(path.filename(), output.filename()) && isLock(path);
    });
}

}  // namespace run
