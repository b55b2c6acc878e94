// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace pistonfield {

Samples samplesOf(const Lattice& lattice, const std::vector<std::complex<double>>& values) {
    Samples samples{lattice, std::vector<double>(values.size())};
    std::transform(values.begin(), values.end(), samples.magnitudes.begin(),
                   [](const std::complex<double>& value) { return std::abs(value); });
    return samples;
}

Lattice searchLattice(const Lattice& lattice, const Wave& wave) {
    constexpr double most = 1 << 21;
    const double wavelength = 2 * std::numbers::pi / wave.wavenumber;
    std::array<double, 3> sides{};
    for (std::size_t i = 0; i < 3; ++i)
        sides[i] =
            static_cast<double>(lattice.sizes[i] - 1) *
            std::hypot(lattice.transform[i], lattice.transform[4 + i], lattice.transform[8 + i]) /
            std::abs(lattice.transform.back());
    const auto sizesFor = [&](double step) {
        std::array<double, 3> sizes{};
        for (std::size_t i = 0; i < 3; ++i)
            sizes[i] = std::max(static_cast<double>(lattice.sizes[i]),
                                std::ceil(sides[i] / step * (1 - 1e-9)) + 1);
        return sizes;
    };
    const auto pointsFor = [&](double step) {
        const std::array<double, 3> sizes = sizesFor(step);
        return sizes[0] * sizes[1] * sizes[2];
    };
    double step = wavelength / 4;
    const double longest = *std::max_element(sides.begin(), sides.end());
    while (pointsFor(step) > most && step < longest) step *= 1.1;
    Lattice finer = lattice;
    for (std::size_t i = 0; i < 3; ++i) {
        if (lattice.sizes[i] == 1) continue;
        finer.sizes[i] = static_cast<std::int64_t>(sizesFor(step)[i]);
        const double ratio =
            static_cast<double>(lattice.sizes[i] - 1) / static_cast<double>(finer.sizes[i] - 1);
        for (std::size_t row = 0; row < 3; ++row) finer.transform[4 * row + i] *= ratio;
    }
    return finer;
}

Samples sampled(Request request, const Conduct& conduct) {
    check(request);
    request.lattice = searchLattice(request.lattice, request.wave);
    const Lattice lattice = request.lattice;
    std::vector<std::complex<double>> values(static_cast<std::size_t>(lattice.box().points()));
    Plan(std::move(request)).compute(lattice.box(), values.data(), conduct);
    return samplesOf(lattice, values);
}

}  // namespace pistonfield
