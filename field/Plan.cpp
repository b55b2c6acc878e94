// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Plan.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "field/ArrayEngine.h"
#include "field/ContourEngine.h"
#include "field/Engine.h"
#include "field/ToleranceEngine.h"
#include "field/Watch.h"
#include "field/deviceCopies.h"
#include "field/pieces.h"

namespace pistonfield {

namespace {

template <class T>
using EnginePointer = std::shared_ptr<const Engine<T>>;

using AnyEngine = std::variant<EnginePointer<float>, EnginePointer<double>>;

template <class T>
EnginePointer<T> engineIn(const Request& request, SharedFaces* shared, const Watch& watch) {
    if (takesContours(request)) return makeContourEngine<T>(request, watch);
    if (request.array) return makeArrayEngine<T>(request, shared, watch);
    const bool onGpu = isOnGpu(request.mode);
    if (request.tolerance)
        return onGpu ? makeDeviceToleranceEngine<T>(request) : makeCpuToleranceEngine<T>(request);
    return onGpu ? makeDeviceEngine<T>(request) : makeCpuEngine<T>(request);
}

AnyEngine engineOf(const Request& request, SharedFaces* shared, const Watch& watch) {
    check(request);
    watch.look();
    if (isInSingle(request.mode)) return engineIn<float>(request, shared, watch);
    return engineIn<double>(request, shared, watch);
}

void requireWithin(const LatticeBox& box, const Lattice& lattice) {
    for (std::size_t i = 0; i < box.size.size(); ++i)
        if (box.first[i] < 0 || box.size[i] < 1 ||
            box.size[i] > lattice.sizes[i] - std::min(lattice.sizes[i], box.first[i]))
            throw std::out_of_range(
                std::to_string(box.size[i]) + " points from " + std::to_string(box.first[i]) +
                " on do not lie within the lattice's " + std::to_string(lattice.sizes[i]) +
                " along its direction " + "xyz"[i]);
}

bool isWatched(const Conduct& conduct) { return conduct.stop.stop_possible() || conduct.progress; }

/// The most values at a time that are converted, unless a piece has to have more.
constexpr std::int64_t mostConverted = 1 << 20;

/// The most points of a piece whose values wait to be put where they belong.
template <class U>
std::int64_t largestBuffered(const Engine<U>& engine, std::int64_t fields) {
    const std::int64_t points = mostConverted / std::max<std::int64_t>(1, fields);
    return std::min(engine.largestPiece(), std::max(engine.leastPiece(), points));
}

/// Fills a piece of so many fields by an engine of another precision.
template <class T, class U>
void fillConverted(const Engine<U>& engine, std::int64_t fields, const LatticeBox& piece,
                   const Destination<T>& to, const Conduct& conduct) {
    std::vector<std::complex<U>> values(static_cast<std::size_t>(fields * piece.points()));
    engine.fillWatched(piece, interleaved(values.data(), piece.points()), conduct);
    const std::complex<U>* value = values.data();
    for (std::int64_t field = 0; field < fields; ++field) {
        const Destination<T> of = to.field(field);
        for (std::int64_t i = 0; i < piece.points(); ++i, ++value) {
            of.re[i * of.stride] = static_cast<T>(value->real());
            of.im[i * of.stride] = static_cast<T>(value->imag());
        }
    }
}

template <class T, class U>
std::int64_t largestPiece(const Engine<U>& engine, std::int64_t fields) {
    return std::is_same_v<T, U> || engine.converts() ? engine.largestPiece()
                                                     : largestBuffered(engine, fields);
}

/// Fills a piece by an engine of any precision.
template <class T, class U>
void fillPiece(const Engine<U>& engine, std::int64_t fields, const LatticeBox& piece,
               const Destination<T>& to, const Conduct& conduct) {
    if constexpr (std::is_same_v<T, U>)
        engine.fillWatched(piece, to, conduct);
    else if (engine.converts())
        engine.fillConverted(piece, to, conduct);
    else
        fillConverted(engine, fields, piece, to, conduct);
}

/// Has a box filled piece by piece, between which the conduct is heeded.
/// @param fill fills a piece, before which so many points are done, and is watched within it
template <class U, class Fill>
void inWatchedPieces(const Engine<U>& engine, const LatticeBox& box, std::int64_t most,
                     const Conduct& conduct, const Fill& fill) {
    if (isWatched(conduct)) most = std::min(most, engine.pieceToWatch(conduct.threads));
    std::int64_t done = 0;
    Conduct within{conduct.stop, {}, conduct.threads};
    if (conduct.progress)
        within.progress = [&](std::int64_t points) { conduct.progress(done + points); };
    inPieces(box, most, [&](const LatticeBox& piece) {
        if (conduct.stop.stop_requested()) throw Stopped();
        fill(piece, done, within);
        done += piece.points();
        if (conduct.progress) conduct.progress(done);
    });
}

template <class T, class U>
void compute(const Engine<U>& engine, std::int64_t fields, const LatticeBox& box,
             const Destination<T>& to, const Conduct& conduct) {
    inWatchedPieces(engine, box, largestPiece<T>(engine, fields), conduct,
                    [&](const LatticeBox& piece, std::int64_t done, const Conduct& within) {
                        fillPiece(engine, fields, piece, to.from(done), within);
                    });
}

/// Multiplies values; infinite ones by a real number stay what they are.
template <class T>
void multiply(std::vector<std::complex<T>>& values, const std::complex<double>& factor) {
    if (factor == 1.0) return;
    const double a = factor.real();
    const double b = factor.imag();
    for (std::complex<T>& value : values) {
        const double re = value.real();
        const double im = value.imag();
        value = b == 0 ? std::complex<T>(static_cast<T>(a * re), static_cast<T>(a * im))
                       : std::complex<T>(static_cast<T>(a * re - b * im),
                                         static_cast<T>(a * im + b * re));
    }
}

template <class T, class U>
void computeOnDevice(const Engine<U>& engine, std::int64_t fields, const LatticeBox& box,
                     const DeviceDestination<T>& to, const Conduct& conduct) {
    const auto fill = [&](const LatticeBox& piece, std::int64_t done, const Conduct& within) {
        const std::int64_t points = piece.points();
        std::vector<std::complex<T>> values(static_cast<std::size_t>(fields * points));
        fillPiece(engine, fields, piece, interleaved(values.data(), points), within);
        multiply(values, to.factor);
        for (std::int64_t field = 0; field < fields; ++field)
            copyToDevice(to.device, to.values + field * box.points() + done,
                         values.data() + field * points,
                         static_cast<std::size_t>(points) * sizeof(std::complex<T>), "values");
    };
    inWatchedPieces(engine, box, largestBuffered(engine, fields), conduct, fill);
}

}  // namespace

struct Plan::Parts {
    Parts(Request asked, SharedFaces* shared, const Watch& watch = {})
        : request(std::move(asked)), engine(engineOf(request, shared, watch)) {}

    Request request;
    AnyEngine engine;
};

Plan::Plan(Request request) : parts(std::make_unique<const Parts>(std::move(request), nullptr)) {}

Plan::Plan(Request request, const Conduct& conduct)
    : parts(std::make_unique<const Parts>(std::move(request), nullptr, Watch(conduct))) {}

Plan::Plan(Request request, SharedFaces& shared)
    : parts(std::make_unique<const Parts>(std::move(request), &shared)) {}

Plan::Plan(Plan&&) noexcept = default;
Plan& Plan::operator=(Plan&&) noexcept = default;
Plan::~Plan() = default;

const Request& Plan::request() const noexcept { return parts->request; }

void Plan::require(const LatticeBox& box) const { requireWithin(box, parts->request.lattice); }

Cost Plan::cost(const LatticeBox& box) const {
    require(box);
    return std::visit(
        [&](const auto& engine) {
            return Cost{engine->evaluationsOfAPoint() * static_cast<double>(box.points()),
                        engine->memoryOf(box), engine->deviceMemoryOf(box)};
        },
        parts->engine);
}

double Plan::secondsOfAPoint() const {
    return std::visit([](const auto& engine) { return engine->secondsOfAPoint(); }, parts->engine);
}

std::array<std::int64_t, 3> Plan::tile() const {
    return std::visit([](const auto& engine) { return engine->tile(); }, parts->engine);
}

std::optional<Accuracy> Plan::accuracy() const {
    return std::visit([](const auto& engine) { return engine->accuracy(); }, parts->engine);
}

std::string_view Plan::engine() const {
    return std::visit([](const auto& engine) { return engine->name(); }, parts->engine);
}

template <class T>
void Plan::compute(const LatticeBox& box, const Destination<T>& destination,
                   const Conduct& conduct) const {
    require(box);
    std::visit(
        [&](const auto& engine) {
            pistonfield::compute(*engine, parts->request.fields(), box, destination, conduct);
        },
        parts->engine);
}

template void Plan::compute(const LatticeBox&, const Destination<float>&, const Conduct&) const;
template void Plan::compute(const LatticeBox&, const Destination<double>&, const Conduct&) const;

template <class T>
void Plan::computeOnDevice(const LatticeBox& box, const DeviceDestination<T>& destination,
                           const Conduct& conduct) const {
    require(box);
    if (!std::isfinite(destination.factor.real()) || !std::isfinite(destination.factor.imag()))
        throw std::invalid_argument("factor: both of its parts must be finite");
    const std::int64_t fields = parts->request.fields();
    constexpr std::int64_t places =
        std::numeric_limits<std::ptrdiff_t>::max() / sizeof(std::complex<T>);
    if (fields > places / box.points())
        throw std::invalid_argument("values: have no place in memory");
    const std::string reason =
        reasonAgainst(destination.device, destination.values,
                      static_cast<std::size_t>(fields * box.points()) * sizeof(std::complex<T>));
    if (!reason.empty()) throw std::invalid_argument("values: " + reason);
    std::visit(
        [&](const auto& engine) {
            pistonfield::computeOnDevice(*engine, fields, box, destination, conduct);
        },
        parts->engine);
}

template void Plan::computeOnDevice(const LatticeBox&, const DeviceDestination<float>&,
                                    const Conduct&) const;
template void Plan::computeOnDevice(const LatticeBox&, const DeviceDestination<double>&,
                                    const Conduct&) const;

void Plan::computeNative(const LatticeBox& box, void* values, const Conduct& conduct) const {
    if (parts->request.inSingle())
        compute(box, static_cast<std::complex<float>*>(values), conduct);
    else
        compute(box, static_cast<std::complex<double>*>(values), conduct);
}

}  // namespace pistonfield
