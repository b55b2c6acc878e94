// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Beam.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "beam/BeamReport.h"
#include "parallel/threads.h"
#include "run/commands/RequestFile.h"
#include "run/commands/commands.h"
#include "run/commands/readTable.h"
#include "run/commands/readText.h"
#include "run/file/FieldReader.h"

namespace run {

namespace {

using pistonfield::Beam;
using pistonfield::BeamDrive;
using pistonfield::BeamOptions;
using pistonfield::GridField;
using pistonfield::InvalidRequest;
using pistonfield::Lattice;
using pistonfield::Request;

/// A request file: the field that is asked for, and what makes pressures of it.
struct RequestText {
    ComputeCommand command;
    Drive drive;
};

RequestText readRequest(const std::filesystem::path& path) {
    const std::string text = readText(path);
    const TextReader read = [&](const std::filesystem::path& other) {
        return other == path ? text : readText(other);
    };
    // Of a field to compute all but the output is there.
    const Command command =
        readCommand({"--request", path.string(), "no output"}, {read, &readTable});
    return {std::get<ComputeCommand>(command), readDrive(path.string(), text)};
}

/// The drive: what the command line says counts first.
BeamDrive driveOf(const BeamCommand& command, const Drive& inFile, const pistonfield::Wave& wave) {
    if (command.drive.speed && inFile.frequency)
        throw std::runtime_error("--speed: " + command.source.string() +
                                 " has a frequency, and with it the speed");
    BeamDrive drive;
    drive.speed = command.drive.speed.value_or(inFile.speed.value_or(drive.speed));
    drive.density = command.drive.density.value_or(inFile.density.value_or(drive.density));
    drive.velocity = command.drive.velocity.value_or(inFile.velocity.value_or(drive.velocity));
    drive.duty = command.duty.value_or(drive.duty);
    drive.derating = command.derating.value_or(drive.derating);
    // The file's, as a wavenumber made of it may have been rounded.
    constexpr double turn = 2 * std::numbers::pi;
    drive.frequency = inFile.frequency.value_or(wave.wavenumber * drive.speed / turn);
    // Losses may have changed the phase speed.
    if (inFile.frequency && wave.attenuation > 0)
        drive.speed = turn * drive.frequency / wave.wavenumber;
    check(drive);
    return drive;
}

BeamOptions optionsOf(const BeamCommand& command, const BeamDrive& drive) {
    BeamOptions options;
    options.axis = command.axis;
    options.derating = drive.deratingPerMetre();
    options.hydrophone = command.hydrophone;
    return options;
}

void print(const BeamCommand& command, const Beam& beam, const BeamDrive& drive) {
    std::cout << (command.json ? jsonOf(reportOf(beam, drive)) : tableOf(beam, drive));
}

/// Says what there is no beam for, and where that was given.
[[noreturn]] void refuse(const BeamCommand& command, const InvalidRequest& reason) {
    constexpr std::array options{"velocity", "speed",      "density", "duty",
                                 "derating", "hydrophone", "axis"};
    const bool isOption = std::ranges::find(options, reason.field()) != options.end();
    throw std::runtime_error((isOption ? "--" : command.source.string() + ": ") + reason.what());
}

/// @throws std::runtime_error naming what of the field is not said
void requireField(const ComputeCommand& asked) {
    for (const char* needed : {"transform", "sizes", "k"})
        if (!asked.given.contains(needed))
            throw std::runtime_error(asked.requestFile.string() + ": " + needed + " is missing");
}

void ofRequest(const BeamCommand& command) {
    RequestText asked = readRequest(command.source);
    requireField(asked.command);
    Request& request = asked.command.request;
    // The sums of one order are for fields on lattices; a beam is looked at point by point.
    if (!request.tolerance) {
        request.tolerance.emplace();
        request.mode = pistonfield::Mode::cpu;
        request.rule = {};
    }
    check(request);
    const BeamDrive drive = driveOf(command, asked.drive, request.wave);
    const BeamOptions options = optionsOf(command, drive);
    print(command, beamOf(request, sampled(request, {}), options), drive);
}

/// The lattice of the points that a file has.
Lattice latticeOf(const Layout& layout) {
    Lattice lattice{layout.request.lattice.transform, layout.box.size};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t i = 0; i < 3; ++i)
            lattice.transform[4 * row + 3] +=
                lattice.transform[4 * row + i] * static_cast<double>(layout.box.first[i]);
    return lattice;
}

template <class T>
std::vector<std::complex<double>> valuesOf(FieldReader& file) {
    const LatticeBox& box = file.layout().box;
    std::vector<std::complex<T>> values(static_cast<std::size_t>(box.points()));
    file.read(box, values.data());
    return {values.begin(), values.end()};
}

void ofFile(const BeamCommand& command) {
    FieldReader file(command.source);
    const Request& request = file.layout().request;
    if (request.quantity != pistonfield::Quantity::pressure)
        throw InvalidRequest("quantity", "a beam is that of the pressure");
    const BeamDrive drive = driveOf(command, {}, request.wave);
    const GridField field(latticeOf(file.layout()),
                          request.inSingle() ? valuesOf<float>(file) : valuesOf<double>(file));
    print(command, beamOf(field, request.wave, optionsOf(command, drive), request), drive);
}

}  // namespace

int beam(const BeamCommand& command) {
    if (command.threads) pistonfield::useThreads(*command.threads);
    try {
        if (isHdf5(command.source))
            ofFile(command);
        else
            ofRequest(command);
    } catch (const InvalidRequest& reason) {
        refuse(command, reason);
    }
    return 0;
}

}  // namespace run
