// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <span>

#include "field/Engine.h"
#include "field/GroupRuns.h"
#include "field/ToleranceTerms.h"

namespace pistonfield {

/// An engine of a request that has a tolerance, which says how exact it is.
template <class T>
class ToleranceEngine : public Engine<T> {
  public:
    std::int64_t pieceToWatch(unsigned threads) const override;
    double evaluationsOfAPoint() const override;
    std::int64_t largestPiece() const noexcept override { return std::int64_t{1} << 30; }

    /// Measures it; see `Plan::accuracy`.
    Accuracy accuracy() const;

  protected:
    /// @throws what `ToleranceTerms` throws
    explicit ToleranceEngine(const Request& request) : terms(request) {}

    /// Computes the pressure at groups of points, which may be the same.
    virtual void compute(std::span<const std::int64_t> groups,
                         std::span<GroupValues<T>> values) const = 0;

    /// The orders that it computes with.
    virtual const GroupOrders& orders() const noexcept = 0;

    /// The threads of a work on so many pieces of a box.
    static unsigned threadsFor(std::int64_t pieces, unsigned threads);

    /// Stores the values of a piece of a group.
    static void store(const GroupRuns::Piece& piece, const GroupValues<T>& values,
                      const Destination<T>& to);

    /// Pieces that are worth a thread's turn.
    static constexpr std::int64_t piecesOfATurn = 64;

    const ToleranceTerms terms;

  private:
    double meanEvaluations(std::span<const std::int64_t> groups) const;

    std::vector<std::int64_t> groupsOf(const std::vector<ToleranceTerms::Index>& points) const;
};

/// The engine on the CPU.
/// @throws what `ToleranceTerms` throws
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeCpuToleranceEngine(const Request& request);

/// The engine on a device.
/// @throws what `ToleranceTerms` throws; DeviceFailure
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeDeviceToleranceEngine(const Request& request);

}  // namespace pistonfield
