#include "shell/frame/FramePaint.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "shell/entry/EntryMarks.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/GridPaint.h"
#include "shell/grid/InputMessage.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"

namespace tally {
namespace {

constexpr u32 FACE = 0xF0F0F0;
constexpr u32 SHADE = 0xD8D8D8;
constexpr u32 EDGE = 0x808080;
constexpr u32 BLACK = 0;
constexpr u32 INK = 0x303030;
constexpr u32 WHITE = 0xFFFFFF;
constexpr i32 STATUS_PADDING = 3;  // pixels of a screen with 96 to the inch

void Centred(DrawTarget& target, const PixelRect& rect, WideView text, FontHandle font = 0) {
    i32 width = 0, height = 0;
    Fonts().textExtent(font, text, width, height);
    DrawClippedText(target, rect.left + (rect.right - rect.left - width) / 2,
                    rect.top + (rect.bottom - rect.top - height) / 2, rect, font, BLACK, text);
}

void HeaderBox(DrawTarget& target, const PixelRect& rect, bool selected) {
    FillRect(target, rect, selected ? SHADE : FACE);
    DrawLine(target, rect.left, rect.bottom - 1, rect.right, rect.bottom - 1, {EDGE});
    DrawLine(target, rect.right - 1, rect.top, rect.right - 1, rect.bottom - 1, {EDGE});
}

FontHandle HeaderFont(const Sheet& sheet) {
    if (sheet.zoomPercent == 100) return 0;
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    FontRequest request;
    request.faceName = u"Arial";
    request.pixelHeight =
        std::max(1, MulDiv(screen.fontHeight - screen.internalLeading, sheet.zoomPercent, 100));
    return Fonts().findFont(request);
}

}  // namespace

void PaintFrameBackground(DrawTarget& target, const PixelRect& paint) {
    const Layout& layout = Shell().layout;
    const bool grid = HasCells(CurrentSheet());
    if (!grid || !(layout.grid == IntersectRects(layout.grid, paint) && layout.grid == paint))
        FillRect(target, paint, FACE);
    if (!grid) return;
    // Behind the last row and column of the sheet the grid is bare.
    const i32 right = layout.columns.IsEmpty() ? layout.cells.left : layout.columns.Last().end;
    const i32 bottom = layout.rows.IsEmpty() ? layout.cells.top : layout.rows.Last().end;
    if (right < layout.grid.right)
        FillRect(target, {right, layout.grid.top, layout.grid.right, layout.grid.bottom}, SHADE);
    if (bottom < layout.grid.bottom)
        FillRect(target, {layout.grid.left, bottom, layout.grid.right, layout.grid.bottom}, SHADE);
}

void PaintHeaders(DrawTarget& target, const Sheet& sheet, const PixelRect& paint) {
    const Layout& layout = Shell().layout;
    const RefArea& selection = sheet.view.selection;
    const FontHandle font = HeaderFont(sheet);
    WideText text;
    for (const ShownLine& column : layout.columns) {
        const PixelRect rect{column.start, layout.grid.top, std::min(column.end, layout.grid.right),
                             layout.cells.top};
        if (!RectsMeet(rect, paint)) continue;
        HeaderBox(target, rect, column.index >= selection.firstColumn && column.index <= selection.lastColumn);
        text.Truncate(0);
        if (AppendColumnLetters(column.index, text)) Centred(target, rect, text, font);
    }
    for (const ShownLine& row : layout.rows) {
        const PixelRect rect{layout.grid.left, row.start, layout.cells.left,
                             std::min(row.end, layout.grid.bottom)};
        if (!RectsMeet(rect, paint)) continue;
        HeaderBox(target, rect, row.index >= selection.firstRow && row.index <= selection.lastRow);
        text.Truncate(0);
        if (AppendInteger(text, row.index + 1)) Centred(target, rect, text, font);
    }
    HeaderBox(target, {layout.grid.left, layout.grid.top, layout.cells.left, layout.cells.top}, false);
    if (Shell().circle)
        Centred(target, {layout.cells.left, layout.grid.top, layout.cells.right, layout.cells.top},
                Message(MSG_STATUS_CIRCULAR), font);
}

// Where a tab that is drawn elsewhere would stand.
static void PaintTabMark(DrawTarget& target, const Array<SheetTab>& tabs) {
    const i32 before = Shell().gesture == GESTURE_TAB ? Shell().tab.before : -1;
    if (before < 0 || tabs.IsEmpty()) return;
    const PixelRect& strip = Shell().layout.tabs;
    i32 x = tabs.Last().right;
    for (u32 i = tabs.Count(); i-- > 0;)
        if (tabs[i].sheet >= before) x = tabs[i].left;
    const i32 width = ScreenLength(3),
              left = std::clamp(x - width / 2, strip.left, std::max(strip.left, strip.right - width));
    FillRect(target, {left, strip.top, left + width, strip.bottom}, BLACK);
}

// The arrow of the name box's list; its text is an edit control's.
void PaintNameBox(DrawTarget& target) {
    const Layout& layout = Shell().layout;
    if (IsEmptyRect(layout.nameBox)) return;
    FillRect(target, layout.nameBox, FACE);
    const PixelRect& arrow = layout.nameArrow;
    const i32 height = ScreenLength(4);
    const i32 middle = (arrow.left + arrow.right) / 2, top = (arrow.top + arrow.bottom - height) / 2;
    for (i32 i = 0; i < height; ++i)
        DrawLine(target, middle - height + 1 + i, top + i, middle + height - i, top + i, {INK});
}

void PaintTabs(DrawTarget& target) {
    const Layout& layout = Shell().layout;
    const Workbook* book = CurrentWorkbook();
    if (!book || IsEmptyRect(layout.tabs)) return;
    FillRect(target, layout.tabScroller, FACE);
    FillRect(target, layout.tabs, SHADE);
    PixelRect half = layout.tabScroller;
    half.right = (half.left + half.right) / 2;
    Centred(target, half, u"◂");
    Centred(target, {half.right, half.top, layout.tabScroller.right, half.bottom}, u"▸");
    Array<SheetTab> tabs;
    if (!ShownTabs(tabs)) return;
    // The strip cuts its last tab, which else stands as the others do.
    const PixelRect former = PushClip(target, layout.tabs);
    for (const SheetTab& tab : tabs) {
        const Sheet& sheet = *book->sheets[static_cast<u32>(tab.sheet)];
        const bool current = tab.sheet == book->currentSheet;
        const PixelRect rect{tab.left, layout.tabs.top, tab.right, layout.tabs.bottom};
        FillRect(target, rect, current ? WHITE : FACE);
        if (sheet.tabColour)
            FillRect(target, {rect.left, rect.bottom - ScreenLength(3), rect.right, rect.bottom},
                     PaletteColour(*book, sheet.tabColour, 0));
        DrawLine(target, rect.right - 1, rect.top, rect.right - 1, rect.bottom, {EDGE});
        Centred(target, rect, WideView(sheet.name));
    }
    PaintTabMark(target, tabs);
    PopClip(target, former);
}

bool StatusText(i32 part, WideText& out) {
    out.Truncate(0);
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return true;
    if (part == 0) return CellToText(sheet->view.activeRow, sheet->view.activeColumn, false, false, out);
    if (part == 1) return out.Assign(Shell().shown.aggregate);
    return !Shell().endMode || out.Assign(Message(MSG_STATUS_END));
}

PixelRect StatusPartPlace(i32 part) {
    const PixelRect& bar = Shell().layout.statusBar;
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    const i32 grip = ScreenLength(16), padding = ScreenLength(STATUS_PADDING);
    i32 endWidth = 0, height = 0;
    Fonts().textExtent(0, Message(MSG_STATUS_END), endWidth, height);
    const i32 first = bar.left + 7 * screen.digitWidth + 2 * padding;
    const i32 last = bar.right - grip - endWidth - 2 * padding;
    const i32 edges[STATUS_PARTS + 1] = {bar.left, first, last, bar.right - grip};
    return {edges[part], bar.top, edges[part + 1], bar.bottom};
}

void PaintStatusBar(DrawTarget& target) {
    const PixelRect& bar = Shell().layout.statusBar;
    const i32 padding = ScreenLength(STATUS_PADDING);
    FillRect(target, bar, FACE);
    DrawLine(target, bar.left, bar.top, bar.right, bar.top, {EDGE});
    WideText text;
    for (i32 i = 0; i < STATUS_PARTS; ++i) {
        if (!StatusText(i, text) || text.IsEmpty()) continue;
        const PixelRect place = StatusPartPlace(i);
        DrawClippedText(target, place.left + padding, bar.top + padding, place, 0, BLACK, text);
    }
}

void PaintFrame(DrawTarget& target, const PixelRect& paint) {
    Sheet* sheet = CurrentSheet();
    const Layout& layout = Shell().layout;
    const PixelRect whole = PushClip(target, paint);
    PaintFrameBackground(target, paint);
    if (HasCells(sheet) && RectsMeet(layout.grid, paint)) {
        PaintCells(target, *sheet, paint);
        const PixelRect former = PushClip(target, layout.cells);
        PaintListArrow(target);
        PaintInputMessage(target);
        PopClip(target, former);
        IgnoreFailure(PushClip(target, layout.grid));
        if (sheet->viewFlags & VIEW_HEADERS) PaintHeaders(target, *sheet, paint);
        PaintCallHint(target);
        PopClip(target, former);
    }
    PaintResizeEdge(target, paint);
    if (RectsMeet(layout.toolbar, paint)) PaintToolbars(target);
    if (RectsMeet(layout.nameBox, paint)) PaintNameBox(target);
    if (RectsMeet(layout.tabScroller, paint) || RectsMeet(layout.tabs, paint)) PaintTabs(target);
    if (RectsMeet(layout.statusBar, paint)) PaintStatusBar(target);
    PopClip(target, whole);
}

}  // namespace tally
