#include "editing/VisibleRuns.h"

namespace tally {
namespace {

// The lines from `first` to `last` without those whose record is hidden. Records ascend.
template <typename Record, typename Key>
bool Runs(const Array<Record>& records, Key Record::*key, u16 hidden, LineRun whole, Array<LineRun>& runs) {
    i32 next = whole.first;
    for (const Record& record : records) {
        const i32 line = record.*key;
        if (line < whole.first || !(record.flags & hidden)) continue;
        if (line > whole.last) break;
        if (line > next && !runs.Append({next, line - 1})) return false;
        next = line + 1;
    }
    return next > whole.last || runs.Append({next, whole.last});
}

template <typename Record, typename Key>
i32 CountHidden(const Array<Record>& records, Key Record::*key, u16 hidden, i32 first, i32 last) {
    i32 count = 0;
    for (const Record& record : records)
        count += record.*key >= first && record.*key <= last && (record.flags & hidden);
    return count;
}

}  // namespace

bool HasHiddenFilterRows(const Sheet& sheet) {
    if (sheet.filterState & FILTER_ADVANCED) return true;
    if (!(sheet.filterState & FILTER_AUTO)) return false;
    for (const FilterColumn& column : sheet.filterColumns)
        if (column.top10 || column.conditions[0].kind || column.conditions[1].kind) return true;
    return false;
}

bool VisibleRowRuns(const Sheet& sheet, const RefArea& area, Array<LineRun>& runs) {
    return Runs(sheet.rows, &RowInfo::row, ROW_HIDDEN, {area.firstRow, area.lastRow}, runs);
}

bool VisibleColumnRuns(const Sheet& sheet, const RefArea& area, Array<LineRun>& runs) {
    return Runs(sheet.columns, &ColumnInfo::column, COLUMN_HIDDEN, {area.firstColumn, area.lastColumn}, runs);
}

bool IsPartlyHidden(const Sheet& sheet, const RefArea& area) {
    if (!HasHiddenFilterRows(sheet)) return false;
    const i32 rows = CountHidden(sheet.rows, &RowInfo::row, ROW_HIDDEN, area.firstRow, area.lastRow);
    const i32 columns =
        CountHidden(sheet.columns, &ColumnInfo::column, COLUMN_HIDDEN, area.firstColumn, area.lastColumn);
    const bool allHidden = rows > area.lastRow - area.firstRow || columns > area.lastColumn - area.firstColumn;
    return (rows || columns) && !allHidden;
}

}  // namespace tally
