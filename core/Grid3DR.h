// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/Grid.h"
#include "core/MMatrix.h"

/// A regular lattice of sx * sy * sz points, placed by a 4x4 transform M: lattice point
/// v = (ix, iy, iz) lies at p[r] = (M[r][3] + sum over c of M[r][c]*v[c]) / M[3][3], r = 0, 1, 2.
///
/// Only M[3][3] of the bottom row takes part: the transform is affine, never projective.
/// The point's linear index is (iz*sy + iy)*sx + ix: x fastest, then y, then z.
template <class T>
class Grid3DR : public Grid<T> {
  public:
    Grid3DR(const MMatrix<T, 4, true>& transform, unsigned sx, unsigned sy, unsigned sz)
        : Grid<T>(sx * (sy * sz)),
          transform(transform),
          inverseTransform(transform.inverse()),
          sx(sx),
          sy(sy),
          sz(sz) {}

    /// @param values the transform's 16 values, row by row
    template <class U>
    Grid3DR(const U* values, unsigned sx, unsigned sy, unsigned sz)
        : Grid3DR(MMatrix<T, 4, true>(values), sx, sy, sz) {}

    /// An index at or beyond nbPositions() lies beyond the last z layer; it does not wrap.
    Vector<T, 3> getPosition(int i) const override {
        const int q = i / static_cast<int>(sx);
        return place(i % static_cast<int>(sx), q % static_cast<int>(sy), q / static_cast<int>(sy));
    }

    /// The position of lattice point (ix, iy, iz).
    Vector<T, 3> place(int ix, int iy, int iz) const {
        const T v0 = static_cast<T>(ix);
        const T v1 = static_cast<T>(iy);
        const T v2 = static_cast<T>(iz);
        Vector<T, 3> p;
        for (int r = 0; r < 3; ++r)
            p[r] = (((transform(r, 3) + transform(r, 0) * v0) + transform(r, 1) * v1) +
                    transform(r, 2) * v2) /
                   transform(3, 3);
        return p;
    }

    const MMatrix<T, 4, true>& getTransform() const noexcept { return transform; }
    const MMatrix<T, 4, true>& getInverseTransform() const noexcept { return inverseTransform; }
    unsigned sizeX() const noexcept { return sx; }
    unsigned sizeY() const noexcept { return sy; }
    unsigned sizeZ() const noexcept { return sz; }

  private:
    MMatrix<T, 4, true> transform;
    MMatrix<T, 4, true> inverseTransform;
    unsigned sx;
    unsigned sy;
    unsigned sz;
};
