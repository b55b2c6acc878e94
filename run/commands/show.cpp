// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <iomanip>
#include <iostream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "arrays/arrayTable.h"
#include "run/commands/commands.h"
#include "run/commands/pistonForm.h"
#include "run/file/FieldFile.h"
#include "run/file/PartFiles.h"
#include "run/requestNames.h"
#include "run/shapedPiston.h"

namespace run {

namespace {

// With these a number reads back as it was, even where it is read in extended precision first.
constexpr int digits = 17;

std::string separated(const auto& numbers, const char* separator) {
    std::ostringstream all;
    all << std::setprecision(digits);
    const char* before = "";
    for (const auto number : numbers) all << std::exchange(before, separator) << number;
    return all.str();
}

std::string list(const auto& numbers) {
    return std::string("[").append(separated(numbers, ", ")).append("]");
}

/// Numbers in rows, so that lines stay short.
std::string rows(std::span<const double> numbers, std::size_t each) {
    std::string all = "[";
    for (std::size_t i = 0; i < numbers.size(); i += each)
        all.append(i == 0 ? "" : ",\n    ").append(separated(numbers.subspan(i, each), ", "));
    return all.append("]");
}

void line(const char* key, const auto& value) { std::cout << key << " = " << value << '\n'; }

/// A path as a text of TOML, in which control characters have escapes.
std::string textOf(const std::filesystem::path& path) {
    constexpr unsigned char firstPrinted = 0x20;
    constexpr unsigned char erase = 0x7f;
    std::ostringstream text;
    text << '"' << std::hex << std::setfill('0');
    for (const char c : path.string()) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < firstPrinted || byte == erase)
            text << "\\u" << std::setw(4) << static_cast<unsigned>(byte);
        else if (c == '"' || c == '\\')
            text << '\\' << c;
        else
            text << c;
    }
    return text.str() + '"';
}

/// What a request file has no option for.
void comment(const char* key, const auto& value) {
    std::cout << "# ";
    line(key, value);
}

void showTolerance(const pistonfield::Request& request) {
    line("tolerance", request.tolerance->value);
    line("relative", std::quoted(nameOf(request.tolerance->of)));
    line("precision", std::quoted(precisionOf(request.mode)));
    line("device", std::quoted(deviceOf(request.mode)));
    line("behind", request.behind ? "true" : "false");
    comment("mode", std::quoted(nameOf(request.mode)));
}

void showRequest(const pistonfield::Request& request) {
    line("transform", rows(request.lattice.transform, 4));
    line("sizes", list(request.lattice.sizes));
    if (!request.array) {
        line("l", request.piston.height);
        line("s", request.piston.width);
    }
    line("k", request.wave.wavenumber);
    if (takesContours(request)) {
        line("attenuation", request.wave.attenuation);
        line("baffle", std::quoted(nameOf(request.baffle)));
        if (request.quantity != pistonfield::Quantity::pressure)
            line("quantity", std::quoted(nameOf(request.quantity)));
    }
    if (request.tolerance) return showTolerance(request);
    line("mode", std::quoted(nameOf(request.mode)));
    if (request.rule.table.empty()) return line("order", request.rule.order);
    comment("order", request.rule.order);
    line("table", rows(request.rule.table, 2));
}

void showContents(const Layout& layout, const Provenance& provenance) {
    if (layout.request.array) {
        if (shapeOf(layout.request) == nullptr)
            comment("elements", layout.request.array->elements.size());
        comment("engine", std::quoted(provenance.engine));
    }
    comment("first_point", list(layout.box.first));
    comment("points", list(layout.box.size));
    comment("slab_sizes", list(layout.slabSizes));
    comment("undefined", provenance.undefined);
    comment("complete", provenance.complete ? "true" : "false");
    comment("host", std::quoted(provenance.host));
    comment("started", std::quoted(provenance.started));
    comment("finished", std::quoted(provenance.finished));
    comment("seconds", provenance.seconds);
    comment("processes", provenance.processes);
    comment("peak_memory", provenance.peakMemory);
    if (!provenance.accuracy) return;
    comment("error_bound", provenance.accuracy->bound);
    comment("error", provenance.accuracy->error);
    comment("error_points", provenance.accuracy->points);
    comment("evaluations", provenance.accuracy->evaluations);
}

}  // namespace

int show(const ShowCommand& command) {
    const FieldFile file(command.file, FieldFile::Access::read);
    // Of a joined field, as everything else does, only where its parts are those that were joined.
    if (file.joined()) static_cast<void>(PartFiles(command.file));
    const auto& array = file.layout().request.array;
    const pistonfield::Outline* outline = shapeOf(file.layout().request);
    if (command.elements) {
        if (!array || outline != nullptr)
            throw std::runtime_error(command.file.string() + " has the field of no array");
        pistonfield::writeArray(std::cout, *array);
        return 0;
    }
    std::cout << std::setprecision(digits);
    showRequest(file.layout().request);
    showContents(file.layout(), file.provenance());
    // A table of a request file ends what is in none.
    if (outline != nullptr) {
        std::cout << "\n[piston]\n" << pistonForm::textOf(*outline);
    } else if (array) {
        std::cout << "\n[array]\n";
        line("table", textOf(std::filesystem::absolute(command.file)));
    }
    return 0;
}

}  // namespace run
