// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/matlab_src/HeapAccount.h"

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

namespace heap {

namespace {

constexpr int never = std::numeric_limits<int>::max();

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> made{0};
std::atomic<int> counted{0};
std::atomic<int> firstFailing{never};
std::atomic<int> lastFailing{never};
std::optional<Form> failedForm;

bool isToFail(Form form) noexcept {
    const int number = ++counted;
    if (number < firstFailing || number > lastFailing) return false;
    if (!failedForm) failedForm = form;
    return true;
}

void* allocate(std::size_t bytes, std::align_val_t alignment, Form form) noexcept {
    if (isToFail(form)) return nullptr;
    // A sanitizer takes such a request for a fault.
    if (bytes > PTRDIFF_MAX) return nullptr;
    void* memory = nullptr;
    if (posix_memalign(&memory, static_cast<std::size_t>(alignment), bytes) != 0) return nullptr;
    live += malloc_usable_size(memory);
    ++made;
    return memory;
}

void* allocateOrThrow(std::size_t bytes, std::align_val_t alignment, bool aligned) {
    if (void* const memory = allocate(bytes, alignment, {true, aligned})) return memory;
    throw std::bad_alloc();
}

void release(void* memory) noexcept {
    live -= malloc_usable_size(memory);
    std::free(memory);  // NOLINT: what the operators are made of
}

constexpr std::align_val_t usual{alignof(std::max_align_t)};

}  // namespace

std::size_t liveBytes() noexcept { return live; }

std::size_t allocations() noexcept { return made; }

FailingAllocation::FailingAllocation(int nth, bool fromThenOn) noexcept {
    failedForm.reset();
    counted = 0;
    firstFailing = nth;
    lastFailing = fromThenOn ? never : nth;
}

FailingAllocation::~FailingAllocation() { firstFailing = never; }

std::optional<Form> FailingAllocation::firstFailed() noexcept { return failedForm; }

}  // namespace heap

using std::align_val_t;
using std::nothrow_t;
using std::size_t;

void* operator new(size_t bytes) { return heap::allocateOrThrow(bytes, heap::usual, false); }
void* operator new[](size_t bytes) { return heap::allocateOrThrow(bytes, heap::usual, false); }
void* operator new(size_t bytes, align_val_t alignment) {
    return heap::allocateOrThrow(bytes, alignment, true);
}
void* operator new[](size_t bytes, align_val_t alignment) {
    return heap::allocateOrThrow(bytes, alignment, true);
}
void* operator new(size_t bytes, const nothrow_t& /*tag*/) noexcept {
    return heap::allocate(bytes, heap::usual, {false, false});
}
void* operator new[](size_t bytes, const nothrow_t& /*tag*/) noexcept {
    return heap::allocate(bytes, heap::usual, {false, false});
}
void* operator new(size_t bytes, align_val_t alignment, const nothrow_t& /*tag*/) noexcept {
    return heap::allocate(bytes, alignment, {false, true});
}
void* operator new[](size_t bytes, align_val_t alignment, const nothrow_t& /*tag*/) noexcept {
    return heap::allocate(bytes, alignment, {false, true});
}

void operator delete(void* memory) noexcept { heap::release(memory); }
void operator delete[](void* memory) noexcept { heap::release(memory); }
void operator delete(void* memory, size_t /*bytes*/) noexcept { heap::release(memory); }
void operator delete[](void* memory, size_t /*bytes*/) noexcept { heap::release(memory); }
void operator delete(void* memory, align_val_t /*alignment*/) noexcept { heap::release(memory); }
void operator delete[](void* memory, align_val_t /*alignment*/) noexcept { heap::release(memory); }
void operator delete(void* memory, size_t /*bytes*/, align_val_t /*alignment*/) noexcept {
    heap::release(memory);
}
void operator delete[](void* memory, size_t /*bytes*/, align_val_t /*alignment*/) noexcept {
    heap::release(memory);
}
void operator delete(void* memory, const nothrow_t& /*tag*/) noexcept { heap::release(memory); }
void operator delete[](void* memory, const nothrow_t& /*tag*/) noexcept { heap::release(memory); }
void operator delete(void* memory, align_val_t /*alignment*/, const nothrow_t& /*tag*/) noexcept {
    heap::release(memory);
}
void operator delete[](void* memory, align_val_t /*alignment*/, const nothrow_t& /*tag*/) noexcept {
    heap::release(memory);
}
