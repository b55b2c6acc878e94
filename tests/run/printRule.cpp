// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Prints the library's rule of an order, every digit of it, as pistonfield-run reads it.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "FastNearfield/GaussLegendre.h"

int main(int count, char** arguments) {
    const auto order = count == 2 ? static_cast<int>(std::strtol(arguments[1], nullptr, 10)) : 0;
    std::vector<double> x(static_cast<std::size_t>(order));
    std::vector<double> w(x.size());
    legendre_compute(order, x.data(), w.data());
    for (std::size_t i = 0; i < x.size(); ++i) std::printf("%.17g %.17g\n", x[i], w[i]);
}
