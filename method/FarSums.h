// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "lanes/InstructionSet.h"
#include "method/Directivity.h"
#include "method/RowRules.h"

namespace pistonfield {

/// Faces that are computed together: as many on every processor, so that the numbers of nodes do
/// not depend on it.
inline constexpr int packSize = 16;

/// The most points of a patch's row, and the most rows.
inline constexpr int mostInRow = 64;

/// Equal faces: their centres and the directions of their sides, in any frame.
template <class T>
struct FacePack {
    alignas(64) double centre[3][packSize];
    alignas(64) T alongX[3][packSize];  ///< the direction of the face's x, of length 1
    alignas(64) T alongY[3][packSize];
};

/// A lattice of points in a plane, in the same frame.
struct Patch {
    double middle[3];
    double step[2][3];  ///< from point to point of a row, and from row to row
    int count[2];       ///< points of a row and rows, 1 to `mostInRow`

    /// From the middle to the ends along a direction.
    double half(int direction) const noexcept;

    double halfDiagonal() const noexcept;
};

/// What the faces of a pack share.
template <class T>
struct PackFace {
    double k;
    double halfDiagonal;
    double farAmplitude;  ///< k*A/(2*pi), times k
    DirectivityTerms<T> directivity;
};

/// The rules along the rows of a patch, and from row to row.
template <class T>
struct PatchRules {
    const RowRules<T>* along[2];
};

/// The pressure of a pack's faces but for the phase exp(-jkR) of their centres' distance R at nodes
/// that interpolate it on a patch.
template <class T>
struct PatchNodes {
    static constexpr int most = 400;

    RowRule<T> rules[2];               ///< along the rows and from row to row
    bool areFew;                       ///< whether there are nodes: else each point is evaluated
    alignas(64) T re[most][packSize];  ///< those of a row one after the other
    alignas(64) T im[most][packSize];
};

/// Numbers of a row's points, for each face.
template <class T>
struct RowNumbers {
    alignas(64) T re[mostInRow][packSize];
    alignas(64) T im[mostInRow][packSize];
};

/// What is done with packs of faces and patches in T.
template <class T>
struct FarSumsIn {
    /// Finds distances that none of the patch's points is nearer to the faces' centres than.
    void (*findDistances)(const FacePack<T>&, const Patch&, double nearest[packSize]);

    /// Finds the nodes. All faces lie at distances for which the directivity holds.
    /// @param nearest none lies nearer
    /// @param error   of the last coefficients of each face's pressure along a direction; the
    ///     interpolation's is up to four times it
    /// @return evaluations of the directivity
    int (*findNodes)(const FacePack<T>&, const PackFace<T>&, const Patch&, double nearest,
                     const PatchRules<T>&, double error, PatchNodes<T>&);

    /// Computes the pressure of each face at the points of a row.
    /// @return evaluations of the directivity
    int (*computeRow)(const FacePack<T>&, const PackFace<T>&, const Patch&, const PatchNodes<T>&,
                      int row, RowNumbers<T>&);

    /// Adds up the numbers of packs, each face's times its weights.
    /// @param weights of each weighting those of all packs, of a pack the real and then the
    ///     imaginary parts
    /// @param toNext  from a weighting's sums to the next one's
    /// @param re, im  the sums of the first weighting at the row's first point
    void (*weigh)(const RowNumbers<T>* numbers, int packs, int points, const T* weights,
                  int weightings, std::ptrdiff_t toNext, double* re, double* im);
};

/// A direction by its cosines, and 1/R.
struct FarPlace {
    double k;
    double u, v, w;
};

/// The same in both precisions, as one instruction set has them.
struct FarSums {
    FarSumsIn<float> inFloat;
    FarSumsIn<double> inDouble;

    /// The directivity of a line at x of a face, by a rule.
    /// @param y, weights of the rule
    /// @param count      of its nodes, a multiple of `packSize`
    /// @param re, im     where it goes
    void (*lineSum)(const FarPlace& place, double x, const double* y, const double* weights,
                    int count, double& re, double& im);

    template <class T>
    const FarSumsIn<T>& in() const noexcept {
        if constexpr (sizeof(T) == 4)
            return inFloat;
        else
            return inDouble;
    }
};

/// Those that are compiled for an instruction set, in that set's copy of FarSums.lanes.cpp.
template <lanes::InstructionSet set>
const FarSums& farSumsOf();

/// Those of the instruction set in use.
const FarSums& farSums() noexcept;

/// By estimate, the nodes along a direction of a patch that interpolate a face's pressure but for
/// its phase.
/// @param radians what is left of the phase across the face changes along half of the direction by
///     up to so much
/// @param halfLengths the half of it, in distances
/// @param error relative to the amplitude
int estimatedNodes(double radians, double halfLengths, double error) noexcept;

}  // namespace pistonfield
