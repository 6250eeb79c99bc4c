#include "formula/TokenRebasing.h"

#include <random>

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
