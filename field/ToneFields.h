// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "field/ContourFields.h"
#include "field/Plan.h"
#include "field/Positions.h"

namespace pistonfield {

/// A tone of a request: its wave and, of an array, the weights there.
struct ToneWave {
    Wave wave;
    std::span<const std::complex<double>> weights;
};

/// The pressures of a request at several tones, whose integrals along the outlines share nodes,
/// distances and weights: so each tone takes little more than a complex product a node. Arithmetic
/// is in double precision. Each tone keeps the tolerance of its own largest |p|.
///
/// A value depends on which tones there are by less than the tolerance, and neither on boxes nor on
/// threads.
class ToneFields {
  public:
    /// Whether there are fields in this way for the quantity, the baffle, the tolerance and the
    /// mode of a request.
    static bool serves(const Request& request) noexcept;

    /// @param request outlives this; its own wave and weights mean nothing
    /// @param tones   one or more
    /// @return none where this does not serve the request, or where the plan of one of the tones
    /// may
    ///     refuse it
    /// @throws std::bad_alloc
    static std::unique_ptr<const ToneFields> of(const Request& request,
                                                const std::vector<ToneWave>& tones);

    /// Evaluations of the integrand at a point, on average, of all tones.
    double evaluationsOfAPoint() const noexcept;

    /// About what a point takes on one core, of all tones.
    double secondsOfAPoint() const noexcept;

    /// Bytes that computing takes at most, beside the caller's.
    std::int64_t memory() const noexcept;

    /// Computes the pressures at the points of a box.
    /// @param values  of each tone those of each weighting, box.points() values in grid point order
    /// @param conduct is told how many points of all tones are done
    /// @throws Stopped; std::bad_alloc; std::runtime_error as `Plan::compute`
    template <class T>
    void compute(const LatticeBox& box, std::complex<T>* values, const Conduct& conduct) const;

  private:
    struct Seen;
    struct Work;

    ToneFields(const Request& request, const std::vector<ToneWave>& tones, const WaveBand& band);

    bool isBefore() const;
    bool findLimit(const std::vector<ToneWave>& tones, const WaveBand& band);
    void findNodes();
    std::vector<Seen> preview(const std::vector<ToneWave>& tones) const;
    double roundingWith(const WaveBand& band) const;
    double amplitudeOf(std::size_t element, const Wave& wave, const Pose::Vector& point) const;

    std::int64_t numberOf(const std::array<std::int64_t, 3>& index) const noexcept {
        const auto& sizes = request.lattice.sizes;
        return (index[2] * sizes[1] + index[1]) * sizes[0] + index[0];
    }

    template <class LimitOf>
    std::int64_t sumUp(const GroupPlaces& places, LimitOf limitOf, Work& work) const;

    template <class T>
    void fill(const LatticeBox& box, std::complex<T>* values, std::int64_t toNext,
              unsigned threads) const;

    const Request& request;
    Positions positions;
    ContourFields elements;
    std::size_t weightings;
    std::size_t tones;
    std::vector<EvenTones> runs;
    std::vector<std::complex<double>> factors;  ///< of tones, weightings, elements
    DecayingLimit limit{};                      ///< of each element, driven by 1
    double nodes = 0;                           ///< a point's, on average
};

}  // namespace pistonfield
