#include "fileio/OpenFile.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// What is seen of a sheet: WINDOW2, PANE, SELECTION, COLINFO, DIMENSIONS and the sizes of rows, byte by byte.

namespace tally {
namespace {

constexpr u16 SELECTION = 29, PANE = 65, COLINFO = 125, DIMENSIONS = 512, ROW = 520, INDEX = 523, WINDOW2 = 574,
              DEFAULT_HEIGHT = 549, DEFAULT_WIDTH = 85, STANDARD_WIDTH = 153, TAB = 2146;

class ViewRecords : public Saving {
  protected:
    static void SetFlags(u16 on) {
        Sheet& sheet = *CurrentSheet();
        sheet.viewFlags = static_cast<u16>(
            (sheet.viewFlags & ~(VIEW_FORMULAS | VIEW_GRIDLINES | VIEW_HEADERS | VIEW_FROZEN)) | on);
    }
    std::string Bytes(u16 id, std::size_t place = 0) const {
        const auto records = Find(id);
        return place < records.size() ? Digits(records[place].body) : "none";
    }
    static void OpenSheet(u8 form, const std::function<void(BiffBuilder&)>& fill) {
        BiffBuilder b(form);
        b.Globals({"One"}).Bof(16);
        fill(b);
        b.Eof();
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
    }
};

TEST_F(ViewRecords, AWindowTellsWhatItShowsAndFromWhere) {
    Sheet& sheet = *CurrentSheet();
    sheet.view.firstRow = 0xFFEE;
    sheet.view.firstColumn = 0x12;
    sheet.view.frozenFirstRow = 0xFFDD;
    sheet.view.frozenFirstColumn = 0x34;
    sheet.options.breakZoom = 60;
    sheet.options.normalZoom = 110;
    struct Row {
        u16 flags;
        u16 splitRow;
        u8 splitColumn;
        const char *form8, *form7;
    };
    for (const Row& row :
         {Row{VIEW_GRIDLINES | VIEW_HEADERS, 0xFFFF, 0xFF,
              "B6 06 EE FF 12 00 40 00 00 00 3C 00 6E 00 00 00 00 00", "B6 06 FF 3F 12 00 00 00 00 00"},
          {VIEW_FORMULAS, 0, 0, "B1 06 EE FF 12 00 40 00 00 00 3C 00 6E 00 00 00 00 00",
           "B1 06 FF 3F 12 00 00 00 00 00"},
          {VIEW_FROZEN, 0, 0, "B8 07 EE FF 12 00 40 00 00 00 3C 00 6E 00 00 00 00 00",
           "B8 07 FF 3F 12 00 00 00 00 00"},
          {VIEW_FROZEN, 0xFFFE, 0, "B8 07 DD FF 12 00 40 00 00 00 3C 00 6E 00 00 00 00 00",
           "B8 07 FF 3F 12 00 00 00 00 00"},
          {VIEW_FROZEN, 0, 0xFE, "B8 07 EE FF 34 00 40 00 00 00 3C 00 6E 00 00 00 00 00",
           "B8 07 FF 3F 34 00 00 00 00 00"},
          {VIEW_FROZEN, 0xFFFE, 0xFE, "B8 07 DD FF 34 00 40 00 00 00 3C 00 6E 00 00 00 00 00",
           "B8 07 FF 3F 34 00 00 00 00 00"}}) {
        SetFlags(row.flags);
        sheet.view.splitRow = row.splitRow;
        sheet.view.splitColumn = row.splitColumn;
        Save(8);
        EXPECT_EQ(Bytes(WINDOW2), row.form8);
        Save(7);
        EXPECT_EQ(Bytes(WINDOW2), row.form7);
    }
    // The grid's colour is an index in the one form and red, green and blue in the other: it stays in its own.
    sheet.options.gridColour = 0x123456;
    sheet.options.window = 0x0890;
    SetFlags(0);
    for (const u8 from : {u8{8}, u8{7}}) {
        sheet.carried.form = from;
        Save(8);
        EXPECT_EQ(Bytes(WINDOW2).substr(0, 23),
                  from == 8 ? "90 0E EE FF 12 00 56 34" : "90 0E EE FF 12 00 40 00");
        Save(7);
        EXPECT_EQ(Bytes(WINDOW2).substr(18), from == 7 ? "56 34 12 00" : "00 00 00 00");
    }
    // Only the sheet that the book opens with is marked.
    AddSheet(u"Two");
    Save(8);
    EXPECT_EQ(Bytes(WINDOW2, 0).substr(0, 5), "90 08");
    EXPECT_EQ(Bytes(WINDOW2, 1).substr(0, 5), "B6 06");
}

TEST_F(ViewRecords, APaneCountsFromTheFirstThatIsShown) {
    Sheet& sheet = *CurrentSheet();
    SetFlags(VIEW_FROZEN);
    struct Row {
        u16 frozenRow, splitRow;
        u8 frozenColumn, splitColumn;
        u16 firstRow;
        const char *form8, *form7;
    };
    for (const Row& row :
         {Row{2, 5, 1, 4, 0x1234, "03 00 03 00 34 12 07 00 00 00", "03 00 03 00 34 12 07 00 00 00"},
          {2, 5, 1, 0, 0x1234, "00 00 03 00 34 12 07 00 02 00", "00 00 03 00 34 12 07 00 02 00"},
          {2, 0, 1, 4, 0x1234, "03 00 00 00 34 12 07 00 01 00", "03 00 00 00 34 12 07 00 01 00"},
          {2, 0, 1, 0, 0xFFFF, "00 00 00 00 FF FF 07 00 03 00", "00 00 00 00 FF 3F 07 00 03 00"},
          {9, 5, 9, 4, 0x1234, "00 00 00 00 34 12 07 00 03 00", "00 00 00 00 34 12 07 00 03 00"},
          {5, 5, 4, 4, 0x1234, "00 00 00 00 34 12 07 00 03 00", "00 00 00 00 34 12 07 00 03 00"},
          {1, 0xFFFF, 0, 255, 0x1234, "FF 00 FE FF 34 12 07 00 00 00", "FF 00 FF 3F 34 12 07 00 00 00"}}) {
        sheet.view.frozenFirstRow = row.frozenRow;
        sheet.view.splitRow = row.splitRow;
        sheet.view.frozenFirstColumn = row.frozenColumn;
        sheet.view.splitColumn = row.splitColumn;
        sheet.view.firstRow = row.firstRow;
        sheet.view.firstColumn = 7;
        Save(8);
        EXPECT_EQ(Bytes(PANE), row.form8);
        Save(7);
        EXPECT_EQ(Bytes(PANE), row.form7);
    }
    SetFlags(0);
    Save(8);
    EXPECT_EQ(Bytes(PANE), "none");
    // A split that is not frozen goes back as it was.
    sheet.options.isSplit = true;
    for (u16 i = 0; i < 5; ++i) sheet.options.split[i] = static_cast<u16>(0x1122 * (i + 1));
    Save(8);
    EXPECT_EQ(Bytes(PANE), "22 11 44 22 66 33 88 44 AA 55");
    Reopen();
    EXPECT_TRUE(CurrentSheet()->options.isSplit);
    EXPECT_EQ(CurrentSheet()->options.split[4], 0x55AA);
}

TEST_F(ViewRecords, APaneIsReadByTheSplitOfItsWindow) {
    struct Row {
        u8 flags;
        std::initializer_list<u16> pane;
        int frozenRow, frozenColumn, splitRow, splitColumn, firstRow, firstColumn;
    };
    for (const Row& row : {Row{8, {2, 3, 20, 21, 0}, 9, 6, 12, 8, 20, 21},
                           {8, {0, 3, 20, 21, 0}, 9, 0, 12, 0, 20, 21},
                           {8, {2, 0, 20, 21, 0}, 0, 6, 0, 8, 20, 21},
                           {8, {0, 0, 20, 21, 0}, 0, 0, 0, 0, 20, 21},
                           {8, {0xFFFF, 0xFFFF, 1, 0x1FF, 0}, 9, 6, 65535, 255, 1, 255},
                           {0, {2, 3, 20, 21, 0}, 0, 0, 0, 0, 9, 6}}) {
        OpenSheet(8, [&](BiffBuilder& b) {
            b.Raw(WINDOW2, {row.flags, 0, 9, 0, 6, 0});
            tally::Bytes body;
            for (const u16 word : row.pane) {
                body.push_back(static_cast<u8>(word));
                body.push_back(static_cast<u8>(word >> 8));
            }
            b.Raw(PANE, body);
        });
        const SheetView& view = CurrentSheet()->view;
        EXPECT_EQ(view.frozenFirstRow, row.frozenRow);
        EXPECT_EQ(view.frozenFirstColumn, row.frozenColumn);
        EXPECT_EQ(view.splitRow, row.splitRow);
        EXPECT_EQ(view.splitColumn, row.splitColumn);
        EXPECT_EQ(view.firstRow, row.firstRow);
        EXPECT_EQ(view.firstColumn, row.firstColumn);
        EXPECT_EQ(CurrentSheet()->options.isSplit, row.flags == 0);
    }
}

TEST_F(ViewRecords, ASelectionIsOneAreaAndTheActiveCell) {
    Sheet& sheet = *CurrentSheet();
    sheet.view.activeRow = 0xFFF1;
    sheet.view.activeColumn = 0x12;
    sheet.view.selection = {0xFFE0, 0xFFF2, 0x11, 0x13};
    Save(8);
    EXPECT_EQ(Bytes(SELECTION), "03 F1 FF 12 00 00 00 01 00 E0 FF F2 FF 11 13");
    Save(7);
    EXPECT_EQ(Bytes(SELECTION), "03 FF 3F 12 00 00 00 01 00 FF 3F FF 3F 11 13");
    sheet.view.activeRow = 0x3FFE;
    sheet.view.selection = {0x3FFE, 0x4000, 1, 2};
    Save(7);
    EXPECT_EQ(Bytes(SELECTION), "03 FE 3F 12 00 00 00 01 00 FE 3F FF 3F 01 02");
    // Of several areas the active one is read.
    OpenSheet(8, [](BiffBuilder& b) {
        b.Raw(SELECTION, {3, 5, 0, 6, 0, 1, 0, 2, 0, 1, 0, 2, 0, 3, 4, 5, 0, 7, 0, 6, 8});
    });
    const SheetView& view = CurrentSheet()->view;
    EXPECT_EQ(view.activeRow, 5);
    EXPECT_EQ(view.activeColumn, 6);
    EXPECT_EQ(view.selection.firstRow, 5);
    EXPECT_EQ(view.selection.lastRow, 7);
    EXPECT_EQ(view.selection.firstColumn, 6);
    EXPECT_EQ(view.selection.lastColumn, 8);
}

TEST_F(ViewRecords, NeighbouringColumnsThatAreEqualShareARecord) {
    Sheet& sheet = *CurrentSheet();
    const u16 standard = DefaultColumnWidth(sheet);
    struct Row {
        std::vector<ColumnInfo> columns;
        std::vector<std::string> records;
    };
    const auto info = [](u8 column, u16 flags, u16 width, u16 format = 15) {
        return ColumnInfo{column, flags, width, format};
    };
    std::string wide = "00 00 00 00 ";
    wide += Digits({static_cast<u8>(standard), static_cast<u8>(standard >> 8)});
    const std::vector<Row> rows = {
        {{info(2, 0, 0x1234), info(3, 0, 0x1234), info(5, 0, 0x1234)},
         {"02 00 03 00 34 12 0F 00 00 00 00 00", "05 00 05 00 34 12 0F 00 00 00 00 00"}},
        {{info(2, 0, 0x1234), info(3, 0, 0x1235)},
         {"02 00 02 00 34 12 0F 00 00 00 00 00", "03 00 03 00 35 12 0F 00 00 00 00 00"}},
        {{info(2, 0, 0x1234), info(3, 0, 0x1234, 16)},
         {"02 00 02 00 34 12 0F 00 00 00 00 00", "03 00 03 00 34 12 10 00 00 00 00 00"}},
        {{info(2, 0, 0x1234), info(3, COLUMN_HIDDEN, 0x1234)},
         {"02 00 02 00 34 12 0F 00 00 00 00 00", "03 00 03 00 34 12 0F 00 01 00 00 00"}},
        {{info(254, COLUMN_USER_WIDTH, 0x1234), info(255, COLUMN_USER_WIDTH, 0x1234)},
         {"FE 00 FF 00 34 12 0F 00 02 00 00 00"}},
        {{info(0, COLUMN_BEST_FIT | COLUMN_COLLAPSED | 3 << LEVEL_SHIFT, 0x1234)},
         {"00 00 00 00 34 12 0F 00 04 13 00 00"}},
        // Ordinary columns are left out, also between others.
        {{info(0, COLUMN_DEFAULT_WIDTH, 0)}, {}},
        {{info(1, 0, 0x1234), info(2, COLUMN_DEFAULT_WIDTH, 0), info(3, 0, 0x1234)},
         {"01 00 01 00 34 12 0F 00 00 00 00 00", "03 00 03 00 34 12 0F 00 00 00 00 00"}},
        // The ordinary width by itself and as a width of its own are one.
        {{info(0, COLUMN_DEFAULT_WIDTH, 7, 16), info(1, 0, standard, 16)},
         {"00 00 01 00 " + wide.substr(12) + " 10 00 00 00 00 00"}},
    };
    for (const Row& row : rows) {
        sheet.columns.Truncate(0);
        for (const ColumnInfo& column : row.columns) ASSERT_TRUE(SetColumnInfo(sheet.columns, column));
        for (const u8 form : {u8{8}, u8{7}}) {
            Save(form);
            std::vector<std::string> found;
            for (const WrittenRecord& record : Find(COLINFO)) found.push_back(Digits(record.body));
            EXPECT_EQ(found, row.records);
        }
    }
}

TEST_F(ViewRecords, TheExtentIsToldInBothForms) {
    Put(0x1233, 0xFE, 1);
    Put(3, 2, 1);
    Save(8);
    EXPECT_EQ(Bytes(DIMENSIONS), "00 00 00 00 34 12 00 00 00 00 FF 00 00 00");
    EXPECT_EQ(Bytes(INDEX).substr(0, 47), "00 00 00 00 00 00 00 00 34 12 00 00 00 00 00 00");
    EXPECT_EQ(Find(INDEX)[0].body.size(), 16u + 4 * 146);
    EXPECT_EQ(Bytes(ROW, 3).substr(0, 17), "03 00 00 00 FF 00");
    Save(7);
    EXPECT_EQ(Bytes(DIMENSIONS), "00 00 34 12 00 00 FF 00 00 00");
    EXPECT_EQ(Bytes(INDEX).substr(0, 35), "00 00 00 00 00 00 34 12 00 00 00 00");
}

TEST_F(ViewRecords, SizesAndTheTabHaveTheirRecords) {
    Sheet& sheet = *CurrentSheet();
    struct Row {
        u16 flags, width, height;
        const char *widthBytes, *standard, *heightBytes;
    };
    constexpr u16 both = VIEW_STANDARD_WIDTH | VIEW_STANDARD_HEIGHT;
    for (const Row& row : {Row{both, 0x1234, 0x2345, "08 00", "none", "00 00 FF 00"},
                           {VIEW_STANDARD_HEIGHT, 0x1234, 0x2345, "12 00", "34 12", "00 00 FF 00"},
                           {VIEW_STANDARD_WIDTH, 0x1200, 0x2345, "08 00", "none", "00 00 45 23"},
                           {VIEW_HEIGHT_DIFFERS, 0x1200, 0x2345, "12 00", "none", "01 00 45 23"}}) {
        sheet.viewFlags = static_cast<u16>((sheet.viewFlags & ~(both | VIEW_HEIGHT_DIFFERS)) | row.flags);
        sheet.defaultColumnWidth = row.width;
        sheet.defaultRowHeight = row.height;
        Save(8);
        EXPECT_EQ(Bytes(DEFAULT_WIDTH), row.widthBytes);
        EXPECT_EQ(Bytes(STANDARD_WIDTH), row.standard);
        EXPECT_EQ(Bytes(DEFAULT_HEIGHT), row.heightBytes);
        EXPECT_EQ(Bytes(ROW).substr(18, 5), row.flags & VIEW_STANDARD_HEIGHT ? "FF 00" : "45 23");
    }
    EXPECT_EQ(Bytes(TAB), "none");
    sheet.tabColour = 0x2A;
    Save(8);
    EXPECT_EQ(Bytes(TAB), "62 08 00 00 00 00 00 00 00 00 00 00 14 00 00 00 2A 00 00 00");
}

}  // namespace
}  // namespace tally
