// Every test of the engine gives back what it got: tokens, values, kept records.

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/Memory.h"
#include "display/LocaleSettings.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

i64 live = 0;

void* Get(std::size_t bytes) {
    ++live;
    return std::malloc(bytes);
}
void* Change(void* block, std::size_t bytes) {
    live += !block;
    return std::realloc(block, bytes);
}
void Release(void* block) {
    live -= block != nullptr;
    std::free(block);
}
constexpr AllocatorTable counting = {Get, Change, Release};

// False when a test put an allocator of its own, which counts for itself.
bool IsCounting() {
    const i64 before = live;
    void* probe = AllocateBytes(1);
    const bool counted = live > before;
    ReleaseBytes(probe);
    return counted;
}

class LeakCheck : public testing::EmptyTestEventListener {
    // What a test leaves behind on purpose: the settings of the region, which the next one replaces.
    void OnTestProgramStart(const testing::UnitTest&) override {
        UseHeadlessPlatform();
        EXPECT_TRUE(ReadLocaleSettings());
        SetLocalFormats({});
        ResetHeadlessPlatform();
    }
    void OnTestStart(const testing::TestInfo&) override {
        SetAllocator(&counting);
        live = 0;
    }
    void OnTestEnd(const testing::TestInfo&) override {
        if (IsCounting()) EXPECT_EQ(live, 0) << "blocks that were not given back";
        SetAllocator(nullptr);
    }
};

const bool listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return true;
}();

}  // namespace
}  // namespace tally
