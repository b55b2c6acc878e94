// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/BeamReport.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace pistonfield {

namespace {

using std::numbers::pi;

constexpr double degree = pi / 180;

void require(bool holds, const char* name, const char* what) {
    if (!holds) throw InvalidRequest(name, what);
}

bool isPositive(double number) noexcept { return std::isfinite(number) && number > 0; }

/// Gathers what a report says.
class Report {
  public:
    void number(std::string name, double number) { add({std::move(name), 1, 1, 0, {number}}); }

    void flag(std::string name, bool is) {
        add({std::move(name), 1, 1, 0, {is ? 1.0 : 0.0}, true});
    }

    /// A row of numbers.
    void row(std::string name, std::vector<double> numbers) {
        const std::size_t columns = numbers.size();
        add({std::move(name), 1, columns, 1, std::move(numbers)});
    }

    void column(std::string name, std::vector<double> numbers) {
        const std::size_t rows = numbers.size();
        add({std::move(name), rows, 1, 1, std::move(numbers)});
    }

    void table(std::string name, std::size_t columns, std::vector<double> numbers) {
        const std::size_t rows = numbers.size() / columns;
        add({std::move(name), rows, columns, 2, std::move(numbers)});
    }

    std::vector<ReportValue> values;

  private:
    void add(ReportValue value) { values.push_back(std::move(value)); }
};

std::vector<double> rowOf(const Pose::Vector& vector) { return {vector.begin(), vector.end()}; }

template <class Part>
std::vector<double> partsOf(const std::array<std::array<BeamReach, beamLevels.size()>, 3>& reaches,
                            const Part& part) {
    std::vector<double> parts;
    for (const auto& direction : reaches)
        for (const BeamReach& reach : direction) parts.push_back(part(reach));
    return parts;
}

std::vector<double> widthsOf(
    const std::array<std::array<BeamReach, beamLevels.size()>, 3>& reaches) {
    return partsOf(reaches, [](const BeamReach& reach) { return reach.width(); });
}

void addPeak(Report& report, const Beam& beam, const BeamDrive& drive) {
    report.number("peak.pressure", beam.peak.value * drive.pressure());
    report.row("peak.place", rowOf(beam.peak.place));
    report.number("peak.depth", beam.depth);
    report.flag("peak.on_edge", beam.peak.isOnEdge);
    report.number("peak.uncertainty", beam.peak.uncertainty);
}

void addWidths(Report& report, const Beam& beam) {
    std::vector<double> directions;
    for (const Pose::Vector& direction : beam.directions)
        directions.insert(directions.end(), direction.begin(), direction.end());
    report.table("directions", 3, directions);
    report.row("levels", {beamLevels.begin(), beamLevels.end()});
    const std::size_t levels = beamLevels.size();
    report.table("widths", levels, widthsOf(beam.reaches));
    report.table("before", levels,
                 partsOf(beam.reaches, [](const BeamReach& reach) { return reach.before; }));
    report.table("behind", levels,
                 partsOf(beam.reaches, [](const BeamReach& reach) { return reach.behind; }));
    report.row("depth_of_field", {beam.reaches[2][0].width(), beam.reaches[2][1].width()});
}

void addLobes(Report& report, const Beam& beam) {
    std::vector<double> planes;
    std::vector<double> levels;
    std::vector<double> angles;
    std::vector<double> places;
    std::vector<double> gratings;
    for (std::size_t plane = 0; plane < beam.lobes.size(); ++plane)
        for (const BeamLobe& lobe : beam.lobes[plane]) {
            planes.push_back(static_cast<double>(plane + 1));
            levels.push_back(lobe.level);
            angles.push_back(lobe.angle / degree);
            places.insert(places.end(), lobe.place.begin(), lobe.place.end());
            gratings.push_back(lobe.grating ? 1 : 0);
        }
    report.column("lobes.plane", planes);
    report.column("lobes.level", levels);
    report.column("lobes.angle", angles);
    report.table("lobes.place", 3, places);
    report.column("lobes.grating", gratings);
    report.values.back().isFlag = true;
}

/// The intensities of a pressure amplitude.
void addIntensities(Report& report, const std::string& group, double pressure,
                    const BeamDrive& drive) {
    const double intensity = planeWaveIntensity(pressure, drive);
    report.number(group + ".sppa", intensity);
    report.number(group + ".spta", intensity * drive.duty);
}

void addDerated(Report& report, const Beam& beam, const BeamDrive& drive) {
    const double pressure = beam.derated.value * drive.pressure();
    report.number("derated.rate", drive.derating);
    report.number("derated.pressure", pressure);
    report.row("derated.place", rowOf(beam.derated.place));
    report.number("derated.depth", beam.deratedDepth);
    report.flag("derated.on_edge", beam.derated.isOnEdge);
    addIntensities(report, "derated", pressure, drive);
    report.number("mechanical_index", mechanicalIndex(pressure, drive.frequency));
}

void addHydrophone(Report& report, const Beam& beam, const BeamDrive& drive) {
    if (!beam.hydrophone) return;
    const HydrophoneReading& peak = beam.hydrophone->peak;
    report.number("hydrophone.pressure", std::abs(peak.pressure) * drive.pressure());
    report.number("hydrophone.error", peak.change * drive.pressure());
    report.number("hydrophone.level", 20 * std::log10(std::abs(peak.pressure) / beam.peak.value));
    report.table("hydrophone.widths", beamLevels.size(), widthsOf(beam.hydrophone->reaches));
}

double wattsOf(const RadiatedPower& power, const BeamDrive& drive) noexcept {
    return power.value * drive.density * drive.speed * drive.velocity * drive.velocity;
}

std::string textOf(double number) {
    std::array<char, 32> buffer{};
    const char* const end = std::to_chars(buffer.begin(), buffer.end(), number).ptr;
    return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

/// With so many significant digits.
std::string rounded(double number, int digits = 4) {
    if (!std::isfinite(number)) return "-";
    // Of places, what rounding leaves of a 0.
    if (std::abs(number) < 1e-12) number = 0;
    std::array<char, 64> buffer{};
    const double size = number == 0 ? 0 : std::floor(std::log10(std::abs(number)));
    const int decimals = std::clamp(digits - 1 - static_cast<int>(size), 0, 12);
    const bool plain = size < 7 && size > -5;
    const char* const end = plain ? std::to_chars(buffer.begin(), buffer.end(), number,
                                                  std::chars_format::fixed, decimals)
                                        .ptr
                                  : std::to_chars(buffer.begin(), buffer.end(), number,
                                                  std::chars_format::scientific, digits - 1)
                                        .ptr;
    return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

/// With a prefix of the unit.
std::string withUnit(double number, const std::string& unit) {
    if (!std::isfinite(number)) return "-";
    constexpr std::array<std::pair<double, const char*>, 7> prefixes{
        {{1e9, "G"}, {1e6, "M"}, {1e3, "k"}, {1, ""}, {1e-3, "m"}, {1e-6, "u"}, {1e-9, "n"}}};
    for (const auto& [size, prefix] : prefixes)
        if (std::abs(number) >= size) return rounded(number / size) + " " + prefix + unit;
    return rounded(number) + " " + unit;
}

/// A length in mm to 4 decimals of it, which is fine enough for any beam.
std::string millimetres(double length) {
    std::array<char, 64> buffer{};
    const double shown = std::abs(length) < 5e-8 ? 0 : length * 1e3;  // no -0.0000
    const char* const end =
        std::to_chars(buffer.begin(), buffer.end(), shown, std::chars_format::fixed, 4).ptr;
    return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

std::string placeText(const Pose::Vector& place) {
    return std::string("(") + millimetres(place[0]) + ", " + millimetres(place[1]) + ", " +
           millimetres(place[2]) + ") mm";
}

std::string directionText(const Pose::Vector& direction) {
    const auto part = [&](std::size_t i) {
        const double shown = std::round(direction[i] * 1e4) / 1e4;
        return std::trunc(shown) == shown ? std::to_string(static_cast<int>(shown))
                                          : rounded(shown);
    };
    return std::string("(") + part(0) + ", " + part(1) + ", " + part(2) + ")";
}

std::string widthText(const BeamReach& reach) {
    return std::isnan(reach.width()) ? "beyond the region" : millimetres(reach.width()) + " mm";
}

/// Lines of words in columns.
class Table {
  public:
    /// What a line says, and words that each take a column.
    void line(const std::string& what, const std::vector<std::string>& words) {
        text += padded(what, 40);
        for (std::size_t i = 0; i < words.size(); ++i)
            text += i + 1 < words.size() ? padded(words[i], 20) : words[i];
        while (text.back() == ' ') text.pop_back();
        text += "\n";
    }

    void gap() { text += "\n"; }

    std::string text;

  private:
    static std::string padded(const std::string& word, std::size_t width) {
        return word + std::string(word.size() < width ? width - word.size() : 1, ' ');
    }
};

constexpr std::array<const char*, 3> directionNames{"lateral 1", "lateral 2", "axis"};

void showWidths(Table& table, const Beam& beam,
                const std::array<std::array<BeamReach, beamLevels.size()>, 3>& reaches) {
    for (std::size_t i = 0; i < reaches.size(); ++i) {
        std::vector<std::string> words;
        for (const BeamReach& reach : reaches[i]) words.push_back(widthText(reach));
        table.line(std::string("  ") + directionNames[i] + " " + directionText(beam.directions[i]),
                   words);
    }
}

void showLobes(Table& table, const Beam& beam) {
    if (beam.lobes[0].empty() && beam.lobes[1].empty()) {
        table.line("Side lobes", {"none above -60 dB"});
        return;
    }
    table.line("Side lobes", {"level", "angle", "place"});
    for (std::size_t plane = 0; plane < beam.lobes.size(); ++plane)
        for (const BeamLobe& lobe : beam.lobes[plane])
            table.line(std::string("  along ") + directionNames[plane] +
                           (lobe.grating ? ", grating lobe" : ""),
                       {rounded(lobe.level) + " dB",
                        std::isnan(lobe.angle) ? "-" : rounded(lobe.angle / degree) + " degrees",
                        placeText(lobe.place)});
}

std::string edgeText(const BeamPeak& peak) {
    return peak.isOnEdge ? ", on the region's edge: there may be more beyond" : "";
}

void showHydrophone(Table& table, const Beam& beam, const BeamDrive& drive) {
    if (!beam.hydrophone) return;
    const HydrophoneReading& peak = beam.hydrophone->peak;
    const double pressure = std::abs(peak.pressure) * drive.pressure();
    const double level = 20 * std::log10(std::abs(peak.pressure) / beam.peak.value);
    table.gap();
    table.line("Hydrophone at the peak",
               {withUnit(pressure, "Pa"),
                std::isnan(pressure) ? "beyond the region" : rounded(level) + " dB"});
    table.line("  error of the average", {withUnit(peak.change * drive.pressure(), "Pa")});
    table.line("  width", {"-3 dB", "-6 dB", "-20 dB"});
    showWidths(table, beam, beam.hydrophone->reaches);
}

/// A number, or null.
std::string jsonNumber(double number, bool isFlag) {
    if (isFlag) return number != 0 ? "true" : "false";
    return std::isfinite(number) ? textOf(number) : "null";
}

std::string jsonList(const ReportValue& value, std::size_t first, std::size_t count) {
    std::string list = "[";
    for (std::size_t i = first; i < first + count; ++i)
        list.append(i > first ? ", " : "").append(jsonNumber(value.numbers[i], value.isFlag));
    return list + "]";
}

std::string jsonValue(const ReportValue& value) {
    if (value.rank == 0) return jsonNumber(value.numbers.front(), value.isFlag);
    if (value.rank == 1) return jsonList(value, 0, value.numbers.size());
    std::string table = "[";
    for (std::size_t row = 0; row < value.rows; ++row)
        table.append(row > 0 ? ", " : "")
            .append(jsonList(value, row * value.columns, value.columns));
    return table + "]";
}

}  // namespace

void check(const BeamDrive& drive) {
    require(isPositive(drive.frequency), "frequency", "must be a number above 0");
    require(isPositive(drive.speed), "speed", "must be a number above 0");
    require(isPositive(drive.density), "density", "must be a number above 0");
    require(isPositive(drive.velocity), "velocity", "must be a number above 0");
    require(isPositive(drive.duty) && drive.duty <= 1, "duty",
            "must be a number above 0, and 1 at most");
    require(std::isfinite(drive.derating) && drive.derating >= 0, "derating",
            "must be a number of at least 0");
}

double planeWaveIntensity(double pressure, const BeamDrive& drive) noexcept {
    return pressure * pressure / (2 * drive.density * drive.speed);
}

double mechanicalIndex(double deratedPressure, double frequency) noexcept {
    return deratedPressure * 1e-6 / std::sqrt(frequency * 1e-6);
}

std::vector<ReportValue> reportOf(const Beam& beam, const BeamDrive& drive) {
    check(drive);
    Report report;
    report.number("frequency", drive.frequency);
    report.number("speed", drive.speed);
    report.number("density", drive.density);
    report.number("velocity", drive.velocity);
    report.number("duty", drive.duty);
    report.number("wavelength", drive.speed / drive.frequency);
    addPeak(report, beam, drive);
    addWidths(report, beam);
    addLobes(report, beam);
    report.number("focal_gain", beam.gain);
    addIntensities(report, "intensity", beam.peak.value * drive.pressure(), drive);
    addDerated(report, beam, drive);
    addHydrophone(report, beam, drive);
    if (beam.power) report.number("power", wattsOf(*beam.power, drive));
    return report.values;
}

std::string tableOf(const Beam& beam, const BeamDrive& drive) {
    check(drive);
    const double peak = beam.peak.value * drive.pressure();
    const double derated = beam.derated.value * drive.pressure();
    const auto intensity = [&](double pressure, double part) {
        return withUnit(part * planeWaveIntensity(pressure, drive) * 1e-4, "W/cm^2");
    };
    Table table;
    table.line("Frequency", {withUnit(drive.frequency, "Hz")});
    table.line("Wavelength", {millimetres(drive.speed / drive.frequency) + " mm"});
    table.line("Peak pressure", {withUnit(peak, "Pa") + edgeText(beam.peak)});
    table.line("  at", {placeText(beam.peak.place)});
    table.line("  from the face", {millimetres(beam.depth) + " mm"});
    if (!std::isnan(beam.gain)) table.line("  over the face's (focal gain)", {rounded(beam.gain)});
    table.gap();
    table.line("Width", {"-3 dB", "-6 dB", "-20 dB"});
    showWidths(table, beam, beam.reaches);
    table.line("Depth of field", {widthText(beam.reaches[2][0]), widthText(beam.reaches[2][1])});
    table.gap();
    showLobes(table, beam);
    table.gap();
    table.line("Intensity of a plane wave", {"pulse average", "time average"});
    table.line("  at the peak", {intensity(peak, 1), intensity(peak, drive.duty)});
    table.line("  derated", {intensity(derated, 1), intensity(derated, drive.duty)});
    table.line("Derated peak pressure", {withUnit(derated, "Pa") + edgeText(beam.derated)});
    table.line("  at", {placeText(beam.derated.place)});
    table.line("  by", {rounded(drive.derating) + " dB/(cm MHz) over " +
                        millimetres(beam.deratedDepth) + " mm"});
    table.line("Mechanical index", {rounded(mechanicalIndex(derated, drive.frequency), 3)});
    if (beam.power) table.line("Radiated power", {withUnit(wattsOf(*beam.power, drive), "W")});
    showHydrophone(table, beam, drive);
    return table.text;
}

std::string jsonOf(const std::vector<ReportValue>& report) {
    std::string json = "{";
    std::string group;
    for (const ReportValue& value : report) {
        const std::size_t dot = value.name.find('.');
        const std::string within = dot == std::string::npos ? "" : value.name.substr(0, dot);
        if (!group.empty() && within != group) json += "\n  }";
        if (&value != &report.front()) json += ",";
        if (!within.empty() && within != group)
            json.append("\n  \"").append(within).append("\": {");
        json += within.empty() ? "\n  " : "\n    ";
        json.append("\"").append(value.name, within.empty() ? 0 : dot + 1).append("\": ");
        json += jsonValue(value);
        group = within;
    }
    return json + (group.empty() ? "\n}\n" : "\n  }\n}\n");
}

std::string linesOf(const std::vector<ReportValue>& report) {
    std::string lines;
    for (const ReportValue& value : report) {
        lines += value.name + (value.isFlag ? " 1 " : " 0 ") + std::to_string(value.rows) + " " +
                 std::to_string(value.columns);
        for (std::size_t column = 0; column < value.columns; ++column)
            for (std::size_t row = 0; row < value.rows; ++row) {
                const double number = value.numbers[row * value.columns + column];
                lines.append(" ").append(std::isfinite(number) ? textOf(number) : "NaN");
            }
        lines += "\n";
    }
    return lines;
}

}  // namespace pistonfield
