// Names of files between bytes and text, and what a message makes of them.

#include <gtest/gtest.h>

#include <string>

#include "base/Platform.h"
#include "base/Text.h"

namespace tally {
namespace {

std::string Back(WideView text) {
    Array<char> bytes;
    return PathFromWide(bytes, text) ? std::string(bytes.Data(), bytes.Count() - 1) : "refused";
}

std::u16string Escaped(WideView text) {
    WideText out;
    EXPECT_TRUE(AppendEscaped(out, text));
    return std::u16string(out.View());
}

TEST(PathText, EveryNameComesBackByteForByte) {
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            const std::string name = {'a', static_cast<char>(first), static_cast<char>(second)};
            WideText wide;
            ASSERT_TRUE(WideFromPath(wide, name));
            ASSERT_EQ(Back(wide), name) << first << " " << second;
        }
    }
    for (const std::string name :
         {"\xF0\x9F\x98\x80", "\xF0\x9F\x98", "\xED\xA0\x80", "\xED\xB2\x80z", "\xE0\x80\x80",
          "\xF4\x90\x80\x80", "\xC3\xA9\xC3", "\xF8\x88\x80\x80\x80"}) {
        WideText wide;
        ASSERT_TRUE(WideFromPath(wide, name));
        EXPECT_EQ(Back(wide), name);
    }
}

TEST(PathText, OnlyBytesThatAreNotUtf8StandAsLoneSurrogates) {
    WideText wide;
    ASSERT_TRUE(WideFromPath(wide, "\xC3\xA9\xE9\xF0\x9F\x98\x80\x80"));
    EXPECT_EQ(wide.View(), WideView(u"\x00E9\xDCE9\xD83D\xDE00\xDC80"));
}

TEST(PathText, WhatStoodThereBeforeIsGone) {
    WideText wide;
    Array<char> bytes;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(WideFromPath(wide, "ab") && PathFromWide(bytes, u"ab"));
        EXPECT_EQ(wide.View(), u"ab");
        EXPECT_EQ(bytes.Count(), 3u);
        ASSERT_TRUE(WideFromUtf8(wide, "cd"));
        EXPECT_EQ(wide.View(), u"cd");
    }
}

TEST(PathText, WhatNoNameCanBeIsRefused) {
    for (const WideView bad :
         {WideView(), WideView(u"a\0b", 3), WideView(u"\xD800"), WideView(u"a\xDBFFz"), WideView(u"\xDC00"),
          WideView(u"\xDC7F"), WideView(u"\xDD00"), WideView(u"\xDFFF")})
        EXPECT_EQ(Back(bad), "refused");
    EXPECT_EQ(Back(u"\xDC80"), "\x80");
    EXPECT_EQ(Back(u"\xDCFF"), "\xFF");
}

TEST(PathText, WhatWouldMoveTheCursorOrHideTextIsShown) {
    struct Row {
        WideView text, shown;
    };
    const Row rows[] = {
        {u"plain \x00E9 \x4E2D", u"plain \x00E9 \x4E2D"},
        {u"\xD83D\xDE00", u"\xD83D\xDE00"},
        {u"a\nb", u"a\\x0Ab"},
        {u"\x1B[0m", u"\\x1B[0m"},
        {u"\x1F\x20\x7E\x7F\x9F\xA0", u"\\x1F ~\\x7F\\x9F\xA0"},
        {u"\xDC80\xDCFF", u"\\x80\\xFF"},
        {u"\xD800", u"\\uD800"},
        {u"\xDD00", u"\\uDD00"},
        {u"\x200A\x200B\x200F\x2010", u"\x200A\\u200B\\u200F\x2010"},
        {u"\x2027\x2028\x202E\x202F", u"\x2027\\u2028\\u202E\x202F"},
        {u"\x205F\x2060\x206F\x2070\xFEFF", u"\x205F\\u2060\\u206F\x2070\\uFEFF"},
    };
    for (const Row& row : rows) EXPECT_EQ(Escaped(row.text), row.shown);
    WideText message;
    ASSERT_TRUE(FormatWith(message, u"no %s\nhere", u"a\nb"));
    EXPECT_EQ(message.View(), WideView(u"no a\\x0Ab\nhere"));
}

TEST(PathText, PathsToOtherMachinesAreKnown) {
    for (const WideView path :
         {WideView(u"\\\\host\\share"), WideView(u"//host/share"), WideView(u"\\/host"), WideView(u"smb://h"),
          WideView(u"file:///etc/a.csv"), WideView(u"http://h/a.xls"), WideView(u"//"), WideView(u"://")})
        EXPECT_TRUE(IsNetworkPath(path));
    for (const WideView path :
         {WideView(), WideView(u"/"), WideView(u"/home/a.xls"), WideView(u"a//b.xls"), WideView(u"C:\\a.xls"),
          WideView(u"a:/b"), WideView(u"\\a"), WideView(u"//h", 1), WideView(u"\\\\h", 1), WideView(u"/a//b")})
        EXPECT_FALSE(IsNetworkPath(path));
}

}  // namespace
}  // namespace tally
