#include "platform/Clipboard.h"

#include <cstring>

#include "base/Text.h"
#include "platform/ShellPlatform.h"

namespace tally {
namespace {

constexpr u32 MAX_NAMES = 256;
constexpr WideView knownNames[] = {u"Tallyman", u"Csv", u"HTML Format"};
static_assert(std::size(knownNames) == CF_FIRST_FREE - CF_FIRST_NAMED);

struct FormatNames {
    Array<WideText> names;  // from CF_FIRST_FREE on
};
FormatNames state;

}  // namespace

WideView ClipboardFormatName(u32 format) {
    if (format < CF_FIRST_NAMED) return {};
    if (format < CF_FIRST_FREE) return knownNames[format - CF_FIRST_NAMED];
    return format - CF_FIRST_FREE < state.names.Count() ? state.names[format - CF_FIRST_FREE].View()
                                                        : WideView();
}

u32 RegisterClipboardFormat(WideView name) {
    if (name.empty()) return 0;
    const u32 end = CF_FIRST_FREE + state.names.Count();
    for (u32 format = CF_FIRST_NAMED; format < end; ++format)
        if (EqualIgnoringCase(ClipboardFormatName(format), name)) return format;
    WideText own;
    if (state.names.Count() >= MAX_NAMES || !own.Assign(name) || !state.names.Append(std::move(own))) return 0;
    return end;
}

void ResetClipboardFormats() { state = FormatNames(); }

bool ReadClipboardText(WideText& out) {
    Array<u8> bytes;
    out.Truncate(0);
    if (!ShellPlatform().readClipboard(CF_UNICODETEXT, bytes)) return false;
    for (u32 i = 0; i + 1 < bytes.Count(); i += 2) {
        char16_t unit;
        std::memcpy(&unit, bytes.Data() + i, sizeof unit);
        if (!out.Append(unit)) return false;
    }
    return true;
}

bool PutClipboardText(const WideView* text, ByteView narrowText) {
    const ClipboardItem items[] = {
        {CF_UNICODETEXT, text ? ClipboardBytes(*text) : ByteView()}, {CF_TEXT, narrowText}, {CF_PRIVATE, {}}};
    const std::span<const ClipboardItem> all = items;
    if (text && ShellPlatform().putClipboard(all)) return true;
    // Where the text does not fit, the marker still says whose clipboard it is.
    return ShellPlatform().putClipboard(all.last(1)) && !text;
}

}  // namespace tally
