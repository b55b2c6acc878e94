// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "beam/Beam.h"

namespace pistonfield {

/// What makes a beam's values pressures in Pa, and what of them is to be said.
struct BeamDrive {
    double frequency = 0;   ///< Hz
    double speed = 1482;    ///< of sound, m/s
    double density = 998;   ///< kg/m^3
    double velocity = 1;    ///< the amplitude u0 that the field is relative to, m/s
    double duty = 1;        ///< the part of the time in which the source is driven, up to 1
    double derating = 0.3;  ///< dB/(cm MHz), as the output display of ultrasound equipment has it

    /// The pressure of a value 1: density*speed*velocity, in Pa.
    double pressure() const noexcept { return density * speed * velocity; }

    /// The derating at the frequency, in dB/m.
    double deratingPerMetre() const noexcept { return derating * 100 * frequency * 1e-6; }
};

/// @throws InvalidRequest named after the member that is none
void check(const BeamDrive& drive);

/// The intensity of a plane wave with a pressure amplitude, a period's mean: p^2/(2*density*speed),
/// in W/m^2.
double planeWaveIntensity(double pressure, const BeamDrive& drive) noexcept;

/// The mechanical index: a derated rarefactional pressure in MPa over the square root of the
/// frequency in MHz. In a lossless, linear wave that pressure is the amplitude.
double mechanicalIndex(double deratedPressure, double frequency) noexcept;

/// One thing that a report says, in SI units.
struct ReportValue {
    std::string name;  ///< with a dot where it belongs to a group, as "peak.pressure"
    std::size_t rows = 1;
    std::size_t columns = 1;
    int rank = 0;                 ///< 0 a number, 1 a list, 2 a table
    std::vector<double> numbers;  ///< row by row; not a number where there is none
    bool isFlag = false;          ///< whether it says yes or no
};

/// All that a report says of a beam; docs/functions.md has the names.
/// @param beam measured with lengths in m and with the drive's `deratingPerMetre`
/// @throws InvalidRequest as `check`
std::vector<ReportValue> reportOf(const Beam& beam, const BeamDrive& drive);

/// The same as a table for people.
std::string tableOf(const Beam& beam, const BeamDrive& drive);

/// The same as a JSON object, groups as objects within; null stands for what is not known.
std::string jsonOf(const std::vector<ReportValue>& report);

/// The same, a line for each: its name, whether it is a flag, its rows and columns, and the numbers
/// column by column, all with spaces between.
std::string linesOf(const std::vector<ReportValue>& report);

}  // namespace pistonfield
