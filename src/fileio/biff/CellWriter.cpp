#include <algorithm>
#include <bit>
#include <cmath>

#include "fileio/biff/BiffReader.h"
#include "fileio/biff/FormulaRecords.h"
#include "fileio/biff/RichText.h"
#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"
#include "model/Formats.h"

// The records of cells, row by row.

namespace tally {
namespace {

constexpr u16 TEXT_FORMAT = 49;  // its numbers stand alone
constexpr u64 RK_LOST_BITS = 0x3FFFFFFFF;
constexpr i32 RK_WHOLE_MOST = (1 << 29) - 1;

bool EncodeWhole(double number, u32& rk) {
    if (!(number >= -RK_WHOLE_MOST - 1 && number <= RK_WHOLE_MOST)) return false;
    const i32 whole = static_cast<i32>(number);
    if (whole != number) return false;
    rk = static_cast<u32>(whole) << 2 | RK_WHOLE;
    return true;
}

bool EncodeTopBits(double number, u32& rk) {
    const u64 bits = std::bit_cast<u64>(number);
    if (bits & RK_LOST_BITS) return false;
    rk = static_cast<u32>(bits >> 32);
    return true;
}

u8* BeginCell(SaveState& save, u16 id, std::size_t length, u16 row, const CellRecord& cell) {
    u8* out = BeginRecord(save.writer, id, length);
    PutU16(out, row);
    PutU16(out + 2, cell.column);
    PutU16(out + 4, cell.format);
    return out + 6;
}

bool IsPlain(const CellRecord& cell, u16 type) { return !cell.formula && cell.value.type == type; }

bool IsWrittenBlank(const CellWriting& w, const CellRecord& cell) {
    return IsPlain(cell, VT_EMPTY) && SaysSomething(w.columnFormats, cell);
}

// Each of these writes the cells from `first` on that go into one record, and returns the next one.

u32 WriteBlanks(CellWriting& w, const CellRow& row, u32 first) {
    u32 end = first + 1;
    while (end < row.count && row.cells[end].column == row.cells[end - 1].column + 1 &&
           IsWrittenBlank(w, row.cells[end])) {
        ++end;
    }
    const u32 count = end - first;
    if (count == 1) {
        BeginCell(w.save, RECORD_BLANK, 6, row.row, row.cells[first]);
        return end;
    }
    u8* out = BeginRecord(w.save.writer, RECORD_MULBLANK, 6 + count * 2);
    PutU16(out, row.row);
    PutU16(out + 2, row.cells[first].column);
    for (u32 i = 0; i < count; ++i) PutU16(out + 4 + i * 2, row.cells[first + i].format);
    PutU16(out + 4 + count * 2, row.cells[end - 1].column);
    return end;
}

bool StandsAlone(const CellWriting& w, const CellRecord& cell) {
    return ResolveCellFormat(SavedBook(w.save), cell.format).numberFormat == TEXT_FORMAT;
}

u32 WriteNumbers(CellWriting& w, const CellRow& row, u32 first) {
    const CellRecord& cell = row.cells[first];
    u32 rk[MAX_COLUMNS];
    if (!EncodeRk(cell.value.number, rk[0])) {
        PutF64(BeginCell(w.save, RECORD_NUMBER, 14, row.row, cell), cell.value.number);
        return first + 1;
    }
    u32 count = 1;
    for (u32 i = first + 1; i < row.count && !StandsAlone(w, cell); ++i, ++count) {
        const CellRecord& next = row.cells[i];
        if (next.column != row.cells[i - 1].column + 1 || !IsPlain(next, VT_NUMBER) ||
            !EncodeRk(next.value.number, rk[count]) || StandsAlone(w, next)) {
            break;
        }
    }
    if (count == 1) {
        PutU32(BeginCell(w.save, RECORD_RK, 10, row.row, cell), rk[0]);
        return first + 1;
    }
    u8* out = BeginRecord(w.save.writer, RECORD_MULRK, 6 + count * 6);
    PutU16(out, row.row);
    PutU16(out + 2, cell.column);
    for (u32 i = 0; i < count; ++i) {
        PutU16(out + 4 + i * 6, row.cells[first + i].format);
        PutU32(out + 6 + i * 6, rk[i]);
    }
    PutU16(out + 4 + count * 6, row.cells[first + count - 1].column);
    return first + count;
}

// Runs in bytes; what lies beyond the 255th character or font has none. False when there is nothing to write.
bool WriteRuns95(SaveState& save, ByteView runs) {
    constexpr u32 MOST = 255, RECORD_MOST = RECORD_ROOM_95;
    const u32 used = save.body.stream.Count() + 1;
    const u32 room = used < RECORD_MOST ? (RECORD_MOST - used) / 2 : 0;
    u32 count = 0;
    while (count < std::min(MOST, room) && RUN_BYTES * count < runs.size() &&
           WordAt(runs, RUN_BYTES * count) <= MOST && WordAt(runs, RUN_BYTES * count + 2) <= MOST)
        ++count;
    if (RUN_BYTES * count < runs.size()) save.losses |= LOSS_RICH_TEXT;
    if (!count) return false;
    WriteU8(save.body, count);
    for (u32 i = 0; i < count; ++i) {
        WriteU8(save.body, WordAt(runs, RUN_BYTES * i));
        WriteU8(save.body, WordAt(runs, RUN_BYTES * i + 2));
    }
    return true;
}

void WriteText(CellWriting& w, u16 row, const CellRecord& cell) {
    if (w.save.biffVersion == 8) {
        PutU32(BeginCell(w.save, RECORD_LABELSST, 10, row, cell), StringIndex(w.save.strings, cell.value.text));
        return;
    }
    const ByteView tail = TextTail(cell.value.text);
    BeginBody(w.save);
    for (u16 word : {row, u16{cell.column}, cell.format}) WriteU16(w.save.body, word);
    WriteLongString(w.save, w.save.body, TextOf(cell.value));
    if (!PhoneticBytes(tail).empty()) w.save.losses |= LOSS_RICH_TEXT;
    IgnoreFailure(EndBody(w.save, WriteRuns95(w.save, RunBytes(tail)) ? RECORD_RSTRING : RECORD_LABEL));
}

void WriteBoolOrError(CellWriting& w, u16 row, const CellRecord& cell) {
    u8* out = BeginCell(w.save, RECORD_BOOLERR, 8, row, cell);
    const bool error = cell.value.type == VT_ERROR;
    out[0] = error ? BiffFromError(cell.value.error) : static_cast<u8>(cell.value.boolean != 0);
    out[1] = error;
}

u32 WriteCells(CellWriting& w, const CellRow& row, u32 first) {
    const CellRecord& cell = row.cells[first];
    if (cell.formula) {
        WriteFormulaCell(w, row.row, cell);
        return first + 1;
    }
    switch (cell.value.type) {
        case VT_NUMBER: return WriteNumbers(w, row, first);
        case VT_STRING: WriteText(w, row.row, cell); break;
        case VT_BOOL:
        case VT_ERROR: WriteBoolOrError(w, row.row, cell); break;
        default:
            if (IsWrittenBlank(w, cell)) return WriteBlanks(w, row, first);
            break;
    }
    return first + 1;
}

// ---- formulas
// -----------------------------------------------------------------------------------------------------

// What a formula's own record holds of an array's: where the array begins.
TokenImage ArrayReference(const RefArea& area, u8* bytes) {
    bytes[0] = ptgExp;
    PutU16(bytes + 1, area.firstRow);
    PutU16(bytes + 3, area.firstColumn);
    return {{bytes, 5}, 5};
}

// What stands for tokens that cannot be written. The value stays.
TokenImage LostFormula(SaveState& save) {
    save.losses |= LOSS_FORMULAS;
    return {{NOT_AVAILABLE, sizeof NOT_AVAILABLE}, sizeof NOT_AVAILABLE};
}

TokenImage WithinRecord(SaveState& save, TokenImage image) {
    return image.bytes.size() <= RoomOf(save) - FORMULA_HEAD ? image : LostFormula(save);
}

// These two may be longer than a record in one piece usually is, so they are put together bit by bit.
void WriteFormulaRecord(CellWriting& w, u16 row, const CellRecord& cell, const TokenImage& image) {
    u8 head[FORMULA_HEAD] = {};
    PutU16(head, row);
    PutU16(head + 2, cell.column);
    PutU16(head + 4, cell.format);
    PutResult(head + 6, cell.value);
    PutU16(head + FORMULA_FLAGS_AT, cell.formula->alwaysCalculate);
    PutU16(head + FORMULA_LENGTH_AT, image.length);
    WriteRecordHeader(w.save.writer, RECORD_FORMULA, sizeof head + image.bytes.size());
    WriteBytes(w.save.writer, head, sizeof head);
    WriteBytes(w.save.writer, image.bytes.data(), image.bytes.size());
}

void WriteArrayRecord(CellWriting& w, const RefArea& area, const TokenImage& image) {
    u8 head[ARRAY_HEAD] = {};
    PutU16(head, area.firstRow);
    PutU16(head + 2, w.save.biffVersion == 8 ? area.lastRow : std::min(area.lastRow, LAST_ROW_95));
    head[4] = area.firstColumn;
    head[5] = area.lastColumn;
    PutU16(head + ARRAY_HEAD - 2, image.length);
    WriteRecordHeader(w.save.writer, RECORD_ARRAY, sizeof head + image.bytes.size());
    WriteBytes(w.save.writer, head, sizeof head);
    WriteBytes(w.save.writer, image.bytes.data(), image.bytes.size());
}

// Whether the tokens say no more than where the formula of a whole table or array stands.
bool IsPartOf(u8 token, const FormulaTokens& tokens) { return tokens.length == 5 && tokens.bytes[0] == token; }

// A table's record stands behind its first cell. A part whose table is not known, or has been moved away from,
// means nothing to a reader.
void WriteTablePart(CellWriting& w, u16 row, const CellRecord& cell) {
    const DataTable* table = FindDataTable(w.sheet, row, cell.column);
    const bool first = table && row == table->area.firstRow && cell.column == table->area.firstColumn;
    bool* const begun =
        table ? &w.arrays.tablesBegun[static_cast<u32>(table - w.sheet.dataTables.begin())] : nullptr;
    if (begun) *begun = *begun || first;
    u8 tokens[5] = {ptgTbl};
    if (table) PutU16(tokens + 1, table->area.firstRow);
    if (table) PutU16(tokens + 3, table->area.firstColumn);
    WriteFormulaRecord(w, row, cell, begun && *begun ? TokenImage{tokens, 5} : LostFormula(w.save));
    if (!first) return;
    u8* out = BeginRecord(w.save.writer, RECORD_TABLE, 16);
    PutU16(out, table->area.firstRow);
    PutU16(out + 2, table->area.lastRow);
    out[4] = table->area.firstColumn;
    out[5] = table->area.lastColumn;
    PutU16(out + 6, table->flags);
    for (std::size_t i = 0; i < 4; ++i) PutU16(out + 8 + i * 2, table->inputs[i]);
}

}  // namespace

bool EncodeRk(double number, u32& rk) {
    if (EncodeTopBits(number, rk) || EncodeWhole(number, rk)) return true;
    const double hundredfold = number * 100;
    if (!EncodeTopBits(hundredfold, rk) && !EncodeWhole(hundredfold, rk)) return false;
    rk |= RK_HUNDREDTHS;
    return DecodeRk(rk) == number;
}

void PutResult(u8* out, const Value& value) {
    std::fill(out, out + 8, u8{0});
    if (value.type == VT_NUMBER && std::isfinite(value.number)) return PutF64(out, value.number);
    if (value.type == VT_EMPTY) return;
    PutU16(out + 6, NOT_A_NUMBER);
    if (value.type == VT_STRING) return;
    out[0] = value.type == VT_BOOL ? 1 : 2;
    const i32 error = value.type == VT_ERROR ? value.error : i32{ERR_NUM};
    out[2] = value.type == VT_BOOL ? static_cast<u8>(value.boolean != 0) : BiffFromError(error);
}

i32 FindActiveArray(const Sheet& sheet, const ArrayCursor& cursor, i32 row, i32 column) {
    for (u32 index : cursor.active) {
        if (AreaHolds(sheet.arrayFormulas[index].area, row, column)) return static_cast<i32>(index);
    }
    return -1;
}

bool BeginArrays(const Sheet& sheet, ArrayCursor& cursor) {
    const Array<ArrayEntry>& arrays = sheet.arrayFormulas;
    if (!cursor.order.Resize(arrays.Count()) || !cursor.begun.Resize(arrays.Count()) ||
        !cursor.tablesBegun.Resize(sheet.dataTables.Count())) {
        return false;
    }
    for (u32 i = 0; i < arrays.Count(); ++i) cursor.order[i] = i;
    std::sort(cursor.order.begin(), cursor.order.end(), [&](u32 a, u32 b) {
        const u16 rowA = arrays[a].area.firstRow, rowB = arrays[b].area.firstRow;
        return rowA != rowB ? rowA < rowB : a < b;
    });
    return true;
}

bool EnterRow(const Sheet& sheet, ArrayCursor& cursor, i32 row) {
    const Array<ArrayEntry>& arrays = sheet.arrayFormulas;
    u32 kept = 0;
    for (u32 index : cursor.active) {
        if (arrays[index].area.lastRow >= row) cursor.active[kept++] = index;
    }
    cursor.active.Truncate(kept);
    for (; cursor.next < cursor.order.Count(); ++cursor.next) {
        const u32 index = cursor.order[cursor.next];
        if (arrays[index].area.firstRow > row) break;
        if (arrays[index].area.lastRow >= row && !cursor.active.Append(index)) return false;
    }
    return true;
}

void WriteFormulaCell(CellWriting& w, u16 row, const CellRecord& cell) {
    const i32 array = FindActiveArray(w.sheet, w.arrays, row, cell.column);
    const FormulaTokens& tokens = cell.formula->tokens;
    if (IsPartOf(ptgTbl, tokens)) {
        WriteTablePart(w, row, cell);
    } else if (array < 0) {
        // A formula that only leads to another one would be taken for a part of an array.
        WriteFormulaRecord(w, row, cell,
                           IsPartOf(ptgExp, tokens) ? LostFormula(w.save)
                                                    : WithinRecord(w.save, ImageOfTokens(w.save, tokens)));
    } else {
        const RefArea area = w.sheet.arrayFormulas[static_cast<u32>(array)].area;
        u8 reference[5];
        WriteFormulaRecord(w, row, cell, ArrayReference(area, reference));
        bool& begun = w.arrays.begun[static_cast<u32>(array)];
        if (!begun) WriteArrayRecord(w, area, WithinRecord(w.save, ImageOfTokens(w.save, tokens)));
        begun = true;
    }
    if (cell.value.type == VT_STRING) WriteSplitString(w.save, RECORD_STRING, TextOf(cell.value));
}

void FillColumnFormats(const Sheet& sheet, u16* formats) {
    std::fill(formats, formats + MAX_COLUMNS, DEFAULT_CELL_FORMAT);
    for (const ColumnInfo& column : sheet.columns) formats[column.column] = column.format;
}

bool SaysSomething(const u16* columnFormats, const CellRecord& cell) {
    return !IsPlain(cell, VT_EMPTY) || cell.format != columnFormats[cell.column];
}

void WriteRowCells(CellWriting& w, const CellRow& row) {
    if (!EnterRow(w.sheet, w.arrays, row.row)) {
        w.save.writer.failed = true;
        return;
    }
    for (u32 i = 0; i < row.count;) i = WriteCells(w, row, i);
}

}  // namespace tally
