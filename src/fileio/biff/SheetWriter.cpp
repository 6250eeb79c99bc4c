#include <algorithm>

#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"

// The substream of a sheet: INDEX, what stands for the sheet as a whole, blocks of rows with their cells, the
// view and the rules.

namespace tally {
namespace {

constexpr i32 BLOCK_ROWS = 32;
constexpr u32 ROW_RECORD = 20;  // bytes with its header
constexpr u8 ROW_MARK = 1;

struct SheetExtent {
    i32 lastRow = 0;
    i32 lastColumn = 0;
};

// How far that reaches which goes into the file: a cell that says nothing does not come back, and must not make
// the next save another one.
SheetExtent ExtentOf(SaveState& save, const Sheet& sheet) {
    u16 formats[MAX_COLUMNS];
    FillColumnFormats(sheet, formats);
    SheetExtent extent;
    const i32 most = LastRowOf(save);
    const auto take = [&](i32 row, i32 column) {
        if (row > most) save.losses |= LOSS_ROWS;
        extent.lastRow = std::max(extent.lastRow, std::min(row, most));
        if (row <= most) extent.lastColumn = std::max(extent.lastColumn, column);
    };
    for (const CellRow& row : sheet.cells.rows) {
        u32 end = row.count;
        while (end && !SaysSomething(formats, row.cells[end - 1])) --end;
        if (end) take(row.row, row.cells[end - 1].column);
    }
    if (!sheet.rows.IsEmpty()) take(sheet.rows.Last().row, 0);
    if (save.biffVersion != 8) return extent;
    for (const RefArea& merge : sheet.mergedAreas) take(merge.lastRow, merge.lastColumn);
    return extent;
}

// Returns the stream offset of the block offsets, which are filled in with the blocks.
u32 WriteIndex(SaveState& save, const SheetExtent& extent) {
    const bool form8 = save.biffVersion == 8;
    const u32 head = form8 ? 16 : 12;
    const u32 blocks = static_cast<u32>(extent.lastRow) / BLOCK_ROWS + 1;
    u8* out = BeginRecord(save.writer, RECORD_INDEX, head + blocks * 4);
    std::fill(out, out + head + blocks * 4, u8{0});
    if (form8) {
        PutU32(out + 8, static_cast<u32>(extent.lastRow) + 1);
    } else {
        PutU16(out + 6, static_cast<u32>(extent.lastRow) + 1);
    }
    return StreamOffset(save.writer) - blocks * 4;
}

void WriteCalculationRecords(SaveState& save, const SheetOptions& options) {
    BiffWriter& to = save.writer;
    for (const SheetOptionRecord& row : calculationRecords) WriteRecordU16(to, row.id, options.*row.field);
    WriteRecordHeader(to, RECORD_DELTA, 8);
    WriteF64(to, options.precision);
    WriteRecordU16(to, RECORD_SAVERECALC, options.recalculateOnSave);
}

void WriteDimensions(SaveState& save, const SheetExtent& extent) {
    const bool form8 = save.biffVersion == 8;
    u8* out = BeginRecord(save.writer, RECORD_DIMENSIONS, form8 ? 14 : 10);
    std::fill(out, out + (form8 ? 14 : 10), u8{0});
    const u32 rows = static_cast<u32>(extent.lastRow) + 1;
    const u32 columns = static_cast<u32>(extent.lastColumn) + 1;
    if (form8) {
        PutU32(out + 4, rows);
        PutU16(out + 10, columns);
    } else {
        PutU16(out + 2, rows);
        PutU16(out + 6, columns);
    }
}

void NoteSheetLosses(SaveState& save, const Sheet& sheet) {
    if (save.biffVersion == 8) return;
    if (!sheet.mergedAreas.IsEmpty()) save.losses |= LOSS_MERGES;
    if (!sheet.hyperlinks.IsEmpty()) save.losses |= LOSS_HYPERLINKS;
    if (!sheet.conditionalFormats.IsEmpty() || !sheet.validations.IsEmpty()) save.losses |= LOSS_RULES;
}

void WriteGrid(SaveState& save, i32 index) {
    const Sheet& sheet = *SavedBook(save).sheets[static_cast<u32>(index)];
    const bool form8 = save.biffVersion == 8;
    const SheetExtent extent = ExtentOf(save, sheet);
    NoteSheetLosses(save, sheet);
    WriteCarried(save, &sheet, SHEET_BEGIN);
    const u32 indexBlocks = WriteIndex(save, extent);
    WriteCarried(save, &sheet, SHEET_INDEX);
    WriteCalculationRecords(save, sheet.options);
    WriteCarried(save, &sheet, SHEET_CALCULATION);
    WritePageRecords(save, sheet);
    if (!form8) {
        KeepLinkNumbers(save, sheet);
        CollectSheetLinks(save, sheet);
        WriteLinkTable(save);
    }
    WriteCarried(save, &sheet, SHEET_LINK_TABLE);
    WriteColumns(save, sheet);
    WriteCarried(save, &sheet, SHEET_COLUMNS);
    WriteFilterRecords(save, sheet);
    WriteCarried(save, &sheet, SHEET_FILTER);
    WriteDimensions(save, extent);
    WriteCarried(save, &sheet, SHEET_DIMENSIONS);
    WriteRowBlocks(save, sheet, extent.lastRow, extent.lastColumn, indexBlocks);
    WriteCarried(save, &sheet, SHEET_CELLS);
    WriteViewRecords(save, sheet, index == SavedBook(save).currentSheet);
    WriteCarried(save, &sheet, SHEET_SELECTION);
    if (!(sheet.viewFlags & VIEW_STANDARD_WIDTH) && sheet.defaultColumnWidth % 256)
        WriteRecordU16(save.writer, RECORD_STANDARDWIDTH, sheet.defaultColumnWidth);
    WriteCarried(save, &sheet, SHEET_STANDARD_WIDTH);
    if (form8) WriteMerges(save, sheet);
    WriteCarried(save, &sheet, SHEET_MERGES);
    if (form8) WriteConditionalFormats(save, sheet);
    WriteCarried(save, &sheet, SHEET_CONDITIONS);
    if (form8) WriteHyperlinks(save, sheet);
    WriteCarried(save, &sheet, SHEET_HYPERLINKS);
    if (form8) WriteValidations(save, sheet);
    WriteCarried(save, &sheet, SHEET_VALIDATION);
}

// A chart or module goes out as it came in, its zoom among the rest.
bool WriteKept(SaveState& save, const Sheet& sheet) {
    if ((sheet.kind & SHEET_WITH_CELLS) || sheet.carried.runs.IsEmpty()) return false;
    const u32 before = StreamOffset(save.writer);
    WriteCarried(save, &sheet, SHEET_BEGIN);
    return StreamOffset(save.writer) > before;
}

// ---- rows
// ---------------------------------------------------------------------------------------------------------

u16 WrittenDefaultHeight(const Sheet& sheet) {
    return sheet.viewFlags & VIEW_STANDARD_HEIGHT ? u16{255} : sheet.defaultRowHeight;
}

// `info` is null for a row without a record.
void WriteRow(SaveState& save, const Sheet& sheet, i32 row, const RowInfo* info, i32 lastColumn) {
    u8* out = BeginRecord(save.writer, RECORD_ROW, 16);
    std::fill(out, out + 16, u8{0});
    PutU16(out, static_cast<u32>(row));
    PutU16(out + 4, static_cast<u32>(lastColumn) + 1);
    const bool own = info && !(info->flags & ROW_DEFAULT_HEIGHT);
    PutU16(out + 6, own ? info->height & u32{ROW_HEIGHT_BITS} : WrittenDefaultHeight(sheet));
    out[13] = ROW_MARK;
    if (!info) return;
    if (info->flags & ROW_HIDDEN) out[12] |= ROW_IS_HIDDEN;
    if (info->flags & ROW_CUSTOM_HEIGHT) out[12] |= ROW_HAS_HEIGHT;
    if (info->flags & ROW_COLLAPSED) out[12] |= ROW_IS_COLLAPSED;
    out[12] |= static_cast<u8>((info->flags & ROW_LEVEL) >> LEVEL_SHIFT);
    const bool formatted = (info->flags & ROW_FORMATTED) != 0;
    if (formatted) out[12] |= ROW_HAS_FORMAT;
    PutU16(out + 14, (formatted ? info->format & ROW_FORMAT_BITS : 0u) | (info->flags & ROW_BORDERS));
}

// How far the sorted lists of a sheet have been walked.
struct BlockWalk {
    u32 rowInfo = 0;
    u32 slot = 0;  // of the cell store
};

void WriteBlockRows(SaveState& save, const Sheet& sheet, BlockWalk& walk, i32 first, i32 end, i32 lastColumn) {
    for (i32 row = first; row < end; ++row) {
        const Array<RowInfo>& rows = sheet.rows;
        while (walk.rowInfo < rows.Count() && rows[walk.rowInfo].row < row) ++walk.rowInfo;
        const bool has = walk.rowInfo < rows.Count() && rows[walk.rowInfo].row == row;
        WriteRow(save, sheet, row, has ? &rows[walk.rowInfo] : nullptr, lastColumn);
    }
}

// The cells of a block and the distances between the rows' first cells.
void WriteBlockCells(CellWriting& w, BlockWalk& walk, i32 first, i32 end, u32 firstRowEnd, u16* distances) {
    const Array<CellRow>& rows = w.sheet.cells.rows;
    u32 before = firstRowEnd;
    for (i32 row = first; row < end; ++row) {
        const u32 start = StreamOffset(w.save.writer);
        distances[row - first] = static_cast<u16>(start - before);
        before = start;
        if (walk.slot < rows.Count() && rows[walk.slot].row == row) WriteRowCells(w, rows[walk.slot++]);
    }
}

}  // namespace

void WriteRowBlocks(SaveState& save, const Sheet& sheet, i32 lastRow, i32 lastColumn, u32 indexBlocks) {
    CellWriting w{save, sheet, {}, {}};
    FillColumnFormats(sheet, w.columnFormats);
    if (!BeginArrays(sheet, w.arrays)) save.writer.failed = true;
    BlockWalk walk;
    for (i32 first = 0; first <= lastRow && !save.writer.failed; first += BLOCK_ROWS) {
        const i32 end = std::min(first + BLOCK_ROWS, lastRow + 1);
        const u32 start = StreamOffset(save.writer);
        u16 distances[BLOCK_ROWS];
        WriteBlockRows(save, sheet, walk, first, end, lastColumn);
        WriteBlockCells(w, walk, first, end, start + ROW_RECORD, distances);
        const u32 place = StreamOffset(save.writer);
        PatchU32(save.writer, place, indexBlocks + static_cast<u32>(first / BLOCK_ROWS) * 4);
        const u32 count = static_cast<u32>(end - first);
        u8* out = BeginRecord(save.writer, RECORD_DBCELL, 4 + count * 2);
        PutU32(out, place - start);
        for (u32 i = 0; i < count; ++i) PutU16(out + 4 + i * 2, distances[i]);
    }
}

void WriteSheetTail(SaveState& save, const Sheet& sheet) {
    if (!(sheet.kind & SHEET_WITH_CELLS)) WriteZoom(save, sheet);
    if (!sheet.tabColour) return;
    u8* out = BeginRecord(save.writer, RECORD_SHEETEXT, 20);
    const u32 words[] = {RECORD_SHEETEXT, 0, 0, 20, sheet.tabColour};
    for (std::size_t i = 0; i < std::size(words); ++i) PutU32(out + i * 4, words[i]);
}

void WriteSheet(SaveState& save, i32 index) {
    const Sheet& sheet = *SavedBook(save).sheets[static_cast<u32>(index)];
    if (!save.writer.failed)
        PatchU32(save.writer, StreamOffset(save.writer), save.boundSheets[static_cast<u32>(index)]);
    WriteBof(save, static_cast<u32>(sheet.kind));
    if (sheet.kind & SHEET_WITH_CELLS) WriteGrid(save, index);
    if (!WriteKept(save, sheet)) WriteSheetTail(save, sheet);
    if (sheet.kind & SHEET_WITH_CELLS) WriteCarried(save, &sheet, SHEET_TAIL);
    WriteEof(save.writer);
    ClearLinkTable(save);
}

}  // namespace tally
