// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/BeamField.h"

#include <algorithm>

namespace pistonfield {

std::vector<double> BeamField::magnitudes(const PointList& points) const {
    const std::vector<std::complex<double>> values = pressures(points);
    std::vector<double> magnitudes(values.size());
    std::transform(values.begin(), values.end(), magnitudes.begin(),
                   [](const std::complex<double>& value) { return std::abs(value); });
    return magnitudes;
}

}  // namespace pistonfield
