// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Arrays of every class and shape in every position end in a clear error or a field, never in
// reading what is not there.
#include <algorithm>

#include "tests/matlab_src/GatewayTest.h"
#include "tests/matlab_src/Refusals.h"

using substitute::Dimensions;

namespace {

constexpr const char* const classes[]{
    "double", "single", "int8",    "uint8", "int16", "uint16", "int32",  "uint32",
    "int64",  "uint64", "logical", "char",  "cell",  "struct", "string", "function_handle"};

const std::vector<Dimensions>& shapes() {
    static const std::vector<Dimensions> all{
        {0, 0},  {0, 3}, {3, 0}, {1, 1}, {1, 2}, {2, 1},    {1, 3},    {3, 1},      {4, 4},
        {1, 16}, {5, 2}, {0, 2}, {2, 8}, {5, 5}, {1, 1, 3}, {2, 2, 4}, {1, 1, 0, 7}};
    return all;
}

class ArgumentClassesTest : public GatewayTest {
  protected:
    /// That the call with this argument ends well, in a field or one of the messages.
    void expectGoodEnd(std::size_t position, const host::Array* array) {
        Request request;
        request.abscissas(4).at(position, array);
        const Outcome outcome = call(request);
        const std::string where = array->className + " in position " + std::to_string(position);
        if (outcome.ending == Ending::answered)
            EXPECT_EQ(outcome.values().size(), outcome.output->count()) << where;
        else
            EXPECT_THAT(refusals(), testing::Contains(outcome.error)) << where;
        expectNothingLeft(outcome);
    }

    std::string errorWith(std::size_t position, const host::Array* array) {
        Request request;
        return call(request.at(position, array)).error;
    }
};

TEST_F(ArgumentClassesTest, endWellInEveryPositionAndShape) {
    for (const char* name : classes)
        for (const Dimensions& shape : shapes())
            for (std::size_t position = 0; position < 7; ++position)
                expectGoodEnd(position, substitute::arrayOf(name, shape));
    expectNextCallWorks();
}

TEST_F(ArgumentClassesTest, endWellSparseOrComplex) {
    for (const Dimensions& shape : shapes())
        for (std::size_t position = 0; position < 7; ++position) {
            expectGoodEnd(position, substitute::sparseOf("double", shape));
            expectGoodEnd(position, substitute::sparseOf("logical", shape));
            host::Array* complex = substitute::arrayOf("double", shape);
            complex->complex = true;
            complex->imaginary = complex->real;
            expectGoodEnd(position, complex);
        }
    expectNextCallWorks();
}

TEST_F(ArgumentClassesTest, otherThanDoubleAreNoTransform) {
    for (const std::string name : classes) {
        if (name == "double" || name == "char") continue;
        EXPECT_EQ(errorWith(0, substitute::arrayOf(name, {4, 4})),
                  "The transform (argument 1) must be full and of class double.")
            << name;
    }
    EXPECT_EQ(errorWith(0, substitute::arrayOf("char", {4, 4})),
              "Input must be real, full, and nonstring");
}

TEST_F(ArgumentClassesTest, otherThanFullDoubleAreNoSizes) {
    constexpr const char* refusal =
        "Size information (argument 2) must be full and of class double.";
    for (const std::string name : classes) {
        if (name == "double") continue;
        EXPECT_EQ(errorWith(1, substitute::arrayOf(name, {1, 3})), refusal) << name;
    }
    EXPECT_EQ(errorWith(1, substitute::sparseOf("double", {1, 3})), refusal);
}

TEST_F(ArgumentClassesTest, withoutNumbersAreNoLAndNoSAndNoK) {
    const std::vector<std::string> refusals{"l must be a number.", "s must be a number.",
                                            "k must be a number."};
    for (std::size_t i = 0; i < refusals.size(); ++i) {
        for (const char* name : {"cell", "struct", "string", "function_handle"})
            EXPECT_EQ(errorWith(2 + i, substitute::arrayOf(name, {1, 1})), refusals[i]) << name;
        for (const char* name : classes)
            EXPECT_EQ(errorWith(2 + i, substitute::arrayOf(name, {0, 0})), refusals[i]) << name;
        EXPECT_EQ(errorWith(2 + i, substitute::sparseOf("double", {1, 1})), refusals[i]);
    }
}

TEST_F(ArgumentClassesTest, otherThanCharAreNoMode) {
    for (const std::string name : classes) {
        if (name == "char") continue;
        EXPECT_EQ(errorWith(5, substitute::arrayOf(name, {1, 3}, 'c')),
                  "Input 5 must be a character string and either be 'cuda' or 'cpu'")
            << name;
    }
    for (const Dimensions& shape : shapes())
        EXPECT_EQ(errorWith(5, substitute::arrayOf("char", shape, 'c')),
                  "Input 5 must either be 'cuda' or 'cpu[sp,dp]'");
}

}  // namespace
