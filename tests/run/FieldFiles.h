// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <complex>
#include <string>
#include <vector>

#include "run/file/FieldFile.h"
#include "tests/field/smallRequest.h"
#include "tests/support/TemporaryFolder.h"

/// A layout with slabs of several sizes.
inline run::Layout smallLayout(const std::string& mode = "cpu", bool magnitude = true) {
    const pistonfield::Request request = smallRequest(mode);
    return {request, request.lattice.box(), {4, 3, 2}, magnitude};
}

/// A layout of a request with a tolerance.
inline run::Layout tolerantLayout(const pistonfield::Tolerance& tolerance = {}, bool behind = false,
                                  const std::string& mode = "cpu") {
    run::Layout layout = smallLayout(mode);
    layout.request.rule = {};
    layout.request.tolerance = tolerance;
    layout.request.behind = behind;
    return layout;
}

/// Values that say where they belong.
template <class T>
struct Pattern {
    explicit Pattern(const LatticeBox& box) {
        for (auto z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
            for (auto y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                for (auto x = box.first[0]; x < box.first[0] + box.size[0]; ++x) {
                    const auto number = static_cast<T>((z * 100 + y) * 100 + x);
                    values.emplace_back(number, T(0.5) - number);
                    magnitudes.push_back(static_cast<float>(number) + 0.25F);
                }
    }

    bool operator==(const Pattern&) const = default;

    std::vector<std::complex<T>> values;
    std::vector<float> magnitudes;
};

/// Field files in a folder of their own. HDF5 prints nothing.
class FieldFiles : public testing::Test {
  protected:
    FieldFiles() { run::hdf5::beSilent(); }

    TemporaryFolder folder;
    std::filesystem::path path = folder / "field.h5";
};
