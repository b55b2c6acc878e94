// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <memory>
#include <mutex>

#include "method/FarSums.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// A face at distances for which it has directivities. These are for some distances on each, and
/// made when they are first asked for, by any thread.
template <class T>
class FarFace {
  public:
    /// @param limit of the error of its pressure
    FarFace(const Face& face, const ErrorLimit& limit);

    /// From this distance on there are directivities; infinite where there are none.
    double least() const noexcept { return leastDistance; }

    /// What computes it at distances of at least `nearest`.
    /// @throws std::bad_alloc
    PackFace<T> at(double nearest) const { return shell(shellAt(nearest)); }

    /// What |p| times kR is far away, on the axis.
    double amplitude() const noexcept { return far; }

    /// How many shells of distances there are, each with a directivity of its own.
    static constexpr int mostShells = 16;

    /// The number of the shell of a distance of at least `least()`.
    int shellAt(double nearest) const noexcept;

    /// What computes it in a shell and beyond.
    /// @throws std::bad_alloc
    PackFace<T> shell(int number) const;

    /// The limit of the error of its pressure by interpolation, at distances of at most `farthest`.
    double interpolationError(double farthest) const;

  private:
    /// Directivities from a distance on.
    struct Shell {
        std::once_flag made;
        std::unique_ptr<const Directivity<T>> directivity;
    };

    /// The largest error of a directivity from a distance on.
    double directivityError(double distance) const;

    static constexpr int perOctave = 2;

    Face face;
    ErrorLimit limit;
    double far;
    double leastDistance;  ///< infinite where there are no directivities
    mutable std::array<Shell, mostShells> shells;
};

/// A face in equal parts, for points that are too near for the whole.
class FaceParts {
  public:
    /// @param count of parts, a power of 2
    FaceParts(const Face& face, int count);

    int count() const noexcept { return parts; }

    /// One of the parts, about its own centre.
    const Face& part() const noexcept { return thePart; }

    /// Where a part's centre is along x and y, from the face's.
    std::array<double, 2> centreOf(int number) const noexcept;

  private:
    int parts;
    int across = 1;
    Face thePart;
};

}  // namespace pistonfield
