// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/QuadratureFiles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <locale>
#include <sstream>
#include <string_view>
#include <vector>

#include "FastNearfield/GaussLegendre.h"

namespace {

/// How one of the languages writes a rule.
struct SourceForm {
    std::string_view name;
    std::string_view lowerName;
    std::string_view comment;
    std::string_view indent;
    char open;
    char close;
    int indexBase;
    std::string_view lineEnd;
};

constexpr std::array<SourceForm, 4> sourceForms{{
    {"C++", "c++", "//", "  ", '[', ']', 0, ";\n"},
    {"F77", "f77", "c", "      ", '(', ')', 1, "\n"},
    {"F90", "f90", "!", "  ", '(', ')', 1, "\n"},
    {"MAT", "mat", "%", "  ", '(', ')', 1, ";\n"},
}};

void writeHeading(std::ostream& out, const SourceForm& form, int order) {
    const auto line = [&](std::string_view text) { out << form.comment << text << '\n'; };
    line("");
    line("  Weights W, abscissas X and range R");
    line("  for a Gauss-Legendre quadrature rule");
    line("  ORDER = " + std::to_string(order));
    line("");
    line("  Standard rule:");
    line("    Integral ( -1 <= x <= +1 ) f(x) dx");
    line("    is to be approximated by");
    line("    sum ( 1 <= I <= ORDER ) w(i) * f(x(i)).");
    line("");
}

void writeArray(std::ostream& out, const SourceForm& form, char name,
                const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i)
        out << form.indent << name << form.open << i + static_cast<std::size_t>(form.indexBase)
            << form.close << " = " << values[i] << form.lineEnd;
}

}  // namespace

// The parameters' types are those that programs know.
// NOLINTBEGIN(performance-unnecessary-value-param, readability-non-const-parameter)

void legendre_handle(int order, std::string output) {
    std::vector<double> region{-1.0, 1.0};
    std::vector<double> x(static_cast<std::size_t>(std::max(order, 0)));
    std::vector<double> w(x.size());
    legendre_compute(order, x.data(), w.data());

    for (const SourceForm& form : sourceForms) {
        if (output != form.name && output != form.lowerName) continue;
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << std::setprecision(16);
        writeHeading(text, form, order);
        writeArray(text, form, 'w', w);
        text << '\n';
        writeArray(text, form, 'x', x);
        text << '\n';
        writeArray(text, form, 'r', region);
        std::cout << text.str() << std::flush;
        return;
    }

    const std::string weightFile = output + "_w.txt";
    const std::string abscissaFile = output + "_x.txt";
    const std::string regionFile = output + "_r.txt";
    std::cout << "  Creating quadrature files.\n"
              << "  Root file name is     \"" << output << "\".\n"
              << "  Weight file will be   \"" << weightFile << "\".\n"
              << "  Abscissa file will be \"" << abscissaFile << "\".\n"
              << "  Region file will be   \"" << regionFile << "\".\n"
              << std::flush;
    dtable_write0(weightFile, 1, order, w.data());
    dtable_write0(abscissaFile, 1, order, x.data());
    dtable_write0(regionFile, 1, 2, region.data());
}

void dtable_write0(std::string file_name, int m, int n, double* table) {
    std::ofstream file(file_name, std::ios::trunc);
    if (!file) {
        // The wording is the message's own: the error is not fatal.
        std::cerr << "\nDTABLE_WRITE0 - Fatal error!\n  Could not open the output file.\n"
                  << std::flush;
        return;
    }
    file.imbue(std::locale::classic());
    file << std::setprecision(16);
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < m; ++i)
            file << std::setw(24) << table[static_cast<std::ptrdiff_t>(j) * m + i] << "  ";
        file << '\n';
    }
}

// NOLINTEND(performance-unnecessary-value-param, readability-non-const-parameter)

void timestamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    static_cast<void>(localtime_r(&now, &local));
    std::array<char, 40> text{};
    static_cast<void>(std::strftime(text.data(), text.size(), "%d %B %Y %I:%M:%S %p", &local));
    std::cout << text.data() << '\n' << std::flush;
}
