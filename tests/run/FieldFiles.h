// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <complex>
#include <string>
#include <utility>
#include <vector>

#include "run/file/FieldFile.h"
#include "run/shapedPiston.h"
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

/// A layout of a request for an array of two elements, one of them tilted.
inline run::Layout arrayLayout() {
    run::Layout layout = tolerantLayout();
    layout.request.piston = {};
    const pistonfield::Element flat{{.width = 0.1, .height = 1.0 / 3}, {{-0.2, 0, -1}}};
    const pistonfield::Element tilted{{.width = 0.2, .height = 0.3},
                                      {{0.3, 0.1, -1}, {0.8, 0, 0.6}, {0, 1, 0}}};
    layout.request.array = pistonfield::Array{{flat, tilted}, {{1, 0}, {0.1, -1.0 / 3}}};
    return layout;
}

/// A layout of a request with losses in a soft baffle.
inline run::Layout lossyLayout() {
    run::Layout layout = tolerantLayout();
    layout.request.wave.attenuation = 1.0 / 3;
    layout.request.baffle = pistonfield::Baffle::soft;
    return layout;
}

/// A layout of a request for a piston of another shape.
inline run::Layout shapedLayout(pistonfield::Outline outline) {
    run::Layout layout = tolerantLayout();
    layout.request.piston = {};
    layout.request.array = run::shapedPiston(std::move(outline));
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
