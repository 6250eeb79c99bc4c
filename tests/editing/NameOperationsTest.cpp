#include "editing/NameOperations.h"

#include "base/MessageTable.h"
#include "editing/Undo.h"
#include "formula/Links.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class NameOperations : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, true));
        CurrentWorkbook()->currentSheet = 0;
        CurrentWorkbook()->dirty = 0;
    }
    static NameRequest Request(WideView name, WideView formula, std::string_view cell = "A1", i32 sheet = 0) {
        NameRequest request{0, sheet, 0, 0, name, formula};
        ReadCellName(cell, request.row, request.column);
        return request;
    }
    static bool Define(WideView name, WideView formula, std::string_view cell = "A1", i32 sheet = 0) {
        u16 fault = 0;
        const bool defined = tally::DefineName(Request(name, formula, cell, sheet), fault);
        EXPECT_EQ(fault, 0);
        return defined;
    }
    static std::string FormulaOfName(WideView name, std::string_view cell = "A1", i32 sheet = 0) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        const i32 found = FindWrittenName(0, sheet, name);
        WideText out;
        return found >= 0 && NameFormula(0, found, row, column, out) ? Narrow(out) : "none";
    }
    static i32 LastKind() { return UndoCount() ? LastUndo()->kind : -1; }
};

TEST_F(NameOperations, AFormulaThatWaitedForItsNameWorksOnceItIsThere) {
    Enter("A1", "7");
    Enter("B1", "=foo*2");
    EXPECT_EQ(Shown("B1"), "#NAME?");
    const u32 rows = CurrentWorkbook()->names.Count();
    CurrentWorkbook()->dirty = 0;
    ASSERT_TRUE(Define(u"FOO", u"=$A$1"));
    EXPECT_EQ(CurrentWorkbook()->names.Count(), rows);
    EXPECT_EQ(LastKind(), UNDO_ADD_NAME);
    EXPECT_TRUE(CurrentWorkbook()->dirty);
    EXPECT_EQ(Shown("B1"), "14");
    EXPECT_EQ(FormulaOf("B1"), "=foo*2");
    ASSERT_TRUE(Define(u"foo", u"=$A$1+1"));
    EXPECT_EQ(LastKind(), UNDO_CHANGE_NAME);
    EXPECT_EQ(Shown("B1"), "16");
    ASSERT_TRUE(DeleteName(0, FindWrittenName(0, 0, u"foo")));
    EXPECT_EQ(LastKind(), UNDO_DELETE_NAME);
    EXPECT_EQ(Shown("B1"), "#NAME?");
    EXPECT_EQ(CurrentWorkbook()->names.Count(), rows);
}

TEST_F(NameOperations, EachIsUndoneInTurn) {
    Enter("A1", "7");
    Enter("B1", "=foo");
    ASSERT_TRUE(Define(u"foo", u"=$A$1"));
    ASSERT_TRUE(Define(u"foo", u"=$A$1*10"));
    ASSERT_TRUE(DeleteName(0, FindWrittenName(0, 0, u"foo")));
    for (const char* shown : {"70", "7", "#NAME?"}) {
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Shown("B1"), shown);
    }
    EXPECT_EQ(FormulaOfName(u"foo"), "none");
}

TEST_F(NameOperations, ARelativeReferenceIsSeenFromTheCellThatUsesIt) {
    ASSERT_TRUE(Define(u"above", u"=A1", "B2"));
    Enter("B2", "5");
    Enter("C3", "=above");
    EXPECT_EQ(Shown("C3"), "5");
    EXPECT_EQ(FormulaOfName(u"above", "C3"), "=Sheet1!B2");
    EXPECT_EQ(FormulaOfName(u"above", "A1"), "=Sheet1!IV65536");
}

TEST_F(NameOperations, EveryReferenceTakesItsSheet) {
    CurrentWorkbook()->currentSheet = 0;
    ASSERT_TRUE(Define(u"both", u"=SUM($A$1:$A$2)+Sheet2!$B$1"));
    EXPECT_EQ(FormulaOfName(u"both"), "=SUM(Sheet1!$A$1:$A$2)+Sheet2!$B$1");
    Enter("A2", "3");
    CurrentWorkbook()->currentSheet = 1;
    Enter("C1", "=both");
    EXPECT_EQ(Shown("C1"), "3");
}

TEST_F(NameOperations, ASheetsOwnNameHidesTheBooksThere) {
    Enter("A1", "=foo");
    CurrentWorkbook()->currentSheet = 1;
    Enter("A1", "=foo");
    ASSERT_TRUE(Define(u"foo", u"=1"));
    ASSERT_TRUE(Define(u"Sheet2!foo", u"=2"));
    EXPECT_EQ(Shown("A1"), "2");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(FormulaOfName(u"foo", "A1", 0), "=1");
    EXPECT_EQ(FormulaOfName(u"foo", "A1", 1), "=2");
    WideText label;
    ASSERT_TRUE(NameLabel(0, FindWrittenName(0, 0, u"'sheet2'!FOO"), label));
    EXPECT_EQ(Narrow(label), "Sheet2!foo");
    ASSERT_TRUE(DeleteName(0, FindWrittenName(0, 1, u"foo")));
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(Shown("A1"), "1");
}

TEST_F(NameOperations, WhatIsRefusedChangesNothing) {
    const i32 hidden = AddName(*CurrentWorkbook(), u"_FilterDatabase", 1);
    ASSERT_TRUE(Define(u"Sheet1!_FilterDatabase", u"=$A$1"));
    CurrentWorkbook()->names[static_cast<u32>(hidden)].flags = 1;
    const u32 undo = UndoCount(), names = CurrentWorkbook()->names.Count();
    const struct {
        WideView name, formula;
        u16 fault;
    } rows[] = {
        {u"", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"A1", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"R1C1", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"two words", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"Nine!rate", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"Sheet1!", u"=1", MSG_DEFINED_NAME_INVALID},
        {u"Sheet1!_filterdatabase", u"=1", MSG_DEFINED_NAME_TAKEN},
        {u"rate", u"", MSG_FORMULA_ERROR},
        {u"rate", u"=", MSG_FORMULA_ERROR},
        {u"rate", u"=1+", MSG_FORMULA_ERROR},
        {u"rate", u"=SUM(", MSG_FORMULA_ERROR},
    };
    for (const auto& row : rows) {
        u16 fault = 0;
        EXPECT_FALSE(tally::DefineName(Request(row.name, row.formula), fault));
        EXPECT_EQ(fault, row.fault) << Narrow(row.name) << " " << Narrow(row.formula);
    }
    EXPECT_FALSE(DeleteName(0, -1));
    EXPECT_FALSE(DeleteName(0, 99));
    EXPECT_EQ(UndoCount(), undo);
    EXPECT_EQ(CurrentWorkbook()->names.Count(), names);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_FALSE(IsListedName(CurrentWorkbook()->names[static_cast<u32>(hidden)]));
}

// A lack of memory is no fault of the name's: nothing is said of it, and nothing has changed.
TEST_F(NameOperations, EachRefusedAllocationLeavesTheNameDefinedOrNothing) {
    bool reached = true;
    for (u64 n = 1; reached; ++n) {
        ASSERT_LT(n, 500u);
        ForgetBooks();
        test::FailingAllocator memory;
        {
            ASSERT_TRUE(CreateWorkbook(nullptr, true));
            const NameRequest request = Request(u"Sheet1!rate", u"SUM($A$1:$B$2,Sheet1!C3)");
            u16 fault = 1;
            memory.FailAt(n);
            const bool defined = tally::DefineName(request, fault);
            reached = memory.HasFailed();
            memory.StopFailing();
            EXPECT_EQ(fault, 0) << n;
            EXPECT_EQ(FormulaOfName(u"Sheet1!rate"), defined ? "=SUM(Sheet1!$A$1:$B$2,Sheet1!C3)" : "none");
            EXPECT_EQ(CurrentWorkbook()->dirty != 0, defined) << n;
            if (!defined) {
                EXPECT_EQ(UndoCount(), 0u) << n;
            }
        }
        ForgetBooks();
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, true));
}

TEST_F(NameOperations, TheEqualsSignMayBeLeftOut) {
    ASSERT_TRUE(Define(u" rate ", u" $B$1 "));
    EXPECT_EQ(FormulaOfName(u"rate"), "=Sheet1!$B$1");
    ASSERT_TRUE(Define(u"rate", u"0.25"));
    EXPECT_EQ(FormulaOfName(u"rate"), "=0.25");
}

TEST_F(NameOperations, ANameThatNeedsItselfIsAnError) {
    ASSERT_TRUE(Define(u"loop", u"=loop+1"));
    Enter("A1", "=loop");
    EXPECT_EQ(Shown("A1"), "#NUM!");
}

}  // namespace
}  // namespace tally
