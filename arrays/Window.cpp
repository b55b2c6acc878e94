// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/Window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "arrays/BoxTree.h"
#include "arrays/arrayRequests.h"
#include "arrays/faces.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

constexpr std::array<std::pair<const char*, Window::Kind>, 7> kinds{{
    {"rectangular", Window::Kind::rectangular},
    {"hann", Window::Kind::hann},
    {"hamming", Window::Kind::hamming},
    {"tukey", Window::Kind::tukey},
    {"blackman", Window::Kind::blackman},
    {"kaiser", Window::Kind::kaiser},
    {"gaussian", Window::Kind::gaussian},
}};

double tukey(double x, double r) noexcept {
    const double beyond = std::abs(x) - 1 + r;
    return beyond <= 0 ? 1 : (1 + std::cos(pi * beyond / r)) / 2;
}

double kaiser(double x, double beta) noexcept {
    return std::cyl_bessel_i(0.0, beta * std::sqrt(std::max(0.0, 1 - x * x))) /
           std::cyl_bessel_i(0.0, beta);
}

Box extentOf(const std::vector<Element>& elements) {
    Box extent = boxOf(elements.front());
    for (const Element& element : elements) extent.take(boxOf(element));
    return extent;
}

/// A window's places: those of elements as its coordinate has them.
class Places {
  public:
    Places(WindowAlong along, const std::vector<Element>& elements) : along(along) {
        const Box extent = extentOf(elements);
        middle = plus(plus({}, 0.5, extent.least), 0.5, extent.most);
        if (along == WindowAlong::radius) {
            for (const Element& element : elements)
                for (const Vector3& corner : cornersOfFace(element))
                    half = std::max(half, from(corner));
        } else {
            half = (extent.most[axis()] - extent.least[axis()]) / 2;
        }
    }

    double of(const Element& element) const noexcept {
        return half > 0 ? std::clamp(from(element.pose.centre) / half, -1.0, 1.0) : 0;
    }

  private:
    std::size_t axis() const noexcept { return along == WindowAlong::x ? 0 : 1; }

    double from(const Vector3& point) const noexcept {
        const Vector3 place = minus(point, middle);
        return along == WindowAlong::radius ? std::hypot(place[0], place[1]) : place[axis()];
    }

    WindowAlong along;
    Vector3 middle{};
    double half = 0;
};

}  // namespace

double Window::at(double x) const noexcept {
    switch (kind) {
        case Kind::hann:
            return (1 + std::cos(pi * x)) / 2;
        case Kind::hamming:
            return 0.54 + 0.46 * std::cos(pi * x);
        case Kind::tukey:
            return tukey(x, parameter);
        case Kind::blackman:
            return std::max(0.0, 0.42 + 0.5 * std::cos(pi * x) + 0.08 * std::cos(2 * pi * x));
        case Kind::kaiser:
            return kaiser(x, parameter);
        case Kind::gaussian:
            return std::exp(-x * x / (2 * parameter * parameter));
        case Kind::rectangular:
            break;
    }
    return 1;
}

void check(const Window& window) {
    const double p = window.parameter;
    if (window.kind == Window::Kind::tukey && !(p >= 0 && p <= 1))
        throw InvalidRequest("window", "the tapered part of tukey must be within 0 to 1");
    if (window.kind == Window::Kind::kaiser && !(p >= 0 && p <= 500))
        throw InvalidRequest("window", "beta of kaiser must be within 0 to 500");
    if (window.kind == Window::Kind::gaussian && !(std::isfinite(p) && p > 0))
        throw InvalidRequest("window", "sigma of gaussian must be above 0");
}

Window::Kind windowCalled(const std::string& name) {
    const auto* const kind = std::find_if(kinds.begin(), kinds.end(),
                                          [&](const auto& known) { return name == known.first; });
    if (kind == kinds.end()) {
        std::string names;
        for (const auto& known : kinds)
            names += (names.empty() ? "" : ", ") + std::string(known.first);
        throw InvalidRequest("window", "'" + name + "' is none of " + names);
    }
    return kind->second;
}

std::vector<double> windowValues(const Window& window, WindowAlong along,
                                 const std::vector<Element>& elements) {
    check(window);
    requireElements(elements);
    const Places places(along, elements);
    std::vector<double> values;
    values.reserve(elements.size());
    for (const Element& element : elements) values.push_back(window.at(places.of(element)));
    return values;
}

}  // namespace pistonfield
