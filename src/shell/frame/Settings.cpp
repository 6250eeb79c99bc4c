#include "shell/frame/Settings.h"

#include "base/Number.h"
#include "base/Text.h"
#include "model/Trust.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/IniFile.h"

namespace tally {
namespace {

constexpr WideView recentSection = u"Recent files";
constexpr WideView optionSection = u"Options";

// Where settings lie: the file beside the program, or the user's own store.
struct Store {
    bool ini = false;
    WideText path;
    IniText file;
};

Store OpenStore() {
    Store store;
    store.ini = SettingsUseIni(store.path) && ReadIniFile(store.path, store.file);
    return store;
}

bool ReadValue(const Store& store, WideView section, WideView key, WideText& out) {
    return store.ini ? FindIniValue(store.file.text, section, key, out)
                     : ShellPlatform().readSetting(section, key, out);
}

void WriteValue(Store& store, WideView section, WideView key, WideView value) {
    IgnoreFailure(store.ini ? PutIniValue(store.file.text, section, key, value)
                            : ShellPlatform().writeSetting(section, key, value));
}

bool RecentKey(u32 number, WideText& key) { return key.Assign(u"File") && AppendInteger(key, number); }

// A decimal number; absent, negative or anything else gives the default.
i32 ReadNumber(const Store& store, WideView key, i32 standard) {
    WideText text;
    if (!ReadValue(store, optionSection, key, text) || text.IsEmpty()) return standard;
    i64 number = 0;
    for (const char16_t c : text.View()) {
        if (!IsAsciiDigit(c)) return standard;
        number = number * 10 + (c - u'0');
        if (number > 0x7FFFFFFF) return standard;
    }
    return static_cast<i32>(number);
}

void WriteNumber(Store& store, WideView key, i64 number) {
    WideText text;
    if (AppendInteger(text, number)) WriteValue(store, optionSection, key, text);
}

constexpr WideView styleKeys[4] = {u"StdStyle", u"FmlStyle", u"FmtStyle", u"EntStyle"};
constexpr WideView indexKeys[4] = {u"StdIndex", u"FmlIndex", u"FmtIndex", u"EntIndex"};
constexpr WideView widthKeys[4] = {u"StdCx", u"FmlCx", u"FmtCx", u"EntCx"};
constexpr i32 defaultStyles[4] = {0x84, 0x85, 0x8D, 0x8D};
constexpr i32 BAND_HIDDEN = 8;

}  // namespace

bool SettingsUseIni(WideText& path) {
    return Platform().programDirectory(path) && path.Append(u"tallyman.ini") && Platform().fileExists(path);
}

void LoadSettings() {
    ShellState& shell = Shell();
    const Store store = OpenStore();
    for (u32 i = 0; i < 4; ++i) {
        const i32 style = ReadNumber(store, styleKeys[i], defaultStyles[i]);
        shell.bandHidden[i] = (style & BAND_HIDDEN) != 0;
        shell.bands[i] = {ReadNumber(store, indexKeys[i], static_cast<i32>(i)), style & ~BAND_HIDDEN,
                          ReadNumber(store, widthKeys[i], 0)};
    }
    shell.statusBarShown = ReadNumber(store, u"StsBarShow", 1) != 0;
    shell.aggregate = ReadNumber(store, u"StsBarFunc", 6);
    if (shell.aggregate >= AGGREGATE_COUNT) shell.aggregate = 6;
    shell.options5 = static_cast<u32>(ReadNumber(store, u"Options5", 0));
    shell.trustClosed = ReadNumber(store, u"TrustClosed", 0) != 0;
    CloseTrust(shell.trustClosed);
    shell.journalOn = ReadNumber(store, u"Journal", 1) != 0;
    shell.recent.Truncate(0);
    for (u32 i = 1; i <= RECENT_FILES; ++i) {
        WideText key, path;
        if (!RecentKey(i, key) || !ReadValue(store, recentSection, key, path) || path.IsEmpty()) continue;
        if (!shell.recent.Append(std::move(path))) return;
    }
}

void SaveSettings() {
    const ShellState& shell = Shell();
    Store store = OpenStore();
    i32 width = 0, height = 0;
    ShellPlatform().clientSize(width, height);
    for (u32 i = 1; i <= RECENT_FILES; ++i) {
        WideText key;
        const WideView path = i <= shell.recent.Count() ? shell.recent[i - 1].View() : WideView();
        if (RecentKey(i, key)) WriteValue(store, recentSection, key, path);
    }
    for (u32 i = 0; i < 4; ++i) {
        const BandLayout& band = shell.bands[i];
        WriteNumber(store, indexKeys[i], band.index);
        WriteNumber(store, styleKeys[i], band.style | (shell.bandHidden[i] ? BAND_HIDDEN : 0));
        WriteNumber(store, widthKeys[i], band.width ? band.width : width);
    }
    WriteNumber(store, u"StsBarShow", shell.statusBarShown);
    WriteNumber(store, u"StsBarFunc", shell.aggregate);
    WriteNumber(store, u"Options5", shell.options5);
    WriteNumber(store, u"TrustClosed", shell.trustClosed);
    WriteNumber(store, u"Journal", shell.journalOn);
    if (store.ini) IgnoreFailure(WriteIniFile(store.path, store.file));
}

}  // namespace tally
