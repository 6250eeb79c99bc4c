#pragma once
// The two tables that everything in the shell hangs from, and the accelerators.

#include "platform/ShellPlatform.h"

namespace tally {

// What a command needs, as bits that must all hold.
enum CommandRule : u32 {
    NEEDS_NOTHING = 0,
    NEEDS_BOOK = 1,
    NEEDS_GRID = 2,       // a sheet with cells and no drawing object selected
    NEEDS_UNLOCKED = 4,   // the sheet is not protected
    NEEDS_WORKSHEET = 8,  // not a macro sheet
    NOT_EDITING = 16,
    NEEDS_EDITING = 32,
    NOT_COLUMNS = 64,  // the selection is not of whole columns
    NOT_ROWS = 128,
    OTHER_SHEET = 256,  // another visible sheet exists
    NEEDS_SHEET = 512,  // a sheet with cells
    NEEDS_UNDO = 1024,
    HIDDEN_SHEET = 2048,       // one that can be shown again
    MAY_DELETE_SHEET = 4096,   // another worksheet and another visible sheet exist
    NO_FILTERED_RANGE = 8192,  // no filter is on, or whole lines are selected
    NEEDS_CLIPBOARD = 16384,   // something that can be pasted
    NEEDS_FILTER = 32768,      // a filter is on
};
constexpr u32 FREE_BOOK = NEEDS_BOOK | NOT_EDITING;
constexpr u32 FREE_GRID = NEEDS_GRID | NEEDS_UNLOCKED | NOT_EDITING;
constexpr u32 PLAIN_CELLS = NEEDS_GRID | NEEDS_WORKSHEET | NOT_EDITING;
constexpr u32 FREE_CELLS = PLAIN_CELLS | NEEDS_UNLOCKED;
// Also while an object is selected.
constexpr u32 FREE_WORKSHEET = NEEDS_SHEET | NEEDS_WORKSHEET | NEEDS_UNLOCKED | NOT_EDITING;

using CommandHandler = void (*)(i32 command);
struct CommandRow {
    i32 id;
    CommandHandler handler;  // null: not available, the menus show it grey
    u32 rules;               // CommandRule bits
    u32 menuRules;           // what the menu bar asks beside: a button beside the grid may be pressed without
};
constexpr std::size_t COMMAND_ROWS = 259;
std::span<const CommandRow> CommandTable();
// Null when the table has no such row.
const CommandRow* FindCommandRow(i32 id);
// Null when the table has no such row, or the row no handler.
CommandHandler FindCommand(i32 id);
// Whether a command has a handler and all that it needs. Menus, buttons, keys and the dispatch ask here.
bool CommandEnabled(i32 id);
// Runs a command that is enabled. False when the table has none of that number.
bool RunCommand(i32 id);

// The rules among `asked` that hold now.
u32 RulesThatHold(u32 asked);

using MessageHandler = bool (*)(const ShellMessage& message);
struct FrameMessageRow {
    u32 message;
    MessageHandler handler;
};
std::span<const FrameMessageRow> FrameMessageTable();

struct Accelerator {
    u32 key;
    u32 modifiers;
    i32 command;
};
std::span<const Accelerator> AcceleratorTable();

// WM_INITMENUPOPUP and the items themselves.
bool BuildMenu(MenuId menu, Array<MenuItem>& items);
bool GridMenu(Array<MenuItem>& items);
// Of the current sheet's tab.
bool SheetMenu(Array<MenuItem>& items);

}  // namespace tally
