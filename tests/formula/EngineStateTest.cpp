#include "formula/EngineState.h"

#include <string>
#include <vector>

#include "formula/Compiler.h"
#include "formula/EvaluationNotes.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class EngineStates : public Sandbox {
  protected:
    static EvaluationState& State() { return Engine().evaluation; }
};

TEST_F(EngineStates, WhatIsSpentCountsInsideAnEvaluationUpToItsBound) {
    const auto spend = [](bool (*act)(u64), u64 EvaluationBudget::*bound, u64 EvaluationState::*spent) {
        Engine().evaluation = EvaluationState();
        Budget().*bound = 100;
        // Outside nothing counts.
        EXPECT_TRUE(act(1000));
        EXPECT_EQ(State().*spent, 0u);
        EXPECT_FALSE(EvaluationStopped());
        State().depth = 1;
        EXPECT_TRUE(act(60));
        EXPECT_TRUE(act(40));
        EXPECT_EQ(State().*spent, 100u);
        EXPECT_FALSE(act(1));
        EXPECT_EQ(State().stop, STOP_BOUND);
        EXPECT_FALSE(act(0));
        Engine().evaluation = EvaluationState();
    };
    spend(SpendElements, &EvaluationBudget::elements, &EvaluationState::elements);
    spend(SpendSteps, &EvaluationBudget::steps, &EvaluationState::steps);
    State().depth = 1;
    Budget().steps = 47;
    EXPECT_TRUE(SpendToken());
    EXPECT_TRUE(SpendToken());
    EXPECT_FALSE(SpendToken());
    State() = EvaluationState();
}

TEST_F(EngineStates, EachEvaluationSpendsItsOwn) {
    State().depth = 3;
    State().base = 1;
    State().elements = 10;
    State().steps = 20;
    {
        const OwnEvaluation own;
        EXPECT_EQ(State().base, 3);
        EXPECT_EQ(State().elements, 0u);
        EXPECT_EQ(State().steps, 0u);
        State().elements = State().steps = 99;
    }
    EXPECT_EQ(State().base, 1);
    EXPECT_EQ(State().elements, 10u);
    EXPECT_EQ(State().steps, 20u);
    State() = EvaluationState();
}

TEST_F(EngineStates, TheFirstStopOfAnEvaluationCounts) {
    StopEvaluation(STOP_BOUND);
    EXPECT_FALSE(EvaluationStopped());
    State().depth = 1;
    StopEvaluation(STOP_MEMORY);
    EXPECT_TRUE(EvaluationStopped());
    StopEvaluation(STOP_BOUND);
    EXPECT_EQ(State().stop, STOP_MEMORY);
    EXPECT_FALSE(ReadCells(1));
    State() = EvaluationState();
    EXPECT_TRUE(ReadCells(1));
}

TEST_F(EngineStates, StopsAreReportedOnceAndToldToTheView) {
    static u32 told = 0;
    told = 0;
    RecalculationView().calculationStopped = [](EvaluationStop) { ++told; };
    NoteStop(STOP_BOUND);
    NoteStop(STOP_BOUND);
    EXPECT_FALSE(Engine().suspended);
    NoteStop(STOP_CANCELLED);
    EXPECT_TRUE(Engine().suspended);
    EXPECT_EQ(told, 3u);
    CalculationReport report = TakeCalculationReport();
    EXPECT_EQ(report.stops[STOP_BOUND], 2u);
    EXPECT_EQ(report.stops[STOP_CANCELLED], 1u);
    EXPECT_EQ(report.stops[STOP_MEMORY], 0u);
    report = TakeCalculationReport();
    EXPECT_EQ(report.stops[STOP_BOUND], 0u);
    EXPECT_EQ(report.stops[STOP_CANCELLED], 0u);
}

TEST_F(EngineStates, NotesAreExchangedWhole) {
    IgnoreFailure(ExchangeNotes(0));
    NoteEvaluation(NOTE_PLACE);
    NoteEvaluation(NOTE_AWAY);
    EXPECT_EQ(ExchangeNotes(NOTE_AWAY), u32{NOTE_PLACE} | NOTE_AWAY);
    NoteEvaluation(NOTE_AWAY);
    EXPECT_EQ(ExchangeNotes(0), u32{NOTE_AWAY});
    EXPECT_EQ(ExchangeNotes(0), 0u);
}

TEST_F(EngineStates, WithoutAMacroEngineCallsOfMacrosAreRefErrors) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_FALSE(MacroEngine().isRunningCell({}));
    EXPECT_FALSE(MacroEngine().sideEffectsBarred());
    EXPECT_EQ(Eval("=Macro1!A1(1)"), "#REF!");
}

// ---- calls of macros ------------------------------------------------------------------------------

struct MacroCall {
    i32 book, sheet, row, column;
    std::vector<double> arguments;
    RefArea caller;
    i32 solid;
};
std::vector<MacroCall> macroCalls;
bool running = false;

void RunMacro(i32 book, i32 sheet, i32 row, i32 column, Value* arguments, i32 count, Value& result,
              const Value& caller) {
    MacroCall call{book, sheet, row, column, {}, caller.area, Engine().evaluation.solid};
    for (i32 i = 0; i < count; ++i) call.arguments.push_back(arguments[i].number);
    macroCalls.push_back(call);
    EXPECT_EQ(caller.type, VT_AREA);
    result = NumberValue(100 + count);
}

class MacroCallsOfFormulas : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
        ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
        CurrentWorkbook()->currentSheet = 0;
        macroCalls.clear();
        running = false;
        MacroEngine() = {[](const EvalContext&) { return running; }, [] { return false; }, RunMacro};
    }
    static Value Run(const char16_t* formula, i32 sheet) {
        FormulaPlace place;
        place.sheet = sheet;
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, formula, 'V', tokens));
        Value result;
        EXPECT_TRUE(EvaluateFormula(tokens, result, {0, sheet, 6, 4, 0}));
        FreeTokens(tokens);
        return result;
    }
};

TEST_F(MacroCallsOfFormulas, AReferenceIntoAMacroSheetIsCalledWithItsArguments) {
    EXPECT_EQ(Run(u"=Macro1!C5(7,8)", 0).number, 102);
    ASSERT_EQ(macroCalls.size(), 1u);
    EXPECT_EQ(macroCalls[0].book, 0);
    EXPECT_EQ(macroCalls[0].sheet, 1);
    EXPECT_EQ(macroCalls[0].row, 4);
    EXPECT_EQ(macroCalls[0].column, 2);
    EXPECT_EQ(macroCalls[0].arguments, (std::vector<double>{7, 8}));
    EXPECT_EQ(macroCalls[0].caller, (RefArea{6, 6, 4, 4}));
    EXPECT_EQ(macroCalls[0].solid, 1);
    EXPECT_EQ(Engine().evaluation.solid, 0);
    EXPECT_EQ(Run(u"=Macro1!C5()+1", 0).number, 101);
    DefineName("entry", "=Macro1!$D$9");
    EXPECT_EQ(Run(u"=entry(1)", 0).number, 101);
    EXPECT_EQ(macroCalls.back().row, 8);
}

TEST_F(MacroCallsOfFormulas, WhatIsNoCellOfAMacroSheetIsARefError) {
    DefineName("number", "=5");
    for (const char16_t* formula : {u"=Sheet1!C5(7)", u"=number(1)", u"=Sheet2!A1()"}) {
        const Value result = Run(formula, 0);
        EXPECT_EQ(result.type, VT_ERROR) << Narrow(formula);
        EXPECT_EQ(result.error, ERR_REF) << Narrow(formula);
    }
    EXPECT_EQ(Run(u"=unknown(1)", 0).error, ERR_NAME);
    EXPECT_TRUE(macroCalls.empty());
}

TEST_F(MacroCallsOfFormulas, OnAMacroSheetOnlyTheRunningCellCalls) {
    Value result = Run(u"=Macro1!C5(7)", 1);
    EXPECT_EQ(result.type, VT_BOOL);
    EXPECT_EQ(result.boolean, 0);
    EXPECT_TRUE(macroCalls.empty());
    running = true;
    EXPECT_EQ(Run(u"=Macro1!C5(7)", 1).number, 101);
    EXPECT_EQ(macroCalls.size(), 1u);
}

TEST_F(MacroCallsOfFormulas, AnAddInFunctionIsCalledThroughItsName) {
    EXPECT_EQ(Run(u"=GCD(12,18)", 0).number, 6);
    EXPECT_TRUE(macroCalls.empty());
}

// ---- names of other books and sheets --------------------------------------------------------------

class NamesElsewhere : public Sandbox {
  protected:
    // A name whose reference says no sheet, as some files have it.
    static void DefinePlain(const char16_t* name, const char16_t* formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, formula, 'R', tokens));
        const i32 row = AddName(*CurrentWorkbook(), name, 0);
        ASSERT_GE(row, 0);
        CurrentWorkbook()->names[static_cast<u32>(row)].tokens = tokens;
    }
};

TEST_F(NamesElsewhere, AReferenceOutOfAnotherBookLeadsThere) {
    for (i32 row = 1; row <= 4; ++row) Enter("B" + std::to_string(row), std::to_string(row * 10));
    DefinePlain(u"plain", u"=$B$2:$B$4");
    DefineName("placed", "=Sheet1!$B$1:$B$3");
    DefineName("listed", "=(Sheet1!$B$1,Sheet1!$B$4)");
    DefineName("number", "=7");
    DefineName("broken", "=#REF!");
    DefineName("gone", "=[gone.xls]S!$A$1");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    for (i32 row = 1; row <= 4; ++row) Enter("B" + std::to_string(row), "1");
    const std::pair<const char*, const char*> rows[] = {
        {"=SUM(Book1!plain)", "90"},       {"=SUM(Book1!placed)", "60"},
        {"=SUM(Book1!listed)", "50"},      {"=ROW(Book1!plain)", "2"},
        {"=ROWS(Book1!placed)", "3"},      {"=AREAS(Book1!listed)", "2"},
        {"=Book1!number+1", "8"},          {"=Book1!broken", "#REF!"},
        {"=Book1!unknown", "#NAME?"},      {"=SUM(OFFSET(Book1!plain,1,0))", "70"},
        {"=INDEX(Book1!plain,2,1)", "30"}, {"=SUM(Book1!gone)", "#REF!"},
    };
    for (const auto& [formula, result] : rows) EXPECT_EQ(Eval(formula), result) << formula;
}

TEST_F(NamesElsewhere, AReferenceOverSheetsOfAnotherBookKeepsThemAll) {
    Enter("B1", "1");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B1", "20");
    DefineName("through", "=Sheet1:Sheet2!$B$1");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(Eval("=SUM(Book1!through)"), "21");
}

TEST_F(NamesElsewhere, APlainReferenceLiesOnTheSheetOfItsUser) {
    DefinePlain(u"plain", u"=$B$2");
    Enter("B2", "5");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B2", "6");
    EXPECT_EQ(Eval("=plain+0"), "6");
    EXPECT_EQ(Eval("=Sheet1!plain+0"), "6");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Eval("=plain+0"), "5");
}

// The second sheet's name, wherever it is used.
TEST_F(NamesElsewhere, APlainReferenceOfASheetsOwnNameLiesOnThatSheet) {
    Enter("B2", "5");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B2", "6");
    DefinePlain(u"plain", u"=$B$2");
    CurrentWorkbook()->names.Last().sheet = 2;
    EXPECT_EQ(Eval("=plain+0"), "6");
    CurrentWorkbook()->currentSheet = 0;
    Enter("A1", "=Sheet2!plain");
    EXPECT_EQ(Shown("A1"), "6");
    Enter("B2", "50");
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_CURRENT);
    CurrentWorkbook()->currentSheet = 1;
    Enter("B2", "60");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
    EXPECT_EQ(Shown("A1"), "60");
}

// The row of a link that names no sheet leaves it to the name.
TEST_F(NamesElsewhere, ASheetsOwnNameOfAnotherBookIsFoundByTheSheetThatItIsNotedWith) {
    DefineName("place", "=1");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("place", "=2", 2);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(Eval("=Book1!place"), "1");
    EXPECT_EQ(Eval("=[Book1]Sheet2!place"), "2");
    ExternBook& link = CurrentWorkbook()->externBooks.Last();
    EXPECT_EQ(Narrow(link.path),
              "\x01"
              "Book1");
    const i32 listed = AddExternSheetName(link, u"SHEET2"), gone = AddExternSheetName(link, u"Gone");
    for (const auto& [sheet, value] :
         {std::pair{0, "1"}, {listed + 1, "2"}, {gone + 1, "1"}, {99, "1"}, {-1, "1"}}) {
        CurrentWorkbook()->externBooks.Last().names[0].sheet = static_cast<i16>(sheet);
        EXPECT_EQ(Eval("=Book1!place"), value) << sheet;
    }
}

}  // namespace
}  // namespace tally
