// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/TemporaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "run/file/removal.h"

namespace run {

namespace {

namespace fs = std::filesystem;

constexpr const char* prefix = ".pistonfield-run-";

std::string markFor(const fs::path& output) {
    std::string text = "pistonfield-run is making this file, and it is to become\n" +
                       output.filename().string() +
                       "\nin this folder. Where no run is at work it may be removed.\n";
    text.resize(TemporaryFile::headBytes);
    return text;
}

fs::path randomPath(const fs::path& folder) {
    std::random_device random;
    std::array<char, 17> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random()));
    return folder / (prefix + std::string(digits.data()));
}

/// Creates a file that nobody else has.
Descriptor createOwn(const fs::path& output, fs::path& path) {
    for (;;) {
        path = randomPath(output.parent_path());
        constexpr unsigned asForAll = 0666;
        const int number = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, asForAll);
        if (number >= 0) return {number, output.string()};
        if (errno != EEXIST) failWith(output.string() + " cannot be written", errno);
    }
}

/// Whether a file was left by a run that was killed while it made this output: one that nobody
/// works on, with the mark; or one without any byte for so long that no run is about to mark it.
bool isLeftover(const fs::path& path, const std::string& mark) {
    const int number = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (number < 0) return false;
    const Descriptor file(number, path.string());
    struct stat status {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || FileLock::isLocked(file))
        return false;
    constexpr std::time_t hour = 3600;
    if (status.st_size == 0) return std::time(nullptr) - status.st_mtime > hour;
    std::string begin(mark.size(), '\0');
    return file.read(begin.data(), begin.size(), 0) && begin == mark;
}

}  // namespace

TemporaryFile::TemporaryFile(fs::path output)
    : output(std::move(output)),
      mark(markFor(this->output)),
      locked(createOwn(this->output, path)) {
    try {
        locked.file().write(mark.data(), mark.size(), 0);
    } catch (...) {
        static_cast<void>(unlink(path.c_str()));
        throw;
    }
}

TemporaryFile::~TemporaryFile() {
    if (!placed && locked.file().isAt(path)) static_cast<void>(unlink(path.c_str()));
}

void TemporaryFile::fill(const std::function<void(const fs::path&)>& work) const {
    try {
        work(path);
    } catch (const std::runtime_error& error) {
        std::string text = error.what();
        const std::string name = path.string();
        const std::size_t at = text.find(name);
        if (at != std::string::npos) text.replace(at, name.size(), output.string());
        throw std::runtime_error(text);
    }
}

FileLock TemporaryFile::takePlace(bool replacing, const std::string& firstBytes,
                                  const std::optional<std::int64_t>& size) {
    locked.file().write(firstBytes.data(), firstBytes.size(), 0);
    if (size && ftruncate(locked.file(), *size) != 0) fail(errno);
    // A loss of power is not to leave the name of the output to a file without its bytes.
    if (fdatasync(locked.file()) != 0) fail(errno);
    moveIn(replacing);
    placed = true;
    keepName();
    return std::move(locked);
}

void TemporaryFile::fail(int error) const {
    failWith(output.string() + " cannot be written", error);
}

void TemporaryFile::moveIn(bool replacing) const {
    if (replacing) {
        if (rename(path.c_str(), output.c_str()) != 0) fail(errno);
        return;
    }
    if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, output.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno == EINVAL || errno == ENOSYS) {
        // Not every file system has that.
        if (link(path.c_str(), output.c_str()) == 0) {
            static_cast<void>(unlink(path.c_str()));
            return;
        }
    }
    if (errno == EEXIST)
        throw std::runtime_error(output.string() +
                                 " exists now: another run has made it meanwhile");
    fail(errno);
}

void TemporaryFile::keepName() const noexcept {
    const fs::path folder = output.parent_path();
    const int number = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
    if (number < 0) return;
    static_cast<void>(fsync(number));
    static_cast<void>(close(number));
}

void TemporaryFile::removeLeftovers(const fs::path& output) {
    const std::string mark = markFor(output);
    removeFrom(fs::absolute(output).parent_path(), [&](const fs::path& path) {
        return path.filename().string().starts_with(prefix) && isLeftover(path, mark);
    });
}

}  // namespace run
