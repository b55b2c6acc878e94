// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/CudaStorage.h"
#include "core/Grid3DR.h"

/// Anything that fills a field array over a grid. A field array holds the complex pressure at every
/// point, in grid point order, as pairs of real and imaginary part: 2 * grid.nbPositions() reals.
class Transducer {
  public:
    Transducer() = default;
    Transducer(const Transducer&) = delete;
    Transducer& operator=(const Transducer&) = delete;
    virtual ~Transducer() = default;

    /// Fills a field array in single precision.
    virtual void compute(float* data, const Grid3DR<double>& grid) const = 0;

    /// Fills the storage's host side. A storage of another type than DT_FLOAT is reported through
    /// the current error handler.
    virtual void compute(CudaStorage* data, const Grid3DR<double>& grid) const;
};
