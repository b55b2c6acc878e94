// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/Foci.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "arrays/eigensystem.h"
#include "arrays/elementPressures.h"
#include "field/Watch.h"

namespace pistonfield {

namespace {

using Complex = std::complex<double>;

constexpr double leastRatio = 1e-7;
constexpr int mostIterations = 1000;

void check(const Foci& foci) {
    const std::size_t count = foci.points.x.size();
    if (count < 1 || count > Foci::mostPoints)
        throw InvalidRequest("points", std::to_string(count) + " are not within 1 to " +
                                           std::to_string(Foci::mostPoints));
    if (foci.pressures.size() != count)
        throw InvalidRequest("pressures", std::to_string(foci.pressures.size()) +
                                              " are not one for each of the " +
                                              std::to_string(count) + " points");
    double sum = 0;
    for (const Complex& pressure : foci.pressures) sum += std::norm(pressure);
    if (!std::isfinite(sum)) throw InvalidRequest("pressures", "every number must be finite");
    if (sum == 0) throw InvalidRequest("pressures", "all are 0");
    if (!(foci.leastRatio >= leastRatio && foci.leastRatio <= 1))
        throw InvalidRequest("leastRatio", "must be within 1e-7 to 1");
    if (foci.largestWeight && !(std::isfinite(*foci.largestWeight) && *foci.largestWeight > 0))
        throw InvalidRequest("largestWeight", "must be a number above 0");
    if (foci.iterations < 0 || foci.iterations > mostIterations)
        throw InvalidRequest("iterations", "must be within 0 to " + std::to_string(mostIterations));
}

double largestOf(const std::vector<Complex>& values) {
    double largest = 0;
    for (const Complex& value : values) largest = std::max(largest, std::abs(value));
    return largest;
}

double efficiencyOf(const std::vector<Complex>& weights) {
    const double largest = largestOf(weights);
    double sum = 0;
    for (const Complex& weight : weights) sum += std::norm(weight / largest);
    return sum / static_cast<double>(weights.size());
}

/// The pressures of elements at points, and the weights that make up demanded ones.
class Pressures {
  public:
    Pressures(const Foci& foci, const std::vector<Element>& elements, const Wave& wave,
              const Conduct& conduct)
        : foci(foci),
          watch(conduct),
          elements(elements.size()),
          each(elementPressures(elements, wave, foci.points, foci.tolerance, foci.behind,
                                foci.baffle, conduct)) {}

    /// @param favours W of each element
    FociWeights solve(const std::vector<double>& favours) const {
        FociWeights found;
        const Eigensystem system = eigensystemOf(gramian(favours), [this] { watch.look(); });
        const std::vector<Complex> factors = factorsOf(system, found);
        found.weights.resize(elements);
        for (std::size_t i = 0; i < elements; ++i) {
            watch.look();
            for (std::size_t p = 0; p < points(); ++p)
                found.weights[i] += favours[i] * std::conj(at(p, i)) * factors[p];
        }
        if (largestOf(found.weights) == 0)
            throw InvalidRequest("pressures", "the array can make none of them");
        found.efficiency = efficiencyOf(found.weights);
        found.residual = residualOf(found.weights);
        return found;
    }

  private:
    std::size_t points() const noexcept { return foci.pressures.size(); }

    const Complex& at(std::size_t point, std::size_t element) const noexcept {
        return each[point * elements + element];
    }

    SquareMatrix gramian(const std::vector<double>& favours) const {
        SquareMatrix gram(points());
        for (std::size_t p = 0; p < points(); ++p)
            for (std::size_t q = p; q < points(); ++q) {
                watch.look();
                Complex sum;
                for (std::size_t i = 0; i < elements; ++i)
                    sum += favours[i] * at(p, i) * std::conj(at(q, i));
                gram(p, q) = sum;
                gram(q, p) = std::conj(sum);
            }
        return gram;
    }

    /// The pseudo-inverse of the gramian times the demanded pressures. Its eigenvalues are the
    /// squares of the singular values.
    std::vector<Complex> factorsOf(const Eigensystem& gram, FociWeights& report) const {
        const double largest = *std::max_element(gram.values.begin(), gram.values.end());
        const double least = largest * foci.leastRatio * foci.leastRatio;
        report.leastKept = 1;
        std::vector<Complex> factors(points());
        for (std::size_t k = 0; k < points(); ++k) {
            const double value = gram.values[k];
            if (value < least || !(value > 0)) {
                ++report.dropped;
                continue;
            }
            report.leastKept = std::min(report.leastKept, std::sqrt(value / largest));
            Complex part;
            for (std::size_t p = 0; p < points(); ++p)
                part += std::conj(gram.vectors(p, k)) * foci.pressures[p];
            for (std::size_t p = 0; p < points(); ++p)
                factors[p] += gram.vectors(p, k) * part / value;
        }
        return factors;
    }

    double residualOf(const std::vector<Complex>& weights) const {
        std::vector<Complex> errors = foci.pressures;
        for (std::size_t p = 0; p < points(); ++p) {
            watch.look();
            for (std::size_t i = 0; i < elements; ++i) errors[p] -= at(p, i) * weights[i];
        }
        return largestOf(errors) / largestOf(foci.pressures);
    }

    const Foci& foci;
    Watch watch;
    std::size_t elements;
    std::vector<Complex> each;
};

/// Favours the elements that are driven less than others, again and again. On the way to even
/// weights the efficiency falls at times, so that the best ones count.
FociWeights evened(const Pressures& pressures, const FociWeights& start,
                   std::vector<double> favours, int iterations) {
    constexpr double least = 1e-6;
    constexpr double most = 1e12;  // of an element that has no pressure at the points
    constexpr double enough = 0.999;
    FociWeights best = start;
    FociWeights found = start;
    for (int i = 1; i <= iterations && best.efficiency < enough; ++i) {
        const double largest = largestOf(found.weights);
        for (std::size_t e = 0; e < favours.size(); ++e)
            favours[e] =
                std::min(most, favours[e] / std::max(std::abs(found.weights[e]) / largest, least));
        found = pressures.solve(favours);
        found.iterations = i;
        if (found.efficiency > best.efficiency && found.dropped <= start.dropped) best = found;
    }
    return best;
}

}  // namespace

FociWeights weightsOf(const Foci& foci, const std::vector<Element>& elements, const Wave& wave,
                      const Conduct& conduct) {
    check(foci);
    const Pressures pressures(foci, elements, wave, conduct);
    const std::vector<double> equal(elements.size(), 1.0);
    FociWeights found = evened(pressures, pressures.solve(equal), equal, foci.iterations);
    if (foci.largestWeight) {
        found.scale = *foci.largestWeight / largestOf(found.weights);
        for (Complex& weight : found.weights) weight *= found.scale;
    }
    return found;
}

}  // namespace pistonfield
