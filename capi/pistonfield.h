/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */

/// The field of a rectangular piston, or of an array of flat pistons, for C and for every language
/// that can call C; and arrays, weights that drive them, and what their beams are like.
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
#define PISTONFIELD_INTERFACE 8

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
    PISTONFIELD_LARGEST = 0,  ///< the largest |p| at the request's points, of each weighting
    PISTONFIELD_LOCAL = 1,    ///< at each point k*A/(2*pi*R), of the face's area A and the distance
                            ///< R of its centre, or sqrt(A)/4 where that is more; and at most 1. Of
                            ///< an array the sum of its elements', each times its |weight|
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

/// Not 0: the modes of a GPU compute on NVIDIA GPUs, and memory of these can be given. 0: their
/// device is the processor. Since interface 8.
int32_t pistonfield_has_gpus(void) PISTONFIELD_NOEXCEPT;

/// The most threads that a computation can be given.
int32_t pistonfield_most_threads(void) PISTONFIELD_NOEXCEPT;

/// A piston of an array, in the array's frame: 11 numbers, and never others. A point at (x, y, z)
/// of the piston's own frame, in which it lies as that of a request does, is at centre +
/// x*along_width + y*along_height + z*normal there, with normal = along_width x along_height, the
/// direction that it radiates to. Since interface 4.
typedef struct pistonfield_element {
    double width;   ///< the piston's side along `along_width`
    double height;  ///< the piston's side along `along_height`
    double centre[3];
    double along_width[3];   ///< of length 1
    double along_height[3];  ///< of length 1, at a right angle to it
} pistonfield_element;

/// An edge of a flat piston's outline, in the piston's frame: straight, or along a circle. Since
/// interface 6, as the types up to `pistonfield_quantity`.
typedef struct pistonfield_edge {
    double from[2];  ///< where it begins
    double to[2];    ///< where a straight one ends; of an arc the circle's centre
    double sweep;    ///< 0: straight; else by which angle it turns about the centre, in radians,
                     ///< from the x axis towards the y axis where it is above 0
    int64_t loop;    ///< edges of the same number, one after the other, are closed to a loop
} pistonfield_edge;

/// The boundary of a flat piston, which lies on the left of its edges seen from the side that it
/// radiates to: holes turn the other way.
typedef struct pistonfield_outline {
    const pistonfield_edge* edges;
    int64_t count;  ///< at most 4096
} pistonfield_outline;

/// A device, and the stream in whose order its memory is used. Since interface 8.
typedef struct pistonfield_device {
    int32_t number;  ///< as the CUDA runtime counts the devices of the process
    void* stream;    ///< a cudaStream_t of the device's primary context; null: the default stream
} pistonfield_device;

/// What the plane about a piston is.
typedef enum pistonfield_baffle {
    PISTONFIELD_RIGID = 0,  ///< moves nowhere
    PISTONFIELD_SOFT = 1,   ///< has no pressure; the face has one of rho*c*u0
    PISTONFIELD_FREE = 2    ///< is not there: half the sum of both fields
} pistonfield_baffle;

/// What is computed at each point.
typedef enum pistonfield_quantity {
    PISTONFIELD_PRESSURE = 0,  ///< one number: the pressure over j*rho*c*u0
    PISTONFIELD_VELOCITY = 1,  ///< three: the particle velocity's components over u0
    PISTONFIELD_INTENSITY = 2  ///< three: those of the complex intensity p*conj(v)/2 over
                               ///< rho*c*|u0|^2/2, active and reactive
} pistonfield_quantity;

/// The field that is asked for, in any one unit of length in which no side is below 1e-7, at z >=
/// 0: values behind the piston mean nothing, or are refused with a tolerance.
/// `pistonfield_request_init` comes first.
///
/// The piston lies in the plane z = 0, centred on the origin, in an infinite rigid baffle. Its
/// field at a point is p = k/(2pi) * integral over the piston of exp(-j*k*R)/R dS, without unit,
/// for the time dependence exp(+j*omega*t); times j*rho*c*u0 it is the pressure. That of an array
/// is the sum of its elements' fields, each of the element alone in an infinite rigid baffle in its
/// own plane and times its weight.
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
    /// With a tolerance, points behind the piston, or behind any element of an array, are refused
    /// where this is 0. Otherwise their value is the integral's, which is that of the point
    /// mirrored in the piston's plane.
    int32_t behind;
    /// Instead of the lattice, with a tolerance: any points, at (x[i], y[i], z[i]). `transform` and
    /// `sizes` then mean nothing, and boxes are those of a lattice of the sizes `points`, 1 and 1.
    /// Neighbours share their numbers of nodes, so that a list takes least where they lie near to
    /// each other. Null and 0: the lattice. Since interface 3, as what follows.
    const double* x;
    const double* y;
    const double* z;
    int64_t points;  ///< positions in each of the three arrays
    /// Instead of the piston, with a tolerance: the elements that radiate. `width` and `height`
    /// then mean nothing, and positions are in the array's frame. Null and 0: the piston. Since
    /// interface 4, as what follows.
    const pistonfield_element* array;
    int64_t elements;  ///< of `array`, at most 1000000, and 1024 of different sides
    /// How the elements are driven: for each weighting, one after the other, a real and an
    /// imaginary part for each element. Each weighting has a field of its own. Null: one weighting,
    /// all 1; `weightings` is then 0 or 1.
    const double* weights;
    int64_t weightings;  ///< at most 4096
    /// Of a wave exp(-j*(wavenumber - j*attenuation)*R), in nepers per unit of length; 0: none.
    /// Since interface 6, as what follows; each takes a tolerance and the processor.
    double attenuation;
    int32_t baffle;    ///< a `pistonfield_baffle`
    int32_t quantity;  ///< a `pistonfield_quantity`. Each weighting then has so many fields, one
                       ///< after the other
    /// Outlines of elements that are no rectangles, and for each element the number of its one,
    /// counted from 0, or -1 for the rectangle of its sides. Null, null and 0: all are rectangles.
    const pistonfield_outline* outlines;
    const int64_t* outline_of;
    int64_t outline_count;  ///< of `outlines`, at most 1024
    /// Where `x`, `y` and `z` are memory of a device, they are copied from there in the order of
    /// its stream: the processor cuts the points into groups, whatever the mode. Null: they are the
    /// host's. It goes with points. Since interface 8.
    const pistonfield_device* points_device;
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
    /// Where values of several fields go, of weightings and of components: those of the next one
    /// lie so many numbers further in `re` and `im`. 0: right behind, which is the points of the
    /// box times the stride. With one field it means nothing. Since interface 4.
    int64_t to_next_field;
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

/// Makes a plan, which takes all that it needs from the request, a list of points and an array too.
/// On a GPU it brings up the device.
/// @param plan    where the plan goes, or null after a failure
/// @param message where a text about the failure goes, or null; so in all functions
pistonfield_status pistonfield_plan_create(const pistonfield_request* request,
                                           pistonfield_plan** plan,
                                           pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same, watched: of many elements or points it may take seconds.
/// @param conduct or null; its progress function is told 0 points, so that it can stop. Since
///     interface 8
pistonfield_status pistonfield_plan_create_watched(
    const pistonfield_request* request, const pistonfield_conduct* conduct, pistonfield_plan** plan,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Ends a plan, when nobody computes with it. Null is fine.
void pistonfield_plan_destroy(pistonfield_plan* plan) PISTONFIELD_NOEXCEPT;

/// The name of what computes: "order", the sums of one order; with a tolerance "points", point by
/// point; "runs", along the axes of a lattice; of arrays "sum", element by element; "convolution",
/// for equal elements in a plane; "contours", along the pistons' outlines, for losses, baffles,
/// quantities and outlines. Others may be added. It is there as long as the plan; null where
/// that is null. Since interface 4.
const char* pistonfield_plan_engine(const pistonfield_plan* plan) PISTONFIELD_NOEXCEPT;

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

/// Computes the field at the points of a box: value i goes to re[i * stride] and im[i * stride],
/// and of field w, counted from 0, to re[w * to_next_field + i * stride] and im alike: each
/// weighting of an array has a field, or one for each component of the quantity. `to_next_field` is
/// the conduct's, and where that has none the points of the box times the stride. Values of a mode
/// in single precision are widened.
///
/// A real and an imaginary array take `re, im, 1`; an array of complex values takes
/// `values, values + 1, 2`. After a failure some values may be there and others not.
/// @param stride  1 or more; each part of each value has an element of its own
/// @param conduct or null
pistonfield_status pistonfield_plan_compute_double(
    const pistonfield_plan* plan, const pistonfield_box* box, double* re, double* im,
    int64_t stride, const pistonfield_conduct* conduct,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same in single precision. Values of a mode in double precision are rounded.
pistonfield_status pistonfield_plan_compute_float(
    const pistonfield_plan* plan, const pistonfield_box* box, float* re, float* im, int64_t stride,
    const pistonfield_conduct* conduct, pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Computes the field into the memory of a device, whatever the mode: complex values one after the
/// other, a real and an imaginary part each, and right behind them those of the next field, each
/// times a factor. They are made piece by piece in the host's memory and copied in the order of the
/// device's stream, and are there when this returns. After a failure some may be there and others
/// not. Since interface 8, as what follows up to `pistonfield_array`.
/// @param values  in memory that the device made, or shares with the host; else an invalid argument
/// @param factor  a real and an imaginary part, finite; null is 1. j*density*speed*velocity makes
/// pressures
/// @param conduct or null; its `to_next_field` is 0
pistonfield_status pistonfield_plan_compute_double_on(
    const pistonfield_plan* plan, const pistonfield_box* box, double* values,
    const pistonfield_device* device, const double* factor, const pistonfield_conduct* conduct,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same in single precision.
pistonfield_status pistonfield_plan_compute_float_on(
    const pistonfield_plan* plan, const pistonfield_box* box, float* values,
    const pistonfield_device* device, const double* factor, const pistonfield_conduct* conduct,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Tells in which device's memory an address lies; of memory that is shared it is the first device.
/// @param number where the device's number goes. An address in no device's memory is an invalid
///     argument
pistonfield_status pistonfield_device_of(const void* address, int32_t* number,
                                         pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Copies from the memory of a device to that of the host, in the order of the device's stream, and
/// waits until that is done.
/// @param bytes 1 or more
pistonfield_status pistonfield_device_read(const pistonfield_device* device, const void* from,
                                           int64_t bytes, void* to,
                                           pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Elements, and their weights where there are some: what the functions below make, to be given to
/// a request. All that it has is there as long as it is. Since interface 5, as what follows.
typedef struct pistonfield_array pistonfield_array;

/// Ends an array. Null is fine.
void pistonfield_array_destroy(pistonfield_array* array) PISTONFIELD_NOEXCEPT;

/// Its elements; null where it is null.
const pistonfield_element* pistonfield_array_elements(const pistonfield_array* array)
    PISTONFIELD_NOEXCEPT;

/// The number of its elements; 0 where it is null.
int64_t pistonfield_array_count(const pistonfield_array* array) PISTONFIELD_NOEXCEPT;

/// For each element a real and an imaginary part; null where it has no weights or is null.
const double* pistonfield_array_weights(const pistonfield_array* array) PISTONFIELD_NOEXCEPT;

/// Elements side by side along x, in the plane z = 0, centred on the origin and radiating to +z.
/// Lengths are in any one unit, here and in the other arrangements. Of several ways to say the same
/// thing one is given, and the pointers of the others are null.
typedef struct pistonfield_line {
    int64_t elements;
    double width;         ///< of an element, along x
    double height;        ///< of an element, along y
    const double* pitch;  ///< from centre to centre; this, or:
    const double* kerf;   ///< from edge to edge; of one element neither is needed
} pistonfield_line;

/// Elements in columns along x and rows along y, in the plane z = 0, centred on the origin and
/// radiating to +z.
typedef struct pistonfield_matrix {
    int64_t columns;
    int64_t rows;
    double width;           ///< of an element, along x
    double height;          ///< of an element, along y
    const double* pitch_x;  ///< from centre to centre of the columns; this, or:
    const double* kerf_x;   ///< from edge to edge; of one column neither is needed
    const double* pitch_y;  ///< the same of the rows
    const double* kerf_y;
} pistonfield_matrix;

/// Elements side by side on the outside of a cylinder, whose axis is the parallel of y through (0,
/// 0, -radius): each touches it in its centre and radiates away from the axis. The middle of them
/// is at the origin and radiates to +z.
typedef struct pistonfield_convex {
    int64_t elements;
    double radius;
    double width;         ///< of an element, across the axis
    double height;        ///< of an element, along y
    const double* pitch;  ///< from centre to centre along the arc; this, or:
    const double* angle;  ///< from centre to centre as seen from the axis, in radians; or:
    const double* kerf;   ///< from edge to edge; of one element none of the three is needed
} pistonfield_convex;

/// Elements on the inside of a spherical cap, with its apex at the origin and its centre of
/// curvature, the focus, at (0, 0, radius). They touch the sphere in their centres and radiate to
/// the focus; their width is along the parallel and their height along the meridian. They lie
/// wholly within the aperture and beside the hole, as seen along z: along a spiral by the golden
/// angle, each in its own part of the surface, or in rings.
typedef struct pistonfield_bowl {
    double radius;                ///< of curvature
    const double* aperture;       ///< the diameter of the rim, up to twice the radius; or:
    const double* opening_angle;  ///< that of the rim as seen from the focus, in radians, up to pi
    double hole;                  ///< the diameter of a hole about the apex, or 0
    double width;
    double height;
    const int64_t* elements;  ///< of a spiral; or, of rings:
    const double* kerf;       ///< the least distance from edge to edge; or:
    const double* pitch;      ///< that plus the width along a ring, plus the height across; or:
    const int64_t* counts;    ///< the elements of each ring, from the innermost on
    int64_t rings;            ///< numbers in `counts`
} pistonfield_bowl;

/// Makes an array of elements from the least x on.
/// @param array where the array goes, or null after a failure; so in all of these. What of the
///     struct is wrong is an invalid request, named after the member
pistonfield_status pistonfield_array_line(const pistonfield_line* line, pistonfield_array** array,
                                          pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Makes an array row by row: from the least y on, and in each row from the least x on.
pistonfield_status pistonfield_array_matrix(const pistonfield_matrix* matrix,
                                            pistonfield_array** array,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Makes an array of elements from the least x on, along the arc.
pistonfield_status pistonfield_array_convex(const pistonfield_convex* convex,
                                            pistonfield_array** array,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Makes an array of elements from the innermost on.
pistonfield_status pistonfield_array_bowl(const pistonfield_bowl* bowl, pistonfield_array** array,
                                          pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Reads an array, in metres, from a file of comma-separated values: a line of columns' names, and
/// a line for each element. Columns, in any order, with m, cm, mm or um behind a length's name: x
/// [mm], y [mm], z [mm], width [mm], height [mm]; normal x, normal y, normal z; along x, ... of the
/// width's direction, up x, ... of the height's; and of weights amplitude and phase [deg] or phase
/// [rad], or re and im; since interface 7 in place of the sides outline [mm], edge by edge. Only x,
/// y, and width and height or outline, are needed. Elements with outlines, which
/// `pistonfield_array_outlines` gives, have sides of 0.
/// @param path of the file. What is wrong is an invalid request, also where it cannot be read; the
///     text names the line and the column
pistonfield_status pistonfield_array_read(const char* path, pistonfield_array** array,
                                          pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// An array of rectangles and a wave, for the functions that find weights. Lengths and the
/// wavenumber share any one unit.
typedef struct pistonfield_driven {
    const pistonfield_element* array;
    int64_t elements;   ///< of `array`, at most 1000000
    double wavenumber;  ///< k, in radians per unit of length
} pistonfield_driven;

/// Places in the array's frame.
typedef struct pistonfield_places {
    const double* x;
    const double* y;
    const double* z;
    int64_t points;    ///< positions in each of the three
    double tolerance;  ///< of the elements' pressures there, relative to `PISTONFIELD_LOCAL` of the
                       ///< element
    int32_t behind;    ///< not 0: places behind elements are asked for, see `pistonfield_request`
} pistonfield_places;

/// Finds weights of amplitude 1 with which all elements arrive at a point with the phase 0: the
/// field there is the sum of the magnitudes of the elements' own.
/// @param focus   one place
/// @param weights room for a real and an imaginary part for each element; so in all of these
pistonfield_status pistonfield_weights_of_focus(const pistonfield_driven* driven,
                                                const pistonfield_places* focus, double* weights,
                                                pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Pressures that are demanded at several places at once.
typedef struct pistonfield_foci {
    pistonfield_places places;  ///< at most 256
    const double* pressures;    ///< p at each of them, a real and an imaginary part
    double least_ratio;         ///< singular values below this part of the largest one are dropped,
                                ///< 1e-7 to 1
    const double* largest_weight;  ///< the weights are scaled such that the largest |weight| is
                                   ///< this one; null: they are not
    int32_t iterations;  ///< of the weighting that evens the weights' magnitudes out, at most; up
                         ///< to 1000
} pistonfield_foci;

/// What came of it.
typedef struct pistonfield_foci_result {
    int64_t dropped;     ///< singular values that were
    double least_kept;   ///< the least singular value that was kept, over the largest one
    double efficiency;   ///< the sum of |weight|^2 over elements times the largest |weight|^2
    int64_t iterations;  ///< that led to these weights
    double scale;        ///< what `largest_weight` multiplies the weights by, and the pressures
    double residual;     ///< the largest |p/scale - demanded| at a place, over the largest
                         ///< |demanded|
} pistonfield_foci_result;

/// Finds the weights of the least norm with which the pressures are those demanded.
/// @param result or null
pistonfield_status pistonfield_weights_of_foci(const pistonfield_driven* driven,
                                               const pistonfield_foci* foci, double* weights,
                                               pistonfield_foci_result* result,
                                               pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Finds weights of amplitude 1 with the phases of a plane wave at the elements' centres, which
/// goes in a direction.
/// @param direction three numbers, of any length above 0
pistonfield_status pistonfield_weights_of_plane_wave(
    const pistonfield_driven* driven, const double* direction, double* weights,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The direction at an azimuth, from +z towards +x, and an elevation, from there towards +y, in
/// radians.
/// @param direction room for three numbers; null is fine
void pistonfield_direction(double azimuth, double elevation,
                           double* direction) PISTONFIELD_NOEXCEPT;

/// Computes the pressure p of each element that is driven by 1, in parallel.
/// @param pressures room for a real and an imaginary part: place by place those of all elements
pistonfield_status pistonfield_element_pressures(const pistonfield_driven* driven,
                                                 const pistonfield_places* places,
                                                 double* pressures,
                                                 pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// What a window lies along.
typedef enum pistonfield_along {
    PISTONFIELD_ALONG_X = 0,  ///< from the least to the largest x of all faces
    PISTONFIELD_ALONG_Y = 1,
    PISTONFIELD_ALONG_RADIUS = 2  ///< from the middle of the extent in x and y to the face's point
                                  ///< farthest from it in x and y
} pistonfield_along;

/// A window for apodisation, which ends at the array's rim.
typedef struct pistonfield_window {
    const char* name;  ///< rectangular, hann, hamming, tukey, blackman, kaiser or gaussian
    double parameter;  ///< of tukey the tapered part, 0 to 1; of kaiser beta, 0 to 500; of gaussian
                       ///< sigma in half widths, above 0
    int32_t along;     ///< a `pistonfield_along`
} pistonfield_window;

/// Multiplies weights by the values of a window at the elements' centres.
/// @param driven its wavenumber means nothing
pistonfield_status pistonfield_weights_window(const pistonfield_driven* driven,
                                              const pistonfield_window* window, double* weights,
                                              pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Rounds the phases of so many weights to the nearest of 2^bits in a period.
/// @param bits from 1 to 32
pistonfield_status pistonfield_weights_round_phases(double* weights, int64_t count, int32_t bits,
                                                    pistonfield_message* message)
    PISTONFIELD_NOEXCEPT;

/// Rounds their delays, -phase/(2*pi*frequency), to the nearest multiple of a step.
/// @param step a time in the unit of 1/frequency, at most half a period
pistonfield_status pistonfield_weights_round_delays(
    double* weights, int64_t count, double frequency, double step,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Rounds their magnitudes to the nearest of so many levels, evenly spaced from 0 to the largest.
/// @param levels 2 or more
pistonfield_status pistonfield_weights_round_amplitudes(
    double* weights, int64_t count, int64_t levels,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// What waves travel in, with losses that grow as a power of the frequency f in MHz:
/// attenuation*f^exponent. Lengths are in m. Since interface 7, as what follows.
typedef struct pistonfield_medium {
    double speed;          ///< of sound, in m/s
    double attenuation;    ///< in dB/(cm*MHz^exponent)
    double exponent;       ///< from 0 to below 3
    const double* nepers;  ///< instead of the attenuation: in Np/m at the frequency itself, or null
    /// The frequency in Hz at which the phase speed is `speed`: elsewhere that differs as losses
    /// demand, since no wave may arrive before it was sent. Null: it is `speed` at every one.
    const double* dispersion_frequency;
} pistonfield_medium;

/// Finds the members `wavenumber` and `attenuation` of a request in m.
/// @param frequency in Hz
/// @param wavenumber,attenuation where they go, in rad/m and Np/m
pistonfield_status pistonfield_wave(const pistonfield_medium* medium, double frequency,
                                    double* wavenumber, double* attenuation,
                                    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The outlines of an array's elements, as a request has them; null where it is null or all are
/// rectangles.
const pistonfield_outline* pistonfield_array_outlines(const pistonfield_array* array)
    PISTONFIELD_NOEXCEPT;

/// For each element the number of its outline, or -1; null where there are no outlines.
const int64_t* pistonfield_array_outline_of(const pistonfield_array* array) PISTONFIELD_NOEXCEPT;

/// The number of its outlines.
int64_t pistonfield_array_outline_count(const pistonfield_array* array) PISTONFIELD_NOEXCEPT;

/// Concentric rings in the plane z = 0 about the origin, radiating to +z; the innermost one may be
/// a disc.
typedef struct pistonfield_annular {
    const double* radii;      ///< where they end: the inner radius of the first one, 0 of a disc,
                              ///< and the outer ones of all, rising; or null:
    int64_t count;            ///< numbers in `radii`
    const int64_t* elements;  ///< so many rings of equal areas, or null
    const double* radius;     ///< their outer radius
    const double* inner;      ///< the inner radius of the first one; null: 0
    double kerf;              ///< from ring to ring
} pistonfield_annular;

/// Regular hexagons in rings about one in the middle, in the plane z = 0, radiating to +z. A row of
/// centres lies along x.
typedef struct pistonfield_honeycomb {
    int64_t rings;        ///< about the middle: 0 is one hexagon, 1 are 7, 2 are 19
    double width;         ///< of a hexagon, from side to side
    const double* pitch;  ///< from centre to centre; this, or:
    const double* kerf;   ///< from side to side; of one hexagon neither is needed
} pistonfield_honeycomb;

/// Makes an array of rings from the innermost one on.
pistonfield_status pistonfield_array_annular(const pistonfield_annular* annular,
                                             pistonfield_array** array,
                                             pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Makes an array of hexagons ring by ring from the middle on, each ring from the x axis towards
/// the y axis.
pistonfield_status pistonfield_array_honeycomb(const pistonfield_honeycomb* honeycomb,
                                               pistonfield_array** array,
                                               pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Makes an array of one element at the origin: a disc.
pistonfield_status pistonfield_array_disc(double radius, pistonfield_array** array,
                                          pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same of what lies between two circles.
/// @param inner 0 leaves a disc
pistonfield_status pistonfield_array_ring(double inner, double outer, pistonfield_array** array,
                                          pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same of a part of a ring, or with the inner radius 0 of a disc.
/// @param from,to angles from the x axis towards the y axis in radians, rising by less than a turn.
///     What is wrong with them is an invalid request of `angles`
pistonfield_status pistonfield_array_sector(double inner, double outer, double from, double to,
                                            pistonfield_array** array,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// A polygon, and holes in it: x and y of each corner, in any sense of turning.
typedef struct pistonfield_polygon {
    const double* corners;
    int64_t count;              ///< of corners
    const double* holes;        ///< the corners of all holes, one after the other
    const int64_t* hole_sizes;  ///< the number of corners of each of them
    int64_t hole_count;         ///< numbers in `hole_sizes`
} pistonfield_polygon;

/// The same of a polygon.
pistonfield_status pistonfield_array_polygon(const pistonfield_polygon* polygon,
                                             pistonfield_array** array,
                                             pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Finds weights as `pistonfield_weights_of_focus`, for the elements and the wave of a request,
/// which may have outlines and losses. Of the request the array, its outlines, the wavenumber, the
/// attenuation and the baffle count; so in the next three.
pistonfield_status pistonfield_request_focus(const pistonfield_request* request,
                                             const pistonfield_places* focus, double* weights,
                                             pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same as `pistonfield_weights_of_foci`.
pistonfield_status pistonfield_request_foci(const pistonfield_request* request,
                                            const pistonfield_foci* foci, double* weights,
                                            pistonfield_foci_result* result,
                                            pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same as `pistonfield_weights_of_plane_wave`.
pistonfield_status pistonfield_request_plane_wave(
    const pistonfield_request* request, const double* direction, double* weights,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same three, watched. Since interface 8.
/// @param conduct or null; its progress function is told 0 points, so that it can stop
pistonfield_status pistonfield_request_focus_watched(
    const pistonfield_request* request, const pistonfield_places* focus,
    const pistonfield_conduct* conduct, double* weights,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;
pistonfield_status pistonfield_request_foci_watched(
    const pistonfield_request* request, const pistonfield_foci* foci,
    const pistonfield_conduct* conduct, double* weights, pistonfield_foci_result* result,
    pistonfield_message* message) PISTONFIELD_NOEXCEPT;
pistonfield_status pistonfield_request_plane_wave_watched(
    const pistonfield_request* request, const double* direction, const pistonfield_conduct* conduct,
    double* weights, pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The same as `pistonfield_weights_window`.
pistonfield_status pistonfield_request_window(const pistonfield_request* request,
                                              const pistonfield_window* window, double* weights,
                                              pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Finds the power that the source of a request radiates, per density*speed*|u0|^2: an area. Of
/// elements in one plane, which are each other's baffle, it is what goes through the faces; of
/// others what arrives far away, in the half space before them, as it is before a free baffle. With
/// losses it is what leaves the faces, of elements in one plane before a rigid baffle. An array has
/// one weighting. The tolerance and the points change nothing, but have to be those of a request.
/// @param conduct or null; its progress function is told 0 points, so that it can stop
/// @param power where it goes. The power in W is power*density*speed*u0^2, with lengths in m
pistonfield_status pistonfield_request_power(const pistonfield_request* request,
                                             const pistonfield_conduct* conduct, double* power,
                                             pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// How a beam is measured, and what makes its values pressures. Lengths are in m.
/// `pistonfield_beam_options_init` comes first.
typedef struct pistonfield_beam_options {
    size_t size;               ///< bytes of this struct where the program was compiled
    double frequency;          ///< in Hz
    double speed;              ///< of sound, in m/s
    double density;            ///< in kg/m^3
    double velocity;           ///< u0, in m/s
    double duty;               ///< the part of the time in which the source is driven, up to 1
    double derating;           ///< in dB/(cm MHz), over the distance from the face
    const double* axis;        ///< three numbers, the direction that the beam goes in; null: from
                               ///< the source's centre to the peak
    const double* hydrophone;  ///< the size of a hydrophone that looks along the axis: the diameter
                               ///< of a disc or two sides
    int32_t hydrophone_sides;  ///< numbers in `hydrophone`, 0 to 2
    int32_t without_power;     ///< not 0: the radiated power, which may take long, is not found
    // Members that are added later mean nothing where they are 0.
} pistonfield_beam_options;

/// Fills the options with what applies where nothing is said: water at 20 degrees Celsius, 1 m/s, a
/// duty of 1 and 0.3 dB/(cm MHz). The frequency has to be set.
/// @param size sizeof(pistonfield_beam_options)
pistonfield_status pistonfield_beam_options_init(pistonfield_beam_options* options, size_t size,
                                                 pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// What a beam is like: its figures, and a table of them for people.
typedef struct pistonfield_beam pistonfield_beam;

/// Measures the beam of a request's source within what its lattice spans; the field is computed
/// wherever it is looked at. It takes a tolerance, which is that of the search.
/// @param conduct or null; its progress function is told how many points have been looked at
/// @param beam where the beam goes, or null after a failure
pistonfield_status pistonfield_beam_of_request(const pistonfield_request* request,
                                               const pistonfield_beam_options* options,
                                               const pistonfield_conduct* conduct,
                                               pistonfield_beam** beam,
                                               pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// A field whose values at a lattice's points are known.
typedef struct pistonfield_sampled {
    double transform[16];  ///< as that of a request
    int64_t sizes[3];
    double wavenumber;
    const double* values;  ///< p at each point, a real and an imaginary part, x fastest
} pistonfield_sampled;

/// The same of such a field, between whose points it is interpolated; distances from the face are
/// those from the plane z = 0.
pistonfield_status pistonfield_beam_of_samples(const pistonfield_sampled* sampled,
                                               const pistonfield_beam_options* options,
                                               pistonfield_beam** beam,
                                               pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// Ends a beam. Null is fine.
void pistonfield_beam_destroy(pistonfield_beam* beam) PISTONFIELD_NOEXCEPT;

/// The number of its figures; 0 where it is null.
int64_t pistonfield_beam_count(const pistonfield_beam* beam) PISTONFIELD_NOEXCEPT;

/// One thing that there is to say of a beam, in SI units; all that it points to is there as long as
/// the beam.
typedef struct pistonfield_figure {
    const char* name;       ///< such as "widths" or, in a group, "peak.pressure"
    const double* numbers;  ///< row by row; not a number where there is none
    int64_t rows;
    int64_t columns;
    int32_t rank;     ///< 0 a number, 1 a list, 2 a table
    int32_t is_flag;  ///< not 0: its numbers are 1 for yes and 0 for no
} pistonfield_figure;

/// Tells one of them; figures may be added. docs/functions.md says what they are.
/// @param number from 0 on
pistonfield_status pistonfield_beam_figure(const pistonfield_beam* beam, int64_t number,
                                           pistonfield_figure* figure,
                                           pistonfield_message* message) PISTONFIELD_NOEXCEPT;

/// The table; null where the beam is null.
const char* pistonfield_beam_table(const pistonfield_beam* beam) PISTONFIELD_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#undef PISTONFIELD_NOEXCEPT

#endif
