// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ContourEngine.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "field/ArrayEngine.h"
#include "field/ContourTerms.h"
#include "field/GroupRuns.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

/// About what an evaluation of the integrand takes on one core.
constexpr double secondsOfAnEvaluation = 4e-9;

template <class T>
class ContourEngine : public ArrayEngine<T> {
  public:
    using Index = ContourTerms::Index;

    explicit ContourEngine(std::shared_ptr<const ContourTerms> asked)
        : ArrayEngine<T>(asked), terms(std::move(asked)) {}

    std::string_view name() const noexcept override { return "contours"; }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        const GroupRuns runs(box, terms->request().lattice.sizes);
        const unsigned most = threads == 0 ? threadCount() : std::min(threads, mostThreads);
        // Pieces of groups that are worth a thread's turn.
        const std::int64_t perTurn = std::clamp<std::int64_t>(
            static_cast<std::int64_t>(2e4 / std::max(1.0, this->evaluationsOfAPoint())), 1, 16);
        inParallel(runs.count(), perTurn, runs.count() > perTurn ? most : 1,
                   [&](std::int64_t first, std::int64_t last) {
                       Work work;
                       for (std::int64_t i = first; i < last; ++i) fill(runs.piece(i), to, work);
                   });
    }

    std::int64_t pieceToWatch(unsigned threads) const override {
        constexpr double piece = 0.05;
        const double points = piece / secondsOfAPoint();
        const unsigned count = threads == 0 ? threadCount() : threads;
        return std::max<std::int64_t>(groupSize, static_cast<std::int64_t>(points)) *
               std::min(count, usableCores());
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        // An element's evaluations at a point take some 0.1 ms to count: of very many some are.
        constexpr std::size_t mostCounted = 1 << 12;
        const std::size_t count = terms->fields().count();
        const std::size_t some = std::clamp<std::size_t>(mostCounted / points.size(),
                                                         std::min<std::size_t>(64, count), count);
        ContourFields::Work work;
        double sum = 0;
        for (const Index& index : points) {
            GroupPlaces places;
            terms->positions().group(terms->numberOf(index) / groupSize, places);
            for (std::size_t i = 0; i < some; ++i) {
                const std::size_t element = i * count / some;
                sum +=
                    terms->fields().evaluationsOf(element, places, terms->limitOf(element), work);
            }
        }
        return sum / static_cast<double>(points.size()) * static_cast<double>(count) /
               static_cast<double>(some);
    }

    double secondsOfAPoint() const override {
        return secondsOfAnEvaluation * std::max(1.0, this->evaluationsOfAPoint());
    }

    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override {
        constexpr std::int64_t ofNodes = 1 << 20;
        const auto ofSums = static_cast<std::int64_t>(terms->weightings() * sizeof(Work::sums[0]));
        return usableCores() * (ofNodes + ofSums);
    }

  private:
    struct Work {
        ContourFields::Work fields;
        std::vector<std::array<PointField, groupSize>> sums;
    };

    int sumUp(const GroupPlaces& places, Work& work) const {
        const auto limitOf = [this](std::size_t element) { return terms->limitOf(element); };
        return terms->sumUp(places, limitOf, work.sums, work.fields);
    }

    void fill(const GroupRuns::Piece& piece, const Destination<T>& to, Work& work) const {
        if (piece.first == piece.last) return;
        GroupPlaces places;
        terms->positions().group(piece.group, places);
        sumUp(places, work);
        const std::int64_t components = terms->request().components();
        for (std::size_t w = 0; w < work.sums.size(); ++w)
            for (std::int64_t i = piece.first; i < piece.last; ++i) {
                std::complex<double> values[3];
                const auto inGroup = static_cast<std::size_t>(i - piece.beginOfGroup());
                ContourTerms::componentsOf(work.sums[w][inGroup], terms->request().quantity,
                                           values);
                for (std::int64_t c = 0; c < components; ++c) {
                    const Destination<T> at =
                        to.field(static_cast<std::int64_t>(w) * components + c)
                            .from(piece.to + (i - piece.first));
                    *at.re = static_cast<T>(values[c].real());
                    *at.im = static_cast<T>(values[c].imag());
                }
            }
    }

    std::shared_ptr<const ContourTerms> terms;
};

}  // namespace

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeContourSumEngine(
    std::shared_ptr<const ContourTerms> terms) {
    if (auto patches = makeContourPatchEngine<T>(terms)) return patches;
    return std::make_unique<const ContourEngine<T>>(std::move(terms));
}

template <class T>
std::shared_ptr<const Engine<T>> makeContourEngine(const Request& request, const Watch& watch) {
    const auto terms = std::make_shared<const ContourTerms>(request, watch);
    return fastestOf<T>(
        terms, std::shared_ptr<const ArrayEngine<T>>(makeContourSumEngine<T>(terms)), watch);
}

template std::unique_ptr<const ArrayEngine<float>> makeContourSumEngine(
    std::shared_ptr<const ContourTerms>);
template std::unique_ptr<const ArrayEngine<double>> makeContourSumEngine(
    std::shared_ptr<const ContourTerms>);
template std::shared_ptr<const Engine<float>> makeContourEngine(const Request&, const Watch&);
template std::shared_ptr<const Engine<double>> makeContourEngine(const Request&, const Watch&);

}  // namespace pistonfield
