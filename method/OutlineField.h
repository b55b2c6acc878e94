// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <span>
#include <vector>

#include "method/ContourPanels.h"
#include "method/ContourSums.h"
#include "method/GroupOrders.h"
#include "method/Outline.h"
#include "method/Rules.h"
#include "method/ToneSums.h"

namespace pistonfield {

/// The integral phi of exp(-jkR)/R over a flat piston and its derivatives at a group's points,
/// those of them that were asked for.
struct Potentials {
    using Values = std::array<std::complex<double>, groupSize>;

    Values phi;
    Values x, y, z;     ///< its derivatives by these
    Values xz, yz, zz;  ///< those of the one by z
};

/// Points in the frame of a piston.
struct PlacesInFrame {
    alignas(64) double x[groupSize];
    alignas(64) double y[groupSize];
    alignas(64) double z[groupSize];
};

/// A limit for the errors of a group's values.
struct DecayingLimit {
    ErrorLimit limit;
    bool decays;  ///< whether it is times exp(-attenuation*R), R being the distance as of `limit`
};

/// What the waves of several tones have at most and at least.
struct WaveBand {
    double wavenumber;        ///< the largest
    double attenuation;       ///< the largest
    double leastAttenuation;  ///< the least
};

/// The field of a flat piston of any outline at any points, in double precision, by integrals along
/// its boundary.
///
/// With psi the angle that the boundary sweeps, seen from a point's foot,
/// phi = j/k * integral of (exp(-jkR) - exp(-jkz)) dpsi: exp(-jkR)/R dS is exp(-jkR) dR dpsi, and
/// its integral from the foot to the boundary is the difference. The derivative by z is the
/// integral of (z/R exp(-jkR) - exp(-jkz)) dpsi; those by x and y are the integrals of
/// -exp(-jkR)/R dy and exp(-jkR)/R dx by Gauss's theorem. The derivatives of the one by z are those
/// of their integrands, but for the one by z, which is -k^2 phi less the ones by x and y, as phi
/// solves the Helmholtz equation. From feet outside, psi adds up to nothing, and so does any number
/// times dpsi.
class OutlineField {
  public:
    /// What a thread computes with.
    struct Work {
        std::vector<ContourPanel> panels;
        std::vector<ContourNode> nodes;
        std::vector<ContourSums::Sum> tones;
    };

    /// Points whose feet are so many radii of the circle about the piston away from its centre lie
    /// beside it: what is summed up for them is relative to exp(-jkR) of that centre's distance R,
    /// for others to exp(-jkz).
    static constexpr double besideRadii = 2.5;

    /// @throws std::bad_alloc
    OutlineField(Outline outline, double wavenumber, double attenuation);

    /// For `computeTones` of tones within a band.
    /// @throws std::bad_alloc
    OutlineField(Outline outline, const WaveBand& band);

    const Outline& outline() const noexcept { return theOutline; }

    /// The circle about it.
    const Circle& circle() const noexcept { return theCircle; }

    /// The area inside.
    double area() const noexcept { return theArea; }

    /// Computes a group's values, at any z: phi is that of |z|. On the boundary itself derivatives
    /// that are infinite are so.
    /// @param limit the largest error of phi/(2pi) times |k|, of its gradient over 2pi, and of that
    ///     of its derivative by z over 2pi times the wavenumber
    /// @return evaluations of the integrand at each of the points, of all parts of the group
    /// @throws std::bad_alloc
    int compute(const PlacesInFrame& places, Derivatives derivatives, const DecayingLimit& limit,
                Potentials& values, Work& work) const;

    /// Computes phi times k/j for each of some tones within the band, with the same nodes: those
    /// that keep the limit of the band's largest wavenumber, as every bound grows with it.
    /// @param limit  the largest error of such a value over 2pi, for every tone; where it decays,
    /// at
    ///     most that of the largest attenuation
    /// @param tones  runs of them
    /// @param values room for those of all tones, one run after the other
    /// @return as `compute`, of the paths that all tones share
    /// @throws std::bad_alloc
    int computeTones(const PlacesInFrame& places, const DecayingLimit& limit,
                     std::span<const EvenTones> tones, std::span<ContourSums::Sum> values,
                     Work& work) const;

    /// What `compute` returns.
    int evaluations(const PlacesInFrame& places, Derivatives derivatives,
                    const DecayingLimit& limit, Work& work) const;

  private:
    struct Range;

    template <class Use>
    int inParts(const PlacesInFrame& places, const Range& range, Derivatives derivatives,
                const DecayingLimit& limit, Work& work, Use use) const;
    PointBall ballAbout(const PlacesInFrame& places, const Range& range) const;
    double errorAt(const PointBall& ball, bool beside, const DecayingLimit& limit) const;
    void findNodes(Work& work) const;
    ContourPoints pointsOf(const PlacesInFrame& places, const Range& range, bool beside) const;
    void computePart(const PlacesInFrame& places, const Range& range, bool beside, bool touches,
                     Derivatives derivatives, Potentials& values, Work& work) const;

    Outline theOutline;
    Outline centred;  ///< the outline about the centre of its circle
    Circle theCircle;
    double theArea;
    double wavenumber;
    double attenuation;
    double leastAttenuation;
    Rules<double> rules;
};

}  // namespace pistonfield
