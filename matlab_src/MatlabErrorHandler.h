// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/ErrorHandler.h"

/// Turns a failure into an error of the host whose message is the failure report. Returns only
/// where the host's error operation does.
class MatlabErrorHandler : public ErrorHandler {
  public:
    void fail(const char* condition, int line, const char* file) override;
};
