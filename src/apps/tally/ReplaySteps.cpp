// What each word of a script does: as the user would, through keys, the mouse and the menus.

#include <charconv>
#include <optional>

#include "apps/tally/Commands.h"
#include "apps/tally/Replay.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessForms.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr const char* noMemory = "out of memory";

const char* Fault(const char* text, int kind, int& status) {
    status = kind;
    return text;
}

// The first word of a text, which loses it.
std::string_view TakeWord(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(text.find_first_not_of(" \t", end), text.size()));
    return word;
}

std::optional<RefArea> ReadArea(std::string_view text) {
    WideText wide;
    if (!CurrentWorkbook() || !WideFromUtf8(wide, text)) return {};
    FormulaPlace place;
    place.book = CurrentBook();
    place.sheet = CurrentWorkbook()->currentSheet;
    const i32 length = static_cast<i32>(wide.Length());
    RefArea area;
    u8 nibble = 0;
    if (ParseReference(place, wide, 0, length, nullptr, area, nibble) != length) return {};
    return area;
}

std::optional<i32> ReadNumber(std::string_view text) {
    i32 number = 0;
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, number).ptr != end || text.empty()) return {};
    return number;
}

// ---- keys ------------------------------------------------------------------------------------------

struct KeyName {
    std::string_view name;
    u32 key;
};
constexpr KeyName keyNames[] = {
    {"Enter", VK_RETURN},  {"Tab", VK_TAB},       {"Escape", VK_ESCAPE}, {"Backspace", VK_BACK},
    {"Delete", VK_DELETE}, {"Insert", VK_INSERT}, {"Home", VK_HOME},     {"End", VK_END},
    {"PageUp", VK_PRIOR},  {"PageDown", VK_NEXT}, {"Left", VK_LEFT},     {"Right", VK_RIGHT},
    {"Up", VK_UP},         {"Down", VK_DOWN},     {"Space", VK_SPACE},   {"F2", VK_F2},
    {"F9", VK_F9},         {";", VK_OEM_1},       {"=", VK_OEM_PLUS},    {",", VK_OEM_COMMA},
    {".", VK_OEM_PERIOD},  {"`", VK_OEM_3},
};
struct ModifierName {
    std::string_view prefix;
    u32 modifier;
};
constexpr ModifierName modifierNames[] = {{"Ctrl+", KEY_CTRL}, {"Shift+", KEY_SHIFT}, {"Alt+", KEY_ALT}};

u32 TakeModifiers(std::string_view& text) {
    u32 modifiers = 0;
    for (bool found = true; found;) {
        found = false;
        for (const ModifierName& row : modifierNames) {
            if (!text.starts_with(row.prefix)) continue;
            text.remove_prefix(row.prefix.size());
            modifiers |= row.modifier;
            found = true;
        }
    }
    return modifiers;
}

u32 KeyOf(std::string_view name) {
    for (const KeyName& row : keyNames)
        if (row.name == name) return row.key;
    if (name.size() != 1) return 0;
    const char c = name[0];
    if (c >= 'a' && c <= 'z') return static_cast<u32>(c - 'a' + 'A');
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ? static_cast<u32>(c) : 0;
}

const char* StepKey(std::string_view rest, int& status) {
    const u32 modifiers = TakeModifiers(rest);
    const u32 key = KeyOf(rest);
    if (!key) return Fault("no such key", EXIT_USAGE, status);
    PressKey(key, modifiers);
    return nullptr;
}

const char* StepType(std::string_view rest, int& status) {
    WideText text;
    if (!WideFromUtf8(text, rest)) return Fault(noMemory, EXIT_DATA, status);
    TypeText(text);
    return nullptr;
}

const char* StepEnter(std::string_view rest, int& status) {
    if (const char* fault = StepType(rest, status)) return fault;
    PressKey(VK_RETURN);
    return nullptr;
}

// ---- places ----------------------------------------------------------------------------------------

const char* StepSelect(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(rest);
    if (!area) return Fault("no such cells", EXIT_USAGE, status);
    SelectArea(*area, true, area->firstRow, area->firstColumn, true);
    return nullptr;
}

const char* StepSheet(std::string_view rest, int& status) {
    WideText name;
    if (!WideFromUtf8(name, rest)) return Fault(noMemory, EXIT_DATA, status);
    const i32 sheet = CurrentBook() < 0 ? -1 : FindSheet(CurrentBook(), name);
    if (sheet < 0) return Fault("no such sheet", EXIT_DATA, status);
    SelectSheet(sheet);
    return nullptr;
}

bool CentreOf(std::string_view cell, i32& x, i32& y) {
    const std::optional<RefArea> area = ReadArea(cell);
    if (!area) return false;
    ScrollIntoView(area->firstRow, area->firstColumn);
    const PixelRect rect = AreaPixels(*area);
    x = (rect.left + rect.right) / 2;
    y = (rect.top + rect.bottom) / 2;
    return !IsEmptyRect(rect);
}

const char* StepClick(std::string_view rest, int& status) {
    const u32 modifiers = TakeModifiers(rest);
    i32 x = 0, y = 0;
    if (!CentreOf(rest, x, y)) return Fault("no such cell", EXIT_USAGE, status);
    ClickMouse(x, y, modifiers);
    return nullptr;
}

const char* StepDrag(std::string_view rest, int& status) {
    const std::string_view from = TakeWord(rest);
    i32 x = 0, y = 0, toX = 0, toY = 0;
    // The start last, so that it is surely in view.
    if (!CentreOf(rest, toX, toY) || !CentreOf(from, x, y) || !CentreOf(rest, toX, toY))
        return Fault("no such cell", EXIT_USAGE, status);
    DragMouse(x, y, toX, toY);
    return nullptr;
}

// ---- commands and their questions -------------------------------------------------------------------

// 1 enabled, 0 grey, -1 in no menu.
int MenuState(i32 command) {
    for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
        Array<MenuItem> items;
        if (!FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items)) continue;
        for (const MenuItem& item : items)
            if (item.command == command) return item.enabled;
    }
    return -1;
}

const char* StepCommand(std::string_view rest, int& status) {
    const std::optional<i32> command = ReadNumber(rest);
    if (!command || !FindCommand(*command)) return Fault("no such command", EXIT_USAGE, status);
    if (MenuState(*command) == 0) return Fault("the command is grey", EXIT_DATA, status);
    PickCommand(*command);
    return nullptr;
}

struct AnswerName {
    std::string_view name;
    i32 answer;
};
constexpr AnswerName answerNames[] = {
    {"ok", IDOK}, {"cancel", IDCANCEL}, {"yes", IDYES}, {"no", IDNO}, {"retry", IDRETRY}};

const char* StepBox(std::string_view rest, int& status) {
    for (const AnswerName& row : answerNames) {
        if (row.name != rest) continue;
        return Headless().answers.Append(row.answer) ? nullptr : Fault(noMemory, EXIT_DATA, status);
    }
    return Fault("a box is answered with ok, cancel, yes, no or retry", EXIT_USAGE, status);
}

const char* StepForm(std::string_view rest, int& status) {
    if (rest != "ok" && rest != "cancel")
        return Fault("a form is answered with ok or cancel", EXIT_USAGE, status);
    return AnswerForm(rest == "ok") ? nullptr : Fault(noMemory, EXIT_DATA, status);
}

const char* StepField(std::string_view rest, int& status) {
    const std::size_t equals = rest.find('=');
    if (equals == rest.npos || HeadlessForms().answers.IsEmpty())
        return Fault("a field stands behind a form, as NAME=VALUE", EXIT_USAGE, status);
    WideText field, value;
    const bool good = WideFromUtf8(field, rest.substr(0, equals)) &&
                      WideFromUtf8(value, rest.substr(equals + 1)) && EnterInForm(field, value);
    return good ? nullptr : Fault(noMemory, EXIT_DATA, status);
}

const char* StepFile(std::string_view rest, int& status) {
    HeadlessShellState& frame = HeadlessFrame();
    std::string_view path = rest;
    const std::optional<i32> filter = ReadNumber(TakeWord(path));
    if (!filter || path.empty()) path = rest;
    frame.dialogFilter = filter && path != rest ? *filter : -1;
    return WideFromPath(frame.dialogPath, path) ? nullptr : Fault(noMemory, EXIT_DATA, status);
}

// ---- looking ---------------------------------------------------------------------------------------

bool ShownText(const RefArea& area, WideText& out) {
    const Workbook& book = *CurrentWorkbook();
    CalculateCell(CurrentBook(), book.currentSheet, area.firstRow, area.firstColumn);
    const CellRecord* cell = GetCell(CurrentSheet()->cells, area.firstRow, area.firstColumn);
    out.Truncate(0);
    return !cell || DisplayText(book, cell->value, cell->format, out);
}

const char* StepExpect(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(TakeWord(rest));
    if (!area || !IsOneCell(*area)) return Fault("no such cell", EXIT_USAGE, status);
    WideText shown, wanted;
    if (!ShownText(*area, shown) || !WideFromUtf8(wanted, rest)) return Fault(noMemory, EXIT_DATA, status);
    if (shown.View() == wanted.View()) return nullptr;
    IgnoreFailure(Complain(EXIT_DATA, "the cell shows", shown));
    return Fault("the cell shows something else", EXIT_DATA, status);
}

const char* StepShow(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(rest);
    if (!area) return Fault("no such cells", EXIT_USAGE, status);
    return WriteCells(CurrentBook(), CurrentWorkbook()->currentSheet, *area)
               ? nullptr
               : Fault(noMemory, EXIT_DATA, status);
}

constexpr ReplayStep steps[] = {
    {"box", StepBox},     {"click", StepClick},   {"command", StepCommand}, {"drag", StepDrag},
    {"enter", StepEnter}, {"expect", StepExpect}, {"field", StepField},     {"file", StepFile},
    {"form", StepForm},   {"key", StepKey},       {"select", StepSelect},   {"sheet", StepSheet},
    {"show", StepShow},   {"type", StepType},
};

}  // namespace

const ReplayStep* FindReplayStep(std::string_view word) {
    for (const ReplayStep& step : steps)
        if (step.word == word) return &step;
    return nullptr;
}

void ShowReplayedBook() { SelectBook(CurrentBook()); }

}  // namespace tally
