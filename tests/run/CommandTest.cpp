// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "run/readText.h"
#include "run/revision.h"
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

Command read(const Words& words) { return run::readCommand(words, &run::readText); }

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
    EXPECT_EQ(command.slabPoints, 262144);
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

// --- parts

TEST(Part, HasAFileOfItsOwn) {
    const ComputeCommand command = computing(complete({"--part", "3/10"}));
    EXPECT_EQ(command.part, (Part{3, 10}));
    EXPECT_EQ(command.output, "field.part-03-of-10.h5");
    EXPECT_EQ(computing({"--part", "1/1", "data/f.h5"}).output, "data/f.part-1-of-1.h5");
    EXPECT_EQ(computing({"--part", "12/1000", "f"}).output, "f.part-0012-of-1000");
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
    EXPECT_EQ(answer({"--version"}), "pistonfield-run " + run::revision() + "\n");
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
    EXPECT_EQ(complaint({"verfy", "f.h5"}), "verfy is no command, did you mean verify?");
    EXPECT_EQ(complaint({"extract", "a", "b", "--sise", "1", "2", "3"}),
              "--sise is no option, did you mean --size?; see --help");
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

}  // namespace
