#include "shell/dialogs/Pickers.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/grid/BorderPaint.h"

namespace tally {
namespace {

constexpr u32 INK = 0x000000, PAPER = 0xFFFFFF, FRAME = 0x808080, MARK = 0xC07040;
constexpr i32 FIRST_COLOUR = 8;  // row of the palette behind the automatic item

// What the kinds differ in. The list is a table of columns; a lone item takes the first row of it.
struct KindRow {
    i32 items;
    i32 columns;
    bool lone;
    u16 title;
    u16 number;  // message for an item's text, with its number
    i32 none;    // the item that is nothing, or -1
};
constexpr KindRow kinds[PICKER_KINDS] = {
    {1 + PALETTE_SIZE - FIRST_COLOUR, 8, true, MSG_PICK_COLOUR, 0, -1},
    {14, 2, false, MSG_PICK_LINE, MSG_PICK_LINE_NUMBER, 0},
    {19, 5, false, MSG_PICK_PATTERN, MSG_PICK_PATTERN_NUMBER, 0},
    {9, 1, false, MSG_PICK_LINE, MSG_PICK_LINE_NUMBER, 5},
};

constexpr i32 GridRows(PickerKind kind) {
    const KindRow& row = kinds[kind];
    const i32 items = row.items - row.lone;
    return row.lone + (items + row.columns - 1) / row.columns;
}

u32 ColourAt(i32 book, i32 item, u32 automatic) {
    const Workbook* workbook = BookAt(book);
    const i32 colour = ColourOfItem(item, AUTOMATIC_COLOUR);
    return workbook ? PaletteColour(*workbook, static_cast<u16>(colour), automatic) : automatic;
}

// ---- the texts of items ------------------------------------------------------------------------------------

bool AppendHex(WideText& out, u32 value) {
    constexpr WideView digits = u"0123456789ABCDEF";
    return out.Append(digits[value >> 4 & 15]) && out.Append(digits[value & 15]);
}

bool ItemText(PickerKind kind, i32 item, i32 book, WideText& out) {
    const KindRow& row = kinds[kind];
    out.Truncate(0);
    if (kind == PICK_COLOUR) {
        if (!item) return out.Append(Message(MSG_PICK_AUTOMATIC));
        const u32 colour = ColourAt(book, item, 0);
        return out.Append(u'#') && AppendHex(out, colour) && AppendHex(out, colour >> 8) &&
               AppendHex(out, colour >> 16);
    }
    if (item == row.none) return out.Append(Message(MSG_PICK_NONE));
    const WideView pattern = Message(row.number);
    const std::size_t at = std::min(pattern.find(u"%s"), pattern.size());
    const char16_t digits[] = {static_cast<char16_t>(u'0' + item / 10),
                               static_cast<char16_t>(u'0' + item % 10)};
    return out.Append(pattern.substr(0, at)) && out.Append(WideView(digits, 2).substr(item < 10 ? 1 : 0)) &&
           (at == pattern.size() || out.Append(pattern.substr(at + 2)));
}

// ---- painting ----------------------------------------------------------------------------------------------

void PaintFrameOf(DrawTarget& target, const PixelRect& rect, u32 colour) {
    DrawShape(target, {SHAPE_RECTANGLE, rect, {}, {}}, {colour, PEN_SOLID, 1, 1}, NO_BRUSH);
}

PixelRect Inside(const PixelRect& rect, i32 margin) {
    return {rect.left + margin, rect.top + margin, rect.right - margin, rect.bottom - margin};
}

void PaintWord(DrawTarget& target, const PixelRect& rect, WideView text, u32 colour) {
    i32 width = 0, height = 0;
    Fonts().textExtent(0, text, width, height);
    DrawClippedText(target, rect.left + std::max(2, (rect.right - rect.left - width) / 2),
                    rect.top + (rect.bottom - rect.top - height) / 2, rect, 0, colour, text);
}

constexpr PenStyle linePens[] = {PEN_SOLID, PEN_DASH, PEN_DOT, PEN_DASH_DOT, PEN_DASH_DOT_DOT};

void PaintObjectLine(DrawTarget& target, const PixelRect& rect, i32 style) {
    const i32 middle = (rect.top + rect.bottom) / 2;
    if (style < static_cast<i32>(std::size(linePens))) {
        DrawLine(target, rect.left + 3, middle, rect.right - 3, middle,
                 {INK, linePens[static_cast<std::size_t>(style)], 1, 1});
        return;
    }
    // The last three are solid lines of greys.
    constexpr u32 greys[] = {0x404040, 0x808080, 0xC0C0C0};
    FillRect(target, {rect.left + 3, middle - 1, rect.right - 3, middle + 1},
             greys[std::clamp(style - 6, 0, 2)]);
}

void PaintPicker(DrawTarget& target, const PixelRect& rect, const Control& control, PickerKind kind, i32 book) {
    FillRect(target, rect, PAPER);
    const i32 arrow = std::min(16, (rect.right - rect.left) / 3);
    const PixelRect item = {rect.left + 2, rect.top + 2, rect.right - arrow - 2, rect.bottom - 2};
    if (control.choice >= 0 && control.enabled) PaintPickerItem(target, item, kind, control.choice, book);
    const i32 x = rect.right - arrow / 2 - 2, y = (rect.top + rect.bottom) / 2;
    for (i32 i = 0; i < 4; ++i)
        FillRect(target, {x - 3 + i, y - 2 + i, x + 4 - i, y - 1 + i}, control.enabled ? INK : FRAME);
    PaintFrameOf(target, rect, FRAME);
}

// ---- the list that drops down ------------------------------------------------------------------------------

constexpr i32 LIST = FIRST_CONTROL;

struct PickerList {
    PickerKind kind;
    i32 book;
    i32 chosen;
};

PixelRect CellOfItem(PickerKind kind, i32 width, i32 height, i32 item) {
    const KindRow& row = kinds[kind];
    const i32 rows = GridRows(kind), place = item - row.lone;
    if (place < 0) return {0, 0, width, height / rows};
    const i32 line = row.lone + place / row.columns, column = place % row.columns;
    return {width * column / row.columns, height * line / rows, width * (column + 1) / row.columns,
            height * (line + 1) / rows};
}

i32 ItemAt(PickerKind kind, const PixelRect& place, i32 x, i32 y) {
    for (i32 item = 0; item < kinds[kind].items; ++item)
        if (RectHolds(CellOfItem(kind, place.right - place.left, place.bottom - place.top, item), x, y))
            return item;
    return -1;
}

void PaintList(const Dialog& dialog, const DialogEvent& event, const PickerList& list) {
    FillRect(*event.target, event.paint, PAPER);
    const i32 width = event.paint.right - event.paint.left, height = event.paint.bottom - event.paint.top;
    for (i32 item = 0; item < kinds[list.kind].items; ++item) {
        PixelRect cell = CellOfItem(list.kind, width, height, item);
        cell = {cell.left + event.paint.left, cell.top + event.paint.top, cell.right + event.paint.left,
                cell.bottom + event.paint.top};
        PaintPickerItem(*event.target, Inside(cell, 2), list.kind, item, list.book);
        if (item == ControlChoice(dialog, LIST)) PaintFrameOf(*event.target, cell, MARK);
    }
}

// What a key chooses in a table of columns; below 0 when it is none of these keys.
i32 ItemByKey(i32 key, i32 choice, i32 items, i32 columns) {
    switch (key) {
        case VK_LEFT: return std::max(0, choice - 1);
        case VK_RIGHT: return std::min(items - 1, choice + 1);
        case VK_UP: return std::max(0, choice - columns);
        case VK_DOWN: return choice < 0 ? 0 : std::min(items - 1, choice + columns);
        case VK_HOME: return 0;
        case VK_END: return items - 1;
        default: return -1;
    }
}

void MouseInList(Dialog& dialog, const DialogEvent& event, PickerList& list) {
    const Control* control = FindControl(dialog, LIST);
    const i32 item = ItemAt(list.kind, control->place, event.x, event.y);
    if (item < 0 || event.value == static_cast<i32>(WM_LBUTTONDOWN)) return;
    SetControlChoice(dialog, LIST, item);
    if (event.value == static_cast<i32>(WM_LBUTTONUP)) UserAccepts(dialog);
}

bool ListProcedure(Dialog& dialog, const DialogEvent& event) {
    auto& list = *static_cast<PickerList*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            if (!FillPicker(dialog, {LIST, list.kind}, list.book)) return false;
            SetControlChoice(dialog, LIST, list.chosen);
            return true;
        case DIALOG_PAINT: PaintList(dialog, event, list); return true;
        case DIALOG_MOUSE: MouseInList(dialog, event, list); return true;
        case DIALOG_KEY: {
            const KindRow& row = kinds[list.kind];
            if (event.value == static_cast<i32>(VK_SPACE)) UserAccepts(dialog);
            const i32 item = ItemByKey(event.value, ControlChoice(dialog, LIST), row.items, row.columns);
            if (item >= 0) UserChooses(dialog, LIST, item);
            return true;
        }
        case DIALOG_ACCEPT: list.chosen = ControlChoice(dialog, LIST); return list.chosen >= 0;
        default: return true;
    }
}

template <PickerKind KIND>
struct ListTable {
    static constexpr ControlRow rows[] = {{.id = LIST,
                                           .kind = CONTROL_PAINTED,
                                           .cell = {0, 0},
                                           .width = 32,
                                           .lines = static_cast<i16>(GridRows(KIND) * 3 / 2),
                                           .flags = CONTROL_PICKER}};
    static constexpr DialogTable table = {
        .title = kinds[KIND].title, .rows = rows, .procedure = ListProcedure, .buttons = BUTTONS_NONE};
};
constexpr const DialogTable* listTables[PICKER_KINDS] = {
    &ListTable<PICK_COLOUR>::table, &ListTable<PICK_BORDER>::table, &ListTable<PICK_PATTERN>::table,
    &ListTable<PICK_LINE>::table};

void DropDown(Dialog& dialog, const PickerRow& row, i32 book) {
    PickerList list = {row.kind, book, ControlChoice(dialog, row.control)};
    if (RunDialog(*listTables[row.kind], &list)) UserChooses(dialog, row.control, list.chosen);
}

}  // namespace

i32 PickerItems(PickerKind kind) { return kinds[kind].items; }

i32 ItemOfColour(i32 colour) {
    if (colour < 0) return -1;
    // The first eight rows of the palette come again behind them.
    if (colour < FIRST_COLOUR) return colour + 1;
    return colour < PALETTE_SIZE ? colour - FIRST_COLOUR + 1 : 0;
}

i32 ColourOfItem(i32 item, i32 automatic) { return item <= 0 ? automatic : item - 1 + FIRST_COLOUR; }

bool FillPicker(Dialog& dialog, const PickerRow& row, i32 book) {
    ClearControlItems(dialog, row.control);
    WideText text;
    for (i32 item = 0; item < kinds[row.kind].items; ++item)
        if (!ItemText(row.kind, item, book, text) || !AddControlItem(dialog, row.control, text)) return false;
    return true;
}

bool HandlePicker(Dialog& dialog, const DialogEvent& event, std::span<const PickerRow> rows, i32 book) {
    const auto* row = std::find_if(rows.data(), rows.data() + rows.size(),
                                   [&](const PickerRow& r) { return r.control == event.control; });
    const Control* control = FindControl(dialog, event.control);
    if (row == rows.data() + rows.size() || !control) return false;
    switch (event.kind) {
        case DIALOG_PAINT: PaintPicker(*event.target, event.paint, *control, row->kind, book); return true;
        case DIALOG_MOUSE: {
            const PixelRect own = {0, 0, control->place.right - control->place.left,
                                   control->place.bottom - control->place.top};
            if (event.value == static_cast<i32>(WM_LBUTTONUP) && RectHolds(own, event.x, event.y))
                DropDown(dialog, *row, book);
            return true;
        }
        case DIALOG_KEY: {
            if (event.value == static_cast<i32>(VK_SPACE)) DropDown(dialog, *row, book);
            const i32 item = ItemByKey(event.value, control->choice, kinds[row->kind].items, 1);
            if (item >= 0 && item != control->choice) UserChooses(dialog, event.control, item);
            return true;
        }
        default: return false;
    }
}

void PaintPickerItem(DrawTarget& target, const PixelRect& rect, PickerKind kind, i32 item, i32 book) {
    const i32 middle = (rect.top + rect.bottom) / 2;
    const bool word = kind == PICK_COLOUR ? !item : item == kinds[kind].none;
    if (word) {
        PaintWord(target, rect, Message(kind == PICK_COLOUR ? MSG_PICK_AUTOMATIC : MSG_PICK_NONE), INK);
        return;
    }
    switch (kind) {
        case PICK_COLOUR: FillRect(target, Inside(rect, 1), ColourAt(book, item, INK)); break;
        case PICK_BORDER:
            PaintBorderLine(target, true, 1, middle, rect.left + 3, rect.right - 3, static_cast<u8>(item), INK);
            break;
        case PICK_PATTERN:
            FillRect(target, Inside(rect, 1), Brush{INK, static_cast<u8>(item), false, PAPER});
            break;
        default: PaintObjectLine(target, rect, item); break;
    }
}

}  // namespace tally
