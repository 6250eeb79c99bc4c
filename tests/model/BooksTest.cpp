#include "base/Platform.h"
#include "formula/Links.h"
#include "model/BookTable.h"
#include "model/Carried.h"
#include "model/CellStore.h"
#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// ---- books --------------------------------------------------------------------------------------------

struct Counted {
    int changed = 0, closing = 0, structure = 0, inserted = 0, removed = 0, lastBook = -1, lastSheet = -1;
};
Counted counted;

class OpenBooks : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        counted = Counted();
        Calls().booksChanged = [] { ++counted.changed; };
        Calls().structureChanged = [] { ++counted.structure; };
        Calls().bookClosing = [](i32 book) {
            ++counted.closing;
            counted.lastBook = book;
        };
        Calls().sheetInserted = [](i32 book, i32 sheet) {
            ++counted.inserted;
            counted.lastBook = book;
            counted.lastSheet = sheet;
        };
        Calls().sheetRemoved = [](i32 book, i32 sheet) {
            ++counted.removed;
            counted.lastBook = book;
            counted.lastSheet = sheet;
        };
    }
    // One book for each letter instead of the first.
    static void MakeBooks(std::string_view letters) {
        for (const char letter : letters) {
            const char16_t name = static_cast<char16_t>(letter);
            const WideView path(&name, 1);
            ASSERT_TRUE(CreateWorkbook(&path, false));
        }
        RemoveBook(0);
    }
    static std::string Names() {
        std::string all;
        for (const Workbook* book : Books().books) all += Narrow(book->path);
        return all;
    }
};

TEST_F(OpenBooks, TheBookThatIsCurrentAfterAnotherClosed) {
    struct Row {
        const char* books;
        i32 current, closed;
        const char* left;
        const char* after;
    };
    for (const Row& row : {Row{"abc", 1, 1, "ac", "c"}, Row{"abc", 2, 2, "ab", "b"},
                           Row{"abc", 0, 0, "bc", "b"}, Row{"abc", 2, 0, "bc", "c"},
                           Row{"abc", 0, 2, "ab", "a"}, Row{"abc", 1, 0, "bc", "b"}, Row{"a", 0, 0, "", ""}}) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeBooks(row.books);
        Books().currentBook = row.current;
        RemoveBook(row.closed);
        EXPECT_EQ(Names(), row.left);
        EXPECT_EQ(CurrentBook() < 0 ? "" : Narrow(CurrentWorkbook()->path), row.after) << row.closed;
        for (i32 b = 0; BookAt(b); ++b) {
            EXPECT_EQ(SheetAt(b, 0)->book, b);
            EXPECT_EQ(SheetAt(b, 0)->index, 0);
        }
    }
}

TEST_F(OpenBooks, HiddenBooksStayWhileALinkOrAMacroNeedsThem) {
    MakeBooks("abCDE");
    const auto link = [](i32 from, WideView to) { ASSERT_GE(FindOrAddLink(*BookAt(from), to), 0); };
    link(0, u"C");
    link(2, u"D");
    link(3, u"C");
    for (i32 book = 2; book < 5; ++book) BookAt(book)->hiddenLink = 1;
    Books().currentBook = 1;
    RemoveBook(1);
    // E was reached by nobody; a hidden one is never current.
    EXPECT_EQ(Names(), "aCD");
    EXPECT_EQ(CurrentBook(), 0);
    Calls().macroRunsIn = [](i32 book) { return BookAt(book)->path.View() == u"D"; };
    RemoveBook(0);
    EXPECT_EQ(Names(), "CD");
    EXPECT_EQ(CurrentBook(), -1);
    Calls().macroRunsIn = [](i32) { return false; };
    RemoveBook(0);
    EXPECT_EQ(Names(), "");
}

TEST_F(OpenBooks, WhoeverStandsAboveIsToldOfChanges) {
    ASSERT_TRUE(CreateWorkbook(nullptr, true));
    EXPECT_EQ(counted.changed, 1);
    EXPECT_EQ(counted.inserted, 1);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(counted.changed, 1);
    ASSERT_TRUE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_EQ(counted.changed, 1);
    EXPECT_EQ(counted.lastBook, 2);
    EXPECT_EQ(counted.lastSheet, 0);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    ASSERT_TRUE(InsertSheet(9, nullptr, SHEET_WORKSHEET, true, true));
    EXPECT_EQ(counted.changed, 2);
    EXPECT_EQ(counted.lastSheet, 2);
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    counted = Counted();
    RemoveSheet(2, 1);
    EXPECT_EQ(counted.removed, 1);
    EXPECT_EQ(counted.lastSheet, 1);
    EXPECT_EQ(counted.structure, 1);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    RemoveBook(0);
    EXPECT_EQ(counted.closing, 1);
    EXPECT_EQ(counted.lastBook, 0);
    EXPECT_EQ(counted.changed, 1);
    RemoveBook(7);
    EXPECT_EQ(counted.closing, 1);
}

TEST_F(OpenBooks, ABookIsFoundByItsFileNameAlone) {
    const WideView paths[] = {u"/home/one/First.xls", u"/two/second.xls", u"/two/first.xls"};
    for (const WideView& path : paths) ASSERT_TRUE(CreateWorkbook(&path, false));
    BookAt(1)->hiddenLink = 1;
    EXPECT_EQ(FindOpenBook(u"FIRST.XLS", false), 1);
    EXPECT_EQ(FindOpenBook(u"/elsewhere/first.xls", true), 3);
    EXPECT_EQ(FindOpenBook(u"c:\\dir\\Second.xls", true), 2);
    EXPECT_EQ(FindOpenBook(u"\u0001ab\u0003second.xls", true), 2);
    EXPECT_EQ(FindOpenBook(u"second", false), -1);
    EXPECT_EQ(FindOpenBook(u"Book1", true), 0);
}

// ---- sheets -------------------------------------------------------------------------------------------

TEST_F(OpenBooks, SheetsKnowTheirPlaceAndKeepTheirSerial) {
    for (i32 i = 1; i < 4; ++i) ASSERT_TRUE(InsertSheet(i, nullptr, SHEET_WORKSHEET, false, false));
    const u32 serials[] = {SheetAt(0, 0)->serial, SheetAt(0, 1)->serial, SheetAt(0, 2)->serial,
                           SheetAt(0, 3)->serial};
    const auto places = [&] {
        std::string all;
        for (i32 i = 0; SheetAt(0, i); ++i) {
            EXPECT_EQ(SheetAt(0, i)->index, i);
            EXPECT_EQ(SheetAt(0, i)->book, 0);
            all += static_cast<char>('a' + (std::find(serials, serials + 4, SheetAt(0, i)->serial) - serials));
        }
        return all;
    };
    EXPECT_EQ(places(), "abcd");
    MoveSheetPlace(0, 0, 2);
    EXPECT_EQ(places(), "bcad");
    MoveSheetPlace(0, 3, 1);
    EXPECT_EQ(places(), "bdca");
    MoveSheetPlace(0, 4, 1);
    MoveSheetPlace(0, 1, -1);
    EXPECT_EQ(places(), "bdca");
    Sheet* taken = DetachSheet(0, 3);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->book, -1);
    EXPECT_EQ(taken->index, -1);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    EXPECT_EQ(places(), "bdc");
    ASSERT_TRUE(AttachSheet(0, 1, taken));
    EXPECT_EQ(places(), "badc");
    EXPECT_EQ(DetachSheet(0, 4), nullptr);
    Sheet* last = DetachSheet(0, 0);
    ASSERT_TRUE(AttachSheet(0, 99, last));
    EXPECT_EQ(places(), "adcb");
    EXPECT_FALSE(AttachSheet(1, 0, last));
}

TEST_F(OpenBooks, ANewSheetOfEachKindHasItsNameAndView) {
    struct Row {
        i32 kind;
        const char* name;
        u16 flags;
    };
    const u16 plain = VIEW_GRIDLINES | VIEW_HEADERS | VIEW_STANDARD_WIDTH | VIEW_STANDARD_HEIGHT;
    for (const Row& row :
         {Row{SHEET_CHART, "Chart1", 0}, Row{SHEET_MACRO, "Macro1", u16(plain | VIEW_FORMULAS)},
          Row{SHEET_WORKSHEET, "Sheet2", plain}, Row{SHEET_CHART, "Chart2", 0}}) {
        ASSERT_TRUE(InsertSheet(-1, nullptr, row.kind, false, false));
        EXPECT_EQ(Narrow(WideView(CurrentSheet()->name)), row.name);
        EXPECT_EQ(CurrentSheet()->viewFlags, row.flags) << row.name;
        EXPECT_EQ(CurrentSheet()->kind, row.kind);
        EXPECT_EQ(CurrentSheet()->index, static_cast<i32>(CurrentWorkbook()->sheets.Count()) - 1);
        EXPECT_EQ(CurrentSheet()->serial, Books().sheetSerial);
    }
    const std::u16string longName(40, u'n');
    const WideView name = longName;
    ASSERT_TRUE(InsertSheet(0, &name, SHEET_WORKSHEET, false, false));
    EXPECT_EQ(WideView(CurrentSheet()->name), longName.substr(0, 31));
}

// ---- the gate -----------------------------------------------------------------------------------------

TEST_F(OpenBooks, TheGateIsThePlatformsThenTheAnswerOfTheBook) {
    const ForeignUse use = static_cast<ForeignUse>(FOREIGN_LINK + 1);
    Headless().trust = TRUST_OPEN;
    EXPECT_EQ(TrustOf(0, use), TRUST_OPEN);
    EXPECT_EQ(TrustOf(9, use), TRUST_OPEN);
    CloseTrust(true);
    EXPECT_EQ(TrustOf(0, use), TRUST_CLOSED);
    EXPECT_FALSE(MayReachOutside(0, use, u"x"));
    CloseTrust(false);
    EXPECT_TRUE(MayReachOutside(0, use, u"x"));
    Headless().trust = TRUST_CLOSED;
    BookAt(0)->trust[use] = BookTrust::TRUST_GRANTED;
    EXPECT_EQ(TrustOf(0, use), TRUST_CLOSED);
    EXPECT_FALSE(MayReachOutside(0, use, u"x"));
    Headless().trust = TRUST_ASK;
    EXPECT_EQ(TrustOf(0, use), TRUST_OPEN);
    BookAt(0)->trust[use] = TRUST_REFUSED;
    EXPECT_EQ(TrustOf(0, use), TRUST_CLOSED);
    BookAt(0)->trust[use] = TRUST_NOT_ASKED;
    EXPECT_EQ(TrustOf(0, use), TRUST_ASK);
    EXPECT_EQ(TrustOf(1, use), TRUST_CLOSED);
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    ResetTrust();
}

TEST_F(OpenBooks, AWantedLinkIsNotedOnceAndOnlyWhereItCouldBeAskedFor) {
    Headless().links = TRUST_ASK;
    const i32 link = FindOrAddLink(*CurrentWorkbook(), u"/dir/other.xls");
    ASSERT_GE(link, 0);
    Workbook& book = *CurrentWorkbook();
    ExternBook& row = book.externBooks[static_cast<u32>(link)];
    EXPECT_TRUE(CanAskForLink(0, link, u"/dir/other.xls"));
    EXPECT_FALSE(CanAskForLink(0, link, u"//machine/share/other.xls"));
    EXPECT_FALSE(CanAskForLink(0, link + 1, u"/dir/other.xls"));
    EXPECT_FALSE(CanAskForLink(0, -1, u"/dir/other.xls"));
    EXPECT_FALSE(CanAskForLink(1, link, u"/dir/other.xls"));
    FileRequest request;
    Array<u8> bytes;
    request.path = u"/dir/other.xls";
    EXPECT_EQ(ReadLinkedFile(0, link + 1, request, bytes), READ_REFUSED);
    EXPECT_TRUE(book.wantedLink.IsEmpty());
    book.hiddenLink = 1;
    EXPECT_EQ(ReadLinkedFile(0, link, request, bytes), READ_REFUSED);
    EXPECT_TRUE(book.wantedLink.IsEmpty());
    book.hiddenLink = 0;
    EXPECT_EQ(ReadLinkedFile(0, link, request, bytes), READ_REFUSED);
    EXPECT_EQ(book.wantedLink.View(), u"/dir/other.xls");
    request.path = u"/dir/second.xls";
    EXPECT_EQ(ReadLinkedFile(0, link, request, bytes), READ_REFUSED);
    EXPECT_EQ(book.wantedLink.View(), u"/dir/other.xls");
    row.trusted = true;
    EXPECT_FALSE(CanAskForLink(0, link, u"/dir/other.xls"));
    EXPECT_NE(ReadLinkedFile(0, link, request, bytes), READ_REFUSED);
    request.path = u"//machine/share/other.xls";
    EXPECT_EQ(ReadLinkedFile(0, link, request, bytes), READ_REFUSED);
}

// ---- carried records ----------------------------------------------------------------------------------

TEST_F(OpenBooks, AMoveCountsFromItsFirstCellsAndItsInverseTakesItBack) {
    Sheet& sheet = *CurrentSheet();
    EXPECT_FALSE(HasMovedWithin(sheet, 65535, 255));
    NoteMove(sheet, {5, 9, 3, 4}, 2, 0);
    EXPECT_TRUE(HasMovedWithin(sheet, 5, 3));
    EXPECT_FALSE(HasMovedWithin(sheet, 4, 255));
    EXPECT_FALSE(HasMovedWithin(sheet, 65535, 2));
    NoteMove(sheet, {20, 20, 7, 9}, -1, -2);
    EXPECT_EQ(sheet.moves.list.Last().row, 19);
    EXPECT_EQ(sheet.moves.list.Last().column, 5);
    NoteMove(sheet, {7, 11, 3, 4}, -2, 0);  // not the last one
    EXPECT_EQ(sheet.moves.list.Count(), 3u);
    NoteMove(sheet, {5, 9, 3, 4}, 2, 0);
    EXPECT_EQ(sheet.moves.list.Count(), 2u);
    NoteMove(sheet, {19, 19, 5, 7}, 1, 2);
    NoteMove(sheet, {7, 11, 3, 4}, -2, 0);
    EXPECT_FALSE(HasMovedWithin(sheet, 65535, 255));
    NoteMove(sheet, {7, 11, 3, 4}, 0, 1);
    NoteMove(sheet, {7, 11, 4, 5}, 0, -2);  // another way
    EXPECT_EQ(sheet.moves.list.Count(), 2u);
    sheet.moves = CellMoves();
    sheet.moves.uncounted = true;
    EXPECT_TRUE(HasMovedWithin(sheet, 0, 0));
}

TEST_F(OpenBooks, SheetsThatWereReadAreKnownInOtherPlaces) {
    Workbook& book = *CurrentWorkbook();
    for (i32 i = 1; i < 3; ++i) ASSERT_TRUE(InsertSheet(i, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_FALSE(SheetsWereRemoved(book) || SheetsWereRenamed(book));
    ASSERT_TRUE(MarkSheetsRead(book) && MarkSheetsRead(book));
    EXPECT_EQ(book.sheetsRead.Count(), 3u);
    MoveSheetPlace(0, 0, 2);
    ASSERT_TRUE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_FALSE(SheetsWereRemoved(book) || SheetsWereRenamed(book));
    SheetAt(0, 1)->name[0] = u'x';
    EXPECT_TRUE(SheetsWereRenamed(book));
    EXPECT_FALSE(SheetsWereRemoved(book));
    RemoveSheet(0, 1);
    EXPECT_TRUE(SheetsWereRemoved(book));
    EXPECT_FALSE(SheetsWereRenamed(book));
}

}  // namespace
}  // namespace tally
