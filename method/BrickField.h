// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>

#include "method/Brick.h"
#include "method/EdgeRuns.h"
#include "method/RectangleField.h"

namespace pistonfield {

/// What the computation of a brick works on.
template <class T>
struct BrickWork {
    std::array<BrickNumbers<T>, 2> edges;  ///< of the edges along x and along y
    BrickNumbers<T> points;                ///< the pressure, x fastest, then y, then z
};

/// The field of a rectangular piston on bricks, within a limit of its error in exact arithmetic.
/// Arithmetic is in T. The values at a point depend on its brick, not on what part of it is wanted.
template <class T>
class BrickField {
  public:
    /// The most points of a brick, and along one direction.
    static constexpr int mostPoints = 4096;
    static constexpr int mostTicks = 64;

    /// @param steps   of all bricks along x and y
    /// @param longest points of the longest runs along x and y
    /// @throws std::bad_alloc
    BrickField(const Face& face, const std::array<double, 2>& steps,
               const std::array<int, 2>& longest);

    /// Computes a part of a brick.
    /// @throws std::bad_alloc
    void compute(const Brick& brick, const BrickPart& part, const BrickLimits& limits,
                 BrickWork<T>& work) const;

    /// The evaluations of the integrand that a point takes, on average over those that are computed
    /// with it, and over what fills up their packs.
    double evaluationsOf(const Brick& brick, const std::array<int, 3>& point,
                         const BrickLimits& limits) const;

  private:
    bool hasEdges(const Brick& brick, const BrickLimits& limits) const;
    int computeRow(const Brick& brick, const std::array<int, 3>& first, int count,
                   const BrickLimits& limits, BrickNumbers<T>& points) const;
    void addEdges(const Brick& brick, const BrickPart& part, BrickWork<T>& work) const;

    Face face;
    Orders orders;
    Rules<T> rules;
    RectangleField<T> single;  ///< of points by themselves
    std::array<EdgeRuns<T>, 2> edges;
};

}  // namespace pistonfield
