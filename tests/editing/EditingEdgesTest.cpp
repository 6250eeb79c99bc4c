// Corners of operations: areas without a cell, names in quotes, ranges of sheets in a copy.

#include <algorithm>

#include "editing/ApplyFormat.h"
#include "editing/NameOperations.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class EditingEdges : public Sandbox {};

TEST_F(EditingEdges, AnAreaWithoutACellIsMergedAndSplit) {
    FormatRequest merge;
    merge.merge = {true, 1};
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("D4", "F6"), merge));
    ASSERT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->mergedAreas[0], AreaOf("D4", "F6"));
    merge.merge = {true, 0};
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("D4", "F6"), merge));
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
}

TEST_F(EditingEdges, ANameIsFoundThroughItsSheetsNameInQuotes) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("rate", "=1", 1);
    DefineName("rate", "=2", 2);
    const struct {
        WideView sheet, written;
        bool found;
    } rows[] = {
        {u"a'b", u"'a''b'!rate", true},    {u"a'b", u"'a'b'!rate", true}, {u"a''b", u"'a''''b'!rate", true},
        {u"a''b", u"'a''b'!rate", false},  {u"'", u"''''!rate", true},    {u"plain", u"plain!rate", true},
        {u"plain", u"'plain'!rate", true}, {u"it's", u"it's!rate", true}, {u"other", u"'!rate", false}};
    for (const auto& row : rows) {
        char16_t* name = CurrentWorkbook()->sheets[1]->name;
        *std::copy(row.sheet.begin(), row.sheet.end(), name) = 0;
        const i32 found = FindWrittenName(0, 0, row.written);
        EXPECT_EQ(found >= 0, row.found) << Narrow(row.written);
        if (found >= 0)
            EXPECT_EQ(CurrentWorkbook()->names[static_cast<u32>(found)].sheet, 2) << Narrow(row.written);
    }
}

// A name that speaks of the copied sheet alone speaks of the copy there; a range of sheets stays what it is.
TEST_F(EditingEdges, ACopyOfASheetKeepsRangesOfSheets) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    const struct {
        const char *name, *formula;
        bool follows;
    } rows[] = {{"own", "=Sheet2!$A$1", true},
                {"other", "=Sheet1!$A$1", false},
                {"upto", "=SUM(Sheet1:Sheet2!$A$1)", false}};
    for (const auto& row : rows) DefineName(row.name, row.formula, 2);
    CurrentWorkbook()->currentSheet = 1;
    Enter("A1", "5");
    Enter("B1", "=SUM(Sheet1:Sheet2!A1)");
    ASSERT_TRUE(CopySheet(2));
    ASSERT_EQ(CurrentWorkbook()->sheets.Count(), 3u);
    CurrentWorkbook()->currentSheet = 2;
    EXPECT_EQ(FormulaOf("B1"), "=SUM(Sheet1:Sheet2!A1)");
    const std::string copy = Narrow(WideView(CurrentWorkbook()->sheets[2]->name));
    for (const auto& row : rows) {
        for (const u16 scope : {u16{2}, u16{3}}) {
            const i32 name = FindName(*CurrentWorkbook(), Wide(row.name), scope);
            ASSERT_GE(name, 0) << row.name;
            WideText formula;
            ASSERT_TRUE(NameFormula(0, name, 0, 0, formula));
            const bool changed = scope == 3 && row.follows;
            EXPECT_EQ(Narrow(formula) != row.formula, changed) << row.name << " " << scope << " " << copy;
        }
    }
}

}  // namespace
}  // namespace tally
