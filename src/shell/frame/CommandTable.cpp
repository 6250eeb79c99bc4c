#include <algorithm>
#include <array>

#include "shell/commands/Commands.h"
#include "shell/frame/Tables.h"

namespace tally {
namespace {

// Commands in a row that share a handler and what they need.
struct CommandRange {
    i32 first, last;
    CommandHandler handler;
    u32 rules;
    u32 menuRules = 0;
};
constexpr CommandRange commandRanges[] = {
    {110, 110, NewBookCommand, NOT_EDITING},
    {111, 111, OpenBookCommand, NOT_EDITING},
    {112, 112, CloseBookCommand, NEEDS_BOOK},
    {113, 113, SaveCommand, NEEDS_BOOK},
    {114, 114, SaveAsCommand, NEEDS_BOOK},
    {117, 117, nullptr, FREE_BOOK},
    {118, 126, RecentFileCommand, NOT_EDITING},
    {127, 127, ExitCommand, 0},
    {130, 130, UndoCommand, NEEDS_UNDO},
    {131, 132, ClipboardCommand, NEEDS_SHEET, NEEDS_GRID},
    {133, 133, ClipboardCommand, NEEDS_GRID | NEEDS_CLIPBOARD},
    {134, 134, ClipboardCommand, NEEDS_GRID | NEEDS_CLIPBOARD | NOT_EDITING},
    {135, 138, FillCommand, FREE_GRID},
    {139, 139, SeriesCommand, FREE_GRID},
    {140, 140, ClearCommand, 0},
    {141, 142, ClearCommand, NEEDS_GRID | NOT_EDITING},
    {143, 143, nullptr, NEEDS_GRID | NOT_EDITING},
    {144, 144, DeleteCommand, FREE_GRID | NO_FILTERED_RANGE},
    {145, 145, DeleteSheetCommand, FREE_BOOK | MAY_DELETE_SHEET},
    {146, 146, MoveSheetCommand, FREE_BOOK},
    {147, 147, nullptr, NEEDS_SHEET},
    {148, 148, nullptr, NEEDS_SHEET | NEEDS_UNLOCKED | NOT_EDITING},
    {149, 149, GoToCommand, NEEDS_SHEET | NOT_EDITING},
    {150, 150, EditCellCommand, NEEDS_SHEET | NOT_EDITING},
    {160, 160, InsertCellsCommand, FREE_GRID | NO_FILTERED_RANGE},
    {161, 161, InsertLinesCommand, FREE_GRID | NOT_COLUMNS},
    {162, 162, InsertLinesCommand, FREE_GRID | NOT_ROWS},
    {163, 163, InsertSheetCommand, FREE_BOOK},
    {164, 164, nullptr, FREE_BOOK},
    {165, 165, nullptr, FREE_WORKSHEET},
    {166, 166, InsertSheetCommand, FREE_BOOK},
    {167, 167, FunctionCommand, NEEDS_SHEET, NEEDS_GRID | NOT_EDITING},
    {168, 168, NameCommand, NEEDS_GRID | NOT_EDITING},
    {169, 169, nullptr, FREE_GRID},
    {170, 171, ClockCommand, NEEDS_SHEET},
    {172, 184, nullptr, FREE_WORKSHEET},
    {185, 323, nullptr, FREE_WORKSHEET},
    {330, 330, HyperlinkCommand, FREE_WORKSHEET},
    {389, 389, AutoSumCommand, NEEDS_SHEET},
    {390, 390, CellFormatCommand, FREE_GRID},
    {391, 391, LineSizeCommand, FREE_GRID},
    {392, 392, FitCommand, FREE_GRID},
    {393, 394, HideLinesCommand, FREE_GRID},
    {395, 395, LineSizeCommand, FREE_GRID},
    {396, 396, FitCommand, FREE_GRID},
    {397, 398, HideLinesCommand, FREE_GRID},
    {399, 399, LineSizeCommand, FREE_GRID},
    {400, 400, RenameSheetCommand, FREE_BOOK},
    {401, 401, HideSheetCommand, FREE_BOOK | OTHER_SHEET},
    {402, 402, UnhideSheetCommand, FREE_BOOK | HIDDEN_SHEET},
    {403, 404, ViewFlagCommand, NEEDS_SHEET | NOT_EDITING},
    {405, 409, ZoomCommand, NEEDS_SHEET | NOT_EDITING},
    {410, 410, CustomZoomCommand, NEEDS_SHEET | NOT_EDITING},
    {411, 411, ProtectCommand, NEEDS_SHEET | NOT_EDITING},
    {412, 412, ViewFlagCommand, NEEDS_SHEET | NOT_EDITING},
    {413, 413, TabColourCommand, FREE_BOOK},
    {414, 416, BookBarCommand, FREE_BOOK},
    {417, 418, BarCommand, FREE_BOOK},
    {419, 420, BarCommand, FREE_BOOK},
    {421, 421, FullScreenCommand, 0},
    {422, 422, ConditionalCommand, FREE_GRID},
    {423, 423, FreezeCommand, NEEDS_GRID | NOT_EDITING},
    {424, 425, nullptr, FREE_CELLS},
    {426, 426, nullptr, FREE_CELLS | NEEDS_FILTER},
    {427, 427, nullptr, FREE_CELLS},
    {428, 428, nullptr, PLAIN_CELLS},
    {429, 429, ValidationCommand, FREE_CELLS},
    {430, 430, nullptr, FREE_CELLS},
    {431, 431, nullptr, PLAIN_CELLS},
    {432, 437, FormatCommand, NEEDS_SHEET},
    {438, 438, BarCommand, FREE_BOOK},
    {439, 443, EntryBarCommand, NEEDS_EDITING},
    {444, 445, ScreenSidewaysCommand, NEEDS_SHEET},
};

consteval std::size_t CountCommands() {
    std::size_t count = 0;
    for (const CommandRange& range : commandRanges)
        count += static_cast<std::size_t>(range.last - range.first + 1);
    return count;
}
static_assert(CountCommands() == COMMAND_ROWS);

constexpr std::array<CommandRow, COMMAND_ROWS> commandRows = [] {
    std::array<CommandRow, COMMAND_ROWS> rows{};
    std::size_t count = 0;
    for (const CommandRange& range : commandRanges)
        for (i32 id = range.first; id <= range.last; ++id)
            rows[count++] = {id, range.handler, range.rules, range.menuRules};
    return rows;
}();

constexpr Accelerator accelerators[] = {
    {'1', KEY_CTRL, 390},
    {'C', KEY_CTRL, 132},
    {'D', KEY_CTRL, 135},
    {'E', KEY_CTRL, 150},
    {'F', KEY_CTRL, 147},
    {'G', KEY_CTRL, 149},
    {'H', KEY_CTRL, 148},
    {'K', KEY_CTRL, 330},
    {'N', KEY_CTRL, 110},
    {'O', KEY_CTRL, 111},
    {'P', KEY_CTRL, 117},
    {'R', KEY_CTRL, 136},
    {'S', KEY_CTRL, 113},
    {'V', KEY_CTRL, 133},
    {'X', KEY_CTRL, 131},
    {'Z', KEY_CTRL, 130},
    {VK_OEM_1, KEY_CTRL, 170},
    {VK_OEM_1, KEY_CTRL | KEY_SHIFT, 171},
    {VK_OEM_COMMA, KEY_CTRL, 170},
    {VK_OEM_PERIOD, KEY_CTRL, 171},
    {VK_OEM_PLUS, KEY_ALT, 389},
    {VK_INSERT, KEY_CTRL, 132},
    {VK_INSERT, KEY_SHIFT, 133},
    {VK_PRIOR, KEY_ALT, 444},
    {VK_NEXT, KEY_ALT, 445},
    {VK_PRIOR, KEY_ALT | KEY_SHIFT, 444},
    {VK_NEXT, KEY_ALT | KEY_SHIFT, 445},
};

}  // namespace

std::span<const CommandRow> CommandTable() { return commandRows; }
std::span<const Accelerator> AcceleratorTable() { return accelerators; }

const CommandRow* FindCommandRow(i32 id) {
    // Ascending by id, so that the search may halve.
    const auto row = std::lower_bound(commandRows.begin(), commandRows.end(), id,
                                      [](const CommandRow& r, i32 wanted) { return r.id < wanted; });
    return row != commandRows.end() && row->id == id ? &*row : nullptr;
}

CommandHandler FindCommand(i32 id) {
    const CommandRow* row = FindCommandRow(id);
    return row ? row->handler : nullptr;
}

bool CommandEnabled(i32 id) {
    const CommandRow* row = FindCommandRow(id);
    return row && row->handler && RulesThatHold(row->rules) == row->rules;
}

bool RunCommand(i32 id) {
    const CommandRow* row = FindCommandRow(id);
    if (!row) return false;
    if (!CommandEnabled(id)) return true;
    row->handler(id);
    NoteRun(id);
    return true;
}

}  // namespace tally
