// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/QuadratureFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <ios>
#include <iostream>
#include <iterator>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "CapturedStream.h"
#include "FastNearfield/GaussLegendre.h"

namespace {

// What programs hold the functions' addresses by.
static_assert(std::is_same_v<decltype(&legendre_handle), void (*)(int, std::string)>);
static_assert(std::is_same_v<decltype(&dtable_write0), void (*)(std::string, int, int, double*)>);
static_assert(std::is_same_v<decltype(&timestamp), void (*)()>);

std::string printedRule(int order, const std::string& form) {
    const CapturedStream output(std::cout);
    legendre_handle(order, form);
    EXPECT_EQ(output.flushedText(), output.text());
    return output.text();
}

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// 16 significant digits, as %.16g writes them.
std::string sixteenDigits(double value) {
    std::array<char, 32> text{};
    EXPECT_GT(std::snprintf(text.data(), text.size(), "%.16g", value), 0);
    return text.data();
}

/// Numbers as no rule is written.
struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

/// A directory of its own for a test, removed afterwards.
class QuadratureFiles : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = std::filesystem::temp_directory_path() / "quadratureXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }

    void TearDown() override { std::filesystem::remove_all(directory); }

    [[nodiscard]] std::string written(int m, int n, std::vector<double> table) const {
        dtable_write0(directory / "table.txt", m, n, table.data());
        return contents(directory / "table.txt");
    }

    std::filesystem::path directory;
};

TEST(LegendreHandle, PrintsCppSource) {
    constexpr const char* expected =
        "//\n"
        "//  Weights W, abscissas X and range R\n"
        "//  for a Gauss-Legendre quadrature rule\n"
        "//  ORDER = 1\n"
        "//\n"
        "//  Standard rule:\n"
        "//    Integral ( -1 <= x <= +1 ) f(x) dx\n"
        "//    is to be approximated by\n"
        "//    sum ( 1 <= I <= ORDER ) w(i) * f(x(i)).\n"
        "//\n"
        "  w[0] = 2;\n"
        "\n"
        "  x[0] = 0;\n"
        "\n"
        "  r[0] = -1;\n"
        "  r[1] = 1;\n";
    EXPECT_EQ(printedRule(1, "C++"), expected);
    EXPECT_EQ(printedRule(1, "c++"), expected);
}

TEST(LegendreHandle, PrintsFortran77Source) {
    constexpr const char* expected =
        "c\n"
        "c  Weights W, abscissas X and range R\n"
        "c  for a Gauss-Legendre quadrature rule\n"
        "c  ORDER = 1\n"
        "c\n"
        "c  Standard rule:\n"
        "c    Integral ( -1 <= x <= +1 ) f(x) dx\n"
        "c    is to be approximated by\n"
        "c    sum ( 1 <= I <= ORDER ) w(i) * f(x(i)).\n"
        "c\n"
        "      w(1) = 2\n"
        "\n"
        "      x(1) = 0\n"
        "\n"
        "      r(1) = -1\n"
        "      r(2) = 1\n";
    EXPECT_EQ(printedRule(1, "F77"), expected);
    EXPECT_EQ(printedRule(1, "f77"), expected);
}

TEST(LegendreHandle, PrintsFortran90Source) {
    constexpr const char* expected =
        "!\n"
        "!  Weights W, abscissas X and range R\n"
        "!  for a Gauss-Legendre quadrature rule\n"
        "!  ORDER = 1\n"
        "!\n"
        "!  Standard rule:\n"
        "!    Integral ( -1 <= x <= +1 ) f(x) dx\n"
        "!    is to be approximated by\n"
        "!    sum ( 1 <= I <= ORDER ) w(i) * f(x(i)).\n"
        "!\n"
        "  w(1) = 2\n"
        "\n"
        "  x(1) = 0\n"
        "\n"
        "  r(1) = -1\n"
        "  r(2) = 1\n";
    EXPECT_EQ(printedRule(1, "F90"), expected);
    EXPECT_EQ(printedRule(1, "f90"), expected);
}

TEST(LegendreHandle, PrintsMatlabSource) {
    constexpr const char* expected =
        "%\n"
        "%  Weights W, abscissas X and range R\n"
        "%  for a Gauss-Legendre quadrature rule\n"
        "%  ORDER = 1\n"
        "%\n"
        "%  Standard rule:\n"
        "%    Integral ( -1 <= x <= +1 ) f(x) dx\n"
        "%    is to be approximated by\n"
        "%    sum ( 1 <= I <= ORDER ) w(i) * f(x(i)).\n"
        "%\n"
        "  w(1) = 2;\n"
        "\n"
        "  x(1) = 0;\n"
        "\n"
        "  r(1) = -1;\n"
        "  r(2) = 1;\n";
    EXPECT_EQ(printedRule(1, "MAT"), expected);
    EXPECT_EQ(printedRule(1, "mat"), expected);
}

TEST(LegendreHandle, PrintsEveryValueWithSixteenDigits) {
    constexpr int order = 12;
    std::array<double, order> x{};
    std::array<double, order> w{};
    legendre_compute(order, x.data(), w.data());
    std::string weights;
    std::string nodes;
    for (std::size_t i = 0; i < order; ++i) {
        weights += "  w(" + std::to_string(i + 1) + ") = " + sixteenDigits(w[i]) + ";\n";
        nodes += "  x(" + std::to_string(i + 1) + ") = " + sixteenDigits(x[i]) + ";\n";
    }
    EXPECT_THAT(printedRule(order, "mat"),
                testing::AllOf(testing::HasSubstr("%  ORDER = 12\n"),
                               testing::EndsWith("%\n" + weights + "\n" + nodes +
                                                 "\n  r(1) = -1;\n  r(2) = 1;\n")));
}

TEST(LegendreHandle, NeitherHeedsNorChangesTheStateOfStandardOutput) {
    const std::string plain = printedRule(12, "C++");
    const std::ios_base::fmtflags flags = std::cout.flags();
    const std::streamsize precision = std::cout.precision();
    const char fill = std::cout.fill();
    const std::locale original = std::cout.imbue(std::locale(std::locale(), new Grouping));
    const std::locale grouping = std::cout.getloc();
    std::cout << std::scientific << std::showpos << std::hex << std::setprecision(3)
              << std::setfill('*');
    const std::ios_base::fmtflags odd = std::cout.flags();

    EXPECT_EQ(printedRule(12, "C++"), plain);
    EXPECT_EQ(std::cout.flags(), odd);
    EXPECT_EQ(std::cout.precision(), 3);
    EXPECT_EQ(std::cout.width(), 0);
    EXPECT_EQ(std::cout.fill(), '*');
    EXPECT_TRUE(std::cout.getloc() == grouping);

    std::cout.flags(flags);
    std::cout.precision(precision);
    std::cout.fill(fill);
    std::cout.imbue(original);
}

TEST_F(QuadratureFiles, AnyOtherOutputIsARootFileName) {
    for (const std::string name : {"cpp", "Matlab", "C++ ", "Mat", "F95", "rule"}) {
        const std::string root = directory / name;
        std::ostringstream expected;
        expected << "  Creating quadrature files.\n"
                 << "  Root file name is     \"" << root << "\".\n"
                 << "  Weight file will be   \"" << root << "_w.txt\".\n"
                 << "  Abscissa file will be \"" << root << "_x.txt\".\n"
                 << "  Region file will be   \"" << root << "_r.txt\".\n";
        EXPECT_EQ(printedRule(1, root), expected.str());
        EXPECT_EQ(contents(root + "_w.txt"), "                       2  \n");
        EXPECT_EQ(contents(root + "_x.txt"), "                       0  \n");
        EXPECT_EQ(contents(root + "_r.txt"),
                  "                      -1  \n                       1  \n");
    }
}

TEST_F(QuadratureFiles, BareLanguageLikeNamesAndNoneAtAllAreRootsInTheCurrentDirectory) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory);
    printedRule(1, "cpp");
    printedRule(1, "Matlab");
    printedRule(1, "");
    std::filesystem::current_path(before);
    for (const char* name : {"cpp_w.txt", "cpp_x.txt", "cpp_r.txt", "Matlab_w.txt", "Matlab_x.txt",
                             "Matlab_r.txt", "_w.txt", "_x.txt", "_r.txt"})
        EXPECT_TRUE(std::filesystem::exists(directory / name)) << name;
}

TEST_F(QuadratureFiles, HoldOneValueOfTheRuleALine) {
    constexpr int order = 7;
    printedRule(order, directory / "rule");
    std::array<double, order> x{};
    std::array<double, order> w{};
    legendre_compute(order, x.data(), w.data());
    std::ostringstream weights;
    std::ostringstream nodes;
    for (std::size_t i = 0; i < order; ++i) {
        weights << std::setw(24) << sixteenDigits(w[i]) << "  \n";
        nodes << std::setw(24) << sixteenDigits(x[i]) << "  \n";
    }
    EXPECT_EQ(contents(directory / "rule_w.txt"), weights.str());
    EXPECT_EQ(contents(directory / "rule_x.txt"), nodes.str());
}

TEST_F(QuadratureFiles, AreWrittenAlikeInAnyLocaleOfTheProgram) {
    const std::string plain = printedRule(12, "C++");
    printedRule(12, directory / "plain");
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    const std::string odd = printedRule(12, "C++");
    printedRule(12, directory / "odd");
    std::locale::global(before);
    EXPECT_EQ(odd, plain);
    EXPECT_EQ(contents(directory / "odd_w.txt"), contents(directory / "plain_w.txt"));
}

TEST_F(QuadratureFiles, RootInAMissingDirectoryIsReportedForEachFile) {
    const std::string root = directory / "missing" / "rule";
    const CapturedStream errors(std::cerr);
    const std::string printed = printedRule(3, root);
    const std::string message =
        "\nDTABLE_WRITE0 - Fatal error!\n  Could not open the output file.\n";
    EXPECT_EQ(errors.text(), message + message + message);
    EXPECT_THAT(printed, testing::EndsWith("  Region file will be   \"" + root + "_r.txt\".\n"));
    EXPECT_TRUE(std::filesystem::is_empty(directory));
}

TEST(LegendreHandleDeathTest, OrderBelowOneEndsTheProcessBeforeAnythingIsPrinted) {
    const auto handle = [](int order, const std::string& output) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        legendre_handle(order, output);
    };
    EXPECT_EXIT(handle(0, "C++"), testing::ExitedWithCode(1),
                testing::Eq("\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = 0\n"));
    EXPECT_EXIT(handle(-2, "rule"), testing::ExitedWithCode(1),
                testing::Eq("\nLEGENDRE_COMPUTE - Fatal error!\n  Illegal value of ORDER = -2\n"));
}

TEST_F(QuadratureFiles, TableIsStoredByColumnsAndWrittenOneColumnALine) {
    EXPECT_EQ(written(2, 3, {1.0, -0.5, 1.0 / 3, 1e-300, 123456789012345678.0, -2.5e10}),
              "                       1                      -0.5  \n"
              "      0.3333333333333333                    1e-300  \n"
              "   1.234567890123457e+17              -25000000000  \n");
}

TEST_F(QuadratureFiles, TableWithoutColumnsIsAnEmptyFile) { EXPECT_EQ(written(2, 0, {}), ""); }

TEST_F(QuadratureFiles, TableReplacesAnEarlierFile) {
    EXPECT_THAT(written(1, 3, {1, 2, 3}), testing::SizeIs(3 * 27));
    EXPECT_EQ(written(1, 1, {7}), "                       7  \n");
}

TEST_F(QuadratureFiles, TableThatCannotBeOpenedIsReportedAndTheProcessGoesOn) {
    const CapturedStream errors(std::cerr);
    const CapturedStream output(std::cout);
    double value = 1;
    dtable_write0(directory, 1, 1, &value);
    EXPECT_EQ(errors.text(), "\nDTABLE_WRITE0 - Fatal error!\n  Could not open the output file.\n");
    EXPECT_EQ(output.text(), "");
}

std::string formatted(std::time_t time) {
    std::tm parts{};
    localtime_r(&time, &parts);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::put_time(&parts, "%d %B %Y %I:%M:%S %p\n");
    return text.str();
}

/// The time stamp, and all that it may be at the times between which it was printed.
void expectTimestampOfNow() {
    std::vector<std::string> possible;
    const std::time_t before = std::time(nullptr);
    const CapturedStream output(std::cout);
    timestamp();
    EXPECT_EQ(output.flushedText(), output.text());
    for (std::time_t time = before; time <= std::time(nullptr); ++time)
        possible.push_back(formatted(time));
    EXPECT_THAT(possible, testing::Contains(output.text()));
}

TEST(Timestamp, PrintsTheLocalTime) {
    expectTimestampOfNow();
    const char* original = std::getenv("TZ");
    const std::string saved = original ? original : "";
    setenv("TZ", "AHEAD-11:30", 1);
    tzset();
    expectTimestampOfNow();
    original ? setenv("TZ", saved.c_str(), 1) : unsetenv("TZ");
    tzset();
}

}  // namespace
