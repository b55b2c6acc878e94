// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <exception>
#include <string>

/// Figures as people read them.
namespace run::formatting {

/// "12 s", "3 min 20 s", "2 h 05 min", "4 d 07 h"
std::string duration(double seconds);

/// "512 B", "1.5 GB", in powers of 1000
std::string bytes(double count);

/// "950", "12.5 thousand", "8.0 billion"
std::string count(double number);

/// Three digits, or as many as the number has before its point.
std::string figure(double number);

/// Two digits of a number, which may be a small one: 0.12, 3.4e-05.
std::string twoDigits(double number);

/// What a failure says of itself, of exhausted memory too.
std::string reason(const std::exception& failure);

/// A failure in one line, as it is told on standard error.
std::string complaint(const std::exception& failure);

/// The time now in UTC, as 2026-11-21T09:30:00Z.
std::string timeNow();

}  // namespace run::formatting
