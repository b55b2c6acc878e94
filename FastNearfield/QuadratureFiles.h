// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

/// Computes the Gauss-Legendre rule of `order` points and publishes it.
/// @param order  as for `legendre_compute`; below 1 it ends the process
/// @param output "C++", "F77", "F90" or "MAT" (or all in lower case) prints source text in that
///               language on standard output; anything else is a root file name, under which the
///               weights, abscissas and region go to `<root>_w.txt`, `<root>_x.txt`, `<root>_r.txt`
void legendre_handle(int order, std::string output);

/// Writes an m by n table, stored column by column, as n lines of m values. A file that cannot be
/// opened is reported on standard error and nothing is written.
/// @param table m*n values, which are read only
void dtable_write0(std::string file_name, int m, int n, double* table);

/// Prints the current local time, as "21 November 2026 09:30:00 AM", on standard output.
void timestamp();
