#include "base/WideText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/SharedText.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

TEST(WideText, IsAlwaysTerminatedAndNeverNull) {
    WideText text;
    EXPECT_EQ(text.CStr()[0], 0);
    EXPECT_TRUE(text.IsEmpty());
    ASSERT_TRUE(text.Append(u'a'));
    EXPECT_EQ(text.CStr()[1], 0);
    ASSERT_TRUE(text.Append(u"bcd"));
    EXPECT_EQ(text.CStr()[4], 0);
    ASSERT_TRUE(text.AppendRun(u'x', 3));
    EXPECT_EQ(text.CStr()[7], 0);
    ASSERT_TRUE(text.AppendAscii("yz\xE9"));
    EXPECT_EQ(text.View(), u"abcdxxxyz\u00E9");
    EXPECT_EQ(text.CStr()[10], 0);
    text.Truncate(2);
    EXPECT_EQ(text.View(), u"ab");
    EXPECT_EQ(text.CStr()[2], 0);
    text.Truncate(5);
    EXPECT_EQ(text.Length(), 2u);
    text.Clear();
    EXPECT_EQ(text.Length(), 0u);
    EXPECT_EQ(text.CStr()[0], 0);
}

TEST(WideText, InsertsAndRemovesAndClampsPlaces) {
    WideText text;
    ASSERT_TRUE(text.Assign(u"abef"));
    ASSERT_TRUE(text.Insert(2, u"cd"));
    EXPECT_EQ(text.View(), u"abcdef");
    ASSERT_TRUE(text.Insert(99, u"g"));
    EXPECT_EQ(text.View(), u"abcdefg");
    text.Remove(1, 2);
    EXPECT_EQ(text.View(), u"adefg");
    text.Remove(3, 99);
    EXPECT_EQ(text.View(), u"ade");
    text.Remove(3, 1);
    text.Remove(9, 1);
    EXPECT_EQ(text.View(), u"ade");
    EXPECT_EQ(text.CStr()[3], 0);
}

TEST(WideText, TakesPartsOfItself) {
    WideText text;
    ASSERT_TRUE(text.Assign(u"abcdef"));
    ASSERT_TRUE(text.Insert(1, text.View().substr(2, 3)));
    EXPECT_EQ(text.View(), u"acdebcdef");
    ASSERT_TRUE(text.Assign(text.View().substr(4)));
    EXPECT_EQ(text.View(), u"bcdef");
    EXPECT_EQ(text.CStr()[5], 0);
    ASSERT_TRUE(text.Append(text.View()));
    EXPECT_EQ(text.View(), u"bcdefbcdef");
    ASSERT_TRUE(text.Assign(WideView()));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(WideText, MovesAndLeavesNothing) {
    WideText one, two;
    ASSERT_TRUE(one.Assign(u"one") && two.Assign(u"two"));
    WideText three(std::move(one));
    EXPECT_TRUE(one.IsEmpty());
    ASSERT_TRUE(one.Assign(u"again"));
    three = std::move(two);
    EXPECT_EQ(three.View(), u"two");
    EXPECT_TRUE(two.IsEmpty());
    WideText& same = three;
    three = std::move(same);
    EXPECT_EQ(three.View(), u"two");
}

TEST(WideText, ARefusedGrowthLeavesTheText) {
    test::FailingAllocator allocator(0, true);
    {
        WideText text;
        ASSERT_TRUE(text.Assign(u"abc"));
        ASSERT_TRUE(text.Reserve(3));
        allocator.FailAt(1);
        EXPECT_FALSE(text.Append(u'd'));
        EXPECT_FALSE(text.Append(u"d"));
        EXPECT_FALSE(text.AppendRun(u'd', 1));
        EXPECT_FALSE(text.AppendAscii("d"));
        EXPECT_FALSE(text.Insert(0, u"d"));
        EXPECT_FALSE(text.Assign(u"defg"));
        EXPECT_EQ(text.View(), u"abc");
        EXPECT_TRUE(text.Assign(u"xyz"));
        EXPECT_EQ(text.View(), u"xyz");
        allocator.StopFailing();
        EXPECT_FALSE(text.Reserve(0x7FFFFFF1u));
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

// In texts without a unit to spare, what is moved or written too far lands outside.
TEST(WideText, EveryPlaceAndCountStaysInside) {
    constexpr WideView whole = u"abcdefgh";
    test::FailingAllocator allocator;
    for (std::size_t place = 0; place <= whole.size() + 2; ++place) {
        const std::size_t at = std::min(place, whole.size());
        for (std::size_t count = 0; count <= whole.size() + 2; ++count) {
            WideText text;
            ASSERT_TRUE(text.Reserve(whole.size()) && text.Assign(whole));
            std::u16string wanted(whole);
            text.Remove(place, count);
            wanted.erase(at, count);
            ASSERT_EQ(text.View(), wanted) << place << " " << count;
            ASSERT_EQ(text.CStr()[wanted.size()], 0);
            if (count > whole.size()) continue;
            WideText own, other, run;
            wanted = std::u16string(whole).insert(at, whole.substr(0, count));
            ASSERT_TRUE(own.Assign(whole) && own.Insert(place, own.View().substr(0, count)));
            ASSERT_TRUE(other.Reserve(wanted.size()) && other.Assign(whole) &&
                        other.Insert(place, whole.substr(0, count)));
            EXPECT_EQ(own.View(), wanted);
            EXPECT_EQ(other.View(), wanted);
            EXPECT_EQ(other.CStr()[wanted.size()], 0);
            ASSERT_TRUE(run.Assign(whole.substr(at)) && run.AppendRun(u'x', count) &&
                        run.AppendAscii(std::string(count, 'y')));
            EXPECT_EQ(run.View(), std::u16string(whole.substr(at)) + std::u16string(count, u'x') +
                                      std::u16string(count, u'y'));
            ASSERT_TRUE(own.Assign(whole) && own.Assign(own.View().substr(at, count)));
            EXPECT_EQ(own.View(), whole.substr(at, count));
            own.Truncate(count / 2);
            EXPECT_EQ(own.View(), whole.substr(at, count).substr(0, count / 2));
            EXPECT_EQ(own.CStr()[own.Length()], 0);
        }
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(SharedText, IsGivenBackWithItsLastUser) {
    test::FailingAllocator allocator(0, false);
    TextBlock* text = MakeText(u"abc");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->users, 1u);
    EXPECT_EQ(text->characters[3], 0);
    EXPECT_EQ(RetainText(text), text);
    EXPECT_EQ(text->users, 2u);
    ReleaseText(text);
    EXPECT_EQ(TextView(text), u"abc");
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
    ReleaseText(text);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    ReleaseText(nullptr);
    EXPECT_EQ(TextView(nullptr), WideView());
}

TEST(SharedText, TheEmptyTextNeedsNoMemory) {
    test::FailingAllocator allocator(0, true);
    allocator.FailAt(1);
    TextBlock* empty = MakeText(u"");
    EXPECT_EQ(empty, EmptyText());
    EXPECT_EQ(TextView(empty), u"");
    for (int i = 0; i < 3; ++i) ReleaseText(empty);
    EXPECT_EQ(TextView(EmptyText()), u"");
    EXPECT_FALSE(MakeText(u"x"));
}

TEST(SharedText, GrowsInPlaceForItsOnlyUser) {
    test::FailingAllocator allocator(0, false);
    TextBlock* text = ExtendText(MakeText(u"ab"), u"cd");
    ASSERT_TRUE(text);
    EXPECT_EQ(TextView(text), u"abcd");
    EXPECT_EQ(text->characters[4], 0);
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
    RetainText(text);
    TextBlock* longer = ExtendText(text, u"e");
    ASSERT_TRUE(longer && longer != text);
    EXPECT_EQ(TextView(text), u"abcd");
    EXPECT_EQ(TextView(longer), u"abcde");
    EXPECT_EQ(text->users, 1u);
    EXPECT_EQ(ExtendText(text, u""), text);
    // Its own end behind itself.
    longer = ExtendText(longer, TextView(longer).substr(3));
    ASSERT_TRUE(longer);
    EXPECT_EQ(TextView(longer), u"abcdede");
    // All of itself behind itself.
    longer = ExtendText(longer, TextView(longer));
    ASSERT_TRUE(longer);
    EXPECT_EQ(TextView(longer), u"abcdedeabcdede");
    ReleaseText(longer);
    ReleaseText(text);
    TextBlock* fromEmpty = ExtendText(EmptyText(), u"z");
    ASSERT_TRUE(fromEmpty);
    EXPECT_EQ(TextView(fromEmpty), u"z");
    EXPECT_EQ(TextView(EmptyText()), u"");
    ReleaseText(fromEmpty);
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(SharedText, WhatCannotGrowIsGivenBack) {
    test::FailingAllocator allocator(0, true);
    TextBlock* text = MakeText(u"ab");
    allocator.FailAt(1);
    EXPECT_FALSE(ExtendText(text, u"cd"));
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    allocator.StopFailing();
    EXPECT_FALSE(MakeTextRoom(0x1000000));
    TextBlock* most = MakeTextRoom(0xFFFFFF);
    ASSERT_TRUE(most);
    EXPECT_FALSE(ExtendText(most, u"x"));
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

}  // namespace
}  // namespace tally
