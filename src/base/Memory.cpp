#include "base/Memory.h"

#include <cstdlib>
#include <cstring>

namespace tally {
namespace {

const AllocatorTable systemAllocator = {std::malloc, std::realloc, std::free};

struct MemoryState {
    const AllocatorTable* table = &systemAllocator;
    OutOfMemoryNotice notice = nullptr;
    int quietDepth = 0;
    u64 failures = 0;
};

MemoryState state;

void ReportFailure() {
    ++state.failures;
    if (state.notice && state.quietDepth == 0) state.notice();
}

}  // namespace

void SetAllocator(const AllocatorTable* table) { state.table = table ? table : &systemAllocator; }

void SetOutOfMemoryNotice(OutOfMemoryNotice notice) { state.notice = notice; }

void* AllocateBytes(std::size_t bytes) {
    void* block = state.table->allocate(bytes ? bytes : 1);
    if (!block) ReportFailure();
    return block;
}

void* AllocateZeroed(std::size_t bytes) {
    void* block = AllocateBytes(bytes);
    if (block) std::memset(block, 0, bytes);
    return block;
}

void* ReallocateBytes(void* block, std::size_t bytes) {
    void* moved = state.table->reallocate(block, bytes ? bytes : 1);
    if (!moved) ReportFailure();
    return moved;
}

void ReleaseBytes(void* block) {
    if (block) state.table->release(block);
}

u64 FailedAllocations() { return state.failures; }

QuietMemoryScope::QuietMemoryScope() { ++state.quietDepth; }
QuietMemoryScope::~QuietMemoryScope() { --state.quietDepth; }

}  // namespace tally
