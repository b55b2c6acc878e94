// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/FarFace.h"

#include <algorithm>
#include <cmath>

#include "field/errorLimits.h"

namespace pistonfield {

namespace {

/// The parts of a limit for directivities, and for the last coefficients along each direction of a
/// patch: those beyond them add up to twice as much.
constexpr double partOfDirectivity = 1.0 / 5;
constexpr double partOfInterpolation = 1.0 / 5;

}  // namespace

template <class T>
FarFace<T>::FarFace(const Face& face, const ErrorLimit& limit)
    : face(face),
      limit(limit),
      far(farAmplitude(face)),
      leastDistance(Directivity<T>::leastDistance(face)) {
    // Next to the face a fixed limit may be a smaller part of the pressure than directivities keep.
    constexpr double least = Directivity<T>::leastError;
    if (directivityError(leastDistance) < least)
        leastDistance *= least / directivityError(leastDistance);
    if (directivityError(leastDistance) < least * (1 - 1e-9)) leastDistance = HUGE_VAL;
}

template <class T>
double FarFace<T>::directivityError(double distance) const {
    constexpr double most = 0.1;
    const double relative = limit.at(face.k * distance) * face.k * distance / far;
    return std::min(most, partOfDirectivity * relative);
}

template <class T>
int FarFace<T>::shellAt(double nearest) const noexcept {
    const int steps = static_cast<int>(perOctave * std::log2(nearest / leastDistance));
    return std::clamp(steps, 0, mostShells - 1);
}

template <class T>
PackFace<T> FarFace<T>::shell(int number) const {
    Shell& shell = shells[static_cast<std::size_t>(number)];
    std::call_once(shell.made, [&] {
        // A little nearer than the distances whose logarithm is rounded.
        constexpr double rounding = 1 - 1e-9;
        const double from = number == 0 ? leastDistance
                                        : rounding * leastDistance *
                                              std::exp2(static_cast<double>(number) / perOctave);
        shell.directivity =
            std::make_unique<const Directivity<T>>(face, from, directivityError(from));
    });
    return {face.k, std::hypot(face.halfX, face.halfY), far, shell.directivity->terms()};
}

template <class T>
double FarFace<T>::interpolationError(double farthest) const {
    return partOfInterpolation * limit.at(face.k * farthest);
}

template class FarFace<float>;
template class FarFace<double>;

FaceParts::FaceParts(const Face& face, int count) : parts(count), thePart(face) {
    for (int left = count; left > 1; left /= 2) {
        if (thePart.halfX > thePart.halfY) {
            thePart.halfX /= 2;
            across *= 2;
        } else {
            thePart.halfY /= 2;
        }
    }
}

std::array<double, 2> FaceParts::centreOf(int number) const noexcept {
    const int along = parts / across;
    const int column = number % across;
    const int row = number / across;
    return {(2 * column + 1 - across) * thePart.halfX, (2 * row + 1 - along) * thePart.halfY};
}

}  // namespace pistonfield
