#include "editing/StoreEntry.h"

#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class StoredEntries : public Sandbox {
  protected:
    static EntryTarget Over(std::string_view first, std::string_view last) {
        EntryTarget target;
        target.book = CurrentBook();
        target.area = AreaOf(first, last);
        target.refRow = target.area.firstRow;
        target.refColumn = target.area.firstColumn;
        return target;
    }
    static bool Type(std::string_view cell, std::string_view text) {
        i32 outcome = -1;
        const bool good = StoreEntry(Over(cell, cell), Wide(text), outcome);
        EXPECT_EQ(outcome, good ? ENTRY_STORED : ENTRY_BAD_FORMULA) << text;
        return good;
    }
    static CellFormat FormatOf(std::string_view cell) {
        return ResolveCellFormat(*CurrentWorkbook(), CellAtName(cell)->format);
    }
    static void Give(std::string_view cell, u16 numberFormat) {
        CellFormat format;
        format.numberFormat = numberFormat;
        Enter(cell, "0");
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, CellAtName(cell)->format));
    }
    static u16 TextFormat() {
        u16 id = 0;
        EXPECT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"@", id));
        return id;
    }
    static void AddRule(const RefArea& area, double most) {
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        ASSERT_TRUE(rule && rule->areas.Append(area));
        rule->kind = 2;
        rule->comparison = 7;
        const u8 tokens[] = {0x1E, static_cast<u8>(most), 0};
        ASSERT_TRUE(MakeTokens(rule->formula1, tokens, {}));
    }
};

TEST_F(StoredEntries, EachKindOfTextIsStoredAsItsValue) {
    const struct {
        const char* text;
        u16 type;
        const char* shown;
    } rows[] = {
        {"5", VT_NUMBER, "5"},       {"8%", VT_NUMBER, "8%"},    {"TRUE", VT_BOOL, "TRUE"},
        {"FALSE", VT_BOOL, "FALSE"}, {"#N/A", VT_ERROR, "#N/A"}, {"word", VT_STRING, "word"},
        {"'12", VT_STRING, "12"},    {"'", VT_STRING, ""},       {"=", VT_STRING, "="},
        {"-", VT_STRING, "-"},       {"+", VT_STRING, "+"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(Type("A1", row.text)) << row.text;
        EXPECT_EQ(CellAtName("A1")->value.type, row.type) << row.text;
        EXPECT_EQ(Shown("A1"), row.shown) << row.text;
        EXPECT_EQ(CellAtName("A1")->formula, nullptr) << row.text;
    }
    ASSERT_TRUE(Type("A2", "=1+1"));
    EXPECT_EQ(FormulaOf("A2"), "=1+1");
    EXPECT_EQ(Shown("A2"), "2");
    CurrentWorkbook()->dirty = 0;
    ASSERT_TRUE(Type("A1", ""));
    EXPECT_EQ(Shown("A1"), "");
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(StoredEntries, WhatWasMeantAsAFormulaAndIsNoneIsRefused) {
    CurrentWorkbook()->dirty = 0;
    for (const char* text : {"=1+", "=)", "-x(", "+1+", "=SUM("}) {
        EXPECT_FALSE(Type("A1", text)) << text;
        EXPECT_EQ(CellAtName("A1"), nullptr) << text;
    }
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
}

TEST_F(StoredEntries, AnApostropheAndALineFeedAreRememberedInTheFormat) {
    ASSERT_TRUE(Type("A1", "'12"));
    EXPECT_EQ(FormatOf("A1").flags, FORMAT_LOCKED | FORMAT_QUOTE_PREFIX);
    ASSERT_TRUE(Type("A1", "12"));
    EXPECT_EQ(FormatOf("A1").flags, FORMAT_LOCKED);
    ASSERT_TRUE(Type("A2", "two\nlines"));
    EXPECT_EQ(FormatOf("A2").flags, FORMAT_LOCKED | FORMAT_WRAP);
    // A wrap that is there stays; a formula with a line feed brings none.
    ASSERT_TRUE(Type("A2", "one"));
    EXPECT_EQ(FormatOf("A2").flags, FORMAT_LOCKED | FORMAT_WRAP);
    ASSERT_TRUE(Type("A3", "=\"a\nb\""));
    EXPECT_EQ(FormatOf("A3").flags, FORMAT_LOCKED);
}

TEST_F(StoredEntries, NumbersAndFormulasBringTheirFormatWhereNoneWasChosen) {
    ASSERT_TRUE(Type("A1", "8%"));
    EXPECT_EQ(FormatOf("A1").numberFormat, 9);
    ASSERT_TRUE(Type("A3", "=TODAY()"));
    EXPECT_EQ(FormatOf("A3").numberFormat, 14);
    for (const char* text : {"=1+1", "5", "word"}) {
        ASSERT_TRUE(Type("A4", text));
        EXPECT_EQ(FormatOf("A4").numberFormat, 0) << text;
    }
    Give("B1", 14);
    ASSERT_TRUE(Type("B1", "8%"));
    EXPECT_EQ(FormatOf("B1").numberFormat, 14);
    ASSERT_TRUE(Type("B1", "=TODAY()"));
    EXPECT_EQ(FormatOf("B1").numberFormat, 14);
    Give("B2", 0);
    for (const char* text : {"word", "TRUE", "", "7"}) {
        ASSERT_TRUE(Type("B2", text));
        EXPECT_EQ(FormatOf("B2").numberFormat, 0) << text;
    }
}

TEST_F(StoredEntries, ATextCellKeepsWhatIsTyped) {
    Give("A1", TextFormat());
    for (const char* text : {"=1+1", "12", "TRUE", "=1+"}) {
        ASSERT_TRUE(Type("A1", text)) << text;
        EXPECT_EQ(CellAtName("A1")->value.type, VT_STRING) << text;
        EXPECT_EQ(Shown("A1"), text);
        EXPECT_EQ(CellAtName("A1")->formula, nullptr);
    }
    ASSERT_TRUE(Type("A1", ""));
    EXPECT_EQ(CellAtName("A1")->value.type, VT_EMPTY);
    // The first cell of an area decides.
    i32 outcome = 0;
    ASSERT_TRUE(StoreEntry(Over("A1", "A2"), u"12", outcome));
    EXPECT_EQ(CellAtName("A2")->value.type, VT_STRING);
    ASSERT_TRUE(StoreEntry(Over("B1", "B2"), u"12", outcome));
    EXPECT_EQ(CellAtName("B2")->value.type, VT_NUMBER);
}

TEST_F(StoredEntries, AHyperlinkFormulaLooksLikeOne) {
    ASSERT_TRUE(Type("A1", "=HYPERLINK(\"http://x\")"));
    const FontRecord& base = ResolveFont(*CurrentWorkbook(), 0);
    const FontRecord& font = ResolveFont(*CurrentWorkbook(), FormatOf("A1").font);
    EXPECT_EQ(font.underline, 1);
    EXPECT_EQ(font.colour, 12);
    EXPECT_EQ(font.weight, base.weight);
    EXPECT_EQ(font.attributes, 0);
    EXPECT_EQ(font.height, base.height);
    EXPECT_EQ(WideView(font.faceName), WideView(base.faceName));
    ASSERT_TRUE(Type("A2", "=SUM(1)"));
    EXPECT_EQ(ResolveFont(*CurrentWorkbook(), FormatOf("A2").font).underline, 0);
    ASSERT_TRUE(Type("A3", "HYPERLINK"));
    EXPECT_EQ(ResolveFont(*CurrentWorkbook(), FormatOf("A3").font).underline, 0);
}

TEST_F(StoredEntries, AFillMovesReferencesAndAnArrayDoesNot) {
    i32 outcome = 0;
    EntryTarget target = Over("B2", "C3");
    target.isFill = true;
    ASSERT_TRUE(StoreEntry(target, u"=A1+$A$1", outcome));
    EXPECT_EQ(FormulaOf("B2"), "=A1+$A$1");
    EXPECT_EQ(FormulaOf("C2"), "=B1+$A$1");
    EXPECT_EQ(FormulaOf("B3"), "=A2+$A$1");
    EXPECT_EQ(FormulaOf("C3"), "=B2+$A$1");
    // Meant from another cell of the area than its first.
    target = Over("E2", "F3");
    target.isFill = true;
    target.refRow = 2;
    target.refColumn = 5;
    ASSERT_TRUE(StoreEntry(target, u"=E2", outcome));
    EXPECT_EQ(FormulaOf("F3"), "=E2");
    EXPECT_EQ(FormulaOf("E2"), "=D1");
    target = Over("H2", "I3");
    target.isArray = target.isFill = true;
    ASSERT_TRUE(StoreEntry(target, u"=A1:B2", outcome));
    ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->arrayFormulas[0].area, AreaOf("H2", "I3"));
    for (const char* cell : {"H2", "I2", "H3", "I3"})
        EXPECT_NE(FormulaOf(cell).find("A1:B2"), std::string::npos);
    // No formula, no array.
    target = Over("K2", "L3");
    target.isArray = true;
    ASSERT_TRUE(StoreEntry(target, u"7", outcome));
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(Shown("L3"), "7");
    // What is stored over an array ends it, and undo brings it back.
    target = Over("H2", "I3");
    ASSERT_TRUE(StoreEntry(target, u"7", outcome));
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 0u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
}

TEST_F(StoredEntries, TheRecordHasTheKindThatTheCallerNames) {
    i32 outcome = 0;
    EntryTarget target = Over("A1", "A1");
    target.undoKind = UNDO_DATA_FORM;
    ASSERT_TRUE(StoreEntry(target, u"1", outcome));
    ASSERT_EQ(UndoCount(), 1u);
    EXPECT_EQ(LastUndo()->kind, UNDO_DATA_FORM);
    target.undoKind = -1;
    ASSERT_TRUE(StoreEntry(target, u"2", outcome));
    EXPECT_EQ(UndoCount(), 1u);
    target.undoKind = UNDO_TYPING;
    ASSERT_TRUE(StoreEntry(target, u"3", outcome));
    EXPECT_EQ(UndoCount(), 2u);
}

TEST_F(StoredEntries, WhatARuleRefusesIsTakenBackWhole) {
    AddRule(AreaOf("A1", "A3"), 10);
    Enter("A1", "5");
    CurrentWorkbook()->dirty = 0;
    EntryTarget target = Over("A1", "A3");
    i32 outcome = -1;
    // Nobody asks for the rules.
    ASSERT_TRUE(StoreEntry(target, u"11", outcome));
    ASSERT_TRUE(UndoLast());
    CurrentWorkbook()->dirty = 0;
    target.checkRules = true;
    ASSERT_TRUE(Headless().answers.Append(IDCANCEL));
    EXPECT_FALSE(StoreEntry(target, u"11", outcome));
    EXPECT_EQ(outcome, ENTRY_CANCELLED);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(CellAtName("A2"), nullptr);
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    EXPECT_TRUE(StoreEntry(target, u"10", outcome));
    EXPECT_EQ(Shown("A3"), "10");
    EXPECT_EQ(UndoCount(), 1u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
    // What could not be taken back is not stored.
    target.undoKind = -1;
    EXPECT_FALSE(StoreEntry(target, u"3", outcome));
    EXPECT_EQ(outcome, ENTRY_STORED);
    EXPECT_EQ(Shown("A3"), "10");
    CurrentSheet()->validations[0].areas.Clear();
    FreeTokens(CurrentSheet()->validations[0].formula1);
    CurrentSheet()->validations.Clear();
    EXPECT_TRUE(StoreEntry(target, u"3", outcome));
    EXPECT_EQ(Shown("A3"), "3");
}

TEST_F(StoredEntries, OnlySheetsWithCellsTakeEntries) {
    i32 outcome = -1;
    EntryTarget target = Over("A1", "A1");
    target.sheet = 1;
    EXPECT_FALSE(StoreEntry(target, u"1", outcome));
    EXPECT_EQ(outcome, ENTRY_STORED);
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    EXPECT_FALSE(StoreEntry(target, u"1", outcome));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_MACRO, false, false));
    target.sheet = 2;
    EXPECT_TRUE(StoreEntry(target, u"1", outcome));
    target.book = 5;
    EXPECT_FALSE(StoreEntry(target, u"1", outcome));
}

// ---- without a user who is asked -----------------------------------------------------------------------

TEST_F(StoredEntries, WithoutAUserWhatIsNoFormulaStaysAText) {
    const struct {
        const char* text;
        u16 type;
        bool formula;
        u16 flags;
    } rows[] = {
        {"=A1", VT_EMPTY, true, FORMAT_LOCKED},
        {"=1+", VT_STRING, false, FORMAT_LOCKED},
        {"5", VT_NUMBER, false, FORMAT_LOCKED},
        {"", VT_EMPTY, false, FORMAT_LOCKED},
        {"TRUE", VT_BOOL, false, FORMAT_LOCKED},
        {"#N/A", VT_ERROR, false, FORMAT_LOCKED},
        {"a\nb", VT_STRING, false, FORMAT_LOCKED | FORMAT_WRAP},
        {"'5", VT_STRING, false, FORMAT_LOCKED | FORMAT_QUOTE_PREFIX},
    };
    for (const auto& row : rows) {
        SavedCell cell;
        cell.row = 3;
        cell.column = 2;
        cell.format = DEFAULT_CELL_FORMAT;
        ASSERT_TRUE(MakeEntryCell(CurrentBook(), 0, Wide(row.text), cell)) << row.text;
        EXPECT_EQ(cell.value.type, row.type) << row.text;
        EXPECT_EQ(HasFormula(cell.tokens), row.formula) << row.text;
        EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), cell.format).flags, row.flags) << row.text;
        FreeValue(cell.value);
        FreeTokens(cell.tokens);
    }
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    // The cell that stands there decides whether a text stays one.
    Give("C4", TextFormat());
    SavedCell cell;
    cell.row = 3;
    cell.column = 2;
    cell.format = CellAtName("C4")->format;
    ASSERT_TRUE(MakeEntryCell(CurrentBook(), 0, u"5", cell));
    EXPECT_EQ(cell.value.type, VT_STRING);
    FreeValue(cell.value);
}

TEST_F(StoredEntries, AFillInAnotherBookKeepsItsSheets) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    DefineName("near", "=Sheet1!$A$5");
    i32 outcome = 0;
    EntryTarget target = Over("B2", "B3");
    target.isFill = true;
    ASSERT_TRUE(StoreEntry(target, u"=Sheet2!A1+near", outcome));
    EXPECT_EQ(FormulaOf("B2"), "=Sheet2!A1+near");
    EXPECT_EQ(FormulaOf("B3"), "=Sheet2!A2+near");
}

}  // namespace
}  // namespace tally
