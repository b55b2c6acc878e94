// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <memory>

#include "lanes/InstructionSet.h"

namespace pistonfield {

/// Discrete Fourier transforms by the library that the build has, as one instruction set has them.
template <class T>
struct FftIn {
    void* (*make)(std::size_t length, bool inverse);  ///< null where the build has no library
    void (*destroy)(void* fft);
    void (*transform)(const void* fft, const T* from, T* to);
    void (*multiply)(const T* a, const T* b, std::size_t length, bool add, T* to);
    void (*turn)(const T* from, T* to);
    std::size_t lines;
};

struct Ffts {
    FftIn<float> inFloat;
    FftIn<double> inDouble;

    template <class T>
    const FftIn<T>& in() const noexcept {
        if constexpr (sizeof(T) == 4)
            return inFloat;
        else
            return inDouble;
    }
};

/// Those that are compiled for an instruction set, in that set's copy of Fft.lanes.cpp.
template <lanes::InstructionSet set>
const Ffts& fftsOf();

/// Whether the build has a library that transforms.
bool haveFft() noexcept;

/// The discrete Fourier transform of some lines of complex numbers at a time, in T: the sums of
/// each line's numbers n times exp(-2*pi*j*m*n/length), or exp(+...) where it is inverse. Each
/// bundle of lines has for each n the real parts of all of them, then the imaginary parts.
template <class T>
class Fft {
  public:
    /// The bytes that bundles begin at multiples of.
    static constexpr std::size_t alignment = 64;

    /// @param length 2 or more, a product of powers of 2, 3 and 5
    /// @throws std::bad_alloc
    Fft(std::size_t length, bool inverse);

    /// The least length of so many numbers at least.
    static std::size_t lengthFrom(std::size_t numbers);

    std::size_t length() const noexcept { return numbers; }

    /// The lines of a bundle.
    std::size_t lines() const noexcept { return in->lines; }

    /// Transforms a bundle into another one.
    void transform(const T* from, T* to) const { in->transform(fft.get(), from, to); }

    /// Forms the products of two bundles' numbers, or adds them to what is there.
    void multiply(const T* a, const T* b, bool add, T* to) const {
        in->multiply(a, b, numbers, add, to);
    }

    /// Takes as many numbers of a bundle's lines as there are lines as lines of another bundle.
    void turn(const T* from, T* to) const { in->turn(from, to); }

  private:
    const FftIn<T>* in;
    std::size_t numbers;
    std::unique_ptr<void, void (*)(void*)> fft;
};

}  // namespace pistonfield
