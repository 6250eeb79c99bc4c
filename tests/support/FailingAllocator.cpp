#include "support/FailingAllocator.h"

#include <cstdlib>
#include <cstring>

namespace tally::test {
namespace {

struct BlockHead {
    std::size_t bytes;
    std::size_t unused;
};

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
    auto* head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + bytes));
    if (!head) return nullptr;
    head->bytes = bytes;
    ++counters.live;
    std::memset(head + 1, 0xCD, bytes);
    return head + 1;
}

void Release(void* block) {
    if (!block) return;
    BlockHead* head = static_cast<BlockHead*>(block) - 1;
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
