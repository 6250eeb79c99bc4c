#include "editing/PasteText.h"

#include <algorithm>

#include "editing/AreaLists.h"
#include "editing/PasteTargets.h"
#include "editing/StoreEntry.h"
#include "editing/WorkRows.h"
#include "model/AreaList.h"
#include "model/BookTable.h"

namespace tally {
namespace {

struct TextPaste {
    WideView text;
    TextShape shape;
    Array<u32> rows;  // where each row begins
    WorkRows work;
};

bool ListRows(TextPaste& paste) {
    const WideView text = paste.text;
    if (!paste.rows.Reserve(paste.shape.rows)) return false;
    for (std::size_t at = 0; at < text.size();) {
        IgnoreFailure(paste.rows.Append(static_cast<u32>(at)));
        at = text.find(u'\r', at);
        if (at == WideView::npos) break;
        if (++at < text.size() && text[at] == u'\n') ++at;
    }
    return true;
}

// The fields of a row, from one column on.
bool PasteFields(TextPaste& paste, u32 row, i32 column) {
    WorkRows& work = paste.work;
    const WideView text = paste.text;
    for (std::size_t at = paste.rows[row];; ++column) {
        const std::size_t end = std::min(text.find_first_of(u"\t\r", at), text.size());
        SavedCell cell;
        cell.row = static_cast<u16>(work.row);
        cell.column = static_cast<u8>(column);
        cell.format = WorkFormat(work, column);
        if (!MakeEntryCell(work.sheet.book, work.sheet.index, text.substr(at, end - at), cell)) return false;
        StoreWorkCell(work, column, cell, work.columnFormats[column]);
        if (end == text.size() || text[end] == u'\r') return true;
        at = end + 1;
    }
}

bool PasteTextRow(TextPaste& paste, const RefArea& target) {
    const u32 row = static_cast<u32>(paste.work.row - target.firstRow) % paste.shape.rows;
    for (i32 column = target.firstColumn; column <= target.lastColumn;
         column += static_cast<i32>(paste.shape.columns))
        if (!PasteFields(paste, row, column)) return false;
    return true;
}

bool PasteTextRows(TextPaste& paste, std::span<const RefArea> targets) {
    const RefArea area = paste.work.after.area;
    std::size_t from = 0;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        LoadWorkRow(paste.work, row);
        while (from < targets.size() && targets[from].lastRow < row) ++from;
        bool good = true;
        for (std::size_t i = from; i < targets.size() && targets[i].firstRow <= row; ++i)
            if (targets[i].lastRow >= row) good = good && PasteTextRow(paste, targets[i]);
        if (!PutWorkRow(paste.work, good)) return false;
    }
    return true;
}

// Arrays and merges of the targets give way, and hyperlinks that lie wholly in one or lose a cell.
bool ListsAfterText(const Sheet& sheet, std::span<const RefArea> targets, const Array<u8>& drops,
                    AreaContents& after) {
    after.mask |= BLOCK_HYPERLINKS;
    return KeepArraysAndMerges(sheet, targets, after) && KeepLinks(sheet, after, [&](u32 i) {
               const RefArea& area = sheet.hyperlinks[i].area;
               return !drops[i] && !std::any_of(targets.begin(), targets.end(), [&](const RefArea& target) {
                   return AreaHoldsArea(target, area);
               });
           });
}

bool PrepareText(Sheet& sheet, WideView text, const TextShape& shape, std::span<const RefArea> targets,
                 AreaContents& after) {
    TextPaste paste{text, shape, {}, {sheet, after}};
    return ListRows(paste) && StartWork(paste.work) && PasteTextRows(paste, targets) &&
           ListsAfterText(sheet, targets, paste.work.drops, after);
}

}  // namespace

TextShape ShapeOfText(WideView text) {
    TextShape shape;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(u'\r', at), text.size());
        const auto tabs = std::count(text.begin() + static_cast<std::ptrdiff_t>(at),
                                     text.begin() + static_cast<std::ptrdiff_t>(end), u'\t');
        shape.columns = std::max(shape.columns, static_cast<u32>(tabs) + 1);
        ++shape.rows;
        at = end + 1;
        if (at < text.size() && text[at] == u'\n') ++at;
    }
    return shape;
}

bool PasteText(const PasteRequest& request, WideView text) {
    Sheet* sheet = SheetAt(request.book, request.sheet);
    const TextShape shape = ShapeOfText(text);
    if (!shape.rows || !sheet || !(sheet->kind & SHEET_WITH_CELLS) || text.size() > 0x7FFFFFFF) return false;
    Array<RefArea> targets;
    if (!ListTargets(*sheet, request.area, targets) || targets.IsEmpty() ||
        !FitTargets(*sheet, shape.rows, shape.columns, targets))
        return false;
    const u64 failures = FailedAllocations();
    AreaContents after;
    StartContents(after, *sheet, UnionOf(targets.Span()), BLOCK_CELLS);
    const bool made = PrepareText(*sheet, text, shape, targets.Span(), after);
    const bool good = FinishArea(after, made, failures, UNDO_PASTE, BLOCK_BUT_OBJECTS);
    if (good && request.growSelection) GrowSelection(*sheet, targets);
    return good;
}

}  // namespace tally
