// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/matlab_host/Matlab.h"

#include <dlfcn.h>

#include <algorithm>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <utility>

LoadedModule::LoadedModule(const std::string& path)
    : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) throw std::runtime_error(dlerror());
}

LoadedModule::~LoadedModule() { dlclose(handle); }

LoadedModule::Entry LoadedModule::entry() const {
    return reinterpret_cast<Entry>(dlsym(handle, "mexFunction"));
}

bool LoadedModule::isLoaded(const std::string& path) {
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

Matlab& matlab() {
    static Matlab instance;
    return instance;
}

MatlabEngine& matlabEngine() { return matlab(); }

// Nothing here may need a destructor: a longjmp passes.
bool Matlab::enter(LoadedModule::Entry entry, int outputs, mxArray** output, int count,
                   const mxArray** arguments) {
    // NOLINTNEXTLINE(cert-err52-cpp): what a host may do
    if (setjmp(callSite) != 0) return false;
    entry(outputs, output, count, arguments);
    return true;
}

Matlab::Answer Matlab::call(const LoadedModule& module, int outputs,
                            const std::vector<const mxArray*>& arguments) {
    console.clear();
    creations.clear();
    const auto before = static_cast<std::ptrdiff_t>(arrays.size());
    Answer answer;
    std::vector<const mxArray*> list = arguments;
    try {
        answer.raised = !enter(module.entry(), outputs, &answer.output,
                               static_cast<int>(list.size()), list.data());
    } catch (const MatlabError& error) {
        answer.raised = true;
        raised = error;
    }
    if (answer.raised) {
        answer.identifier = raised.identifier;
        answer.error = raised.message;
        answer.output = nullptr;
    }
    textsKept = texts.size();
    texts.clear();
    arrays.erase(std::partition(arrays.begin() + before, arrays.end(),
                                [&](const auto& array) { return array.get() == answer.output; }),
                 arrays.end());
    return answer;
}

mxArray* Matlab::create(const std::vector<std::size_t>& dimensions, mxClassID classId,
                        mxComplexity complexity) {
    std::ostringstream shape;
    const char* separator = "";
    for (const std::size_t dimension : dimensions)
        shape << std::exchange(separator, "x") << dimension;
    shape << " class " << static_cast<int>(classId) << " complexity "
          << static_cast<int>(complexity);
    creations.push_back(shape.str());
    if (failingCreation) return failingCreation();
    mxArray array;
    array.dimensions = dimensions;
    while (array.dimensions.size() > 2 && array.dimensions.back() == 1) array.dimensions.pop_back();
    array.isComplex = complexity == mxCOMPLEX;
    array.real.resize(
        std::accumulate(dimensions.begin(), dimensions.end(), std::size_t{1}, std::multiplies<>()));
    array.imaginary = array.real;
    return keep(std::move(array));
}

char* Matlab::keepText(const std::string& text) {
    return hasTexts ? texts.emplace_back(text).data() : nullptr;
}

void Matlab::print(const char* text) { console.emplace_back(text); }

mxArray* Matlab::callFunction(int outputCount, const std::vector<mxArray*>& inputs,
                              const std::string& name) {
    const bool isKnown = outputCount == 0 && name == "feval" && inputs.size() == 2 &&
                         inputs.front()->className == "function_handle";
    if (isKnown && function(inputs.back()->real.at(0))) return nullptr;
    mxArray exception;
    exception.className = "MException";
    exception.dimensions = {1, 1};
    return keep(std::move(exception));
}

void Matlab::raise(const char* identifier, const char* message) {
    raised = {identifier, message};
    if (leaveBy == LeaveBy::exception) throw MatlabError(raised);
    // NOLINTNEXTLINE(cert-err52-cpp): what a host may do
    std::longjmp(callSite, 1);
}

mxArray* Matlab::doubles(const std::vector<double>& values, std::vector<std::size_t> dimensions) {
    mxArray array;
    array.real = values;
    array.dimensions = std::move(dimensions);
    return keep(std::move(array));
}

mxArray* Matlab::text(const std::string& characters) {
    mxArray* const array = doubles({characters.begin(), characters.end()}, {1, characters.size()});
    array->className = "char";
    return array;
}

mxArray* Matlab::keep(mxArray array) {
    return arrays.emplace_back(std::make_unique<mxArray>(std::move(array))).get();
}
