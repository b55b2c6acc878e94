// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "field/ArrayEngine.h"
#include "field/LatticePatches.h"
#include "field/PatchContours.h"
#include "field/inPatches.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

/// Longer patches take too many nodes for near elements, and shorter ones too many in all.
constexpr double wavelengthsOfPatches = 10;

/// Sums up the fields of pistons of any outline, patch by patch of points.
template <class T>
class ContourPatchEngine : public ArrayEngine<T> {
  public:
    using Index = ContourTerms::Index;

    explicit ContourPatchEngine(std::shared_ptr<const ContourTerms> asked)
        : ArrayEngine<T>(asked),
          terms(std::move(asked)),
          patches(terms->request(), wavelengthsOfPatches),
          sums(*terms, patches.counts()) {}

    std::string_view name() const noexcept override { return "contours"; }

    /// Whether about a third of what patches sum up is interpolated on them: else groups of points
    /// are as fast, or faster.
    bool isWorthIt() const {
        constexpr double enough = 0.3;
        const std::vector<Index> points = terms->fewPoints();
        double part = 0;
        for (const Index& index : points) part += sums.interpolatedPart(pieceAt(index).patch);
        return part >= enough * static_cast<double>(points.size());
    }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        computeInPatches(sums, patches, box, threads,
                         [&](const auto& piece, const auto& work) { store(piece, work, to); });
    }

    Index tile() const override { return patches.tile(); }

    std::int64_t pieceToWatch(unsigned threads) const override {
        constexpr double piece = 0.05;
        const auto points = static_cast<std::int64_t>(piece / secondsOfAPoint());
        const unsigned count = threads == 0 ? threadCount() : threads;
        return std::max(patches.pointsOfLayer(), points) * std::min(count, usableCores());
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        // Two patches have to do.
        constexpr std::size_t most = 2;
        const std::size_t some = std::min(most, points.size());
        PatchContours::Work work(sums);
        double sum = 0;
        for (std::size_t i = 0; i < some; ++i)
            sum += sums.evaluationsOf(pieceAt(points[i * points.size() / some]), work);
        const auto [along, across] = patches.counts();
        return sum / static_cast<double>(some) / (along * across);
    }

    double secondsOfAPoint() const override {
        // Seen with 512-bit registers.
        constexpr double ofAWave = 2e-9;
        constexpr double ofANumber = 1.5e-9;
        constexpr double ofAWeight = 0.5e-9;
        constexpr double ofAnEvaluation = 4e-9;
        const double numbers = terms->request().quantity == Quantity::pressure ? 1 : 4;
        const auto weightings = static_cast<double>(terms->weightings());
        return static_cast<double>(terms->fields().count()) *
                   (ofAWave + numbers * (ofANumber + weightings * ofAWeight)) +
               this->evaluationsOfAPoint() * ofAnEvaluation;
    }

    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override {
        constexpr std::int64_t ofNodes = 1 << 20;
        return usableCores() * (ofNodes + sums.memoryOfWork());
    }

  protected:
    /// Points of one patch are computed together, as they share its nodes.
    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const override {
        std::map<Index, std::vector<std::size_t>> byPatch;
        const Index sizes = patches.tile();
        for (std::size_t i = 0; i < points.size(); ++i) {
            Index patch{};
            for (std::size_t d = 0; d < patch.size(); ++d) patch[d] = points[i][d] / sizes[d];
            byPatch[patch].push_back(i);
        }
        std::vector<std::vector<std::size_t>> some;
        some.reserve(byPatch.size());
        for (auto& [patch, numbers] : byPatch) some.push_back(std::move(numbers));
        const auto fields = static_cast<std::size_t>(terms->request().fields());
        std::vector<std::complex<double>> values(points.size() * fields);
        inParallel(static_cast<std::int64_t>(some.size()), 1, threadCount(),
                   [&](std::int64_t first, std::int64_t last) {
                       for (auto i = static_cast<std::size_t>(first);
                            i < static_cast<std::size_t>(last); ++i)
                           putValues(points, some[i], values);
                   });
        return values;
    }

  private:
    /// Puts the values at some of the points, which lie in one patch, where they belong.
    void putValues(const std::vector<Index>& points, const std::vector<std::size_t>& numbers,
                   std::vector<std::complex<double>>& values) const {
        const auto fields = static_cast<std::size_t>(terms->request().fields());
        const LatticeBox box = boxAbout(points, numbers);
        const auto all = static_cast<std::size_t>(box.points());
        std::vector<std::complex<T>> ofBox(all * fields);
        fill(box, interleaved(ofBox.data(), box.points()), 1);
        for (const std::size_t number : numbers)
            for (std::size_t f = 0; f < fields; ++f)
                values[number * fields + f] = ofBox[f * all + placeIn(box, points[number])];
    }

    static LatticeBox boxAbout(const std::vector<Index>& points,
                               const std::vector<std::size_t>& numbers) {
        LatticeBox box{points[numbers.front()], {}};
        Index last = box.first;
        for (const std::size_t number : numbers)
            for (std::size_t d = 0; d < last.size(); ++d) {
                box.first[d] = std::min(box.first[d], points[number][d]);
                last[d] = std::max(last[d], points[number][d]);
            }
        for (std::size_t d = 0; d < last.size(); ++d) box.size[d] = last[d] - box.first[d] + 1;
        return box;
    }

    static std::size_t placeIn(const LatticeBox& box, const Index& point) {
        const auto from = [&](std::size_t d) { return point[d] - box.first[d]; };
        return static_cast<std::size_t>((from(2) * box.size[1] + from(1)) * box.size[0] + from(0));
    }

    /// The patch of a point, with all of its points.
    LatticePatches::Piece pieceAt(const Index& index) const {
        LatticePatches::Piece piece = LatticePatches::InBox(patches, {index, {1, 1, 1}}).piece(0);
        piece.first = {};
        piece.count = patches.counts();
        return piece;
    }

    void store(const LatticePatches::Piece& piece, const PatchContours::Work& work,
               const Destination<T>& to) const {
        const std::int64_t components = terms->request().components();
        for (std::size_t w = 0; w < terms->weightings(); ++w)
            for (int row = 0; row < piece.count[1]; ++row)
                for (int i = 0; i < piece.count[0]; ++i) {
                    std::complex<double> values[3];
                    ContourTerms::componentsOf(work.at(w, piece.first[1] + row, piece.first[0] + i),
                                               terms->request().quantity, values);
                    for (std::int64_t c = 0; c < components; ++c) {
                        const Destination<T> at =
                            to.field(static_cast<std::int64_t>(w) * components + c)
                                .from(piece.to + row * piece.toNext[1] + i * piece.toNext[0]);
                        *at.re = static_cast<T>(values[c].real());
                        *at.im = static_cast<T>(values[c].imag());
                    }
                }
    }

    std::shared_ptr<const ContourTerms> terms;
    LatticePatches patches;
    PatchContours sums;
};

}  // namespace

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeContourPatchEngine(
    std::shared_ptr<const ContourTerms> terms) {
    auto engine = std::make_unique<const ContourPatchEngine<T>>(std::move(terms));
    if (!engine->isWorthIt()) return nullptr;
    return engine;
}

template std::unique_ptr<const ArrayEngine<float>> makeContourPatchEngine(
    std::shared_ptr<const ContourTerms>);
template std::unique_ptr<const ArrayEngine<double>> makeContourPatchEngine(
    std::shared_ptr<const ContourTerms>);

}  // namespace pistonfield
