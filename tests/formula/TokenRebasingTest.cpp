#include "formula/TokenRebasing.h"

#include <random>
#include <vector>

#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class TokenRebasing : public Sandbox {
  protected:
    static FormulaTokens Compile(std::string_view formula, i32 book = 0) {
        FormulaPlace place;
        place.book = book;
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        return tokens;
    }
    static std::string Text(const FormulaTokens& tokens, i32 book = 0) {
        WideText text;
        EXPECT_TRUE(FormulaToText(book, tokens, 0, 0, true, text));
        return Narrow(text);
    }
    static std::string Rebased(std::string_view formula, const TokenRebase& rebase) {
        FormulaTokens tokens = Compile(formula, rebase.sourceBook);
        EXPECT_TRUE(RebaseTokens(rebase, tokens));
        const std::string text = Text(tokens, rebase.targetBook);
        FreeTokens(tokens);
        return text;
    }
    static std::string Copied(std::string_view formula, i32 rows, i32 columns) {
        TokenRebase rebase;
        rebase.rowDelta = rows;
        rebase.columnDelta = columns;
        return Rebased(formula, rebase);
    }
    // A second book, "Book2", current afterwards.
    static void SecondBook() { ASSERT_TRUE(CreateWorkbook(nullptr, false)); }
};

TEST_F(TokenRebasing, ACopyTakesItsRelativeFieldsAlong) {
    struct Row {
        const char* formula;
        i32 rows, columns;
        const char* result;
    };
    const Row rows[] = {
        {"=A1", 1, 0, "=A2"},
        {"=$A$1", 1, 1, "=$A$1"},
        {"=A$1+$A1", 2, 3, "=D$1+$A3"},
        {"=SUM(A1:B$3)", 1, 1, "=SUM(B2:C$3)"},
        {"=SUM(A:A)", 5, 1, "=SUM(B:B)"},
        {"=SUM(2:2)", 5, 1, "=SUM(7:7)"},
        {"=Sheet1!B2", 1, 1, "=Sheet1!C3"},
        {"=A1", -1, 0, "=#REF!"},
        {"=A1", 0, -1, "=#REF!"},
        {"=IV1", 0, 1, "=#REF!"},
        {"=A65536", 1, 0, "=#REF!"},
        {"=SUM(A1:C3)", 0, -1, "=SUM(#REF!)"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Copied(row.formula, row.rows, row.columns), row.result) << row.formula;
}

TEST_F(TokenRebasing, AnErrorFormKeepsTheClass) {
    FormulaTokens tokens = Compile("=A1");
    const u8 before = tokens.bytes[0];
    TokenRebase rebase;
    rebase.rowDelta = -1;
    ASSERT_TRUE(RebaseTokens(rebase, tokens));
    EXPECT_EQ(tokens.bytes[0], before + 6);
    FreeTokens(tokens);
}

TEST_F(TokenRebasing, ACutTakesOnlyReferencesIntoTheBlockAlong) {
    TokenRebase rebase;
    rebase.mode = REBASE_CUT;
    rebase.area = {0, 3, 0, 1};
    rebase.rowDelta = 10;
    rebase.columnDelta = 2;
    EXPECT_EQ(Rebased("=$A$1+B4+C1+SUM(A1:B4)+SUM(A1:C4)", rebase), "=$C$11+D14+C1+SUM(C11:D14)+SUM(A1:C4)");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_EQ(Rebased("=Sheet1!A1+Sheet2!A1", rebase), "=Sheet1!C11+Sheet2!A1");
}

TEST_F(TokenRebasing, ATransposedFormulaSeesItsBlockTurned) {
    TokenRebase rebase;
    rebase.mode = REBASE_TRANSPOSE;
    rebase.area = {0, 1, 0, 3};  // A1:D2 goes to F11
    rebase.rowDelta = 10;
    rebase.columnDelta = 5;
    EXPECT_EQ(Rebased("=$B$1", rebase), "=$F$12");
    EXPECT_EQ(Rebased("=SUM(A1:D2)", rebase), "=SUM(F11:G14)");
    EXPECT_EQ(Rebased("=A$2", rebase), "=$G11");
    EXPECT_EQ(Rebased("=$H$1", rebase), "=$H$1");
    EXPECT_EQ(Rebased("=H1", rebase), "=F18");
    EXPECT_EQ(Rebased("=A300", rebase), "=#REF!");
}

TEST_F(TokenRebasing, ANameGoesToAnotherBookAsALink) {
    DefineName("rate", "=Sheet1!$A$1");
    Enter("A1", "7");
    SecondBook();
    TokenRebase rebase;
    rebase.targetBook = 1;
    EXPECT_EQ(Rebased("=rate*2", rebase), "=Book1!rate*2");
    Enter("C3", "=1");
    FormulaTokens tokens = Compile("=IF(rate>5,rate*2,rate+100)+CHOOSE(2,rate,rate+1,rate)", 0);
    ASSERT_TRUE(RebaseTokens(rebase, tokens));
    EXPECT_TRUE(TokensAreWhole(tokens));
    Value result;
    const EvalContext context{1, 0, 0, 0, 0};
    ASSERT_TRUE(EvaluateFormula(tokens, result, context));
    EXPECT_EQ(result.type, VT_NUMBER);
    EXPECT_EQ(result.number, 22);
    FreeValue(result);
    FreeTokens(tokens);
}

TEST_F(TokenRebasing, ALinkBackIntoTheTargetBecomesItsOwnName) {
    // The rows of names and links have other places in the two books.
    DefineName("before", "=GCD(4,6)");
    DefineName("rate", "=Sheet1!$A$1");
    SecondBook();
    // Book2 links to Book1's name; the copy goes to Book1.
    FormulaTokens tokens = Compile("=1", 0);
    FreeTokens(tokens);
    tokens = Compile("=rate", 0);
    TokenRebase out;
    out.targetBook = 1;
    ASSERT_TRUE(RebaseTokens(out, tokens));
    TokenRebase back;
    back.sourceBook = 1;
    back.targetBook = 0;
    const u32 names = BookAt(0)->names.Count();
    ASSERT_TRUE(RebaseTokens(back, tokens));
    EXPECT_EQ(FoldToken(tokens.bytes[0]), ptgNameX);
    EXPECT_EQ(BookAt(0)->names.Count(), names);
    EXPECT_EQ(ReadU16(tokens.bytes + 3), FindName(*BookAt(0), u"rate", 0) + 1);
    const ExternSheet& row = BookAt(0)->externSheets[ReadU16(tokens.bytes + 1)];
    EXPECT_EQ(BookAt(0)->externBooks[static_cast<u32>(row.externBook)].kind, u32{EXTERN_SELF});
    FreeTokens(tokens);
}

TEST_F(TokenRebasing, AReferenceToAnotherSheetFollowsItsBook) {
    Enter("A1", "5");
    SecondBook();
    TokenRebase rebase;
    rebase.targetBook = 1;
    FormulaTokens tokens = Compile("=Sheet1!A1+A1", 0);
    ASSERT_TRUE(RebaseTokens(rebase, tokens));
    ResolvedRef ref;
    ref.book = 1;
    ASSERT_TRUE(ResolveOpenExternRef(ReadU16(tokens.bytes + 1), ref));
    EXPECT_EQ(ref.targetBook, 0);
    EXPECT_EQ(ref.firstSheet, 0);
    FreeTokens(tokens);
}

TEST_F(TokenRebasing, NothingMovesInTheModeWithoutPositions) {
    TokenRebase rebase;
    rebase.mode = REBASE_NOTHING;
    rebase.rowDelta = 3;
    EXPECT_EQ(Rebased("=A1+$B2", rebase), "=A1+$B2");
}

TEST_F(TokenRebasing, TokensOfADeletedSheetTakeTheErrorForm) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    FormulaTokens tokens = Compile("=Sheet2!A1+SUM(Sheet2!A1:B2)+Sheet1!A1");
    Array<u8> rows;
    ASSERT_TRUE(rows.Resize(BookAt(0)->externSheets.Count()));
    rows[ReadU16(tokens.bytes + 1)] = 1;
    EXPECT_TRUE(RefersThroughRows(tokens, rows.Span()));
    MarkSheetDeleted(tokens, rows.Span());
    EXPECT_FALSE(RefersThroughRows(tokens, rows.Span()));
    EXPECT_EQ(Text(tokens), "=#REF!+SUM(#REF!)+Sheet1!A1");
    FreeTokens(tokens);
}

TEST_F(TokenRebasing, UsersOfANameGoOverToAnother) {
    for (const char* name : {"aa", "bb", "cc"}) DefineName(name, "=1");
    FormulaTokens tokens = Compile("=aa+bb+cc");
    const Workbook& book = *BookAt(0);
    const u16 rows[] = {0, 2, 2}, same[] = {0, 1, 2};
    EXPECT_TRUE(UsesRetargetedName(book, tokens, rows));
    EXPECT_FALSE(UsesRetargetedName(book, tokens, same));
    RetargetNames(book, tokens, rows);
    EXPECT_EQ(Text(tokens), "=aa+cc+cc");
    FreeTokens(tokens);
}

// A block at C3:F4 goes to row 11, column H, turned; every field and its relative bits take the place of the
// other.
TEST_F(TokenRebasing, ATransposedAreaTurnsAroundTheFirstCellOfTheBlockWithItsRelativeBits) {
    TokenRebase rebase;
    rebase.mode = REBASE_TRANSPOSE;
    rebase.area = AreaOf("C3", "F4");
    rebase.rowDelta = 8;
    rebase.columnDelta = 5;
    for (u8 nibble = 0; nibble < 16; ++nibble) {
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, 9, 0));
        tokens.bytes[0] = ptgArea;
        WriteAreaOperand(tokens.bytes + 1, AreaOf("D3", "F4"), nibble);
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        u8 turned = 0;
        EXPECT_EQ(ReadAreaOperand(tokens.bytes + 1, turned), AreaOf("H12", "I14"));
        EXPECT_EQ(turned, (nibble & 8) >> 1 | (nibble & 4) << 1 | (nibble & 2) >> 1 | (nibble & 1) << 1)
            << nibble;
        FreeTokens(tokens);
    }
    // Outside of the block only what is relative in both fields of an axis turns.
    const std::pair<const char*, const char*> rows[] = {
        {"=$B$9", "=$B$9"},
        {"=$B9", "=N$10"},
        {"=B$9", "=$N10"},
        {"=SUM($B9:$C$10)", "=SUM($B9:$C$10)"},
        {"=SUM(B$9:C$10)", "=SUM($N10:$O11)"},
        {"=SUM(B$9:$C$10)", "=SUM(B$9:$C$10)"},
    };
    for (const auto& [formula, text] : rows) EXPECT_EQ(Rebased(formula, rebase), text) << formula;
}

TEST_F(TokenRebasing, LinksGoToAnotherBookAsItSeesThem) {
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/w/own.xls"));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("global", "=1");
    DefineName("local", "=2", 2);
    const WideView beside = u"/w/beside.xls", away = u"/v/away.xls";
    ASSERT_TRUE(CreateWorkbook(&beside, false));
    // Rows that stand in front, so that none has the same place in both books.
    EXPECT_GE(FindOrAddLink(*CurrentWorkbook(), u"/x/first.xls"), 0);
    EXPECT_GE(FindExternSheet(*CurrentWorkbook(), 0, 0, 0), 0);
    ASSERT_TRUE(CreateWorkbook(&away, false));
    EXPECT_GE(FindOrAddLink(*CurrentWorkbook(), u"/x/first.xls"), 0);
    DefineName("theirs", "=3");
    Books().currentBook = 0;
    const struct {
        const char* formula;
        const char* beside;
        const char* away;
    } rows[] = {
        {"=[far.xls]S!A1", "=[far.xls]S!A1", "='/w/[far.xls]S'!A1"},
        {"=SUM([far.xls]S!A1:B2)", "=SUM([far.xls]S!A1:B2)", "=SUM('/w/[far.xls]S'!A1:B2)"},
        {"=SUM([far.xls]S:T!A1)", "=SUM([far.xls]S:T!A1)", "=SUM('/w/[far.xls]S:T'!A1)"},
        {"=far.xls!name", "=far.xls!name", "='/w/far.xls'!name"},
        {"=[far.xls]S!name", "=[far.xls]S!name", "='/w/[far.xls]S'!name"},
        {"=GCD(4,6)", "=GCD(4,6)", "=GCD(4,6)"},
        {"=Sheet2!A1", "=[own.xls]Sheet2!A1", "='/w/[own.xls]Sheet2'!A1"},
        {"=[away.xls]Sheet1!A1", "='/v/[away.xls]Sheet1'!A1", "=Sheet1!A1"},
        {"=away.xls!theirs", "='/v/away.xls'!theirs", "=theirs"},
        {"=global", "=own.xls!global", "='/w/own.xls'!global"},
    };
    for (const auto& row : rows) {
        for (const i32 book : {1, 2}) {
            TokenRebase rebase;
            rebase.targetBook = book;
            EXPECT_EQ(Rebased(row.formula, rebase), book == 1 ? row.beside : row.away) << row.formula;
        }
    }
}

TEST_F(TokenRebasing, ANameKeepsTheSheetThatItBelongsTo) {
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/w/own.xls"));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("place", "=1");
    DefineName("place", "=2", 2);
    SecondBook();
    EXPECT_GE(FindOrAddLink(*CurrentWorkbook(), u"/x/first.xls"), 0);
    Books().currentBook = 0;
    for (const u16 name : {u16{1}, u16{2}}) {
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, 5, 0));
        tokens.bytes[0] = ptgName;
        PutU16(tokens.bytes + 1, name);
        PutU16(tokens.bytes + 3, 0);
        TokenRebase rebase;
        rebase.targetBook = 1;
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        ASSERT_EQ(tokens.length, 7);
        const ExternSheet& row = BookAt(1)->externSheets[ReadU16(tokens.bytes + 1)];
        const ExternBook& link = BookAt(1)->externBooks[static_cast<u32>(row.externBook)];
        const ExternName& external = link.names[ReadU16(tokens.bytes + 3) - 1u];
        EXPECT_EQ(Narrow(external.text), "place");
        EXPECT_EQ(external.sheet > 0, name == 2);
        if (external.sheet > 0)
            EXPECT_EQ(Narrow(link.sheetNames[static_cast<u32>(external.sheet) - 1]), "Sheet2");
        EXPECT_EQ(ReadU16(tokens.bytes + 5), 0);
        FreeTokens(tokens);
    }
}

TEST_F(TokenRebasing, ASheetsOwnNameMeansTheSameInAnotherBook) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("place", "=1");
    DefineName("place", "=2", 2);
    SecondBook();
    EXPECT_GE(FindOrAddLink(*CurrentWorkbook(), u"/x/first.xls"), 0);
    SecondBook();
    const auto evaluated = [](const FormulaTokens& tokens, i32 book) {
        Value result;
        EXPECT_TRUE(EvaluateFormula(tokens, result, {book, 0, 0, 0, 0}));
        return result.type == VT_NUMBER ? result.number : -1;
    };
    TokenRebase rebase;
    for (const auto& [formula, value] : {std::pair{"=Sheet2!place", 2}, {"=Sheet1!place", 1}, {"=place", 1}}) {
        rebase.sourceBook = 0;
        rebase.targetBook = 1;
        FormulaTokens tokens = Compile(formula, 0);
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        EXPECT_EQ(evaluated(tokens, 1), value) << formula;
        // And on into a third book.
        rebase.sourceBook = 1;
        rebase.targetBook = 2;
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        EXPECT_EQ(evaluated(tokens, 2), value) << formula;
        FreeTokens(tokens);
    }
}

// A block that is cut to another sheet takes the references into it along.
TEST_F(TokenRebasing, ACutToAnotherSheetNamesThatSheet) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
    TokenRebase rebase;
    rebase.mode = REBASE_CUT;
    rebase.area = AreaOf("A1", "B4");
    rebase.rowDelta = 10;
    rebase.targetSheet = 1;
    const std::pair<const char*, const char*> rows[] = {
        {"=Sheet1!A1", "=Sheet2!A11"},
        {"=Sheet1!C1", "=Sheet1!C1"},
        {"=Sheet3!A1", "=Sheet3!A1"},
        {"=SUM(Sheet1:Sheet2!A1)", "=SUM(Sheet1:Sheet2!A1)"},
        {"=SUM(Sheet1!A1:B4,Sheet1!A1:B5)", "=SUM(Sheet2!A11:B14,Sheet1!A1:B5)"},
        {"=A1", "=A11"},
    };
    for (const auto& [formula, text] : rows) EXPECT_EQ(Rebased(formula, rebase), text) << formula;
    rebase.targetSheet = -1;
    EXPECT_EQ(Rebased("=Sheet1!A1", rebase), "=Sheet1!A11");
    rebase.sourceSheet = 2;
    EXPECT_EQ(Rebased("=Sheet1!A1+Sheet3!A1", rebase), "=Sheet1!A1+Sheet3!A11");
}

TEST_F(TokenRebasing, JumpsAndSizesGrowWithTheNamesInTheirReach) {
    for (const char* name : {"aa", "bb"}) DefineName(name, "=1");
    SecondBook();
    const std::pair<const char*, const char*> rows[] = {
        {"=IF(aa,1,2)", "1"},
        {"=IF(aa-1,1,2)", "2"},
        {"=IF(aa,bb+10,bb+20)", "11"},
        {"=IF(aa-1,bb+10,bb+20)+aa", "22"},
        {"=IF(aa,bb+10)", "11"},
        {"=IF(aa-1,bb+10)", "FALSE"},
        {"=CHOOSE(1,aa,bb+1,aa+2)", "1"},
        {"=CHOOSE(2,aa,bb+1,aa+2)", "2"},
        {"=CHOOSE(3,aa,bb+1,aa+2)+bb", "4"},
        {"=CHOOSE(aa+1,IF(bb,5,6),IF(bb,7,8))", "7"},
        {"=aa+IF(1,bb,0)+CHOOSE(1,aa,bb)", "3"},
        {"=SUM((Sheet1!A1,Sheet1!A2))+aa", "1"},
        {"=1+2", "3"},
    };
    for (const auto& [formula, shown] : rows) {
        FormulaTokens tokens = Compile(formula, 0);
        TokenRebase rebase;
        rebase.targetBook = 1;
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        EXPECT_TRUE(TokensAreWhole(tokens));
        Value result;
        const EvalContext context{1, 0, 0, 0, 0};
        ASSERT_TRUE(EvaluateFormula(tokens, result, context));
        WideText text;
        ASSERT_TRUE(result.type != VT_NUMBER || NumberToText(result.number, 15, text));
        EXPECT_EQ(result.type == VT_BOOL ? "FALSE" : Narrow(text), shown) << formula;
        FreeValue(result);
        FreeTokens(tokens);
    }
}

TEST_F(TokenRebasing, ASpanOfReferencesIsAsLongAsTheNamesInItHaveBecome) {
    for (const char* name : {"aa", "bb"}) DefineName(name, "=Sheet1!$A$1");
    SecondBook();
    for (const u8 token : {u8{ptgMemFunc}, u8{ptgMemAreaN}, u8{ptgMemArea}, u8{ptgMemErr}}) {
        // aa + (span of: aa, bb, union) + bb
        const bool wide = token == ptgMemArea || token == ptgMemErr;
        const std::vector<u8> aa = {ptgName, 1, 0, 0, 0}, bb = {ptgName, 2, 0, 0, 0};
        std::vector<u8> bytes = aa;
        bytes.push_back(token);
        if (wide) bytes.insert(bytes.end(), {0, 0, 0, 0});
        bytes.insert(bytes.end(), {11, 0});
        for (const std::vector<u8>& name : {aa, bb}) bytes.insert(bytes.end(), name.begin(), name.end());
        bytes.push_back(ptgUnion);
        bytes.insert(bytes.end(), bb.begin(), bb.end());
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes.data(), bytes.size()), {}));
        TokenRebase rebase;
        rebase.targetBook = 1;
        ASSERT_TRUE(RebaseTokens(rebase, tokens));
        ASSERT_EQ(tokens.length, bytes.size() + 8);
        EXPECT_EQ(tokens.bytes[7], token);
        EXPECT_EQ(ReadU16(tokens.bytes + 8 + (wide ? 4 : 0)), 15) << int{token};
        FreeTokens(tokens);
    }
}

TEST_F(TokenRebasing, NamesThatAreNotToBeRetargetedStay) {
    for (const char* name : {"aa", "bb"}) DefineName(name, "=1");
    Workbook& book = *BookAt(0);
    const i32 self = FindExternSheet(book, FindOrAddExternBook(book, EXTERN_SELF), -2, -2);
    const i32 other = FindExternSheet(book, FindOrAddLink(book, u"/x/far.xls"), -2, -2);
    const auto nameX = [](i32 row, u16 name) {
        FormulaTokens tokens;
        EXPECT_TRUE(MakeTokens(tokens, 7, 0));
        tokens.bytes[0] = ptgNameX;
        PutU16(tokens.bytes + 1, static_cast<u32>(row));
        PutU16(tokens.bytes + 3, name);
        PutU16(tokens.bytes + 5, 0);
        return tokens;
    };
    const u16 rows[] = {1, 1};
    const struct {
        i32 row;
        u16 name, after;
    } cases[] = {{self, 1, 2}, {self, 2, 2}, {self, 3, 3}, {self, 0, 0}, {other, 1, 1}, {99, 1, 1}};
    for (const auto& expected : cases) {
        FormulaTokens tokens = nameX(expected.row, expected.name);
        EXPECT_EQ(UsesRetargetedName(book, tokens, rows), expected.name != expected.after) << expected.row;
        RetargetNames(book, tokens, rows);
        EXPECT_EQ(ReadU16(tokens.bytes + 3), expected.after) << expected.row << ' ' << expected.name;
        FreeTokens(tokens);
    }
}

TEST_F(TokenRebasing, TokensStayWholeWhenMemoryFails) {
    ResetBooks();
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator;
        {
            QuietMemoryScope quiet;
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            DefineName("rate", "=Sheet1!$A$1");
            SecondBook();
            FormulaTokens tokens = Compile("=IF(rate>5,rate*2,Sheet1!B2)", 0);
            TokenRebase rebase;
            rebase.targetBook = 1;
            rebase.rowDelta = 1;
            allocator.FailAt(n);
            const bool good = RebaseTokens(rebase, tokens);
            failed = allocator.HasFailed();
            allocator.StopFailing();
            EXPECT_TRUE(TokensAreWhole(tokens));
            if (!failed) EXPECT_TRUE(good);
            FreeTokens(tokens);
            ResetBooks();
            DropDependents();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

}  // namespace
}  // namespace tally
