// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/memberNames.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace pistonfield {

namespace {

struct Names {
    std::string_view ofLibrary, ofC;
};

constexpr std::array<Names, 8> names{{{"pitchX", "pitch_x"},
                                      {"pitchY", "pitch_y"},
                                      {"kerfX", "kerf_x"},
                                      {"kerfY", "kerf_y"},
                                      {"openingAngle", "opening_angle"},
                                      {"leastRatio", "least_ratio"},
                                      {"largestWeight", "largest_weight"},
                                      {"dispersionFrequency", "dispersion_frequency"}}};

}  // namespace

std::string withMemberNames(std::string text) {
    for (const auto& [ofLibrary, ofC] : names)
        for (std::size_t at = text.find(ofLibrary); at != std::string::npos;
             at = text.find(ofLibrary, at + ofC.size()))
            text.replace(at, ofLibrary.size(), ofC);
    return text;
}

}  // namespace pistonfield
