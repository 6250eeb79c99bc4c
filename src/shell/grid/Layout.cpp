#include "shell/grid/Layout.h"

#include <algorithm>

#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/ShownCells.h"

namespace tally {
namespace {

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 TOOLBAR_HEIGHT = 25;
constexpr i32 STATUS_PADDING = 6;
constexpr i32 SCROLL_BAR_SIZE = 16;
constexpr i32 ENTRY_LINE_PADDING = 8;
constexpr i32 NAME_BOX_WIDTH = 110;  // with the arrow
constexpr i32 NAME_ARROW_WIDTH = 17;
constexpr i32 TAB_ARROW_WIDTH = 17;
constexpr i32 TAB_PADDING = 8;

void ZoomMetrics(const Sheet& sheet, const ScreenMetrics& screen, Layout& layout) {
    const i32 zoom = sheet.zoomPercent;
    layout.metrics =
        MetricsAt(sheet, DigitWidth(*BookAt(sheet.book), screen), screen.logPixelsX, screen.logPixelsY, zoom);
    layout.headerHeight = MulDiv(screen.fontHeight, zoom, 100) + 1;
}

using LineSize = i32 (*)(const Sheet&, i32);

// Appends the lines from `first` to before `limit` that begin inside the edge. False when memory fails.
bool AppendLines(const Sheet& sheet, LineSize size, i32 first, i32 limit, i32 edge, i32& place,
                 Array<ShownLine>& lines) {
    for (i32 i = first; i < limit && place < edge; ++i) {
        const i32 pixels = size(sheet, i);
        if (pixels <= 0) continue;
        if (!lines.Append({i, place, place + pixels})) return false;
        place += pixels;
    }
    return true;
}

void ShowRows(Sheet& sheet, Layout& layout) {
    layout.rows.Truncate(0);
    i32 place = layout.cells.top;
    bool good = true;
    if (IsFrozen(sheet) && sheet.view.splitRow)
        good = AppendLines(sheet, RowPixels, sheet.view.frozenFirstRow, sheet.view.splitRow,
                           layout.cells.bottom, place, layout.rows);
    layout.fixedRows = layout.rows.Count();
    if (good)
        IgnoreFailure(AppendLines(sheet, RowPixels, std::max<i32>(sheet.view.firstRow, MovingRowStart(sheet)),
                                  MAX_ROWS, layout.cells.bottom, place, layout.rows));
    sheet.view.lastVisibleRow = layout.rows.IsEmpty() ? sheet.view.firstRow : layout.rows.Last().index;
}

void ShowColumns(Sheet& sheet, Layout& layout) {
    layout.columns.Truncate(0);
    i32 place = layout.cells.left;
    bool good = true;
    if (IsFrozen(sheet) && sheet.view.splitColumn)
        good = AppendLines(sheet, ColumnPixels, sheet.view.frozenFirstColumn, sheet.view.splitColumn,
                           layout.cells.right, place, layout.columns);
    layout.fixedColumns = layout.columns.Count();
    if (good)
        IgnoreFailure(AppendLines(sheet, ColumnPixels,
                                  std::max<i32>(sheet.view.firstColumn, MovingColumnStart(sheet)), MAX_COLUMNS,
                                  layout.cells.right, place, layout.columns));
    sheet.view.lastVisibleColumn =
        layout.columns.IsEmpty() ? sheet.view.firstColumn : layout.columns.Last().index;
}

// For the way of a scroll bar's thumb, which a cell that moved may leave a little out of date.
i32 UsedColumns(const Sheet& sheet) {
    UsedColumn& kept = Shell().usedColumn;
    if (kept.serial != sheet.serial || kept.cells != sheet.cells.count ||
        kept.merges != sheet.mergedAreas.Count())
        kept = {sheet.serial, sheet.cells.count, sheet.mergedAreas.Count(), LastUsedColumn(sheet)};
    return kept.column;
}

void UpdateScrollBars(bool showVertical, bool showHorizontal) {
    const Layout& layout = Shell().layout;
    const Sheet* sheet = CurrentSheet();
    ScrollBarState vertical, horizontal;
    if (HasCells(sheet)) {
        vertical.shown = showVertical;
        vertical.place = {layout.grid.right, layout.grid.top, layout.grid.right + ScreenLength(SCROLL_BAR_SIZE),
                          layout.grid.bottom};
        vertical.position = sheet->view.firstRow;
        vertical.page = WholeRowsShown();
        // The thumb's way follows what is used and shown, so that it stays of use on a short sheet.
        vertical.maximum = std::min<i32>(
            MAX_ROWS - 1,
            std::max({LastUsedRow(*sheet), static_cast<i32>(sheet->view.firstRow), 1}) + vertical.page);
        horizontal.shown = showHorizontal;
        horizontal.place = {layout.tabs.right, layout.grid.bottom, layout.grid.right,
                            layout.grid.bottom + ScreenLength(SCROLL_BAR_SIZE)};
        horizontal.position = sheet->view.firstColumn;
        horizontal.page = WholeColumnsShown();
        horizontal.maximum = std::min<i32>(
            MAX_COLUMNS - 1,
            std::max({UsedColumns(*sheet), static_cast<i32>(sheet->view.firstColumn), 1}) + horizontal.page);
    }
    ShellPlatform().setScrollBar(true, vertical);
    ShellPlatform().setScrollBar(false, horizontal);
}

// Bands stand in the order of their indexes, those of the same in that of their numbers.
bool IsLineAboveToolbars() {
    if (!IsBandShown(BAND_FORMULA)) return false;
    const i32 line = Shell().bands[BAND_FORMULA].index;
    for (const i32 band : {BAND_STANDARD, BAND_FORMAT, BAND_ENTRY})
        if (IsBandShown(band) &&
            (Shell().bands[band].index < line || (Shell().bands[band].index == line && band < BAND_FORMULA)))
            return false;
    return true;
}

bool FullScreen() { return (Shell().options5 & OPTION_FULL_SCREEN) != 0; }

// The strips around the grid, from the top and the bottom inwards.
void PlaceStrips(const Workbook* book, const Sheet* sheet, const ScreenMetrics& screen, Layout& layout) {
    const bool full = FullScreen();
    i32 top = 0, bottom = layout.height;
    layout.toolbar = layout.entryLine = layout.tabs = layout.tabScroller = PixelRect();
    layout.statusBar = layout.grid = layout.nameBox = layout.nameArrow = PixelRect();
    if (Shell().statusBarShown && !full && book) {
        layout.statusBar = {0, std::max(0, bottom - screen.fontHeight - ScreenLength(STATUS_PADDING)),
                            layout.width, bottom};
        bottom = layout.statusBar.top;
    }
    const bool lineFirst = book && IsLineAboveToolbars();
    const auto placeToolbars = [&] {
        if (!IsBandShown(BAND_STANDARD) && !IsBandShown(BAND_FORMAT) && !IsBandShown(BAND_ENTRY)) return;
        layout.toolbar = {0, top, layout.width, top + ScreenLength(TOOLBAR_HEIGHT)};
        top = layout.toolbar.bottom;
    };
    if (!lineFirst) placeToolbars();
    if (!book) return;
    if (IsBandShown(BAND_FORMULA)) {
        const i32 bottomOfLine = top + screen.fontHeight + ScreenLength(ENTRY_LINE_PADDING);
        // A narrow window keeps room for what is typed.
        const i32 left = std::min(ScreenLength(NAME_BOX_WIDTH), layout.width / 4);
        layout.nameBox = {0, top, left, bottomOfLine};
        layout.nameArrow = layout.nameBox;
        layout.nameArrow.left = std::max(0, left - ScreenLength(NAME_ARROW_WIDTH));
        layout.entryLine = {left, top, layout.width, bottomOfLine};
        top = layout.entryLine.bottom;
    }
    if (lineFirst) placeToolbars();
    const bool showBar = book->showHorizontalScrollBar && !full && HasCells(sheet);
    const bool showTabs = book->showSheetTabs && !full;
    const i32 bar = ScreenLength(SCROLL_BAR_SIZE);
    i32 right = layout.width;
    if (book->showVerticalScrollBar && !full && HasCells(sheet)) right -= bar;
    if (showBar || showTabs) bottom -= bar;
    layout.grid = {0, top, std::max(0, right), std::max(top, bottom)};
    layout.tabScroller = {0, layout.grid.bottom, 0, layout.grid.bottom + bar};
    layout.tabs = layout.tabScroller;
    if (showTabs) {
        layout.tabScroller.right = 2 * ScreenLength(TAB_ARROW_WIDTH);
        layout.tabs.left = layout.tabScroller.right;
        layout.tabs.right = std::max(layout.tabs.left, showBar ? layout.width / 2 : layout.width);
    }
}

i32 HeaderDigits(i32 lastRow) { return lastRow < 999 ? 3 : lastRow < 9999 ? 4 : 5; }

void PlaceCells(Sheet& sheet, const ScreenMetrics& screen, Layout& layout) {
    ZoomMetrics(sheet, screen, layout);
    layout.cells = layout.grid;
    const bool headers = (sheet.viewFlags & VIEW_HEADERS) && !FullScreen();
    if (headers) layout.cells.top = std::min(layout.grid.top + layout.headerHeight, layout.grid.bottom);
    ShowRows(sheet, layout);
    layout.headerWidth = 0;
    if (headers) {
        const i32 digit = MulDiv(screen.digitWidth, sheet.zoomPercent, 100);
        layout.headerWidth = HeaderDigits(sheet.view.lastVisibleRow) * digit + 3;
        layout.cells.left = std::min(layout.grid.left + layout.headerWidth, layout.grid.right);
    }
    ShowColumns(sheet, layout);
}

void LayOut() {
    Layout& layout = Shell().layout;
    Shell().shown.conditions.Truncate(0);
    NoteShownChange();
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    layout.dpi = screen.logPixelsY > 0 ? screen.logPixelsY : 96;
    Workbook* book = CurrentWorkbook();
    Sheet* sheet = CurrentSheet();
    PlaceStrips(book, sheet, screen, layout);
    layout.cells = PixelRect();
    if (HasCells(sheet)) {
        PlaceCells(*sheet, screen, layout);
    } else {
        layout.rows.Truncate(0);
        layout.columns.Truncate(0);
        layout.fixedRows = layout.fixedColumns = 0;
    }
    UpdateScrollBars(book && book->showVerticalScrollBar && !FullScreen(),
                     book && book->showHorizontalScrollBar && !FullScreen());
}

i32 WholeShown(const Array<ShownLine>& lines, u32 fixed, i32 edge) {
    i32 count = 0;
    for (u32 i = fixed; i < lines.Count(); ++i) count += lines[i].end <= edge;
    return std::max(count, 1);
}

}  // namespace

bool IsBandShown(i32 band) {
    if (Shell().bandHidden[band] || (Shell().options5 & OPTION_FULL_SCREEN)) return false;
    return (band != BAND_ENTRY && band != BAND_FORMULA) || HasCells(CurrentSheet());
}

bool IsFrozen(const Sheet& sheet) { return (sheet.viewFlags & VIEW_FROZEN) != 0; }
i32 MovingRowStart(const Sheet& sheet) { return IsFrozen(sheet) ? sheet.view.splitRow : 0; }
i32 MovingColumnStart(const Sheet& sheet) { return IsFrozen(sheet) ? sheet.view.splitColumn : 0; }

i32 ColumnPixels(const Sheet& sheet, i32 column) { return ColumnPixels(Shell().layout.metrics, sheet, column); }
i32 RowPixels(const Sheet& sheet, i32 row) { return RowPixels(Shell().layout.metrics, sheet, row); }

void RefreshChrome() {
    ShellState& shell = Shell();
    ShellPlatform().clientSize(shell.layout.width, shell.layout.height);
    LayOut();
    const Layout& layout = shell.layout;
    ShellPlatform().placeEdit(ENTRY_LINE, layout.entryLine, !IsEmptyRect(layout.entryLine));
    PixelRect name = layout.nameBox;
    name.right = layout.nameArrow.left;
    ShellPlatform().placeEdit(NAME_BOX, name, !IsEmptyRect(name));
    InvalidateAll();
}

void RefreshView() {
    LayOut();
    ShellPlatform().invalidate(Shell().layout.grid);
}

RefArea ActiveArea(const Sheet& sheet) {
    const SheetView& view = sheet.view;
    if (const RefArea* merge = FindMerge(sheet, view.activeRow, view.activeColumn)) return *merge;
    return {view.activeRow, view.activeRow, view.activeColumn, view.activeColumn};
}

const ShownLine* FindShown(const Array<ShownLine>& lines, i32 index) {
    const ShownLine* found =
        std::lower_bound(lines.begin(), lines.end(), index,
                         [](const ShownLine& line, i32 wanted) { return line.index < wanted; });
    return found != lines.end() && found->index == index ? found : nullptr;
}

i32 LineAtPixel(const Array<ShownLine>& lines, i32 pixel) {
    if (lines.IsEmpty()) return 0;
    const ShownLine* found = std::lower_bound(lines.begin(), lines.end(), pixel,
                                              [](const ShownLine& line, i32 at) { return line.end <= at; });
    return found != lines.end() ? found->index : lines.Last().index;
}

// The stretch of the screen that lines first to last take, as far as they are shown.
static bool LineSpan(const Array<ShownLine>& lines, i32 first, i32 last, i32& start, i32& end) {
    const auto before = [](const ShownLine& line, i32 wanted) { return line.index < wanted; };
    const ShownLine* low = std::lower_bound(lines.begin(), lines.end(), first, before);
    const ShownLine* high = std::lower_bound(lines.begin(), lines.end(), last + 1, before);
    if (low == high) return false;
    start = low->start;
    end = (high - 1)->end;
    return true;
}

PixelRect AreaPixels(const RefArea& area) {
    const Layout& layout = Shell().layout;
    PixelRect rect;
    if (!LineSpan(layout.rows, area.firstRow, area.lastRow, rect.top, rect.bottom) ||
        !LineSpan(layout.columns, area.firstColumn, area.lastColumn, rect.left, rect.right))
        return PixelRect();
    return rect;
}

i32 WholeRowsShown() {
    const Layout& layout = Shell().layout;
    return WholeShown(layout.rows, layout.fixedRows, layout.cells.bottom);
}

i32 WholeColumnsShown() {
    const Layout& layout = Shell().layout;
    return WholeShown(layout.columns, layout.fixedColumns, layout.cells.right);
}

bool ShownTabs(Array<SheetTab>& tabs) {
    tabs.Truncate(0);
    const Workbook* book = CurrentWorkbook();
    const PixelRect& strip = Shell().layout.tabs;
    if (!book) return true;
    i32 place = strip.left;
    for (i32 i = std::max(0, Shell().firstTab); i < static_cast<i32>(book->sheets.Count()); ++i) {
        const Sheet& sheet = *book->sheets[static_cast<u32>(i)];
        if (sheet.hidden || sheet.kind == SHEET_MODULE) continue;
        if (place >= strip.right) break;
        i32 width = 0, height = 0;
        Fonts().textExtent(0, WideView(sheet.name), width, height);
        if (!tabs.Append({i, place, place + width + 2 * ScreenLength(TAB_PADDING)})) return false;
        place = tabs.Last().right;
    }
    return true;
}

void ScrollTabs() {
    const Workbook* book = CurrentWorkbook();
    if (!book || IsEmptyRect(Shell().layout.tabs)) return;
    const i32 current = book->currentSheet;
    if (Shell().firstTab > current) Shell().firstTab = current;
    Array<SheetTab> tabs;
    while (Shell().firstTab < current && ShownTabs(tabs)) {
        if (!tabs.IsEmpty() && tabs.Last().sheet >= current && tabs.Last().right <= Shell().layout.tabs.right)
            return;
        bool inside = false;
        for (const SheetTab& tab : tabs)
            inside |= tab.sheet == current && tab.right <= Shell().layout.tabs.right;
        if (inside) return;
        ++Shell().firstTab;
    }
}

void StepTabs(i32 direction) {
    const Workbook* book = CurrentWorkbook();
    if (!book) return;
    const i32 count = static_cast<i32>(book->sheets.Count());
    i32 tab = Shell().firstTab + direction;
    while (tab >= 0 && tab < count && book->sheets[static_cast<u32>(tab)]->hidden) tab += direction;
    if (tab < 0 || tab >= count) return;
    Shell().firstTab = tab;
    ShellPlatform().invalidate(Shell().layout.tabs);
}

void InvalidateAll() {
    NoteShownChange();
    Shell().shown.aggregateChanged = true;
    ShellPlatform().invalidate({0, 0, Shell().layout.width, Shell().layout.height});
}

void InvalidateArea(const RefArea& area) {
    PixelRect rect = AreaPixels(area);
    if (IsEmptyRect(rect)) return;
    // The outline lies on the pixels of the neighbours as well.
    rect.left -= 2;
    rect.top -= 2;
    rect.right += 2;
    rect.bottom += 2;
    ShellPlatform().invalidate(IntersectRects(rect, Shell().layout.grid));
}

void InvalidateHeaders() {
    const Layout& layout = Shell().layout;
    ShellPlatform().invalidate({layout.grid.left, layout.grid.top, layout.grid.right, layout.cells.top});
    ShellPlatform().invalidate({layout.grid.left, layout.cells.top, layout.cells.left, layout.grid.bottom});
}

void InvalidateStatus() {
    Shell().shown.aggregateChanged = true;
    ShellPlatform().invalidate(Shell().layout.statusBar);
}

}  // namespace tally
