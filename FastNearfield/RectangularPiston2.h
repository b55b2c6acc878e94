// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>
#include <complex>

#include "FastNearfield/GaussLegendre.h"
#include "FastNearfield/Integ.h"
#include "FastNearfield/Piston.h"
#include "core/LatticeBox.h"

/// A flat rectangular piston in the plane z = 0 of its own frame, centred on the origin, in an
/// infinite rigid baffle. Its field is computed with the fast near-field method, on the CPU or by
/// the GPU launchers.
///
/// The pressure is p = (k/2pi) * integral over the piston of exp(-j*k*R)/R dS, dimensionless, for
/// the time dependence exp(+j*omega*t). For z >= 0 that is an integral along the four edges: in
/// polar coordinates around the point's foot the radial integral of exp(-j*k*R)*dR is elementary,
/// and an edge at the offset e is seen under the angle e*dt/(e^2 + t^2). Hence p = -j/(2pi) * sum
/// over the edges of +-e * integral of f(t) dt, with e the point's signed offset from the edge's
/// line and f(t) = (exp(-j*k*sqrt(z^2 + e^2 + t^2)) - exp(-j*k*z)) / (e^2 + t^2).
///
/// Lengths are in any one unit, the wavenumber in radians per that unit. NaN and infinite values
/// propagate into the field. One object is used by one thread at a time; on the CPU it computes
/// with as many as `pistonfield::threadCount` of parallel/threads.h says, and the bits do not
/// depend on that.
///
/// A program that wants a field makes a `pistonfield::Plan` (field/Plan.h). `computeBox` needs
/// neither a device nor a rule on it either, and prints nothing. With `useCuda` set, as it is at
/// first, `compute` works on the GPU, as `computeCuda` always does: in the context that is there,
/// by the rule that was uploaded to it, and not by the piston's own rules. Neither function uploads
/// one. Without a rule **every value is 0**, and nothing tells that from success. So the lines for
/// a field on the GPU are
///
///     const CudaDeviceThread device;                             // core/cudahelper.h
///     setCudaIntegratorParameters("RectangularPiston", order);   // FastNearfield/IntegratorCuda.h
///     piston.compute(field.data(), grid);
class RectangularPistonCuda2 : public Piston {
  public:
    /// @param l side length along y
    /// @param s side length along x
    /// @param k wavenumber
    /// The rules start at order 100, and `useCuda` set: see above for what `compute` then needs.
    RectangularPistonCuda2(double l, double s, double k);

    /// The integrand of one edge integral, for `Integ`. The pressure itself is computed several
    /// points at a time, with the weight divided by D in place of the difference.
    template <class T>
    struct FirstIntegral {
        using return_type = std::complex<T>;

        T s2{};                   ///< square of the offset from the edge's line
        T k{};                    ///< wavenumber
        T z{};                    ///< height of the point above the piston's plane
        std::complex<T> expKz{};  ///< exp(-j*k*z)

        return_type operator()(T t) const {
            const T d = t * t + s2;
            const T r = std::sqrt(z * z + d);
            return (std::exp(return_type(0, -(r * k))) - expKz) / d;
        }
    };

    /// In single precision; on the GPU by the rule in the context, and 0 everywhere without one.
    /// Prints "cpu", or "cuda" and the first four reals (two of a field of one
    /// point), on standard output.
    void compute(float* data, const Grid3DR<double>& grid) const override;

    /// Fills the storage in its own precision, on the side where it is computed. A storage of
    /// another size than 2 * grid.nbPositions() is reported through the current error handler; one
    /// of doubles with `useCuda` set ends the process with the platform's assertion failure. On the
    /// GPU by the rule in the context, and 0 everywhere without one.
    void compute(CudaStorage* data, const Grid3DR<double>& grid) const override;

    /// In double precision; on a GPU as the double-precision launchers have it, by the rule in the
    /// context, and 0 everywhere without one.
    virtual void compute(double* data, const Grid3DR<double>& grid) const;

    /// Fills a field array in two halves on the GPU, in single precision whatever T, by the rule in
    /// the context, and with 0 everywhere without one; the halves hold grid.nbPositions() values
    /// each.
    template <class T>
    void computeCuda(T* re, T* im, const Grid3DR<double>& grid) const;

    /// Fills an interleaved field array on the CPU; both arithmetic and output are in T.
    /// Prints the line "grid: <sx> <sy> <sz>" on standard output.
    template <class T, class GridT>
    void computeCPU(T* out, const Grid3DR<GridT>& grid) const;

    /// Fills a field array in two halves on the CPU, in double precision. Prints nothing.
    template <class T, class GridT>
    void computeCPU(T* re, T* im, const Grid3DR<GridT>& grid) const;

    /// The pressure at the points of a box of a lattice, on the CPU: the same bits as in the field
    /// of the whole lattice, wherever it is cut. Positions, arithmetic and output are in T, in
    /// which the lattice's coordinates have to be exact: below 2^24 for float, 2^53 for double.
    /// Prints nothing.
    /// @param out       box.points() values
    /// @param transform 16 values, row by row; see `Grid3DR`
    /// @throws std::bad_array_new_length where a size of the box does not fit 31 bits;
    ///     std::runtime_error where the environment has a number of threads that is none
    template <class T>
    void computeBox(std::complex<T>* out, const double* transform, const LatticeBox& box) const;

    /// The pressure at one point, by the rule of precision T. As `Integ` does, an interval that
    /// equals the ends of the rule as it was mapped last keeps that mapping; every point starts
    /// afresh.
    /// @param fi     carries k, z and expKz of the point; its s2 is ignored
    /// @param x1,x2  the point's x less and plus s/2
    /// @param y1,y2  the point's y less and plus l/2
    /// @param k,z    not used: the integrand carries them
    /// @param factor what the edge sum is multiplied by: -j/(2pi)
    template <class T>
    std::complex<T> doFastNearfield_Private(FirstIntegral<T>& fi, const T& x1, const T& x2,
                                            const T& y1, const T& y2, const T& k, const T& z,
                                            const std::complex<T>& factor) const;

    double l;
    double s;
    double k;
    GaussLegendre<double> doubleRule;
    GaussLegendre<float> floatRule;
    Integ<float> floatInteg{&floatRule};
    Integ<double> doubleInteg{&doubleRule};
    bool useCuda = true;  ///< whether `compute` works on the GPU
};

/// Resorts 2n floats from n real parts followed by n imaginary parts to n pairs, in place.
void resort(float* data, int n);
