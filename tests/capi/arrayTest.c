/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// Arrays, as a program in C99 asks for them.

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "tests/capi/checks.h"
#include "tests/capi/sampleField.h"

enum { elementCount = 4, numbers = 2 * samplePoints, weightingCount = 3 };

static const pistonfield_box all = {{0, 0, 0}, {7, 5, 4}};

/// Elements beside each other, one turned in the plane, and two tilted towards the points.
static const pistonfield_element some[elementCount] = {
    {0.3, 0.5, {-0.3, 0, 0}, {1, 0, 0}, {0, 1, 0}},
    {0.2, 0.4, {0.4, 0.1, 0}, {0, 1, 0}, {-1, 0, 0}},
    {0.3, 0.5, {-0.9, 0, 0.05}, {0.8, 0, -0.6}, {0, 1, 0}},
    {0.25, 0.25, {0.1, 0.8, 0}, {1, 0, 0}, {0, 0.8, 0.6}},
};

static const double someWeights[weightingCount * 2 * elementCount] = {
    1,   0,    1, 0, 1, 0,  1, 0,   //
    0.5, -0.7, 0, 1, 0, 0,  2, -3,  //
    0,   0,    0, 0, 0, -4, 0, 0,
};

static pistonfield_request arrayRequest(void) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-11;
    // Neither means anything beside an array.
    request.width = NAN;
    request.height = -1;
    request.array = some;
    request.elements = elementCount;
    request.weights = someWeights;
    request.weightings = weightingCount;
    return request;
}

static double product(const double a[3], const double b[3]) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The field of an element that is alone, at the sample's points in its own frame.
static void fieldOf(const pistonfield_element* element, double values[numbers]) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    const double* const a = element->along_width;
    const double* const b = element->along_height;
    const double normal[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                              a[0] * b[1] - a[1] * b[0]};
    double x[samplePoints];
    double y[samplePoints];
    double z[samplePoints];
    for (int n = 0; n < samplePoints; ++n) {
        const int index[3] = {n % 7, n / 7 % 5, n / 35};
        double from[3];
        for (int i = 0; i < 3; ++i)
            from[i] = (request.transform[5 * i] * index[i] + request.transform[4 * i + 3]) /
                          request.transform[15] -
                      element->centre[i];
        x[n] = product(from, a);
        y[n] = product(from, b);
        z[n] = product(from, normal);
    }
    request.width = element->width;
    request.height = element->height;
    request.tolerance = 1e-12;
    request.x = x;
    request.y = y;
    request.z = z;
    request.points = samplePoints;
    pistonfield_plan* plan = planFor(&request);
    const pistonfield_box list = {{0, 0, 0}, {samplePoints, 1, 1}};
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &list, values, values + 1, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    pistonfield_plan_destroy(plan);
}

/// The sum of the elements' fields, each times its weight.
static void superposition(const double weights[2 * elementCount], double values[numbers]) {
    memset(values, 0, numbers * sizeof *values);
    for (int i = 0; i < elementCount; ++i) {
        double alone[numbers];
        fieldOf(&some[i], alone);
        const double re = weights[2 * i];
        const double im = weights[2 * i + 1];
        for (int n = 0; n < numbers; n += 2) {
            values[n] += re * alone[n] - im * alone[n + 1];
            values[n + 1] += re * alone[n + 1] + im * alone[n];
        }
    }
}

/// The largest error, relative to the largest value.
static double errorOf(const double values[numbers], const double expected[numbers]) {
    double largest = 0;
    double off = 0;
    for (int n = 0; n < numbers; n += 2) {
        largest = fmax(largest, hypot(expected[n], expected[n + 1]));
        off = fmax(off, hypot(values[n] - expected[n], values[n + 1] - expected[n + 1]));
    }
    return off / largest;
}

static void compute(const pistonfield_plan* plan, double* values) {
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &all, values, values + 1, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");
}

static void superposesTheElementsOfEachWeighting(void) {
    const pistonfield_request request = arrayRequest();
    pistonfield_plan* plan = planFor(&request);
    double values[weightingCount * numbers];
    compute(plan, values);
    pistonfield_plan_destroy(plan);
    for (int w = 0; w < weightingCount; ++w) {
        double expected[numbers];
        superposition(someWeights + 2 * elementCount * w, expected);
        EXPECT(errorOf(values + numbers * w, expected) <= 2e-11);
    }
}

static void superposesThemOnAGpu(void) {
    pistonfield_request request = arrayRequest();
    for (int inSingle = 0; inSingle <= 1; ++inSingle) {
        request.mode = inSingle ? PISTONFIELD_CUDA : PISTONFIELD_CUDADP;
        request.tolerance = inSingle ? 1e-4 : 1e-11;
        pistonfield_plan* plan = planFor(&request);
        double values[weightingCount * numbers];
        double expected[numbers];
        compute(plan, values);
        pistonfield_plan_destroy(plan);
        superposition(someWeights + 2 * elementCount, expected);
        EXPECT(errorOf(values + numbers, expected) <= 2 * request.tolerance);
    }
}

static void drivesAllAlikeWithoutWeights(void) {
    pistonfield_request request = arrayRequest();
    request.weights = NULL;
    for (int weightings = 0; weightings <= 1; ++weightings) {
        request.weightings = weightings;
        pistonfield_plan* plan = planFor(&request);
        double values[numbers];
        double expected[numbers];
        compute(plan, values);
        superposition(someWeights, expected);
        EXPECT(errorOf(values, expected) <= 2e-11);
        pistonfield_plan_destroy(plan);
    }
}

static void hasAPlanWithElementsOfItsOwn(void) {
    pistonfield_element elements[elementCount];
    double weights[2 * elementCount * weightingCount];
    memcpy(elements, some, sizeof some);
    memcpy(weights, someWeights, sizeof someWeights);
    pistonfield_request request = arrayRequest();
    pistonfield_plan* plan = planFor(&request);
    double expected[weightingCount * numbers];
    compute(plan, expected);
    pistonfield_plan_destroy(plan);

    request.array = elements;
    request.weights = weights;
    plan = planFor(&request);
    memset(elements, 0, sizeof elements);
    memset(weights, 0, sizeof weights);
    double values[weightingCount * numbers];
    compute(plan, values);
    EXPECT(memcmp(values, expected, sizeof values) == 0);
    pistonfield_plan_destroy(plan);
}

/// Fields that lie apart, or between each other.
static void putsFieldsWhereTheConductSays(void) {
    enum { room = 2 * weightingCount * numbers };
    static const struct {
        int64_t stride, toNextField;
    } places[] = {{2, 0}, {2, numbers}, {2, numbers + 10}, {2 * weightingCount, 2}};
    const pistonfield_request request = arrayRequest();
    pistonfield_plan* plan = planFor(&request);
    double expected[weightingCount * numbers];
    compute(plan, expected);
    for (int i = 0; i < 4; ++i) {
        pistonfield_conduct conduct;
        pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
        conduct.to_next_field = places[i].toNextField;
        const int64_t apart = places[i].toNextField != 0 ? places[i].toNextField : numbers;
        double values[room];
        float singles[room];
        for (int n = 0; n < room; ++n) values[n] = singles[n] = -7;
        EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &all, values, values + 1,
                                                       places[i].stride, &conduct, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT_OUTCOME(pistonfield_plan_compute_float(plan, &all, singles, singles + 1,
                                                      places[i].stride, &conduct, &message),
                       PISTONFIELD_SUCCESS, "");
        for (int w = 0; w < weightingCount; ++w)
            for (int n = 0; n < samplePoints; ++n)
                for (int part = 0; part < 2; ++part) {
                    const int64_t at = w * apart + n * places[i].stride + part;
                    const double value = expected[w * numbers + 2 * n + part];
                    EXPECT(values[at] == value && singles[at] == (float)value);
                    values[at] = singles[at] = -7;
                }
        for (int n = 0; n < room; ++n) EXPECT(values[n] == -7 && singles[n] == -7);
    }
    pistonfield_plan_destroy(plan);
}

static void expectPlaces(const pistonfield_plan* plan, double* re, double* im, int64_t stride,
                         int64_t toNextField, pistonfield_status status, const char* text) {
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
    conduct.to_next_field = toNextField;
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &all, re, im, stride, &conduct, &message),
                   status, text);
}

static void refusesPlacesThatCannotBe(void) {
    const pistonfield_request request = arrayRequest();
    pistonfield_plan* plan = planFor(&request);
    static double values[4 * weightingCount * numbers];
    expectPlaces(plan, values, values + 1, 2, -1, PISTONFIELD_INVALID_ARGUMENT,
                 "to_next_field: -1 is not 0 or more");
    expectPlaces(plan, values, values + 1, 2, INT64_MAX / 16, PISTONFIELD_INVALID_ARGUMENT,
                 "to_next_field: 3 fields that are 576460752303423487 elements apart have no place "
                 "in memory");
    expectPlaces(plan, values, values + 1, INT64_MAX / 8, 0, PISTONFIELD_INVALID_ARGUMENT,
                 "stride: 420 values that are 1152921504606846975 elements apart have no place in "
                 "memory");
    static const char same[] = "to_next_field: puts values of two weightings into one place";
    expectPlaces(plan, values, values + 1, 2, numbers - 2, PISTONFIELD_INVALID_ARGUMENT, same);
    expectPlaces(plan, values, values + 1, 2, 2, PISTONFIELD_INVALID_ARGUMENT, same);
    // The first and the third weighting.
    expectPlaces(plan, values, values + 1, 4, 2, PISTONFIELD_INVALID_ARGUMENT, same);
    static const char shared[] = "im: has elements that are those of re";
    expectPlaces(plan, values, values, 2, 0, PISTONFIELD_INVALID_ARGUMENT, shared);
    expectPlaces(plan, values, values + samplePoints, 1, 0, PISTONFIELD_INVALID_ARGUMENT, shared);
    expectPlaces(plan, values + samplePoints, values, 1, 0, PISTONFIELD_INVALID_ARGUMENT, shared);
    expectPlaces(plan, values, values + 1, 2, numbers - 1, PISTONFIELD_INVALID_ARGUMENT, shared);
    // All real parts before all imaginary ones, or so within each field.
    expectPlaces(plan, values, values + weightingCount * samplePoints, 1, 0, PISTONFIELD_SUCCESS,
                 "");
    expectPlaces(plan, values, values + samplePoints, 1, numbers, PISTONFIELD_SUCCESS, "");
    pistonfield_plan_destroy(plan);

    pistonfield_request one = arrayRequest();
    one.weightings = 1;
    plan = planFor(&one);
    expectPlaces(plan, values, values + 1, 2, 1, PISTONFIELD_SUCCESS, "");
    expectPlaces(plan, values, values + 1, 2, INT64_MAX, PISTONFIELD_SUCCESS, "");
    expectPlaces(plan, values, values + 1, 2, INT64_MIN, PISTONFIELD_INVALID_ARGUMENT,
                 "to_next_field: -9223372036854775808 is not 0 or more");
    pistonfield_plan_destroy(plan);
}

/// The conduct as programs have it that were compiled with the first interface.
typedef struct FirstConduct {
    size_t size;
    pistonfield_progress progress;
    void* user;
    int64_t threads;
} FirstConduct;

static void takesTheConductOfTheFirstInterface(void) {
    // What lies behind an older struct is the program's own.
    struct {
        FirstConduct conduct;
        int64_t other;
    } program;
    pistonfield_conduct* const seen = (pistonfield_conduct*)(void*)&program.conduct;
    program.other = -5;
    EXPECT_OUTCOME(pistonfield_conduct_init(seen, sizeof program.conduct, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(program.conduct.size == 32 && program.other == -5);
    const pistonfield_request request = arrayRequest();
    pistonfield_plan* plan = planFor(&request);
    double expected[weightingCount * numbers];
    double values[weightingCount * numbers];
    compute(plan, expected);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &all, values, values + 1, 2, seen, &message),
        PISTONFIELD_SUCCESS, "");
    EXPECT(memcmp(values, expected, sizeof values) == 0);
    pistonfield_plan_destroy(plan);
}

/// The request of the third interface.
typedef struct ThirdRequest {
    size_t size;
    double width, height, wavenumber, transform[16];
    int64_t sizes[3];
    int32_t mode, order;
    const double* table;
    double tolerance;
    int32_t tolerance_of, behind;
    const double *x, *y, *z;
    int64_t points;
} ThirdRequest;

static void takesTheRequestOfTheThirdInterface(void) {
    struct {
        ThirdRequest request;
        double others[4];
    } program;
    pistonfield_request* const seen = (pistonfield_request*)(void*)&program.request;
    memset(&program, 0x3f, sizeof program);
    const double other = program.others[0];
    EXPECT_OUTCOME(pistonfield_request_init(seen, sizeof program.request, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(program.request.size == 248 && program.request.points == 0);
    for (int i = 0; i < 4; ++i) EXPECT(program.others[i] == other);

    pistonfield_request sample = sampleRequest(PISTONFIELD_CPU);
    sample.tolerance = 1e-6;
    memcpy(&program.request, &sample, sizeof program.request);
    program.request.size = sizeof program.request;
    double expected[numbers];
    double values[numbers];
    pistonfield_plan* plan = planFor(&sample);
    compute(plan, expected);
    pistonfield_plan_destroy(plan);
    plan = planFor(seen);
    compute(plan, values);
    EXPECT(memcmp(values, expected, sizeof values) == 0);
    pistonfield_plan_destroy(plan);
}

static void expectRefused(const pistonfield_request* request, const char* text) {
    pistonfield_plan* plan = NULL;
    EXPECT_OUTCOME(pistonfield_plan_create(request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   text);
    EXPECT(plan == NULL);
}

static void refusesCountsThatThereAreNone(void) {
    pistonfield_request request = arrayRequest();
    request.tolerance = 0;
    expectRefused(&request, "elements: an array takes a tolerance");
    request = arrayRequest();
    request.array = NULL;
    expectRefused(&request, "elements: array is null");
    request.elements = 0;
    expectRefused(&request, "elements: array is null");
    request.weights = NULL;
    expectRefused(&request, "elements: array is null");
    request = arrayRequest();
    request.elements = 0;
    expectRefused(&request, "elements: 0 are not within 1 to 1000000");
    request.elements = INT64_MIN;
    expectRefused(&request, "elements: -9223372036854775808 are not within 1 to 1000000");
    request.elements = 1000001;
    expectRefused(&request, "elements: 1000001 are not within 1 to 1000000");
    request = arrayRequest();
    request.weightings = 0;
    expectRefused(&request, "weightings: 0 are not within 1 to 4096");
    request.weightings = 4097;
    expectRefused(&request, "weightings: 4097 are not within 1 to 4096");
    request.weightings = -1;
    expectRefused(&request, "weightings: -1 are not within 1 to 4096");
    request.weights = NULL;
    expectRefused(&request, "weights: null is one weighting, all 1");
    request.weightings = 2;
    expectRefused(&request, "weights: null is one weighting, all 1");
}

static void refusesElementsThatCannotBe(void) {
    pistonfield_element elements[elementCount];
    double weights[2 * elementCount];
    pistonfield_request request = arrayRequest();
    request.array = elements;
    request.weights = weights;
    request.weightings = 1;
    const size_t bytes = sizeof elements;

    memcpy(elements, some, bytes);
    memcpy(weights, someWeights, sizeof weights);
    elements[1].width = 0;
    expectRefused(&request,
                  "elements: element 2: the sides must be lengths above 0, within the range of the "
                  "mode cpu");
    memcpy(elements, some, bytes);
    elements[2].centre[1] = NAN;
    expectRefused(&request,
                  "elements: element 3: the centre must be within the range of the mode cpu");
    memcpy(elements, some, bytes);
    elements[3].along_height[2] = 0.5;
    expectRefused(&request,
                  "elements: element 4: the directions of width and height must be of length 1 and "
                  "at a right angle");
    memcpy(elements, some, bytes);
    elements[0].centre[2] = 0.2;
    pistonfield_plan* plan = NULL;
    EXPECT(pistonfield_plan_create(&request, &plan, &message) == PISTONFIELD_INVALID_REQUEST);
    EXPECT(plan == NULL && strstr(message.text, "behind") != NULL);
    request.behind = 1;
    plan = planFor(&request);
    pistonfield_plan_destroy(plan);

    memcpy(elements, some, bytes);
    weights[3] = INFINITY;
    expectRefused(&request, "weights: every number must be finite");
    memset(weights, 0, sizeof weights);
    expectRefused(&request, "weights: all of weighting 1 are 0");
}

static void expectEngine(const pistonfield_request* request, const char* name) {
    pistonfield_plan* plan = planFor(request);
    EXPECT(strcmp(pistonfield_plan_engine(plan), name) == 0);
    pistonfield_plan_destroy(plan);
}

static void namesWhatComputes(void) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    expectEngine(&request, "order");
    request.tolerance = 1e-4;
    expectEngine(&request, "points");
    for (int i = 0; i < 3; ++i) request.sizes[i] = 64;
    expectEngine(&request, "runs");
    request = arrayRequest();
    expectEngine(&request, "sum");
    EXPECT(pistonfield_plan_engine(NULL) == NULL);
}

static void tellsCostAndAccuracyOfAnArray(void) {
    pistonfield_request request = arrayRequest();
    request.tolerance = 1e-6;
    pistonfield_plan* plan = planFor(&request);
    pistonfield_cost cost;
    pistonfield_accuracy accuracy;
    EXPECT_OUTCOME(pistonfield_plan_cost(plan, &all, &cost, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(cost.evaluations > 4.0 * elementCount * samplePoints);
    EXPECT_OUTCOME(pistonfield_plan_accuracy(plan, &accuracy, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(accuracy.error <= accuracy.bound && accuracy.bound <= 1e-6 && accuracy.points > 0);
    pistonfield_plan_destroy(plan);
}

void testArrays(void) {
    superposesTheElementsOfEachWeighting();
    superposesThemOnAGpu();
    drivesAllAlikeWithoutWeights();
    hasAPlanWithElementsOfItsOwn();
    putsFieldsWhereTheConductSays();
    refusesPlacesThatCannotBe();
    takesTheConductOfTheFirstInterface();
    takesTheRequestOfTheThirdInterface();
    refusesCountsThatThereAreNone();
    refusesElementsThatCannotBe();
    namesWhatComputes();
    tellsCostAndAccuracyOfAnArray();
}
