// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <numbers>
#include <unordered_map>
#include <utility>

#include "arrays/LegendreRule.h"
#include "arrays/PowerSum.h"
#include "arrays/pairOffsets.h"
#include "arrays/vectors.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

/// Whether a side of a face lies along a direction or across it.
bool isAlongOrAcross(const Pose& pose, const Pose& frame) noexcept {
    constexpr double rounding = 1e-9;
    return std::abs(dot(pose.alongWidth, frame.alongHeight)) <= rounding ||
           std::abs(dot(pose.alongWidth, frame.alongWidth)) <= rounding;
}

/// Places and weights for the integral of f(x - y) over two sides about 0.
struct DifferenceRule {
    std::vector<double> places, weights;
};

/// The rules of all lengths that occur.
class DifferenceRules {
  public:
    DifferenceRules(double wavenumber, int refinement)
        : wavenumber(wavenumber), refinement(refinement) {}

    /// The number of places for two sides of a length; for one that is shorter there are about as
    /// many or fewer.
    static double count(double side, double wavenumber, int refinement) noexcept {
        return 2.0 * orderOf(side, wavenumber, refinement);
    }

    /// Forgets rules where there are many. None that is in use may be forgotten.
    void limit() noexcept {
        constexpr std::size_t most = 1 << 12;
        if (rules.size() > most) rules.clear();
    }

    const DifferenceRule& of(double a, double b) {
        const auto [found, isNew] = rules.try_emplace({a, b});
        if (isNew) found->second = make(a, b);
        return found->second;
    }

  private:
    /// For waves along a length: beyond a node for each radian of the half length errors fall ever
    /// faster.
    static int orderOf(double length, double wavenumber, int refinement) noexcept {
        const double radians = wavenumber * length / 2;
        return static_cast<int>(std::ceil(radians / 2 + 2.5 * std::cbrt(radians))) + 2 + refinement;
    }

    /// The differences have a density that is a trapezium: the length that both sides share when
    /// one is moved so far.
    DifferenceRule make(double a, double b) const {
        const double outer = (a + b) / 2;
        const double inner = std::abs(a - b) / 2;
        DifferenceRule rule;
        const auto add = [&](double from, double to) {
            const LegendreRule legendre(orderOf(to - from, wavenumber, refinement));
            for (std::size_t i = 0; i < legendre.nodes.size(); ++i) {
                const double place = (from + to) / 2 + (to - from) / 2 * legendre.nodes[i];
                const double shared = std::min({outer - std::abs(place), a, b});
                rule.places.push_back(place);
                rule.weights.push_back((to - from) / 2 * legendre.weights[i] * shared);
            }
        };
        add(-outer, -inner);
        if (inner > 0) add(-inner, inner);
        add(inner, outer);
        return rule;
    }

    double wavenumber;
    int refinement;
    std::map<std::pair<double, double>, DifferenceRule> rules;
};

class PairPower : public PowerSum {
  public:
    PairPower(const std::vector<Element>& elements,
              const std::vector<std::complex<double>>& weights, double wavenumber, int refinement)
        : weights(weights), wavenumber(wavenumber), refinement(refinement) {
        const Pose& frame = elements.front().pose;
        std::map<Shape, std::size_t> numbers;
        double size = 0;
        for (const auto& [piston, pose, outline] : elements) {
            const bool isAlong = std::abs(dot(pose.alongWidth, frame.alongWidth)) > 0.5;
            const Shape shape =
                isAlong ? Shape{piston.width, piston.height} : Shape{piston.height, piston.width};
            const auto number = numbers.try_emplace(shape, shapes.size());
            if (number.second) shapes.push_back(shape);
            const Vector3 from = minus(pose.centre, frame.centre);
            faces.push_back(
                {dot(from, frame.alongWidth), dot(from, frame.alongHeight), number.first->second});
            size = std::max({size, lengthOf(from), piston.width, piston.height});
        }
        step = offsetRounding * size;
        requirePlaces();
    }

    std::int64_t parts() const override { return static_cast<std::int64_t>(faces.size()); }

    double costOfAPart() const override { return static_cast<double>(faces.size()) * mostPlaces; }

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
    using Shape = std::pair<double, double>;  ///< the sides along x and y of the frame

    struct Face {
        double x, y;  ///< the centre
        std::size_t shape;
    };

    /// What a thread knows.
    struct Known {
        explicit Known(const PairPower& of) : rules(of.wavenumber, of.refinement) {}

        DifferenceRules rules;
        std::unordered_map<PairOffset, double, HashOfPairOffset> resistances;
    };

    void requirePlaces() {
        constexpr double most = 1 << 26;
        double x = 0;
        double y = 0;
        for (const auto& [alongX, alongY] : shapes) {
            x = std::max(x, alongX);
            y = std::max(y, alongY);
        }
        mostPlaces = DifferenceRules::count(x, wavenumber, refinement) *
                     DifferenceRules::count(y, wavenumber, refinement);
        if (!(mostPlaces <= most)) refuseTooManyPlaces();
    }

    /// Re(Z) of two faces: k/(2pi) times the integral of sin(kR)/R over both. It depends on how far
    /// one is from the other, and not to which side.
    double resistance(const Face& a, const Face& b, Known& known) const {
        constexpr std::size_t mostKnown = 1 << 17;
        const PairOffset offset{std::min(a.shape, b.shape), std::max(a.shape, b.shape),
                                std::llround(std::abs(a.x - b.x) / step),
                                std::llround(std::abs(a.y - b.y) / step)};
        const auto found = known.resistances.find(offset);
        if (found != known.resistances.end()) return found->second;
        const double value = integral(offset, known.rules);
        if (known.resistances.size() < mostKnown) known.resistances.emplace(offset, value);
        return value;
    }

    double integral(const PairOffset& offset, DifferenceRules& rules) const {
        const Shape& one = shapes[offset.one];
        const Shape& other = shapes[offset.other];
        rules.limit();
        const DifferenceRule& alongX = rules.of(one.first, other.first);
        const DifferenceRule& alongY = rules.of(one.second, other.second);
        const double x = static_cast<double>(offset.x) * step;
        const double y = static_cast<double>(offset.y) * step;
        double sum = 0;
        for (std::size_t i = 0; i < alongX.places.size(); ++i) {
            const double dx = wavenumber * (x + alongX.places[i]);
            double ofColumn = 0;
            for (std::size_t j = 0; j < alongY.places.size(); ++j) {
                const double dy = wavenumber * (y + alongY.places[j]);
                const double distance = std::sqrt(dx * dx + dy * dy);
                ofColumn += alongY.weights[j] * (distance > 0 ? std::sin(distance) / distance : 1);
            }
            sum += alongX.weights[i] * ofColumn;
        }
        return wavenumber * wavenumber / (2 * pi) * sum;
    }

    std::unique_ptr<Known> takeKnown() const {
        const std::lock_guard lock(mutex);
        if (idle.empty()) return std::make_unique<Known>(*this);
        std::unique_ptr<Known> known = std::move(idle.back());
        idle.pop_back();
        return known;
    }

    void giveKnown(std::unique_ptr<Known> known) const {
        const std::lock_guard lock(mutex);
        idle.push_back(std::move(known));
    }

    const std::vector<std::complex<double>>& weights;
    double wavenumber;
    int refinement;
    std::vector<Shape> shapes;
    std::vector<Face> faces;
    double step = 0;
    double mostPlaces = 0;
    mutable std::mutex mutex;
    mutable std::vector<std::unique_ptr<Known>> idle;
};

}  // namespace

bool areParallel(const std::vector<Element>& elements) noexcept {
    const Pose& frame = elements.front().pose;
    return std::all_of(elements.begin(), elements.end(), [&frame](const Element& element) {
        return isAlongOrAcross(element.pose, frame);
    });
}

std::unique_ptr<const PowerSum> makePairPower(const std::vector<Element>& elements,
                                              const std::vector<std::complex<double>>& weights,
                                              double wavenumber, int refinement) {
    return std::make_unique<PairPower>(elements, weights, wavenumber, refinement);
}

}  // namespace pistonfield
