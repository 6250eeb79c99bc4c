#include <algorithm>

#include "base/Number.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/SheetRecords.h"
#include "fileio/biff/ViewFields.h"
#include "model/CellStore.h"

namespace tally {

bool ReadSelection(LoadState& load, ByteView body) {
    SheetView& view = LoadedSheet(load).view;
    view.activeRow = WordAt(body, SELECTION_ROW_AT);
    view.activeColumn = ByteAt(body, SELECTION_COLUMN_AT);
    const ByteView area = From(body, SELECTION_AREAS_AT + WordAt(body, SELECTION_ACTIVE_AT) * AREA_BYTES);
    view.selection = {WordAt(area, 0), WordAt(area, AREA_LAST_ROW_AT), ByteAt(area, AREA_FIRST_COLUMN_AT),
                      ByteAt(area, AREA_LAST_COLUMN_AT)};
    return true;
}

bool ReadWindow2(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    const u16 shown = VIEW_FORMULAS | VIEW_GRIDLINES | VIEW_HEADERS | VIEW_FROZEN;
    sheet.viewFlags = static_cast<u16>((sheet.viewFlags & ~shown) | (ByteAt(body, WINDOW2_FLAGS_AT) & shown));
    SheetOptions& options = sheet.options;
    options.window = WordAt(body, WINDOW2_FLAGS_AT) & WINDOW_KEPT;
    options.gridColour = LongAt(body, WINDOW2_COLOUR_AT);
    if (load.biffVersion == 8) {
        options.gridColour = WordAt(body, WINDOW2_COLOUR_AT);
        options.breakZoom = WordAt(body, WINDOW2_BREAK_ZOOM_AT);
        options.normalZoom = WordAt(body, WINDOW2_NORMAL_ZOOM_AT);
    }
    if (sheet.viewFlags & VIEW_FROZEN) {
        sheet.view.frozenFirstRow = WordAt(body, WINDOW2_ROW_AT);
        sheet.view.frozenFirstColumn = ByteAt(body, WINDOW2_COLUMN_AT);
    } else {
        sheet.view.firstRow = WordAt(body, WINDOW2_ROW_AT);
        sheet.view.firstColumn = ByteAt(body, WINDOW2_COLUMN_AT);
    }
    return true;
}

bool ReadPane(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    if (!(sheet.viewFlags & VIEW_FROZEN)) {
        sheet.options.isSplit = true;
        for (std::size_t i = 0; i < std::size(sheet.options.split); ++i)
            sheet.options.split[i] = WordAt(body, i * 2);
        return true;
    }
    SheetView& view = sheet.view;
    const u32 columns = WordAt(body, PANE_COLUMNS_AT);
    const u32 rows = WordAt(body, PANE_ROWS_AT);
    if (columns) {
        view.splitColumn = static_cast<u8>(std::min<u32>(view.frozenFirstColumn + columns, MAX_COLUMNS - 1));
    } else {
        view.splitColumn = view.frozenFirstColumn = 0;
    }
    if (rows) {
        view.splitRow = static_cast<u16>(std::min<u32>(view.frozenFirstRow + rows, MAX_ROWS - 1));
    } else {
        view.splitRow = view.frozenFirstRow = 0;
    }
    view.firstRow = WordAt(body, PANE_FIRST_ROW_AT);
    view.firstColumn = ByteAt(body, PANE_FIRST_COLUMN_AT);
    return true;
}

i32 ZoomPercent(ByteView body) {
    const u16 denominator = WordAt(body, 2);
    const i32 percent = denominator ? MulDiv(WordAt(body, 0), 100, denominator) : 100;
    return std::clamp(percent, 10, 400);
}

bool ReadZoom(LoadState& load, ByteView body) {
    LoadedSheet(load).zoomPercent = ZoomPercent(body);
    return true;
}

bool ReadRow(LoadState& load, ByteView body) {
    RowInfo info;
    info.row = WordAt(body, 0);
    info.height = WordAt(body, 6) & ROW_HEIGHT_BITS;
    const u8 options = ByteAt(body, 12);
    info.flags = static_cast<u16>((options & ROW_IS_HIDDEN ? ROW_HIDDEN : 0) |
                                  (options & ROW_HAS_HEIGHT ? ROW_CUSTOM_HEIGHT : 0) |
                                  (options & ROW_IS_COLLAPSED ? ROW_COLLAPSED : 0) |
                                  (options & ROW_LEVEL_BITS) << LEVEL_SHIFT | (WordAt(body, 14) & ROW_BORDERS));
    const u32 format = (WordAt(body, 14) & ROW_FORMAT_BITS) + load.formatBase;
    if ((options & ROW_HAS_FORMAT) && format < LoadedBook(load).cellFormats.Count()) {
        info.flags |= ROW_FORMATTED;
        info.format = static_cast<u16>(format);
    }
    return SetRowInfo(LoadedSheet(load).rows, info);
}

bool ReadColumnInfo(LoadState& load, ByteView body) {
    const u32 last = std::min<u32>(WordAt(body, 2), MAX_COLUMNS - 1);
    const u32 format = WordAt(body, 6) + load.formatBase;
    const u16 options = WordAt(body, 8);
    const u16 flags = static_cast<u16>(
        (options & COLUMN_IS_HIDDEN ? COLUMN_HIDDEN : 0) | (options & COLUMN_IS_SET ? COLUMN_USER_WIDTH : 0) |
        (options & COLUMN_IS_FITTED ? COLUMN_BEST_FIT : 0) |
        (options & COLUMN_IS_COLLAPSED ? COLUMN_COLLAPSED : 0) | (options & COLUMN_LEVEL));
    for (u32 column = WordAt(body, 0) & 0xFF; column <= last; ++column) {
        ColumnInfo info;
        info.column = static_cast<u8>(column);
        info.width = WordAt(body, 4);
        info.format = format < LoadedBook(load).cellFormats.Count() ? static_cast<u16>(format) : u16{0};
        info.flags = flags;
        if (!SetColumnInfo(LoadedSheet(load).columns, info)) return false;
    }
    return true;
}

bool ReadDefaultRowHeight(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_HEIGHT);
    if (ByteAt(body, 0) & 1) sheet.viewFlags |= VIEW_HEIGHT_DIFFERS;
    sheet.defaultRowHeight = WordAt(body, 2);
    return true;
}

bool ReadDefaultColumnWidth(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_WIDTH);
    sheet.defaultColumnWidth = static_cast<u16>(WordAt(body, 0) << 8);
    return true;
}

bool ReadStandardWidth(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_WIDTH);
    sheet.defaultColumnWidth = WordAt(body, 0);
    return true;
}

bool ReadMergedCells(LoadState& load, ByteView body) {
    const u32 count = WordAt(body, 0);
    for (u32 i = 0; i < count && 2 + i * 8 < body.size(); ++i) {
        const std::size_t at = 2 + std::size_t{i} * 8;
        const RefArea area = {WordAt(body, at), WordAt(body, at + 2), ByteAt(body, at + 4),
                              ByteAt(body, at + 6)};
        if (!LoadedSheet(load).mergedAreas.Append(area)) return false;
    }
    return true;
}

bool ReadSheetExtension(LoadState& load, ByteView body) {
    LoadedSheet(load).tabColour = ByteAt(body, 16);
    return true;
}

bool ReadProtect(LoadState& load, ByteView body) {
    if (WordAt(body, 0) == 1) LoadedSheet(load).viewFlags |= VIEW_PROTECTED;
    return true;
}

bool ReadPassword(LoadState& load, ByteView body) {
    LoadedSheet(load).passwordHash = WordAt(body, 0);
    return true;
}

}  // namespace tally
