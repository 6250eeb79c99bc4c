#include <algorithm>
#include <numeric>

#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/SaveState.h"
#include "fileio/biff/ViewFields.h"
#include "model/CellStore.h"

// The records of the view, and those of columns.

namespace tally {
namespace {

constexpr u8 VIEW_CURRENT = 6;
constexpr u32 GRID_COLOUR = 64;
constexpr u16 ONE_FROZEN_MARK = 1;

u16 RowInForm(const SaveState& save, u16 row) { return std::min(row, static_cast<u16>(LastRowOf(save))); }

void WriteWindow2(SaveState& save, const Sheet& sheet, bool current) {
    const SheetView& view = sheet.view;
    const bool form8 = save.biffVersion == 8;
    const bool frozen = (sheet.viewFlags & VIEW_FROZEN) != 0;
    const std::size_t length = form8 ? WINDOW2_BYTES : WINDOW2_BYTES_95;
    u8* out = BeginRecord(save.writer, RECORD_WINDOW2, length);
    std::fill(out, out + length, u8{0});
    const SheetOptions& options = sheet.options;
    out[WINDOW2_FLAGS_AT] =
        static_cast<u8>((sheet.viewFlags & (VIEW_FORMULAS | VIEW_GRIDLINES | VIEW_HEADERS | VIEW_FROZEN)) |
                        (options.window & 0xFF));
    out[WINDOW2_FLAGS_AT + 1] =
        static_cast<u8>((current ? VIEW_CURRENT : 0) | (frozen ? ONE_FROZEN_MARK : 0) | options.window >> 8);
    const bool splitRows = frozen && view.splitRow;
    const bool splitColumns = frozen && view.splitColumn;
    PutU16(out + WINDOW2_ROW_AT, RowInForm(save, splitRows ? view.frozenFirstRow : view.firstRow));
    PutU16(out + WINDOW2_COLUMN_AT, splitColumns ? view.frozenFirstColumn : view.firstColumn);
    // A colour is an index in one form and red, green and blue in the other.
    const bool known = sheet.carried.form == save.biffVersion;
    if (!form8) return PutU32(out + WINDOW2_COLOUR_AT, known ? options.gridColour : 0u);
    PutU16(out + WINDOW2_COLOUR_AT, known ? options.gridColour : GRID_COLOUR);
    PutU16(out + WINDOW2_BREAK_ZOOM_AT, options.breakZoom);
    PutU16(out + WINDOW2_NORMAL_ZOOM_AT, options.normalZoom);
}

void WriteSplit(SaveState& save, const SheetOptions& options) {
    u8* out = BeginRecord(save.writer, RECORD_PANE, PANE_BYTES);
    for (u32 i = 0; i < std::size(options.split); ++i) PutU16(out + i * 2, options.split[i]);
}

void WritePane(SaveState& save, const SheetView& view) {
    u8* out = BeginRecord(save.writer, RECORD_PANE, PANE_BYTES);
    PutPane(save, view, out);
    out[PANE_BYTES - 1] = 0;
}

void WriteSelection(SaveState& save, const SheetView& view) {
    u8* out = BeginRecord(save.writer, RECORD_SELECTION, SELECTION_AREAS_AT + AREA_BYTES);
    out[SELECTION_PANE_AT] = 3;
    PutU16(out + SELECTION_ROW_AT, RowInForm(save, view.activeRow));
    PutU16(out + SELECTION_COLUMN_AT, view.activeColumn);
    PutU16(out + SELECTION_ACTIVE_AT, 0);
    PutU16(out + SELECTION_COUNT_AT, 1);
    u8* const area = out + SELECTION_AREAS_AT;
    PutU16(area, RowInForm(save, view.selection.firstRow));
    PutU16(area + AREA_LAST_ROW_AT, RowInForm(save, view.selection.lastRow));
    area[AREA_FIRST_COLUMN_AT] = view.selection.firstColumn;
    area[AREA_LAST_COLUMN_AT] = view.selection.lastColumn;
}

}  // namespace

void PutPane(const SaveState& save, const SheetView& view, u8* out) {
    const i32 columns = view.splitColumn ? std::max(view.splitColumn - view.frozenFirstColumn, 0) : 0;
    const i32 rows = view.splitRow ? std::max(view.splitRow - view.frozenFirstRow, 0) : 0;
    PutU16(out + PANE_COLUMNS_AT, static_cast<u32>(columns));
    PutU16(out + PANE_ROWS_AT, static_cast<u32>(std::min<i32>(rows, RowInForm(save, 0xFFFF))));
    PutU16(out + PANE_FIRST_ROW_AT, RowInForm(save, view.firstRow));
    PutU16(out + PANE_FIRST_COLUMN_AT, view.firstColumn);
    // The pane that moves: 0 lower right, 1 upper right, 2 lower left, 3 the only one.
    out[PANE_ACTIVE_AT] = static_cast<u8>((columns ? 0 : 2) | (rows ? 0 : 1));
}

void WriteViewRecords(SaveState& save, const Sheet& sheet, bool current) {
    WriteWindow2(save, sheet, current);
    WriteZoom(save, sheet);
    WriteCarried(save, &sheet, SHEET_WINDOW);
    if (sheet.viewFlags & VIEW_FROZEN) WritePane(save, sheet.view);
    else if (sheet.options.isSplit) WriteSplit(save, sheet.options);
    WriteSelection(save, sheet.view);
}

bool NextColumnRun(const Sheet& sheet, u32& at, ColumnRun& run) {
    const Array<ColumnInfo>& columns = sheet.columns;
    const auto widthOf = [&](const ColumnInfo& info) {
        return info.flags & COLUMN_DEFAULT_WIDTH ? DefaultColumnWidth(sheet) : info.width;
    };
    const auto isOrdinary = [](const ColumnInfo& info) {
        return info.flags == COLUMN_DEFAULT_WIDTH && info.format == DEFAULT_CELL_FORMAT;
    };
    while (at < columns.Count() && isOrdinary(columns[at])) ++at;
    if (at == columns.Count()) return false;
    const ColumnInfo& first = columns[at++];
    while (at < columns.Count() && columns[at].column == columns[at - 1].column + 1 &&
           columns[at].format == first.format && widthOf(columns[at]) == widthOf(first) &&
           ((columns[at].flags ^ first.flags) & ~u32{COLUMN_DEFAULT_WIDTH}) == 0 && !isOrdinary(columns[at])) {
        ++at;
    }
    run = {first.column,   columns[at - 1].column, (first.flags & COLUMN_HIDDEN) != 0,
           widthOf(first), first.format,           first.flags};
    return true;
}

void WriteColumns(SaveState& save, const Sheet& sheet) {
    ColumnRun run;
    for (u32 i = 0; NextColumnRun(sheet, i, run);) {
        u8* out = BeginRecord(save.writer, RECORD_COLINFO, 12);
        PutU16(out, run.first);
        PutU16(out + 2, run.last);
        PutU16(out + 4, run.width);
        PutU16(out + 6, run.format);
        PutU16(out + 8,
               (run.hidden ? COLUMN_IS_HIDDEN : 0u) | (run.flags & COLUMN_USER_WIDTH ? COLUMN_IS_SET : 0u) |
                   (run.flags & COLUMN_BEST_FIT ? COLUMN_IS_FITTED : 0u) |
                   (run.flags & COLUMN_COLLAPSED ? COLUMN_IS_COLLAPSED : 0u) | (run.flags & COLUMN_LEVEL));
        PutU16(out + 10, 0);
    }
}

void WriteZoom(SaveState& save, const Sheet& sheet) {
    if (save.biffVersion != 8 && sheet.zoomPercent == 100) return;
    const i32 divisor = std::gcd(sheet.zoomPercent, 100);
    WriteRecordU16Pair(save.writer, RECORD_SCL, static_cast<u32>(sheet.zoomPercent / divisor),
                       static_cast<u32>(100 / divisor));
}

}  // namespace tally
