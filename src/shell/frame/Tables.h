#pragma once
// The two tables that everything in the shell hangs from, and the accelerators.

#include "platform/ShellPlatform.h"

namespace tally {

using CommandHandler = void (*)(i32 command);
struct CommandRow {
    i32 id;
    CommandHandler handler;  // null: not available, the menus show it grey
};
constexpr std::size_t COMMAND_ROWS = 259;
std::span<const CommandRow> CommandTable();
// Null when the table has no such row, or the row no handler.
CommandHandler FindCommand(i32 id);
// Runs a command as the menu does. False when there is none.
bool RunCommand(i32 id);

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

}  // namespace tally
