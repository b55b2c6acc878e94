// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

#include "run/Request.h"

namespace run {

/// Computes the pressure at the points of boxes of a request's lattice. A point's value does not
/// depend on the box that it is in.
class Evaluation {
  public:
    Evaluation() = default;
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;
    virtual ~Evaluation() = default;

    /// @param values receives box.points() complex values of the request's precision
    virtual void fill(const LatticeBox& box, void* values) = 0;
};

/// What computes a request's field in its mode. A failure of the device is thrown.
std::unique_ptr<Evaluation> evaluationOf(const Request& request);

}  // namespace run
