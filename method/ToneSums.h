// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "lanes/InstructionSet.h"
#include "method/ContourSums.h"

namespace pistonfield {

/// Tones whose complex wavenumbers k = wavenumber - j*attenuation are evenly spaced.
///
/// From each to the next E = exp(-jk*path) takes the factor M = exp(-j*step*path) = 1 + m, and
/// E - 1 the addend m E, where nothing cancels: only the first one, and m, take sines, cosines and
/// exponentials. With |E| <= 1, |m| <= 2 and the unit roundoff u an addend adds less than 30u to
/// the error of E - 1: 18u of m, the rest of the sums. So of 8 tones the last one is off by less
/// than 2^-45 more than the first.
struct EvenTones {
    static constexpr int most = 8;

    double wavenumber, attenuation;          ///< of the first one
    double stepWavenumber, stepAttenuation;  ///< from each to the next
    int count;                               ///< 1 to `most`
};

/// Sums of each tone over the nodes of one boundary, at `ContourPoints`: the sum `phi` of
/// `ContourSums` times exp(-jkQ). What does not depend on the wavenumber is formed once for all.
struct ToneSumsOf {
    /// @param tones runs of tones, `runs` of them
    /// @param sums  of all tones, one run after the other
    void (*compute)(const ContourNode* nodes, std::size_t count, const EvenTones* tones,
                    std::size_t runs, const ContourPoints& points, ContourSums::Sum* sums);
};

/// Those that are compiled for an instruction set, in that set's copy of ToneSums.lanes.cpp.
template <lanes::InstructionSet set>
const ToneSumsOf& toneSumsOf();

/// Those of the instruction set in use.
const ToneSumsOf& toneSums() noexcept;

}  // namespace pistonfield
