#include "shell/frame/Settings.h"

#include "base/Number.h"
#include "base/Text.h"
#include "model/Trust.h"
#include "shell/frame/FramePaint.h"

namespace tally {
namespace {

constexpr WideView recentSection = u"Recent files";
constexpr WideView optionSection = u"Options";

bool RecentKey(u32 number, WideText& key) { return key.Assign(u"File") && AppendInteger(key, number); }

// A decimal number; absent, negative or anything else gives the default.
i32 ReadNumber(WideView key, i32 standard) {
    WideText text;
    if (!ShellPlatform().readSetting(optionSection, key, text) || text.IsEmpty()) return standard;
    i64 number = 0;
    for (const char16_t c : text.View()) {
        if (!IsAsciiDigit(c)) return standard;
        number = number * 10 + (c - u'0');
        if (number > 0x7FFFFFFF) return standard;
    }
    return static_cast<i32>(number);
}

void WriteNumber(WideView key, i64 number) {
    WideText text;
    if (AppendInteger(text, number)) IgnoreFailure(ShellPlatform().writeSetting(optionSection, key, text));
}

constexpr WideView styleKeys[4] = {u"StdStyle", u"FmlStyle", u"FmtStyle", u"EntStyle"};
constexpr i32 defaultStyles[4] = {0x84, 0x85, 0x8D, 0x8D};
constexpr i32 BAND_HIDDEN = 8;

}  // namespace

void LoadSettings() {
    ShellState& shell = Shell();
    for (u32 i = 0; i < 4; ++i)
        shell.bandHidden[i] = (ReadNumber(styleKeys[i], defaultStyles[i]) & BAND_HIDDEN) != 0;
    shell.statusBarShown = ReadNumber(u"StsBarShow", 1) != 0;
    shell.aggregate = ReadNumber(u"StsBarFunc", 6);
    if (shell.aggregate >= AGGREGATE_COUNT) shell.aggregate = 6;
    shell.options5 = static_cast<u32>(ReadNumber(u"Options5", 0));
    shell.trustClosed = ReadNumber(u"TrustClosed", 0) != 0;
    CloseTrust(shell.trustClosed);
    shell.recent.Truncate(0);
    for (u32 i = 1; i <= RECENT_FILES; ++i) {
        WideText key, path;
        if (!RecentKey(i, key) || !ShellPlatform().readSetting(recentSection, key, path) || path.IsEmpty())
            continue;
        if (!shell.recent.Append(std::move(path))) return;
    }
}

void SaveSettings() {
    const ShellState& shell = Shell();
    for (u32 i = 1; i <= RECENT_FILES; ++i) {
        WideText key;
        const WideView path = i <= shell.recent.Count() ? shell.recent[i - 1].View() : WideView();
        if (RecentKey(i, key)) IgnoreFailure(ShellPlatform().writeSetting(recentSection, key, path));
    }
    for (u32 i = 0; i < 4; ++i)
        WriteNumber(styleKeys[i], (defaultStyles[i] & ~BAND_HIDDEN) | (shell.bandHidden[i] ? BAND_HIDDEN : 0));
    WriteNumber(u"StsBarShow", shell.statusBarShown);
    WriteNumber(u"StsBarFunc", shell.aggregate);
    WriteNumber(u"Options5", shell.options5);
    WriteNumber(u"TrustClosed", shell.trustClosed);
}

}  // namespace tally
