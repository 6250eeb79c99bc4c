#pragma once
// Rows, columns and cells put in and taken out, as several tests need it.

#include "display/LocaleSettings.h"
#include "editing/InsertDelete.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/RandomBook.h"

namespace tally {

class InsertAndDelete : public Sandbox {
  protected:
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
    // What the process holds beside the books goes, too.
    void LeaveNothing() {
        Sandbox::TearDown();
        ResetLocaleSettings();
    }
    static std::string Formula(std::string_view cell) {
        const CellRecord* found = CellAtName(cell);
        WideText text;
        if (!found || !found->formula) return "";
        EXPECT_TRUE(FormulaToText(CurrentBook(), found->formula->tokens, 0, 0, true, text));
        return Narrow(text);
    }
    static RefArea Rows(i32 first, i32 last) {
        return {static_cast<u16>(first), static_cast<u16>(last), 0, 255};
    }
    static void Protect(const RefArea& merge) { ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(merge)); }
    static ValidationRule& Rule(std::initializer_list<RefArea> areas) {
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        rule->kind = 1;
        for (const RefArea& area : areas) EXPECT_TRUE(rule->areas.Append(area));
        return *rule;
    }
    static void FilterOver(const RefArea& list) {
        Workbook& book = *CurrentWorkbook();
        const i32 row = AddName(book, u"_FilterDatabase", 1);
        ASSERT_GE(row, 0);
        i32 extern3d = 0;
        ASSERT_TRUE(AddExternRef({0, 0, 0, 0}, extern3d));
        FormulaTokens& tokens = book.names[static_cast<u32>(row)].tokens;
        ASSERT_TRUE(MakeTokens(tokens, 11, 0));
        tokens.bytes[0] = ptgArea3d;
        PutU16(tokens.bytes + 1, static_cast<u32>(extern3d));
        WriteAreaOperand(tokens.bytes + 3, list, 0);
        CurrentSheet()->filterState = FILTER_AUTO;
    }
};

}  // namespace tally
