#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/PrinterBlock.h"
#include "fileio/biff/SheetRecords.h"

namespace tally {
namespace {

bool ReadPageText(LoadState& load, ByteView body, WideText& out) {
    if (body.empty()) return true;
    const bool wide = load.biffVersion == 8;
    const std::size_t length = wide ? WordAt(body, 0) : ByteAt(body, 0);
    return ReadBiffString(From(body, wide ? 2 : 1), load.biffVersion, LoadedBook(load).codePage, length, out) !=
           STRING_FAILED;
}

// The older form has no ends of a break.
bool ReadBreaks(const LoadState& load, ByteView body, u16 last, Array<PageBreak>& out) {
    const bool wide = load.biffVersion == 8;
    const std::size_t size = wide ? 6 : 2;
    const std::size_t count = WordAt(body, 0);
    body = From(body, 2);
    for (std::size_t i = 0; i < count && body.size() >= size; ++i, body = From(body, size)) {
        PageBreak row = {WordAt(body, 0), 0, last};
        if (wide) row = {row.at, WordAt(body, 2), WordAt(body, 4)};
        if (!out.Append(row)) return false;
    }
    return true;
}

bool AppendBytes(Array<u8>& out, ByteView bytes) { return out.AppendMany(bytes.data(), bytes.size()); }

}  // namespace

bool ReadHeader(LoadState& load, ByteView body) {
    return ReadPageText(load, body, LoadedSheet(load).page.header);
}
bool ReadFooter(LoadState& load, ByteView body) {
    return ReadPageText(load, body, LoadedSheet(load).page.footer);
}

bool ReadSheetOptions(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.page.fitToPage = (WordAt(body, 0) & FIT_TO_PAGE) != 0;
    sheet.options.outlines = static_cast<u16>(WordAt(body, 0) & ~FIT_TO_PAGE);
    return true;
}

bool ReadDelta(LoadState& load, ByteView body) {
    LoadedSheet(load).options.precision = DoubleAt(body, 0);
    return true;
}

bool ReadPageSetup(LoadState& load, ByteView body) {
    Array<u8>& setup = LoadedSheet(load).page.setup;
    setup.Truncate(0);
    if (!AppendBytes(setup, Part(body, 0, SETUP_BYTES)) || !setup.Resize(SETUP_BYTES)) return false;
    if (body.size() >= SETUP_BYTES) return true;
    // An older form ends before the margins of header and footer and the count of copies.
    PutF64(setup.Data() + 16, 0.5);
    PutF64(setup.Data() + 24, 0.5);
    PutU16(setup.Data() + 32, 1);
    return true;
}

bool ReadPrinter(LoadState& load, ByteView body) {
    Array<u8>& printer = LoadedSheet(load).page.printer;
    if (!printer.IsEmpty() || WordAt(body, 0) != 0) return true;
    const ByteView block = From(body, 2);
    if (!(load.biffVersion == 8 ? AppendBytes(printer, block)
                                : WidenPrinter(LoadedBook(load).codePage, block, printer)))
        return false;
    BiffRecord more;
    while (PeekRecordId(load.stream) == RECORD_CONTINUE && NextRecord(load.stream, more)) {
        if (!AppendBytes(printer, more.body)) return false;
    }
    return true;
}

bool ReadRowBreaks(LoadState& load, ByteView body) {
    return ReadBreaks(load, body, MAX_COLUMNS - 1, LoadedSheet(load).page.rowBreaks);
}
bool ReadColumnBreaks(LoadState& load, ByteView body) {
    return ReadBreaks(load, body, 0xFFFF, LoadedSheet(load).page.columnBreaks);
}

bool ReadGuts(LoadState& load, ByteView body) {
    for (std::size_t i = 0; i < 4; ++i) LoadedSheet(load).page.guts[i] = WordAt(body, i * 2);
    return true;
}

}  // namespace tally
