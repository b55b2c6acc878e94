// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/xdmf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "tests/run/FieldFiles.h"
#include "tests/run/NoMoreFiles.h"
#include "tests/support/Captured.h"
#include "tests/support/Refused.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The text between an element's tags and in its attributes is free of what begins others, and all
/// elements are closed in turn.
bool isWellFormed(const std::string& xml) {
    const std::regex tag(R"(<(/?)([A-Za-z]+)((?: [A-Za-z]+="[^"<&]*")*)(/?)>)");
    const std::string head = "<?xml version=\"1.0\"?>\n";
    if (!xml.starts_with(head)) return false;
    std::vector<std::string> open;
    int roots = 0;
    auto end = xml.begin() + static_cast<std::ptrdiff_t>(head.size());
    for (std::sregex_iterator i(end, xml.end(), tag), last; i != last; ++i) {
        const std::string between(end, (*i)[0].first);
        end = (*i)[0].second;
        const std::string text = std::regex_replace(between, std::regex("&(amp|lt|gt);"), "");
        if (text.find_first_of("<&") != std::string::npos) return false;
        if ((*i)[1].length() > 0) {
            if (open.empty() || open.back() != (*i)[2]) return false;
            open.pop_back();
        } else {
            roots += open.empty() ? 1 : 0;
            if ((*i)[4].length() == 0) open.push_back((*i)[2]);
        }
    }
    return open.empty() && roots == 1 && std::string(end, xml.end()) == "\n";
}

/// The texts of the elements DataItem: origin, steps, and the values' place.
std::vector<std::string> items(const std::string& xml) {
    const std::regex item("<DataItem[^>]*>([^<]*)</DataItem>");
    std::vector<std::string> texts;
    for (std::sregex_iterator i(xml.begin(), xml.end(), item), last; i != last; ++i)
        texts.push_back((*i)[1]);
    return texts;
}

std::vector<double> numbers(const std::string& text) {
    std::istringstream in(text);
    std::vector<double> values;
    for (double value = 0; in >> value;) values.push_back(value);
    return values;
}

struct ViewerFiles : FieldFiles {
    std::string written(const run::Layout& layout) const {
        run::writeXdmf(path, layout);
        return contents(path.string() + ".xdmf");
    }
};

TEST_F(ViewerFiles, PlaceALatticeAlongTheAxes) {
    // Slowest first; the transform's last element is 2.
    const std::string xml = written(smallLayout());
    EXPECT_TRUE(isWellFormed(xml));
    ASSERT_EQ(items(xml).size(), 3U);
    EXPECT_THAT(numbers(items(xml)[0]), ElementsAre(0.1 / 2, -0.4 / 2, -0.3 / 2));
    EXPECT_THAT(numbers(items(xml)[1]), ElementsAre(0.3 / 2, 0.07 / 2, 0.05 / 2));
    EXPECT_EQ(items(xml)[2], "field.h5:/magnitude");
    EXPECT_THAT(xml, HasSubstr("TopologyType=\"3DCoRectMesh\" Dimensions=\"4 5 7\""));
    EXPECT_THAT(xml, HasSubstr("NumberType=\"Float\" Precision=\"4\" Dimensions=\"4 5 7\""));
    EXPECT_THAT(xml, testing::Not(HasSubstr("frame")));
}

TEST_F(ViewerFiles, PlaceAPartWhereItIsInTheLattice) {
    run::Layout layout = smallLayout();
    layout.box = {{1, 0, 2}, {6, 5, 2}};
    const std::string xml = written(layout);
    EXPECT_THAT(numbers(items(xml)[0]),
                ElementsAre(0.1 / 2 + 2 * (0.3 / 2), -0.4 / 2, -0.3 / 2 + 0.05 / 2));
    EXPECT_THAT(xml, HasSubstr("Dimensions=\"2 5 6\""));
}

TEST_F(ViewerFiles, PlaceATurnedLatticeInItsOwnFrame) {
    run::Layout layout = smallLayout();
    layout.request.lattice.transform = {3, 0, 0, 7, 4, 0, 0, 7, 0, 12, -5, 7, 0, 0, 0, 1};
    layout.box = {{0, 2, 0}, {7, 3, 4}};
    const std::string xml = written(layout);
    EXPECT_TRUE(isWellFormed(xml));
    EXPECT_THAT(numbers(items(xml)[0]), ElementsAre(0, 24, 0));
    EXPECT_THAT(numbers(items(xml)[1]), ElementsAre(5, 12, 5));
    EXPECT_THAT(xml, HasSubstr("Name=\"field, in the frame of its lattice\""));
}

TEST_F(ViewerFiles, TakeDirectionsAgainstTheAxesForTurned) {
    run::Layout layout = smallLayout();
    layout.request.lattice.transform[0] = -0.05;
    EXPECT_THAT(written(layout), HasSubstr("frame"));
}

TEST_F(ViewerFiles, NameAFileOfAnyName) {
    path = folder / "a&b <1>.h5";
    const std::string xml = written(smallLayout());
    EXPECT_TRUE(isWellFormed(xml));
    EXPECT_THAT(items(xml)[2],
                testing::AnyOf("a&amp;b &lt;1>.h5:/magnitude", "a&amp;b &lt;1&gt;.h5:/magnitude"));
}

TEST_F(ViewerFiles, AreNotWrittenForNamesThatViewersCut) {
    path = folder / "a:b.h5";
    const Printed printed = captured([&] { run::writeXdmf(path, smallLayout()); });
    EXPECT_THAT(printed.out, HasSubstr("there is no " + path.string() + ".xdmf"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST_F(ViewerFiles, AreReplacedByLaterOnes) {
    const std::string before = written(smallLayout());
    run::Layout layout = smallLayout();
    layout.request.lattice.transform[0] = 1;
    EXPECT_NE(written(layout), before);
    setContents(path.string() + ".xdmf", "");
    EXPECT_EQ(written(smallLayout()), before);
}

TEST_F(ViewerFiles, OfOthersAreLeftAlone) {
    const std::filesystem::path other = path.string() + ".xdmf";
    for (const std::string text :
         {"precious", "<?xml version=\"1.0\"?>\n<Xdmf Version=\"2.0\">\n"}) {
        setContents(other, text);
        EXPECT_EQ(refused([&] { run::writeXdmf(path, smallLayout()); }),
                  other.string() + " exists, and is no file of this program");
        EXPECT_EQ(contents(other), text);
    }
    run::writeXdmf(path, smallLayout(), /*overwrite=*/true);
    EXPECT_TRUE(isWellFormed(contents(other)));
}

TEST_F(ViewerFiles, ThatCannotBeReadAreLeftAlone) {
    const std::filesystem::path other = path.string() + ".xdmf";
    setContents(other, "precious");
    {
        const NoMoreFiles limit;
        EXPECT_EQ(refused([&] { run::mayReplaceXdmf(other); }),
                  other.string() + " cannot be opened: Too many open files");
    }
    EXPECT_EQ(contents(other), "precious");
}

TEST_F(ViewerFiles, ThatCannotBeWrittenSaySo) {
    path = folder / "none" / "field.h5";
    EXPECT_EQ(refused([&] { run::writeXdmf(path, smallLayout()); }),
              path.string() + ".xdmf cannot be written: No such file or directory");
}

}  // namespace
