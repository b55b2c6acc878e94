// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/kernel.h"
#include "method/ArrayModules.h"
#include "method/directivitySums.h"
#include "method/wavePhase.h"

namespace pistonfield {

namespace {

/// Elements that a thread computes together: as many as there are registers for.
template <class T>
constexpr int together = sizeof(T) == 4 ? 4 : 2;

template <class V>
__device__ Complex<V> product(const Complex<V>& a, const Complex<V>& b) {
    return {lanes::multiplyAdd(a.re, b.re, -(a.im * b.im)),
            lanes::multiplyAdd(a.re, b.im, a.im * b.re)};
}

/// The pressure at those points of a group that are members, or are not, and 0 elsewhere.
template <class V, class I>
__device__ Complex<V> kept(const Complex<V>& pressure, int members, I place, bool areMembers) {
    const auto isKept = cuda_runtime::toReals<V>(((I{} + members) >> place) & 1) ==
                        lanes::Element<V>(areMembers ? 1 : 0);
    return {lanes::select(isKept, pressure.re, V{}), lanes::select(isKept, pressure.im, V{})};
}

/// Adds a number to a sum and what that rounds off to its rest.
template <class V, class T, class I>
__device__ void addTo(T* sum, T* rest, I place, V value) {
    const auto isThere = place >= 0;
    const auto next = detail::exactSum(cuda_runtime::loadRun<V>(sum, place), value);
    cuda_runtime::store(sum, place, isThere, next.high);
    cuda_runtime::store(rest, place, isThere, cuda_runtime::loadRun<V>(rest, place) + next.low);
}

/// Some of the weightings' sums of a group.
template <class T, int width>
class SumsOfSome {
    using V = typename cuda_runtime::Lanes<T>::Reals;
    using Ints = typename cuda_runtime::Lanes<T>::Ints;

  public:
    /// @param run of `groups` the weightings' first ones, and so on
    __device__ SumsOfSome(GroupSums<T>* sums, const T* weights, std::int64_t toNextWeights, int run,
                          int groups)
        : sums(sums + static_cast<std::int64_t>(run / groups * width) * groups + run % groups),
          groups(groups),
          weights(weights + run / groups * width * toNextWeights),
          toNextWeights(toNextWeights) {}

    /// Adds an element's pressure, times its weights, to what is stored next.
    __device__ void add(int element, const Complex<V>& pressure) {
        const T* of = weights + 2 * element;
        forEach<width>([&](int w) __attribute__((always_inline)) {
            const T* const weight = of + w * toNextWeights;
            const Complex<V> value =
                product({inAllLanes<V>(weight[0]), inAllLanes<V>(weight[1])}, pressure);
            totals[w].re = totals[w].re + value.re;
            totals[w].im = totals[w].im + value.im;
        });
    }

    /// Adds what has come together to the stored sums.
    __device__ void store(Ints place) {
        GroupSums<T>* to = sums;
        forEach<width>([&](int w) __attribute__((always_inline)) {
            addTo(to->re, to->restOfRe, place, totals[w].re);
            addTo(to->im, to->restOfIm, place, totals[w].im);
            totals[w] = Complex<V>{};
            to += groups;
        });
    }

  private:
    GroupSums<T>* sums;
    int groups;
    const T* weights;
    std::int64_t toNextWeights;
    Complex<V> totals[width]{};
};

/// The pressures of some elements by their directivity at the points of a pack.
template <class T, class V>
__device__ Several<Complex<V>, together<T>> farPressures(const InTwo<V> (&site)[3],
                                                         const ElementNumbers<T>* elements,
                                                         int first, int end,
                                                         const DirectivityOnDevice<T>& by,
                                                         T amplitude) {
    constexpr int n = together<T>;
    Directions<V, n> at;
    Several<Complex<V>, n> phase;
    forEach<n>([&](int k) __attribute__((always_inline)) {
        // The last one fills up.
        const ElementNumbers<T>& element = elements[first + k < end ? first + k : end - 1];
        InTwo<V> from[3];
        V high[3];
        V ofX[3];
        V ofY[3];
        forEach<3>([&](int i) __attribute__((always_inline)) {
            from[i] = differenceOf(site[i], InTwo<V>{inAllLanes<V>(element.centre[i]),
                                                     inAllLanes<V>(element.rest[i])});
            high[i] = from[i].high;
            ofX[i] = inAllLanes<V>(element.alongX[i]);
            ofY[i] = inAllLanes<V>(element.alongY[i]);
        });
        at.find(k, high, ofX, ofY, by.terms.cosines, by.least);
        phase.of[k] = wavePhase(from);
    });
    const auto begun = [](const Several<V, n>& x) __attribute__((always_inline)) {
        ChebyshevStep<V, n> step;
        forEach<n>([&](int k) __attribute__((always_inline)) { step.begin(k, x.of[k]); });
        return step;
    };
    auto p = directivitiesAt<n>(
        by.terms, at, [&]() __attribute__((always_inline)) { return begun(at.s); },
        [&]() __attribute__((always_inline)) { return begun(at.t); });
    forEach<n>([&](int k) __attribute__((always_inline)) {
        const V scale = at.inverse.of[k] * amplitude;
        p.of[k] = product(phase.of[k], Complex<V>{p.of[k].re * scale, p.of[k].im * scale});
    });
    return p;
}

/// A thread adds the elements that are far from a point, for `width` weightings.
template <class T, int width>
__global__ void add_far(GroupSums<T>* sums, const SiteNumbers<T>* sites,
                        const std::int32_t* firstNear, const NearElement* near,
                        const std::uint8_t* directivityNumbers, int groups,
                        const ElementNumbers<T>* elements, int count,
                        const DirectivityOnDevice<T>* directivities, T amplitude, const T* weights,
                        std::int64_t toNextWeights, int weightings) {
    using V = typename cuda_runtime::Lanes<T>::Reals;
    using Ints = typename cuda_runtime::Lanes<T>::Ints;
    constexpr int n = together<T>;
    const int run = cuda_runtime::runNumber<T, groupSize>();
    if (run >= groups * (weightings / width)) return;
    const int group = run % groups;
    const Ints place = cuda_runtime::placesInRun<T, groupSize>();
    InTwo<V> site[3];
    for (int i = 0; i < 3; ++i)
        site[i] = {cuda_runtime::loadRun<V>(sites[group].place[i], place),
                   cuda_runtime::loadRun<V>(sites[group].rest[i], place)};
    SumsOfSome<T, width> some(sums, weights, toNextWeights, run, groups);
    int next = firstNear[group];
    const int endOfNear = firstNear[group + 1];
    const int blocks = (count + elementsOfABlock - 1) / elementsOfABlock;
    for (int block = 0; block < blocks; ++block) {
        const std::uint8_t number = directivityNumbers[group * blocks + block];
        if (number == noDirectivity) continue;
        const int begin = block * elementsOfABlock;
        const int end = begin + elementsOfABlock < count ? begin + elementsOfABlock : count;
        while (next < endOfNear && near[next].element < begin) ++next;
        for (int first = begin; first < end; first += n) {
            const auto pressures =
                farPressures(site, elements, first, end, directivities[number], amplitude);
            forEach<n>([&](int k) __attribute__((always_inline)) {
                if (first + k >= end) return;
                Complex<V> pressure = pressures.of[k];
                if (next < endOfNear && near[next].element == first + k)
                    pressure = kept(pressure, near[next++].members, place, false);
                some.add(first + k, pressure);
            });
        }
        some.store(place);
    }
}

/// A thread adds the elements that are near to a point, for a weighting.
template <class T>
__global__ void add_near(GroupSums<T>* sums, const GroupValues<T>* values,
                         const std::int32_t* firstNear, const NearElement* near, int begin, int end,
                         int groups, const T* weights, std::int64_t toNextWeights, int weightings) {
    using V = typename cuda_runtime::Lanes<T>::Reals;
    using Ints = typename cuda_runtime::Lanes<T>::Ints;
    const int run = cuda_runtime::runNumber<T, groupSize>();
    if (run >= groups * weightings) return;
    const int group = run % groups;
    const Ints place = cuda_runtime::placesInRun<T, groupSize>();
    SumsOfSome<T, 1> some(sums, weights, toNextWeights, run, groups);
    const int first = firstNear[group] > begin ? firstNear[group] : begin;
    const int last = firstNear[group + 1] < end ? firstNear[group + 1] : end;
    for (int i = first; i < last; ++i) {
        const GroupValues<T>& of = values[i - begin];
        const Complex<V> pressure{cuda_runtime::loadRun<V>(of.re, place),
                                  cuda_runtime::loadRun<V>(of.im, place)};
        some.add(near[i].element, kept(pressure, near[i].members, place, true));
        some.store(place);
    }
}

template <class T>
ArrayModule<T> module() {
    using Module = ArrayModule<T>;
    return {typename Module::AddFar(cuda_runtime::entryOf<T, &add_far<T, 1>>()),
            typename Module::AddFar(cuda_runtime::entryOf<T, &add_far<T, Module::widthOfMany>>()),
            typename Module::AddNear(cuda_runtime::entryOf<T, &add_near<T>>())};
}

}  // namespace

template <>
ArrayModule<float> singleArrayModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return module<float>();
}

template <>
ArrayModule<double> doubleArrayModuleOf<lanes::InstructionSet::PISTONFIELD_INSTRUCTION_SET>() {
    return module<double>();
}

}  // namespace pistonfield
