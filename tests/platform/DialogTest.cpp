// The record of an open dialog: what procedures set, what a user's acts change, and which events follow.

#include "platform/Dialog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/ShellPlatform.h"

namespace tally {
namespace {

enum Id : i32 {
    SIDE = 100,
    LEFT,
    RIGHT,
    ONE,
    TWO,
    NAME,
    SECRET,
    NOTES,
    AREA,
    COMBO,
    LIST,
    DROP,
    CHECK,
    SPIN,
    SCROLL,
    BUTTON,
    LABEL,
    TABS,
    PAGE_1,
    PAGE_2,
    ON_1,
    ON_2,
};

struct RowOf {
    i32 id;
    ControlKind kind;
    i32 container;  // index
    u16 flags;
};
// The group stands first: the index 0 is a container like any other.
constexpr RowOf rows[] = {
    {SIDE, CONTROL_GROUP, -1, 0},     {LEFT, CONTROL_RADIO, 0, 0},
    {RIGHT, CONTROL_RADIO, 0, 0},     {ONE, CONTROL_RADIO, 0, CONTROL_NEW_SET},
    {TWO, CONTROL_RADIO, 0, 0},       {NAME, CONTROL_EDIT, -1, 0},
    {SECRET, CONTROL_SECRET, -1, 0},  {NOTES, CONTROL_MULTILINE, -1, 0},
    {AREA, CONTROL_REFERENCE, -1, 0}, {COMBO, CONTROL_COMBO, -1, 0},
    {LIST, CONTROL_LIST, -1, 0},      {DROP, CONTROL_DROP_LIST, -1, 0},
    {CHECK, CONTROL_CHECK, -1, 0},    {SPIN, CONTROL_SPIN, -1, 0},
    {SCROLL, CONTROL_SCROLL, -1, 0},  {BUTTON, CONTROL_BUTTON, -1, 0},
    {LABEL, CONTROL_LABEL, -1, 0},    {TABS, CONTROL_PAGES, -1, 0},
    {PAGE_1, CONTROL_PAGE, 17, 0},    {PAGE_2, CONTROL_PAGE, 17, 0},
    {ON_1, CONTROL_EDIT, 18, 0},      {ON_2, CONTROL_EDIT, 19, 0},
    {IDOK, CONTROL_BUTTON, -1, 0},    {IDCANCEL, CONTROL_BUTTON, -1, 0},
};

std::string heard;
i32 refused = -1;  // the kind of event that is answered false
bool Procedure(Dialog&, const DialogEvent& event) {
    heard += std::to_string(event.kind) + ":" + std::to_string(event.control) + ":" +
             std::to_string(event.value) + " ";
    return event.kind != refused;
}
constexpr DialogTable table = {.rows = {}, .procedure = Procedure};
i32 focused = 0, laidOut = 0;

class DialogRecord : public testing::Test {
  protected:
    Dialog dialog;
    FrameCalls former = FrameCallsInUse();

    void SetUp() override {
        refused = -1;
        focused = laidOut = 0;
        FrameCalls calls = former;
        calls.dialogFocused = [](Dialog&) { ++focused; };
        calls.layOutDialog = [](Dialog&) { ++laidOut; };
        UseFrameCalls(calls);
        dialog.table = &table;
        for (const RowOf& row : rows) {
            Control* control = dialog.controls.AppendDefault();
            ASSERT_NE(control, nullptr);
            control->row.id = row.id;
            control->row.kind = row.kind;
            control->row.flags = row.flags;
            control->container = row.container;
        }
        for (const i32 id : {COMBO, LIST, DROP})
            for (const WideView item : {u"a", u"b", u"c"})
                ASSERT_TRUE(AddControlItem(dialog, id, item, item != u"b"));
        SetControlRange(dialog, SPIN, 2, 9);
        SetControlRange(dialog, SCROLL, -3, 3);
        SetControlChoice(dialog, LEFT, 1);
        SetControlChoice(dialog, ONE, 1);
        Settle();
    }
    void TearDown() override {
        UseFrameCalls(former);
        heard.clear();
    }
    void Settle() {
        for (Control& control : dialog.controls) control.stale = control.itemsStale = false;
        heard.clear();
    }
    // Numbers of the controls that became stale, in their order.
    std::string Stale() {
        std::string all;
        for (Control& control : dialog.controls)
            if (control.stale) all += std::to_string(control.row.id) + " ";
        return all;
    }
    Control& At(i32 id) { return *FindControl(dialog, id); }
};

TEST_F(DialogRecord, WhatAUserMayChoose) {
    struct Case {
        i32 id, choice;
        bool taken;
    };
    for (const Case& row :
         {Case{CHECK, 0, true}, {CHECK, 1, true},   {CHECK, 2, false}, {CHECK, -1, false}, {SPIN, 2, true},
          {SPIN, 1, false},     {SPIN, 9, true},    {SPIN, 10, false}, {SCROLL, -3, true}, {SCROLL, -4, false},
          {SCROLL, 3, true},    {SCROLL, 4, false}, {LIST, 0, true},   {LIST, 1, false},   {LIST, 2, true},
          {LIST, 3, false},     {LIST, -1, false},  {DROP, 2, true},   {DROP, 3, false},   {COMBO, 0, true},
          {COMBO, 1, false},    {TABS, 0, true},    {TABS, 1, true},   {TABS, 2, false},   {TABS, -1, false},
          {NAME, 0, false},     {BUTTON, 0, false}, {LABEL, 1, false}, {RIGHT, 1, true},   {RIGHT, 7, true},
          {999, 0, false}}) {
        Settle();
        UserChooses(dialog, row.id, row.choice);
        const std::string changed = std::to_string(DIALOG_CHANGED) + ":" + std::to_string(row.id) + ":" +
                                    std::to_string(row.choice) + " ";
        const std::string want = row.taken ? changed : "";
        const bool page = row.id == TABS && row.taken && row.choice == 1;
        EXPECT_EQ(heard, page ? std::to_string(DIALOG_PAGE_LEFT) + ":117:1 " + want : want)
            << row.id << " " << row.choice;
        if (row.taken && row.id != RIGHT) EXPECT_EQ(ControlChoice(dialog, row.id), row.choice) << row.id;
    }
    EXPECT_EQ(ControlText(dialog, COMBO), WideView(u"a"));
}

TEST_F(DialogRecord, RadioButtonsOfARowExcludeEachOther) {
    EXPECT_EQ(ChosenRadio(dialog, RIGHT), LEFT);
    EXPECT_EQ(ChosenRadio(dialog, TWO), ONE);
    EXPECT_EQ(ChosenRadio(dialog, NAME), 0);
    EXPECT_EQ(ChosenRadio(dialog, 999), 0);
    UserChooses(dialog, RIGHT, 1);
    EXPECT_EQ(ChosenRadio(dialog, LEFT), RIGHT);
    EXPECT_EQ(ChosenRadio(dialog, ONE), ONE);
    EXPECT_EQ(Stale(), "101 102 ");
    Settle();
    SetControlChoice(dialog, TWO, 1);
    EXPECT_EQ(ChosenRadio(dialog, ONE), TWO);
    EXPECT_EQ(ChosenRadio(dialog, LEFT), RIGHT);
    EXPECT_EQ(Stale(), "103 104 ");
    Settle();
    SetControlChoice(dialog, TWO, 1);
    EXPECT_EQ(Stale(), "");
    At(TWO).choice = 0;
    EXPECT_EQ(ChosenRadio(dialog, TWO), 0);
}

TEST_F(DialogRecord, TypingGoesIntoWhatIsTyped) {
    struct Case {
        i32 id;
        bool taken;
    };
    for (const Case& row : {Case{NAME, true},
                            {SECRET, true},
                            {NOTES, true},
                            {AREA, true},
                            {COMBO, true},
                            {LIST, false},
                            {DROP, false},
                            {CHECK, false},
                            {BUTTON, false},
                            {SPIN, false}}) {
        Settle();
        UserEdits(dialog, row.id, u"new");
        EXPECT_EQ(ControlText(dialog, row.id), row.taken ? WideView(u"new") : WideView()) << row.id;
        EXPECT_EQ(heard, row.taken ? "1:" + std::to_string(row.id) + ":0 " : "") << row.id;
        EXPECT_EQ(Stale(), "") << row.id;
        heard.clear();
        UserEdits(dialog, row.id, u"new");
        EXPECT_EQ(heard, "") << row.id;
    }
    SetControlChoice(dialog, COMBO, 2);
    UserEdits(dialog, COMBO, u"other");
    EXPECT_EQ(ControlChoice(dialog, COMBO), -1);
    SetControlChoice(dialog, NAME, 4);
    UserEdits(dialog, NAME, u"x");
    EXPECT_EQ(ControlChoice(dialog, NAME), 4);
}

TEST_F(DialogRecord, SettingMakesStaleOnlyWhatChanges) {
    struct Case {
        void (*set)(Dialog&);
        const char* stale;
    };
    for (const Case& row : {
             Case{[](Dialog& d) { EXPECT_TRUE(SetControlText(d, NAME, u"x")); }, "105 "},
             {[](Dialog& d) { EXPECT_TRUE(SetControlText(d, NAME, u"x")); }, ""},
             {[](Dialog& d) { EXPECT_TRUE(SetControlText(d, 999, u"x")); }, ""},
             {[](Dialog& d) { EXPECT_TRUE(SetControlLabel(d, LABEL, u"x")); }, "116 "},
             {[](Dialog& d) { EXPECT_TRUE(SetControlLabel(d, LABEL, u"x")); }, ""},
             {[](Dialog& d) { EXPECT_TRUE(SetControlLabel(d, 999, u"x")); }, ""},
             {[](Dialog& d) { SetControlChoice(d, CHECK, 1); }, "112 "},
             {[](Dialog& d) { SetControlChoice(d, CHECK, 1); }, ""},
             {[](Dialog& d) { SetControlChoice(d, 999, 1); }, ""},
             {[](Dialog& d) { EnableControl(d, NAME, false); }, "105 "},
             {[](Dialog& d) { EnableControl(d, NAME, false); }, ""},
             {[](Dialog& d) { EnableControl(d, NAME, true); }, "105 "},
             {[](Dialog& d) { EnableControl(d, 999, false); }, ""},
             {[](Dialog& d) { ShowControl(d, NAME, false); }, "105 "},
             {[](Dialog& d) { ShowControl(d, NAME, false); }, ""},
             {[](Dialog& d) { ShowControl(d, 999, false); }, ""},
             {[](Dialog& d) { RepaintControl(d, BUTTON); }, "115 "},
             {[](Dialog& d) { RepaintControl(d, 999); }, ""},
             {[](Dialog& d) { SelectControlText(d, NOTES); }, "107 "},
             {[](Dialog& d) { SelectControlText(d, 999); }, ""},
             {[](Dialog& d) { SetControlRange(d, SPIN, 2, 9); }, "113 "},
             {[](Dialog& d) { SetControlRange(d, 999, 2, 9); }, ""},
             {[](Dialog& d) { EXPECT_TRUE(AddControlItem(d, LIST, u"d")); }, "110 "},
             {[](Dialog& d) { EXPECT_TRUE(AddControlItem(d, 999, u"d")); }, ""},
             {[](Dialog& d) { ClearControlItems(d, DROP); }, "111 "},
             {[](Dialog& d) { ClearControlItems(d, 999); }, ""},
         }) {
        Settle();
        row.set(dialog);
        EXPECT_EQ(Stale(), row.stale);
    }
    EXPECT_EQ(dialog.focus, NOTES);
    EXPECT_TRUE(At(DROP).items.IsEmpty());
    EXPECT_EQ(At(DROP).choice, -1);
    EXPECT_TRUE(At(LIST).items.Last().enabled);
    EXPECT_TRUE(IsChecked(dialog, CHECK));
    EXPECT_FALSE(IsChecked(dialog, 999));
    EXPECT_EQ(ControlChoice(dialog, 999), -1);
    EXPECT_TRUE(SetControlText(dialog, NAME, u"four"));
    SelectControlText(dialog, NAME);
    EXPECT_EQ(At(NAME).selectStart, 0);
    EXPECT_EQ(At(NAME).selectEnd, 4);
}

TEST_F(DialogRecord, ItemsThatAreAddedOrGoAreShownAnew) {
    for (const i32 id : {LIST, DROP, COMBO}) {
        Settle();
        ASSERT_TRUE(AddControlItem(dialog, id, u"d", false));
        EXPECT_TRUE(At(id).itemsStale);
        EXPECT_FALSE(At(id).items.Last().enabled);
        Settle();
        ClearControlItems(dialog, id);
        EXPECT_TRUE(At(id).itemsStale);
    }
}

TEST_F(DialogRecord, ARangeBringsTheNumberIntoIt) {
    struct Case {
        i32 minimum, maximum, before, top, after;
    };
    for (const Case& row : {Case{1, 5, 3, 5, 3}, {4, 5, 3, 5, 4}, {1, 2, 3, 2, 2}, {6, 2, 3, 6, 6}}) {
        At(SPIN).choice = row.before;
        SetControlRange(dialog, SPIN, row.minimum, row.maximum);
        EXPECT_EQ(At(SPIN).minimum, row.minimum);
        EXPECT_EQ(At(SPIN).maximum, row.top);
        EXPECT_EQ(At(SPIN).choice, row.after);
    }
}

TEST_F(DialogRecord, WhatIsSeenAndReached) {
    const auto state = [&](i32 id) {
        return std::string(IsControlVisible(dialog, At(id)) ? "seen" : "") +
               (IsControlReachable(dialog, At(id)) ? " reached" : "");
    };
    EXPECT_EQ(state(LEFT), "seen reached");
    EnableControl(dialog, SIDE, false);
    EXPECT_EQ(state(LEFT), "seen");
    EXPECT_EQ(state(NAME), "seen reached");
    EnableControl(dialog, SIDE, true);
    ShowControl(dialog, SIDE, false);
    EXPECT_EQ(state(LEFT), "");
    ShowControl(dialog, SIDE, true);
    EXPECT_EQ(state(ON_1), "seen reached");
    EXPECT_EQ(state(ON_2), "");
    EXPECT_EQ(state(PAGE_2), "");
    SetControlChoice(dialog, TABS, 1);
    EXPECT_EQ(state(ON_1), "");
    EXPECT_EQ(state(ON_2), "seen reached");
    dialog.shrunkTo = AREA;
    EXPECT_EQ(state(AREA), "seen reached");
    EXPECT_EQ(state(NAME), "");
}

TEST_F(DialogRecord, APageIsLeftOnlyWithAYes) {
    refused = DIALOG_PAGE_LEFT;
    UserChooses(dialog, TABS, 1);
    EXPECT_EQ(ControlChoice(dialog, TABS), 0);
    EXPECT_EQ(heard, std::to_string(DIALOG_PAGE_LEFT) + ":117:1 ");
    EXPECT_EQ(Stale(), "117 ");
    heard.clear();
    UserChooses(dialog, TABS, 0);
    EXPECT_EQ(heard, "1:117:0 ");
}

TEST_F(DialogRecord, ButtonsAndKeysEndIt) {
    struct Case {
        void (*act)(Dialog&);
        i32 refused;
        const char* heard;
        bool ended, accepted;
    };
    for (const Case& row : {
             Case{[](Dialog& d) { UserPresses(d, IDOK); }, -1, "6:1:0 ", true, true},
             {[](Dialog& d) { UserPresses(d, IDOK); }, DIALOG_ACCEPT, "6:1:0 ", false, false},
             {[](Dialog& d) { UserPresses(d, IDCANCEL); }, -1, "7:2:0 ", true, false},
             {[](Dialog& d) { UserPresses(d, IDCANCEL); }, DIALOG_CANCEL, "7:2:0 ", false, false},
             {[](Dialog& d) { UserPresses(d, BUTTON); }, -1, "2:115:0 ", false, false},
             {[](Dialog& d) { UserPresses(d, NAME); }, -1, "", false, false},
             {[](Dialog& d) { UserPresses(d, 999); }, -1, "", false, false},
             {[](Dialog& d) { UserAccepts(d); }, -1, "6:1:0 ", true, true},
             {[](Dialog& d) { UserCancels(d); }, -1, "7:2:0 ", true, false},
             {[](Dialog& d) { UserDoubleClicks(d, LIST); }, -1, "3:110:0 6:1:0 ", true, true},
             {[](Dialog& d) { UserDoubleClicks(d, LIST); }, DIALOG_DOUBLE_CLICK, "3:110:0 ", false, false},
             {[](Dialog& d) { UserDoubleClicks(d, 999); }, -1, "", false, false},
             {[](Dialog& d) {
                  EnableControl(d, IDOK, false);
                  UserAccepts(d);
                  EnableControl(d, IDOK, true);
              },
              -1, "", false, false},
             {[](Dialog& d) {
                  EndDialog(d, false);
                  UserAccepts(d);
                  UserCancels(d);
                  UserPresses(d, BUTTON);
                  UserFocuses(d, NAME);
              },
              -1, "", true, false},
         }) {
        Settle();
        dialog.ended = dialog.accepted = false;
        refused = row.refused;
        row.act(dialog);
        EXPECT_EQ(heard, row.heard);
        EXPECT_EQ(dialog.ended, row.ended) << row.heard;
        EXPECT_EQ(dialog.accepted, row.accepted) << row.heard;
    }
}

TEST_F(DialogRecord, TheFocusIsTold) {
    UserFocuses(dialog, NAME);
    EXPECT_EQ(dialog.focus, NAME);
    EXPECT_EQ(focused, 1);
    EXPECT_EQ(heard, std::to_string(DIALOG_FOCUS) + ":105:0 ");
    EnableControl(dialog, NOTES, false);
    UserFocuses(dialog, NOTES);
    EXPECT_EQ(dialog.focus, NAME);
    EXPECT_EQ(focused, 1);
    heard.clear();
    EndDialog(dialog, true);
    FinishDialog(dialog);
    EXPECT_EQ(dialog.focus, 0);
    EXPECT_EQ(focused, 2);
    EXPECT_EQ(heard, std::to_string(DIALOG_END) + ":0:1 ");
}

TEST_F(DialogRecord, AReferenceShrinksItAndAnyEndGrowsItAgain) {
    UserShrinks(dialog, NAME);
    EXPECT_EQ(dialog.shrunkTo, 0);
    EnableControl(dialog, AREA, false);
    UserShrinks(dialog, AREA);
    EXPECT_EQ(dialog.shrunkTo, 0);
    EXPECT_EQ(laidOut, 0);
    EnableControl(dialog, AREA, true);
    void (*const ways[])(Dialog&) = {[](Dialog& d) { UserShrinks(d, AREA); }, UserAccepts, UserCancels};
    for (const auto& back : ways) {
        UserShrinks(dialog, AREA);
        EXPECT_EQ(dialog.shrunkTo, AREA);
        EXPECT_EQ(dialog.focus, AREA);
        back(dialog);
        EXPECT_EQ(dialog.shrunkTo, 0);
        EXPECT_EQ(dialog.focus, AREA);
        EXPECT_FALSE(dialog.ended);
    }
    EXPECT_EQ(laidOut, 6);
    EXPECT_EQ(heard, "");
}

TEST_F(DialogRecord, WithoutAProcedureEverythingGoesOn) {
    constexpr DialogTable silent;
    dialog.table = &silent;
    UserChooses(dialog, TABS, 1);
    EXPECT_EQ(ControlChoice(dialog, TABS), 1);
    UserAccepts(dialog);
    EXPECT_TRUE(dialog.ended);
    EXPECT_TRUE(dialog.accepted);
}

// ---- the frame's calls and items -----------------------------------------------------------------------

TEST(FrameCallsInUse, WithoutAShellNobodyTakesAnything) {
    const FrameCalls& calls = FrameCallsInUse();
    EXPECT_FALSE(calls.sendMessage(ShellMessage()));
    EXPECT_FALSE(calls.translateAccelerator('A', 0));
    EXPECT_FALSE(calls.editKeyDown(ENTRY_LINE, 'A', 0));
    EXPECT_FALSE(calls.editChar(ENTRY_LINE, 'A', 0));
    EXPECT_TRUE(calls.editClick(ENTRY_LINE));
    Array<MenuItem> items;
    EXPECT_TRUE(calls.menuItems(MENU_BAR, items));
    EXPECT_TRUE(items.IsEmpty());
    EXPECT_FALSE(SendCommand(1));
}

TEST(MenuItems, HoldWhatIsGivenAndShowEachAmpersand) {
    Array<MenuItem> items;
    ASSERT_TRUE(AddMenuItem(items, 7, u"one", true, false));
    ASSERT_TRUE(AddMenuItem(items, 8, u"two", false, true));
    ASSERT_EQ(items.Count(), 2u);
    EXPECT_EQ(items[0].command, 7);
    EXPECT_TRUE(items[0].enabled);
    EXPECT_FALSE(items[0].checked);
    EXPECT_EQ(items[1].text.View(), WideView(u"two"));
    EXPECT_FALSE(items[1].enabled);
    EXPECT_TRUE(items[1].checked);
    WideText label;
    ASSERT_TRUE(AppendPlainLabel(label, u"a&b&&"));
    EXPECT_EQ(label.View(), WideView(u"a&&b&&&&"));
}

}  // namespace
}  // namespace tally
