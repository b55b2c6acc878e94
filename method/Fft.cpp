// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Fft.h"

#include <algorithm>

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

namespace {

const Ffts& ffts() noexcept {
    static constexpr lanes::PerInstructionSet<const Ffts& (*)()> copies(
        []<lanes::InstructionSet set>() { return &fftsOf<set>; });
    return copies.inUse()();
}

}  // namespace

bool haveFft() noexcept { return ffts().inFloat.make != nullptr; }

template <class T>
Fft<T>::Fft(std::size_t length, bool inverse)
    : in(&ffts().in<T>()), numbers(length), fft(in->make(length, inverse), in->destroy) {}

template <class T>
std::size_t Fft<T>::lengthFrom(std::size_t numbers) {
    const auto hasSmallFactors = [](std::size_t length) {
        for (const std::size_t factor : {2U, 3U, 5U})
            while (length % factor == 0) length /= factor;
        return length == 1;
    };
    std::size_t length = std::max<std::size_t>(2, numbers);
    while (!hasSmallFactors(length)) ++length;
    return length;
}

template class Fft<float>;
template class Fft<double>;

}  // namespace pistonfield
