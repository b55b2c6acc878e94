// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/PointField.h"

#include <numbers>

namespace pistonfield {

namespace {

constexpr double perTurn = 1 / (2 * std::numbers::pi);

PointField rigidFieldAt(const Potentials& of, std::size_t i, bool withVelocity, double k) {
    PointField field{k * perTurn * of.phi[i], {}};
    if (withVelocity) field.velocity = {-perTurn * of.x[i], -perTurn * of.y[i], -perTurn * of.z[i]};
    return field;
}

PointField softFieldAt(const Potentials& of, std::size_t i, bool withVelocity, double k) {
    constexpr std::complex<double> factor(0, perTurn);
    PointField field{factor * of.z[i], {}};
    if (withVelocity)
        field.velocity = {-factor / k * of.xz[i], -factor / k * of.yz[i], -factor / k * of.zz[i]};
    return field;
}

}  // namespace

Derivatives derivativesFor(Baffle baffle, Quantity quantity) noexcept {
    if (quantity == Quantity::pressure) return Derivatives::none;
    return baffle == Baffle::rigid ? Derivatives::gradient : Derivatives::second;
}

PointField fieldAt(const Potentials& potentials, std::size_t i, Baffle baffle, bool withVelocity,
                   double wavenumber) noexcept {
    if (baffle == Baffle::rigid) return rigidFieldAt(potentials, i, withVelocity, wavenumber);
    PointField field = softFieldAt(potentials, i, withVelocity, wavenumber);
    if (baffle == Baffle::soft) return field;
    const PointField rigid = rigidFieldAt(potentials, i, withVelocity, wavenumber);
    field.pressure = (field.pressure + rigid.pressure) / 2.0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        field.velocity[axis] = (field.velocity[axis] + rigid.velocity[axis]) / 2.0;
    return field;
}

std::array<std::complex<double>, 3> intensityOf(const PointField& field) noexcept {
    constexpr std::complex<double> j(0, 1);
    std::array<std::complex<double>, 3> intensity;
    for (std::size_t axis = 0; axis < 3; ++axis)
        intensity[axis] = j * field.pressure * std::conj(field.velocity[axis]);
    return intensity;
}

}  // namespace pistonfield
