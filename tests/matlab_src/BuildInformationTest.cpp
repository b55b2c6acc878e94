// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/BuildInformation.h"

#include "tests/matlab_src/GatewayTest.h"
#include "version.h"

using substitute::EventKind;
using substitute::theHost;

namespace {

class BuildInformationTest : public GatewayTest {
  protected:
    static Request info(const std::string& word = "info", int outputs = 0) {
        Request request;
        request.at(0, substitute::text(word)).onlyFirst(1);
        request.outputs = outputs;
        return request;
    }
};

TEST_F(BuildInformationTest, isFourLinesOnTheConsoleEachPrintedByItself) {
    const Outcome outcome = call(info());
    EXPECT_EQ(outcome.ending, Ending::answered);
    const std::vector<std::string> lines = theHost().textsOf(EventKind::print);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[0],
                testing::MatchesRegex(
                    "Compiled on (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
                    "( [1-9]|[12][0-9]|3[01]) [0-9]{4} [0-2][0-9]:[0-5][0-9]:[0-5][0-9]\n"));
    EXPECT_EQ(lines[1], std::string("mercurial id:       ") + version::id + "\n");
    EXPECT_EQ(lines[2], std::string("mercurial datae:    ") + version::date + "\n");
    EXPECT_EQ(lines[3], std::string("mercurial revision: ") + version::revision + "\n");
}

TEST_F(BuildInformationTest, carriesExpandedVersionKeywords) {
    if (std::string(version::revision).find("unknown") != std::string::npos)
        GTEST_SKIP() << "built from a tree without a revision";
    const std::string revision = "[0-9a-f]{12} ";
    const std::string time = "[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} ";
    EXPECT_THAT(version::id,
                testing::MatchesRegex("\\$Id: version\\.h,v " + revision + time + "[^ ]+ \\$"));
    EXPECT_THAT(version::date, testing::MatchesRegex("\\$Date: " + time + "\\$"));
    EXPECT_THAT(version::revision, testing::MatchesRegex("\\$Revision: " + revision + "\\$"));
}

TEST_F(BuildInformationTest, makesNoOutputAndWritesOnNoOtherChannel) {
    const Outcome outcome = call(info());
    EXPECT_EQ(outcome.output, nullptr);
    EXPECT_TRUE(theHost().textsOf(EventKind::creation).empty());
    EXPECT_TRUE(theHost().textsOf(EventKind::standardOutput).empty());
    EXPECT_EQ(outcome.standardError, "");
    expectNothingLeft(outcome);
}

TEST_F(BuildInformationTest, isTheSameInEveryCall) {
    call(info());
    const std::string first = theHost().console();
    call(info());
    EXPECT_EQ(theHost().console(), first);
}

TEST_F(BuildInformationTest, isAskedForByTheExactWordAlone) {
    for (const char* word : {"INFO", "Info", "inf", "info ", " info", "information", ""}) {
        const Outcome outcome = call(info(word));
        EXPECT_EQ(outcome.ending, Ending::refused) << word;
        EXPECT_THAT(outcome.error, testing::StartsWith("Must have five or six input arguments"))
            << word;
        EXPECT_EQ(theHost().console(), "") << word;
    }
}

TEST_F(BuildInformationTest, isRefusedWhenOutputsAreRequested) {
    for (const int outputs : {1, 2}) {
        const Outcome outcome = call(info("info", outputs));
        EXPECT_EQ(outcome.ending, Ending::refused);
        EXPECT_THAT(outcome.error, testing::StartsWith("Must have five or six input arguments"));
        EXPECT_EQ(theHost().console(), "");
    }
}

TEST_F(BuildInformationTest, isRefusedWithAnyFurtherArgument) {
    const Outcome outcome = call(info().more(substitute::text("info")));
    EXPECT_THAT(outcome.error, testing::StartsWith("Must have five or six input arguments"));
}

TEST_F(BuildInformationTest, isNotAskedForByNumbersThatSpellTheWord) {
    Request request;
    request.at(0, substitute::doubles({'i', 'n', 'f', 'o'}, {1, 4})).onlyFirst(1);
    request.outputs = 0;
    EXPECT_THAT(call(request).error, testing::StartsWith("Must have five or six input arguments"));
}

TEST_F(BuildInformationTest, ignoresTheShapeOfTheWord) {
    host::Array* word = substitute::text("info");
    word->dimensions = {4, 1};
    Request request;
    request.at(0, word).onlyFirst(1);
    request.outputs = 0;
    EXPECT_EQ(call(request).ending, Ending::answered);
    EXPECT_EQ(theHost().textsOf(EventKind::print).size(), 4U);
}

}  // namespace
