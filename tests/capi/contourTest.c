/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// Losses, baffles, velocities, intensities and outlines, as a program in C99 asks for them.

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "tests/capi/checks.h"

enum { axisPoints = 5 };

static const double pi = 3.14159265358979323846;

static const double axisX[axisPoints] = {0, 0, 0, 0, 0};
static const double axisZ[axisPoints] = {0, 0.1, 1, 7, 100};

/// A disc of radius 2 as two arcs.
static const pistonfield_edge discEdges[2] = {
    {{2, 0}, {0, 0}, 3.14159265358979323846, 0},
    {{-2, 0}, {0, 0}, 3.14159265358979323846, 0},
};

static const pistonfield_element one = {0, 0, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
static const pistonfield_outline disc = {discEdges, 2};
static const int64_t discOf[1] = {0};

/// The disc, at points of its axis.
static pistonfield_request discRequest(void) {
    pistonfield_request request;
    EXPECT_OUTCOME(pistonfield_request_init(&request, sizeof request, &message),
                   PISTONFIELD_SUCCESS, "");
    request.wavenumber = 2 * pi;
    request.tolerance = 1e-9;
    request.tolerance_of = PISTONFIELD_LOCAL;
    request.x = axisX;
    request.y = axisX;
    request.z = axisZ;
    request.points = axisPoints;
    request.array = &one;
    request.elements = 1;
    request.outlines = &disc;
    request.outline_of = discOf;
    request.outline_count = 1;
    return request;
}

static void compute(const pistonfield_request* request, double* re, double* im) {
    const pistonfield_box all = {{0, 0, 0}, {axisPoints, 1, 1}};
    pistonfield_plan* const plan = planFor(request);
    EXPECT(strcmp(pistonfield_plan_engine(plan), "contours") == 0);
    EXPECT_OUTCOME(pistonfield_plan_compute_double(plan, &all, re, im, 1, NULL, &message),
                   PISTONFIELD_SUCCESS, "");
    pistonfield_plan_destroy(plan);
}

/// exp(-j*(k - j*a)*R)
static void waveAt(double wavenumber, double attenuation, double distance, double* re, double* im) {
    *re = exp(-attenuation * distance) * cos(wavenumber * distance);
    *im = -exp(-attenuation * distance) * sin(wavenumber * distance);
}

/// On a disc's axis the integral of exp(-jKR)/R is 2*pi*j/K times the difference of the waves of
/// its rim and its centre, K = k - ja; times k/(2*pi) that is the pressure.
static void isThatOfADiscOnItsAxis(double attenuation) {
    pistonfield_request request = discRequest();
    request.attenuation = attenuation;
    double re[axisPoints];
    double im[axisPoints];
    compute(&request, re, im);
    const double k = request.wavenumber;
    const double square = k * k + attenuation * attenuation;
    for (int i = 0; i < axisPoints; ++i) {
        double rimRe;
        double rimIm;
        double centreRe;
        double centreIm;
        waveAt(k, attenuation, hypot(2, axisZ[i]), &rimRe, &rimIm);
        waveAt(k, attenuation, axisZ[i], &centreRe, &centreIm);
        const double differenceRe = rimRe - centreRe;
        const double differenceIm = rimIm - centreIm;
        // j*k/(k - ja) = k*(jk - a)/(k^2 + a^2)
        const double factorRe = -k * attenuation / square;
        const double factorIm = k * k / square;
        EXPECT(fabs(re[i] - (factorRe * differenceRe - factorIm * differenceIm)) < 1e-9);
        EXPECT(fabs(im[i] - (factorRe * differenceIm + factorIm * differenceRe)) < 1e-9);
    }
}

/// On the axis the velocity is along it: over u0 exp(-jkz) less z/R of the rim's wave. The
/// intensity follows from both.
static void velocityAndIntensityBelongToThePressure(void) {
    pistonfield_request request = discRequest();
    double re[axisPoints];
    double im[axisPoints];
    compute(&request, re, im);
    double velocityRe[3 * axisPoints];
    double velocityIm[3 * axisPoints];
    request.quantity = PISTONFIELD_VELOCITY;
    compute(&request, velocityRe, velocityIm);
    double intensityRe[3 * axisPoints];
    double intensityIm[3 * axisPoints];
    request.quantity = PISTONFIELD_INTENSITY;
    compute(&request, intensityRe, intensityIm);
    for (int i = 0; i < axisPoints; ++i) {
        const int z = 2 * axisPoints + i;
        double rimRe;
        double rimIm;
        double centreRe;
        double centreIm;
        const double rim = hypot(2, axisZ[i]);
        waveAt(request.wavenumber, 0, rim, &rimRe, &rimIm);
        waveAt(request.wavenumber, 0, axisZ[i], &centreRe, &centreIm);
        EXPECT(fabs(velocityRe[z] - (centreRe - axisZ[i] / rim * rimRe)) < 1e-9);
        EXPECT(fabs(velocityIm[z] - (centreIm - axisZ[i] / rim * rimIm)) < 1e-9);
        EXPECT(hypot(velocityRe[i], velocityIm[i]) < 1e-9);
        // j*p*conj(v)
        EXPECT(fabs(intensityRe[z] - (re[i] * velocityIm[z] - im[i] * velocityRe[z])) < 1e-8);
        EXPECT(fabs(intensityIm[z] - (re[i] * velocityRe[z] + im[i] * velocityIm[z])) < 1e-8);
    }
}

/// A soft baffle's disc has the velocity's form for its pressure, over j.
static void bafflesDiffer(void) {
    pistonfield_request request = discRequest();
    double rigidRe[axisPoints];
    double rigidIm[axisPoints];
    double softRe[axisPoints];
    double softIm[axisPoints];
    double freeRe[axisPoints];
    double freeIm[axisPoints];
    compute(&request, rigidRe, rigidIm);
    request.baffle = PISTONFIELD_SOFT;
    compute(&request, softRe, softIm);
    request.baffle = PISTONFIELD_FREE;
    compute(&request, freeRe, freeIm);
    double velocityRe[3 * axisPoints];
    double velocityIm[3 * axisPoints];
    request.baffle = PISTONFIELD_RIGID;
    request.quantity = PISTONFIELD_VELOCITY;
    compute(&request, velocityRe, velocityIm);
    for (int i = 0; i < axisPoints; ++i) {
        const int z = 2 * axisPoints + i;
        EXPECT(fabs(softRe[i] - velocityIm[z]) < 1e-9);
        EXPECT(fabs(softIm[i] + velocityRe[z]) < 1e-9);
        EXPECT(fabs(freeRe[i] - (rigidRe[i] + softRe[i]) / 2) < 1e-9);
        EXPECT(fabs(freeIm[i] - (rigidIm[i] + softIm[i]) / 2) < 1e-9);
    }
}

static void expectRefused(const pistonfield_request* request, const char* text) {
    pistonfield_plan* plan = NULL;
    EXPECT_OUTCOME(pistonfield_plan_create(request, &plan, &message), PISTONFIELD_INVALID_REQUEST,
                   text);
    EXPECT(plan == NULL);
}

static void refusesWhatThereIsNot(void) {
    pistonfield_request request = discRequest();
    request.attenuation = -1;
    expectRefused(&request, "attenuation: must be within 0 and the wavenumber");
    request = discRequest();
    request.baffle = 3;
    expectRefused(&request, "baffle: 3 is none of 0 to 2");
    request = discRequest();
    request.quantity = -1;
    expectRefused(&request, "quantity: -1 is none of 0 to 2");
    request = discRequest();
    request.outline_of = NULL;
    expectRefused(&request, "outlines: none of outlines and outline_of may be null");
    request = discRequest();
    request.outline_count = 1025;
    expectRefused(&request, "outlines: 1025 are not within 1 to 1024");
    const int64_t another[1] = {1};
    request = discRequest();
    request.outline_of = another;
    expectRefused(&request, "outline_of: element 1 has the number 1, which is no outline's");
    const pistonfield_outline half = {discEdges, 1};
    request = discRequest();
    request.outlines = &half;
    expectRefused(&request, "elements: element 1: its outline: one of its loops is not closed");
    request = discRequest();
    request.mode = PISTONFIELD_CUDA;
    request.tolerance = 1e-4;
    expectRefused(&request, "elements: outlines are not computed in the mode cuda");
    request = discRequest();
    request.array = NULL;
    request.elements = 0;
    expectRefused(&request, "outlines: are those of an array's elements");
}

/// What a program has whose header has interface 5: no member of this one.
static void takesTheRequestOfAnEarlierInterface(void) {
    enum { earlierSize = offsetof(pistonfield_request, attenuation) };
    pistonfield_request request = discRequest();
    request.outlines = NULL;
    request.outline_of = NULL;
    request.outline_count = 0;
    request.array = NULL;
    request.elements = 0;
    request.width = 1;
    request.height = 1;
    request.size = earlierSize;
    request.attenuation = -1;
    request.quantity = 17;
    pistonfield_plan* const plan = planFor(&request);
    EXPECT(strcmp(pistonfield_plan_engine(plan), "points") == 0);
    pistonfield_plan_destroy(plan);
}

void testContours(void) {
    isThatOfADiscOnItsAxis(0);
    isThatOfADiscOnItsAxis(0.3);
    velocityAndIntensityBelongToThePressure();
    bafflesDiffer();
    refusesWhatThereIsNot();
    takesTheRequestOfAnEarlierInterface();
}
