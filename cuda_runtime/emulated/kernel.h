// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "cuda_runtime/arguments.h"
#include "cuda_runtime/emulated/KernelImage.h"
#include "lanes/Pack.h"
#include "lanes/pipelined.h"
#include "lanes/sinCos.h"
#include "lanes/words.h"

namespace cuda_runtime {
inline namespace PISTONFIELD_INSTRUCTION_SET {

using lanes::absolute;
using lanes::any;
using lanes::pipelined;
using lanes::select;

/// A pack of lanes is a run of neighbouring threads.
template <class T>
struct Lanes {
    static constexpr int count = lanes::width<T>;
    using Reals = lanes::Pack<T, count>;
    using Ints = lanes::Pack<std::int32_t, count>;
    using Mask = lanes::Mask<Reals>;
};

template <class V>
using SineAndCosine = lanes::SinCos<V>;

namespace detail {

/// The threads that are running: the pack's first one and the end of the run.
struct Running {
    std::int64_t first;
    std::int64_t last;
};
inline thread_local Running running{0, 0};

template <class Ints, int... I>
constexpr Ints countUp(std::integer_sequence<int, I...> /*lanes*/) {
    return Ints{I...};
}

}  // namespace detail

/// Lanes without a thread, or whose thread's number does not fit, have an index that no point has.
template <class T>
[[gnu::always_inline]] inline typename Lanes<T>::Ints threadIndex() {
    using Ints = typename Lanes<T>::Ints;
    constexpr int count = Lanes<T>::count;
    constexpr Ints lane = detail::countUp<Ints>(std::make_integer_sequence<int, count>());
    const std::int64_t first = detail::running.first;
    const std::int64_t left = std::min<std::int64_t>(detail::running.last, INT32_MAX) - first;
    const Ints noPoint = lanes::broadcast<Ints>(INT32_MAX);
    if (left <= 0) return noPoint;
    const Ints index = lane + static_cast<std::int32_t>(first);
    return left >= count ? index : select(lane < static_cast<std::int32_t>(left), index, noPoint);
}

/// The number of the run of `length` threads that the threads are in. Packs do not cross the ends
/// of runs: the lengths are multiples of the lanes.
template <class T, int length>
[[gnu::always_inline]] inline int runNumber() {
    static_assert(length % Lanes<T>::count == 0);
    return static_cast<int>(detail::running.first / length);
}

/// The places of the threads in that run.
template <class T, int length>
[[gnu::always_inline]] inline typename Lanes<T>::Ints placesInRun() {
    using Ints = typename Lanes<T>::Ints;
    return detail::countUp<Ints>(std::make_integer_sequence<int, Lanes<T>::count>()) +
           static_cast<std::int32_t>(detail::running.first % length);
}

/// The quotient of indices from 0 on, rounded down. In doubles, which have it exactly, because no
/// processor divides packs of integers.
template <class I>
[[gnu::always_inline]] inline I quotient(const I& indices, int divisor) {
    // A reference: without optimisation g++ 12 cannot convert a pack of 16 that is a value.
    using Wide = lanes::Pack<double, lanes::widthOf<I>>;
    return __builtin_convertvector(__builtin_convertvector(indices, Wide) / divisor, I);
}

template <class V, class I>
[[gnu::always_inline]] inline V toReals(I indices) {
    return __builtin_convertvector(indices, V);
}

/// One element for all lanes.
template <class T>
[[gnu::always_inline]] inline T load(const T* array, int index) {
    if (array == nullptr) [[unlikely]] {
        emulated::reportFault();
        return T{};
    }
    return array[index];
}

/// One element for each lane of the mask.
template <class V, class T, class I>
[[gnu::always_inline]] inline V load(const T* array, I indices, lanes::Mask<I> mask) {
    V values{};
    for (int i = 0; i < lanes::widthOf<V>; ++i)
        if (mask[i] != 0) values[i] = load(array, indices[i]);
    return values;
}

/// The elements at places in a run of threads.
template <class V, class T, class I>
[[gnu::always_inline]] inline V loadRun(const T* run, I places) {
    V values;
    std::memcpy(&values, run + places[0], sizeof values);
    return values;
}

/// Stores the mask's lanes, whose indices are consecutive.
template <class T, class I, class V>
[[gnu::always_inline]] inline void store(T* array, I indices, lanes::Mask<I> mask, V values) {
    if (array == nullptr) [[unlikely]]
        return emulated::reportFault();
    if (!any(~mask)) {
        std::memcpy(array + indices[0], &values, sizeof values);
        return;
    }
    for (int i = 0; i < lanes::widthOf<V>; ++i)
        if (mask[i] != 0) array[indices[i]] = values[i];
}

/// Stores pairs of reals.
template <class Pair, class I, class V>
[[gnu::always_inline]] inline void store(Pair* array, I indices, lanes::Mask<I> mask, V first,
                                         V second) {
    if (array == nullptr) [[unlikely]]
        return emulated::reportFault();
    for (int i = 0; i < lanes::widthOf<V>; ++i)
        if (mask[i] != 0) array[indices[i]] = Pair{first[i], second[i]};
}

/// Kernels are compiled without fused operations.
template <class A, class V>
[[gnu::always_inline]] inline V product(A a, V b) {
    return a * b;
}

template <class V, class B>
[[gnu::always_inline]] inline V sum(V a, B b) {
    return a + b;
}

// Device mathematics. In double precision square root, sine and cosine are single, on the converted
// argument; the rest is double.

template <class V>
[[gnu::always_inline]] inline auto toFloats(V v) {
    return __builtin_convertvector(v, lanes::Pack<float, lanes::widthOf<V>>);
}

template <class V>
[[gnu::always_inline]] inline V squareRoot(V v) {
    if constexpr (sizeof(lanes::Element<V>) == sizeof(float))
        return lanes::squareRoot(v);
    else
        return __builtin_convertvector(lanes::squareRoot(toFloats(v)), V);
}

template <class V>
[[gnu::always_inline]] inline V reciprocal(V v) {
    return 1 / v;
}

/// Sine and cosine of any angles.
struct AnyAngles {
    template <class V>
    using Reduced = lanes::ReducedAngles<decltype(toFloats(V{}))>;

    template <class V>
    [[gnu::always_inline]] static Reduced<V> reduce(V angle) {
        return lanes::reduceAngle(toFloats(angle));
    }

    template <class V>
    [[gnu::always_inline]] static SineAndCosine<V> sinCos(const Reduced<V>& angle) {
        const auto [sine, cosine] = lanes::sinCos(angle);
        return {__builtin_convertvector(sine, V), __builtin_convertvector(cosine, V)};
    }
};

template <class V, class Work>
[[gnu::always_inline]] inline auto withAngles(V /*largest*/, Work work) {
    return work(AnyAngles());
}

template <class Work>
[[gnu::always_inline]] inline void inTurn(int count, Work work) {
    for (int i = 0; i < count; ++i) work(i);
}

namespace detail {

template <class T, class... Parameters>
class Runner {
  public:
    /// Unpacks the arguments and calls the kernel for one pack of threads after the other.
    template <void (*kernel)(Parameters...)>
    static void run(const std::byte* arguments, std::int64_t first, std::int64_t last) {
        for (running = {first, last}; running.first < last; running.first += Lanes<T>::count)
            call<kernel>(arguments, std::index_sequence_for<Parameters...>());
    }

    static constexpr std::size_t argumentBytes() {
        ArgumentLayout layout(sizeof(void*));
        (static_cast<void>(layout.place(ParameterKind::of<Parameters>())), ...);
        return layout.size();
    }

  private:
    template <void (*kernel)(Parameters...), std::size_t... I>
    static void call([[maybe_unused]] const std::byte* arguments,
                     std::index_sequence<I...> /*parameters*/) {
        [[maybe_unused]] constexpr auto offsets = argumentOffsets<Parameters...>(sizeof(void*));
        kernel(read<Parameters>(arguments + offsets[I])...);
    }

    template <class P>
    static P read(const std::byte* from) {
        P value;
        std::memcpy(&value, from, sizeof(P));
        return value;
    }
};

template <class T, auto kernel>
struct ImageOf;

template <class T, class... Parameters, void (*kernel)(Parameters...)>
struct ImageOf<T, kernel> {
    static constexpr emulated::KernelImage image{Runner<T, Parameters...>::argumentBytes(),
                                                 &Runner<T, Parameters...>::template run<kernel>};
};

}  // namespace detail

/// The registered entry of a kernel whose lanes are packs of T.
template <class T, auto kernel>
constexpr const void* entryOf() {
    return &detail::ImageOf<T, kernel>::image;
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace cuda_runtime
