#include "base/Platform.h"
#include "base/Text.h"
#include "formula/EvaluationNotes.h"
#include "formula/FormulaText.h"
#include "functions/Arguments.h"
#include "functions/FormatCode.h"
#include "functions/Handlers.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

// CELL and INFO: what is asked for is told by a word.

namespace tally {
namespace {

enum CellWord : i32 {
    CELL_ADDRESS,
    CELL_COL,
    CELL_COLOR,
    CELL_CONTENTS,
    CELL_FILENAME,
    CELL_FORMAT,
    CELL_PARENTHESES,
    CELL_PREFIX,
    CELL_PROTECT,
    CELL_ROW,
    CELL_TYPE,
    CELL_WIDTH,
};
constexpr WideView cellWords[] = {u"ADDRESS",     u"COL",    u"COLOR",   u"CONTENTS", u"FILENAME", u"FORMAT",
                                  u"PARENTHESES", u"PREFIX", u"PROTECT", u"ROW",      u"TYPE",     u"WIDTH"};

enum InfoWord : i32 {
    INFO_DIRECTORY,
    INFO_MEMAVAIL,
    INFO_MEMUSED,
    INFO_NUMFILE,
    INFO_ORIGIN,
    INFO_OSVERSION,
    INFO_RECALC,
    INFO_RELEASE,
    INFO_SYSTEM,
    INFO_TOTMEM,
};
constexpr WideView infoWords[] = {u"DIRECTORY", u"MEMAVAIL", u"MEMUSED", u"NUMFILE", u"ORIGIN",
                                  u"OSVERSION", u"RECALC",   u"RELEASE", u"SYSTEM",  u"TOTMEM"};

constexpr double CHARACTERS_PER_UNIT = 0.00390625;  // column widths are in 1/256

i32 FindWord(std::span<const WideView> words, WideView text) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (EqualIgnoringCase(words[i], text)) return static_cast<i32>(i);
    }
    return -1;
}

Value BuiltText(bool good, const WideText& text) { return good ? TextValue(text) : ErrorValue(ERR_NA); }

Value AddressOf(const SheetArea& at, const EvalContext& context) {
    u16 flags = AREA_USE_A1;
    if (at.book != context.book) {
        flags |= AREA_WITH_SHEET | AREA_WITH_BOOK;
    } else if (at.sheet != context.sheet) {
        flags |= AREA_WITH_SHEET;
    }
    const RefArea cell{at.area.firstRow, at.area.firstRow, at.area.firstColumn, at.area.firstColumn};
    WideText text;
    return BuiltText(AreaToText(at.book, at.sheet, cell, flags, 0, 0, text), text);
}

// Whether a book came from a file without sheet names: its one sheet then bears the file's name.
bool HasNamelessSheet(const Workbook& book) {
    if (book.sheets.Count() != 1) return false;
    const WideView file = FileNameOf(book.path);
    const WideView stem = file.substr(0, file.find_last_of(u'.'));
    return EqualIgnoringCase(book.sheets[0]->name, stem.substr(0, MAX_SHEET_NAME));
}

Value FileNameOfCell(const SheetArea& at) {
    const Workbook* book = BookAt(at.book);
    const Sheet* sheet = SheetAt(at.book, at.sheet);
    if (!book || !sheet || book->untitled || book->path.IsEmpty()) return TextValue(u"");
    if (HasNamelessSheet(*book)) return TextValue(book->path);
    WideText text;
    const bool good = text.Append(DirectoryOf(book->path)) && text.Append(u'[') &&
                      text.Append(FileNameOf(book->path)) && text.Append(u']') && text.Append(sheet->name);
    return BuiltText(good, text);
}

Value PrefixOf(const Sheet& sheet, const SheetArea& at, const CellFormat& format) {
    const CellRecord* cell = GetCell(sheet.cells, at.area.firstRow, at.area.firstColumn);
    if (!cell || cell->formula || cell->value.type != VT_STRING) return TextValue(u"");
    switch (format.horizontal) {
        case 0:
        case 1: return TextValue(u"'");
        case 2: return TextValue(u"^");
        case 3: return TextValue(u"\"");
        default: return TextValue(u"");
    }
}

Value TypeOf(const Value& value) {
    if (value.type == VT_EMPTY) return TextValue(u"b");
    return TextValue(value.type == VT_STRING ? u"l" : u"v");
}

// What the word says about a cell that exists on a sheet.
Value DescribeCell(CellWord word, const SheetArea& at, const EvalContext& context) {
    const Workbook& book = *BookAt(at.book);
    const Sheet& sheet = *SheetAt(at.book, at.sheet);
    const i32 row = at.area.firstRow, column = at.area.firstColumn;
    const CellFormat& format = ResolveCellFormat(book, GetCellFormat(sheet, row, column));
    Value value;
    WideText text;
    switch (word) {
        case CELL_ADDRESS: return AddressOf(at, context);
        case CELL_COL: return NumberValue(column + 1);
        case CELL_CONTENTS:
            GetCellValue(at.book, at.sheet, row, column, value);
            return value.type == VT_EMPTY ? NumberValue(0) : value;
        case CELL_FILENAME: return FileNameOfCell(at);
        case CELL_FORMAT:
            return BuiltText(
                AppendFormatCode(GetNumberFormatText(book, format.numberFormat), format.numberFormat, text),
                text);
        case CELL_PREFIX: return PrefixOf(sheet, at, format);
        case CELL_PROTECT: return NumberValue(format.flags & FORMAT_LOCKED ? 1 : 0);
        case CELL_ROW: return NumberValue(row + 1);
        case CELL_TYPE: {
            GetCellValue(at.book, at.sheet, row, column, value);
            const Value type = TypeOf(value);
            FreeValue(value);
            return type;
        }
        case CELL_WIDTH: return NumberValue(GetColumnWidth(sheet, column) * CHARACTERS_PER_UNIT);
        default: return NumberValue(0);  // colours and parentheses are not told
    }
}

Value Memory(InfoWord word) {
    u64 total = 0, available = 0;
    if (!Platform().globalMemoryStatus || !Platform().globalMemoryStatus(total, available))
        return ErrorValue(ERR_NA);
    if (word == INFO_TOTMEM) return NumberValue(static_cast<double>(total));
    return NumberValue(static_cast<double>(word == INFO_MEMAVAIL ? available : total - available));
}

Value Origin() {
    const Sheet* sheet = CurrentSheet();
    WideText text;
    const i32 row = sheet ? sheet->view.firstRow : 0;
    const i32 column = sheet ? sheet->view.firstColumn : 0;
    return BuiltText(text.Append(u"$A:") && CellToText(row, column, true, true, text), text);
}

Value OsVersion() {
    u32 major = 0, minor = 0;
    if (!Platform().getVersion || !Platform().getVersion(major, minor)) return ErrorValue(ERR_NA);
    return NumberValue(major + minor / 100.0);
}

Value Directory() {
    WideText text;
    return BuiltText(Platform().currentDirectory && Platform().currentDirectory(text), text);
}

}  // namespace

void CallCell(Value* arguments, Value& result, const EvalContext& context) {
    WideView word;
    if (!TextArgument(arguments[0], result, context, word)) return;
    const i32 found = FindWord(cellWords, word);
    if (found < 0) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const Value& where = arguments[1];
    if (IsMissing(where)) NoteEvaluation(NOTE_PLACE);
    const auto row = static_cast<u16>(context.row);
    const auto column = static_cast<u8>(context.column);
    SheetArea at{context.book, context.sheet, {row, row, column, column}};
    i32 error = ERR_REF;
    const bool good = where.type == VT_EMPTY ? SheetAt(at.book, at.sheet) != nullptr
                                             : ResolveSingleArea(where, context, at, error);
    if (good) {
        result = DescribeCell(static_cast<CellWord>(found), at, context);
    } else {
        result = ErrorValue(where.type == VT_ERROR ? where.error : error);
    }
}

void CallInfo(Value* arguments, Value& result, const EvalContext& context) {
    WideView word;
    if (!TextArgument(arguments[0], result, context, word)) return;
    const i32 found = FindWord(infoWords, word);
    switch (found) {
        case INFO_DIRECTORY: result = Directory(); return;
        case INFO_MEMAVAIL:
        case INFO_MEMUSED:
        case INFO_TOTMEM: result = Memory(static_cast<InfoWord>(found)); return;
        case INFO_NUMFILE: result = NumberValue(Books().books.Count()); return;
        case INFO_ORIGIN: result = Origin(); return;
        case INFO_OSVERSION: result = OsVersion(); return;
        case INFO_RECALC: result = TextValue(u"自动"); return;
        case INFO_RELEASE: result = TextValue(u"8.0e"); return;
        case INFO_SYSTEM: result = TextValue(u"pcdos"); return;
        default: result = ErrorValue(ERR_NA); return;
    }
}

}  // namespace tally
