// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace run {

/// The XXH3 digest, 128 bits, of texts and numbers in the order in which they were added. What was
/// added as two things has another digest than the same bytes as one.
class Digest {
  public:
    using Value = std::array<std::uint64_t, 2>;

    void add(std::string_view text);
    void add(std::span<const double> numbers);
    void add(std::span<const std::int64_t> numbers);
    void add(std::span<const std::uint64_t> numbers);

    Value value() const;

  private:
    void addBytes(const void* data, std::size_t size, std::size_t count);

    std::string bytes;
};

/// 32 hexadecimal digits.
std::string text(const Digest::Value& value);

}  // namespace run
