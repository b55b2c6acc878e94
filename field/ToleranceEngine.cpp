// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToleranceEngine.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <optional>
#include <sstream>

#include "field/AlignedField.h"
#include "field/LatticeAxes.h"
#include "field/Positions.h"
#include "method/RectangleField.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

using Index = std::array<std::int64_t, 3>;

Face faceOf(const Request& request) {
    return {request.piston.width / 2, request.piston.height / 2, request.wave.wavenumber};
}

/// k*A/(2*pi), what |p| times k*R is far away, times k.
double farAmplitude(const Face& face) {
    const auto [halfX, halfY, one] = face.scaled();
    return 2 * halfX * halfY / std::numbers::pi;
}

/// The distance of the face's centre below which the local amplitude does not grow, times k.
double nearestReach(const Face& face) { return face.k * std::sqrt(face.halfX * face.halfY) / 2; }

/// What errors are relative to with `Tolerance::Of::local`.
double localAmplitude(const Face& face, const std::array<double, 3>& position) {
    const double distance = face.k * std::hypot(position[0], position[1], position[2]);
    return std::min(1.0, farAmplitude(face) / std::max(distance, nearestReach(face)));
}

/// An error within a fraction of the local amplitude.
ErrorLimit localLimit(const Face& face, double fraction) {
    return {fraction, fraction * farAmplitude(face), nearestReach(face)};
}

/// Indices spread over a lattice, its ends among them, as many along each direction that has
/// several: 343 at the most, or 512 where they are `finer`.
std::vector<Index> spreadOver(const Index& sizes, bool finer) {
    const auto directions = std::count_if(sizes.begin(), sizes.end(), [](auto n) { return n > 1; });
    constexpr std::int64_t most[2][4]{{1, 343, 18, 7}, {1, 512, 22, 8}};
    const auto count = [&](std::size_t i) {
        return std::min(sizes[i], most[finer ? 1 : 0][directions]);
    };
    // Of the largest lattices the double of a size is near enough.
    const auto at = [&](std::size_t i, std::int64_t n) -> std::int64_t {
        const auto last = static_cast<double>(sizes[i] - 1);
        const auto steps = static_cast<double>(std::max<std::int64_t>(1, count(i) - 1));
        return std::min<std::int64_t>(sizes[i] - 1,
                                      std::llround(last * static_cast<double>(n) / steps));
    };
    std::vector<Index> indices;
    for (std::int64_t z = 0; z < count(2); ++z)
        for (std::int64_t y = 0; y < count(1); ++y)
            for (std::int64_t x = 0; x < count(0); ++x)
                indices.push_back(Index{at(0, x), at(1, y), at(2, z)});
    return indices;
}

/// The pressure at some points in double precision, within a tolerance of the local amplitude.
std::vector<std::complex<double>> pressureAt(const Face& face, const Positions& positions,
                                             const std::vector<Index>& indices, double tolerance) {
    const RectangleField<double> field(face);
    std::vector<std::complex<double>> values;
    GroupPoints points;
    GroupValues<double> group;
    for (const Index& index : indices) {
        const auto [x, y, z] = positions.at(index);
        std::fill_n(points.x, groupSize, std::abs(x));
        std::fill_n(points.y, groupSize, std::abs(y));
        std::fill_n(points.z, groupSize, std::abs(z));
        findPlace(points, face.k);
        field.compute(points, localLimit(face, tolerance), group);
        values.emplace_back(group.re[0], group.im[0]);
    }
    return values;
}

/// What is known of a request's field beforehand.
struct Preview {
    double largest;    ///< a lower bound of the largest |p|
    double amplitude;  ///< the largest local amplitude of the points looked at
};

Preview previewOf(const Face& face, const Positions& positions, const Index& sizes) {
    constexpr double tolerance = 1e-10;
    const std::vector<Index> indices = spreadOver(sizes, false);
    const auto values = pressureAt(face, positions, indices, tolerance);
    Preview preview{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double amplitude = localAmplitude(face, positions.at(indices[i]));
        preview.amplitude = std::max(preview.amplitude, amplitude);
        preview.largest = std::max(preview.largest, std::abs(values[i]) - tolerance * amplitude);
    }
    return preview;
}

template <class T>
constexpr double unitRoundoff = std::numeric_limits<T>::epsilon() / 2.0;

template <class T>
class RectangleToleranceEngine : public ToleranceEngine<T> {
  public:
    explicit RectangleToleranceEngine(const Request& request)
        : tolerance(*request.tolerance),
          sizes(request.lattice.sizes),
          positions(request),
          face(faceOf(request)),
          field(face) {
        requireSides(request);
        requireReach(request);
        if (!request.behind) requireBefore(request);
        if (!isLocal()) preview = previewOf(face, positions, sizes);
        const double rounding = roundingOf();
        bound = tolerance.value;
        limit = limitOf(tolerance.value - rounding);
        if (!(tolerance.value >= 2 * rounding && rounding >= 0)) refuse(2 * rounding);
        chooseAligned(request.lattice, rounding);
    }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        if (aligned) return aligned->fill(box, to, threads);
        const bool isWide = box.size[0] == sizes[0];
        const bool isPlane = isWide && box.size[1] == sizes[1];
        // Runs of points with successive linear indices, and where they go.
        const std::int64_t rows = isWide ? 1 : box.size[1];
        const std::int64_t planes = isPlane ? 1 : box.size[2];
        const std::int64_t length = box.points() / (rows * planes);
        const std::int64_t groups = (length + groupSize - 1) / groupSize + 1;
        const auto fillRuns = [&](std::int64_t first, std::int64_t last) {
            for (std::int64_t i = first; i < last; ++i) {
                const std::int64_t run = i / groups;
                const Index at{box.first[0], box.first[1] + run % rows, box.first[2] + run / rows};
                const std::int64_t begin = numberOf(at);
                fillGroup(begin / groupSize + i % groups, begin, begin + length,
                          to.from(run * length));
            }
        };
        constexpr std::int64_t piece = 64;
        const std::int64_t count = rows * planes * groups;
        const auto allowed = [threads] {
            return threads == 0 ? threadCount() : std::min(threads, mostThreads);
        };
        inParallel(count, piece, count > piece ? allowed() : 1, fillRuns);
    }

    std::int64_t pieceToWatch(unsigned threads) const override {
        const std::int64_t points = aligned ? 1 << 20 : 1 << 18;
        const unsigned count = threads == 0 ? threadCount() : threads;
        return points * std::min(count, usableCores());
    }

    double evaluationsOfAPoint() const override {
        return evaluationsAt(spreadOver(sizes, false), aligned.has_value());
    }

    std::int64_t largestPiece() const noexcept override { return 1 << 30; }
    std::int64_t memoryOfAPoint() const noexcept override { return 0; }
    std::int64_t deviceMemoryOfAPoint() const noexcept override { return 0; }

    Accuracy accuracy() const override {
        const std::vector<Index> indices = spreadOver(sizes, true);
        const auto finer = pressureAt(face, positions, indices, 1e-14);
        Accuracy measured{bound, 0, 0, static_cast<std::int64_t>(indices.size())};
        for (std::size_t i = 0; i < indices.size(); ++i) {
            std::complex<T> value;
            fill({indices[i], {1, 1, 1}}, interleaved(&value), 1);
            const double unit =
                isLocal() ? localAmplitude(face, positions.at(indices[i])) : preview.largest;
            const double error = std::abs(std::complex<double>(value) - finer[i]) / unit;
            if (!(error <= measured.error)) measured.error = error;
        }
        measured.evaluations = evaluationsAt(indices, aligned.has_value());
        return measured;
    }

  private:
    /// Takes runs along the axes where a lattice is large enough and they take less.
    void chooseAligned(const Lattice& lattice, double rounding) {
        constexpr std::int64_t least = 4096;
        if (lattice.box().points() < least || positions.isList()) return;
        const auto axes = axesOf(lattice);
        if (!axes) return;
        const double left = tolerance.value - rounding;
        double shift = 0;
        for (const LatticeAxis& axis : *axes) shift += axis.shift() * face.k;
        if (shift > left / 32) return;
        aligned.emplace(face, *axes, BrickLimits{limitOf(left * 15 / 16), limitOf(left / 32)});
        std::vector<Index> some;
        const std::vector<Index> indices = spreadOver(sizes, false);
        for (std::size_t i = 0; i < indices.size(); i += 7) some.push_back(indices[i]);
        constexpr double overhead = 1.3;
        if (overhead * evaluationsAt(some, true) > evaluationsAt(some, false)) aligned.reset();
    }

    /// The evaluations of the integrand at some points, on average.
    double evaluationsAt(const std::vector<Index>& indices, bool inRuns) const {
        double sum = 0;
        GroupPoints points;
        GroupValues<T> values;
        for (const Index& index : indices) {
            if (inRuns) {
                sum += aligned->evaluationsOf(index);
                continue;
            }
            positions.group(numberOf(index) / groupSize, points);
            sum += field.compute(points, limit, values);
        }
        return sum / static_cast<double>(indices.size());
    }

    /// The linear index of a point.
    std::int64_t numberOf(const Index& index) const {
        return (index[2] * sizes[1] + index[1]) * sizes[0] + index[0];
    }

    bool isLocal() const { return tolerance.of == Tolerance::Of::local; }

    /// Beyond these there are no orders, or no digits in single precision.
    void requireSides(const Request& request) const {
        constexpr double least = 1e-5;
        constexpr double most = 2000;
        const auto requireSide = [&](const char* name, double side) {
            const double wavelengths = side * request.wave.wavenumber / (2 * std::numbers::pi);
            if (wavelengths >= least && wavelengths <= most) return;
            std::ostringstream text;
            text << wavelengths << " wavelengths are not within the " << least << " to " << most
                 << " for which a tolerance is kept";
            throw InvalidRequest(name, text.str());
        };
        requireSide("width", request.piston.width);
        requireSide("height", request.piston.height);
    }

    /// Beyond this products overflow in single precision, and a phase has no digits left in double.
    void requireReach(const Request& request) const {
        constexpr double most = 1e9;
        if (positions.reach() <= most) return;
        throw InvalidRequest(
            fieldOfPoints(request),
            "there are points more than 1e9/wavenumber away, which is too far for a tolerance");
    }

    static const char* fieldOfPoints(const Request& request) {
        return request.points ? "points" : "transform";
    }

    void requireBefore(const Request& request) const {
        const auto index = positions.firstBehind();
        if (!index) return;
        const auto position = positions.at(*index);
        std::ostringstream text;
        text.precision(6);
        text << "the point (";
        for (std::size_t i = 0; i < position.size(); ++i)
            text << (i == 0 ? "" : ", ") << position[i];
        text << ") lies behind the piston";
        throw InvalidRequest(fieldOfPoints(request), text.str());
    }

    [[noreturn]] void refuse(double least) const {
        if (!std::isfinite(least) || least < 0)
            throw InvalidRequest("tolerance",
                                 "there is next to no pressure at the points that were looked at; "
                                 "take a tolerance of the local amplitude");
        std::ostringstream text;
        text.precision(2);
        text << tolerance.value << " is below the " << least << " that "
             << (sizeof(T) == 4 ? "single" : "double") << " precision keeps of this field";
        throw InvalidRequest("tolerance", text.str());
    }

    ErrorLimit limitOf(double share) const {
        return isLocal() ? localLimit(face, share) : ErrorLimit{share * preview.largest};
    }

    /// What rounding adds to the error, relative to what the tolerance is relative to: in T to the
    /// integrals, where edges cancel beside the face and phases relative to the reference are up to
    /// the sides; and in double to the reference phase. The factors are above the largest errors
    /// seen; see docs/reliability.md.
    double roundingOf() const {
        const double perRadian = face.besideFormula() == Formula::lines ? 0.75 : 0.15;
        const double integrals =
            unitRoundoff<T> * (32 + perRadian * face.k * (face.halfX + face.halfY));
        constexpr double phase = 4 * unitRoundoff<double>;
        if (isLocal()) return integrals + phase * positions.reach();
        return (integrals * preview.amplitude +
                phase * std::min(positions.reach(), farAmplitude(face))) /
               preview.largest;
    }

    void fillGroup(std::int64_t group, std::int64_t begin, std::int64_t end,
                   const Destination<T>& to) const {
        const std::int64_t first = group * groupSize;
        if (first >= end) return;
        GroupPoints points;
        GroupValues<T> values;
        positions.group(group, points);
        field.compute(points, limit, values);
        for (std::int64_t i = std::max(first, begin); i < std::min(first + groupSize, end); ++i) {
            const Destination<T> at = to.from(i - begin);
            *at.re = values.re[i - first];
            *at.im = values.im[i - first];
        }
    }

    Tolerance tolerance;
    Index sizes;
    Positions positions;
    Face face;
    RectangleField<T> field;
    Preview preview{};
    double bound = 0;
    ErrorLimit limit{};
    std::optional<AlignedField<T>> aligned;
};

}  // namespace

template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeToleranceEngine(const Request& request) {
    return std::make_unique<const RectangleToleranceEngine<T>>(request);
}

template std::unique_ptr<const ToleranceEngine<float>> makeToleranceEngine(const Request&);
template std::unique_ptr<const ToleranceEngine<double>> makeToleranceEngine(const Request&);

}  // namespace pistonfield
