// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Prints when and from which revision the module was built: four lines on the host's console.
void printBuildInformation();
