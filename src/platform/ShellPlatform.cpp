#include "platform/ShellPlatform.h"

namespace tally {
namespace {

constexpr FrameCalls nobody = {
    [](const ShellMessage&) { return false; },
    [](u32, u32) { return false; },
    [](EditHandle, u32, u32) { return false; },
    [](EditHandle, u32, u32) { return false; },
    [](EditHandle) { return true; },
    [](MenuId, Array<MenuItem>&) { return true; },
};

struct PlatformState {
    const ShellPlatformTable* table = nullptr;
    FrameCalls calls = nobody;
};
PlatformState state;

}  // namespace

const ShellPlatformTable& ShellPlatform() { return *state.table; }
void SetShellPlatform(const ShellPlatformTable* table) { state.table = table; }
bool HasShellPlatform() { return state.table != nullptr; }

const FrameCalls& FrameCallsInUse() { return state.calls; }
void UseFrameCalls(const FrameCalls& calls) { state.calls = calls; }

bool SendCommand(i32 command, CommandSender sender) {
    ShellMessage message;
    message.message = WM_COMMAND;
    message.command = command;
    message.sender = sender;
    return state.calls.sendMessage(message);
}

bool AppendPlainLabel(WideText& label, WideView text) {
    for (const char16_t c : text)
        if (!label.Append(c) || (c == u'&' && !label.Append(c))) return false;
    return true;
}

bool AddMenuItem(Array<MenuItem>& items, i32 command, WideView text, bool enabled, bool checked) {
    MenuItem* item = items.AppendDefault();
    if (!item) return false;
    item->command = command;
    item->enabled = enabled;
    item->checked = checked;
    return item->text.Assign(text);
}

}  // namespace tally
