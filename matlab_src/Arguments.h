// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <span>

#include "matlab_src/Host.h"

/// The arguments of one call, by position.
using Arguments = std::span<const host::Array* const>;
