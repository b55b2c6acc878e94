// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/toolkit/Constants.h"

#include <algorithm>
#include <array>

namespace cuda_runtime::toolkit {

namespace {

::cudaError_t fillWithZeros(const ConstantSymbol& symbol) {
    constexpr std::array<std::byte, 2048> zeros{};
    for (std::size_t offset = 0; offset < symbol.bytes; offset += zeros.size()) {
        const std::size_t bytes = std::min(zeros.size(), symbol.bytes - offset);
        const ::cudaError_t status = ::cudaMemcpyToSymbol(symbol.symbol, zeros.data(), bytes,
                                                          offset, ::cudaMemcpyHostToDevice);
        if (status != ::cudaSuccess) return status;
    }
    return ::cudaSuccess;
}

}  // namespace

void Constants::add(const ConstantSymbol& symbol) {
    const std::lock_guard lock(mutex);
    constants.insert_or_assign(symbol.name, Constant{symbol, {}});
}

void Constants::remove(const ConstantSymbol& symbol) {
    const std::lock_guard lock(mutex);
    constants.erase(symbol.name);
}

::cudaError_t Constants::write(UnitOfWork& writer, const char* name, const void* from,
                               std::size_t bytes, std::size_t offset, ::cudaMemcpyKind kind) {
    const std::lock_guard lock(mutex);
    const auto found = constants.find(std::string_view(name));
    if (found == constants.end()) return ::cudaErrorInvalidSymbol;
    auto& [symbol, writers] = found->second;
    writers.insert_or_assign(writer.device(), &writer);
    return writer.carryOut(
        [&, to = symbol.symbol] { return ::cudaMemcpyToSymbol(to, from, bytes, offset, kind); });
}

::cudaError_t Constants::clear(const UnitOfWork& writer) {
    const std::lock_guard lock(mutex);
    ::cudaError_t first = ::cudaSuccess;
    for (const auto& [name, constant] : constants) {
        const auto written = constant.writers.find(writer.device());
        if (written == constant.writers.end() || written->second != &writer) continue;
        const ::cudaError_t status = fillWithZeros(constant.symbol);
        if (first == ::cudaSuccess) first = status;
    }
    return first;
}

void Constants::forget(const UnitOfWork& writer) noexcept {
    const std::lock_guard lock(mutex);
    for (auto& [name, constant] : constants)
        std::erase_if(constant.writers,
                      [&writer](const auto& written) { return written.second == &writer; });
}

Constants& theConstants() {
    static Constants instance;
    return instance;
}

}  // namespace cuda_runtime::toolkit
