// The dialog for the look of cells, as a user fills it in.

#include "base/MessageTable.h"
#include "editing/AreaLook.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/dialogs/Pickers.h"
#include "shell/dialogs/Questions.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

struct FieldEntry {
    WideView field, value;
};

// The page is turned by its number in the list of pages.
constexpr WideView PAGES = u"400";

class CellFormatTest : public ShellSandbox {
  protected:
    static CellFormat FormatOf(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        return ResolveCellFormat(*CurrentWorkbook(), GetCellFormat(*CurrentSheet(), row, column));
    }
    static FontRecord FontOf(std::string_view cell) {
        return ResolveFont(*CurrentWorkbook(), FormatOf(cell).font);
    }
    static std::string CodeOf(std::string_view cell) {
        return Narrow(GetNumberFormatText(*CurrentWorkbook(), FormatOf(cell).numberFormat));
    }
    static void Give(std::string_view cell, const CellFormat& format) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, record->format));
    }
    static void Answer(WideView page, std::initializer_list<FieldEntry> entries) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(PAGES, page));
        for (const FieldEntry& entry : entries) ASSERT_TRUE(EnterInDialog(entry.field, entry.value));
    }
    static void Format(WideView page, std::initializer_list<FieldEntry> entries) {
        Answer(page, entries);
        PressKey('1', KEY_CTRL);
        ASSERT_FALSE(HeadlessDialogs().shown.IsEmpty());
        EXPECT_TRUE(HeadlessDialogs().shown.Last().understood);
    }
    static void SelectCells(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
    }
};

TEST_F(CellFormatTest, CategoriesMakeNumberFormatsOfTheirOwn) {
    const struct {
        WideView category, field, value;
        const char* code;
    } rows[] = {
        {u"数值", u"小数位数", u"3", "0.000"},
        {u"数值", u"小数位数", u"0", "0"},
        {u"百分比", u"小数位数", u"1", "0.0%"},
        {u"科学记数", u"小数位数", u"30", "0.000000000000000000000000000000E+00"},
        {u"分数", u"类型", u"1",
         "# ?"
         "?/?"
         "?"},
        {u"时间", u"类型", u"1", "h:mm"},
        {u"文本", u"分类", u"文本", "@"},
        {u"自定义", u"格式代码", u"[蓝色]0.0\"x\"", "[Blue]0.0\"x\""},
        {u"日期", u"类型", u"3", "mmm-yy"},
        {u"自定义", u"格式代码", u"常规", "General"},
        {u"自定义", u"格式代码", u"", "General"},
        {u"常规", u"分类", u"常规", "General"},
    };
    for (const auto& row : rows) {
        Format(u"数字", {{u"分类", row.category}, {row.field, row.value}});
        EXPECT_EQ(CodeOf("A1"), row.code) << Narrow(row.category);
    }
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    // Entered again it is found again.
    const u32 formats = CurrentWorkbook()->numberFormats.Count();
    Format(u"数字", {{u"分类", u"数值"}, {u"小数位数", u"3"}});
    EXPECT_EQ(CurrentWorkbook()->numberFormats.Count(), formats);
}

TEST_F(CellFormatTest, TheNumberPageShowsTheFormatThatTheCellHas) {
    static std::string shown[5];
    const struct {
        WideView code;
        const char *category, *decimals;
    } rows[] = {{u"0.000", "1", "3"},
                {u"0%", "6", "0"},
                {u"0.00E+00", "8", "2"},
                {u"@", "9", ""},
                {u"# ?"
                 "?/?"
                 "?",
                 "7", ""},
                {u"0.0_x", "10", ""},
                {u"General", "0", ""}};
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        shown[0] = std::to_string(ControlChoice(dialog, 111));
        shown[1] = Narrow(ControlText(dialog, 115));
        shown[2] = Narrow(FindControl(dialog, 113)->label);
    };
    Enter("A1", "0.5");
    Select("A1");
    for (const auto& row : rows) {
        CellFormat format;
        ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), row.code, format.numberFormat));
        Give("A1", format);
        ASSERT_TRUE(AnswerDialog(true));
        PickCommand(390);
        EXPECT_EQ(shown[0], row.category) << Narrow(row.code);
        EXPECT_EQ(shown[1], row.decimals) << Narrow(row.code);
        if (row.code == u"0.000") EXPECT_EQ(shown[2], "0.500");
        if (row.code == u"0%") EXPECT_EQ(shown[2], "50%");
        EXPECT_EQ(FormatOf("A1").numberFormat, format.numberFormat);
    }
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(UndoCount(), 0u);  // a dialog in which nothing was touched changes nothing
}

TEST_F(CellFormatTest, DecimalsOutsideOfTheirRangeAreRefusedAndThePageComesBack) {
    for (const WideView value : {u"31", u"-1", u"x", u"1.5", u""}) {
        Headless().boxes.Truncate(0);
        Answer(u"数字", {{u"分类", u"数值"}, {u"小数位数", value}, {PAGES, u"字体"}});
        Answer(u"数字", {{u"小数位数", u"1"}});
        PressKey('1', KEY_CTRL);
        ASSERT_EQ(Headless().boxes.Count(), 1u) << Narrow(value);
        EXPECT_EQ(Headless().boxes[0].text.View(), WideView(u"小数位数值应介于 0 到 30 之间"));
        EXPECT_EQ(CodeOf("A1"), "0.0");
    }
}

TEST_F(CellFormatTest, AlignmentTakesWhatIsTouched) {
    Format(u"对齐", {{u"水平对齐", u"居中"}, {u"垂直对齐", u"靠上"}, {u"自动换行", u"1"}});
    EXPECT_EQ(FormatOf("A1").horizontal, 2);
    EXPECT_EQ(FormatOf("A1").vertical, 0);
    EXPECT_EQ(FormatOf("A1").flags & FORMAT_WRAP, FORMAT_WRAP);
    EXPECT_EQ(FormatOf("A1").rotation, 0);
    const struct {
        WideView degrees;
        i32 rotation;
    } rows[] = {{u"45", 45}, {u"-45", 135}, {u"90", 90}, {u"-90", 180}, {u"0", 0}, {u"", 0}};
    for (const auto& row : rows) {
        Format(u"对齐", {{u"方向(度)", u"1"}, {u"方向(度)", row.degrees}});
        EXPECT_EQ(FormatOf("A1").rotation, row.rotation) << Narrow(row.degrees);
    }
    Format(u"对齐", {{u"竖排文字", u"1"}});
    EXPECT_EQ(FormatOf("A1").rotation, 255);
    Format(u"对齐", {{u"竖排文字", u"0"}});
    EXPECT_EQ(FormatOf("A1").rotation, 0);
    Answer(u"对齐", {{u"方向(度)", u"91"}});
    PressKey('1', KEY_CTRL);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(FormatOf("A1").rotation, 0);
}

TEST_F(CellFormatTest, MergingIsACheckAndUndoneWithCtrlZ) {
    Enter("B2", "x");
    SelectCells("A1", "B2");
    Format(u"对齐", {{u"合并单元格", u"1"}});
    ASSERT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
    EXPECT_EQ(Shown("A1"), "x");
    EXPECT_EQ(Line(), "x");
    PressKey('Z', KEY_CTRL);
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    EXPECT_EQ(Shown("B2"), "x");
}

TEST_F(CellFormatTest, TheFontPageGivesNameStyleSizeAndColour) {
    Format(u"字体", {{u"字体", u"Courier New"},
                     {u"字形", u"加粗 倾斜"},
                     {u"大小", u"13.5"},
                     {u"颜色", u"#FF0000"},
                     {u"下划线", u"1"},
                     {u"删除线", u"1"}});
    const FontRecord font = FontOf("A1");
    EXPECT_EQ(WideView(font.faceName), WideView(u"Courier New"));
    EXPECT_EQ(font.weight, 700);
    EXPECT_EQ(font.attributes, FONT_ITALIC | FONT_STRIKEOUT);
    EXPECT_EQ(font.height, 270);
    EXPECT_EQ(font.colour, 10);
    EXPECT_EQ(font.underline, 1);
    Format(u"字体", {{u"颜色", u"自动"}});
    EXPECT_EQ(FontOf("A1").colour, AUTOMATIC_COLOUR);
    EXPECT_EQ(FontOf("A1").height, 270);
    for (const WideView size : {u"0.5", u"410", u"big"}) {
        Headless().boxes.Truncate(0);
        Answer(u"字体", {{u"大小", size}});
        ASSERT_TRUE(AnswerDialog(false));
        PressKey('1', KEY_CTRL);
        EXPECT_EQ(Headless().boxes.Count(), 1u) << Narrow(size);
        EXPECT_EQ(FontOf("A1").height, 270);
    }
}

TEST_F(CellFormatTest, BordersAreDrawnWithTheChosenLineByPresetsAndChecks) {
    SelectCells("B2", "C3");
    Format(u"边框", {{u"线条样式", u"线条 5"},
                     {u"颜色", u"#FF0000"},
                     {u"外边框", u""},
                     {u"线条样式", u"线条 3"},
                     {u"水平内线", u"1"}});
    EXPECT_EQ(FormatOf("B2").topStyle, 5);
    EXPECT_EQ(FormatOf("B2").topColour, 10);
    EXPECT_EQ(FormatOf("B2").bottomStyle, 3);
    EXPECT_EQ(FormatOf("B2").rightStyle, 0);
    EXPECT_EQ(FormatOf("C3").bottomStyle, 5);
    EXPECT_EQ(FormatOf("C3").rightStyle, 5);
    // One line is taken away, the others stay.
    Format(u"边框", {{u"上边", u"0"}});
    EXPECT_EQ(FormatOf("B2").topStyle, 0);
    EXPECT_EQ(FormatOf("B2").leftStyle, 5);
    EXPECT_EQ(FormatOf("C3").bottomStyle, 5);
    Format(u"边框", {{u"无", u""}, {u"内部", u""}});
    EXPECT_EQ(FormatOf("B2").leftStyle, 0);
    EXPECT_EQ(FormatOf("B2").bottomStyle, 1);
    EXPECT_EQ(FormatOf("B2").rightStyle, 1);
    EXPECT_EQ(FormatOf("B2").rightColour, 64);
    EXPECT_EQ(FormatOf("C3").bottomStyle, 0);
}

TEST_F(CellFormatTest, InnerLinesAreOfferedOnlyWhereThereAreAny) {
    static bool flat, upright, inside;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        flat = FindControl(dialog, 233)->enabled;
        upright = FindControl(dialog, 234)->enabled;
        inside = FindControl(dialog, 227)->enabled;
    };
    const struct {
        const char *first, *last;
        bool flat, upright;
    } rows[] = {{"A1", "A1", false, false},
                {"A1", "A2", true, false},
                {"A1", "B1", false, true},
                {"A1", "B2", true, true}};
    for (const auto& row : rows) {
        SelectCells(row.first, row.last);
        PickCommand(390);
        EXPECT_EQ(flat, row.flat) << row.last;
        EXPECT_EQ(upright, row.upright) << row.last;
        EXPECT_EQ(inside, row.flat || row.upright) << row.last;
    }
    HeadlessDialogs().whileOpen = nullptr;
}

TEST_F(CellFormatTest, ASolidFillShowsTheColourThatWasChosen) {
    Format(u"图案", {{u"前景色", u"#FF0000"}});
    EXPECT_EQ(FormatOf("A1").pattern, 1);
    EXPECT_EQ(FormatOf("A1").backColour, 10);
    Format(u"图案", {{u"图案", u"图案 5"}, {u"背景色", u"#00FF00"}});
    EXPECT_EQ(FormatOf("A1").pattern, 5);
    EXPECT_EQ(FormatOf("A1").patternColour, 10);
    EXPECT_EQ(FormatOf("A1").backColour, 11);
    Format(u"图案", {{u"图案", u"无"}});
    EXPECT_EQ(FormatOf("A1").pattern, 0);
}

TEST_F(CellFormatTest, ProtectionTakesItsTwoFlagsAndHasItsNote) {
    static std::string note;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) { note = Narrow(FindControl(dialog, 302)->label); };
    Format(u"保护", {{u"锁定", u"0"}, {u"隐藏公式", u"1"}});
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(FormatOf("A1").flags, FORMAT_HIDDEN);
    EXPECT_EQ(note, "Locked cells can be changed\nwhen the sheet is not protected.");
}

TEST_F(CellFormatTest, WhatDiffersBeginsUndecidedAndStaysUntouched) {
    CellFormat one, other;
    one.horizontal = 1;
    one.flags = FORMAT_LOCKED | FORMAT_WRAP;
    one.numberFormat = 2;
    one.pattern = 1;
    one.backColour = 10;
    one.topStyle = 1;
    one.rotation = 30;
    ASSERT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Other", true, true, true, true, 300, 10, one.font));
    Give("A1", one);
    Give("B1", other);
    SelectCells("A1", "B1");
    static i32 choices[14];
    static std::string texts[3];
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        i32 i = 0;
        for (const i32 id : {111, 141, 146, 147, 183, 187, 188, 189, 229, 261, 263, 265, 300, 143})
            choices[i++] = ControlChoice(dialog, id);
        texts[0] = Narrow(ControlText(dialog, 181));
        texts[1] = Narrow(ControlText(dialog, 185));
        texts[2] = Narrow(ControlText(dialog, 145));
    };
    Format(u"对齐", {{u"垂直对齐", u"居中"}});
    HeadlessDialogs().whileOpen = nullptr;
    for (i32 i = 0; i < 12; ++i) EXPECT_EQ(choices[i], -1) << i;
    EXPECT_EQ(choices[12], 1);
    EXPECT_EQ(choices[13], 2);
    for (const std::string& text : texts) EXPECT_EQ(text, "");
    one.vertical = other.vertical = 1;
    u16 index = 0;
    const u32 formats = CurrentWorkbook()->cellFormats.Count();
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), one, index));
    EXPECT_EQ(CellAtName("A1")->format, index);
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), other, index));
    EXPECT_EQ(CellAtName("B1")->format, index);
    EXPECT_EQ(CurrentWorkbook()->cellFormats.Count(), formats);
}

TEST_F(CellFormatTest, ACancelledDialogAndAProtectedSheetChangeNothing) {
    ASSERT_TRUE(AnswerDialog(false) && EnterInDialog(PAGES, u"对齐") && EnterInDialog(u"自动换行", u"1"));
    PressKey('1', KEY_CTRL);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
    EXPECT_EQ(HeadlessDialogs().shown[0].title.View(), WideView(u"单元格格式"));
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    EXPECT_EQ(UndoCount(), 0u);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PressKey('1', KEY_CTRL);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
}

TEST_F(CellFormatTest, OnlyThePagesAskedForAreThere) {
    static u32 pages;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        pages = 0;
        for (const Control& control : dialog.controls)
            if (control.row.kind == CONTROL_PAGE && control.container >= 0)
                pages |= 1u << (control.row.id - 401);
    };
    for (const u32 asked : {u32{FORMAT_PAGES_ALL}, u32{FORMAT_PAGES_OF_TEXT}, 28u, u32{FORMAT_PAGE_FONT}}) {
        CellFormatQuestion question;
        question.pages = asked;
        EXPECT_FALSE(AskCellFormat(question));
        EXPECT_EQ(pages, asked);
    }
    CellFormatQuestion question;
    question.pages = 28;
    question.namedFonts = false;
    HeadlessDialogs().whileOpen = nullptr;
    Answer(u"字体", {{u"字形", u"加粗"}, {PAGES, u"图案"}, {u"图案", u"图案 2"}});
    EXPECT_TRUE(AskCellFormat(question));
    EXPECT_TRUE(question.request.bold.present && question.request.bold.value == 1);
    EXPECT_TRUE(question.request.pattern.present && question.request.pattern.value == 2);
    EXPECT_FALSE(question.request.fontName.present || question.request.topEdge.present);
    EXPECT_EQ(question.formatKind, -1);
    Answer(u"字体", {{u"大小", u"12"}});  // greyed
    EXPECT_TRUE(AskCellFormat(question));
    EXPECT_FALSE(HeadlessDialogs().shown.Last().understood && question.request.fontSize.present);
}

// ---- painted controls ------------------------------------------------------------------------------------

void Send(Dialog& dialog, DialogEventKind kind, i32 control, i32 value, i32 x = 0, i32 y = 0) {
    IgnoreFailure(SendDialogEvent(dialog, {.kind = kind, .control = control, .value = value, .x = x, .y = y}));
}

TEST_F(CellFormatTest, APickerIsMovedByKeysAndItsListByKeysAndTheMouse) {
    static i32 seen[8];
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        if (HeadlessDialogs().depth > 1) {
            const PixelRect place = FindControl(dialog, FIRST_CONTROL)->place;
            if (!seen[6]++) {
                // The second item of the second row of colours.
                const i32 x = (place.right - place.left) / 8 + 3, y = (place.bottom - place.top) * 2 / 8 + 2;
                Send(dialog, DIALOG_MOUSE, FIRST_CONTROL, WM_MOUSEMOVE, x, y);
                Send(dialog, DIALOG_MOUSE, FIRST_CONTROL, WM_LBUTTONUP, x, y);
            } else {
                Send(dialog, DIALOG_KEY, FIRST_CONTROL, VK_HOME);
                Send(dialog, DIALOG_KEY, FIRST_CONTROL, VK_RIGHT);
                Send(dialog, DIALOG_KEY, FIRST_CONTROL, VK_DOWN);
                Send(dialog, DIALOG_KEY, FIRST_CONTROL, VK_SPACE);
            }
            return;
        }
        UserChooses(dialog, 400, 2);
        for (i32 i = 0; const KeyCode key : {VK_END, VK_UP, VK_HOME, VK_DOWN}) {
            Send(dialog, DIALOG_KEY, 187, static_cast<i32>(key));
            seen[i++] = ControlChoice(dialog, 187);
        }
        Send(dialog, DIALOG_MOUSE, 187, WM_LBUTTONUP, 3, 3);
        seen[4] = ControlChoice(dialog, 187);
        Send(dialog, DIALOG_KEY, 187, VK_SPACE);
        seen[5] = ControlChoice(dialog, 187);
        Send(dialog, DIALOG_MOUSE, 187, WM_LBUTTONUP, -3, 3);  // let go beside it
    };
    ASSERT_TRUE(AnswerDialog(true));
    std::fill(std::begin(seen), std::end(seen), 0);
    PickCommand(390);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(seen[0], 56);
    EXPECT_EQ(seen[1], 55);
    EXPECT_EQ(seen[2], 0);
    EXPECT_EQ(seen[3], 1);
    EXPECT_EQ(seen[4], 1 + 8 + 1);
    EXPECT_EQ(seen[5], 9);
    EXPECT_EQ(seen[6], 2);
    EXPECT_EQ(FontOf("A1").colour, 16);
}

TEST_F(CellFormatTest, PickersMapColoursAndNameTheirItems) {
    for (i32 colour = 8; colour < 64; ++colour) EXPECT_EQ(ColourOfItem(ItemOfColour(colour), -5), colour);
    for (const i32 automatic : {64, 65, 32767}) EXPECT_EQ(ItemOfColour(automatic), 0);
    EXPECT_EQ(ItemOfColour(2), ItemOfColour(10));
    EXPECT_EQ(ItemOfColour(-1), -1);
    EXPECT_EQ(ColourOfItem(0, 64), 64);
    EXPECT_EQ(ColourOfItem(-1, 65), 65);
    static std::string names[4];
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        names[0] = Narrow(FindControl(dialog, 187)->items[0].text);
        names[1] = Narrow(FindControl(dialog, 187)->items[3].text);
        names[2] = Narrow(FindControl(dialog, 221)->items[13].text);
        names[3] = Narrow(FindControl(dialog, 261)->items[0].text);
    };
    PickCommand(390);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(names[0], "自动");
    EXPECT_EQ(names[1], "#FF0000");
    EXPECT_EQ(names[2], "线条 13");
    EXPECT_EQ(names[3], "无");
    for (const auto& [kind, items] :
         {std::pair{PICK_COLOUR, 57}, {PICK_BORDER, 14}, {PICK_PATTERN, 19}, {PICK_LINE, 9}})
        EXPECT_EQ(PickerItems(kind), items);
}

TEST_F(CellFormatTest, APressOnTheExemplarDrawsTheLineThereAndAnotherTakesItAway) {
    static i32 styles[2];
    SelectCells("B2", "C3");
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        UserChooses(dialog, 400, 3);
        UserChooses(dialog, 221, 2);
        const PixelRect place = FindControl(dialog, 235)->place;
        const i32 width = place.right - place.left, height = place.bottom - place.top;
        Send(dialog, DIALOG_MOUSE, 235, WM_LBUTTONDOWN, width / 4, height / 2);
        styles[0] = ControlChoice(dialog, 233);
        Send(dialog, DIALOG_MOUSE, 235, WM_LBUTTONDOWN, width / 4, 12);
        Send(dialog, DIALOG_MOUSE, 235, WM_LBUTTONDOWN, width / 4, 12);
        styles[1] = ControlChoice(dialog, 229);
    };
    ASSERT_TRUE(AnswerDialog(true));
    PickCommand(390);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(styles[0], 1);
    EXPECT_EQ(styles[1], 0);
    EXPECT_EQ(FormatOf("B2").bottomStyle, 2);
    EXPECT_EQ(FormatOf("B2").topStyle, 0);
    EXPECT_EQ(FormatOf("B2").rightStyle, 0);
}

}  // namespace
}  // namespace tally
