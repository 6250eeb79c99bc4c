#pragma once
// What the shell paints, told for those who do not see it: one item for everything that has a meaning of its
// own.

#include "base/Array.h"
#include "base/WideText.h"
#include "platform/Drawing.h"

namespace tally {

enum AccessibleRole : u8 {
    ACCESSIBLE_WINDOW,  // all that the shell paints; the root
    ACCESSIBLE_TOOLBAR,
    ACCESSIBLE_BUTTON,
    ACCESSIBLE_EDIT,  // an edit control: the toolkit tells of it, the item gives it its name
    ACCESSIBLE_GRID,
    ACCESSIBLE_CELL,  // the active one
    ACCESSIBLE_AREA,  // what is selected, when it is more than the active cell
    ACCESSIBLE_COLUMN_HEADER,
    ACCESSIBLE_ROW_HEADER,
    ACCESSIBLE_TAB_LIST,
    ACCESSIBLE_TAB,
    ACCESSIBLE_STATUS_BAR,
    ACCESSIBLE_STATUS_PART,
    ACCESSIBLE_ROLES,
};

enum AccessibleState : u32 {
    ACCESSIBLE_FOCUSED = 1,
    ACCESSIBLE_SELECTED = 2,
    ACCESSIBLE_DISABLED = 4,
};

struct AccessibleItem {
    AccessibleRole role = ACCESSIBLE_WINDOW;
    // Which of its role: a button's command, an edit control's handle, a sheet's serial, a row, a column, a
    // part of the status bar, row * 256 + column of a cell. Role and key stay the same as long as the thing
    // does.
    u32 key = 0;
    WideText name, value, description;
    PixelRect place;  // in the client area; empty for what is not in view
    u32 states = 0;   // AccessibleState
    i32 parent = -1;  // index; -1 for the root
    u32 firstChild = 0, children = 0;
};

// What has changed since it was last told; nothing of it means that anything else may have.
enum AccessibleChange : u32 {
    ACCESSIBLE_FOCUS_MOVED = 1,
    ACCESSIBLE_VALUE_CHANGED = 2,
    ACCESSIBLE_SELECTION_CHANGED = 4,
};

// Index of an item, -1 when it is not there.
inline i32 FindAccessible(std::span<const AccessibleItem> items, AccessibleRole role, u32 key) {
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].role == role && items[i].key == key) return static_cast<i32>(i);
    return -1;
}

}  // namespace tally
