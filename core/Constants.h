// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>

namespace Math {
inline constexpr double Pi = 3.141592653589793;
}

/// The imaginary units j and -j, one copy per source unit. No computation reads them.
[[maybe_unused]] static const std::complex<double> J{0.0, 1.0};
[[maybe_unused]] static const std::complex<double> MJ{0.0, -1.0};
