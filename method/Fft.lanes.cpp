// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Fft.h"

#include <type_traits>

#include "lanes/Pack.h"

#if __has_include(<kissfft/kissfft.hh>) && !defined(PISTONFIELD_NO_FFT)
#include <kissfft/kissfft.hh>
#define PISTONFIELD_HAS_KISSFFT
#endif

namespace pistonfield {

#ifdef PISTONFIELD_HAS_KISSFFT

inline namespace PISTONFIELD_INSTRUCTION_SET {

/// A pack as a number: the library's arithmetic at several lines at a time.
template <class T>
struct Lines {
    using V = lanes::Pack<T, lanes::width<T>>;

    // The library mixes its numbers with those of the language.
    // NOLINTBEGIN(google-explicit-constructor)
    Lines() = default;
    Lines(V pack) : pack(pack) {}
    Lines(double number) : pack(lanes::broadcast<V>(number)) {}

    /// The library has angles the same in all lanes.
    operator double() const { return pack[0]; }
    // NOLINTEND(google-explicit-constructor)

    Lines operator-() const { return -pack; }
    Lines& operator+=(Lines other) { return *this = *this + other; }
    Lines& operator-=(Lines other) { return *this = *this - other; }
    Lines& operator*=(Lines other) { return *this = *this * other; }

    friend Lines operator+(Lines a, Lines b) { return a.pack + b.pack; }
    friend Lines operator-(Lines a, Lines b) { return a.pack - b.pack; }
    friend Lines operator*(Lines a, Lines b) { return a.pack * b.pack; }

    V pack;
};

/// An angle of the library's table, and a part of one; formed in double.
template <class T>
double operator*(std::size_t n, Lines<T> angle) {
    return static_cast<double>(n) * static_cast<double>(angle);
}

template <class T, class Number>
Lines<T> operator*(Lines<T> a, Number b) requires std::is_arithmetic_v<Number> {
    return a * Lines<T>(static_cast<double>(b));
}

}  // namespace PISTONFIELD_INSTRUCTION_SET

namespace {

template <class T>
using Transform = kissfft<Lines<T>>;

/// Inlined to the last call: what it takes of the standard library's containers has no copy of
/// this instruction set that others could be given by the linker.
template <class T>
[[gnu::flatten]] void* make(std::size_t length, bool inverse) {
    return new Transform<T>(length, inverse);
}

template <class T>
[[gnu::flatten]] void destroy(void* fft) {
    delete static_cast<Transform<T>*>(fft);
}

template <class T>
void transform(const void* fft, const T* from, T* to) {
    using Number = std::complex<Lines<T>>;
    static_cast<const Transform<T>*>(fft)->transform(reinterpret_cast<const Number*>(from),
                                                     reinterpret_cast<Number*>(to));
}

template <class T>
void multiply(const T* a, const T* b, std::size_t length, bool add, T* to) {
    constexpr std::size_t W = lanes::width<T>;
    for (std::size_t n = 0; n < length; ++n, a += 2 * W, b += 2 * W, to += 2 * W)
        for (std::size_t i = 0; i < W; ++i) {
            const T re = a[i] * b[i] - a[W + i] * b[W + i];
            const T im = a[i] * b[W + i] + a[W + i] * b[i];
            to[i] = add ? to[i] + re : re;
            to[W + i] = add ? to[W + i] + im : im;
        }
}

template <class T>
void turn(const T* from, T* to) {
    constexpr std::size_t W = lanes::width<T>;
    for (std::size_t part = 0; part < 2 * W; part += W)
        for (std::size_t line = 0; line < W; ++line)
            for (std::size_t n = 0; n < W; ++n)
                to[2 * W * line + part + n] = from[2 * W * n + part + line];
}

template <class T>
constexpr FftIn<T> table{&make<T>,     &destroy<T>, &transform<T>,
                         &multiply<T>, &turn<T>,    lanes::width<T>};

}  // namespace

#else

namespace {

template <class T>
constexpr FftIn<T> table{};

}  // namespace

#endif

template <>
const Ffts& fftsOf<lanes::compiledSet>() {
    static constexpr Ffts ffts{table<float>, table<double>};
    return ffts;
}

}  // namespace pistonfield
