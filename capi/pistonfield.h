/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

/// The field of a rectangular piston, for C and for every language that can call C.
///
/// Functions that can fail return a status and write a text about it where the caller wants one;
/// the library keeps nothing between calls but the plans. Any thread may call any function, and any
/// threads may use a plan at the same time, until one of them destroys it. The library prints
/// nothing, and no exception leaves it.
#ifndef PISTONFIELD_H
#define PISTONFIELD_H

#include <stddef.h>
#include <stdint.h>

/// The number of the interface that this header has. Each addition raises it by one.
#define PISTONFIELD_INTERFACE 3

#ifdef __cplusplus
#define PISTONFIELD_NOEXCEPT noexcept
extern "C" {
#else
#define PISTONFIELD_NOEXCEPT
#endif

/// The version of the library, such as "0.1.0".
const char* pistonfield_version(void) PISTONFIELD_NOEXCEPT;

/// The number of the library's interface: PISTONFIELD_INTERFACE when the library was built.
int32_t pistonfield_interface(void) PISTONFIELD_NOEXCEPT;

/// How a call ended.
typedef enum pistonfield_status {
    PISTONFIELD_SUCCESS = 0,
    PISTONFIELD_INVALID_ARGUMENT = 1,  ///< the text is "<argument>: <reason>"
    PISTONFIELD_INVALID_REQUEST = 2,   ///< there is no such field; the text is "<field>: <reason>"
    PISTONFIELD_OUT_OF_RANGE = 3,      ///< the box does not lie within the lattice or the list
    PISTONFIELD_STOPPED = 4,           ///< the progress function asked for that
    PISTONFIELD_OUT_OF_MEMORY = 5,
    PISTONFIELD_DEVICE_FAILURE = 6,  ///< a device failed, or there is none
    PISTONFIELD_FAILURE = 7  ///< anything else, such as a PISTONFIELD_THREADS that is no number
} pistonfield_status;

/// What there is to say about how a call ended: UTF-8, ended by 0, empty after success. Longer
/// texts are cut.
typedef struct pistonfield_message {
    char text[256];
} pistonfield_message;

/// What computes a field, and how precisely. Values of other numbers may be added.
typedef enum pistonfield_mode {
    PISTONFIELD_CPU = 0,     ///< the processor in double precision
    PISTONFIELD_CPUSP = 1,   ///< the processor in single precision
    PISTONFIELD_CUDA = 2,    ///< a GPU in single precision
    PISTONFIELD_CUDADP = 3,  ///< a GPU in double precision; without a tolerance roots, sines and
                             ///< cosines are single
} pistonfield_mode;

/// What the error of a value is relative to.
typedef enum pistonfield_tolerance_of {
    PISTONFIELD_LARGEST = 0,  ///< the largest |p| at the request's points
    PISTONFIELD_LOCAL = 1,    ///< at each point k*A/(2*pi*R), of the face's area A and the distance
                              ///< R of its centre, or sqrt(A)/4 where that is more; and at most 1
} pistonfield_tolerance_of;

/// The number of modes: they are numbered from 0 on.
int32_t pistonfield_mode_count(void) PISTONFIELD_NOEXCEPT;

/// The name of a mode, such as "cpu", or null where there is none of that number.
const char* pistonfield_mode_name(int32_t mode) PISTONFIELD_NOEXCEPT;

/// The number of the mode with a name, compared exactly, or -1 where there is none. "cpudp" is
/// another name of "cpu".
int32_t pistonfield_mode_called(const char* name) PISTONFIELD_NOEXCEPT;

/// The bytes of one complex value in the mode's precision: 8 or 16; 0 where there is no such mode.
int64_t pistonfield_mode_value_bytes(int32_t mode) PISTONFIELD_NOEXCEPT;

/// The largest order of a rule that the mode computes with; 0 where there is no such mode.
int32_t pistonfield_mode_largest_order(int32_t mode) PISTONFIELD_NOEXCEPT;

/// The most points of a lattice along one direction; 0 where there is no such mode.
int64_t pistonfield_mode_most_points_in_a_row(int32_t mode) PISTONFIELD_NOEXCEPT;

/// The most threads that a computation can be given.
int32_t pistonfield_most_threads(void) PISTONFIELD_NOEXCEPT;

/// The field that is asked for, in any one unit of length in which no side is below 1e-7, at z >=
/// 0: values behind the piston mean nothing, or are refused with a tolerance.
/// `pistonfield_request_init` comes first.
///
/// The piston lies in the plane z = 0, centred on the origin, in an infinite rigid baffle. Its
/// field at a point is p = k/(2pi) * integral over the piston of exp(-j*k*R)/R dS, without unit,
/// for the time dependence exp(+j*omega*t); times j*rho*c*u0 it is the pressure.
typedef struct pistonfield_request {
    size_t size;        ///< bytes of this struct where the program was compiled
    double width;       ///< the piston's side along x
    double height;      ///< the piston's side along y
    double wavenumber;  ///< k, in radians per unit of length
    /// Row by row, the 4x4 matrix from lattice indices (ix, iy, iz, 1), counted from 0, to
    /// positions, which its last number divides.
    double transform[16];
    int64_t sizes[3];  ///< points of the lattice along x, y and z
    int32_t mode;      ///< a `pistonfield_mode`
    int32_t order;     ///< abscissas of the rule of each edge integral
    /// `order` pairs of abscissa and weight on [-1, 1], which have to be symmetric about 0 in the
    /// modes of a GPU: these take the first half; null: Gauss-Legendre
    const double* table;
    /// The largest error of a value, above 0 and below 1; 0: none. The number of nodes then follows
    /// from a bound, point by point: `order` and `table` mean nothing, and the mode says what
    /// computes, and the precision of all arithmetic. Since interface 2, as what follows.
    double tolerance;
    int32_t tolerance_of;  ///< a `pistonfield_tolerance_of`
    /// With a tolerance, points behind the piston are refused where this is 0. Otherwise their
    /// value is the integral's, which is that of the point mirrored in the piston's plane.
    int32_t behind;
    /// Instead of the lattice, with a tolerance: any points, at (x[i], y[i], z[i]). `transform` and
    /// `sizes` then mean nothing, and boxes are those of a lattice of the sizes `points`, 1 and 1.
    /// Neighbours share their numbers of nodes, so that a list takes least where they lie near to
    /// each other. Null and 0: the lattice. Since interface 3, as what follows.
    const double* x;
    const double* y;
    const double* z;
    int64_t points;  ///< positions in each of the three arrays
    // Members that are added later mean nothing where they are 0.
} pistonfield_request;

/// Fills a request with what applies where nothing is said: the mode "cpu", order 10,
/// Gauss-Legendre. All else is 0, and of that the sides, the wavenumber, and the lattice or a list
/// of points have to be set.
/// @param size sizeof(pistonfield_request)
pistonfield_status pistonfield_request_init(pistonfield_request* request, size_t size,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Points of the lattice: those with indices first[i] .. first[i] + size[i] - 1 along x, y and z.
/// They are numbered x fastest, then y, then z.
typedef struct pistonfield_box {
    int64_t first[3];
    int64_t size[3];
} pistonfield_box;

/// What a box takes in the precision of the mode. In the other one it takes up to 16 MB more.
typedef struct pistonfield_cost {
    double evaluations;     ///< of the integrand; with an order at least, up to twice as
                            ///< many before the face, with a tolerance about so many for
                            ///< a box that makes up a large part of all points
    int64_t memory;         ///< bytes of the process's memory, beside the caller's
    int64_t device_memory;  ///< bytes on the device
} pistonfield_cost;

/// Is told between pieces of about a twentieth of a second how many points of a box are done, in
/// the thread that computes the box. It does not leave by `longjmp`.
/// @param user what the caller has given for it
/// @return 0 to go on; anything else to stop, which has no effect after the last piece
typedef int (*pistonfield_progress)(int64_t points, void* user);

/// How a computation is watched, and what it may use. `pistonfield_conduct_init` comes first.
typedef struct pistonfield_conduct {
    size_t size;                    ///< bytes of this struct where the program was compiled
    pistonfield_progress progress;  ///< or null
    void* user;                     ///< for `progress`
    /// The most threads on the processor. 0: as the environment variable PISTONFIELD_THREADS says,
    /// else one for each core that the process may use.
    int64_t threads;
    // Members that are added later mean nothing where they are 0.
} pistonfield_conduct;

/// Fills a conduct with what applies where there is none: all 0 but the size.
/// @param size sizeof(pistonfield_conduct)
pistonfield_status pistonfield_conduct_init(pistonfield_conduct* conduct, size_t size,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Computes the field of a request, box by box. A point's bits depend neither on the box that it is
/// in nor on the threads nor on the caller. A plan of a mode of a GPU belongs to the process that
/// made it: to a forked child it is a device that failed. No thread is cancelled while it computes.
typedef struct pistonfield_plan pistonfield_plan;

/// Makes a plan, which takes all that it needs from the request, a list of points too. On a GPU it
/// brings up the device.
/// @param plan    where the plan goes, or null after a failure
/// @param message where a text about the failure goes, or null; so in all functions
pistonfield_status pistonfield_plan_create(const pistonfield_request* request,
                                           pistonfield_plan** plan,
                                           pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Ends a plan, when nobody computes with it. Null is fine.
void pistonfield_plan_destroy(pistonfield_plan* plan) PISTONFIELD_NOEXCEPT;

/// Tells what a box takes.
pistonfield_status pistonfield_plan_cost(const pistonfield_plan* plan, const pistonfield_box* box,
                                         pistonfield_cost* cost,
                                         pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// How exact the values of a plan with a tolerance are, relative to what the tolerance is relative
/// to, and what they take.
typedef struct pistonfield_accuracy {
    double bound;        ///< no value is further off than this: nodes and rounding
    double error;        ///< the largest error that was measured
    double evaluations;  ///< of the integrand at a point, on average where the error was measured
    int64_t points;      ///< at which it was measured
} pistonfield_accuracy;

/// Measures how exact the values are, at some hundred points of the request against a finer
/// evaluation in double precision. A plan whose request has no tolerance is an invalid argument.
pistonfield_status pistonfield_plan_accuracy(const pistonfield_plan* plan,
                                             pistonfield_accuracy* accuracy,
                                             pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Computes the field at the points of a box: value i goes to re[i * stride] and im[i * stride].
/// Values of a mode in single precision are widened.
///
/// A real and an imaginary array take `re, im, 1`; an array of complex values takes
/// `values, values + 1, 2`. After a failure some values may be there and others not.
/// @param stride  1 or more; re and im have no element of each other's
/// @param conduct or null
pistonfield_status pistonfield_plan_compute_double(
    const pistonfield_plan* plan, const pistonfield_box* box, double* re, double* im,
    int64_t stride, const pistonfield_conduct* conduct,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same in single precision. Values of a mode in double precision are rounded.
pistonfield_status pistonfield_plan_compute_float(
    const pistonfield_plan* plan, const pistonfield_box* box, float* re, float* im, int64_t stride,
    const pistonfield_conduct* conduct, pistonfield_message* message) PISTONFIELD_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#undef PISTONFIELD_NOEXCEPT

#endif
