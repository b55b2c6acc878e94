// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/arrayTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <memory>
#include <numbers>
#include <set>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

#include "tests/arrays/randomElements.h"
#include "tests/support/Refused.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using pistonfield::Arc;
using pistonfield::Array;
using pistonfield::Loop;
using pistonfield::Outline;
using pistonfield::Pose;
using pistonfield::StraightEdge;

Array read(const std::string& text) {
    std::istringstream from(text);
    return pistonfield::readArray(from, "array.csv");
}

std::string refusal(const std::string& text) {
    return refused([&] { read(text); });
}

void expectNear(const Pose::Vector& a, const Pose::Vector& b, double error = 1e-15) {
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(a[axis], b[axis], error);
}

TEST(ArrayTable, ReadsElementsInAPlane) {
    const Array array = read(
        "# two of them\n"
        "x [mm], y [um], width [cm], height [m]\n"
        "1.5, -2000, 0.1, 0.002\r\n"
        "\n"
        "+3,0,1e-1,2e-3\n");
    ASSERT_EQ(array.elements.size(), 2);
    EXPECT_TRUE(array.weights.empty());
    EXPECT_EQ(array.elements[0].piston, (pistonfield::RectangularPiston{0.001, 0.002}));
    EXPECT_EQ(array.elements[0].pose, (Pose{{0.0015, -0.002, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(array.elements[1].pose.centre, (Pose::Vector{0.003, 0, 0}));
}

TEST(ArrayTable, ReadsDirections) {
    const std::string header = "x [m],y [m],z [m],width [m],height [m],normal x,normal y,normal z";
    const auto poseOf = [&](const std::string& more, const std::string& row) {
        return read(header + more + "\n1,2,3,1,1," + row + "\n").elements[0].pose;
    };
    // Of any length, with the width in a plane across y.
    const Pose tilted = poseOf("", "3,0,4");
    expectNear(tilted.normal(), {0.6, 0, 0.8});
    expectNear(tilted.alongWidth, {0.8, 0, -0.6});
    expectNear(tilted.alongHeight, {0, 1, 0});
    const Pose alongY = poseOf("", "0,-2,0");
    expectNear(alongY.normal(), {0, -1, 0});
    expectNear(alongY.alongWidth, {1, 0, 0});
    // The digits that are written leave a right angle nearly one.
    const double s = std::sqrt(0.5);
    const Pose turned = poseOf(",along x,along y,along z", "0,0,1,0.7071,0.7072,0.0001");
    expectNear(turned.normal(), {0, 0, 1});
    expectNear(turned.alongWidth, {s, s, 0}, 1e-4);
    EXPECT_EQ(turned.alongWidth[2], 0);
    EXPECT_NEAR(std::hypot(turned.alongWidth[0], turned.alongWidth[1]), 1, 1e-15);
    const Pose upright = poseOf(",along x,along y,along z,up x,up y,up z", "0,0,1,0,1,0,-1,0,0");
    EXPECT_EQ(upright, (Pose{{1, 2, 3}, {0, 1, 0}, {-1, 0, 0}}));
}

TEST(ArrayTable, ReadsWeights) {
    const auto weightOf = [](const std::string& names, const std::string& numbers) {
        return read("X [m],Y [m],Width [m],Height [m]," + names + "\n0,0,1,1," + numbers + "\n")
            .weights.at(0);
    };
    EXPECT_EQ(weightOf("re,im", "1.5,-2"), std::complex<double>(1.5, -2));
    EXPECT_EQ(weightOf("amplitude", "3"), 3.0);
    EXPECT_NEAR(std::abs(weightOf("phase [deg]", "90") - std::complex<double>(0, 1)), 0, 1e-15);
    EXPECT_NEAR(std::abs(weightOf("phase [rad], amplitude", "-0.25,2") - std::polar(2.0, -0.25)), 0,
                1e-15);
}

TEST(ArrayTable, IsReadAsItIsWritten) {
    Array array{randomElements(50, 3, 7), {}};
    for (std::size_t i = 0; i < 50; ++i)
        array.weights.emplace_back(std::sqrt(static_cast<double>(i)),
                                   -1.0 / 3 * std::pow(10, i % 9));
    for (const bool hasWeights : {true, false}) {
        if (!hasWeights) array.weights.clear();
        std::stringstream text;
        pistonfield::writeArray(text, array);
        EXPECT_EQ(pistonfield::readArray(text, "text"), array);
    }
}

TEST(ArrayTable, OfOutlinesIsReadAsItIsWritten) {
    Array array{randomElements(12, 3, 7), {}};
    const auto ring = std::make_shared<const Outline>(pistonfield::ringOutline(1.0 / 3, 5.0 / 7));
    const auto corners = std::make_shared<const Outline>(
        pistonfield::polygonOutline({{-1.0 / 3, 0}, {0.1, -1e-9}, {2.0 / 7, 1}}));
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        if (i % 3 == 0) continue;
        array.elements[i].piston = {};
        array.elements[i].outline = i % 3 == 1 ? ring : corners;
    }
    Array shaped = array;
    std::erase_if(shaped.elements, [](const auto& element) { return !element.outline; });
    shaped.weights.assign(shaped.elements.size(), {1.0 / 3, -2});
    for (const Array& each : {array, shaped}) {
        std::stringstream text;
        pistonfield::writeArray(text, each);
        const Array found = pistonfield::readArray(text, "text");
        EXPECT_EQ(found, each);
        // Equal outlines are one.
        std::set<const Outline*> outlines;
        for (const auto& element : found.elements)
            if (element.outline) outlines.insert(element.outline.get());
        EXPECT_EQ(outlines.size(), 2);
    }
}

TEST(ArrayTable, ReadsOutlinesInTheirUnit) {
    const Array array =
        read("x [m],y [m],outline [mm]\n1,2,0 0 3 0 3.5;0 0 3 3.5 2.75 / 1 2 3 4\n");
    const Outline& outline = *array.elements.front().outline;
    ASSERT_EQ(outline.loops.size(), 2);
    EXPECT_EQ(outline.loops[0], (Loop{Arc{{0, 0}, 3e-3, 0, 3.5}, Arc{{0, 0}, 3e-3, 3.5, 2.75}}));
    EXPECT_EQ(outline.loops[1], (Loop{StraightEdge{{1e-3, 2e-3}, {3e-3, 4e-3}}}));
}

TEST(ArrayTable, NamesTheCellOfAnOutlineThatIsNone) {
    const auto row = [](const std::string& text) {
        return refusal("x [m],y [m],outline [mm]\n" + text);
    };
    const std::string cell = "elements: array.csv, line 2, column 3 (outline [mm]): ";
    EXPECT_EQ(row("0,0,"), cell + "is empty, and there are no columns width and height");
    EXPECT_EQ(row("0,0,1 2 3"), cell +
                                    "an edge is the 4 numbers of a straight one or the 5 of an "
                                    "arc, and not 3");
    EXPECT_EQ(row("0,0,1 2 3 4;"), cell +
                                       "an edge is the 4 numbers of a straight one or the 5 of "
                                       "an arc, and not 0");
    EXPECT_EQ(row("0,0,1 2 x 4"), cell + "'x' is no number");
    EXPECT_EQ(refusal("x [m],y [m],outline [m],width [m]\n"),
              "elements: array.csv, line 1: there is no column height, but others of its kind");
}

TEST(ArrayTable, WritesOneWeighting) {
    std::ostringstream text;
    const Array array{randomElements(2, 1, 1), {1, 2, 3, 4}};
    EXPECT_EQ(refused([&] { writeArray(text, array); }),
              "weights: a table has one for each element, or none");
}

TEST(ArrayTable, NamesLineAndColumnOfWhatIsWrong) {
    const std::string header = "# probe\nx [mm],y [mm],width [mm],height [mm]\n";
    const auto row = [&](const std::string& text) { return refusal(header + "0,0,1,1\n" + text); };
    EXPECT_EQ(row(""), "no failure");
    EXPECT_EQ(row("0,zero,1,1"),
              "elements: array.csv, line 4, column 2 (y [mm]): 'zero' is no number");
    EXPECT_EQ(row("0,,1,1"), "elements: array.csv, line 4, column 2 (y [mm]): '' is no number");
    EXPECT_EQ(row("0,0,1,nan"),
              "elements: array.csv, line 4, column 4 (height [mm]): 'nan' is no number");
    EXPECT_EQ(row("0,0,1.0.0,1"),
              "elements: array.csv, line 4, column 3 (width [mm]): '1.0.0' is no number");
    EXPECT_EQ(row("0,0,-1,1"),
              "elements: array.csv, line 4, column 3 (width [mm]): must be above 0");
    EXPECT_EQ(row("0,0,1"), "elements: array.csv, line 4: there are 3 cells for 4 columns");
    EXPECT_EQ(row("0,0,1,1,"), "elements: array.csv, line 4: there are 5 cells for 4 columns");
}

TEST(ArrayTable, ReadsQuotedCells) {
    const Array array = read(
        "\"x [mm]\",\"y [mm]\" , \"width [mm]\",height [mm]\n"
        "\"1\",2, \" 3 \" ,4\n");
    ASSERT_EQ(array.elements.size(), 1);
    EXPECT_EQ(array.elements[0].piston, (pistonfield::RectangularPiston{0.003, 0.004}));
    EXPECT_EQ(array.elements[0].pose.centre, (Pose::Vector{0.001, 0.002, 0}));
    const std::string wrong =
        "elements: array.csv, line 1: quotes begin and end with a cell, and two stand for one "
        "inside";
    EXPECT_EQ(refusal("\"x [mm]\n"), wrong);
    EXPECT_EQ(refusal("\"x [mm]\" mm,y\n"), wrong);
    EXPECT_EQ(refusal("\"x, or \"\"y\"\" [mm]\"\n"),
              "elements: array.csv, line 1, column 1: 'x, or \"y\" [mm]' is no column of an array");
    EXPECT_EQ(refusal("\n\"\"\n"),
              "elements: array.csv, line 2, column 1: '' is no column of an "
              "array");
}

TEST(ArrayTable, ShowsWhatIsNoTextInOneShortLine) {
    const std::string at = "elements: array.csv, line 1, column 1: '";
    EXPECT_EQ(refusal(std::string("x\0y\rz", 5)), at + "x?y?z' is no column of an array");
    EXPECT_EQ(refusal(std::string(1000, 'x')),
              at + std::string(60, 'x') + "...' is no column of an array");
    for (const std::string mark : {"\xFF\xFEx", "\xFE\xFFx"})
        EXPECT_EQ(refusal(mark),
                  "elements: array.csv: it is a text in UTF-16, which is to be in UTF-8");
}

/// A line over and over again.
class EndlessSource : public std::streambuf {
  public:
    explicit EndlessSource(std::string text) : line(std::move(text)) {}

  private:
    int_type underflow() override {
        setg(line.data(), line.data(), line.data() + line.size());
        return traits_type::to_int_type(line.front());
    }

    std::string line;
};

/// Why a text over and over again is refused.
std::string endless(const std::string& text) {
    EndlessSource source(text);
    std::istream from(&source);
    return refused([&] { pistonfield::readArray(from, "array.csv"); });
}

TEST(ArrayTable, RefusesAnEndlessLine) {
    EXPECT_EQ(endless("x"), "elements: array.csv, line 1: it has more than 1048576 characters");
}

TEST(ArrayTable, RefusesMoreElementsThanAnArrayHas) {
    std::string text = "x [m],y [m],width [m],height [m]\n";
    for (std::size_t i = 0; i < Array::mostElements; ++i) text += "0,0,1,1\n";
    EXPECT_EQ(read(text).elements.size(), Array::mostElements);
    EXPECT_EQ(refusal(text + "# more\nno row\n"),
              "elements: array.csv, line 1000003: there are more than 1000000 elements");
}

TEST(ArrayTable, RefusesColumnsItDoesNotKnow) {
    EXPECT_EQ(refusal(""), "elements: array.csv: there is no line of columns' names");
    EXPECT_EQ(refusal("x [m],y [m],width [m],height [m]\n"),
              "elements: array.csv: there are no elements");
    const auto header = [](const std::string& text) { return refusal(text + "\n"); };
    EXPECT_EQ(header("x [m],y [m],width [m]"),
              "elements: array.csv, line 1: there is no column height");
    EXPECT_EQ(
        header("x [m],y [inch],width [m]"),
        "elements: array.csv, line 1, column 2: its name is to end with its unit, one of [m], "
        "[cm], [mm], [um]");
    EXPECT_EQ(
        header("x"),
        "elements: array.csv, line 1, column 1: its name is to end with its unit, one of [m], "
        "[cm], [mm], [um]");
    EXPECT_EQ(header("phase [m]"),
              "elements: array.csv, line 1, column 1: its name is to end with its unit, one of "
              "[deg], [rad]");
    EXPECT_EQ(header("re [m]"), "elements: array.csv, line 1, column 1: it has no unit");
    EXPECT_EQ(header("x [m],breadth [m]"),
              "elements: array.csv, line 1, column 2: 'breadth [m]' is no column of an array");
    EXPECT_EQ(header("x [m],X [mm]"), "elements: array.csv, line 1, column 2: 'x' is there twice");
    const std::string needed = "x [m],y [m],width [m],height [m],";
    EXPECT_EQ(header(needed + "normal x,normal z"),
              "elements: array.csv, line 1: there is no column normal y, but others of its kind");
    EXPECT_EQ(header(needed + "re"),
              "elements: array.csv, line 1: there is no column im, but others of its kind");
    EXPECT_EQ(header(needed + "up x,up y,up z"),
              "elements: array.csv, line 1: columns up need columns along");
    EXPECT_EQ(header(needed + "re,im,amplitude"),
              "elements: array.csv, line 1: weights are either re, im or amplitude, phase");
}

TEST(ArrayTable, RefusesDirectionsThatAreNone) {
    const std::string header = "x [m],y [m],width [m],height [m],";
    const auto row = [&](const std::string& names, const std::string& numbers) {
        return refusal(header + names + "\n0,0,1,1," + numbers + "\n");
    };
    const std::string normal = "normal x,normal y,normal z";
    const std::string along = "along x,along y,along z";
    const std::string up = "up x,up y,up z";
    const std::string at = "elements: array.csv, line 2, column ";
    EXPECT_EQ(row(normal, "0,0,0"), at + "5 (normal x): the direction has no length");
    EXPECT_EQ(row(along, "0.1,0,1"), at + "5 (along x): is not at a right angle to the normal");
    EXPECT_EQ(row(along + "," + up, "1,0,0,0.1,1,0"),
              at + "8 (up x): is not at a right angle to along");
    EXPECT_EQ(row(along + "," + up + "," + normal, "1,0,0,0,1,0,0,0,-1"),
              at + "11 (normal x): is not along cross up");
    EXPECT_EQ(row("amplitude", "-1"), at + "5 (amplitude): must not be below 0");
}

/// A source that fails after its first line.
class BrokenSource : public std::streambuf {
  public:
    explicit BrokenSource(std::string& line) {
        setg(line.data(), line.data(), line.data() + line.size());
    }

  private:
    int_type underflow() override { throw std::runtime_error("the disk is gone"); }
};

TEST(ArrayTable, OfWhichARestCannotBeReadIsRefused) {
    std::string header = "x [m],y [m],width [m],height [m]\n";
    BrokenSource source(header);
    std::istream from(&source);
    EXPECT_EQ(refused([&] { pistonfield::readArray(from, "array.csv"); }),
              "elements: array.csv: it cannot be read");
}

TEST(ArrayTable, IsReadFromAFile) {
    const TemporaryFolder folder;
    const auto path = folder / "probe.csv";
    std::ofstream(path) << "\xEF\xBB\xBFx [m],y [m],width [m],height [m]\n0,0,1,1\n";
    EXPECT_EQ(pistonfield::readArrayFile(path.string()).elements.size(), 1);
    const std::string missing = (folder / "none.csv").string();
    EXPECT_EQ(refused([&] { pistonfield::readArrayFile(missing); }),
              "elements: " + missing + ": it cannot be read");
}

}  // namespace
