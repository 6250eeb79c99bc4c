#include "formula/FormulaText.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class AreaTexts : public Sandbox {
  protected:
    // Of an area on sheet 0, from the cell C4 where it is relative.
    static std::string Text(const RefArea& area, int flags) {
        WideText text;
        EXPECT_TRUE(AreaToText(CurrentBook(), 0, area, static_cast<u16>(flags), 3, 2, text));
        return Narrow(text);
    }
};

TEST_F(AreaTexts, ColumnsHaveLetters) {
    const std::pair<i32, const char*> rows[] = {{0, "A"},   {25, "Z"},  {26, "AA"},  {51, "AZ"},
                                                {52, "BA"}, {77, "BZ"}, {255, "IV"}, {233, "HZ"}};
    for (const auto& [column, letters] : rows) {
        WideText text;
        ASSERT_TRUE(AppendColumnLetters(column, text));
        EXPECT_EQ(Narrow(text), letters) << column;
    }
}

TEST_F(AreaTexts, CellsAreasLinesAndTheirRelativeParts) {
    const RefArea cell = {4, 4, 2, 2}, area = {4, 9, 2, 3}, columns = {0, 65535, 1, 3}, rows = {2, 6, 0, 255};
    const RefArea nearlyColumns = {1, 65535, 1, 3}, shortColumns = {0, 65534, 1, 3};
    const RefArea nearlyRows = {2, 6, 1, 255}, shortRows = {2, 6, 0, 254};
    const int a1 = AREA_USE_A1, all = AREA_ALL_RELATIVE;
    const int first = AREA_FIRST_ROW_RELATIVE | AREA_FIRST_COLUMN_RELATIVE;
    const int last = AREA_LAST_ROW_RELATIVE | AREA_LAST_COLUMN_RELATIVE;
    struct Row {
        RefArea area;
        int flags;
        const char* text;
    };
    const Row cases[] = {
        {cell, a1, "$C$5"},
        {cell, a1 | all, "C5"},
        {cell, a1 | AREA_WITH_EQUALS, "=$C$5"},
        {cell, a1 | AREA_WITH_SHEET, "Sheet1!$C$5"},
        {cell, a1 | AREA_BOTH_CORNERS, "$C$5:$C$5"},
        {cell, a1 | first, "C5:$C$5"},
        {cell, a1 | AREA_FIRST_ROW_RELATIVE | AREA_LAST_ROW_RELATIVE, "$C5"},
        {cell, a1 | AREA_FIRST_ROW_RELATIVE, "$C5:$C$5"},
        {cell, a1 | AREA_LAST_COLUMN_RELATIVE, "$C$5:C$5"},
        {area, a1, "$C$5:$D$10"},
        {area, a1 | first, "C5:$D$10"},
        {area, a1 | last, "$C$5:D10"},
        {columns, a1, "$B:$D"},
        {columns, a1 | first, "B:$D"},
        {columns, a1 | last, "$B:D"},
        {rows, a1, "$3:$7"},
        {rows, a1 | AREA_FIRST_ROW_RELATIVE, "3:$7"},
        {rows, a1 | AREA_LAST_ROW_RELATIVE, "$3:7"},
        {rows, a1 | AREA_FIRST_COLUMN_RELATIVE, "A$3:$IV$7"},
        {nearlyColumns, a1, "$B$2:$D$65536"},
        {shortColumns, a1, "$B$1:$D$65535"},
        {nearlyRows, a1, "$B$3:$IV$7"},
        {shortRows, a1, "$A$3:$IU$7"},
        {cell, 0, "R5C3"},
        {cell, all, "R[1]C"},
        {cell, AREA_BOTH_CORNERS, "R5C3:R5C3"},
        {cell, AREA_FIRST_ROW_RELATIVE | AREA_LAST_ROW_RELATIVE, "R[1]C3"},
        {cell, first, "R[1]C:R5C3"},
        {area, 0, "R5C3:R10C4"},
        {area, all, "R[1]C:R[6]C[1]"},
        {area, last, "R5C3:R[6]C[1]"},
        {columns, 0, "C2:C4"},
        {columns, all, "C[-1]:C[1]"},
        {columns, first, "C[-1]:C4"},
        {rows, 0, "R3:R7"},
        {rows, all, "R[-1]:R[3]"},
        {rows, AREA_LAST_ROW_RELATIVE, "R3:R[3]"},
        {rows, AREA_FIRST_COLUMN_RELATIVE, "R3C[-2]:R7C256"},
        {nearlyColumns, 0, "R2C2:R65536C4"},
        {shortColumns, 0, "R1C2:R65535C4"},
        {nearlyRows, 0, "R3C2:R7C256"},
        {shortRows, 0, "R3C1:R7C255"},
    };
    for (const Row& row : cases) EXPECT_EQ(Text(row.area, row.flags), row.text);
}

TEST_F(AreaTexts, NamesThatAreNoPlainWordsAreQuoted) {
    const std::pair<const char16_t*, bool> names[] = {
        {u"Sheet1", false}, {u"a.b", false}, {u"_x", false}, {u".a", true},     {u"1a", true}, {u"a b", true},
        {u"a-b", true},     {u"", false},    {u"表", false}, {u"O'Hara", true}, {u"a!", true}, {u"£", true}};
    for (const auto& [name, quoted] : names) EXPECT_EQ(NeedsQuotes(name), quoted) << Narrow(name);
    WideView name = u"O'Hara";
    ASSERT_TRUE(InsertSheet(1, &name, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/home/me/My Book.xls"));
    const auto text = [](i32 sheet, int flags) {
        WideText out;
        EXPECT_TRUE(
            AreaToText(CurrentBook(), sheet, {0, 0, 0, 0}, static_cast<u16>(flags | AREA_USE_A1), 0, 0, out));
        return Narrow(out);
    };
    EXPECT_EQ(text(1, AREA_WITH_SHEET), "'O''Hara'!$A$1");
    EXPECT_EQ(text(0, AREA_WITH_SHEET), "Sheet1!$A$1");
    EXPECT_EQ(text(0, AREA_WITH_BOOK), "'[My Book.xls]Sheet1'!$A$1");
    EXPECT_EQ(text(1, AREA_WITH_BOOK | AREA_WITH_EQUALS), "='[My Book.xls]O''Hara'!$A$1");
    EXPECT_EQ(text(9, AREA_WITH_SHEET), "$A$1");
}

}  // namespace
}  // namespace tally
