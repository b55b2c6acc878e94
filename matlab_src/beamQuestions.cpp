// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/beamQuestions.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "beam/Beam.h"
#include "beam/BeamReport.h"
#include "beam/SourceField.h"
#include "matlab_src/NamedValues.h"
#include "matlab_src/ThreadLimit.h"
#include "matlab_src/arrayArguments.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

Lattice latticeOf(Arguments arguments) {
    return {numbersOf<16>(arguments[0], "transform"), indicesOf(arguments[1], "sizes")};
}

Wave waveOf(const host::Array* wavenumber) { return {numberOf(wavenumber, "wavenumber")}; }

/// The request that an array, the medium and the tolerance make up.
constexpr std::size_t sourceArguments = arrayArguments + mediumArguments + 1;

Request sourceOf(Arguments arguments) {
    Request request;
    request.array = arrayOf(arguments.first(arrayArguments));
    const auto [wave, baffle] = mediumOf(arguments.subspan(arrayArguments));
    request.wave = wave;
    request.baffle = baffle;
    request.tolerance =
        Tolerance{numberOf(arguments[arrayArguments + mediumArguments], "tolerance")};
    return request;
}

/// What pairs of a name and numbers ask for.
struct Asked {
    explicit Asked(Arguments pairs) {
        NamedValues values(pairs);
        drive = {values.number("frequency"), values.number("speed"), values.number("density"),
                 values.number("velocity"),  values.number("duty"),  values.number("derating")};
        check(drive);
        options.derating = drive.deratingPerMetre();
        options.hydrophone = values.numbers("hydrophone");
        options.power = values.number("power") != 0;
        const std::vector<double> axis = values.numbers("axis");
        if (axis.empty()) return;
        if (axis.size() != 3) throw InvalidRequest("axis", "must be three numbers");
        options.axis = Pose::Vector{axis[0], axis[1], axis[2]};
    }

    BeamDrive drive;
    BeamOptions options;
};

host::Array* reportRow(const Beam& beam, const BeamDrive& drive) {
    const std::string lines = linesOf(reportOf(beam, drive));
    const std::string table = tableOf(beam, drive);
    std::vector<double> row{static_cast<double>(lines.size())};
    row.insert(row.end(), lines.begin(), lines.end());
    row.insert(row.end(), table.begin(), table.end());
    return rowOf(row);
}

void expectAtLeast(Arguments arguments, std::size_t count) {
    if (arguments.size() < count) throw InvalidRequest("arguments", "too few");
}

}  // namespace

host::Array* latticeOfSearch(Arguments arguments) {
    expectArguments(arguments, 4);
    const Lattice lattice = searchLattice(latticeOf(arguments.subspan(1)), waveOf(arguments[3]));
    std::vector<double> row(lattice.transform.begin(), lattice.transform.end());
    for (const std::int64_t size : lattice.sizes) row.push_back(static_cast<double>(size));
    return rowOf(row);
}

host::Array* beamOfSource(Arguments arguments) {
    constexpr std::size_t fixed = 1 + sourceArguments + 4;
    expectAtLeast(arguments, fixed);
    const Arguments others = arguments.subspan(1 + sourceArguments);
    const ThreadLimit limit(others[3]);
    const Asked asked(arguments.subspan(fixed));
    const Samples samples{latticeOf(others), numbersOf(others[2], "values")};
    if (static_cast<std::int64_t>(samples.magnitudes.size()) != samples.lattice.box().points())
        throw InvalidRequest("values", "are not one for each point");
    return reportRow(beamOf(sourceOf(arguments.subspan(1)), samples, asked.options), asked.drive);
}

host::Array* beamOfGrid(Arguments arguments) {
    constexpr std::size_t fixed = 6;
    expectAtLeast(arguments, fixed);
    const Asked asked(arguments.subspan(fixed));
    const GridField field(latticeOf(arguments.subspan(1)),
                          complexNumbersOf(arguments[3], arguments[4], "values"));
    return reportRow(beamOf(field, waveOf(arguments[5]), asked.options), asked.drive);
}

host::Array* readingsOfHydrophone(Arguments arguments) {
    expectArguments(arguments, 1 + sourceArguments + 7);
    const Arguments others = arguments.subspan(1 + sourceArguments);
    const ThreadLimit limit(others[6]);
    const Request request = sourceOf(arguments.subspan(1));
    const PointList points{numbersOf(others[0], "points"), numbersOf(others[1], "points"),
                           numbersOf(others[2], "points")};
    const Hydrophone hydrophone{numbersOf(others[3], "hydrophone"),
                                numbersOf<3>(others[4], "hydrophone"),
                                numbersOf<3>(others[5], "hydrophone")};
    const std::vector<HydrophoneReading> readings =
        hydrophoneReadings(SourceField(request), hydrophone, points, request.wave);
    std::vector<double> row;
    row.reserve(3 * readings.size());
    for (const HydrophoneReading& reading : readings) row.push_back(reading.pressure.real());
    for (const HydrophoneReading& reading : readings) row.push_back(reading.pressure.imag());
    for (const HydrophoneReading& reading : readings) row.push_back(reading.change);
    return rowOf(row);
}

}  // namespace questions
