// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

/// The operations on one kind of pack, reached through arrays of its lanes. The packs stay in a
/// source of their own, which is compiled for one instruction set.
template <class T>
struct PackOperations {
    int lanes;
    /// Up to this magnitude sines and cosines are those of the fast reduction.
    T fastLimit;
    void (*sinCos)(const T* angles, T* sines, T* cosines);
    void (*sinCosUpToSign)(const T* angles, T* sines, T* cosines);
    void (*squareRoot)(const T* values, T* roots);
    void (*nearSquareRoot)(const T* values, T* roots);
    void (*nearReciprocal)(const T* values, T* reciprocals);
    void (*absolute)(const T* values, T* magnitudes);
    void (*select)(const bool* mask, const T* a, const T* b, T* selected);
    bool (*any)(const bool* mask);
    /// exp(x) and exp(x) - 1; of doubles alone.
    void (*exponential)(const T* powers, T* values, T* lessOne);
};

/// Packs of every register size that the instruction set has, and of half the smallest in floats.
template <class T>
const std::vector<PackOperations<T>>& packOperations();
template <>
const std::vector<PackOperations<float>>& packOperations<float>();
template <>
const std::vector<PackOperations<double>>& packOperations<double>();
