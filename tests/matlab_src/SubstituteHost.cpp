// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/matlab_src/SubstituteHost.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <new>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace substitute {

namespace {

/// How a class keeps its elements.
struct Storage {
    std::size_t bytes;
    double (*read)(const std::byte*);
    void (*write)(std::byte*, double);
};

template <class T>
Storage storageOf() {
    return {sizeof(T),
            [](const std::byte* from) {
                T value;
                std::memcpy(&value, from, sizeof(T));
                return static_cast<double>(value);
            },
            [](std::byte* to, double value) {
                const T converted = static_cast<T>(value);
                std::memcpy(to, &converted, sizeof(T));
            }};
}

const Storage* storageOfClass(const std::string& name) {
    static const std::map<std::string, Storage> storages{
        {"double", storageOf<double>()},      {"single", storageOf<float>()},
        {"logical", storageOf<bool>()},       {"char", storageOf<char16_t>()},
        {"int8", storageOf<std::int8_t>()},   {"uint8", storageOf<std::uint8_t>()},
        {"int16", storageOf<std::int16_t>()}, {"uint16", storageOf<std::uint16_t>()},
        {"int32", storageOf<std::int32_t>()}, {"uint32", storageOf<std::uint32_t>()},
        {"int64", storageOf<std::int64_t>()}, {"uint64", storageOf<std::uint64_t>()},
    };
    const auto found = storages.find(name);
    return found == storages.end() ? nullptr : &found->second;
}

std::unique_ptr<host::Array> shaped(const std::string& className, Dimensions dimensions) {
    auto array = std::make_unique<host::Array>();
    array->className = className;
    array->dimensions = std::move(dimensions);
    return array;
}

void fill(host::Array& array, std::size_t count, double value) {
    const Storage* storage = storageOfClass(array.className);
    if (storage == nullptr) {
        array.real.resize(count * sizeof(void*));
        return;
    }
    array.real.resize(count * storage->bytes);
    for (std::size_t i = 0; i < count; ++i)
        storage->write(array.real.data() + i * storage->bytes, value);
}

std::vector<std::byte> bytesOf(const std::vector<double>& values) {
    std::vector<std::byte> bytes(values.size() * sizeof(double));
    if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// An address that no access survives.
double* faultingAddress() {
    static void* const page =
        mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);  // NOLINT
    return static_cast<double*>(page);
}

double* dataOf(host::Array* array, std::vector<std::byte>& half) {
    return array->isPretended ? faultingAddress() : reinterpret_cast<double*>(half.data());
}

void require(bool condition, const char* breach) {
    if (!condition) throw std::logic_error(breach);
}

}  // namespace

Host& theHost() {
    static Host instance;
    return instance;
}

void Host::reset() {
    arrays.clear();
    events.clear();
    raiseMode = RaiseMode::throws;
    interceptor = nullptr;
    function = [](double /*number*/) { return true; };
    operations = 0;
    resultLimit = 1000000;
    pretendsToCreate = false;
}

host::Array* Host::keep(std::unique_ptr<host::Array> array) {
    return arrays.emplace_back(std::move(array)).get();
}

void Host::releaseSince(std::size_t first, const host::Array* output) {
    const auto from = arrays.begin() + static_cast<std::ptrdiff_t>(first);
    const auto kept = [output](const std::unique_ptr<host::Array>& a) { return a.get() == output; };
    arrays.erase(std::partition(from, arrays.end(), kept), arrays.end());
}

std::vector<std::string> Host::textsOf(EventKind kind) const {
    std::vector<std::string> texts;
    for (const Event& event : events)
        if (event.kind == kind) texts.push_back(event.text);
    return texts;
}

std::string Host::console() const {
    const std::vector<std::string> lines = textsOf(EventKind::print);
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

void Host::enter(const char* operation) {
    ++operations;
    if (interceptor) interceptor(operation, operations);
}

host::Array* doubles(const std::vector<double>& values, Dimensions dimensions) {
    auto array = shaped("double", std::move(dimensions));
    require(values.size() == array->count(), "values do not fill the dimensions");
    array->real = bytesOf(values);
    return theHost().keep(std::move(array));
}

host::Array* number(double value) { return doubles({value}, {1, 1}); }

host::Array* text(const std::string& characters) {
    auto array = shaped("char", {std::size_t{characters.empty() ? 0U : 1U}, characters.size()});
    array->real.resize(characters.size() * sizeof(char16_t));
    for (std::size_t i = 0; i < characters.size(); ++i)
        storageOf<char16_t>().write(array->real.data() + i * sizeof(char16_t),
                                    static_cast<unsigned char>(characters[i]));
    return theHost().keep(std::move(array));
}

host::Array* arrayOf(const std::string& className, Dimensions dimensions, double value) {
    auto array = shaped(className, std::move(dimensions));
    fill(*array, array->count(), value);
    return theHost().keep(std::move(array));
}

host::Array* sparseOf(const std::string& className, Dimensions dimensions) {
    auto array = shaped(className, std::move(dimensions));
    array->sparse = true;
    fill(*array, 1, 1);
    return theHost().keep(std::move(array));
}

host::Array* complexOf(const std::vector<double>& values, Dimensions dimensions) {
    host::Array* array = doubles(values, std::move(dimensions));
    array->complex = true;
    array->imaginary = bytesOf(std::vector<double>(values.size(), 0.5));
    return array;
}

std::vector<std::complex<double>> valuesOf(const host::Array* array) {
    std::vector<std::complex<double>> values(array->count());
    const auto* re = reinterpret_cast<const double*>(array->real.data());
    const auto* im = reinterpret_cast<const double*>(array->imaginary.data());
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = {re[i], im[i]};
    return values;
}

namespace {

/// A query of the gateway about an array.
void query(const char* operation) {
    theHost().enter(operation);
    theHost().log(EventKind::query, operation);
}

}  // namespace

}  // namespace substitute

using substitute::EventKind;
using substitute::theHost;

namespace host {

std::size_t Array::count() const {
    return std::accumulate(dimensions.begin(), dimensions.end(), std::size_t{1},
                           std::multiplies<>());
}

std::size_t rows(const Array* array) {
    substitute::query("rows");
    return array->dimensions.front();
}

std::size_t columns(const Array* array) {
    substitute::query("columns");
    return std::accumulate(array->dimensions.begin() + 1, array->dimensions.end(), std::size_t{1},
                           std::multiplies<>());
}

bool isComplex(const Array* array) {
    substitute::query("isComplex");
    return array->complex;
}

bool isClass(const Array* array, const char* name) {
    substitute::query((std::string("isClass ") + name).c_str());
    return array->className == name || (array->sparse && std::strcmp(name, "sparse") == 0);
}

bool isChar(const Array* array) {
    substitute::query("isChar");
    return array->className == "char";
}

std::string text(const Array* array) {
    substitute::query("text");
    substitute::require(array->className == "char", "text of an array that is not char");
    std::string characters;
    for (std::size_t i = 0; i < array->count(); ++i)
        characters += static_cast<char>(static_cast<unsigned char>(
            substitute::storageOf<char16_t>().read(array->real.data() + i * sizeof(char16_t))));
    // As real hosts hand texts on.
    return characters.c_str();
}

double scalar(const Array* array) {
    substitute::query("scalar");
    const substitute::Storage* storage = substitute::storageOfClass(array->className);
    substitute::require(storage != nullptr && !array->sparse && array->count() > 0,
                        "scalar of an array without numbers");
    return storage->read(array->real.data());
}

const double* realData(const Array* array) {
    substitute::query("realData");
    substitute::require(array->className == "double" && !array->sparse,
                        "real data of an array that is not full and double");
    return array->count() == 0 ? nullptr : reinterpret_cast<const double*>(array->real.data());
}

Array* createResult(std::size_t sx, std::size_t sy, std::size_t sz) {
    theHost().enter("createResult");
    theHost().log(EventKind::creation,
                  std::to_string(sx) + "x" + std::to_string(sy) + "x" + std::to_string(sz));
    const auto exceeds = [](std::size_t a, std::size_t b) {
        return b > 0 && a > theHost().resultLimit / b;
    };
    const bool isEmpty = sx == 0 || sy == 0 || sz == 0;
    const bool tooLarge = !isEmpty && (exceeds(sx, sy) || exceeds(sx * sy, sz));
    if (tooLarge && !theHost().pretendsToCreate) throw std::bad_alloc();
    // Like a host, drops a last dimension of 1.
    substitute::Dimensions dimensions{sx, sy, sz};
    if (sz == 1) dimensions.pop_back();
    auto array = substitute::shaped("double", dimensions);
    array->complex = true;
    array->isPretended = tooLarge;
    if (!tooLarge) {
        array->real.resize(array->count() * sizeof(double));
        array->imaginary = array->real;
    }
    return theHost().keep(std::move(array));
}

double* resultReal(Array* result) {
    substitute::query("resultReal");
    return substitute::dataOf(result, result->real);
}

double* resultImaginary(Array* result) {
    substitute::query("resultImaginary");
    return substitute::dataOf(result, result->imaginary);
}

Array* createReal(std::size_t rows, std::size_t columns) {
    theHost().enter("createReal");
    theHost().log(EventKind::creation, std::to_string(rows) + "x" + std::to_string(columns));
    return substitute::doubles(std::vector<double>(rows * columns), {rows, columns});
}

void print(const std::string& text) {
    theHost().enter("print");
    theHost().log(EventKind::print, text);
}

bool tell(const Array* function, double number) {
    theHost().enter("tell");
    return function->className == "function_handle" && theHost().function(number);
}

void raise(const char* message) {
    theHost().enter("raise");
    theHost().log(EventKind::raise, message);
    if (theHost().raiseMode == substitute::RaiseMode::throws) throw substitute::HostError{message};
}

void raise(const char* identifier, const char* message) {
    theHost().enter("raise");
    theHost().log(EventKind::raise, message);
    if (theHost().raiseMode == substitute::RaiseMode::throws)
        throw substitute::HostError{message, identifier};
}

}  // namespace host
