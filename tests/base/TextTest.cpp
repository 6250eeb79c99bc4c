#include "base/Text.h"

#include <gtest/gtest.h>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Platform.h"

namespace tally {
namespace {

std::u16string FromUtf8(std::string_view bytes) {
    WideText text;
    EXPECT_TRUE(WideFromUtf8(text, bytes));
    return std::u16string(text.View());
}
std::string ToUtf8(WideView text) {
    std::string bytes(Utf8Length(text), '?');
    EXPECT_EQ(Utf8FromWide(text, bytes.data()), bytes.size());
    return bytes;
}

TEST(Text, CharacterClassesAndCases) {
    struct Row {
        char16_t c, upper, lower;
        bool letter, digit;
    };
    const Row rows[] = {{u'a', u'A', u'a', true, false},        {u'z', u'Z', u'z', true, false},
                        {u'A', u'A', u'a', true, false},        {u'Z', u'Z', u'z', true, false},
                        {u'`', u'`', u'`', false, false},       {u'{', u'{', u'{', false, false},
                        {u'@', u'@', u'@', false, false},       {u'[', u'[', u'[', false, false},
                        {u'0', u'0', u'0', false, true},        {u'9', u'9', u'9', false, true},
                        {u'/', u'/', u'/', false, false},       {u':', u':', u':', false, false},
                        {u'é', u'É', u'é', true, false},        {u'Я', u'Я', u'я', true, false},
                        {u'ß', u'ß', u'ß', true, false},        {u'中', u'中', u'中', true, false},
                        {0xD83D, 0xD83D, 0xD83D, false, false}, {u'€', u'€', u'€', false, false}};
    for (const Row& row : rows) {
        EXPECT_EQ(UpperChar(row.c), row.upper) << u32{row.c};
        EXPECT_EQ(LowerChar(row.c), row.lower) << u32{row.c};
        EXPECT_EQ(IsLetterChar(row.c), row.letter) << u32{row.c};
        EXPECT_EQ(IsAlphanumericChar(row.c), row.letter || row.digit) << u32{row.c};
        EXPECT_EQ(IsAsciiDigit(row.c), row.digit);
        EXPECT_EQ(IsAsciiLetter(row.c), row.letter && row.c < 128);
        EXPECT_EQ(AsciiUpper(row.c), row.c < 128 ? row.upper : row.c);
        EXPECT_EQ(AsciiLower(row.c), row.c < 128 ? row.lower : row.c);
    }
    EXPECT_TRUE(IsBlankChar(u' '));
    EXPECT_FALSE(IsBlankChar(u'\t'));
    EXPECT_EQ(FoldChar(u'Σ'), FoldChar(u'ς'));
}

TEST(Text, ComparesWithoutCase) {
    struct Row {
        WideView a, b;
        int order;
    };
    const Row rows[] = {{u"", u"", 0},       {u"abc", u"ABC", 0}, {u"abc", u"ABD", -1}, {u"b", u"A", 1},
                        {u"ab", u"ABC", -1}, {u"abc", u"AB", 1},  {u"ÉTÉ", u"été", 0},  {u"a", u"", 1},
                        {u"_", u"a", -1},    {u"_", u"A", -1}};
    for (const Row& row : rows) {
        const int order = CompareIgnoringCase(row.a, row.b);
        EXPECT_EQ(order < 0 ? -1 : order > 0, row.order);
        EXPECT_EQ(EqualIgnoringCase(row.a, row.b), row.order == 0);
        if (!row.order) EXPECT_EQ(HashIgnoringCase(row.a), HashIgnoringCase(row.b));
    }
    EXPECT_NE(HashIgnoringCase(u"ab"), HashIgnoringCase(u"ba"));
    EXPECT_TRUE(StartsWithIgnoringCase(u"General;x", u"GENERAL"));
    EXPECT_TRUE(StartsWithIgnoringCase(u"a", u""));
    EXPECT_FALSE(StartsWithIgnoringCase(u"Gener", u"GENERAL"));
    EXPECT_FALSE(StartsWithIgnoringCase(u"xGeneral", u"GENERAL"));
}

TEST(Text, CollatesWordsAsALanguageDoes) {
    SetCollationLocale("en-US");
    EXPECT_EQ(CollateText(u"a", u"A"), 0);
    EXPECT_LT(CollateText(u"a", u"B"), 0);
    EXPECT_GT(CollateText(u"b 1", u"A 2"), 0);
    EXPECT_LT(CollateText(u"é", u"f"), 0);
    EXPECT_GT(CollateText(u"é", u"e"), 0);
    EXPECT_LT(CollateText(u"ö", u"z"), 0);
    SetCollationLocale("sv-SE");
    EXPECT_GT(CollateText(u"ö", u"z"), 0);
    SetCollationLocale("zh-CN");
    EXPECT_LT(CollateText(u"北京", u"上海"), 0);
    SetCollationLocale(nullptr);
    EXPECT_EQ(CollateText(u"x", u"x"), 0);
}

TEST(Text, Utf8ReadsWhatIsWellFormedAndMarksTheRest) {
    struct Row {
        std::string_view bytes;
        WideView text;
    };
    const Row rows[] = {
        {"", u""},
        {"az~\x7F", u"az~\u007F"},
        {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {"\xC1\xBF", u"\uFFFD\uFFFD"},    // two bytes for what needs one
        {"\xE0\x9F\xBF", u"\uFFFD"},      // three for what needs two
        {"\xF0\x8F\xBF\xBF", u"\uFFFD"},  // four for what needs three
        {"\xED\xA0\x80", u"\uFFFD"},      // a surrogate
        {"\xED\xBF\xBF", u"\uFFFD"},
        {"\xF4\x90\x80\x80", u"\uFFFD"},  // beyond the last
        {"\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"a\x80z", u"a\uFFFDz"},
        {"\xE4\xB8", u"\uFFFD"},  // cut off
        {"\xE4\xB8z", u"\uFFFDz"},
        {"\xE4z", u"\uFFFDz"},
    };
    for (const Row& row : rows) EXPECT_EQ(FromUtf8(row.bytes), row.text) << row.bytes;
    WideText text;
    ASSERT_TRUE(text.Assign(u"x") && AppendUtf8(text, "yz"));
    EXPECT_EQ(text.View(), u"xyz");
}

TEST(Text, Utf8WritesEveryLengthAndMarksLoneHalves) {
    EXPECT_EQ(ToUtf8(u"a\u007F\u0080\u07FF\u0800\uD7FF\uFFFF"),
              "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF");
    EXPECT_EQ(ToUtf8(u"\U00010000\U0010FFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    const char16_t halves[] = {0xD800, u'a', 0xDC00, 0xDFFF, 0xDBFF};
    EXPECT_EQ(ToUtf8({halves, 5}),
              "\xEF\xBF\xBD"
              "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    for (u32 c = 1; c < 0x10000; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        const char16_t one = static_cast<char16_t>(c);
        ASSERT_EQ(FromUtf8(ToUtf8({&one, 1})), std::u16string(1, one)) << c;
    }
}

TEST(Text, PathsEndAtTheLastSeparator) {
    struct Row {
        WideView path, directory, name;
    };
    for (const Row& row : {Row{u"/a/b.xls", u"/a/", u"b.xls"}, Row{u"c:\\a\\b.xls", u"c:\\a\\", u"b.xls"},
                           Row{u"b.xls", u"", u"b.xls"}, Row{u"/a/", u"/a/", u""}, Row{u"", u"", u""},
                           Row{u"a\\b/c", u"a\\b/", u"c"}}) {
        EXPECT_EQ(DirectoryOf(row.path), row.directory);
        EXPECT_EQ(FileNameOf(row.path), row.name);
    }
}

TEST(Text, APatternTakesOneText) {
    WideText out;
    ASSERT_TRUE(FormatWith(out, u"a %s b %s", u"x"));
    EXPECT_EQ(out.View(), u"a x b %s");
    ASSERT_TRUE(FormatWith(out, u"plain", u"x"));
    EXPECT_EQ(out.View(), u"plain");
    ASSERT_TRUE(FormatWith(out, u"%s", u"%s"));
    EXPECT_EQ(out.View(), u"%s");
}

TEST(Numbers, PlainTextIsReadWhole) {
    struct Row {
        std::string_view text;
        bool good;
        double value;
    };
    for (const Row& row : {Row{"1", true, 1}, Row{"+1.5", true, 1.5}, Row{"-2e3", true, -2000},
                           Row{"", false, 0}, Row{"+", false, 0}, Row{"1 ", false, 0}, Row{" 1", false, 0},
                           Row{"1x", false, 0}, Row{".5", true, 0.5}, Row{"1,5", false, 0}}) {
        double value = 0;
        EXPECT_EQ(ReadPlainNumber(row.text, value), row.good) << row.text;
        if (row.good) EXPECT_EQ(value, row.value);
    }
}

TEST(Numbers, PrintFixedShortestAndIntegers) {
    char text[FIXED_TEXT_ROOM];
    EXPECT_EQ(std::string(text, PrintFixed(1.005, 2, text)), "1.00");
    EXPECT_EQ(std::string(text, PrintFixed(-0.5, 0, text)), "-0");
    EXPECT_EQ(PrintFixed(-1.7e308, 323, text), 1u + 309 + 1 + 323);
    EXPECT_EQ(std::string(text, PrintShortest(0.1, text)), "0.1");
    EXPECT_EQ(std::string(text, PrintInteger(-9223372036854775807LL - 1, text)), "-9223372036854775808");
    WideText out;
    ASSERT_TRUE(AppendInteger(out, 12) && AppendInteger(out, -3));
    EXPECT_EQ(out.View(), u"12-3");
}

TEST(Numbers, MulDivHasTheWholeRange) {
    struct Row {
        i32 a, b, c, result;
    };
    const Row rows[] = {{3, 1, 2, 2},
                        {-3, 1, 2, -2},
                        {3, -1, 2, -2},
                        {3, 1, -2, -2},
                        {-3, 1, -2, 2},
                        {1, 1, 3, 0},
                        {2, 1, 3, 1},
                        {0, 5, 7, 0},
                        {0x7FFFFFFF, 1, 1, 0x7FFFFFFF},
                        {-0x7FFFFFFF - 1, 1, 1, -0x7FFFFFFF - 1},
                        {-0x7FFFFFFF - 1, -1, 1, -1},
                        {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF},
                        {100, 96, 72, 133},
                        {5, 5, 0, -1}};
    for (const Row& row : rows)
        EXPECT_EQ(MulDiv(row.a, row.b, row.c), row.result) << row.a << ' ' << row.b << ' ' << row.c;
}

// The labels of the undo list, by kind, and the categories of functions stand at fixed numbers.
TEST(Messages, LabelsAndCategoriesStandAtTheirNumbers) {
    const WideView labels[] = {
        u"键入",         u"清除",       u"剪切",       u"粘贴",           u"删除行",         u"删除列",
        u"删除工作表",   u"删除图表",   u"插入单元格", u"插入行",         u"插入列",         u"插入工作表",
        u"插入图表",     u"插入名称",   u"更新名称",   u"删除名称",       u"单元格格式",     u"行高",
        u"隐藏行",       u"取消隐藏行", u"列宽",       u"隐藏列",         u"取消隐藏列",     u"标准列宽",
        u"重命名工作表", u"网格线",     u"行号列标",   u"显示比例",       u"保护",           u"冻结窗格",
        u"撤消窗口冻结", u"排序",       u"删除宏表",   u"插入宏表",       u"公式",           u"删除单元格",
        u"向下填充",     u"向右填充",   u"向上填充",   u"向左填充",       u"以序列方式填充", u"替换",
        u"插入批注",     u"编辑批注",   u"隐藏工作表", u"取消隐藏工作表", u"数据有效性",     u"设置条件格式",
        u"单变量求解",   u"超级链接",   u"数据项",     u"对象格式",       u"移动对象",       u"调整对象",
        u"插入对象",     u"删除对象",   u"移动工作表", u"复制工作表",     u"列中的文本"};
    ASSERT_EQ(std::size(labels), 59u);
    for (u16 kind = 0; kind < std::size(labels); ++kind)
        EXPECT_EQ(Message(static_cast<u16>(MSG_UNDO_FIRST + kind)), labels[kind]);
    const WideView categories[] = {u"全部",       u"财务",   u"日期与时间", u"数学与三角函数", u"统计",
                                   u"查找与弟用", u"数据库", u"文本",       u"逻辑",           u"信息",
                                   u"科学记数",   u"宏控件", u"宏命令"};
    for (u16 i = 0; i < std::size(categories); ++i)
        EXPECT_EQ(Message(static_cast<u16>(MSG_CATEGORY_FIRST + i)), categories[i]);
    EXPECT_EQ(Message(0), WideView());
    EXPECT_EQ(Message(675), WideView());
    EXPECT_EQ(Message(0xFFFF), WideView());
}

}  // namespace
}  // namespace tally
