// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/attributes.h"

#include <algorithm>
#include <stdexcept>

namespace run::attributes {

using hdf5::Attribute;
using hdf5::checked;
using hdf5::Space;
using hdf5::Type;

namespace {

std::string called(const char* name) { return std::string("the attribute '") + name + "'"; }

/// Texts of up to this many characters.
Type textType(std::size_t characters) {
    Type type(H5Tcopy(H5T_C_S1), "a text's type");
    checked(H5Tset_size(type, characters + 1), "a text's size");
    return type;
}

Attribute open(hid_t object, const char* name) {
    return {H5Aopen(object, name, H5P_DEFAULT), called(name)};
}

Attribute create(hid_t object, const char* name, hid_t type,
                 const std::vector<hsize_t>& dimensions) {
    if (exists(object, name)) return open(object, name);
    const Space space(dimensions.empty() ? H5Screate(H5S_SCALAR)
                                         : H5Screate_simple(static_cast<int>(dimensions.size()),
                                                            dimensions.data(), nullptr),
                      called(name));
    return {H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT), called(name)};
}

void writeAs(hid_t object, const char* name, hid_t type, const void* values,
             const std::vector<hsize_t>& dimensions) {
    const Attribute attribute = create(object, name, type, dimensions);
    checked(H5Awrite(attribute, type, values), called(name));
}

template <class T>
std::vector<T> readAs(hid_t object, const char* name, hid_t type) {
    const Attribute attribute = open(object, name);
    const Space space(H5Aget_space(attribute), called(name));
    const auto count = checked(H5Sget_simple_extent_npoints(space), called(name));
    std::vector<T> values(static_cast<std::size_t>(count));
    checked(H5Aread(attribute, type, values.data()), called(name));
    return values;
}

template <class T>
T only(const std::vector<T>& values, const char* name) {
    if (values.size() != 1) throw std::runtime_error(std::string(name) + " has another size");
    return values.front();
}

}  // namespace

bool exists(hid_t object, const char* name) {
    return checked(H5Aexists(object, name), called(name)) > 0;
}

void write(hid_t object, const char* name, std::span<const double> values,
           const std::vector<hsize_t>& dimensions) {
    writeAs(object, name, H5T_NATIVE_DOUBLE, values.data(), dimensions);
}

void write(hid_t object, const char* name, std::span<const std::int64_t> values,
           const std::vector<hsize_t>& dimensions) {
    writeAs(object, name, H5T_NATIVE_INT64, values.data(), dimensions);
}

void write(hid_t object, const char* name, double value) {
    writeAs(object, name, H5T_NATIVE_DOUBLE, &value, {});
}

void write(hid_t object, const char* name, std::int64_t value) {
    writeAs(object, name, H5T_NATIVE_INT64, &value, {});
}

void write(hid_t object, const char* name, const std::string& text, std::size_t room) {
    const Attribute attribute = create(object, name, textType(std::max(room, text.size())), {});
    checked(H5Awrite(attribute, textType(text.size()), text.c_str()), called(name));
}

std::vector<double> readReals(hid_t object, const char* name) {
    return readAs<double>(object, name, H5T_NATIVE_DOUBLE);
}

std::vector<std::int64_t> readIntegers(hid_t object, const char* name) {
    return readAs<std::int64_t>(object, name, H5T_NATIVE_INT64);
}

double readReal(hid_t object, const char* name) { return only(readReals(object, name), name); }

std::int64_t readInteger(hid_t object, const char* name) {
    return only(readIntegers(object, name), name);
}

std::string readText(hid_t object, const char* name) {
    const Attribute attribute = open(object, name);
    const Type type(H5Aget_type(attribute), called(name));
    const Space space(H5Aget_space(attribute), called(name));
    // Anything else may take more room than one text of that size.
    if (H5Tget_class(type) != H5T_STRING || H5Tis_variable_str(type) != 0 ||
        H5Sget_simple_extent_npoints(space) != 1)
        throw std::runtime_error(called(name) + " is not one text");
    std::string text(H5Tget_size(type), '\0');
    checked(H5Aread(attribute, type, text.data()), called(name));
    return text.substr(0, text.find('\0'));
}

}  // namespace run::attributes
