#include <string>

#include "formula/Compiler.h"
#include "formula/FormulaScanner.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Syntax : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
        CurrentWorkbook()->currentSheet = 0;
    }
    static FormulaPlace On(i32 sheet) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.sheet = sheet;
        return place;
    }
    static i32 Checked(const std::u16string& text, bool unionAllowed = true, i32 sheet = 0) {
        return CheckFormulaSyntax(On(sheet), text, 0, static_cast<i32>(text.size()), unionAllowed, nullptr);
    }
    static bool Passes(const std::u16string& text) { return Checked(text) == static_cast<i32>(text.size()); }
    static std::u16string Times(int count, const std::u16string& piece) {
        std::u16string out;
        for (int i = 0; i < count; ++i) out += piece;
        return out;
    }
};

TEST_F(Syntax, TheCheckEndsBehindTheFormulaOrWhereItStops) {
    struct Row {
        const char16_t* text;
        i32 position;
    };
    const Row rows[] = {
        {u"=A1  ", 5},
        {u"=5%%", 4},
        {u"=5 % + 1", 8},
        {u"=5% 6", 5},
        {u"=5%6", 3},
        {u"=A1 B1", 6},
        {u"=- -A1", 6},
        {u"=+ A1", 5},
        {u"=-", -1},
        {u"=1+", -1},
        {u"=SUM(,)", 7},
        {u"=SUM()", -1},
        {u"=PI()", 5},
        {u"=PI( )", 6},
        {u"=IF(1,,2)", 9},
        {u"=IF(1,2,3)", 10},
        {u"=IF(1,2,3,4)", -1},
        {u"=ABS(1,)", -1},
        {u"=ABS( 1 )", 9},
        {u"=ABS(1", -1},
        {u"=ABS(1;2)", -1},
        {u"=foo(1,2,)", 10},
        {u"=(1)", 4},
        {u"=(1", -1},
        {u"=()", -1},
        {u"=(A1,B1)", 8},
        {u"=(1)2", 4},
        {u"={1,2;3,4}", 10},
        {u"={1,2;3}", -1},
        {u"={1;2,3}", -1},
        {u"={1}+1", 6},
        {u"={1", -1},
        {u"=\"a\"&\"b\"", 8},
        {u"=#N/A", 5},
        {u"=#N/A+1", 7},
        {u"=", 0},
        {u"=)", 1},
        {u"=1)", 2},
        {u"=A1(1)", 6},
        {u"=A1(", -1},
        {u"=!A1", 1},
        {u"=!foo", 1},
        {u"=GET.CELL(1)", -1},
        {u"=Sheet1!A1:B2", 13},
    };
    for (const Row& row : rows) EXPECT_EQ(Checked(row.text), row.position) << Narrow(row.text);
}

TEST_F(Syntax, AListOfReferencesEndsAtItsSeparatorWhereItIsNone) {
    EXPECT_EQ(Checked(u"=A1,B1", true), 6);
    EXPECT_EQ(Checked(u"=A1,B1", false), 3);
    EXPECT_EQ(Checked(u"=(A1,B1)+1", false), 10);
}

TEST_F(Syntax, MacroSheetsKnowMore) {
    EXPECT_EQ(Checked(u"=!A1", true, 1), 4);
    EXPECT_EQ(Checked(u"=!foo", true, 1), 5);
    EXPECT_EQ(Checked(u"=GET.CELL(1)", true, 1), 12);
    EXPECT_EQ(Checked(u"=SUM(1)", true, 1), 7);
}

TEST_F(Syntax, DepthCountsWhatIsOpenAndNotWhatWasClosed) {
    EXPECT_TRUE(Passes(u"=" + Times(MAX_NESTING, u"(") + u"1" + Times(MAX_NESTING, u")")));
    EXPECT_FALSE(Passes(u"=" + Times(MAX_NESTING + 1, u"(") + u"1" + Times(MAX_NESTING + 1, u")")));
    EXPECT_TRUE(Passes(u"=" + Times(MAX_NESTING, u"ABS(") + u"1" + Times(MAX_NESTING, u")")));
    EXPECT_FALSE(Passes(u"=" + Times(MAX_NESTING + 1, u"ABS(") + u"1" + Times(MAX_NESTING + 1, u")")));
    EXPECT_TRUE(Passes(u"=1" + Times(MAX_NESTING + 1, u"+(1)")));
    EXPECT_TRUE(Passes(u"=1" + Times(MAX_NESTING + 1, u"+PI()")));
}

TEST_F(Syntax, ArraysHaveAsManyColumnsAsASheet) {
    EXPECT_TRUE(Passes(u"={1" + Times(MAX_COLUMNS - 1, u",1") + u"}"));
    EXPECT_FALSE(Passes(u"={1" + Times(MAX_COLUMNS, u",1") + u"}"));
}

TEST_F(Syntax, TheEndLiesInTheTextAndWithinTheLongestFormula) {
    EXPECT_EQ(CheckFormulaSyntax(On(0), u"=1", 0, 3, true, nullptr), -1);
    EXPECT_EQ(CheckFormulaSyntax(On(0), u"=1+2", 1, 4, true, nullptr), 4);
    EXPECT_EQ(CheckFormulaSyntax(On(0), u"=1+2", 0, 2, true, nullptr), 2);
    EXPECT_TRUE(Passes(u"=" + std::u16string(MAX_FORMULA_TEXT - 2, u' ') + u"1"));
    EXPECT_FALSE(Passes(u"=" + std::u16string(MAX_FORMULA_TEXT - 1, u' ') + u"1"));
}

TEST_F(Syntax, OneOperandIsSteppedOverWithItsSignsAndBlanks) {
    const auto behind = [](const std::u16string& text) {
        return SkipOperand(On(0), text, 0, static_cast<i32>(text.size()));
    };
    EXPECT_EQ(behind(u" -A1 +2"), 5);
    EXPECT_EQ(behind(u"+-abc"), 5);
    EXPECT_EQ(behind(u"- abc  "), 7);
    EXPECT_EQ(behind(u"(1"), -1);
    EXPECT_EQ(behind(u"(1,2)*3"), 5);
    EXPECT_EQ(behind(u")"), 0);
    EXPECT_EQ(SkipOperand(On(0), u"1", 0, 2), -1);
    EXPECT_EQ(SkipOperand(On(0), u"1+22", 2, 4), 4);
}

class TextReferences : public Sandbox {};

TEST_F(TextReferences, AreOneReferenceOrAList) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B1", "100");
    Enter("B3", "300");
    CurrentWorkbook()->currentSheet = 0;
    Enter("B1", "1");
    Enter("B2", "2");
    Enter("B3", "3");
    DefineName("cells", "=Sheet1!$B$1:$B$3");
    DefineName("elsewhere", "=Sheet2!$B$1");
    DefineName("number", "=5");
    const std::pair<const char*, const char*> rows[] = {
        {"B1", "1"},
        {" B1 ", "1"},
        {"B1:B3", "6"},
        {"B1,B3", "4"},
        {"B1 , B3", "4"},
        {"(B1,B3)", "4"},
        {" (B1 , B3 )", "4"},
        {"B1,B2,B3", "6"},
        {"Sheet2!B1", "100"},
        {"Sheet2!B1,Sheet2!B3", "400"},
        {"cells", "6"},
        {"elsewhere", "100"},
        {"Sheet1!cells", "6"},
        {"B1,Sheet2!B1", "#REF!"},
        {"Sheet2!B1,B1", "#REF!"},
        {"B1;B3", "#REF!"},
        {"B1,", "#REF!"},
        {",B1", "#REF!"},
        {"(B1", "#REF!"},
        {"(B1)2", "#REF!"},
        {"B1)", "#REF!"},
        {"cells,B1", "#REF!"},
        {"number", "#REF!"},
        {"5", "#REF!"},
        {" ", "#REF!"},
    };
    for (const auto& [text, sum] : rows) {
        EXPECT_EQ(Eval("=SUM(INDIRECT(\"" + std::string(text) + "\"))"), sum) << text;
    }
    // A name's own text is of the A1 form, whichever the other texts are of.
    EXPECT_EQ(Eval("=SUM(INDIRECT(\"cells\",FALSE))"), "6");
    EXPECT_EQ(Eval("=SUM(INDIRECT(\"B1\",FALSE))"), "#REF!");
}

}  // namespace
}  // namespace tally
