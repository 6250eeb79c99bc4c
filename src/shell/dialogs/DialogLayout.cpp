// The places of a dialog's controls. Those of a container stand in the cells of a grid, whose lines take the
// room that their contents want; what spans several lines takes it of the last.

#include <algorithm>
#include <array>

#include "shell/dialogs/Dialogs.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

constexpr i32 MAX_LINES = 48;  // rows or columns of one container
constexpr i32 MAX_DEPTH = 8;   // of containers in each other

struct Extent {
    i32 width = 0, height = 0;
};

// Sizes that everything is measured in, in pixels of the screen.
struct Units {
    i32 digit = 7, line = 13, margin = 10, gap = 6, frame = 6;
};

Units MeasureUnits() {
    Units units;
    Fonts().textExtent(0, u"0", units.digit, units.line);
    units.digit = std::max(1, units.digit);
    units.line = std::max(1, units.line);
    units.margin = std::max(4, units.line * 2 / 3);
    units.gap = std::max(3, units.line * 2 / 5);
    units.frame = std::max(3, units.line * 2 / 5);
    return units;
}

using LineSizes = std::array<i32, MAX_LINES>;
struct CellLines {
    LineSizes rows{}, columns{};
    i32 rowCount = 0, columnCount = 0;
};

// The width of a text without the marks of its letters, the widest of its lines.
Extent TextSize(WideView text, const Units& units) {
    Extent size;
    WideText line;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(u'\n', start), text.size());
        line.Truncate(0);
        for (std::size_t i = start; i < end; ++i)
            if (text[i] != u'&' || (i + 1 < end && text[i + 1] == u'&' && ++i))
                if (!line.Append(text[i])) break;
        i32 width = 0, height = 0;
        Fonts().textExtent(0, line, width, height);
        size.width = std::max(size.width, width);
        size.height += units.line;
        start = end + 1;
    }
    return size;
}

i32 WidestItem(const Control& control, const Units& units) {
    i32 width = 0;
    for (const DialogItem& item : control.items) width = std::max(width, TextSize(item.text, units).width);
    return width;
}

Extent LeafSize(const Control& control, const Units& units) {
    const ControlRow& row = control.row;
    const i32 asked = row.width * units.digit, edit = units.line + 2 * units.gap;
    const Extent label = TextSize(control.label, units);
    const i32 lines = row.lines > 0 ? row.lines : 6;
    switch (row.kind) {
        case CONTROL_LABEL: return {std::max(asked, label.width + 2), label.height + units.gap};
        case CONTROL_CHECK:
        case CONTROL_RADIO:
            return {std::max(asked, label.width + units.line + 3 * units.gap), label.height + units.gap};
        case CONTROL_BUTTON: return {std::max({asked, label.width + 4 * units.gap, 11 * units.digit}), edit};
        case CONTROL_SPIN: return {asked ? asked : 8 * units.digit, edit};
        case CONTROL_SCROLL: return {asked ? asked : 20 * units.digit, units.line + units.gap};
        case CONTROL_DROP_LIST:
        case CONTROL_COMBO:
            return {asked ? asked
                          : std::clamp(WidestItem(control, units) + 5 * units.gap, 12 * units.digit,
                                       50 * units.digit),
                    edit};
        case CONTROL_LIST:
            return {asked ? asked
                          : std::clamp(WidestItem(control, units) + 5 * units.gap, 16 * units.digit,
                                       50 * units.digit),
                    lines * (units.line + ScreenLength(3)) + ScreenLength(4)};
        case CONTROL_MULTILINE:
            return {asked ? asked : 40 * units.digit, lines * (units.line + ScreenLength(1)) + units.gap};
        case CONTROL_PAINTED:
            if ((row.flags & CONTROL_PICKER) && row.lines <= 1) return {asked ? asked : 20 * units.digit, edit};
            return {asked ? asked : 20 * units.digit, (row.lines > 0 ? row.lines : 1) * units.line + units.gap};
        default: return {asked ? asked : 20 * units.digit, edit};
    }
}

struct Layouter {
    Dialog& dialog;
    const Units units;

    bool Holds(i32 container, const Control& control) const { return control.container == container; }

    // A page that belongs to no pages only holds controls together.
    bool IsStrip(i32 container) const {
        const Control& control = dialog.controls[static_cast<u32>(container)];
        return control.row.kind == CONTROL_PAGE && control.row.container == 0;
    }

    // The strip of a container above its contents, and the margin around them.
    i32 TopOf(i32 container) const {
        if (container < 0) return units.margin;
        if (IsStrip(container)) return 0;
        switch (dialog.controls[static_cast<u32>(container)].row.kind) {
            case CONTROL_GROUP: return units.line + 2 * units.gap;
            case CONTROL_PAGES:
                return dialog.controls[static_cast<u32>(container)].row.flags & CONTROL_NO_TABS
                           ? 0
                           : units.line + 3 * units.gap;
            default: return units.margin;
        }
    }
    i32 MarginOf(i32 container) const {
        if (container < 0) return units.margin;
        if (IsStrip(container)) return 0;
        const ControlKind kind = dialog.controls[static_cast<u32>(container)].row.kind;
        return kind == CONTROL_PAGES ? 0 : kind == CONTROL_GROUP ? units.frame + units.gap : units.margin;
    }

    // Pages lie over each other.
    LayoutCell CellOf(const Control& control) const {
        LayoutCell cell = control.row.cell;
        if (control.row.kind == CONTROL_PAGE && control.row.container) cell = LayoutCell();
        cell.row = std::clamp<i16>(cell.row, 0, MAX_LINES - 1);
        cell.column = std::clamp<i16>(cell.column, 0, MAX_LINES - 1);
        cell.rows = std::clamp<i16>(cell.rows, 1, static_cast<i16>(MAX_LINES - cell.row));
        cell.columns = std::clamp<i16>(cell.columns, 1, static_cast<i16>(MAX_LINES - cell.column));
        return cell;
    }

    Extent SizeOf(u32 index, i32 depth) const {
        const Control& control = dialog.controls[index];
        const ControlKind kind = control.row.kind;
        if (kind != CONTROL_GROUP && kind != CONTROL_PAGES && kind != CONTROL_PAGE)
            return LeafSize(control, units);
        if (depth >= MAX_DEPTH) return {};
        Extent size = Whole(Measure(static_cast<i32>(index), depth), static_cast<i32>(index));
        if (kind == CONTROL_GROUP)
            size.width = std::max(size.width, TextSize(control.label, units).width + 4 * units.gap);
        if (kind == CONTROL_PAGES) size.width = std::max(size.width, TabsWidth(static_cast<i32>(index)));
        size.width = std::max(size.width, control.row.width * units.digit);
        return size;
    }

    i32 TabsWidth(i32 pages) const {
        if (dialog.controls[static_cast<u32>(pages)].row.flags & CONTROL_NO_TABS) return 0;
        i32 width = 0;
        for (const Control& control : dialog.controls)
            if (Holds(pages, control)) width += TextSize(control.label, units).width + 6 * units.gap;
        return width;
    }

    static i32 Sum(const LineSizes& sizes, i32 first, i32 count, i32 gap) {
        i32 sum = 0;
        for (i32 i = first; i < first + count; ++i) {
            const i32 size = sizes[static_cast<std::size_t>(i)];
            sum += size + (sum && size ? gap : 0);
        }
        return sum;
    }

    static void Widen(LineSizes& sizes, i32 first, i32 count, i32 wanted, i32 gap) {
        const i32 missing = wanted - Sum(sizes, first, count, gap);
        if (missing > 0) sizes[static_cast<std::size_t>(first + count - 1)] += missing;
    }

    // The lines of a container's grid: first what stands in one line, then what spans several.
    CellLines Measure(i32 container, i32 depth) const {
        CellLines lines;
        for (const bool spanning : {false, true}) {
            for (u32 i = 0; i < dialog.controls.Count(); ++i) {
                if (!Holds(container, dialog.controls[i])) continue;
                const LayoutCell cell = CellOf(dialog.controls[i]);
                const Extent size = SizeOf(i, depth + 1);
                lines.rowCount = std::max<i32>(lines.rowCount, cell.row + cell.rows);
                lines.columnCount = std::max<i32>(lines.columnCount, cell.column + cell.columns);
                if (spanning == (cell.columns > 1))
                    Widen(lines.columns, cell.column, cell.columns, size.width, 2 * units.gap);
                if (spanning == (cell.rows > 1)) Widen(lines.rows, cell.row, cell.rows, size.height, units.gap);
            }
        }
        return lines;
    }

    Extent Whole(const CellLines& lines, i32 container) const {
        const i32 margin = MarginOf(container);
        return {Sum(lines.columns, 0, lines.columnCount, 2 * units.gap) + 2 * margin,
                Sum(lines.rows, 0, lines.rowCount, units.gap) + TopOf(container) + margin};
    }

    static i32 Offset(const LineSizes& sizes, i32 line, i32 gap) {
        i32 offset = 0;
        for (i32 i = 0; i < line; ++i)
            if (sizes[static_cast<std::size_t>(i)]) offset += sizes[static_cast<std::size_t>(i)] + gap;
        return offset;
    }

    // What takes all the height that there is.
    static bool IsHigh(const Control& control) {
        switch (control.row.kind) {
            case CONTROL_GROUP:
            case CONTROL_PAGES:
            case CONTROL_PAGE:
            case CONTROL_LIST:
            case CONTROL_MULTILINE: return true;
            case CONTROL_PAINTED: return !(control.row.flags & CONTROL_PICKER) || control.row.lines > 1;
            default: return (control.row.flags & CONTROL_FILL_HEIGHT) != 0;
        }
    }

    // Whether a label stands beside something high, whose first line it belongs to.
    bool LeadsToHigh(u32 label) const {
        const Control& control = dialog.controls[label];
        if (control.row.kind != CONTROL_LABEL || label + 1 >= dialog.controls.Count()) return false;
        const Control& next = dialog.controls[label + 1];
        return next.container == control.container && next.row.cell.row == control.row.cell.row && IsHigh(next);
    }

    // What is left over of the height goes to the last line when something in it can use it.
    bool LastLineIsHigh(i32 container, i32 rows) const {
        for (const Control& control : dialog.controls)
            if (Holds(container, control) && IsHigh(control) &&
                CellOf(control).row + CellOf(control).rows == rows)
                return true;
        return false;
    }

    // What is not stretched keeps its own size at the start of its cells, in the middle of their height.
    PixelRect InCell(u32 index, const PixelRect& cell, const Extent& own) const {
        const Control& control = dialog.controls[index];
        const u16 flags = control.row.flags;
        PixelRect place = cell;
        const ControlKind kind = control.row.kind;
        const bool natural = (flags & CONTROL_NATURAL) || kind == CONTROL_BUTTON || kind == CONTROL_CHECK ||
                             kind == CONTROL_RADIO || kind == CONTROL_SPIN;
        if (natural) {
            if (flags & CONTROL_RIGHT) place.left = std::max(cell.left, cell.right - own.width);
            place.right = std::min(cell.right, place.left + own.width);
        }
        if (!IsHigh(control)) {
            // Among buttons in one column the first stands at the top.
            if (kind != CONTROL_BUTTON && !LeadsToHigh(index))
                place.top += std::max(0, (cell.bottom - cell.top - own.height) / 2);
            place.bottom = place.top + own.height;
        }
        return place;
    }

    void Place(i32 container, const PixelRect& room, i32 depth) {
        if (depth >= MAX_DEPTH) return;
        CellLines lines = Measure(container, depth);
        const i32 margin = MarginOf(container), left = room.left + margin, top = room.top + TopOf(container);
        // What is left over goes to the last line.
        Widen(lines.columns, 0, std::max(1, lines.columnCount), room.right - margin - left, 2 * units.gap);
        if (LastLineIsHigh(container, lines.rowCount))
            Widen(lines.rows, 0, std::max(1, lines.rowCount), room.bottom - margin - top, units.gap);
        for (u32 i = 0; i < dialog.controls.Count(); ++i) {
            Control& control = dialog.controls[i];
            if (!Holds(container, control)) continue;
            const LayoutCell cell = CellOf(control);
            const i32 x = left + Offset(lines.columns, cell.column, 2 * units.gap);
            const i32 y = top + Offset(lines.rows, cell.row, units.gap);
            const PixelRect whole = {x, y, x + Sum(lines.columns, cell.column, cell.columns, 2 * units.gap),
                                     y + Sum(lines.rows, cell.row, cell.rows, units.gap)};
            control.place = InCell(i, whole, SizeOf(i, depth + 1));
            Place(static_cast<i32>(i), control.place, depth + 1);
        }
    }
};

void LayOutShrunken(Dialog& dialog, const Units& units) {
    Control* control = FindControl(dialog, dialog.shrunkTo);
    if (!control) return;
    const Extent size = LeafSize(*control, units);
    const i32 width = std::max(size.width, 40 * units.digit);
    control->place = {units.gap, units.gap, units.gap + width, units.gap + size.height};
    dialog.width = control->place.right + units.gap;
    dialog.height = control->place.bottom + units.gap;
}

}  // namespace

void LayOutDialog(Dialog& dialog) {
    Layouter layouter{dialog, MeasureUnits()};
    dialog.placesStale = true;
    for (Control& control : dialog.controls) control.stale = true;
    if (dialog.shrunkTo) return LayOutShrunken(dialog, layouter.units);
    const Extent size = layouter.Whole(layouter.Measure(-1, 0), -1);
    dialog.width = size.width;
    dialog.height = size.height;
    layouter.Place(-1, {0, 0, size.width, size.height}, 0);
}

}  // namespace tally
