// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "field/Request.h"

/// A request of 7 by 5 by 4 points, whose transform is divided by 2.
inline pistonfield::Request smallRequest(const std::string& mode = "cpu") {
    pistonfield::Request request;
    request.lattice.transform = {0.05, 0, 0, -0.3, 0, 0.07, 0, -0.4, 0, 0, 0.3, 0.1, 0, 0, 0, 2};
    request.lattice.sizes = {7, 5, 4};
    request.piston = {.width = 0.9, .height = 1.3};
    request.wave.wavenumber = 7.1;
    request.mode = pistonfield::modeCalled(mode);
    request.rule.order = 6;
    return request;
}
