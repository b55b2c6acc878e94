// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "ArrayCase.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>
#include <utility>

#include "field/ElementFields.h"
#include "field/Positions.h"
#include "field/errorLimits.h"

using namespace pistonfield;

namespace {

using Vector = Pose::Vector;

/// A turn about a random axis.
struct Turn {
    explicit Turn(Random& random) {
        std::array<double, 4> q{};
        double square = 0;
        for (double& part : q) {
            part = random.between(-1, 1);
            square += part * part;
        }
        for (double& part : q) part /= std::sqrt(square);
        const auto [w, x, y, z] = q;
        rows = {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                 {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                 {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
    }

    Vector operator()(const Vector& v) const {
        Vector turned{};
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j) turned[i] += rows[i][j] * v[j];
        return turned;
    }

    std::array<Vector, 3> rows;
};

}  // namespace

Array arrayOf(const ElementLayout& layout, double side, int weightings, Random& random) {
    Array array;
    const double cosine = std::cos(layout.turn);
    const double sine = std::sin(layout.turn);
    for (int j = 0; j < layout.along; ++j)
        for (int i = 0; i < layout.across; ++i) {
            Element element;
            element.piston = {side, side * 0.8};
            element.pose.centre = {(i - (layout.across - 1) / 2.0) * layout.pitchX +
                                       random.between(-1, 1) * layout.jitter,
                                   (j - (layout.along - 1) / 2.0) * layout.pitchY +
                                       random.between(-1, 1) * layout.jitter,
                                   0};
            element.pose.alongWidth = {cosine, sine, 0};
            element.pose.alongHeight = {-sine, cosine, 0};
            array.elements.push_back(element);
        }
    const std::size_t count = array.elements.size() * static_cast<std::size_t>(weightings);
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = random.between(-3, 3);
        array.weights.push_back(std::polar(random.between(0.1, 2), phase));
    }
    return array;
}

Lattice latticeAbout(const std::array<std::int64_t, 3>& sizes, const std::array<double, 3>& steps,
                     double nearest, const std::array<std::size_t, 3>& directions) {
    Lattice lattice;
    lattice.sizes = sizes;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t axis = directions[i];
        lattice.transform[4 * axis + i] = steps[i];
        lattice.transform[4 * axis + 3] =
            axis == 2 ? nearest : -steps[i] * static_cast<double>(sizes[i] - 1) / 2;
    }
    lattice.transform.back() = 1;
    return lattice;
}

Request requestOf(Array array, const Lattice& lattice, Mode mode) {
    Request request;
    request.array = std::move(array);
    request.wave.wavenumber = 2 * std::numbers::pi;
    request.lattice = lattice;
    request.mode = mode;
    return request;
}

Request turned(Request request, Random& random) {
    const Turn turn(random);
    const Vector move{random.between(-5, 5), random.between(-5, 5), random.between(-5, 5)};
    for (Element& element : request.array->elements) {
        Pose& pose = element.pose;
        pose.alongWidth = turn(pose.alongWidth);
        pose.alongHeight = turn(pose.alongHeight);
        pose.centre = turn(pose.centre);
        for (std::size_t i = 0; i < 3; ++i) pose.centre[i] += move[i];
    }
    auto& transform = request.lattice.transform;
    for (std::size_t column = 0; column < 4; ++column) {
        const Vector from = turn({transform[column], transform[4 + column], transform[8 + column]});
        for (std::size_t i = 0; i < 3; ++i)
            transform[4 * i + column] = from[i] + (column == 3 ? move[i] : 0);
    }
    return request;
}

Request drawArrayRequest(Random& random, std::string& text) {
    std::ostringstream said;
    const std::array<double, 2> steps{random.between(0.1, 0.8), random.between(0.1, 0.8)};
    const std::size_t kind = random.below(3);
    ElementLayout layout{};
    layout.across = 2 + static_cast<int>(random.below(9));
    layout.along = random.below(3) == 0 ? 1 : 2 + static_cast<int>(random.below(9));
    const double parts = kind == 1 ? static_cast<double>(2 + random.below(3)) : 1;
    layout.pitchX = steps[0] * static_cast<double>(1 + random.below(3)) / parts;
    layout.pitchY = steps[1] * static_cast<double>(1 + random.below(3)) / parts;
    if (kind == 2) layout.jitter = 0.3 * std::min(layout.pitchX, layout.pitchY);
    if (random.below(4) == 0) layout.turn = random.between(-1, 1);
    const double side = random.between(0.05, 1);
    const auto weightings = 1 + static_cast<int>(random.below(3));
    std::array<std::size_t, 3> directions{0, 1, 2};
    for (std::size_t i = 3; i > 1; --i) std::swap(directions[i - 1], directions[random.below(i)]);
    std::array<std::int64_t, 3> sizes{};
    std::array<double, 3> along{};
    for (std::size_t i = 0; i < 3; ++i) {
        sizes[i] = random.below(5) == 0 ? 1 : 2 + static_cast<std::int64_t>(random.below(40));
        if (directions[i] == 2) sizes[i] = 1 + static_cast<std::int64_t>(random.below(5));
        along[i] = directions[i] == 2 ? random.between(0.1, 2) : steps[directions[i]];
    }
    const double nearest = random.below(4) == 0 ? 0 : random.magnitude(-1.5, 1.5);
    const bool inSingle = random.below(2) == 0;
    Request request = requestOf(arrayOf(layout, side, weightings, random),
                                latticeAbout(sizes, along, nearest, directions),
                                inSingle ? Mode::cpusp : Mode::cpu);
    const bool isTurned = random.below(3) == 0;
    if (isTurned) request = turned(request, random);
    request.behind = isTurned;
    request.tolerance =
        Tolerance{inSingle ? random.magnitude(-4, -2) : random.magnitude(-10, -2),
                  random.below(2) == 0 ? Tolerance::Of::largest : Tolerance::Of::local};
    said << layout.across << " by " << layout.along << " elements, pitches " << layout.pitchX
         << " and " << layout.pitchY << ", jitter " << layout.jitter << ", turned by "
         << layout.turn << ", of the side " << side << ", " << weightings << " weightings; sizes "
         << sizes[0] << ' ' << sizes[1] << ' ' << sizes[2] << ", steps " << along[0] << ' '
         << along[1] << ' ' << along[2] << ", z the direction "
         << std::find(directions.begin(), directions.end(), 2) - directions.begin() << " from "
         << nearest << (isTurned ? ", all turned" : "") << "; " << (inSingle ? "single" : "double")
         << ", tolerance " << request.tolerance->value
         << (request.tolerance->of == Tolerance::Of::local ? " local" : " of the largest");
    text = said.str();
    return request;
}

double worstOf(const Request& request, const std::vector<std::complex<double>>& values,
               std::size_t points, Random& random) {
    const Array& array = *request.array;
    const ElementFields<double> fields(array.elements, request.wave);
    const Positions positions(request);
    const auto& sizes = request.lattice.sizes;
    const auto all = static_cast<std::size_t>(request.lattice.box().points());
    const bool isLocal = request.tolerance->of == Tolerance::Of::local;
    double worst = 0;
    for (std::size_t w = 0; w < array.weightings(); ++w) {
        double largest = 0;
        for (std::size_t i = 0; i < all; ++i)
            largest = std::max(largest, std::abs(values[w * all + i]));
        for (std::size_t i = 0; i < std::min(points, all); ++i) {
            const std::size_t at = points >= all ? i : random.below(all);
            const auto number = static_cast<std::int64_t>(at);
            const auto place = positions.at(
                {number % sizes[0], number / sizes[0] % sizes[1], number / sizes[0] / sizes[1]});
            GroupPlaces places;
            std::fill_n(places.x, groupSize, place[0]);
            std::fill_n(places.y, groupSize, place[1]);
            std::fill_n(places.z, groupSize, place[2]);
            GroupValues<double> group;
            std::complex<double> sum = 0;
            double amplitudes = 0;
            for (std::size_t e = 0; e < fields.count(); ++e) {
                const Face& face = fields.faceOf(e);
                fields.compute(e, places, localLimit(face, 1e-12), group);
                const std::complex<double> weight = array.weights[w * fields.count() + e];
                sum += weight * std::complex<double>(group.re[0], group.im[0]);
                const Vector from = fields[e].pose.placeOf(place);
                amplitudes +=
                    std::abs(weight) * localAmplitude(face, std::hypot(from[0], from[1], from[2]));
            }
            const double unit = isLocal ? amplitudes : largest;
            const double error = std::abs(values[w * all + at] - sum) / unit;
            if (!(error <= worst)) worst = error;
        }
    }
    return worst / request.tolerance->value;
}
