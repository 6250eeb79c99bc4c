#pragma once
// The clipboard as formats and bytes: what is put there and read from there, whatever the toolkit calls it.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

// Formats with their published numbers, and those that have a name, which are numbered from 0xC000 on.
// Bytes of CF_TEXT are in the system's code page, of CF_UNICODETEXT UTF-16 units of this machine; neither has a
// zero at its end, and lines end with "\r\n". CF_DIB is a bitmap file without its file header.
// CF_PRIVATE is the program's own, under the name "Tallyman": nothing is ever attached to it, and it says that
// the clipboard is still what was put there.
enum ClipboardFormat : u32 {
    CF_TEXT = 1,
    CF_DIB = 8,
    CF_UNICODETEXT = 13,
    CF_FIRST_NAMED = 0xC000,
    CF_PRIVATE = CF_FIRST_NAMED,
    CF_CSV,   // "Csv": text with separators, in UTF-8
    CF_HTML,  // "HTML Format": a page in UTF-8, without what some clipboards want in front of it
    CF_FIRST_FREE,
};

struct ClipboardItem {
    u32 format = 0;
    ByteView bytes;  // the caller's
};

// The number of a named format, the same for the same name without regard to case; 0 when memory fails or there
// are too many names.
u32 RegisterClipboardFormat(WideView name);
// The name of a numbered format; empty for one that has none.
WideView ClipboardFormatName(u32 format);
void ResetClipboardFormats();

// ---- over the toolkit's rows -------------------------------------------------------------------------
// CF_UNICODETEXT as a text. False, and `out` empty, where there is none.
bool ReadClipboardText(WideText& out);
// Empties the clipboard and puts the marker and, when `text` is not null, both forms of the text there. False
// when not all of it is there; the marker alone may be.
bool PutClipboardText(const WideView* text, ByteView narrowText);
// CF_UNICODETEXT of a text: its own memory.
inline ByteView ClipboardBytes(WideView text) {
    return {reinterpret_cast<const u8*>(text.data()), text.size() * sizeof(char16_t)};
}

}  // namespace tally
