// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "field/Engine.h"
#include "field/ToleranceTerms.h"

namespace pistonfield {

/// An engine of a request that has a tolerance, which says how exact it is.
template <class T>
class ToleranceEngine : public Engine<T> {
  public:
    using Index = ToleranceTerms::Index;

    double evaluationsOfAPoint() const override { return meanEvaluations(terms.coarsePoints()); }
    std::int64_t largestPiece() const noexcept override { return std::int64_t{1} << 30; }

    std::optional<Accuracy> accuracy() const override;
    std::string_view name() const noexcept override { return "points"; }

    /// The evaluations of the integrand at some points, on average.
    virtual double meanEvaluations(const std::vector<Index>& points) const = 0;

  protected:
    explicit ToleranceEngine(const ToleranceTerms& terms) : terms(terms) {}

    /// The pressure at some points.
    virtual std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const = 0;

    /// So many points for each thread of a fill.
    static std::int64_t forThreads(std::int64_t points, unsigned threads);

    const ToleranceTerms terms;
};

/// The engine on the CPU.
/// @throws what `ToleranceTerms` throws
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeCpuToleranceEngine(const Request& request);

/// The engine on the CPU in runs along the piston's axes; none where the request has no lattice
/// along them, or a small one.
/// @throws std::bad_alloc
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeAlignedToleranceEngine(const Request& request,
                                                                     const ToleranceTerms& terms);

/// The engine on a device.
/// @throws what `ToleranceTerms` throws; DeviceFailure
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeDeviceToleranceEngine(const Request& request);

}  // namespace pistonfield
