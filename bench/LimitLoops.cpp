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
    using Function = V;  ///< of the square root, the sine and the cosine
};

/// Everything in double precision, as in mode cpu.
struct DoubleArithmetic {
    using V = FullPack<double>;
    using Function = V;
};

/// Double precision but for the square root, the sine and the cosine, as in mode cudadp.
struct MixedArithmetic {
    using V = FullPack<double>;
    using Function = lanes::Pack<float, lanes::width<double>>;
};

struct Nothing {};
struct Root {};
struct SinCos {};
struct Division {};
struct RootAndDivision {};
/// Nothing is left out, but each evaluation waits for the result of the one before.
struct Overlap {};

template <class A, class B>
inline constexpr bool same = false;
template <class A>
inline constexpr bool same<A, A> = true;

template <class To, class From>
[[gnu::always_inline]] inline To convert(From from) {
    if constexpr (same<To, From>)
        return from;
    else
        return __builtin_convertvector(from, To);
}

/// Several packs that go through the arithmetic side by side.
template <class V, int count>
struct Packs {
    V pack[count];
};

/// A Packs of f(i), i = 0 .. count-1.
template <class V, int count, class F>
[[gnu::always_inline]] inline Packs<V, count> each(F f) {
    Packs<V, count> result;
#pragma GCC unroll 16
    for (int i = 0; i < count; ++i) result.pack[i] = f(i);
    return result;
}

template <class V, int count>
struct SinesAndCosines {
    Packs<V, count> sine;
    Packs<V, count> cosine;
};

/// lanes::sinCos without the check of the range, step by step for all packs.
template <class V, int count>
[[gnu::always_inline]] inline SinesAndCosines<V, count> sinCos(const Packs<V, count>& x) {
    using Bits = lanes::Mask<V>;
    using T = lanes::Element<V>;
    using lanes::broadcast;
    using lanes::multiplyAdd;
    constexpr int signBit = sizeof(T) * 8 - 1;
    const auto reduced = each<lanes::detail::Reduced<V>, count>(
        [&](int i) { return lanes::detail::reduce(x.pack[i]); });
    const auto z =
        each<V, count>([&](int i) { return reduced.pack[i].rest * reduced.pack[i].rest; });
    const auto p = each<V, count>([&](int i) { return lanes::detail::sinePolynomial(z.pack[i]); });
    const auto q =
        each<V, count>([&](int i) { return lanes::detail::cosinePolynomial(z.pack[i]); });
    const auto sine = each<V, count>([&](int i) {
        const V r = reduced.pack[i].rest;
        return multiplyAdd(r * z.pack[i], p.pack[i], r);
    });
    const auto cosine = each<V, count>([&](int i) {
        const V zi = z.pack[i];
        return multiplyAdd(zi * zi, q.pack[i],
                           multiplyAdd(zi, broadcast<V>(T(-0.5)), broadcast<V>(T(1))));
    });
    const auto turned = [](V ifEven, V ifOdd, Bits quadrant, Bits signs) {
        const V value = lanes::select<V>((quadrant & 1) != 0, ifOdd, ifEven);
        return lanes::bitsAs<V>(lanes::bitsAs<Bits>(value) ^ ((signs & 2) << (signBit - 1)));
    };
    return {each<V, count>([&](int i) {
                const Bits quadrant = reduced.pack[i].quadrant;
                return turned(sine.pack[i], cosine.pack[i], quadrant, quadrant);
            }),
            each<V, count>([&](int i) {
                const Bits quadrant = reduced.pack[i].quadrant;
                return turned(cosine.pack[i], sine.pack[i], quadrant, quadrant + 1);
            })};
}

/// What is the same for all nodes of an edge.
template <class V>
struct Edge {
    V offset2;
    V z2;
    V minusK;
    V phaseRe;
    V phaseIm;
};

/// The integrand at each t; a part that is left out hands its argument on.
template <class Arithmetic, class Without, int count, class V = typename Arithmetic::V>
[[gnu::always_inline]] inline SinesAndCosines<V, count> integrand(const Packs<V, count>& t,
                                                                  const Edge<V>& edge) {
    using Function = typename Arithmetic::Function;
    const auto d = each<V, count>([&](int i) { return t.pack[i] * t.pack[i] + edge.offset2; });
    auto r = each<V, count>([&](int i) { return d.pack[i] + edge.z2; });
    if constexpr (!same<Without, Root> && !same<Without, RootAndDivision>)
        r = each<V, count>(
            [&](int i) { return convert<V>(lanes::squareRoot(convert<Function>(r.pack[i]))); });
    const auto angle = each<V, count>([&](int i) { return edge.minusK * r.pack[i]; });
    SinesAndCosines<V, count> e{angle, r};
    if constexpr (!same<Without, SinCos>) {
        const auto phase =
            sinCos(each<Function, count>([&](int i) { return convert<Function>(angle.pack[i]); }));
        e = {each<V, count>([&](int i) { return convert<V>(phase.sine.pack[i]); }),
             each<V, count>([&](int i) { return convert<V>(phase.cosine.pack[i]); })};
    }
    auto perD = d;
    if constexpr (!same<Without, Division> && !same<Without, RootAndDivision>)
        perD = each<V, count>([&](int i) { return 1 / d.pack[i]; });
    return {
        each<V, count>([&](int i) { return (e.sine.pack[i] - edge.phaseIm) * perD.pack[i]; }),
        each<V, count>([&](int i) { return (e.cosine.pack[i] - edge.phaseRe) * perD.pack[i]; })};
}

template <class Arithmetic, class Without, int count>
[[gnu::noinline]] double limitLoop(const LimitPoint& point, long rounds) {
    using V = typename Arithmetic::V;
    using T = lanes::Element<V>;
    const auto phase = sinCos<V, 1>({lanes::broadcast<V>(-point.k * point.z)});
    const Edge<V> edge{lanes::broadcast<V>(point.offset * point.offset),
                       lanes::broadcast<V>(point.z * point.z), lanes::broadcast<V>(-point.k),
                       phase.cosine.pack[0], phase.sine.pack[0]};
    constexpr T step = static_cast<T>(0x1p-12);
    Packs<V, count> t{};
    for (int i = 0; i < count; ++i)
        for (int lane = 0; lane < lanes::widthOf<V>; ++lane)
            t.pack[i][lane] = static_cast<T>(i + lane) * step;
    V re{};
    V im{};
    for (long n = 0; n < rounds; ++n) {
        const auto value = integrand<Arithmetic, Without, count>(t, edge);
#pragma GCC unroll 16
        for (int i = 0; i < count; ++i) {
            re += value.cosine.pack[i];
            im += value.sine.pack[i];
            if constexpr (same<Without, Overlap>)
                t.pack[i] = value.cosine.pack[i] * step;
            else
                t.pack[i] += step;
        }
    }
    double sum = 0;
    for (int lane = 0; lane < lanes::widthOf<V>; ++lane)
        sum += static_cast<double>(re[lane] + im[lane]);
    return sum;
}

struct OneMultiplyAdd {
    template <class V>
    static V of(V x) {
        return lanes::multiplyAdd(x, lanes::broadcast<V>(0.5), lanes::broadcast<V>(1));
    }
};

struct OneAddition {
    template <class V>
    static V of(V x) {
        return x + lanes::Element<V>(0.5);
    }
};

struct OneLogic {
    template <class V>
    static V of(V x) {
        // A shift as well: exclusive ors in a row would be folded into one.
        using Bits = lanes::Mask<V>;
        return lanes::bitsAs<V>((lanes::bitsAs<Bits>(x) << 1) ^ lanes::bitsAs<Bits>(x));
    }
};

struct OneRoot {
    template <class V>
    static V of(V x) {
        return lanes::squareRoot(x);
    }
};

struct OneDivision {
    template <class V>
    static V of(V x) {
        return lanes::Element<V>(1.5) / x;
    }
};

/// One operation in enough independent chains to keep the processor busy.
template <class Arithmetic, class Operation, int count>
[[gnu::noinline]] double operationLoop(const LimitPoint& point, long rounds) {
    using V = typename Arithmetic::V;
    auto x = each<V, count>([&](int i) { return lanes::broadcast<V>(point.z + i); });
    for (long n = 0; n < rounds; ++n)
        x = each<V, count>([&](int i) { return Operation::template of<V>(x.pack[i]); });
    double sum = 0;
    for (int i = 0; i < count; ++i) sum += static_cast<double>(x.pack[i][0]);
    return sum;
}

template <class Arithmetic, class Operation>
constexpr LimitLoop operation(const char* arithmetic, const char* part) {
    constexpr int chains = 12;
    return {arithmetic, part, lanes::widthOf<typename Arithmetic::V>, chains,
            &operationLoop<Arithmetic, Operation, chains>};
}

template <class Arithmetic, class Without, int count>
constexpr LimitLoop entry(const char* arithmetic, const char* part) {
    return {arithmetic, part, lanes::widthOf<typename Arithmetic::V>, count,
            &limitLoop<Arithmetic, Without, count>};
}

constexpr LimitLoop loops[] = {
    entry<SingleArithmetic, Nothing, 1>("single", "whole"),
    entry<SingleArithmetic, Nothing, 2>("single", "whole"),
    entry<SingleArithmetic, Nothing, 4>("single", "whole"),
    entry<SingleArithmetic, Root, 4>("single", "without:root"),
    entry<SingleArithmetic, SinCos, 4>("single", "without:sincos"),
    entry<SingleArithmetic, Division, 4>("single", "without:division"),
    entry<SingleArithmetic, RootAndDivision, 4>("single", "without:root+division"),
    entry<SingleArithmetic, Overlap, 1>("single", "without:overlap"),
    entry<DoubleArithmetic, Nothing, 1>("double", "whole"),
    entry<DoubleArithmetic, Nothing, 2>("double", "whole"),
    entry<DoubleArithmetic, Nothing, 4>("double", "whole"),
    entry<DoubleArithmetic, Root, 4>("double", "without:root"),
    entry<DoubleArithmetic, SinCos, 4>("double", "without:sincos"),
    entry<DoubleArithmetic, Division, 4>("double", "without:division"),
    entry<DoubleArithmetic, RootAndDivision, 4>("double", "without:root+division"),
    entry<DoubleArithmetic, Overlap, 1>("double", "without:overlap"),
    entry<MixedArithmetic, Nothing, 1>("mixed", "whole"),
    entry<MixedArithmetic, Nothing, 2>("mixed", "whole"),
    entry<MixedArithmetic, Nothing, 4>("mixed", "whole"),
    entry<MixedArithmetic, Root, 4>("mixed", "without:root"),
    entry<MixedArithmetic, SinCos, 4>("mixed", "without:sincos"),
    entry<MixedArithmetic, Division, 4>("mixed", "without:division"),
    entry<MixedArithmetic, RootAndDivision, 4>("mixed", "without:root+division"),
    entry<MixedArithmetic, Overlap, 1>("mixed", "without:overlap"),
    operation<SingleArithmetic, OneMultiplyAdd>("single", "only:multiply-add"),
    operation<SingleArithmetic, OneAddition>("single", "only:addition"),
    operation<SingleArithmetic, OneLogic>("single", "only:logic"),
    operation<SingleArithmetic, OneRoot>("single", "only:root"),
    operation<SingleArithmetic, OneDivision>("single", "only:division"),
    operation<DoubleArithmetic, OneMultiplyAdd>("double", "only:multiply-add"),
    operation<DoubleArithmetic, OneAddition>("double", "only:addition"),
    operation<DoubleArithmetic, OneLogic>("double", "only:logic"),
    operation<DoubleArithmetic, OneRoot>("double", "only:root"),
    operation<DoubleArithmetic, OneDivision>("double", "only:division"),
};

}  // namespace

LimitLoops limitLoops() { return {loops, sizeof loops / sizeof loops[0]}; }

}  // namespace bench::PISTONFIELD_INSTRUCTION_SET
