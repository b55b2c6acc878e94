// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

/// Every text with which the gateway refuses arguments.
inline const std::vector<std::string>& refusals() {
    static const std::vector<std::string> all{
        ("Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, "
         "['cuda'|'cudadp'|'cpu'|'cpusp'|'cpudp'], [nabscissas])"),
        "Must have one output arguments",
        "Input must be real, full, and nonstring",
        "abscissas must be a number or a 2D matrix containing abscissas and weights.",
        "abscissas and weights must be a full matrix of class double.",
        "abscissas must be a number or a matrix of class double.",
        "l must be a number.",
        "s must be a number.",
        "k must be a number.",
        "Size information (argument 2) must be three dimensional.",
        "Size information (argument 1) must contain sixteen values.",
        "Size information (argument 2) must be full and of class double.",
        "The transform (argument 1) must be full and of class double.",
        "The given grid must have at least one data point",
        "Input 5 must be a character string and either be 'cuda' or 'cpu'",
        "Input 5 must either be 'cuda' or 'cpu[sp,dp]'",
    };
    return all;
}
