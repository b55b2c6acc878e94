// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstdint>

#include "field/LatticePatches.h"
#include "parallel/threads.h"

namespace pistonfield {

/// Computes and stores the patches of a box, in turns of some of them.
/// @param sums    makes a `Work` for each turn, and computes a piece with it
/// @param store   takes a piece and the work
/// @param threads the most; 0 is `threadCount`
template <class Sums, class Store>
void computeInPatches(const Sums& sums, const LatticePatches& patches, const LatticeBox& box,
                      unsigned threads, const Store& store) {
    const LatticePatches::InBox inBox(patches, box);
    const unsigned most = threads == 0 ? threadCount() : std::min(threads, mostThreads);
    constexpr std::int64_t perTurn = 16;
    inParallel(inBox.count(), std::clamp<std::int64_t>(inBox.count() / 32, 1, perTurn),
               inBox.count() > 1 ? most : 1, [&](std::int64_t first, std::int64_t last) {
                   typename Sums::Work work(sums);
                   for (std::int64_t i = first; i < last; ++i) {
                       const LatticePatches::Piece piece = inBox.piece(i);
                       sums.compute(piece, work);
                       store(piece, work);
                   }
               });
}

}  // namespace pistonfield
