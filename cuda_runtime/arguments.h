// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>

namespace cuda_runtime {

/// `offset` rounded up to a multiple of `size`.
constexpr std::size_t alignedOffset(std::size_t offset, std::size_t size) noexcept {
    return (offset + size - 1) / size * size;
}

/// What a kernel parameter is: an address, or a plain value of so many bytes.
struct ParameterKind {
    bool isAddress;
    std::size_t valueBytes;

    template <class T>
    static constexpr ParameterKind of() {
        return {std::is_pointer_v<T>, sizeof(std::conditional_t<std::is_pointer_v<T>, void*, T>)};
    }
};

/// Packs kernel arguments in declaration order, each at an offset aligned to its own size.
class ArgumentLayout {
  public:
    /// @param addressBytes the width of a device address: 4 on the first devices, 8 on a 64-bit
    /// host
    constexpr explicit ArgumentLayout(std::size_t addressBytes) noexcept
        : addressBytes(addressBytes) {}

    /// The offset of the next argument.
    constexpr std::size_t place(ParameterKind kind) noexcept {
        const std::size_t size = kind.isAddress ? addressBytes : kind.valueBytes;
        const std::size_t offset = alignedOffset(end, size);
        end = offset + size;
        return offset;
    }

    /// Bytes taken so far.
    constexpr std::size_t size() const noexcept { return end; }

  private:
    std::size_t addressBytes;
    std::size_t end = 0;
};

/// The offsets of a whole parameter list, for addresses of the given width.
template <class... Parameters>
constexpr std::array<std::size_t, sizeof...(Parameters)> argumentOffsets(std::size_t addressBytes) {
    ArgumentLayout layout(addressBytes);
    return {layout.place(ParameterKind::of<Parameters>())...};
}

}  // namespace cuda_runtime
