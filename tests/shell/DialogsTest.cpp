#include "shell/dialogs/Dialogs.h"

#include "base/MessageTable.h"
#include "platform/headless/HeadlessDialogs.h"
#include "shell/grid/Layout.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

enum Id : i32 {
    NAME_LABEL = 100,
    NAME,
    SIDE,
    LEFT,
    RIGHT,
    BOTH,
    ONE,
    TWO,
    ITEMS,
    DROP,
    KIND,
    COUNT,
    FLAG,
    MORE,
    TABS,
    FIRST_PAGE,
    SECOND_PAGE,
    ON_FIRST,
    ON_SECOND,
    AREA,
    SAMPLE,
    NOTES,
};

// Any message serves as a label here.
constexpr ControlRow allRows[] = {
    {.id = NAME_LABEL, .kind = CONTROL_LABEL, .text = 26, .cell = {0, 0}},
    {.id = NAME, .kind = CONTROL_EDIT, .cell = {0, 1}, .width = 20},
    {.id = SIDE, .kind = CONTROL_GROUP, .text = 27, .cell = {1, 0, 2, 1}},
    {.id = LEFT, .kind = CONTROL_RADIO, .text = 28, .cell = {0, 0}, .container = SIDE},
    {.id = RIGHT, .kind = CONTROL_RADIO, .text = 29, .cell = {1, 0}, .container = SIDE},
    {.id = BOTH, .kind = CONTROL_RADIO, .text = 30, .cell = {2, 0}, .container = SIDE},
    {.id = ONE, .kind = CONTROL_RADIO, .text = 31, .cell = {0, 1}, .container = SIDE, .flags = CONTROL_NEW_SET},
    {.id = TWO, .kind = CONTROL_RADIO, .text = 32, .cell = {1, 1}, .container = SIDE},
    {.id = ITEMS, .kind = CONTROL_LIST, .cell = {2, 0, 1, 2}, .width = 20, .lines = 4},
    {.id = DROP, .kind = CONTROL_DROP_LIST, .cell = {2, 1}},
    {.id = KIND, .kind = CONTROL_COMBO, .cell = {3, 1}},
    {.id = COUNT, .kind = CONTROL_SPIN, .cell = {4, 0}},
    {.id = FLAG, .kind = CONTROL_CHECK, .text = 33, .cell = {4, 1}},
    {.id = MORE, .kind = CONTROL_BUTTON, .text = 34, .cell = {0, 2}},
    {.id = TABS, .kind = CONTROL_PAGES, .cell = {5, 0, 3, 1}},
    {.id = FIRST_PAGE, .kind = CONTROL_PAGE, .text = 35, .container = TABS},
    {.id = SECOND_PAGE, .kind = CONTROL_PAGE, .text = 36, .container = TABS},
    {.id = ON_FIRST, .kind = CONTROL_EDIT, .cell = {0, 0}, .container = FIRST_PAGE},
    {.id = ON_SECOND, .kind = CONTROL_EDIT, .cell = {1, 1}, .container = SECOND_PAGE},
    {.id = AREA, .kind = CONTROL_REFERENCE, .cell = {6, 0, 2, 1}},
    {.id = SAMPLE, .kind = CONTROL_PAINTED, .cell = {6, 2}, .width = 10, .lines = 2},
    {.id = NOTES, .kind = CONTROL_MULTILINE, .cell = {7, 0, 3, 1}, .lines = 3},
};

struct Heard {
    DialogEventKind kind;
    i32 control, value;
    bool operator==(const Heard&) const = default;
};
Array<Heard> heard;
bool mayLeave = true, mayAccept = true, mayCancel = true, doubleAccepts = true;

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    EXPECT_TRUE(heard.Append({event.kind, event.control, event.value}));
    switch (event.kind) {
        case DIALOG_START: {
            EXPECT_TRUE(SetControlText(dialog, NAME, u"given"));
            for (const WideView item : {u"red", u"green", u"blue"})
                EXPECT_TRUE(AddControlItem(dialog, ITEMS, item, item != u"green") &&
                            AddControlItem(dialog, DROP, item) && AddControlItem(dialog, KIND, item));
            SetControlRange(dialog, COUNT, 1, 12);
            SetControlChoice(dialog, LEFT, 1);
            SetControlChoice(dialog, ONE, 1);
            return true;
        }
        case DIALOG_PAGE_LEFT: return mayLeave;
        case DIALOG_ACCEPT: return mayAccept;
        case DIALOG_CANCEL: return mayCancel;
        case DIALOG_DOUBLE_CLICK: return doubleAccepts;
        default: return true;
    }
}
constexpr DialogTable allTable = {.title = 25, .rows = allRows, .procedure = Procedure};

class DialogsTest : public ShellSandbox {
  protected:
    Dialog dialog;

    void SetUp() override {
        ShellSandbox::SetUp();
        mayLeave = mayAccept = mayCancel = doubleAccepts = true;
        ASSERT_TRUE(BuildDialog(dialog, allTable, nullptr));
        LayOutDialog(dialog);
        heard.Truncate(0);
    }
    void TearDown() override {
        heard.Clear();
        dialog = Dialog();
        ShellSandbox::TearDown();
    }
    const PixelRect& PlaceOf(i32 id) { return FindControl(dialog, id)->place; }
};

TEST_F(DialogsTest, TheRecordHoldsTheTableWithTextsDefaultsAndButtons) {
    EXPECT_EQ(dialog.title.View(), Message(25));
    EXPECT_EQ(FindControl(dialog, LEFT)->label.View(), Message(28));
    EXPECT_EQ(ControlText(dialog, NAME), WideView(u"given"));
    EXPECT_EQ(ControlChoice(dialog, ITEMS), -1);
    EXPECT_EQ(ControlChoice(dialog, COUNT), 1);  // brought into its range
    EXPECT_NE(FindControl(dialog, IDOK), nullptr);
    EXPECT_NE(FindControl(dialog, IDCANCEL), nullptr);
    EXPECT_EQ(FindControl(dialog, 0), nullptr);
    EXPECT_EQ(ControlText(dialog, 999), WideView());
    EXPECT_EQ(ControlChoice(dialog, 999), -1);
}

TEST_F(DialogsTest, ButtonsAreThoseOfTheTable) {
    for (const auto& [buttons, ok, cancel] : {std::tuple{BUTTONS_OK_CANCEL, true, true},
                                              {BUTTONS_CLOSE, false, true},
                                              {BUTTONS_NONE, false, false}}) {
        const DialogTable table = {.rows = std::span(allRows).first(2), .buttons = buttons};
        Dialog built;
        ASSERT_TRUE(BuildDialog(built, table, nullptr));
        EXPECT_EQ(FindControl(built, IDOK) != nullptr, ok);
        EXPECT_EQ(FindControl(built, IDCANCEL) != nullptr, cancel);
        if (ok == cancel) continue;
        EXPECT_EQ(FindControl(built, IDCANCEL)->label.View(), Message(MSG_BUTTON_CLOSE));
    }
}

TEST_F(DialogsTest, RadioButtonsOfOneRowExcludeEachOtherAndNoOthers) {
    UserChooses(dialog, BOTH, 1);
    EXPECT_EQ(ChosenRadio(dialog, LEFT), BOTH);
    EXPECT_EQ(ChosenRadio(dialog, BOTH), BOTH);
    EXPECT_EQ(ChosenRadio(dialog, TWO), ONE);
    UserChooses(dialog, TWO, 1);
    EXPECT_EQ(ChosenRadio(dialog, ONE), TWO);
    EXPECT_EQ(ChosenRadio(dialog, RIGHT), BOTH);
    EXPECT_FALSE(IsChecked(dialog, LEFT));
    EXPECT_EQ(ChosenRadio(dialog, NAME), 0);
}

TEST_F(DialogsTest, WhatTheUserDoesIsHeardAndWhatCannotBeIsNot) {
    UserEdits(dialog, NAME, u"other");
    UserEdits(dialog, NAME, u"other");  // nothing new
    UserChooses(dialog, ITEMS, 1);      // grey
    UserChooses(dialog, ITEMS, 3);      // there is none
    UserChooses(dialog, ITEMS, 2);
    UserChooses(dialog, COUNT, 13);
    UserChooses(dialog, COUNT, 12);
    UserChooses(dialog, FLAG, 2);
    UserChooses(dialog, FLAG, 1);
    UserPresses(dialog, MORE);
    UserPresses(dialog, NAME);
    const Heard expected[] = {{DIALOG_CHANGED, NAME, 0},
                              {DIALOG_CHANGED, ITEMS, 2},
                              {DIALOG_CHANGED, COUNT, 12},
                              {DIALOG_CHANGED, FLAG, 1},
                              {DIALOG_PRESSED, MORE, 0}};
    ASSERT_EQ(heard.Count(), std::size(expected));
    for (u32 i = 0; i < heard.Count(); ++i) EXPECT_EQ(heard[i], expected[i]) << i;
    EXPECT_EQ(ControlChoice(dialog, ITEMS), 2);
    EXPECT_EQ(ControlChoice(dialog, COUNT), 12);
}

TEST_F(DialogsTest, AComboTakesItsItemsAndWhatIsTyped) {
    UserChooses(dialog, KIND, 1);
    EXPECT_EQ(ControlText(dialog, KIND), WideView(u"green"));
    EXPECT_EQ(ControlChoice(dialog, KIND), 1);
    UserEdits(dialog, KIND, u"mauve");
    EXPECT_EQ(ControlText(dialog, KIND), WideView(u"mauve"));
    EXPECT_EQ(ControlChoice(dialog, KIND), -1);
}

TEST_F(DialogsTest, WhatIsGreyOrHiddenOrOnAnotherPageCannotBeReached) {
    EnableControl(dialog, NAME, false);
    UserEdits(dialog, NAME, u"x");
    ShowControl(dialog, FLAG, false);
    UserChooses(dialog, FLAG, 1);
    UserEdits(dialog, ON_SECOND, u"x");
    EnableControl(dialog, SIDE, false);  // with all in it
    UserChooses(dialog, RIGHT, 1);
    EXPECT_TRUE(heard.IsEmpty());
    EXPECT_EQ(ControlText(dialog, NAME), WideView(u"given"));
    UserEdits(dialog, ON_FIRST, u"x");
    EXPECT_EQ(ControlText(dialog, ON_FIRST), WideView(u"x"));
    UserChooses(dialog, TABS, 1);
    UserEdits(dialog, ON_SECOND, u"y");
    EXPECT_EQ(ControlText(dialog, ON_SECOND), WideView(u"y"));
    UserEdits(dialog, ON_FIRST, u"z");
    EXPECT_EQ(ControlText(dialog, ON_FIRST), WideView(u"x"));
}

TEST_F(DialogsTest, APageThatMayNotBeLeftStays) {
    mayLeave = false;
    UserChooses(dialog, TABS, 1);
    EXPECT_EQ(ControlChoice(dialog, TABS), 0);
    EXPECT_TRUE(FindControl(dialog, TABS)->stale);  // the toolkit has turned it already
    mayLeave = true;
    UserChooses(dialog, TABS, 1);
    EXPECT_EQ(ControlChoice(dialog, TABS), 1);
    ASSERT_EQ(heard.Count(), 3u);
    EXPECT_EQ(heard[1], (Heard{DIALOG_PAGE_LEFT, TABS, 1}));
    EXPECT_EQ(heard[2], (Heard{DIALOG_CHANGED, TABS, 1}));
    UserChooses(dialog, TABS, 2);
    EXPECT_EQ(ControlChoice(dialog, TABS), 1);
}

TEST_F(DialogsTest, OkAndCancelEndItWhenTheProcedureAgrees) {
    mayAccept = mayCancel = false;
    UserPresses(dialog, IDOK);
    UserPresses(dialog, IDCANCEL);
    UserCancels(dialog);
    EXPECT_FALSE(dialog.ended);
    mayAccept = true;
    EnableControl(dialog, IDOK, false);
    UserAccepts(dialog);  // Enter does not pass a grey button
    EXPECT_FALSE(dialog.ended);
    EnableControl(dialog, IDOK, true);
    UserPresses(dialog, IDOK);
    EXPECT_TRUE(dialog.ended && dialog.accepted);
    heard.Truncate(0);
    UserEdits(dialog, NAME, u"late");
    EXPECT_TRUE(heard.IsEmpty());
}

TEST_F(DialogsTest, ADoubleClickInAListAcceptsUnlessTheProcedureTakesIt) {
    doubleAccepts = false;
    UserDoubleClicks(dialog, ITEMS);
    EXPECT_FALSE(dialog.ended);
    doubleAccepts = true;
    UserDoubleClicks(dialog, ITEMS);
    EXPECT_TRUE(dialog.accepted);
}

TEST_F(DialogsTest, EachControlHasItsOwnPlaceInsideItsContainer) {
    for (u32 i = 0; i < dialog.controls.Count(); ++i) {
        const Control& control = dialog.controls[i];
        const PixelRect room = control.container < 0
                                   ? PixelRect{0, 0, dialog.width, dialog.height}
                                   : dialog.controls[static_cast<u32>(control.container)].place;
        EXPECT_EQ(IntersectRects(room, control.place), control.place) << control.row.id;
        EXPECT_FALSE(IsEmptyRect(control.place)) << control.row.id;
        for (u32 j = 0; j < i; ++j) {
            const Control& other = dialog.controls[j];
            if (other.container != control.container || control.row.kind == CONTROL_PAGE) continue;
            EXPECT_FALSE(RectsMeet(control.place, other.place)) << control.row.id << " " << other.row.id;
        }
    }
}

TEST_F(DialogsTest, PlacesFollowTheTextsAndTheCells) {
    // A label and its edit stand in one line, the edit as wide as its column.
    EXPECT_LT(PlaceOf(NAME_LABEL).right, PlaceOf(NAME).left);
    EXPECT_LT(PlaceOf(NAME_LABEL).top, PlaceOf(NAME).bottom);
    EXPECT_EQ(PlaceOf(SIDE).left, PlaceOf(NAME_LABEL).left);
    EXPECT_GE(PlaceOf(SIDE).right, PlaceOf(NAME).right);
    EXPECT_GE(PlaceOf(ITEMS).bottom, PlaceOf(KIND).top);  // over two rows
    EXPECT_EQ(PlaceOf(FIRST_PAGE), PlaceOf(SECOND_PAGE));
    EXPECT_GT(PlaceOf(FIRST_PAGE).top, PlaceOf(TABS).top);  // beneath the tabs
    // The buttons stand at the right beneath all else.
    EXPECT_GT(PlaceOf(IDOK).top, PlaceOf(NOTES).bottom);
    EXPECT_LT(PlaceOf(IDOK).right, PlaceOf(IDCANCEL).left);
    EXPECT_EQ(PlaceOf(IDCANCEL).right, PlaceOf(NOTES).right);
    // A longer text takes more room.
    const i32 width = dialog.width;
    ASSERT_TRUE(SetControlLabel(dialog, NAME_LABEL, u"a label that is as long as no other label is here"));
    LayOutDialog(dialog);
    EXPECT_GT(dialog.width, width);
    // "&" takes none, and a second line takes height.
    const i32 height = PlaceOf(MORE).bottom - PlaceOf(MORE).top;
    EXPECT_GT(height, 0);
    const PixelRect before = PlaceOf(FLAG);
    ASSERT_TRUE(SetControlLabel(dialog, FLAG, u"&" + std::u16string(Message(33))));
    LayOutDialog(dialog);
    EXPECT_EQ(PlaceOf(FLAG).right - PlaceOf(FLAG).left, before.right - before.left);
}

TEST_F(DialogsTest, AReferenceEditShrinksTheDialogToItselfAndBack) {
    const i32 width = dialog.width, height = dialog.height;
    UserShrinks(dialog, NAME);
    EXPECT_EQ(dialog.shrunkTo, 0);
    UserShrinks(dialog, AREA);
    EXPECT_EQ(dialog.shrunkTo, AREA);
    EXPECT_LT(dialog.height, height / 3);
    EXPECT_TRUE(IsControlVisible(dialog, *FindControl(dialog, AREA)));
    EXPECT_FALSE(IsControlVisible(dialog, *FindControl(dialog, NAME)));
    UserEdits(dialog, AREA, u"A1");
    UserAccepts(dialog);  // back, not out
    EXPECT_EQ(dialog.shrunkTo, 0);
    EXPECT_FALSE(dialog.ended);
    EXPECT_EQ(dialog.width, width);
    EXPECT_EQ(dialog.height, height);
    EXPECT_EQ(ControlText(dialog, AREA), WideView(u"A1"));
}

// ---- over the grid ---------------------------------------------------------------------------------------

Dialog* shown = nullptr;
void (*act)() = nullptr;

class OpenDialogs : public DialogsTest {
  protected:
    void SetUp() override {
        DialogsTest::SetUp();
        ASSERT_TRUE(TypeInto("A1", u"1"));
    }
    static bool TypeInto(const char*, WideView text) {
        TypeText(text);
        PressKey(VK_RETURN);
        return true;
    }
    // Runs the dialog; `use` acts on it while it is open, and it is cancelled then.
    static bool Run(void (*use)()) {
        act = use;
        HeadlessDialogs().whileOpen = [](Dialog& open) {
            shown = &open;
            act();
        };
        const bool accepted = RunDialog(allTable, nullptr);
        HeadlessDialogs().whileOpen = nullptr;
        return accepted;
    }
    static void Click(i32 row, i32 column, u32 modifiers = 0) {
        const PixelRect place = AreaPixels(
            {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)});
        ClickMouse(place.left + 3, place.top + 3, modifiers);
    }
};

TEST_F(OpenDialogs, TheFrameTakesNothingElseWhileOneIsOpen) {
    const i32 row = CurrentSheet()->view.activeRow;
    EXPECT_FALSE(Run([] {
        Click(4, 3);
        PickCommand(163);
        PressKey(VK_DOWN);
        TypeText(u"x");
        CloseFrame();
    }));
    EXPECT_EQ(CurrentSheet()->view.activeRow, row);
    EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 1u);
    EXPECT_FALSE(IsEditing());
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    Click(4, 3);
    EXPECT_EQ(CurrentSheet()->view.activeRow, 4);
}

TEST_F(OpenDialogs, TheGridWritesReferencesIntoTheEditThatHasTheFocus) {
    EXPECT_FALSE(Run([] {
        UserFocuses(*shown, AREA);
        Click(1, 1);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$B$2"));
        Click(3, 2, KEY_SHIFT);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$B$2:$C$4"));
        EXPECT_TRUE(Shell().point.active);
        const Layout& layout = Shell().layout;
        ClickMouse(layout.columns[2].start + 3, layout.grid.top + 2);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$C:$C"));
        ClickMouse(layout.grid.left + 2, layout.rows[4].start + 2);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$5:$5"));
        // Not while another control has the focus.
        UserFocuses(*shown, NAME);
        EXPECT_FALSE(Shell().point.active);
        Click(1, 1);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$5:$5"));
    }));
    EXPECT_FALSE(Shell().point.active);
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
}

TEST_F(OpenDialogs, ADragPicksAnAreaAndAnotherSheetIsNamed) {
    PickCommand(163);
    const i32 sheet = CurrentWorkbook()->currentSheet;
    ASSERT_EQ(sheet, 1);
    EXPECT_FALSE(Run([] {
        UserFocuses(*shown, AREA);
        const PixelRect from = AreaPixels({1, 1, 1, 1}), to = AreaPixels({5, 5, 3, 3});
        DragMouse(from.left + 2, from.top + 2, to.left + 2, to.top + 2);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"$B$2:$D$6"));
        Array<SheetTab> tabs;
        ASSERT_TRUE(ShownTabs(tabs));
        ClickMouse(tabs[0].left + 2, Shell().layout.tabs.top + 2);
        EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
        Click(0, 0);
        EXPECT_EQ(ControlText(*shown, AREA), WideView(u"Sheet1!$A$1"));
    }));
    EXPECT_EQ(CurrentWorkbook()->currentSheet, sheet);  // where it was opened
}

TEST_F(OpenDialogs, TheyNest) {
    EXPECT_TRUE(AnswerDialog(false));
    EXPECT_FALSE(Run([] {
        Dialog* outer = shown;
        HeadlessDialogs().whileOpen = nullptr;
        EXPECT_FALSE(RunDialog(allTable, nullptr));
        EXPECT_EQ(Shell().modal, outer);
    }));
    EXPECT_EQ(Shell().modal, nullptr);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 2u);
}

TEST_F(OpenDialogs, OneBesideTheGridLeavesTheFrameItsMessages) {
    Dialog beside;
    ASSERT_TRUE(OpenDialog(beside, allTable, nullptr));
    ASSERT_EQ(HeadlessDialogs().open.Count(), 1u);
    Click(4, 3);
    EXPECT_EQ(CurrentSheet()->view.activeRow, 4);
    EXPECT_TRUE(FillIn(beside, u"101", u"text"));
    EXPECT_EQ(ControlText(beside, NAME), WideView(u"text"));
    // Its reference edit takes the mouse as that of any other.
    UserFocuses(beside, AREA);
    Click(6, 2);
    EXPECT_EQ(CurrentSheet()->view.activeRow, 4);
    EXPECT_EQ(ControlText(beside, AREA), WideView(u"$C$7"));
    UserCancels(beside);
    SettleOpenDialogs();
    EXPECT_TRUE(HeadlessDialogs().open.IsEmpty());
    EXPECT_EQ(heard.Last(), (Heard{DIALOG_END, 0, 0}));
    Click(6, 2);
    EXPECT_EQ(CurrentSheet()->view.activeRow, 6);
}

// ---- from a script ----------------------------------------------------------------------------------------

TEST_F(OpenDialogs, AScriptNamesControlsByLabelOrNumber) {
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(Message(26), u"by label") &&
                EnterInDialog(Message(27), Message(30)) && EnterInDialog(u"105", u"1") &&
                EnterInDialog(u"108", u"blue") && EnterInDialog(u"109", u"0") && EnterInDialog(u"111", u"7") &&
                EnterInDialog(Message(33), u"1") && EnterInDialog(u"114", Message(36)) &&
                EnterInDialog(u"118", u"deep") && EnterInDialog(Message(34), u""));
    EXPECT_TRUE(RunDialog({.rows = allRows,
                           .procedure =
                               [](Dialog& open, const DialogEvent& event) {
                                   if (event.kind == DIALOG_START) return Procedure(open, event);
                                   if (event.kind != DIALOG_ACCEPT) return true;
                                   EXPECT_EQ(ControlText(open, NAME), WideView(u"by label"));
                                   EXPECT_EQ(ChosenRadio(open, LEFT), BOTH);
                                   EXPECT_EQ(ControlChoice(open, ITEMS), 2);
                                   EXPECT_EQ(ControlChoice(open, DROP), 0);
                                   EXPECT_EQ(ControlChoice(open, COUNT), 7);
                                   EXPECT_TRUE(IsChecked(open, FLAG));
                                   EXPECT_EQ(ControlText(open, ON_SECOND), WideView(u"deep"));
                                   return true;
                               }},
                          nullptr));
    EXPECT_TRUE(HeadlessDialogs().shown.Last().understood);
}

TEST_F(OpenDialogs, WhatAControlDoesNotTakeIsTold) {
    for (const auto& [field, value] : {std::pair<WideView, WideView>(u"108", u"green"),  // grey
                                       {u"108", u"mauve"},
                                       {u"118", u"on the other page"},
                                       {u"111", u"13"},
                                       {u"100", u"a label"},
                                       {u"777", u"none"},
                                       {u"102", u"no such way"}}) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(field, value));
        EXPECT_TRUE(RunDialog(allTable, nullptr));
        EXPECT_FALSE(HeadlessDialogs().shown.Last().understood) << Narrow(field) << Narrow(value);
    }
}

TEST_F(OpenDialogs, OneThatDoesNotAcceptStaysForTheNextAnswer) {
    mayAccept = false;
    ASSERT_TRUE(AnswerDialog(true) && AnswerDialog(true) && AnswerDialog(false));
    EXPECT_FALSE(RunDialog(allTable, nullptr));
    EXPECT_EQ(HeadlessDialogs().answersUsed, 3u);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
}

TEST_F(OpenDialogs, WithoutAnAnswerItIsCancelled) {
    EXPECT_FALSE(RunDialog(allTable, nullptr));
    EXPECT_FALSE(HeadlessDialogs().shown[0].accepted);
    EXPECT_EQ(heard.Last().kind, DIALOG_END);
}

}  // namespace
}  // namespace tally
