// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Beams for C: what the room beam/ says of them.

#include "beam/Beam.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "beam/BeamReport.h"
#include "capi/Watched.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "capi/requests.h"
#include "capi/structSizes.h"

struct pistonfield_beam {
    std::vector<pistonfield::ReportValue> figures;
    std::string table;
};

namespace {

using namespace pistonfield;

constexpr std::array<std::size_t, 1> optionsSizes{80};
static_assert(sizeof(pistonfield_beam_options) == optionsSizes.back());

pistonfield_beam_options defaultOptions() {
    const BeamDrive drive;
    pistonfield_beam_options options{};
    options.speed = drive.speed;
    options.density = drive.density;
    options.velocity = drive.velocity;
    options.duty = drive.duty;
    options.derating = drive.derating;
    return options;
}

BeamDrive driveFrom(const pistonfield_beam_options& given) {
    const BeamDrive drive{given.frequency, given.speed, given.density,
                          given.velocity,  given.duty,  given.derating};
    check(drive);
    return drive;
}

BeamOptions optionsFrom(const pistonfield_beam_options& given, const BeamDrive& drive) {
    BeamOptions options;
    options.derating = drive.deratingPerMetre();
    options.power = given.without_power == 0;
    if (given.axis != nullptr)
        options.axis = Pose::Vector{given.axis[0], given.axis[1], given.axis[2]};
    if (given.hydrophone_sides < 0 || given.hydrophone_sides > 2)
        throw InvalidRequest(
            "hydrophone", std::to_string(given.hydrophone_sides) + " sides are not within 0 to 2");
    if (given.hydrophone_sides > 0) {
        requireGiven(given.hydrophone, "hydrophone");
        options.hydrophone.assign(given.hydrophone, given.hydrophone + given.hydrophone_sides);
    }
    return options;
}

/// Has a function measure a beam by what is asked for.
template <class Measure>
pistonfield_status report(const pistonfield_beam_options* options, const Measure& measure,
                          pistonfield_beam** beam, pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        required(beam, "beam") = nullptr;
        const auto given = completed(options, optionsSizes, "beam_options");
        const BeamDrive drive = driveFrom(given);
        const Beam measured = measure(optionsFrom(given, drive));
        auto made = std::make_unique<pistonfield_beam>();
        made->figures = reportOf(measured, drive);
        made->table = tableOf(measured, drive);
        *beam = made.release();
    });
}

/// The number of a lattice's points, when their values have a place in memory.
std::int64_t pointsOf(const Lattice& lattice) {
    constexpr std::int64_t most =
        std::numeric_limits<std::ptrdiff_t>::max() / sizeof(std::complex<double>);
    std::int64_t points = 1;
    for (const std::int64_t size : lattice.sizes)
        if (size < 1 || __builtin_mul_overflow(points, size, &points) || points > most)
            throw InvalidRequest("sizes", "must be 1 or more, and their product within memory");
    return points;
}

GridField fieldFrom(const pistonfield_sampled& given) {
    Lattice lattice;
    std::copy(std::begin(given.transform), std::end(given.transform), lattice.transform.begin());
    std::copy(std::begin(given.sizes), std::end(given.sizes), lattice.sizes.begin());
    if (!(std::isfinite(given.wavenumber) && given.wavenumber > 0))
        throw InvalidRequest("wavenumber", "must be above 0");
    requireGiven(given.values, "values");
    const std::int64_t points = pointsOf(lattice);
    std::vector<std::complex<double>> values;
    values.reserve(static_cast<std::size_t>(points));
    for (std::int64_t i = 0; i < points; ++i)
        values.emplace_back(given.values[2 * i], given.values[2 * i + 1]);
    return {lattice, std::move(values)};
}

Beam beamOfSource(const pistonfield_request* request, const BeamOptions& options,
                  const pistonfield_conduct* conduct) {
    const Request source = requestOf(request);
    if (source.points) throw InvalidRequest("points", "a beam is looked for within a lattice");
    const Watched watched(conduct);
    return beamOf(source, sampled(source, watched.get()), options, watched.get());
}

Beam beamOfSamples(const pistonfield_sampled* sampled, const BeamOptions& options) {
    const pistonfield_sampled& given = required(sampled, "sampled");
    return beamOf(fieldFrom(given), {given.wavenumber}, options);
}

}  // namespace

pistonfield_status pistonfield_beam_options_init(pistonfield_beam_options* options,
                                                 std::size_t size,
                                                 pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        initialise(options, size, defaultOptions(), optionsSizes, "beam_options");
    });
}

pistonfield_status pistonfield_beam_of_request(const pistonfield_request* request,
                                               const pistonfield_beam_options* options,
                                               const pistonfield_conduct* conduct,
                                               pistonfield_beam** beam,
                                               pistonfield_message* message) noexcept {
    return report(
        options, [&](const BeamOptions& asked) { return beamOfSource(request, asked, conduct); },
        beam, message);
}

pistonfield_status pistonfield_beam_of_samples(const pistonfield_sampled* sampled,
                                               const pistonfield_beam_options* options,
                                               pistonfield_beam** beam,
                                               pistonfield_message* message) noexcept {
    return report(
        options, [&](const BeamOptions& asked) { return beamOfSamples(sampled, asked); }, beam,
        message);
}

void pistonfield_beam_destroy(pistonfield_beam* beam) noexcept { delete beam; }

std::int64_t pistonfield_beam_count(const pistonfield_beam* beam) noexcept {
    return beam != nullptr ? static_cast<std::int64_t>(beam->figures.size()) : 0;
}

pistonfield_status pistonfield_beam_figure(const pistonfield_beam* beam, std::int64_t number,
                                           pistonfield_figure* figure,
                                           pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const auto& figures = required(beam, "beam").figures;
        requireGiven(figure, "figure");
        if (number < 0 || number >= static_cast<std::int64_t>(figures.size()))
            throw InvalidArgument("number", std::to_string(number) + " is no figure's");
        const ReportValue& value = figures[static_cast<std::size_t>(number)];
        *figure = {value.name.c_str(),
                   value.numbers.data(),
                   static_cast<std::int64_t>(value.rows),
                   static_cast<std::int64_t>(value.columns),
                   value.rank,
                   value.isFlag ? 1 : 0};
    });
}

const char* pistonfield_beam_table(const pistonfield_beam* beam) noexcept {
    return beam != nullptr ? beam->table.c_str() : nullptr;
}
