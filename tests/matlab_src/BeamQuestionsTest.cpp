// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// What the functions' module answers about beams and hydrophones.
#include <gmock/gmock.h>

#include <complex>
#include <cstddef>
#include <string>
#include <vector>

#include "beam/BeamReport.h"
#include "beam/SourceField.h"
#include "tests/matlab_src/askModule.h"

namespace {

using namespace pistonfield;
using substitute::doubles;
using substitute::number;
using substitute::text;
using testing::StartsWith;

using Arguments = std::vector<const host::Array*>;

constexpr double k = 6.3;

const Lattice lattice{{0.5, 0, 0, -2, 0, 1, 0, 0, 0, 0, 0.5, 2, 0, 0, 0, 1}, {9, 1, 13}};

Request request() {
    Request request;
    request.array = Array{{{{4, 3}, {}}}, {2.0}};
    request.wave.wavenumber = k;
    request.lattice = lattice;
    request.tolerance = Tolerance{};
    return request;
}

const host::Array* row(const std::vector<double>& numbers) {
    return doubles(numbers, {1, numbers.size()});
}

const host::Array* transformOf(const Lattice& of) {
    return doubles({of.transform.begin(), of.transform.end()}, {4, 4});
}

const host::Array* sizesOf(const Lattice& of) { return row({of.sizes.begin(), of.sizes.end()}); }

/// A question about the request's array.
Arguments question(const std::string& name) {
    return {text(name),
            number(4),
            number(3),
            doubles({0, 0, 0}, {3, 1}),
            doubles({1, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 3}),
            number(2),
            number(0),
            number(k),
            number(0),
            text("rigid"),
            number(1e-4)};
}

BeamDrive drive() {
    BeamDrive drive;
    drive.frequency = 1e6;
    drive.velocity = 0.1;
    return drive;
}

Arguments pairs() {
    return {text("frequency"), number(1e6),      text("speed"), number(1482), text("density"),
            number(998),       text("velocity"), number(0.1),   text("duty"), number(1),
            text("derating"),  number(0.3),      text("axis"),  row({}),      text("hydrophone"),
            row({1}),          text("power"),    number(0)};
}

Arguments with(Arguments arguments, const Arguments& others) {
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
}

/// The lines and the table of a report.
std::vector<std::string> textsOf(const host::Array* answer) {
    const double* const codes = host::realData(answer);
    const auto count = static_cast<std::size_t>(codes[0]);
    std::string both;
    for (std::size_t i = 1; i < answer->count(); ++i) both += static_cast<char>(codes[i]);
    return {both.substr(0, count), both.substr(count)};
}

BeamOptions options() {
    BeamOptions options;
    options.derating = drive().deratingPerMetre();
    options.hydrophone = {1};
    options.power = false;
    return options;
}

TEST(BeamQuestions, haveTheReportOfASource) {
    const Samples samples = sampled(request(), {});
    const auto asked =
        with(with(question("beam"), {transformOf(samples.lattice), sizesOf(samples.lattice),
                                     row(samples.magnitudes), number(0)}),
             pairs());
    const Beam beam = beamOf(request(), samples, options());
    EXPECT_EQ(textsOf(answerTo(asked)),
              (std::vector{linesOf(reportOf(beam, drive())), tableOf(beam, drive())}));
}

TEST(BeamQuestions, haveTheReportOfAGrid) {
    std::vector<std::complex<double>> values(117);
    std::vector<double> re;
    std::vector<double> im;
    Plan(request()).compute(lattice.box(), values.data());
    for (const auto& value : values) {
        re.push_back(value.real());
        im.push_back(value.imag());
    }
    const auto asked = with(
        {text("beam_of_grid"), transformOf(lattice), sizesOf(lattice), row(re), row(im), number(k)},
        pairs());
    const Beam beam = beamOf(GridField(lattice, values), {k}, options());
    EXPECT_EQ(textsOf(answerTo(asked)).front(), linesOf(reportOf(beam, drive())));
}

TEST(BeamQuestions, haveTheLatticeOfTheSearch) {
    const Lattice wanted = searchLattice(lattice, {k});
    const host::Array* answer =
        answerTo({text("beam_search"), transformOf(lattice), sizesOf(lattice), number(k)});
    ASSERT_EQ(answer->count(), 19U);
    for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(host::realData(answer)[i], wanted.transform[i]);
    EXPECT_EQ(host::realData(answer)[16], static_cast<double>(wanted.sizes[0]));
    EXPECT_EQ(host::realData(answer)[18], static_cast<double>(wanted.sizes[2]));
    EXPECT_GT(wanted.sizes[0], lattice.sizes[0]);
    EXPECT_EQ(wanted.sizes[1], 1);
}

TEST(BeamQuestions, haveWhatAHydrophoneTells) {
    const auto asked = with(question("hydrophone"), {number(0.5), number(0), number(7), number(1),
                                                     row({1, 0, 0}), row({0, 1, 0}), number(1)});
    const HydrophoneReading reading =
        hydrophoneReadings(SourceField(request()), {{1}, {1, 0, 0}, {0, 1, 0}}, {{0.5}, {0}, {7}},
                           {k})
            .front();
    const host::Array* answer = answerTo(asked);
    ASSERT_EQ(answer->count(), 3U);
    EXPECT_EQ(host::realData(answer)[0], reading.pressure.real());
    EXPECT_EQ(host::realData(answer)[1], reading.pressure.imag());
    EXPECT_EQ(host::realData(answer)[2], reading.change);
}

TEST(BeamQuestions, refuseWhatIsNone) {
    const auto beam = question("beam");
    EXPECT_THAT(refusalOf(beam), StartsWith(refusal("arguments", "arguments: too few")));
    EXPECT_THAT(refusalOf({text("beam_of_grid")}),
                StartsWith(refusal("arguments", "arguments: too few")));
    const auto few = with(beam, {transformOf(lattice), sizesOf(lattice), row({1, 2}), number(0)});
    EXPECT_THAT(refusalOf(with(few, pairs())), StartsWith(refusal("values", "values: ")));
    EXPECT_THAT(refusalOf(few), StartsWith(refusal("frequency", "frequency: is missing")));
    auto axis = with(few, pairs());
    for (std::size_t i = 0; i + 1 < axis.size(); ++i)
        if (host::isChar(axis[i]) && host::text(axis[i]) == "axis") axis[i + 1] = row({1, 2});
    EXPECT_THAT(refusalOf(axis), StartsWith(refusal("axis", "axis: must be three numbers")));
}

}  // namespace
