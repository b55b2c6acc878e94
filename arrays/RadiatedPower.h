// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// How the power of an array is found.
enum class PowerBy {
    faces,    ///< what goes through the faces: each element's velocity times the pressure of all
              ///< elements, averaged over its face. For elements in one plane, which are each
              ///< other's baffle. It takes all pairs, and an integral for each way in which two of
              ///< them lie to each other. The far field, which is the same there, is taken of
              ///< rectangles that are turned in the plane, and without a baffle, where power goes
              ///< through the plane beside the faces as well
    farField  ///< what arrives far away, in the half space before the array: the intensity over
              ///< the half sphere about its mean normal, of elements that radiate as each in its
              ///< own baffle. There is none with losses
};

/// The power that an array radiates, per density*speed*|u0|^2 where u0 is the velocity that the
/// weights are relative to: an area, in the square of the unit of length. The speed is that of the
/// phase. With losses it is what leaves the faces, of which the medium takes up some at every
/// distance.
struct RadiatedPower {
    double value = 0;
    double change = 0;  ///< by how much the last refinement of the rule changed it

    /// The velocity u0, an amplitude, with which a power is radiated: sqrt(power/(density*speed*
    /// value)).
    /// @param power   in W with a density in kg/m^3, a speed in m/s and an array in m; u0 in m/s
    /// @throws InvalidRequest of power, density or speed where one is no number above 0
    double velocityFor(double power, double density, double speed) const;
};

/// Where the search for a radiated power is, as plain numbers, from which another one of the same
/// array goes on.
struct PowerState {
    int refinement = 0;      ///< of the rule
    std::int64_t parts = 0;  ///< that have been added up of its sum
    double sum = 0;          ///< of these
    double coarser = 0;      ///< the power by the rule before
};

/// Finds a radiated power step by step, so that a caller can stop in between and go on later.
class PowerSearch {
  public:
    /// @param weights one for each element
    /// @throws InvalidRequest, of `elements` where they are not in one plane or so many wavelengths
    ///     large that they take millions of places, and it is to be found at their faces, or where
    ///     the normals cancel or their distances are above 1200 wavelengths, and it is to be found
    ///     far away; of `attenuation` where there are losses and it is to be found far away, or the
    ///     baffle is not rigid; of `state`; std::bad_alloc
    PowerSearch(std::vector<Element> elements, std::vector<std::complex<double>> weights,
                const Wave& wave, PowerBy way, const PowerState& from = {},
                Baffle baffle = Baffle::rigid);
    PowerSearch(const PowerSearch&) = delete;
    PowerSearch& operator=(const PowerSearch&) = delete;
    PowerSearch(PowerSearch&& other) noexcept;
    PowerSearch& operator=(PowerSearch&& other) noexcept;
    ~PowerSearch();

    const PowerState& state() const noexcept { return at; }

    /// Goes on for about a twentieth of a second, or less. The power does not depend on the steps
    /// in which it is found, nor on the threads.
    /// @param threads the most; 0 is `threadCount`
    /// @return the power, once it is found
    /// @throws InvalidRequest of `elements`, where finer rules take too many places; std::bad_alloc
    std::optional<RadiatedPower> step(unsigned threads = 0);

  private:
    struct Parts;

    void prepare();

    PowerState at;
    std::unique_ptr<Parts> parts;
};

/// The same at once.
/// @param conduct its stop token is asked between steps; of progress it is told nothing
/// @throws what `PowerSearch` throws; Stopped
RadiatedPower radiatedPower(const std::vector<Element>& elements,
                            const std::vector<std::complex<double>>& weights, const Wave& wave,
                            PowerBy way, const Conduct& conduct = {},
                            Baffle baffle = Baffle::rigid);

/// How the power of elements is found by a caller who does not choose: through the faces where they
/// are in one plane, else far away.
PowerBy usualWay(const std::vector<Element>& elements) noexcept;

}  // namespace pistonfield
