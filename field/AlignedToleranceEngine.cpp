// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <optional>

#include "field/AlignedField.h"
#include "field/LatticeAxes.h"
#include "field/ToleranceEngine.h"

namespace pistonfield {

namespace {

/// The parts of a tolerance that neither nodes nor rounding of single integrals need: for points
/// that are moved to where others are mirrored, and for the rounding of runs.
constexpr double shareOfShifts = 1.0 / 32;
constexpr double shareOfRuns = 1.0 / 32;

template <class T>
class AlignedToleranceEngine : public ToleranceEngine<T> {
  public:
    using Index = ToleranceTerms::Index;

    AlignedToleranceEngine(const ToleranceTerms& terms, const LatticeAxes& axes)
        : ToleranceEngine<T>(terms),
          field(terms.face(), axes,
                {terms.partOfLimit(1 - shareOfShifts - shareOfRuns),
                 terms.partOfLimit(shareOfRuns)}) {}

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        field.fill(box, to, threads);
    }

    std::string_view name() const noexcept override { return "runs"; }

    std::int64_t pieceToWatch(unsigned threads) const override {
        // Less than a twentieth of a second where points take few evaluations: small pieces cut
        // bricks.
        constexpr double most = 1 << 20;
        constexpr double perSecond = 3e8;
        const double points = perSecond / 20 / this->meanEvaluations(this->terms.fewPoints());
        return this->forThreads(static_cast<std::int64_t>(std::clamp(points, most / 8, most)),
                                threads);
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        double sum = 0;
        for (const Index& index : points) sum += field.evaluationsOf(index);
        return sum / static_cast<double>(points.size());
    }

    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }
    std::int64_t deviceMemoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }

  protected:
    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const override {
        std::vector<std::complex<double>> values;
        for (const Index& index : points) {
            std::complex<T> value;
            fill({index, {1, 1, 1}}, interleaved(&value), 1);
            values.emplace_back(value);
        }
        return values;
    }

  private:
    AlignedField<T> field;
};

}  // namespace

template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeAlignedToleranceEngine(const Request& request,
                                                                     const ToleranceTerms& terms) {
    constexpr std::int64_t fewest = 4096;
    if (request.points || request.lattice.box().points() < fewest) return nullptr;
    const std::optional<LatticeAxes> axes = axesOf(request.lattice);
    if (!axes) return nullptr;
    double shift = 0;
    for (const LatticeAxis& axis : *axes) shift += axis.shift() * terms.face().k;
    if (shift > terms.shiftWithin(shareOfShifts)) return nullptr;
    return std::make_unique<const AlignedToleranceEngine<T>>(terms, *axes);
}

template std::unique_ptr<const ToleranceEngine<float>> makeAlignedToleranceEngine(
    const Request&, const ToleranceTerms&);
template std::unique_ptr<const ToleranceEngine<double>> makeAlignedToleranceEngine(
    const Request&, const ToleranceTerms&);

}  // namespace pistonfield
