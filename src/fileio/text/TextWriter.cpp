#include <algorithm>
#include <cstring>

#include "base/Number.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "display/LocaleSettings.h"
#include "fileio/common/FileForms.h"
#include "fileio/text/TextFiles.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr std::size_t FLUSH_BYTES = 1 << 16;
constexpr i32 GENERAL_DIGITS = 15;

struct TextWriter {
    i32 book;
    i32 sheet;
    OutputHandle file;
    u32 codePage;
    bool asciiKept;  // characters below 128 are their own byte
    u32 losses;      // SaveLoss bits
    char16_t separator;
    char16_t listSeparator;
    bool formulas;
    Array<u8> separators;  // of the longest line, in the bytes of the file
    Array<u8> bytes;       // not yet handed to the file
    WideText shown;
    WideText back;  // scratch: what the file's bytes will be read as
};

bool Flush(TextWriter& w) {
    if (w.bytes.IsEmpty()) return true;
    if (!Platform().writeFile(w.file, w.bytes.Data(), w.bytes.Count())) return false;
    w.bytes.Truncate(0);
    return true;
}

// Notes whether what was written from `start` on comes back.
bool PutConverted(TextWriter& w, WideView text) {
    const u32 start = w.bytes.Count();
    if (!Platform().wideCharToMultiByte(w.codePage, text, w.bytes)) return false;
    if (w.losses & LOSS_CHARACTERS) return true;
    w.back.Truncate(0);
    if (!Platform().multiByteToWideChar(w.codePage, w.bytes.Span().subspan(start), w.back)) return false;
    if (w.back.View() != text) w.losses |= LOSS_CHARACTERS;
    return true;
}

// Text that is its own bytes, which most is, goes out without asking the platform.
bool PutText(TextWriter& w, WideView text) {
    char16_t all = 0;
    for (char16_t c : text) all |= c;
    if (!w.asciiKept || all >= 128) return PutConverted(w, text);
    u8* out = w.bytes.AppendRaw(text.size());
    if (!out) return false;
    for (char16_t c : text) *out++ = static_cast<u8>(c);
    return true;
}
bool PutCharacter(TextWriter& w, char16_t c) {
    return w.asciiKept && c < 128 ? w.bytes.Append(static_cast<u8>(c)) : PutText(w, WideView(&c, 1));
}

bool NeedsQuoting(const TextWriter& w, WideView text) {
    bool needed = false;
    for (char16_t c : text) needed |= c == u'"' || c == u'\r' || c == u'\n' || c == w.listSeparator;
    return needed;
}

bool PutField(TextWriter& w, WideView text, bool prefixed) {
    if (!prefixed && !NeedsQuoting(w, text)) return PutText(w, text);
    if (!PutCharacter(w, u'"')) return false;
    // Each quote ends a piece and begins the next one, so that it goes out twice.
    for (std::size_t at = 0;;) {
        const std::size_t quote = text.find(u'"', at);
        if (quote == WideView::npos) return PutText(w, text.substr(at)) && PutCharacter(w, u'"');
        if (!PutText(w, text.substr(at, quote + 1 - at)) || !PutCharacter(w, u'"')) return false;
        at = quote + 1;
    }
}

// A number under General goes straight to bytes. False with `done` clear when it needs the long way.
bool PutGeneral(TextWriter& w, double number, bool& done) {
    const char16_t point = Locale().decimalSeparator;
    done = w.asciiKept && point < 128 && point != w.listSeparator;
    if (!done) return true;
    char text[NUMBER_TEXT_ROOM];
    const std::size_t length = PrintGeneral(number, GENERAL_DIGITS, text);
    if (point != u'.') std::replace(text, text + length, '.', static_cast<char>(point));
    return w.bytes.AppendMany(reinterpret_cast<const u8*>(text), length);
}

bool PutCell(TextWriter& w, i32 row, const CellRecord& cell) {
    const Workbook& book = *BookAt(w.book);
    const CellFormat& format = ResolveCellFormat(book, cell.format);
    const bool prefixed = (format.flags & FORMAT_QUOTE_PREFIX) != 0;
    if (w.formulas && cell.formula) {
        w.shown.Truncate(0);
        return FormulaToText(w.book, cell.formula->tokens, row, cell.column, true, w.shown) &&
               PutField(w, w.shown, prefixed);
    }
    if (cell.value.type == VT_EMPTY) return true;
    const bool general = format.numberFormat == 0;
    if (general && !prefixed && cell.value.type == VT_NUMBER) {
        bool done = false;
        if (!PutGeneral(w, cell.value.number, done)) return false;
        if (done) return true;
    }
    if (general && cell.value.type == VT_STRING) return PutField(w, TextOf(cell.value), prefixed);
    return DisplayValue(book, cell.value, format.numberFormat, w.shown) && PutField(w, w.shown, prefixed);
}

// The cell at a place, brought up to date; fetched anew because a calculation may move it.
const CellRecord* CurrentCell(const TextWriter& w, u32 slot, u32 index) {
    CellStore& store = SheetAt(w.book, w.sheet)->cells;
    if (slot >= store.rows.Count() || index >= store.rows[slot].count) return nullptr;
    const CellRecord& cell = store.rows[slot].cells[index];
    if (cell.calcState != CALC_STALE) return &cell;
    const i32 row = store.rows[slot].row;
    const i32 column = cell.column;
    CalculateCell(w.book, w.sheet, row, column);
    return GetCell(SheetAt(w.book, w.sheet)->cells, row, column);
}

// At most one for each column, all of them at once.
bool PutSeparators(TextWriter& w, i32 count) {
    if (count <= 0) return true;
    const std::size_t bytes = w.separators.Count() / (MAX_COLUMNS - 1);
    return w.bytes.AppendMany(w.separators.Data(), bytes * static_cast<std::size_t>(count));
}

// The cells of one slot; `column` is where the line stands afterwards.
bool PutRowCells(TextWriter& w, u32 slot, i32& column) {
    const i32 row = SheetAt(w.book, w.sheet)->cells.rows[slot].row;
    for (u32 i = 0; i < SheetAt(w.book, w.sheet)->cells.rows[slot].count; ++i) {
        const CellRecord* cell = CurrentCell(w, slot, i);
        if (!cell) return true;
        if (!PutSeparators(w, cell->column - column)) return false;
        column = cell->column;
        if (!PutCell(w, row, *cell)) return false;
    }
    return true;
}

bool PutRows(TextWriter& w, bool padded, i32 lastColumn) {
    u32 slot = 0;
    for (i32 row = 0; slot < SheetAt(w.book, w.sheet)->cells.rows.Count(); ++row) {
        i32 column = 0;
        if (SheetAt(w.book, w.sheet)->cells.rows[slot].row == row && !PutRowCells(w, slot++, column))
            return false;
        if (padded && !PutSeparators(w, lastColumn - column)) return false;
        if (!PutCharacter(w, u'\r') || !PutCharacter(w, u'\n')) return false;
        if (w.bytes.Count() >= FLUSH_BYTES && !Flush(w)) return false;
    }
    return Flush(w);
}

// Fills w.separators; a page that has no such character leaves it empty.
bool MakeSeparators(TextWriter& w) {
    for (i32 i = 0; i < MAX_COLUMNS - 1; ++i) {
        if (!PutCharacter(w, w.separator)) return false;
    }
    const bool done = w.separators.AppendMany(w.bytes.Data(), w.bytes.Count());
    w.bytes.Truncate(0);
    return done;
}

i32 LastCellColumn(const CellStore& store) {
    i32 last = 0;
    for (const CellRow& row : store.rows) last = std::max(last, i32{row.cells[row.count - 1].column});
    return last;
}

}  // namespace

bool WriteText(i32 book, OutputHandle file, FileType type, u32& losses) {
    const Workbook& workbook = *BookAt(book);
    const Sheet* sheet = SheetAt(book, workbook.currentSheet);
    TextWriter w{};
    w.book = book;
    w.sheet = workbook.currentSheet;
    w.file = file;
    w.codePage = workbook.textCodePage ? workbook.textCodePage : Platform().getTextCodePage();
    w.asciiKept = w.codePage != 1200 && w.codePage != 1201;
    w.listSeparator = Locale().listSeparator;
    w.separator = type == FILE_TXT ? u'\t' : w.listSeparator;
    if (!w.bytes.Reserve(FLUSH_BYTES * 2) || !MakeSeparators(w)) return false;
    const ByteView mark = workbook.textMark ? MarkOfPage(workbook.textCodePage) : ByteView();
    if (!w.bytes.AppendMany(mark.data(), mark.size())) return false;
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS) || !sheet->cells.count) return Flush(w);
    w.formulas = (sheet->viewFlags & VIEW_FORMULAS) != 0;
    const bool good = PutRows(w, type != FILE_TXT, LastCellColumn(sheet->cells));
    losses |= w.losses;
    return good;
}

}  // namespace tally
