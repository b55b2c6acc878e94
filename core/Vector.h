// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>

#include "core/ErrorHandler.h"

namespace detail {

/// Reports an index outside 0..size-1 through the current error handler.
inline void checkIndex(int i, int size, int line) {
    constexpr const char* source = "core/Vector";
    if (i < 0) ErrorHandler::getErrorHandler()->fail("i>=0", line, source);
    if (i >= size) ErrorHandler::getErrorHandler()->fail("i<N", line, source);
}

}  // namespace detail

/// N elements of T in one contiguous array, element 0 first, with checked access.
template <class T, int N>
class LinearStorage {
  public:
    /// Element i. An index out of range is reported as "i>=0" or "i<N"; with a handler that
    /// returns, the reference to where element i would stand is returned anyway and must not be
    /// used.
    T& operator[](int i) {
        detail::checkIndex(i, N, 48);
        return *(elements.data() + i);
    }

    /// Element i, checked likewise.
    const T& operator[](int i) const {
        detail::checkIndex(i, N, 48);
        return unchecked(i);
    }

    /// Element i, not checked.
    const T& unchecked(int i) const { return *(elements.data() + i); }

  private:
    std::array<T, N> elements{};
};

/// A small vector; `Vector<T,3>` is a position, with x, y, z in elements 0, 1, 2.
template <class T, int N>
class Vector {
  public:
    T& operator[](int i) { return storage[i]; }
    /// Element i, checked like the mutable access but reported from a line of its own.
    const T& operator[](int i) const {
        detail::checkIndex(i, N, 42);
        return storage.unchecked(i);
    }

  private:
    LinearStorage<T, N> storage;
};
