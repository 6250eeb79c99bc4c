// The road of one entry where it does not reach its end: what refuses it, in which order, what stays in the
// line, and that nothing else has changed, before and after undo.

#include <functional>

#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/FramePaint.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BookDump.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

constexpr char PROTECTED[] = "单元格有保护", ARRAY_PART[] = "不能改变数组的某一部分",
               OVER_MERGE[] = "在合并单元格中数组公式无效",
               BAD_FORMULA[] = "There is an error in the formula you entered", REFUSED[] = "输入值非法",
               QUESTION[] = "输入值非法\n是否继续?";

class EntryRoad : public ShellSandbox {
  protected:
    // A rule over A1:A3 that wants more than 10, and what reads the cells.
    void SetUp() override {
        ShellSandbox::SetUp();
        Enter("A1", "12");
        Enter("B1", "=A1*2");
        Enter("C1", "20");
        Enter("C2", "30");
        Enter("C3", "1");
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        ASSERT_NE(rule, nullptr);
        ASSERT_TRUE(rule->areas.Append({0, 2, 0, 0}));
        rule->kind = 2;
        rule->comparison = 4;
        FormulaPlace place;
        place.book = CurrentBook();
        ASSERT_TRUE(CompileFormula(place, u"=10", 'V', rule->formula1));
        Select("A1");
        CurrentWorkbook()->dirty = 0;
        undo = UndoCount();
        before = Dump();
    }
    // Formats that an entry made and no cell has are not looked at.
    static std::vector<std::string> Dump() { return DumpBook(CurrentBook(), DUMP_ALL & ~DUMP_TABLES); }
    static ValidationRule& Rule() { return CurrentSheet()->validations[0]; }
    static void Answer(i32 answer) { ASSERT_TRUE(Headless().answers.Append(answer)); }
    // The boxes since the last question, each behind the other.
    static std::string Boxes() {
        std::string all;
        for (const RecordedBox& box : Headless().boxes) all += (all.empty() ? "" : "|") + Narrow(box.text);
        Headless().boxes.Clear();
        return all;
    }
    void ExpectUntouched(const std::string& what) {
        EXPECT_EQ(DumpDifference(before, Dump()), "") << what;
        EXPECT_EQ(UndoCount(), undo) << what;
        EXPECT_EQ(CurrentWorkbook()->dirty, 0u) << what;
        EXPECT_EQ(Shown("B1"), "24") << what;
    }
    static void ExpectEditing(const std::string& line, const std::string& what) {
        EXPECT_EQ(Shell().entryMode, ENTRY_EDIT) << what;
        EXPECT_EQ(Line(), line) << what;
    }

    u32 undo = 0;
    std::vector<std::string> before;
};

TEST_F(EntryRoad, TheGuardsStandBeforeTheFirstCharacterInTheirOrder) {
    EnterArray("E1", "E2", "=C1:C2");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    SelectArea({0, 0, 4, 5}, true, 0, 4, false);
    const std::function<void()> ways[] = {[] { TypeText(u"5"); },   [] { PressKey(VK_BACK); },
                                          [] { PickCommand(150); }, [] { PickCommand(170); },
                                          [] { PressKey(VK_F2); },  [] { PickCommand(167); }};
    for (const auto& way : ways) {
        way();
        EXPECT_EQ(Boxes(), PROTECTED);
        EXPECT_FALSE(IsEditing());
    }
    CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_PROTECTED);
    TypeText(u"5");
    EXPECT_EQ(Boxes(), ARRAY_PART);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Shown("E1"), "20");
}

// The merge comes before the array where both forbid an array formula, and the text stays as it is typed.
TEST_F(EntryRoad, AnArrayOverAMergeIsRefusedBeforeTheRestIsLookedAt) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A5", "B5")));
    SelectArea({3, 5, 0, 0}, true, 3, 0, false);
    before = Dump();
    TypeText(u"=1+");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    EXPECT_EQ(Boxes(), OVER_MERGE);
    EXPECT_EQ(Line(), "=1+");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Boxes(), BAD_FORMULA);
    ExpectEditing("=1+", "a fill");
    PressKey(VK_ESCAPE);
    ExpectUntouched("an array over a merge");
}

TEST_F(EntryRoad, ABadFormulaStaysInTheLineWhateverWouldHaveCommittedIt) {
    i32 x = 0, y = 0;
    CellPoint("D9", x, y);
    const PixelRect tabs = Shell().layout.tabs;
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"Enter", [] { PressKey(VK_RETURN); }},
        {"Tab", [] { PressKey(VK_TAB); }},
        {"fill", [] { PressKey(VK_RETURN, KEY_CTRL); }},
        {"array", [] { PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT); }},
        {"accept", [] { PickCommand(440); }},
        {"a click on a tab", [tabs] { ClickMouse(tabs.left + 5, tabs.top + 5); }},
        {"another book", [] { PickCommand(540); }},
        {"a screen sideways", [] { PickCommand(445); }},
    };
    for (const auto& [what, way] : ways) {
        TypeText(u"=SUM(A1:A2");
        Headless().boxes.Clear();
        TypeText(u"))");
        way();
        EXPECT_EQ(Boxes(), BAD_FORMULA) << what;
        ExpectEditing("=SUM(A1:A2))", what);
        EXPECT_EQ(Active(), "A1") << what;
        PressKey(VK_ESCAPE);
        EXPECT_EQ(Line(), "12") << what;
        ExpectUntouched(what);
    }
    // A click on a cell is ended by the refusal, and an arrow key moves nothing.
    TypeText(u"=1)");
    ClickMouse(x, y);
    EXPECT_EQ(Boxes(), BAD_FORMULA);
    EXPECT_EQ(Active(), "A1");
    ExpectEditing("=1)", "a click on a cell");
    PressKey(VK_ESCAPE);
    TypeText(u"=1)");
    PressKey(VK_DOWN);
    EXPECT_EQ(Boxes(), BAD_FORMULA);
    EXPECT_EQ(Active(), "A1");
    PressKey(VK_ESCAPE);
    ExpectUntouched("a click and an arrow");
}

TEST_F(EntryRoad, ABadFormulaThatIsMendedIsOneEntryAndOneUndo) {
    TypeText(u"=30+");
    PressKey(VK_RETURN);
    EXPECT_EQ(Boxes(), BAD_FORMULA);
    ShellPlatform().selectEdit(ENTRY_LINE, 4, 4);
    TypeText(u"1");
    PressKey(VK_RETURN);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(Shown("A1"), "31");
    EXPECT_EQ(Shown("B1"), "62");
    EXPECT_EQ(UndoCount(), undo + 1);
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("A1"), "12");
    EXPECT_EQ(Shown("B1"), "24");
    EXPECT_EQ(Active(), "A1");
    EXPECT_EQ(UndoCount(), undo);
}

// Each style of a rule with each of its answers: what stays, what goes, and where the user stands then.
TEST_F(EntryRoad, EachAnswerToEachStyleOfARule) {
    struct Case {
        u32 style;
        i32 answer;
        const char* box;
        u32 flags;
        const char* cell;
        bool editing;
    };
    const Case cases[] = {
        {0, IDRETRY, REFUSED, MB_RETRYCANCEL | MB_ICONSTOP, "12", true},
        {0, IDCANCEL, REFUSED, MB_RETRYCANCEL | MB_ICONSTOP, "12", false},
        {1, IDYES, QUESTION, MB_YESNOCANCEL | MB_ICONWARNING, "5", false},
        {1, IDNO, QUESTION, MB_YESNOCANCEL | MB_ICONWARNING, "12", true},
        {1, IDCANCEL, QUESTION, MB_YESNOCANCEL | MB_ICONWARNING, "12", false},
        {2, IDOK, REFUSED, MB_OKCANCEL | MB_ICONINFORMATION, "5", false},
        {2, IDCANCEL, REFUSED, MB_OKCANCEL | MB_ICONINFORMATION, "12", false},
    };
    for (const Case& row : cases) {
        const std::string what = std::to_string(row.style) + " answered " + std::to_string(row.answer);
        Select("A1");
        Rule().errorStyle = row.style;
        before = Dump();
        TypeText(u"5");
        Answer(row.answer);
        PressKey(VK_RETURN);
        ASSERT_EQ(Headless().boxes.Count(), 1u) << what;
        EXPECT_EQ(Headless().boxes[0].flags, row.flags) << what;
        EXPECT_EQ(Narrow(Headless().boxes[0].title), "Tallyman") << what;
        EXPECT_EQ(Boxes(), row.box) << what;
        EXPECT_EQ(Shown("A1"), row.cell) << what;
        EXPECT_EQ(IsEditing(), row.editing) << what;
        if (row.editing) {
            ExpectEditing("5", what);
            EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 0) << what;
            EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 1) << what;
            PressKey(VK_ESCAPE);
        }
        const bool kept = row.cell[0] == '5';
        EXPECT_EQ(Active(), kept ? "A2" : "A1") << what;
        EXPECT_EQ(Shown("B1"), kept ? "10" : "24") << what;
        if (kept) PressKey('Z', KEY_CTRL);
        CurrentWorkbook()->dirty = kept ? 0 : CurrentWorkbook()->dirty;
        ExpectUntouched(what);
        EXPECT_EQ(Line(), "12") << what;
    }
}

TEST_F(EntryRoad, ARetryThatHoldsIsOneUndoAndTheOneBeforeItComesNext) {
    Select("A2");
    TypeText(u"15");
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "A3");
    Select("A1");
    TypeText(u"5");
    Answer(IDRETRY);
    PressKey(VK_RETURN);
    // What is selected in the line goes with the next character.
    TypeText(u"50");
    EXPECT_EQ(Line(), "50");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "50");
    EXPECT_EQ(UndoCount(), undo + 2);
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("A1"), "12");
    EXPECT_EQ(Shown("A2"), "15");
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("A2"), "");
    EXPECT_EQ(Active(), "A2");
}

// A fill fails as a whole at the third cell, with the two before it and the array that it replaced.
TEST_F(EntryRoad, AFillThatARuleStopsTakesBackWhatItStoredAndReplaced) {
    Rule().showError = 0;
    EnterArray("A2", "A3", "=C1:C2");
    Rule().showError = 1;
    undo = UndoCount();
    CurrentWorkbook()->dirty = 0;
    SelectArea({0, 2, 0, 0}, true, 0, 0, false);
    before = Dump();
    TypeText(u"=C1");
    Answer(IDRETRY);
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Boxes(), REFUSED);
    ExpectEditing("=C1", "a fill");
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(Shown("A3"), "30");
    PressKey(VK_ESCAPE);
    ExpectUntouched("a fill");
    EXPECT_EQ(Selection(), "A1:A3");
}

TEST_F(EntryRoad, ARefusalTakesBackTheFormatAndTheHeightThatTheEntryBrought) {
    const CellRecord* cell = CellAtName("A1");
    const u16 format = cell->format;
    for (const WideView text : {WideView(u"3%"), WideView(u"1900/1/3"), WideView(u"'5"), WideView(u"a\nb")}) {
        const std::string what = Narrow(text);
        Select("A1");
        TypeText(text.substr(0, 1));
        ShellPlatform().setEditText(ENTRY_LINE, text);
        Answer(IDCANCEL);
        PressKey(VK_RETURN);
        EXPECT_EQ(Boxes(), REFUSED) << what;
        EXPECT_EQ(CellAtName("A1")->format, format) << what;
        EXPECT_EQ(Line(), "12") << what;
        ExpectUntouched(what);
    }
}

// A rule's own words and title stand in the box.
TEST_F(EntryRoad, ARuleSpeaksItsOwnWords) {
    ASSERT_TRUE(Rule().errorTitle.Assign(u"Price") && Rule().errorText.Assign(u"Above 10, please"));
    TypeText(u"5");
    Answer(IDCANCEL);
    PressKey(VK_RETURN);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].title), "Price");
    EXPECT_EQ(Boxes(), "Above 10, please");
    Rule().showError = 0;
    TypeText(u"5");
    PressKey(VK_RETURN);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(Shown("A1"), "5");
}

}  // namespace
}  // namespace tally
