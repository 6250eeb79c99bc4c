#include "base/Memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/Number.h"
#include "base/Platform.h"
#include "base/SharedText.h"
#include "base/Text.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

// What the allocator is asked for, and what it gives.
struct Asked {
    std::vector<std::size_t> allocated, reallocated;
    u32 released = 0;
    bool fails = false;
    u32 notices = 0;
};
Asked asked;

const AllocatorTable recording = {[](std::size_t bytes) -> void* {
                                      asked.allocated.push_back(bytes);
                                      if (asked.fails) return nullptr;
                                      void* block = std::malloc(bytes);
                                      if (block) std::memset(block, 0xAB, bytes);
                                      return block;
                                  },
                                  [](void* block, std::size_t bytes) -> void* {
                                      asked.reallocated.push_back(bytes);
                                      return asked.fails ? nullptr : std::realloc(block, bytes);
                                  },
                                  [](void* block) {
                                      ++asked.released;
                                      std::free(block);
                                  }};

class MemoryPair : public testing::Test {
  protected:
    void SetUp() override {
        asked = Asked();
        SetAllocator(&recording);
        SetOutOfMemoryNotice([] { ++asked.notices; });
    }
    void TearDown() override {
        SetAllocator(nullptr);
        SetOutOfMemoryNotice(nullptr);
    }
};

TEST_F(MemoryPair, AsksTheTableForWhatIsWantedAndAtLeastForOneByte) {
    void* first = AllocateBytes(24);
    void* none = AllocateBytes(0);
    void* grown = ReallocateBytes(ReallocateBytes(nullptr, 0), 48);
    EXPECT_EQ(asked.allocated, (std::vector<std::size_t>{24, 1}));
    EXPECT_EQ(asked.reallocated, (std::vector<std::size_t>{1, 48}));
    for (void* block : {first, none, grown}) ReleaseBytes(block);
    EXPECT_EQ(asked.released, 3u);
    ReleaseBytes(nullptr);
    EXPECT_EQ(asked.released, 3u);
    EXPECT_EQ(asked.notices, 0u);
    // The ordinary allocator again.
    SetAllocator(nullptr);
    ReleaseBytes(AllocateBytes(8));
    EXPECT_EQ(asked.allocated.size(), 2u);
}

TEST_F(MemoryPair, ZeroedBytesAreZero) {
    auto* bytes = static_cast<u8*>(AllocateZeroed(40));
    ASSERT_NE(bytes, nullptr);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(bytes[i], 0) << i;
    ReleaseBytes(bytes);
    asked.fails = true;
    EXPECT_EQ(AllocateZeroed(40), nullptr);
}

TEST_F(MemoryPair, EachFailureIsCountedAndToldUnlessItIsQuiet) {
    const u64 before = FailedAllocations();
    asked.fails = true;
    EXPECT_EQ(AllocateBytes(8), nullptr);
    EXPECT_EQ(asked.notices, 1u);
    EXPECT_EQ(ReallocateBytes(nullptr, 8), nullptr);
    EXPECT_EQ(asked.notices, 2u);
    {
        const QuietMemoryScope outer;
        {
            const QuietMemoryScope inner;
            EXPECT_EQ(AllocateBytes(8), nullptr);
        }
        EXPECT_EQ(AllocateBytes(8), nullptr);
        EXPECT_EQ(asked.notices, 2u);
    }
    EXPECT_EQ(AllocateBytes(8), nullptr);
    EXPECT_EQ(asked.notices, 3u);
    EXPECT_EQ(FailedAllocations(), before + 5);
    asked.fails = false;
    ReleaseBytes(AllocateBytes(8));
    EXPECT_EQ(asked.notices, 3u);
    EXPECT_EQ(FailedAllocations(), before + 5);
    // Nobody need listen.
    SetOutOfMemoryNotice(nullptr);
    asked.fails = true;
    EXPECT_EQ(AllocateBytes(8), nullptr);
}

TEST_F(MemoryPair, RecordsAreMadeAndGivenBack) {
    struct Record {
        i32 number = 7;
        u32* ended = nullptr;
        ~Record() {
            if (ended) ++*ended;
        }
    };
    u32 ended = 0;
    Record* record = CreateRecord<Record>();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->number, 7);
    record->ended = &ended;
    DestroyRecord(record);
    EXPECT_EQ(ended, 1u);
    EXPECT_EQ(asked.released, 1u);
    DestroyRecord<Record>(nullptr);
    EXPECT_EQ(asked.released, 1u);
    asked.fails = true;
    EXPECT_EQ(CreateRecord<Record>(), nullptr);
}

TEST_F(MemoryPair, SizesThatDoNotFitAreRefused) {
    std::size_t out = 0;
    EXPECT_TRUE(MultiplySizes(SIZE_MAX / 4, 4, out));
    EXPECT_EQ(out, SIZE_MAX / 4 * 4);
    EXPECT_FALSE(MultiplySizes(SIZE_MAX / 4 + 1, 4, out));
    EXPECT_TRUE(AddSizes(SIZE_MAX - 4, 4, out));
    EXPECT_FALSE(AddSizes(SIZE_MAX - 3, 4, out));
}

TEST_F(MemoryPair, SharedTextsTakeTheirCharactersOneZeroAndTheTail) {
    constexpr std::size_t head = offsetof(TextBlock, characters);
    TextBlock* text = MakeText(u"abc");
    TextBlock* tailed = MakeTextRoom(5, 7);
    EXPECT_EQ(asked.allocated, (std::vector<std::size_t>{head + 8, head + 12 + 7}));
    // The only user's text grows where it is; a part of itself, and a second user's, is put into a new one.
    text = ExtendText(text, u"de");
    EXPECT_EQ(asked.reallocated, (std::vector<std::size_t>{head + 12}));
    text = ExtendText(text, TextView(text).substr(0, 2));
    EXPECT_EQ(TextView(text), u"abcdeab");
    text = ExtendText(text, TextView(text).substr(6));
    EXPECT_EQ(TextView(text), u"abcdeabb");
    ASSERT_EQ(asked.allocated.size(), 4u);
    EXPECT_EQ(asked.allocated[2], head + 16);
    EXPECT_EQ(asked.allocated[3], head + 18);
    EXPECT_EQ(asked.reallocated.size(), 1u);
    TextBlock* longer = ExtendText(RetainText(text), u"x");
    EXPECT_EQ(asked.allocated.size(), 5u);
    EXPECT_EQ(asked.released, 2u);
    for (TextBlock* block : {text, tailed, longer}) ReleaseText(block);
    EXPECT_EQ(asked.released, 5u);
}

TEST_F(MemoryPair, TheEmptyTextIsNeverGrownWhereItIs) {
    TextBlock* empty = EmptyText();
    EXPECT_EQ(empty->characters[0], 0);
    empty->users = 1;
    TextBlock* text = ExtendText(empty, u"z");
    EXPECT_NE(text, EmptyText());
    EXPECT_EQ(TextView(text), u"z");
    EXPECT_TRUE(asked.reallocated.empty());
    ReleaseText(text);
    EXPECT_EQ(asked.released, 1u);
}

TEST_F(MemoryPair, WideTextsGrowByHalfAndAskForNoMoreThanIsNeeded) {
    std::vector<std::size_t> wanted;
    {
        WideText text;
        for (std::size_t room = 1; room < 43; room += room < 2 ? 1 : room / 2) wanted.push_back(2 * (room + 1));
        for (std::size_t i = 0; i < 30; ++i) ASSERT_TRUE(text.Append(u'x'));
        EXPECT_EQ(asked.reallocated, wanted);
        // What has room asks for nothing; what goes far beyond it gets just that.
        ASSERT_TRUE(text.Reserve(30) && text.Assign(u"abc"));
        ASSERT_TRUE(text.Append(u"def") && text.AppendRun(u'g', 20) && text.AppendAscii("hijk"));
        EXPECT_EQ(asked.reallocated, wanted);
        ASSERT_TRUE(text.Reserve(1000) && text.Reserve(1000) && text.Reserve(999));
        wanted.push_back(2002);
        EXPECT_EQ(asked.reallocated, wanted);
        asked.fails = true;
        EXPECT_FALSE(text.Reserve(0x7FFFFFF0u));
        EXPECT_EQ(asked.reallocated.back(), 2 * std::size_t{0x7FFFFFF1});
        wanted.push_back(asked.reallocated.back());
        EXPECT_FALSE(text.Reserve(0x7FFFFFF1u));
        EXPECT_FALSE(text.Reserve(SIZE_MAX));
        EXPECT_EQ(asked.reallocated, wanted);
        asked.fails = false;
        text.Clear();
        EXPECT_EQ(asked.released, 1u);
        // Even an empty text stands in memory once it has been reserved.
        ASSERT_TRUE(text.Reserve(0));
        EXPECT_NE(text.Data(), nullptr);
        WideText other;
        ASSERT_TRUE(other.Assign(u"x"));
        text = std::move(other);
        EXPECT_EQ(asked.released, 2u);
    }
    EXPECT_EQ(asked.released, 3u);
}

// ---- shared texts ---------------------------------------------------------------------------------------

TEST(SharedTextCount, CharactersOfLongTextsAreCountedWhileTheyLive) {
    const auto counted = LongTextCharacters;
    EXPECT_EQ(counted(), 0u);
    const std::u16string at(255, u'x'), beyond(256, u'x');
    TextBlock* shortText = MakeText(at);
    EXPECT_EQ(counted(), 0u);
    TextBlock* longText = MakeText(beyond);
    EXPECT_EQ(counted(), 256u);
    // Grown past the bound, then on.
    shortText = ExtendText(shortText, u"y");
    EXPECT_EQ(counted(), 512u);
    shortText = ExtendText(shortText, u"yz");
    EXPECT_EQ(counted(), 514u);
    ShortenText(*shortText, 256);
    EXPECT_EQ(counted(), 512u);
    ShortenText(*shortText, 255);
    EXPECT_EQ(counted(), 256u);
    // A second user counts nothing, and takes nothing along.
    ReleaseText(RetainText(longText));
    EXPECT_EQ(counted(), 256u);
    // With another user a longer one is made.
    TextBlock* kept = RetainText(longText);
    longText = ExtendText(longText, u"y");
    EXPECT_EQ(counted(), 513u);
    ReleaseText(kept);
    EXPECT_EQ(counted(), 257u);
    ReleaseText(longText);
    ReleaseText(shortText);
    EXPECT_EQ(counted(), 0u);
}

TEST(SharedTextCount, ATextHasATailUntilItsEndMoves) {
    TextBlock* text = MakeTextRoom(3, 5);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->length, 3u);
    EXPECT_EQ(text->users, 1u);
    EXPECT_EQ(text->characters[3], 0);
    for (u8 i = 0; i < 3; ++i) text->characters[i] = static_cast<char16_t>(u'a' + i);
    for (u8 i = 0; i < 5; ++i) TextTailBytes(text)[i] = i;
    ASSERT_EQ(TextTail(text).size(), 5u);
    EXPECT_EQ(TextTail(text)[4], 4);
    ShortenText(*text, 2);
    EXPECT_EQ(text->characters[2], 0);
    EXPECT_TRUE(TextTail(text).empty());
    ReleaseText(text);
    text = MakeTextRoom(1, 2);
    ASSERT_NE(text, nullptr);
    text->characters[0] = u'a';
    text = ExtendText(text, u"bc");
    EXPECT_EQ(WideView(text->characters, text->length), u"abc");
    EXPECT_EQ(text->characters[3], 0);
    EXPECT_TRUE(TextTail(text).empty());
    ReleaseText(text);
    EXPECT_TRUE(TextTail(nullptr).empty());
    EXPECT_EQ(MakeTextRoom(0x1000000), nullptr);
    EXPECT_EQ(MakeTextRoom(1, 0x1000000), nullptr);
    TextBlock* most = MakeTextRoom(1, 0xFFFFFF);
    ASSERT_NE(most, nullptr);
    EXPECT_EQ(TextTail(most).size(), 0xFFFFFFu);
    ReleaseText(most);
}

TEST(SharedTextCount, WhatWouldBeTooLongIsRefusedAndGivenBack) {
    test::FailingAllocator allocator;
    TextBlock* text = MakeTextRoom(0xFFFFFF);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(ExtendText(text, u""), text);
    EXPECT_EQ(ExtendText(text, u"y"), nullptr);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

// ---- what is compared and written when memory is short ----------------------------------------------------

TEST(ShortMemory, WordsAreComparedByTheirFoldedUnits) {
    SetCollationLocale("en-US");
    EXPECT_LT(CollateText(u"\u00E9", u"f"), 0);  // with the order of the language
    for (u64 n = 1; n <= 2; ++n) {
        test::FailingAllocator allocator(n);
        EXPECT_GT(CollateText(u"\u00E9", u"f"), 0) << n;
        EXPECT_TRUE(allocator.HasFailed());
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
    }
    SetCollationLocale(nullptr);
}

// Whatever makes a text says so when memory fails, at each of its requests, and leaks nothing.
TEST(ShortMemory, EveryRefusalIsTold) {
    using Making = bool (*)(WideText&, Array<char>&);
    const Making rows[] = {
        [](WideText& text, Array<char>&) { return WideFromUtf8(text, "a\u00E9\U0001F600\xFF"); },
        [](WideText& text, Array<char>&) { return AppendUtf8(text, "abc"); },
        [](WideText& text, Array<char>&) { return WideFromPath(text, "a\xFF\u00E9"); },
        [](WideText&, Array<char>& path) { return PathFromWide(path, u"a\u00E9b"); },
        [](WideText&, Array<char>& path) { return PathFromWide(path, u"abcdefgh"); },
        [](WideText& text, Array<char>&) { return AppendEscaped(text, u"ab\n\U0001F600\u200B"); },
        [](WideText& text, Array<char>&) { return AppendEscaped(text, u"\U0001F600"); },
        [](WideText& text, Array<char>&) { return AppendEscaped(text, u"\u200B"); },
        [](WideText& text, Array<char>&) { return AppendInteger(text, -12); },
        [](WideText& text, Array<char>&) { return FormatWith(text, u"a %s b", u"\n"); },
        [](WideText& text, Array<char>&) { return FormatWith(text, u"%s", u"a"); },
        [](WideText& text, Array<char>&) { return FormatWith(text, u"a", u"b"); },
        [](WideText& text, Array<char>&) { return text.Assign(u"abc") && text.Insert(1, text.View()); },
    };
    for (const Making& make : rows) {
        u64 requests = 0;
        {
            test::FailingAllocator allocator;
            WideText text;
            Array<char> path;
            EXPECT_TRUE(make(text, path)) << &make - rows;
            requests = allocator.Requests();
            EXPECT_GT(requests, 0u);
        }
        for (u64 n = 1; n <= requests; ++n) {
            test::FailingAllocator allocator(n);
            {
                WideText text;
                Array<char> path;
                EXPECT_FALSE(make(text, path)) << &make - rows << " " << n;
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << &make - rows << " " << n;
        }
    }
}

// Case is no difference, at any place; full and half width is one.
TEST(ShortMemory, CaseDoesNotHideLaterDifferences) {
    SetCollationLocale("en-US");
    EXPECT_GT(CollateText(u"\u00E9a\uFF42", u"\u00E9Ab"), 0);
    EXPECT_LT(CollateText(u"\u00E9ab", u"\u00E9A\uFF42"), 0);
    EXPECT_GT(CollateText(u"\u00E9\uFF42", u"\u00C9b"), 0);
    EXPECT_LT(CollateText(u"\u00C9b", u"\u00E9\uFF42"), 0);
    SetCollationLocale(nullptr);
}

}  // namespace
}  // namespace tally
