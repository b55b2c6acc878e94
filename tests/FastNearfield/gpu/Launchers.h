// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tests/FastNearfield/gpu/Script.h"

/// A grid's sizes; an unstructured set of points has its count in x.
struct Sizes {
    int x;
    int y;
    int z;
};

std::ostream& operator<<(std::ostream& out, const Sizes& n);

struct Point {
    double x;
    double y;
    double z;
};

using Field = std::vector<std::complex<double>>;

/// Sides and wavenumber of the piston of all launches.
inline constexpr double pistonL = 2;
inline constexpr double pistonS = 4;
inline constexpr double pistonK = 3;

/// The order of the rule that `uploadRule` uploads.
inline constexpr int ruleOrder = 12;
void uploadRule();

/// A launcher with its arguments and the arrays that it fills.
class LaunchOfLauncher {
  public:
    LaunchOfLauncher() = default;
    LaunchOfLauncher(const LaunchOfLauncher&) = delete;
    LaunchOfLauncher& operator=(const LaunchOfLauncher&) = delete;
    virtual ~LaunchOfLauncher() = default;

    /// Calls the launcher.
    virtual void start() = 0;
    /// What the arrays hold; NaN where nothing was written. Sizes that no array can have are those
    /// of a small one.
    virtual Field field() = 0;
    /// Whether what follows the arrays' last elements is untouched.
    virtual bool keptToItsArrays() = 0;
};

/// A launcher of the integrator.
struct Launcher {
    std::string name;
    std::string unit;
    bool timed;
    /// Whether it fills device memory of its caller, which lasts until the context ends.
    bool deviceHalf;
    /// Whether it takes a list of points instead of a grid.
    bool unstructured;
    std::function<script::Script(const Sizes&)> script;
    std::function<std::unique_ptr<LaunchOfLauncher>(const Sizes&)> prepare;
    /// Where the point with these indices lies.
    std::function<Point(int ix, int iy, int iz)> place;
};

std::ostream& operator<<(std::ostream& out, const Launcher& launcher);

/// All launchers.
const std::vector<Launcher>& launchers();
const Launcher& launcherNamed(const std::string& name);

/// The points' positions in the order of the field.
std::vector<Point> positions(const Launcher& launcher, const Sizes& n);

/// Prepares, starts and fetches.
Field fieldOf(const Launcher& launcher, const Sizes& n);

/// The fields have the same bits; NaN equals NaN.
bool identical(const Field& a, const Field& b);
