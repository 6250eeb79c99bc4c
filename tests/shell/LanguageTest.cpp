// The window in both languages: what its menus, tips, forms, dialogs and boxes say.

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "base/MessageTable.h"
#include "model/CellStore.h"
#include "platform/Dialog.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

struct SeenDialog {
    std::string title;
    std::vector<std::string> labels, items;
};
struct Seen {
    std::vector<SeenDialog> dialogs;
    std::vector<std::string> filters;
};
Seen seen;

void SeeDialog(Dialog& dialog) {
    SeenDialog record;
    record.title = Narrow(dialog.title);
    for (const Control& control : dialog.controls) {
        record.labels.push_back(Narrow(control.label));
        for (const DialogItem& item : control.items) record.items.push_back(Narrow(item.text));
    }
    seen.dialogs.push_back(std::move(record));
}

bool SeeOpenDialog(std::span<const FileFilter> filters, WideText&) {
    for (const FileFilter& filter : filters) seen.filters.push_back(Narrow(filter.name));
    return false;
}
bool SeeSaveDialog(std::span<const FileFilter> filters, i32&, WideText& path) {
    return SeeOpenDialog(filters, path);
}

bool IsAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The letters behind "&"; one that stands twice is there twice. With a blank behind it, it is a word of its
// own.
std::string LettersOf(const std::string& text) {
    std::string letters;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '&' && text[i + 1] != ' ')
            letters += static_cast<char>(std::toupper(static_cast<unsigned char>(text[++i])));
    return letters;
}

std::string Doubles(std::string letters) {
    std::sort(letters.begin(), letters.end());
    std::string doubles;
    for (std::size_t i = 1; i < letters.size(); ++i)
        if (letters[i] == letters[i - 1]) doubles += letters[i];
    return doubles;
}

class LanguageTest : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        seen = Seen();
        watching = ShellPlatform();
        watching.runDialog = SeeDialog;
        watching.openFileDialog = SeeOpenDialog;
        watching.saveFileDialog = SeeSaveDialog;
        SetShellPlatform(&watching);
    }
    void TearDown() override {
        UseHeadlessShell();
        seen = Seen();
        ShellSandbox::TearDown();
    }
    static std::vector<std::string> TextsOf(const Array<MenuItem>& items) {
        std::vector<std::string> texts;
        for (const MenuItem& item : items)
            if (!item.text.IsEmpty()) texts.push_back(Narrow(item.text));
        return texts;
    }
    static std::vector<std::string> MenuTexts(i32 menu) {
        Array<MenuItem> items;
        EXPECT_TRUE(FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items));
        return TextsOf(items);
    }
    static std::vector<std::string> GridTexts() {
        Array<MenuItem> items;
        EXPECT_TRUE(GridMenu(items));
        return TextsOf(items);
    }
    static void RunAll(std::initializer_list<i32> commands) {
        for (const i32 command : commands) PickCommand(command);
    }
    // Every dialog that there is.
    static void SeeEveryDialog() {
        RunAll({111, 114, 139, 144, 146, 149, 160, 167, 330, 390, 391, 395, 399, 400, 410, 411});
        RunAll({132, 134});  // a block, then a text of another program
        const WideView text = u"x";
        CopyElsewhere(&text);
        RunAll({134, 163, 401, 402});
        CurrentSheet()->viewFlags |= VIEW_PROTECTED;
        CurrentSheet()->passwordHash = 1;
        RunAll({411});
    }
    ShellPlatformTable watching;
};

TEST_F(LanguageTest, NoMenuInEnglishShowsAnythingElse) {
    SetLanguage(LANGUAGE_ENGLISH);
    TypeText(u"1");
    PressKey(VK_RETURN);
    std::size_t items = 0;
    const auto look = [&](const std::vector<std::string>& texts) {
        items += texts.size();
        for (const std::string& text : texts) EXPECT_TRUE(IsAscii(text)) << text;
    };
    for (const u16 flags : {u16{0}, u16{VIEW_PROTECTED}, u16{VIEW_FROZEN}}) {
        CurrentSheet()->viewFlags |= flags;
        for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) look(MenuTexts(menu));
        CurrentSheet()->passwordHash = 1;
        look(MenuTexts(MENU_SHEET));
    }
    for (const RefArea& area : {RefArea{2, 3, 1, 2}, RefArea{2, 3, 0, 255}, RefArea{0, 65535, 2, 3}}) {
        SelectArea(area, true, area.firstRow, area.firstColumn, false);
        look(GridTexts());
        look(MenuTexts(MENU_EDIT));
        look(MenuTexts(MENU_INSERT));
    }
    EXPECT_GT(items, 300u);
}

TEST_F(LanguageTest, ItemsFollowTheLanguageAndWhatIsSelected) {
    const auto item = [](MenuId menu, i32 command) {
        Array<MenuItem> items;
        EXPECT_TRUE(FrameCallsInUse().menuItems(menu, items));
        for (const MenuItem& row : items)
            if (row.command == command) return Narrow(row.text);
        return std::string("none");
    };
    SetLanguage(LANGUAGE_ENGLISH);
    EXPECT_EQ(MenuTexts(MENU_BAR), (std::vector<std::string>{"&File", "&Edit", "&Insert", "F&ormat"}));
    TypeText(u"1");
    PressKey(VK_RETURN);
    EXPECT_EQ(item(MENU_EDIT, 130), "&Undo Typing\tCtrl+Z");
    EXPECT_EQ(item(MENU_EDIT, 144), "&Delete...");
    EXPECT_EQ(item(MENU_SHEET, 411), "&Protect...");
    EXPECT_EQ(item(MENU_FORMAT, 423), "&Freeze Panes");
    SelectArea({2, 3, 0, 255}, true, 2, 0, false);
    EXPECT_EQ(item(MENU_EDIT, 144), "&Delete");
    EXPECT_EQ(item(MENU_INSERT, 160), "C&ells");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED | VIEW_FROZEN;
    EXPECT_EQ(item(MENU_SHEET, 411), "Un&protect");
    EXPECT_EQ(item(MENU_FORMAT, 423), "Un&freeze Panes");
    SetLanguage(LANGUAGE_CHINESE);
    EXPECT_EQ(item(MENU_EDIT, 130), "撤消(&U) 键入\tCtrl+Z");
    EXPECT_EQ(item(MENU_SHEET, 411), "撤消保护(&P)");
    CurrentSheet()->passwordHash = 1;
    EXPECT_EQ(item(MENU_SHEET, 411), "撤消保护(&P)...");
}

TEST_F(LanguageTest, ALetterLeadsToOneItemOfAMenu) {
    for (const Language language : {LANGUAGE_CHINESE, LANGUAGE_ENGLISH}) {
        SetLanguage(language);
        for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
            std::string letters;
            for (const std::string& text : MenuTexts(menu)) letters += LettersOf(text);
            // Macro sheets and comments have shared a letter from the beginning.
            const bool shared = language == LANGUAGE_CHINESE && menu == MENU_INSERT;
            EXPECT_EQ(Doubles(letters), shared ? "M" : "") << "language " << language << " menu " << menu;
        }
        for (const RefArea& area : {RefArea{2, 3, 1, 2}, RefArea{2, 3, 0, 255}, RefArea{0, 65535, 2, 3}}) {
            SelectArea(area, true, area.firstRow, area.firstColumn, false);
            std::string letters;
            for (const std::string& text : GridTexts()) letters += LettersOf(text);
            EXPECT_EQ(Doubles(letters), "") << language;
            EXPECT_GE(letters.size(), 8u);
        }
    }
}

// Whoever changes the language finds most letters where they were.
TEST_F(LanguageTest, TheLettersOfTheMenusAreTheSameInBothLanguages) {
    for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
        std::string letters[LANGUAGE_COUNT];
        for (const Language language : {LANGUAGE_CHINESE, LANGUAGE_ENGLISH}) {
            SetLanguage(language);
            for (const std::string& text : MenuTexts(menu)) letters[language] += LettersOf(text);
        }
        if (menu == MENU_INSERT) EXPECT_EQ(letters[LANGUAGE_ENGLISH], "ERCWHMFNTODI");
        else EXPECT_EQ(letters[LANGUAGE_CHINESE], letters[LANGUAGE_ENGLISH]) << menu;
    }
}

TEST_F(LanguageTest, TheTipsOfTheButtonsFollowTheLanguage) {
    std::set<std::string> tips;
    for (const Language language : {LANGUAGE_CHINESE, LANGUAGE_ENGLISH}) {
        SetLanguage(language);
        for (const ToolbarButton& button : ToolbarButtons()) {
            const std::string tip = Narrow(Message(button.tip));
            EXPECT_FALSE(tip.empty()) << button.command;
            EXPECT_EQ(IsAscii(tip), language == LANGUAGE_ENGLISH) << tip;
            EXPECT_TRUE(tips.insert(tip).second) << tip;
        }
    }
    const ToolbarButton& first = ToolbarButtons().front();
    const PixelRect place = ButtonPlace(0);
    ASSERT_EQ(first.command, 110);
    EXPECT_TRUE(MoveOnToolbar((place.left + place.right) / 2, (place.top + place.bottom) / 2));
    EXPECT_EQ(Narrow(HeadlessFrame().toolTip), "New");
}

TEST_F(LanguageTest, EveryDialogInEnglishIsEnglish) {
    SetLanguage(LANGUAGE_ENGLISH);
    SeeEveryDialog();
    std::set<std::string> titles;
    for (const SeenDialog& dialog : seen.dialogs) {
        titles.insert(dialog.title);
        EXPECT_TRUE(IsAscii(dialog.title)) << dialog.title;
        for (const auto* texts : {&dialog.labels, &dialog.items})
            for (const std::string& text : *texts) EXPECT_TRUE(IsAscii(text)) << dialog.title << ": " << text;
    }
    EXPECT_EQ(titles,
              (std::set<std::string>{"Series", "Delete", "Format Cells", "Move or Copy", "Go To", "Insert",
                                     "Paste Function", "Hyperlink", "Row Height", "Column Width",
                                     "Standard Width", "Rename Sheet", "Zoom", "Protect Sheet", "Paste Special",
                                     "Unhide Sheet", "Unprotect Sheet"}));
    EXPECT_EQ(seen.filters.size(), 3u + 7u);
    for (const std::string& name : seen.filters) EXPECT_TRUE(IsAscii(name)) << name;
    for (const RecordedBox& box : Headless().boxes) EXPECT_TRUE(IsAscii(Narrow(box.text)));
}

TEST_F(LanguageTest, ALetterLeadsToOneControlOfADialog) {
    for (const Language language : {LANGUAGE_CHINESE, LANGUAGE_ENGLISH}) {
        SetLanguage(language);
        SeeEveryDialog();
        CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_PROTECTED);
        CurrentSheet()->passwordHash = 0;
    }
    EXPECT_GE(seen.dialogs.size(), 2u * 17u);
    for (const SeenDialog& dialog : seen.dialogs) {
        std::string letters;
        for (const std::string& text : dialog.labels) letters += LettersOf(text);
        EXPECT_EQ(Doubles(letters), "") << dialog.title;
    }
}

TEST_F(LanguageTest, TheStatusBarFollowsTheLanguage) {
    Enter("A1", "1");
    Enter("A2", "3");
    SelectArea({0, 1, 0, 0}, true, 0, 0, true);
    EXPECT_EQ(Readout(), "求和=4");
    SetLanguage(LANGUAGE_ENGLISH);
    EXPECT_EQ(Readout(), "Sum=4");
    for (i32 selector = 0; selector < AGGREGATE_COUNT; ++selector) {
        EXPECT_FALSE(AggregateLabel(selector).empty()) << selector;
        EXPECT_TRUE(IsAscii(Narrow(AggregateLabel(selector)))) << selector;
    }
}

TEST_F(LanguageTest, ABoxSpeaksTheLanguageInForce) {
    SetLanguage(LANGUAGE_ENGLISH);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PressKey('D', KEY_CTRL);
    TypeText(u"1");
    PressKey(VK_RETURN);
    ASSERT_FALSE(Headless().boxes.IsEmpty());
    for (const RecordedBox& box : Headless().boxes) EXPECT_EQ(Narrow(box.text), "The cell is protected");
}

}  // namespace
}  // namespace tally
