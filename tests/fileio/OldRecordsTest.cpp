#include "fileio/OpenFile.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Sandbox.h"

// Records of bare files one by one, in the layouts of the three oldest forms.

namespace tally {
namespace {

struct OldRow {
    u16 id;
    const char* body;
};

class OldRecords : public Sandbox {
  protected:
    static bool Open(u16 bof, std::initializer_list<OldRow> rows) {
        BiffBuilder b(7);
        b.Raw(bof, {static_cast<u8>(bof >> 8 ? bof >> 8 : 2), 0, 16, 0, 0, 0});
        for (const OldRow& row : rows) b.Raw(row.id, Hex(row.body));
        ResetBooks();
        return OpenFileFromMemory(u"old.xls", b.Stream(), OPEN_SILENT_LINKS);
    }
    // "A1=value" of each cell, formulas behind their value.
    static std::string Cells() {
        std::string out;
        for (const CellRow& row : CurrentSheet()->cells.rows) {
            for (u32 i = 0; i < row.count; ++i) {
                std::string name(1, static_cast<char>('A' + row.cells[i].column));
                name += std::to_string(row.row + 1);
                out += name + "=" + Shown(name) + FormulaOf(name) + " ";
            }
        }
        return out;
    }
};

TEST_F(OldRecords, CellsAreReadByTheirFields) {
    const struct {
        OldRow row;
        const char* cells;
    } rows[] = {
        {{1, "02 00 01 00 00 00 00"}, "B3= "},
        {{513, "02 00 01 00 00 00"}, "B3= "},
        {{2, "02 00 01 00 00 00 00 34 12"}, "B3=4660 "},
        {{3, "02 00 01 00 00 00 00 00 00 00 00 00 00 F8 3F"}, "B3=1.5 "},
        {{515, "02 00 01 00 00 00 00 00 00 00 00 00 F8 3F"}, "B3=1.5 "},
        {{4, "02 00 01 00 00 00 00 02 61 E9 62"}, "B3=a\xC3\xA9 "},
        {{516, "02 00 01 00 00 00 02 00 61 E9 62"}, "B3=a\xC3\xA9 "},
        {{5, "02 00 01 00 00 00 00 01 00"}, "B3=TRUE "},
        {{5, "02 00 01 00 00 00 00 00 00"}, "B3=FALSE "},
        {{5, "02 00 01 00 00 00 00 1D 01"}, "B3=#NAME? "},
        {{517, "02 00 01 00 00 00 01 00"}, "B3=TRUE "},
        {{517, "02 00 01 00 00 00 1D 01"}, "B3=#NAME? "},
        {{638, "02 00 01 00 00 00 00 00 F8 3F"}, "B3=1.5 "},
        {{514, "02 00 01 00 00 00 00 00 F8 3F"}, ""},
        {{3, "02 00 00 01 00 00 00 00 00 00 00 00 00 F8 3F"}, ""},
    };
    for (const auto& row : rows) {
        for (const u16 bof : {u16{9}, u16{521}, u16{1033}}) {
            ASSERT_TRUE(Open(bof, {row.row}));
            EXPECT_EQ(Cells(), row.cells) << row.row.id << " " << row.row.body;
        }
    }
}

TEST_F(OldRecords, FormulasHaveTheirFieldsInThreeLayouts) {
    struct Row {
        u16 id;
        const char *head, *tail;  // in front of the result and behind it, without the flags
        bool longFlags;
    };
    for (const Row& row : {Row{6, "02 00 01 00 00 00 00 ", " 03 1E 07 00", false},
                           {518, "02 00 01 00 00 00 ", " 03 00 1E 07 00", true},
                           {1030, "02 00 01 00 00 00 ", " 03 00 1E 07 00", true}}) {
        for (const bool always : {false, true}) {
            const std::string body = std::string(row.head) + "00 00 00 00 00 00 F8 3F " +
                                     (always ? "01" : "00") + (row.longFlags ? " 00" : "") + row.tail;
            ASSERT_TRUE(Open(1033, {{row.id, body.c_str()}}));
            const CellRecord* cell = GetCell(CurrentSheet()->cells, 2, 1);
            ASSERT_NE(cell, nullptr);
            EXPECT_EQ(cell->value.number, 1.5);
            EXPECT_EQ(cell->formula->alwaysCalculate, always);
            EXPECT_EQ(FormulaOf("B3"), "=7");
        }
    }
}

TEST_F(OldRecords, AnArrayStandsBehindItsFirstFormula) {
    const std::string result = "00 00 00 00 00 00 F8 3F ";
    const std::string old = "02 00 01 00 00 00 00 " + result + "00 04 01 02 00 01";
    const std::string oldNext = "03 00 01 00 00 00 00 " + result + "00 04 01 02 00 01";
    const std::string later = "02 00 01 00 00 00 " + result + "00 00 05 00 01 02 00 01 00";
    const std::string laterNext = "03 00 01 00 00 00 " + result + "00 00 05 00 01 02 00 01 00";
    const char* oldArray = "02 00 03 00 01 01 00 03 1E 07 00";
    const char* laterArray = "02 00 03 00 01 01 00 00 03 00 1E 07 00";
    struct Case {
        std::initializer_list<OldRow> rows;
        const char* cells;
        u32 arrays;
    };
    for (const Case& c :
         {Case{{{6, old.c_str()}, {33, oldArray}, {6, oldNext.c_str()}}, "B3=1.5=7 B4=1.5=7 ", 1},
          {{{518, later.c_str()}, {545, laterArray}, {518, laterNext.c_str()}}, "B3=1.5=7 B4=1.5=7 ", 1},
          {{{1030, later.c_str()}, {545, laterArray}, {1030, laterNext.c_str()}}, "B3=1.5=7 B4=1.5=7 ", 1},
          {{{1030, later.c_str()}, {33, oldArray}}, "B3=1.5=7 ", 1},
          // Without its record a part keeps its value.
          {{{6, old.c_str()}, {2, "05 00 00 00 00 00 00 01 00"}}, "B3=1.5 A6=1 ", 0},
          {{{518, later.c_str()}}, "B3=1.5 ", 0}}) {
        ASSERT_TRUE(Open(521, c.rows));
        EXPECT_EQ(Cells(), c.cells);
        ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), c.arrays);
        if (!c.arrays) continue;
        const RefArea area = CurrentSheet()->arrayFormulas[0].area;
        EXPECT_EQ(area.firstRow, 2);
        EXPECT_EQ(area.lastRow, 3);
        EXPECT_EQ(area.firstColumn, 1);
        EXPECT_EQ(area.lastColumn, 1);
    }
}

TEST_F(OldRecords, AWindowOfTheOldestLayoutIsFrozenOrNot) {
    ASSERT_TRUE(
        Open(9, {{62, "01 01 00 01 00 07 00 03 00 01 00 00 00 00"}, {65, "02 00 03 00 20 00 21 00 00"}}));
    const SheetView& view = CurrentSheet()->view;
    EXPECT_TRUE(CurrentSheet()->viewFlags & VIEW_FORMULAS);
    EXPECT_TRUE(CurrentSheet()->viewFlags & VIEW_GRIDLINES);
    EXPECT_FALSE(CurrentSheet()->viewFlags & VIEW_HEADERS);
    EXPECT_TRUE(CurrentSheet()->viewFlags & VIEW_FROZEN);
    EXPECT_EQ(view.frozenFirstRow, 7);
    EXPECT_EQ(view.frozenFirstColumn, 3);
    EXPECT_EQ(view.splitRow, 10);
    EXPECT_EQ(view.splitColumn, 5);
    EXPECT_EQ(view.firstRow, 32);
    EXPECT_EQ(view.firstColumn, 33);
    ASSERT_TRUE(Open(9, {{62, "00 00 01 00 00 07 00 03 00 01 00 00 00 00"}}));
    EXPECT_EQ(CurrentSheet()->view.firstRow, 7);
    EXPECT_EQ(CurrentSheet()->view.firstColumn, 3);
    EXPECT_EQ(CurrentSheet()->view.frozenFirstRow, 0);
    EXPECT_FALSE(CurrentSheet()->viewFlags & VIEW_GRIDLINES);
    EXPECT_TRUE(CurrentSheet()->viewFlags & VIEW_HEADERS);
}

TEST_F(OldRecords, AStringMakesTheLastCellCurrent) {
    const char* hyperlink = "02 00 01 00 00 00 00 00 00 00 00 00 FF FF 00 00 03 00 1E 07 00";
    ASSERT_TRUE(Open(521, {{519, "01 00 7A"}, {518, hyperlink}, {519, "02 00 61 E9"}}));
    EXPECT_EQ(Shown("B3"), "a\xC3\xA9");
    EXPECT_EQ(CellAtName("B3")->calcState, CALC_CURRENT);
    ASSERT_TRUE(Open(9, {{2, "02 00 01 00 00 00 00 34 12"}, {7, "02 61 62"}}));
    EXPECT_EQ(Shown("B3"), "ab");
}

TEST_F(OldRecords, NumberFormatsGoByTheirOrder) {
    // Six bits of an attribute; what there is no format for is General.
    ASSERT_TRUE(Open(9, {{30, "07 47 65 6E 65 72 61 6C"},
                         {30, "03 30 2E 30"},
                         {30, "00"},
                         {2, "00 00 00 00 00 01 00 05 00"},
                         {2, "00 00 01 00 00 C1 00 05 00"},
                         {2, "00 00 02 00 00 02 00 05 00"},
                         {2, "00 00 03 00 00 3F 00 05 00"},
                         {2, "00 00 04 00 00 00 00 05 00"}}));
    EXPECT_EQ(Cells(), "A1=5.0 B1=5.0 C1=5 D1=5 E1=5 ");
    ASSERT_TRUE(Open(1033, {{1054, "00 00 07 47 65 6E 65 72 61 6C"},
                            {1054, "00 00 03 30 2E 30"},
                            {1091, "00 01 01 00 00 00 00 00 00 00 00 00"},
                            {1091, "00 09 01 00 00 00 00 00 00 00 00 00"},
                            {515, "00 00 00 00 00 00 00 00 00 00 00 00 14 40"},
                            {515, "00 00 01 00 01 00 00 00 00 00 00 00 14 40"},
                            {515, "00 00 02 00 09 00 00 00 00 00 00 00 14 40"}}));
    EXPECT_EQ(Cells(), "A1=5.0 B1=5 C1=5.0 ");
}

}  // namespace
}  // namespace tally
