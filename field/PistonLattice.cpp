// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/PistonLattice.h"

#include "field/GroupRuns.h"
#include "field/LatticeAxes.h"
#include "field/errorLimits.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// The parts of the limit that neither nodes nor rounding of single integrals need: for points that
/// are moved to where others are mirrored, and for the rounding of runs.
constexpr double shareOfShifts = 1.0 / 32;
constexpr double shareOfRuns = 1.0 / 32;

ErrorLimit partOf(const ErrorLimit& limit, double part) {
    return {limit.fixed * part, limit.local * part, limit.nearest};
}

Request requestOf(const RectangularPiston& piston, const Wave& wave, const Lattice& lattice) {
    Request request;
    request.piston = piston;
    request.wave = wave;
    request.lattice = lattice;
    return request;
}

}  // namespace

template <class T>
PistonLattice<T>::PistonLattice(const RectangularPiston& piston, const Wave& wave,
                                const Lattice& lattice, const ErrorLimit& limit)
    : request(requestOf(piston, wave, lattice)), positions(request), limit(limit) {
    const Face face = faceOf(piston, wave);
    const auto axes = axesOf(lattice);
    double shift = 0;
    if (axes)
        for (const LatticeAxis& axis : *axes) shift += axis.shift() * wave.wavenumber;
    if (axes && shift <= shareOfShifts * limit.fixed)
        aligned.emplace(face, *axes,
                        BrickLimits{partOf(limit, 1 - shareOfShifts - shareOfRuns),
                                    partOf(limit, shareOfRuns)});
    else
        field.emplace(face);
}

template <class T>
void PistonLattice<T>::fill(const LatticeBox& box, const Destination<T>& to,
                            const Conduct& conduct) const {
    if (aligned) return aligned->fill(box, to, conduct.threads);
    const GroupRuns runs(box, sizes());
    inParallel(runs.count(), 16, conduct.threads, [&](std::int64_t first, std::int64_t last) {
        GroupPoints points;
        GroupValues<T> values;
        for (std::int64_t number = first; number < last; ++number) {
            const GroupRuns::Piece piece = runs.piece(number);
            if (piece.first >= piece.last) continue;
            positions.group(piece.group, points);
            field->compute(points, limit, values);
            for (std::int64_t i = piece.first; i < piece.last; ++i) {
                const Destination<T> at = to.from(piece.to + i - piece.first);
                *at.re = values.re[i - piece.beginOfGroup()];
                *at.im = values.im[i - piece.beginOfGroup()];
            }
        }
    });
}

template <class T>
double PistonLattice<T>::evaluationsOf(const Index& index) const {
    if (aligned) return aligned->evaluationsOf(index);
    GroupPoints points;
    positions.group(((index[2] * sizes()[1] + index[1]) * sizes()[0] + index[0]) / groupSize,
                    points);
    return field->orders().inParts(points, limit, [](const GroupPart& /*part*/) {});
}

template class PistonLattice<float>;
template class PistonLattice<double>;

}  // namespace pistonfield
