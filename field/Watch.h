// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <chrono>
#include <thread>

#include "field/Plan.h"

namespace pistonfield {

/// Heeds a conduct within a work whose progress has no measure. It is made in the thread that does
/// the work, whose helpers may look as well.
class Watch {
  public:
    /// Heeds nothing.
    Watch() = default;

    /// @param conduct outlives this. Its progress is told 0 points
    explicit Watch(const Conduct& conduct) : conduct(&conduct) {}

    /// Comes about every twentieth of a second, but not within a step that is one piece: making a
    /// plan of a convolution of 10^4 elements or of a list of 10^6 points may take seconds from one
    /// to the next. Tells the progress about twenty times a second, in the thread that does the
    /// work, and asks the stop token.
    /// @throws Stopped
    void look() const;

    /// The most threads of the work.
    unsigned threads() const;

  private:
    const Conduct* conduct = nullptr;
    std::thread::id worker = std::this_thread::get_id();
    mutable std::chrono::steady_clock::time_point told{};  ///< the worker's alone
};

}  // namespace pistonfield
