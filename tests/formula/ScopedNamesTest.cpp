#include "formula/Compiler.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ScopedNames : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        GoTo(0);
    }
    static void GoTo(i32 sheet) { CurrentWorkbook()->currentSheet = sheet; }
    // A row without a formula, as a formula that uses an unknown name leaves behind.
    static void Mention(WideView name, u16 sheet) { ASSERT_GE(AddName(*CurrentWorkbook(), name, sheet), 0); }
};

TEST_F(ScopedNames, ASheetsOwnNameStandsBeforeTheBooks) {
    DefineName("place", "=Sheet1!$B$1");
    DefineName("place", "=Sheet1!$B$2", 2);
    Enter("B1", "10");
    Enter("B2", "20");
    for (const char* formula : {"=place+0", "=INDIRECT(\"place\")+0", "=INDIRECT(\"PLACE\")+0"}) {
        GoTo(0);
        EXPECT_EQ(Eval(formula), "10") << formula;
        GoTo(1);
        EXPECT_EQ(Eval(formula), "20") << formula;
    }
    GoTo(0);
    EXPECT_EQ(Eval("=Sheet2!place+0"), "20");
    EXPECT_EQ(Eval("=INDIRECT(\"Sheet2!place\")+0"), "20");
    EXPECT_EQ(Eval("=Sheet1!place+0"), "10");
}

TEST_F(ScopedNames, AScopedNameWithoutAFormulaLeavesTheWordToTheBooks) {
    Mention(u"place", 2);
    GoTo(1);
    EXPECT_EQ(Eval("=place+0"), "#NAME?");
    EXPECT_EQ(Eval("=INDIRECT(\"place\")"), "#REF!");
    DefineName("place", "=Sheet1!$B$1");
    GoTo(0);
    Enter("B1", "10");
    for (const i32 sheet : {0, 1}) {
        GoTo(sheet);
        for (const char* formula : {"=place+0", "=Sheet2!place+0", "=INDIRECT(\"place\")+0"})
            EXPECT_EQ(Eval(formula), "10") << formula << " on " << sheet;
    }
}

TEST_F(ScopedNames, ABooksNameWithoutAFormulaIsNoneOnAnySheetButTheOneThatHasItsOwn) {
    Mention(u"place", 0);
    DefineName("place", "=7", 2);
    EXPECT_EQ(Eval("=place+0"), "#NAME?");
    GoTo(1);
    EXPECT_EQ(Eval("=place+0"), "7");
}

TEST_F(ScopedNames, AUserOfTheBooksNameGoesOverToTheOneThatItsSheetGets) {
    DefineName("rate", "=1");
    GoTo(1);
    Enter("C1", "=rate");
    EXPECT_EQ(Shown("C1"), "1");
    DefineName("rate", "=2", 2);
    EXPECT_EQ(Shown("C1"), "2");
    GoTo(0);
    EXPECT_EQ(Eval("=rate"), "1");
}

TEST_F(ScopedNames, ASignStandsBeforeNamesOfTheSheetAndOfTheBook) {
    DefineName("global", "=1");
    DefineName("local", "=1", 2);
    FormulaPlace place;
    place.book = CurrentBook();
    for (const i32 sheet : {0, 1}) {
        place.sheet = sheet;
        EXPECT_EQ(CheckFormulaSyntax(place, u"-global", 0, 7, true, nullptr), 7);
        EXPECT_EQ(CheckFormulaSyntax(place, u"-local", 0, 6, true, nullptr) == 6, sheet == 1);
        EXPECT_EQ(CheckFormulaSyntax(place, u"+true", 0, 5, true, nullptr), 5);
        EXPECT_EQ(CheckFormulaSyntax(place, u"+Sheet2!other", 0, 13, true, nullptr), 13);
    }
}

TEST_F(ScopedNames, AreFoundByWholeTextAndScopeWithoutRegardToCase) {
    const Workbook& book = *CurrentWorkbook();
    Mention(u"Rate", 0);
    Mention(u"Rates", 0);
    Mention(u"rate", 2);
    EXPECT_EQ(FindName(book, u"RATE", 0), 0);
    EXPECT_EQ(FindName(book, u"rates", 0), 1);
    EXPECT_EQ(FindName(book, u"Rate", 2), 2);
    EXPECT_EQ(FindName(book, u"Rate", 1), -1);
    EXPECT_EQ(FindName(book, u"Rat", 0), -1);
    EXPECT_EQ(FindName(book, u"", 0), -1);
}

TEST_F(ScopedNames, TheFilteredAreaIsThatOfItsSheetsHiddenName) {
    RefArea area;
    EXPECT_FALSE(GetFilterArea(CurrentBook(), 0, area));
    EXPECT_FALSE(GetFilterArea(-1, 0, area));
    DefineName("_FilterDatabase", "=Sheet2!$B$2:$D$9", 2);
    EXPECT_FALSE(GetFilterArea(CurrentBook(), 0, area));
    ASSERT_TRUE(GetFilterArea(CurrentBook(), 1, area));
    EXPECT_EQ(area, AreaOf("B2", "D9"));
    DefineName("_FilterDatabase", "=Sheet2!$B$2", 2);
    EXPECT_FALSE(GetFilterArea(CurrentBook(), 1, area));
    DefineName("_FilterDatabase", "=1+2+3+4+5+6+7", 2);
    EXPECT_FALSE(GetFilterArea(CurrentBook(), 1, area));
}

}  // namespace
}  // namespace tally
