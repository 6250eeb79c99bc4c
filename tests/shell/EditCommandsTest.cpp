#include "editing/Undo.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EditCommands : public ShellSandbox {
  protected:
    static void Type(std::string_view cell, std::string_view text) {
        Select(cell);
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void SelectRange(std::string_view from, std::string_view to) {
        i32 row = 0, column = 0, lastRow = 0, lastColumn = 0;
        ReadCellName(from, row, column);
        ReadCellName(to, lastRow, lastColumn);
        SelectArea({static_cast<u16>(row), static_cast<u16>(lastRow), static_cast<u8>(column),
                    static_cast<u8>(lastColumn)},
                   true, row, column, false);
    }
    static void Choose(std::string_view title, std::string_view item) {
        ASSERT_TRUE(AnswerDialog(true));
        ASSERT_TRUE(EnterInDialog(Wide(title), Wide(item)));
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
    static std::string Label(MenuId menu, i32 command) {
        Array<MenuItem> items;
        EXPECT_TRUE(FrameCallsInUse().menuItems(menu, items));
        for (const MenuItem& item : items)
            if (item.command == command) return Narrow(item.text);
        return "none";
    }
    static std::string Tabs() {
        std::string names;
        for (const Sheet* sheet : CurrentWorkbook()->sheets) names += Narrow(sheet->name) + " ";
        return names;
    }
};

TEST_F(EditCommands, UndoTakesBackATypedEntryAndGoesToItsCell) {
    Type("B2", "5");
    EXPECT_EQ(Active(), "B3");
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("B2"), "");
    EXPECT_EQ(Active(), "B2");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(EditCommands, UndoWhileTypingGoesToTheEntryLineAndLeavesTheList) {
    Type("A1", "5");
    Select("A2");
    TypeText(u"12");
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(UndoCount(), 1u);
    EXPECT_TRUE(IsEditing());
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(EditCommands, TheMenuNamesWhatWouldBeUndone) {
    EXPECT_EQ(Label(MENU_EDIT, 130), "撤消(&U)");
    EXPECT_FALSE(IsEnabled(MENU_EDIT, 130));
    Type("A1", "5");
    EXPECT_EQ(Label(MENU_EDIT, 130), "撤消(&U) 键入\tCtrl+Z");
    EXPECT_TRUE(IsEnabled(MENU_EDIT, 130));
    PickCommand(161);
    EXPECT_EQ(Label(MENU_EDIT, 130), "撤消(&U) 插入行\tCtrl+Z");
    PickCommand(130);
    PickCommand(130);
    EXPECT_FALSE(IsEnabled(MENU_EDIT, 130));
}

TEST_F(EditCommands, UndoGoesBackToTheOtherBook) {
    Type("A1", "5");
    PickCommand(110);
    EXPECT_EQ(CurrentBook(), 1);
    PickCommand(130);
    EXPECT_EQ(CurrentBook(), 0);
    EXPECT_EQ(Shown("A1"), "");
}

TEST_F(EditCommands, RowsAndColumnsOfTheSelectionAreInserted) {
    Type("A1", "1");
    Type("B2", "=A1");
    SelectRange("A1", "A2");
    PickCommand(161);
    EXPECT_EQ(Shown("A3"), "1");
    EXPECT_EQ(Shown("B4"), "1");
    EXPECT_EQ(Selection(), "A1:A2");
    Select("A1");
    PickCommand(162);
    EXPECT_EQ(Shown("C4"), "1");
    PickCommand(130);
    PickCommand(130);
    EXPECT_EQ(Shown("B2"), "1");
}

TEST_F(EditCommands, TheInsertDialogOffersFourWays) {
    struct Row {
        const char* choice;
        const char* moved;
    };
    const Row rows[] = {{"活动单元格右移", "D2"}, {"活动单元格下移", "C3"}, {"整行", "C3"}, {"整列", "D2"}};
    for (const Row& row : rows) {
        Type("C2", "x");
        Select("C2");
        Choose("插入", row.choice);
        PickCommand(160);
        EXPECT_EQ(Shown(row.moved), "x") << row.choice;
        EXPECT_EQ(Shown("C2"), "") << row.choice;
        EXPECT_TRUE(HeadlessDialogs().shown.Last().understood) << row.choice;
        PickCommand(130);
        EXPECT_EQ(Shown("C2"), "x") << row.choice;
    }
    const u32 forms = HeadlessDialogs().shown.Count();
    ASSERT_TRUE(AnswerDialog(false));
    PickCommand(160);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), forms + 1);
    EXPECT_EQ(Shown("C2"), "x");
}

TEST_F(EditCommands, TheDeleteDialogOffersFourWays) {
    struct Row {
        const char* choice;
        const char* from;
    };
    const Row rows[] = {{"右侧单元格左移", "D2"}, {"下方单元格上移", "C3"}, {"整行", "C3"}, {"整列", "D2"}};
    for (const Row& row : rows) {
        Type("C2", "x");
        Type(row.from, "y");
        Select("C2");
        Choose("删除", row.choice);
        PickCommand(144);
        EXPECT_EQ(Shown("C2"), "y") << row.choice;
        PickCommand(130);
        EXPECT_EQ(Shown("C2"), "x") << row.choice;
        EXPECT_EQ(Shown(row.from), "y") << row.choice;
        PickCommand(130);
    }
}

TEST_F(EditCommands, WholeRowsAndColumnsAskNothing) {
    Type("B2", "x");
    SelectArea({0, 0, 0, 255}, true, 0, 0, false);
    PickCommand(160);
    EXPECT_EQ(Shown("B3"), "x");
    PickCommand(144);
    EXPECT_EQ(Shown("B2"), "x");
    SelectArea({0, 65535, 0, 0}, true, 0, 0, false);
    PickCommand(160);
    EXPECT_EQ(Shown("C2"), "x");
    PickCommand(144);
    EXPECT_EQ(Shown("B2"), "x");
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 0u);
}

TEST_F(EditCommands, AProtectedSheetKeepsItsRows) {
    Type("A1", "1");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PickCommand(161);
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_FALSE(IsEnabled(MENU_INSERT, 161));
}

TEST_F(EditCommands, TheOnlyVisibleSheetCannotBeDeleted) {
    EXPECT_FALSE(IsEnabled(MENU_EDIT, 145));
    PickCommand(163);
    EXPECT_TRUE(IsEnabled(MENU_EDIT, 145));
    CurrentWorkbook()->sheets[0]->hidden = 1;
    EXPECT_FALSE(IsEnabled(MENU_EDIT, 145));
    PickCommand(145);
    EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 2u);
}

TEST_F(EditCommands, ADeletedSheetComesBackWithItsCells) {
    PickCommand(163);
    Type("A1", "7");
    SelectSheet(0);
    Type("A1", "=Sheet2!A1*2");
    SelectSheet(1);
    PickCommand(145);
    EXPECT_EQ(Tabs(), "Sheet1 ");
    EXPECT_EQ(Shown("A1"), "#REF!");
    PickCommand(130);
    EXPECT_EQ(Tabs(), "Sheet1 Sheet2 ");
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_EQ(Shown("A1"), "7");
    SelectSheet(0);
    EXPECT_EQ(Shown("A1"), "14");
}

TEST_F(EditCommands, ASheetIsMovedAndCopiedByItsDialog) {
    PickCommand(163);
    PickCommand(163);
    SelectSheet(0);
    Type("A1", "text");
    Choose("下列选定工作表之前:", "(移到最后)");
    PickCommand(146);
    EXPECT_EQ(Tabs(), "Sheet2 Sheet3 Sheet1 ");
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    EXPECT_EQ(UndoLabel(), u"移动工作表");
    PickCommand(130);
    EXPECT_EQ(Tabs(), "Sheet1 Sheet2 Sheet3 ");
    Choose("下列选定工作表之前:", "Sheet1");
    ASSERT_TRUE(EnterInDialog(u"建立副本", u"1"));
    PickCommand(146);
    EXPECT_EQ(Tabs(), "Sheet4 Sheet1 Sheet2 Sheet3 ");
    EXPECT_EQ(Shown("A1"), "text");
    EXPECT_EQ(UndoLabel(), u"复制工作表");
    PickCommand(130);
    EXPECT_EQ(Tabs(), "Sheet1 Sheet2 Sheet3 ");
}

TEST_F(EditCommands, AnInsertedSheetGoesAgain) {
    PickCommand(166);
    EXPECT_EQ(UndoLabel(), u"插入宏表");
    PickCommand(130);
    EXPECT_EQ(Tabs(), "Sheet1 ");
}

TEST_F(EditCommands, ClearingTakesContentsFormatsOrAll) {
    Type("A1", "5");
    Type("A2", "=A1+1");
    CellAtName("A1")->format = 16;
    SelectRange("A1", "A1");
    PickCommand(141);
    EXPECT_EQ(CellAtName("A1")->format, 15);
    EXPECT_EQ(Shown("A1"), "5");
    PickCommand(130);
    EXPECT_EQ(CellAtName("A1")->format, 16);
    PickCommand(142);
    EXPECT_EQ(Shown("A1"), "");
    EXPECT_EQ(CellAtName("A1")->format, 16);
    EXPECT_EQ(Shown("A2"), "1");
    PickCommand(130);
    EXPECT_EQ(Shown("A2"), "6");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 0, 0, 1}));
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"x"));
    SelectRange("A1", "B1");
    PickCommand(140);
    EXPECT_EQ(CellAtName("A1"), nullptr);
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    EXPECT_TRUE(CurrentSheet()->hyperlinks.IsEmpty());
    EXPECT_EQ(Shown("A2"), "1");
    EXPECT_EQ(UndoLabel(), u"清除");
    PickCommand(130);
    EXPECT_EQ(Shown("A2"), "6");
    EXPECT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
}

TEST_F(EditCommands, ProtectedCellsAndPartsOfArraysAreNotCleared) {
    Type("A1", "5");
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{0, 1, 0, 0}, 0, 0}));
    Select("A1");
    PickCommand(142);
    EXPECT_EQ(LastBox(), "不能改变数组的某一部分");
    PickCommand(141);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PickCommand(140);
    EXPECT_EQ(LastBox(), "单元格有保护");
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(EditCommands, ViewsAndSizesComeBack) {
    struct Row {
        i32 command;
        const char* label;
    };
    const Row rows[] = {{403, "网格线"},     {404, "行号列标"},  {412, "公式"}, {405, "显示比例"},
                        {393, "隐藏行"},     {397, "隐藏列"},    {396, "列宽"}, {392, "行高"},
                        {394, "取消隐藏行"}, {398, "取消隐藏列"}};
    Select("C3");
    for (const Row& row : rows) {
        Sheet& sheet = *CurrentSheet();
        const u16 flags = sheet.viewFlags;
        const i32 zoom = sheet.zoomPercent;
        const u32 infos = sheet.rows.Count() + sheet.columns.Count();
        PickCommand(row.command);
        EXPECT_EQ(Narrow(UndoLabel()), row.label);
        PickCommand(130);
        EXPECT_EQ(sheet.viewFlags, flags) << row.label;
        EXPECT_EQ(sheet.zoomPercent, zoom) << row.label;
        EXPECT_EQ(sheet.rows.Count() + sheet.columns.Count(), infos) << row.label;
    }
    PickCommand(423);
    EXPECT_EQ(UndoLabel(), u"冻结窗格");
    PickCommand(423);
    EXPECT_EQ(UndoLabel(), u"撤消窗口冻结");
    PickCommand(130);
    EXPECT_TRUE(CurrentSheet()->viewFlags & VIEW_FROZEN);
    PickCommand(130);
    EXPECT_FALSE(CurrentSheet()->viewFlags & VIEW_FROZEN);
    PickCommand(163);
    PickCommand(401);
    EXPECT_EQ(UndoLabel(), u"隐藏工作表");
    PickCommand(130);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_EQ(CurrentSheet()->hidden, 0);
}

}  // namespace
}  // namespace tally
