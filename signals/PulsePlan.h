// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "field/Plan.h"
#include "signals/Signal.h"

namespace pistonfield {

/// The wave in the medium at a frequency in Hz. May be called in any thread.
using WaveAt = std::function<Wave(double frequency)>;

/// The wave in a medium without losses.
/// @param speed in units of length per second
WaveAt lossless(double speed);

/// A pulse that is asked for.
struct PulseRequest {
    /// Source, points, quantity, and a tolerance, of the largest value at each frequency. Its own
    /// wave means nothing. An intensity is none of a pulse.
    Request field;
    Signal signal;  ///< the faces' velocity, over u0
    WaveAt wave;
    /// By how many seconds each element of the array moves later than the signal says, or none.
    std::vector<double> delays{};
    /// The speed c in rho*c*u0, which pressures are parts of; 0: at each frequency its phase speed.
    double speed = 0;
};

/// Estimates of how far a pulse is off, relative to the largest value of its weighting.
struct PulseError {
    double sampling = 0;   ///< what the signal has in the topmost eighth of its frequencies: a
                           ///< measure of what it had above half the rate before it was sampled
    double dropped = 0;    ///< of the frequencies that are not computed
    double tolerance = 0;  ///< of all computed ones, as if their errors were largest at one time
    double folded = 0;     ///< the largest value before the first and after the last arrival, where
                           ///< there is nothing: what a longer window would have farther away

    double total() const noexcept { return sampling + dropped + tolerance + folded; }
};

/// Computes the pressure, or the particle velocity, over time that a source radiates whose faces
/// all move as a signal says: by its spectrum, a field for each of the frequencies and the sum of
/// these.
///
/// Times are whole multiples of 1/rate, from the last one before the first arrival at any of the
/// points to that of the last arrival of the signal's end; so a distance takes no time. The sum has
/// a period: a sixteenth, and 16 samples at least, more than these times. Frequencies are left out,
/// from the least amplitudes on, until they add up to half the tolerance of the signal's largest
/// sample, or of its largest derivative. In a medium with dispersion arrivals are those by the
/// least and the largest of the phase and the group velocities.
class PulsePlan {
  public:
    /// @throws InvalidRequest of what the request has no field for; of `signal`, `rate`, `delays`,
    ///     `tolerance`, `quantity`, `speed`, and `wavenumber` where the wave at a frequency is
    ///     none; std::bad_alloc
    explicit PulsePlan(PulseRequest request);
    PulsePlan(const PulsePlan&) = delete;
    PulsePlan& operator=(const PulsePlan&) = delete;
    PulsePlan(PulsePlan&& other) noexcept;
    PulsePlan& operator=(PulsePlan&& other) noexcept;
    ~PulsePlan();

    const PulseRequest& request() const noexcept;

    /// The first time, in seconds, and the number of times.
    double start() const noexcept;
    std::int64_t times() const noexcept;

    /// Those that are computed, in Hz.
    const std::vector<double>& frequencies() const noexcept;

    /// What `compute` takes for the fields, see `SpectralField`; with the memory of all spectra: 16
    /// bytes a point, field and frequency.
    Cost cost() const;

    /// Computes the pulse at all points: pressures over rho*c*u0, of the request's speed c,
    /// velocities over u0.
    /// @param values  room for times() times field.fields() times the points: for each field one
    ///     after the other the times, for each of them the points in grid point order
    /// @param conduct is told how many points of all frequencies are done, and again that all are
    ///     while these are summed up
    /// @throws as `Plan::compute`
    PulseError compute(double* values, const Conduct& conduct = {}) const;

  private:
    struct Parts;
    std::unique_ptr<const Parts> parts;
};

}  // namespace pistonfield
