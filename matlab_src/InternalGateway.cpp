// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/limits.h"
#include "field/Plan.h"
#include "matlab_src/Gateway.h"
#include "matlab_src/arrayBuilding.h"
#include "matlab_src/arrayDriving.h"
#include "matlab_src/beamQuestions.h"
#include "matlab_src/fieldQuestions.h"
#include "matlab_src/outlineTables.h"
#include "matlab_src/pulseQuestion.h"
#include "matlab_src/questionArguments.h"
#include "matlab_src/tiledPistons.h"
#include "parallel/threads.h"

namespace {

using namespace pistonfield;
using namespace questions;

host::Array* largestOrderOfMode(Arguments arguments) {
    expectArguments(arguments, 2);
    return rowOf({static_cast<double>(largestOrder(modeOf(arguments[1])))});
}

host::Array* mostPointsInARowOfMode(Arguments arguments) {
    expectArguments(arguments, 2);
    return rowOf({static_cast<double>(mostPointsInARow(modeOf(arguments[1])))});
}

host::Array* mostThreadsOfAll(Arguments arguments) {
    expectArguments(arguments, 1);
    return rowOf({mostThreads});
}

template <Place place, Source source, Physics physics = Physics::plain>
host::Array* field(Arguments arguments) {
    return fieldWithTolerance(place, source, physics, arguments);
}

template <Place place, Source source, Physics physics = Physics::plain>
host::Array* accuracy(Arguments arguments) {
    return accuracyFor(place, source, physics, arguments);
}

struct Question {
    std::string_view name;
    host::Array* (*answer)(Arguments arguments);
};

constexpr std::array known{
    Question{"field", fieldWithOrder},
    Question{"field_within", field<Place::lattice, Source::piston>},
    Question{"field_within_of_list", field<Place::list, Source::piston>},
    Question{"accuracy", accuracy<Place::lattice, Source::piston>},
    Question{"accuracy_of_list", accuracy<Place::list, Source::piston>},
    Question{"array_field_within", field<Place::lattice, Source::array>},
    Question{"array_field_within_of_list", field<Place::list, Source::array>},
    Question{"array_accuracy", accuracy<Place::lattice, Source::array>},
    Question{"array_accuracy_of_list", accuracy<Place::list, Source::array>},
    Question{"full_field_within", field<Place::lattice, Source::array, Physics::full>},
    Question{"full_field_within_of_list", field<Place::list, Source::array, Physics::full>},
    Question{"full_accuracy", accuracy<Place::lattice, Source::array, Physics::full>},
    Question{"full_accuracy_of_list", accuracy<Place::list, Source::array, Physics::full>},
    Question{"wave", waveOfMedium},
    Question{"outline", outlineOfShape},
    Question{"array", builtArray},
    Question{"array_outlines", outlinesOfArray},
    Question{"array_of_table", arrayOfTable},
    Question{"outlines_of_table", outlinesOfTable},
    Question{"array_overlaps", overlapsOfArray},
    Question{"apodised", tilesOfApodised},
    Question{"curved", tilesOfCurved},
    Question{"pulse", pulseOf},
    Question{"weights_of_focus", weightsOfFocus},
    Question{"weights_of_foci", weightsOfFoci},
    Question{"weights_of_plane_wave", weightsOfPlaneWave},
    Question{"direction", directionOfAngles},
    Question{"element_pressures", pressuresOfElements},
    Question{"window", valuesOfWindow},
    Question{"quantised_weights", quantisedWeights},
    Question{"array_power", powerOfArray},
    Question{"beam_search", latticeOfSearch},
    Question{"beam", beamOfSource},
    Question{"beam_of_grid", beamOfGrid},
    Question{"hydrophone", readingsOfHydrophone},
    Question{"largest_order", largestOrderOfMode},
    Question{"most_points_in_a_row", mostPointsInARowOfMode},
    Question{"most_threads", mostThreadsOfAll},
};

host::Array* answerTo(Arguments arguments) {
    if (arguments.empty()) throw InvalidRequest("question", "there is none");
    const std::string name = textOf(arguments[0], "question");
    const auto* const question = std::find_if(
        known.begin(), known.end(), [&name](const Question& one) { return one.name == name; });
    if (question == known.end()) throw InvalidRequest("question", "'" + name + "' is none");
    return question->answer(arguments);
}

void raise(const std::string& reason, const std::exception& error) {
    host::raise(("pistonfield:pistonfield_internal:" + reason).c_str(), error.what());
}

}  // namespace

void answerCall(int /*outputCount*/, host::Array*& output, Arguments arguments) {
    try {
        output = answerTo(arguments);
    } catch (const InvalidRequest& error) {
        raise(error.field(), error);
    } catch (const std::out_of_range& error) {
        raise("box", error);
    } catch (const DeviceFailure& error) {
        raise("device", error);
    } catch (const Stopped& error) {
        raise("stopped", error);
    } catch (const std::runtime_error& error) {
        // Of the library, what is left is the number of threads.
        raise("environment", error);
    }
}
