// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/tiledPistons.h"

#include <complex>
#include <cstddef>
#include <string>
#include <vector>

#include "arrays/ApodisedPiston.h"
#include "arrays/curvedPistons.h"
#include "field/Request.h"
#include "matlab_src/NamedValues.h"
#include "matlab_src/arrayBuilding.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

VelocityProfile profileOf(const host::Array* kind, const host::Array* numbers) {
    const std::string name = textOf(kind, "profile");
    const std::vector<double> given = numbersOf(numbers, "profile");
    if (name == "polynomial") return Polynomial{given};
    if (given.size() > 1) throw InvalidRequest("profile", "a window has one parameter at most");
    return Window{windowCalled(name), given.empty() ? 0 : given.front()};
}

FlatTiles curvedTiles(const std::string& kind, double wavenumber, const NamedValues& given) {
    if (kind == "cap")
        given.expectOnly(kind, {"radius", "aperture", "hole", "fraction"});
    else
        given.expectOnly(kind, {"radius", "width", "height", "fraction"});
    const double radius = given.number("radius");
    const double fraction = given.number("fraction");
    if (kind == "cap") {
        const CapPiston cap{radius, given.number("aperture"),
                            given.optionalNumber("hole").value_or(0)};
        return tilesOf(cap, wavenumber, fraction);
    }
    const CylindricalPiston bent{radius, given.number("width"), given.number("height")};
    return tilesOf(bent, wavenumber, fraction);
}

}  // namespace

host::Array* tilesOfApodised(Arguments arguments) {
    expectArguments(arguments, 10);
    const ApodisedPiston piston{numberOf(arguments[1], "width"), numberOf(arguments[2], "height"),
                                profileOf(arguments[3], arguments[4]),
                                profileOf(arguments[5], arguments[6])};
    const TiledPiston tiles =
        tiled(piston, numberOf(arguments[9], "tolerance"), numberOf(arguments[7], "wavenumber"),
              numberOf(arguments[8], "distance"));
    auto columns = columnsOf(tiles.array.elements);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::complex<double> weight = tiles.array.weights[i];
        columns[i].insert(columns[i].end(), {weight.real(), weight.imag(), tiles.error});
    }
    return answerOf(columns);
}

host::Array* tilesOfCurved(Arguments arguments) {
    if (arguments.size() < 3) throw InvalidRequest("kind", "is missing");
    const std::string kind = textOf(arguments[1], "kind");
    if (kind != "cap" && kind != "cylinder")
        throw InvalidRequest("kind", "'" + kind + "' is none of cap, cylinder");
    const NamedValues given(arguments.subspan(3));
    const FlatTiles tiles = curvedTiles(kind, numberOf(arguments[2], "wavenumber"), given);
    auto columns = columnsOf(tiles.elements);
    for (std::vector<double>& column : columns)
        column.insert(column.end(), {tiles.phase, tiles.misplaced});
    return answerOf(columns);
}

}  // namespace questions
