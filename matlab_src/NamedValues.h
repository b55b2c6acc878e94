// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "matlab_src/Arguments.h"

namespace questions {

/// Pairs of a name and numbers among the arguments of a question. Each of these throws
/// `pistonfield::InvalidRequest` with the name where the numbers are others.
class NamedValues {
  public:
    explicit NamedValues(Arguments pairs);

    /// One number, which must be there.
    double number(const std::string& name) const;
    /// One number, or none.
    std::optional<double> optionalNumber(const std::string& name) const;
    /// Any numbers, or none.
    std::vector<double> numbers(const std::string& name) const;

    /// Refuses all names but those that say something about a kind of array. It comes first: of a
    /// name that is misspelt one would hear that the right one is missing.
    void expectOnly(const std::string& kind, const std::vector<std::string>& known) const;

  private:
    std::map<std::string, std::vector<double>> given;
};

}  // namespace questions
