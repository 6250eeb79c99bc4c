#include "editing/ClearArea.h"

#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Clearing : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
        format.horizontal = 3;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, look));
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 5000, look}));
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {3, 0, 4000, DEFAULT_CELL_FORMAT}));
    }
    void TearDown() override {
        ConnectUndo();
        Sandbox::TearDown();
    }
    static u16 FormatAt(std::string_view cell) {
        const RefArea area = AreaOf(cell, cell);
        return GetCellFormat(*CurrentSheet(), area.firstRow, area.firstColumn);
    }
    static void Link(const RefArea& area) {
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        ASSERT_TRUE(link && link->target.Assign(u"http://x"));
        link->area = area;
    }
    u16 look = 0;
};

// Both ways that take formats away, on cells that stand and on those that do not.
TEST_F(Clearing, EmptyCellsLoseTheFormatOfTheirColumn) {
    for (const ClearMode mode : {CLEAR_ALL, CLEAR_FORMATS}) {
        Enter("B2", "5");
        const auto before = DumpBook(CurrentBook());
        ASSERT_TRUE(ClearArea(AreaOf("A2", "C4"), mode));
        for (const char* cell : {"B2", "B3", "B4", "A3", "C4"})
            EXPECT_EQ(FormatAt(cell), DEFAULT_CELL_FORMAT) << cell;
        EXPECT_EQ(FormatAt("B1"), look);
        EXPECT_EQ(FormatAt("B5"), look);
        EXPECT_EQ(CellAtName("A3"), nullptr);
        EXPECT_EQ(CellAtName("D3"), nullptr);
        EXPECT_EQ(Shown("B2"), mode == CLEAR_ALL ? "" : "5");
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
        EXPECT_EQ(FormatAt("B3"), look);
    }
}

TEST_F(Clearing, WholeColumnsLoseTheirFormatAndKeepTheirWidth) {
    for (const ClearMode mode : {CLEAR_ALL, CLEAR_FORMATS}) {
        Enter("B2", "5");
        const auto before = DumpBook(CurrentBook());
        ASSERT_TRUE(ClearArea({0, 65535, 1, 2}, mode));
        u16 flags = 0, format = 0;
        EXPECT_EQ(GetColumnInfo(CurrentSheet()->columns, 1, flags, format), 5000);
        EXPECT_EQ(format, DEFAULT_CELL_FORMAT);
        EXPECT_EQ(FormatAt("B2"), DEFAULT_CELL_FORMAT);
        EXPECT_EQ(CellAtName("B3"), nullptr);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
    }
}

TEST_F(Clearing, ContentsAloneKeepTheLook) {
    Enter("B2", "5");
    Enter("A1", "=B2+1");
    Link(AreaOf("B2", "B2"));
    ASSERT_TRUE(ClearArea(AreaOf("B2", "B3"), CLEAR_CONTENTS));
    EXPECT_EQ(Shown("B2"), "");
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(FormatAt("B2"), look);
    EXPECT_EQ(FormatAt("B3"), look);
    EXPECT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A1"), "6");
}

TEST_F(Clearing, AllTakesListsAlongThatLieInsideOrTouch) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "=SUM(B2:B4)");
    Enter("B2", "5");
    for (const RefArea& area : {AreaOf("B2", "B2"), AreaOf("C3", "C9"), AreaOf("E1", "E9")}) Link(area);
    for (const RefArea& merge : {AreaOf("B3", "C3"), AreaOf("F1", "F2")})
        ASSERT_TRUE(sheet.mergedAreas.Append(merge));
    ValidationRule* rule = sheet.validations.AppendDefault();
    ASSERT_TRUE(rule && rule->areas.Append(AreaOf("B1", "B9")));
    rule->kind = 1;
    EXPECT_EQ(Shown("A1"), "5");
    const auto before = DumpBook(CurrentBook());
    ASSERT_TRUE(ClearArea(AreaOf("B2", "C4"), CLEAR_ALL));
    EXPECT_EQ(Shown("A1"), "0");
    ASSERT_EQ(sheet.hyperlinks.Count(), 1u);
    EXPECT_EQ(sheet.hyperlinks[0].area, AreaOf("E1", "E9"));
    ASSERT_EQ(sheet.mergedAreas.Count(), 1u);
    EXPECT_EQ(sheet.mergedAreas[0], AreaOf("F1", "F2"));
    ASSERT_EQ(sheet.validations.Count(), 1u);
    EXPECT_EQ(sheet.validations[0].areas.Count(), 2u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(Clearing, MoreBlankCellsThanAChangeMayMakeAreRefusedWithOneBox) {
    for (i32 column = 0; column < 65; ++column)
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {static_cast<u8>(column), 0, 5000, look}));
    Enter("B2", "5");
    for (const ClearMode mode : {CLEAR_ALL, CLEAR_FORMATS}) {
        Headless().boxes.Clear();
        EXPECT_FALSE(ClearArea({0, 65534, 0, 64}, mode));
        EXPECT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(UndoCount(), 0u);
        EXPECT_EQ(FormatAt("A1"), look);
        EXPECT_EQ(FormatAt("BM9"), look);
        EXPECT_EQ(Shown("B2"), "5");
        EXPECT_EQ(CurrentSheet()->cells.count, 1u);
    }
}

TEST_F(Clearing, ColumnsWithoutALookOfTheirOwnMakeNoBlankCells) {
    EXPECT_TRUE(ClearArea({0, 65534, 4, 255}, CLEAR_FORMATS));
    EXPECT_TRUE(ClearArea({0, 65534, 4, 255}, CLEAR_ALL));
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
}

}  // namespace
}  // namespace tally
