#include <algorithm>

#include "fileio/pocket/PocketFormats.h"
#include "fileio/pocket/PocketSave.h"
#include "model/CellStore.h"

// The substream of a worksheet in the pocket form.

namespace tally {
namespace {

constexpr std::size_t CELL_HEAD = 5;  // row, column, format
constexpr std::size_t TEXT_MOST = 65535;
constexpr u8 FROZEN_WITHOUT_SPLIT = 1;

u16 FormatNumberOf(const SaveState& save, u16 row) {
    const Array<u16>& formats = save.pocket->formats;
    return row < formats.Count() ? formats[row] : u16{0};
}

// ---- rows and columns ---------------------------------------------------------------------------------------

void WriteColumnInfos(SaveState& save, const Sheet& sheet) {
    ColumnRun run;
    for (u32 i = 0; NextColumnRun(sheet, i, run);) {
        u8* out = BeginPocketRecord(save.writer, RECORD_COLINFO, 9);
        PutU16(out, run.first);
        PutU16(out + 2, run.last);
        PutU16(out + 4, run.width);
        PutU16(out + 6, FormatNumberOf(save, run.format));
        out[8] = run.hidden;
    }
}

void WriteRowInfos(SaveState& save, const Sheet& sheet) {
    for (const RowInfo& info : sheet.rows) {
        u8* out = BeginPocketRecord(save.writer, RECORD_ROW_2, 8);
        PutU16(out, info.row);
        PutU16(out + 2, info.flags & ROW_DEFAULT_HEIGHT ? DefaultRowHeight(sheet) : info.height);
        PutU16(out + 4, (info.flags & ROW_HIDDEN ? u32{POCKET_ROW_HIDDEN} : 0u) |
                            (info.flags & ROW_CUSTOM_HEIGHT ? u32{POCKET_ROW_OWN_HEIGHT} : 0u));
        PutU16(out + 6, 0);
    }
}

// ---- cells --------------------------------------------------------------------------------------------------

struct SheetWriting {
    SaveState& save;
    const Sheet& sheet;
    ArrayCursor arrays;
};

// The fields that begin a cell record; returns the place behind them.
u8* BeginCell(SheetWriting& w, u8 id, std::size_t size, u16 row, const CellRecord& cell) {
    u8* out = BeginPocketRecord(w.save.writer, id, CELL_HEAD + size);
    PutU16(out, row);
    out[2] = cell.column;
    PutU16(out + 3, FormatNumberOf(w.save, cell.format));
    return out + CELL_HEAD;
}

void WriteValue(SheetWriting& w, u16 row, const CellRecord& cell) {
    const Value& value = cell.value;
    switch (value.type) {
        case VT_NUMBER: PutF64(BeginCell(w, RECORD_NUMBER_2, 8, row, cell), value.number); break;
        case VT_STRING: {
            if (!TextTail(value.text).empty()) w.save.losses |= LOSS_RICH_TEXT;
            const WideView text = CutText(w.save, TextOf(value), TEXT_MOST);
            PutU16(BeginCell(w, RECORD_LABEL_2, 2, row, cell), static_cast<u32>(text.size()));
            WritePocketText(w.save, text);
            break;
        }
        case VT_BOOL:
        case VT_ERROR: {
            const bool error = value.type == VT_ERROR;
            u8* out = BeginCell(w, RECORD_BOOLERR_2, 2, row, cell);
            out[0] = error ? BiffFromError(value.error) : static_cast<u8>(value.boolean != 0);
            out[1] = error;
            break;
        }
        default: BeginCell(w, RECORD_BLANK_2, 0, row, cell); break;
    }
}

// A formula that handhelds do not know is its value; so is one of an array, which they do not have.
void WriteFormula(SheetWriting& w, u16 row, const CellRecord& cell) {
    u16 length = 0;
    if (FindActiveArray(w.sheet, w.arrays, row, cell.column) >= 0 ||
        !NarrowTokens(w.save, cell.formula->tokens, false, length)) {
        w.save.losses |= LOSS_FORMULAS;
        return WriteValue(w, row, cell);
    }
    u8* out = BeginCell(w, RECORD_FORMULA, 11, row, cell);
    PutResult(out, cell.value);
    out[8] = cell.formula->alwaysCalculate;
    PutU16(out + 9, length);
    WriteBytes(w.save.writer, w.save.narrowed.out.Data(), length);
    if (cell.value.type != VT_STRING) return;
    const WideView text = CutText(w.save, TextOf(cell.value), TEXT_MOST);
    PutU16(BeginPocketRecord(w.save.writer, RECORD_STRING_2, 2), static_cast<u32>(text.size()));
    WritePocketText(w.save, text);
}

void WriteCells(SheetWriting& w) {
    if (!BeginArrays(w.sheet, w.arrays)) w.save.writer.failed = true;
    for (const CellRow& row : w.sheet.cells.rows) {
        if (w.save.writer.failed) return;
        if (!EnterRow(w.sheet, w.arrays, row.row)) w.save.writer.failed = true;
        for (u32 i = 0; i < row.count; ++i) {
            if (row.cells[i].formula) {
                WriteFormula(w, row.row, row.cells[i]);
            } else {
                WriteValue(w, row.row, row.cells[i]);
            }
        }
    }
}

// ---- the view -----------------------------------------------------------------------------------------------

void WriteWindow(SaveState& save, const Sheet& sheet) {
    const SheetView& view = sheet.view;
    const bool frozen = (sheet.viewFlags & VIEW_FROZEN) != 0;
    u8* out = BeginPocketRecord(save.writer, RECORD_WINDOW2_2, 5);
    PutU16(out, frozen && view.splitRow ? view.frozenFirstRow : view.firstRow);
    out[2] = frozen && view.splitColumn ? view.frozenFirstColumn : view.firstColumn;
    out[3] = static_cast<u8>((sheet.viewFlags & (VIEW_FORMULAS | POCKET_HIDES | VIEW_FROZEN)) ^ POCKET_HIDES);
    out[4] = frozen ? FROZEN_WITHOUT_SPLIT : u8{0};
}

void WriteSelection(SaveState& save, const SheetView& view) {
    u8* out = BeginPocketRecord(save.writer, RECORD_SELECTION, 9);
    PutU16(out, view.activeRow);
    out[2] = view.activeColumn;
    PutU16(out + 3, view.selection.firstRow);
    PutU16(out + 5, view.selection.lastRow);
    out[7] = view.selection.firstColumn;
    out[8] = view.selection.lastColumn;
}

void NoteLosses(SaveState& save, const Sheet& sheet) {
    const PageSettings& page = sheet.page;
    const struct {
        bool lost;
        u32 loss;
    } rows[] = {
        {!sheet.mergedAreas.IsEmpty(), LOSS_MERGES},
        {!sheet.conditionalFormats.IsEmpty() || !sheet.validations.IsEmpty(), LOSS_RULES},
        {!sheet.hyperlinks.IsEmpty(), LOSS_HYPERLINKS},
        {!sheet.objects.IsEmpty(), LOSS_OBJECTS},
        {sheet.filterState != 0 || !sheet.filterColumns.IsEmpty(), LOSS_FILTERS},
        {sheet.hidden || sheet.tabColour || (sheet.viewFlags & VIEW_PROTECTED), LOSS_SHEET_STATE},
        {!page.header.IsEmpty() || !page.footer.IsEmpty() || !page.setup.IsEmpty() || !page.printer.IsEmpty(),
         LOSS_PAGE},
    };
    for (const auto& row : rows) save.losses |= row.lost ? row.loss : 0u;
}

}  // namespace

void WritePocketSheet(SaveState& save, const Sheet& sheet) {
    NoteLosses(save, sheet);
    u8* height = BeginPocketRecord(save.writer, RECORD_DEFAULTROWHEIGHT_2, 4);
    PutU16(height, 0);
    PutU16(height + 2, DefaultRowHeight(sheet));
    u8* width = BeginPocketRecord(save.writer, RECORD_DEFCOLWIDTH, 6);
    PutU16(width, 0);
    PutU16(width + 2, DefaultColumnWidth(sheet));
    PutU16(width + 4, 0);
    WriteColumnInfos(save, sheet);
    WriteRowInfos(save, sheet);
    SheetWriting w{save, sheet, {}};
    WriteCells(w);
    WriteWindow(save, sheet);
    if (sheet.viewFlags & VIEW_FROZEN)
        PutPane(save, sheet.view, BeginPocketRecord(save.writer, RECORD_PANE, 9));
    WriteSelection(save, sheet.view);
}

}  // namespace tally
