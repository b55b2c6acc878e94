/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// The interface for C, as a program in C99 calls it. Prints what is not as it has to be.

#include <limits.h>
#include <math.h>
#include <string.h>

#include "tests/capi/checks.h"
#include "tests/capi/sampleField.h"

static const pistonfield_box whole = {{0, 0, 0}, {7, 5, 4}};

static pistonfield_plan* samplePlan(int32_t mode) {
    const pistonfield_request request = sampleRequest(mode);
    return planFor(&request);
}

static void tellsWhatItIs(void) {
    EXPECT(strcmp(pistonfield_version(), PISTONFIELD_TESTED_VERSION) == 0);
    EXPECT(pistonfield_interface() == PISTONFIELD_INTERFACE);
}

static void tellsTheModes(void) {
    static const char* const names[] = {"cpu", "cpusp", "cuda", "cudadp"};
    EXPECT(pistonfield_mode_count() == 4);
    for (int32_t mode = 0; mode < 4; ++mode) {
        EXPECT(strcmp(pistonfield_mode_name(mode), names[mode]) == 0);
        EXPECT(pistonfield_mode_called(names[mode]) == mode);
    }
    EXPECT(pistonfield_mode_called("cpudp") == PISTONFIELD_CPU);
    EXPECT(pistonfield_mode_called("CPU") == -1);
    EXPECT(pistonfield_mode_called("") == -1);
    EXPECT(pistonfield_mode_called(NULL) == -1);
}

static void tellsTheLimits(void) {
    const int64_t single = (int64_t)1 << 24;
    const int64_t twice = (int64_t)1 << 53;
    EXPECT(pistonfield_mode_value_bytes(PISTONFIELD_CPU) == 16);
    EXPECT(pistonfield_mode_value_bytes(PISTONFIELD_CPUSP) == 8);
    EXPECT(pistonfield_mode_value_bytes(PISTONFIELD_CUDA) == 8);
    EXPECT(pistonfield_mode_value_bytes(PISTONFIELD_CUDADP) == 16);
    EXPECT(pistonfield_mode_largest_order(PISTONFIELD_CPU) == 18000);
    EXPECT(pistonfield_mode_largest_order(PISTONFIELD_CPUSP) == 18000);
    EXPECT(pistonfield_mode_largest_order(PISTONFIELD_CUDA) == 512);
    EXPECT(pistonfield_mode_largest_order(PISTONFIELD_CUDADP) == 512);
    EXPECT(pistonfield_mode_most_points_in_a_row(PISTONFIELD_CPU) == twice);
    EXPECT(pistonfield_mode_most_points_in_a_row(PISTONFIELD_CPUSP) == single);
    EXPECT(pistonfield_mode_most_points_in_a_row(PISTONFIELD_CUDA) == single);
    EXPECT(pistonfield_mode_most_points_in_a_row(PISTONFIELD_CUDADP) == twice);
    EXPECT(pistonfield_most_threads() == 1024);
    static const int32_t none[] = {-1, 4, INT32_MAX, INT32_MIN};
    for (int i = 0; i < 4; ++i) {
        EXPECT(pistonfield_mode_name(none[i]) == NULL);
        EXPECT(pistonfield_mode_value_bytes(none[i]) == 0);
        EXPECT(pistonfield_mode_largest_order(none[i]) == 0);
        EXPECT(pistonfield_mode_most_points_in_a_row(none[i]) == 0);
    }
}

static void fillsTheDefaults(void) {
    pistonfield_request request;
    memset(&request, 0xff, sizeof request);
    EXPECT_OUTCOME(pistonfield_request_init(&request, sizeof request, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(request.size == sizeof request);
    EXPECT(request.mode == PISTONFIELD_CPU);
    EXPECT(request.order == 10);
    EXPECT(request.table == NULL);
    EXPECT(request.width == 0 && request.height == 0 && request.wavenumber == 0);
    for (int i = 0; i < 16; ++i) EXPECT(request.transform[i] == 0);
    for (int i = 0; i < 3; ++i) EXPECT(request.sizes[i] == 0);
    EXPECT(request.tolerance == 0 && request.tolerance_of == PISTONFIELD_LARGEST);
    EXPECT(request.behind == 0);
    EXPECT(request.x == NULL && request.y == NULL && request.z == NULL && request.points == 0);
    EXPECT(request.array == NULL && request.elements == 0);
    EXPECT(request.weights == NULL && request.weightings == 0);

    pistonfield_conduct conduct;
    memset(&conduct, 0xff, sizeof conduct);
    EXPECT_OUTCOME(pistonfield_conduct_init(&conduct, sizeof conduct, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(conduct.size == sizeof conduct);
    EXPECT(conduct.progress == NULL && conduct.user == NULL && conduct.threads == 0);
    EXPECT(conduct.to_next_field == 0);
}

static void refusesStructsOfAnotherSize(void) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    pistonfield_request untouched = request;
    static const size_t sizes[] = {0, 8, sizeof(pistonfield_request) - 1,
                                   sizeof(pistonfield_request) + 1, SIZE_MAX};
    for (int i = 0; i < 5; ++i) {
        EXPECT(pistonfield_request_init(&request, sizes[i], NULL) == PISTONFIELD_INVALID_ARGUMENT);
        EXPECT(memcmp(&request, &untouched, sizeof request) == 0);
        pistonfield_request other = request;
        other.size = sizes[i];
        pistonfield_plan* plan = (pistonfield_plan*)&other;
        EXPECT(pistonfield_plan_create(&other, &plan, NULL) == PISTONFIELD_INVALID_ARGUMENT);
        EXPECT(plan == NULL);
    }
    EXPECT_OUTCOME(pistonfield_request_init(&request, 8, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "request: a size of 8 bytes is not that of interface 1 to 8");

    pistonfield_plan* plan = NULL;
    request.size = 0;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "request: a size of 0 bytes is not that of interface 1 to 8; call "
                   "pistonfield_request_init first");
    plan = samplePlan(PISTONFIELD_CPU);
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
    conduct.size = sizeof conduct + 8;
    double values[2 * samplePoints];
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, &conduct, &message),
        PISTONFIELD_INVALID_ARGUMENT,
        "conduct: a size of 48 bytes is not that of interface 1 to 8; call "
        "pistonfield_conduct_init first");
    EXPECT_OUTCOME(pistonfield_conduct_init(&conduct, 0, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "conduct: a size of 0 bytes is not that of interface 1 to 8");
    pistonfield_plan_destroy(plan);
}

/// The request as programs have it that were compiled with the first interface.
typedef struct FirstRequest {
    size_t size;
    double width, height, wavenumber, transform[16];
    int64_t sizes[3];
    int32_t mode, order;
    const double* table;
} FirstRequest;

/// That of the second interface.
typedef struct SecondRequest {
    FirstRequest first;
    double tolerance;
    int32_t tolerance_of, behind;
} SecondRequest;

static void takesTheRequestOfTheFirstInterface(void) {
    // What lies behind an older struct is the program's own.
    struct {
        FirstRequest request;
        double others[2];
    } program;
    pistonfield_request* const seen = (pistonfield_request*)(void*)&program.request;
    memset(&program, 0x3f, sizeof program);
    const double other = program.others[0];
    EXPECT_OUTCOME(pistonfield_request_init(seen, sizeof program.request, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(program.request.size == 200 && program.request.order == 10);
    EXPECT(program.others[0] == other && program.others[1] == other);

    const pistonfield_request sample = sampleRequest(PISTONFIELD_CPU);
    memcpy(&program.request, &sample, sizeof program.request);
    program.request.size = sizeof program.request;
    pistonfield_plan* plan = planFor(seen);
    double expected[2 * samplePoints];
    double values[2 * samplePoints];
    sampleFieldDouble(PISTONFIELD_CPU, expected);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    EXPECT(memcmp(values, expected, sizeof values) == 0);
    pistonfield_plan_destroy(plan);
}

static void takesTheRequestOfTheSecondInterface(void) {
    struct {
        SecondRequest request;
        double others[4];
    } program;
    pistonfield_request* const seen = (pistonfield_request*)(void*)&program.request;
    memset(&program, 0x3f, sizeof program);
    const double other = program.others[0];
    EXPECT_OUTCOME(pistonfield_request_init(seen, sizeof program.request, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(program.request.first.size == 216 && program.request.tolerance == 0);
    for (int i = 0; i < 4; ++i) EXPECT(program.others[i] == other);

    pistonfield_request sample = sampleRequest(PISTONFIELD_CPU);
    sample.tolerance = 1e-6;
    memcpy(&program.request, &sample, sizeof program.request);
    program.request.first.size = sizeof program.request;
    double expected[2 * samplePoints];
    double values[2 * samplePoints];
    pistonfield_plan* plan = planFor(&sample);
    pistonfield_plan_compute_double(plan, &whole, expected, expected + 1, 2, NULL, NULL);
    pistonfield_plan_destroy(plan);
    plan = planFor(seen);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    EXPECT(memcmp(values, expected, sizeof values) == 0);
    pistonfield_plan_destroy(plan);
}

static void refusesWhatThereIsNoFieldFor(void) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    pistonfield_plan* plan = NULL;

    request.mode = 4;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "mode: 4 is none of 0 to 3");
    request.mode = -1;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "mode: -1 is none of 0 to 3");
    request = sampleRequest(PISTONFIELD_CPU);
    request.width = NAN;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "width: must be a length above 0");
    request = sampleRequest(PISTONFIELD_CPU);
    request.sizes[2] = 0;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "sizes: each must be 1 or more");
    request = sampleRequest(PISTONFIELD_CUDA);
    request.order = 513;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "order: 513 is not within 1 to 512 of the mode cuda");
    EXPECT(plan == NULL);

    // An order that is none is no reason to read that much of a table.
    double table[2] = {0, 2};
    request = sampleRequest(PISTONFIELD_CPU);
    request.table = table;
    request.order = INT32_MAX;
    EXPECT(pistonfield_plan_create(&request, &plan, NULL) == PISTONFIELD_INVALID_REQUEST);
    request.order = -1;
    EXPECT(pistonfield_plan_create(&request, &plan, NULL) == PISTONFIELD_INVALID_REQUEST);
    request.order = 1;
    table[1] = INFINITY;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "table: every number must be finite");
    request = sampleRequest(PISTONFIELD_CPU);
    request.transform[12] = 1;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "transform: the last row must be 0 0 0 and a number; is it the transpose?");
    request = sampleRequest(PISTONFIELD_CUDA);
    request.wavenumber = 1e39;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "wavenumber: must be within the range of the mode cuda");

    pistonfield_request_init(&request, sizeof request, NULL);
    EXPECT(pistonfield_plan_create(&request, &plan, NULL) == PISTONFIELD_INVALID_REQUEST);
}

static void refusesNullPointers(void) {
    const pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    pistonfield_plan* plan = NULL;
    EXPECT_OUTCOME(pistonfield_request_init(NULL, sizeof request, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "request: is null");
    EXPECT_OUTCOME(pistonfield_conduct_init(NULL, sizeof(pistonfield_conduct), &message),
                   PISTONFIELD_INVALID_ARGUMENT, "conduct: is null");
    EXPECT_OUTCOME(pistonfield_plan_create(NULL, &plan, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "request: is null");
    EXPECT_OUTCOME(pistonfield_plan_create(&request, NULL, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "plan: is null");
    pistonfield_plan_destroy(NULL);

    plan = planFor(&request);
    pistonfield_cost cost;
    EXPECT_OUTCOME(pistonfield_plan_cost(NULL, &whole, &cost, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "plan: is null");
    EXPECT_OUTCOME(pistonfield_plan_cost(plan, NULL, &cost, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "box: is null");
    EXPECT_OUTCOME(pistonfield_plan_cost(plan, &whole, NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "cost: is null");
    float values[2 * samplePoints];
    EXPECT_OUTCOME(
        pistonfield_plan_compute_float(NULL, &whole, values, values + 1, 2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "plan: is null");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_float(plan, NULL, values, values + 1, 2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "box: is null");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_float(plan, &whole, NULL, values + 1, 2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "re: is null");
    EXPECT_OUTCOME(pistonfield_plan_compute_float(plan, &whole, values, NULL, 2, NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "im: is null");
    pistonfield_plan_destroy(plan);
}

static void hasTheBitsOfTheClasses(void) {
    for (int32_t mode = 0; mode < pistonfield_mode_count(); ++mode) {
        pistonfield_plan* plan = samplePlan(mode);
        double expectedDouble[2 * samplePoints];
        double values[2 * samplePoints];
        sampleFieldDouble(mode, expectedDouble);
        EXPECT_OUTCOME(
            pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(values, expectedDouble, sizeof values) == 0);

        float expectedFloat[2 * samplePoints];
        float singles[2 * samplePoints];
        sampleFieldFloat(mode, expectedFloat);
        EXPECT_OUTCOME(
            pistonfield_plan_compute_float(plan, &whole, singles, singles + 1, 2, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(singles, expectedFloat, sizeof singles) == 0);
        pistonfield_plan_destroy(plan);
    }
}

static void fillsPartsOfABoxAndNothingBetween(void) {
    enum { stride = 3, points = 2 * 3 * 1 };
    static const pistonfield_box part = {{5, 1, 2}, {2, 3, 1}};
    double expected[2 * samplePoints];
    sampleFieldDouble(PISTONFIELD_CPU, expected);
    double re[stride * points];
    double im[stride * points];
    for (int i = 0; i < stride * points; ++i) re[i] = im[i] = -7;

    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &part, re, im, stride, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    for (int i = 0; i < points; ++i) {
        const int at = ((2 * 5) + (1 + i / 2)) * 7 + 5 + i % 2;
        EXPECT(re[stride * i] == expected[2 * at]);
        EXPECT(im[stride * i] == expected[2 * at + 1]);
        for (int between = 1; between < stride; ++between)
            EXPECT(re[stride * i + between] == -7 && im[stride * i + between] == -7);
    }
    pistonfield_plan_destroy(plan);
}

static void takesATable(void) {
    double expected[2 * samplePoints];
    double values[2 * samplePoints];
    double table[12];
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    EXPECT(request.order == 6);
    sampleTable(table);
    request.table = table;
    pistonfield_plan* plan = planFor(&request);
    // The plan has its own by now.
    memset(table, 0, sizeof table);
    pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, NULL);
    pistonfield_plan_destroy(plan);
    sampleFieldDouble(PISTONFIELD_CPU, expected);
    EXPECT(memcmp(values, expected, sizeof values) == 0);

    plan = planFor(&request);
    pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, NULL);
    pistonfield_plan_destroy(plan);
    for (int i = 0; i < 2 * samplePoints; ++i) EXPECT(values[i] == 0);
}

static void tellsTheCost(void) {
    pistonfield_cost cost;
    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    EXPECT_OUTCOME(pistonfield_plan_cost(plan, &whole, &cost, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(cost.evaluations == 4.0 * 6 * samplePoints);
    EXPECT(cost.memory == 0 && cost.device_memory == 0);
    pistonfield_plan_destroy(plan);
    plan = samplePlan(PISTONFIELD_CUDADP);
    pistonfield_plan_cost(plan, &whole, &cost, NULL);
    // On the device the transform, and half of the rule's abscissas and weights, as well.
    EXPECT(cost.memory == 16 * samplePoints);
    EXPECT(cost.device_memory == 16 * samplePoints + 8 * (16 + 6));
    pistonfield_plan_destroy(plan);
}

static pistonfield_request tolerantRequest(double tolerance, int32_t of) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = tolerance;
    request.tolerance_of = of;
    return request;
}

/// The largest |p| of the sample's points, or what a local tolerance is relative to at one of them.
static double unitAt(const pistonfield_request* request, const double* values, int point) {
    if (request->tolerance_of == PISTONFIELD_LARGEST) {
        double largest = 0;
        for (int i = 0; i < samplePoints; ++i)
            largest = fmax(largest, hypot(values[2 * i], values[2 * i + 1]));
        return largest;
    }
    const int index[3] = {point % 7, point / 7 % 5, point / 35};
    double distance = 0;
    for (int i = 0; i < 3; ++i) {
        const double* const row = request->transform + 4 * i;
        distance = hypot(distance, (row[i] * index[i] + row[3]) / request->transform[15]);
    }
    const double pi = 3.141592653589793;
    const double area = request->width * request->height;
    return fmin(1, request->wavenumber * area / (2 * pi * fmax(distance, sqrt(area) / 4)));
}

/// The largest error of values, relative to what the request's tolerance is relative to.
static double errorOf(const pistonfield_request* request, const double* values,
                      const double* expected) {
    double largest = 0;
    for (int i = 0; i < samplePoints; ++i) {
        const double off =
            hypot(values[2 * i] - expected[2 * i], values[2 * i + 1] - expected[2 * i + 1]);
        largest = fmax(largest, off / unitAt(request, expected, i));
    }
    return largest;
}

static void keepsATolerance(void) {
    // The rule's own error is far below the smallest of these.
    pistonfield_request exact = sampleRequest(PISTONFIELD_CPU);
    exact.order = 400;
    pistonfield_plan* plan = planFor(&exact);
    double expected[2 * samplePoints];
    double values[2 * samplePoints];
    pistonfield_plan_compute_double(plan, &whole, expected, expected + 1, 2, NULL, NULL);
    pistonfield_plan_destroy(plan);
    static const double tolerances[] = {1e-2, 1e-6, 1e-11};
    for (int i = 0; i < 12; ++i) {
        pistonfield_request request = tolerantRequest(tolerances[i / 2 % 3], i % 2);
        request.mode = i < 6 ? PISTONFIELD_CPU : PISTONFIELD_CUDADP;
        // Neither means anything beside a tolerance.
        request.order = -7;
        request.table = (const double*)(const void*)&request;
        plan = planFor(&request);
        EXPECT_OUTCOME(
            pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT(errorOf(&request, values, expected) <= request.tolerance);

        pistonfield_accuracy accuracy;
        EXPECT_OUTCOME(pistonfield_plan_accuracy(plan, &accuracy, &message), PISTONFIELD_SUCCESS,
                       "");
        EXPECT(accuracy.points > 0 && accuracy.evaluations > 0);
        EXPECT(accuracy.error >= 0 && accuracy.error <= accuracy.bound);
        EXPECT(accuracy.bound <= request.tolerance);
        pistonfield_plan_destroy(plan);
    }
}

static void tellsTheAccuracyOfAToleranceAlone(void) {
    pistonfield_accuracy accuracy = {-7, -7, -7, -7};
    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    EXPECT_OUTCOME(pistonfield_plan_accuracy(plan, &accuracy, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "plan: its request has no tolerance");
    EXPECT(accuracy.bound == -7 && accuracy.points == -7);
    EXPECT_OUTCOME(pistonfield_plan_accuracy(plan, NULL, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "accuracy: is null");
    pistonfield_plan_destroy(plan);
    EXPECT_OUTCOME(pistonfield_plan_accuracy(NULL, &accuracy, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "plan: is null");
}

static void refusesTolerancesThatThereAreNone(void) {
    static const char range[] = "tolerance: must be above 0 and below 1";
    static const double none[] = {-1e-4, 1, NAN, INFINITY};
    pistonfield_plan* plan = NULL;
    for (int i = 0; i < 4; ++i) {
        const pistonfield_request request = tolerantRequest(none[i], PISTONFIELD_LARGEST);
        EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message),
                       PISTONFIELD_INVALID_REQUEST, range);
    }
    pistonfield_request request = tolerantRequest(1e-4, 2);
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "tolerance_of: 2 is none of 0 to 1");
    request = tolerantRequest(1e-4, PISTONFIELD_LOCAL);
    static const int32_t inSingle[] = {PISTONFIELD_CPUSP, PISTONFIELD_CUDA};
    for (int i = 0; i < 2; ++i) {
        request = tolerantRequest(1e-9, PISTONFIELD_LARGEST);
        request.mode = inSingle[i];
        EXPECT(pistonfield_plan_create(&request, &plan, &message) == PISTONFIELD_INVALID_REQUEST);
        EXPECT(strncmp(message.text, "tolerance: ", strlen("tolerance: ")) == 0);
    }
    EXPECT(plan == NULL);
}

static void computesBehindThePistonWhereThatIsAsked(void) {
    pistonfield_request request = tolerantRequest(1e-6, PISTONFIELD_LARGEST);
    // Layers at -0.3, -0.1, 0.1 and 0.3.
    request.transform[10] = 0.4;
    request.transform[11] = -0.6;
    pistonfield_plan* plan = NULL;
    EXPECT(pistonfield_plan_create(&request, &plan, &message) == PISTONFIELD_INVALID_REQUEST);
    EXPECT(plan == NULL && strlen(message.text) > 0);
    request.behind = 1;
    plan = planFor(&request);
    double values[2 * samplePoints];
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    const int layer = 2 * 7 * 5;
    double apart = 0;
    for (int i = 0; i < layer; ++i) {
        apart = fmax(apart, fabs(values[i] - values[3 * layer + i]));
        apart = fmax(apart, fabs(values[layer + i] - values[2 * layer + i]));
    }
    EXPECT(apart < 1e-5);
    pistonfield_plan_destroy(plan);
}

/// The sample's points, one by one.
typedef struct Points {
    double x[samplePoints], y[samplePoints], z[samplePoints];
} Points;

static Points pointsOf(const pistonfield_request* request) {
    Points points;
    double* const coordinates[3] = {points.x, points.y, points.z};
    for (int n = 0; n < samplePoints; ++n) {
        const int index[3] = {n % 7, n / 7 % 5, n / 35};
        for (int i = 0; i < 3; ++i) {
            const double* const row = request->transform + 4 * i;
            coordinates[i][n] =
                (row[0] * index[0] + row[1] * index[1] + row[2] * index[2] + row[3]) /
                request->transform[15];
        }
    }
    return points;
}

static pistonfield_request listRequest(const Points* points, double tolerance, int32_t of) {
    pistonfield_request request = tolerantRequest(tolerance, of);
    // Neither means anything beside a list.
    memset(request.transform, 0xff, sizeof request.transform);
    memset(request.sizes, 0xff, sizeof request.sizes);
    request.x = points->x;
    request.y = points->y;
    request.z = points->z;
    request.points = samplePoints;
    return request;
}

static void takesAListOfPoints(void) {
    pistonfield_request exact = sampleRequest(PISTONFIELD_CPU);
    exact.order = 400;
    pistonfield_plan* plan = planFor(&exact);
    double expected[2 * samplePoints];
    pistonfield_plan_compute_double(plan, &whole, expected, expected + 1, 2, NULL, NULL);
    pistonfield_plan_destroy(plan);

    const pistonfield_box all = {{0, 0, 0}, {samplePoints, 1, 1}};
    const pistonfield_box part = {{11, 0, 0}, {50, 1, 1}};
    const pistonfield_box beyond = {{1, 0, 0}, {samplePoints, 1, 1}};
    double values[2 * samplePoints];
    double again[2 * samplePoints];
    for (int of = PISTONFIELD_LARGEST; of <= PISTONFIELD_LOCAL; ++of) {
        Points points = pointsOf(&exact);
        const pistonfield_request request = listRequest(&points, 1e-8, of);
        plan = planFor(&request);
        memset(&points, 0, sizeof points);  // the plan has its own
        EXPECT_OUTCOME(
            pistonfield_plan_compute_double(plan, &all, values, values + 1, 2, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        pistonfield_request sample = tolerantRequest(1e-8, of);
        EXPECT(errorOf(&sample, values, expected) <= 1e-8);
        EXPECT_OUTCOME(
            pistonfield_plan_compute_double(plan, &part, again, again + 1, 2, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(again, values + 22, 100 * sizeof *again) == 0);
        EXPECT(pistonfield_plan_compute_double(plan, &beyond, again, again + 1, 2, NULL, NULL) ==
               PISTONFIELD_OUT_OF_RANGE);
        pistonfield_accuracy accuracy;
        pistonfield_cost cost;
        EXPECT_OUTCOME(pistonfield_plan_accuracy(plan, &accuracy, &message), PISTONFIELD_SUCCESS,
                       "");
        EXPECT(accuracy.error <= accuracy.bound && accuracy.bound <= 1e-8);
        EXPECT_OUTCOME(pistonfield_plan_cost(plan, &all, &cost, &message), PISTONFIELD_SUCCESS, "");
        EXPECT(cost.evaluations > 4 * samplePoints);
        pistonfield_plan_destroy(plan);
    }
}

static void refusesListsThatThereAreNone(void) {
    const pistonfield_request sample = sampleRequest(PISTONFIELD_CPU);
    Points points = pointsOf(&sample);
    const pistonfield_request good = listRequest(&points, 1e-4, PISTONFIELD_LARGEST);
    pistonfield_plan* plan = NULL;
    pistonfield_request request = good;
    request.tolerance = 0;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "points: a list takes a tolerance");
    const double** const arrays[3] = {&request.x, &request.y, &request.z};
    for (int i = 0; i < 3; ++i) {
        request = good;
        *arrays[i] = NULL;
        EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message),
                       PISTONFIELD_INVALID_REQUEST, "points: none of x, y and z may be null");
    }
    static const int64_t none[] = {0, -1, INT64_MIN};
    for (int i = 0; i < 3; ++i) {
        request = good;
        request.points = none[i];
        EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message),
                       PISTONFIELD_INVALID_REQUEST, "points: must be 1 or more");
    }
    request = good;
    request.points = INT64_MAX;
    EXPECT_OUTCOME(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "points: 9223372036854775807 positions have no place in memory");
    points.y[17] = NAN;
    EXPECT_OUTCOME(pistonfield_plan_create(&good, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   "points: every number must be finite");
    points = pointsOf(&sample);
    points.z[2] = -0.5;
    EXPECT(pistonfield_plan_create(&good, &plan, &message) == PISTONFIELD_INVALID_REQUEST);
    EXPECT(strncmp(message.text, "points: the point (", strlen("points: the point (")) == 0);
    EXPECT(plan == NULL);
    request = good;
    request.behind = 1;
    pistonfield_plan_destroy(planFor(&request));
}

static void refusesBoxesBeyondTheLattice(void) {
    static const pistonfield_box beyond[] = {
        {{-1, 0, 0}, {1, 1, 1}},
        {{0, 0, 0}, {8, 5, 4}},
        {{0, 0, 0}, {0, 5, 4}},
        {{0, 5, 0}, {1, 1, 1}},
        {{0, 0, INT64_MAX}, {1, 1, INT64_MAX}},
        {{0, 0, 0}, {INT64_MAX, INT64_MAX, INT64_MAX}},
        {{INT64_MIN, INT64_MIN, INT64_MIN}, {INT64_MIN, INT64_MIN, INT64_MIN}},
    };
    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    for (size_t i = 0; i < sizeof beyond / sizeof *beyond; ++i) {
        pistonfield_cost cost;
        double re = -7;
        double im = -7;
        EXPECT(pistonfield_plan_cost(plan, &beyond[i], &cost, NULL) == PISTONFIELD_OUT_OF_RANGE);
        EXPECT(pistonfield_plan_compute_double(plan, &beyond[i], &re, &im, 1, NULL, NULL) ==
               PISTONFIELD_OUT_OF_RANGE);
        EXPECT(re == -7 && im == -7);
    }
    double value[2];
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &beyond[1], value, value + 1, 2, NULL, &message),
        PISTONFIELD_OUT_OF_RANGE,
        "8 points from 0 on do not lie within the lattice's 7 along its direction x");
    pistonfield_plan_destroy(plan);
}

static void refusesStridesThatCannotBe(void) {
    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    double values[2 * samplePoints];
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 0, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "stride: 0 is not 1 or more");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, -2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "stride: -2 is not 1 or more");
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &whole, values, values + 1, INT64_MAX / 8,
                                                   NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT,
                   "stride: 140 values that are 1152921504606846975 elements apart have no place "
                   "in memory");

    static const char shared[] = "im: has elements that are those of re";
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &whole, values, values, 2, NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT, shared);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 1, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, shared);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values + 139, values, 1, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, shared);
    // One after the other, either way, they have nothing in common.
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values + 140, values, 1, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 140, 1, NULL, &message),
        PISTONFIELD_SUCCESS, "");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values + 1, values, 2, NULL, &message),
        PISTONFIELD_SUCCESS, "");

    double* const crooked = (double*)(void*)((char*)values + 4);
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, crooked, values + 1, 2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "re: is not aligned for its elements");
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, crooked, 2, NULL, &message),
        PISTONFIELD_INVALID_ARGUMENT, "im: is not aligned for its elements");
    pistonfield_plan_destroy(plan);
}

/// What a progress function has been told, and after which call it asks to stop.
typedef struct Watch {
    int calls;
    int lastCall;
    int64_t points;
} Watch;

static int watch(int64_t points, void* user) {
    Watch* const watched = user;
    watched->points = points;
    return ++watched->calls == watched->lastCall ? INT_MIN : 0;
}

static float longValues[2 * 64 * 64 * 17];

static void isWatchedAndStopped(void) {
    // 8 layers are a piece.
    static const pistonfield_box layers = {{0, 0, 0}, {64, 64, 17}};
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.sizes[0] = request.sizes[1] = request.sizes[2] = 64;
    request.order = 500;
    pistonfield_plan* plan = planFor(&request);

    Watch watched = {0, 0, 0};
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
    conduct.progress = watch;
    conduct.user = &watched;
    conduct.threads = 1;
    EXPECT_OUTCOME(pistonfield_plan_compute_float(plan, &layers, longValues, longValues + 1, 2,
                                                  &conduct, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(watched.calls == 3);
    EXPECT(watched.points == 64 * 64 * 17);

    const Watch second = {0, 2, 0};
    watched = second;
    EXPECT_OUTCOME(pistonfield_plan_compute_float(plan, &layers, longValues, longValues + 1, 2,
                                                  &conduct, &message),
                   PISTONFIELD_STOPPED, "the computation was stopped");
    EXPECT(watched.calls == 2);
    EXPECT(watched.points == 64 * 64 * 16);

    const Watch last = {0, 3, 0};
    watched = last;
    EXPECT(pistonfield_plan_compute_float(plan, &layers, longValues, longValues + 1, 2, &conduct,
                                          NULL) == PISTONFIELD_SUCCESS);
    pistonfield_plan_destroy(plan);
}

static void takesANumberOfThreads(void) {
    pistonfield_plan* plan = samplePlan(PISTONFIELD_CPU);
    double expected[2 * samplePoints];
    double values[2 * samplePoints];
    sampleFieldDouble(PISTONFIELD_CPU, expected);
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
    static const int64_t some[] = {1, 3, 1024};
    for (int i = 0; i < 3; ++i) {
        conduct.threads = some[i];
        memset(values, 0, sizeof values);
        EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2,
                                                       &conduct, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(values, expected, sizeof values) == 0);
    }
    conduct.threads = -1;
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, &conduct, &message),
        PISTONFIELD_INVALID_ARGUMENT, "threads: -1 is not within 0 to 1024");
    conduct.threads = 1025;
    EXPECT_OUTCOME(
        pistonfield_plan_compute_double(plan, &whole, values, values + 1, 2, &conduct, &message),
        PISTONFIELD_INVALID_ARGUMENT, "threads: 1025 is not within 0 to 1024");
    pistonfield_plan_destroy(plan);
}

#ifdef PISTONFIELD_TEST_NEEDS_A_GPU
static int hasDevice(void) {
    const pistonfield_request request = sampleRequest(PISTONFIELD_CUDA);
    pistonfield_plan* plan = NULL;
    const pistonfield_status status = pistonfield_plan_create(&request, &plan, NULL);
    pistonfield_plan_destroy(plan);
    return status != PISTONFIELD_DEVICE_FAILURE;
}
#endif

int main(void) {
#ifdef PISTONFIELD_TEST_NEEDS_A_GPU
    enum { skipped = 77 };
    if (!hasDevice()) return skipped;
#endif
    tellsWhatItIs();
    tellsTheModes();
    tellsTheLimits();
    fillsTheDefaults();
    refusesStructsOfAnotherSize();
    takesTheRequestOfTheFirstInterface();
    takesTheRequestOfTheSecondInterface();
    refusesWhatThereIsNoFieldFor();
    refusesNullPointers();
    hasTheBitsOfTheClasses();
    fillsPartsOfABoxAndNothingBetween();
    takesATable();
    tellsTheCost();
    keepsATolerance();
    tellsTheAccuracyOfAToleranceAlone();
    refusesTolerancesThatThereAreNone();
    computesBehindThePistonWhereThatIsAsked();
    takesAListOfPoints();
    refusesListsThatThereAreNone();
    refusesBoxesBeyondTheLattice();
    refusesStridesThatCannotBe();
    isWatchedAndStopped();
    takesANumberOfThreads();
    testArrays();
    testDriving();
    testContours();
    testSources();
    return failures == 0 ? 0 : 1;
}
