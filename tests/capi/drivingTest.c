/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// Arrays that are built and weights that are found, as a program in C99 asks for them.

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "tests/capi/checks.h"

static const double pi = 3.141592653589793;

enum { lineElements = 5 };

static pistonfield_array* lineOf(double pitch) {
    const pistonfield_line line = {lineElements, 0.8, 4, &pitch, NULL};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_line(&line, &array, &message), PISTONFIELD_SUCCESS, "");
    return array;
}

static void expectNear(double value, double expected, double limit) {
    EXPECT(fabs(value - expected) <= limit);
}

static void buildsALine(void) {
    pistonfield_array* array = lineOf(1.5);
    EXPECT(pistonfield_array_count(array) == lineElements);
    EXPECT(pistonfield_array_weights(array) == NULL);
    const pistonfield_element* elements = pistonfield_array_elements(array);
    for (int i = 0; i < lineElements; ++i) {
        EXPECT(elements[i].width == 0.8 && elements[i].height == 4);
        expectNear(elements[i].centre[0], 1.5 * (i - 2), 1e-15);
        EXPECT(elements[i].along_width[0] == 1 && elements[i].along_height[1] == 1);
    }
    pistonfield_array_destroy(array);
    const double kerf = 0.7;
    const pistonfield_line line = {lineElements, 0.8, 4, NULL, &kerf};
    EXPECT_OUTCOME(pistonfield_array_line(&line, &array, &message), PISTONFIELD_SUCCESS, "");
    expectNear(pistonfield_array_elements(array)[4].centre[0], 3, 1e-15);
    pistonfield_array_destroy(array);
}

static void buildsAMatrix(void) {
    const double pitch = 2;
    const double kerf = 0.5;
    const pistonfield_matrix matrix = {3, 2, 1, 1.5, &pitch, NULL, NULL, &kerf};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_matrix(&matrix, &array, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(pistonfield_array_count(array) == 6);
    const pistonfield_element* elements = pistonfield_array_elements(array);
    for (int i = 0; i < 6; ++i) {
        expectNear(elements[i].centre[0], 2.0 * (i % 3 - 1), 1e-15);
        expectNear(elements[i].centre[1], i < 3 ? -1 : 1, 1e-15);
    }
    pistonfield_array_destroy(array);
}

static void buildsAConvexArray(void) {
    const double angle = 0.1;
    const pistonfield_convex convex = {3, 40, 1, 5, NULL, &angle, NULL};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_convex(&convex, &array, &message), PISTONFIELD_SUCCESS, "");
    const pistonfield_element* elements = pistonfield_array_elements(array);
    EXPECT(pistonfield_array_count(array) == 3);
    expectNear(elements[2].centre[0], 40 * sin(0.1), 1e-13);
    expectNear(elements[2].centre[2], 40 * (cos(0.1) - 1), 1e-13);
    expectNear(elements[2].along_width[0], cos(0.1), 1e-15);
    expectNear(elements[2].along_width[2], -sin(0.1), 1e-15);
    pistonfield_array_destroy(array);
}

static void expectInBowl(const pistonfield_bowl* bowl, int64_t count) {
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_bowl(bowl, &array, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(pistonfield_array_count(array) == count);
    const pistonfield_element* elements = pistonfield_array_elements(array);
    for (int64_t i = 0; i < pistonfield_array_count(array); ++i) {
        const double* const c = elements[i].centre;
        expectNear(hypot(hypot(c[0], c[1]), c[2] - 50), 50, 1e-12);
        EXPECT(hypot(c[0], c[1]) < 20);
    }
    pistonfield_array_destroy(array);
}

static void buildsBowls(void) {
    const double aperture = 40;
    const double angle = 2 * asin(0.4);
    const double kerf = 1;
    const int64_t count = 64;
    const int64_t counts[] = {1, 6, 12};
    pistonfield_bowl bowl = {50, &aperture, NULL, 0, 1, 2, &count, NULL, NULL, NULL, 0};
    expectInBowl(&bowl, 64);
    bowl.aperture = NULL;
    bowl.opening_angle = &angle;
    expectInBowl(&bowl, 64);
    bowl.kerf = &kerf;
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_bowl(&bowl, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "elements: those of a spiral have no kerf, pitch or counts");
    bowl.kerf = NULL;
    bowl.elements = NULL;
    bowl.counts = counts;
    bowl.rings = 3;
    expectInBowl(&bowl, 19);
    bowl.rings = 0;
    EXPECT_OUTCOME(pistonfield_array_bowl(&bowl, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "rings: 0 are not within 1 to 1000000");
    EXPECT(array == NULL);
}

static void refusesArraysInTheNamesOfTheStructs(void) {
    const double pitch = 0.5;
    pistonfield_array* array = NULL;
    const pistonfield_matrix overlapping = {3, 2, 1, 1, &pitch, NULL, &pitch, NULL};
    EXPECT(pistonfield_array_matrix(&overlapping, &array, &message) == PISTONFIELD_INVALID_REQUEST);
    EXPECT(strncmp(message.text, "pitch_x: ", 9) == 0 && array == NULL);
    const pistonfield_matrix unspaced = {3, 2, 1, 1, NULL, NULL, NULL, NULL};
    EXPECT_OUTCOME(pistonfield_array_matrix(&unspaced, &array, &message),
                   PISTONFIELD_INVALID_REQUEST,
                   "pitch_x: one of pitch_x, kerf_x says how far the elements are apart, not none");
    const pistonfield_line none = {0, 1, 1, &pitch, NULL};
    EXPECT_OUTCOME(pistonfield_array_line(&none, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "elements: 0 is not within 1 to 1000000");
    EXPECT_OUTCOME(pistonfield_array_line(NULL, &array, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "line: is null");
    EXPECT_OUTCOME(pistonfield_array_line(&none, NULL, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "array: is null");
    EXPECT_OUTCOME(pistonfield_array_read(NULL, &array, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "path: is null");
    EXPECT_OUTCOME(pistonfield_array_read("no such file", &array, &message),
                   PISTONFIELD_INVALID_REQUEST, "elements: no such file: it cannot be read");
    pistonfield_array_destroy(NULL);
    EXPECT(pistonfield_array_elements(NULL) == NULL && pistonfield_array_count(NULL) == 0);
    EXPECT(pistonfield_array_weights(NULL) == NULL);
}

static void readsATable(void) {
    char name[64];
    snprintf(name, sizeof name, "driving_test_table_%p.csv", (void*)name);
    FILE* const file = fopen(name, "w");
    EXPECT(file != NULL);
    fputs("x [mm],y [mm],width [mm],height [cm],re,im\n1,2,3,0.4,5,-6\n-1,2,3,0.4,0,1\n", file);
    fclose(file);
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_read(name, &array, &message), PISTONFIELD_SUCCESS, "");
    remove(name);
    EXPECT(pistonfield_array_count(array) == 2);
    expectNear(pistonfield_array_elements(array)[1].centre[0], -1e-3, 1e-18);
    expectNear(pistonfield_array_elements(array)[1].height, 4e-3, 1e-18);
    const double* const weights = pistonfield_array_weights(array);
    EXPECT(weights[0] == 5 && weights[1] == -6 && weights[2] == 0 && weights[3] == 1);
    pistonfield_array_destroy(array);
}

/// A line of elements in a unit of length in which waves are 1.5 long.
static pistonfield_driven drivenLine(const pistonfield_array* array) {
    const pistonfield_driven driven = {pistonfield_array_elements(array),
                                       pistonfield_array_count(array), 2 * pi / 1.5};
    return driven;
}

static pistonfield_places placesAt(const double* x, const double* y, const double* z,
                                   int64_t points) {
    const pistonfield_places places = {x, y, z, points, 1e-9, 0};
    return places;
}

/// The pressure that weights make at a place.
static void pressureAt(const double* own, const double* weights, double pressure[2]) {
    pressure[0] = pressure[1] = 0;
    for (int i = 0; i < 2 * lineElements; i += 2) {
        pressure[0] += own[i] * weights[i] - own[i + 1] * weights[i + 1];
        pressure[1] += own[i] * weights[i + 1] + own[i + 1] * weights[i];
    }
}

static void focusesAtOnePlace(void) {
    pistonfield_array* array = lineOf(1.5);
    const pistonfield_driven driven = drivenLine(array);
    const double x = 1;
    const double y = 0.5;
    const double z = 20;
    const pistonfield_places focus = placesAt(&x, &y, &z, 1);
    double weights[2 * lineElements];
    double own[2 * lineElements];
    double pressure[2];
    EXPECT_OUTCOME(pistonfield_weights_of_focus(&driven, &focus, weights, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT_OUTCOME(pistonfield_element_pressures(&driven, &focus, own, &message),
                   PISTONFIELD_SUCCESS, "");
    pressureAt(own, weights, pressure);
    double sum = 0;
    for (int i = 0; i < lineElements; ++i) {
        expectNear(hypot(weights[2 * i], weights[2 * i + 1]), 1, 1e-15);
        sum += hypot(own[2 * i], own[2 * i + 1]);
    }
    expectNear(pressure[0], sum, 1e-8 * sum);
    expectNear(pressure[1], 0, 1e-8 * sum);

    const pistonfield_places two = placesAt(&x, &y, &z, 2);
    EXPECT_OUTCOME(pistonfield_weights_of_focus(&driven, &two, weights, &message),
                   PISTONFIELD_INVALID_REQUEST, "points: 2 are not one");
    EXPECT_OUTCOME(pistonfield_weights_of_focus(NULL, &focus, weights, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "driven: is null");
    EXPECT_OUTCOME(pistonfield_weights_of_focus(&driven, &focus, NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "weights: is null");
    const double behind = -1;
    const pistonfield_places there = placesAt(&x, &y, &behind, 1);
    EXPECT(pistonfield_weights_of_focus(&driven, &there, weights, &message) ==
           PISTONFIELD_INVALID_REQUEST);
    EXPECT(strstr(message.text, "behind") != NULL);
    pistonfield_array_destroy(array);
}

static void makesPressuresAtSeveralPlaces(void) {
    pistonfield_array* array = lineOf(1.5);
    const pistonfield_driven driven = drivenLine(array);
    const double x[] = {-3, 4};
    const double y[] = {0, 0};
    const double z[] = {20, 25};
    const double demanded[] = {0.1, 0, 0, -0.2};
    pistonfield_foci foci = {placesAt(x, y, z, 2), demanded, 1e-6, NULL, 0};
    double weights[2 * lineElements];
    double own[2 * 2 * lineElements];
    pistonfield_foci_result result;
    EXPECT_OUTCOME(pistonfield_weights_of_foci(&driven, &foci, weights, &result, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(result.dropped == 0 && result.scale == 1 && result.residual < 1e-9);
    EXPECT_OUTCOME(pistonfield_element_pressures(&driven, &foci.places, own, &message),
                   PISTONFIELD_SUCCESS, "");
    for (int i = 0; i < 2; ++i) {
        double pressure[2];
        pressureAt(own + (ptrdiff_t)i * 2 * lineElements, weights, pressure);
        expectNear(pressure[0], demanded[2 * i], 1e-8);
        expectNear(pressure[1], demanded[2 * i + 1], 1e-8);
    }
    const double limit = 0.5;
    foci.largest_weight = &limit;
    EXPECT_OUTCOME(pistonfield_weights_of_foci(&driven, &foci, weights, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    double largest = 0;
    for (int i = 0; i < lineElements; ++i)
        largest = fmax(largest, hypot(weights[2 * i], weights[2 * i + 1]));
    expectNear(largest, 0.5, 1e-12);
    foci.least_ratio = 0;
    EXPECT_OUTCOME(pistonfield_weights_of_foci(&driven, &foci, weights, NULL, &message),
                   PISTONFIELD_INVALID_REQUEST, "least_ratio: must be within 1e-7 to 1");
    foci.least_ratio = 1e-6;
    foci.places.points = INT64_MAX;
    EXPECT_OUTCOME(pistonfield_weights_of_foci(&driven, &foci, weights, NULL, &message),
                   PISTONFIELD_INVALID_REQUEST,
                   "points: 9223372036854775807 are not within 1 to 256");
    foci.pressures = NULL;
    EXPECT_OUTCOME(pistonfield_weights_of_foci(&driven, &foci, weights, NULL, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "pressures: is null");
    pistonfield_array_destroy(array);
}

static void steersAPlaneWave(void) {
    pistonfield_array* array = lineOf(1.5);
    const pistonfield_driven driven = drivenLine(array);
    double direction[3];
    pistonfield_direction(0.3, 0.2, direction);
    expectNear(direction[0], sin(0.3) * cos(0.2), 1e-15);
    expectNear(direction[1], sin(0.2), 1e-15);
    expectNear(direction[2], cos(0.3) * cos(0.2), 1e-15);
    pistonfield_direction(0, 0, NULL);
    double weights[2 * lineElements];
    EXPECT_OUTCOME(pistonfield_weights_of_plane_wave(&driven, direction, weights, &message),
                   PISTONFIELD_SUCCESS, "");
    for (int i = 0; i < lineElements; ++i) {
        const double phase = -2 * pi / 1.5 * direction[0] * 1.5 * (i - 2);
        expectNear(weights[2 * i], cos(phase), 1e-14);
        expectNear(weights[2 * i + 1], sin(phase), 1e-14);
    }
    static const double nowhere[3] = {0, 0, 0};
    EXPECT_OUTCOME(pistonfield_weights_of_plane_wave(&driven, nowhere, weights, &message),
                   PISTONFIELD_INVALID_REQUEST, "direction: must be of a length above 0");
    pistonfield_array_destroy(array);
}

static void multipliesByAWindow(void) {
    pistonfield_array* array = lineOf(1.5);
    const pistonfield_driven driven = drivenLine(array);
    pistonfield_window window = {"hann", 0, PISTONFIELD_ALONG_X};
    double weights[2 * lineElements];
    for (int i = 0; i < 2 * lineElements; ++i) weights[i] = i % 2 == 0 ? 2 : -3;
    EXPECT_OUTCOME(pistonfield_weights_window(&driven, &window, weights, &message),
                   PISTONFIELD_SUCCESS, "");
    for (int i = 0; i < lineElements; ++i) {
        const double value = (1 + cos(pi * 1.5 * (i - 2) / 3.4)) / 2;
        expectNear(weights[2 * i], 2 * value, 1e-14);
        expectNear(weights[2 * i + 1], -3 * value, 1e-14);
    }
    window.along = 3;
    EXPECT_OUTCOME(pistonfield_weights_window(&driven, &window, weights, &message),
                   PISTONFIELD_INVALID_REQUEST, "along: 3 is none of 0 to 2");
    window.along = PISTONFIELD_ALONG_Y;
    window.name = "square";
    EXPECT(pistonfield_weights_window(&driven, &window, weights, &message) ==
           PISTONFIELD_INVALID_REQUEST);
    EXPECT(strncmp(message.text, "window: 'square' is none of", 27) == 0);
    window.name = NULL;
    EXPECT_OUTCOME(pistonfield_weights_window(&driven, &window, weights, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "name: is null");
    pistonfield_array_destroy(array);
}

static void roundsWeights(void) {
    double weights[] = {cos(0.2), sin(0.2), -2 * sin(0.3), 2 * cos(0.3)};
    EXPECT_OUTCOME(pistonfield_weights_round_phases(weights, 2, 2, &message), PISTONFIELD_SUCCESS,
                   "");
    static const double quarters[] = {1, 0, 0, 2};
    for (int i = 0; i < 4; ++i) expectNear(weights[i], quarters[i], 1e-15);

    // A delay of 0.2 of a period, in steps of a quarter.
    double delayed[] = {cos(-0.4 * pi), sin(-0.4 * pi)};
    EXPECT_OUTCOME(pistonfield_weights_round_delays(delayed, 1, 1e6, 0.25e-6, &message),
                   PISTONFIELD_SUCCESS, "");
    expectNear(delayed[0], 0, 1e-15);
    expectNear(delayed[1], -1, 1e-15);

    double leveled[] = {0.3, 0, 0, 1};
    EXPECT_OUTCOME(pistonfield_weights_round_amplitudes(leveled, 2, 5, &message),
                   PISTONFIELD_SUCCESS, "");
    expectNear(leveled[0], 0.25, 1e-15);
    expectNear(leveled[3], 1, 1e-15);

    EXPECT_OUTCOME(pistonfield_weights_round_phases(weights, 2, 33, &message),
                   PISTONFIELD_INVALID_REQUEST, "bits: 33 is not within 1 to 32");
    EXPECT_OUTCOME(pistonfield_weights_round_delays(weights, 2, 1e6, 1e-6, &message),
                   PISTONFIELD_INVALID_REQUEST,
                   "step: must be a time above 0 and at most half a period");
    EXPECT_OUTCOME(pistonfield_weights_round_amplitudes(weights, 2, 1, &message),
                   PISTONFIELD_INVALID_REQUEST, "levels: must be 2 or more");
    EXPECT_OUTCOME(pistonfield_weights_round_phases(weights, 0, 2, &message),
                   PISTONFIELD_INVALID_REQUEST, "count: 0 is not within 1 to 1000000");
    EXPECT_OUTCOME(pistonfield_weights_round_phases(NULL, 2, 2, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "weights: is null");
}

void testDriving(void) {
    buildsALine();
    buildsAMatrix();
    buildsAConvexArray();
    buildsBowls();
    refusesArraysInTheNamesOfTheStructs();
    readsATable();
    focusesAtOnePlace();
    makesPressuresAtSeveralPlaces();
    steersAPlaneWave();
    multipliesByAWindow();
    roundsWeights();
}
