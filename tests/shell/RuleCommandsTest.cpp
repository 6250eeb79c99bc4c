// The rules of cells by their commands: validation and conditional formats.

#include "base/MessageTable.h"
#include "editing/RuleFormulas.h"
#include "editing/RuleOperations.h"
#include "editing/Undo.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/InputMessage.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

// Numbers of the controls of the page of settings that have no label of their own, and of the conditions.
constexpr i32 VALIDATION = 429, CONDITIONAL = 422, TAB_COLOUR = 413;
constexpr i32 VALIDATION_FIRST = 109, VALIDATION_SECOND = 111;
constexpr WideView PAGES = u"100";

std::string areasText(const Array<RefArea>& areas) {
    std::string out;
    for (const RefArea& area : areas)
        out += std::to_string(area.firstRow) + "," + std::to_string(area.firstColumn) + "-" +
               std::to_string(area.lastRow) + "," + std::to_string(area.lastColumn) + " ";
    return out;
}

class RuleCommands : public ShellSandbox {
  protected:
    static void SelectCells(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
    }
    static void Fill(std::initializer_list<std::pair<WideView, WideView>> entries, bool accept = true) {
        ASSERT_TRUE(AnswerDialog(accept));
        for (const auto& [field, value] : entries) ASSERT_TRUE(EnterInDialog(field, value));
    }
    static bool Accepted() { return HeadlessDialogs().shown.Last().accepted; }
    static bool Understood() { return HeadlessDialogs().shown.Last().understood; }
    static std::string LastBox() {
        const auto& boxes = Headless().boxes;
        return boxes.IsEmpty() ? "" : Narrow(boxes.Last().text);
    }
    static const Array<ValidationRule>& Rules() { return CurrentSheet()->validations; }
    static const Array<ConditionalFormat>& Formats() { return CurrentSheet()->conditionalFormats; }
};

TEST_F(RuleCommands, ARuleIsSetTestedAndUndone) {
    SelectCells("A1", "A3");
    Fill({{u"允许", u"整数"},
          {u"数据", u"介于"},
          {u"最小值", u"2"},
          {u"最大值", u"=1+3"},
          {PAGES, u"出错警告"},
          {u"标题", u"Price"},
          {u"出错信息", u"2 to 4"}});
    PickCommand(VALIDATION);
    ASSERT_TRUE(Accepted() && Understood());
    ASSERT_EQ(Rules().Count(), 1u);
    const ValidationRule& rule = Rules()[0];
    EXPECT_EQ(rule.kind, 1u);
    EXPECT_EQ(rule.comparison, 0u);
    EXPECT_TRUE(rule.ignoreBlank && rule.showInput && rule.showError && !rule.noDropArrow && !rule.literalList);
    EXPECT_EQ(areasText(rule.areas), "0,0-2,0 ");
    Select("A2");
    Headless().boxes.Clear();
    ASSERT_TRUE(Headless().answers.Append(IDCANCEL));
    TypeText(u"9");
    PressKey(VK_RETURN);
    EXPECT_EQ(LastBox(), "2 to 4");
    EXPECT_EQ(Narrow(Headless().boxes[0].title), "Price");
    EXPECT_EQ(Shown("A2"), "");
    PickCommand(130);
    EXPECT_TRUE(Rules().IsEmpty());
}

TEST_F(RuleCommands, CancellingChangesNothing) {
    SelectCells("A1", "A3");
    Fill({{u"允许", u"整数"}, {u"最小值", u"2"}, {u"最大值", u"3"}}, false);
    PickCommand(VALIDATION);
    EXPECT_FALSE(Accepted());
    EXPECT_TRUE(Rules().IsEmpty());
    EXPECT_EQ(UndoCount(), 0u);
}

// The labels of the boxes by kind and comparison, as they are seen; "-" for a box that is not.
std::string boxLabels;
TEST_F(RuleCommands, TheLabelsFollowTheKindAndTheComparison) {
    const struct {
        i32 kind, comparison;
        const char* labels;
    } rows[] = {
        {0, 0, "-|-|"},           {1, 0, "最小值|最大值|"},
        {1, 1, "最小值|最大值|"}, {1, 2, "数值:|-|"},
        {1, 3, "数值:|-|"},       {1, 4, "最小值|-|"},
        {1, 5, "最大值|-|"},      {1, 6, "最小值|-|"},
        {1, 7, "最大值|-|"},      {2, 0, "最小值|最大值|"},
        {2, 2, "数值:|-|"},       {3, 0, "源:|-|"},
        {3, 5, "源:|-|"},         {4, 1, "起始日期:|终止日期:|"},
        {4, 3, "日期:|-|"},       {4, 6, "起始日期:|-|"},
        {4, 7, "终止日期:|-|"},   {5, 0, "起始时间:|终止时间:|"},
        {5, 2, "时间:|-|"},       {5, 4, "起始时间:|-|"},
        {5, 5, "终止时间:|-|"},   {6, 0, "最小值|最大值|"},
        {6, 2, "长度:|-|"},       {7, 0, "公式:|-|"},
    };
    static i32 kind, comparison;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        constexpr i32 ALLOW = 103, DATA = 106, ARROW = 107;
        UserChooses(dialog, ALLOW, 1);
        UserChooses(dialog, DATA, comparison);
        UserChooses(dialog, ALLOW, kind);
        const bool compares = kind == 1 || kind == 2 || (kind >= 4 && kind <= 6);
        EXPECT_EQ(IsControlVisible(dialog, *FindControl(dialog, DATA)), compares) << kind;
        EXPECT_EQ(IsControlVisible(dialog, *FindControl(dialog, ARROW)), kind == 3) << kind;
        for (const i32 box : {VALIDATION_FIRST, VALIDATION_SECOND}) {
            const bool seen = IsControlVisible(dialog, *FindControl(dialog, box));
            boxLabels += seen ? Narrow(FindControl(dialog, box - 1)->label) + "|" : "-|";
        }
    };
    for (const auto& row : rows) {
        kind = row.kind;
        comparison = row.comparison;
        boxLabels.clear();
        PickCommand(VALIDATION);
        EXPECT_EQ(boxLabels, row.labels) << row.kind << row.comparison;
    }
    HeadlessDialogs().whileOpen = nullptr;
}

// Each fault keeps the dialog open on its page with the focus in the box.
TEST_F(RuleCommands, AFailingBoxKeepsItsPageAndTheFocus) {
    const struct {
        i32 kind;
        WideView first, second;
        const char* message;
        i32 focus;
    } rows[] = {
        {1, u"", u"", "所需的最小值或最大值丢失", VALIDATION_FIRST},
        {2, u"1", u"", "所需的最小值或最大值丢失", VALIDATION_SECOND},
        {4, u"x", u"", "Expression must be a number or formula", VALIDATION_FIRST},
        {5, u"1", u"=(", "Expression must be a number or formula", VALIDATION_SECOND},
        {6, u"TRUE", u"1", "Expression must be a number or formula", VALIDATION_FIRST},
        {3, u"=$A$1:$B$2", u"", "Reference must be a single row or column", VALIDATION_FIRST},
        {3, u"=1", u"", "Expression must be a reference or list", VALIDATION_FIRST},
        {7, u"=(1", u"", "Expression must be a formula", VALIDATION_FIRST},
    };
    static i32 kind;
    static WideView first, second;
    static i32 focus;
    for (const auto& row : rows) {
        kind = row.kind;
        first = row.first;
        second = row.second;
        focus = row.focus;
        Headless().boxes.Clear();
        HeadlessDialogs().whileOpen = [](Dialog& dialog) {
            UserChooses(dialog, 103, kind);
            UserEdits(dialog, VALIDATION_FIRST, first);
            UserEdits(dialog, VALIDATION_SECOND, second);
            dialog.focus = 0;
            UserChooses(dialog, 100, 1);  // to the next page
            EXPECT_EQ(ControlChoice(dialog, 100), 0) << kind;
            EXPECT_EQ(dialog.focus, focus) << kind;
            UserAccepts(dialog);
            EXPECT_FALSE(dialog.ended) << kind;
        };
        PickCommand(VALIDATION);
        ASSERT_EQ(Headless().boxes.Count(), 2u) << row.kind;
        EXPECT_EQ(LastBox(), row.message) << row.kind;
        EXPECT_FALSE(Accepted());
        EXPECT_TRUE(Rules().IsEmpty());
    }
    HeadlessDialogs().whileOpen = nullptr;
}

TEST_F(RuleCommands, TheDialogBeginsWithTheRuleOfTheSelection) {
    SelectCells("B2", "B4");
    Fill({{u"允许", u"日"},
          {u"数据", u"大于或等于"},
          {u"起始日期", u"=A2+1"},
          {u"忽略空值", u"0"},
          {PAGES, u"输入信息"},
          {u"标题", u"When"},
          {u"输入信息", u"After it"},
          {PAGES, u"出错警告"},
          {u"样式", u"警告"}});
    PickCommand(VALIDATION);
    ASSERT_TRUE(Accepted() && Understood());
    // From another cell the formula is meant from there.
    Select("B3");
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        EXPECT_EQ(ControlChoice(dialog, 103), 4);
        EXPECT_EQ(ControlChoice(dialog, 106), 6);
        EXPECT_EQ(Narrow(ControlText(dialog, VALIDATION_FIRST)), "=A3+1");
        EXPECT_FALSE(IsChecked(dialog, 104));
        EXPECT_EQ(Narrow(ControlText(dialog, 115)), "When");
        EXPECT_EQ(Narrow(ControlText(dialog, 117)), "After it");
        EXPECT_EQ(ControlChoice(dialog, 121), 1);
    };
    Fill({});
    PickCommand(VALIDATION);
    HeadlessDialogs().whileOpen = nullptr;
    // The same rule again leaves one rule.
    ASSERT_EQ(Rules().Count(), 1u);
    EXPECT_EQ(areasText(Rules()[0].areas), "1,1-1,1 2,1-2,1 3,1-3,1 ");
}

TEST_F(RuleCommands, SeveralRulesAreGivenUpOnlyAfterAYes) {
    for (const char* cell : {"A1", "A2"}) {
        Select(cell);
        Fill({{u"允许", u"自定义"}, {u"公式", cell[1] == '1' ? u"=TRUE" : u"=A9"}});
        PickCommand(VALIDATION);
    }
    ASSERT_EQ(Rules().Count(), 2u);
    SelectCells("A1", "A2");
    const u32 shown = HeadlessDialogs().shown.Count();
    Headless().boxes.Clear();
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(VALIDATION);
    EXPECT_EQ(LastBox(), "选定区域含有多种类型的数据有效性。\r是否清除当前设置并继续?");
    EXPECT_EQ(Headless().boxes[0].flags & 15, u32{MB_YESNO});
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown);
    ASSERT_TRUE(Headless().answers.Append(IDYES));
    HeadlessDialogs().whileOpen = [](Dialog& dialog) { EXPECT_EQ(ControlChoice(dialog, 103), 0); };
    Fill({});
    PickCommand(VALIDATION);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown + 1);
    EXPECT_TRUE(Rules().IsEmpty());
}

TEST_F(RuleCommands, AListOffersItsItems) {
    Fill({{u"允许", u"列表"}, {u"源", u"red,green"}, {u"提供下拉箭头", u"0"}});
    PickCommand(VALIDATION);
    ASSERT_EQ(Rules().Count(), 1u);
    EXPECT_TRUE(Rules()[0].literalList && Rules()[0].noDropArrow);
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        EXPECT_EQ(Narrow(ControlText(dialog, VALIDATION_FIRST)), "red,green");
        EXPECT_FALSE(IsChecked(dialog, 107));
    };
    PickCommand(VALIDATION);
    HeadlessDialogs().whileOpen = nullptr;
}

TEST_F(RuleCommands, TheMessageOfTheActiveCellStandsBelowIt) {
    SelectCells("B2", "B3");
    Fill({{PAGES, u"输入信息"}, {u"标题", u"Heading"}, {u"输入信息", u"one\ntwo"}});
    PickCommand(VALIDATION);
    ASSERT_EQ(Rules().Count(), 1u);  // for any value
    Select("B2");
    i32 x = 0, y = 0;
    CellPoint("B2", x, y);
    const PixelRect place = InputMessagePlace();
    EXPECT_GT(place.top, y);
    PaintHeadless();
    EXPECT_EQ(CountDrawn("Heading"), 1);
    EXPECT_EQ(CountDrawn("one"), 1);
    EXPECT_EQ(CountDrawn("two"), 1);
    Select("B4");
    PaintHeadless();
    EXPECT_EQ(CountDrawn("Heading"), 0);
    EXPECT_EQ(InputMessagePlace(), PixelRect());
    CurrentSheet()->validations[0].showInput = 0;
    Select("B3");
    EXPECT_EQ(InputMessagePlace(), PixelRect());
}

// ---- conditional formats -----------------------------------------------------------------------------------

bool MakeBold(ConditionalCondition& condition) {
    condition.bold = {true, 1};
    return true;
}

class ConditionalCommands : public RuleCommands {
  protected:
    static constexpr i32 TYPE = 111, COMPARISON = 112, FIRST = 113, SECOND = 115, DELETED = 116, FORMAT = 117;

    // As the command does, with a look that can be asked for.
    static bool Ask(void (*user)(Dialog&)) {
        const Sheet& sheet = *CurrentSheet();
        const RefArea area = sheet.view.selection;
        ConditionalQuestion question;
        question.place.book = sheet.book;
        question.place.row = sheet.view.activeRow;
        question.place.column = sheet.view.activeColumn;
        question.askLook = MakeBold;
        HeadlessDialogs().whileOpen = user;
        const bool good = AskConditionalFormats(question) &&
                          ApplyConditionalFormats({sheet.book, sheet.index, area, question.edits});
        HeadlessDialogs().whileOpen = nullptr;
        for (ConditionEdit& edit : question.edits) FreeCondition(edit.condition);
        return good;
    }
    static void BoldAboveFive() {
        SelectCells("A1", "A3");
        ASSERT_TRUE(Ask([](Dialog& dialog) {
            UserChooses(dialog, COMPARISON, 4);
            UserEdits(dialog, FIRST, u"5");
            UserPresses(dialog, FORMAT);
            UserAccepts(dialog);
        }));
        ASSERT_EQ(Formats().Count(), 1u);
    }
};

TEST_F(ConditionalCommands, AConditionIsSetAndPainted) {
    BoldAboveFive();
    const ConditionalCondition& condition = Formats()[0].conditions[0];
    EXPECT_EQ(Formats()[0].conditions.Count(), 1u);
    EXPECT_EQ(condition.type, 1u);
    EXPECT_EQ(condition.comparison, 5u);
    EXPECT_FALSE(HasFormula(condition.formula2));
    Enter("A1", "4");
    Enter("A2", "6");
    PaintHeadless();
    const auto weight = [](const char* text) {
        return HeadlessFontList()[static_cast<u32>(FindDrawn(text)->font) - 1].weight;
    };
    EXPECT_EQ(weight("4"), 400);
    EXPECT_EQ(weight("6"), 700);
}

TEST_F(ConditionalCommands, TheCommandShowsTheConditionsAndDeletesThoseThatAreMarked) {
    BoldAboveFive();
    Select("A2");
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        EXPECT_EQ(ControlChoice(dialog, TYPE), 0);
        EXPECT_EQ(ControlChoice(dialog, COMPARISON), 4);
        EXPECT_EQ(Narrow(ControlText(dialog, FIRST)), "5");
        EXPECT_FALSE(IsControlVisible(dialog, *FindControl(dialog, SECOND)));
        EXPECT_EQ(ControlChoice(dialog, TYPE + 10), 0);
        EXPECT_TRUE(ControlText(dialog, FIRST + 10).empty());
    };
    Fill({{u"删除", u"1"}});
    PickCommand(CONDITIONAL);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_TRUE(Accepted() && Understood());
    ASSERT_EQ(Formats().Count(), 1u);
    EXPECT_EQ(areasText(Formats()[0].areas), "0,0-0,0 2,0-2,0 ");
    EXPECT_EQ(LastUndo()->kind, i32{UNDO_CONDITIONAL});
    PickCommand(130);
    EXPECT_EQ(areasText(Formats()[0].areas), "0,0-2,0 ");
}

TEST_F(ConditionalCommands, AComparisonIsChangedAndTheLookStays) {
    BoldAboveFive();
    Fill({{u"112", u"未介于"}, {u"113", u"1"}, {u"115", u"=B1"}});
    PickCommand(CONDITIONAL);
    ASSERT_TRUE(Accepted() && Understood());
    ASSERT_EQ(Formats().Count(), 1u);
    const ConditionalCondition& condition = Formats()[0].conditions[0];
    EXPECT_EQ(condition.comparison, 2u);
    EXPECT_TRUE(HasFormula(condition.formula2));
    EXPECT_TRUE(condition.bold.present);
    Fill({{u"111", u"公式"}, {u"113", u"=A1>B1"}});
    PickCommand(CONDITIONAL);
    ASSERT_EQ(Formats().Count(), 1u);
    EXPECT_EQ(Formats()[0].conditions[0].type, 2u);
    EXPECT_FALSE(HasFormula(Formats()[0].conditions[0].formula2));
}

TEST_F(ConditionalCommands, AFailingBoxKeepsItsPageAndTheFocus) {
    BoldAboveFive();
    const struct {
        i32 comparison;
        WideView first, second;
        const char* message;
        i32 focus;
    } rows[] = {
        {4, u"", u"", "所需的最小值或最大值丢失", FIRST},
        {0, u"1", u"", "所需的最小值或最大值丢失", SECOND},
        {1, u"1", u"=(", "There is an error in the formula you entered", SECOND},
        {2, u"=1+", u"", "There is an error in the formula you entered", FIRST},
    };
    static i32 comparison, focus;
    static WideView first, second;
    for (const auto& row : rows) {
        comparison = row.comparison;
        first = row.first;
        second = row.second;
        focus = row.focus;
        Headless().boxes.Clear();
        HeadlessDialogs().whileOpen = [](Dialog& dialog) {
            UserChooses(dialog, COMPARISON, comparison);
            UserEdits(dialog, FIRST, first);
            UserEdits(dialog, SECOND, second);
            UserChooses(dialog, 100, 2);
            EXPECT_EQ(ControlChoice(dialog, 100), 0);
            EXPECT_EQ(dialog.focus, focus) << comparison;
            UserAccepts(dialog);
            EXPECT_FALSE(dialog.ended);
            // What is to be deleted is not read.
            UserChooses(dialog, DELETED, 1);
            UserChooses(dialog, 100, 2);
            EXPECT_EQ(ControlChoice(dialog, 100), 2);
        };
        PickCommand(CONDITIONAL);
        EXPECT_EQ(Headless().boxes.Count(), 2u);
        EXPECT_EQ(LastBox(), row.message);
    }
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(UndoCount(), 1u);
}

TEST_F(ConditionalCommands, PagesWithoutAnythingAreNoConditionsAndThreeAreTaken) {
    SelectCells("A1", "A3");
    ASSERT_TRUE(Ask([](Dialog& dialog) { UserAccepts(dialog); }));
    EXPECT_TRUE(Formats().IsEmpty());
    ASSERT_TRUE(Ask([](Dialog& dialog) {
        for (i32 page = 0; page < 3; ++page) {
            UserChooses(dialog, 100, page);
            UserChooses(dialog, TYPE + 10 * page, 1);
            UserEdits(dialog, FIRST + 10 * page, u"=A1>1");
            UserPresses(dialog, FORMAT + 10 * page);
        }
        UserAccepts(dialog);
    }));
    ASSERT_EQ(Formats().Count(), 1u);
    EXPECT_EQ(Formats()[0].conditions.Count(), 3u);
}

// ---- the colour of a tab -----------------------------------------------------------------------------------

TEST_F(RuleCommands, ATabTakesTheColourThatIsPicked) {
    constexpr i32 COLOUR = 101, NO_COLOUR = 102;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        EXPECT_TRUE(IsChecked(dialog, NO_COLOUR));
        EXPECT_EQ(ControlChoice(dialog, COLOUR), 0);
        EXPECT_EQ(FindControl(dialog, COLOUR)->items.Count(), 57u);
        UserChooses(dialog, COLOUR, 11);
        EXPECT_FALSE(IsChecked(dialog, NO_COLOUR));
        UserAccepts(dialog);
    };
    PickCommand(TAB_COLOUR);
    EXPECT_EQ(CurrentSheet()->tabColour, 8 + 10);
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        EXPECT_EQ(ControlChoice(dialog, COLOUR), 11);
        // Taken away and given again it is the first one.
        UserChooses(dialog, NO_COLOUR, 1);
        EXPECT_EQ(ControlChoice(dialog, COLOUR), 0);
        UserChooses(dialog, NO_COLOUR, 0);
        EXPECT_EQ(ControlChoice(dialog, COLOUR), 1);
        UserChooses(dialog, COLOUR, 0);
        EXPECT_TRUE(IsChecked(dialog, NO_COLOUR));
        UserChooses(dialog, COLOUR, 56);
        UserAccepts(dialog);
    };
    PickCommand(TAB_COLOUR);
    EXPECT_EQ(CurrentSheet()->tabColour, 63);
    HeadlessDialogs().whileOpen = nullptr;
    Fill({{u"无颜色", u"1"}});
    PickCommand(TAB_COLOUR);
    EXPECT_EQ(CurrentSheet()->tabColour, 0);
    PickCommand(130);
    EXPECT_EQ(CurrentSheet()->tabColour, 63);
    Fill({{u"无颜色", u"1"}}, false);
    PickCommand(TAB_COLOUR);
    EXPECT_EQ(CurrentSheet()->tabColour, 63);
}

// ---- the look of a condition -------------------------------------------------------------------------------

class ConditionLooks : public RuleCommands {
  protected:
    static constexpr i32 TYPE = 111, FIRST = 113, FORMAT = 117;
    // Controls of the pages of looks.
    static constexpr i32 PAGES_OF_LOOK = 400, FACE = 181, STYLE = 183, SIZE = 185, FONT_COLOUR = 187,
                         UNDERLINE = 188, STRIKEOUT = 189;
    static constexpr i32 LINE = 221, OUTLINE = 226, TOP = 229, HORIZONTAL = 233, PATTERN = 261, FORE = 263,
                         BACK = 265;

    // The command, with what the user does in the pages of looks.
    static void Ask(void (*user)(Dialog& dialog)) {
        look = user;
        HeadlessDialogs().whileOpen = [](Dialog& dialog) {
            if (dialog.title == Message(MSG_CELL_FORMAT_TITLE)) return look(dialog);
            UserChooses(dialog, TYPE, 1);
            if (ControlText(dialog, FIRST).empty()) UserEdits(dialog, FIRST, u"=A1>1");
            UserPresses(dialog, FORMAT);
            UserAccepts(dialog);
        };
        PickCommand(CONDITIONAL);
        HeadlessDialogs().whileOpen = nullptr;
    }
    static const ConditionalCondition& Condition() { return Formats()[0].conditions[0]; }
    static void (*look)(Dialog& dialog);
};
void (*ConditionLooks::look)(Dialog& dialog) = nullptr;

TEST_F(ConditionLooks, TheButtonAsksForWhatAConditionHolds) {
    SelectCells("A1", "A3");
    Ask([](Dialog& dialog) {
        // Fonts are not chosen by name and size, and there is neither a number nor a line inside.
        EXPECT_EQ(FindControl(dialog, FACE)->row.container, FindControl(dialog, STYLE)->row.container);
        EXPECT_FALSE(IsControlReachable(dialog, *FindControl(dialog, FACE)));
        EXPECT_FALSE(IsControlReachable(dialog, *FindControl(dialog, SIZE)));
        EXPECT_EQ(FindControl(dialog, 110), nullptr);
        EXPECT_EQ(FindControl(dialog, 140), nullptr);
        EXPECT_EQ(FindControl(dialog, 300), nullptr);
        EXPECT_EQ(ControlChoice(dialog, STYLE), -1);
        UserChooses(dialog, STYLE, 3);
        UserChooses(dialog, FONT_COLOUR, 3);
        UserChooses(dialog, UNDERLINE, 1);
        UserChooses(dialog, STRIKEOUT, 1);
        UserChooses(dialog, PAGES_OF_LOOK, 1);
        UserChooses(dialog, LINE, 2);
        UserPresses(dialog, OUTLINE);
        UserChooses(dialog, PAGES_OF_LOOK, 2);
        UserChooses(dialog, FORE, 6);
        EXPECT_EQ(ControlChoice(dialog, PATTERN), 1);
        UserAccepts(dialog);
    });
    ASSERT_EQ(Formats().Count(), 1u);
    const ConditionalCondition& c = Condition();
    EXPECT_TRUE(c.bold.present && c.bold.value == 1 && c.italic.present && c.italic.value == 1);
    EXPECT_TRUE(c.underline.present && c.underline.value == 1 && c.strikeout.present && c.strikeout.value == 1);
    EXPECT_TRUE(c.hasFontColour);
    EXPECT_EQ(c.fontColour, 10);
    EXPECT_TRUE(c.hasBorders);
    for (const OverrideByte& style : {c.topStyle, c.leftStyle, c.bottomStyle, c.rightStyle})
        EXPECT_TRUE(style.present && style.value == 2);
    // A solid fill is told by its back colour.
    EXPECT_TRUE(c.hasPattern && c.pattern.present && c.pattern.value == 1);
    EXPECT_TRUE(c.backColour.present);
    EXPECT_EQ(c.backColour.value, 13);
    EXPECT_EQ(UndoCount(), 1u);
}

TEST_F(ConditionLooks, WhatIsThereIsShownAndKeptUnlessItIsTouched) {
    SelectCells("A1", "A3");
    ConditionEdit edit;
    edit.condition.type = 2;
    edit.condition.bold = {true, 1};
    edit.condition.hasPattern = true;
    edit.condition.backColour = {true, 20};
    edit.condition.hasBorders = true;
    edit.condition.topStyle = {true, 5};
    edit.condition.topColour = 11;
    FormulaPlace place;
    ASSERT_EQ(ReadConditionValue(place, u"=A1>2", edit.condition.formula1), 0);
    ASSERT_TRUE(ApplyConditionalFormats({0, 0, CurrentSheet()->view.selection, std::span(&edit, 1)}));
    FreeCondition(edit.condition);
    Ask([](Dialog& dialog) {
        EXPECT_EQ(ControlChoice(dialog, STYLE), 2);  // bold
        EXPECT_EQ(ControlChoice(dialog, UNDERLINE), -1);
        EXPECT_EQ(ControlChoice(dialog, FONT_COLOUR), -1);
        EXPECT_TRUE(IsChecked(dialog, TOP));
        EXPECT_EQ(ControlChoice(dialog, PATTERN), 1);
        EXPECT_EQ(ControlChoice(dialog, FORE), 13);
        UserChooses(dialog, UNDERLINE, 1);
        UserAccepts(dialog);
    });
    const ConditionalCondition& c = Condition();
    EXPECT_TRUE(c.underline.present && c.underline.value == 1);
    EXPECT_TRUE(c.bold.present && c.bold.value == 1);
    EXPECT_FALSE(c.italic.present || c.strikeout.present || c.hasFontColour || c.leftStyle.present);
    EXPECT_TRUE(c.topStyle.present && c.topStyle.value == 5 && c.topColour == 11);
    EXPECT_FALSE(c.pattern.present || c.patternColour.present);
    EXPECT_EQ(c.backColour.value, 20);
    // A pattern of its own shows both colours, each in its place.
    Ask([](Dialog& dialog) {
        UserChooses(dialog, PAGES_OF_LOOK, 2);
        UserChooses(dialog, PATTERN, 4);
        UserChooses(dialog, BACK, 2);
        UserChooses(dialog, PAGES_OF_LOOK, 1);
        UserChooses(dialog, TOP, 0);
        UserAccepts(dialog);
    });
    EXPECT_EQ(Condition().pattern.value, 4);
    EXPECT_EQ(Condition().patternColour.value, 20);
    EXPECT_EQ(Condition().backColour.value, 9);
    EXPECT_TRUE(Condition().topStyle.present && !Condition().topStyle.value);
    // Cancelled it stays as it is.
    Ask([](Dialog& dialog) {
        UserChooses(dialog, STRIKEOUT, 1);
        UserCancels(dialog);
    });
    EXPECT_FALSE(Condition().strikeout.present);
}

}  // namespace
}  // namespace tally
