// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// What the functions' module answers about arrays, their weights and powers.
#include <gmock/gmock.h>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/Foci.h"
#include "arrays/RadiatedPower.h"
#include "arrays/Window.h"
#include "arrays/arrayTable.h"
#include "arrays/elementPressures.h"
#include "arrays/planarArrays.h"
#include "arrays/quantised.h"
#include "arrays/steering.h"
#include "tests/matlab_src/askModule.h"

namespace {

using namespace pistonfield;
using substitute::doubles;
using substitute::number;
using substitute::text;
using substitute::theHost;
using testing::StartsWith;

using Arguments = std::vector<const host::Array*>;
using Weights = std::vector<std::complex<double>>;

const Wave wave{3.7};

std::vector<double> numbersIn(const host::Array* array) {
    const double* const first = host::realData(array);
    return {first, first + array->count()};
}

/// Elements as the module tells of them.
std::vector<double> columnsOf(const std::vector<Element>& elements) {
    std::vector<double> numbers;
    for (const auto& [piston, pose, outline] : elements) {
        numbers.insert(numbers.end(), {piston.width, piston.height});
        for (const auto& v : {pose.centre, pose.alongWidth, pose.alongHeight, pose.normal()})
            numbers.insert(numbers.end(), v.begin(), v.end());
    }
    return numbers;
}

/// Elements as the module is told of them, behind a question.
Arguments question(const std::string& name, const std::vector<Element>& elements) {
    const std::size_t count = elements.size();
    std::vector<double> widths;
    std::vector<double> heights;
    std::vector<double> centres;
    std::vector<double> turns;
    for (const auto& [piston, pose, outline] : elements) {
        widths.push_back(piston.width);
        heights.push_back(piston.height);
        centres.insert(centres.end(), pose.centre.begin(), pose.centre.end());
        for (const auto& v : {pose.alongWidth, pose.alongHeight, pose.normal()})
            turns.insert(turns.end(), v.begin(), v.end());
    }
    return {text(name), doubles(widths, {1, count}), doubles(heights, {1, count}),
            doubles(centres, {3, count}), doubles(turns, {3, 3, count})};
}

Arguments with(Arguments arguments, const Arguments& others) {
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
}

/// Real and imaginary parts.
Arguments partsOf(const Weights& weights) {
    std::vector<double> re;
    std::vector<double> im;
    for (const auto& weight : weights) {
        re.push_back(weight.real());
        im.push_back(weight.imag());
    }
    return {doubles(re, {re.size(), 1}), doubles(im, {im.size(), 1})};
}

Arguments pointsOf(const PointList& points) {
    const std::size_t count = points.x.size();
    return {doubles(points.x, {count, 1}), doubles(points.y, {count, 1}),
            doubles(points.z, {count, 1})};
}

const ConvexArray convex{
    .elements = 5, .radius = 20, .width = 1, .height = 2, .pitch = 1.5, .angle = {}, .kerf = {}};
const PointList points{{0.5, -1}, {0.25, 0}, {8, 9}};

std::vector<Element> ringsOf(const Bowl& bowl, std::optional<double> pitch,
                             std::optional<double> kerf, std::vector<std::int64_t> counts) {
    BowlRings rings;
    rings.bowl = bowl;
    rings.width = 1;
    rings.height = 2;
    rings.pitch = pitch;
    rings.kerf = kerf;
    rings.counts = std::move(counts);
    return elementsOf(rings);
}

class ArrayQuestionsTest : public testing::Test {
  protected:
    void SetUp() override { theHost().reset(); }
};

TEST_F(ArrayQuestionsTest, BuildsArraysFromNamesAndNumbers) {
    const auto built = [](const std::string& kind, const Arguments& pairs) {
        const host::Array* const answer = answerTo(with({text("array"), text(kind)}, pairs));
        EXPECT_FALSE(answer->complex);
        EXPECT_EQ(answer->dimensions[0], 14U);
        return numbersIn(answer);
    };
    const Arguments sides{text("width"), number(1), text("height"), number(2)};
    const auto value = [](const char* name, const std::vector<double>& numbers) {
        return Arguments{text(name), doubles(numbers, {1, numbers.size()})};
    };
    EXPECT_EQ(built("line", with(with(sides, value("elements", {3})), value("kerf", {0.5}))),
              columnsOf(elementsOf(LineArray{3, 1, 2, {}, 0.5})));
    EXPECT_EQ(built("line", with(with(sides, value("elements", {3})), value("pitch", {2}))),
              columnsOf(elementsOf(LineArray{3, 1, 2, 2, {}})));
    EXPECT_EQ(built("matrix", with(with(sides, value("elements", {3, 4})), value("pitch", {2, 3}))),
              columnsOf(elementsOf(MatrixArray{3, 4, 1, 2, 2, {}, 3, {}})));
    EXPECT_EQ(built("matrix", with(with(sides, value("elements", {3, 4})), value("kerf", {0.5}))),
              columnsOf(elementsOf(MatrixArray{3, 4, 1, 2, {}, 0.5, {}, 0.5})));
    const Arguments arc = with(with(sides, value("elements", {5})), value("radius", {20}));
    EXPECT_EQ(built("convex", with(arc, value("pitch", {1.5}))), columnsOf(elementsOf(convex)));
    EXPECT_EQ(built("convex", with(arc, value("angle", {0.1}))),
              columnsOf(elementsOf(ConvexArray{5, 20, 1, 2, {}, 0.1, {}})));
    EXPECT_EQ(built("convex", with(arc, value("kerf", {0.4}))),
              columnsOf(elementsOf(ConvexArray{5, 20, 1, 2, {}, {}, 0.4})));
    const Bowl byAperture{.radius = 30, .aperture = 20, .openingAngle = {}, .hole = 3};
    const Bowl byAngle{.radius = 30, .aperture = {}, .openingAngle = 0.7};
    const Arguments holed =
        with(with(with(sides, value("radius", {30})), value("aperture", {20})), value("hole", {3}));
    const Arguments angled =
        with(with(sides, value("radius", {30})), value("opening_angle", {0.7}));
    EXPECT_EQ(built("bowl", with(holed, value("elements", {20}))),
              columnsOf(elementsOf(BowlSpiral{byAperture, 20, 1, 2})));
    EXPECT_EQ(built("bowl", with(angled, value("pitch", {3}))),
              columnsOf(ringsOf(byAngle, 3, {}, {})));
    EXPECT_EQ(built("bowl", with(holed, value("kerf", {1}))),
              columnsOf(ringsOf(byAperture, {}, 1, {})));
    EXPECT_EQ(built("bowl", with(angled, value("counts", {1, 6}))),
              columnsOf(ringsOf(byAngle, {}, {}, {1, 6})));
}

TEST_F(ArrayQuestionsTest, NamesWhatIsWrongWithAnArrayToBuild) {
    const auto refused = [](const Arguments& others) {
        return refusalOf(with({text("array")}, others));
    };
    EXPECT_EQ(refused({}), refusal("kind", "kind: is missing"));
    EXPECT_EQ(
        refused({text("ring")}),
        refusal("kind", "kind: 'ring' is none of line, matrix, convex, bowl, annular, honeycomb"));
    EXPECT_EQ(refused({text("line"), text("width")}),
              refusal("arguments", "arguments: a name is without its value"));
    EXPECT_EQ(refused({text("line"), number(1), number(1)}),
              refusal("arguments", "arguments: must be a text"));
    EXPECT_EQ(refused({text("line"), text("width"), text("wide")}),
              refusal("width", "width: must be full, real and of class double"));
    EXPECT_EQ(refused({text("line"), text("width"), number(1)}),
              refusal("elements", "elements: is missing"));
    EXPECT_EQ(refused({text("line"), text("elements"), number(1.5)}),
              refusal("elements", "elements: must be whole"));
    EXPECT_EQ(refused({text("line"), text("elements"), doubles({1, 2}, {1, 2})}),
              refusal("elements", "elements: must be one number"));
    const Arguments line{text("line"),   text("elements"), number(2),     text("width"), number(1),
                         text("height"), number(1),        text("pitch"), number(2)};
    EXPECT_EQ(refused(line), "none");
    EXPECT_EQ(refused(with(line, {text("angle"), number(1)})),
              refusal("options",
                      "options: 'angle' says nothing about the array line; there are: "
                      "elements, width, height, pitch, kerf"));
    // Not that the pitch is missing.
    EXPECT_THAT(refused({text("line"), text("elements"), number(2), text("pich"), number(2)}),
                StartsWith(refusal("options", "options: 'pich' says nothing")));
    for (const auto& counts : {doubles({4}, {1, 1}), doubles({1, 2, 3}, {1, 3})})
        EXPECT_EQ(refused({text("matrix"), text("elements"), counts}),
                  refusal("elements", "elements: must be two numbers, of columns and of rows"));
    EXPECT_EQ(
        refused({text("matrix"), text("elements"), doubles({1, 2}, {1, 2}), text("width"),
                 number(1), text("height"), number(1), text("kerf"), doubles({1, 2, 3}, {1, 3})}),
        refusal("kerf", "kerf: must be one number or two, along x and y"));
}

TEST_F(ArrayQuestionsTest, TellsWhichElementsOverlap) {
    std::vector<Element> elements = elementsOf(convex);
    EXPECT_EQ(numbersIn(answerTo(question("array_overlaps", elements))), std::vector<double>{0});
    elements[3] = elements[1];
    EXPECT_EQ(numbersIn(answerTo(question("array_overlaps", elements))),
              (std::vector<double>{1, 2, 4}));
    EXPECT_THAT(refusalOf({text("array_overlaps")}), StartsWith(refusal("arguments", "")));
}

TEST_F(ArrayQuestionsTest, ReadsTables) {
    const std::string path = testing::TempDir() + "array.csv";
    const auto write = [&path](const std::string& lines) { std::ofstream(path) << lines; };
    write("x [m], y [m], width [m], height [m]\n1, 2, 3, 4\n5, 6, 7, 8\n");
    EXPECT_EQ(numbersIn(answerTo({text("array_of_table"), text(path)})),
              columnsOf(readArrayFile(path).elements));
    write("x [m], y [m], width [m], height [m], re, im\n1, 2, 3, 4, 0.5, -2\n");
    std::vector<double> wanted = columnsOf(readArrayFile(path).elements);
    wanted.insert(wanted.end(), {0.5, -2});
    EXPECT_EQ(numbersIn(answerTo({text("array_of_table"), text(path)})), wanted);
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_THAT(refusalOf({text("array_of_table"), text(path)}),
                StartsWith(refusal("elements", "elements: " + path)));
    EXPECT_EQ(refusalOf({text("array_of_table"), number(1)}),
              refusal("file", "file: must be a text"));
}

TEST_F(ArrayQuestionsTest, FocusesAndSteers) {
    const auto elements = elementsOf(convex);
    const PointList focus{{0.5}, {0.25}, {8}};
    EXPECT_EQ(
        substitute::valuesOf(answerTo(with(with(with(question("weights_of_focus", elements),
                                                     {number(3.7), number(0.2), text("soft")}),
                                                pointsOf(focus)),
                                           {number(1e-9), number(0), number(2)}))),
        focusWeights(elements, {wave.wavenumber, 0.2}, {0.5, 0.25, 8}, 1e-9, false, Baffle::soft));
    EXPECT_EQ(substitute::valuesOf(answerTo(with(question("weights_of_plane_wave", elements),
                                                 {number(3.7), doubles({1, 2, 3}, {3, 1})}))),
              planeWaveWeights(elements, wave, {1, 2, 3}));
    const Pose::Vector direction = directionOf(0.3, -0.2);
    EXPECT_EQ(numbersIn(answerTo({text("direction"), number(0.3), number(-0.2)})),
              std::vector<double>(direction.begin(), direction.end()));
}

TEST_F(ArrayQuestionsTest, TellsTheElementsPressures) {
    const auto elements = elementsOf(convex);
    const host::Array* const answer = answerTo(with(
        with(with(question("element_pressures", elements), {number(3.7), number(0), text("rigid")}),
             pointsOf(points)),
        {number(1e-9), number(0), number(0)}));
    EXPECT_EQ(answer->dimensions, (substitute::Dimensions{5, 2}));
    EXPECT_EQ(substitute::valuesOf(answer), elementPressures(elements, wave, points, 1e-9));
}

TEST_F(ArrayQuestionsTest, HandlesPointsBehindAsItIsTold) {
    const auto elements = elementsOf(convex);
    const auto asked = [&elements](double behind) {
        return with(with(with(question("element_pressures", elements),
                              {number(3.7), number(0), text("rigid")}),
                         pointsOf({{0.5}, {0}, {-8}})),
                    {number(1e-9), number(behind), number(0)});
    };
    EXPECT_THAT(refusalOf(asked(0)), StartsWith(refusal("points", "points: the point (")));
    EXPECT_EQ(refusalOf(asked(1)), "none");
    EXPECT_EQ(refusalOf(asked(2)), refusal("behind", "behind: must be from 0 to 1"));
}

TEST_F(ArrayQuestionsTest, FindsWeightsOfSeveralFoci) {
    const auto elements = elementsOf(convex);
    const Weights pressures{{0.5, 0}, {0, -1}};
    for (const double largest : {0.0, 2.0}) {
        Foci foci;
        foci.points = points;
        foci.pressures = pressures;
        foci.tolerance = 1e-7;
        foci.leastRatio = 1e-5;
        foci.iterations = 3;
        foci.baffle = Baffle::free;
        if (largest > 0) foci.largestWeight = largest;
        const FociWeights wanted = weightsOf(foci, elements, wave);
        const auto found = numbersIn(answerTo(
            with(with(with(with(question("weights_of_foci", elements),
                                {number(3.7), number(0), text("free")}),
                           pointsOf(points)),
                      partsOf(pressures)),
                 {number(1e-7), number(1e-5), number(largest), number(3), number(0), number(1)})));
        ASSERT_EQ(found.size(), 16U);
        EXPECT_EQ(std::vector<double>(found.begin(), found.begin() + 6),
                  (std::vector<double>{static_cast<double>(wanted.dropped), wanted.leastKept,
                                       wanted.efficiency, static_cast<double>(wanted.iterations),
                                       wanted.scale, wanted.residual}));
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_EQ(std::complex<double>(found[6 + i], found[11 + i]), wanted.weights[i]);
    }
}

TEST_F(ArrayQuestionsTest, TellsWindows) {
    const auto elements = elementsOf(MatrixArray{3, 4, 1, 2, 2, {}, 3, {}});
    const auto asked = [&elements](const std::string& name, double parameter,
                                   const std::string& along) {
        return with(question("window", elements), {text(name), number(parameter), text(along)});
    };
    const Window window{Window::Kind::tukey, 0.7};
    EXPECT_EQ(numbersIn(answerTo(asked("tukey", 0.7, "x"))),
              windowValues(window, WindowAlong::x, elements));
    EXPECT_EQ(numbersIn(answerTo(asked("tukey", 0.7, "y"))),
              windowValues(window, WindowAlong::y, elements));
    EXPECT_EQ(numbersIn(answerTo(asked("tukey", 0.7, "radius"))),
              windowValues(window, WindowAlong::radius, elements));
    EXPECT_EQ(refusalOf(asked("hann", 0, "z")),
              refusal("along", "along: 'z' is none of x, y, radius"));
    EXPECT_THAT(refusalOf(asked("box", 0, "x")), StartsWith(refusal("window", "window: 'box'")));
}

TEST_F(ArrayQuestionsTest, RoundsWeights) {
    const Weights weights{{1, 0.3}, {-0.4, 2}, {0.1, -0.2}};
    const auto asked = [&weights](const Arguments& how) {
        return with(with({text("quantised_weights")}, partsOf(weights)), how);
    };
    const auto rounded = [&asked](const Arguments& how) {
        return substitute::valuesOf(answerTo(asked(how)));
    };
    EXPECT_EQ(rounded({text("delays"), number(0.1), number(2)}),
              withQuantisedDelays(weights, 2, 0.1));
    EXPECT_EQ(rounded({text("phases"), number(3)}), withQuantisedPhases(weights, 3));
    EXPECT_EQ(rounded({text("amplitudes"), number(4)}), withQuantisedAmplitudes(weights, 4));
    EXPECT_EQ(refusalOf(asked({text("colours"), number(4)})),
              refusal("quantised", "quantised: 'colours' is none of delays, phases, amplitudes"));
    EXPECT_EQ(refusalOf(asked({text("phases"), number(0)})),
              refusal("bits", "bits: must be from 1 to 32"));
    EXPECT_THAT(refusalOf(asked({text("delays"), number(1)})),
                StartsWith(refusal("arguments", "arguments: 5 in the place of 6")));
    EXPECT_EQ(refusalOf({text("quantised_weights")}), refusal("arguments", "arguments: too few"));
}

TEST_F(ArrayQuestionsTest, TellsThePowerAtTheFacesOrFarAway) {
    const Weights weights{{1, 0}, {0, 2}, {1, 1}, {0.5, 0}, {-1, 0}};
    for (const bool isFlat : {true, false}) {
        const auto elements = isFlat ? elementsOf(LineArray{5, 1, 2, 1.5, {}}) : elementsOf(convex);
        const RadiatedPower wanted =
            radiatedPower(elements, weights, wave, isFlat ? PowerBy::faces : PowerBy::farField);
        const auto asked = [&](const std::vector<double>& state, double threads) {
            return with(with(question("array_power", elements), partsOf(weights)),
                        {number(3.7), number(0), text("rigid"), doubles(state, {1, state.size()}),
                         number(threads)});
        };
        std::vector<double> answer(4);
        for (int i = 0; i < 100 && answer.size() == 4; ++i)
            answer = numbersIn(answerTo(asked(answer, 2)));
        ASSERT_EQ(answer.size(), 6U);
        EXPECT_EQ(answer[4], wanted.value);
        EXPECT_EQ(answer[5], wanted.change);
        EXPECT_EQ(refusalOf(asked({0.5, 0, 0, 0}, 0)), refusal("state", "state: must be whole"));
        EXPECT_THAT(refusalOf(asked({9, 0, 0, 0}, 0)), StartsWith(refusal("state", "state: ")));
        EXPECT_THAT(refusalOf(asked({0, 0, 0}, 0)), StartsWith(refusal("state", "state: ")));
        EXPECT_THAT(refusalOf(asked({0, 0, 0, 0}, -1)),
                    StartsWith(refusal("threads", "threads: ")));
    }
}

TEST_F(ArrayQuestionsTest, CountsItsArguments) {
    const auto elements = elementsOf(convex);
    for (const char* name : {"weights_of_focus", "weights_of_foci", "weights_of_plane_wave",
                             "element_pressures", "window", "array_power"})
        EXPECT_THAT(refusalOf(question(name, elements)),
                    StartsWith(refusal("arguments", "arguments: 5 in the place of ")));
    EXPECT_EQ(refusalOf({text("direction")}),
              refusal("arguments", "arguments: 1 in the place of 3"));
    EXPECT_EQ(refusalOf({text("array_of_table")}),
              refusal("arguments", "arguments: 1 in the place of 2"));
}

}  // namespace
