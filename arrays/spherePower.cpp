// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numbers>

#include "arrays/LegendreRule.h"
#include "arrays/OutlinePattern.h"
#include "arrays/PowerSum.h"
#include "arrays/arrangement.h"
#include "arrays/faces.h"
#include "arrays/rectangles.h"
#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

double sinc(double x) noexcept { return x == 0 ? 1 : std::sin(x) / x; }

/// What the far field has of a baffle, by the cosine of the direction's angle from the normal.
double obliquityOf(Baffle baffle, double cosine) noexcept {
    if (baffle == Baffle::rigid) return 1;
    return baffle == Baffle::soft ? cosine : (1 + cosine) / 2;
}

/// An array as it is seen from far away.
/// Its patterns take nodes in proportion to the wavenumber: a reach of too many radians is refused
/// before there are any.
class FarField {
  public:
    FarField(const std::vector<Element>& elements, const std::vector<Complex>& weights, double k,
             Baffle baffle, int refinement)
        : baffle(baffle) {
        Vector3 middle{};
        for (const Element& element : elements)
            middle = plus(middle, 1 / static_cast<double>(elements.size()), element.pose.centre);
        for (const Element& element : elements)
            reach = std::max(reach, k * farthestOfFace(element, middle));
        constexpr double mostRadians = 8000;  // with all refinements the rules have their digits
        if (!(reach <= mostRadians))
            throw InvalidRequest("elements",
                                 "are too far apart: the array's radius is above 1200 "
                                 "wavelengths");
        sources.reserve(elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const auto& [piston, pose, outline] = elements[i];
            Source source{plus({}, k, pose.alongWidth), plus({}, k, pose.alongHeight),
                          pose.normal(), plus({}, k, minus(pose.centre, middle)),
                          k / (2 * pi) * weights[i]};
            if (outline != nullptr)
                source.pattern = patternOf(outline.get(), k, refinement);
            else
                source.half = {piston.width / 2, piston.height / 2};
            source.isAlike = i > 0 && source.isLike(sources.back());
            perDirection += 1;
            if (source.pattern != nullptr && !source.isAlike)
                perDirection += source.pattern->size();
            sources.push_back(source);
        }
    }

    /// The largest distance from the middle, times the wavenumber.
    double reachInRadians() const noexcept { return reach; }

    /// Elements and nodes along outlines that a direction takes.
    std::size_t work() const noexcept { return perDirection; }

    /// The far field p*R*exp(jkR) in a direction.
    Complex amplitude(const Vector3& direction) const noexcept {
        Complex sum;
        Complex directivity;
        for (const Source& source : sources) {
            if (!source.isAlike) directivity = directivityOf(source, direction);
            const double phase = dot(direction, source.centre);
            const Complex wave = productOf(directivity, Complex(std::cos(phase), std::sin(phase)));
            sum += productOf(source.strength, wave);
        }
        return sum;
    }

  private:
    /// An element, with its directions and its centre times the wavenumber.
    struct Source {
        Vector3 alongWidth, alongHeight;
        Vector3 normal;  ///< of length 1
        Vector3 centre;  ///< from the middle
        Complex strength;
        const OutlinePattern* pattern = nullptr;  ///< or a rectangle's half sides
        PlaneVector half{};
        bool isAlike = false;  ///< its directivity is that of the one before

        bool isLike(const Source& other) const noexcept {
            return pattern == other.pattern && half == other.half &&
                   alongWidth == other.alongWidth && alongHeight == other.alongHeight;
        }
    };

    /// The product of complex numbers would look for infinite ones.
    static Complex productOf(const Complex& a, const Complex& b) noexcept {
        return {a.real() * b.real() - a.imag() * b.imag(),
                a.real() * b.imag() + a.imag() * b.real()};
    }

    static double farthestOfFace(const Element& element, const Vector3& from) {
        const Vector3 away = minus(element.pose.centre, from);
        if (element.outline) return lengthOf(away) + reachOfFace(element);
        double farthest = 0;
        for (const Vector3& corner : cornersOf(element))
            farthest = std::max(farthest, lengthOf(minus(corner, from)));
        return farthest;
    }

    const OutlinePattern* patternOf(const Outline* outline, double k, int refinement) {
        std::unique_ptr<const OutlinePattern>& pattern = patterns[outline];
        if (!pattern) pattern = std::make_unique<const OutlinePattern>(*outline, k, refinement);
        return pattern.get();
    }

    /// The integral over the face, with the baffle's obliquity.
    Complex directivityOf(const Source& source, const Vector3& direction) const noexcept {
        const PlaneVector q{dot(direction, source.alongWidth), dot(direction, source.alongHeight)};
        const double obliquity = obliquityOf(baffle, dot(direction, source.normal));
        if (source.pattern != nullptr) return obliquity * source.pattern->at(q);
        const auto& [width, height] = source.half;
        return obliquity * 4 * width * height * sinc(q[0] * width) * sinc(q[1] * height);
    }

    Baffle baffle;
    std::map<const Outline*, std::unique_ptr<const OutlinePattern>> patterns;
    std::vector<Source> sources;
    double reach = 0;
    std::size_t perDirection = 0;
};

/// Half the integral of |p|^2*R^2 over the half sphere. The cosine of the polar angle takes a
/// Gauss-Legendre rule, about so many nodes for the 2*reach radians that |p|^2 has along it, and
/// the azimuth even steps, which are exact for less than their number of periods.
class SpherePower : public PowerSum {
  public:
    SpherePower(const std::vector<Element>& elements, const std::vector<Complex>& weights,
                double wavenumber, Baffle baffle, const Vector3& normal, int refinement)
        : field(elements, weights, wavenumber, baffle, refinement),
          normal(normal),
          across(unitOf(
              cross(normal, std::abs(normal[0]) < 0.5 ? Vector3{1, 0, 0} : Vector3{0, 1, 0}))),
          other(cross(normal, across)),
          finer(std::pow(1.25, refinement)),
          cosines(static_cast<int>(finer * (field.reachInRadians() / 2 + 8))),
          azimuths(static_cast<std::size_t>(finer * (2 * field.reachInRadians() + 16))) {
        // Of many elements a part is less than a ring.
        constexpr std::size_t mostPairs = 1 << 20;
        azimuthsOfAPart = std::clamp<std::size_t>(mostPairs / field.work(), 1, azimuths);
        partsOfARing = (azimuths + azimuthsOfAPart - 1) / azimuthsOfAPart;
    }

    std::int64_t parts() const override {
        return static_cast<std::int64_t>(cosines.nodes.size() * partsOfARing);
    }

    double costOfAPart() const override {
        constexpr double ofAnElement = 6;
        return ofAnElement * static_cast<double>(field.work() * azimuthsOfAPart);
    }

    /// Some azimuths about the normal.
    double part(std::int64_t number) const override {
        const std::size_t ring = static_cast<std::size_t>(number) / partsOfARing;
        const std::size_t first = static_cast<std::size_t>(number) % partsOfARing * azimuthsOfAPart;
        const std::size_t last = std::min(azimuths, first + azimuthsOfAPart);
        const double cosine = (1 + cosines.nodes[ring]) / 2;
        const double sine = std::sqrt((1 - cosine) * (1 + cosine));
        double sum = 0;
        for (std::size_t i = first; i < last; ++i) {
            const double azimuth = 2 * pi * static_cast<double>(i) / static_cast<double>(azimuths);
            const Vector3 direction =
                plus(plus(plus({}, cosine, normal), sine * std::cos(azimuth), across),
                     sine * std::sin(azimuth), other);
            sum += std::norm(field.amplitude(direction));
        }
        return pi * cosines.weights[ring] / 2 * sum / static_cast<double>(azimuths);
    }

  private:
    FarField field;
    Vector3 normal, across, other;
    double finer;
    LegendreRule cosines;
    std::size_t azimuths;
    std::size_t azimuthsOfAPart = 1;
    std::size_t partsOfARing = 1;
};

}  // namespace

std::unique_ptr<const PowerSum> makeSpherePower(const std::vector<Element>& elements,
                                                const std::vector<Complex>& weights,
                                                double wavenumber, Baffle baffle, int refinement) {
    const auto normal = meanNormal(elements);
    if (!normal) throw InvalidRequest("elements", "their normals cancel, and say no half space");
    return std::make_unique<SpherePower>(elements, weights, wavenumber, baffle, *normal,
                                         refinement);
}

}  // namespace pistonfield
