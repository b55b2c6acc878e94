// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <functional>

#include "core/LatticeBox.h"

namespace pistonfield {

/// Cuts a box into boxes of at most `most` points, each a run of the whole's values, and does a
/// work with one after the other, in the order of their values.
/// @param most 1 or more
void inPieces(const LatticeBox& box, std::int64_t most,
              const std::function<void(const LatticeBox& piece)>& work);

}  // namespace pistonfield
