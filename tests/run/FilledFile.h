// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "field/Plan.h"
#include "run/file/SlabValues.h"
#include "tests/run/FieldFiles.h"

/// Creates a complete file with the field of its request.
inline void createFilled(const std::filesystem::path& path, const run::Layout& layout) {
    using run::FieldFile;
    FieldFile::create(path, layout);
    FieldFile file(path, FieldFile::Access::write);
    const pistonfield::Plan plan(layout.request);
    const run::Slabs slabs = layout.slabs();
    run::SlabValues values(layout);
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        values.compute([&](const LatticeBox& box, void* to) { plan.computeNative(box, to); },
                       slabs.slab(i));
        values.write(file, slabs.slab(i));
        file.record(i, values.record(slabs.slab(i)));
    }
    file.setProvenance({"host", "2026-11-21T09:30:00Z", "2026-11-21T09:31:00Z", 60, 3, 1000, true});
    file.close();
}

/// All values of a file.
template <class T>
std::vector<std::complex<T>> valuesIn(const std::filesystem::path& path) {
    const run::FieldFile file(path, run::FieldFile::Access::read);
    std::vector<std::complex<T>> values(static_cast<std::size_t>(file.layout().box.points()));
    file.read(file.layout().box, values.data(), nullptr);
    return values;
}

/// Turns one bit of a value in a file over.
template <class T>
void damage(const std::filesystem::path& path, const LatticeBox& point) {
    run::FieldFile file(path, run::FieldFile::Access::write);
    std::complex<T> value;
    file.read(point, &value, nullptr);
    reinterpret_cast<char*>(&value)[0] ^= 1;
    file.write(point, &value, nullptr);
    file.close();
}
