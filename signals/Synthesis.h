// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <vector>

#include "method/Fft.h"
#include "method/PlaneTransforms.h"

namespace pistonfield {

/// Functions of time with a period of so many samples, and their spectra.
///
/// By the fast Fourier transforms of the build; without them by sums, whose time goes with the
/// product of the length and the number of frequencies.
class Synthesis {
  public:
    /// @param least the samples of a period at least
    /// @throws std::bad_alloc
    explicit Synthesis(std::size_t least);

    /// The samples of a period.
    std::size_t length() const noexcept { return numbers; }

    /// Functions that are made at a time.
    std::size_t lines() const noexcept { return inverse ? inverse->lines() : 1; }

    /// The sums of samples n times exp(-2*pi*j*m*n/length), for m from 0 to length/2.
    /// @param samples up to `length` of them, as if zeros followed
    std::vector<std::complex<double>> spectrumOf(const std::vector<double>& samples) const;

    /// What a thread works with.
    class Work {
      public:
        explicit Work(const Synthesis& synthesis);

        /// Has all functions be 0.
        void clear();

        /// Gives one of the functions, below `lines()`, the part
        /// amplitude * exp(2*pi*j*frequency*n/length), for a frequency below the length.
        void set(std::size_t line, std::size_t frequency, std::complex<double> amplitude);

        /// Forms the samples of all functions.
        void transform();

        /// The real part of a function's sample.
        double at(std::size_t line, std::size_t sample) const noexcept {
            return to.data()[2 * sample * owner->lines() + line];
        }

      private:
        const Synthesis* owner;
        BundleNumbers<double> from, to;
        std::vector<std::size_t> frequencies;  ///< that are not 0
    };

  private:
    std::size_t numbers;
    std::optional<Fft<double>> forward, inverse;
    std::vector<std::complex<double>> roots;  ///< exp(2*pi*j*n/length), without transforms
};

}  // namespace pistonfield
