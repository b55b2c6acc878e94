// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string_view>

#include "field/Request.h"

namespace pistonfield {

/// Where the values of a box go: value i to re[i * stride] and im[i * stride], and those of the
/// next weighting of an array `toNextField` numbers behind these.
template <class T>
struct Destination {
    T* re;
    T* im;
    std::ptrdiff_t stride;
    std::ptrdiff_t toNextField = 0;

    /// Where the values from number i on go.
    Destination from(std::int64_t i) const noexcept {
        return {re + i * stride, im + i * stride, stride, toNextField};
    }

    /// Where those of a weighting go.
    Destination field(std::int64_t i) const noexcept {
        return {re + i * toNextField, im + i * toNextField, stride, 0};
    }
};

/// Complex values one after the other, of each weighting so many points.
template <class T>
Destination<T> interleaved(std::complex<T>* values, std::int64_t points = 0) noexcept {
    T* const parts = reinterpret_cast<T*>(values);
    return {parts, parts + 1, 2, 2 * points};
}

/// A device, and the stream in whose order a caller uses its memory.
struct CallersDevice {
    int number = 0;          ///< as the CUDA runtime counts the devices of the process
    void* stream = nullptr;  ///< a cudaStream_t of the device's primary context; null is the
                             ///< default stream
};

/// Where the values of a box go in the memory of a device, complex ones one after the other,
/// weighting by weighting; each is multiplied by a finite factor.
template <class T>
struct DeviceDestination {
    std::complex<T>* values;
    CallersDevice device{};
    std::complex<double> factor{1};
};

/// How a computation is watched and stopped, and what it may use.
struct Conduct {
    /// Asked between pieces of about a twentieth of a second, and of an array's convolution between
    /// its transforms at least.
    std::stop_token stop{};
    /// Told between pieces how many points of the box are done, in the calling thread.
    std::function<void(std::int64_t points)> progress{};
    /// The most threads on the CPU; 0 leaves that to `threadCount` of parallel/threads.h.
    unsigned threads = 0;
};

/// A computation ended early because its stop token asked for that.
class Stopped : public std::runtime_error {
  public:
    Stopped() : std::runtime_error("the computation was stopped") {}
};

/// A device failed, or there is none. The text has the operation and the runtime's own report.
class DeviceFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What a box takes. On a device a plan keeps the memory of both sides that its largest box took,
/// for the next one; of computations at the same time each takes its own.
struct Cost {
    double evaluations;         ///< of the integrand; with an order at least, up to twice as
                                ///< many before the face, with a tolerance about so many for
                                ///< a box that makes up a large part of all points
    std::int64_t memory;        ///< bytes of this process's memory, beside the caller's
    std::int64_t deviceMemory;  ///< bytes on the device
};

/// How exact the values of a plan with a tolerance are, relative to what the tolerance is relative
/// to, and what they take.
struct Accuracy {
    double bound;         ///< no value is further off than this: nodes and rounding
    double error;         ///< the largest error that was measured
    double evaluations;   ///< of the integrand at a point, on average where the error was measured;
                          ///< with those that only fill up packs
    std::int64_t points;  ///< at which it was measured
};

class SharedFaces;

/// Computes the field of a request, box by box.
///
/// A point's bits depend neither on the box that it is in nor on the threads nor on the caller. A
/// plan prints nothing and, but for the number of threads that it asks `threadCount` for, neither
/// reads nor leaves anything in the process but itself; any threads may use it at the same time. On
/// the emulation device the launchers are not used beside a plan of a GPU mode. On a GPU it brings
/// up the device, with a context and a rule of its own, for as long as it exists; a forked
/// child neither uses nor destroys that plan.
class Plan {
  public:
    /// @throws InvalidRequest where there is no field; DeviceFailure; std::bad_alloc
    explicit Plan(Request request);

    /// The same, watched: what looks at many elements and points beforehand may take long. The
    /// progress is told 0 points, so that it can stop.
    /// @throws Stopped as well
    Plan(Request request, const Conduct& conduct);

    /// For the beams of this library: the same of an array at few points. What it knows of its
    /// elements is taken from other plans, and left to them. Values depend on whether there are
    /// others by less than the tolerance, not on which these are.
    /// @param shared outlives the constructor
    Plan(Request request, SharedFaces& shared);
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    Plan(Plan&& other) noexcept;
    Plan& operator=(Plan&& other) noexcept;
    ~Plan();

    const Request& request() const noexcept;

    /// @throws std::out_of_range unless the box lies within the lattice
    void require(const LatticeBox& box) const;

    /// What `compute` takes for a box in the precision of the mode. In the other one it takes up to
    /// 16 MB more of the process's memory, or what the values of one sheet of a convolution take.
    /// @throws std::out_of_range
    Cost cost(const LatticeBox& box) const;

    /// About how many seconds a point of a box of all points takes on one core, all of its fields:
    /// an estimate from evaluations, whatever the processor.
    double secondsOfAPoint() const;

    /// The sizes of the boxes whose points share their work, into which the lattice is cut from its
    /// first point on: a part of one may take as long as all of it. Of arrays patches of points, or
    /// the sheets of a convolution; otherwise every point is one.
    std::array<std::int64_t, 3> tile() const;

    /// Measures how exact the values are, at some hundred points of the lattice against a finer
    /// evaluation in double precision; none where the request has no tolerance. It takes what a box
    /// takes, and of a convolution what the values of a weighting on one sheet take.
    std::optional<Accuracy> accuracy() const;

    /// What computes: "order", the sums of one order; with a tolerance "points", point by point;
    /// "runs", along the axes of a lattice; of arrays "sum", element by element; "convolution", for
    /// equal elements in a plane; "contours", along the outlines of all pistons, for losses, other
    /// baffles, quantities and shapes.
    std::string_view engine() const;

    /// Computes the field at the points of a box, in grid point order. The values are those of the
    /// mode's precision, converted where T is the other one.
    /// @param box         lies within the lattice
    /// @param destination has room for box.points() values of each weighting
    /// @throws std::out_of_range where the box does not lie within the lattice; Stopped;
    ///     DeviceFailure; std::bad_alloc; std::runtime_error where the environment has a number of
    ///     threads that is none and the box is large enough for several. Some values may then be
    ///     there and others not.
    template <class T>
    void compute(const LatticeBox& box, const Destination<T>& destination,
                 const Conduct& conduct = {}) const;

    /// The same, into complex values one after the other, weighting by weighting.
    template <class T>
    void compute(const LatticeBox& box, std::complex<T>* values,
                 const Conduct& conduct = {}) const {
        require(box);  // of another one the points may be too many to be doubled
        compute(box, interleaved(values, box.points()), conduct);
    }

    /// The same, into the memory of a device, whatever the mode: the values of a piece are made in
    /// the host's memory and copied in the order of the caller's stream. They are there when this
    /// returns. Pieces take up to 16 MB of the host's memory, or twice as much in the precision
    /// that is not the mode's, or what the values of one sheet of a convolution take.
    /// @throws what `compute` throws; std::invalid_argument where the destination is no memory of
    ///     the device or the factor is not finite
    template <class T>
    void computeOnDevice(const LatticeBox& box, const DeviceDestination<T>& destination,
                         const Conduct& conduct = {}) const;

    /// The same as `compute`, in the precision of the mode.
    /// @param values room for box.points() values of request().valueBytes() bytes, weighting by
    ///     weighting
    void computeNative(const LatticeBox& box, void* values, const Conduct& conduct = {}) const;

  private:
    struct Parts;
    std::unique_ptr<const Parts> parts;
};

}  // namespace pistonfield
