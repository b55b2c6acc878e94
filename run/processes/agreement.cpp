// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/agreement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "run/file/Descriptor.h"
#include "run/file/openFiles.h"
#include "run/file/outputs.h"

namespace run {

namespace {

struct stat statusOf(const std::filesystem::path& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) failWith(path.string() + " cannot be opened", errno);
    return status;
}

/// Gives a file a time of its last change that no other has, and in the end the one it had.
class Mark {
  public:
    explicit Mark(const std::filesystem::path& path) : path(path), changed(statusOf(path).st_mtim) {
        // In whole seconds, as some file systems have no others.
        constexpr std::time_t most = 10'000'000;
        const std::time_t before = std::uniform_int_distribution<std::time_t>(1, most)(source);
        set({std::time(nullptr) - before, 0});
    }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;
    ~Mark() { set(changed); }

  private:
    /// Only the owner of a file may do that: those of others are known by their size alone.
    void set(const timespec& time) const {
        const std::array<timespec, 2> times{{{0, UTIME_OMIT}, time}};
        static_cast<void>(utimensat(AT_FDCWD, path.c_str(), times.data(), 0));
    }

    std::filesystem::path path;
    timespec changed;
    std::random_device source;
};

/// By what a file is known on every machine: numbers of devices differ there, and so may those of
/// files.
std::string identity(const struct stat& file) {
    return std::to_string(file.st_size) + " bytes, changed at " +
           std::to_string(file.st_mtim.tv_sec);
}

/// The identity of the output, opened anew to write.
std::string seen(const std::filesystem::path& output) {
    // Networks look after a file's sizes and times when it is opened.
    const Descriptor file(output, O_RDWR | O_NONBLOCK);
    struct stat found {};
    if (fstat(file, &found) != 0) failWith(output.string() + " cannot be opened", errno);
    return identity(found);
}

/// Waits for a network to show what another machine has.
void requireSeen(const std::filesystem::path& output, const std::string& expected) {
    constexpr std::chrono::milliseconds pause{100};
    constexpr int tries = 30;
    std::string found;
    for (int i = 0; i < tries && found != expected; ++i) {
        if (i > 0) std::this_thread::sleep_for(pause);
        found = seen(output);
    }
    if (found != expected)
        throw std::runtime_error(output.string() +
                                 " is another file there than the first process has: all machines "
                                 "have to share its folder");
}

/// MPI opens files of its own beside an output. Where it cannot, all others wait for ever.
void requireRoomForFiles(const std::filesystem::path& output) {
    constexpr std::size_t files = 8;
    if (!mayOpen(files)) failWith(output.string() + " cannot be opened", EMFILE);
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += word + '\0';
    return text;
}

std::vector<std::string> split(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, '\0');) words.push_back(word);
    return words;
}

bool isOnNfs(const std::filesystem::path& folder) {
    constexpr decltype(statfs::f_type) nfs = 0x6969;
    struct statfs system {};
    return statfs(folder.c_str(), &system) == 0 && system.f_type == nfs;
}

}  // namespace

void requireSameWords(const std::vector<std::string>& words, const Ranks& ranks) {
    const std::vector<std::string> first = split(ranks.shared([&] { return joined(words); }));
    const auto [here, there] =
        std::mismatch(words.begin(), words.end(), first.begin(), first.end());
    const auto text = [](auto word, auto end) {
        return word == end ? "no more words" : "'" + *word + "'";
    };
    ranks.together([&, here = here, there = there] {
        if (words != first)
            throw std::runtime_error(ranks.nameOf(ranks.rank()) + " was started with " +
                                     text(here, words.end()) + " where the first has " +
                                     text(there, first.end()));
    });
}

void requireSameOutput(const std::filesystem::path& output, const Ranks& ranks) {
    if (ranks.size() == 1) return;
    std::optional<Mark> mark;
    const std::string expected = ranks.shared([&] {
        mark.emplace(output);
        return seen(output);
    });
    ranks.together([&] {
        try {
            requireSeen(output, expected);
            requireRoomForFiles(output);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(ranks.nameOf(ranks.rank()) + ": " + error.what());
        }
    });
}

void shareLocks(const std::filesystem::path& output) {
    if (!isOnNfs(std::filesystem::absolute(outputs::target(output)).parent_path())) return;
    // Open MPI reads that when it opens its first file.
    constexpr const char* rangesAlone = "3";
    static_cast<void>(setenv("OMPI_MCA_fs_ufs_lock_algorithm", rangesAlone, /*replace=*/0));
}

}  // namespace run
