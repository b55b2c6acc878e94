// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// For sources that are compiled for packs on the CPU and for single lanes on a GPU.
#include "lanes/Lane.h"
#ifndef __CUDACC__
#include "lanes/Pack.h"
#include "lanes/estimates.h"
#endif
