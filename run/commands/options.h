// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <string>
#include <vector>

namespace run {

/// An option of a field to compute. A request file may have it as a key.
struct Option {
    const char* name;   ///< without dashes
    int words;          ///< that follow it; none follows a flag
    const char* word;   ///< what each of them is
    const char* group;  ///< under which help has it
    const char* text;   ///< what help says of it
};

inline constexpr const char* fieldGroup = "The field";
inline constexpr const char* workGroup = "The work";
inline constexpr const char* overwriteText = "replace the output where there is one";

inline constexpr std::array<Option, 24> computeOptions{{
    {"transform", 16, "NUMBER", fieldGroup,
     "16 numbers, row by row: takes a point's indices (ix, iy, iz, 1) to its position before the "
     "piston, which lies in z = 0 around the origin"},
    {"sizes", 3, "NUMBER", fieldGroup, "points along the lattice's directions x, y and z"},
    {"l", 1, "LENGTH", fieldGroup, "the piston's side along y"},
    {"s", 1, "LENGTH", fieldGroup, "the piston's side along x"},
    {"k", 1, "NUMBER", fieldGroup, "the wavenumber, in radians per unit of length"},
    {"attenuation", 1, "NUMBER", fieldGroup,
     "with a tolerance: losses of the medium, in nepers per unit of length; 0 by default"},
    {"baffle", 1, "WORD", fieldGroup,
     "with a tolerance, the plane about the piston: rigid (the default), soft or free"},
    {"quantity", 1, "WORD", fieldGroup,
     "with a tolerance, what is computed: pressure (the default), velocity, that of the fluid's "
     "particles, or intensity; of these two the three components"},
    {"mode", 1, "MODE", fieldGroup,
     "cpu (double precision; the default), cpusp (single), cuda (single, on a GPU), or cudadp "
     "(double, but for roots, sines and cosines, on a GPU)"},
    {"order", 1, "NUMBER", fieldGroup, "abscissas of each edge integral; 10 by default"},
    {"table", 1, "RULE", fieldGroup,
     "in place of an order, a rule: abscissa, weight, abscissa ...; a text file of them, or in "
     "quotes themselves"},
    {"tolerance", 1, "NUMBER", fieldGroup,
     "in place of a mode and an order, the largest error that values may have: the nodes then "
     "follow from a bound, point by point"},
    {"relative", 1, "WORD", fieldGroup,
     "what the tolerance is relative to: largest (the largest |p| of the field; the default), or "
     "local (about what |p| is at each point's distance)"},
    {"precision", 1, "WORD", fieldGroup,
     "with a tolerance: double (the default), or single, which keeps none below about 1e-5"},
    {"device", 1, "WORD", fieldGroup, "with a tolerance, what computes: cpu (the default) or gpu"},
    {"behind", 0, "", fieldGroup,
     "with a tolerance: allow points behind the piston, which have the values of those before it"},
    {"resume", 0, "", workGroup, "go on with the output where there is one"},
    {"overwrite", 0, "", workGroup, overwriteText},
    {"part", 1, "PART", workGroup,
     "as 3/10: compute the third of ten parts, alone, into a file of its own"},
    {"estimate", 0, "", workGroup, "only say what memory, disk and time it takes"},
    {"slab", 1, "NUMBER", workGroup,
     "points that are computed and written at a time; 262144 by default, or whole planes of an "
     "array's convolution"},
    {"threads", 1, "NUMBER", workGroup,
     "cores that each process computes with; all that it may use by default, and 1 under mpirun or "
     "srun"},
    {"compress", 1, "LEVEL", workGroup, "compress the complete file, from 1 (fast) to 9 (small)"},
    {"no-magnitude", 0, "", workGroup, "leave out the magnitude, and with it the file for viewers"},
}};

/// An option as people write it: "-k", "--sizes".
std::string dashed(const std::string& name);

/// What was given for an option or a key.
struct Setting {
    std::string name;                ///< of the option
    std::vector<std::string> words;  ///< none of a flag
    std::string origin;              ///< where it is, as "--sizes" or "request.toml:3: sizes"
};

/// ", did you mean NAME?", with the name that is most like a word; nothing where none is.
std::string suggestion(const std::string& word, const std::vector<std::string>& names);

}  // namespace run
