#include <algorithm>
#include <map>
#include <random>

#include "formula/Compiler.h"
#include "formula/Dependents.h"
#include "formula/Links.h"
#include "formula/NameMeaning.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Names : public Sandbox {
  protected:
    static u8 State(std::string_view cell) { return CellAtName(cell)->calcState; }
    static void Calculate() { CalculateBook(CurrentBook()); }
    // A name's formula taken away, as by the dialog of names.
    static void Undefine(std::string_view name) {
        const i32 row = FindName(*CurrentWorkbook(), Wide(name), 0);
        FreeTokens(CurrentWorkbook()->names[static_cast<u32>(row)].tokens);
        MarkDependentsOfName(CurrentBook(), row);
    }
    // A formula on the second sheet.
    static void EnterOnSecond(std::string_view cell, std::string_view text) {
        CurrentWorkbook()->currentSheet = 1;
        Enter(cell, text);
        CurrentWorkbook()->currentSheet = 0;
    }
    static std::string ShownOnSecond(std::string_view cell) {
        CurrentWorkbook()->currentSheet = 1;
        std::string text = Shown(cell);
        CurrentWorkbook()->currentSheet = 0;
        return text;
    }
};

// What an edit must reach: names, a formula with one of them, the cell that is edited and what the formula then
// shows.
struct FollowedName {
    const char* plainCase;
    std::map<std::string, std::string> names;
    const char* formula;
    const char* edited;
    const char* before;
    const char* after;  // 100 instead of 1
};

TEST_F(Names, AFormulaFollowsWhatItsNamesRead) {
    const FollowedName cases[] = {
        {"the cell above", {{"above", "=Sheet1!A65536"}}, "=above+1", "E4", "2", "101"},
        {"the cell to the left, three up", {{"there", "=Sheet1!IV65534"}}, "=there+1", "D2", "2", "101"},
        {"relative in one direction only", {{"there", "=Sheet1!$B1"}}, "=there+1", "B5", "2", "101"},
        {"a range operator",
         {{"span", "=Sheet1!$A$1:INDEX(Sheet1!$A$1:$A$9,3)"}},
         "=SUM(span)",
         "A2",
         "3",
         "102"},
        {"a global name behind a sheet", {{"foo", "=Sheet1!$B$1"}}, "=Sheet1!foo+1", "B1", "2", "101"},
        {"a name in a name", {{"foo", "=Sheet1!$B$1"}, {"twice", "=foo*2"}}, "=twice+1", "B1", "3", "201"},
        {"the cell above in a name in a name",
         {{"above", "=Sheet1!A65536"}, {"twice", "=above*2"}},
         "=twice+1",
         "E4",
         "3",
         "201"},
        {"a range operator in a name in a name",
         {{"span", "=Sheet1!$A$1:INDEX(Sheet1!$A$1:$A$9,3)"}, {"twice", "=SUM(span)*2"}},
         "=twice",
         "A2",
         "6",
         "204"},
        {"OFFSET", {{"there", "=OFFSET(Sheet1!$A$1,2,1)"}}, "=there+1", "B3", "2", "101"},
        {"the cell above of several", {{"three", "=Sheet1!A65534:A65536"}}, "=SUM(three)", "E3", "3", "102"},
        {"a whole column whatever the cell", {{"all", "=Sheet1!B$1:B$65536"}}, "=SUM(all)", "G9", "9", "108"},
    };
    for (const FollowedName& c : cases) {
        TearDown();
        SetUp();
        for (const char* cell : {"A1", "A2", "A3", "B1", "B3", "B5", "D2", "E2", "E3", "E4"}) Enter(cell, "1");
        for (i32 row = 1; row < 10; ++row) Enter("G" + std::to_string(row), "1");
        for (const auto& [name, formula] : c.names) DefineName(name, formula);
        Enter("F9", "=1");  // the index stands before the formula
        Enter("E5", c.formula);
        if (c.plainCase == std::string("a whole column whatever the cell")) Enter("F9", c.formula);
        const char* cell = c.plainCase == std::string("a whole column whatever the cell") ? "F9" : "E5";
        EXPECT_EQ(Shown(cell), c.before) << c.plainCase;
        Enter(c.edited, "100");
        EXPECT_EQ(State(cell), CALC_STALE) << c.plainCase;
        EXPECT_EQ(Shown(cell), c.after) << c.plainCase;
        // The same with an index that is built after the formula.
        DropDependents();
        Enter(c.edited, "1");
        EXPECT_EQ(Shown(cell), c.before) << c.plainCase;
    }
}

TEST_F(Names, AnEditReachesOnlyTheUsersOfItsName) {
    DefineName("one", "=Sheet1!$B$1");
    DefineName("two", "=Sheet1!$B$2");
    DefineName("above", "=Sheet1!A65536");
    Enter("C5", "=one");
    Enter("C6", "=two");
    Enter("D5", "=above");
    Enter("D9", "=above");
    Calculate();
    Enter("B1", "7");
    EXPECT_EQ(State("C5"), CALC_STALE);
    EXPECT_EQ(State("C6"), CALC_CURRENT);
    EXPECT_EQ(State("D5"), CALC_CURRENT);
    Enter("D4", "7");
    EXPECT_EQ(State("D5"), CALC_STALE);
    EXPECT_EQ(State("D9"), CALC_CURRENT);
    Enter("D8", "7");
    EXPECT_EQ(State("D9"), CALC_STALE);
}

TEST_F(Names, AChainOfThousandsOfNamesFollowsAnEdit) {
    Enter("B1", "3");
    DefineName("n_0", "=Sheet1!$B$1");
    for (i32 i = 1; i < 5000; ++i) DefineName("n_" + std::to_string(i), "=n_" + std::to_string(i - 1));
    Enter("A1", "=n_150");
    Enter("A2", "=1+IF(B1>5,0,n_4999)");
    EXPECT_EQ(Shown("A1"), "3");
    Enter("B1", "10");
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_STALE);
    EXPECT_EQ(Shown("A1"), "10");
    EXPECT_EQ(Shown("A2"), "1");
}

TEST_F(Names, APlainReferenceOfAGlobalNameLiesOnTheSheetOfItsUser) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    DefineName("corner", "=$A$1");
    Enter("B1", "=corner");
    EnterOnSecond("B1", "=corner");
    Enter("A1", "5");
    EXPECT_EQ(Shown("B1"), "5");
    EXPECT_EQ(ShownOnSecond("B1"), "0");
    EnterOnSecond("A1", "6");
    EXPECT_EQ(ShownOnSecond("B1"), "6");
    EXPECT_EQ(Shown("B1"), "5");
}

TEST_F(Names, AnotherDefinitionReachesTheUsersAlsoThroughNames) {
    Enter("A1", "=foo+1");
    Enter("A2", "=IF(TRUE,bar,0)");
    EXPECT_EQ(Shown("A1"), "#NAME?");
    DefineName("foo", "=10");
    EXPECT_EQ(Shown("A1"), "11");
    DefineName("bar", "=FOO*2");
    EXPECT_EQ(Shown("A2"), "20");
    DefineName("foo", "=Sheet1!$D$1");
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_STALE);
    EXPECT_EQ(Shown("A2"), "0");
    Enter("D1", "4");
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("A2"), "8");
    Undefine("foo");
    EXPECT_EQ(Shown("A1"), "#NAME?");
    EXPECT_EQ(Shown("A2"), "#NAME?");
}

TEST_F(Names, ALocalNameTakesTheUsersOfItsSheetOver) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    DefineName("foo", "=1");
    Enter("A1", "=foo");
    EnterOnSecond("A1", "=foo");
    EnterOnSecond("A2", "=Sheet1!foo");
    DefineName("FOO", "=Sheet1!$B$1", 1);
    Enter("B1", "7");
    EXPECT_EQ(Shown("A1"), "7");
    EXPECT_EQ(ShownOnSecond("A1"), "1");
    EXPECT_EQ(ShownOnSecond("A2"), "7");
    Enter("B1", "8");
    EXPECT_EQ(Shown("A1"), "8");
    EXPECT_EQ(ShownOnSecond("A2"), "8");
}

TEST_F(Names, ANameThatIsWorkedOutAnewEachTimeFollowsEveryEdit) {
    DefineName("chance", "=RAND()");
    DefineName("more", "=chance+1");
    Enter("A1", "=more");
    Enter("A2", "=A1");
    Calculate();
    Enter("Z9", "1");
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_STALE);
    // And after a load, when nothing has been edited yet.
    Calculate();
    EXPECT_TRUE(MarkVolatileCells());
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_STALE);
}

TEST_F(Names, ALargeChangedAreaReachesUsersOfNames) {
    DefineName("far", "=Sheet1!$C$5000");
    DefineName("above", "=Sheet1!A65536");
    DefineName("many", "=SUM(Sheet1!$D$100:$D$200)");
    for (const char* cell : {"A1", "E301", "A3"})
        Enter(cell, cell[0] == 'E' ? "=above" : cell[1] == '1' ? "=far" : "=many");
    Enter("A4", "=C9");
    Enter("A5", "=J9");
    Calculate();
    MarkDependentsOfArea(CurrentBook(), 0, {0, 9999, 2, 4});
    for (const char* cell : {"A1", "E301", "A3", "A4"}) EXPECT_EQ(State(cell), CALC_STALE) << cell;
    EXPECT_EQ(State("A5"), CALC_CURRENT);
}

TEST_F(Names, ALinkInsideANameIsUpdatedWithTheLinks) {
    Enter("B1", "3");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    DefineName("theirs", "=[Book1]Sheet1!$B$1");
    DefineName("inner", "=theirs+1");
    Enter("A1", "=theirs");
    Enter("A2", "=inner");
    Enter("A3", "=5");
    Calculate();
    EXPECT_EQ(Shown("A1"), "3");
    EXPECT_EQ(Shown("A2"), "4");
    UpdateLinks(CurrentBook(), false, false);
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(State("A2"), CALC_STALE);
    EXPECT_EQ(State("A3"), CALC_CURRENT);
}

TEST_F(Names, ManyRelativeReferencesInNamesAreFollowed) {
    // More than a formula is entered for one by one.
    std::string all = "=Sheet1!B65536";
    for (i32 i = 1; i < 40; ++i) all += "+Sheet1!B" + std::to_string(65536 - i);
    DefineName("n_0", all);
    for (i32 i = 1; i < 12; ++i)
        DefineName("n_" + std::to_string(i), "=n_" + std::to_string(i - 1) + "+Sheet1!C65536");
    DefineName("wide", "=n_11");
    Enter("A100", "=wide");
    EXPECT_EQ(Shown("A100"), "0");
    Enter("B70", "5");
    EXPECT_EQ(Shown("A100"), "5");
    Enter("C99", "1");
    EXPECT_EQ(Shown("A100"), "16");
}

// Values that came about edit by edit are those of a calculation of everything, whatever names the formulas
// use.
class RandomNames : public Names {
  protected:
    static constexpr i32 ROWS = 24, COLUMNS = 5, NAMES = 14;
    i32 Below(i32 n) { return static_cast<i32>(random() % static_cast<u32>(n)); }
    static std::string Name(i32 n) { return "name_" + std::to_string(n); }
    static std::string Cell(i32 row, i32 column) {
        return std::string(1, static_cast<char>('A' + column)) + std::to_string(row + 1);
    }
    // A cell of the first rows, which hold no formula.
    std::string Source(bool absolute) {
        const i32 row = Below(4), column = Below(COLUMNS);
        return absolute ? "$" + std::string(1, static_cast<char>('A' + column)) + "$" + std::to_string(row + 1)
                        : Cell(row, column);
    }
    // A name leads to the first rows, to cells above its user, or to names of lower numbers.
    std::string Meaning(i32 number) {
        const std::string sheet = Below(3) ? "Sheet1!" : Below(2) ? "Sheet2!" : "";
        const std::string inner = number ? Name(Below(number)) : "2";
        switch (Below(7)) {
            case 0: return "=" + sheet + Source(true);
            case 1: return "=SUM(" + sheet + "$A$1:" + Source(true) + ")";
            case 2:
                return "=" + sheet + std::string(1, static_cast<char>('A' + Below(2))) +
                       std::to_string(65536 - Below(2));
            case 3: return "=" + inner + "+1";
            case 4: return "=SUM(" + inner + "," + sheet + "A65536)";
            case 5: return "=Sheet1!$A$1:INDEX(Sheet1!$A$1:$C$4,2,2)";
            default: return "=SUM(" + inner + "*2," + sheet + Source(true) + ")";
        }
    }
    std::string Formula() {
        const std::string name = Name(Below(NAMES));
        switch (Below(4)) {
            case 0: return "=SUM(" + name + ")";
            case 1: return "=SUM(Sheet" + std::to_string(1 + Below(2)) + "!" + name + ",1)";
            case 2: return "=SUM(" + name + "," + Name(Below(NAMES)) + "," + Source(false) + ")";
            default: return "=SUM(" + Source(false) + ":" + Source(false) + ")+COUNT(" + name + ")";
        }
    }
    void EditOnce() {
        CurrentWorkbook()->currentSheet = Below(2);
        const i32 what = Below(10);
        if (what < 6) {
            Enter(Cell(Below(4), Below(COLUMNS)), std::to_string(Below(1000)));
        } else if (what < 9) {
            // Below the first six rows, so that what lies above is never off the sheet.
            Enter(Cell(6 + Below(ROWS - 6), Below(COLUMNS)), Below(4) ? Formula() : std::to_string(Below(9)));
        } else {
            const i32 number = Below(NAMES);
            DefineName(Name(number), Meaning(number), Below(3) ? u16{0} : static_cast<u16>(1 + Below(2)));
        }
    }
    static std::map<std::string, std::string> Values() {
        std::map<std::string, std::string> values;
        CalculateBook(CurrentBook());
        for (i32 sheet = 0; sheet < 2; ++sheet) {
            CurrentWorkbook()->currentSheet = sheet;
            for (const FormulaCell* formula : CurrentSheet()->cells.formulas) {
                const std::string cell = Cell(formula->row, formula->column);
                values[std::to_string(sheet) + cell + FormulaOf(cell)] = Shown(cell);
            }
        }
        CurrentWorkbook()->currentSheet = 0;
        return values;
    }
    std::mt19937 random{7};
};

TEST_F(RandomNames, EditsGiveWhatACalculationOfEverythingGives) {
    for (u32 seed = 1; seed <= 12; ++seed) {
        TearDown();
        SetUp();
        random.seed(seed);
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        for (i32 n = 0; n < NAMES; ++n) DefineName(Name(n), Meaning(n));
        for (i32 i = 0; i < 60; ++i) EditOnce();
        for (i32 round = 0; round < 60; ++round) {
            EditOnce();
            const auto edited = Values();
            MarkAllStale();
            ASSERT_EQ(edited, Values()) << "seed " << seed << ", round " << round;
        }
        EXPECT_GT(Values().size(), 12u);
    }
}

}  // namespace
}  // namespace tally
