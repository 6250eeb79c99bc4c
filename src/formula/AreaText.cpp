#include "base/Number.h"
#include "base/Text.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

bool IsPlainChar(char16_t c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c == u'_' || c == u'.' || (c > 127 && IsAlphanumericChar(c));
}

bool AppendQuotable(WideText& out, WideView name) {
    for (char16_t c : name) {
        if (c == u'\'' && !out.Append(c)) return false;
        if (!out.Append(c)) return false;
    }
    return true;
}

// "R" or "C" with an absolute number or an offset from the base.
bool AppendR1C1Part(WideText& out, char16_t letter, i32 value, bool relative, i32 base) {
    if (!out.Append(letter)) return false;
    if (!relative) return AppendInteger(out, value + 1);
    if (value == base) return true;
    return out.Append(u'[') && AppendInteger(out, value - base) && out.Append(u']');
}

bool CellToR1C1(i32 row, i32 column, bool rowRelative, bool columnRelative, i32 baseRow, i32 baseColumn,
                WideText& out) {
    return AppendR1C1Part(out, u'R', row, rowRelative, baseRow) &&
           AppendR1C1Part(out, u'C', column, columnRelative, baseColumn);
}

bool AppendColumn(WideText& out, i32 column, bool relative) {
    return (relative || out.Append(u'$')) && AppendColumnLetters(column, out);
}
bool AppendRow(WideText& out, i32 row, bool relative) {
    return (relative || out.Append(u'$')) && AppendInteger(out, row + 1);
}

struct AreaFlags {
    bool firstRow, firstColumn, lastRow, lastColumn;  // relative
    bool bothCorners;
    bool IsOneCorner(const RefArea& area) const {
        return !bothCorners && IsOneCell(area) && firstRow == lastRow && firstColumn == lastColumn;
    }
};

bool AppendAreaA1(WideText& out, const RefArea& area, const AreaFlags& relative) {
    if (area.firstColumn == 0 && area.lastColumn == MAX_COLUMNS - 1 &&
        relative.firstColumn == relative.lastColumn) {
        return AppendRow(out, area.firstRow, relative.firstRow) && out.Append(u':') &&
               AppendRow(out, area.lastRow, relative.lastRow);
    }
    if (area.firstRow == 0 && area.lastRow == MAX_ROWS - 1) {
        return AppendColumn(out, area.firstColumn, relative.firstColumn) && out.Append(u':') &&
               AppendColumn(out, area.lastColumn, relative.lastColumn);
    }
    if (!CellToText(area.firstRow, area.firstColumn, !relative.firstRow, !relative.firstColumn, out))
        return false;
    if (relative.IsOneCorner(area)) return true;
    return out.Append(u':') &&
           CellToText(area.lastRow, area.lastColumn, !relative.lastRow, !relative.lastColumn, out);
}

bool AppendAreaR1C1(WideText& out, const RefArea& area, const AreaFlags& relative, i32 row, i32 column) {
    if (area.firstColumn == 0 && area.lastColumn == MAX_COLUMNS - 1 &&
        relative.firstColumn == relative.lastColumn) {
        return AppendR1C1Part(out, u'R', area.firstRow, relative.firstRow, row) && out.Append(u':') &&
               AppendR1C1Part(out, u'R', area.lastRow, relative.lastRow, row);
    }
    if (area.firstRow == 0 && area.lastRow == MAX_ROWS - 1) {
        return AppendR1C1Part(out, u'C', area.firstColumn, relative.firstColumn, column) && out.Append(u':') &&
               AppendR1C1Part(out, u'C', area.lastColumn, relative.lastColumn, column);
    }
    if (!CellToR1C1(area.firstRow, area.firstColumn, relative.firstRow, relative.firstColumn, row, column, out))
        return false;
    if (relative.IsOneCorner(area)) return true;
    return out.Append(u':') &&
           CellToR1C1(area.lastRow, area.lastColumn, relative.lastRow, relative.lastColumn, row, column, out);
}

bool AppendSheetAndBook(WideText& out, i32 book, i32 sheet, bool withBook) {
    const Workbook* workbook = BookAt(book);
    const Sheet* target = SheetAt(book, sheet);
    if (!workbook || !target) return true;
    const WideView file = FileNameOf(workbook->path);
    const bool quoted = NeedsQuotes(target->name) || (withBook && NeedsQuotes(file));
    if (quoted && !out.Append(u'\'')) return false;
    if (withBook && !(out.Append(u'[') && AppendQuotable(out, file) && out.Append(u']'))) return false;
    return AppendQuotable(out, target->name) && (!quoted || out.Append(u'\'')) && out.Append(u'!');
}

// The names of a row's sheets into `out`; "#REF!" for a sheet that was deleted.
bool SheetNames(i32 book, const ExternBook& link, const ExternSheet& row, WideText& out) {
    if (row.firstSheet == EXTERN_NO_SHEET) return true;
    const auto nameOf = [&](i16 index) -> WideView {
        if (link.kind == EXTERN_SELF) {
            const Sheet* sheet = SheetAt(book, index);
            return sheet ? WideView(sheet->name) : WideView(u"#REF!");
        }
        const bool known = index >= 0 && static_cast<u32>(index) < link.sheetNames.Count();
        return known ? link.sheetNames[static_cast<u32>(index)].View() : WideView(u"#REF!");
    };
    if (!out.Append(nameOf(row.firstSheet))) return false;
    if (row.firstSheet == row.lastSheet || row.firstSheet < 0) return true;
    return out.Append(u':') && out.Append(nameOf(row.lastSheet));
}

}  // namespace

bool NeedsQuotes(WideView name) {
    if (name.empty()) return false;
    if (IsAsciiDigit(name[0]) || name[0] == u'.') return true;
    for (char16_t c : name) {
        if (!IsPlainChar(c)) return true;
    }
    return false;
}

bool AppendColumnLetters(i32 column, WideText& out) {
    if (column >= 26 && !out.Append(static_cast<char16_t>(u'A' + column / 26 - 1))) return false;
    return out.Append(static_cast<char16_t>(u'A' + column % 26));
}

bool CellToText(i32 row, i32 column, bool rowAbsolute, bool columnAbsolute, WideText& out) {
    return AppendColumn(out, column, !columnAbsolute) && AppendRow(out, row, !rowAbsolute);
}

bool AreaToText(i32 book, i32 sheet, const RefArea& area, u16 flags, i32 row, i32 column, WideText& out) {
    if ((flags & AREA_WITH_EQUALS) && !out.Append(u'=')) return false;
    if ((flags & (AREA_WITH_SHEET | AREA_WITH_BOOK)) &&
        !AppendSheetAndBook(out, book, sheet, (flags & AREA_WITH_BOOK) != 0))
        return false;
    const AreaFlags relative = {(flags & AREA_FIRST_ROW_RELATIVE) != 0,
                                (flags & AREA_FIRST_COLUMN_RELATIVE) != 0,
                                (flags & AREA_LAST_ROW_RELATIVE) != 0, (flags & AREA_LAST_COLUMN_RELATIVE) != 0,
                                (flags & AREA_BOTH_CORNERS) != 0};
    return flags & AREA_USE_A1 ? AppendAreaA1(out, area, relative)
                               : AppendAreaR1C1(out, area, relative, row, column);
}

bool SheetPrefix(i32 book, i32 externIndex, bool withBrackets, bool forceQuotes, WideText& out) {
    const Workbook* workbook = BookAt(book);
    const ExternBook* found = workbook ? LinkAt(*workbook, externIndex) : nullptr;
    if (!found) return out.Append(u"#REF!");
    const ExternSheet& row = *ExternRowAt(*workbook, externIndex);
    const ExternBook& link = *found;
    if (link.kind == EXTERN_CURRENT) return out.Append(u'!');
    if (link.kind == EXTERN_SELF && row.firstSheet == -1) return out.Append(u"#REF!");
    WideText sheets, path;
    if (!SheetNames(book, link, row, sheets)) return false;
    bool quoted = forceQuotes;
    const bool isFile = link.kind == EXTERN_FILE;
    if (isFile && !ExpandStoredPath(path, link.path, *workbook)) return false;
    const WideView file = FileNameOf(path);
    const bool sameName = isFile && sheets.View() == file;
    const std::size_t colon = sheets.View().find(u':');
    quoted = quoted || NeedsQuotes(sheets.View().substr(0, colon)) || NeedsQuotes(file) ||
             !DirectoryOf(path).empty();
    if (colon != WideView::npos) quoted = quoted || NeedsQuotes(sheets.View().substr(colon + 1));
    if (quoted && !out.Append(u'\'')) return false;
    if (isFile && !sameName) {
        const bool brackets = withBrackets && !sheets.IsEmpty();
        if (!AppendQuotable(out, DirectoryOf(path)) || (brackets && !out.Append(u'[')) ||
            !AppendQuotable(out, file) || (brackets && !out.Append(u']'))) {
            return false;
        }
    }
    return AppendQuotable(out, sheets) && (!quoted || out.Append(u'\'')) && out.Append(u'!');
}

}  // namespace tally
