// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/Complex.h"

/// The launchers of the GPU field computation: free functions with C linkage for any host program.
///
/// Each moves what its kernel needs to the device, starts one kernel, and (but for the `_device`
/// halves) brings the field back. They need a device and a rule on it, of their precision, and
/// bring neither: they use whatever rule the context holds. In a context without one **every value
/// is 0**, and nothing tells that from success. Before the first launch, and again after the
/// context has ended, stand
///
///     const CudaDeviceThread device;                             // core/cudahelper.h
///     setCudaIntegratorParameters("RectangularPiston", order);   // FastNearfield/IntegratorCuda.h
///
/// `RectangularPistonCuda2::computeBox` computes on the CPU and needs neither.
///
/// - sx, sy, sz: the grid's sizes; fields are in grid point order, x fastest, then y, then z. The
///   bytes of a field must fit 31 bits, and sy*sz may be 524280 at most on a device whose grids
///   have 65535 blocks along y.
/// - transform: 16 reals row by row, from lattice coordinates to the piston's frame; the fourth row
///   is not used and nothing is divided by its last element.
/// - l, s: the piston's side lengths along y and along x; k: the wavenumber. Lengths are in any
///   one unit, the wavenumber in radians per that unit.
/// - data: interleaved complex values; datar, datai: real and imaginary parts apart; d_...: device
///   memory.
///
/// A failure is reported through the current error handler as for `checkPending` and `checkCall`;
/// where the handler returns, the launcher goes on with its next step. What an exception leaves
/// allocated on the device goes with the context.
extern "C" {

/// When not 0, timed launchers wait for their kernel and set `global_time`.
extern int do_timing;
/// The wall-clock time of the last timed kernel, in microseconds.
extern double global_time;

void RectangularPiston_func(Complex* data, int sx, int sy, int sz, const float* transform, float l,
                            float s, float k);
/// Returns right after the launch.
void RectangularPiston_func_device(Complex* d_array, int sx, int sy, int sz, const float* transform,
                                   float l, float s, float k);

void RectangularPiston_func2(float* datar, float* datai, int sx, int sy, int sz,
                             const float* transform, float l, float s, float k);
/// Returns right after the launch.
void RectangularPiston_func2_device(float* d_arrayr, float* d_arrayi, int sx, int sy, int sz,
                                    const float* transform, float l, float s, float k);

/// Points at (posx[ix], posy[iy], posz[iz]). The kernel reads the caller's own coordinate arrays:
/// on a GPU they must be memory that the device can reach.
void RectangularPiston_func_structured(Complex* data, int sx, int sy, int sz, const float* posx,
                                       const float* posy, const float* posz, float l, float s,
                                       float k);
/// As above, into device memory, from coordinates in device memory. Returns right after the launch.
void RectangularPiston_func_structured_device(Complex* d_array, int sx, int sy, int sz,
                                              const float* posx, const float* posy,
                                              const float* posz, float l, float s, float k);

/// @param pos nbPositions consecutive triples x, y, z
void RectangularPiston_func_unstructured(Complex* data, int nbPositions, const float* pos, float l,
                                         float s, float k);
/// @param pos in device memory
/// Returns right after the launch.
void RectangularPiston_func_unstructured_device(Complex* d_array, int nbPos, const float* pos,
                                                float l, float s, float k);

/// The first three rows of the transform by value.
void do_calculate_grid(Complex* data, int sx, int sy, int sz,  //
                       float transform00, float transform01, float transform02,
                       float transform03,  //
                       float transform10, float transform11, float transform12,
                       float transform13,  //
                       float transform20, float transform21, float transform22,
                       float transform23,  //
                       float l, float s, float k);

/// Points at (ix*dx, iy*dy, iz*dz).
void do_calculate(Complex* data, int sx, int sy, int sz, float dx, float dy, float dz, float l,
                  float s, float k);

// Double precision. On the device square roots, sines and cosines are single.

void RectangularPiston_func_d(Complexd* data, int sx, int sy, int sz, const double* transform,
                              double l, double s, double k);
void RectangularPiston_func2_d(double* datar, double* datai, int sx, int sy, int sz,
                               const double* transform, double l, double s, double k);
void do_calculate_grid_d(Complexd* data, int sx, int sy, int sz,  //
                         double transform00, double transform01, double transform02,
                         double transform03,  //
                         double transform10, double transform11, double transform12,
                         double transform13,  //
                         double transform20, double transform21, double transform22,
                         double transform23,  //
                         double l, double s, double k);
void do_calculate_d(Complexd* data, int sx, int sy, int sz, double dx, double dy, double dz,
                    double l, double s, double k);

}  // extern "C"
