// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The rounding errors of fields at random points of random grids, in every mode and on every
// instruction set, against the same sums in 113 bits.
//
// Usage: accuracy POINTS

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "CountArgument.h"
#include "FastNearfield/GaussLegendre.h"
#include "ModeField.h"
#include "RandomCases.h"
#include "core/Grid3DR.h"
#include "tests/FastNearfield/kernels/DeviceField.h"

namespace {

/// What the points of a table's column have in common.
enum class Region { plane, front, behind, thin };
constexpr std::array regionNames{"in plane", "in front", "behind", "thin piston"};

const FieldCall& callFor(Mode mode, const Case& scene) {
    return isOnGpu(mode) ? scene.undivided : scene.divided;
}

/// A position in a mode's precision, and how far rounding put it off the exact one: in units of the
/// unit roundoff times the sum of the magnitudes that make up a coordinate, the largest of the
/// three coordinates.
template <class T>
struct Position {
    std::array<T, 3> at;
    double error;
};

/// As the mode's own arithmetic places lattice points.
template <class T>
Position<T> positionOf(Mode mode, const Grid3DR<T>& grid, const FieldCall& call,
                       const std::array<int, 3>& index) {
    Position<T> position{{}, 0};
    const Vector<T, 3> divided = grid.place(index[0], index[1], index[2]);
    for (int r = 0; r < 3; ++r) {
        const auto row = static_cast<std::size_t>(r);
        const auto m = [&](int c) { return grid.getTransform()(r, c); };
        const auto i = [&](std::size_t c) { return static_cast<T>(index[c]); };
        position.at[row] =
            isOnGpu(mode) ? ((m(1) * i(1) + m(0) * i(0)) + m(2) * i(2)) + m(3) : divided[r];

        const double* const exactRow = call.transform.data() + 4 * row;
        const Quad divisor = isOnGpu(mode) ? 1 : call.transform[15];
        Quad exact = exactRow[3];
        Quad magnitudes = fabsq(exactRow[3]);
        for (std::size_t c = 0; c < 3; ++c) {
            const Quad term = static_cast<Quad>(exactRow[c]) * index.at(c);
            exact += term;
            magnitudes += fabsq(term);
        }
        constexpr Quad u = std::numeric_limits<T>::epsilon() / 2;
        const Quad error = fabsq(position.at[row] * divisor - exact);
        if (error > 0)
            position.error =
                std::max(position.error, static_cast<double>(error / (u * magnitudes)));
    }
    return position;
}

/// The largest rounding error of a position in such units, to first order: one rounding of a
/// product, three of sums and one of the quotient, and in float two more of the transform itself.
template <class T>
constexpr double positionBound = std::numeric_limits<T>::digits < 53 ? 7.01 : 5.01;

/// The same piston and point in T.
template <class T>
Scene<T> sceneOf(const Position<T>& position, const FieldCall& call) {
    return {position.at[0],
            position.at[1],
            position.at[2],
            static_cast<T>(call.s * 0.5),
            static_cast<T>(call.l * 0.5),
            static_cast<T>(call.k)};
}

bool operator==(const reference::Spans& a, const reference::Spans& b) {
    return a.alongY == b.alongY && a.alongX == b.alongX;
}

/// The offsets are rounded. The reference takes the exact ones, but where the rounding of a distant
/// point's offsets loses a narrow piston's side.
template <class T>
reference::Offsets offsetsOf(const Scene<T>& p, bool thin) {
    const reference::Offsets exact = reference::offsetsOf(p.x, p.y, p.a, p.b);
    const reference::Offsets rounded{p.x - p.a, p.x + p.a, p.y - p.b, p.y + p.b};
    const bool lost = !(reference::hostSpans(rounded) == reference::hostSpans(exact));
    return thin || lost ? rounded : exact;
}

/// On a GPU by the magnitudes of x and y.
template <class T>
reference::Offsets gpuOffsetsOf(const Scene<T>& p, bool thin) {
    const T x = std::fabs(p.x);
    const T y = std::fabs(p.y);
    if (thin) return {x - p.a, x + p.a, y - p.b, y + p.b};
    return reference::offsetsOf(x, y, p.a, p.b);
}

template <class T>
const reference::Rule& ruleOf(int order) {
    thread_local std::map<int, reference::Rule> rules;
    const auto [found, isNew] = rules.try_emplace(order);
    if (isNew) {
        std::vector<T> x(static_cast<std::size_t>(order));
        std::vector<T> w(static_cast<std::size_t>(order));
        legendre_compute(order, x.data(), w.data());
        found->second = reference::widen(order, x.data(), w.data());
    }
    return found->second;
}

/// What a mode's pressure at a point should be, and the unit of its rounding error.
struct Expected {
    reference::Field field;
    Quad unit;
};

template <class T>
Expected expectedAt(Mode mode, const Scene<T>& p, int order, bool thin) {
    const reference::Rule& rule = ruleOf<T>(order);
    const reference::Field field =
        isOnGpu(mode) ? reference::nearField(gpuOffsetsOf(p, thin), p.z, p.k, rule, deviceSpans(p))
                      : reference::nearField(offsetsOf(p, thin), p.z, p.k, rule);
    const Quad u = unitRoundoffOf(mode);
    const bool withDrift = p.z < 0 && mode != Mode::cudadp;
    return {field, u * (withDrift ? reference::errorMeasureWithDrift(field, p.k)
                                  : reference::errorMeasure(field, p.k))};
}

struct Errors {
    long count = 0;
    double sum = 0;
    double largest = 0;
    std::string worst;

    template <class Describe>
    void add(double error, Describe describe) {
        ++count;
        sum += error;
        if (!isWorse(error, largest)) return;
        largest = error;
        worst = describe();
    }

    void add(const Errors& other) {
        count += other.count;
        sum += other.sum;
        if (!isWorse(other.largest, largest)) return;
        largest = other.largest;
        worst = other.worst;
    }

  private:
    /// A NaN is worse than any number.
    static bool isWorse(double a, double b) { return !std::isnan(b) && !(a <= b); }
};

/// The errors of a mode on an instruction set.
struct Row {
    std::array<Errors, regionNames.size()> regions;
    Errors positions;
    long withoutValue = 0;
    long wronglyFinite = 0;

    void add(const Row& other) {
        for (std::size_t i = 0; i < regions.size(); ++i) regions.at(i).add(other.regions.at(i));
        positions.add(other.positions);
        withoutValue += other.withoutValue;
        wronglyFinite += other.wronglyFinite;
    }
};

using Set = lanes::InstructionSet;

struct Table {
    std::map<std::pair<Mode, Set>, Row> rows;
    /// How often the forms of the edge integrals came up, by mode.
    std::map<std::pair<Mode, std::string>, long> forms;

    void add(const Table& other) {
        for (const auto& [key, row] : other.rows) rows[key].add(row);
        for (const auto& [key, count] : other.forms) forms[key] += count;
    }
};

/// A case and its fields in a mode, one for each instruction set.
struct Computed {
    Case scene;
    std::map<Mode, std::vector<FieldValues>> fields;
};

std::string formOf(const reference::Spans& spans) {
    constexpr std::array names{"whole", "split", "doubled upper", "doubled whole"};
    const auto name = [&](reference::Span span) {
        return std::string(names.at(static_cast<std::size_t>(span)));
    };
    return name(spans.alongY) + " along y, " + name(spans.alongX) + " along x";
}

template <class T>
std::string describe(const Scene<T>& p, int order) {
    std::ostringstream text;
    text << std::setprecision(std::numeric_limits<T>::max_digits10) << "(" << p.x << ", " << p.y
         << ", " << p.z << "), half sides " << p.a << ", " << p.b << ", k = " << p.k << ", order "
         << order;
    return text.str();
}

Region regionOf(double z, bool thin) {
    if (thin) return Region::thin;
    if (z == 0) return Region::plane;
    return z < 0 ? Region::behind : Region::front;
}

template <class T>
void compare(const Computed& computed, Mode mode, const std::vector<Set>& sets, Table& table) {
    const bool thin = computed.scene.thin;
    const FieldCall& call = callFor(mode, computed.scene);
    const auto [sx, sy, sz] = call.sizes;
    const Grid3DR<T> grid(call.transform.data(), static_cast<unsigned>(sx),
                          static_cast<unsigned>(sy), static_cast<unsigned>(sz));
    for (int i = 0; i < sx * sy * sz; ++i) {
        const auto position = positionOf<T>(mode, grid, call, {i % sx, i / sx % sy, i / (sx * sy)});
        const Scene<T> p = sceneOf(position, call);
        const Expected expected = expectedAt(mode, p, call.order, thin);
        const auto words = [&] { return describe(p, call.order); };
        ++table.forms[{mode, formOf(isOnGpu(mode) ? deviceSpans(p)
                                                  : reference::hostSpans(offsetsOf(p, thin)))}];
        for (std::size_t set = 0; set < sets.size(); ++set) {
            Row& row = table.rows[{mode, sets[set]}];
            const std::complex<double> got =
                computed.fields.at(mode)[set].at(static_cast<std::size_t>(i));
            row.positions.add(position.error, words);
            const Quad error = reference::magnitude(reference::QuadComplex{got.real(), got.imag()} -
                                                    expected.field.pressure);
            // Straight above or below a corner the formula divides zero by zero.
            if (std::isnan(static_cast<double>(reference::magnitude(expected.field.pressure)))) {
                ++row.withoutValue;
                row.wronglyFinite += std::isfinite(got.real()) || std::isfinite(got.imag());
            } else {
                // No error is none, also where all intervals are empty and the unit is 0.
                const Quad units = error == 0 ? error : error / expected.unit;
                row.regions.at(static_cast<std::size_t>(regionOf(static_cast<double>(p.z), thin)))
                    .add(static_cast<double>(units), words);
            }
        }
    }
}

Computed compute(const Case& scene, const std::vector<Set>& sets) {
    Computed computed{scene, {}};
    for (const Mode mode : modes)
        for (const Set set : sets) {
            lanes::useInstructionSet(set);
            computed.fields[mode].push_back(fieldOf(mode, callFor(mode, scene)));
        }
    return computed;
}

/// Compares a batch with the references, which take nearly all of the time, on all cores.
Table compareAll(const std::vector<Computed>& batch, const std::vector<Set>& sets) {
    std::vector<Table> tables(std::max(1U, std::thread::hardware_concurrency()));
    std::atomic<std::size_t> next{0};
    const auto work = [&](Table& table) {
        for (std::size_t i = next++; i < batch.size(); i = next++)
            for (const Mode mode : modes) {
                if (!isInSingle(mode))
                    compare<double>(batch[i], mode, sets, table);
                else
                    compare<float>(batch[i], mode, sets, table);
            }
    };
    {
        std::vector<std::jthread> workers;
        for (Table& table : tables) workers.emplace_back(work, std::ref(table));
    }
    Table sum;
    for (const Table& table : tables) sum.add(table);
    return sum;
}

Table measure(int points, const std::vector<Set>& sets) {
    constexpr std::size_t batchSize = 256;
    RandomCases cases;
    Table table;
    for (int done = 0; done < points;) {
        std::vector<Computed> batch;
        while (batch.size() < batchSize && done < points) {
            batch.push_back(compute(cases.draw(), sets));
            const auto [sx, sy, sz] = batch.back().scene.divided.sizes;
            done += sx * sy * sz;
        }
        table.add(compareAll(batch, sets));
    }
    return table;
}

/// Prints a line of the table.
/// @return whether the errors are within the bound
bool report(const std::string& what, const Errors& errors, double bound) {
    const bool holds = errors.count > 0 && errors.largest <= bound;
    std::cout << std::left << std::setw(32) << what << std::right << std::setw(9) << errors.count
              << std::setw(9) << errors.sum / static_cast<double>(errors.count) << std::setw(9)
              << errors.largest << std::setw(7) << bound
              << (holds ? "" : "  BROKEN, worst at " + errors.worst) << '\n';
    return holds;
}

bool reportErrors(const Table& table) {
    bool holds = true;
    std::cout << std::fixed << std::setprecision(3) << std::left << std::setw(32)
              << "mode, instruction set, points" << std::right
              << "    count     mean  largest  bound\n";
    for (const auto& [key, row] : table.rows) {
        const auto [mode, set] = key;
        const std::string where = std::string(nameOf(mode)) + ", " + lanes::nameOf(set) + ", ";
        for (std::size_t i = 0; i < row.regions.size(); ++i)
            holds &= report(where + regionNames.at(i), row.regions.at(i),
                            roundingBound(mode) / unitRoundoffOf(mode));
        holds &= report(where + "positions", row.positions,
                        !isInSingle(mode) ? positionBound<double> : positionBound<float>);
        std::cout << where << row.withoutValue << " points without a value, " << row.wronglyFinite
                  << " of them finite\n";
        holds &= row.wronglyFinite == 0;
    }
    return holds;
}

/// @return whether every form came up
bool reportForms(const Table& table) {
    std::map<Mode, int> forms;
    std::cout << "points by the form of their integrals:\n";
    for (const auto& [key, count] : table.forms) {
        ++forms[key.first];
        std::cout << std::setw(7) << nameOf(key.first) << std::setw(9) << count << "  "
                  << key.second << '\n';
    }
    constexpr int formsOfAMode = 9;
    return std::all_of(modes.begin(), modes.end(),
                       [&](Mode mode) { return forms[mode] == formsOfAMode; });
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    const Table table = measure(count, availableSets());
    const bool bounded = reportErrors(table);
    const bool complete = reportForms(table);
    return bounded && complete ? 0 : 1;
}
