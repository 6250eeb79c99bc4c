#include <algorithm>
#include <string>
#include <vector>

#include "formula/Compiler.h"
#include "formula/Dependents.h"
#include "formula/EngineState.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

std::vector<std::string> changed;
std::string CellText(i32 book, i32 sheet, i32 row, i32 column) {
    return std::to_string(book) + ":" + std::to_string(sheet) + ":" + static_cast<char>('A' + column) +
           std::to_string(row + 1);
}

class Markings : public Sandbox {
  protected:
    static u8 State(std::string_view cell) { return CellAtName(cell)->calcState; }
    // Calculates every open book, so that nothing is stale.
    static void Settle() {
        for (u32 book = 0; book < Books().books.Count(); ++book) CalculateBook(static_cast<i32>(book));
    }
    static std::string Stale(std::initializer_list<const char*> cells) {
        std::string out;
        for (const char* cell : cells) out += State(cell) == CALC_STALE ? std::string(cell) + " " : "";
        return out;
    }
    static void Mark(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        MarkDependents(CurrentBook(), 0, row, column);
    }
    static void Listen() {
        changed.clear();
        RecalculationView().cellChanged = [](i32 book, i32 sheet, i32 row, i32 column) {
            changed.push_back(CellText(book, sheet, row, column));
        };
    }
};

TEST_F(Markings, ACellMarksItsReadersAndTheirs) {
    Enter("B1", "=A1");
    Enter("C1", "=B1");
    Enter("D1", "=SUM(A1:A9)");
    Enter("E1", "=A2");
    Settle();
    Mark("A1");
    EXPECT_EQ(Stale({"B1", "C1", "D1", "E1"}), "B1 C1 D1 ");
    Settle();
    Mark("A2");
    EXPECT_EQ(Stale({"B1", "C1", "D1", "E1"}), "D1 E1 ");
    Settle();
    Mark("E1");
    EXPECT_EQ(Stale({"B1", "C1", "D1", "E1"}), "");
    MarkDependents(0, 7, 0, 0);
    MarkDependents(7, 0, 0, 0);
    MarkDependentsOfArea(0, 7, {0, 9, 0, 9});
    EXPECT_EQ(Stale({"B1", "C1", "D1", "E1"}), "");
}

// Large blocks of neighbouring formulas: each cell's readers are its own.
TEST_F(Markings, CellsSideBySideHaveTheirOwnReaders) {
    for (i32 row = 1; row <= 20; ++row) {
        for (const char* column : {"A", "B", "C"}) {
            const std::string cell = column + std::to_string(row);
            Enter(std::string(1, static_cast<char>(column[0] + 8)) + std::to_string(row), "=" + cell);
        }
    }
    for (i32 row = 1; row <= 20; ++row) {
        for (const char* column : {"A", "B", "C"}) {
            Settle();
            Mark(column + std::to_string(row));
            std::string stale;
            for (i32 r = 1; r <= 20; ++r) {
                for (const char* c : {"I", "J", "K"}) {
                    if (State(c + std::to_string(r)) == CALC_STALE) stale += c + std::to_string(r);
                }
            }
            EXPECT_EQ(stale, std::string(1, static_cast<char>(column[0] + 8)) + std::to_string(row));
        }
    }
}

TEST_F(Markings, RangesOfTheSameRowsOnOtherSheetsAreOthers) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    Enter("H1", "=SUM(A1:A9)");
    Enter("H2", "=SUM(Sheet2!A1:A9)");
    Enter("H3", "=SUM(A1:B9)");
    Enter("H4", "=SUM(A1:A8)");
    Enter("H5", "=SUM(A2:A9)");
    Enter("H6", "=SUM(Sheet1:Sheet2!A1:A9)");
    Enter("H7", "=SUM(A1:A9)+1");
    const std::initializer_list<const char*> all = {"H1", "H2", "H3", "H4", "H5", "H6", "H7"};
    Settle();
    Mark("A9");
    EXPECT_EQ(Stale(all), "H1 H3 H5 H6 H7 ");
    Settle();
    Mark("A1");
    EXPECT_EQ(Stale(all), "H1 H3 H4 H6 H7 ");
    Settle();
    Mark("B5");
    EXPECT_EQ(Stale(all), "H3 ");
    Settle();
    MarkDependents(0, 1, 4, 0);
    EXPECT_EQ(Stale(all), "H2 H6 ");
    // The readers of an area, by a walk over all ranges and cells.
    for (const i32 sheet : {0, 1}) {
        Settle();
        MarkDependentsOfArea(0, sheet, AreaOf("A9", "C300"));
        EXPECT_EQ(Stale(all), sheet ? "H2 H6 " : "H1 H3 H5 H6 H7 ");
    }
    Settle();
    MarkDependentsOfArea(0, 0, AreaOf("B1", "E200"));
    EXPECT_EQ(Stale(all), "H3 ");
    Settle();
    MarkDependentsOfArea(0, 0, AreaOf("C1", "E200"));
    EXPECT_EQ(Stale(all), "");
}

TEST_F(Markings, AreasReachTheSameReadersWhateverTheirSize) {
    for (i32 row = 1; row <= 30; ++row) {
        Enter("H" + std::to_string(row), "=C" + std::to_string(row));
        Enter("I" + std::to_string(row), "=SUM(B" + std::to_string(row) + ":C" + std::to_string(row + 2) + ")");
    }
    for (const i32 last : {12, 30}) {
        for (const bool large : {false, true}) {
            Settle();
            MarkDependentsOfArea(0, 0, {9, static_cast<u16>(last - 1), 2, static_cast<u8>(large ? 6 : 2)});
            for (i32 row = 1; row <= 30; ++row) {
                const std::string number = std::to_string(row);
                EXPECT_EQ(State("H" + number) == CALC_STALE, row >= 10 && row <= last)
                    << number << last << large;
                EXPECT_EQ(State("I" + number) == CALC_STALE, row >= 8 && row <= last)
                    << number << last << large;
            }
        }
    }
}

TEST_F(Markings, TheViewIsToldOfEachCellThatIsAnotherNow) {
    Enter("B1", "=A1");
    Enter("C1", "=B1");
    Enter("D1", "=7");
    Settle();
    Listen();
    Mark("A1");
    EXPECT_EQ(changed, (std::vector<std::string>{"0:0:A1", "0:0:B1", "0:0:C1"}));
    Settle();
    changed.clear();
    MarkDependentsOfArea(0, 0, AreaOf("A1", "A2"));
    std::sort(changed.begin(), changed.end());
    EXPECT_EQ(changed, (std::vector<std::string>{"0:0:A1", "0:0:A2", "0:0:B1", "0:0:C1"}));
    // What was stale already has been told of.
    changed.clear();
    Mark("A1");
    EXPECT_EQ(changed, (std::vector<std::string>{"0:0:A1"}));
}

TEST_F(Markings, WhatFollowsEveryChangeIsMarkedWithTheFirstOne) {
    Enter("A1", "=RAND()");
    Enter("A2", "=A1");
    Enter("A3", "=5");
    Settle();
    Mark("Z9");
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A1 A2 ");
    Settle();
    MarkDependentsOfArea(0, 0, AreaOf("D1", "IV300"));
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A1 A2 ");
    Settle();
    FormulaCell* third = CellAtName("A3")->formula;
    MarkChanged({&third, 1}, {});
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A1 A2 A3 ");
    Settle();
    MarkChanged({}, {});
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "");
}

TEST_F(Markings, VolatileCellsOfTheCurrentBookAreMarkedAfterALoad) {
    Enter("A1", "=1");
    EXPECT_FALSE(MarkVolatileCells());
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Enter("A1", "=NOW()");
    Enter("A2", "=A1");
    Books().currentBook = 0;
    Settle();
    EXPECT_FALSE(MarkVolatileCells());
    Books().currentBook = 1;
    EXPECT_EQ(Stale({"A1", "A2"}), "");
    EXPECT_TRUE(MarkVolatileCells());
    EXPECT_EQ(Stale({"A1", "A2"}), "A1 A2 ");
    Settle();
    Books().currentBook = 0;
    Enter("B1", "=NOW()");
    Settle();
    EXPECT_TRUE(MarkVolatileCells());
    EXPECT_EQ(Stale({"A1", "B1"}), "B1 ");
}

TEST_F(Markings, ABookWithAVolatileNameHasVolatileCells) {
    ASSERT_GE(AddName(*CurrentWorkbook(), u"bare", 0), 0);
    DefineName("fixed", "=Sheet1!$A$1");
    EXPECT_FALSE(MarkVolatileCells());
    DefineName("chance", "=RAND()");
    EXPECT_TRUE(MarkVolatileCells());
}

TEST_F(Markings, VolatileCellsOfMacroSheetsDoNotCount) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    FormulaPlace place;
    CellInput input;
    ASSERT_TRUE(CompileFormula(place, u"=RAND()", 'V', input.tokens));
    ASSERT_TRUE(SetCell(0, 1, input, true, false));
    FormulaCell* formula = CellAtName("A1")->formula;
    BuildPrecedents(*formula);
    DropDependents();
    EXPECT_TRUE(formula->alwaysCalculate);
    EXPECT_FALSE(MarkVolatileCells());
    CellAtName("A1")->calcState = CALC_CURRENT;
    MarkChanged({&formula, 1}, {});
    MarkAllStale();
    EXPECT_EQ(State("A1"), CALC_CURRENT);
    // And a change there marks nothing.
    CurrentWorkbook()->currentSheet = 0;
    Enter("B1", "=Macro1!C3");
    Settle();
    MarkDependents(0, 1, 2, 2);
    MarkDependentsOfArea(0, 1, {0, 900, 0, 9});
    EXPECT_EQ(State("B1"), CALC_CURRENT);
}

TEST_F(Markings, ANameMarksItsUsers) {
    DefineName("foo", "=1");
    DefineName("bar", "=foo");
    Enter("A1", "=foo");
    Enter("A2", "=bar+1");
    Enter("A3", "=2");
    Settle();
    MarkDependentsOfName(0, 0);
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A1 A2 ");
    Settle();
    MarkDependentsOfName(0, 1);
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A2 ");
    Settle();
    for (const i32 name : {-1, 2, 99}) MarkDependentsOfName(0, name);
    MarkDependentsOfName(9, 0);
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "");
    const ChangedName names[] = {{0, 0}, {9, 0}, {0, 7}};
    FormulaCell* third = CellAtName("A3")->formula;
    MarkChanged({&third, 1}, names);
    EXPECT_EQ(Stale({"A1", "A2", "A3"}), "A1 A2 A3 ");
}

TEST_F(Markings, AChangeLetsACalculationBeginAgainThatTheUserHadEnoughOf) {
    Enter("A1", "=1");
    const auto begins = [](auto change) {
        Engine().suspended = true;
        change();
        const bool again = !Engine().suspended;
        Engine().suspended = false;
        return again;
    };
    FormulaCell* formula = CellAtName("A1")->formula;
    EXPECT_TRUE(begins([] { Mark("A1"); }));
    EXPECT_TRUE(begins([] { MarkDependentsOfArea(0, 0, {0, 9, 0, 9}); }));
    EXPECT_TRUE(begins([] { MarkDependentsOfName(0, 0); }));
    EXPECT_TRUE(begins([&] { MarkChanged({&formula, 1}, {}); }));
    EXPECT_TRUE(begins([] { MarkAllStale(); }));
    EXPECT_FALSE(begins([] { MarkChanged({}, {}); }));
    EXPECT_FALSE(begins([] { MarkDependents(0, 9, 0, 0); }));
    EXPECT_FALSE(begins([] { IgnoreFailure(MarkVolatileCells()); }));
}

TEST_F(Markings, WithoutTheMemoryForAnIndexEverythingIsStale) {
    ForgetBooks();
    bool failed = true;
    for (u64 n = 1; failed && n < 400; ++n) {
        test::FailingAllocator allocator;
        {
            QuietMemoryScope quiet;
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            DefineName("foo", "=Sheet1!$A$1");
            for (const auto& [cell, text] : {std::pair{"B1", "=A1"},
                                             {"C1", "=SUM(A1:A9)"},
                                             {"D1", "=foo"},
                                             {"E1", "=B1+C1+D1"},
                                             {"F1", "=RAND()"}}) {
                Enter(cell, text);
            }
            Settle();
            const bool builds = n % 2;
            if (builds) DropDependents();
            allocator.FailAt((n + 1) / 2);
            if (n % 4 < 2) MarkDependents(0, 0, 0, 0);
            else MarkDependentsOfArea(0, 0, {0, 4, 0, 0});
            failed = allocator.HasFailed() || n < 40;
            allocator.StopFailing();
            EXPECT_EQ(Stale({"B1", "C1", "D1", "E1", "F1"}), "B1 C1 D1 E1 F1 ") << n;
            Settle();
            Mark("A1");
            EXPECT_EQ(Stale({"B1", "C1", "D1", "E1", "F1"}), "B1 C1 D1 E1 F1 ") << n;
            ForgetBooks();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

// ---- the index ------------------------------------------------------------------------------------

void Count(FormulaCell&, void* count) { ++*static_cast<u32*>(count); }

TEST_F(Markings, FormulasEnterAndLeaveTheIndexWithTheirCells) {
    EXPECT_FALSE(HasDependents());
    EXPECT_EQ(IndexedFormulas(), 0u);
    u32 met = 0;
    VisitDependents(*CurrentSheet(), 0, 0, Count, &met);
    VisitReadersOfArea(*CurrentSheet(), {0, 9, 0, 9}, Count, &met);
    VisitAlways(Count, &met);
    VisitNameUsers(0, u"foo", Count, &met);
    EXPECT_EQ(met, 0u);
    Enter("B1", "=A1");
    ASSERT_TRUE(EnsureDependents());
    EXPECT_TRUE(HasDependents());
    const u32 before = IndexedFormulas();
    Enter("B2", "=A1+A1");
    EXPECT_EQ(IndexedFormulas(), before + 1);
    BeginVisits();
    VisitDependents(*CurrentSheet(), 0, 0, Count, &met);
    EXPECT_EQ(met, 3u);
    // Another formula in the cell: the old one is forgotten.
    Enter("B1", "=A2");
    met = 0;
    VisitDependents(*CurrentSheet(), 0, 0, Count, &met);
    EXPECT_EQ(met, 2u);
    EXPECT_TRUE(CellAtName("B1")->formula->indexed);
    DropDependents();
    EXPECT_FALSE(CellAtName("B1")->formula->indexed);
    EXPECT_FALSE(HasDependents());
}

TEST_F(Markings, AnIndexThatHasForgottenMostOfItIsBuiltAnew) {
    for (i32 row = 1; row <= 10; ++row) Enter("B" + std::to_string(row), "=A1");
    ASSERT_TRUE(EnsureDependents());
    for (i32 round = 0; round < 3000; ++round) Enter("C1", "=A1+" + std::to_string(round));
    ASSERT_TRUE(EnsureDependents());
    EXPECT_LT(IndexedFormulas(), 2200u);
    Settle();
    Mark("A1");
    EXPECT_EQ(Stale({"B1", "B10", "C1"}), "B1 B10 C1 ");
}

TEST_F(Markings, AFormulaThatTurnsOutToFollowEveryChangeIsEnteredOnce) {
    Enter("A1", "=B1");
    ASSERT_TRUE(EnsureDependents());
    FormulaCell& formula = *CellAtName("A1")->formula;
    for (i32 i = 0; i < 3; ++i) EnterAlwaysCalculated(formula);
    EXPECT_TRUE(formula.alwaysCalculate);
    u32 met = 0;
    VisitAlways(Count, &met);
    EXPECT_EQ(met, 1u);
    Settle();
    Mark("Z9");
    EXPECT_EQ(State("A1"), CALC_STALE);
}

// ---- names ----------------------------------------------------------------------------------------

// What lies relative to the cell is entered up to a bound, beyond which the formula follows every change.
TEST_F(Markings, AFormulaWithMoreRelativeReferencesInNamesThanAreEnteredFollowsEveryChange) {
    const auto references = [](i32 count) {
        std::string out;
        for (i32 i = 0; i < count; ++i) out += "+Sheet1!B" + std::to_string(65536 - i % 50);
        return out;
    };
    DefineName("first", "=1" + references(100));
    DefineName("second", "=2" + references(100));
    for (const i32 more : {53, 54, 55, 60}) {
        const std::string name = "wide_" + std::to_string(more);
        DefineName(name, "=first+second" + references(more));
        Enter("A100", "=" + name);
        Enter("B99", "1");
        Settle();
        Mark("Z500");
        // 200 in the two names, two mentions, and its own.
        EXPECT_EQ(State("A100") == CALC_STALE, more > 54) << more;
        Settle();
        Mark("B99");
        EXPECT_EQ(State("A100"), CALC_STALE) << more;
    }
    // A name that is mentioned twice counts once.
    DefineName("twice", "=first+first+first" + references(100));
    Enter("A100", "=twice+twice");
    Settle();
    Mark("Z500");
    EXPECT_EQ(State("A100"), CALC_CURRENT);
    Mark("B99");
    EXPECT_EQ(State("A100"), CALC_STALE);
}

TEST_F(Markings, ANameUsedOnTwoSheetsReadsEachSheetsCells) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    DefineName("left", "=Sheet1!IV1");
    DefineName("fixed", "=Sheet1!$B$5");
    Workbook& book = *CurrentWorkbook();
    // A plain reference, as some files have it: on the sheet of the user.
    FormulaPlace place;
    FormulaTokens tokens;
    ASSERT_TRUE(CompileFormula(place, u"=$C$7", 'R', tokens));
    FreeTokens(book.names[static_cast<u32>(AddName(book, u"plain", 0))].tokens);
    book.names.Last().tokens = tokens;
    for (const i32 sheet : {0, 1}) {
        book.currentSheet = sheet;
        Enter("H5", "=left");
        Enter("H6", "=fixed");
        Enter("H7", "=plain");
    }
    const auto stale = [&](i32 sheet, i32 row, i32 column) {
        Settle();
        MarkDependents(0, sheet, row, column);
        std::string out;
        for (const i32 s : {0, 1}) {
            book.currentSheet = s;
            out += Stale({"H5", "H6", "H7"}) + "|";
        }
        book.currentSheet = 0;
        return out;
    };
    EXPECT_EQ(stale(0, 4, 6), "H5 |H5 |");
    EXPECT_EQ(stale(1, 4, 6), "||");
    EXPECT_EQ(stale(0, 4, 1), "H6 |H6 |");
    EXPECT_EQ(stale(0, 6, 2), "H7 ||");
    EXPECT_EQ(stale(1, 6, 2), "|H7 |");
}

}  // namespace
}  // namespace tally
