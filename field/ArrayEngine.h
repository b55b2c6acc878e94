// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <memory>
#include <mutex>
#include <vector>

#include "field/ArrayTerms.h"
#include "field/ContourTerms.h"
#include "field/Engine.h"
#include "field/SharedFaces.h"
#include "field/Watch.h"

namespace pistonfield {

/// An engine of a request for elements that radiate together, which says how exact it is.
template <class T>
class ArrayEngine : public Engine<T> {
  public:
    using Index = ElementTerms::Index;

    double evaluationsOfAPoint() const override {
        // Of a million elements this takes about a second.
        std::call_once(isCounted, [this] { evaluations = meanEvaluations(terms->fewPoints()); });
        return evaluations;
    }
    std::int64_t largestPiece() const noexcept override { return std::int64_t{1} << 30; }
    std::int64_t deviceMemoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }
    std::optional<Accuracy> accuracy() const override;

    /// The evaluations of the integrand at some points, on average, of all elements together.
    virtual double meanEvaluations(const std::vector<Index>& points) const = 0;

    double secondsOfAPoint() const override {
        constexpr double secondsOfAnEvaluation = 1e-9;
        return evaluationsOfAPoint() * secondsOfAnEvaluation;
    }

  protected:
    explicit ArrayEngine(std::shared_ptr<const ElementTerms> terms) : terms(std::move(terms)) {}

    /// The values of all fields at some points, point by point.
    virtual std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const;

  private:
    const std::shared_ptr<const ElementTerms> terms;
    mutable std::once_flag isCounted;
    mutable double evaluations = 0;
};

/// The engine that takes the least time for a request for an array.
/// @param request outlives it
/// @param shared  what engines at other points know as well, or null
/// @throws what `ArrayTerms` throws; DeviceFailure; Stopped
template <class T>
std::shared_ptr<const Engine<T>> makeArrayEngine(const Request& request, SharedFaces* shared,
                                                 const Watch& watch);

/// The engine that sums up the elements' fields.
/// @param shared what engines at other points know as well, or null
/// @throws std::bad_alloc
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeSumEngine(std::shared_ptr<const ArrayTerms> terms,
                                                    SharedFaces* shared = nullptr);

/// The engine that sums up integrals along the elements' outlines, or the one piston's.
/// @throws std::bad_alloc
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeContourSumEngine(
    std::shared_ptr<const ContourTerms> terms);

/// The engine that does so patch by patch of points; none where few pistons are so far from them
/// that it takes less time.
/// @throws std::bad_alloc
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeContourPatchEngine(
    std::shared_ptr<const ContourTerms> terms);

/// The engine that sums them up on a device.
/// @throws DeviceFailure, std::bad_alloc
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeDeviceSumEngine(std::shared_ptr<const ArrayTerms> terms);

/// The engine that convolves the field of equal elements in a plane with their weights. None where
/// the request is for others, where it takes more than a second and far longer than sums, where
/// rounding would take too much of the tolerance or it needs too much memory, and in builds without
/// a library for Fourier transforms.
/// @param sum sums up what is too near to elements that are on no grid, and what is so near that
///     velocities grow beyond bounds
/// @throws Stopped; std::bad_alloc
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeConvolutionEngine(
    const std::shared_ptr<const ArrayTerms>& terms, std::shared_ptr<const ArrayEngine<T>> sum,
    const Watch& watch = {});
template <class T>
std::unique_ptr<const ArrayEngine<T>> makeConvolutionEngine(
    const std::shared_ptr<const ContourTerms>& terms, std::shared_ptr<const ArrayEngine<T>> sum,
    const Watch& watch = {});

/// An engine that sums up, or where that takes less time the one that convolves.
/// @throws Stopped; std::bad_alloc
template <class T, class Terms>
std::shared_ptr<const ArrayEngine<T>> fastestOf(const std::shared_ptr<const Terms>& terms,
                                                std::shared_ptr<const ArrayEngine<T>> sum,
                                                const Watch& watch) {
    watch.look();
    std::shared_ptr<const ArrayEngine<T>> convolution = makeConvolutionEngine<T>(terms, sum, watch);
    const bool isFaster = convolution && convolution->secondsOfAPoint() < sum->secondsOfAPoint();
    return isFaster ? convolution : sum;
}

}  // namespace pistonfield
