// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/Grid3DR.h"

/// Anything that fills a field array over a grid.
class Transducer {
  public:
    Transducer() = default;
    Transducer(const Transducer&) = delete;
    Transducer& operator=(const Transducer&) = delete;
    virtual ~Transducer() = default;

    /// Computes the complex pressure at every point of the grid, in grid point order.
    /// @param data receives 2 * grid.nbPositions() values, real and imaginary parts in turn
    virtual void compute(float* data, const Grid3DR<double>& grid) const = 0;
};
