// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the soaks of random fields within a tolerance share.

#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "support/RandomPoints.h"

using Values = std::vector<std::complex<double>>;

/// What cases have come to.
struct Tally {
    int cases = 0;
    double share = 0;  ///< the largest error over what it may be

    void add(double another);
};

/// Keeps the larger one; a NaN is more than any number.
void keepLargest(double& largest, double candidate);

/// What went wrong, which any threads add to, by the number of the case.
class Failures {
  public:
    void add(std::size_t number, const std::string& what);

    /// Prints them.
    /// @return whether there are none
    bool report() const;

  private:
    std::mutex guard;
    std::map<std::size_t, std::string> texts;
};

/// The values at a box's points, field by field, computed by one thread.
Values computed(const pistonfield::Plan& plan, const LatticeBox& box);

/// Adds what of a plan does not hold: the error, its own measure of that, and the bits of a random
/// box, which are to be those of the whole.
/// @param values of all points
/// @param share  the largest error over what it may be
void checkPlan(const pistonfield::Plan& plan, const Values& values, double share,
               const std::string& words, std::size_t number, Random& random, Failures& failures);

/// Measures cases, each with the number from 0 on, in threads. A case that throws has failed.
void forEachCase(int count, Failures& failures,
                 const std::function<void(std::size_t number)>& measure);
