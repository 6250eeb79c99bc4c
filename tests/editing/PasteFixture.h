#pragma once
// Blocks and texts that are pasted, as several tests need it.

#include "editing/Clipboard.h"
#include "editing/PasteBlock.h"
#include "formula/FormulaText.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/RandomBook.h"

namespace tally {

class Paste : public Sandbox {
  protected:
    static bool Copy(std::string_view first, std::string_view last) {
        return CopyCells(CurrentBook(), CurrentWorkbook()->currentSheet, AreaOf(first, last));
    }
    static bool Cut(std::string_view first, std::string_view last) {
        return CutCells(CurrentBook(), CurrentWorkbook()->currentSheet, AreaOf(first, last));
    }
    static PasteRequest At(const RefArea& area, i32 mode = PASTE_ALL) {
        PasteRequest request;
        request.book = CurrentBook();
        request.sheet = CurrentWorkbook()->currentSheet;
        request.area = area;
        request.mode = mode;
        return request;
    }
    static PasteRequest At(std::string_view cell, i32 mode = PASTE_ALL) { return At(AreaOf(cell, cell), mode); }
    static std::string Formula(std::string_view cell) {
        const CellRecord* record = CellAtName(cell);
        WideText text;
        if (!record || !record->formula) return "";
        EXPECT_TRUE(FormulaToText(CurrentBook(), record->formula->tokens, 0, 0, true, text));
        return Narrow(text);
    }
    template <typename Change>
    static u16 Format(Change change) {
        CellFormat format = CurrentWorkbook()->cellFormats[15];
        change(format);
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        return index;
    }
    static void Put(std::string_view cell, u16 format, Value value = Value()) {
        const RefArea area = AreaOf(cell, cell);
        EXPECT_TRUE(
            InsertCell(*CurrentSheet(), area.firstRow, area.firstColumn, format, value, FormulaTokens()));
    }
    static u16 FormatAt(std::string_view cell) {
        const RefArea area = AreaOf(cell, cell);
        return GetCellFormat(*CurrentSheet(), area.firstRow, area.firstColumn);
    }
    static void AddLink(std::string_view first, std::string_view last, std::string_view target) {
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        link->area = AreaOf(first, last);
        EXPECT_TRUE(link->target.Assign(Wide(target)));
    }
    static std::string Links() {
        std::string out;
        for (const Hyperlink& link : CurrentSheet()->hyperlinks)
            out += Narrow(link.target) + "@" + std::to_string(link.area.firstRow) + "." +
                   std::to_string(link.area.firstColumn) + " ";
        return out;
    }
    static ValidationRule& AddRule(std::string_view first, std::string_view last, u32 kind) {
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        rule->kind = kind;
        EXPECT_TRUE(rule->areas.Append(AreaOf(first, last)));
        return *rule;
    }
    static ConditionalFormat& AddCondition(std::string_view first, std::string_view last) {
        ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
        EXPECT_NE(format->conditions.AppendDefault(), nullptr);
        EXPECT_TRUE(format->areas.Append(AreaOf(first, last)));
        return *format;
    }
    static void AddSheet() { ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false)); }
};

}  // namespace tally
