// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "field/Request.h"

namespace run {

/// The precision of a mode, as a request with a tolerance has it.
constexpr const char* precisionOf(pistonfield::Mode mode) {
    return pistonfield::isInSingle(mode) ? "single" : "double";
}

/// What computes with a tolerance in a mode.
constexpr const char* deviceOf(pistonfield::Mode mode) {
    return pistonfield::isOnGpu(mode) ? "gpu" : "cpu";
}

/// The mode on the same device in the precision of this name.
/// @throws pistonfield::InvalidRequest
inline pistonfield::Mode withPrecision(pistonfield::Mode before, const std::string& name) {
    for (const pistonfield::Mode mode : pistonfield::modes)
        if (isOnGpu(mode) == isOnGpu(before) && name == precisionOf(mode)) return mode;
    throw pistonfield::InvalidRequest("precision", "'" + name + "' is none of double, single");
}

/// The mode in the same precision on the device of this name.
/// @throws pistonfield::InvalidRequest
inline pistonfield::Mode withDevice(pistonfield::Mode before, const std::string& name) {
    for (const pistonfield::Mode mode : pistonfield::modes)
        if (isInSingle(mode) == isInSingle(before) && name == deviceOf(mode)) return mode;
    throw pistonfield::InvalidRequest("device", "'" + name + "' is none of cpu, gpu");
}

/// The name of what a tolerance is relative to.
constexpr const char* nameOf(pistonfield::Tolerance::Of of) {
    return of == pistonfield::Tolerance::Of::largest ? "largest" : "local";
}

/// What is called so.
/// @throws pistonfield::InvalidRequest
inline pistonfield::Tolerance::Of relativeCalled(const std::string& name) {
    using Of = pistonfield::Tolerance::Of;
    for (const Of of : {Of::largest, Of::local})
        if (name == nameOf(of)) return of;
    throw pistonfield::InvalidRequest("relative", "'" + name + "' is none of largest, local");
}

/// The name of a baffle.
constexpr const char* nameOf(pistonfield::Baffle baffle) {
    using pistonfield::Baffle;
    if (baffle == Baffle::rigid) return "rigid";
    return baffle == Baffle::soft ? "soft" : "free";
}

/// What is called so.
/// @throws pistonfield::InvalidRequest
inline pistonfield::Baffle baffleCalled(const std::string& name) {
    using pistonfield::Baffle;
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free})
        if (name == nameOf(baffle)) return baffle;
    throw pistonfield::InvalidRequest("baffle", "'" + name + "' is none of rigid, soft, free");
}

/// The name of a quantity, and of the dataset of its values.
constexpr const char* nameOf(pistonfield::Quantity quantity) {
    using pistonfield::Quantity;
    if (quantity == Quantity::pressure) return "pressure";
    return quantity == Quantity::velocity ? "velocity" : "intensity";
}

/// What is called so.
/// @throws pistonfield::InvalidRequest
inline pistonfield::Quantity quantityCalled(const std::string& name) {
    using pistonfield::Quantity;
    for (const Quantity quantity : {Quantity::pressure, Quantity::velocity, Quantity::intensity})
        if (name == nameOf(quantity)) return quantity;
    throw pistonfield::InvalidRequest("quantity",
                                      "'" + name + "' is none of pressure, velocity, intensity");
}

/// The option, and the attribute of a file, that has a field of a request.
inline std::string nameOfField(const std::string& field) {
    if (field == "height") return "l";
    if (field == "width") return "s";
    if (field == "wavenumber") return "k";
    if (field == "lattice") return "transform";
    if (field == "elements" || field == "weights") return "array";
    return field;
}

/// As `pistonfield::check`, in the names of this program.
/// @throws pistonfield::InvalidRequest
inline void checkRequest(const pistonfield::Request& request) {
    try {
        check(request);
    } catch (const pistonfield::InvalidRequest& error) {
        throw pistonfield::InvalidRequest(nameOfField(error.field()), error.reason());
    }
}

}  // namespace run
