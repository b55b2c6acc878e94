// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// A window for apodisation: a number within 0 to 1 at each place from -1 to 1.
struct Window {
    enum class Kind {
        rectangular,  ///< 1
        hann,         ///< (1 + cos(pi*x))/2
        hamming,      ///< 0.54 + 0.46*cos(pi*x)
        tukey,        ///< 1 up to |x| = 1 - r, from there (1 + cos(pi*(|x| - 1 + r)/r))/2
        blackman,     ///< 0.42 + 0.5*cos(pi*x) + 0.08*cos(2*pi*x)
        kaiser,       ///< I0(beta*sqrt(1 - x^2))/I0(beta)
        gaussian      ///< exp(-x^2/(2*sigma^2))
    };

    Kind kind = Kind::rectangular;
    double parameter = 0;  ///< r within 0 to 1, beta within 0 to 500, or sigma above 0

    /// Its value at a place from -1 to 1.
    double at(double x) const noexcept;
};

/// @throws InvalidRequest of `window` for a parameter out of its range
void check(const Window& window);

/// The kind of window with a name, that of the enumerator.
/// @throws InvalidRequest of `window`
Window::Kind windowCalled(const std::string& name);

/// What a window lies along.
enum class WindowAlong {
    x,      ///< from the least to the largest x of all faces, which are at -1 and 1
    y,      ///< the same along y
    radius  ///< from the middle of the extent in x and y, at 0, to the face's point farthest from
            ///< it in x and y, at 1
};

/// The value of a window at each element's centre. The array's rim, not the outermost centres, is
/// where a window ends, so that the outermost elements are driven.
/// @throws InvalidRequest of `window` for a parameter out of its range, of `elements`
std::vector<double> windowValues(const Window& window, WindowAlong along,
                                 const std::vector<Element>& elements);

}  // namespace pistonfield
