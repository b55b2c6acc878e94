// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <iterator>

#include "FastNearfield/PointSums.h"
#include "field/Engine.h"
#include "field/engineRule.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

template <class T>
class CpuEngine : public Engine<T> {
  public:
    explicit CpuEngine(const Request& request)
        : lattice(request.lattice),
          piston{static_cast<T>(request.piston.width * 0.5),
                 static_cast<T>(request.piston.height * 0.5),
                 static_cast<T>(request.wave.wavenumber)} {
        setRule(rule, request.rule);
    }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        pointsums::fill({rule.abscissas, rule.weights, rule.order}, piston, latticeOf(box),
                        {to.re, to.im, to.stride}, threads);
    }

    std::int64_t pieceToWatch(unsigned threads) const override {
        // At about a nanosecond each.
        constexpr std::int64_t evaluations = 1 << 26;
        const unsigned count = threads == 0 ? threadCount() : threads;
        return std::max<std::int64_t>(1, evaluations / (4 * rule.order)) *
               std::min(count, usableCores());
    }

    double evaluationsOfAPoint() const override { return 4.0 * rule.order; }
    std::int64_t largestPiece() const noexcept override { return 1 << 30; }
    std::int64_t memoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }
    std::int64_t deviceMemoryOf(const LatticeBox& /*box*/) const noexcept override { return 0; }

  private:
    pointsums::Lattice<T> latticeOf(const LatticeBox& box) const {
        const auto rounded = [](auto value) { return static_cast<T>(value); };
        pointsums::Lattice<T> of{};
        std::transform(lattice.transform.begin(), lattice.transform.begin() + std::size(of.rows),
                       of.rows, rounded);
        of.divisor = rounded(lattice.transform.back());
        std::transform(box.first.begin(), box.first.end(), of.first, rounded);
        of.sx = static_cast<int>(box.size[0]);
        of.sy = static_cast<int>(box.size[1]);
        of.sz = static_cast<int>(box.size[2]);
        return of;
    }

    Lattice lattice;
    pointsums::Piston<T> piston;
    GaussLegendre<T> rule;
};

}  // namespace

template <class T>
std::unique_ptr<const Engine<T>> makeCpuEngine(const Request& request) {
    return std::make_unique<const CpuEngine<T>>(request);
}

template std::unique_ptr<const Engine<float>> makeCpuEngine(const Request&);
template std::unique_ptr<const Engine<double>> makeCpuEngine(const Request&);

}  // namespace pistonfield
