// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/attributes.h"

#include <cstddef>
#include <memory>
#include <stdexcept>

namespace run::attributes {

using hdf5::Attribute;
using hdf5::checked;
using hdf5::Space;
using hdf5::Type;

namespace {

/// How numbers are stored, and how they are in memory.
struct NumberTypes {
    hid_t stored;
    hid_t here;
};

NumberTypes typesOf(double /*number*/) { return {H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE}; }
NumberTypes typesOf(std::int64_t /*number*/) { return {H5T_STD_I64LE, H5T_NATIVE_INT64}; }
NumberTypes typesOf(std::uint64_t /*number*/) { return {H5T_STD_U64LE, H5T_NATIVE_UINT64}; }

std::string called(const char* name) { return std::string("the attribute '") + name + "'"; }

Attribute open(hid_t object, const char* name) {
    return {H5Aopen(object, name, H5P_DEFAULT), called(name)};
}

Attribute create(hid_t object, const char* name, hid_t type, const Dimensions& dimensions) {
    if (exists(object, name)) return open(object, name);
    const Space space(dimensions.empty() ? H5Screate(H5S_SCALAR)
                                         : H5Screate_simple(static_cast<int>(dimensions.size()),
                                                            dimensions.data(), nullptr),
                      called(name));
    return {H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT), called(name)};
}

template <class T>
void writeAll(hid_t object, const char* name, std::span<const T> values,
              const Dimensions& dimensions) {
    const NumberTypes types = typesOf(T{});
    const Attribute attribute = create(object, name, types.stored, dimensions);
    checked(H5Awrite(attribute, types.here, values.data()), called(name));
}

void requireLike(const Attribute& attribute, const char* name, hid_t type,
                 const Dimensions& dimensions) {
    const Type stored(H5Aget_type(attribute), called(name));
    const Space space(H5Aget_space(attribute), called(name));
    if (checked(H5Tequal(stored, type), called(name)) == 0)
        throw std::runtime_error(called(name) + " is of another type");
    if (hdf5::dimensionsOf(space) != dimensions)
        throw std::runtime_error(called(name) + " has another size");
}

template <class T>
std::vector<T> readAll(hid_t object, const char* name, const Dimensions& dimensions) {
    const NumberTypes types = typesOf(T{});
    const Attribute attribute = open(object, name);
    requireLike(attribute, name, types.stored, dimensions);
    std::size_t count = 1;
    for (const hsize_t size : dimensions) count *= size;
    std::vector<T> values(count);
    checked(H5Aread(attribute, types.here, values.data()), called(name));
    return values;
}

}  // namespace

bool exists(hid_t object, const char* name) {
    return checked(H5Aexists(object, name), called(name)) > 0;
}

void write(hid_t object, const char* name, std::span<const double> values,
           const Dimensions& dimensions) {
    writeAll(object, name, values, dimensions);
}

void write(hid_t object, const char* name, std::span<const std::int64_t> values,
           const Dimensions& dimensions) {
    writeAll(object, name, values, dimensions);
}

void write(hid_t object, const char* name, std::span<const std::uint64_t> values,
           const Dimensions& dimensions) {
    writeAll(object, name, values, dimensions);
}

void write(hid_t object, const char* name, double value) {
    write(object, name, std::span<const double>(&value, 1));
}

void write(hid_t object, const char* name, std::int64_t value) {
    write(object, name, std::span<const std::int64_t>(&value, 1));
}

void write(hid_t object, const char* name, const std::string& text) {
    const Type type = hdf5::textType();
    const Attribute attribute = create(object, name, type, {});
    const char* const characters = text.c_str();
    checked(H5Awrite(attribute, type, &characters), called(name));
}

void replace(hid_t object, const std::vector<std::pair<const char*, std::string>>& texts) {
    const auto another = [](const char* name) { return std::string(name) + "~"; };
    for (const auto& [name, text] : texts) {
        const std::string next = another(name);
        if (exists(object, next.c_str())) checked(H5Adelete(object, next.c_str()), called(name));
        write(object, next.c_str(), text);
    }
    checked(H5Fflush(object, H5F_SCOPE_LOCAL), "its texts");
    for (const auto& [name, text] : texts) {
        checked(H5Adelete(object, name), called(name));
        checked(H5Arename(object, another(name).c_str(), name), called(name));
    }
}

std::vector<double> readReals(hid_t object, const char* name, const Dimensions& dimensions) {
    return readAll<double>(object, name, dimensions);
}

std::vector<std::int64_t> readIntegers(hid_t object, const char* name,
                                       const Dimensions& dimensions) {
    return readAll<std::int64_t>(object, name, dimensions);
}

std::vector<std::uint64_t> readUnsigned(hid_t object, const char* name,
                                        const Dimensions& dimensions) {
    return readAll<std::uint64_t>(object, name, dimensions);
}

double readReal(hid_t object, const char* name) { return readReals(object, name).front(); }

std::int64_t readInteger(hid_t object, const char* name) {
    return readIntegers(object, name).front();
}

std::string readText(hid_t object, const char* name) {
    const Attribute attribute = open(object, name);
    const Type type = hdf5::textType();
    requireLike(attribute, name, type, {});
    char* characters = nullptr;
    checked(H5Aread(attribute, type, static_cast<void*>(&characters)), called(name));
    const std::unique_ptr<char, herr_t (*)(void*)> owned(
        characters, [](void* memory) { return H5free_memory(memory); });
    return characters == nullptr ? "" : characters;
}

}  // namespace run::attributes
