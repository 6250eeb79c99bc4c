#include "editing/PasteBlock.h"

#include "base/MessageTable.h"
#include "base/Text.h"
#include "editing/Clipboard.h"
#include "editing/PasteFixture.h"
#include "editing/PasteFormats.h"
#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/RandomBook.h"

namespace tally {
namespace {

// ---- what each mode brings --------------------------------------------------------------------------------

TEST_F(Paste, EachModeBringsItsParts) {
    const struct {
        i32 mode;
        bool value, formula, format, validation, condition, link, merge;
    } rows[] = {
        {PASTE_ALL, true, true, true, true, true, true, true},
        {PASTE_FORMULAS, true, true, false, false, false, false, false},
        {PASTE_VALUES, true, false, false, false, false, false, false},
        {PASTE_FORMATS, false, false, true, false, true, false, true},
        {PASTE_COMMENTS, false, false, false, false, false, false, false},
        {PASTE_BUT_BORDERS, true, true, true, true, true, true, true},
        {PASTE_VALIDATION, false, false, false, true, false, false, false},
        {PASTE_VALUES_AND_FORMATS, true, false, true, true, true, false, true},
    };
    for (const auto& row : rows) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Sheet& sheet = *CurrentSheet();
        const u16 wrapped = Format([](CellFormat& f) { f.flags |= FORMAT_WRAP; });
        Put("A1", wrapped, NumberValue(5));
        Enter("A2", "=A1*2");
        CellAtName("A2")->format = wrapped;
        Enter("D2", "old");
        AddRule("A1", "A2", 3);
        AddCondition("A1", "A2");
        AddLink("A2", "A2", "there");
        ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("A1", "B1")));
        ASSERT_TRUE(Copy("A1", "B2"));
        ASSERT_TRUE(PasteBlock(At("D1", row.mode))) << row.mode;
        EXPECT_EQ(Shown("D1"), row.value ? "5" : "") << row.mode;
        EXPECT_EQ(Shown("D2"), row.value ? "10" : "old") << row.mode;
        EXPECT_EQ(Formula("D2"), row.formula ? "=D1*2" : "") << row.mode;
        EXPECT_EQ(FormatAt("D2"), row.format ? wrapped : 15) << row.mode;
        const RefArea there = AreaOf("D2", "D2");
        EXPECT_EQ(AnyRuleTouches(sheet.validations, there), row.validation) << row.mode;
        EXPECT_EQ(AnyRuleTouches(sheet.conditionalFormats, there), row.condition) << row.mode;
        EXPECT_EQ(sheet.hyperlinks.Count(), row.link ? 2u : 1u) << row.mode;
        EXPECT_EQ(sheet.mergedAreas.Count(), row.merge ? 2u : 1u) << row.mode;
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Shown("D2"), "old");
    }
}

TEST_F(Paste, EachModeReplacesItsParts) {
    const struct {
        i32 mode;
        bool validation, condition, link;  // what goes
    } rows[] = {
        {PASTE_ALL, true, true, true},          {PASTE_FORMULAS, false, false, false},
        {PASTE_VALUES, false, false, false},    {PASTE_FORMATS, false, true, false},
        {PASTE_COMMENTS, false, false, false},  {PASTE_BUT_BORDERS, true, true, true},
        {PASTE_VALIDATION, true, false, false}, {PASTE_VALUES_AND_FORMATS, true, true, false},
    };
    for (const auto& row : rows) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Sheet& sheet = *CurrentSheet();
        Enter("A1", "5");
        AddRule("D1", "D9", 3);
        AddCondition("D1", "D9");
        AddLink("D2", "D2", "there");
        ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("D1", "E2")));
        ASSERT_TRUE(sheet.arrayFormulas.Append({AreaOf("F1", "F2"), 0, 0}));
        ASSERT_TRUE(Copy("A1", "A1"));
        ASSERT_TRUE(PasteBlock(At(AreaOf("D1", "F3"), row.mode)));
        EXPECT_EQ(AnyRuleTouches(sheet.validations, AreaOf("D3", "D3")), !row.validation) << row.mode;
        EXPECT_TRUE(AnyRuleTouches(sheet.validations, AreaOf("D4", "D4")));
        EXPECT_EQ(AnyRuleTouches(sheet.conditionalFormats, AreaOf("D3", "D3")), !row.condition) << row.mode;
        EXPECT_EQ(sheet.hyperlinks.IsEmpty(), row.link) << row.mode;
        EXPECT_TRUE(sheet.mergedAreas.IsEmpty()) << row.mode;
        EXPECT_TRUE(sheet.arrayFormulas.IsEmpty()) << row.mode;
    }
}

TEST_F(Paste, ACellThatIsStoredOverLosesItsHyperlinkInEveryMode) {
    Enter("A1", "5");
    Enter("D1", "link");
    AddLink("D1", "D1", "there");
    AddLink("D2", "D2", "nothing stands here");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("D1", "D2"), PASTE_VALUES)));
    EXPECT_EQ(Links(), "nothing stands here@1.3 ");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Links(), "there@0.3 nothing stands here@1.3 ");
}

TEST_F(Paste, AllButBordersKeepsTheBordersOfTheTarget) {
    const u16 source = Format([](CellFormat& f) {
        f.flags |= FORMAT_WRAP;
        f.topStyle = 1;
    });
    const u16 target = Format([](CellFormat& f) { f.leftStyle = 5; });
    Put("A1", source, NumberValue(1));
    Put("B1", target, NumberValue(2));
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("B1", "C1"), PASTE_BUT_BORDERS)));
    const CellFormat& made = CurrentWorkbook()->cellFormats[FormatAt("B1")];
    EXPECT_TRUE(made.flags & FORMAT_WRAP);
    EXPECT_EQ(made.topStyle, 0);
    EXPECT_EQ(made.leftStyle, 5);
    EXPECT_EQ(CurrentWorkbook()->cellFormats[FormatAt("C1")].leftStyle, 0);
}

TEST_F(Paste, FormatsKeepWhatTheTargetHolds) {
    const u16 bold = Format([](CellFormat& f) { f.flags |= FORMAT_WRAP; });
    Put("A1", bold);
    Enter("B1", "=1+1");
    Enter("B2", "text");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("B1", "B3"), PASTE_FORMATS)));
    EXPECT_EQ(Formula("B1"), "=1+1");
    EXPECT_EQ(Shown("B2"), "text");
    EXPECT_EQ(FormatAt("B3"), bold);
    // Once more changes nothing.
    ASSERT_TRUE(PasteBlock(At(AreaOf("B1", "B3"), PASTE_FORMATS)));
    EXPECT_EQ(FormatAt("B3"), bold);
}

TEST_F(Paste, ABlankSourceEmptiesTheTargetAndKeepsALookOfItsOwn) {
    const u16 bold = Format([](CellFormat& f) { f.flags |= FORMAT_WRAP; });
    Put("B1", bold, NumberValue(1));
    Put("B2", bold, NumberValue(2));
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_EQ(CellAtName("B1"), nullptr);
    ASSERT_TRUE(PasteBlock(At("B2", PASTE_VALUES)));
    ASSERT_NE(CellAtName("B2"), nullptr);
    EXPECT_EQ(CellAtName("B2")->format, bold);
    EXPECT_EQ(CellAtName("B2")->calcState, CALC_BLANK);
}

TEST_F(Paste, SkippedBlanksLeaveValuesAndFormats) {
    const u16 bold = Format([](CellFormat& f) { f.flags |= FORMAT_WRAP; });
    Enter("A1", "1");
    Put("A2", bold);
    Enter("B1", "x");
    Enter("B2", "y");
    ASSERT_TRUE(Copy("A1", "A3"));
    PasteRequest request = At("B1");
    request.skipBlanks = true;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(Shown("B1"), "1");
    EXPECT_EQ(Shown("B2"), "y");
    EXPECT_EQ(FormatAt("B2"), 15);
}

TEST_F(Paste, OnAProtectedSheetWhatIsPastedComesUnlocked) {
    const u16 open = Format([](CellFormat& f) { f.flags = 0; });
    Enter("A1", "5");
    Put("B1", open);
    ASSERT_TRUE(Copy("A1", "A1"));
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_EQ(Shown("B1"), "5");
    EXPECT_FALSE(CurrentWorkbook()->cellFormats[FormatAt("B1")].flags & FORMAT_LOCKED);
    EXPECT_TRUE(CurrentWorkbook()->cellFormats[FormatAt("A1")].flags & FORMAT_LOCKED);
}

// ---- formulas ---------------------------------------------------------------------------------------------

TEST_F(Paste, ReferencesGoWithTheFormula) {
    Enter("B2", "=A1+$A$1+A$1+$A1");
    ASSERT_TRUE(Copy("B2", "B2"));
    ASSERT_TRUE(PasteBlock(At("D5")));
    EXPECT_EQ(Formula("D5"), "=C4+$A$1+C$1+$A4");
    ASSERT_TRUE(PasteBlock(At("A1")));
    EXPECT_EQ(Formula("A1"), "=#REF!+$A$1+#REF!+#REF!");
    ASSERT_TRUE(PasteBlock(At("B2")));
    EXPECT_EQ(Formula("B2"), "=A1+$A$1+A$1+$A1");
}

TEST_F(Paste, ABlockOntoItselfAndOverPartOfItself) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    Enter("A3", "=A2+1");
    ASSERT_TRUE(Copy("A1", "A3"));
    ASSERT_TRUE(PasteBlock(At("A1")));
    EXPECT_EQ(Formula("A3"), "=A2+1");
    ASSERT_TRUE(PasteBlock(At("A2")));
    EXPECT_EQ(Formula("A4"), "=A3+1");
    EXPECT_EQ(Formula("A3"), "=A2+1");
    EXPECT_EQ(Shown("A2"), "1");
    EXPECT_EQ(Shown("A4"), "3");
}

TEST_F(Paste, ACutBlockOverPartOfItself) {
    Enter("A1", "1");
    Enter("A2", "=A1+B9");
    ASSERT_TRUE(Cut("A1", "A2"));
    ASSERT_TRUE(PasteBlock(At("A2")));
    EXPECT_EQ(Shown("A1"), "");
    EXPECT_EQ(Shown("A2"), "1");
    EXPECT_EQ(Formula("A3"), "=A2+B9");
}

TEST_F(Paste, ACutBlockKeepsItsOuterReferencesOnAnotherSheet) {
    AddSheet();
    CurrentWorkbook()->currentSheet = 0;
    Enter("A1", "1");
    Enter("A2", "=A1+Sheet1!A1+Sheet2!B1");
    ASSERT_TRUE(Cut("A1", "A2"));
    CurrentWorkbook()->currentSheet = 1;
    ASSERT_TRUE(PasteBlock(At("C3")));
    EXPECT_EQ(Formula("C4"), "=C3+Sheet2!C3+Sheet2!B1");
}

// What names the block's own sheet and lies in the block names the new place; the rest stays.
TEST_F(Paste, ACutBlockTakesTheNameOfItsSheetAlong) {
    AddSheet();
    CurrentWorkbook()->currentSheet = 0;
    Enter("A1", "1");
    Enter("A2", "=Sheet1!A1+SUM(Sheet1!A1:A2)+Sheet1!D9+A1");
    ASSERT_TRUE(Cut("A1", "A2"));
    CurrentWorkbook()->currentSheet = 1;
    ASSERT_TRUE(PasteBlock(At("A1")));
    EXPECT_EQ(Formula("A2"), "=Sheet2!A1+SUM(Sheet2!A1:A2)+Sheet1!D9+A1");
    CurrentWorkbook()->currentSheet = 0;
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_EQ(Formula("B2"), "=Sheet1!B1+SUM(Sheet1!B1:B2)+Sheet1!D9+B1");
}

TEST_F(Paste, ACutBlockTakesTheNameOfItsSheetIntoAnotherBook) {
    Enter("A1", "1");
    Enter("A2", "=Sheet1!A1+A1");
    ASSERT_TRUE(Cut("A1", "A2"));
    ASSERT_TRUE(CreateWorkbook(nullptr, true));
    ASSERT_TRUE(PasteBlock(At("B3")));
    EXPECT_EQ(Formula("B4"), "=Sheet1!B3+B3");
    EXPECT_EQ(Shown("B4"), "2");
}

TEST_F(Paste, ReferencesToCutCellsGoAlongAndThoseToOverwrittenCellsAreLost) {
    AddSheet();
    Enter("A1", "=Sheet1!A1");
    CurrentWorkbook()->currentSheet = 0;
    DefineName("there", "=Sheet1!$A$1");
    Enter("A1", "5");
    Enter("B1", "6");
    Enter("C1", "=A1");
    Enter("D1", "=B1");
    Enter("E1", "=there+1");
    const std::string before = DumpBooks();
    ASSERT_TRUE(Cut("A1", "A1"));
    EXPECT_EQ(Shown("C1"), "0");
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_EQ(Formula("C1"), "=B1");
    EXPECT_EQ(Shown("C1"), "5");
    EXPECT_EQ(Shown("D1"), "#REF!");
    EXPECT_EQ(Shown("E1"), "6");
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(Shown("A1"), "5");
    CurrentWorkbook()->currentSheet = 0;
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpBooks(), before);
    EXPECT_EQ(Shown("D1"), "6");
}

TEST_F(Paste, ReferencesStayWhereSomethingNewStandsOrTheBlockIsNotMoved) {
    Enter("A1", "5");
    Enter("C1", "=A1");
    ASSERT_TRUE(Cut("A1", "A1"));
    Enter("A1", "new");
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_EQ(Formula("C1"), "=A1");
    ASSERT_TRUE(Cut("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("B3", "B4"))));
    ASSERT_TRUE(PasteBlock(At("B5", PASTE_VALUES)));
    EXPECT_EQ(Formula("C1"), "=A1");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At("B6")));
    EXPECT_EQ(Formula("C1"), "=A1");
}

TEST_F(Paste, ABlockKnowsItsSheetWhenOthersComeAndGo) {
    AddSheet();
    Enter("A1", "=B1");
    ASSERT_TRUE(Copy("A1", "A1"));
    RemoveSheet(0, 0);
    EXPECT_EQ(Clipboard().block.sheet, 0);
    RemoveSheet(0, 0);
    ASSERT_TRUE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_EQ(Clipboard().block.sheet, -1);
    ASSERT_TRUE(PasteBlock(At("C3")));
    EXPECT_EQ(Formula("C3"), "=D3");
    WideText text;
    EXPECT_TRUE(ClipboardBlockText(text));
}

TEST_F(Paste, DependentsFollowAPasteAndItsUndo) {
    Enter("A1", "2");
    Enter("D1", "1");
    Enter("E1", "=SUM(D1:D3)");
    EXPECT_EQ(Shown("E1"), "1");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("D1", "D3"))));
    EXPECT_EQ(Shown("E1"), "6");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("E1"), "1");
    Enter("D2", "9");
    EXPECT_EQ(Shown("E1"), "10");
}

TEST_F(Paste, PastedFormulasFollowTheirInputs) {
    Enter("A1", "1");
    Enter("B1", "=A1*10");
    ASSERT_TRUE(Copy("B1", "B1"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("B2", "B4"))));
    Enter("A3", "7");
    EXPECT_EQ(Shown("B3"), "70");
    EXPECT_EQ(Shown("B4"), "0");
}

// ---- transposing ------------------------------------------------------------------------------------------

TEST_F(Paste, TransposeTurnsCellsReferencesArraysMergesAndRules) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "1");
    Enter("A2", "2");
    Enter("B1", "=A1+A2");
    AddRule("A2", "A2", 3);
    AddLink("A2", "A2", "there");
    ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("A3", "B3")));
    ASSERT_TRUE(sheet.arrayFormulas.Append({AreaOf("A4", "A6"), 0, 0}));
    ASSERT_TRUE(Copy("A1", "B6"));
    PasteRequest request = At("H10");
    request.transpose = true;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(Shown("H10"), "1");
    EXPECT_EQ(Shown("I10"), "2");
    EXPECT_EQ(Formula("H11"), "=H10+I10");
    EXPECT_EQ(sheet.view.selection, AreaOf("A1", "M11"));
    EXPECT_EQ(sheet.mergedAreas.Last(), AreaOf("J10", "J11"));
    EXPECT_EQ(sheet.arrayFormulas.Last().area, AreaOf("K10", "M10"));
    EXPECT_TRUE(AnyRuleTouches(sheet.validations, AreaOf("I10", "I10")));
    EXPECT_EQ(Links(), "there@1.0 there@9.8 ");
}

TEST_F(Paste, TransposeTilesByTheTurnedShape) {
    Enter("A1", "1");
    Enter("A2", "2");
    ASSERT_TRUE(Copy("A1", "A2"));
    PasteRequest request = At(AreaOf("C1", "F2"));
    request.transpose = true;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(Shown("C2"), "1");
    EXPECT_EQ(Shown("F2"), "2");
    request.area = AreaOf("C1", "C2");
    ASSERT_TRUE(PasteBlock(request));
    request.area = AreaOf("C1", "E2");
    EXPECT_FALSE(PasteBlock(request));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), Narrow(Message(MSG_PASTE_SHAPE)));
    // More rows than there are columns.
    ASSERT_TRUE(Copy("A1", "A257"));
    request.area = AreaOf("C1", "C1");
    EXPECT_FALSE(PasteBlock(request));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), Narrow(Message(MSG_NO_ROOM_TO_PASTE)));
}

// ---- what hangs on the cells ------------------------------------------------------------------------------

TEST_F(Paste, AnArrayComesWithItsArea) {
    Sheet& sheet = *CurrentSheet();
    for (i32 row = 1; row <= 2; ++row) Enter("A" + std::to_string(row), std::to_string(row));
    Enter("B1", "=$A$1:$A$2*2");
    Enter("B2", "=$A$1:$A$2*2");
    ASSERT_TRUE(sheet.arrayFormulas.Append({AreaOf("B1", "B2"), 0, 0}));
    ASSERT_TRUE(Copy("B1", "B2"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("D1", "D4"))));
    ASSERT_EQ(sheet.arrayFormulas.Count(), 3u);
    EXPECT_EQ(sheet.arrayFormulas[2].area, AreaOf("D3", "D4"));
    EXPECT_EQ(Shown("D4"), "4");
    ASSERT_TRUE(PasteBlock(At("F1", PASTE_VALUES)));
    EXPECT_EQ(sheet.arrayFormulas.Count(), 3u);
    EXPECT_EQ(Shown("F2"), "4");
    // Part of one comes as far as it was copied.
    ASSERT_TRUE(Copy("B1", "B1"));
    ASSERT_TRUE(PasteBlock(At("H1")));
    EXPECT_EQ(sheet.arrayFormulas.Last().area, AreaOf("H1", "H1"));
    EXPECT_EQ(Shown("H1"), "2");
}

TEST_F(Paste, RulesOfOneCellCoverAWholeTarget) {
    Sheet& sheet = *CurrentSheet();
    AddRule("A1", "A1", 3);
    AddCondition("A1", "A1");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At(RefArea{0, 65535, 2, 200})));
    ASSERT_EQ(sheet.validations.Count(), 1u);
    ASSERT_EQ(sheet.validations[0].areas.Count(), 2u);
    EXPECT_EQ(sheet.validations[0].areas[1], (RefArea{0, 65535, 2, 200}));
    EXPECT_EQ(sheet.conditionalFormats.Count(), 1u);
}

TEST_F(Paste, RulesAreTiledAndCutOutOfWhatStoodThere) {
    Sheet& sheet = *CurrentSheet();
    AddRule("A2", "A2", 3);
    AddRule("D1", "D6", 4);
    ASSERT_TRUE(Copy("A1", "A2"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("D1", "D4"), PASTE_VALIDATION)));
    ASSERT_EQ(sheet.validations.Count(), 2u);
    EXPECT_EQ(sheet.validations[1].areas[0], AreaOf("D5", "D6"));
    ASSERT_EQ(sheet.validations[0].areas.Count(), 3u);
    EXPECT_EQ(sheet.validations[0].areas[1], AreaOf("D2", "D2"));
    EXPECT_EQ(sheet.validations[0].areas[2], AreaOf("D4", "D4"));
}

TEST_F(Paste, WholeColumnsBringTheirWidthsAndFormats) {
    Sheet& sheet = *CurrentSheet();
    const u16 bold = Format([](CellFormat& f) { f.flags |= FORMAT_WRAP; });
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {0, 0, 5000, bold}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {3, 0, 6000, 15}));
    Enter("A1", "1");
    const std::string before = DumpBooks();
    ASSERT_TRUE(CopyCells(0, 0, {0, 65535, 0, 1}));
    ASSERT_TRUE(PasteBlock(At(RefArea{0, 65535, 2, 5})));
    u16 flags = 0, format = 0;
    EXPECT_EQ(GetColumnInfo(sheet.columns, 2, flags, format), 5000);
    EXPECT_EQ(format, bold);
    EXPECT_EQ(GetColumnInfo(sheet.columns, 4, flags, format), 5000);
    IgnoreFailure(GetColumnInfo(sheet.columns, 3, flags, format));
    EXPECT_TRUE(flags & COLUMN_DEFAULT_WIDTH);
    EXPECT_EQ(Shown("C1"), "1");
    EXPECT_EQ(Shown("E1"), "1");
    EXPECT_EQ(sheet.cells.count, 3u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpBooks(), before);
}

TEST_F(Paste, TooManyRecordsAreRefusedBeforeAnyChange) {
    Sheet& sheet = *CurrentSheet();
    AddLink("A1", "A1", "there");
    ASSERT_TRUE(Copy("A1", "A1"));
    EXPECT_FALSE(PasteBlock(At(RefArea{0, 65535, 2, 4})));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), Narrow(Message(MSG_OUT_OF_MEMORY)));
    EXPECT_EQ(sheet.hyperlinks.Count(), 1u);
    EXPECT_EQ(UndoCount(), 0u);
}

// ---- between books ----------------------------------------------------------------------------------------

TEST_F(Paste, BetweenBooksFormatsAreBuiltAnew) {
    Workbook& first = *CurrentWorkbook();
    FontRecord font = first.fonts[0];
    font.weight = 700;
    font.colour = 20;
    first.palette[20] = 0x123456;
    ASSERT_TRUE(first.fonts.Append(font));
    u16 number = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(first, u"0.000", number));
    const u16 source = Format([&](CellFormat& f) {
        f.font = static_cast<u16>(first.fonts.Count() - 1);
        f.numberFormat = number;
        f.pattern = 1;
        f.backColour = 20;
    });
    Put("A1", source, NumberValue(1.5));
    Put("A2", 999, NumberValue(2));
    ASSERT_TRUE(Copy("A1", "A2"));
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Workbook& second = *CurrentWorkbook();
    ASSERT_TRUE(FindOrAddNumberFormat(second, u"0.0000", number));
    second.palette[30] = 0x123456;
    ASSERT_TRUE(PasteBlock(At("B2")));
    EXPECT_EQ(Shown("B2"), "1.500");
    const CellFormat& made = second.cellFormats[FormatAt("B2")];
    EXPECT_EQ(second.fonts[made.font].weight, 700);
    EXPECT_EQ(second.fonts[made.font].colour, 30);
    EXPECT_EQ(made.backColour, 30);
    EXPECT_EQ(FormatAt("B3"), 15);
}

// Each allocation fails once: the cell comes with its look, or not at all.
TEST_F(Paste, BetweenBooksACellComesWithItsLookOrNotAtAll) {
    ForgetBooks();
    u32 refused = 0;
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator;
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        FontRecord font = CurrentWorkbook()->fonts[0];
        font.weight = 700;
        ASSERT_TRUE(CurrentWorkbook()->fonts.Append(font));
        u16 number = 0;
        ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0.000", number));
        const u16 look = Format([number](CellFormat& format) {
            format.font = static_cast<u16>(CurrentWorkbook()->fonts.Count() - 1);
            format.numberFormat = number;
        });
        Put("A1", look, NumberValue(1.5));
        ASSERT_TRUE(Copy("A1", "A1"));
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        const PasteRequest request = At("B2");
        allocator.FailAt(n);
        const bool pasted = PasteBlock(request);
        failed = allocator.HasFailed();
        allocator.StopFailing();
        refused += !pasted;
        if (pasted) {
            const Workbook& book = *CurrentWorkbook();
            EXPECT_EQ(ResolveFont(book, book.cellFormats[FormatAt("B2")].font).weight, 700) << n;
            EXPECT_EQ(Shown("B2"), "1.500") << n;
        } else {
            EXPECT_EQ(CellAtName("B2"), nullptr) << n;
            EXPECT_EQ(UndoCount(), 0u) << n;
        }
        ForgetBooks();
        Headless().boxes.Clear();
        ASSERT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    EXPECT_GT(refused, 2u);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

TEST_F(Paste, EachColumnBringsItsOwnLookAndReferences) {
    const u16 look = Format([](CellFormat& f) { f.horizontal = 3; });
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {4, 0, 3000, look}));
    Enter("C1", "=A1");
    Enter("D1", "=B1");
    ASSERT_TRUE(Copy("C1", "F1"));
    ASSERT_TRUE(PasteBlock(At("H3")));
    EXPECT_EQ(Formula("H3"), "=F3");
    EXPECT_EQ(Formula("I3"), "=G3");
    EXPECT_EQ(FormatAt("J3"), look);
    for (const char* plain : {"H3", "I3", "K3"}) EXPECT_EQ(FormatAt(plain), DEFAULT_CELL_FORMAT) << plain;
}

TEST_F(Paste, BetweenBooksNamesAndSheetsBecomeLinks) {
    WideText path;
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/one.xls"));
    DefineName("rate", "=Sheet1!$A$1");
    Enter("A1", "3");
    Enter("B1", "=rate*Sheet1!A1+A1");
    ASSERT_TRUE(Copy("B1", "B1"));
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    ASSERT_TRUE(PasteBlock(At("B1")));
    EXPECT_NE(Formula("B1").find("one.xls"), std::string::npos) << Formula("B1");
    EXPECT_EQ(Shown("B1"), "9");
    ASSERT_TRUE(PasteBlock(At("C1", PASTE_VALUES)));
    EXPECT_EQ(Shown("C1"), "12");
}

// ---- whole books ------------------------------------------------------------------------------------------

RefArea RandomArea(std::mt19937& random, u32 rows, u32 columns) {
    const u16 row = static_cast<u16>(random() % 18);
    const u8 column = static_cast<u8>(random() % 12);
    return {row, static_cast<u16>(row + random() % rows), column, static_cast<u8>(column + random() % columns)};
}

// Copies or cuts a block at random and pastes it somewhere. False when it was refused; `recorded` tells
// whether all that happened can be undone.
bool PasteAtRandom(std::mt19937& random, bool& recorded) {
    const i32 from = static_cast<i32>(random() % 3), to = static_cast<i32>(random() % 3);
    const RefArea block = RandomArea(random, 4, 4);
    const bool cut = random() % 3 == 0;
    const u32 before = UndoCount();
    if (!(cut ? CutCells(0, from, block) : CopyCells(0, from, block))) return false;
    PasteRequest request;
    request.book = 0;
    request.sheet = to;
    request.area = random() % 3 ? RandomArea(random, 1, 1) : RandomArea(random, 8, 8);
    request.mode = static_cast<i32>(1 + random() % 8);
    request.operation = random() % 2 ? PASTE_NONE : static_cast<i32>(1 + random() % 5);
    request.skipBlanks = random() % 2;
    request.transpose = random() % 3 == 0;
    const bool pasted = PasteBlock(request);
    recorded = UndoCount() - before == (cut ? 1u : 0u) + (pasted ? 1u : 0u);
    return pasted;
}

TEST_F(Paste, UndoOfAPasteGivesRandomBooksBack) {
    i32 pasted = 0;
    for (u32 seed = 1; seed <= 300; ++seed) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        std::mt19937 random(seed);
        FillBookAtRandom(random);
        if (seed % 5 == 0) {
            CurrentSheet()->filterState = FILTER_ADVANCED;
            ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {7, ROW_HIDDEN, 255}));
        }
        const std::string before = DumpBooks();
        bool recorded = false;
        pasted += PasteAtRandom(random, recorded);
        IgnoreFailure(DumpBooks());
        while (UndoCount()) ASSERT_TRUE(UndoLast());
        ASSERT_TRUE(DumpBooks() == before) << seed;
    }
    EXPECT_GT(pasted, 60);
}

TEST_F(Paste, APasteThatFindsNoMemoryChangesNothing) {
    ForgetBooks();
    u32 refused = 0;
    for (u32 seed = 1; seed <= 24; ++seed) {
        bool failed = true;
        std::string before;  // always the same book
        for (u64 n = 1; failed; n += 1 + seed % 3) {
            test::FailingAllocator allocator;
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            std::mt19937 random(seed);
            FillBookAtRandom(random);
            if (n == 1) before = DumpBooks();
            else CalculateBooks();
            allocator.FailAt(n);
            bool recorded = false;
            const bool pasted = PasteAtRandom(random, recorded);
            failed = allocator.HasFailed();
            allocator.StopFailing();
            refused += failed && !pasted;
            // Without memory for the record there is no way back, but the book is sound.
            const std::string after = DumpBooks();
            if (recorded) {
                while (UndoCount()) ASSERT_TRUE(UndoLast());
                ASSERT_TRUE(DumpBooks() == before) << seed << " " << n;
            } else if (!pasted && !Clipboard().fromCut) {
                ASSERT_TRUE(after == before) << seed << " " << n;
            }
            ForgetBooks();
            Headless().boxes.Clear();
            ASSERT_EQ(allocator.LiveBlocks(), 0u) << seed << " " << n;
        }
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_GT(refused, 200u);
}

// ---- blocks of several lines that move -------------------------------------------------------------------

TEST_F(Paste, ReferencesFollowEveryCellOfABlockThatMoves) {
    const struct {
        const char *first, *last, *to;
        const char* after;
    } rows[] = {
        {"B2", "B3", "D7", "=D7+D8+B4+C2+C3"},
        {"B2", "C2", "D7", "=D7+B3+B4+E7+C3"},
        {"B2", "C4", "B9", "=B9+B10+B11+C9+C10"},
        {"B2", "C3", "E1", "=E1+E2+B4+F1+F2"},
    };
    for (const auto& row : rows) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        for (const char* cell : {"B2", "B3", "B4", "C2", "C3"}) Enter(cell, "1");
        Enter("H20", "=B2+B3+B4+C2+C3");
        ASSERT_TRUE(Cut(row.first, row.last));
        ASSERT_TRUE(PasteBlock(At(row.to)));
        EXPECT_EQ(FormulaOf("H20"), row.after) << row.first << row.last;
        EXPECT_EQ(Shown("H20"), "5");
        ASSERT_TRUE(UndoLast());
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(FormulaOf("H20"), "=B2+B3+B4+C2+C3");
        EXPECT_EQ(Shown("H20"), "5");
    }
    // Over a target of several times its size a block is copied.
    ASSERT_TRUE(Cut("B2", "C3"));
    ASSERT_TRUE(PasteBlock(At(AreaOf("K1", "L4"))));
    EXPECT_EQ(FormulaOf("H20"), "=B2+B3+B4+C2+C3");
    ASSERT_TRUE(PasteBlock(At(AreaOf("K1", "N2"))));
    EXPECT_EQ(FormulaOf("H20"), "=B2+B3+B4+C2+C3");
}

TEST_F(Paste, OtherSheetsFollowABlockThatMovesAndThoseThatDoNotReadItStay) {
    AddSheet();
    Enter("A1", "=B2");
    Enter("A2", "=A1+1");
    CurrentWorkbook()->currentSheet = 0;
    Enter("B2", "5");
    Enter("C1", "=B2");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Enter("A1", "=B2");
    Books().currentBook = 0;
    ASSERT_TRUE(Cut("B2", "B2"));
    ASSERT_TRUE(PasteBlock(At("D4")));
    EXPECT_EQ(FormulaOf("C1"), "=D4");
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(FormulaOf("A1"), "=B2");
    Books().currentBook = 1;
    EXPECT_EQ(FormulaOf("A1"), "=B2");
}

TEST_F(Paste, ACutBlockIsMovedByAPlainPasteInItsOwnSheetAlone) {
    const auto formulaAfter = [](auto change) {
        ForgetBooks();
        EXPECT_TRUE(CreateWorkbook(nullptr, false));
        AddSheet();
        CurrentWorkbook()->currentSheet = 0;
        Enter("A1", "5");
        Enter("C1", "=A1");
        EXPECT_TRUE(Cut("A1", "A1"));
        PasteRequest request = At("B7");
        change(request);
        EXPECT_TRUE(PasteBlock(request));
        return FormulaOf("C1");
    };
    EXPECT_EQ(formulaAfter([](PasteRequest&) {}), "=B7");
    EXPECT_EQ(formulaAfter([](PasteRequest& r) { r.sheet = 1; }), "=A1");
    EXPECT_EQ(formulaAfter([](PasteRequest& r) { r.operation = PASTE_ADD; }), "=A1");
    EXPECT_EQ(formulaAfter([](PasteRequest& r) { r.transpose = true; }), "=A1");
    EXPECT_EQ(formulaAfter([](PasteRequest& r) { r.mode = PASTE_BUT_BORDERS; }), "=A1");
    EXPECT_EQ(formulaAfter([](PasteRequest& r) { r.area = AreaOf("A1", "A1"); }), "=A1");
}

TEST_F(Paste, AMergeComesWithItsFirstCellAsFarAsTheBlockGoes) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "1");
    ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("A1", "B3")));
    const struct {
        const char *first, *last;
        const char *mergeFirst, *mergeLast;
    } rows[] = {{"A1", "B3", "D1", "E3"},       {"A1", "B2", "D1", "E2"},       {"A1", "A3", "D1", "D3"},
                {"A1", "A1", nullptr, nullptr}, {"A2", "B3", nullptr, nullptr}, {"B1", "B3", nullptr, nullptr}};
    for (const auto& row : rows) {
        sheet.mergedAreas.Truncate(1);
        ASSERT_TRUE(Copy(row.first, row.last));
        ASSERT_TRUE(PasteBlock(At("D1")));
        ASSERT_EQ(sheet.mergedAreas.Count(), row.mergeFirst ? 2u : 1u) << row.first << row.last;
        if (row.mergeFirst)
            EXPECT_EQ(sheet.mergedAreas[1], AreaOf(row.mergeFirst, row.mergeLast)) << row.first << row.last;
    }
}

// A formula of another book that stands where the block comes to stand here follows like all others.
TEST_F(Paste, AFormulaOfAnotherBookFollowsWhereverItStands) {
    Enter("B2", "5");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    i32 row = 0;
    ASSERT_TRUE(AddExternRef({1, 0, 0, 0}, row));
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, 7, 0));
    tokens.bytes[0] = ptgRef3d | 0x40;
    PutU16(tokens.bytes + 1, static_cast<u32>(row));
    WriteRefOperand(tokens.bytes + 3, 1, 1, 0);
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 3, 3, 15, Value(), tokens));
    EXPECT_EQ(Shown("D4"), "5");
    Books().currentBook = 0;
    ASSERT_TRUE(Cut("B2", "B2"));
    ASSERT_TRUE(PasteBlock(At("D4")));
    Books().currentBook = 1;
    EXPECT_EQ(Shown("D4"), "5");
    EXPECT_NE(FormulaOf("D4").find("$D$4"), std::string::npos) << FormulaOf("D4");
}

TEST_F(Paste, RulesOfASecondBookKeepTheirSheets) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    AddSheet();
    CurrentWorkbook()->currentSheet = 0;
    i32 row = 0;
    ASSERT_TRUE(AddExternRef({1, 1, 1, 1}, row));
    FormulaTokens& tokens = AddRule("A1", "A1", 1).formula1;
    ASSERT_TRUE(MakeTokens(tokens, 7, 0));
    tokens.bytes[0] = ptgRef3d | 0x40;
    PutU16(tokens.bytes + 1, static_cast<u32>(row));
    WriteRefOperand(tokens.bytes + 3, 1, 1, 0);
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(PasteBlock(At("D4")));
    // The same rule in a second place.
    ASSERT_EQ(CurrentSheet()->validations.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->validations[0].areas.Count(), 2u);
}

}  // namespace
}  // namespace tally
