// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// How argument 6 sets the quadrature: an order, or a table of abscissas and weights.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "matlab_src/Gateway.h"
#include "tests/matlab_src/GatewayTest.h"

using substitute::EventKind;
using substitute::theHost;

namespace {

using Field = std::vector<std::complex<double>>;

/// Abscissas and weights on [-1, 1].
struct Rule {
    std::vector<double> nodes;
    std::vector<double> weights;
};

// Gauss-Legendre rules (Abramowitz and Stegun, table 25.4).
Rule onePoint() { return {{0}, {2}}; }
Rule twoPoints() { return {{-0.577350269189626, 0.577350269189626}, {1, 1}}; }
Rule fivePoints() {
    return {{-0.906179845938664, -0.538469310105683, 0.0, 0.538469310105683, 0.906179845938664},
            {0.236926885056189, 0.478628670499366, 0.568888888888889, 0.478628670499366,
             0.236926885056189}};
}

/// The integral over [a, b] of an edge at offset e: f(t) = (exp(-jkR) - exp(-jkz)) / (t^2 + e^2).
std::complex<double> edge(const Rule& rule, double k, double z, double e, double a, double b) {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        const double t = (b - a) / 2 * rule.nodes[i] + (a + b) / 2;
        const double d = t * t + e * e;
        sum += (b - a) / 2 * rule.weights[i] *
               (std::polar(1.0, -k * std::sqrt(z * z + d)) - std::polar(1.0, -k * z)) / d;
    }
    return sum;
}

/// The point that the tests ask for: beyond both sides of the piston, so that no edge is split.
struct Corner {
    double l = 3, s = 2, k = 2.5, x = 2.25, y = 3, z = 0.75;

    [[nodiscard]] std::complex<double> pressure(const Rule& rule) const {
        const double x1 = x - s / 2;
        const double x2 = x + s / 2;
        const double y1 = y - l / 2;
        const double y2 = y + l / 2;
        const auto sum = x1 * edge(rule, k, z, x1, y1, y2) - x2 * edge(rule, k, z, x2, y1, y2) +
                         y1 * edge(rule, k, z, y1, x1, x2) - y2 * edge(rule, k, z, y2, x1, x2);
        return std::complex<double>(0, -1 / (2 * std::numbers::pi)) * sum;
    }
};

class QuadratureOrderTest : public GatewayTest {
  protected:
    static Request corner() {
        const Corner at;
        return Request().lattice({at.x, at.y, at.z}, {1, 1, 1}).sizes({1, 1, 1});
    }

    std::complex<double> pressureWith(const host::Array* abscissas,
                                      const std::string& mode = "cpu") {
        const Outcome outcome = call(corner().mode(mode).abscissas(abscissas));
        EXPECT_EQ(outcome.ending, Ending::answered) << outcome.error;
        return outcome.values().at(0);
    }
};

/// A rule's values as consecutive pairs, of M rows and 2 columns.
host::Array* pairsOf(const Rule& rule) {
    std::vector<double> values;
    for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
        values.push_back(rule.nodes[i]);
        values.push_back(rule.weights[i]);
    }
    return substitute::doubles(values, {rule.nodes.size(), 2});
}

constexpr double tableAccuracy = 1e-13;  // the rules above have 15 digits

TEST_F(QuadratureOrderTest, aNumberIsTheOrderOfTheRule) {
    EXPECT_LT(std::abs(pressureWith(substitute::number(1)) - Corner().pressure(onePoint())),
              tableAccuracy);
    EXPECT_LT(std::abs(pressureWith(substitute::number(2)) - Corner().pressure(twoPoints())),
              tableAccuracy);
    EXPECT_LT(std::abs(pressureWith(substitute::number(5)) - Corner().pressure(fivePoints())),
              tableAccuracy);
}

TEST_F(QuadratureOrderTest, aNumberIsTruncatedTowardZero) {
    EXPECT_EQ(pressureWith(substitute::number(12.9)), pressureWith(substitute::number(12)));
    EXPECT_NE(pressureWith(substitute::number(12.9)), pressureWith(substitute::number(13)));
}

TEST_F(QuadratureOrderTest, isTenWithoutAnArgument) {
    EXPECT_EQ(call(corner()).values().at(0), pressureWith(substitute::number(10)));
    EXPECT_NE(call(corner()).values().at(0), pressureWith(substitute::number(11)));
}

TEST_F(QuadratureOrderTest, mayBeTheOneThatThePistonStartsWith) {
    const std::complex<double> at100 = pressureWith(substitute::number(100));
    EXPECT_LT(std::abs(at100 - pressureWith(substitute::number(99))), 1e-13);
    EXPECT_LT(std::abs(at100 - pressureWith(substitute::number(100), "cpusp")), 1e-5);
}

TEST_F(QuadratureOrderTest, mayBeANumberOfAnyNumericClass) {
    const std::complex<double> expected = pressureWith(substitute::number(12));
    for (const char* name : {"single", "int8", "uint8", "int16", "uint16", "int32", "uint32",
                             "int64", "uint64", "char"})
        EXPECT_EQ(pressureWith(substitute::arrayOf(name, {1, 1}, 12)), expected) << name;
    EXPECT_EQ(pressureWith(substitute::arrayOf("logical", {1, 1})),
              pressureWith(substitute::number(1)));
}

TEST_F(QuadratureOrderTest, readsATableAsConsecutivePairsOfItsStorage) {
    for (const Rule& rule : {onePoint(), twoPoints(), fivePoints()}) {
        EXPECT_LT(std::abs(pressureWith(pairsOf(rule)) - Corner().pressure(rule)), tableAccuracy);
        EXPECT_EQ(theHost().textsOf(EventKind::standardOutput).front(),
                  "using " + std::to_string(rule.nodes.size()) + " abscissas.\n");
    }
}

TEST_F(QuadratureOrderTest, takesAllTenValuesOfAFiveByTwoTable) {
    const Rule pairs{{0, 2, 4, 6, 8}, {1, 3, 5, 7, 9}};
    const host::Array* table = substitute::doubles({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {5, 2});
    const std::complex<double> expected = Corner().pressure(pairs);
    EXPECT_LT(std::abs(pressureWith(table) - expected), 1e-13 * std::abs(expected));
    EXPECT_LT(std::abs(pressureWith(table, "cpudp") - expected), 1e-13 * std::abs(expected));
    EXPECT_LT(std::abs(pressureWith(table, "cpusp") - expected), 1e-5 * std::abs(expected));
}

TEST_F(QuadratureOrderTest, doesNotReadATableRowByRow) {
    const Rule rule = fivePoints();
    std::vector<double> values = rule.nodes;
    values.insert(values.end(), rule.weights.begin(), rule.weights.end());
    EXPECT_GT(std::abs(pressureWith(substitute::doubles(values, {5, 2})) -
                       Corner().pressure(fivePoints())),
              1e-3);
}

TEST_F(QuadratureOrderTest, copiesATableOfTheOrderThatThePistonStartsWith) {
    Rule rule{std::vector<double>(100, 0.25), std::vector<double>(100, 0.02)};
    EXPECT_LT(std::abs(pressureWith(pairsOf(rule)) - Corner().pressure(rule)), tableAccuracy);
}

TEST_F(QuadratureOrderTest, takesTheRowsOfATableWithFoldedTrailingDimensions) {
    host::Array* table = pairsOf(fivePoints());
    table->dimensions = {5, 1, 2};
    EXPECT_LT(std::abs(pressureWith(table) - Corner().pressure(fivePoints())), tableAccuracy);
}

TEST_F(QuadratureOrderTest, ofATableWithoutRowsMakesTheFieldZero) {
    for (const char* mode : {"cpu", "cpudp", "cpusp"}) {
        EXPECT_EQ(pressureWith(substitute::doubles({}, {0, 2}), mode), 0.0) << mode;
        EXPECT_EQ(theHost().textsOf(EventKind::standardOutput).front(), "using 0 abscissas.\n");
    }
}

TEST_F(QuadratureOrderTest, isTheFirstHalfOfATableOnAGpuAndItsMirrorImage) {
    struct Case {
        Rule table;
        Rule mirrored;
    };
    for (const Case& c :
         std::vector<Case>{{{{0.3}, {1.7}}, {{0}, {1.7}}},
                           {{{-0.7, 0.2, 0.5}, {0.5, 0.8, 0.6}}, {{-0.7, 0, 0.7}, {0.5, 0.8, 0.5}}},
                           {{{-0.8, -0.3, 0.2, 0.7}, {0.3, 0.7, 0.6, 0.4}},
                            {{-0.8, -0.3, 0.3, 0.8}, {0.3, 0.7, 0.7, 0.3}}},
                           {{{-0.9, -0.5, 0.1, 0.3, 0.6}, {0.25, 0.5, 0.55, 0.3, 0.4}},
                            {{-0.9, -0.5, 0, 0.5, 0.9}, {0.25, 0.5, 0.55, 0.5, 0.25}}}})
        for (const char* mode : {"cuda", "cudadp"})
            EXPECT_LT(
                std::abs(pressureWith(pairsOf(c.table), mode) - Corner().pressure(c.mirrored)),
                1e-5)
                << mode;
}

TEST_F(QuadratureOrderTest, ofATableWithoutRowsIsRefusedOnAGpu) {
    for (const char* mode : {"cuda", "cudadp"}) {
        const Outcome outcome =
            call(corner().mode(mode).abscissas(substitute::doubles({}, {0, 2})));
        EXPECT_EQ(outcome.ending, Ending::refused);
        EXPECT_THAT(outcome.error, testing::HasSubstr("assertion failure in "
                                                      "FastNearfield/IntegratorCuda"));
        expectNothingLeft(outcome);
    }
}

TEST_F(QuadratureOrderTest, ofATableWithoutRowsIsShownAsZeroOnAGpu) {
    call(corner().mode("cuda").abscissas(substitute::doubles({}, {0, 2})));
    EXPECT_THAT(theHost().textsOf(EventKind::standardOutput), testing::Contains("0\n"));
}

TEST_F(QuadratureOrderTest, isRefusedInAnyOtherShape) {
    for (const substitute::Dimensions& shape : std::vector<substitute::Dimensions>{
             {3, 1}, {2, 1}, {0, 1}, {1, 3}, {2, 3}, {5, 4}, {1, 0}, {0, 0}, {2, 2, 2}})
        EXPECT_EQ(call(corner().abscissas(substitute::arrayOf("double", shape))).error,
                  "abscissas must be a number or a 2D matrix containing abscissas and weights.");
}

TEST_F(QuadratureOrderTest, isRefusedAsATableThatHoldsNoDoubles) {
    for (const host::Array* table :
         {substitute::arrayOf("single", {5, 2}), substitute::arrayOf("int32", {5, 2}),
          substitute::arrayOf("cell", {5, 2}), substitute::arrayOf("char", {1, 2}),
          substitute::sparseOf("double", {5, 2}), substitute::arrayOf("logical", {5, 2})})
        EXPECT_EQ(call(corner().abscissas(table)).error,
                  "abscissas and weights must be a full matrix of class double.");
}

TEST_F(QuadratureOrderTest, isRefusedAsAScalarThatHoldsNoNumber) {
    for (const host::Array* scalar :
         {substitute::arrayOf("cell", {1, 1}), substitute::arrayOf("struct", {1, 1}),
          substitute::arrayOf("function_handle", {1, 1}), substitute::sparseOf("double", {1, 1})})
        EXPECT_EQ(call(corner().abscissas(scalar)).error,
                  "abscissas must be a number or a matrix of class double.");
}

TEST_F(QuadratureOrderTest, belowZeroIsMoreMemoryThanThereIs) {
    for (const double order : {-1.0, -10.0, -1e300}) {
        const Outcome outcome = call(corner().abscissas(order));
        EXPECT_EQ(outcome.ending, Ending::outOfMemory) << order;
        expectNothingLeft(outcome);
    }
    expectNextCallWorks();
}

using QuadratureOrderDeathTest = QuadratureOrderTest;

TEST_F(QuadratureOrderDeathTest, ofZeroEndsTheProcess) {
    for (const double order : {0.0, 0.9, -0.9, std::nan("")}) {
        const Request request = corner().abscissas(order);
        host::Array* output = nullptr;
        EXPECT_EXIT(answerCall(1, output, request.arguments), testing::ExitedWithCode(1), "")
            << order;
    }
}

}  // namespace
