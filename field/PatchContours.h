// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "field/ContourTerms.h"
#include "field/LatticePatches.h"
#include "method/RadialRows.h"
#include "method/RowRules.h"

namespace pistonfield {

/// Sums of flat pistons of any outline at the points of patches, within the limits of a tolerance.
///
/// But for exp(-jkR) of the distance R of its middle, a piston's field far from it is smooth: it is
/// interpolated from nodes on a patch. Near pistons are computed at each point.
class PatchContours {
  public:
    /// @param terms  outlive this
    /// @param counts points of a patch's rows, and its rows
    PatchContours(const ContourTerms& terms, const std::array<int, 2>& counts);

    class Work;

    /// Computes the fields of all weightings at the wanted points of a patch.
    /// @throws std::bad_alloc
    void compute(const LatticePatches::Piece& piece, Work& work) const;

    /// The evaluations of integrands that this takes, of all pistons and points.
    /// @throws std::bad_alloc
    double evaluationsOf(const LatticePatches::Piece& piece, Work& work) const;

    /// How many of the pistons are, by estimate, interpolated on a patch: the part of them.
    double interpolatedPart(const Patch& patch) const;

    /// Bytes of the work of a thread.
    std::int64_t memoryOfWork() const noexcept;

  private:
    static constexpr int mostNodes = 400;

    /// What there is to know of a piston for a patch.
    struct Sight;

    Sight sightOf(std::size_t element, const Patch& patch) const;
    bool isWorthIt(const std::array<int, 2>& counts) const noexcept;
    int findNodes(std::size_t element, const Patch& patch, Work& work) const;
    int evaluateNodes(std::size_t element, const Patch& patch, const Sight& sight,
                      Work& work) const;
    bool isResolved(double error, const Work& work) const;
    bool isResolved(int begin, int stride, const RowRule<double>& rule, double error,
                    const Work& work) const;
    void addRows(std::size_t element, const LatticePatches::Piece& piece, Work& work) const;
    void addPoints(std::size_t element, const LatticePatches::Piece& piece, Work& work) const;
    template <class Use>
    void forGroups(const LatticePatches::Piece& piece, Use use) const;
    const double* weightsAlong(const RowRule<double>& rule, Work& work) const;

    const ContourTerms& terms;
    LossyWavenumber k;
    std::size_t components;  ///< of a point: the pressure, or with the velocity's
    std::array<RowRules<double>, 2> rules;
};

/// What the sums of a patch work on.
class PatchContours::Work {
  public:
    /// @param of outlives this
    explicit Work(const PatchContours& of);

    /// The field of a weighting at a point of a row of the patch.
    PointField at(std::size_t weighting, int row, int point) const;

  private:
    friend class PatchContours;

    /// Complex numbers of a component at the nodes.
    struct Numbers {
        double re[mostNodes];
        double im[mostNodes];
    };

    std::size_t placeOf(std::size_t weighting, std::size_t component, int row) const noexcept {
        return ((weighting * components + component) * rows + static_cast<std::size_t>(row)) *
               mostInRow;
    }

    RowValues waves, row;
    std::size_t components, rows;
    std::vector<Numbers> nodes;  ///< of each component
    std::vector<double> re, im;
    std::array<RowRule<double>, 2> used{};  ///< the rules of the nodes
    std::array<std::vector<double>, RowRules<double>::mostNodes + 1> along;
    std::array<PointField, groupSize> values;
    ContourFields::Work fields;
};

}  // namespace pistonfield
