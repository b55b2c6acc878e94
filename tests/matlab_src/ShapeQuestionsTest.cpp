// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// What the functions' module answers about outlines, media and fields other than the pressure.
#include <gmock/gmock.h>

#include <complex>
#include <cstddef>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "arrays/AnnularArray.h"
#include "arrays/HoneycombArray.h"
#include "arrays/elementPressures.h"
#include "arrays/pistonShapes.h"
#include "field/Medium.h"
#include "field/Plan.h"
#include "tests/matlab_src/askModule.h"

namespace {

using namespace pistonfield;
using substitute::doubles;
using substitute::number;
using substitute::text;
using substitute::theHost;

using Arguments = std::vector<const host::Array*>;

std::vector<double> numbersIn(const host::Array* array) {
    const double* const first = host::realData(array);
    return {first, first + array->count()};
}

Arguments with(Arguments arguments, const Arguments& others) {
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
}

Arguments value(const char* name, const std::vector<double>& numbers) {
    return {text(name), doubles(numbers, {1, numbers.size()})};
}

/// A disc of radius 2 and, in a second outline, a triangle.
const std::vector<double> table{1,
                                1,
                                1,
                                0,
                                0,
                                2,
                                0,
                                std::numbers::pi,  //
                                1,
                                1,
                                1,
                                0,
                                0,
                                2,
                                std::numbers::pi,
                                std::numbers::pi,  //
                                2,
                                1,
                                0,
                                0,
                                0,
                                1,
                                0,
                                0,  //
                                2,
                                1,
                                0,
                                1,
                                0,
                                0,
                                1,
                                0,  //
                                2,
                                1,
                                0,
                                0,
                                1,
                                0,
                                0,
                                0};

const std::vector<double> standing{1, 0, 0, 0, 1, 0, 0, 0, 1};

/// The elements' outlines, centres at x = 0, 5, ... and orientations.
Arguments elements(const std::vector<double>& edges, const std::vector<double>& numbers) {
    std::vector<double> centres;
    std::vector<double> turns;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        centres.insert(centres.end(), {5.0 * static_cast<double>(i), 0, 0});
        turns.insert(turns.end(), standing.begin(), standing.end());
    }
    return {doubles(edges, {8, edges.size() / 8}), doubles(numbers, {1, numbers.size()}),
            doubles(centres, {3, numbers.size()}), doubles(turns, {3, 3, numbers.size()})};
}

std::vector<Element> sameElements() {
    return {{{}, {}, std::make_shared<const Outline>(discShape(2))},
            {{},
             {{5, 0, 0}},
             std::make_shared<const Outline>(polygonShape({{0, 0}, {1, 0}, {0, 1}}, {}))}};
}

class ShapeQuestionsTest : public testing::Test {
  protected:
    void SetUp() override { theHost().reset(); }
};

TEST_F(ShapeQuestionsTest, TellsOutlinesOfShapes) {
    const auto told = [](const std::string& shape, const Arguments& pairs) {
        return numbersIn(answerTo(with({text("outline"), text(shape)}, pairs)));
    };
    EXPECT_EQ(told("disc", value("radius", {2})),
              std::vector<double>(table.begin(), table.begin() + 16));
    const std::vector<double> triangle = told("polygon", value("corners", {0, 0, 1, 0, 0, 1}));
    ASSERT_EQ(triangle.size(), 24U);
    for (std::size_t i = 0; i < 24; ++i)
        EXPECT_EQ(triangle[i], i % 8 == 0 ? 1 : table[16 + i]) << i;
    EXPECT_EQ(told("ring", with(value("inner", {1}), value("outer", {2}))).size(), 32U);
    EXPECT_EQ(told("sector", with(value("outer", {2}), value("angles", {0, 1}))).size(), 24U);
    const Arguments square = value("corners", {0, 0, 9, 0, 9, 9, 0, 9});
    const Arguments holes = value("holes", {1, 1, 2, 1, 1, 2, 5, 5, 6, 5, 5, 6});
    EXPECT_EQ(told("polygon", with(with(square, holes), value("hole_sizes", {3, 3}))).size(), 80U);
}

TEST_F(ShapeQuestionsTest, NamesWhatIsWrongWithAShape) {
    const auto refused = [](const std::string& shape, const Arguments& pairs) {
        return refusalOf(with({text("outline"), text(shape)}, pairs));
    };
    EXPECT_EQ(refusalOf({text("outline")}), refusal("shape", "shape: is missing"));
    EXPECT_EQ(refused("oval", {}),
              refusal("shape", "shape: 'oval' is none of disc, ring, sector, polygon"));
    EXPECT_EQ(refused("disc", {}), refusal("radius", "radius: is missing"));
    EXPECT_EQ(refused("sector", with(value("outer", {2}), value("angles", {1}))),
              refusal("angles", "angles: must be two: where it begins and ends"));
    EXPECT_EQ(refused("polygon", value("corners", {0, 0, 1})),
              refusal("corners", "corners: must be x and y of each corner"));
    const Arguments square = value("corners", {0, 0, 9, 0, 9, 9, 0, 9});
    const Arguments hole = with(square, value("holes", {1, 1, 2, 1, 1, 2}));
    for (const std::vector<double>& sizes :
         std::vector<std::vector<double>>{{}, {2}, {4}, {-3, 6}, {3, 3}})
        EXPECT_EQ(refused("polygon", with(hole, value("hole_sizes", sizes))),
                  refusal("hole_sizes", "hole_sizes: are not those of the holes"));
}

TEST_F(ShapeQuestionsTest, BuildsArraysOfShapes) {
    const Arguments rings = with(value("elements", {3}), value("radius", {2}));
    const auto columns = numbersIn(answerTo(with({text("array"), text("annular")}, rings)));
    ASSERT_EQ(columns.size(), 42U);
    EXPECT_EQ(columns[0], 0);
    EXPECT_EQ(columns[1], 1);
    EXPECT_EQ(columns[15], 2);
    EXPECT_EQ(columns[29], 3);
    const auto edges = numbersIn(answerTo(with({text("array_outlines"), text("annular")}, rings)));
    EXPECT_EQ(edges.size(), 8U * (2 + 4 + 4));
    const Arguments hexagons =
        with(with(value("rings", {1}), value("width", {2})), value("kerf", {0.5}));
    const auto comb = numbersIn(answerTo(with({text("array"), text("honeycomb")}, hexagons)));
    ASSERT_EQ(comb.size(), 98U);
    const auto built = elementsOf(HoneycombArray{.rings = 1, .width = 2, .kerf = 0.5});
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(comb[14 * i + 1], 1);
        EXPECT_EQ(comb[14 * i + 2], built[i].pose.centre[0]);
    }
    EXPECT_EQ(
        numbersIn(answerTo(with({text("array_outlines"), text("honeycomb")}, hexagons))).size(),
        48U);
}

TEST_F(ShapeQuestionsTest, TakesOutlinesInThePlaceOfSides) {
    const PointList points{{0.5, 3}, {0, 1}, {2, 4}};
    auto* const answer = answerTo(with(
        with({text("element_pressures")}, elements(table, {1, 2})),
        {number(3), number(0.1), text("soft"), doubles(points.x, {2, 1}), doubles(points.y, {2, 1}),
         doubles(points.z, {2, 1}), number(1e-6), number(0), number(0)}));
    const auto wanted =
        elementPressures(sameElements(), {3, 0.1}, points, 1e-6, false, Baffle::soft);
    ASSERT_EQ(answer->count(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(host::resultReal(answer)[i], wanted[i].real());
        EXPECT_EQ(host::resultImaginary(answer)[i], wanted[i].imag());
    }
}

TEST_F(ShapeQuestionsTest, NamesWhatIsWrongWithATableOfOutlines) {
    const auto refused = [](const std::vector<double>& edges, const std::vector<double>& numbers) {
        return refusalOf(with(with({text("weights_of_plane_wave")}, elements(edges, numbers)),
                              {number(3), doubles({0, 0, 1}, {1, 3})}));
    };
    EXPECT_EQ(refused(table, {1, 2}), "none");
    EXPECT_EQ(refused(table, {2}), "none");
    const auto changed = [](std::size_t at, double number) {
        std::vector<double> edges = table;
        edges[at] = number;
        return edges;
    };
    const auto told = [](const std::string& reason) {
        return refusal("elements", "elements: " + reason);
    };
    EXPECT_EQ(refused(table, {1, 3}), told("element 2: there is no outline 3"));
    EXPECT_EQ(refused(table, {0, 1}), told("element 1: there is no outline 0"));
    EXPECT_EQ(refused(table, {1, 1.5}), refusal("elements", "elements: must be whole"));
    EXPECT_EQ(refused(changed(0, 2), {1, 2}),
              told("the outlines are numbered from 1, one after the other"));
    EXPECT_EQ(refused(changed(8, 0.5), {1, 2}),
              told("the outlines are numbered from 1, one after the other"));
    EXPECT_EQ(refused(changed(9, 3), {1, 2}),
              told("the loops of an outline are numbered from 1, one after the other"));
    EXPECT_EQ(refused(changed(2, 2), {1, 2}), told("an edge is neither straight nor an arc"));
    EXPECT_EQ(refused(changed(5, 3), {1, 2}),
              told("element 1: its outline: one of its loops is not closed"));
}

TEST_F(ShapeQuestionsTest, TellsTheWaveOfAMedium) {
    const Arguments medium = with(with(with(value("speed", {1540}), value("frequency", {3e6})),
                                       with(value("attenuation", {0.7}), value("exponent", {1.2}))),
                                  value("dispersionFrequency", {1e6}));
    const Wave wave = waveIn(
        {.speed = 1540, .attenuation = 0.7, .exponent = 1.2, .dispersionFrequency = 1e6}, 3e6);
    EXPECT_EQ(numbersIn(answerTo(with({text("wave")}, medium))),
              (std::vector<double>{wave.wavenumber, wave.attenuation}));
    EXPECT_EQ(refusalOf({text("wave")}), refusal("speed", "speed: is missing"));
    EXPECT_EQ(refusalOf(with(with({text("wave")}, medium), value("nepers", {1}))),
              refusal("nepers", "nepers: give the attenuation or nepers, not both"));
}

/// A question about the outlines' field at points.
Arguments question(const std::string& name, const std::string& baffle,
                   const std::string& quantity) {
    return with(
        with({text(name), doubles({0.5, 3, 7}, {3, 1}), doubles({0, 1, 0}, {3, 1}),
              doubles({2, 4, 3}, {3, 1})},
             elements(table, {1, 2})),
        {doubles({1, 0, 2, 1}, {2, 2}), doubles({0, 1, 0, -1}, {2, 2}), number(0), number(3),
         text("cpu"), number(1e-6), text("largest"), number(0.1), text(baffle), text(quantity)});
}

TEST_F(ShapeQuestionsTest, ComputesEachQuantityInEachBaffle) {
    const Arguments box{doubles({0, 0, 0}, {1, 3}), doubles({3, 1, 1}, {1, 3}), number(0)};
    for (const auto& [baffleName, baffle] :
         {std::pair{"rigid", Baffle::rigid}, {"soft", Baffle::soft}, {"free", Baffle::free}})
        for (const auto& [quantityName, quantity] : {std::pair{"pressure", Quantity::pressure},
                                                     {"velocity", Quantity::velocity},
                                                     {"intensity", Quantity::intensity}}) {
            Request request;
            request.array = Array{sameElements(), {{1, 0}, {0, 1}, {2, 0}, {1, -1}}};
            request.wave = {3, 0.1};
            request.points = PointList{{0.5, 3, 7}, {0, 1, 0}, {2, 4, 3}};
            request.lattice.sizes = {3, 1, 1};
            request.tolerance = Tolerance{1e-6};
            request.baffle = baffle;
            request.quantity = quantity;
            const Plan plan(request);
            const auto fields = static_cast<std::size_t>(request.fields());
            std::vector<std::complex<double>> wanted(3 * fields);
            plan.compute(request.lattice.box(), interleaved(wanted.data(), 3));
            auto* const answer = answerTo(
                with(question("full_field_within_of_list", baffleName, quantityName), box));
            ASSERT_EQ(answer->count(), wanted.size());
            for (std::size_t i = 0; i < wanted.size(); ++i) {
                EXPECT_EQ(host::resultReal(answer)[i], wanted[i].real());
                EXPECT_EQ(host::resultImaginary(answer)[i], wanted[i].imag());
            }
            const auto told = numbersIn(answerTo(
                with(question("full_accuracy_of_list", baffleName, quantityName), {number(0)})));
            const Accuracy accuracy = plan.accuracy().value();
            EXPECT_EQ(std::vector<double>(told.begin(), told.begin() + 3),
                      (std::vector<double>{accuracy.bound, accuracy.error, accuracy.evaluations}));
            EXPECT_EQ(std::string(told.begin() + 3, told.end()), plan.engine());
        }
}

TEST_F(ShapeQuestionsTest, NamesBafflesAndQuantities) {
    EXPECT_EQ(refusalOf(with(question("full_accuracy_of_list", "hard", "pressure"), {number(0)})),
              refusal("baffle", "baffle: 'hard' is none of rigid, soft, free"));
    EXPECT_EQ(refusalOf(with(question("full_accuracy_of_list", "soft", "density"), {number(0)})),
              refusal("quantity", "quantity: 'density' is none of pressure, velocity, intensity"));
    EXPECT_EQ(refusalOf(question("full_accuracy_of_list", "soft", "velocity")),
              refusal("arguments", "arguments: 18 in the place of 19"));
}

}  // namespace
