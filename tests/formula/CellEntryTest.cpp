#include <string>

#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

std::string heights;

class CellEntry : public Sandbox {
  protected:
    static CellInput Input(Value value, u16 row = 0, u8 column = 0) {
        CellInput input;
        input.row = row;
        input.column = column;
        input.format = 15;
        input.value = value;
        return input;
    }
    static CellInput Formula(const char16_t* text, u16 row = 0, u8 column = 0) {
        CellInput input = Input(Value(), row, column);
        FormulaPlace place;
        EXPECT_TRUE(CompileFormula(place, text, 'V', input.tokens));
        return input;
    }
    static u8 State(std::string_view cell) { return CellAtName(cell)->calcState; }
};

TEST_F(CellEntry, ACellHasTheStateOfWhatItHolds) {
    CellInput inputs[] = {Input(NumberValue(1)), Input(TextValue(u"x")), Input(BoolValue(false)),
                          Input(Value()), Formula(u"=1+1")};
    const u8 states[] = {CALC_CURRENT, CALC_CURRENT, CALC_CURRENT, CALC_BLANK, CALC_CURRENT};
    for (std::size_t i = 0; i < std::size(inputs); ++i) {
        inputs[i].format = static_cast<u16>(15 + i);
        const u32 version = CurrentSheet()->cells.columnVersion[0];
        ASSERT_TRUE(SetCell(0, 0, inputs[i], true, false));
        EXPECT_EQ(State("A1"), states[i]) << i;
        EXPECT_EQ(CellAtName("A1")->format, 15 + i);
        EXPECT_EQ(CellAtName("A1")->formula != nullptr, i == 4) << i;
        EXPECT_GT(CurrentSheet()->cells.columnVersion[0], version);
        EXPECT_EQ(inputs[i].value.type, VT_EMPTY);
        EXPECT_EQ(inputs[i].tokens.bytes, nullptr);
    }
    EXPECT_EQ(CellAtName("A1")->value.number, 2);
}

TEST_F(CellEntry, AMissingSheetTakesNothing) {
    CellInput input = Formula(u"=1+1");
    input.value = TextValue(u"text");
    EXPECT_FALSE(SetCell(0, 3, input, true, true));
    EXPECT_EQ(input.value.type, VT_EMPTY);
    EXPECT_EQ(input.tokens.bytes, nullptr);
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
}

TEST_F(CellEntry, ReadersAreMarkedWhereItIsAskedFor) {
    Enter("B1", "=A1");
    CellInput input = Input(NumberValue(1));
    ASSERT_TRUE(SetCell(0, 0, input, false, false));
    EXPECT_EQ(State("B1"), CALC_CURRENT);
    input = Input(NumberValue(2));
    ASSERT_TRUE(SetCell(0, 0, input, true, false));
    EXPECT_EQ(State("B1"), CALC_STALE);
}

TEST_F(CellEntry, AStoredCellDropsTheHyperlinksThatHoldIt) {
    Sheet& sheet = *CurrentSheet();
    Enter("B2", "1");
    for (const auto& [first, last] :
         {std::pair{"A1", "C1"}, {"B2", "B2"}, {"A2", "C3"}, {"C2", "C2"}, {"B1", "B2"}}) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        ASSERT_NE(link, nullptr);
        link->area = AreaOf(first, last);
    }
    Enter("B2", "2");
    ASSERT_EQ(sheet.hyperlinks.Count(), 2u);
    EXPECT_EQ(sheet.hyperlinks[0].area, AreaOf("A1", "C1"));
    EXPECT_EQ(sheet.hyperlinks[1].area, AreaOf("C2", "C2"));
}

TEST_F(CellEntry, TheHeightOfARowIsAskedForOnWorksheets) {
    heights.clear();
    RecalculationView().rowHeightWanted = [](i32 book, i32 sheet, i32 row) {
        heights += std::to_string(book) + ":" + std::to_string(sheet) + ":" + std::to_string(row) + " ";
    };
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    for (const i32 sheet : {0, 1}) {
        for (const bool adjust : {false, true}) {
            CellInput input = Input(NumberValue(1), 7);
            ASSERT_TRUE(SetCell(0, sheet, input, true, adjust));
        }
    }
    EXPECT_EQ(heights, "0:0:7 ");
}

TEST_F(CellEntry, AFormulaOfAMacroSheetIsStoredAndNotCalculated) {
    Enter("A1", "=RAND()");
    Enter("A2", "=5");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    CellInput input = Formula(u"=RAND()");
    ASSERT_TRUE(SetCell(0, 1, input, true, false));
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_FALSE(CellAtName("A1")->formula->alwaysCalculate);
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(State("A2"), CALC_CURRENT);
    EXPECT_TRUE(CellAtName("A1")->formula->alwaysCalculate);
}

TEST_F(CellEntry, OnlyTheLastCellOfAnArrayIsCalculatedWhenItIsStored) {
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({AreaOf("A1", "B2"), 0, 0}));
    for (const auto& [row, column, state] : {std::tuple{0, 0, CALC_STALE},
                                             {0, 1, CALC_STALE},
                                             {1, 0, CALC_STALE},
                                             {2, 0, CALC_CURRENT},
                                             {1, 1, CALC_CURRENT}}) {
        CellInput input = Formula(u"=5", static_cast<u16>(row), static_cast<u8>(column));
        ASSERT_TRUE(SetCell(0, 0, input, true, false));
        EXPECT_EQ(GetCell(CurrentSheet()->cells, row, column)->calcState, state) << row << column;
    }
    for (const char* cell : {"A1", "B1", "A2"}) EXPECT_EQ(State(cell), CALC_CURRENT) << cell;
}

}  // namespace
}  // namespace tally
