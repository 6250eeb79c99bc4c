#include "fileio/biff/PrinterBlock.h"

#include "base/Platform.h"
#include "fileio/biff/BiffReader.h"

namespace tally {
namespace {

constexpr std::size_t NAME_CHARACTERS = 32;  // of a device or form name, with its zero
constexpr std::size_t FIELD_BYTES = 38;      // between the two names
constexpr std::size_t SIZE_FIELD = 4;        // offset of the block's own size among them
constexpr u32 WIDE_MORE = 64;                // what the 16-bit names add to it

bool AppendBytes(Array<u8>& out, ByteView bytes) { return out.AppendMany(bytes.data(), bytes.size()); }

bool AppendWideName(u16 codePage, ByteView name, Array<u8>& out) {
    WideText text;
    if (ReadBiffString(name, 7, codePage, name.size(), text) == STRING_FAILED) return false;
    for (std::size_t i = 0; i < NAME_CHARACTERS; ++i) {
        const char16_t c = i < text.Length() && i + 1 < NAME_CHARACTERS ? text[i] : u'\0';
        if (!out.Append(static_cast<u8>(c)) || !out.Append(static_cast<u8>(c >> 8))) return false;
    }
    return true;
}

bool AppendNarrowName(u16 codePage, ByteView name, Array<u8>& out) {
    WideText text;
    Array<u8> bytes;
    if (!ReadWideCharacters(name, text)) return false;
    const u64 failures = FailedAllocations();
    if (!Platform().wideCharToMultiByte(codePage, text, bytes) && FailedAllocations() != failures) return false;
    for (std::size_t i = 0; i < NAME_CHARACTERS; ++i) {
        if (!out.Append(i < bytes.Count() && i + 1 < NAME_CHARACTERS ? bytes[i] : u8{0})) return false;
    }
    return true;
}

// The fields between the names, with the block's size changed by `more`.
bool AppendFields(ByteView fields, i32 more, Array<u8>& out) {
    const std::size_t start = out.Count();
    if (!AppendBytes(out, fields)) return false;
    u8* size = out.Data() + start + SIZE_FIELD;
    if (fields.size() >= SIZE_FIELD + 2) PutU16(size, static_cast<u32>(ReadU16(size) + more) & 0xFFFF);
    return true;
}

}  // namespace

bool WidenPrinter(u16 codePage, ByteView narrow, Array<u8>& out) {
    const std::size_t form = NAME_CHARACTERS + FIELD_BYTES;
    return AppendWideName(codePage, Part(narrow, 0, NAME_CHARACTERS), out) &&
           AppendFields(Part(narrow, NAME_CHARACTERS, FIELD_BYTES), WIDE_MORE, out) &&
           AppendWideName(codePage, Part(narrow, form, NAME_CHARACTERS), out) &&
           AppendBytes(out, From(narrow, form + NAME_CHARACTERS));
}

bool NarrowPrinter(u16 codePage, ByteView wide, Array<u8>& out) {
    const std::size_t fields = NAME_CHARACTERS * 2;
    const std::size_t form = fields + FIELD_BYTES;
    return AppendNarrowName(codePage, Part(wide, 0, fields), out) &&
           AppendFields(Part(wide, fields, FIELD_BYTES), -static_cast<i32>(WIDE_MORE), out) &&
           AppendNarrowName(codePage, Part(wide, form, NAME_CHARACTERS * 2), out) &&
           AppendBytes(out, From(wide, form + NAME_CHARACTERS * 2));
}

bool IsWholePrinter(ByteView wide) { return wide.size() >= NAME_CHARACTERS * 4 + FIELD_BYTES; }

}  // namespace tally
