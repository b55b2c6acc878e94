// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Evaluation.h"

#include <gtest/gtest.h>

#include "FastNearfield/RectangularPiston2.h"
#include "tests/run/FieldFiles.h"
#include "tests/support/Captured.h"

namespace {

using run::Request;

template <class T>
std::vector<std::complex<T>> evaluated(const Request& request, const LatticeBox& box) {
    std::vector<std::complex<T>> values(static_cast<std::size_t>(box.points()));
    evaluationOf(request)->fill(box, values.data());
    return values;
}

/// The field of the whole lattice, by the library alone.
template <class T>
std::vector<std::complex<T>> expected(const Request& request, int order) {
    RectangularPistonCuda2 piston(request.l, request.s, request.k);
    piston.doubleRule.compute(order);
    piston.floatRule.compute(order);
    const Grid3DR<T> grid(request.transform.data(), 7, 5, 4);
    std::vector<T> re(140);
    std::vector<T> im(140);
    piston.computeCPU(re.data(), im.data(), grid);
    std::vector<std::complex<T>> values;
    for (std::size_t i = 0; i < re.size(); ++i) values.emplace_back(re[i], im[i]);
    return values;
}

/// A Gauss-Legendre rule, as a table.
std::vector<double> tableOf(int order) {
    GaussLegendre<double> rule;
    rule.compute(order);
    std::vector<double> table;
    for (int i = 0; i < order; ++i) {
        table.push_back(rule.abscissas[i]);
        table.push_back(rule.weights[i]);
    }
    return table;
}

TEST(Evaluation, OnTheProcessorIsTheLibrarysFieldInThePrecisionOfTheMode) {
    const Request dp = smallRequest("cpu");
    EXPECT_EQ(evaluated<double>(dp, dp.lattice()), expected<double>(dp, 6));
    const Request sp = smallRequest("cpusp");
    EXPECT_EQ(evaluated<float>(sp, sp.lattice()), expected<float>(sp, 6));
}

TEST(Evaluation, OfABoxHasTheBitsOfTheWhole) {
    const Request request = smallRequest();
    const auto whole = evaluated<double>(request, request.lattice());
    for (std::int64_t i = 0; i < 140; ++i)
        EXPECT_EQ(evaluated<double>(request, {{i % 7, i / 7 % 5, i / 35}, {1, 1, 1}})[0],
                  whole[static_cast<std::size_t>(i)]);
}

TEST(Evaluation, TakesTheRuleOfATable) {
    for (const int order : {5, 6, 100}) {
        Request request = smallRequest();
        request.order = order;
        request.table = tableOf(order);
        EXPECT_EQ(evaluated<double>(request, request.lattice()), expected<double>(request, order));
        for (double& number : request.table) number *= 0.5;
        EXPECT_NE(evaluated<double>(request, request.lattice()), expected<double>(request, order));
    }
}

TEST(Evaluation, OnTheProcessorPrintsNothing) {
    const Printed printed = captured([] {
        for (const char* mode : {"cpu", "cpusp"})
            evaluated<double>(smallRequest(mode), smallRequest().lattice());
    });
    EXPECT_EQ(printed.out + printed.err, "");
}

}  // namespace
