// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>

/// The process's heap as C++ sees it: every form of the allocation operators, also inside the
/// standard library. A program that links this source has it in place of the library's own.
namespace heap {

/// Bytes allocated now.
std::size_t liveBytes() noexcept;

/// Allocations made so far.
std::size_t allocations() noexcept;

/// How an allocation was asked for.
struct Form {
    bool throwing;
    bool aligned;
};

/// Makes one allocation fail, counted from 1 since the construction, or all from that one on, for
/// the length of a scope.
class FailingAllocation {
  public:
    FailingAllocation(int nth, bool fromThenOn) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// The form of the first allocation that failed, if one did.
    static std::optional<Form> firstFailed() noexcept;
};

}  // namespace heap
