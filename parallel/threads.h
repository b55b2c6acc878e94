// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <functional>

namespace pistonfield {

/// The most threads that may be asked for.
inline constexpr unsigned mostThreads = 1024;

/// Has computations on the CPU that start from now on use at most so many threads, or
/// `mostThreads`, in the whole process; 0 takes that back. What they compute does not depend on it.
void useThreads(unsigned count) noexcept;

/// Whether a number was given, by `useThreads` or in the environment.
bool threadsAreChosen() noexcept;

/// The most threads of a computation on the CPU: as `useThreads` says; else as the environment
/// variable PISTONFIELD_THREADS says; else one for each processor core that the process may use.
/// @throws std::runtime_error where the variable is no whole number from 1 to `mostThreads`; an
///     empty one counts as not there
unsigned threadCount();

/// Does a work on all numbers from 0 to less than `count`, in several threads.
///
/// They take the pieces one after the other, so that uneven work stays balanced, and have ended
/// when this returns. Helpers have all signals blocked. Where there cannot be as many, fewer do the
/// work.
/// @param piece   how many numbers are worth a turn, 1 or more
/// @param threads the most, 1 or more; the caller's is one of them
/// @param work    does it for the numbers from `first` to less than `last`
/// @throws what `work` has thrown first, or std::bad_alloc where a helper finds no memory; some
///     pieces may then be left undone
void inParallel(std::int64_t count, std::int64_t piece, unsigned threads,
                const std::function<void(std::int64_t first, std::int64_t last)>& work);

}  // namespace pistonfield
