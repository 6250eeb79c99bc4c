#include "formula/DataTables.h"

#include <functional>

#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class DataTables : public Sandbox {
  protected:
    // A table over an area as a file brings it: every cell says only where the table begins. The cells are
    // stale.
    static void PutTable(std::string_view first, std::string_view last, u16 flags, std::string_view input,
                         std::string_view second = "") {
        DataTable table;
        table.area = AreaOf(first, last);
        table.flags = flags;
        i32 row = 0, column = 0;
        ReadCellName(input, row, column);
        table.inputs[0] = static_cast<u16>(row);
        table.inputs[1] = static_cast<u16>(column);
        if (!second.empty()) ReadCellName(second, row, column);
        table.inputs[2] = static_cast<u16>(row);
        table.inputs[3] = static_cast<u16>(column);
        ASSERT_TRUE(CurrentSheet()->dataTables.Append(table));
        for (i32 r = table.area.firstRow; r <= table.area.lastRow; ++r) {
            for (i32 c = table.area.firstColumn; c <= table.area.lastColumn; ++c) PutPart(r, c, table.area);
        }
        DropDependents();
    }
    static void PutPart(i32 row, i32 column, const RefArea& area) {
        u8 bytes[5] = {ptgTbl};
        PutU16(bytes + 1, area.firstRow);
        PutU16(bytes + 3, area.firstColumn);
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes, 5), {}));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(-77), tokens));
    }
    static std::string Row(std::initializer_list<const char*> cells) {
        std::string all;
        for (const char* cell : cells) all += (all.empty() ? "" : " ") + Shown(cell);
        return all;
    }
};

TEST_F(DataTables, AColumnOfValuesGoesThroughTheInputForEachFormulaAbove) {
    Enter("A1", "10");
    Enter("C1", "=A1*2");
    Enter("D1", "=A1+100");
    for (int i = 2; i <= 4; ++i) Enter("B" + std::to_string(i), std::to_string(i));
    PutTable("C2", "D4", 0, "A1");
    EXPECT_EQ(Row({"C2", "D2", "C3", "D3", "C4", "D4"}), "4 102 6 103 8 104");
    EXPECT_EQ(Row({"A1", "C1", "D1"}), "10 20 110");
    EXPECT_EQ(CellAtName("C1")->calcState, CALC_CURRENT);
}

TEST_F(DataTables, ARowOfValuesGoesThroughTheInputForEachFormulaOnTheLeft) {
    Enter("A1", "10");
    Enter("B3", "=A1*2");
    Enter("B4", "=A1*A1");
    Enter("C2", "3");
    Enter("D2", "5");
    PutTable("C3", "D4", TABLE_ROW_INPUT, "A1");
    EXPECT_EQ(Row({"C3", "D3", "C4", "D4"}), "6 10 9 25");
}

TEST_F(DataTables, TwoInputsTakeTheRowAboveAndTheColumnOnTheLeft) {
    Enter("A1", "1");
    Enter("A2", "1");
    Enter("C1", "=A1*100+A2");
    Enter("D1", "3");
    Enter("E1", "4");
    Enter("C2", "7");
    Enter("C3", "8");
    PutTable("D2", "E3", TABLE_TWO_INPUTS, "A1", "A2");
    EXPECT_EQ(Row({"D2", "E2", "D3", "E3"}), "307 407 308 408");
    EXPECT_EQ(Row({"A1", "A2", "C1"}), "1 1 101");
}

TEST_F(DataTables, AChainOfCellsBetweenInputAndFormulaFollowsAndComesBack) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    Enter("A3", "=SUM(A1:A2)");
    DefineName("both", "=Sheet1!$A$2:$A$3");
    Enter("C1", "=SUM(both)");
    Enter("B2", "10");
    Enter("E5", "=A3*2");
    PutTable("C2", "C2", 0, "A1");
    EXPECT_EQ(Shown("C2"), "32");
    EXPECT_EQ(Row({"A1", "A2", "A3", "C1", "E5"}), "1 2 3 5 6");
}

TEST_F(DataTables, AnEmptyInputTakesValuesAndIsEmptyAgain) {
    Enter("C1", "=A9+1");
    Enter("B2", "4");
    Enter("B3", "");
    PutTable("C2", "C3", 0, "A9");
    const u32 cells = CurrentSheet()->cells.count;
    EXPECT_EQ(Row({"C2", "C3"}), "5 1");
    EXPECT_EQ(CellAtName("A9"), nullptr);
    EXPECT_EQ(CurrentSheet()->cells.count, cells);
}

TEST_F(DataTables, ChangesOfHeadingsFormulasAndWhatTheyReadAreFollowed) {
    Enter("A1", "10");
    Enter("A2", "1");
    Enter("C1", "=A1*A2");
    Enter("B2", "3");
    Enter("B3", "4");
    PutTable("C2", "C3", 0, "A1");
    EXPECT_EQ(Row({"C2", "C3"}), "3 4");
    Enter("B2", "5");
    EXPECT_EQ(CellAtName("C3")->calcState, CALC_CURRENT);
    EXPECT_EQ(Row({"C2", "C3"}), "5 4");
    Enter("A2", "100");
    EXPECT_EQ(Row({"C2", "C3"}), "500 400");
    Enter("C1", "=A1-1");
    EXPECT_EQ(Row({"C2", "C3"}), "4 3");
    Enter("D9", "=C2+C3");
    Enter("B3", "11");
    EXPECT_EQ(Shown("D9"), "14");
}

TEST_F(DataTables, EverythingCalculatedAnewKeepsTheTable) {
    Enter("A1", "10");
    Enter("C1", "=A1*2");
    Enter("B2", "3");
    Enter("B3", "=B2+1");
    PutTable("C2", "C3", 0, "A1");
    for (int round = 0; round < 2; ++round) {
        MarkAllStale();
        CalculateBook(CurrentBook());
        EXPECT_EQ(Row({"C2", "C3", "C1", "A1", "B3"}), "6 8 20 10 4");
    }
}

TEST_F(DataTables, ATableWhoseFormulaNeedsAnotherTableIsWorkedOutThroughIt) {
    Enter("A1", "2");
    Enter("A2", "1");
    Enter("C1", "=A1*A2");
    Enter("B2", "10");
    PutTable("C2", "C2", 0, "A1");  // 10 * A2
    Enter("F1", "=C2+1");
    Enter("E2", "5");
    Enter("E3", "6");
    PutTable("F2", "F3", 0, "A2");
    EXPECT_EQ(Row({"F2", "F3", "C2", "F1"}), "51 61 10 11");
}

TEST_F(DataTables, ATableThatFeedsItsOwnFormulaIsACircleAndEnds) {
    Enter("A1", "2");
    Enter("C1", "=A1+C3");
    Enter("B2", "10");
    Enter("B3", "20");
    PutTable("C2", "C3", 0, "A1");
    CurrentWorkbook()->circularSeen = 0;
    EXPECT_NE(Shown("C2"), "");
    EXPECT_EQ(CurrentWorkbook()->circularSeen, 1u);
    EXPECT_EQ(Shown("A1"), "2");
}

TEST_F(DataTables, PartsWithoutTheirTableKeepTheirValues) {
    PutPart(4, 4, {9, 9, 9, 9});
    MarkAllStale();
    EXPECT_EQ(Shown("E5"), "-77");
    PutTable("A3", "A3", 0, "C1");
    MarkAllStale();
    EXPECT_EQ(Shown("A3"), "-77");
}

TEST_F(DataTables, ErrorsTextsAndEmptyFormulasAreResultsToo) {
    Enter("A1", "1");
    Enter("C1", "=1/A1");
    Enter("D1", "=\"x\"&A1");
    Enter("B2", "0");
    Enter("B3", "a");
    PutTable("C2", "E3", 0, "A1");
    EXPECT_EQ(Row({"C2", "D2", "E2", "C3", "D3", "E3"}), "#DIV/0! x0 0 #VALUE! xa 0");
}

TEST_F(DataTables, SumsThatWereKeptFollowTheTrialAndComeBack) {
    for (int i = 1; i <= 100; ++i) Enter("A" + std::to_string(i), "1");
    Enter("C1", "=SUM(A1:A100)");
    Enter("D1", "=SUM(A1:A100)");
    for (int i = 2; i <= 5; ++i) Enter("B" + std::to_string(i), std::to_string(i * 10));
    PutTable("C2", "C5", 0, "A50");
    EXPECT_EQ(Row({"C2", "C3", "C4", "C5", "D1", "C1"}), "119 129 139 149 100 100");
}

TEST_F(DataTables, ALostInputIsARefErrorForTheInputsThatTheTableHas) {
    Enter("A1", "1");
    Enter("A2", "1");
    Enter("D4", "=A1+A2");
    Enter("E4", "3");
    Enter("D5", "4");
    const struct {
        u16 flags;
        bool lost;
    } rows[] = {
        {0, false},
        {TABLE_INPUT_LOST, true},
        {TABLE_SECOND_LOST, false},
        {TABLE_ROW_INPUT, false},
        {TABLE_ROW_INPUT | TABLE_INPUT_LOST, true},
        {TABLE_TWO_INPUTS, false},
        {TABLE_TWO_INPUTS | TABLE_INPUT_LOST, true},
        {TABLE_TWO_INPUTS | TABLE_SECOND_LOST, true},
    };
    for (const auto& row : rows) {
        CurrentSheet()->dataTables.Truncate(0);
        PutTable("E5", "E5", row.flags, "A1", "A2");
        EXPECT_EQ(Shown("E5") == "#REF!", row.lost) << row.flags;
    }
}

TEST_F(DataTables, PlacesAreTheFormulaAndTheHeadingsOfACell) {
    DataTable table;
    table.area = AreaOf("C3", "F9");
    table.inputs[0] = 20;
    table.inputs[1] = 0x105;
    table.inputs[2] = 30;
    table.inputs[3] = 7;
    const auto at = [](const char* cell) { return AreaOf(cell, cell); };
    TablePlaces places;
    ASSERT_TRUE(PlacesOf(table, 4, 3, places));  // D5
    EXPECT_EQ(places.count, 2u);
    EXPECT_EQ(places.reads[0], at("D2"));
    EXPECT_EQ(places.reads[1], at("B5"));
    EXPECT_EQ(places.inputs[0], at("F21"));
    table.flags = TABLE_ROW_INPUT;
    ASSERT_TRUE(PlacesOf(table, 4, 3, places));
    EXPECT_EQ(places.count, 2u);
    EXPECT_EQ(places.reads[0], at("B5"));
    EXPECT_EQ(places.reads[1], at("D2"));
    table.flags = TABLE_TWO_INPUTS;
    ASSERT_TRUE(PlacesOf(table, 4, 3, places));
    EXPECT_EQ(places.count, 3u);
    EXPECT_EQ(places.reads[0], at("B2"));
    EXPECT_EQ(places.reads[1], at("D2"));
    EXPECT_EQ(places.reads[2], at("B5"));
    EXPECT_EQ(places.inputs[0], at("F21"));
    EXPECT_EQ(places.inputs[1], at("H31"));
    table.area = AreaOf("C1", "F9");
    EXPECT_FALSE(PlacesOf(table, 4, 3, places));
    table.area = AreaOf("A3", "F9");
    EXPECT_FALSE(PlacesOf(table, 4, 3, places));
    table.area = AreaOf("B2", "F9");
    EXPECT_TRUE(PlacesOf(table, 4, 3, places));
}

TEST_F(DataTables, OnePartBringsAllPartsWhoseHeadingsAreThere) {
    Enter("A1", "10");
    Enter("C1", "=A1*2");
    Enter("D1", "=A1*3");
    Enter("B2", "1");
    Enter("B3", "=2");
    Enter("B4", "3");
    PutTable("C2", "D4", 0, "A1");
    // A formula of its own in the middle of the table, and a heading that waits.
    Enter("D4", "=99");
    MarkAllStale();
    EXPECT_EQ(Shown("C2"), "2");
    const auto state = [](const char* cell) { return CellAtName(cell)->calcState; };
    EXPECT_EQ(state("C2"), CALC_CURRENT);
    EXPECT_EQ(state("C4"), CALC_CURRENT);
    EXPECT_EQ(state("C3"), CALC_STALE);
    EXPECT_EQ(state("D2"), CALC_STALE);
    EXPECT_EQ(state("D4"), CALC_STALE);
    EXPECT_EQ(Row({"D3", "C3", "D2", "D4", "C4"}), "6 4 3 99 6");
    EXPECT_FALSE(CellAtName("C4")->formula->kept);
}

TEST_F(DataTables, AnInputThatIsAFormulaIsOneAgainAfterwards) {
    Enter("A2", "5");
    Enter("A1", "=A2*2");
    Enter("C1", "=A1+1");
    Enter("E1", "=A1*100");
    Enter("B2", "7");
    Enter("B3", "text");
    PutTable("C2", "C3", 0, "A1");
    EXPECT_EQ(Row({"C2", "C3", "A1", "C1", "E1"}), "8 #VALUE! 10 11 1000");
    EXPECT_EQ(FormulaOf("A1"), "=A2*2");
    Enter("A2", "6");
    EXPECT_EQ(Row({"E1", "C1", "C2"}), "1200 13 8");
    // Stale before: stale afterwards, and not taken for worked out.
    MarkAllStale();
    EXPECT_EQ(Shown("C2"), "8");
    EXPECT_EQ(Row({"A1", "E1"}), "12 1200");
}

std::string told;

TEST_F(DataTables, NobodyIsToldOfWhatATrialTouches) {
    Enter("A1", "10");
    Enter("A2", "=A1+1");
    Enter("C1", "=A2*2");
    Enter("B2", "3");
    Enter("B3", "4");
    PutTable("C2", "C3", 0, "A1");
    IgnoreFailure(Shown("A2").empty() || Shown("C1").empty());
    told.clear();
    RecalculationView().cellChanged = [](i32, i32, i32 row, i32 column) {
        told += static_cast<char>('A' + column) + std::to_string(row + 1) + " ";
    };
    EXPECT_EQ(Row({"C2", "C3"}), "8 10");
    EXPECT_EQ(told, "");
    EXPECT_EQ(Row({"A2", "C1"}), "11 22");
    Enter("A1", "20");
    EXPECT_NE(told.find("A2"), std::string::npos);
    EXPECT_EQ(Row({"A2", "C1", "C2"}), "21 42 8");
}

TEST_F(DataTables, TablesBehindTablesHaveADepthOfFour) {
    // Each table's formula is the result of the one on its left; the first one reads all inputs, so that each
    // trial goes through all tables before it.
    const auto column = [](i32 n) { return std::string(1, static_cast<char>('A' + n)); };
    for (i32 i = 0; i < 6; ++i) {
        const std::string headings = column(3 * i + 1), results = column(3 * i + 2), input = column(3 * i);
        Enter(input + "1", "1");
        Enter(results + "1", i ? "=" + column(3 * i - 1) + "2" : "=A1+D1+G1+J1+M1+P1");
        Enter(headings + "2", "10");
        PutTable(results + "2", results + "2", 0, input + "1");
    }
    MarkAllStale();
    for (i32 i = 0; i < 6; ++i) {
        MarkAllStale();
        const std::string part = column(3 * i + 2) + "2";
        const std::string shown = Shown(part);
        // What is too deep keeps a number that it had.
        if (i < 4) EXPECT_EQ(shown, std::to_string(15 + 9 * i));
        else EXPECT_EQ(CellAtName(part)->value.type, VT_NUMBER);
    }
    for (const char* input : {"A1", "D1", "G1", "J1", "M1", "P1"}) EXPECT_EQ(Shown(input), "1") << input;
}

TEST_F(DataTables, WithoutMemoryALaterCalculationIsRight) {
    ForgetBooks();
    bool failed = true;
    u32 failures = 0;
    for (u64 n = 1; failed && n < 500; ++n) {
        test::FailingAllocator allocator;
        {
            QuietMemoryScope quiet;
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            Enter("A1", "10");
            Enter("A2", "=A1&\"a long text that needs memory of its own\"");
            Enter("C1", "=LEN(A2)+A1+A9");
            Enter("B2", "3");
            Enter("B3", "44");
            PutTable("C2", "C3", TABLE_TWO_INPUTS, "A1", "A9");
            Enter("B1", "=C1");
            Enter("C1", "5");
            allocator.FailAt(n);
            CalculateBook(0);
            failed = allocator.HasFailed();
            failures += failed;
            allocator.StopFailing();
            MarkAllStale();
            CalculateBook(0);
            EXPECT_EQ(Shown("A1"), "10") << n;
            EXPECT_EQ(CellAtName("A9"), nullptr) << n;
            EXPECT_EQ(FormulaOf("A2"), "=A1&\"a long text that needs memory of its own\"");
            for (const char* cell : {"A2", "B1", "C2", "C3"})
                EXPECT_EQ(CellAtName(cell)->calcState, CALC_CURRENT) << n << cell;
            ForgetBooks();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    EXPECT_GE(failures, 5u);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

}  // namespace
}  // namespace tally
