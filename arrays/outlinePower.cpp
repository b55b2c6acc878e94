// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <mutex>
#include <numbers>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "arrays/BoundaryPanel.h"
#include "arrays/MutualKernel.h"
#include "arrays/PowerSum.h"
#include "arrays/boundaryNodes.h"
#include "arrays/faces.h"
#include "arrays/pairOffsets.h"
#include "arrays/vectors.h"

namespace pistonfield {

namespace {

/// The mutual resistances of pairs of elements in one plane, by integrals over both boundaries; see
/// `MutualKernel`.
class OutlinePower : public PowerSum {
  public:
    OutlinePower(const std::vector<Element>& elements,
                 const std::vector<std::complex<double>>& weights, const Wave& wave, Baffle baffle,
                 int refinement)
        : weights(weights),
          kernel(wave, baffle, farthestWithin(elements, wave)),
          step(offsetRounding * farthestOf(elements)),
          rounding(1e3 * step) {
        const Pose& frame = elements.front().pose;
        std::map<ShapeKey, std::size_t> numbers;
        faces.reserve(elements.size());
        for (const Element& element : elements) {
            const auto [known, isNew] = numbers.try_emplace(keyOf(element, frame), shapes.size());
            if (isNew) shapes.push_back(panelsOf(element, frame, wave, refinement));
            const Vector3 from = minus(element.pose.centre, frame.centre);
            faces.push_back(
                {dot(from, frame.alongWidth), dot(from, frame.alongHeight), known->second});
        }
        for (const Panels& panels : shapes) mostNodes = std::max(mostNodes, nodesIn(panels));
        requireFew(mostNodes);
    }

    std::int64_t parts() const override { return static_cast<std::int64_t>(faces.size()); }

    double costOfAPart() const override {
        const auto nodes = static_cast<double>(mostNodes);
        return static_cast<double>(faces.size()) * nodes * nodes;
    }

    /// What an element radiates by its own pressure and those of all that follow it.
    double part(std::int64_t number) const override {
        const auto i = static_cast<std::size_t>(number);
        const std::complex<double> velocity = weights[i];
        if (velocity == 0.0) return 0;
        std::unique_ptr<Known> known = takeKnown();
        double others = 0;
        for (std::size_t j = i + 1; j < faces.size(); ++j) {
            const double product =
                velocity.real() * weights[j].real() + velocity.imag() * weights[j].imag();
            if (product != 0) others += product * resistance(faces[i], faces[j], *known);
        }
        const double own = std::norm(velocity) * resistance(faces[i], faces[i], *known);
        giveKnown(std::move(known));
        return own / 2 + others;
    }

  private:
    using Panels = std::vector<BoundaryPanel>;
    using Known = std::unordered_map<PairOffset, double, HashOfPairOffset>;

    /// An outline or two sides, and how it is turned, to 1e-12.
    using ShapeKey = std::tuple<const Outline*, double, double, long long, long long>;

    struct Face {
        double x, y;  ///< the origin of its frame
        std::size_t shape;
    };

    static double farthestOf(const std::vector<Element>& elements) {
        const Vector3& first = elements.front().pose.centre;
        double reach = 0;
        for (const Element& element : elements)
            reach =
                std::max(reach, lengthOf(minus(element.pose.centre, first)) + reachOfFace(element));
        return 2 * reach;
    }

    static double farthestWithin(const std::vector<Element>& elements, const Wave& wave) {
        constexpr double mostRadians = 1 << 17;
        const double farthest = farthestOf(elements);
        if (!(wave.wavenumber * farthest <= mostRadians)) refuseTooManyPlaces();
        return farthest;
    }

    static ShapeKey keyOf(const Element& element, const Pose& frame) {
        constexpr double perTurn = 1e12;
        const bool isOutline = element.outline != nullptr;
        return {element.outline.get(), isOutline ? 0 : element.piston.width,
                isOutline ? 0 : element.piston.height,
                std::llround(perTurn * dot(element.pose.alongWidth, frame.alongWidth)),
                std::llround(perTurn * dot(element.pose.alongWidth, frame.alongHeight))};
    }

    static void requireFew(std::size_t nodes) {
        constexpr double most = 1 << 26;
        if (!(static_cast<double>(nodes) * static_cast<double>(nodes) <= most))
            refuseTooManyPlaces();
    }

    /// Panels about the origin of the element's frame, along the directions of all. Rules of high
    /// orders take long: too many nodes are refused before these are made.
    static Panels panelsOf(const Element& element, const Pose& frame, const Wave& wave,
                           int refinement) {
        const RectangularPiston& piston = element.piston;
        const Outline outline =
            element.outline ? *element.outline : rectangleOutline(piston.width, piston.height);
        requireFew(nodesOf(outline, wave.wavenumber, refinement));
        return panelsAlong(outline,
                           {dot(element.pose.alongWidth, frame.alongWidth),
                            dot(element.pose.alongWidth, frame.alongHeight)},
                           wave, refinement);
    }

    static std::size_t nodesIn(const Panels& panels) noexcept {
        std::size_t count = 0;
        for (const BoundaryPanel& panel : panels) count += panel.nodes().size();
        return count;
    }

    /// Z of two faces, in the same order whichever comes first.
    double resistance(const Face& a, const Face& b, Known& known) const {
        constexpr std::size_t mostKnown = 1 << 17;
        const Face& one = a.shape <= b.shape ? a : b;
        const Face& other = a.shape <= b.shape ? b : a;
        PairOffset offset{one.shape, other.shape, std::llround((other.x - one.x) / step),
                          std::llround((other.y - one.y) / step)};
        // Of equal faces it does not matter which one is seen from which.
        if (offset.one == offset.other && (offset.x < 0 || (offset.x == 0 && offset.y < 0)))
            offset = {offset.one, offset.other, -offset.x, -offset.y};
        const auto found = known.find(offset);
        if (found != known.end()) return found->second;
        const double value = integral(offset);
        if (known.size() < mostKnown) known.emplace(offset, value);
        return value;
    }

    double integral(const PairOffset& offset) const {
        const double x = static_cast<double>(offset.x) * step;
        const double y = static_cast<double>(offset.y) * step;
        double sum = 0;
        for (const BoundaryPanel& a : shapes[offset.one])
            for (const BoundaryPanel& b : shapes[offset.other])
                sum += pairIntegral(a, b, {x, y}, kernel, rounding);
        return -sum / (2 * std::numbers::pi);
    }

    std::unique_ptr<Known> takeKnown() const {
        const std::lock_guard lock(mutex);
        if (idle.empty()) return std::make_unique<Known>();
        std::unique_ptr<Known> known = std::move(idle.back());
        idle.pop_back();
        return known;
    }

    void giveKnown(std::unique_ptr<Known> known) const {
        const std::lock_guard lock(mutex);
        idle.push_back(std::move(known));
    }

    const std::vector<std::complex<double>>& weights;
    MutualKernel kernel;
    double step;
    double rounding;  ///< by which ends of panels that are the same may be apart
    std::vector<Panels> shapes;
    std::vector<Face> faces;
    std::size_t mostNodes = 0;
    mutable std::mutex mutex;
    mutable std::vector<std::unique_ptr<Known>> idle;  ///< what each thread knows
};

}  // namespace

std::unique_ptr<const PowerSum> makeOutlinePower(const std::vector<Element>& elements,
                                                 const std::vector<std::complex<double>>& weights,
                                                 const Wave& wave, Baffle baffle, int refinement) {
    return std::make_unique<OutlinePower>(elements, weights, wave, baffle, refinement);
}

}  // namespace pistonfield
