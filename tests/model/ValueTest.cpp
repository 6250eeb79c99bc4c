#include "model/Value.h"

#include <cstring>

#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// ---- errors and truth ---------------------------------------------------------------------------------

TEST(Values, ErrorsHaveTheirTextsAndFileNumbers) {
    const struct {
        i32 error;
        WideView text;
        u8 code;
    } rows[] = {{ERR_NULL, u"#NULL!", 0}, {ERR_DIV0, u"#DIV/0!", 7}, {ERR_VALUE, u"#VALUE!", 15},
                {ERR_REF, u"#REF!", 23},  {ERR_NAME, u"#NAME?", 29}, {ERR_NUM, u"#NUM!", 36},
                {ERR_NA, u"#N/A", 42}};
    for (const auto& row : rows) {
        EXPECT_EQ(ErrorText(row.error), row.text);
        EXPECT_EQ(ErrorFromText(row.text), row.error);
        EXPECT_EQ(ErrorFromBiff(row.code), row.error);
        EXPECT_EQ(BiffFromError(row.error), row.code);
    }
    EXPECT_EQ(ErrorFromText(u"#ref!"), ERR_REF);
    EXPECT_EQ(ErrorFromText(u"#REF"), -1);
    for (const i32 wrong : {-1, 7, 100}) {
        EXPECT_EQ(ErrorText(wrong), u"#N/A");
        EXPECT_EQ(BiffFromError(wrong), 42);
    }
    EXPECT_EQ(ErrorFromBiff(8), ERR_NA);
    EXPECT_EQ(BoolText(true), u"TRUE");
    EXPECT_EQ(BoolText(false), u"FALSE");
    EXPECT_EQ(BoolValue(true).boolean, 1);
    EXPECT_EQ(BoolValue(false).boolean, 0);
}

// ---- what values own ----------------------------------------------------------------------------------

class OwnedValues : public testing::Test {
  protected:
    void TearDown() override { EXPECT_EQ(allocator.LiveBlocks(), 0u); }
    test::FailingAllocator allocator;
};

TEST_F(OwnedValues, ACopyOfATextIsOneMoreUserAndLivesOn) {
    Value text = TextValue(u"abc"), copy;
    CopyValue(copy, text);
    EXPECT_EQ(copy.text, text.text);
    FreeValue(text);
    EXPECT_EQ(TextOf(copy), u"abc");
    ClearValue(copy);
    EXPECT_EQ(copy.type, VT_EMPTY);
    EXPECT_EQ(OwnedTextValue(nullptr).error, ERR_NA);
}

TEST_F(OwnedValues, ATextPartsFromItsTailOrIsEmpty) {
    QuietMemoryScope quiet;
    for (const bool fails : {false, true}) {
        TextBlock* block = MakeTextRoom(2, 3);
        ASSERT_TRUE(block);
        std::copy_n(u"ab", 2, block->characters);
        std::fill_n(TextTailBytes(block), 3, u8{1});
        Value text = OwnedTextValue(block), copy;
        CopyValue(copy, text);
        if (fails) allocator.FailAt(1);
        EXPECT_EQ(MakePlainText(copy), !fails);
        allocator.StopFailing();
        // The first user keeps its text with the tail.
        EXPECT_EQ(text.text->users, 1u);
        EXPECT_EQ(TextTail(text.text).size(), 3u);
        EXPECT_EQ(copy.type, fails ? VT_EMPTY : VT_STRING);
        if (!fails) EXPECT_EQ(TextOf(copy), u"ab");
        if (!fails) EXPECT_TRUE(TextTail(copy.text).empty());
        ClearValue(copy);
        ClearValue(text);
    }
    Value plain = TextValue(u"x"), number = NumberValue(2);
    const TextBlock* kept = plain.text;
    EXPECT_TRUE(MakePlainText(plain) && MakePlainText(number));
    EXPECT_EQ(plain.text, kept);
    EXPECT_EQ(number.number, 2);
    FreeValue(plain);
}

TEST_F(OwnedValues, ACopyOfAnArrayHasItsOwnElements) {
    Value array = ArrayValue(2, 3), copy;
    ASSERT_EQ(array.type, VT_ARRAY);
    EXPECT_EQ(ArrayRows(array), 2u);
    EXPECT_EQ(array.columns, 3);
    ASSERT_EQ(ArrayElementCount(array), 6u);
    for (u32 i = 0; i < 6; ++i) EXPECT_EQ(array.elements[i].type, VT_EMPTY);
    array.elements[0] = NumberValue(1.5);
    array.elements[4] = TextValue(u"in");
    array.elements[5] = ErrorValue(ERR_NUM);
    CopyValue(copy, array);
    FreeValue(array);
    ASSERT_EQ(copy.type, VT_ARRAY);
    EXPECT_EQ(copy.elements[0].number, 1.5);
    EXPECT_EQ(TextOf(copy.elements[4]), u"in");
    EXPECT_EQ(copy.elements[5].error, ERR_NUM);
    SetError(copy, ERR_DIV0);
    EXPECT_EQ(copy.type, VT_ERROR);
    EXPECT_EQ(copy.error, ERR_DIV0);
}

TEST_F(OwnedValues, AnArrayHasOneTo65536RowsAnd65535Columns) {
    for (const auto& [rows, columns, good] : {std::tuple{0u, 1u, false},
                                              {1u, 0u, false},
                                              {65537u, 1u, false},
                                              {1u, 65536u, false},
                                              {65536u, 1u, true},
                                              {1u, 65535u, true},
                                              {1u, 1u, true}}) {
        Value array = ArrayValue(rows, columns);
        EXPECT_EQ(array.type == VT_ARRAY, good) << rows << " " << columns;
        EXPECT_EQ(array.type == VT_ERROR && array.error == ERR_NA, !good);
        if (good) {
            EXPECT_EQ(ArrayRows(array), rows);
            EXPECT_EQ(ArrayElementCount(array), rows * columns);
        }
        FreeValue(array);
    }
}

TEST_F(OwnedValues, ACopyOfAReferenceHasAllItsAreas) {
    Value ref = RefValue(7, 3), copy;
    ASSERT_EQ(ref.type, VT_REF);
    EXPECT_EQ(ref.areas->count, 3);
    EXPECT_EQ(ref.areas->areas[2], RefArea());
    for (u16 i = 0; i < 3; ++i) ref.areas->areas[i] = {i, i, 1, 2};
    CopyValue(copy, ref);
    FreeValue(ref);
    EXPECT_EQ(copy.externIndex, 7);
    ASSERT_EQ(copy.areas->count, 3);
    for (u16 i = 0; i < 3; ++i) EXPECT_EQ(copy.areas->areas[i], (RefArea{i, i, 1, 2}));
    Value taken = TakeValue(copy);
    EXPECT_EQ(copy.type, VT_EMPTY);
    EXPECT_EQ(taken.type, VT_REF);
    FreeValue(taken);
    Value none = RefValue(0, 0);
    EXPECT_EQ(none.areas->count, 0);
    FreeValue(none);
}

TEST_F(OwnedValues, WhatFindsNoMemoryIsNotAvailable) {
    QuietMemoryScope quiet;
    Value array = ArrayValue(1, 2), ref = RefValue(0, 1), copy;
    ASSERT_TRUE(array.type == VT_ARRAY && ref.type == VT_REF);
    allocator.FailAt(1);
    CopyValue(copy, array);
    EXPECT_TRUE(IsError(copy) && copy.error == ERR_NA);
    allocator.FailAt(1);
    CopyValue(copy, ref);
    EXPECT_TRUE(IsError(copy) && copy.error == ERR_NA);
    allocator.FailAt(1);
    EXPECT_TRUE(IsError(TextValue(u"x")));
    allocator.FailAt(1);
    EXPECT_TRUE(IsError(ArrayValue(1, 1)));
    allocator.FailAt(1);
    EXPECT_TRUE(IsError(RefValue(0, 1)));
    allocator.StopFailing();
    FreeValue(array);
    FreeValue(ref);
}

// ---- areas --------------------------------------------------------------------------------------------

TEST(Values, AreasHoldAndMeetToTheirLastCells) {
    const RefArea area = {2, 4, 3, 6};
    for (i32 row = 0; row < 8; ++row) {
        for (i32 column = 0; column < 9; ++column) {
            const bool in = row >= 2 && row <= 4 && column >= 3 && column <= 6;
            const RefArea cell = {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column),
                                  static_cast<u8>(column)};
            EXPECT_EQ(AreaHolds(area, row, column), in);
            EXPECT_EQ(AreaHoldsArea(area, cell), in);
            EXPECT_EQ(AreasMeet(area, cell), in);
            EXPECT_EQ(AreasMeet(cell, area), in);
            EXPECT_TRUE(IsOneCell(cell));
        }
    }
    EXPECT_TRUE(AreaHoldsArea(area, area));
    for (const RefArea& other :
         {RefArea{1, 4, 3, 6}, RefArea{2, 5, 3, 6}, RefArea{2, 4, 2, 6}, RefArea{2, 4, 3, 7}})
        EXPECT_FALSE(AreaHoldsArea(area, other));
    EXPECT_FALSE(IsOneCell({1, 2, 3, 3}));
    EXPECT_FALSE(IsOneCell({1, 1, 3, 4}));
}

// ---- tokens -------------------------------------------------------------------------------------------

constexpr u8 bytes[] = {1, 2, 3}, others[] = {1, 2, 4}, extra[] = {9, 8};

TEST_F(OwnedValues, TokensAreSharedUntilOneIsWritten) {
    FormulaTokens first, second, third;
    ASSERT_TRUE(MakeTokens(first, bytes, extra));
    EXPECT_EQ(TokenUsers(first), 1u);
    EXPECT_EQ(first.length, 3);
    EXPECT_EQ(first.extraLength, 2);
    EXPECT_EQ(TokenBytes(first), 5u);
    CopyTokens(second, first);
    CopyTokens(third, second);
    EXPECT_EQ(TokenUsers(first), 3u);
    ASSERT_TRUE(UnshareTokens(second));
    EXPECT_NE(second.bytes, first.bytes);
    EXPECT_EQ(TokenUsers(second), 1u);
    EXPECT_EQ(TokenUsers(first), 2u);
    EXPECT_TRUE(EqualTokens(first, second));
    const u8* own = second.bytes;
    ASSERT_TRUE(UnshareTokens(second));
    EXPECT_EQ(second.bytes, own);
    EXPECT_EQ(std::memcmp(second.bytes, "\1\2\3\11\10", 5), 0);
    FreeTokens(first);
    EXPECT_FALSE(HasFormula(first));
    EXPECT_EQ(first.length, 0);
    EXPECT_EQ(TokenUsers(first), 0u);
    EXPECT_EQ(TokenUsers(third), 1u);
    FreeTokens(second);
    FreeTokens(third);
    FreeTokens(third);
    CopyTokens(second, third);
    EXPECT_FALSE(HasFormula(second));
    EXPECT_TRUE(UnshareTokens(second));
}

TEST_F(OwnedValues, TokensAreEqualInEveryByte) {
    FormulaTokens base, same, other, longer, tailless, shifted, none;
    ASSERT_TRUE(MakeTokens(base, bytes, extra) && MakeTokens(same, bytes, extra) &&
                MakeTokens(other, others, extra) && MakeTokens(longer, bytes, bytes) &&
                MakeTokens(tailless, bytes, {}) && MakeTokens(shifted, extra, bytes));
    EXPECT_TRUE(EqualTokens(base, base));
    EXPECT_TRUE(EqualTokens(base, same));
    EXPECT_TRUE(EqualTokens(none, FormulaTokens()));
    for (const FormulaTokens* tokens : {&other, &longer, &tailless, &shifted, &none}) {
        EXPECT_FALSE(EqualTokens(base, *tokens));
        EXPECT_FALSE(EqualTokens(*tokens, base));
    }
    for (FormulaTokens* tokens : {&base, &same, &other, &longer, &tailless, &shifted}) FreeTokens(*tokens);
}

TEST_F(OwnedValues, TokensWithoutMemoryOrTooLongAreNone) {
    QuietMemoryScope quiet;
    FormulaTokens tokens, shared;
    allocator.FailAt(1);
    EXPECT_FALSE(MakeTokens(tokens, bytes, extra));
    EXPECT_FALSE(HasFormula(tokens));
    EXPECT_EQ(TokenBytes(tokens), 0u);
    allocator.StopFailing();
    std::array<u8, 65536> many = {};
    EXPECT_FALSE(MakeTokens(tokens, many, {}));
    EXPECT_FALSE(MakeTokens(tokens, {}, many));
    ASSERT_TRUE(MakeTokens(tokens, ByteView(many).first(65535), {}));
    CopyTokens(shared, tokens);
    allocator.FailAt(1);
    EXPECT_FALSE(UnshareTokens(shared));
    EXPECT_EQ(shared.bytes, tokens.bytes);
    allocator.StopFailing();
    FreeTokens(tokens);
    FreeTokens(shared);
}

}  // namespace
}  // namespace tally
