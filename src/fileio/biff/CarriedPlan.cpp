#include <algorithm>

#include "base/Text.h"
#include "fileio/biff/CarriedRecords.h"
#include "fileio/compound/CompoundTypes.h"
#include "formula/TokenWalk.h"
#include "model/Carried.h"

// What becomes of carried bytes in a save. They hold places of cells and names of sheets: where those have
// changed since, the bytes that speak of them stay out.

namespace tally {
namespace {

constexpr u16 ART_ANCHOR = 0xF010;

struct KindRange {
    u16 first, last;
    u32 kind;
};

// Ascending. What is not listed is one of the others.
constexpr KindRange kinds[] = {
    {RECORD_NOTE, RECORD_NOTE, CARRIED_COMMENTS},
    {RECORD_WINDOW1, RECORD_WINDOW1, CARRIED_HOUSEKEEPING},
    {RECORD_PANE, RECORD_CODEPAGE, CARRIED_HOUSEKEEPING},
    {RECORD_DCON, RECORD_DCONNAME, CARRIED_PLACES},
    {RECORD_OBJ, RECORD_OBJ, CARRIED_DRAWINGS},
    {RECORD_UNCALCED, RECORD_UNCALCED, CARRIED_HOUSEKEEPING},
    {RECORD_IMDATA, RECORD_IMDATA, CARRIED_DRAWINGS},
    {RECORD_WRITEPROTECT, RECORD_WRITEPROTECT, CARRIED_HOUSEKEEPING},
    {RECORD_COUNTRY, RECORD_COUNTRY, CARRIED_HOUSEKEEPING},
    {RECORD_SORT, RECORD_SORT, CARRIED_HOUSEKEEPING},
    {RECORD_FNGROUPNAME, RECORD_FNGROUPNAME, CARRIED_HOUSEKEEPING},
    {RECORD_COORDLIST, RECORD_COORDLIST, CARRIED_DRAWINGS},
    {RECORD_GCW, RECORD_GCW, CARRIED_HOUSEKEEPING},
    {RECORD_SCENMAN, RECORD_SCENARIO, CARRIED_PLACES},
    {RECORD_SXVIEW, RECORD_SXPI, CARRIED_PIVOTS},
    {RECORD_SXDI, RECORD_SXTBPG, CARRIED_PIVOTS},
    {RECORD_OBPROJ, RECORD_OBPROJ, CARRIED_MACROS},
    {RECORD_SXIDSTM, RECORD_SXIDSTM, CARRIED_PIVOTS},
    {RECORD_OLESIZE, RECORD_OLESIZE, CARRIED_HOUSEKEEPING},
    {RECORD_SXVS, RECORD_SXVS, CARRIED_PIVOTS},
    {RECORD_MSODRAWINGGROUP, RECORD_UNNAMED_238, CARRIED_DRAWINGS},
    {RECORD_PHONETIC, RECORD_PHONETIC, CARRIED_PLACES},
    {RECORD_SXRULE, RECORD_SXFORMAT, CARRIED_PIVOTS},
    {RECORD_SXVDEX, RECORD_SXFORMULA, CARRIED_PIVOTS},
    {RECORD_SXDBEX, RECORD_SXDBEX, CARRIED_PIVOTS},
    {RECORD_LABELRANGES, RECORD_LABELRANGES, CARRIED_PLACES},
    {RECORD_USERBVIEW, RECORD_USERSVIEWEND, CARRIED_VIEWS},
    {RECORD_DCONBIN, RECORD_DCONBIN, CARRIED_PLACES},
    {RECORD_TXO, RECORD_TXO, CARRIED_DRAWINGS},
    {RECORD_CODENAME, RECORD_CODENAME, CARRIED_MACROS},
    {RECORD_OBNOMACROS, RECORD_OBNOMACROS, CARRIED_MACROS},
    {RECORD_NEWERFILE, RECORD_ENTEXU2, CARRIED_HOUSEKEEPING},
    {RECORD_HLINKTOOLTIP, RECORD_HLINKTOOLTIP, CARRIED_PLACES},
    {RECORD_BOF, RECORD_BOF, CARRIED_CHARTS},
    {RECORD_SXVIEWEX9, RECORD_SXVIEWEX9, CARRIED_PIVOTS},
    {RECORD_SHEETEXT, RECORD_BOOKEXT, CARRIED_HOUSEKEEPING},
    {RECORD_SXADDL, RECORD_SXADDL, CARRIED_PIVOTS},
    {RECORD_FEATHDR, RECORD_FEATHDR, CARRIED_HOUSEKEEPING},
    {RECORD_FEAT, RECORD_FEAT, CARRIED_PLACES},
    {RECORD_CELLWATCH, RECORD_CELLWATCH, CARRIED_PLACES},
    {RECORD_FEATHDR11, RECORD_FEATURE11, CARRIED_PLACES},
    {RECORD_LIST12, RECORD_CFEX, CARRIED_PLACES},
    {RECORD_XFCRC, RECORD_XFEXT, CARRIED_HOUSEKEEPING},
    {RECORD_AUTOFILTER12, RECORD_AUTOFILTER12, CARRIED_PLACES},
    {RECORD_PLV, RECORD_TABLESTYLES, CARRIED_HOUSEKEEPING},
    {RECORD_STYLEEXT, RECORD_STYLEEXT, CARRIED_HOUSEKEEPING},
    {RECORD_SORTDATA, RECORD_SORTDATA, CARRIED_PLACES},
    {RECORD_THEME, RECORD_GUIDTYPELIB, CARRIED_HOUSEKEEPING},
    {RECORD_MTRSETTINGS, RECORD_HEADERFOOTER, CARRIED_HOUSEKEEPING},
    {RECORD_FORCEFULLCALCULATION, RECORD_FORCEFULLCALCULATION, CARRIED_HOUSEKEEPING},
    {RECORD_UNNAMED_2248, RECORD_UNNAMED_2248, CARRIED_HOUSEKEEPING},
    {RECORD_CLRTCLIENT, RECORD_CLRTCLIENT, CARRIED_HOUSEKEEPING},
};

u32 KindOfRecord(bool globals, u16 id) {
    // In the globals the source of a cache; in a sheet that of a consolidation.
    if (globals && id >= RECORD_DCON && id <= RECORD_DCONNAME) return CARRIED_PIVOTS;
    const auto found = std::lower_bound(std::begin(kinds), std::end(kinds), id,
                                        [](const KindRange& row, u16 wanted) { return row.last < wanted; });
    return found != std::end(kinds) && found->first <= id ? found->kind : u32{CARRIED_OTHERS};
}

// Calls visit(kind, bytes, record) for each record of a run, a block as one with its first record.
template <typename Visit>
void WalkRun(ByteView run, bool globals, Visit visit) {
    BiffStream stream{run};
    BiffRecord record;
    u32 kind = CARRIED_OTHERS;
    for (std::size_t at = 0; NextRecord(stream, record); at = std::min(stream.position, run.size())) {
        if (record.id != RECORD_CONTINUE) kind = KindOfRecord(globals, record.id);
        const std::size_t behind = stream.position;
        if (BeginsBlock(record.id) && !SkipBlock(stream, record.id)) stream.position = behind;
        visit(kind, Part(run, at, stream.position - at), record);
    }
}

ByteView BytesOf(const CarriedRecords& carried, const CarriedRun& run) {
    return Part(carried.bytes.Span(), run.start, run.length);
}

template <typename Visit>
void WalkRecords(const CarriedRecords& carried, bool globals, Visit visit) {
    for (const CarriedRun& run : carried.runs) WalkRun(BytesOf(carried, run), globals, visit);
}

u32 KindsIn(const CarriedRecords& carried, bool globals) {
    u32 all = 0;
    WalkRecords(carried, globals, [&](u32 kind, ByteView, const BiffRecord&) { all |= kind; });
    return all;
}

bool IsKeptWhole(const Sheet& sheet) { return sheet.kind == SHEET_CHART || sheet.kind == SHEET_MODULE; }

u32 KindsOfSheet(const Sheet& sheet) {
    if (sheet.carried.runs.IsEmpty()) return 0;
    if (sheet.kind == SHEET_CHART) return CARRIED_CHARTS;
    if (sheet.kind == SHEET_MODULE) return CARRIED_MACROS;
    return KindsIn(sheet.carried, false);
}

struct KindLoss {
    u32 kind, loss;
};
constexpr KindLoss lossOfKinds[] = {
    {CARRIED_DRAWINGS, LOSS_OBJECTS}, {CARRIED_COMMENTS, LOSS_COMMENTS}, {CARRIED_CHARTS, LOSS_CHARTS},
    {CARRIED_PIVOTS, LOSS_PIVOTS},    {CARRIED_MACROS, LOSS_MACROS},     {CARRIED_VIEWS, LOSS_VIEWS},
    {CARRIED_PLACES, LOSS_PARTS},     {CARRIED_OTHERS, LOSS_PARTS},
};

u32 LossesOf(u32 lost) {
    u32 losses = 0;
    for (const KindLoss& row : lossOfKinds)
        if (lost & row.kind) losses |= row.loss;
    return losses;
}

// ---- places ------------------------------------------------------------------------------------------------

// How far down and to the right the drawings of a sheet reach.
struct Reach {
    i32 row = -1;
    i32 column = -1;
    void Take(i32 r, i32 c) {
        row = std::max(row, r);
        column = std::max(column, c);
    }
};

// The anchors in a record of drawings. A record begins where an atom or a container does.
void ReachOfArt(ByteView body, Reach& reach) {
    while (body.size() >= 8) {
        const bool container = (WordAt(body, 0) & 15) == 15;
        const std::size_t length = LongAt(body, 4);
        if (WordAt(body, 2) == ART_ANCHOR && length == 18) reach.Take(WordAt(body, 22), WordAt(body, 18));
        body = From(body, container ? 8 : 8 + std::min(length, body.size()));
    }
}

// A control that is linked with cells may name any of them.
bool HasLinkedCells(ByteView body) {
    while (body.size() >= 4) {
        const u16 kind = WordAt(body, 0);
        const bool links = kind == 9 || kind == 14 || kind == 19 || kind == 20;
        if (links && WordAt(body, 2) && WordAt(body, 4)) return true;
        body = From(body, std::size_t{4} + WordAt(body, 2));
    }
    return false;
}

Reach ReachOfDrawings(const Sheet& sheet) {
    Reach reach;
    WalkRecords(sheet.carried, false, [&](u32, ByteView, const BiffRecord& record) {
        const ByteView body = record.body;
        if (record.id == RECORD_NOTE) reach.Take(WordAt(body, 0), WordAt(body, 2));
        if (record.id == RECORD_MSODRAWING || record.id == RECORD_CONTINUE) ReachOfArt(body, reach);
        if (record.id != RECORD_OBJ) return;
        if (sheet.carried.form == 8) {
            if (HasLinkedCells(body)) reach.Take(MAX_ROWS, MAX_COLUMNS);
        } else {
            reach.Take(WordAt(body, 22), WordAt(body, 18));
        }
    });
    return reach;
}

bool PivotsMoved(const Sheet& sheet) {
    bool moved = false;
    WalkRecords(sheet.carried, false, [&](u32, ByteView, const BiffRecord& record) {
        if (record.id == RECORD_SXVIEW)
            moved = moved || HasMovedWithin(sheet, WordAt(record.body, 2), WordAt(record.body, 6));
    });
    return moved;
}

bool AnyMoves(const Workbook& book) {
    return std::any_of(book.sheets.begin(), book.sheets.end(), [](const Sheet* sheet) {
        return sheet->moves.uncounted || !sheet->moves.list.IsEmpty();
    });
}

// Whether the cells that a token string names have moved.
bool ReferencesMoved(const Workbook& book, ByteView tokens) {
    const u32 length = static_cast<u32>(tokens.size());
    for (u32 p = 0; p < length; p = NextToken(tokens.data(), length, p) + 1) {
        const u8 token = FoldToken(tokens[p]);
        const bool area = token == ptgArea3d;
        if ((token != ptgRef3d && !area) || p + (area ? 11u : 7u) > length) continue;
        const u32 index = WordAt(tokens, p + 1);
        if (index >= book.externSheets.Count()) continue;
        const ExternSheet& row = book.externSheets[index];
        const i32 lastRow = WordAt(tokens, p + (area ? 5u : 3u));
        const i32 lastColumn = WordAt(tokens, p + (area ? 9u : 5u)) & 0xFF;
        for (i32 sheet = std::max<i32>(row.firstSheet, 0); sheet <= row.lastSheet; ++sheet) {
            const bool there = static_cast<u32>(sheet) < book.sheets.Count();
            if (there && HasMovedWithin(*book.sheets[static_cast<u32>(sheet)], lastRow, lastColumn))
                return true;
        }
    }
    return false;
}

// Whether a chart's series lead to cells that are elsewhere now. The older form names them by text.
bool ChartMoved(const Workbook& book, u8 form, ByteView substream) {
    if (form != 8) return AnyMoves(book) || SheetsWereRenamed(book) || SheetsWereRemoved(book);
    BiffStream stream{substream};
    BiffRecord record;
    while (NextRecord(stream, record)) {
        if (record.id == RECORD_AI && ReferencesMoved(book, Part(record.body, 8, WordAt(record.body, 6))))
            return true;
    }
    return false;
}

bool ChartsMoved(const Workbook& book, const Sheet& sheet) {
    bool moved = false;
    if (sheet.kind == SHEET_CHART) {
        for (const CarriedRun& run : sheet.carried.runs)
            moved = moved || ChartMoved(book, sheet.carried.form, BytesOf(sheet.carried, run));
        return moved;
    }
    WalkRecords(sheet.carried, false, [&](u32, ByteView bytes, const BiffRecord& record) {
        if (record.id == RECORD_BOF && WordAt(record.body, 2) == SUBSTREAM_CHART)
            moved = moved || ChartMoved(book, sheet.carried.form, bytes);
    });
    return moved;
}

// A cache of a pivot table names the sheet of its source by text.
bool SourceMoved(const Workbook& book, ByteView body) {
    const u8 form = book.carried.form;
    const std::size_t length = form == 8 ? WordAt(body, 6) : ByteAt(body, 6);
    const std::size_t head = form == 8 ? 9 : 7;
    const bool wide = form == 8 && (ByteAt(body, 8) & 1);
    // The first character says whether the sheet is one of this book.
    if (length < 2 || WordAt(body, head) == 0 || ByteAt(body, head) != 2) return false;
    for (const Sheet* sheet : book.sheets) {
        const WideView name(sheet->name);
        bool same = name.size() == length - 1;
        for (std::size_t i = 0; same && i < name.size(); ++i) {
            const u32 c = wide ? WordAt(body, head + 2 + i * 2) : ByteAt(body, head + 1 + i);
            same = name[i] == c || (!wide && name[i] > 127);
        }
        if (same) return HasMovedWithin(*sheet, WordAt(body, 2), ByteAt(body, 5));
    }
    return true;
}

bool PivotsStale(const Workbook& book) {
    bool stale = SheetsWereRemoved(book);
    for (const Sheet* sheet : book.sheets) stale = stale || PivotsMoved(*sheet);
    WalkRecords(book.carried, true, [&](u32, ByteView, const BiffRecord& record) {
        if (record.id == RECORD_DCONREF) stale = stale || SourceMoved(book, record.body);
    });
    return stale;
}

// ---- the plan ----------------------------------------------------------------------------------------------

u32 DroppedOfSheet(const Workbook& book, const Sheet& sheet, u32 ofBook) {
    u32 dropped = ofBook;
    if (ChartsMoved(book, sheet)) dropped |= CARRIED_CHARTS;
    const Reach reach = ReachOfDrawings(sheet);
    const bool moved = reach.row >= 0 && HasMovedWithin(sheet, reach.row, reach.column);
    // A chart lies in a drawing, and a comment is one: none can go without the others.
    if (moved || (dropped & CARRIED_CHARTS)) dropped |= CARRIED_DRAWINGS | CARRIED_COMMENTS | CARRIED_CHARTS;
    if (HasMovedWithin(sheet, MAX_ROWS, MAX_COLUMNS)) dropped |= CARRIED_PLACES | CARRIED_VIEWS;
    return dropped;
}

u32 KindOfEntry(const CarriedEntry& entry) {
    const WideView name = entry.name;
    if (StartsWithIgnoringCase(name, u"_VBA_PROJECT")) return CARRIED_MACROS;
    if (StartsWithIgnoringCase(name, u"_SX_DB")) return CARRIED_PIVOTS;
    if (StartsWithIgnoringCase(name, u"MBD") || EqualIgnoringCase(name, u"Ctls")) return CARRIED_DRAWINGS;
    return !name.empty() && name[0] < 5 ? u32{CARRIED_HOUSEKEEPING} : u32{CARRIED_OTHERS};
}

bool IsProperties(const CarriedEntry& entry) { return !entry.name.IsEmpty() && entry.name[0] == 5; }

u32 LossOfEntry(const CarriedEntry& entry) {
    if (IsProperties(entry)) return entry.bytes.IsEmpty() ? 0u : u32{LOSS_PROPERTIES};
    const u32 kind = KindOfEntry(entry);
    return kind == CARRIED_DRAWINGS ? u32{LOSS_EMBEDDED} : LossesOf(kind);
}

// The properties speak of no form.
bool PlanEntries(SaveState& save, u32 dropped) {
    const Workbook& book = SavedBook(save);
    Array<bool>& out = save.carried.droppedEntries;
    if (!out.Resize(book.entries.Count())) return false;
    const bool same = book.entriesForm == save.biffVersion;
    for (u32 i = 0; i < book.entries.Count(); ++i) {
        const CarriedEntry& entry = book.entries[i];
        if (i && entry.parent) continue;
        out[i] = i ? !IsProperties(entry) && (!same || (KindOfEntry(entry) & dropped)) : !same;
        if (i && out[i]) save.losses |= LossOfEntry(entry);
    }
    return true;
}

bool HasOutlines(const Sheet& sheet) {
    const auto inRows = [](const RowInfo& row) { return (row.flags & ROW_OUTLINE) != 0; };
    const auto inColumns = [](const ColumnInfo& column) { return (column.flags & COLUMN_OUTLINE) != 0; };
    return !sheet.page.rowBreaks.IsEmpty() || !sheet.page.columnBreaks.IsEmpty() ||
           std::any_of(sheet.rows.begin(), sheet.rows.end(), inRows) ||
           std::any_of(sheet.columns.begin(), sheet.columns.end(), inColumns);
}

}  // namespace

u32 CarriedLosses(const Workbook& book) {
    u32 losses = LossesOf(KindsIn(book.carried, true) & ~u32{CARRIED_DRAWINGS});
    if (book.hasUnkept) losses |= LOSS_PARTS;
    for (const Sheet* sheet : book.sheets) losses |= LossesOf(KindsOfSheet(*sheet));
    for (const CarriedEntry& entry : book.entries)
        if (!entry.parent && entry.kind != KIND_ROOT) losses |= LossOfEntry(entry);
    const auto outlined = [](const Sheet* sheet) { return HasOutlines(*sheet); };
    const auto known = [](const ExternBook& row) { return !row.cells.IsEmpty(); };
    const auto named = [](const StyleRow& row) { return !(row.xf & STYLE_BUILT_IN); };
    if (std::any_of(book.sheets.begin(), book.sheets.end(), outlined)) losses |= LOSS_OUTLINES;
    if (std::any_of(book.externBooks.begin(), book.externBooks.end(), known)) losses |= LOSS_LINK_VALUES;
    if (std::any_of(book.styles.begin(), book.styles.end(), named)) losses |= LOSS_STYLES;
    return losses;
}

bool PlanCarried(SaveState& save) {
    const Workbook& book = SavedBook(save);
    CarriedPlan& plan = save.carried;
    if (!plan.droppedSheets.Resize(book.sheets.Count())) return false;
    u32 ofBook = 0;
    if (PivotsStale(book)) ofBook |= CARRIED_PIVOTS;
    // A module of the project belongs to the sheet that is gone.
    if (SheetsWereRemoved(book)) ofBook |= CARRIED_MACROS | CARRIED_VIEWS;
    u32 drawings = 0, drawingsLeft = 0, viewsDropped = 0;
    for (u32 i = 0; i < book.sheets.Count(); ++i) {
        const Sheet& sheet = *book.sheets[i];
        const u32 there = KindsOfSheet(sheet);
        const u32 dropped = sheet.carried.form == save.biffVersion ? DroppedOfSheet(book, sheet, ofBook) : ~0u;
        plan.droppedSheets[i] = dropped;
        save.losses |= LossesOf(there & dropped);
        drawings |= there & (CARRIED_DRAWINGS | CARRIED_COMMENTS);
        drawingsLeft |= there & ~dropped & (CARRIED_DRAWINGS | CARRIED_COMMENTS);
        viewsDropped |= there & dropped & CARRIED_VIEWS;
    }
    // Views stand in the globals and in each sheet.
    ofBook |= viewsDropped;
    if (viewsDropped)
        for (u32& dropped : plan.droppedSheets) dropped |= CARRIED_VIEWS;
    if (drawings && !drawingsLeft) ofBook |= CARRIED_DRAWINGS;
    plan.droppedGlobals = book.carried.form == save.biffVersion ? ofBook : ~0u;
    save.losses |= LossesOf(KindsIn(book.carried, true) & plan.droppedGlobals & ~u32{CARRIED_DRAWINGS});
    if (book.hasUnkept) save.losses |= LOSS_PARTS;
    return PlanEntries(save, ofBook);
}

void WriteCarried(SaveState& save, const Sheet* sheet, u16 place) {
    const CarriedRecords& carried = sheet ? sheet->carried : SavedBook(save).carried;
    const u32 dropped =
        sheet ? save.carried.droppedSheets[static_cast<u32>(sheet->index)] : save.carried.droppedGlobals;
    const bool whole = sheet && IsKeptWhole(*sheet);
    if (whole && (dropped & KindsOfSheet(*sheet))) return;
    for (const CarriedRun& run : carried.runs) {
        if (run.place != place) continue;
        const ByteView bytes = BytesOf(carried, run);
        if (whole || !dropped) {
            WriteBytes(save.writer, bytes.data(), bytes.size());
            continue;
        }
        WalkRun(bytes, !sheet, [&](u32 kind, ByteView part, const BiffRecord&) {
            if (!(kind & dropped)) WriteBytes(save.writer, part.data(), part.size());
        });
    }
}

}  // namespace tally
