// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "field/ElementFields.h"
#include "field/FaceLevels.h"
#include "field/LatticePatches.h"
#include "field/SharedFaces.h"

namespace pistonfield {

/// Sums of an array's elements at the points of patches, within the limits of an array's tolerance.
/// Arithmetic is in T.
///
/// Elements that are far are computed by their directivities, in packs of equal ones; those that
/// are nearer in parts, and the nearest ones by the integrals along their edges.
template <class T>
class PatchSums {
  public:
    /// @param array   outlives this
    /// @param limitOf of the error of an element's field that is driven by 1
    /// @param counts  points of a patch's rows, and its rows
    /// @param shared  what sums at other points know as well, or null
    /// @throws std::bad_alloc
    PatchSums(const Array& array, const Wave& wave,
              const std::function<ErrorLimit(const Face&)>& limitOf,
              const std::array<int, 2>& counts, SharedFaces* shared = nullptr);

    class Work;

    /// Computes the pressure at the wanted points of a patch.
    /// @return evaluations of directivities and of integrands, of all elements and points
    /// @throws std::bad_alloc
    double compute(const LatticePatches::Piece& piece, Work& work) const;

    /// Bytes beside the request, and of the work of a thread.
    std::int64_t memory() const noexcept;
    std::int64_t memoryOfWork() const noexcept;

  private:
    static constexpr std::size_t mostUnits = 16;
    static constexpr int levels = 5;

    /// Elements of one shape whose numbers stand at `first` of `numbers` and next to it.
    struct Some {
        std::size_t shape;
        std::size_t pack;  ///< the number of that which they are in
        std::size_t first, count;
    };

    struct Unit;

    void addSome(const Some& some, std::size_t level, const LatticePatches::Piece& piece,
                 Work& work) const;
    void sumUp(const LatticePatches::Piece& piece, Work& work) const;
    void addEdges(std::size_t element, const LatticePatches::Piece& piece, Work& work) const;
    void place(const Some& some, const FaceParts& parts, FacePack<T>& pack) const;

    /// The place in `numbers` of the element that a lane belongs to; the last one fills up packs.
    static std::size_t placeOf(const Some& some, const FaceParts& parts, int lane) {
        return some.first +
               std::min(static_cast<std::size_t>(lane / parts.count()), some.count - 1);
    }

    const Array& array;
    ElementFields<T> fields;
    std::vector<std::shared_ptr<const FaceLevels<T>>> shapes;
    std::vector<std::size_t> numbers;  ///< of the elements, shape by shape
    std::vector<Some> packs;
    std::vector<FacePack<T>> wholes;  ///< of each of these
    std::array<RowRules<T>, 2> rules;
};

/// Elements or parts of them that are computed together.
template <class T>
struct PatchSums<T>::Unit {
    FacePack<T> ownPack;  ///< of parts
    PatchNodes<T> nodes;
    PackFace<T> face;
    Some some;
    const FaceParts* parts;
    const FacePack<T>* pack;
};

/// What the sums of a patch work on.
template <class T>
class PatchSums<T>::Work {
  public:
    /// @param of outlives this
    explicit Work(const PatchSums& of);

    /// The pressure of a weighting at a point of a row of the patch.
    std::complex<double> at(std::size_t weighting, int row, int point) const {
        const std::size_t i = weighting * toNext + static_cast<std::size_t>(row) * mostInRow +
                              static_cast<std::size_t>(point);
        return {re[i], im[i]};
    }

  private:
    friend class PatchSums;

    std::vector<std::unique_ptr<Unit>> units;
    std::size_t used = 0;            ///< units that have not been summed up yet
    std::vector<RowNumbers<T>> row;  ///< of each unit
    std::vector<T> weights;
    std::size_t toNext;  ///< sums of a weighting
    std::vector<double> re, im;
    double evaluations = 0;
};

}  // namespace pistonfield
