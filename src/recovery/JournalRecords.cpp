#include "recovery/JournalRecords.h"

#include "recovery/JournalEntry.h"

namespace tally {
namespace {

// The fewest bytes that a record of each kind takes.
constexpr u32 LEAST_CELL = 9, LEAST_ROW = 8, LEAST_COLUMN = 7, LEAST_LINK = 28, LEAST_ARRAY = 10,
              LEAST_TABLE = 16, LEAST_AREA = 6, LEAST_RULE = 50, LEAST_FORMAT = 10, LEAST_CONDITION = 20;

// ---- cells and sizes ------------------------------------------------------------------------------

void MoveCell(JournalBytes& bytes, SavedCell& cell) {
    MoveAll(bytes, cell.row, cell.column, cell.format, cell.value, cell.tokens);
    MoveBetween(bytes, cell.calcState, 0, CALC_BLANK);
    Move(bytes, cell.alwaysCalculate);
    if (!bytes.reading || bytes.failed) return;
    // A calculation that was under way is not any more; without a formula the value tells the state.
    if (cell.tokens.bytes) cell.calcState = CALC_STALE;
    else cell.calcState = cell.value.type == VT_EMPTY ? CALC_BLANK : CALC_CURRENT;
}

bool AreCellsInOrder(const AreaContents& contents) {
    i32 last = -1;
    for (const SavedCell& cell : contents.cells) {
        const i32 place = cell.row * MAX_COLUMNS + cell.column;
        if (place <= last || !AreaHolds(contents.area, cell.row, cell.column)) return false;
        last = place;
    }
    return true;
}

template <typename Record, typename Key>
bool AreLinesInOrder(const Array<Record>& list, Key Record::*key, i32 first, i32 last) {
    i32 before = first - 1;
    for (const Record& record : list) {
        if (i32{record.*key} <= before || i32{record.*key} > last) return false;
        before = record.*key;
    }
    return true;
}

// ---- lists ----------------------------------------------------------------------------------------

void MoveLink(JournalBytes& bytes, SavedLink& saved) {
    Hyperlink& link = saved.link;
    MoveAll(bytes, saved.place, link.area, link.kind, link.target, link.location, link.description, link.frame);
}

void MoveArea(JournalBytes& bytes, RefArea& area) { Move(bytes, area); }
void MoveArray(JournalBytes& bytes, ArrayEntry& entry) {
    MoveAll(bytes, entry.area, entry.reserved1, entry.reserved2);
}
void MoveTable(JournalBytes& bytes, DataTable& table) {
    MoveAll(bytes, table.area, table.flags, table.inputs[0], table.inputs[1], table.inputs[2], table.inputs[3]);
}

void MoveValidation(JournalBytes& bytes, ValidationRule& rule) {
    MoveBetween(bytes, rule.kind, 0, 7);
    MoveBetween(bytes, rule.errorStyle, 0, 2);
    MoveAll(bytes, rule.literalList, rule.ignoreBlank, rule.noDropArrow, rule.inputMethod, rule.showInput,
            rule.showError);
    MoveBetween(bytes, rule.comparison, 0, 7);
    MoveAll(bytes, rule.inputTitle, rule.errorTitle, rule.inputText, rule.errorText, rule.formula1,
            rule.formula2);
    MoveList(bytes, rule.areas, LEAST_AREA, MoveArea);
}

void MoveCondition(JournalBytes& bytes, ConditionalCondition& c) {
    MoveBetween(bytes, c.type, 1, 2);
    MoveBetween(bytes, c.comparison, 0, 8);
    MoveAll(bytes, c.formula1, c.formula2, c.hasFontColour, c.fontColour, c.fontHeight, c.hasBorders,
            c.leftColour, c.rightColour, c.topColour, c.bottomColour, c.hasPattern);
    for (OverrideByte* each : {&c.strikeout, &c.italic, &c.bold, &c.underline, &c.leftStyle, &c.rightStyle,
                               &c.topStyle, &c.bottomStyle, &c.pattern, &c.patternColour, &c.backColour})
        MoveAll(bytes, each->present, each->value);
}

void MoveConditional(JournalBytes& bytes, ConditionalFormat& format) {
    Move(bytes, format.priority);
    MoveList(bytes, format.conditions, LEAST_CONDITION, MoveCondition);
    Demand(bytes, format.conditions.Count() <= 3);
    MoveList(bytes, format.areas, LEAST_AREA, MoveArea);
}

// The rules of the one sheet that the contents are of.
void MoveRules(JournalBytes& bytes, AreaContents& contents) {
    if (!(contents.mask & (BLOCK_VALIDATION | BLOCK_CONDITIONAL)) || bytes.failed) return;
    if (bytes.reading && !contents.rules.AppendDefault()) bytes.failed = true;
    if (bytes.failed) return;
    SavedRules& rules = contents.rules[0];
    rules.hasValidations = (contents.mask & BLOCK_VALIDATION) != 0;
    rules.hasFormats = (contents.mask & BLOCK_CONDITIONAL) != 0;
    if (rules.hasValidations) MoveList(bytes, rules.validations, LEAST_RULE, MoveValidation);
    if (rules.hasFormats) MoveList(bytes, rules.formats, LEAST_FORMAT, MoveConditional);
}

}  // namespace

void MoveContents(JournalBytes& bytes, AreaContents& contents) {
    MoveAll(bytes, contents.mask, contents.area);
    Demand(bytes, !(contents.mask & ~JOURNAL_MASK));
    const RefArea& area = contents.area;
    if (contents.mask & BLOCK_CELLS) MoveList(bytes, contents.cells, LEAST_CELL, MoveCell);
    Demand(bytes, AreCellsInOrder(contents));
    if (contents.mask & CONTENTS_ROWS) {
        MoveList(bytes, contents.rows, LEAST_ROW,
                 [](JournalBytes& b, RowInfo& row) { MoveAll(b, row.row, row.flags, row.height, row.format); });
    }
    Demand(bytes, AreLinesInOrder(contents.rows, &RowInfo::row, area.firstRow, area.lastRow));
    if (contents.mask & BLOCK_COLUMNS) {
        MoveList(bytes, contents.columns, LEAST_COLUMN, [](JournalBytes& b, ColumnInfo& column) {
            MoveAll(b, column.column, column.flags, column.width, column.format);
        });
    }
    Demand(bytes, AreLinesInOrder(contents.columns, &ColumnInfo::column, area.firstColumn, area.lastColumn));
    if (contents.mask & BLOCK_HYPERLINKS) MoveList(bytes, contents.links, LEAST_LINK, MoveLink);
    if (contents.mask & BLOCK_ARRAYS) {
        MoveList(bytes, contents.arrays, LEAST_ARRAY, MoveArray);
        MoveList(bytes, contents.tables, LEAST_TABLE, MoveTable);
    }
    if (contents.mask & BLOCK_MERGES) MoveList(bytes, contents.merges, LEAST_AREA, MoveArea);
    MoveRules(bytes, contents);
}

}  // namespace tally
