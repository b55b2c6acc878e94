/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

// The pressure of a small ultrasound piston in water, along its axis.

#include <complex.h>
#include <pistonfield.h>
#include <stdio.h>

enum { points = 16 };

static const double pi = 3.141592653589793;
static const double soundSpeed = 1500;  // m/s
static const double density = 1000;     // kg/m^3
static const double velocity = 0.1;     // m/s, the piston's amplitude
static const double frequency = 1e6;    // Hz
static const double step = 5e-3;        // m, from point to point

static pistonfield_status computeField(double complex* field, pistonfield_message* message) {
    pistonfield_request request;
    pistonfield_request_init(&request, sizeof request, NULL);
    request.width = 7.5e-3;  // m, along x
    request.height = 5e-3;   // m, along y
    request.wavenumber = 2 * pi * frequency / soundSpeed;
    request.tolerance = 1e-6;  // of the largest |p|
    request.sizes[0] = request.sizes[1] = 1;
    request.sizes[2] = points;
    // Point iz lies at (0, 0, (iz + 1) * step).
    request.transform[0] = request.transform[5] = request.transform[10] = step;
    request.transform[11] = step;
    request.transform[15] = 1;

    pistonfield_plan* plan = NULL;
    pistonfield_status status = pistonfield_plan_create(&request, &plan, message);
    if (status != PISTONFIELD_SUCCESS) return status;
    const pistonfield_box all = {{0, 0, 0}, {1, 1, points}};
    double* values = (double*)field;
    status = pistonfield_plan_compute_double(plan, &all, values, values + 1, 2, NULL, message);
    pistonfield_plan_destroy(plan);
    return status;
}

int main(void) {
    double complex field[points];
    pistonfield_message message;
    if (computeField(field, &message) != PISTONFIELD_SUCCESS) {
        fprintf(stderr, "%s\n", message.text);
        return 1;
    }
    puts(" z (mm)  |p| on the axis (kPa)");
    for (int i = 0; i < points; ++i)
        printf("%7.1f  %10.3f\n", (i + 1) * step * 1e3,
               density * soundSpeed * velocity * cabs(field[i]) * 1e-3);
    return 0;
}
