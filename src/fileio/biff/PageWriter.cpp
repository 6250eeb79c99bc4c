#include <algorithm>

#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/PrinterBlock.h"
#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"

// The records of the page and of the sheet as a whole.

namespace tally {
namespace {

constexpr std::size_t PAGE_TEXT_MOST = 255;

struct MarginRecord {
    u16 id;
    double PageSettings::*field;
};
constexpr MarginRecord margins[] = {{RECORD_LEFTMARGIN, &PageSettings::leftMargin},
                                    {RECORD_RIGHTMARGIN, &PageSettings::rightMargin},
                                    {RECORD_TOPMARGIN, &PageSettings::topMargin},
                                    {RECORD_BOTTOMMARGIN, &PageSettings::bottomMargin}};

void WritePageText(SaveState& save, u16 id, WideView text) {
    if (text.empty()) return WriteEmptyRecord(save.writer, id);
    BeginBody(save);
    if (save.biffVersion == 8) {
        WriteLongString(save, save.body, CutText(save, text, PAGE_TEXT_MOST));
    } else {
        WriteShortString(save, save.body, text);
    }
    IgnoreFailure(EndBody(save, id));
}

void WriteGuts(SaveState& save, const PageSettings& page) {
    WriteRecordHeader(save.writer, RECORD_GUTS, sizeof page.guts);
    for (const u16 size : page.guts) WriteU16(save.writer, size);
}

void WritePrinter(SaveState& save, const Array<u8>& printer) {
    const bool form8 = save.biffVersion == 8;
    if (printer.IsEmpty() || (!form8 && !IsWholePrinter(printer.Span()))) return;
    BeginBody(save);
    WriteU16(save.body, 0);
    if (form8) {
        WriteBytes(save.body, printer.Data(), printer.Count());
    } else if (!NarrowPrinter(save.codePage, printer.Span(), save.body.stream)) {
        save.body.failed = true;
    }
    save.writer.failed = save.writer.failed || save.body.failed;
    WriteSplitRecord(save.writer, RECORD_PLS, save.body.stream.Span(), RoomOf(save), RoomOf(save));
}

void WriteMargins(SaveState& save, const PageSettings& page) {
    for (const MarginRecord& margin : margins) {
        const double inches = page.*margin.field;
        if (inches == 0) continue;
        PutF64(BeginRecord(save.writer, margin.id, 8), inches);
    }
}

void WriteProtection(SaveState& save, const Sheet& sheet) {
    const bool isProtected = (sheet.viewFlags & VIEW_PROTECTED) != 0;
    const SheetOptions& options = sheet.options;
    if (isProtected) WriteRecordU16(save.writer, RECORD_PROTECT, 1);
    if (options.protectScenarios) WriteRecordU16(save.writer, RECORD_SCENPROTECT, options.protectScenarios);
    if (options.protectObjects) WriteRecordU16(save.writer, RECORD_OBJPROTECT, options.protectObjects);
    if (isProtected) WriteRecordU16(save.writer, RECORD_PASSWORD, sheet.passwordHash);
}

// As many breaks as one record of the form holds.
void WriteBreaks(SaveState& save, u16 id, const Array<PageBreak>& breaks) {
    constexpr u32 BREAKS_MOST = 1026;
    const bool form8 = save.biffVersion == 8;
    u32 count = std::min(breaks.Count(), BREAKS_MOST);
    while (!form8 && count && breaks[count - 1].at > LastRowOf(save)) --count;
    if (count < breaks.Count()) save.losses |= LOSS_OUTLINES;
    if (!count) return;
    u8* out = BeginRecord(save.writer, id, 2 + count * (form8 ? 6 : 2));
    PutU16(out, count);
    out += 2;
    for (u32 i = 0; i < count; ++i) {
        const PageBreak& row = breaks[i];
        PutU16(out, row.at);
        if (form8) PutU16(out + 2, row.first);
        if (form8) PutU16(out + 4, row.last);
        out += form8 ? 6 : 2;
    }
}

}  // namespace

void WritePageRecords(SaveState& save, const Sheet& sheet) {
    const PageSettings& page = sheet.page;
    BiffWriter& to = save.writer;
    WriteRecordU16(to, RECORD_PRINTHEADERS, page.printHeaders);
    WriteRecordU16(to, RECORD_PRINTGRIDLINES, page.printGridlines);
    WriteRecordU16(to, RECORD_GRIDSET, page.gridSet);
    WriteGuts(save, page);
    WriteRecordU16Pair(to, RECORD_DEFAULTROWHEIGHT, (sheet.viewFlags & VIEW_HEIGHT_DIFFERS) != 0,
                       DefaultRowHeight(sheet));
    WriteRecordU16(to, RECORD_WSBOOL, sheet.options.outlines | (page.fitToPage ? u32{FIT_TO_PAGE} : 0u));
    WriteCarried(save, &sheet, SHEET_GRID);
    WriteBreaks(save, RECORD_HORIZONTALPAGEBREAKS, page.rowBreaks);
    WriteBreaks(save, RECORD_VERTICALPAGEBREAKS, page.columnBreaks);
    WritePageText(save, RECORD_HEADER, page.header);
    WritePageText(save, RECORD_FOOTER, page.footer);
    WriteRecordU16(to, RECORD_HCENTER, page.centreHorizontally);
    WriteRecordU16(to, RECORD_VCENTER, page.centreVertically);
    WriteCarried(save, &sheet, SHEET_PAGE_TEXTS);
    WriteMargins(save, page);
    WritePrinter(save, page.printer);
    if (!page.setup.IsEmpty()) {
        WriteRecordHeader(to, RECORD_SETUP, page.setup.Count());
        WriteBytes(to, page.setup.Data(), page.setup.Count());
    }
    WriteCarried(save, &sheet, SHEET_SETUP);
    WriteProtection(save, sheet);
    WriteCarried(save, &sheet, SHEET_PROTECTION);
    WriteRecordU16(to, RECORD_DEFCOLWIDTH, DefaultColumnWidth(sheet) >> 8);
    WriteCarried(save, &sheet, SHEET_COLUMN_WIDTH);
}

}  // namespace tally
