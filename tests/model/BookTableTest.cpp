#include "model/BookTable.h"

#include "base/MessageTable.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class BookTables : public Sandbox {
  protected:
    static std::string SheetName(i32 sheet) { return Narrow(SheetAt(CurrentBook(), sheet)->name); }
    static void Insert(i32 position, i32 kind) {
        ASSERT_TRUE(InsertSheet(position, nullptr, kind, false, false));
    }
};

TEST_F(BookTables, ANewBookHasSheet1AndDefaultNamesAreReused) {
    EXPECT_EQ(SheetName(0), "Sheet1");
    Insert(1, SHEET_WORKSHEET);
    EXPECT_EQ(SheetName(1), "Sheet2");
    RemoveSheet(CurrentBook(), 1);
    Insert(1, SHEET_WORKSHEET);
    EXPECT_EQ(SheetName(1), "Sheet2");
}

TEST_F(BookTables, NumbersOfUntitledBooksAreNotReused) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book2");
    RemoveBook(CurrentBook());
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book3");
}

TEST_F(BookTables, DefaultNamesAreSoughtWithoutCase) {
    WideView lower = u"sheet2";
    ASSERT_TRUE(InsertSheet(1, &lower, SHEET_WORKSHEET, false, false));
    Insert(2, SHEET_WORKSHEET);
    EXPECT_EQ(SheetName(2), "Sheet3");
    EXPECT_EQ(FindSheet(CurrentBook(), u"SHEET2"), 1);
}

TEST_F(BookTables, InsertingMovesScopedNamesAndReferences) {
    Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(AddName(book, u"local", 1), 0);
    i32 externIndex = -1;
    ASSERT_TRUE(AddExternRef({CurrentBook(), CurrentBook(), 0, 0}, externIndex));
    Insert(0, SHEET_WORKSHEET);
    EXPECT_EQ(book.names[0].sheet, 2);
    EXPECT_EQ(book.externSheets[0].firstSheet, 1);
    Insert(0, SHEET_CHART);
    EXPECT_EQ(book.names[0].sheet, 3);
    EXPECT_EQ(book.externSheets[0].firstSheet, 1);
}

TEST_F(BookTables, AMacroSheetOpensShowingFormulas) {
    Insert(1, SHEET_MACRO);
    EXPECT_EQ(SheetName(1), "Macro1");
    EXPECT_EQ(CurrentSheet()->viewFlags, 0x67);
    EXPECT_EQ(SheetAt(CurrentBook(), 0)->viewFlags, 0x66);
}

TEST_F(BookTables, SteppingSkipsHiddenSheetsAndStaysAtTheEnds) {
    Insert(1, SHEET_WORKSHEET);
    Insert(2, SHEET_WORKSHEET);
    SheetAt(CurrentBook(), 1)->hidden = 1;
    EXPECT_EQ(PreviousSheet(CurrentBook()), 0);
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(PreviousSheet(CurrentBook()), 0);
    EXPECT_EQ(NextSheet(CurrentBook()), 2);
}

TEST_F(BookTables, HiddenLinkBooksGoWithTheLastBookThatNeedsThem) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));  // Book2 links to Book3
    const i32 visible = CurrentBook();
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    BookAt(CurrentBook())->hiddenLink = 1;
    ASSERT_GE(FindOrAddLink(*BookAt(visible), u"Book3"), 0);
    Books().currentBook = 0;
    RemoveBook(0);
    EXPECT_EQ(Books().books.Count(), 2u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book2");
    RemoveBook(CurrentBook());
    EXPECT_EQ(Books().books.Count(), 0u);
    EXPECT_EQ(CurrentBook(), -1);
}

TEST_F(BookTables, TheSheetLimitIsTold) {
    Workbook& book = *CurrentWorkbook();
    // The list is filled with one sheet's pointer, since only its length is asked.
    Sheet* only = book.sheets[0];
    while (book.sheets.Count() < static_cast<u32>(MAX_SHEETS)) ASSERT_TRUE(book.sheets.Append(only));
    EXPECT_FALSE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "No room to insert sheet");
    book.sheets.Truncate(1);
}

TEST_F(BookTables, AFailedCreateLeavesNothing) {
    ResetBooks();
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator(n);
        bool made = false;
        {
            QuietMemoryScope quiet;
            made = CreateWorkbook(nullptr, false);
            if (!made) {
                EXPECT_EQ(Books().books.Count(), 0u);
                EXPECT_EQ(CurrentBook(), -1);
            }
            ResetBooks();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (made) break;
    }
}

// A reader starts a sheet anew when two records disagree on its kind.
TEST(BookTableMemory, ResettingASheetGivesBackItsCellsAndRules) {
    test::FailingAllocator allocator;
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Sheet& sheet = *CurrentSheet();
    const u8 bytes[] = {0x1E, 1, 0};
    ValidationRule* rule = sheet.validations.AppendDefault();
    ASSERT_TRUE(rule && MakeTokens(rule->formula1, bytes, {}));
    ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
    ASSERT_TRUE(format);
    ConditionalCondition* condition = format->conditions.AppendDefault();
    ASSERT_TRUE(condition && MakeTokens(condition->formula2, bytes, {}));
    ASSERT_TRUE(InsertCell(sheet, 0, 0, 15, TextValue(u"text"), FormulaTokens()));
    ResetSheet(SHEET_MACRO, 1);
    EXPECT_EQ(sheet.cells.count, 0u);
    EXPECT_EQ(sheet.kind, SHEET_MACRO);
    EXPECT_EQ(sheet.hidden, 1);
    EXPECT_EQ(Narrow(sheet.name), "Sheet1");
    ResetBooks();
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

class FormatTables : public Sandbox {};

// The failing growth leaves every list of the book as it was.
TEST_F(FormatTables, AFailedAdditionLeavesTheListsAsTheyWere) {
    ResetBooks();
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator;
        QuietMemoryScope quiet;
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Workbook& book = *CurrentWorkbook();
        allocator.FailAt(n);
        const u32 formats = book.numberFormats.Count(), cells = book.cellFormats.Count();
        const u32 fonts = book.fonts.Count();
        u16 index = 0;
        CellFormat candidate;
        candidate.pattern = 3;
        bool good = FindOrAddNumberFormat(book, u"[Red]0.000", index);
        if (!good) EXPECT_EQ(book.numberFormats.Count(), formats);
        if (good && !(good = ReplaceNumberFormat(book, 14, u"yyyy"))) {
            EXPECT_EQ(Narrow(GetNumberFormatText(book, 14)).substr(0, 1), "m");
        }
        if (good && !(good = FindOrAddCellFormat(book, candidate, index))) {
            EXPECT_EQ(book.cellFormats.Count(), cells);
        }
        if (good && !(good = FindOrAddFont(book, u"Courier", true, true, true, true, 240, 8, index))) {
            EXPECT_EQ(book.fonts.Count(), fonts);
        }
        ResetBooks();
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (good) break;
        ASSERT_LT(n, 100u);
    }
}

TEST_F(FormatTables, EqualFormatsShareAnIndex) {
    Workbook& book = *CurrentWorkbook();
    CellFormat bold = ResolveCellFormat(book, 15);
    ASSERT_TRUE(FindOrAddFont(book, u"Arial", true, false, false, false, 200, AUTOMATIC_COLOUR, bold.font));
    u16 first = 0, second = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, bold, first));
    ASSERT_TRUE(FindOrAddCellFormat(book, bold, second));
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, 21);
}

TEST_F(FormatTables, CustomFormatsAreNumberedOn) {
    Workbook& book = *CurrentWorkbook();
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.000", id));
    EXPECT_EQ(id, 50);
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.0000", id));
    EXPECT_EQ(id, 51);
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.000", id));
    EXPECT_EQ(id, 50);
    ASSERT_TRUE(ReplaceNumberFormat(book, 164, u"0.00000"));
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.000000", id));
    EXPECT_EQ(id, 165);
    EXPECT_EQ(FindNumberFormat(book, 999), book.numberFormats.Count());
}

TEST_F(FormatTables, Format14HoldsTheDateOrderOfTheRegion) {
    EXPECT_EQ(Narrow(GetNumberFormatText(*CurrentWorkbook(), 14)), "m\\/d\\/yyyy");
    EXPECT_EQ(Narrow(GetNumberFormatText(*CurrentWorkbook(), 5)), "$#,##0_);($#,##0)");
    Region("de-DE");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(Narrow(GetNumberFormatText(*CurrentWorkbook(), 14)), "dd\\.mm\\.yyyy");
    EXPECT_EQ(Narrow(GetNumberFormatText(*CurrentWorkbook(), 8)), "#,##0.00 \"€\";[Red]-#,##0.00 \"€\"");
}

TEST_F(FormatTables, TheDefaultsOfANewBook) {
    const Workbook& book = *CurrentWorkbook();
    EXPECT_EQ(book.cellFormats.Count(), 21u);
    EXPECT_EQ(book.styles.Count(), 6u);
    EXPECT_EQ(book.fonts.Count(), 4u);
    EXPECT_EQ(book.fonts[0].height, 200);
    EXPECT_EQ(book.cellFormats[15].flags, FORMAT_LOCKED);
    EXPECT_EQ(book.cellFormats[16].numberFormat, 43);
    EXPECT_EQ(book.palette[2], 0x0000FFu);
    EXPECT_EQ(PaletteColour(book, 64, 7), 7u);
    EXPECT_EQ(book.palette[63], 0x333333u);
}

TEST_F(FormatTables, LocalTextsTranslateColoursAndGeneral) {
    Workbook& book = *CurrentWorkbook();
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"[Red]0;[h]:mm;\"[Red]\"General;[>5]_[0", id));
    const NumberFormat& row = book.numberFormats[FindNumberFormat(book, id)];
    EXPECT_EQ(row.localText.View(), u"[红色]0;[h]:mm;\"[Red]\"常规;[>5]_[0");
    WideText back;
    ASSERT_TRUE(LocalToFileText(row.localText, back));
    EXPECT_EQ(back.View(), row.text.View());
}

TEST(Messages, FixedRowsStandAtTheirNumbers) {
    EXPECT_EQ(Message(226), u"全部");
    EXPECT_EQ(Message(MSG_PASSWORD_PROTECTED), u"This file is password protected");
    EXPECT_TRUE(Message(674).empty());
}

}  // namespace
}  // namespace tally
