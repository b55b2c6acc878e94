// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "method/Fft.h"

namespace pistonfield {

/// Numbers for bundles of lines, 0 at first.
template <class F>
class BundleNumbers {
  public:
    BundleNumbers() = default;

    /// @throws std::bad_alloc
    explicit BundleNumbers(std::size_t count) : chunks((count + perChunk - 1) / perChunk) {}

    F* data() noexcept { return chunks[0].numbers; }
    const F* data() const noexcept { return chunks[0].numbers; }
    std::size_t bytes() const noexcept { return chunks.size() * sizeof(Chunk); }

  private:
    static constexpr std::size_t perChunk = Fft<F>::alignment / sizeof(F);

    struct alignas(Fft<F>::alignment) Chunk {
        F numbers[perChunk];
    };

    std::vector<Chunk> chunks;
};

/// Complex numbers of a plane, in two arrays: those with the coordinates (i, j) at
/// i*strides[0] + j*strides[1].
template <class T>
struct Plane {
    T* re;
    T* im;
    std::array<std::ptrdiff_t, 2> strides;
    std::array<std::int64_t, 2> sizes;
};

/// Discrete Fourier transforms of planes, along both of their directions or the first one, in F. A
/// plane is filled up with zeros to the lengths of the transforms.
template <class F>
class PlaneTransforms {
  public:
    /// Takes a block of a spectrum, some of the lines in the first direction; or makes one.
    using Take = std::function<void(std::size_t block, const F* numbers)>;
    using Make = std::function<void(std::size_t block, F* numbers)>;

    /// What transforms work on.
    struct Work {
        BundleNumbers<F> staged, from, to;

        std::size_t bytes() const noexcept { return staged.bytes() + from.bytes() + to.bytes(); }
    };

    /// @param least the numbers of the largest planes
    /// @throws std::bad_alloc
    PlaneTransforms(const std::array<std::int64_t, 2>& least, bool both);

    /// The blocks of a spectrum of the largest planes, and the numbers of F of one.
    std::size_t blocks() const noexcept { return allBlocks; }
    std::size_t blockSize() const noexcept { return along.length() * bundle(); }

    /// The numbers of F of a spectrum.
    std::size_t numbers() const noexcept { return allBlocks * blockSize(); }

    /// The complex numbers of a spectrum.
    double points() const noexcept;

    /// The numbers that go into one of them.
    std::size_t transformed() const noexcept {
        return along.length() * (across ? across->length() : 1);
    }

    std::size_t lines() const noexcept { return along.lines(); }

    /// The bytes of the transforms' tables.
    std::size_t tableBytes() const noexcept {
        return 2 * (along.length() + (across ? across->length() : 0)) * bundle() * sizeof(F);
    }

    /// The numbers of what transforms work on.
    std::size_t numbersOfWork() const noexcept { return stagedNumbers() + 4 * bundleNumbers(); }

    /// @throws std::bad_alloc
    Work makeWork() const;

    /// Transforms a plane, block by block.
    template <class T>
    void forward(const Plane<const T>& plane, Work& work, const Take& take) const;

    /// Forms the products of two blocks' numbers, or adds them to what is there.
    void multiply(const F* a, const F* b, bool add, F* to) const { along.multiply(a, b, add, to); }

    /// Transforms a spectrum back, without a factor.
    /// @param make  makes those blocks that are needed
    /// @param first the coordinates that the target's first number has in the plane
    template <class T>
    void inverse(const Make& make, const std::array<std::int64_t, 2>& first, const Plane<T>& target,
                 Work& work) const;

  private:
    std::size_t bundle() const noexcept { return 2 * lines(); }
    std::size_t stagedNumbers() const noexcept;
    std::size_t bundleNumbers() const noexcept;

    template <class T>
    void load(const Plane<const T>& plane, std::size_t direction, std::int64_t firstLine,
              std::size_t length, F* to) const;
    template <class T>
    void store(const F* from, const Plane<T>& target, std::size_t direction, std::int64_t first,
               std::int64_t firstLine, std::int64_t lead) const;

    Fft<F> along, back;                  ///< in the first direction
    std::optional<Fft<F>> across, home;  ///< in the second one
    std::size_t allBlocks;
};

}  // namespace pistonfield
