#include "support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tally::test {
namespace {

struct BlockHead {
    std::size_t bytes;
    std::size_t unused;
};

// Behind each block, to see what writes over its end.
constexpr std::size_t FENCE_BYTES = 16;
constexpr unsigned char FENCE = 0x5A;

struct Counters {
    u64 requests = 0;
    u64 live = 0;
    u64 failAt = 0;
    bool forEver = false;
    bool failed = false;
};

Counters counters;

bool MustFail() {
    ++counters.requests;
    const bool fails = counters.failAt != 0 && (counters.forEver ? counters.requests >= counters.failAt
                                                                 : counters.requests == counters.failAt);
    counters.failed = counters.failed || fails;
    return fails;
}

void* PlainAllocate(std::size_t bytes) {
    auto* head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + bytes + FENCE_BYTES));
    if (!head) return nullptr;
    head->bytes = bytes;
    ++counters.live;
    std::memset(head + 1, 0xCD, bytes);
    std::memset(reinterpret_cast<unsigned char*>(head + 1) + bytes, FENCE, FENCE_BYTES);
    return head + 1;
}

void Release(void* block) {
    if (!block) return;
    BlockHead* head = static_cast<BlockHead*>(block) - 1;
    const auto* fence = static_cast<const unsigned char*>(block) + head->bytes;
    EXPECT_TRUE(std::all_of(fence, fence + FENCE_BYTES, [](unsigned char byte) { return byte == FENCE; }))
        << "something wrote behind a block of " << head->bytes << " bytes";
    std::memset(block, 0xDD, head->bytes);
    --counters.live;
    std::free(head);
}

void* Allocate(std::size_t bytes) { return MustFail() ? nullptr : PlainAllocate(bytes); }

void* Reallocate(void* block, std::size_t bytes) {
    if (MustFail()) return nullptr;
    void* moved = PlainAllocate(bytes);
    if (moved && block) {
        const std::size_t old = (static_cast<BlockHead*>(block) - 1)->bytes;
        std::memcpy(moved, block, old < bytes ? old : bytes);
        Release(block);
    }
    return moved;
}

const AllocatorTable table = {Allocate, Reallocate, Release};

}  // namespace

FailingAllocator::FailingAllocator(u64 failAt, bool forEver) {
    counters = Counters();
    counters.failAt = failAt;
    counters.forEver = forEver;
    SetAllocator(&table);
}
FailingAllocator::~FailingAllocator() { SetAllocator(nullptr); }
u64 FailingAllocator::Requests() const { return counters.requests; }
u64 FailingAllocator::LiveBlocks() const { return counters.live; }
bool FailingAllocator::HasFailed() const { return counters.failed; }
void FailingAllocator::StopFailing() { counters.failAt = 0; }
void FailingAllocator::FailAt(u64 request) { counters.failAt = counters.requests + request; }

}  // namespace tally::test
