// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/Digest.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstdio>

namespace run {

void Digest::add(std::string_view text) { addBytes(text.data(), 1, text.size()); }

void Digest::add(std::span<const double> numbers) {
    addBytes(numbers.data(), sizeof(double), numbers.size());
}

void Digest::add(std::span<const std::int64_t> numbers) {
    addBytes(numbers.data(), sizeof(std::int64_t), numbers.size());
}

void Digest::add(std::span<const std::uint64_t> numbers) {
    addBytes(numbers.data(), sizeof(std::uint64_t), numbers.size());
}

Digest::Value Digest::value() const {
    const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
    return {hash.high64, hash.low64};
}

void Digest::addBytes(const void* data, std::size_t size, std::size_t count) {
    // Where one thing ends and the next begins.
    const std::uint64_t before = count;
    bytes.append(reinterpret_cast<const char*>(&before), sizeof before);
    bytes.append(static_cast<const char*>(data), size * count);
}

std::string text(const Digest::Value& value) {
    std::array<char, 33> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%016llx%016llx",
                                    static_cast<unsigned long long>(value[0]),
                                    static_cast<unsigned long long>(value[1])));
    return digits.data();
}

}  // namespace run
