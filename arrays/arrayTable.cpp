// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/arrayTable.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fstream>
#include <istream>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

/// What a column is in.
enum class Measure { length, angle, number };

struct Quantity {
    std::string_view name;
    Measure measure;
};

enum Column : std::size_t {
    x,
    y,
    z,
    width,
    height,
    normalX,
    normalY,
    normalZ,
    alongX,
    alongY,
    alongZ,
    upX,
    upY,
    upZ,
    amplitude,
    phase,
    re,
    im,
    outline,
    columns
};

constexpr std::array<Quantity, columns> quantities{{
    {"x", Measure::length},        {"y", Measure::length},        {"z", Measure::length},
    {"width", Measure::length},    {"height", Measure::length},   {"normal x", Measure::number},
    {"normal y", Measure::number}, {"normal z", Measure::number}, {"along x", Measure::number},
    {"along y", Measure::number},  {"along z", Measure::number},  {"up x", Measure::number},
    {"up y", Measure::number},     {"up z", Measure::number},     {"amplitude", Measure::number},
    {"phase", Measure::angle},     {"re", Measure::number},       {"im", Measure::number},
    {"outline", Measure::length},
}};

/// How many of a unit are a metre, or how many units a radian is.
struct Unit {
    std::string_view name;
    Measure measure;
    double inOne;
};

constexpr std::array<Unit, 6> units{{
    {"m", Measure::length, 1},
    {"cm", Measure::length, 1e2},
    {"mm", Measure::length, 1e3},
    {"um", Measure::length, 1e6},
    {"deg", Measure::angle, 180 / std::numbers::pi},
    {"rad", Measure::angle, 1},
}};

bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

/// What stands in double quotes, of which two are one, at the beginning of a text, or nothing where
/// they do not end. The text begins behind them then.
std::optional<std::string> takeQuoted(std::string_view& text) {
    std::string inside;
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '"') {
            const bool isOne = at + 1 < text.size() && text[at + 1] == '"';
            if (!isOne) {
                text.remove_prefix(at + 1);
                return inside;
            }
            ++at;
        }
        inside += text[at];
    }
    return std::nullopt;
}

/// The cells of a line, or nothing where quotes do not end, or not with their cell.
std::optional<std::vector<std::string>> cellsOf(std::string_view line) {
    std::vector<std::string> cells;
    for (;;) {
        line = trimmed(line);
        const bool isQuoted = line.starts_with('"');
        if (isQuoted) {
            const std::optional<std::string> inside = takeQuoted(line);
            if (!inside) return std::nullopt;
            cells.emplace_back(trimmed(*inside));
        }
        const std::size_t end = std::min(line.find(','), line.size());
        const std::string_view plain = trimmed(line.substr(0, end));
        if (isQuoted && !plain.empty()) return std::nullopt;
        if (!isQuoted) cells.emplace_back(plain);
        if (end == line.size()) return cells;
        line.remove_prefix(end + 1);
    }
}

std::string nameOf(std::size_t column) { return std::string(quantities[column].name); }

std::string between(char begin, std::string_view text, char end) {
    std::string enclosed(1, begin);
    enclosed += text;
    enclosed += end;
    return enclosed;
}

/// A cell as a message shows it: in one short line, whatever is in it.
std::string quoted(std::string_view text) {
    constexpr std::size_t most = 60;
    std::string shown(text.substr(0, most));
    if (text.size() > most) shown += "...";
    std::replace_if(
        shown.begin(), shown.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return between('\'', shown, '\'');
}

/// Writes a number with the fewest digits that are read as it.
void write(std::ostream& to, double number) {
    std::array<char, 32> digits{};
    const auto* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    to.write(digits.data(), end - digits.data());
}

/// Writes an outline as a cell has it: numbers with spaces between them, edges with semicolons,
/// loops with slashes.
void write(std::ostream& to, const Outline& outline) {
    const auto writeAll = [&to](const auto& numbers) {
        const char* before = "";
        for (const double number : numbers) {
            to << before;
            write(to, number);
            before = " ";
        }
    };
    const char* before = "";
    for (const Loop& loop : outline.loops) {
        for (const OutlineEdge& edge : loop) {
            to << before;
            before = "; ";
            if (const auto* side = std::get_if<StraightEdge>(&edge))
                writeAll(std::array{side->from[0], side->from[1], side->to[0], side->to[1]});
            else if (const auto* arc = std::get_if<Arc>(&edge))
                writeAll(
                    std::array{arc->centre[0], arc->centre[1], arc->radius, arc->from, arc->sweep});
        }
        before = " / ";
    }
}

/// The parts of a text between separators.
std::vector<std::string_view> partsOf(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.push_back(trimmed(text.substr(0, end)));
        if (end == text.size()) return parts;
        text.remove_prefix(end + 1);
    }
}

/// A table while it is read.
class Table {
  public:
    Table(std::istream& from, std::string name) : from(from), name(std::move(name)) {}

    Array read() {
        if (!nextLine()) refuse("there is no line of columns' names");
        readHeader();
        Array array;
        while (nextLine()) {
            if (array.elements.size() == Array::mostElements)
                refuseLine("there are more than " + std::to_string(Array::mostElements) +
                           " elements");
            readRow();
            array.elements.push_back(element());
            if (hasWeights()) array.weights.push_back(weight());
        }
        if (from.bad()) refuse("it cannot be read");
        if (array.elements.empty()) refuse("there are no elements");
        return array;
    }

  private:
    [[noreturn]] void refuse(const std::string& reason) const {
        throw InvalidRequest("elements", name + ": " + reason);
    }

    [[noreturn]] void refuseLine(const std::string& reason) const {
        throw InvalidRequest("elements",
                             name + ", line " + std::to_string(lineNumber) + ": " + reason);
    }

    /// @param cell from 0 on
    [[noreturn]] void refuseCell(std::size_t cell, const std::string& reason) const {
        throw InvalidRequest(
            "elements",
            name + ", line " + std::to_string(lineNumber) + ", column " + std::to_string(cell + 1) +
                (cell < headings.size() ? " (" + headings[cell] + ")" : "") + ": " + reason);
    }

    /// Reads up to the next line's end, and no endless line.
    bool getLine() {
        // An outline of as many edges as there may be.
        constexpr std::size_t longest = 1048576;
        line.clear();
        char next = 0;
        while (from.get(next)) {
            if (next == '\n') break;
            line += next;
            if (line.size() <= longest) continue;
            ++lineNumber;
            refuseLine("it has more than " + std::to_string(longest) + " characters");
        }
        return !from.bad() && (from || !line.empty());
    }

    /// Reads a line that is not empty and no remark.
    bool nextLine() {
        while (getLine()) {
            ++lineNumber;
            constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
            if (lineNumber == 1 && line.starts_with(byteOrderMark))
                line.erase(0, byteOrderMark.size());
            if (lineNumber == 1 && (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF")))
                refuse("it is a text in UTF-16, which is to be in UTF-8");
            const std::string_view text = trimmed(line);
            if (!text.empty() && text.front() != '#') return true;
        }
        return false;
    }

    std::vector<std::string> cellsOfLine() const {
        std::optional<std::vector<std::string>> cells = cellsOf(line);
        if (!cells) refuseLine("quotes begin and end with a cell, and two stand for one inside");
        return *std::move(cells);
    }

    void readHeader() {
        std::vector<std::string> cells = cellsOfLine();
        for (std::size_t i = 0; i < cells.size(); ++i) {
            std::transform(cells[i].begin(), cells[i].end(), cells[i].begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            readHeading(i, cells[i]);
        }
        headings = std::move(cells);
        for (const Column needed : {x, y, width, height})
            if (!cellOf[needed] && (!cellOf[outline] || needed == x || needed == y))
                refuseLine("there is no column " + nameOf(needed));
        requireTogether({width, height});
        requireTogether({normalX, normalY, normalZ});
        requireTogether({alongX, alongY, alongZ});
        requireTogether({upX, upY, upZ});
        requireTogether({re, im});
        if (cellOf[upX] && !cellOf[alongX]) refuseLine("columns up need columns along");
        if (cellOf[re] && (cellOf[amplitude] || cellOf[phase]))
            refuseLine("weights are either re, im or amplitude, phase");
    }

    void requireTogether(const std::vector<Column>& group) const {
        const auto isThere = [&](Column column) { return cellOf[column].has_value(); };
        if (std::none_of(group.begin(), group.end(), isThere)) return;
        for (const Column column : group)
            if (!isThere(column))
                refuseLine("there is no column " + nameOf(column) + ", but others of its kind");
    }

    /// Understands a column's name, with its unit.
    void readHeading(std::size_t cell, std::string_view text) {
        const std::size_t bracket = text.find('[');
        const std::string_view called = trimmed(text.substr(0, bracket));
        const auto* const quantity =
            std::find_if(quantities.begin(), quantities.end(),
                         [&](const Quantity& known) { return known.name == called; });
        if (quantity == quantities.end())
            refuseCell(cell, quoted(text) + " is no column of an array");
        const auto column = static_cast<std::size_t>(quantity - quantities.begin());
        if (cellOf[column]) refuseCell(cell, quoted(nameOf(column)) + " is there twice");
        cellOf[column] = cell;
        inOne[column] = unitIn(cell, bracket == std::string_view::npos ? "" : text.substr(bracket),
                               quantity->measure);
    }

    double unitIn(std::size_t cell, std::string_view text, Measure measure) const {
        if (text.empty() && measure == Measure::number) return 1;
        std::string names;
        for (const Unit& unit : units) {
            if (unit.measure != measure) continue;
            const std::string ending = between('[', unit.name, ']');
            if (text == ending) return unit.inOne;
            names += names.empty() ? "" : ", ";
            names += ending;
        }
        refuseCell(cell, names.empty() ? "it has no unit"
                                       : "its name is to end with its unit, one of " + names);
    }

    void readRow() {
        const std::vector<std::string> cells = cellsOfLine();
        if (cells.size() != headings.size())
            refuseLine("there are " + std::to_string(cells.size()) + " cells for " +
                       std::to_string(headings.size()) + " columns");
        shape = cellOf[outline] ? cells[*cellOf[outline]] : std::string();
        for (std::size_t column = 0; column < columns; ++column)
            if (cellOf[column] && column != outline)
                numbers[column] = numberIn(*cellOf[column], cells[*cellOf[column]]) / inOne[column];
        if (!shape.empty()) return;
        if (!cellOf[width])
            refuseCell(*cellOf[outline], "is empty, and there are no columns width and height");
        for (const Column side : {width, height})
            if (!(numbers[side] > 0)) refuseCell(*cellOf[side], "must be above 0");
    }

    /// The outline in a row's cell. Elements with the same text share one.
    std::shared_ptr<const Outline> outlineOfRow() {
        std::shared_ptr<const Outline>& known = outlines[shape];
        if (known) return known;
        Outline read;
        for (const std::string_view loop : partsOf(shape, '/')) {
            read.loops.emplace_back();
            for (const std::string_view edge : partsOf(loop, ';'))
                read.loops.back().push_back(edgeIn(edge));
        }
        known = std::make_shared<const Outline>(std::move(read));
        return known;
    }

    OutlineEdge edgeIn(std::string_view text) const {
        constexpr std::size_t ofSide = 4;
        constexpr std::size_t ofArc = 5;
        std::vector<double> of;
        for (const std::string_view word : partsOf(text, ' '))
            if (!word.empty()) of.push_back(numberIn(*cellOf[outline], word));
        const double unit = inOne[outline];
        if (of.size() == ofSide)
            return StraightEdge{{of[0] / unit, of[1] / unit}, {of[2] / unit, of[3] / unit}};
        if (of.size() == ofArc)
            return Arc{{of[0] / unit, of[1] / unit}, of[2] / unit, of[3], of[4]};
        refuseCell(*cellOf[outline],
                   "an edge is the 4 numbers of a straight one or the 5 of an arc, and not " +
                       std::to_string(of.size()));
    }

    double numberIn(std::size_t cell, std::string_view text) const {
        if (text.starts_with('+')) text.remove_prefix(1);
        double number = 0;
        const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(number))
            refuseCell(cell, quoted(text) + " is no number");
        return number;
    }

    Vector3 vectorOf(Column first) const noexcept {
        return {numbers[first], numbers[first + 1], numbers[first + 2]};
    }

    Element element() {
        Element element;
        if (shape.empty())
            element.piston = {numbers[width], numbers[height]};
        else
            element.outline = outlineOfRow();
        element.pose = axes();
        element.pose.centre = {numbers[x], numbers[y], cellOf[z] ? numbers[z] : 0};
        return element;
    }

    /// The directions of width and height.
    Pose axes() const {
        if (!cellOf[alongX]) return axesAbout(cellOf[normalX] ? normal() : Vector3{0, 0, 1});
        const Vector3 along = unitIn(alongX);
        if (cellOf[upX]) return requireAxes(along, unitIn(upX));
        const Vector3 front = cellOf[normalX] ? normal() : Vector3{0, 0, 1};
        const double slope = dot(along, front);
        if (std::abs(slope) > digits)
            refuseCell(*cellOf[alongX], "is not at a right angle to the normal");
        return axesAlong(std::abs(slope) > rounding ? unitOf(plus(along, -slope, front)) : along,
                         front);
    }

    Pose requireAxes(const Vector3& along, const Vector3& up) const {
        if (std::abs(dot(along, up)) > rounding)
            refuseCell(*cellOf[upX], "is not at a right angle to along");
        const Pose pose{{}, along, up};
        if (cellOf[normalX] && lengthOf(minus(pose.normal(), normal())) > digits)
            refuseCell(*cellOf[normalX], "is not along cross up");
        return pose;
    }

    Vector3 normal() const { return unitIn(normalX); }

    /// A vector, brought to the length 1 unless it has that but for rounding.
    Vector3 unitIn(Column first) const {
        const Vector3 vector = vectorOf(first);
        const double length = lengthOf(vector);
        if (!(std::isfinite(length) && length > 0))
            refuseCell(*cellOf[first], "the direction has no length");
        return std::abs(length - 1) > rounding / 2 ? unitOf(vector) : vector;
    }

    static Pose axesAlong(const Vector3& along, const Vector3& front) {
        return {{}, along, cross(front, along)};
    }

    /// With the width in a plane across y.
    static Pose axesAbout(const Vector3& front) {
        const Vector3 along{front[2], 0, -front[0]};
        const bool isAlongY = lengthOf(along) < rounding;
        return axesAlong(isAlongY ? Vector3{1, 0, 0} : unitOf(along), front);
    }

    bool hasWeights() const noexcept { return cellOf[re] || cellOf[amplitude] || cellOf[phase]; }

    std::complex<double> weight() const {
        if (cellOf[re]) return {numbers[re], numbers[im]};
        const double size = cellOf[amplitude] ? numbers[amplitude] : 1;
        if (size < 0) refuseCell(*cellOf[amplitude], "must not be below 0");
        return std::polar(size, cellOf[phase] ? numbers[phase] : 0);
    }

    static constexpr double rounding = 1e-9;  ///< of directions, as requests have it
    static constexpr double digits = 1e-3;    ///< that directions are written with, at least

    std::istream& from;
    std::string name;
    std::string line;
    std::size_t lineNumber = 0;
    std::vector<std::string> headings;
    std::array<std::optional<std::size_t>, columns> cellOf{};  ///< where each column stands
    std::array<double, columns> inOne{};                       ///< of each column's unit
    std::array<double, columns> numbers{};                     ///< of the row
    std::string shape;                                         ///< the row's outline, as a text
    std::map<std::string, std::shared_ptr<const Outline>> outlines;  ///< by their texts
};

/// Writes the cells of an element.
class Row {
  public:
    explicit Row(std::ostream& to) : to(to) {}

    void add(double number) {
        to << separator;
        write(to, number);
        separator = ",";
    }

    /// An outline, or an empty cell where there is none.
    void add(const Outline* outline) {
        to << separator;
        if (outline != nullptr) write(to, *outline);
        separator = ",";
    }

    void add(const Vector3& vector) {
        for (const double number : vector) add(number);
    }

    void end() { to << '\n'; }

  private:
    std::ostream& to;
    const char* separator = "";
};

}  // namespace

Array readArray(std::istream& from, const std::string& name) { return Table(from, name).read(); }

Array readArrayFile(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw InvalidRequest("elements", path + ": it cannot be read");
    return readArray(file, path);
}

void writeArray(std::ostream& to, const Array& array) {
    if (!array.weights.empty() && array.weights.size() != array.elements.size())
        throw InvalidRequest("weights", "a table has one for each element, or none");
    const bool hasWeights = !array.weights.empty();
    const auto isShaped = [](const Element& element) { return element.outline != nullptr; };
    const bool hasOutlines = std::any_of(array.elements.begin(), array.elements.end(), isShaped);
    const bool hasSides = !std::all_of(array.elements.begin(), array.elements.end(), isShaped);
    to << "x [m],y [m],z [m]" << (hasSides ? ",width [m],height [m]" : "")
       << ",normal x,normal y,normal z,along x,along y,along z,up x,up y,up z"
       << (hasWeights ? ",re,im" : "") << (hasOutlines ? ",outline [m]\n" : "\n");
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        const auto& [piston, pose, shape] = array.elements[i];
        Row row(to);
        row.add(pose.centre);
        if (hasSides) {
            row.add(shape ? 0 : piston.width);
            row.add(shape ? 0 : piston.height);
        }
        row.add(pose.normal());
        row.add(pose.alongWidth);
        row.add(pose.alongHeight);
        if (hasWeights) {
            row.add(array.weights[i].real());
            row.add(array.weights[i].imag());
        }
        if (hasOutlines) row.add(shape.get());
        row.end();
    }
}

}  // namespace pistonfield
