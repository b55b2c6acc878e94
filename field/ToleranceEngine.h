// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

#include "field/Engine.h"

namespace pistonfield {

/// An engine that says how exact it is.
template <class T>
class ToleranceEngine : public Engine<T> {
  public:
    /// Measures it; see `Plan::accuracy`.
    virtual Accuracy accuracy() const = 0;
};

/// The engine on the CPU of a request that has a tolerance.
/// @throws InvalidRequest where a point lies behind the face and was not asked for, or where the
///     precision cannot keep the tolerance; std::bad_alloc
template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeToleranceEngine(const Request& request);

}  // namespace pistonfield
