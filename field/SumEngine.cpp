// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <utility>

#include "field/ArrayEngine.h"
#include "field/LatticePatches.h"
#include "field/PatchSums.h"
#include "field/inPatches.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

/// Beyond so many near elements need too many nodes.
constexpr double wavelengthsOfPatches = 5;

/// Sums up the elements' fields, patch by patch of points.
template <class T>
class SumEngine : public ArrayEngine<T> {
  public:
    using Index = ArrayTerms::Index;

    SumEngine(std::shared_ptr<const ArrayTerms> asked, SharedFaces* shared)
        : ArrayEngine<T>(asked),
          terms(std::move(asked)),
          patches(terms->request(), wavelengthsOfPatches),
          sums(
              terms->array(), terms->request().wave,
              [this](const Face& face) { return terms->limitOf(face); }, patches.counts(), shared) {
    }

    std::string_view name() const noexcept override { return "sum"; }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        computeInPatches(sums, patches, box, threads,
                         [&](const auto& piece, const auto& work) { store(piece, work, to); });
    }

    Index tile() const override { return patches.tile(); }

    std::int64_t pieceToWatch(unsigned threads) const override {
        // Elements and weightings at about 5 ns and 0.1 ns, in double precision four times as long.
        constexpr double perPiece = sizeof(T) == 4 ? 1e7 : 2.5e6;
        const auto elements = static_cast<double>(terms->array().elements.size());
        const auto weightings = static_cast<double>(terms->array().weightings());
        const double points = perPiece / (elements * (1 + weightings / 50));
        const unsigned count = threads == 0 ? threadCount() : threads;
        return std::max(patches.pointsOfLayer(), static_cast<std::int64_t>(points)) *
               std::min(count, usableCores());
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        // Of the largest arrays a few patches have to do.
        constexpr std::size_t mostPairs = std::size_t{1} << 21;
        const auto [along, across] = patches.counts();
        const std::size_t pairs =
            terms->array().elements.size() * static_cast<std::size_t>(along * across);
        const std::size_t some = std::clamp<std::size_t>(mostPairs / pairs, 1, points.size());
        typename PatchSums<T>::Work work(sums);
        double sum = 0;
        for (std::size_t i = 0; i < some; ++i) {
            const Index& index = points[i * points.size() / some];
            LatticePatches::Piece piece =
                LatticePatches::InBox(patches, {index, {1, 1, 1}}).piece(0);
            piece.first[1] = 0;
            piece.count[1] = across;
            sum += sums.compute(piece, work);
        }
        return sum / static_cast<double>(some) / (along * across);
    }

    double secondsOfAPoint() const override {
        // Seen with 512-bit registers, in single precision; in double it takes about four times as
        // long.
        constexpr double ofAnElement = 1.2e-9;
        constexpr double ofAnEvaluation = 3e-9;
        constexpr double ofAWeight = 0.1e-9;
        const auto elements = static_cast<double>(terms->array().elements.size());
        const auto weightings = static_cast<double>(terms->array().weightings());
        return (elements * (ofAnElement + weightings * ofAWeight) +
                this->evaluationsOfAPoint() * ofAnEvaluation) *
               (sizeof(T) == 4 ? 1 : 4);
    }

    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override {
        return sums.memory() + usableCores() * sums.memoryOfWork();
    }

  private:
    void store(const LatticePatches::Piece& piece, const typename PatchSums<T>::Work& work,
               const Destination<T>& to) const {
        for (std::size_t w = 0; w < terms->array().weightings(); ++w) {
            const Destination<T> of = to.field(static_cast<std::int64_t>(w));
            for (int row = 0; row < piece.count[1]; ++row)
                for (int i = 0; i < piece.count[0]; ++i) {
                    const Destination<T> at =
                        of.from(piece.to + row * piece.toNext[1] + i * piece.toNext[0]);
                    const std::complex<double> value =
                        work.at(w, piece.first[1] + row, piece.first[0] + i);
                    *at.re = static_cast<T>(value.real());
                    *at.im = static_cast<T>(value.imag());
                }
        }
    }

    std::shared_ptr<const ArrayTerms> terms;
    LatticePatches patches;
    PatchSums<T> sums;
};

}  // namespace

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeSumEngine(std::shared_ptr<const ArrayTerms> terms,
                                                    SharedFaces* shared) {
    return std::make_unique<const SumEngine<T>>(std::move(terms), shared);
}

template std::unique_ptr<const ArrayEngine<float>> makeSumEngine(std::shared_ptr<const ArrayTerms>,
                                                                 SharedFaces*);
template std::unique_ptr<const ArrayEngine<double>> makeSumEngine(std::shared_ptr<const ArrayTerms>,
                                                                  SharedFaces*);

}  // namespace pistonfield
