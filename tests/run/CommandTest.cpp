// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <limits>
#include <sstream>

#include "run/commands/notes.h"
#include "run/commands/options.h"
#include "run/commands/partNames.h"
#include "run/commands/readTable.h"
#include "run/commands/readText.h"
#include "run/file/revision.h"
#include "tests/support/Refused.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using pistonfield::Mode;

using run::Answer;
using run::Command;
using run::ComputeCommand;
using run::Part;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::StartsWith;

using Words = std::vector<std::string>;

Command read(const Words& words) {
    return run::readCommand(words, {&run::readText, &run::readTable});
}

/// A command line that says how to compute; the test fails where it does not.
ComputeCommand computing(const Words& words) { return std::get<ComputeCommand>(read(words)); }

/// The complaint about a command line.
std::string complaint(const Words& words) {
    return refused([&] { static_cast<void>(read(words)); });
}

constexpr std::array<double, 16> transform{1e-4, 0, 0,    -5e-3, 0, 1e-4, 0, -.25,
                                           0,    0, 2e-4, 1e-3,  0, 0,    0, 1};

/// A request with all that it needs, and an output.
Words complete(const Words& more = {}) {
    Words words{"--transform", "1e-4", "0",    "0",     "-5e-3", "0",  "1e-4",   "0",  "-.25",
                "0",           "0",    "2e-4", "+1e-3", "0",     "0",  "0",      "1",  "--sizes",
                "100",         "90",   "70",   "-l",    "5e-3",  "-s", "7.5e-3", "-k", "4188.79"};
    words.insert(words.end(), more.begin(), more.end());
    words.emplace_back("field.h5");
    return words;
}

void expectTheField(const pistonfield::Request& request) {
    EXPECT_EQ(request.lattice.transform, transform);
    EXPECT_THAT(request.lattice.sizes, ElementsAre(100, 90, 70));
    EXPECT_EQ(request.piston.height, 5e-3);
    EXPECT_EQ(request.piston.width, 7.5e-3);
    EXPECT_EQ(request.wave.wavenumber, 4188.79);
}

// --- a field to compute

TEST(CommandLine, HasAFieldAndTheUsualWork) {
    const ComputeCommand command = computing(complete());
    expectTheField(command.request);
    EXPECT_EQ(command.request.mode, Mode::cpu);
    EXPECT_EQ(command.request.rule.order, 10);
    EXPECT_THAT(command.request.rule.table, testing::IsEmpty());
    EXPECT_EQ(command.output, "field.h5");
    EXPECT_THAT(command.given,
                ElementsAre(Pair("k", "-k"), Pair("l", "-l"), Pair("s", "-s"),
                            Pair("sizes", "--sizes"), Pair("transform", "--transform")));
    EXPECT_EQ(command.part, std::nullopt);
    EXPECT_EQ(command.slabPoints, std::nullopt);
    EXPECT_EQ(command.threads, std::nullopt);
    EXPECT_EQ(command.deflate, 0);
    EXPECT_TRUE(command.magnitude);
    EXPECT_FALSE(command.resume || command.onlyEstimate);
    EXPECT_NO_THROW(checkComplete(command));
}

TEST(CommandLine, ChangesTheUsualWork) {
    const ComputeCommand command =
        computing(complete({"--mode", "cpusp", "--order", "32", "--slab", "1000", "--threads", "3",
                            "--compress", "4", "--resume", "--estimate", "--no-magnitude"}));
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_EQ(command.request.rule.order, 32);
    EXPECT_EQ(command.slabPoints, 1000);
    EXPECT_EQ(command.threads, 3U);
    EXPECT_EQ(command.deflate, 4);
    EXPECT_FALSE(command.magnitude);
    EXPECT_TRUE(command.resume && command.onlyEstimate);
    EXPECT_TRUE(command.given.contains("mode") && command.given.contains("order"));
}

TEST(CommandLine, TakesTwoNamesOfDoublePrecisionForOne) {
    EXPECT_EQ(computing(complete({"--mode", "cpudp"})).request.mode, Mode::cpu);
}

TEST(CommandLine, MayHaveTheOutputFirst) {
    Words words = complete();
    words.pop_back();
    words.insert(words.begin(), "first.h5");
    EXPECT_EQ(computing(words).output, "first.h5");
}

TEST(CommandLine, WithTooFewOrOddNumbersIsRefused) {
    EXPECT_THAT(complaint({"--sizes", "3", "4", "--mode", "cpu", "f.h5"}), HasSubstr("--sizes"));
    EXPECT_THAT(complaint({"--sizes", "3", "4", "5.5", "f.h5"}), HasSubstr("--sizes"));
    EXPECT_THAT(complaint({"--transform", "1", "2", "--mode", "cpu", "f.h5"}),
                HasSubstr("--transform"));
    EXPECT_THAT(complaint({"-k", "many", "f.h5"}), HasSubstr("-k"));
}

TEST(CommandLine, OutsideOfARangeIsRefused) {
    EXPECT_THAT(complaint(complete({"--slab", "0"})), HasSubstr("--slab"));
    EXPECT_THAT(complaint(complete({"--slab", "134217729"})), HasSubstr("--slab"));
    EXPECT_THAT(complaint(complete({"--compress", "10"})), HasSubstr("--compress"));
}

TEST(CommandLine, WithoutOutputOrWithTooMuchIsRefused) {
    EXPECT_THAT(complaint({}), StartsWith("output is required;"));
    EXPECT_THAT(complaint(complete({"--order", "3", "--bogus"})), HasSubstr("--bogus"));
    EXPECT_THAT(complaint({"a.h5", "b.h5"}), HasSubstr("b.h5"));
}

TEST(CommandLine, NamesTheOptionThatIsMissing) {
    const std::vector<std::pair<std::string, std::size_t>> needed{
        {"--transform", 17}, {"--sizes", 4}, {"-l", 2}, {"-s", 2}, {"-k", 2}};
    for (const auto& [name, length] : needed) {
        Words words = complete();
        const auto at = std::find(words.begin(), words.end(), name);
        words.erase(at, at + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(refused([&] { checkComplete(computing(words)); }),
                  name + " is missing, and there is no field.h5 to go on with");
    }
}

TEST(CommandLine, ChecksARequestThatIsComplete) {
    EXPECT_EQ(refused([] {
                  checkComplete(computing(complete({"--order", "0"})));
              }),
              "--order: 0 is not within 1 to 18000 of the mode cpu");
}

// --- a tolerance

TEST(CommandLine, HasATolerance) {
    const ComputeCommand command = computing(complete({"--tolerance", "1e-6"}));
    expectTheField(command.request);
    EXPECT_EQ(command.request.tolerance,
              (pistonfield::Tolerance{1e-6, pistonfield::Tolerance::Of::largest}));
    EXPECT_EQ(command.request.mode, Mode::cpu);
    EXPECT_FALSE(command.request.behind);
    EXPECT_TRUE(command.given.contains("tolerance"));
    EXPECT_NO_THROW(checkComplete(command));
    EXPECT_EQ(computing(complete()).request.tolerance, std::nullopt);
}

TEST(CommandLine, HasWhatAToleranceIsRelativeToAndItsPrecision) {
    const ComputeCommand command = computing(complete(
        {"--tolerance", "0.001", "--relative", "local", "--precision", "single", "--behind"}));
    EXPECT_EQ(command.request.tolerance,
              (pistonfield::Tolerance{1e-3, pistonfield::Tolerance::Of::local}));
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_TRUE(command.request.behind);
    const ComputeCommand usual = computing(
        complete({"--precision", "double", "--relative", "largest", "--tolerance", "0.001"}));
    EXPECT_EQ(usual.request.tolerance->of, pistonfield::Tolerance::Of::largest);
    EXPECT_EQ(usual.request.mode, Mode::cpu);
}

TEST(CommandLine, HasWhatComputesWithATolerance) {
    const auto modeOf = [](const Words& more) {
        Words words{"--tolerance", "0.001"};
        words.insert(words.end(), more.begin(), more.end());
        const ComputeCommand command = computing(complete(words));
        EXPECT_NO_THROW(checkComplete(command));
        return command.request.mode;
    };
    EXPECT_EQ(modeOf({"--device", "gpu"}), Mode::cudadp);
    EXPECT_EQ(modeOf({"--device", "gpu", "--precision", "single"}), Mode::cuda);
    EXPECT_EQ(modeOf({"--precision", "single", "--device", "cpu"}), Mode::cpusp);
    EXPECT_EQ(modeOf({"--device", "cpu"}), Mode::cpu);
}

TEST(CommandLine, HasLossesAndABaffle) {
    const ComputeCommand command =
        computing(complete({"--tolerance", "1e-6", "--attenuation", "2.5", "--baffle", "free"}));
    EXPECT_EQ(command.request.wave.attenuation, 2.5);
    EXPECT_EQ(command.request.baffle, pistonfield::Baffle::free);
    EXPECT_NO_THROW(checkComplete(command));
    const ComputeCommand usual = computing(complete({"--tolerance", "1e-6"}));
    EXPECT_EQ(usual.request.wave.attenuation, 0);
    EXPECT_EQ(usual.request.baffle, pistonfield::Baffle::rigid);
    EXPECT_EQ(contradiction(command, usual.request), "--attenuation");
    pistonfield::Request other = command.request;
    other.baffle = pistonfield::Baffle::soft;
    EXPECT_EQ(contradiction(command, other), "--baffle");
    EXPECT_EQ(contradiction(usual, command.request), std::nullopt);
}

TEST(CommandLine, WithAToleranceThatIsNoneIsRefused) {
    EXPECT_EQ(complaint(complete({"--tolerance", "small"})), "--tolerance: 'small' is no number");
    EXPECT_EQ(complaint(complete({"--relative", "all"})),
              "--relative: 'all' is none of largest, local");
    EXPECT_EQ(complaint(complete({"--precision", "half"})),
              "--precision: 'half' is none of double, single");
    EXPECT_EQ(complaint(complete({"--device", "cuda"})), "--device: 'cuda' is none of cpu, gpu");
    for (const char* value : {"0", "-1e-4", "1", "nan"})
        EXPECT_EQ(refused([&] {
                      checkComplete(computing(complete({"--tolerance", value})));
                  }),
                  "--tolerance: must be above 0 and below 1");
}

TEST(CommandLine, WithTheOptionsOfAToleranceAndNoneIsRefused) {
    const std::vector<Words> options{
        {"--relative", "local"}, {"--precision", "double"}, {"--device", "cpu"}, {"--behind"}};
    for (const Words& words : options)
        EXPECT_EQ(refused([&] { checkComplete(computing(complete(words))); }),
                  words.front() + " goes with a tolerance, and there is none");
}

TEST(CommandLine, WithAToleranceAndAModeOrARuleIsRefused) {
    const std::vector<Words> tolerances{{"--tolerance", "1e-4"},
                                        {"--relative", "local"},
                                        {"--precision", "double"},
                                        {"--device", "gpu"},
                                        {"--behind"}};
    const std::vector<Words> others{{"--mode", "cpu"}, {"--order", "9"}, {"--table", "0 2"}};
    for (const Words& one : tolerances)
        for (const Words& other : others) {
            Words words = one;
            words.insert(words.end(), other.begin(), other.end());
            EXPECT_EQ(complaint(complete(words)), other.front() + " excludes " + one.front());
        }
}

// --- parts

TEST(Part, HasAFileOfItsOwn) {
    const ComputeCommand command = computing(complete({"--part", "3/10"}));
    EXPECT_EQ(command.part, (Part{3, 10}));
    EXPECT_EQ(command.output, "field.part-03-of-10.h5");
    EXPECT_EQ(computing({"--part", "1/1", "data/f.h5"}).output, "data/f.part-1-of-1.h5");
    EXPECT_EQ(computing({"--part", "12/1000", "f"}).output, "f.part-0012-of-1000");
}

TEST(Part, IsToldByItsName) {
    EXPECT_EQ(run::partNamed("a/field.part-03-of-10.h5"), (Part{3, 10}));
    EXPECT_EQ(run::partNamed("f.part-1-of-2.part-2-of-2"), (Part{1, 2}));
    for (const char* name : {"field.h5", "field.part-3.h5", "field.part-0-of-3.h5", "part-1-of-2",
                             "field.part-4-of-3.h5", "field.part-x-of-3.h5", "f.part-1-of-.h5"})
        EXPECT_EQ(run::partNamed(name), std::nullopt) << name;
}

TEST(Part, OfAnotherFormIsRefused) {
    for (const std::string text :
         {"3", "3/", "/3", "0/3", "4/3", "-1/3", "1/3x", "1:3", "a/b", "1/99999999999999999999"})
        EXPECT_THAT(complaint({"--part=" + text, "f.h5"}),
                    StartsWith("--part: '" + text + "' is not of the form 3/10"));
}

// --- files

struct CommandFiles : testing::Test {
    std::string file(const std::string& text) const {
        setContents(folder / "file", text);
        return folder / "file";
    }
    TemporaryFolder folder;
};

TEST_F(CommandFiles, TableIsTheRule) {
    const ComputeCommand command = computing(complete({"--table", file("-0.5 1e0\n 0.5\t1\n")}));
    EXPECT_THAT(command.request.rule.table, ElementsAre(-0.5, 1, 0.5, 1));
    EXPECT_EQ(command.request.rule.order, 2);
    EXPECT_TRUE(command.given.contains("table"));
    EXPECT_FALSE(command.given.contains("order"));
}

TEST_F(CommandFiles, TableMayStandInTheOptionItself) {
    EXPECT_THAT(computing(complete({"--table", " -0.5 1e0  .5 1 "})).request.rule.table,
                ElementsAre(-0.5, 1, 0.5, 1));
}

TEST_F(CommandFiles, TableThatIsNoneIsRefused) {
    const std::vector<std::pair<std::string, std::string>> tables{
        {"", ": is no list of abscissas and weights: it has 0 numbers"},
        {"1 2 3", ": is no list of abscissas and weights: it has 3 numbers"},
        {"1 2\n3 three", ":2: 'three' is no number"},
        {"1, 2", ":1: '1,' is no number"},
        {"1 1e400", ":1: '1e400' is beyond the range of double precision"}};
    for (const auto& [text, reason] : tables) {
        const std::string name = file(text);
        EXPECT_EQ(complaint(complete({"--table", name})), "--table: " + name + reason);
    }
    EXPECT_EQ(complaint(complete({"--table", "/nowhere"})),
              "--table: /nowhere: No such file or directory");
    EXPECT_EQ(complaint(complete({"--table", "1 2 3"})),
              "--table: is no list of abscissas and weights: it has 3 numbers");
    EXPECT_EQ(complaint(complete({"--table", file("0 2"), "--order", "1"})),
              "--table excludes --order");
}

constexpr const char* toml = R"(# A field before the piston.
transform = [1e-4, 0, 0, -5e-3,   # x
             0, 1e-4, 0, -0.25,
             0, 0, 2e-4, 1e-3,
             0, 0, 0, 1]
sizes = [100, 90, 70]             # points
l = 5e-3
s = 7.5e-3
k = 4188.79
mode = "cpusp"
order = 12

# The work.
output = "field.h5"
part = "2/3"
slab = 1000
compress = 9
resume = true
estimate = true
no-magnitude = true
)";

TEST(CommandLine, OptionsOfSeveralNumbersLeaveTheOutputAlone) {
    EXPECT_EQ(computing({"--sizes", "3", "4", "5", "f.h5"}).output, "f.h5");
}

TEST_F(CommandFiles, RequestHasWhatTheCommandLineHas) {
    const ComputeCommand command = computing({"--request", file(toml)});
    expectTheField(command.request);
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_EQ(command.request.rule.order, 12);
    EXPECT_EQ(command.part, (Part{2, 3}));
    EXPECT_EQ(command.output, "field.part-2-of-3.h5");
    EXPECT_EQ(command.slabPoints, 1000);
    EXPECT_EQ(command.deflate, 9);
    EXPECT_TRUE(command.resume && command.onlyEstimate && !command.magnitude);
    EXPECT_EQ(command.given.size(), 7U);
    EXPECT_NO_THROW(checkComplete(command));
}

TEST_F(CommandFiles, RequestNamesATable) {
    setContents(folder / "rule.txt", "0 2");
    const ComputeCommand command = computing(
        {"--request", file("table = \"" + (folder / "rule.txt").string() + "\"\n"), "f.h5"});
    EXPECT_THAT(command.request.rule.table, ElementsAre(0, 2));
    EXPECT_TRUE(command.given.contains("table"));
}

TEST_F(CommandFiles, CommandLineCountsBeforeTheRequest) {
    const ComputeCommand command =
        computing({"--request", file(toml), "--order", "7", "--part", "1/2", "other.h5"});
    EXPECT_EQ(command.request.rule.order, 7);
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_EQ(command.output, "other.part-1-of-2.h5");
}

TEST_F(CommandFiles, RequestMayHaveATableInPlace) {
    for (const char* text : {"table = [0, 2]\n", "table = \"0 2\"\n"})
        EXPECT_THAT(computing({"--request", file(text), "f.h5"}).request.rule.table,
                    ElementsAre(0, 2));
}

TEST_F(CommandFiles, RuleOfTheCommandLineCountsBeforeAnyOfTheRequest) {
    const ComputeCommand table =
        computing({"--request", file("order = 12\n"), "--table", "0 2", "f.h5"});
    EXPECT_THAT(table.request.rule.table, ElementsAre(0, 2));
    EXPECT_EQ(table.request.rule.order, 1);
    EXPECT_THAT(table.given, ElementsAre(Pair("table", "--table")));
    const ComputeCommand order =
        computing({"--request", file("table = \"0 2\"\n"), "--order", "12", "f.h5"});
    EXPECT_THAT(order.request.rule.table, testing::IsEmpty());
    EXPECT_EQ(order.request.rule.order, 12);
}

constexpr const char* tolerantToml = R"(transform = [1e-4, 0, 0, -5e-3, 0, 1e-4, 0, -0.25,
             0, 0, 2e-4, 1e-3, 0, 0, 0, 1]
sizes = [100, 90, 70]
l = 5e-3
s = 7.5e-3
k = 4188.79
tolerance = 1e-5
relative = "local"
precision = "single"
behind = true
)";

TEST_F(CommandFiles, RequestMayHaveATolerance) {
    const ComputeCommand command = computing({"--request", file(tolerantToml), "f.h5"});
    expectTheField(command.request);
    EXPECT_EQ(command.request.tolerance,
              (pistonfield::Tolerance{1e-5, pistonfield::Tolerance::Of::local}));
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_TRUE(command.request.behind);
    EXPECT_NO_THROW(checkComplete(command));
    const ComputeCommand another =
        computing({"--request", file(tolerantToml), "--tolerance", "1e-3", "f.h5"});
    EXPECT_EQ(another.request.tolerance,
              (pistonfield::Tolerance{1e-3, pistonfield::Tolerance::Of::local}));
    EXPECT_TRUE(another.request.behind);
}

TEST_F(CommandFiles, ToleranceOfTheCommandLineCountsBeforeTheRuleOfTheRequest) {
    const ComputeCommand tolerance =
        computing({"--request", file("order = 12\n"), "--tolerance", "1e-4", "f.h5"});
    EXPECT_EQ(tolerance.request.tolerance, pistonfield::Tolerance{});
    EXPECT_EQ(tolerance.request.rule, pistonfield::Rule{});
    EXPECT_THAT(tolerance.given, ElementsAre(Pair("tolerance", "--tolerance")));
    const ComputeCommand order =
        computing({"--request", file("tolerance = 1e-4\n"), "--order", "12", "f.h5"});
    EXPECT_EQ(order.request.tolerance, std::nullopt);
    EXPECT_THAT(order.given, ElementsAre(Pair("order", "--order")));
    const ComputeCommand precision =
        computing({"--request", file("mode = \"cuda\"\norder = 9\n"), "--precision", "single",
                   "--tolerance", "1e-3", "f.h5"});
    EXPECT_EQ(precision.request.mode, Mode::cpusp);
    EXPECT_THAT(precision.given,
                ElementsAre(Pair("precision", "--precision"), Pair("tolerance", "--tolerance")));
    const ComputeCommand device = computing({"--request", file("mode = \"cpusp\"\norder = 9\n"),
                                             "--device", "gpu", "--tolerance", "1e-3", "f.h5"});
    EXPECT_EQ(device.request.mode, Mode::cudadp);
    EXPECT_THAT(device.given,
                ElementsAre(Pair("device", "--device"), Pair("tolerance", "--tolerance")));
}

TEST_F(CommandFiles, WhatAToleranceExcludesIsNamedWithItsPlace) {
    const std::string mode = file("k = 1\nmode = \"cpusp\"\n");
    EXPECT_EQ(complaint({"--request", mode, "--tolerance", "1e-4", "f.h5"}),
              mode + ":2: mode excludes --tolerance");
    const std::string both = file("order = 3\n\ntolerance = 1e-3\n");
    EXPECT_EQ(complaint({"--request", both, "f.h5"}),
              both + ":1: order excludes " + both + ":3: tolerance");
    const std::string relative = file("tolerance = 1e-3\nrelative = \"local\"\n");
    EXPECT_EQ(complaint({"--request", relative, "--order", "9", "f.h5"}),
              "--order excludes " + relative + ":2: relative");
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

TEST_F(CommandFiles, RequestNamesTheKeyThatIsMissing) {
    const std::string name = file("l = 1\ntransform = [" + repeated("1, ", 16) + "]\n");
    EXPECT_EQ(refused([&] {
                  checkComplete(computing({"--request", name, "f.h5"}));
              }),
              name + ": sizes, s, k is missing, and there is no f.h5 to go on with");
    EXPECT_EQ(refused([&] {
                  checkComplete(computing({"--request", name, "-k", "7", "-s", "1", "f.h5"}));
              }),
              name + ": sizes is missing, and there is no f.h5 to go on with");
}

TEST_F(CommandFiles, RequestWithAKeyOfVeryManyPartsIsRefused) {
    for (const char* part : {"a.", "a .\t", "\"=\".", "'#' . ", "\"\\\"\\\\=\"."}) {
        const std::string name = file("k = 1\n" + repeated(part, 50000) + "b = 1\n");
        EXPECT_EQ(complaint({"--request", name, "f.h5"}), name + ": a key has too many parts")
            << part;
    }
}

TEST_F(CommandFiles, RequestMayHaveDotsThatAreOfNoKey) {
    const std::string dots(200, '.');
    for (const std::string& text : {"# " + dots + "\nk = 7.5 # w" + repeated(" .", 200) + "\n",
                                    "k = 7.5\noutput = \"" + repeated("../", 150) + "f.h5\"\n",
                                    "k = 7.5\ntable = \"\"\"\n" + repeated(".5 ", 200) + "\"\"\"\n",
                                    "k = 7.5\ntable = '''\n" + repeated(".5 ", 200) + "'''\n"}) {
        EXPECT_EQ(computing({"--request", file(text), "f.h5"}).request.wave.wavenumber, 7.5);
    }
}

TEST_F(CommandFiles, RequestIsRefusedWithTheLine) {
    const std::vector<std::pair<std::string, std::string>> requests{
        {"k = 1\nordre = 3\n", ":2: ordre is no option, did you mean order?"},
        {"[join]\nordre = 3\n", ":1: join is no option"},
        {"--k = 3\n", ":1: --k is no option"},
        {"--sizes = [3, 4, 5]\n", ":1: --sizes is no option, did you mean sizes?"},
        {"l = 1\nsizes = [3, 4]\n", ":2: sizes: takes 3 numbers, not 2"},
        {"sizes = [3, 4, 5.0]\n", ":1: sizes: '5.0' is no whole number"},
        {"k = true\n", ":1: k: 'true' is no number"},
        {"k = [1, 2]\n", ":1: k: takes one value, not a list"},
        {"k = 1979-05-27\n", ":1: k is neither number nor text, nor a list of these"},
        {"resume = 1\n", ":1: resume: is true or false"},
        {"compress = 10\n", ":1: compress: 10 is not within 1 to 9"},
        {"order = 3\ntable = [0, 2]\n", ":2: table excludes FILE:1: order"}};
    for (const auto& [text, reason] : requests) {
        const std::string name = file(text);
        std::string expected = name + reason;
        if (const auto at = expected.find("FILE"); at != std::string::npos)
            expected.replace(at, 4, name);
        EXPECT_EQ(complaint({"--request", name, "f.h5"}), expected);
    }
}

TEST_F(CommandFiles, RequestThatIsNoTomlIsRefusedWithTheLine) {
    const std::vector<std::pair<std::string, std::string>> requests{
        {"k = 1\nsizes = [1, 2,\n  3]\nl = 2\n k=3\n", ":5: .* redefine .* 'k'"},
        {"k = 1\r\nk = 2\r\n", ":2: .* redefine .* 'k'"},
        {"\"k\" = 1\nk = 2\n", ":2: .* redefine .* 'k'"},
        {"k = 010\n", ":1: .*leading zeroes.*"},
        {"l = 1\nsizes = [18446744073709551622, 1, 1]\n", ":2: .*'18446744073709551622'.*"},
        {"l = 1\nk = 1e400\n", ":2: .*'1e400'.*"},
        {"mode = cpusp\n", ":1: .*"},
        {"transform = 1 2 3\n", ":1: .*"},
        {"k = 1\nl =", ":2: .*"}};
    for (const auto& [text, reason] : requests) {
        const std::string name = file(text);
        EXPECT_THAT(complaint({"--request", name, "f.h5"}), testing::MatchesRegex(name + reason));
    }
}

TEST_F(CommandFiles, RequestMayHaveAByteOrderMarkAndOtherLineEnds) {
    const ComputeCommand command =
        computing({"--request", file("\xef\xbb\xbfk = 0.1\r\nmode = \"cpusp\"\r\n"), "f.h5"});
    EXPECT_EQ(command.request.wave.wavenumber, 0.1);
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_THAT(command.given.at("mode"), testing::EndsWith(":2: mode"));
}

TEST_F(CommandFiles, RequestMayHaveLinesOfAnyLength) {
    std::string rule = "table = [";
    for (int i = 0; i < 16000; ++i) rule += "0.12345678901234567, 0.12345678901234567, ";
    const ComputeCommand command = computing(
        {"--request", file(rule + "]" + std::string(1'000'000, ' ') + "\nk = 1\n"), "f.h5"});
    EXPECT_EQ(command.request.rule.order, 16000);
    EXPECT_EQ(command.request.wave.wavenumber, 1);
}

TEST_F(CommandFiles, RequestIsCheckedWithTheLine) {
    const std::string name = file(
        "transform = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]\n"
        "sizes = [1, 1, 1]\nl = 1\ns = 1\nk = -1\n");
    const ComputeCommand command = computing({"--request", name, "f.h5"});
    EXPECT_EQ(refused([&] { checkComplete(command); }),
              name + ":5: k: must be a wavenumber above 0");
    pistonfield::Request other;
    EXPECT_EQ(contradiction(command, other), name + ":1: transform");
}

TEST_F(CommandFiles, RequestThatIsNotThereIsRefused) {
    EXPECT_THAT(complaint({"--request", folder / "none", "f.h5"}),
                HasSubstr((folder / "none").string()));
}

// --- requests in SI units

constexpr const char* si = R"(frequency = 1e6          # Hz
order = 12

[medium]
speed = 1500

[piston]
width = 7.5e-3
height = 5e-3

[grid]
x = [-5e-3, 1e-4, 100]
y = -0.25
z = [1e-3, 2e-4, 70]
)";

/// The text with something in the place of something that is in it once.
std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

TEST_F(CommandFiles, SiRequestIsTheRawOne) {
    const std::string name = file(si);
    const ComputeCommand command = computing({"--request", name, "f.h5"});
    const pistonfield::Request& request = command.request;
    EXPECT_THAT(request.lattice.transform,
                ElementsAre(1e-4, 0, 0, -5e-3, 0, 1, 0, -.25, 0, 0, 2e-4, 1e-3, 0, 0, 0, 1));
    EXPECT_THAT(request.lattice.sizes, ElementsAre(100, 1, 70));
    EXPECT_EQ(request.piston.height, 5e-3);
    EXPECT_EQ(request.piston.width, 7.5e-3);
    EXPECT_EQ(request.wave.wavenumber, 2 * 3.141592653589793 * 1e6 / 1500);
    EXPECT_EQ(request.rule.order, 12);
    EXPECT_THAT(
        command.given,
        ElementsAre(Pair("attenuation", name + ":1: frequency"), Pair("k", name + ":1: frequency"),
                    Pair("l", name + ":9: piston.height"), Pair("order", name + ":2: order"),
                    Pair("s", name + ":8: piston.width"), Pair("sizes", name + ":11: grid"),
                    Pair("transform", name + ":11: grid")));
    EXPECT_NO_THROW(checkComplete(command));
}

TEST_F(CommandFiles, SiRequestIsOfWaterWhereItSaysNothingElse) {
    const std::string name = file(replaced(si, "[medium]\nspeed = 1500\n", ""));
    EXPECT_EQ(computing({"--request", name, "f.h5"}).request.wave.wavenumber,
              2 * 3.141592653589793 * 1e6 / 1482);
}

TEST_F(CommandFiles, SiRequestHasTheGridOfTheFunctions) {
    // Steps along x + y, 2 z and -y, from (1, 2, 3) on; rows and one list say the same.
    for (const char* transform :
         {"transform = [[1, 1, 0, 0], [0, 0, 2, 0], [0, -1, 0, 0], [1, 2, 3, 1]]\n",
          "transform = [1, 1, 0, 0,  0, 0, 2, 0,  0, -1, 0, 0,  1, 2, 3, 1]\n"}) {
        std::string text(si);
        text = text.substr(0, text.find("x =")) + transform + "sizes = [4, 5, 6]\n";
        const ComputeCommand command = computing({"--request", file(text), "f.h5"});
        EXPECT_THAT(command.request.lattice.transform,
                    ElementsAre(1, 0, 0, 1, 1, 0, -1, 2, 0, 2, 0, 3, 0, 0, 0, 1));
        EXPECT_THAT(command.request.lattice.sizes, ElementsAre(4, 5, 6));
    }
}

TEST_F(CommandFiles, SiRequestSeesTheGridFromItsPiston) {
    // The piston's x is y, its y is z and its normal is x; the columns are these.
    const std::string name = file(replaced(si, "height = 5e-3\n",
                                           "height = 5e-3\ncenter = [-6e-3, -0.5, 1e-3]\n"
                                           "orientation = [[0, 0, 1], [1, 0, 0], [0, 1, 0]]\n"));
    const ComputeCommand command = computing({"--request", name, "f.h5"});
    EXPECT_THAT(command.request.lattice.transform,
                ElementsAre(0, 1, 0, .25, 0, 0, 2e-4, 0, 1e-4, 0, 0, -5e-3 - -6e-3, 0, 0, 0, 1));
}

TEST_F(CommandFiles, OptionsCountBeforeTheSiRequest) {
    const ComputeCommand command =
        computing({"--request", file(si), "--order", "7", "--mode", "cpusp", "-k", "4000", "f.h5"});
    EXPECT_EQ(command.request.rule.order, 7);
    EXPECT_EQ(command.request.mode, Mode::cpusp);
    EXPECT_EQ(command.request.wave.wavenumber, 4000);
    EXPECT_EQ(command.given.at("k"), "-k");
}

TEST_F(CommandFiles, SiRequestIsRefusedWithTheLine) {
    struct Case {
        std::string what, by, complaint;
    };
    const std::vector<Case> cases{
        {"frequency = 1e6", "frequency = 0", ":1: frequency: must be a number above 0"},
        {"frequency = 1e6", "frequency = nan", ":1: frequency: every number must be finite"},
        {"frequency = 1e6", "frequency = 'high'", ":1: frequency: takes numbers, not a text"},
        {"frequency = 1e6", "frequency = true", ":1: frequency: 'true' is no number"},
        {"y = -0.25", "y = [0, '1', 2]", ":13: grid.y: takes numbers, not a text"},
        {"frequency = 1e6", "frequency = [1, 2]", ":1: frequency: takes one value, not a list"},
        {"frequency = 1e6", "frequenzy = 1", ":1: frequenzy is no option, did you mean frequency?"},
        {"frequency = 1e6", "", ": frequency is missing"},
        {"order = 12", "velocity = -1", ":2: velocity: must be a number above 0"},
        {"order = 12", "width = 1", ":2: width is no option, did you mean piston.width?"},
        {"order = 12", "power = 2",
         ":2: power is no option; pistonfield_request makes a velocity of it"},
        {"order = 12", "k = 4000", ":1: frequency, in SI units, excludes FILE:2: k"},
        {"order = 12", "sizes = [1, 1, 1]", ":1: frequency, in SI units, excludes FILE:2: sizes"},
        {"[medium]", "[medum]", ":4: medum is no option, did you mean medium?"},
        {"[medium]", "[[medium]]", ":4: medium: is a table, as [medium]"},
        {"speed = 1500", "density = 0", ":5: medium.density: must be a number above 0"},
        {"speed = 1500", "sped = 0", ":5: medium.sped is no option, did you mean speed?"},
        {"speed = 1500", "width = 1", ":5: medium.width is no option, did you mean piston.width?"},
        {"speed = 1500", "k = 1", ":5: medium.k is no option"},
        {"speed = 1500", "velocity = 1",
         ":5: medium.velocity is no option; velocity stands before the first table"},
        {"y = -0.25", "mode = 'cpu'",
         ":13: grid.mode is no option; mode stands before the first table"},
        {"speed = 1500", "colour = 0", ":5: medium.colour is no option"},
        {"speed = 1500", "speed = {a = 1}",
         ":5: medium.speed is neither number nor text, nor a list of these"},
        {"width = 7.5e-3", "", ": piston.width is missing"},
        {"height = 5e-3", "height = -5e-3", ":9: piston.height: must be a number above 0"},
        {"height = 5e-3", "height = 0.9999e-7",
         ":9: piston.height: must be a length of at least 1e-7 m"},
        {"width = 7.5e-3", "width = 1e-8", ":8: piston.width: must be a length of at least 1e-7 m"},
        {"height = 5e-3", "height = 5e-3\ncenter = [1, 2]",
         ":10: piston.center: takes 3 numbers, not 2"},
        {"height = 5e-3", "height = 5e-3\norientation = [[1, 0], [0, 1]]",
         ":10: piston.orientation: takes 9 numbers, not 4"},
        {"height = 5e-3", "height = 5e-3\norientation = [[1, 0, 0], [0, 1]]",
         ":10: piston.orientation: its rows make no square matrix"},
        {"height = 5e-3", "height = 5e-3\norientation = [[1, 0, 0], [0, 1, 0], [0, 0, -1]]",
         ":10: piston.orientation: must be a 3 by 3 rotation: columns of length 1, at right "
         "angles, the third the cross product of the others"},
        {"x = [-5e-3, 1e-4, 100]", "x.first = 0",
         ":12: grid.x is neither number nor text, nor a list of these"},
        {"y = -0.25", "", ": grid.y is missing"},
        {"y = -0.25", "y = []",
         ":13: grid.y: takes the first coordinate, the step and the number "
         "of points, or one coordinate"},
        {"y = -0.25", "y = [0, 1, 2.0]", ":13: grid.y: '2.0' is no whole number"},
        {"y = -0.25", "y = [0, 1, 0]", ":13: grid.y: the number of points must be 1 or more"},
        {"y = -0.25", "y = [0, 0, 2]", ":13: grid.y: the step must not be 0"},
        {"y = -0.25", "sizes = [1, 2, 3]", ":13: grid.sizes excludes FILE:12: grid.x"},
        {"y = -0.25", "yy = 0", ":13: grid.yy is no option, did you mean y?"}};
    for (const auto& [what, by, reason] : cases) {
        const std::string name = file(replaced(si, what, by));
        std::string expected = name + reason;
        if (const auto at = expected.find("FILE"); at != std::string::npos)
            expected.replace(at, 4, name);
        EXPECT_EQ(complaint({"--request", name, "f.h5"}), expected) << what << " -> " << by;
    }
}

TEST_F(CommandFiles, SiRequestWithAGridThatIsNoneOfTheFunctionsIsRefused) {
    const std::string head = std::string(si).substr(0, std::string(si).find("x ="));
    const std::vector<std::pair<std::string, std::string>> grids{
        {"sizes = [1, 1, 1]\n", ": grid.transform is missing"},
        {"transform = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]\n",
         ": grid.sizes is missing"},
        {"transform = [1, 0, 0]\nsizes = [1, 1, 1]\n",
         ":12: grid.transform: takes 16 numbers, not 3"},
        {"transform = [1, 0, 0, 4, 0, 1, 0, 5, 0, 0, 1, 6, 0, 0, 0, 1]\nsizes = [1, 1, 1]\n",
         ":12: grid.transform: the last column must be 0, 0, 0, 1, as pistonfield_grid makes it; "
         "is it the transpose?"},
        {"transform = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]\nsizes = [1, 1]\n",
         ":13: grid.sizes: takes 3 numbers, not 2"}};
    for (const auto& [grid, reason] : grids) {
        const std::string name = file(head + grid);
        EXPECT_EQ(complaint({"--request", name, "f.h5"}), name + reason);
    }
    const std::string none = file(std::string(si).substr(0, std::string(si).find("[grid]")));
    EXPECT_EQ(complaint({"--request", none, "f.h5"}), none + ": grid is missing");
}

TEST_F(CommandFiles, SiRequestIsCheckedWithTheLine) {
    const std::string name = file(replaced(si, "order = 12", "order = 0"));
    EXPECT_EQ(refused([&] {
                  checkComplete(computing({"--request", name, "f.h5"}));
              }),
              name + ":2: order: 0 is not within 1 to 18000 of the mode cpu");
    const std::string sizes = replaced(si, "70]", "9007199254740993]");
    EXPECT_THAT(refused([&] {
                    checkComplete(computing({"--request", file(sizes), "f.h5"}));
                }),
                HasSubstr(":11: grid: "));
    EXPECT_EQ(contradiction(computing({"--request", file(si), "f.h5"}), pistonfield::Request{}),
              name + ":11: grid");
}

// --- contradictions

TEST(Contradiction, IsTheFirstOptionOfAnotherValue) {
    const ComputeCommand command = computing(complete({"--mode", "cpusp", "--order", "32"}));
    EXPECT_EQ(contradiction(command, command.request), std::nullopt);
    const auto after = [&](auto change) {
        pistonfield::Request other = command.request;
        change(other);
        return contradiction(command, other);
    };
    EXPECT_EQ(after([](auto& r) { r.lattice.transform[12] = 1; }), "--transform");
    EXPECT_EQ(after([](auto& r) { r.lattice.sizes[2] = 1; }), "--sizes");
    EXPECT_EQ(after([](auto& r) { r.piston.height = 1; }), "-l");
    EXPECT_EQ(after([](auto& r) { r.piston.width = 1; }), "-s");
    EXPECT_EQ(after([](auto& r) { r.wave.wavenumber = 1; }), "-k");
    EXPECT_EQ(after([](auto& r) { r.mode = Mode::cpu; }), "--mode");
    EXPECT_EQ(after([](auto& r) { r.rule.order = 31; }), "--order");
    EXPECT_EQ(after([](auto& r) { r.rule.table.assign(64, 0); }), "--order");
}

TEST(Contradiction, IsNoneWithAnOptionThatWasNotGiven) {
    pistonfield::Request other;
    other.mode = Mode::cuda;
    other.rule.order = 99;
    EXPECT_EQ(contradiction(computing({"f.h5"}), other), std::nullopt);
}

TEST_F(CommandFiles, TableContradictsAnother) {
    const ComputeCommand command = computing({"--table", file("0 2"), "f.h5"});
    pistonfield::Request other;
    other.rule.table = {0, 1.5};
    EXPECT_EQ(contradiction(command, other), "--table");
    other.rule.table = {0, 2};
    EXPECT_EQ(contradiction(command, other), std::nullopt);
}

// --- other commands and answers

TEST(CommandLine, JoinsParts) {
    const Command command = read({"join", "field.h5", "a.h5", "b.h5"});
    EXPECT_EQ(std::get<run::JoinCommand>(command).output, "field.h5");
    EXPECT_THAT(std::get<run::JoinCommand>(command).parts, ElementsAre("a.h5", "b.h5"));
    EXPECT_THAT(complaint({"join", "field.h5"}), HasSubstr("parts"));
}

TEST(CommandLine, VerifiesFiles) {
    const Command command = read({"verify", "a.h5", "b.h5"});
    EXPECT_THAT(std::get<run::VerifyCommand>(command).files, ElementsAre("a.h5", "b.h5"));
    EXPECT_THAT(complaint({"verify"}), HasSubstr("files"));
}

TEST(CommandLine, ExtractsABoxOrAll) {
    const Command all = read({"extract", "field.h5", "field.raw"});
    EXPECT_EQ(std::get<run::ExtractCommand>(all).file, "field.h5");
    EXPECT_EQ(std::get<run::ExtractCommand>(all).output, "field.raw");
    EXPECT_EQ(std::get<run::ExtractCommand>(all).first, std::nullopt);
    EXPECT_EQ(std::get<run::ExtractCommand>(all).size, std::nullopt);
    const Command box =
        read({"extract", "f.h5", "f.raw", "--first", "1", "2", "3", "--size", "4", "5", "6"});
    EXPECT_EQ(std::get<run::ExtractCommand>(box).first, (std::array<std::int64_t, 3>{1, 2, 3}));
    EXPECT_EQ(std::get<run::ExtractCommand>(box).size, (std::array<std::int64_t, 3>{4, 5, 6}));
    EXPECT_THAT(complaint({"extract", "f.h5", "f.raw", "--first", "1", "2"}), HasSubstr("--first"));
}

TEST(CommandLine, AnswersForHelpAndVersion) {
    const auto answer = [](const Words& words) { return std::get<Answer>(read(words)).text; };
    for (const char* option : {"-h", "--help"})
        EXPECT_THAT(answer({option}), HasSubstr("--transform"));
    EXPECT_THAT(answer({"join", "--help"}), HasSubstr("parts"));
    const std::string device = run::emulationNote();
    EXPECT_EQ(answer({"--version"}),
              "pistonfield-run " + run::revision() + "\n" + (device.empty() ? "" : device + "\n"));
    std::string help = answer({"--help"});
    help.erase(
        std::unique(help.begin(), help.end(),
                    [](char a, char b) { return std::isspace(a) != 0 && std::isspace(b) != 0; }),
        help.end());
    std::replace(help.begin(), help.end(), '\n', ' ');
    EXPECT_THAT(help, HasSubstr(device));
}

TEST(CommandLine, HelpFitsIntoEightyColumns) {
    for (const Words& words : std::vector<Words>{{"--help"},
                                                 {"join", "--help"},
                                                 {"verify", "--help"},
                                                 {"extract", "--help"},
                                                 {"show", "--help"}}) {
        std::istringstream help(std::get<Answer>(read(words)).text);
        for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST(CommandLine, SuggestsWhatAMisspeltWordMayMean) {
    EXPECT_EQ(complaint(complete({"--modes", "cpu"})),
              "--modes is no option, did you mean --mode?; see --help");
    EXPECT_EQ(complaint(complete({"--colour", "red"})), "--colour is no option; see --help");
    EXPECT_EQ(complaint({"--frequency", "1e6", "f.h5"}),
              "--frequency is no option; frequency is a key of a request file; see --help");
    EXPECT_EQ(complaint({"f.h5", "--speed=1500"}),
              "--speed=1500 is no option; medium.speed is a key of a request file; see --help");
    EXPECT_EQ(complaint({"--power", "2", "f.h5"}),
              "--power is no option; pistonfield_request makes a velocity of it; see --help");
    EXPECT_EQ(complaint({"verfy", "f.h5"}), "verfy is no command, did you mean verify?");
    EXPECT_EQ(complaint({"extract", "a", "b", "--sise", "1", "2", "3"}),
              "--sise is no option, did you mean --size?; see --help");
}

TEST(Suggestion, IsTheNearestWordThatIsNotFar) {
    using run::suggestion;
    // One letter replaced, left out or added.
    for (const char* word : {"modus", "mods", "mod", "amode", "modde"})
        EXPECT_EQ(suggestion(word, {"sizes", "mode"}), ", did you mean mode?") << word;
    EXPECT_EQ(suggestion("ab", {"ac"}), ", did you mean ac?");
    EXPECT_EQ(suggestion("ab", {"b"}), ", did you mean b?");
    EXPECT_EQ(suggestion("ab", {"abc"}), ", did you mean abc?");
    EXPECT_EQ(suggestion("ab", {"cd", "abcd"}), "");
    EXPECT_EQ(suggestion("abcd", {"abef"}), "");
    EXPECT_EQ(suggestion("abcde", {"abcfg"}), ", did you mean abcfg?");
    EXPECT_EQ(suggestion("order", {"order1", "orde12"}), ", did you mean order1?");
    EXPECT_EQ(suggestion("order", {}), "");
}

TEST(CommandLine, SaysHowManyWordsAnOptionTakes) {
    EXPECT_EQ(complaint({"--sizes", "1", "2"}), "--sizes takes 3 words, once; see --help");
    EXPECT_EQ(complaint({"-k"}), "-k takes 1 word, once; see --help");
    EXPECT_EQ(complaint({"-k", "1", "-k", "2", "f.h5"}), "-k takes 1 word, once; see --help");
}

TEST(CommandLine, OfACommandHasNothingBeforeIt) {
    EXPECT_EQ(complaint({"f.h5", "verify", "a.h5"}),
              "verify takes no output before it; see --help");
    EXPECT_EQ(complaint({"--bogus", "verify", "a.h5"}), "--bogus is no option; see --help");
}

TEST(CommandLine, RepeatsNumbersAsTheyWereGiven) {
    const auto sizes = [](const std::string& size) {
        return complaint({"--sizes", size, "1", "1", "f.h5"});
    };
    EXPECT_EQ(sizes("18446744073709551622"),
              "--sizes: '18446744073709551622' is beyond the range of 64 bits");
    EXPECT_EQ(sizes("1.0"), "--sizes: '1.0' is no whole number");
    EXPECT_EQ(sizes("0x10"), "--sizes: '0x10' is no whole number");
    EXPECT_EQ(complaint({"-k", "1e400", "f.h5"}),
              "-k: '1e400' is beyond the range of double precision");
    EXPECT_EQ(complaint({"--order", "99999999999", "f.h5"}),
              "--order: 99999999999 is not within -2147483648 to 2147483647");
}

TEST(CommandLine, TakesNumbersInEveryFormThatPeopleWrite) {
    for (const char* k : {"-k=3000", "-k3000", "-k=3e3", "-k=+3000"})
        EXPECT_EQ(computing({k, "f.h5"}).request.wave.wavenumber, 3000) << k;
    EXPECT_EQ(computing({"-k", "-.5", "f.h5"}).request.wave.wavenumber, -.5);
    EXPECT_EQ(computing({"-k", "-inf", "f.h5"}).request.wave.wavenumber,
              -std::numeric_limits<double>::infinity());
    EXPECT_THAT(computing({"--sizes", "010", "08", "+7", "f.h5"}).request.lattice.sizes,
                ElementsAre(10, 8, 7));
}

TEST(Revision, HasTheVersionAndWhatItWasBuiltFrom) {
    EXPECT_THAT(run::revision(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+ \\(.+\\)"));
}

TEST(BeamCommand, takesASourceAlone) {
    const auto beam = std::get<run::BeamCommand>(read({"beam", "request.toml"}));
    EXPECT_EQ(beam.source, "request.toml");
    EXPECT_FALSE(beam.json || beam.axis || beam.threads || beam.duty || beam.derating);
    EXPECT_TRUE(beam.hydrophone.empty());
    EXPECT_FALSE(beam.drive.speed || beam.drive.density || beam.drive.velocity);
}

TEST(BeamCommand, takesWhatIsSaidOfTheDriveAndTheReport) {
    const auto beam = std::get<run::BeamCommand>(
        read({"beam", "field.h5",  "--json", "--velocity",   "0.1",  "--speed", "1500", "--density",
              "1000", "--duty",    "0.01",   "--derating",   "0.5",  "--axis",  "1",    "0",
              "-1",   "--threads", "2",      "--hydrophone", "1e-3", "2e-3"}));
    EXPECT_TRUE(beam.json);
    EXPECT_EQ(beam.drive.velocity, 0.1);
    EXPECT_EQ(beam.drive.speed, 1500);
    EXPECT_EQ(beam.drive.density, 1000);
    EXPECT_EQ(beam.duty, 0.01);
    EXPECT_EQ(beam.derating, 0.5);
    EXPECT_EQ(beam.axis, (std::array<double, 3>{1, 0, -1}));
    EXPECT_EQ(beam.threads, 2U);
    EXPECT_THAT(beam.hydrophone, ElementsAre(1e-3, 2e-3));
}

TEST(BeamCommand, namesTheOptionThatIsWrong) {
    EXPECT_THAT(complaint({"beam", "field.h5", "--duty", "half"}), StartsWith("--duty: "));
    EXPECT_THAT(complaint({"beam", "field.h5", "--threads", "0"}), StartsWith("--threads: "));
    EXPECT_THAT(complaint({"beam", "field.h5", "--axis", "1", "2"}), StartsWith("--axis "));
    EXPECT_THAT(complaint({"beam", "field.h5", "--hydrophone", "wide"}),
                StartsWith("--hydrophone: "));
    EXPECT_THAT(complaint({"beam"}), HasSubstr("source"));
}

}  // namespace
