#include "base/Platform.h"
#include "fileio/SheetRecords.h"

namespace tally {
namespace {

constexpr u16 CONTINUE = 60;
constexpr std::size_t SETUP_BYTES = 34;
constexpr std::size_t NARROW_DEVICE_BYTES = 32;  // of a device or form name
constexpr std::size_t DEVICE_FIELDS = 70;        // fields between the two names
constexpr u16 WIDE_MORE = 64;

bool ReadPageText(LoadState& load, ByteView body, WideText& out) {
    if (body.empty()) return true;
    const bool wide = load.biffVersion == 8;
    const std::size_t length = wide ? WordAt(body, 0) : ByteAt(body, 0);
    return ReadBiffString(From(body, wide ? 2 : 1), load.biffVersion, LoadedBook(load).codePage, length, out) !=
           STRING_FAILED;
}

bool AppendBytes(Array<u8>& out, ByteView bytes) { return out.AppendMany(bytes.data(), bytes.size()); }

// A device or form name of the narrow form as 32 16-bit characters.
bool AppendWideName(LoadState& load, ByteView name, Array<u8>& out) {
    if (ReadBiffString(name, 7, LoadedBook(load).codePage, name.size(), load.text) == STRING_FAILED)
        return false;
    for (std::size_t i = 0; i < NARROW_DEVICE_BYTES; ++i) {
        const char16_t c = i < load.text.Length() && i + 1 < NARROW_DEVICE_BYTES ? load.text[i] : u'\0';
        if (!out.Append(static_cast<u8>(c)) || !out.Append(static_cast<u8>(c >> 8))) return false;
    }
    return true;
}

// From the narrow form of the printer's block to the wide one.
bool WidenPrinter(LoadState& load, ByteView narrow, Array<u8>& out) {
    const std::size_t fields = NARROW_DEVICE_BYTES;
    const std::size_t form = fields + DEVICE_FIELDS - NARROW_DEVICE_BYTES;
    if (!AppendWideName(load, Part(narrow, 0, NARROW_DEVICE_BYTES), out)) return false;
    if (!AppendBytes(out, Part(narrow, fields, form - fields))) return false;
    if (out.Count() >= 70) PutU16(out.Data() + 68, ReadU16(out.Data() + 68) + u32{WIDE_MORE});
    return AppendWideName(load, Part(narrow, form, NARROW_DEVICE_BYTES), out) &&
           AppendBytes(out, From(narrow, form + NARROW_DEVICE_BYTES));
}

}  // namespace

bool ReadHeader(LoadState& load, ByteView body) {
    return ReadPageText(load, body, LoadedSheet(load).page.header);
}
bool ReadFooter(LoadState& load, ByteView body) {
    return ReadPageText(load, body, LoadedSheet(load).page.footer);
}

bool ReadSheetOptions(LoadState& load, ByteView body) {
    LoadedSheet(load).page.fitToPage = ByteAt(body, 1) & 1;
    return true;
}

bool ReadPageSetup(LoadState& load, ByteView body) {
    Array<u8>& setup = LoadedSheet(load).page.setup;
    setup.Truncate(0);
    if (!AppendBytes(setup, Part(body, 0, SETUP_BYTES))) return false;
    return setup.Resize(SETUP_BYTES);
}

bool ReadPrinter(LoadState& load, ByteView body) {
    Array<u8>& printer = LoadedSheet(load).page.printer;
    if (!printer.IsEmpty() || WordAt(body, 0) != 0) return true;
    const ByteView block = From(body, 2);
    if (!(load.biffVersion == 8 ? AppendBytes(printer, block) : WidenPrinter(load, block, printer)))
        return false;
    BiffRecord more;
    while (PeekRecordId(load.stream) == CONTINUE && NextRecord(load.stream, more)) {
        if (!AppendBytes(printer, more.body)) return false;
    }
    return true;
}

bool ReadGuts(LoadState& load, ByteView body) {
    for (std::size_t i = 0; i < 4; ++i) LoadedSheet(load).page.guts[i] = WordAt(body, i * 2);
    return true;
}

}  // namespace tally
