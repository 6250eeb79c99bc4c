#pragma once
// The one way to get and give back memory. Every owner in the core allocates through this pair,
// so that tests can count, fail and move each allocation.

#include <new>

#include "base/Base.h"

namespace tally {

struct AllocatorTable {
    void* (*allocate)(std::size_t bytes);                 // null when it fails
    void* (*reallocate)(void* block, std::size_t bytes);  // null when it fails, `block` then stays
    void (*release)(void* block);                         // null is allowed
};

// Replaces the allocator of the process; null puts the ordinary one back. Blocks must be released
// by the table that made them.
void SetAllocator(const AllocatorTable* table);

// Called once for each failed allocation outside a QuietMemoryScope. The shell shows its box here.
using OutOfMemoryNotice = void (*)();
void SetOutOfMemoryNotice(OutOfMemoryNotice notice);

[[nodiscard]] void* AllocateBytes(std::size_t bytes);
[[nodiscard]] void* AllocateZeroed(std::size_t bytes);
// `block` may be null. On failure the old block is untouched.
[[nodiscard]] void* ReallocateBytes(void* block, std::size_t bytes);
void ReleaseBytes(void* block);

// Number of failed allocations since the process started.
u64 FailedAllocations();

// Inside the formula engine a failed allocation becomes an error value, not a box.
struct QuietMemoryScope {
    QuietMemoryScope();
    ~QuietMemoryScope();
    QuietMemoryScope(const QuietMemoryScope&) = delete;
    QuietMemoryScope& operator=(const QuietMemoryScope&) = delete;
};

// Size arithmetic that cannot wrap: false when the product or sum does not fit.
[[nodiscard]] inline bool MultiplySizes(std::size_t a, std::size_t b, std::size_t& out) {
    return !__builtin_mul_overflow(a, b, &out);
}
[[nodiscard]] inline bool AddSizes(std::size_t a, std::size_t b, std::size_t& out) {
    return !__builtin_add_overflow(a, b, &out);
}

// A default-constructed record on the heap; null when memory fails. DestroyRecord gives it back.
template <typename T>
[[nodiscard]] T* CreateRecord() {
    void* block = AllocateBytes(sizeof(T));
    return block ? new (block) T() : nullptr;
}
template <typename T>
void DestroyRecord(T* record) {
    if (!record) return;
    record->~T();
    ReleaseBytes(record);
}

}  // namespace tally
