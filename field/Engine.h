// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>

#include "field/Plan.h"

namespace pistonfield {

/// Computes boxes of a request's lattice with arithmetic in T, from any threads at the same time.
template <class T>
class Engine {
  public:
    using Other = std::conditional_t<std::is_same_v<T, float>, double, float>;

    Engine() = default;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    virtual ~Engine() = default;

    /// Fills a box, whose sizes fit 31 bits and whose points do as well.
    /// @param threads the most on the CPU; 0 is `threadCount`
    virtual void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const = 0;

    /// The same of a piece that may take longer than `pieceToWatch` says: the stop token is asked,
    /// and the progress told how many points of the box are done, between parts of the work.
    /// @throws Stopped
    virtual void fillWatched(const LatticeBox& box, const Destination<T>& to,
                             const Conduct& conduct) const {
        fill(box, to, conduct.threads);
    }

    /// The same into numbers of the other precision, of an engine that `converts`: part by part,
    /// without room for all values in its own.
    /// @throws Stopped
    virtual void fillConverted(const LatticeBox& /*box*/, const Destination<Other>& /*to*/,
                               const Conduct& /*conduct*/) const {}
    virtual bool converts() const noexcept { return false; }

    /// The most points of a box that fills worth watching take: about a twentieth of a second.
    virtual std::int64_t pieceToWatch(unsigned threads) const = 0;

    /// The points of a piece below which something is computed several times.
    virtual std::int64_t leastPiece() const { return 1; }

    /// See `Plan::tile`.
    virtual std::array<std::int64_t, 3> tile() const { return {1, 1, 1}; }

    /// Evaluations of the integrand at a point, at least or on average.
    virtual double evaluationsOfAPoint() const = 0;

    /// About what a point of a box of all points takes on one core, all of its fields.
    virtual double secondsOfAPoint() const {
        constexpr double secondsOfAnEvaluation = 2e-10 * sizeof(T);
        return secondsOfAnEvaluation * evaluationsOfAPoint();
    }

    /// The most points of a box at all.
    virtual std::int64_t largestPiece() const noexcept = 0;

    /// Measures how exact it is; see `Plan::accuracy`.
    virtual std::optional<Accuracy> accuracy() const { return std::nullopt; }

    /// See `Plan::engine`.
    virtual std::string_view name() const noexcept { return "order"; }

    /// Bytes that filling a box takes at most, of the process and of the device.
    virtual std::int64_t memoryOf(const LatticeBox& box) const noexcept = 0;
    virtual std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept = 0;
};

/// @throws std::bad_alloc
template <class T>
std::unique_ptr<const Engine<T>> makeCpuEngine(const Request& request);

/// @throws DeviceFailure, std::bad_alloc
template <class T>
std::unique_ptr<const Engine<T>> makeDeviceEngine(const Request& request);

}  // namespace pistonfield
