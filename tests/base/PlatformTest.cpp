#include "base/Platform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FailingAllocator.h"

namespace tally {
namespace {

struct Box {
    std::u16string text, title;
    u32 flags;
};
std::vector<Box> boxes;

class Platforms : public testing::Test {
  protected:
    void SetUp() override {
        boxes.clear();
        before = &Platform();
        SetPlatform(nullptr);
    }
    void TearDown() override { SetPlatform(before); }
    // The empty platform with a box that is recorded.
    void Record() {
        recording = Platform();
        recording.messageBox = [](WideView text, WideView title, u32 flags) -> i32 {
            boxes.push_back({std::u16string(text), std::u16string(title), flags});
            return IDYES;
        };
        SetPlatform(&recording);
    }
    const PlatformTable* before = nullptr;
    PlatformTable recording;
};

// A world without files, with one locale, a fixed clock and nobody to ask.
TEST_F(Platforms, WithoutOneEveryOperationEndsHarmlessly) {
    const PlatformTable& none = Platform();
    Array<u8> bytes;
    WideText text;
    FileStamp stamp;
    EXPECT_FALSE(none.readFile(u"a", bytes));
    EXPECT_FALSE(none.fileExists(u"a"));
    EXPECT_EQ(none.createFile(u"a"), 0);
    EXPECT_FALSE(none.writeFile(1, "x", 1));
    EXPECT_FALSE(none.patchFile(1, 0, "x", 1));
    EXPECT_FALSE(none.closeFile(1));
    none.abandonFile(1);
    EXPECT_FALSE(none.programDirectory(text));
    EXPECT_EQ(none.readPlainFile({}, bytes, nullptr), READ_MISSING);
    EXPECT_FALSE(none.fileStamp(u"a", stamp));
    EXPECT_EQ(none.getACP(), 1252u);
    EXPECT_EQ(none.getTextCodePage(), 65001u);
    EXPECT_FALSE(none.isValidCodePage(1252));
    EXPECT_FALSE(none.isDBCSLeadByteEx(936, 0x81));
    EXPECT_FALSE(none.getLocaleInfo(14, text));
    EXPECT_STREQ(none.localeTag(), "en-US");
    EXPECT_EQ(none.clockSeconds(), 0u);
    EXPECT_EQ(none.messageBox(u"a", u"b", MB_OK), i32{IDCANCEL});
    u8 family = 9, charSet = 9;
    EXPECT_FALSE(none.findFontFace(u"Arial", family, charSet));
    EXPECT_EQ(none.trustState(FOREIGN_LINK), TRUST_CLOSED);
    SystemTime time = {9, 9, 9, 9, 9, 9, 9};
    none.getLocalTime(time);
    EXPECT_EQ(time.year, 2000);
    EXPECT_EQ(time.month, 1);
    EXPECT_EQ(time.day, 1);
    EXPECT_EQ(time.hour + time.minute + time.second + time.milliseconds, 0);
    ScreenMetrics metrics;
    none.getScreenMetrics(metrics);
    EXPECT_EQ(metrics.fontHeight, 16);
    EXPECT_EQ(metrics.internalLeading, 3);
    EXPECT_EQ(metrics.digitWidth, 7);
    EXPECT_EQ(metrics.logPixelsX, 96);
    EXPECT_EQ(metrics.logPixelsY, 96);
    EXPECT_EQ(metrics.family, 34);
    EXPECT_EQ(metrics.charSet, 0);
    EXPECT_TRUE(bytes.IsEmpty());
    EXPECT_TRUE(text.IsEmpty());
}

TEST_F(Platforms, WithoutOneTextIsLatin) {
    WideText text;
    const u8 latin[] = {'a', 0x80, 0xFF};
    const ByteView bytes = latin;
    ASSERT_TRUE(text.Assign(u"x") && Platform().multiByteToWideChar(1252, bytes, text));
    EXPECT_EQ(text.View(), u"xa\u0080\u00FF");
    Array<u8> narrow;
    ASSERT_TRUE(narrow.Append('x') && Platform().wideCharToMultiByte(1252, u"a\u00FF\u0100\u4E2D", narrow));
    ASSERT_EQ(narrow.Count(), 5u);
    EXPECT_EQ(narrow[0], 'x');
    EXPECT_EQ(narrow[1], 'a');
    EXPECT_EQ(narrow[2], 0xFF);
    EXPECT_EQ(narrow[3], '?');
    EXPECT_EQ(narrow[4], '?');
    test::FailingAllocator allocator(1, true);
    WideText none;
    Array<u8> nothing;
    EXPECT_FALSE(Platform().multiByteToWideChar(1252, bytes, none));
    EXPECT_FALSE(Platform().wideCharToMultiByte(1252, u"a", nothing));
}

TEST_F(Platforms, AMessageIsOneBoxWithTheNameOfTheProgram) {
    Record();
    ShowMessage(u"Hello");
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].text, u"Hello");
    EXPECT_EQ(boxes[0].title, u"Tallyman");
    EXPECT_EQ(boxes[0].flags, u32{MB_OK});
    ShowMessageWith(u"No %s\nhere", u"a\nb");
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[1].text, u"No a\\x0Ab\nhere");
    {
        test::FailingAllocator allocator(1, true);
        ShowMessageWith(u"No %s", u"a");
    }
    // Without memory the pattern has to do.
    ASSERT_EQ(boxes.size(), 3u);
    EXPECT_EQ(boxes[2].text, u"No %s");
}

TEST_F(Platforms, WhatIsDoneInTheBackgroundHasNoBoxes) {
    Record();
    {
        const QuietMessages outer;
        ShowMessage(u"1");
        {
            const QuietMessages inner;
            ShowMessage(u"2");
        }
        ShowMessage(u"3");
        ShowMessageWith(u"%s", u"4");
    }
    EXPECT_TRUE(boxes.empty());
    ShowMessage(u"5");
    EXPECT_EQ(boxes.size(), 1u);
}

TEST_F(Platforms, APlatformStandsUntilAnotherIsSet) {
    Record();
    EXPECT_EQ(&Platform(), &recording);
    SetPlatform(nullptr);
    EXPECT_NE(&Platform(), &recording);
    EXPECT_EQ(Platform().messageBox(u"", u"", 0), i32{IDCANCEL});
    EXPECT_TRUE(boxes.empty());
}

}  // namespace
}  // namespace tally
