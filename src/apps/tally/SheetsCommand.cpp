#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

const char* KindName(i32 kind) {
    switch (kind) {
        case SHEET_MODULE: return "module";
        case SHEET_CHART: return "chart";
        case SHEET_MACRO: return "macro";
        default: return "worksheet";
    }
}

}  // namespace

int RunSheets(const Options& options) {
    int status = EXIT_GOOD;
    if (!OpenInput(options.input, options.from, options, status)) return status;
    const Workbook& book = *CurrentWorkbook();
    for (u32 i = 0; i < book.sheets.Count(); ++i) {
        const Sheet& sheet = *book.sheets[i];
        SheetLine line;
        line.index = static_cast<i32>(i);
        line.name = sheet.name;
        line.kind = KindName(sheet.kind);
        line.hidden = sheet.hidden;
        // An empty sheet has no used row; elsewhere the last row and column are counted from 0.
        const bool used = sheet.cells.count || !sheet.rows.IsEmpty() || !sheet.mergedAreas.IsEmpty();
        line.rows = used ? LastUsedRow(sheet) + 1 : 0;
        line.columns = used ? LastUsedColumn(sheet) + 1 : 0;
        WriteSheetLine(line);
    }
    return FinishLines();
}

}  // namespace tally
