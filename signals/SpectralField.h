// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// One of the frequencies of a field.
struct Tone {
    Wave wave;
    /// The array's weights there, or none: those of the request.
    std::vector<std::complex<double>> weights{};
};

/// The fields of one request at several frequencies. Source, points, accuracy and quantity are
/// those of the request, whose own wave means nothing.
///
/// Frequencies next to each other, up to 32 within an octave, share nodes and distances where the
/// request is for pressures in a rigid baffle, on the processor and within a tolerance of the
/// largest value, and where that takes less time by its estimate than a plan for each. Each keeps
/// the tolerance; a value depends on which others there are by less than that.
///
/// Other frequencies have the bits of a `Plan` with their wave. They are computed one after the
/// other, each in all threads, and one plan exists at a time; those of few points, on the
/// processor, beside each other, a thread for each.
class SpectralField {
  public:
    /// @throws InvalidRequest where one of the frequencies has no field; std::bad_alloc
    SpectralField(Request request, std::vector<Tone> tones);

    const Request& request() const noexcept { return common; }
    const std::vector<Tone>& tones() const noexcept { return all; }

    /// What `compute` takes: the sum of all frequencies' evaluations, and the memory of the one
    /// that takes most; beside it up to a plan for each thread. Makes each plan once.
    /// @throws std::out_of_range; DeviceFailure; std::bad_alloc
    Cost cost(const LatticeBox& box) const;

    /// Computes the fields at the points of a box, one frequency after the other, each as
    /// `Plan::compute` has it.
    /// @param values  room for box.points() values of each frequency and field
    /// @param conduct is told how many points of all frequencies are done
    /// @throws as `Plan::compute`
    template <class T>
    void compute(const LatticeBox& box, std::complex<T>* values, const Conduct& conduct = {}) const;

  private:
    /// Tones next to each other.
    struct Band {
        std::size_t first;
        std::size_t count;
    };

    struct Shared;

    std::vector<Band> bands() const;
    Shared sharedOf(const Band& band) const;
    Plan planOf(std::size_t tone) const;

    template <class T>
    void computeApart(const Band& band, const LatticeBox& box, std::complex<T>* values,
                      const Conduct& conduct) const;
    template <class T>
    void computeSideBySide(const Band& band, const LatticeBox& box, std::complex<T>* values,
                           const Conduct& conduct) const;

    Request common;
    std::vector<Tone> all;
};

}  // namespace pistonfield
