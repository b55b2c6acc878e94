// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gmock/gmock.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cuda_runtime/emulated/Emulator.h"
#include "field/Plan.h"
#include "parallel/threads.h"
#include "tests/field/smallRequest.h"
#include "tests/matlab_src/SubstituteHost.h"
#include "tests/matlab_src/askModule.h"
#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"

namespace {

using substitute::doubles;
using substitute::EventKind;
using substitute::number;
using substitute::text;
using substitute::theHost;

using Field = std::vector<std::complex<double>>;

constexpr LatticeBox box{{1, 0, 2}, {5, 4, 2}};

host::Array* triple(const std::array<std::int64_t, 3>& values) {
    return doubles({static_cast<double>(values[0]), static_cast<double>(values[1]),
                    static_cast<double>(values[2])},
                   {1, 3});
}

/// What asks for the small request's field in the box.
std::vector<const host::Array*> question(const std::string& mode) {
    const pistonfield::Request request = smallRequest(mode);
    return {text("field"),
            doubles({request.lattice.transform.begin(), request.lattice.transform.end()}, {4, 4}),
            triple(request.lattice.sizes),
            number(request.piston.width),
            number(request.piston.height),
            number(request.wave.wavenumber),
            text(mode),
            number(request.rule.order),
            triple(box.first),
            triple(box.size),
            number(3)};
}

pistonfield::Request smallRequestWithin(double tolerance, pistonfield::Tolerance::Of of,
                                        const std::string& mode) {
    pistonfield::Request request = smallRequest(mode);
    request.tolerance = pistonfield::Tolerance{tolerance, of};
    request.behind = true;
    return request;
}

/// The same by a tolerance.
std::vector<const host::Array*> questionWithin(double tolerance, const std::string& relative,
                                               const std::string& mode) {
    std::vector<const host::Array*> arguments = question(mode);
    arguments[0] = text("field_within");
    arguments[7] = number(tolerance);
    arguments.insert(arguments.begin() + 8, text(relative));
    return arguments;
}

/// What asks for the accuracy of the whole field.
std::vector<const host::Array*> accuracyQuestion(double tolerance, const std::string& relative,
                                                 const std::string& mode) {
    std::vector<const host::Array*> arguments = questionWithin(tolerance, relative, mode);
    arguments[0] = text("accuracy");
    arguments.erase(arguments.begin() + 9, arguments.begin() + 11);
    return arguments;
}

class InternalGatewayTest : public testing::Test {
  protected:
    void SetUp() override { theHost().reset(); }

    /// The error of a good question with another value at a position.
    static std::string refusalWith(std::size_t position, const host::Array* value) {
        std::vector<const host::Array*> arguments = question("cpu");
        arguments[position] = value;
        return refusalOf(arguments);
    }
};

TEST_F(InternalGatewayTest, AnswersWithThePlansFieldAndPrintsNothing) {
    for (const std::string mode : {"cpu", "cpudp", "cpusp", "cuda", "cudadp"}) {
        Field wanted(static_cast<std::size_t>(box.points()));
        pistonfield::Plan(smallRequest(mode)).compute(box, wanted.data());
        const std::vector<const host::Array*> arguments = question(mode);
        host::Array* output = nullptr;
        const Printed printed = captured([&] { output = answerTo(arguments); });
        EXPECT_EQ(substitute::valuesOf(output), wanted) << mode;
        EXPECT_EQ(output->dimensions, (substitute::Dimensions{5, 4, 2}));
        EXPECT_EQ(printed.out + printed.err + theHost().console(), "");
    }
}

TEST_F(InternalGatewayTest, AnswersWithTheFieldWithinATolerance) {
    using Of = pistonfield::Tolerance::Of;
    for (const std::string mode : {"cpu", "cpudp", "cpusp", "cuda", "cudadp"})
        for (const auto& [relative, of] :
             {std::pair{"largest", Of::largest}, {"local", Of::local}}) {
            const pistonfield::Plan plan(smallRequestWithin(1e-3, of, mode));
            Field wanted(static_cast<std::size_t>(box.points()));
            plan.compute(box, wanted.data());
            host::Array* output = nullptr;
            const Printed printed = captured(
                [&, word = relative] { output = answerTo(questionWithin(1e-3, word, mode)); });
            EXPECT_EQ(substitute::valuesOf(output), wanted) << mode << ' ' << relative;
            EXPECT_EQ(output->dimensions, (substitute::Dimensions{5, 4, 2}));
            EXPECT_EQ(printed.out + printed.err + theHost().console(), "");
        }
}

TEST_F(InternalGatewayTest, AnswersWithTheAccuracyOfATolerance) {
    using Of = pistonfield::Tolerance::Of;
    for (const std::string mode : {"cpu", "cpusp", "cuda", "cudadp"})
        for (const auto& [relative, of] :
             {std::pair{"largest", Of::largest}, {"local", Of::local}}) {
            const pistonfield::Accuracy wanted =
                pistonfield::Plan(smallRequestWithin(1e-3, of, mode)).accuracy().value();
            host::Array* const row = answerTo(accuracyQuestion(1e-3, relative, mode));
            EXPECT_FALSE(row->complex);
            EXPECT_EQ(row->dimensions, (substitute::Dimensions{1, 3}));
            const double* const values = host::realData(row);
            EXPECT_EQ(std::vector<double>(values, values + 3),
                      (std::vector<double>{wanted.bound, wanted.error, wanted.evaluations}));
            EXPECT_LE(wanted.error, wanted.bound);
            EXPECT_LE(wanted.bound, 1e-3);
        }
}

TEST_F(InternalGatewayTest, NamesWhatIsWrongWithATolerance) {
    for (auto* const asked : {questionWithin, accuracyQuestion}) {
        const bool isField = asked == questionWithin;
        EXPECT_EQ(refusalOf(asked(0, "largest", "cpu")),
                  refusal("tolerance", "tolerance: must be above 0 and below 1"));
        EXPECT_EQ(refusalOf(asked(1e-3, "far", "cpu")),
                  refusal("relative", "relative: 'far' is none of largest, local"));
        for (const char* mode : {"cpusp", "cuda"})
            EXPECT_THAT(refusalOf(asked(1e-9, "largest", mode)),
                        testing::StartsWith(refusal("tolerance", "tolerance: ")));
        std::vector<const host::Array*> arguments = asked(1e-3, "local", "cpu");
        arguments[7] = text("small");
        EXPECT_EQ(refusalOf(arguments),
                  refusal("tolerance",
                          "tolerance: must be full, real and of class double, with 1 elements"));
        arguments = asked(1e-3, "local", "cpu");
        arguments[8] = number(1);
        EXPECT_EQ(refusalOf(arguments), refusal("relative", "relative: must be a text"));
        arguments = asked(1e-3, "local", "cpu");
        arguments.back() = number(1025);
        EXPECT_EQ(refusalOf(arguments), refusal("threads", "threads: must be from 0 to 1024"));
        arguments.pop_back();
        EXPECT_EQ(refusalOf(arguments),
                  refusal("arguments", isField ? "arguments: 11 in the place of 12"
                                               : "arguments: 9 in the place of 10"));
    }
}

/// A list of eight points, one of them behind the piston, in a column, a row and a cube.
struct SmallList {
    pistonfield::PointList points{{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8},
                                  {0, -1, 0, 1, 2, 0, 0, 3},
                                  {1, 2, 3, -4, 5, 0, 7, 8}};
    const host::Array* x = doubles(points.x, {8, 1});
    const host::Array* y = doubles(points.y, {1, 8});
    const host::Array* z = doubles(points.z, {2, 2, 2});

    pistonfield::Request request(double tolerance, pistonfield::Tolerance::Of of,
                                 const std::string& mode) const {
        pistonfield::Request request = smallRequestWithin(tolerance, of, mode);
        request.points = points;
        request.lattice.sizes = {8, 1, 1};
        return request;
    }

    /// What asks about it, but for what comes after the tolerance.
    std::vector<const host::Array*> question(const std::string& name, double tolerance,
                                             const std::string& relative,
                                             const std::string& mode) const {
        std::vector<const host::Array*> arguments = questionWithin(tolerance, relative, mode);
        arguments.resize(9);
        arguments.erase(arguments.begin(), arguments.begin() + 3);
        arguments.insert(arguments.begin(), {text(name), x, y, z});
        return arguments;
    }

    std::vector<const host::Array*> field(double tolerance, const std::string& relative,
                                          const std::string& mode) const {
        auto arguments = question("field_within_of_list", tolerance, relative, mode);
        arguments.insert(arguments.end(), {triple({2, 0, 0}), triple({5, 1, 1}), number(2)});
        return arguments;
    }

    std::vector<const host::Array*> accuracy(double tolerance, const std::string& relative,
                                             const std::string& mode) const {
        auto arguments = question("accuracy_of_list", tolerance, relative, mode);
        arguments.push_back(number(2));
        return arguments;
    }
};

TEST_F(InternalGatewayTest, AnswersWithTheFieldAtAListOfPoints) {
    using Of = pistonfield::Tolerance::Of;
    const SmallList list;
    for (const std::string mode : {"cpu", "cpusp"})
        for (const auto& [relative, of] :
             {std::pair{"largest", Of::largest}, {"local", Of::local}}) {
            const pistonfield::Plan plan(list.request(1e-3, of, mode));
            Field wanted(5);
            plan.compute({{2, 0, 0}, {5, 1, 1}}, wanted.data());
            host::Array* const output = answerTo(list.field(1e-3, relative, mode));
            EXPECT_EQ(substitute::valuesOf(output), wanted) << mode << ' ' << relative;
            EXPECT_EQ(output->dimensions, (substitute::Dimensions{5, 1}));

            const pistonfield::Accuracy accuracy = plan.accuracy().value();
            const double* const values =
                host::realData(answerTo(list.accuracy(1e-3, relative, mode)));
            EXPECT_EQ(std::vector<double>(values, values + 3),
                      (std::vector<double>{accuracy.bound, accuracy.error, accuracy.evaluations}));
        }
}

TEST_F(InternalGatewayTest, NamesWhatIsWrongWithAListOfPoints) {
    const SmallList list;
    for (const auto asked : {&SmallList::field, &SmallList::accuracy}) {
        const auto good = (list.*asked)(1e-3, "local", "cpu");
        EXPECT_EQ(refusalOf(good), "none");
        const auto with = [&good](std::size_t position, const host::Array* value) {
            auto arguments = good;
            arguments[position] = value;
            return refusalOf(arguments);
        };
        for (std::size_t i = 1; i < 4; ++i) {
            for (const host::Array* wrong :
                 {substitute::arrayOf("single", {8, 1}), substitute::sparseOf("double", {8, 1}),
                  substitute::complexOf(std::vector<double>(8, 1), {8, 1}), text("12345678")})
                EXPECT_EQ(with(i, wrong),
                          refusal("points", "points: must be full, real and of class double"));
            EXPECT_EQ(with(i, doubles({1, 2, 3}, {3, 1})),
                      refusal("points", "points: the three arrays must be of the same length"));
            EXPECT_EQ(with(i, doubles({1, 2, 3, 4, 5, 6, 7, NAN}, {8, 1})),
                      refusal("points", "points: every number must be finite"));
        }
        const host::Array* const none = doubles({}, {0, 1});
        auto arguments = good;
        arguments[1] = arguments[2] = arguments[3] = none;
        EXPECT_EQ(refusalOf(arguments), refusal("sizes", "sizes: each must be 1 or more"));
        arguments = good;
        arguments.pop_back();
        EXPECT_THAT(refusalOf(arguments), testing::StartsWith(refusal("arguments", "")));
    }
    auto arguments = list.field(1e-3, "local", "cpu");
    arguments[11] = triple({7, 1, 1});
    EXPECT_THAT(refusalOf(arguments), testing::StartsWith(refusal("box", "")));
}

/// Two elements, the second of them turned about y and wider, and two weightings of them.
struct SmallArray {
    pistonfield::Array array{{{{0.4, 0.5}, {{-0.3, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                              {{0.6, 0.5}, {{0.4, 0.1, -0.2}, {0.8, 0, -0.6}, {0, 1, 0}}}},
                             {{1, 0.5}, {0, -2}, {0, 0}, {0.25, 1}}};

    pistonfield::Request request(const std::string& mode, bool behind = false) const {
        pistonfield::Request request =
            smallRequestWithin(1e-3, pistonfield::Tolerance::Of::local, mode);
        request.array = array;
        request.behind = behind;
        return request;
    }

    /// What asks for the field in the box; of a list, at the points of it.
    static std::vector<const host::Array*> field(const std::string& mode,
                                                 const SmallList* list = nullptr) {
        std::vector<const host::Array*> arguments = questionWithin(1e-3, "local", mode);
        arguments[0] = text("array_field_within");
        const std::vector<const host::Array*> elements{
            doubles({0.4, 0.6}, {1, 2}),
            number(0.5),
            doubles({-0.3, 0, 0, 0.4, 0.1, -0.2}, {3, 2}),
            doubles({1, 0, 0, 0, 1, 0, 0, 0, 1, 0.8, 0, -0.6, 0, 1, 0, 0.6, 0, 0.8}, {3, 3, 2}),
            doubles({1, 0, 0, 0.25}, {2, 2}),
            doubles({0.5, -2, 0, 1}, {2, 2}),
            number(list == nullptr ? 0 : 1)};
        arguments.erase(arguments.begin() + 3, arguments.begin() + 5);
        arguments.insert(arguments.begin() + 3, elements.begin(), elements.end());
        if (list != nullptr) {
            arguments[0] = text("array_field_within_of_list");
            arguments[1] = list->x;
            arguments[2] = list->y;
            arguments.insert(arguments.begin() + 3, list->z);
            arguments[15] = triple({2, 0, 0});
            arguments[16] = triple({5, 1, 1});
        }
        return arguments;
    }

    /// What asks for the accuracy.
    static std::vector<const host::Array*> accuracy(const std::string& mode) {
        auto arguments = field(mode);
        arguments[0] = text("array_accuracy");
        arguments.erase(arguments.end() - 3, arguments.end() - 1);
        return arguments;
    }
};

TEST_F(InternalGatewayTest, AnswersWithTheFieldsOfAnArray) {
    const SmallArray small;
    for (const std::string mode : {"cpu", "cpusp", "cuda", "cudadp"}) {
        Field wanted(static_cast<std::size_t>(2 * box.points()));
        pistonfield::Plan(small.request(mode, true)).compute(box, wanted.data());
        auto arguments = SmallArray::field(mode);
        arguments[9] = number(1);
        host::Array* const output = answerTo(arguments);
        EXPECT_EQ(substitute::valuesOf(output), wanted) << mode;
        EXPECT_EQ(output->dimensions, (substitute::Dimensions{5, 4, 4}));
    }
}

TEST_F(InternalGatewayTest, AnswersWithTheFieldsOfAnArrayAtAListOfPoints) {
    const SmallList list;
    pistonfield::Request request = SmallArray().request("cpu", true);
    request.points = list.points;
    request.lattice.sizes = {8, 1, 1};
    Field wanted(10);
    pistonfield::Plan(request).compute({{2, 0, 0}, {5, 1, 1}}, wanted.data());
    host::Array* const output = answerTo(SmallArray::field("cpu", &list));
    EXPECT_EQ(substitute::valuesOf(output), wanted);
    EXPECT_EQ(output->dimensions, (substitute::Dimensions{5, 1, 2}));
}

TEST_F(InternalGatewayTest, AnswersWithTheAccuracyOfAnArrayAndItsEngine) {
    const pistonfield::Plan plan(SmallArray().request("cpu", true));
    const pistonfield::Accuracy wanted = plan.accuracy().value();
    auto arguments = SmallArray::accuracy("cpu");
    arguments[9] = number(1);
    host::Array* const row = answerTo(arguments);
    EXPECT_FALSE(row->complex);
    const double* const values = host::realData(row);
    EXPECT_EQ(std::vector<double>(values, values + 3),
              (std::vector<double>{wanted.bound, wanted.error, wanted.evaluations}));
    EXPECT_EQ(std::string(values + 3, values + row->count()), plan.engine());
}

TEST_F(InternalGatewayTest, RefusesPointsBehindAnElement) {
    for (const auto& asked : {SmallArray::field("cpu"), SmallArray::accuracy("cpu")})
        EXPECT_THAT(refusalOf(asked), testing::MatchesRegex(".*:transform . transform: the point "
                                                            ".* lies behind element 2"));
}

TEST_F(InternalGatewayTest, NamesWhatIsWrongWithAnArray) {
    const auto with = [](std::size_t position, const host::Array* value) {
        auto arguments = SmallArray::field("cpu");
        arguments[9] = number(1);
        arguments[position] = value;
        return refusalOf(arguments);
    };
    const auto wrong = [](const std::string& text) {
        return refusal("elements", "elements: " + text);
    };
    EXPECT_EQ(with(9, number(0.5)), refusal("behind", "behind: must be whole"));
    EXPECT_EQ(with(3, doubles({1, 2, 3}, {1, 3})),
              wrong("width has 3 numbers, not 2 of 2 elements"));
    EXPECT_EQ(with(4, doubles({}, {0, 0})), wrong("height has 0 numbers, not 2 of 2 elements"));
    EXPECT_EQ(with(5, doubles({1, 2}, {1, 2})), wrong("the centres must be 3 by N numbers"));
    EXPECT_EQ(with(5, doubles({}, {3, 0})), wrong("the centres must be 3 by N numbers"));
    EXPECT_EQ(with(6, doubles({1, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 3})),
              wrong("orientation has 9 numbers, not 18 of 2 elements"));
    for (const double z : {-1.0, 0.9, double{NAN}})
        EXPECT_EQ(
            with(6, doubles({1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 0, 1, 0, 0, 0, z}, {3, 3, 2})),
            wrong("element 2: the columns of the orientation must be of length 1, at right "
                  "angles, the third the cross product of the others"));
    EXPECT_THAT(with(3, doubles({0.4, -1}, {1, 2})),
                testing::StartsWith(wrong("element 2: the sides must be lengths above 0")));
    for (std::size_t i = 3; i < 7; ++i)
        EXPECT_EQ(with(i, text("text")), wrong("must be full, real and of class double"));
    EXPECT_EQ(with(7, doubles({1, 2}, {2, 1})),
              refusal("weights", "weights: there are 2 real and 4 imaginary parts"));
    EXPECT_EQ(with(8, text("text")),
              refusal("weights", "weights: must be full, real and of class double"));
    EXPECT_EQ(with(14, number(1)),
              refusal("first", "first: must be full, real and of class double, with 3 elements"));
    auto arguments = SmallArray::accuracy("cuda");
    arguments.pop_back();
    EXPECT_EQ(refusalOf(arguments), refusal("arguments", "arguments: 14 in the place of 15"));
}

TEST_F(InternalGatewayTest, AnswersBehindThePistonByTheMirroredPoint) {
    std::vector<const host::Array*> arguments = questionWithin(1e-6, "largest", "cpu");
    arguments[2] = arguments[10] = triple({1, 1, 1});
    arguments[9] = triple({0, 0, 0});
    const auto at = [&arguments](double z) {
        arguments[1] = doubles({1, 0, 0, 0.1, 0, 1, 0, 0.2, 0, 0, 1, z, 0, 0, 0, 1}, {4, 4});
        return substitute::valuesOf(answerTo(arguments)).front();
    };
    EXPECT_EQ(at(-0.7), at(0.7));
}

TEST_F(InternalGatewayTest, AnswersWithLimits) {
    const auto limit = [](const std::vector<const host::Array*>& arguments) {
        host::Array* const answer = answerTo(arguments);
        EXPECT_FALSE(answer->complex);
        return host::scalar(answer);
    };
    EXPECT_EQ(limit({text("largest_order"), text("cpu")}), 18000);
    EXPECT_EQ(limit({text("largest_order"), text("cudadp")}), 512);
    EXPECT_EQ(limit({text("most_points_in_a_row"), text("cpusp")}), 16777216);
    EXPECT_EQ(limit({text("most_points_in_a_row"), text("cudadp")}), 9007199254740992);
    EXPECT_EQ(limit({text("most_threads")}), 1024);
}

TEST_F(InternalGatewayTest, NamesTheArgumentThatIsWrong) {
    const auto numbers = [](const std::string& name, int count) {
        return refusal(name, name + ": must be full, real and of class double, with " +
                                 std::to_string(count) + " elements");
    };
    const std::vector<std::pair<std::size_t, std::string>> kinds{
        {1, numbers("transform", 16)}, {2, numbers("sizes", 3)},      {3, numbers("width", 1)},
        {4, numbers("height", 1)},     {5, numbers("wavenumber", 1)}, {7, numbers("order", 1)},
        {8, numbers("first", 3)},      {9, numbers("count", 3)},      {10, numbers("threads", 1)}};
    for (const auto& [position, wanted] : kinds) {
        const std::size_t count = question("cpu")[position]->count();
        for (const host::Array* wrong :
             {substitute::arrayOf("single", {1, count}), substitute::sparseOf("double", {1, count}),
              substitute::complexOf(std::vector<double>(count, 1), {1, count}),
              substitute::arrayOf("double", {1, count + 1}), text("text")})
            EXPECT_EQ(refusalWith(position, wrong), wanted);
    }
    EXPECT_EQ(refusalWith(0, number(1)), refusal("question", "question: must be a text"));
    EXPECT_EQ(refusalWith(0, text("else")), refusal("question", "question: 'else' is none"));
    EXPECT_EQ(refusalOf({}), refusal("question", "question: there is none"));
    EXPECT_EQ(refusalOf({text("field")}), refusal("arguments", "arguments: 1 in the place of 11"));
    EXPECT_EQ(refusalWith(6, number(1)), refusal("mode", "mode: must be a text"));
    using namespace std::string_literals;
    EXPECT_EQ(refusalWith(6, text("cpu\0x"s)),
              refusal("mode", "mode: must be a text without zeros"));
    EXPECT_EQ(refusalWith(0, text("field\0"s)),
              refusal("question", "question: must be a text without zeros"));
    EXPECT_EQ(refusalWith(3, number(-1)), refusal("width", "width: must be a length above 0"));
    for (const double order : {0.0, 18001.0, 1e10})
        EXPECT_EQ(refusalWith(7, number(order)),
                  refusal("order", "order: must be from 1 to 18000"));
    for (const double order : {1.5, double{NAN}, 1e16, double{INFINITY}})
        EXPECT_EQ(refusalWith(7, number(order)), refusal("order", "order: must be whole"));
    EXPECT_EQ(refusalWith(10, number(1025)), refusal("threads", "threads: must be from 0 to 1024"));
}

TEST_F(InternalGatewayTest, RefusesABoxBeyondTheLatticeBeforeThereIsAResult) {
    EXPECT_EQ(refusalWith(9, triple({5, 4, 3})),
              refusal("box",
                      "3 points from 2 on do not lie within the lattice's 4 along its "
                      "direction z"));
    EXPECT_EQ(refusalWith(9, triple({5, -4, 2})),
              refusal("box",
                      "-4 points from 0 on do not lie within the lattice's 5 along its "
                      "direction y"));
    EXPECT_THAT(theHost().textsOf(EventKind::creation), testing::IsEmpty());
}

TEST_F(InternalGatewayTest, SaysThatThereIsNoDevice) {
    const EmulatedDevices none({});
    EXPECT_EQ(refusalOf(question("cuda")),
              refusal("device", "cudaSetDevice: no CUDA-capable device is detected"));
    EXPECT_EQ(refusalOf(question("cpu")), "none");
}

TEST_F(InternalGatewayTest, SaysWhatIsWrongWithTheEnvironment) {
    std::vector<const host::Array*> arguments = question("cpu");
    arguments[2] = arguments[9] = triple({100, 100, 10});
    arguments[8] = triple({0, 0, 0});
    arguments[7] = number(100);
    ASSERT_EQ(setenv("PISTONFIELD_THREADS", "none", 1), 0);
    EXPECT_EQ(refusalOf(arguments), "none");
    arguments[10] = number(0);
    EXPECT_EQ(
        refusalOf(arguments),
        refusal("environment", "PISTONFIELD_THREADS: 'none' is no whole number from 1 to 1024"));
    ASSERT_EQ(unsetenv("PISTONFIELD_THREADS"), 0);
}

TEST_F(InternalGatewayTest, LeavesMissingMemoryToTheHost) {
    theHost().resultLimit = 39;
    EXPECT_THROW(answerTo(question("cpu")), std::bad_alloc);
}

TEST_F(InternalGatewayTest, LimitsTheThreadsForTheCallAlone) {
    std::optional<bool> during;
    theHost().interceptor = [&during](const char* operation, int) {
        if (std::string(operation) == "createResult") during = pistonfield::threadsAreChosen();
    };
    EXPECT_EQ(refusalOf(question("cpu")), "none");
    EXPECT_EQ(during, true);
    EXPECT_FALSE(pistonfield::threadsAreChosen());
}

TEST_F(InternalGatewayTest, LeavesNothingWhereverTheHostEndsTheCall) {
    for (const std::string mode : {"cpu", "cuda"}) {
        theHost().reset();
        answerTo(question(mode));
        const int operations = theHost().operations;
        for (int nth = 1; nth <= operations; ++nth) {
            theHost().reset();
            theHost().interceptor = [nth](const char*, int number) {
                if (number == nth) throw nth;
            };
            EXPECT_THROW(answerTo(question(mode)), int);
            EXPECT_FALSE(pistonfield::threadsAreChosen());
            EXPECT_FALSE(cuda_runtime::emulated::emulator().hasContext());
        }
    }
}

}  // namespace
