// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "PackOperations.h"

#include <cstring>

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "lanes/exponential.h"
#include "lanes/sinCos.h"
#include "lanes/sinCosUpToSign.h"

namespace {

template <class T, int W>
using Pack = lanes::Pack<T, W>;

template <class T, int W>
Pack<T, W> packOf(const T* values) {
    Pack<T, W> pack;
    std::memcpy(&pack, values, sizeof pack);
    return pack;
}

template <class T, int W>
void unpack(Pack<T, W> pack, T* values) {
    std::memcpy(values, &pack, sizeof pack);
}

template <class T, int W>
lanes::Mask<Pack<T, W>> maskOf(const bool* mask) {
    Pack<T, W> sign{};
    for (int i = 0; i < W; ++i) sign[i] = mask[i] ? T(-1) : T(1);
    return sign < T(0);
}

template <class T, int W>
auto exponentialOn() -> void (*)(const T*, T*, T*) {
    if constexpr (sizeof(T) == sizeof(double))
        return [](const T* powers, T* values, T* lessOne) {
            const auto all = lanes::exponential(packOf<T, W>(powers));
            unpack<T, W>(all.value, values);
            unpack<T, W>(all.lessOne, lessOne);
        };
    else
        return nullptr;
}

template <class T, int W>
PackOperations<T> operationsOn() {
    return {W,
            lanes::detail::reducible<Pack<T, W>>,
            [](const T* angles, T* sines, T* cosines) {
                const auto [sine, cosine] = lanes::sinCos(packOf<T, W>(angles));
                unpack<T, W>(sine, sines);
                unpack<T, W>(cosine, cosines);
            },
            [](const T* angles, T* sines, T* cosines) {
                const auto [sine, cosine] = lanes::sinCosUpToSign(packOf<T, W>(angles));
                unpack<T, W>(sine, sines);
                unpack<T, W>(cosine, cosines);
            },
            [](const T* values, T* roots) {
                unpack<T, W>(lanes::squareRoot(packOf<T, W>(values)), roots);
            },
            [](const T* values, T* roots) {
                unpack<T, W>(lanes::nearSquareRoot(packOf<T, W>(values)), roots);
            },
            [](const T* values, T* reciprocals) {
                unpack<T, W>(lanes::nearReciprocal(packOf<T, W>(values)), reciprocals);
            },
            [](const T* values, T* magnitudes) {
                unpack<T, W>(lanes::absolute(packOf<T, W>(values)), magnitudes);
            },
            [](const bool* mask, const T* a, const T* b, T* selected) {
                unpack<T, W>(lanes::select(maskOf<T, W>(mask), packOf<T, W>(a), packOf<T, W>(b)),
                             selected);
            },
            [](const bool* mask) { return lanes::any(maskOf<T, W>(mask)); },
            exponentialOn<T, W>()};
}

template <class T, int W = lanes::width<T>>
void addRegisters(std::vector<PackOperations<T>>& all) {
    all.push_back(operationsOn<T, W>());
    if constexpr (W * sizeof(T) > 16) addRegisters<T, W / 2>(all);
}

}  // namespace

template <>
const std::vector<PackOperations<float>>& packOperations<float>() {
    static const auto operations = [] {
        std::vector<PackOperations<float>> all;
        addRegisters(all);
        all.push_back(operationsOn<float, 2>());
        return all;
    }();
    return operations;
}

template <>
const std::vector<PackOperations<double>>& packOperations<double>() {
    static const auto operations = [] {
        std::vector<PackOperations<double>> all;
        addRegisters(all);
        return all;
    }();
    return operations;
}
