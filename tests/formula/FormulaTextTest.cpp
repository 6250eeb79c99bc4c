#include "formula/FormulaText.h"

#include <initializer_list>
#include <vector>

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

}  // namespace
}  // namespace tally
