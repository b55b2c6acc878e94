// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/Transducer.h"

/// A transducer whose face moves as one.
class Piston : public Transducer {};
