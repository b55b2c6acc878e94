// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "ContourCase.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <memory>
#include <numbers>
#include <sstream>
#include <utility>

#include "ArrayCase.h"
#include "FieldCase.h"
#include "field/Positions.h"

using namespace pistonfield;
using Complex = std::complex<double>;
using Vector = Pose::Vector;

namespace {

constexpr double turn = 2 * std::numbers::pi;

double norm(const Vector& v) { return std::hypot(v[0], v[1], v[2]); }

std::vector<PlaneVector> rectangle(double width, double height) {
    return {{-width / 2, -height / 2},
            {width / 2, -height / 2},
            {width / 2, height / 2},
            {-width / 2, height / 2}};
}

/// Gives an element a shape of about some size.
/// @return its surface
reference::FlatSource drawShape(Element& element, double size, Random& random) {
    const auto use = [&](Outline outline) {
        element.outline = std::make_shared<const Outline>(std::move(outline));
    };
    const double part = random.between(0.05, 0.9);
    const double from = random.between(-3, 3);
    const double sweep = random.between(0.3, 6);
    switch (random.below(6)) {
        case 0:
            element.piston = {size, size * part};
            return reference::polygonSource(rectangle(size, size * part));
        case 1:
            use(discOutline(size / 2));
            return reference::ringSource(0, size / 2);
        case 2:
            use(ringOutline(part * size / 2, size / 2));
            return reference::ringSource(part * size / 2, size / 2);
        case 3:
            use(sectorOutline(part * size / 2, size / 2, from, sweep));
            return reference::sectorSource(part * size / 2, size / 2, from, sweep);
        case 4:
            use(sectorOutline(0, size / 2, from, sweep));
            return reference::sectorSource(0, size / 2, from, sweep);
        default:
            break;
    }
    // A star about the origin, whose corners turn towards the y axis.
    std::vector<PlaneVector> corners;
    const int count = 3 + static_cast<int>(random.below(6));
    for (int i = 0; i < count; ++i) {
        const double radius = size / 2 * random.between(0.3, 1);
        corners.push_back(
            {radius * std::cos(turn * i / count), radius * std::sin(turn * i / count)});
    }
    use(polygonOutline(corners));
    return reference::polygonSource(corners);
}

/// Turned about its normal, and now and then tilted.
Pose drawPose(double wavelength, Random& random) {
    const double turned = random.between(0, turn);
    const double tilt = random.below(3) == 0 ? random.between(-0.3, 0.3) : 0;
    const double c = std::cos(turned);
    const double s = std::sin(turned);
    return {{wavelength * random.between(-2, 2), wavelength * random.between(-2, 2), 0},
            {c, s, 0},
            {-s * std::cos(tilt), c * std::cos(tilt), std::sin(tilt)}};
}

Lattice drawLatticeAt(double wavelength, Random& random) {
    Lattice lattice{.transform = {}, .sizes = {1, 1, 1}};
    for (std::int64_t& size : lattice.sizes)
        size = 1 + static_cast<std::int64_t>(random.magnitude(0, 1.3));
    const double step = wavelength * random.magnitude(-2, 0.5);
    const double height = wavelength * random.magnitude(-1.5, 2);
    lattice.transform = {step, 0,    0,    wavelength * random.between(-3, 3),
                         0,    step, 0,    wavelength * random.between(-3, 3),
                         0,    0,    step, height,
                         0,    0,    0,    1};
    return lattice;
}

PointList listOf(const Request& request) {
    const Positions positions(request);
    PointList list;
    const auto& sizes = request.lattice.sizes;
    for (std::int64_t i = request.lattice.box().points(); i-- > 0;) {
        const Vector at =
            positions.at({i % sizes[0], i / sizes[0] % sizes[1], i / sizes[0] / sizes[1]});
        list.x.push_back(at[0]);
        list.y.push_back(at[1]);
        list.z.push_back(at[2]);
    }
    return list;
}

/// Its pressure and velocity, in the frame of all.
struct Field {
    Complex pressure;
    std::array<Complex, 3> velocity;
};

Field mean(const Field& a, const Field& b) {
    Field field{(a.pressure + b.pressure) / 2.0, {}};
    for (std::size_t i = 0; i < 3; ++i) field.velocity[i] = (a.velocity[i] + b.velocity[i]) / 2.0;
    return field;
}

/// In the element's frame, by the potential of sources in a rigid or a soft plane: phi/(2pi) or its
/// derivative by z times j/(2pi*k).
Field fieldOf(const reference::FlatIntegrals& of, Baffle baffle, double k) {
    constexpr Complex j(0, 1);
    const Field rigid{k / turn * of.value, {-of.x / turn, -of.y / turn, -of.z / turn}};
    const Complex factor = j / turn;
    const Field soft{factor * of.z,
                     {-factor / k * of.xz, -factor / k * of.yz, -factor / k * of.zz}};
    if (baffle == Baffle::free) return mean(rigid, soft);
    return baffle == Baffle::rigid ? rigid : soft;
}

class ExactFields {
  public:
    explicit ExactFields(const ContourCase& drawn) : drawn(drawn) {
        for (const reference::FlatSource& source : drawn.sources)
            areas.push_back(reference::flatIntegrals(source, {0, 0, 1e6}, 1e-12).value.real() *
                            1e6);
    }

    /// The sum of a weighting's elements at a point, and of their local amplitudes.
    std::pair<Field, double> at(const Vector& point, std::size_t weighting) const {
        const Array& array = *drawn.request.array;
        const Wave& wave = drawn.request.wave;
        Field sum{};
        double amplitude = 0;
        for (std::size_t e = 0; e < array.elements.size(); ++e) {
            const Element& element = array.elements[e];
            const Pose& pose = element.pose;
            const Vector place = pose.placeOf(point);
            const Field field =
                fieldOf(reference::flatIntegrals(drawn.sources[e], {place[0], place[1], place[2]},
                                                 Complex(wave.wavenumber, -wave.attenuation)),
                        drawn.request.baffle, wave.wavenumber);
            const Complex weight = array.weights[weighting * array.elements.size() + e];
            const Vector normal = pose.normal();
            sum.pressure += weight * field.pressure;
            for (std::size_t i = 0; i < 3; ++i)
                sum.velocity[i] += weight * (field.velocity[0] * pose.alongWidth[i] +
                                             field.velocity[1] * pose.alongHeight[i] +
                                             field.velocity[2] * normal[i]);
            amplitude += std::abs(weight) * localAmplitude(e, place);
        }
        return {sum, amplitude};
    }

  private:
    double localAmplitude(std::size_t e, Vector place) const {
        if (const auto& outline = drawn.request.array->elements[e].outline) {
            const Circle circle = circleAbout(*outline);
            for (std::size_t i = 0; i < 2; ++i) place[i] -= circle.centre[i];
        }
        const double R = norm(place);
        const double far = drawn.request.wave.wavenumber * areas[e] / turn;
        return std::min(1.0, far / std::max(R, std::sqrt(areas[e]) / 4)) *
               std::exp(-drawn.request.wave.attenuation * R);
    }

    const ContourCase& drawn;
    std::vector<double> areas;
};

/// A quantity at a point.
std::vector<Complex> quantityOf(const Field& field, Quantity quantity) {
    if (quantity == Quantity::pressure) return {field.pressure};
    std::vector<Complex> all(field.velocity.begin(), field.velocity.end());
    if (quantity == Quantity::intensity)
        for (Complex& one : all) one = Complex(0, 1) * field.pressure * std::conj(one);
    return all;
}

/// The largest length of a quantity at the points, of each weighting.
std::vector<double> largestOf(Request request, Quantity quantity) {
    request.quantity = quantity;
    request.tolerance = {.value = 1e-3, .of = Tolerance::Of::local};
    request.mode = Mode::cpu;
    const LatticeBox box = request.lattice.box();
    const auto points = static_cast<std::size_t>(box.points());
    std::vector<Complex> values(points * static_cast<std::size_t>(request.fields()));
    takenPlan(request).compute(box, values.data());
    const auto components = static_cast<std::size_t>(request.components());
    std::vector<double> largest(request.array->weightings());
    for (std::size_t w = 0; w < largest.size(); ++w)
        for (std::size_t i = 0; i < points; ++i) {
            double square = 0;
            for (std::size_t c = 0; c < components; ++c)
                square += std::norm(values[(w * components + c) * points + i]);
            largest[w] = std::max(largest[w], std::sqrt(square));
        }
    return largest;
}

/// What a tolerance of the largest value is relative to; none of a local one.
std::vector<double> unitsOf(const Request& request) {
    if (request.tolerance->of == Tolerance::Of::local) return {};
    if (request.quantity != Quantity::intensity) return largestOf(request, request.quantity);
    std::vector<double> units = largestOf(request, Quantity::pressure);
    const std::vector<double> velocities = largestOf(request, Quantity::velocity);
    for (std::size_t w = 0; w < units.size(); ++w) units[w] *= velocities[w];
    return units;
}

/// The medium, the baffle, the quantity, the mode and the tolerance.
void drawWhatIsAsked(Request& request, double k, Random& random) {
    request.wave = {k, random.below(3) == 0 ? 0 : k * random.magnitude(-4, -0.5)};
    request.baffle = static_cast<Baffle>(random.below(3));
    request.quantity = static_cast<Quantity>(random.below(3));
    request.mode = random.below(2) == 0 ? Mode::cpu : Mode::cpusp;
    request.tolerance = {
        .value = random.magnitude(request.inSingle() ? -5 : -9, -2),
        .of = random.below(2) == 0 ? Tolerance::Of::local : Tolerance::Of::largest};
    request.behind = true;
}

/// What has engines of its own gets losses.
void requireContours(Request& request) {
    if (!takesContours(request)) request.wave.attenuation = 1e-3 * request.wave.wavenumber;
}

}  // namespace

ContourCase drawContourCase(Random& random) {
    ContourCase drawn;
    Request& request = drawn.request;
    const double wavelength = random.magnitude(-1, 1);
    drawWhatIsAsked(request, turn / wavelength, random);
    Array& array = request.array.emplace();
    const std::size_t count = 1 + random.below(3);
    for (std::size_t i = 0; i < count; ++i) {
        Element& element = array.elements.emplace_back();
        const double size = wavelength * random.magnitude(-1.5, 0.7);
        drawn.sources.push_back(drawShape(element, size, random));
        element.pose = drawPose(wavelength, random);
    }
    const std::size_t weightings = 1 + random.below(2);
    for (std::size_t i = 0; i < count * weightings; ++i)
        array.weights.emplace_back(random.between(-1, 1), random.between(-1, 1));
    request.lattice = drawLatticeAt(wavelength, random);
    if (random.below(4) == 0) {
        request.points = listOf(request);
        request.lattice = {.transform = {},
                           .sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1}};
    }
    requireContours(request);
    return drawn;
}

ContourCase drawContourGrid(Random& random) {
    ContourCase drawn;
    Element element;
    const auto source = drawShape(element, random.magnitude(-1, 0.3), random);
    const std::array<double, 2> steps{random.between(0.1, 0.8), random.between(0.1, 0.8)};
    const auto parts = static_cast<double>(1 + random.below(4));
    ElementLayout layout{};
    layout.across = 2 + static_cast<int>(random.below(4));
    layout.along = 1 + static_cast<int>(random.below(4));
    layout.pitchX = steps[0] * static_cast<double>(1 + random.below(3)) / parts;
    layout.pitchY = steps[1] * static_cast<double>(1 + random.below(3)) / parts;
    layout.turn = random.below(2) == 0 ? 0 : random.between(-1, 1);
    const auto weightings = 1 + static_cast<int>(random.below(2));
    std::array<std::size_t, 3> directions{0, 1, 2};
    for (std::size_t i = 3; i > 1; --i) std::swap(directions[i - 1], directions[random.below(i)]);
    std::array<std::int64_t, 3> sizes{};
    std::array<double, 3> stepsOf{};
    for (std::size_t i = 0; i < 3; ++i) {
        const bool isAcross = directions[i] == 2;
        sizes[i] = 1 + static_cast<std::int64_t>(random.below(isAcross ? 4 : 30));
        stepsOf[i] = isAcross ? random.between(0.1, 2) : steps[directions[i]];
    }
    const double nearest = random.magnitude(-1.5, 1.5);
    Request& request = drawn.request;
    request = requestOf(arrayOf(layout, 1, weightings, random),
                        latticeAbout(sizes, stepsOf, nearest, directions), Mode::cpu);
    for (Element& other : request.array->elements) {
        other.piston = element.piston;
        other.outline = element.outline;
        drawn.sources.push_back(source);
    }
    drawWhatIsAsked(request, turn, random);
    if (random.below(2) == 0) request = turned(request, random);
    requireContours(request);
    return drawn;
}

std::string describe(const Request& request) {
    static constexpr std::array baffles{"rigid", "soft", "free"};
    static constexpr std::array quantities{"pressure", "velocity", "intensity"};
    std::ostringstream text;
    text << std::setprecision(3) << quantities.at(static_cast<std::size_t>(request.quantity))
         << " of " << request.array->elements.size() << " elements in a "
         << baffles.at(static_cast<std::size_t>(request.baffle)) << " baffle, attenuation over "
         << "wavenumber " << request.wave.attenuation / request.wave.wavenumber << ", "
         << request.lattice.box().points() << " points" << (request.points ? " in a list" : "")
         << ", " << nameOf(request.mode) << ", " << request.tolerance->value
         << (request.tolerance->of == Tolerance::Of::local ? " of local" : " of largest");
    return text.str();
}

double worstOf(const ContourCase& drawn, const std::vector<Complex>& values, std::size_t points,
               Random& random) {
    const Request& request = drawn.request;
    const ExactFields exact(drawn);
    const Positions positions(request);
    const auto& sizes = request.lattice.sizes;
    const auto all = static_cast<std::size_t>(request.lattice.box().points());
    const auto components = static_cast<std::size_t>(request.components());
    const std::vector<double> largest = unitsOf(request);
    double worst = 0;
    for (std::size_t w = 0; w < request.array->weightings(); ++w)
        for (std::size_t n = 0; n < points; ++n) {
            const std::size_t number = random.below(all);
            const auto i = static_cast<std::int64_t>(number);
            const auto [field, amplitude] = exact.at(
                positions.at({i % sizes[0], i / sizes[0] % sizes[1], i / sizes[0] / sizes[1]}), w);
            const std::vector<Complex> expected = quantityOf(field, request.quantity);
            double square = 0;
            for (std::size_t c = 0; c < components; ++c)
                square += std::norm(values[(w * components + c) * all + number] - expected[c]);
            double unit = largest.empty() ? amplitude : largest[w];
            if (largest.empty()) {
                if (request.quantity == Quantity::intensity) unit *= unit;
                unit =
                    std::max<double>(unit, request.inSingle() ? std::numeric_limits<float>::min()
                                                              : std::numeric_limits<double>::min());
            }
            const double share = std::sqrt(square) / (request.tolerance->value * unit);
            // No number is the worst, and stays.
            if (!std::isnan(worst) && !(share <= worst)) worst = share;
        }
    return worst;
}
