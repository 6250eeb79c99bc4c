#include <string>
#include <vector>

#include "base/MessageTable.h"
#include "formula/Compiler.h"
#include "formula/EngineState.h"
#include "formula/Links.h"
#include "formula/NameMeaning.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// ---- paths ----------------------------------------------------------------------------------------

class LinkPaths : public Sandbox {};

TEST_F(LinkPaths, TheStoredFormIsExpandedMarkByMark) {
    const struct {
        WideView own, stored;
        const char* path;
    } rows[] = {
        {u"C:\\w\\o.xls", u"\u0001x.xls", "x.xls"},
        {u"C:\\w\\o.xls", u"x.xls", "x.xls"},
        {u"C:\\w\\o.xls", u"\u0001\u0001Da\u0003x.xls", "D:\\a\\x.xls"},
        {u"/w/o.xls", u"\u0001\u0001Da\u0003x.xls", "D:\\a\\x.xls"},
        {u"C:\\w\\o.xls", u"\u0001\u0002a\u0003x.xls", "C:\\a\\x.xls"},
        {u"/w/o.xls", u"\u0001\u0002a\u0003x.xls", "a/x.xls"},
        {u"C:", u"\u0001\u0002x.xls", "x.xls"},
        {u"C:x", u"\u0001\u0002x.xls", "C:\\x.xls"},
        {u"C:\\w\\o.xls", u"\u0001\u0003a\u0003x.xls", "\\a\\x.xls"},
        {u"/w/o.xls", u"\u0001\u0003a\u0003x.xls", "/a/x.xls"},
        {u"", u"\u0001a\u0003x.xls", "a/x.xls"},
        {u"/w\\o.xls", u"\u0001a\u0003x.xls", "a/x.xls"},
        {u"\\w\\o.xls", u"\u0001a\u0003x.xls", "a\\x.xls"},
        {u"/w/o.xls", u"\u0001", ""},
        {u"/w/o.xls", u"\u0001\u0001", "\x01"},
        {u"/w/o.xls", u"ab\u0001", "ab\x01"},
        {u"/w/o.xls", u"ab\u0001E", "abE:\\"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(CurrentWorkbook()->path.Assign(row.own));
        WideText out;
        ASSERT_TRUE(out.Assign(u"before") && ExpandStoredPath(out, row.stored, *CurrentWorkbook()));
        EXPECT_EQ(Narrow(out), row.path) << Narrow(row.own) << ' ' << Narrow(row.stored);
    }
}

TEST_F(LinkPaths, APathIsMadeAbsoluteByTheBooksDirectory) {
    const struct {
        WideView own, path;
        const char* absolute;
    } rows[] = {
        {u"/w/o.xls", u"x.xls", "/w/x.xls"},
        {u"/w/o.xls", u"a/x.xls", "/w/a/x.xls"},
        {u"/w/o.xls", u"./x.xls", "/w/x.xls"},
        {u"/w/o.xls", u"/x.xls", "/x.xls"},
        {u"/w/o.xls", u"\\x.xls", "\\x.xls"},
        {u"/w/o.xls", u"D:x.xls", "D:x.xls"},
        {u"/w/o.xls", u"D:", "/w/D:"},
        {u"/w/o.xls", u"", "/w/"},
        {u"/w/o.xls", u"/./a/././b/x.xls", "/a/b/x.xls"},
        {u"/w/o.xls", u"/a/.\\x.xls", "/a\\x.xls"},
        {u"/w/o.xls", u"/a/.x/b.", "/a/.x/b."},
        {u"/w/o.xls", u"/a./b/..", "/a./b/.."},
        {u"/w/o.xls", u"/a/.", "/a/."},
        {u"C:\\w\\o.xls", u"x.xls", "C:\\w\\x.xls"},
        {u"", u"x.xls", "x.xls"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(CurrentWorkbook()->path.Assign(row.own));
        WideText out;
        ASSERT_TRUE(out.Assign(row.path) && MakeAbsolutePath(out, *CurrentWorkbook()));
        EXPECT_EQ(Narrow(out), row.absolute) << Narrow(row.path);
    }
}

TEST_F(LinkPaths, TheStoredFormOfAPathDependsOnTheBooksOwn) {
    const struct {
        WideView own, path;
        const char* stored;
    } rows[] = {
        {u"C:\\w\\o.xls", u"x.xls", "\x01x.xls"},
        {u"C:\\w\\o.xls", u"C:\\w\\x.xls", "\x01x.xls"},
        {u"C:\\w\\o.xls", u"c:\\W\\x.xls", "\x01x.xls"},
        {u"C:\\w\\o.xls", u"C:\\a\\x.xls",
         "\x01\x02"
         "a\x03x.xls"},
        {u"C:\\w\\o.xls", u"c:\\a\\b\\x.xls",
         "\x01\x02"
         "a\x03"
         "b\x03x.xls"},
        {u"C:\\w\\o.xls", u"D:\\a\\x.xls",
         "\x01\x01"
         "Da\x03x.xls"},
        {u"C:\\w\\o.xls", u"D:a\\x.xls",
         "\x01\x01"
         "Da\x03x.xls"},
        {u"C:\\w\\o.xls", u"D:\\x.xls",
         "\x01\x01"
         "Dx.xls"},
        {u"C:\\w\\o.xls", u"/a/x.xls",
         "\x01\x03"
         "a\x03x.xls"},
        {u"/w/o.xls", u"D:\\a/x.xls",
         "\x01\x01"
         "Da\x03x.xls"},
        {u"/w/o.xls", u"/w/x.xls", "\x01x.xls"},
        {u"/w/o.xls", u"/a/x.xls",
         "\x01\x03"
         "a\x03x.xls"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(CurrentWorkbook()->path.Assign(row.own));
        WideText out;
        ASSERT_TRUE(out.Assign(u"before") && MakeStoredPath(out, row.path, *CurrentWorkbook()));
        EXPECT_EQ(Narrow(out), row.stored) << Narrow(row.own) << ' ' << Narrow(row.path);
    }
}

// ---- books ----------------------------------------------------------------------------------------

struct Asked {
    i32 book, externBook;
    std::string path;
};
std::vector<Asked> asked;
i32 opened = -1;  // what the opener gives

i32 Open(i32 book, i32 externBook, WideView path) {
    asked.push_back({book, externBook, Narrow(path)});
    return opened;
}

class LinkedBooks : public Sandbox {
  protected:
    // "/w/own.xls" is current; "/w/near.xls" is open beside it.
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/w/own.xls"));
        const WideView near = u"/w/near.xls";
        ASSERT_TRUE(CreateWorkbook(&near, false));
        Books().currentBook = 0;
        SetLinkOpener(Open);
        asked.clear();
        opened = -1;
        Headless().links = TRUST_ASK;
    }
    static u8 State(std::string_view cell) { return CellAtName(cell)->calcState; }
    static void Answer(i32 answer) { ASSERT_TRUE(Headless().answers.Append(answer)); }
    static u32 Boxes() { return Headless().boxes.Count(); }
    static std::string Box() { return Narrow(Headless().boxes.Last().text); }
    static i32 LinkTo(WideView path) { return FindOrAddLink(*CurrentWorkbook(), path); }
    // Cells as they stand after a load: with their values.
    static void Settle() {
        CalculateBook(CurrentBook());
        asked.clear();
        CurrentWorkbook()->wantedLink.Clear();
    }
};

TEST_F(LinkedBooks, ALinkLeadsToTheOpenBookOrIsOpened) {
    const i32 near = LinkTo(u"/elsewhere/NEAR.xls"), far = LinkTo(u"/a/far.xls");
    const i32 own = FindOrAddExternBook(*CurrentWorkbook(), EXTERN_SELF);
    EXPECT_EQ(FindOrOpenLinkedBook(0, near), 1);
    for (const i32 row : {-1, 3, own}) EXPECT_EQ(FindOrOpenLinkedBook(0, row), -1) << row;
    EXPECT_EQ(FindOrOpenLinkedBook(7, near), -1);
    EXPECT_TRUE(asked.empty());
    EXPECT_EQ(FindOrOpenLinkedBook(0, far), -1);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].book, 0);
    EXPECT_EQ(asked[0].externBook, far);
    EXPECT_EQ(asked[0].path, "/a/far.xls");
    opened = 1;
    EXPECT_EQ(FindOrOpenLinkedBook(0, far), 1);
    SetLinkOpener(nullptr);
    EXPECT_EQ(FindOrOpenLinkedBook(0, far), -1);
}

TEST_F(LinkedBooks, AfterALoadWhatReadsOpenBooksIsWorkedOutAnewWithoutAQuestion) {
    Enter("A1", "=[near.xls]Sheet1!B1");
    Enter("A2", "=SUM([near.xls]Sheet1!B1:B2)");
    Enter("A3", "=A1+1");
    Enter("A4", "=5");
    Settle();
    UpdateLinks(0, true, true);
    EXPECT_EQ(Boxes(), 0u);
    EXPECT_TRUE(asked.empty());
    for (const char* cell : {"A1", "A2", "A3"}) EXPECT_EQ(State(cell), CALC_STALE) << cell;
    EXPECT_EQ(State("A4"), CALC_CURRENT);
}

TEST_F(LinkedBooks, ABookWithoutLinksAsksNothingAndStaysAsItIs) {
    Enter("A1", "=Sheet1!B1");
    Settle();
    UpdateLinks(0, true, true);
    UpdateLinks(9, true, true);
    EXPECT_EQ(Boxes(), 0u);
    EXPECT_EQ(State("A1"), CALC_CURRENT);
}

TEST_F(LinkedBooks, ClosedBooksAreReadAfterAYes) {
    Enter("A1", "=[far.xls]Sheet1!B1");
    Enter("A2", "=[near.xls]Sheet1!B1");
    Enter("A3", "=1");
    DefineName("theirs", "=[gone.xls]Sheet1!$A$1");
    DefineName("more", "=theirs+1");
    Enter("A4", "=more");
    Settle();
    Answer(IDYES);
    UpdateLinks(0, true, false);
    ASSERT_EQ(Boxes(), 1u);
    EXPECT_EQ(Box(), Narrow(Message(MSG_UPDATE_LINKS)) + "\n/w/far.xls\n/w/gone.xls");
    EXPECT_EQ(Headless().boxes.Last().flags, u32{MB_YESNO} | MB_ICONQUESTION);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].path + asked[1].path, "/w/far.xls/w/gone.xls");
    for (const char* cell : {"A1", "A2", "A4"}) EXPECT_EQ(State(cell), CALC_STALE) << cell;
    EXPECT_EQ(State("A3"), CALC_CURRENT);
    for (const ExternBook& link : CurrentWorkbook()->externBooks) {
        const std::string path = Narrow(LinkFileName(link.path));
        if (link.kind == EXTERN_FILE) EXPECT_EQ(link.trusted, path != "near.xls") << path;
    }
    EXPECT_EQ(CurrentWorkbook()->trust[FOREIGN_LINK], TRUST_NOT_ASKED);
}

TEST_F(LinkedBooks, ANoLeavesClosedBooksAndTheirReadersAlone) {
    Enter("A1", "=[far.xls]Sheet1!B1");
    Enter("A2", "=[near.xls]Sheet1!B1");
    Settle();
    Answer(IDNO);
    UpdateLinks(0, true, true);
    EXPECT_EQ(Boxes(), 1u);
    EXPECT_TRUE(asked.empty());
    EXPECT_EQ(State("A1"), CALC_CURRENT);
    EXPECT_EQ(State("A2"), CALC_STALE);
    EXPECT_EQ(CurrentWorkbook()->trust[FOREIGN_LINK], TRUST_REFUSED);
    // And is not asked again.
    UpdateLinks(0, true, true);
    EXPECT_EQ(Boxes(), 1u);
    EXPECT_TRUE(asked.empty());
}

TEST_F(LinkedBooks, WithoutAPromptTheGivenAnswerCounts) {
    Enter("A1", "=[far.xls]Sheet1!B1");
    for (const bool answer : {false, true}) {
        Settle();
        UpdateLinks(0, false, answer);
        EXPECT_EQ(Boxes(), 0u);
        EXPECT_EQ(asked.size(), answer ? 1u : 0u);
        EXPECT_EQ(State("A1"), answer ? CALC_STALE : CALC_CURRENT);
    }
}

TEST_F(LinkedBooks, ALinkThatNoFormulaUsesIsNotAskedAbout) {
    EXPECT_GE(LinkTo(u"/a/far.xls"), 0);
    DefineName("unused", "=[gone.xls]Sheet1!$A$1");
    Enter("A1", "=1");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    FormulaPlace place;
    CellInput input;
    ASSERT_TRUE(CompileFormula(place, u"=[far.xls]Sheet1!A1", 'V', input.tokens));
    ASSERT_TRUE(SetCell(0, 1, input, false, false));
    Settle();
    UpdateLinks(0, true, true);
    EXPECT_EQ(Boxes(), 0u);
    EXPECT_TRUE(asked.empty());
}

TEST_F(LinkedBooks, WhereTheGateIsShutOrOpenNobodyIsAsked) {
    Enter("A1", "=[far.xls]Sheet1!B1");
    for (const TrustState state : {TRUST_CLOSED, TRUST_OPEN}) {
        Settle();
        Headless().links = state;
        UpdateLinks(0, true, true);
        EXPECT_EQ(Boxes(), 0u);
        EXPECT_TRUE(asked.empty());
    }
}

TEST_F(LinkedBooks, AQuestionNamesSixteenFilesAtMost) {
    for (i32 i = 10; i < 29; ++i) Enter("A" + std::to_string(i), "=[f" + std::to_string(i) + ".xls]S!A1");
    Settle();
    Answer(IDYES);
    UpdateLinks(0, true, false);
    const std::string box = Box();
    EXPECT_EQ(std::count(box.begin(), box.end(), '\n'), 16);
    EXPECT_NE(box.find("/w/f25.xls"), std::string::npos);
    EXPECT_EQ(box.find("/w/f26.xls"), std::string::npos);
    i32 trusted = 0;
    for (const ExternBook& link : CurrentWorkbook()->externBooks) trusted += link.trusted;
    EXPECT_EQ(trusted, 16);
}

TEST_F(LinkedBooks, FilesThatFormulasWantedAreAskedAboutOnce) {
    EXPECT_FALSE(AskForWantedLinks(0));
    EXPECT_FALSE(AskForWantedLinks(9));
    Enter("A1", "=[far.xls]Sheet1!B1");
    Enter("A2", "=INDIRECT(\"A9\")");
    Enter("A3", "=7");
    EXPECT_FALSE(AskForWantedLinks(0));
    EXPECT_EQ(Boxes(), 0u);
    for (const i32 answer : {IDNO, IDYES}) {
        Settle();
        CurrentWorkbook()->trust[FOREIGN_LINK] = TRUST_NOT_ASKED;
        ASSERT_TRUE(CurrentWorkbook()->wantedLink.Assign(u"/w/far.xls"));
        Answer(answer);
        EXPECT_EQ(AskForWantedLinks(0), answer == IDYES);
        EXPECT_TRUE(CurrentWorkbook()->wantedLink.IsEmpty());
        EXPECT_EQ(Headless().boxes.Last().flags, u32{MB_YESNO} | MB_ICONWARNING | MB_DEFBUTTON2);
        EXPECT_NE(Box().find("own.xls"), std::string::npos);
        EXPECT_NE(Box().find("\n" + Narrow(TrustUseText(FOREIGN_LINK)) + "\n/w/far.xls\n" +
                             Narrow(Message(MSG_TRUST_QUESTION))),
                  std::string::npos)
            << Box();
        EXPECT_EQ(asked.size(), answer == IDYES ? 1u : 0u);
        for (const char* cell : {"A1", "A2"})
            EXPECT_EQ(State(cell), answer == IDYES ? CALC_STALE : CALC_CURRENT) << cell;
        EXPECT_EQ(State("A3"), CALC_CURRENT);
    }
    EXPECT_EQ(Boxes(), 2u);
    EXPECT_FALSE(AskForWantedLinks(0));
}

TEST_F(LinkedBooks, ABookThatWasOpenedMakesItsReadersStale) {
    Enter("A1", "=[near.xls]Sheet1!B1");
    Enter("A2", "=[far.xls]Sheet1!B1");
    Enter("A3", "=A1*2");
    Books().currentBook = 1;
    Enter("A1", "=B1");
    Enter("A2", "=[near.xls]Sheet1!B1");
    Books().currentBook = 0;
    CalculateBook(1);
    Settle();
    RefreshLinksTo(1);
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_CURRENT);
    EXPECT_EQ(State("A3"), CALC_STALE);
    Books().currentBook = 1;
    EXPECT_EQ(State("A1"), CALC_CURRENT);
    EXPECT_EQ(State("A2"), CALC_CURRENT);
    Books().currentBook = 0;
    Settle();
    // Of a book that nothing leads to nobody is a reader, though its own link leads to an open book.
    RefreshLinksTo(0);
    EXPECT_EQ(State("A1"), CALC_CURRENT);
}

TEST_F(LinkedBooks, ASheetThatIsRenamedKeepsItsNameInTheLinksOfOthers) {
    Enter("A1", "=[near.xls]Sheet1!B1+[far.xls]Sheet1!B1+[near.xls]Other!B1");
    const i32 near = LinkTo(u"near.xls"), far = LinkTo(u"far.xls");
    ASSERT_TRUE(RenameLinkedSheet(1, u"SHEET1", u"Fresh"));
    const auto names = [](i32 link) {
        std::string out;
        for (const WideText& name : CurrentWorkbook()->externBooks[static_cast<u32>(link)].sheetNames)
            out += Narrow(name) + " ";
        return out;
    };
    EXPECT_EQ(names(near), "Fresh Other ");
    EXPECT_EQ(names(far), "Sheet1 ");
    // The book's own links are left alone.
    ASSERT_TRUE(RenameLinkedSheet(0, u"Other", u"Changed"));
    EXPECT_EQ(names(near), "Fresh Other ");
}

// ---- rows -----------------------------------------------------------------------------------------

TEST_F(LinkedBooks, RowsLeadToSheetsByTheirKind) {
    Workbook& book = *CurrentWorkbook();
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    const i32 link = LinkTo(u"near.xls"), current = FindOrAddExternBook(book, EXTERN_CURRENT);
    const i32 addIn = FindOrAddExternBook(book, EXTERN_ADDIN);
    ExternBook& row = book.externBooks[static_cast<u32>(link)];
    EXPECT_EQ(AddExternSheetName(row, u"Gone"), 0);
    EXPECT_EQ(AddExternSheetName(row, u"SHEET1"), 1);
    const struct {
        i32 externBook, first, last;
        bool resolves;
        i32 book, firstSheet, lastSheet;
    } rows[] = {
        {link, 1, 1, true, 1, 0, 0},     {link, 0, 1, false, 0, 0, 0},     {link, 1, 0, false, 0, 0, 0},
        {link, 2, 1, false, 0, 0, 0},    {link, 1, 2, false, 0, 0, 0},     {link, -1, 1, false, 0, 0, 0},
        {link, -2, -2, true, 1, -2, -2}, {current, -2, -2, true, 0, 1, 1}, {addIn, -2, -2, false, 0, 0, 0},
    };
    for (const auto& expected : rows) {
        const i32 index = FindExternSheet(book, expected.externBook, expected.first, expected.last);
        for (const bool mayOpen : {false, true}) {
            ResolvedRef ref;
            EXPECT_EQ(mayOpen ? ResolveExternRef(index, ref) : ResolveOpenExternRef(index, ref),
                      expected.resolves)
                << expected.externBook << ' ' << expected.first << ' ' << expected.last;
            if (!expected.resolves) continue;
            EXPECT_EQ(ref.targetBook, expected.book);
            EXPECT_EQ(ref.firstSheet, expected.firstSheet);
            EXPECT_EQ(ref.lastSheet, expected.lastSheet);
        }
    }
    const i32 far = FindExternSheet(book, LinkTo(u"far.xls"), -2, -2);
    ResolvedRef ref;
    EXPECT_FALSE(ResolveOpenExternRef(far, ref));
    EXPECT_TRUE(asked.empty());
    EXPECT_FALSE(ResolveExternRef(far, ref));
    EXPECT_EQ(asked.size(), 1u);
    opened = 1;
    EXPECT_TRUE(ResolveExternRef(far, ref));
    EXPECT_EQ(ref.targetBook, 1);
    ref.book = 5;
    EXPECT_FALSE(ResolveExternRef(far, ref));
}

TEST_F(LinkedBooks, ARowIsMadeForTheSheetsOfAnyOpenBook) {
    Books().currentBook = 1;
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Books().currentBook = 0;
    const ResolvedRef targets[] = {{0, 1, 0, 1}, {0, 1, 1, 1}, {0, 1, -2, -2}, {0, 0, 0, 0}, {0, 0, -2, -2}};
    for (const ResolvedRef& target : targets) {
        i32 index = -1, again = -1;
        ASSERT_TRUE(AddExternRef(target, index));
        ASSERT_TRUE(AddExternRef(target, again));
        EXPECT_EQ(index, again);
        ResolvedRef ref;
        ASSERT_TRUE(ResolveExternRef(index, ref));
        EXPECT_EQ(ref.targetBook, target.targetBook);
        EXPECT_EQ(ref.firstSheet, target.firstSheet);
        EXPECT_EQ(ref.lastSheet, target.lastSheet);
    }
    i32 index = -1;
    EXPECT_FALSE(AddExternRef({9, 0, 0, 0}, index));
    EXPECT_FALSE(AddExternRef({0, 9, 0, 0}, index));
}

TEST_F(LinkedBooks, TablesEndAtTheLastIndexThatATokenHolds) {
    constexpr u32 LAST = 32766;
    Workbook& book = *CurrentWorkbook();
    ASSERT_TRUE(book.externSheets.Resize(LAST - 1));
    for (u32 i = 0; i < LAST - 1; ++i) book.externSheets[i] = {7, static_cast<i16>(i), 0};
    EXPECT_EQ(FindExternSheet(book, 1, 0, 0), i32{LAST} - 1);
    EXPECT_EQ(FindExternSheet(book, 2, 0, 0), -1);
    EXPECT_EQ(FindExternSheet(book, 1, 0, 0), i32{LAST} - 1);
    const i32 link = LinkTo(u"near.xls");
    {
        ExternBook& row = book.externBooks[static_cast<u32>(link)];
        ASSERT_TRUE(row.sheetNames.Resize(LAST - 1));
        EXPECT_EQ(AddExternSheetName(row, u"one"), i32{LAST} - 1);
        EXPECT_EQ(AddExternSheetName(row, u"two"), -1);
        i32 index = -1;
        EXPECT_FALSE(AddExternRef({0, 1, 0, 0}, index));
        EXPECT_EQ(AddExternSheetName(row, u"ONE"), i32{LAST} - 1);
        ASSERT_TRUE(row.names.Resize(LAST - 1));
        EXPECT_EQ(FindOrAddExternName(row, u"one"), i32{LAST} - 1);
        EXPECT_EQ(FindOrAddExternName(row, u"two"), -1);
        EXPECT_EQ(FindOrAddExternName(row, u"ONE"), i32{LAST} - 1);
    }
    ASSERT_TRUE(book.externBooks.Resize(LAST - 1));
    EXPECT_EQ(FindOrAddLink(book, u"last.xls"), i32{LAST} - 1);
    EXPECT_EQ(FindOrAddLink(book, u"more.xls"), -1);
    EXPECT_EQ(FindOrAddExternBook(book, EXTERN_ADDIN), -1);
    EXPECT_EQ(FindOrAddLink(book, u"LAST.xls"), i32{LAST} - 1);
    book.externBooks.Truncate(LAST - 1);
    EXPECT_EQ(FindOrAddExternBook(book, EXTERN_ADDIN), i32{LAST} - 1);
}

// ---- what a mention means -------------------------------------------------------------------------

TEST_F(LinkedBooks, AMentionHasTheTextOfItsRow) {
    Workbook& book = *CurrentWorkbook();
    DefineName("first", "=1");
    DefineName("second", "=2");
    const i32 link = LinkTo(u"near.xls");
    EXPECT_EQ(FindOrAddExternName(book.externBooks[static_cast<u32>(link)], u"theirs"), 0);
    const i32 row = FindExternSheet(book, link, -2, -2);
    const i32 self = FindExternSheet(book, FindOrAddExternBook(book, EXTERN_SELF), 0, 0);
    const struct {
        NameMention mention;
        const char* text;
    } rows[] = {
        {{-1, 0}, ""},         {{-1, 1}, "first"},   {{-1, 2}, "second"}, {{-1, 3}, ""},
        {{row, 0}, ""},        {{row, 1}, "theirs"}, {{row, 2}, ""},      {{self, 0}, ""},
        {{self, 2}, "second"}, {{self, 3}, ""},      {{99, 1}, ""},
    };
    for (const auto& expected : rows)
        EXPECT_EQ(Narrow(MentionText(expected.mention, book)), expected.text)
            << expected.mention.externIndex << ' ' << expected.mention.index;
}

TEST_F(LinkedBooks, AMentionMeansANameAnAddInOrNothing) {
    Workbook& book = *CurrentWorkbook();
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("global", "=1");                 // row 0
    DefineName("global", "=2", 2);              // row 1: of the second sheet
    ASSERT_EQ(AddName(book, u"bare", 0), 2);    // no formula
    DefineName("bare", "=3", 2);                // row 3
    ASSERT_EQ(AddName(book, u"global", 1), 4);  // of the first sheet, no formula
    Books().currentBook = 1;
    DefineName("theirs", "=5");
    Books().currentBook = 0;
    const i32 near = LinkTo(u"near.xls"), far = LinkTo(u"far.xls");
    const i32 addIn = FindOrAddExternBook(book, EXTERN_ADDIN),
              current = FindOrAddExternBook(book, EXTERN_CURRENT);
    for (const i32 link : {near, far, addIn, current}) {
        ExternBook& row = book.externBooks[static_cast<u32>(link)];
        EXPECT_EQ(FindOrAddExternName(row, link == addIn     ? u"GCD"
                                           : link == current ? u"GLOBAL"
                                                             : u"THEIRS"),
                  0);
        EXPECT_EQ(FindOrAddExternName(row, u"unknown"), 1);
    }
    const auto sheetRow = [&](i32 link, i32 sheet) { return FindExternSheet(book, link, sheet, sheet); };
    const i32 self = FindOrAddExternBook(book, EXTERN_SELF);
    const i32 gcd = FindAddInFunction(u"GCD");
    ASSERT_GE(gcd, MAIN_FUNCTIONS);
    const struct {
        NameMention mention;
        i32 sheet;
        i32 book, name, meantSheet, addIn;
        bool followsUser;
    } rows[] = {
        {{-1, 1}, 0, 0, 0, 0, -1, false},
        {{-1, 1}, 1, 0, 1, 1, -1, false},
        {{-1, 1}, -1, 0, 0, -1, -1, false},
        {{-1, 2}, 0, 0, 1, 1, -1, false},
        {{-1, 3}, 0, 0, -1, 0, -1, false},
        {{-1, 3}, 1, 0, 3, 1, -1, false},
        {{-1, 5}, 0, 0, 0, 0, -1, false},
        {{-1, 0}, 0, 0, -1, 0, -1, false},
        {{-1, 6}, 0, 0, -1, 0, -1, false},
        {{sheetRow(self, -2), 1}, 1, 0, 1, 1, -1, false},
        {{sheetRow(self, 0), 1}, 1, 0, 0, 1, -1, false},
        {{sheetRow(self, 1), 1}, 0, 0, 1, 1, -1, false},
        {{sheetRow(near, -2), 1}, 1, 1, 0, 0, -1, false},
        {{sheetRow(near, -2), 2}, 1, 1, -1, 0, -1, false},
        {{sheetRow(near, -2), 0}, 1, 0, -1, 1, -1, false},
        {{sheetRow(near, -2), 3}, 1, 0, -1, 1, -1, false},
        {{sheetRow(far, -2), 1}, 0, -1, -1, 0, -1, false},
        {{sheetRow(addIn, -2), 1}, 1, 0, -1, 1, gcd, false},
        {{sheetRow(addIn, -2), 2}, 1, 0, -1, 1, -1, false},
        {{sheetRow(current, -2), 1}, 0, 0, 1, 1, -1, true},
        {{999, 1}, 0, 0, -1, 0, -1, false},
    };
    for (const auto& row : rows) {
        const NameMeaning meaning = FindMeaning(row.mention, 0, row.sheet, false);
        const std::string text = std::to_string(row.mention.externIndex) + ' ' +
                                 std::to_string(row.mention.index) + " on " + std::to_string(row.sheet);
        EXPECT_EQ(meaning.book, row.book) << text;
        EXPECT_EQ(meaning.name, row.name) << text;
        EXPECT_EQ(meaning.sheet, row.meantSheet) << text;
        EXPECT_EQ(meaning.addIn, row.addIn) << text;
        EXPECT_EQ(meaning.followsUser, row.followsUser) << text;
    }
    EXPECT_TRUE(asked.empty());
    EXPECT_EQ(FindMeaning({sheetRow(far, -2), 1}, 0, 0, true).name, -1);
    EXPECT_EQ(asked.size(), 1u);
    EXPECT_EQ(FindMeaning({-1, 1}, 9, 0, false).book, -1);
}

TEST_F(LinkedBooks, AMentionOfAnyBookIsFoundThroughItsOwnRows) {
    DefineName("ours", "=1");
    DefineName("theirs", "=2");
    Books().currentBook = 1;
    EXPECT_GE(FindExternSheet(*CurrentWorkbook(), FindOrAddExternBook(*CurrentWorkbook(), EXTERN_SELF), 0, 0),
              0);
    Enter("A1", "=own.xls!theirs");
    EXPECT_EQ(Shown("A1"), "2");
    u32 at = 0;
    NameMention mention;
    ASSERT_TRUE(NextMention(CellAtName("A1")->formula->tokens, at, mention));
    const NameMeaning meaning = FindMeaning(mention, 1, 0, false);
    EXPECT_EQ(meaning.book, 0);
    EXPECT_EQ(meaning.name, 1);
    EXPECT_EQ(Narrow(MentionText(mention, *BookAt(1))), "theirs");
}

TEST_F(LinkedBooks, TextsAreReadAsReferencesIntoOpenBooks) {
    Books().currentBook = 1;
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B2", "20");
    DefineName("place", "=Sheet2!$B$2");
    DefineName("place", "=Sheet1!$B$3", 1);
    CurrentWorkbook()->currentSheet = 0;
    Enter("B2", "10");
    Enter("B3", "30");
    Books().currentBook = 0;
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    const std::pair<const char*, const char*> rows[] = {
        {"[near.xls]Sheet1!B2", "10"},    {"[near.xls]Sheet2!B2", "20"},    {"near.xls!place", "20"},
        {"[near.xls]Sheet1!place", "30"}, {"[near.xls]Sheet2!place", "20"}, {"[near.xls]Gone!place", "#REF!"},
        {"near.xls!unknown", "#REF!"},    {"[near.xls]Gone!B2", "#REF!"},   {"far.xls!place", "#N/A"},
    };
    for (const auto& [text, value] : rows) {
        CurrentWorkbook()->currentSheet = 0;
        EXPECT_EQ(Eval("=INDIRECT(\"" + std::string(text) + "\")+0"), value) << text;
    }
}

}  // namespace
}  // namespace tally
