// Prints how the worksheets of a book look: what their cells would be painted with on a picture of the whole
// sheet at 96 pixels to the inch, with the fonts of the machine. For tools/looks/looks.py.
// sheet_looks [--rows N] [--columns N] BOOK
//
// Lines of words separated by tabs, texts as JSON:
//   sheet INDEX NAME ROWS COLUMNS    row INDEX START END    column INDEX START END
//   text LEFT TOP RIGHT BOTTOM, the clip's four, RRGGBB, TEXT
//   fill LEFT TOP RIGHT BOTTOM RRGGBB PATTERN    line X1 Y1 X2 Y2 RRGGBB WIDTH STYLE
//   cell ROW COLUMN TYPE TEXT        the text that a cell would show with room enough; type: ValueType

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "display/DisplayText.h"
#include "display/LocaleSettings.h"
#include "editing/ConditionalFormats.h"
#include "fileio/OpenFile.h"
#include "formula/SheetCalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDrawing.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/qt/QtDesktop.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/CellPaint.h"
#include "shell/grid/GridMetrics.h"

namespace tally {
namespace {

i32 mostRows = 250, mostColumns = 60;

std::string Quoted(WideView text) {
    std::string bytes(Utf8Length(text), '\0'), out = "\"";
    Utf8FromWide(text, bytes.data());
    for (const char c : bytes) {
        char code[8];
        const auto value = static_cast<unsigned char>(c);
        std::snprintf(code, sizeof code, "\\u%04x", value);
        if (value < 32) out += code;
        else if (c == '"' || c == '\\') out += {'\\', c};
        else out += c;
    }
    return out + '"';
}

unsigned Colour(u32 colour) { return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF); }

void PrintRect(const char* kind, const PixelRect& rect) {
    std::printf("%s\t%d\t%d\t%d\t%d", kind, rect.left, rect.top, rect.right, rect.bottom);
}

void PrintRecord(const DrawRecord& record) {
    switch (record.kind) {
        case DRAW_TEXT:
            PrintRect("text", record.rect);
            PrintRect("", record.clip);
            std::printf("\t%06x\t%s\n", Colour(record.colour), Quoted(record.text).c_str());
            break;
        case DRAW_FILL:
        case DRAW_PATTERN:
            PrintRect("fill", record.rect);
            std::printf("\t%06x\t%d\n", Colour(record.colour), record.kind == DRAW_PATTERN ? record.style : 1);
            break;
        case DRAW_LINE:
            PrintRect("line", record.rect);
            std::printf("\t%06x\t%d\t%d\n", Colour(record.colour), record.pen.width, record.pen.style);
            break;
        default: break;
    }
}

template <typename Size>
bool PlaceLines(const char* kind, i32 count, Size size, Array<ShownLine>& lines) {
    i32 place = 0;
    for (i32 i = 0; i < count; ++i) {
        const i32 pixels = size(i);
        std::printf("%s\t%d\t%d\t%d\n", kind, i, place, place + pixels);
        if (pixels && !lines.Append({i, place, place + pixels})) return false;
        place += pixels;
    }
    return true;
}

const ConditionalCondition* ConditionAt(const Sheet& sheet, const ShownLine& row, const ShownLine& column) {
    return FindConditionalFormat(sheet.book, sheet.index, row.index, column.index);
}
const ConditionalCondition* ConditionOfMerge(const Sheet& sheet, const RefArea& merge) {
    return FindConditionalFormat(sheet.book, sheet.index, merge.firstRow, merge.firstColumn);
}

void PrintCells(const Workbook& book, const Sheet& sheet, i32 rows, i32 columns) {
    for (const CellRow& row : sheet.cells.rows) {
        if (row.row >= rows) return;
        for (u32 i = 0; i < row.count; ++i) {
            const CellRecord& cell = row.cells[i];
            WideText text;
            if (cell.column >= columns || !DisplayText(book, cell.value, cell.format, text) || text.IsEmpty())
                continue;
            std::printf("cell\t%d\t%d\t%d\t%s\n", row.row, cell.column, cell.value.type, Quoted(text).c_str());
        }
    }
}

bool PrintSheet(Workbook& book, Sheet& sheet) {
    const i32 rows = std::min(mostRows, LastUsedRow(sheet) + 1),
              columns = std::min(mostColumns, LastUsedColumn(sheet) + 1);
    std::printf("sheet\t%d\t%s\t%d\t%d\n", sheet.index, Quoted(WideView(sheet.name)).c_str(),
                LastUsedRow(sheet) + 1, LastUsedColumn(sheet) + 1);
    CalculateArea(sheet, {0, static_cast<u16>(rows - 1), 0, static_cast<u8>(columns - 1)});
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    Array<DrawRecord> records;
    Array<ShownLine> rowLines, columnLines;
    DrawTarget target = MakeRecordTarget(records, 1 << 20, 1 << 20);
    CellsPaint paint{.target = target,
                     .metrics = MetricsOn(target, sheet, DigitWidth(book, screen), 100),
                     .rows = {},
                     .columns = {},
                     .clip = target.clip,
                     .merges = {}};
    paint.book = &book;
    paint.sheet = &sheet;
    paint.conditionAt = ConditionAt;
    paint.conditionOfMerge = ConditionOfMerge;
    const auto height = [&](i32 row) { return RowPixels(paint.metrics, sheet, row); };
    const auto width = [&](i32 column) { return ColumnPixels(paint.metrics, sheet, column); };
    if (!PlaceLines("row", rows, height, rowLines) || !PlaceLines("column", columns, width, columnLines))
        return false;
    paint.rows = rowLines.Span();
    paint.columns = columnLines.Span();
    PaintCellArea(paint);
    for (const DrawRecord& record : records) PrintRecord(record);
    PrintCells(book, sheet, rows, columns);
    return true;
}

}  // namespace
}  // namespace tally

int main(int count, char** arguments) {
    using namespace tally;
    if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    OpenDesktop(count, arguments);
    UseHeadlessPlatform();
    SetShellPlatform(&QtShellPlatform());
    WideText path;
    for (int i = 1; i < count; ++i) {
        const std::string_view word = arguments[i];
        if (word == "--rows" && i + 1 < count) mostRows = std::atoi(arguments[++i]);
        else if (word == "--columns" && i + 1 < count) mostColumns = std::atoi(arguments[++i]);
        else if (!WideFromPath(path, word)) return 1;
    }
    if (!ReadLocaleSettings() || !OpenFile(path, OPEN_SILENT_LINKS)) return 1;
    const i32 book = CurrentBook();
    for (u32 i = 0; i < BookAt(book)->sheets.Count(); ++i) {
        Sheet& sheet = *BookAt(book)->sheets[i];
        if (HasCells(&sheet) && !sheet.hidden && LastUsedRow(sheet) >= 0 && !PrintSheet(*BookAt(book), sheet))
            return 1;
    }
    std::fflush(stdout);
    std::_Exit(0);
}
