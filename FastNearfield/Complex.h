// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// One interleaved element of a single-precision field array.
struct Complex {
    float re;
    float im;
};

/// One interleaved element of a double-precision field array.
struct Complexd {
    double re;
    double im;
};
