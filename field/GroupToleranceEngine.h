// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <span>

#include "field/GroupRuns.h"
#include "field/ToleranceEngine.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// An engine that computes any points in groups.
template <class T>
class GroupToleranceEngine : public ToleranceEngine<T> {
  public:
    using Index = ToleranceTerms::Index;

    std::int64_t pieceToWatch(unsigned threads) const override;
    double meanEvaluations(const std::vector<Index>& points) const override;

  protected:
    using ToleranceEngine<T>::ToleranceEngine;
    using ToleranceEngine<T>::terms;

    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const override;

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

  private:
    std::vector<std::int64_t> groupsOf(const std::vector<Index>& points) const;
};

}  // namespace pistonfield
