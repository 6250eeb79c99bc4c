#include "formula/FormulaText.h"

#include <initializer_list>
#include <tuple>
#include <vector>

#include "formula/Compiler.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using Bytes = std::vector<u8>;

class PrintedTokens : public Sandbox {
  protected:
    // Of the cell C4.
    static std::string Text(const Bytes& bytes, const Bytes& extra = {}, bool useA1 = true) {
        FormulaTokens tokens;
        EXPECT_TRUE(MakeTokens(tokens, ByteView(bytes.data(), static_cast<u32>(bytes.size())),
                               ByteView(extra.data(), static_cast<u32>(extra.size()))));
        WideText text;
        EXPECT_TRUE(FormulaToText(CurrentBook(), tokens, 3, 2, useA1, text));
        FreeTokens(tokens);
        return Narrow(text);
    }
    struct Row {
        Bytes bytes;
        const char* text;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Text(row.bytes), row.text);
    }
};

TEST_F(PrintedTokens, OperatorsStandBetweenBeforeAndBehindTheirOperands) {
    const char* operators[] = {"+", "-", "*", "/", "^", "&", "<", "<=", "=", ">=", ">", "<>", " ", ",", ":"};
    u8 token = 3;
    for (const char* sign : operators)
        EXPECT_EQ(Text({0x1E, 1, 0, 0x1E, 2, 0, token++}), "=1" + std::string(sign) + "2");
    Check({{{0x1E, 1, 0, 0x12}, "=+1"},
           {{0x1E, 1, 0, 0x13}, "=-1"},
           {{0x1E, 1, 0, 0x14}, "=1%"},
           {{0x1E, 1, 0, 0x15}, "=(1)"},
           {{0x1E, 1, 0, 0x1E, 2, 0, 0x1E, 3, 0, 0x05, 0x03}, "=1+2*3"}});
}

TEST_F(PrintedTokens, Constants) {
    Check({{{0x1E, 0x39, 0x30}, "=12345"},
           {{0x1F, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, "=1.5"},
           {{0x1D, 1}, "=TRUE"},
           {{0x1D, 0}, "=FALSE"},
           {{0x1C, 0x2A}, "=#N/A"},
           {{0x1C, 0x17}, "=#REF!"},
           {{0x17, 3, 0, 'a', '"', 'b'}, "=\"a\"\"b\""},
           {{0x17, 2, 1, 0x68, 0x88, 'x', 0}, "=\"表x\""},
           {{0x17, 0, 0}, "=\"\""},
           {{0x16}, "="}});
}

TEST_F(PrintedTokens, ElementsOfArraysFollowEachOtherByRows) {
    const Bytes extra = {1,    1,    0,                               // two columns, two rows
                         1,    0,    0, 0, 0,    0,   0, 0xF8, 0x3F,  // 1.5
                         2,    1,    0, 0, 'a',                       // a narrow text
                         4,    1,    0, 0, 0,    0,   0, 0,    0,     // TRUE
                         0x10, 0x2A, 0, 0, 0,    0,   0, 0,    0,     // #N/A
                         0,    0,    0,                               // the next one: one element
                         2,    1,    0, 1, 0x68, 0x88};               // a wide text
    const Bytes array = {0x20, 0, 0, 0, 0, 0, 0, 0};
    Bytes both = array;
    both.insert(both.end(), array.begin(), array.end());
    both.push_back(0x08);
    EXPECT_EQ(Text(both, extra), "={1.5,\"a\";TRUE,#N/A}&{\"表\"}");
    EXPECT_EQ(Text(array, {}), "={}");
    EXPECT_EQ(Text(array, {0, 0, 0, 2, 9, 0, 0, 'a', 'b'}), "={\"ab\"}");
}

TEST_F(PrintedTokens, ReferencesWithOffsetsCountFromTheCell) {
    Check({{{0x44, 4, 0, 1, 0xC0}, "=B5"},
           {{0x44, 4, 0, 1, 0x40}, "=B$5"},
           {{0x44, 4, 0, 1, 0x80}, "=$B5"},
           {{0x45, 4, 0, 6, 0, 1, 0xC0, 2, 0}, "=B5:$C$7"},
           {{0x45, 4, 0, 6, 0, 1, 0, 2, 0xC0}, "=$B$5:C7"},
           {{0x4C, 0xFF, 0xFF, 1, 0xC0}, "=D3"},
           {{0x4C, 1, 0, 0xFF, 0xC0}, "=B5"},
           {{0x4C, 1, 0, 1, 0x80}, "=$B5"},
           {{0x4C, 1, 0, 1, 0x40}, "=D$2"},
           {{0x4D, 1, 0, 2, 0, 1, 0xC0, 3, 0xC0}, "=D5:F6"},
           {{0x4D, 1, 0, 2, 0, 1, 0x80, 3, 0x80}, "=$B5:$D6"},
           {{0x4D, 1, 0, 2, 0, 1, 0, 3, 0xC0}, "=$B$2:F6"}});
    EXPECT_EQ(Text({0x44, 4, 0, 1, 0xC0}, {}, false), "=R[1]C[-1]");
    EXPECT_EQ(Text({0x44, 4, 0, 1, 0}, {}, false), "=R5C2");
}

TEST_F(PrintedTokens, WhatIsLostIsAnErrorText) {
    Check({{{0x4A, 0, 0, 0, 0}, "=#REF!"},
           {{0x4B, 0, 0, 0, 0, 0, 0, 0, 0}, "=#REF!"},
           {{0x5C, 0, 0, 0, 0, 0, 0}, "=#REF!"},
           {{0x5D, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "=#REF!"},
           {{0x43, 1, 0, 0, 0}, "=#NAME?"},
           {{0x43, 0, 0, 0, 0}, "=#NAME?"},
           {{0x59, 0, 0, 1, 0, 0, 0}, "=#REF!"}});
    DefineName("first", "=1");
    DefineName("second", "=2");
    Check({{{0x43, 1, 0, 0, 0}, "=first"}, {{0x43, 2, 0, 0, 0}, "=second"}, {{0x43, 3, 0, 0, 0}, "=#NAME?"}});
}

TEST_F(PrintedTokens, CallsTakeTheirArgumentsInOrder) {
    DefineName("twice", "=1");
    Check({{{0x1E, 1, 0, 0x41, 24, 0}, "=ABS(1)"},
           {{0x41, 19, 0}, "=PI()"},
           {{0x1E, 1, 0, 0x1E, 2, 0, 0x42, 2, 4, 0}, "=SUM(1,2)"},
           {{0x1E, 1, 0, 0x16, 0x1E, 3, 0, 0x42, 3, 1, 0}, "=IF(1,,3)"},
           {{0x1E, 1, 0, 0x19, 0x10, 0, 0}, "=SUM(1)"},
           {{0x23, 1, 0, 0, 0, 0x1E, 1, 0, 0x1E, 2, 0, 0x42, 3, 0xFF, 0}, "=twice(1,2)"},
           {{0x23, 1, 0, 0, 0, 0x42, 1, 0xFF, 0}, "=twice()"}});
}

TEST_F(PrintedTokens, BlanksAreThoseThatStandBehindAnOperand) {
    Check({{{0x1E, 1, 0, 0x19, 0x40, 6, 3}, "=1   "},
           {{0x1E, 1, 0, 0x19, 0x41, 6, 2}, "=1  "},
           {{0x1E, 1, 0, 0x19, 0x40, 0, 3}, "=1"},
           {{0x19, 0x01, 0, 0, 0x1E, 1, 0}, "=1"}});
}

// What is cut off is not printed, and what stands before it is.
TEST_F(PrintedTokens, TokensThatAreCutOffPrintWhatStandsBefore) {
    for (const char* formula : {"=1+2.5*A1", "=SUM(A1:B2,Sheet1!C3)", "=-(A1%)&B2", "=Sheet1!A1:B2 C3",
                                "=#N/A=TRUE", "=PI()+MAX(1,,2)", "=ABS(A1)^2"}) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens whole;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', whole)) << formula;
        const auto printed = [&](u32 length) {
            FormulaTokens part;
            EXPECT_TRUE(MakeTokens(part, ByteView(whole.bytes, length), {}));
            WideText text;
            EXPECT_TRUE(FormulaToText(CurrentBook(), part, 0, 0, true, text));
            FreeTokens(part);
            return Narrow(text);
        };
        u32 last = 0;
        for (u32 length = 1; length <= whole.length; ++length) {
            u32 end = 0;
            while (end < length && NextToken(whole.bytes, whole.length, end) < length)
                end = NextToken(whole.bytes, whole.length, end) + 1;
            if (FoldToken(whole.bytes[end]) == ptgAttr) continue;
            EXPECT_EQ(printed(length), printed(end)) << formula << ' ' << length;
            last = end;
        }
        EXPECT_EQ(last, whole.length);
        EXPECT_EQ(printed(whole.length), formula);
        FreeTokens(whole);
    }
}

// Labels of natural-language formulas, as some files hold them.
TEST_F(PrintedTokens, ALabelPrintsAsItsCell) {
    Enter("C5", "Sales");
    Enter("D1", "12");
    for (u8 sub = 0; sub < 32; ++sub) {
        const bool isLabel = sub == 2 || sub == 3 || sub == 6 || sub == 7 || sub == 10;
        for (const auto& [row, column, text] : {std::tuple{4, 2, "=Sales"}, {0, 3, "=12"}, {9, 9, "="}}) {
            std::vector<u8> bytes = {ptgExtended, sub, static_cast<u8>(row), 0, static_cast<u8>(column), 0};
            bytes.resize(sub == 10 ? 15 : 6);
            FormulaTokens tokens;
            ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes.data(), bytes.size()), {}));
            WideText out;
            EXPECT_TRUE(FormulaToText(CurrentBook(), tokens, 0, 0, true, out));
            if (isLabel) EXPECT_EQ(Narrow(out), text) << int{sub};
            else EXPECT_EQ(Narrow(out).find("Sales"), std::string::npos) << int{sub};
            FreeTokens(tokens);
        }
    }
}

TEST_F(PrintedTokens, OffsetsArePrintedFromTheCellThatTheyAreMeantFrom) {
    const auto printed = [](std::vector<u8> bytes, i32 row, i32 column, bool useA1) {
        FormulaTokens tokens;
        EXPECT_TRUE(MakeTokens(tokens, ByteView(bytes.data(), bytes.size()), {}));
        WideText out;
        EXPECT_TRUE(FormulaToText(CurrentBook(), tokens, row, column, useA1, out));
        FreeTokens(tokens);
        return Narrow(out);
    };
    for (u8 nibble = 0; nibble < 16; ++nibble) {
        std::vector<u8> area(9), cell(5);
        area[0] = ptgAreaN;
        WriteAreaOperand(area.data() + 1, {2, 6, 3, 7}, nibble);
        const auto field = [&](u8 bit, i32 plain, i32 moved) { return nibble & bit ? moved : plain; };
        const i32 r1 = field(8, 2, 12), r2 = field(2, 6, 16), c1 = field(4, 3, 23), c2 = field(1, 7, 27);
        WideText expected;
        EXPECT_TRUE(expected.Append(u'=') && CellToText(r1, c1, !(nibble & 8), !(nibble & 4), expected) &&
                    expected.Append(u':') && CellToText(r2, c2, !(nibble & 2), !(nibble & 1), expected));
        EXPECT_EQ(printed(area, 10, 20, true), Narrow(expected)) << int{nibble};
    }
    std::vector<u8> cell(5);
    cell[0] = ptgRefN;
    WriteRefOperand(cell.data() + 1, 65535, 255, 12);
    EXPECT_EQ(printed(cell, 1, 1, true), "=A1");
    EXPECT_EQ(printed(cell, 5, 3, true), "=C5");
    EXPECT_EQ(printed(cell, 5, 3, false), "=R[-1]C[-1]");
}

}  // namespace
}  // namespace tally
