#include "support/BookDump.h"

#include <algorithm>
#include <cstdarg>

#include "fileio/biff/RichText.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using Lines = std::vector<std::string>;

[[gnu::format(printf, 1, 2)]] std::string Print(const char* pattern, ...) {
    char buffer[512];
    va_list arguments;
    va_start(arguments, pattern);
    std::vsnprintf(buffer, sizeof buffer, pattern, arguments);
    va_end(arguments);
    return buffer;
}

std::string Hex(const u8* bytes, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) out += Print("%02X", bytes[i]);
    return out;
}

std::string Hex(const FormulaTokens& tokens) { return Hex(tokens.bytes, tokens.length); }

std::string AreaText(const RefArea& a) {
    return Print("%d:%d,%d:%d", a.firstRow, a.lastRow, a.firstColumn, a.lastColumn);
}

std::string AreasText(const Array<RefArea>& areas) {
    std::string out;
    for (const RefArea& area : areas) out += AreaText(area) + " ";
    return out;
}

std::string ValueText(const Value& value) {
    switch (value.type) {
        case VT_NUMBER: return Print("%.17g", value.number);
        case VT_STRING: return "'" + Narrow(TextOf(value));
        case VT_BOOL: return value.boolean ? "TRUE" : "FALSE";
        case VT_ERROR: return Narrow(ErrorText(value.error));
        default: return "";
    }
}

std::string FontText(const FontRecord& f) {
    return Print("%d/%x/%d/%d/%d/%d/%d ", f.height, f.attributes, f.colour, f.weight, f.underline, f.family,
                 f.charSet) +
           Narrow(WideView(f.faceName));
}

// The formats of the region are those of whoever opens the file.
std::string NumberFormatText(const Workbook& book, u16 id) {
    return id == 14 || id == 20 || id == 22 ? "regional " + std::to_string(id)
                                            : Narrow(GetNumberFormatText(book, id));
}

std::string LookText(const Workbook& book, u16 index) {
    const CellFormat& f = ResolveCellFormat(book, index);
    const auto colour = [](u8 c) { return c > 63 ? 64 : c; };
    return FontText(ResolveFont(book, f.font)) + " | " + NumberFormatText(book, f.numberFormat) +
           Print(" | %d %d %d %d | %d %d %d | %d/%d %d/%d %d/%d %d/%d", f.flags & 31, f.horizontal, f.vertical,
                 f.rotation, f.pattern, colour(f.patternColour), colour(f.backColour), f.topStyle, f.topColour,
                 f.leftStyle, f.leftColour, f.bottomStyle, f.bottomColour, f.rightStyle, f.rightColour);
}

std::string OverrideText(const OverrideByte& o) { return o.present ? std::to_string(o.value) : "-"; }

struct Dump {
    i32 book;
    u32 parts;
    bool rows95;
    Lines lines;
    const Workbook& Book() const { return *BookAt(book); }
    void Add(const std::string& line) { lines.push_back(line); }
};

u16 ColumnFormat(const Sheet& sheet, i32 column) {
    u16 flags = 0;
    u16 format = 0;
    GetColumnInfo(sheet.columns, column, flags, format);
    return format;
}

void DumpCells(Dump& d, const std::string& where, const Sheet& sheet) {
    for (CellPosition p; !AtEnd(sheet.cells, p); NextCell(sheet.cells, p)) {
        const CellRecord& cell = CellAt(sheet.cells, p);
        const u16 row = RowAt(sheet.cells, p);
        if (d.rows95 && row > 0x3FFF) return;
        if (!cell.formula && cell.value.type == VT_EMPTY && cell.format == ColumnFormat(sheet, cell.column))
            continue;
        const std::string at = where + Print(" cell %d,%d ", row, cell.column);
        if (d.parts & DUMP_VALUES) d.Add(at + "value " + ValueText(cell.value));
        if ((d.parts & DUMP_KEPT) && !cell.formula && cell.value.type == VT_STRING) {
            const ByteView runs = RunBytes(TextTail(cell.value.text));
            if (!runs.empty()) d.Add(at + "runs " + Hex(runs.data(), runs.size()));
        }
        if ((d.parts & DUMP_FORMULAS) && cell.formula) {
            WideText text;
            EXPECT_TRUE(FormulaToText(d.book, cell.formula->tokens, row, cell.column, true, text));
            d.Add(at + "formula " + Narrow(text) + (cell.formula->alwaysCalculate ? " always" : ""));
        }
        if (d.parts & DUMP_LOOKS) d.Add(at + "look " + LookText(d.Book(), cell.format));
    }
}

void DumpSizes(Dump& d, const std::string& where, const Sheet& sheet) {
    d.Add(where + Print(" default %d %d %d", DefaultColumnWidth(sheet), DefaultRowHeight(sheet),
                        (sheet.viewFlags & VIEW_HEIGHT_DIFFERS) != 0));
    for (i32 column = 0; column < MAX_COLUMNS; ++column) {
        u16 flags = 0, format = 0;
        GetColumnInfo(sheet.columns, column, flags, format);
        const u16 width = flags & COLUMN_HIDDEN ? u16{0} : GetColumnWidth(sheet, column);
        if (width == DefaultColumnWidth(sheet) && format == DEFAULT_CELL_FORMAT) continue;
        d.Add(where +
              Print(" column %d width %d hidden %d outline %x look ", column, width, flags & COLUMN_HIDDEN,
                    d.parts & DUMP_KEPT ? flags & COLUMN_OUTLINE : 0) +
              (format == DEFAULT_CELL_FORMAT ? "default" : LookText(d.Book(), format)));
    }
    for (const RowInfo& info : sheet.rows) {
        if (d.rows95 && info.row > 0x3FFF) break;
        const u16 height = GetRowHeight(sheet, info.row);
        const u32 kept = d.parts & DUMP_KEPT ? u32{ROW_KEPT} : 0u;
        const u32 shown = ROW_CUSTOM_HEIGHT | ROW_HIDDEN | kept;
        if (height == DefaultRowHeight(sheet) && !(info.flags & shown)) continue;
        d.Add(where + Print(" row %d height %d flags %d format %d", info.row, height, info.flags & shown,
                            info.flags & kept & ROW_FORMATTED ? info.format : 0));
    }
}

void DumpConditions(Dump& d, const std::string& where, const ConditionalFormat& format) {
    d.Add(where + " conditional " + AreasText(format.areas) + std::to_string(format.priority));
    for (const ConditionalCondition& c : format.conditions) {
        const std::string pattern = c.hasPattern
                                        ? OverrideText(c.pattern) + "/" + OverrideText(c.patternColour) + "/" +
                                              OverrideText(c.backColour)
                                        : "none";
        const std::string borders =
            c.hasBorders ? OverrideText(c.leftStyle) + OverrideText(c.rightStyle) + OverrideText(c.topStyle) +
                               OverrideText(c.bottomStyle) +
                               Print("/%d/%d/%d/%d", c.leftColour, c.rightColour, c.topColour, c.bottomColour)
                         : "none";
        d.Add(where + Print("  %u %u ", c.type, c.comparison) + Hex(c.formula1) + " " + Hex(c.formula2) + " " +
              OverrideText(c.strikeout) + OverrideText(c.italic) + OverrideText(c.bold) +
              OverrideText(c.underline) + (c.hasFontColour ? std::to_string(c.fontColour) : "-") + " " +
              borders + " " + pattern);
    }
}

void DumpRules(Dump& d, const std::string& where, const Sheet& sheet) {
    for (const ConditionalFormat& format : sheet.conditionalFormats) DumpConditions(d, where, format);
    for (const ValidationRule& r : sheet.validations) {
        d.Add(where +
              Print(" rule %u %u %u %u %u %u %u %u ", r.kind, r.errorStyle, r.literalList, r.ignoreBlank,
                    r.noDropArrow, r.showInput, r.showError, r.comparison) +
              Narrow(r.inputTitle) + "|" + Narrow(r.errorTitle) + "|" + Narrow(r.inputText) + "|" +
              Narrow(r.errorText) + "|" + Hex(r.formula1) + "|" + Hex(r.formula2) + "|" + AreasText(r.areas));
    }
    d.Add(where + Print(" prompt %d %d %u", sheet.promptX, sheet.promptY, sheet.dropDownId));
}

void DumpFilter(Dump& d, const std::string& where, const Sheet& sheet) {
    d.Add(where + Print(" filter %d", sheet.filterState));
    for (u32 i = 0; i < sheet.filterColumns.Count(); ++i) {
        const FilterColumn& c = sheet.filterColumns[i];
        std::string line = where + Print(" filter %u %d", i, c.joinOr);
        if (c.top10) line += Print(" top %d %d %d", c.top, c.percent, c.count);
        for (const FilterCondition& condition : c.conditions)
            line += Print(" %d/%d/", condition.kind, condition.comparison) + Narrow(condition.text);
        d.Add(line);
    }
}

void DumpView(Dump& d, const std::string& where, const Sheet& sheet) {
    const SheetView& v = sheet.view;
    const u16 flags = sheet.viewFlags & (VIEW_FORMULAS | VIEW_GRIDLINES | VIEW_HEADERS | VIEW_FROZEN);
    d.Add(where +
          Print(" view %x zoom %d active %d,%d first %d,%d frozen %d,%d split %d,%d ", flags, sheet.zoomPercent,
                v.activeRow, v.activeColumn, v.firstRow, v.firstColumn, v.frozenFirstRow, v.frozenFirstColumn,
                v.splitRow, v.splitColumn) +
          AreaText(v.selection));
}

void DumpPage(Dump& d, const std::string& where, const Sheet& sheet) {
    const PageSettings& p = sheet.page;
    d.Add(where + " page " + Narrow(p.header) + "|" + Narrow(p.footer) +
          Print("|%g %g %g %g %d%d%d%d%d%d guts %d %d %d %d", p.leftMargin, p.rightMargin, p.topMargin,
                p.bottomMargin, p.printHeaders, p.printGridlines, p.gridSet, p.centreHorizontally,
                p.centreVertically, p.fitToPage, p.guts[0], p.guts[1], p.guts[2], p.guts[3]));
    d.Add(where + " setup " + Hex(p.setup.Data(), p.setup.Count()));
    d.Add(where + " printer " + Hex(p.printer.Data(), p.printer.Count()));
    d.Add(where + Print(" protected %d %x", (sheet.viewFlags & VIEW_PROTECTED) != 0,
                        sheet.viewFlags & VIEW_PROTECTED ? sheet.passwordHash : 0));
}

void DumpOptions(Dump& d, const std::string& where, const Sheet& sheet) {
    const SheetOptions& o = sheet.options;
    d.Add(where + Print(" options %d %d %d %d %d %g %x %d %d %x", o.calculationMode, o.iterations,
                        o.referenceMode, o.iteration, o.recalculateOnSave, o.precision, o.outlines,
                        o.protectObjects, o.protectScenarios, o.window));
    for (const PageBreak& row : sheet.page.rowBreaks) d.Add(where + Print(" break above %d", row.at));
    for (const PageBreak& row : sheet.page.columnBreaks) d.Add(where + Print(" break left of %d", row.at));
}

void DumpSheet(Dump& d, u32 index) {
    const Sheet& sheet = *d.Book().sheets[index];
    const std::string where = "sheet " + std::to_string(index);
    if (d.parts & DUMP_TABS) {
        d.Add(where + " " + Narrow(WideView(sheet.name)) +
              Print(" kind %d hidden %d colour %d", sheet.kind, sheet.hidden, sheet.tabColour));
    }
    if (sheet.kind == SHEET_CHART)
        d.Add(where + " chart " + Hex(sheet.carried.bytes.Data(), sheet.carried.bytes.Count()));
    if (!(sheet.kind & SHEET_WITH_CELLS)) return;
    DumpCells(d, where, sheet);
    if (d.parts & DUMP_FORMULAS) {
        for (const ArrayEntry& entry : sheet.arrayFormulas) d.Add(where + " array " + AreaText(entry.area));
        for (const DataTable& t : sheet.dataTables) {
            d.Add(where + " table " + AreaText(t.area) +
                  Print(" %x %d %d %d %d", t.flags, t.inputs[0], t.inputs[1], t.inputs[2], t.inputs[3]));
        }
    }
    if (d.parts & DUMP_SIZES) DumpSizes(d, where, sheet);
    if (d.parts & DUMP_RULES) DumpRules(d, where, sheet);
    if (d.parts & (DUMP_RULES | DUMP_VALUES)) DumpFilter(d, where, sheet);
    if (d.parts & DUMP_MERGES) {
        // In the order in which a file has them.
        std::vector<RefArea> merges(sheet.mergedAreas.begin(), sheet.mergedAreas.end());
        std::sort(merges.begin(), merges.end(), [](const RefArea& a, const RefArea& b) {
            return a.firstRow != b.firstRow ? a.firstRow < b.firstRow : a.firstColumn < b.firstColumn;
        });
        for (const RefArea& merge : merges) d.Add(where + " merge " + AreaText(merge));
    }
    if (d.parts & DUMP_LINKS) {
        for (const Hyperlink& link : sheet.hyperlinks)
            d.Add(where + " link " + AreaText(link.area) + " " + Narrow(link.target) + "|" +
                  Narrow(link.location));
    }
    if (d.parts & DUMP_VIEWS) DumpView(d, where, sheet);
    if (d.parts & DUMP_PAGES) DumpPage(d, where, sheet);
    if (d.parts & DUMP_KEPT) DumpOptions(d, where, sheet);
}

void DumpLinkValues(Dump& d) {
    const Workbook& book = d.Book();
    for (const ExternBook& row : book.externBooks) {
        for (const ExternCell& cell : row.cells)
            d.Add("link " + Narrow(row.path) +
                  Print(" %d %d %d is %d %.17g ", cell.sheet, cell.row, cell.column, cell.type, cell.number) +
                  Narrow(cell.text));
    }
}

void DumpNames(Dump& d) {
    for (u32 i = 0; i < d.Book().names.Count(); ++i) {
        const DefinedName& name = d.Book().names[i];
        if (!HasFormula(name.tokens)) continue;
        WideText text;
        EXPECT_TRUE(FormulaToText(d.book, name.tokens, 0, 0, true, text));
        d.Add("name " + Narrow(name.text) + Print(" %x %d %d ", name.flags, name.shortcut, name.sheet) +
              Narrow(text));
    }
}

void DumpTables(Dump& d) {
    const Workbook& book = d.Book();
    for (const FontRecord& font : book.fonts) d.Add("font " + FontText(font));
    for (u32 i = 0; i < book.cellFormats.Count(); ++i) d.Add("xf " + LookText(book, static_cast<u16>(i)));
    for (const StyleRow& style : book.styles)
        d.Add(Print("style %x %d %d ", style.xf, style.builtInId, style.level) + Narrow(style.name));
    Lines formats;
    for (const NumberFormat& format : book.numberFormats)
        formats.push_back(Print("format %d ", format.id) + NumberFormatText(book, format.id));
    std::sort(formats.begin(), formats.end());
    d.lines.insert(d.lines.end(), formats.begin(), formats.end());
    for (i32 i = 8; i < PALETTE_SIZE; ++i) d.Add(Print("colour %d %06x", i, book.palette[i]));
}

void DumpBookFields(Dump& d) {
    const Workbook& book = d.Book();
    d.Add(Print("book 1904 %u bars %u %u %u current %d country %d %d user %d ", book.date1904,
                book.showVerticalScrollBar, book.showHorizontalScrollBar, book.showSheetTabs, book.currentSheet,
                book.country[0], book.country[1], book.userNameLength & 0xFF));
    const BookOptions& o = book.options;
    if (!(d.parts & DUMP_KEPT)) return;
    d.Add(Print("book options %d %d %x %d %d %d %d", o.protectWindows, o.protectStructure, o.passwordHash,
                o.backup, o.hideObjects, o.precision, o.saveNoLinks));
}

}  // namespace

std::vector<std::string> DumpBook(i32 book, u32 parts, bool rows95) {
    CalculateBook(book);
    Dump d{book, parts, rows95, {}};
    DumpBookFields(d);
    if (parts & DUMP_NAMES) DumpNames(d);
    if (parts & DUMP_TABLES) DumpTables(d);
    if (parts & DUMP_LINK_VALUES) DumpLinkValues(d);
    for (u32 i = 0; i < BookAt(book)->sheets.Count(); ++i) DumpSheet(d, i);
    return std::move(d.lines);
}

std::string DumpDifference(const std::vector<std::string>& before, const std::vector<std::string>& after,
                           std::size_t most) {
    Lines a = before, b = after, missing, added;
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(missing));
    std::set_difference(b.begin(), b.end(), a.begin(), a.end(), std::back_inserter(added));
    std::string out;
    for (std::size_t i = 0; i < missing.size() && i < most; ++i) out += "- " + missing[i].substr(0, 400) + "\n";
    for (std::size_t i = 0; i < added.size() && i < most; ++i) out += "+ " + added[i].substr(0, 400) + "\n";
    if (out.empty() && before != after) out = "the order differs\n";
    return out;
}

}  // namespace tally
