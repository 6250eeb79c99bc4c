// What each word of a script does: as the user would, through keys, the mouse and the menus.

#include <charconv>
#include <optional>

#include "apps/tally/Commands.h"
#include "apps/tally/Replay.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr u16 DONE = 0;

u16 Fault(u16 message, int kind, int& status) {
    status = kind;
    return message;
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

u16 StepKey(std::string_view rest, int& status) {
    const u32 modifiers = TakeModifiers(rest);
    const u32 key = KeyOf(rest);
    if (!key) return Fault(MSG_TALLY_NO_KEY, EXIT_USAGE, status);
    PressKey(key, modifiers);
    return DONE;
}

u16 StepType(std::string_view rest, int& status) {
    WideText text;
    if (!WideFromUtf8(text, rest)) return Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
    TypeText(text);
    return DONE;
}

u16 StepEnter(std::string_view rest, int& status) {
    if (const u16 fault = StepType(rest, status)) return fault;
    PressKey(VK_RETURN);
    return DONE;
}

// ---- places ----------------------------------------------------------------------------------------

u16 StepSelect(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(rest);
    if (!area) return Fault(MSG_TALLY_NO_CELLS, EXIT_USAGE, status);
    SelectArea(*area, true, area->firstRow, area->firstColumn, true);
    return DONE;
}

u16 StepSheet(std::string_view rest, int& status) {
    WideText name;
    if (!WideFromUtf8(name, rest)) return Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
    const i32 sheet = CurrentBook() < 0 ? -1 : FindSheet(CurrentBook(), name);
    if (sheet < 0) return Fault(MSG_TALLY_NO_SUCH_SHEET, EXIT_DATA, status);
    SelectSheet(sheet);
    return DONE;
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

u16 StepClick(std::string_view rest, int& status) {
    const u32 modifiers = TakeModifiers(rest);
    i32 x = 0, y = 0;
    if (!CentreOf(rest, x, y)) return Fault(MSG_TALLY_NO_CELL, EXIT_USAGE, status);
    ClickMouse(x, y, modifiers);
    return DONE;
}

u16 StepDrag(std::string_view rest, int& status) {
    const std::string_view from = TakeWord(rest);
    i32 x = 0, y = 0, toX = 0, toY = 0;
    // The start last, so that it is surely in view.
    if (!CentreOf(rest, toX, toY) || !CentreOf(from, x, y) || !CentreOf(rest, toX, toY))
        return Fault(MSG_TALLY_NO_CELL, EXIT_USAGE, status);
    DragMouse(x, y, toX, toY);
    return DONE;
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

u16 StepCommand(std::string_view rest, int& status) {
    const std::optional<i32> command = ReadNumber(rest);
    if (!command || !FindCommand(*command)) return Fault(MSG_TALLY_NO_COMMAND, EXIT_USAGE, status);
    if (MenuState(*command) == 0) return Fault(MSG_TALLY_GREY_COMMAND, EXIT_DATA, status);
    PickCommand(*command);
    return DONE;
}

struct AnswerName {
    std::string_view name;
    i32 answer;
};
constexpr AnswerName answerNames[] = {
    {"ok", IDOK}, {"cancel", IDCANCEL}, {"yes", IDYES}, {"no", IDNO}, {"retry", IDRETRY}};

u16 StepBox(std::string_view rest, int& status) {
    for (const AnswerName& row : answerNames) {
        if (row.name != rest) continue;
        return Headless().answers.Append(row.answer) ? DONE : Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
    }
    return Fault(MSG_TALLY_BAD_BOX, EXIT_USAGE, status);
}

u16 StepForm(std::string_view rest, int& status) {
    if (rest != "ok" && rest != "cancel") return Fault(MSG_TALLY_BAD_FORM_ANSWER, EXIT_USAGE, status);
    return AnswerDialog(rest == "ok") ? DONE : Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
}

u16 StepField(std::string_view rest, int& status) {
    const std::size_t equals = rest.find('=');
    if (equals == rest.npos || HeadlessDialogs().answers.IsEmpty())
        return Fault(MSG_TALLY_BAD_FIELD, EXIT_USAGE, status);
    WideText field, value;
    const bool good = WideFromUtf8(field, rest.substr(0, equals)) &&
                      WideFromUtf8(value, rest.substr(equals + 1)) && EnterInDialog(field, value);
    return good ? DONE : Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
}

u16 StepFile(std::string_view rest, int& status) {
    HeadlessShellState& frame = HeadlessFrame();
    std::string_view path = rest;
    const std::optional<i32> filter = ReadNumber(TakeWord(path));
    if (!filter || path.empty()) path = rest;
    frame.dialogFilter = filter && path != rest ? *filter : -1;
    return WideFromPath(frame.dialogPath, path) ? DONE : Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
}

// ---- looking ---------------------------------------------------------------------------------------

bool ShownText(const RefArea& area, WideText& out) {
    const Workbook& book = *CurrentWorkbook();
    CalculateCell(CurrentBook(), book.currentSheet, area.firstRow, area.firstColumn);
    const CellRecord* cell = GetCell(CurrentSheet()->cells, area.firstRow, area.firstColumn);
    out.Truncate(0);
    return !cell || DisplayText(book, cell->value, cell->format, out);
}

u16 StepExpect(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(TakeWord(rest));
    if (!area || !IsOneCell(*area)) return Fault(MSG_TALLY_NO_CELL, EXIT_USAGE, status);
    WideText shown, wanted;
    if (!ShownText(*area, shown) || !WideFromUtf8(wanted, rest))
        return Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
    if (shown.View() == wanted.View()) return DONE;
    IgnoreFailure(Complain(EXIT_DATA, MSG_TALLY_CELL_SHOWS, shown));
    return Fault(MSG_TALLY_CELL_DIFFERS, EXIT_DATA, status);
}

u16 StepShow(std::string_view rest, int& status) {
    const std::optional<RefArea> area = ReadArea(rest);
    if (!area) return Fault(MSG_TALLY_NO_CELLS, EXIT_USAGE, status);
    return WriteCells(CurrentBook(), CurrentWorkbook()->currentSheet, *area)
               ? DONE
               : Fault(MSG_OUT_OF_MEMORY, EXIT_DATA, status);
}

constexpr ReplayStep steps[] = {
    {"box", StepBox},           {"click", StepClick},     {"command", StepCommand}, {"drag", StepDrag},
    {"enter", StepEnter, true}, {"expect", StepExpect},   {"field", StepField},     {"file", StepFile},
    {"form", StepForm},         {"key", StepKey},         {"select", StepSelect},   {"sheet", StepSheet},
    {"show", StepShow},         {"type", StepType, true},
};

}  // namespace

const ReplayStep* FindReplayStep(std::string_view word) {
    for (const ReplayStep& step : steps)
        if (step.word == word) return &step;
    return nullptr;
}

void ShowReplayedBook() { SelectBook(CurrentBook()); }

}  // namespace tally
