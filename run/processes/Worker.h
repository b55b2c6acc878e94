// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <vector>

#include "run/file/SlabNumbers.h"
#include "run/file/SlabValues.h"
#include "run/processes/Ranks.h"

namespace run {

/// One process's part in a file that all processes work on. All call the same operations, which
/// throw `CollectiveFailure` in all where one failed, and stop early where one has had a signal.
class Worker {
  public:
    Worker(Ranks& ranks, FieldFile& file);

    /// Compares the finished slabs with their checksums.
    /// @return those of this process's share that are not what they were
    SlabNumbers findChanged(const std::vector<SlabRecord>& records);

    /// Computes and writes slabs; each is written while the next one is computed.
    void compute(const SlabNumbers& numbers);

    /// Every n-th, in n processes.
    SlabNumbers shareOf(const SlabNumbers& numbers) const;

    /// Takes slabs for unfinished from now on.
    void forget(const SlabNumbers& numbers);

    /// Whether a signal ended the work early, in any process.
    bool stopped() const noexcept { return wasStopped; }

  private:
    /// Does something to slabs, one after the other, and something in the end.
    void workOn(const char* what, const SlabNumbers& numbers,
                const std::function<void(std::int64_t)>& work, const std::function<void()>& last);

    Ranks& ranks;
    FieldFile& file;
    Slabs slabs;
    SlabValues values;
    SlabValues ready;  ///< computed, and to be written
    bool wasStopped = false;
};

}  // namespace run
