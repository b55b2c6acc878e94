// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Compiled once for each instruction set. No standard header is included: an inline function of
// one, compiled for a set that the processor lacks, could be the copy that the linker keeps.
#include "bench/Limit.h"
#include "lanes/Pack.h"
#include "lanes/sinCos.h"

namespace bench::PISTONFIELD_INSTRUCTION_SET {

namespace {

template <class T>
using FullPack = lanes::Pack<T, lanes::width<T>>;

/// Everything in single precision, as in modes cuda and cpusp.
struct SingleArithmetic {
    using V = FullPack<float>;
    static V root(V v) { return lanes::squareRoot(v); }
    static lanes::SinCos<V> sinCos(V v) { return lanes::sinCos(v); }
};

/// Everything in double precision, as in mode cpu.
struct DoubleArithmetic {
    using V = FullPack<double>;
    static V root(V v) { return lanes::squareRoot(v); }
    static lanes::SinCos<V> sinCos(V v) { return lanes::sinCos(v); }
};

/// Double precision but for the square root, the sine and the cosine, as in mode cudadp.
struct MixedArithmetic {
    using V = FullPack<double>;
    using Narrow = lanes::Pack<float, lanes::width<double>>;
    static Narrow narrow(V v) { return __builtin_convertvector(v, Narrow); }
    static V widen(Narrow v) { return __builtin_convertvector(v, V); }
    static V root(V v) { return widen(lanes::squareRoot(narrow(v))); }
    static lanes::SinCos<V> sinCos(V v) {
        const auto [sine, cosine] = lanes::sinCos(narrow(v));
        return {widen(sine), widen(cosine)};
    }
};

struct Nothing {};
struct Root {};
struct SinCos {};
struct Division {};
/// Nothing is left out, but every pack waits for the result of the one before.
struct Overlap {};

template <class A, class B>
inline constexpr bool same = false;
template <class A>
inline constexpr bool same<A, A> = true;

/// The integrand; a part that is left out hands its argument on.
template <class Arithmetic, class Without, class V>
[[gnu::always_inline]] inline lanes::SinCos<V> integrand(V t, V offset2, V z2, V minusK,
                                                         lanes::SinCos<V> phase) {
    const V d = t * t + offset2;
    V r = d + z2;
    if constexpr (!same<Without, Root>) r = Arithmetic::root(r);
    const V angle = minusK * r;
    lanes::SinCos<V> e{angle, r};
    if constexpr (!same<Without, SinCos>) e = Arithmetic::sinCos(angle);
    V perD = d;
    if constexpr (!same<Without, Division>) perD = 1 / d;
    return {(e.sine - phase.sine) * perD, (e.cosine - phase.cosine) * perD};
}

template <class Arithmetic, class Without>
[[gnu::noinline]] double limitLoop(const LimitPoint& point, long packs) {
    using V = typename Arithmetic::V;
    using T = lanes::Element<V>;
    const V offset2 = lanes::broadcast<V>(point.offset * point.offset);
    const V z2 = lanes::broadcast<V>(point.z * point.z);
    const V minusK = lanes::broadcast<V>(-point.k);
    const auto phase = Arithmetic::sinCos(lanes::broadcast<V>(-point.k * point.z));
    constexpr T step = static_cast<T>(0x1p-12);
    V t{};
    for (int i = 0; i < lanes::widthOf<V>; ++i) t[i] = static_cast<T>(i) * step;
    V re{};
    V im{};
    for (long i = 0; i < packs; ++i) {
        const auto value = integrand<Arithmetic, Without, V>(t, offset2, z2, minusK, phase);
        re += value.cosine;
        im += value.sine;
        if constexpr (same<Without, Overlap>)
            t = value.cosine * step;
        else
            t += step;
    }
    double sum = 0;
    for (int i = 0; i < lanes::widthOf<V>; ++i) sum += static_cast<double>(re[i] + im[i]);
    return sum;
}

template <class Arithmetic, class Without>
constexpr LimitLoop entry(const char* arithmetic, const char* without) {
    return {arithmetic, without, lanes::widthOf<typename Arithmetic::V>,
            &limitLoop<Arithmetic, Without>};
}

constexpr LimitLoop loops[] = {
    entry<SingleArithmetic, Nothing>("single", "nothing"),
    entry<SingleArithmetic, Root>("single", "root"),
    entry<SingleArithmetic, SinCos>("single", "sincos"),
    entry<SingleArithmetic, Division>("single", "division"),
    entry<SingleArithmetic, Overlap>("single", "overlap"),
    entry<DoubleArithmetic, Nothing>("double", "nothing"),
    entry<DoubleArithmetic, Root>("double", "root"),
    entry<DoubleArithmetic, SinCos>("double", "sincos"),
    entry<DoubleArithmetic, Division>("double", "division"),
    entry<DoubleArithmetic, Overlap>("double", "overlap"),
    entry<MixedArithmetic, Nothing>("mixed", "nothing"),
    entry<MixedArithmetic, Root>("mixed", "root"),
    entry<MixedArithmetic, SinCos>("mixed", "sincos"),
    entry<MixedArithmetic, Division>("mixed", "division"),
    entry<MixedArithmetic, Overlap>("mixed", "overlap"),
};

}  // namespace

LimitLoops limitLoops() { return {loops, sizeof loops / sizeof loops[0]}; }

}  // namespace bench::PISTONFIELD_INSTRUCTION_SET
