// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Compiled once for each instruction set. No standard header is included: an inline function of
// one, compiled for a set that the processor lacks, could be the copy that the linker keeps.
#include "bench/Limit.h"
#include "lanes/Pack.h"
#include "lanes/pipelined.h"
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
/// Nothing is left out, but the stages of an evaluation follow each other.
struct Staggering {};
/// Neither, and each evaluation waits for the result of the one before.
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

/// The integrand over count packs at a time, in stages as the fields have them; a part that is left
/// out hands its argument on.
template <class Arithmetic, class Without, int count>
class Integrand {
  public:
    using V = typename Arithmetic::V;
    using T = lanes::Element<V>;
    using Function = typename Arithmetic::Function;

    explicit Integrand(const LimitPoint& point)
        : offset2(lanes::broadcast<V>(point.offset * point.offset)),
          z2(lanes::broadcast<V>(point.z * point.z)),
          minusK(lanes::broadcast<V>(-point.k)) {
        const auto [sine, cosine] = lanes::sinCos(lanes::broadcast<V>(-point.k * point.z));
        phaseRe = cosine;
        phaseIm = sine;
        for (int i = 0; i < count; ++i)
            for (int lane = 0; lane < lanes::widthOf<V>; ++lane)
                t.pack[i][lane] = static_cast<T>(i + lane) * step;
    }

    double sumOf(long rounds) {
        const auto first = [this](long) __attribute__((always_inline)) { return angles(); };
        const auto second = [](const Angles& a) __attribute__((always_inline)) {
            return reduced(a);
        };
        const auto third = [this](const Reduced& r) __attribute__((always_inline)) { add(r); };
        if constexpr (same<Without, Staggering> || same<Without, Overlap>)
            for (long n = 0; n < rounds; ++n) third(second(first(0)));
        else
            lanes::pipelined(rounds, first, second, third);
        double sum = 0;
        for (int lane = 0; lane < lanes::widthOf<V>; ++lane)
            sum += static_cast<double>(re[lane] + im[lane]);
        return sum;
    }

  private:
    static constexpr T step = static_cast<T>(0x1p-12);

    struct Angles {
        Packs<Function, count> angle;
        Packs<V, count> perD;
    };
    struct Reduced {
        Packs<lanes::ReducedAngles<Function>, count> angle;
        Packs<V, count> perD;
    };

    [[gnu::always_inline]] Angles angles() {
        const auto d = each<V, count>([&](int i) { return t.pack[i] * t.pack[i] + offset2; });
        auto r = each<V, count>([&](int i) { return d.pack[i] + z2; });
        if constexpr (!same<Without, Root> && !same<Without, RootAndDivision>)
            r = each<V, count>(
                [&](int i) { return convert<V>(lanes::squareRoot(convert<Function>(r.pack[i]))); });
        const auto angle =
            each<Function, count>([&](int i) { return convert<Function>(r.pack[i] * minusK); });
        auto perD = d;
        if constexpr (!same<Without, Division> && !same<Without, RootAndDivision>)
            perD = each<V, count>([&](int i) { return 1 / d.pack[i]; });
        if constexpr (!same<Without, Overlap>)
            for (int i = 0; i < count; ++i) t.pack[i] += step;
        return {angle, perD};
    }

    /// Without the check of the range.
    [[gnu::always_inline]] static Reduced reduced(const Angles& at) {
        if constexpr (same<Without, SinCos>)
            return {each<lanes::ReducedAngles<Function>, count>([&](int i) {
                        return lanes::ReducedAngles<Function>{at.angle.pack[i], {}};
                    }),
                    at.perD};
        else
            return {each<lanes::ReducedAngles<Function>, count>(
                        [&](int i) { return lanes::detail::fastReduction(at.angle.pack[i]); }),
                    at.perD};
    }

    [[gnu::always_inline]] void add(const Reduced& at) {
#pragma GCC unroll 16
        for (int i = 0; i < count; ++i) {
            lanes::SinCos<Function> phase{at.angle.pack[i].rest, at.angle.pack[i].rest};
            if constexpr (!same<Without, SinCos>) phase = lanes::sinCos(at.angle.pack[i]);
            const V dRe = (convert<V>(phase.cosine) - phaseRe) * at.perD.pack[i];
            re += dRe;
            im += (convert<V>(phase.sine) - phaseIm) * at.perD.pack[i];
            if constexpr (same<Without, Overlap>) t.pack[i] = dRe * step;
        }
    }

    V offset2, z2, minusK;
    V phaseRe{};
    V phaseIm{};
    Packs<V, count> t{};
    V re{};
    V im{};
};

template <class Arithmetic, class Without, int count>
[[gnu::noinline]] double limitLoop(const LimitPoint& point, long rounds) {
    Integrand<Arithmetic, Without, count> integrand(point);
    return integrand.sumOf(rounds);
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
    entry<SingleArithmetic, Nothing, 3>("single", "whole"),
    entry<SingleArithmetic, Nothing, 4>("single", "whole"),
    entry<SingleArithmetic, Root, 2>("single", "without:root"),
    entry<SingleArithmetic, SinCos, 2>("single", "without:sincos"),
    entry<SingleArithmetic, Division, 2>("single", "without:division"),
    entry<SingleArithmetic, RootAndDivision, 2>("single", "without:root+division"),
    entry<SingleArithmetic, Staggering, 1>("single", "without:staggering"),
    entry<SingleArithmetic, Staggering, 4>("single", "without:staggering"),
    entry<SingleArithmetic, Overlap, 1>("single", "without:overlap"),
    entry<DoubleArithmetic, Nothing, 1>("double", "whole"),
    entry<DoubleArithmetic, Nothing, 2>("double", "whole"),
    entry<DoubleArithmetic, Nothing, 3>("double", "whole"),
    entry<DoubleArithmetic, Nothing, 4>("double", "whole"),
    entry<DoubleArithmetic, Root, 2>("double", "without:root"),
    entry<DoubleArithmetic, SinCos, 2>("double", "without:sincos"),
    entry<DoubleArithmetic, Division, 2>("double", "without:division"),
    entry<DoubleArithmetic, RootAndDivision, 2>("double", "without:root+division"),
    entry<DoubleArithmetic, Staggering, 1>("double", "without:staggering"),
    entry<DoubleArithmetic, Staggering, 4>("double", "without:staggering"),
    entry<DoubleArithmetic, Overlap, 1>("double", "without:overlap"),
    entry<MixedArithmetic, Nothing, 1>("mixed", "whole"),
    entry<MixedArithmetic, Nothing, 2>("mixed", "whole"),
    entry<MixedArithmetic, Nothing, 3>("mixed", "whole"),
    entry<MixedArithmetic, Nothing, 4>("mixed", "whole"),
    entry<MixedArithmetic, Root, 2>("mixed", "without:root"),
    entry<MixedArithmetic, SinCos, 2>("mixed", "without:sincos"),
    entry<MixedArithmetic, Division, 2>("mixed", "without:division"),
    entry<MixedArithmetic, RootAndDivision, 2>("mixed", "without:root+division"),
    entry<MixedArithmetic, Staggering, 1>("mixed", "without:staggering"),
    entry<MixedArithmetic, Staggering, 4>("mixed", "without:staggering"),
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
