// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The errors of the fields of random arrays, against sums of their elements' fields in double
// precision: grids of elements, jittered ones, ones turned in their plane and bowls, of one shape
// and of two, with weights that focus, random and equal ones, on lattices and lists from the face
// to 200 wavelengths; and whether a box of the points has the bits of the whole.
//
// Usage: arrays CASES

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <map>
#include <mutex>
#include <numbers>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CountArgument.h"
#include "field/ElementFields.h"
#include "field/Plan.h"
#include "field/Positions.h"
#include "field/errorLimits.h"
#include "fieldSoak.h"
#include "support/RandomPoints.h"
#include "tests/field/FieldCase.h"

namespace {

using namespace pistonfield;
using Of = Tolerance::Of;
using Vector = Pose::Vector;

// Lengths are in wavelengths.
constexpr double wavenumber = 2 * std::numbers::pi;
constexpr double farthest = 200;

Vector sum(const Vector& a, double factor, const Vector& b) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

double norm(const Vector& v) { return std::hypot(v[0], v[1], v[2]); }

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// From 1 to a limit, of each power of ten as many.
int upTo(int limit, Random& random) {
    return static_cast<int>(random.magnitude(0, std::log10(limit + 0.9)));
}

enum Placement : std::uint8_t { grid, jittered, turned, bowl, placements };
constexpr std::array<const char*, placements> placementNames{"grid", "jittered", "turned", "bowl"};

/// The pose on a sphere of some radius, which touches the plane z = 0 at the origin and faces its
/// centre, of an element that is flat at (x, y, 0).
Pose onBowl(double x, double y, double radius) {
    const double angle = std::hypot(x, y) / radius;
    const double about = std::atan2(y, x);
    const Vector centre{radius * std::sin(angle) * std::cos(about),
                        radius * std::sin(angle) * std::sin(about), radius * (1 - std::cos(angle))};
    const Vector normal{-centre[0] / radius, -centre[1] / radius, 1 - centre[2] / radius};
    const double length = std::hypot(normal[0], normal[2]);
    const Vector alongWidth{normal[2] / length, 0, -normal[0] / length};
    return {centre, alongWidth, cross(normal, alongWidth)};
}

Pose turnedBy(double angle, Vector centre) {
    return {centre, {std::cos(angle), std::sin(angle), 0}, {-std::sin(angle), std::cos(angle), 0}};
}

std::vector<Element> drawElements(Placement placement, Random& random) {
    const int count = upTo(150, random);
    const double width = random.magnitude(-1.3, 0.8);
    const double height = random.below(6) == 0 ? width : width * random.magnitude(-0.65, 0.65);
    const bool twoShapes = random.below(4) == 0;
    const double pitch = std::max(width, height) * random.between(1.01, 2);
    const int columns = std::max(1, static_cast<int>(std::sqrt(count * random.between(0.3, 3))));
    const int rows = (count + columns - 1) / columns;
    const double radius = pitch * std::max(columns, rows) * random.between(1, 3) + 1;
    std::vector<Element> elements;
    for (int i = 0; i < count; ++i) {
        double x = (i % columns - (columns - 1) / 2.0) * pitch;
        double y = (i / columns - (rows - 1) / 2.0) * pitch;
        if (placement == jittered) {
            x += random.between(-0.3, 0.3) * width;
            y += random.between(-0.3, 0.3) * height;
        }
        Element& element = elements.emplace_back();
        element.piston = {width * (twoShapes && random.below(2) == 0 ? 0.7 : 1), height};
        if (placement == bowl)
            element.pose = onBowl(x, y, radius);
        else if (placement == turned)
            element.pose = turnedBy(random.between(0, wavenumber), {x, y, 0});
        else
            element.pose.centre = {x, y, 0};
    }
    return elements;
}

/// Of each weighting of an array the weights: all in phase at one point, or random, or equal.
std::vector<std::complex<double>> drawWeights(const std::vector<Element>& elements,
                                              Random& random) {
    const std::size_t weightings = random.below(4) == 0 ? 2 + random.below(5) : 1;
    const std::size_t kind = random.below(3);
    const Vector focus{random.between(-10, 10), random.between(-10, 10), random.between(1, 50)};
    std::vector<std::complex<double>> weights;
    for (std::size_t i = 0; i < weightings; ++i)
        for (const Element& element : elements) {
            const double distance = norm(sum(element.pose.centre, -1, focus));
            if (kind == 0) {
                weights.push_back(std::polar(1.0, wavenumber * distance));
            } else if (kind == 1) {
                const double phase = random.between(0, wavenumber);
                weights.push_back(std::polar(random.between(0, 1), phase));
            } else {
                weights.emplace_back(1);
            }
        }
    return weights;
}

/// A line, a plane or a box of points, along the axes or turned, over the face or far away.
Lattice drawLatticeOfPoints(Random& random) {
    Lattice lattice{.transform = {}, .sizes = {1, 1, 1}};
    const std::size_t directions = 1 + random.below(3);
    const int most = std::array{3000, 150, 40}.at(directions - 1);
    for (std::size_t left = directions, axis = random.below(3); left > 0;
         --left, axis = (axis + 1) % 3)
        lattice.sizes.at(axis) = 1 + upTo(most, random);

    const bool isTurned = random.below(2) == 0;
    const double a = isTurned ? random.between(-0.5, 0.5) : 0;
    const double b = isTurned ? random.between(-0.5, 0.5) : 0;
    std::array<Vector, 3> steps{
        Vector{std::cos(a), 0, -std::sin(a)},
        Vector{std::sin(a) * std::sin(b), std::cos(b), std::cos(a) * std::sin(b)},
        Vector{std::sin(a) * std::cos(b), -std::sin(b), std::cos(a) * std::cos(b)}};
    Vector origin{random.between(-3, 3), random.between(-3, 3), 0};
    if (random.below(5) > 0) origin[2] = random.magnitude(-1.3, std::log10(farthest));
    for (std::size_t i = 0; i < 3; ++i) {
        steps.at(i) = sum({}, random.magnitude(-1.3, 0.3), steps.at(i));
        const double middle = static_cast<double>(lattice.sizes.at(i) - 1) / 2;
        if (i < 2) origin = sum(origin, -middle, steps.at(i));
    }
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) lattice.transform.at(4 * row + i) = steps.at(i).at(row);
        lattice.transform.at(4 * row + 3) = origin.at(row);
    }
    lattice.transform[15] = 1;
    return lattice;
}

/// The positions of a lattice's points, or some of them in no order.
PointList drawList(const Request& request, Random& random) {
    const Positions positions(request);
    const std::array<std::int64_t, 3>& sizes = request.lattice.sizes;
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(request.lattice.box().points()));
    std::iota(numbers.begin(), numbers.end(), 0);
    for (std::size_t left = numbers.size(); left > 1; --left)
        std::swap(numbers[left - 1], numbers[random.below(left)]);
    numbers.resize(std::min<std::size_t>(numbers.size(), 3000));
    PointList list;
    for (const std::int64_t n : numbers) {
        const Vector at =
            positions.at({n % sizes[0], n / sizes[0] % sizes[1], n / sizes[0] / sizes[1]});
        list.x.push_back(at[0]);
        list.y.push_back(at[1]);
        list.z.push_back(at[2]);
    }
    return list;
}

Request drawRequest(Placement placement, Random& random) {
    Request request;
    request.wave.wavenumber = wavenumber;
    request.mode = random.below(2) == 0 ? Mode::cpu : Mode::cpusp;
    request.tolerance = {.value = random.magnitude(request.inSingle() ? -4.6 : -11, -2),
                         .of = random.below(2) == 0 ? Of::local : Of::largest};
    request.behind = true;
    request.array.emplace().elements = drawElements(placement, random);
    request.array->weights = drawWeights(request.array->elements, random);
    request.lattice = drawLatticeOfPoints(random);
    if (random.below(5) == 0) {
        request.points = drawList(request, random);
        request.lattice = {.transform = {},
                           .sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1}};
    }
    return request;
}

std::string describe(const Request& request, std::string_view engine) {
    const RectangularPiston& piston = request.array->elements.front().piston;
    const auto& sizes = request.lattice.sizes;
    std::ostringstream text;
    text << std::setprecision(3) << request.array->elements.size() << " elements of "
         << piston.width << " by " << piston.height << ", " << request.fields() << " weightings, "
         << sizes[0] << " by " << sizes[1] << " by " << sizes[2] << " points"
         << (request.points ? " in a list" : "") << ", " << nameOf(request.mode) << ", "
         << request.tolerance->value
         << (request.tolerance->of == Of::local ? " of local" : " of largest") << ", engine "
         << engine;
    return text.str();
}

/// The fields of an array, summed up element by element.
class ExactSums {
  public:
    explicit ExactSums(const Request& request)
        : request(request), positions(request), fields(request.array->elements, request.wave) {}

    /// Visits the points of a group.
    /// @param visit is handed a weighting, the number of a point, the pressure and what a tolerance
    ///     of the local amplitude is relative to
    template <class Visit>
    void forEachOfGroup(std::int64_t group, Visit visit) const {
        GroupPlaces places{};
        positions.group(group, places);
        const std::size_t weightings = request.array->weightings();
        std::vector<std::array<Sum, groupSize>> sums(weightings);
        for (std::size_t e = 0; e < fields.count(); ++e) add(e, places, sums);
        const std::int64_t first = group * groupSize;
        const std::int64_t count =
            std::min<std::int64_t>(groupSize, request.lattice.box().points() - first);
        for (std::size_t w = 0; w < weightings; ++w)
            for (std::int64_t i = 0; i < count; ++i) {
                const Sum& sum = sums[w].at(static_cast<std::size_t>(i));
                visit(w, first + i, sum.pressure, sum.amplitude);
            }
    }

  private:
    struct Sum {
        std::complex<double> pressure;
        double amplitude = 0;
    };

    /// The errors of the elements, in parts of their local amplitudes.
    static constexpr double exactness = 1e-13;

    void add(std::size_t e, const GroupPlaces& places,
             std::vector<std::array<Sum, groupSize>>& sums) const {
        const Face& face = fields.faceOf(e);
        GroupValues<double> values;
        fields.compute(e, places, localLimit(face, exactness), values);
        for (std::size_t i = 0; i < groupSize; ++i) {
            const double distance =
                norm(fields[e].pose.placeOf({places.x[i], places.y[i], places.z[i]}));
            for (std::size_t w = 0; w < sums.size(); ++w) {
                const std::complex<double> weight = request.array->weights[w * fields.count() + e];
                sums[w].at(i).pressure += weight * std::complex<double>(values.re[i], values.im[i]);
                sums[w].at(i).amplitude += std::abs(weight) * localAmplitude(face, distance);
            }
        }
    }

    const Request& request;
    Positions positions;
    ElementFields<double> fields;
};

std::vector<double> largestMagnitudes(const Values& values, const Request& request) {
    const auto points = static_cast<std::size_t>(request.lattice.box().points());
    std::vector<double> largest(request.array->weightings());
    for (std::size_t i = 0; i < values.size(); ++i)
        largest[i / points] = std::max(largest[i / points], std::abs(values[i]));
    return largest;
}

/// The largest error at some points over what the tolerance lets it be; a NaN where one is.
double largestShare(const Request& request, const Values& values, Random& random) {
    constexpr int groupsLookedAt = 5;
    const std::int64_t points = request.lattice.box().points();
    const std::vector<double> largest = largestMagnitudes(values, request);
    const ExactSums exact(request);
    double share = 0;
    for (int i = 0; i < groupsLookedAt; ++i) {
        const auto point = random.below(static_cast<std::size_t>(points));
        exact.forEachOfGroup(
            static_cast<std::int64_t>(point) / groupSize,
            [&](std::size_t weighting, std::int64_t number, std::complex<double> pressure,
                double local) {
                const std::size_t at =
                    weighting * static_cast<std::size_t>(points) + static_cast<std::size_t>(number);
                const double scale =
                    request.tolerance->of == Of::local ? local : largest[weighting];
                const double found =
                    std::abs(values[at] - pressure) / (request.tolerance->value * scale);
                keepLargest(share, found);
            });
    }
    return share;
}

class Results {
  public:
    void add(Placement placement, const Plan& plan, double share) {
        const std::scoped_lock lock(guard);
        const Request& request = plan.request();
        // In single precision or not, of the largest |p| or of the local amplitude.
        tallies.at(placement)
            .at(request.inSingle() ? 1 : 0)
            .at(request.tolerance->of == Of::local ? 0 : 1)
            .add(share);
        ++engines[std::string(plan.engine())];
        if (request.points) ++lists;
    }

    void addRefusal() {
        const std::scoped_lock lock(guard);
        ++refused;
    }

    /// @return whether there are cases
    bool report() const {
        int cases = 0;
        std::cout << "largest errors at the points looked at, over what they may be, and cases\n"
                     "elements        double, local   double, largest     single, local   single, "
                     "largest\n"
                  << std::setprecision(3);
        for (std::size_t i = 0; i < placements; ++i) {
            std::cout << std::left << std::setw(11) << placementNames.at(i) << std::right;
            for (const auto& ofPrecision : tallies.at(i))
                for (const Tally& tally : ofPrecision) {
                    std::cout << std::setw(11) << tally.share << std::setw(7) << tally.cases;
                    cases += tally.cases;
                }
            std::cout << '\n';
        }
        std::cout << cases << " cases, " << lists << " of them lists;";
        for (const auto& [engine, count] : engines)
            std::cout << " engine " << engine << ' ' << count << ';';
        std::cout << ' ' << refused << " refused\n";
        return cases > 0;
    }

  private:
    std::mutex guard;
    std::array<std::array<std::array<Tally, 2>, 2>, placements> tallies{};
    std::map<std::string, int> engines;
    int lists = 0;
    int refused = 0;
};

/// The plan of a request whose tolerance is doubled until it is taken; none where none is.
std::optional<Plan> planOf(const Request& request) {
    try {
        return takenPlan(request);
    } catch (const InvalidRequest& refusal) {
        if (refusal.field() != "tolerance") throw;
        return std::nullopt;
    }
}

void measure(std::size_t number, Results& results, Failures& failures) {
    Random random(static_cast<unsigned>(number));
    const auto placement = static_cast<Placement>(random.below(placements));
    const std::optional<Plan> plan = planOf(drawRequest(placement, random));
    if (!plan) {
        results.addRefusal();
        return;
    }
    const Request& request = plan->request();
    const Values values = computed(*plan, request.lattice.box());
    const double share = largestShare(request, values, random);
    results.add(placement, *plan, share);
    const std::string words =
        std::string(placementNames.at(placement)) + ", " + describe(request, plan->engine());
    checkPlan(*plan, values, share, words, number, random, failures);
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    Results results;
    Failures failures;
    forEachCase(count, failures, [&](std::size_t number) { measure(number, results, failures); });
    const bool hasCases = results.report();
    return failures.report() && hasCases ? 0 : 1;
}
