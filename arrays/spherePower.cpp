// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "arrays/LegendreRule.h"
#include "arrays/PowerSum.h"
#include "arrays/arrangement.h"
#include "arrays/rectangles.h"
#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

double sinc(double x) noexcept { return x == 0 ? 1 : std::sin(x) / x; }

/// An array as it is seen from far away.
class FarField {
  public:
    FarField(const std::vector<Element>& elements, const std::vector<Complex>& weights, double k) {
        Vector3 middle{};
        for (const Element& element : elements)
            middle = plus(middle, 1 / static_cast<double>(elements.size()), element.pose.centre);
        for (const Element& element : elements)
            for (const Vector3& corner : cornersOf(element))
                reach = std::max(reach, k * lengthOf(minus(corner, middle)));
        sources.reserve(elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const auto& [piston, pose, outline] = elements[i];
            Source source{plus({}, k * piston.width / 2, pose.alongWidth),
                          plus({}, k * piston.height / 2, pose.alongHeight),
                          plus({}, k, minus(pose.centre, middle)),
                          k * piston.width * piston.height / (2 * pi) * weights[i]};
            source.isAlike = i > 0 && source.halfWidth == sources.back().halfWidth &&
                             source.halfHeight == sources.back().halfHeight;
            sources.push_back(source);
        }
    }

    /// The largest distance from the middle, times the wavenumber.
    double reachInRadians() const noexcept { return reach; }

    /// The far field p*R*exp(jkR) in a direction.
    Complex amplitude(const Vector3& direction) const noexcept {
        Complex sum;
        double directivity = 0;
        for (const Source& source : sources) {
            if (!source.isAlike)
                directivity = sinc(dot(direction, source.halfWidth)) *
                              sinc(dot(direction, source.halfHeight));
            const double phase = dot(direction, source.centre);
            const double re = directivity * std::cos(phase);
            const double im = directivity * std::sin(phase);
            const Complex& strength = source.strength;
            // The product of complex numbers would look for infinite ones.
            sum += Complex(strength.real() * re - strength.imag() * im,
                           strength.real() * im + strength.imag() * re);
        }
        return sum;
    }

  private:
    /// An element, with lengths times the wavenumber.
    struct Source {
        Vector3 halfWidth, halfHeight;
        Vector3 centre;  ///< from the middle
        Complex strength;
        bool isAlike = false;  ///< its directivity is that of the one before
    };

    std::vector<Source> sources;
    double reach = 0;
};

/// Half the integral of |p|^2*R^2 over the half sphere. The cosine of the polar angle takes a
/// Gauss-Legendre rule, about so many nodes for the 2*reach radians that |p|^2 has along it, and
/// the azimuth even steps, which are exact for less than their number of periods.
class SpherePower : public PowerSum {
  public:
    SpherePower(const std::vector<Element>& elements, const std::vector<Complex>& weights,
                double wavenumber, const Vector3& normal, int refinement)
        : count(elements.size()),
          field(elements, weights, wavenumber),
          normal(normal),
          across(unitOf(
              cross(normal, std::abs(normal[0]) < 0.5 ? Vector3{1, 0, 0} : Vector3{0, 1, 0}))),
          other(cross(normal, across)),
          finer(std::pow(1.25, refinement)),
          cosines(static_cast<int>(finer * (reachWithin() / 2 + 8))),
          azimuths(static_cast<std::size_t>(finer * (2 * reachWithin() + 16))) {
        // Of many elements a part is less than a ring.
        constexpr std::size_t mostPairs = 1 << 20;
        azimuthsOfAPart = std::clamp<std::size_t>(mostPairs / count, 1, azimuths);
        partsOfARing = (azimuths + azimuthsOfAPart - 1) / azimuthsOfAPart;
    }

    std::int64_t parts() const override {
        return static_cast<std::int64_t>(cosines.nodes.size() * partsOfARing);
    }

    double costOfAPart() const override {
        constexpr double ofAnElement = 6;
        return ofAnElement * static_cast<double>(count * azimuthsOfAPart);
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
    double reachWithin() const {
        constexpr double mostRadians = 8000;  // with all refinements the rules have their digits
        if (!(field.reachInRadians() <= mostRadians))
            throw InvalidRequest("elements",
                                 "are too far apart: the array's radius is above 1200 "
                                 "wavelengths");
        return field.reachInRadians();
    }

    std::size_t count;
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
                                                double wavenumber, int refinement) {
    const auto normal = meanNormal(elements);
    if (!normal) throw InvalidRequest("elements", "their normals cancel, and say no half space");
    return std::make_unique<SpherePower>(elements, weights, wavenumber, *normal, refinement);
}

}  // namespace pistonfield
