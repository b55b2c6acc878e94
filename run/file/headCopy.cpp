// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/headCopy.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>

#include "run/file/Descriptor.h"
#include "run/file/Digest.h"

namespace run::headCopy {

namespace {

/// Where the copy is: nowhere near the places in which HDF5 looks for its signature.
constexpr std::int64_t place = 3072;

struct Copy {
    Digest::Value digest{};  ///< of the rest
    Whole whole;
    std::array<char, pageBytes> page{};

    Digest::Value digestOfRest() const {
        Digest digest;
        digest.add(std::array{whole.bytes, whole.canBeFilled});
        digest.add(std::string_view(page.data(), page.size()));
        return digest.value();
    }
};
static_assert(place + sizeof(Copy) <= room);

std::int64_t bytesOf(const std::filesystem::path& file) {
    return static_cast<std::int64_t>(std::filesystem::file_size(file));
}

std::optional<Copy> read(const std::filesystem::path& file) {
    try {
        const Descriptor descriptor(file, O_RDONLY);
        Copy copy;
        if (descriptor.read(&copy, sizeof copy, place) && copy.digest == copy.digestOfRest())
            return copy;
    } catch (const std::runtime_error&) {
        // What cannot be read has no copy.
    }
    return std::nullopt;
}

}  // namespace

void make(const std::filesystem::path& file, bool canBeFilled) {
    const Descriptor descriptor(file, O_RDWR);
    Copy copy;
    copy.whole = {bytesOf(file), canBeFilled ? 1 : 0};
    if (!descriptor.read(copy.page.data(), copy.page.size(), room))
        throw std::runtime_error(file.string() + " is shorter than its first page");
    copy.digest = copy.digestOfRest();
    descriptor.write(&copy, sizeof copy, place);
}

std::optional<Whole> wholeOf(const std::filesystem::path& file) {
    const std::optional<Copy> copy = read(file);
    if (!copy) return std::nullopt;
    return copy->whole;
}

bool restore(const std::filesystem::path& file) {
    const std::optional<Copy> copy = read(file);
    if (!copy) return false;
    const bool isCutOff = bytesOf(file) < copy->whole.bytes;
    if (isCutOff && copy->whole.canBeFilled == 0) return false;
    const Descriptor descriptor(file, O_RDWR);
    descriptor.write(copy->page.data(), copy->page.size(), room);
    if (isCutOff && ftruncate(descriptor, copy->whole.bytes) != 0)
        failWith(file.string() + " cannot be written", errno);
    return true;
}

}  // namespace run::headCopy
