// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/pieces.h"

#include <algorithm>
#include <cstddef>

namespace pistonfield {

void inPieces(const LatticeBox& box, std::int64_t most,
              const std::function<void(const LatticeBox& piece)>& work) {
    if (box.points() <= most) return work(box);
    // Along the last direction of several points every cut leaves runs.
    std::size_t along = 2;
    while (box.size[along] == 1) --along;
    const std::int64_t layer = box.points() / box.size[along];
    const std::int64_t layers = std::max<std::int64_t>(1, most / layer);
    LatticeBox piece = box;
    for (std::int64_t done = 0; done < box.size[along]; done += layers) {
        piece.first[along] = box.first[along] + done;
        piece.size[along] = std::min(layers, box.size[along] - done);
        inPieces(piece, most, work);
    }
}

}  // namespace pistonfield
