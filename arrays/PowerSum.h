// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// The radiated power of an array by one quadrature rule, as a sum of parts that any threads
/// compute.
class PowerSum {
  public:
    PowerSum() = default;
    PowerSum(const PowerSum&) = delete;
    PowerSum& operator=(const PowerSum&) = delete;
    virtual ~PowerSum() = default;

    virtual std::int64_t parts() const = 0;

    /// One of them, whose bits depend neither on the others nor on the threads.
    virtual double part(std::int64_t number) const = 0;

    /// Sines and square roots that a part takes at most, or as much work.
    virtual double costOfAPart() const = 0;
};

/// Whether elements in one plane have parallel sides, but for rounding: to 1e-9 radians.
bool areParallel(const std::vector<Element>& elements) noexcept;

/// By the mutual resistances of pairs of elements, which have parallel sides and lie in one plane.
/// @param elements,weights outlive it
/// @param refinement       of the rule; there are finer and finer ones from 0 on
/// @throws InvalidRequest of `elements` where one is so large that it takes millions of places
std::unique_ptr<const PowerSum> makePairPower(const std::vector<Element>& elements,
                                              const std::vector<std::complex<double>>& weights,
                                              double wavenumber, int refinement);

/// By the mutual resistances of pairs of elements of any outlines, which lie in one plane and face
/// the same way.
/// @param elements,weights outlive it
/// @param baffle rigid, or without losses soft
/// @throws InvalidRequest of `elements` where they are so large that they take millions of places
std::unique_ptr<const PowerSum> makeOutlinePower(const std::vector<Element>& elements,
                                                 const std::vector<std::complex<double>>& weights,
                                                 const Wave& wave, Baffle baffle, int refinement);

/// By what arrives far away, in the half space before the array, without losses.
/// @throws InvalidRequest of `elements` where their normals cancel or they are too far apart
std::unique_ptr<const PowerSum> makeSpherePower(const std::vector<Element>& elements,
                                                const std::vector<std::complex<double>>& weights,
                                                double wavenumber, Baffle baffle, int refinement);

/// @throws InvalidRequest of `elements`, always: the power through them takes too many places
[[noreturn]] void refuseTooManyPlaces();

}  // namespace pistonfield
