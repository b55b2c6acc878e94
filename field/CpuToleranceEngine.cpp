// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/GroupToleranceEngine.h"
#include "method/RectangleField.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

template <class T>
class CpuToleranceEngine : public GroupToleranceEngine<T> {
  public:
    explicit CpuToleranceEngine(const ToleranceTerms& terms)
        : GroupToleranceEngine<T>(terms), field(terms.face()) {}

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        const GroupRuns runs(box, terms.latticeSizes());
        const auto fillPieces = [&](std::int64_t first, std::int64_t last) {
            GroupValues<T> values;
            for (std::int64_t i = first; i < last; ++i) {
                const GroupRuns::Piece piece = runs.piece(i);
                if (piece.first >= piece.last) continue;
                computeGroup(piece.group, values);
                this->store(piece, values, to);
            }
        };
        inParallel(runs.count(), this->piecesOfATurn, this->threadsFor(runs.count(), threads),
                   fillPieces);
    }

    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }
    std::int64_t deviceMemoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }

  protected:
    void compute(std::span<const std::int64_t> groups,
                 std::span<GroupValues<T>> values) const override {
        for (std::size_t i = 0; i < groups.size(); ++i) computeGroup(groups[i], values[i]);
    }

    const GroupOrders& orders() const noexcept override { return field.orders(); }

  private:
    using GroupToleranceEngine<T>::terms;

    void computeGroup(std::int64_t group, GroupValues<T>& values) const {
        GroupPoints points;
        terms.positions().group(group, points);
        field.compute(points, terms.limit(), values);
    }

    RectangleField<T> field;
};

}  // namespace

template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeCpuToleranceEngine(const Request& request) {
    const ToleranceTerms terms(request);
    auto inGroups = std::make_unique<const CpuToleranceEngine<T>>(terms);
    auto aligned = makeAlignedToleranceEngine<T>(request, terms);
    if (!aligned) return inGroups;
    // What a run takes beside its evaluations.
    constexpr double overhead = 1.3;
    const auto some = terms.fewPoints();
    if (overhead * aligned->meanEvaluations(some) > inGroups->meanEvaluations(some))
        return inGroups;
    return aligned;
}

template std::unique_ptr<const ToleranceEngine<float>> makeCpuToleranceEngine(const Request&);
template std::unique_ptr<const ToleranceEngine<double>> makeCpuToleranceEngine(const Request&);

}  // namespace pistonfield
