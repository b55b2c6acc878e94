// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/outputs.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "run/file/Descriptor.h"

namespace run::outputs {

namespace fs = std::filesystem;

fs::path target(const fs::path& path) {
    fs::path file = path;
    std::error_code none;
    // As many as Linux follows.
    constexpr int most = 40;
    for (int links = 0; fs::is_symlink(fs::symlink_status(file, none)); ++links) {
        if (links == most) throw std::runtime_error(path.string() + " leads nowhere");
        file = file.parent_path() / fs::read_symlink(file);
    }
    return file;
}

bool areOne(const fs::path& a, const fs::path& b) {
    std::error_code none;
    return fs::equivalent(a, b, none);
}

void require(const fs::path& output, bool overwrite, const std::vector<fs::path>& inputs) {
    const std::string name = output.string();
    for (const fs::path& input : inputs)
        if (areOne(output, input))
            throw std::runtime_error(name + " is " +
                                     (input == output ? "both" : input.string() + ", both") +
                                     " input and output");
    std::error_code none;
    const fs::file_status status = fs::status(output, none);
    if (!fs::exists(status)) return;
    if (fs::is_directory(status))
        throw std::runtime_error(name + " is a folder: name a file in it");
    if (!fs::is_regular_file(status)) throw std::runtime_error(name + " is no file to write to");
    if (!overwrite)
        throw std::runtime_error(name + " exists: remove it first, or give --overwrite");
}

void requireFolder(const fs::path& output) {
    // With the stroke at the end a file is none.
    const fs::path folder = fs::absolute(target(output)).parent_path() / "";
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        failWith(output.string() + " cannot be written", errno);
}

void requireRoomInName(const fs::path& output, const std::string& ending) {
    const fs::path folder = fs::absolute(output).parent_path();
    const long most = pathconf(folder.c_str(), _PC_NAME_MAX);
    const std::string name = output.filename().string() + ending;
    if (most > 0 && name.size() > static_cast<std::size_t>(most))
        throw std::runtime_error(output.string() + " is too long a name: with " + ending +
                                 " it has " + std::to_string(name.size()) +
                                 " characters, and only " + std::to_string(most) + " may be");
}

}  // namespace run::outputs
