/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// Media, shapes, and what there is to say of a source: weights, powers and beams.

#include <math.h>
#include <string.h>

#include "tests/capi/checks.h"

static const double pi = 3.141592653589793;

static int isNear(double value, double wanted, double relative) {
    return fabs(value - wanted) <= relative * fabs(wanted);
}

static void findsTheWaveOfAMedium(void) {
    pistonfield_medium medium = {1500, 0.5, 1.5, NULL, NULL};
    double k = 0;
    double loss = 0;
    EXPECT_OUTCOME(pistonfield_wave(&medium, 2e6, &k, &loss, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(isNear(k, 2 * pi * 2e6 / 1500, 1e-15));
    EXPECT(isNear(loss, 0.5 * 100 * log(10) / 20 * pow(2, 1.5), 1e-14));
    const double nepers = 3;
    const double dispersion = 1e6;
    medium.nepers = &nepers;
    EXPECT_OUTCOME(pistonfield_wave(&medium, 2e6, &k, &loss, &message), PISTONFIELD_INVALID_REQUEST,
                   "nepers: give the attenuation or nepers, not both");
    medium.attenuation = 0;
    medium.exponent = 1;
    medium.dispersion_frequency = &dispersion;
    EXPECT_OUTCOME(pistonfield_wave(&medium, 2e6, &k, &loss, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(loss == 3);
    // 1/c = 1/c0 - 2/pi*a*ln(w/w0), of losses a*w.
    EXPECT(isNear(k, 2 * pi * 2e6 / 1500 - 2 / pi * 3 * log(2), 1e-14));
    const double none = 0;
    medium.dispersion_frequency = &none;
    EXPECT_OUTCOME(pistonfield_wave(&medium, 2e6, &k, &loss, &message), PISTONFIELD_INVALID_REQUEST,
                   "dispersion_frequency: must be above 0");
    EXPECT_OUTCOME(pistonfield_wave(NULL, 2e6, &k, &loss, &message), PISTONFIELD_INVALID_ARGUMENT,
                   "medium: is null");
}

/// A request for an array's field at one point, as it was built.
static pistonfield_request requestFor(const pistonfield_array* array) {
    static const double x[1] = {0.4};
    static const double y[1] = {-0.3};
    static const double z[1] = {3};
    pistonfield_request request;
    EXPECT_OUTCOME(pistonfield_request_init(&request, sizeof request, &message),
                   PISTONFIELD_SUCCESS, "");
    request.wavenumber = 2;
    request.tolerance = 1e-9;
    request.x = x;
    request.y = y;
    request.z = z;
    request.points = 1;
    request.array = pistonfield_array_elements(array);
    request.elements = pistonfield_array_count(array);
    request.outlines = pistonfield_array_outlines(array);
    request.outline_of = pistonfield_array_outline_of(array);
    request.outline_count = pistonfield_array_outline_count(array);
    return request;
}

typedef struct Complex {
    double re;
    double im;
} Complex;

/// The field of an array at a point, which is then ended.
static Complex fieldOf(pistonfield_array* array) {
    const pistonfield_request request = requestFor(array);
    const pistonfield_box whole = {{0, 0, 0}, {1, 1, 1}};
    pistonfield_plan* const plan = planFor(&request);
    Complex p = {0, 0};
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &whole, &p.re, &p.im, 1, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    pistonfield_plan_destroy(plan);
    pistonfield_array_destroy(array);
    return p;
}

static void expectSum(Complex sum, Complex a, Complex b) {
    EXPECT(hypot(sum.re - a.re - b.re, sum.im - a.im - b.im) < 1e-8);
}

static pistonfield_array* disc(double radius) {
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_disc(radius, &array, &message), PISTONFIELD_SUCCESS, "");
    return array;
}

static pistonfield_array* ring(double inner, double outer) {
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_ring(inner, outer, &array, &message), PISTONFIELD_SUCCESS, "");
    return array;
}

static pistonfield_array* sector(double from, double to) {
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_sector(1, 2, from, to, &array, &message), PISTONFIELD_SUCCESS,
                   "");
    return array;
}

static pistonfield_array* polygon(int64_t holes) {
    static const double corners[] = {-2, -1, 2, -1, 2, 1, -2, 1};
    static const double hole[] = {-0.5, -0.5, 0.5, -0.5, 0.5, 0.5, -0.5, 0.5};
    static const int64_t sizes[] = {4};
    const pistonfield_polygon given = {corners, 4, hole, sizes, holes};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_polygon(&given, &array, &message), PISTONFIELD_SUCCESS, "");
    return array;
}

static pistonfield_array* square(double side) {
    const pistonfield_line line = {1, side, side, NULL, NULL};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_line(&line, &array, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(pistonfield_array_outlines(array) == NULL);
    EXPECT(pistonfield_array_outline_of(array) == NULL);
    EXPECT(pistonfield_array_outline_count(array) == 0);
    return array;
}

static void makesShapes(void) {
    expectSum(fieldOf(disc(2)), fieldOf(disc(1)), fieldOf(ring(1, 2)));
    expectSum(fieldOf(ring(1, 2)), fieldOf(sector(0.3, 2.5)),
              fieldOf(sector(2.5, 0.3 + 2 * pi - 1e-12)));
    expectSum(fieldOf(polygon(0)), fieldOf(polygon(1)), fieldOf(square(1)));
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_disc(0, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "radius: must be a length above 0");
    EXPECT_OUTCOME(pistonfield_array_sector(1, 2, 1, 1, &array, &message),
                   PISTONFIELD_INVALID_REQUEST, "angles: must rise, by less than a whole turn");
    const pistonfield_polygon none = {NULL, 3, NULL, NULL, 0};
    EXPECT_OUTCOME(pistonfield_array_polygon(&none, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "corners: are null");
    EXPECT(array == NULL);
}

static void buildsArraysOfShapes(void) {
    const int64_t rings = 3;
    const double radius = 2;
    const pistonfield_annular annular = {NULL, 0, &rings, &radius, NULL, 0};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_annular(&annular, &array, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(pistonfield_array_count(array) == 3);
    EXPECT(pistonfield_array_outline_count(array) == 3);
    for (int i = 0; i < 3; ++i) EXPECT(pistonfield_array_outline_of(array)[i] == i);
    const Complex together = fieldOf(array);
    const Complex nothing = {0, 0};
    expectSum(fieldOf(disc(2)), together, nothing);
    const double pitch = 1.1;
    const pistonfield_honeycomb honeycomb = {1, 1, &pitch, NULL};
    EXPECT_OUTCOME(pistonfield_array_honeycomb(&honeycomb, &array, &message), PISTONFIELD_SUCCESS,
                   "");
    EXPECT(pistonfield_array_count(array) == 7);
    // All of them share one outline.
    EXPECT(pistonfield_array_outline_count(array) == 1);
    EXPECT(pistonfield_array_outlines(array)[0].count == 6);
    EXPECT(pistonfield_array_outline_of(array)[6] == 0);
    pistonfield_array_destroy(array);
    const pistonfield_annular empty = {NULL, -1, NULL, NULL, NULL, 0};
    EXPECT_OUTCOME(pistonfield_array_annular(&empty, &array, &message), PISTONFIELD_INVALID_REQUEST,
                   "elements: is missing; or give radii");
}

static void findsWeightsOfARequest(void) {
    const double pitch = 1.5;
    const pistonfield_line line = {4, 1, 2, &pitch, NULL};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_line(&line, &array, &message), PISTONFIELD_SUCCESS, "");
    pistonfield_request request = requestFor(array);
    const pistonfield_driven driven = {request.array, request.elements, request.wavenumber};
    const pistonfield_places focus = {request.x, request.y, request.z, 1, 1e-8, 0};
    double weights[8];
    double same[8];
    EXPECT_OUTCOME(pistonfield_weights_of_focus(&driven, &focus, weights, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT_OUTCOME(pistonfield_request_focus(&request, &focus, same, &message), PISTONFIELD_SUCCESS,
                   "");
    EXPECT(memcmp(weights, same, sizeof weights) == 0);
    // What is lost on the way changes the weights of a pressure.
    const double demanded[2] = {1, 0};
    const pistonfield_foci foci = {focus, demanded, 1e-6, NULL, 0};
    EXPECT_OUTCOME(pistonfield_request_foci(&request, &foci, weights, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    request.attenuation = 0.5;
    EXPECT_OUTCOME(pistonfield_request_foci(&request, &foci, same, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(hypot(same[0], same[1]) > 2 * hypot(weights[0], weights[1]));
    const double direction[3] = {0, 0, 1};
    EXPECT_OUTCOME(pistonfield_request_plane_wave(&request, direction, same, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(same[0] == 1 && same[1] == 0);
    const pistonfield_window window = {"hann", 0, PISTONFIELD_ALONG_X};
    EXPECT_OUTCOME(pistonfield_request_window(&request, &window, same, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(isNear(same[0], (1 + cos(pi * 2.25 / 2.75)) / 2, 1e-12));
    request.baffle = PISTONFIELD_SOFT;
    double before[8];
    EXPECT_OUTCOME(pistonfield_request_focus(&request, &focus, before, &message),
                   PISTONFIELD_SUCCESS, "");
    request.baffle = PISTONFIELD_RIGID;
    EXPECT_OUTCOME(pistonfield_request_focus(&request, &focus, same, &message), PISTONFIELD_SUCCESS,
                   "");
    EXPECT(!isNear(before[0], same[0], 1e-9));
    pistonfield_array_destroy(array);
}

static int stopAtOnce(int64_t points, void* user) {
    (void)points;
    (void)user;
    return 1;
}

static int count(int64_t points, void* user) {
    EXPECT(points == 0);
    ++*(int*)user;
    return 0;
}

static void watchesWhatIsMadeOfARequest(void) {
    const double pitch = 1.5;
    const pistonfield_line line = {4, 1, 2, &pitch, NULL};
    pistonfield_array* array = NULL;
    EXPECT_OUTCOME(pistonfield_array_line(&line, &array, &message), PISTONFIELD_SUCCESS, "");
    pistonfield_request request = requestFor(array);
    const pistonfield_places focus = {request.x, request.y, request.z, 1, 1e-8, 0};
    const double demanded[2] = {1, 0};
    const pistonfield_foci foci = {focus, demanded, 1e-6, NULL, 0};
    const double direction[3] = {0, 1, 1};
    pistonfield_plan* plan = NULL;
    double weights[8];
    double same[8];
    int told = 0;
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, NULL);
    conduct.user = &told;
    // Of an outline the one way, of a rectangle the other.
    for (int attenuated = 0; attenuated < 2; ++attenuated) {
        request.attenuation = attenuated ? 0.1 : 0;
        conduct.progress = stopAtOnce;
        const char* const stopped = "the computation was stopped";
        EXPECT_OUTCOME(pistonfield_plan_create_watched(&request, &conduct, &plan, &message),
                       PISTONFIELD_STOPPED, stopped);
        EXPECT(plan == NULL);
        EXPECT_OUTCOME(
            pistonfield_request_focus_watched(&request, &focus, &conduct, weights, &message),
            PISTONFIELD_STOPPED, stopped);
        EXPECT_OUTCOME(
            pistonfield_request_foci_watched(&request, &foci, &conduct, weights, NULL, &message),
            PISTONFIELD_STOPPED, stopped);
        EXPECT_OUTCOME(pistonfield_request_plane_wave_watched(&request, direction, &conduct,
                                                              weights, &message),
                       PISTONFIELD_STOPPED, stopped);
        conduct.progress = count;
        EXPECT_OUTCOME(pistonfield_plan_create_watched(&request, &conduct, &plan, &message),
                       PISTONFIELD_SUCCESS, "");
        pistonfield_plan_destroy(plan);
        EXPECT(told > 0);
        EXPECT_OUTCOME(
            pistonfield_request_focus_watched(&request, &focus, &conduct, weights, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT_OUTCOME(pistonfield_request_focus(&request, &focus, same, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(weights, same, sizeof weights) == 0);
        EXPECT_OUTCOME(
            pistonfield_request_foci_watched(&request, &foci, &conduct, weights, NULL, &message),
            PISTONFIELD_SUCCESS, "");
        EXPECT_OUTCOME(pistonfield_request_foci(&request, &foci, same, NULL, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(weights, same, sizeof weights) == 0);
        EXPECT_OUTCOME(pistonfield_request_plane_wave_watched(&request, direction, &conduct,
                                                              weights, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT_OUTCOME(pistonfield_request_plane_wave(&request, direction, same, &message),
                       PISTONFIELD_SUCCESS, "");
        EXPECT(memcmp(weights, same, sizeof weights) == 0);
        plan = NULL;
    }
    conduct.threads = -1;
    EXPECT_OUTCOME(pistonfield_plan_create_watched(&request, &conduct, &plan, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "threads: -1 is not within 0 to 1024");
    pistonfield_array_destroy(array);
}

static pistonfield_request largePiston(void) {
    pistonfield_request request;
    EXPECT_OUTCOME(pistonfield_request_init(&request, sizeof request, &message),
                   PISTONFIELD_SUCCESS, "");
    request.width = 30e-3;
    request.height = 20e-3;
    request.wavenumber = 2 * pi * 1e6 / 1482;
    request.tolerance = 1e-4;
    const double steps[3] = {5e-3, 5e-3, 20e-3};
    const double first[3] = {-10e-3, -10e-3, 40e-3};
    for (int i = 0; i < 3; ++i) {
        request.transform[5 * i] = steps[i];
        request.transform[4 * i + 3] = first[i];
        request.sizes[i] = i < 2 ? 5 : 15;
    }
    request.transform[15] = 1;
    return request;
}

static void findsTheRadiatedPower(void) {
    pistonfield_request request = largePiston();
    double power = 0;
    EXPECT_OUTCOME(pistonfield_request_power(&request, NULL, &power, &message), PISTONFIELD_SUCCESS,
                   "");
    // Of many wavelengths it is half the face, but for parts in the square of k*side.
    EXPECT(isNear(power, 300e-6, 1e-3) && !isNear(power, 300e-6, 1e-9));
    pistonfield_conduct conduct;
    EXPECT_OUTCOME(pistonfield_conduct_init(&conduct, sizeof conduct, &message),
                   PISTONFIELD_SUCCESS, "");
    conduct.progress = stopAtOnce;
    EXPECT_OUTCOME(pistonfield_request_power(&request, &conduct, &power, &message),
                   PISTONFIELD_STOPPED, "the computation was stopped");
    request.baffle = PISTONFIELD_SOFT;
    EXPECT_OUTCOME(pistonfield_request_power(&request, NULL, &power, &message), PISTONFIELD_SUCCESS,
                   "");
    EXPECT(isNear(power, 300e-6, 5e-2) && !isNear(power, 300e-6, 1e-2));
    request.attenuation = 5;
    EXPECT_OUTCOME(pistonfield_request_power(&request, NULL, &power, &message),
                   PISTONFIELD_INVALID_REQUEST,
                   "attenuation: with losses the power is known in a rigid baffle alone");
}

/// A figure of a beam, which has to be there.
static pistonfield_figure figureOf(const pistonfield_beam* beam, const char* name) {
    pistonfield_figure figure = {NULL, NULL, 0, 0, 0, 0};
    for (int64_t i = 0; i < pistonfield_beam_count(beam); ++i) {
        EXPECT_OUTCOME(pistonfield_beam_figure(beam, i, &figure, &message), PISTONFIELD_SUCCESS,
                       "");
        if (strcmp(figure.name, name) == 0) return figure;
    }
    EXPECT(name == NULL);
    return figure;
}

static pistonfield_beam_options waterAt1MHz(void) {
    pistonfield_beam_options options;
    EXPECT_OUTCOME(pistonfield_beam_options_init(&options, sizeof options, &message),
                   PISTONFIELD_SUCCESS, "");
    EXPECT(options.duty == 1 && options.derating == 0.3 && options.velocity == 1);
    options.frequency = 1e6;
    options.velocity = 0.1;
    return options;
}

static void measuresABeam(void) {
    const pistonfield_request request = largePiston();
    pistonfield_beam_options options = waterAt1MHz();
    pistonfield_beam* beam = NULL;
    EXPECT_OUTCOME(pistonfield_beam_of_request(&request, &options, NULL, &beam, &message),
                   PISTONFIELD_SUCCESS, "");
    const pistonfield_figure widths = figureOf(beam, "widths");
    EXPECT(widths.rows == 3 && widths.columns == 3 && widths.rank == 2 && widths.is_flag == 0);
    const pistonfield_figure place = figureOf(beam, "peak.place");
    EXPECT(place.columns == 3 && place.rank == 1);
    EXPECT(place.numbers[2] >= 40e-3 && place.numbers[2] <= 320e-3);
    const double power = figureOf(beam, "power").numbers[0];
    double area = 0;
    EXPECT_OUTCOME(pistonfield_request_power(&request, NULL, &area, &message), PISTONFIELD_SUCCESS,
                   "");
    EXPECT(isNear(power, area * 998 * 1482 * 0.01, 1e-9));
    EXPECT(figureOf(beam, "peak.on_edge").is_flag == 1);
    EXPECT(strstr(pistonfield_beam_table(beam), "Mechanical index") != NULL);
    pistonfield_figure figure;
    EXPECT_OUTCOME(pistonfield_beam_figure(beam, 1000, &figure, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "number: 1000 is no figure's");
    pistonfield_beam_destroy(beam);
    options.hydrophone_sides = 1;
    EXPECT_OUTCOME(pistonfield_beam_of_request(&request, &options, NULL, &beam, &message),
                   PISTONFIELD_INVALID_ARGUMENT, "hydrophone: is null");
    options.hydrophone_sides = 3;
    EXPECT_OUTCOME(pistonfield_beam_of_request(&request, &options, NULL, &beam, &message),
                   PISTONFIELD_INVALID_REQUEST, "hydrophone: 3 sides are not within 0 to 2");
    EXPECT(beam == NULL);
    options.size = 8;
    EXPECT_OUTCOME(pistonfield_beam_of_request(&request, &options, NULL, &beam, &message),
                   PISTONFIELD_INVALID_ARGUMENT,
                   "beam_options: a size of 8 bytes is not that of interface 1 to 8; call "
                   "pistonfield_beam_options_init first");
    pistonfield_beam_destroy(NULL);
    EXPECT(pistonfield_beam_count(NULL) == 0 && pistonfield_beam_table(NULL) == NULL);
}

/// A Gaussian along x and z about points between those of the lattice.
static void measuresTheBeamOfSamples(void) {
    enum { across = 41, along = 41 };
    static double values[2 * across * along];
    for (int i = 0; i < along; ++i)
        for (int j = 0; j < across; ++j) {
            const double x = 1e-3 * (j - 20) - 0.3e-3;
            const double z = 1e-3 * (i - 20) + 0.4e-3;
            values[2 * (across * i + j)] = 5 * exp(-(x * x) / 32e-6 - z * z / 98e-6);
        }
    pistonfield_sampled sampled = {{0}, {across, 1, along}, 4000, values};
    for (int i = 0; i < 3; ++i) sampled.transform[5 * i] = 1e-3;
    sampled.transform[3] = -20e-3;
    sampled.transform[11] = 10e-3;
    sampled.transform[15] = 1;
    const pistonfield_beam_options options = waterAt1MHz();
    pistonfield_beam* beam = NULL;
    EXPECT_OUTCOME(pistonfield_beam_of_samples(&sampled, &options, &beam, &message),
                   PISTONFIELD_SUCCESS, "");
    const double* const place = figureOf(beam, "peak.place").numbers;
    EXPECT(fabs(place[0] - 0.3e-3) < 1e-5 && fabs(place[2] - (30e-3 - 0.4e-3)) < 1e-5);
    // At -6 dB: exp(-x^2/32) = 10^(-0.3).
    const double half = sqrt(32e-6 * 0.3 * log(10));
    EXPECT(isNear(figureOf(beam, "widths").numbers[1], 2 * half, 1e-3));
    EXPECT(isNear(figureOf(beam, "peak.pressure").numbers[0], 5 * 998 * 1482 * 0.1, 1e-4));
    pistonfield_beam_destroy(beam);
    sampled.sizes[1] = 0;
    EXPECT_OUTCOME(pistonfield_beam_of_samples(&sampled, &options, &beam, &message),
                   PISTONFIELD_INVALID_REQUEST,
                   "sizes: must be 1 or more, and their product within memory");
}

void testSources(void) {
    findsTheWaveOfAMedium();
    makesShapes();
    buildsArraysOfShapes();
    findsWeightsOfARequest();
    watchesWhatIsMadeOfARequest();
    findsTheRadiatedPower();
    measuresABeam();
    measuresTheBeamOfSamples();
}
