#pragma once
// An allocator that counts, always moves on growth, can fail the n-th allocation, and tells what writes behind
// a block.

#include "base/Memory.h"

namespace tally::test {

// In force from construction to destruction. Everything allocated under it must be released under it.
class FailingAllocator {
  public:
    // failAt 0 never fails; 1 fails the first allocation or growth, and so on. `forEver` fails all
    // that follow as well.
    explicit FailingAllocator(u64 failAt = 0, bool forEver = false);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    u64 Requests() const;    // allocations and growths asked for
    u64 LiveBlocks() const;  // blocks not yet released
    bool HasFailed() const;
    void StopFailing();
    void FailAt(u64 request);  // fails the request of that number, counted from now on
};

}  // namespace tally::test
