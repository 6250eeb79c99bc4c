#include <algorithm>
#include <array>

#include "shell/commands/Commands.h"
#include "shell/frame/Tables.h"

namespace tally {
namespace {

// Commands in a row that share a handler.
struct CommandRange {
    i32 first, last;
    CommandHandler handler;
};
constexpr CommandRange commandRanges[] = {
    {110, 110, NewBookCommand},
    {111, 111, OpenBookCommand},
    {112, 112, CloseBookCommand},
    {113, 113, SaveCommand},
    {114, 114, SaveAsCommand},
    {117, 117, nullptr},
    {118, 126, RecentFileCommand},
    {127, 127, ExitCommand},
    {130, 130, UndoCommand},
    {131, 134, ClipboardCommand},
    {135, 138, FillCommand},
    {139, 139, SeriesCommand},
    {140, 142, ClearCommand},
    {143, 143, nullptr},
    {144, 144, DeleteCommand},
    {145, 145, DeleteSheetCommand},
    {146, 146, MoveSheetCommand},
    {147, 148, nullptr},
    {149, 149, GoToCommand},
    {150, 150, EditCellCommand},
    {160, 160, InsertCellsCommand},
    {161, 162, InsertLinesCommand},
    {163, 163, InsertSheetCommand},
    {164, 165, nullptr},
    {166, 166, InsertSheetCommand},
    {167, 167, FunctionCommand},
    {168, 169, nullptr},
    {170, 171, ClockCommand},
    {172, 184, nullptr},
    {185, 323, nullptr},
    {330, 330, HyperlinkCommand},
    {389, 389, AutoSumCommand},
    {390, 390, nullptr},
    {391, 391, LineSizeCommand},
    {392, 392, FitCommand},
    {393, 394, HideLinesCommand},
    {395, 395, LineSizeCommand},
    {396, 396, FitCommand},
    {397, 398, HideLinesCommand},
    {399, 399, LineSizeCommand},
    {400, 400, RenameSheetCommand},
    {401, 401, HideSheetCommand},
    {402, 402, UnhideSheetCommand},
    {403, 404, ViewFlagCommand},
    {405, 409, ZoomCommand},
    {410, 410, CustomZoomCommand},
    {411, 411, ProtectCommand},
    {412, 412, ViewFlagCommand},
    {413, 413, nullptr},
    {414, 416, BookBarCommand},
    {417, 418, BarCommand},
    {419, 420, BarCommand},
    {421, 421, FullScreenCommand},
    {422, 422, nullptr},
    {423, 423, FreezeCommand},
    {424, 431, nullptr},
    {432, 437, FormatCommand},
    {438, 438, BarCommand},
    {439, 443, EntryBarCommand},
    {444, 445, ScreenSidewaysCommand},
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
        for (i32 id = range.first; id <= range.last; ++id) rows[count++] = {id, range.handler};
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

CommandHandler FindCommand(i32 id) {
    // Ascending by id, so that the search may halve.
    const auto row = std::lower_bound(commandRows.begin(), commandRows.end(), id,
                                      [](const CommandRow& r, i32 wanted) { return r.id < wanted; });
    return row != commandRows.end() && row->id == id ? row->handler : nullptr;
}

bool RunCommand(i32 id) {
    const CommandHandler handler = FindCommand(id);
    if (!handler) return false;
    handler(id);
    return true;
}

}  // namespace tally
