#include "fileio/biff/CarriedRecords.h"

#include <algorithm>

// The order of records, as published for both forms.

namespace tally {
namespace {

struct RecordPlace {
    u16 id;
    u16 place;
};

// Both ascending by id.
constexpr RecordPlace globalsPlaces[] = {
    {RECORD_PRECISION, GLOBALS_DATES},
    {RECORD_PROTECT, GLOBALS_PROTECTION},
    {RECORD_PASSWORD, GLOBALS_PROTECTION},
    {RECORD_EXTERNCOUNT, GLOBALS_LINKS},
    {RECORD_EXTERNSHEET, GLOBALS_LINKS},
    {RECORD_NAME, GLOBALS_NAMES},
    {RECORD_WINDOWPROTECT, GLOBALS_PROTECTION},
    {RECORD_DATEMODE, GLOBALS_DATES},
    {RECORD_EXTERNNAME, GLOBALS_LINKS},
    {RECORD_FONT, GLOBALS_FORMATS},
    {RECORD_WINDOW1, GLOBALS_WINDOW},
    {RECORD_BACKUP, GLOBALS_BACKUP},
    {RECORD_CODEPAGE, GLOBALS_CODE_PAGE},
    {RECORD_XCT, GLOBALS_LINKS},
    {RECORD_CRN, GLOBALS_LINKS},
    {RECORD_FILESHARING, GLOBALS_USER},
    {RECORD_WRITEACCESS, GLOBALS_USER},
    {RECORD_BOUNDSHEET, GLOBALS_SHEETS},
    {RECORD_WRITEPROTECT, GLOBALS_BEGIN},
    {RECORD_COUNTRY, GLOBALS_COUNTRY},
    {RECORD_HIDEOBJ, GLOBALS_BACKUP},
    {RECORD_PALETTE, GLOBALS_PALETTE},
    {RECORD_FNGROUPNAME, GLOBALS_PROTECTION},
    {RECORD_FNGROUPCOUNT, GLOBALS_PROTECTION},
    {RECORD_TOOLBARHDR, GLOBALS_INTERFACE},
    {RECORD_TOOLBAREND, GLOBALS_INTERFACE},
    {RECORD_MMS, GLOBALS_INTERFACE},
    {RECORD_OBPROJ, GLOBALS_TABS},
    {RECORD_BOOKBOOL, GLOBALS_DATES},
    {RECORD_XF, GLOBALS_FORMATS},
    {RECORD_INTERFACEHDR, GLOBALS_INTERFACE},
    {RECORD_INTERFACEEND, GLOBALS_INTERFACE},
    {RECORD_MSODRAWINGGROUP, GLOBALS_DRAWINGS},
    {RECORD_MSODRAWINGSELECTION, GLOBALS_DRAWINGS},
    {RECORD_SST, GLOBALS_STRINGS},
    {RECORD_EXTSST, GLOBALS_STRINGS},
    {RECORD_TABID, GLOBALS_TABS},
    {RECORD_USESELFS, GLOBALS_SELF_NAMES},
    {RECORD_DSF, GLOBALS_CODE_PAGE},
    {RECORD_USERBVIEW, GLOBALS_PALETTE},
    {RECORD_SUPBOOK, GLOBALS_LINKS},
    {RECORD_PROT4REV, GLOBALS_PROTECTION},
    {RECORD_REFRESHALL, GLOBALS_DATES},
    {RECORD_LEL, GLOBALS_CODE_PAGE},
    {RECORD_CODENAME, GLOBALS_TABS},
    {RECORD_PROT4REVPASS, GLOBALS_PROTECTION},
    {RECORD_OBNOMACROS, GLOBALS_TABS},
    {RECORD_NEWERFILE, GLOBALS_CODE_PAGE},
    {RECORD_RECALCID, GLOBALS_DRAWINGS},
    {RECORD_STYLE, GLOBALS_STYLES},
    {RECORD_FORMAT, GLOBALS_FORMATS},
    {RECORD_REALTIMEDATA, GLOBALS_DRAWINGS},
    {RECORD_HFPICTURE, GLOBALS_DRAWINGS},
    {RECORD_XFCRC, GLOBALS_FORMATS},
    {RECORD_XFEXT, GLOBALS_FORMATS},
    {RECORD_DXF, GLOBALS_STYLES},
    {RECORD_TABLESTYLES, GLOBALS_STYLES},
    {RECORD_NAMECMT, GLOBALS_NAMES},
    {RECORD_CLRTCLIENT, GLOBALS_PALETTE},
};
constexpr RecordPlace sheetPlaces[] = {
    {RECORD_FORMULA, SHEET_CELLS},
    {RECORD_CALCCOUNT, SHEET_CALCULATION},
    {RECORD_CALCMODE, SHEET_CALCULATION},
    {RECORD_REFMODE, SHEET_CALCULATION},
    {RECORD_DELTA, SHEET_CALCULATION},
    {RECORD_ITERATION, SHEET_CALCULATION},
    {RECORD_PROTECT, SHEET_PROTECTION},
    {RECORD_PASSWORD, SHEET_PROTECTION},
    {RECORD_HEADER, SHEET_PAGE_TEXTS},
    {RECORD_FOOTER, SHEET_PAGE_TEXTS},
    {RECORD_EXTERNCOUNT, SHEET_LINK_TABLE},
    {RECORD_EXTERNSHEET, SHEET_LINK_TABLE},
    {RECORD_VERTICALPAGEBREAKS, SHEET_PAGE_TEXTS},
    {RECORD_HORIZONTALPAGEBREAKS, SHEET_PAGE_TEXTS},
    {RECORD_NOTE, SHEET_CELLS},
    {RECORD_SELECTION, SHEET_SELECTION},
    {RECORD_EXTERNNAME, SHEET_LINK_TABLE},
    {RECORD_LEFTMARGIN, SHEET_SETUP},
    {RECORD_RIGHTMARGIN, SHEET_SETUP},
    {RECORD_TOPMARGIN, SHEET_SETUP},
    {RECORD_BOTTOMMARGIN, SHEET_SETUP},
    {RECORD_PRINTHEADERS, SHEET_GRID},
    {RECORD_PRINTGRIDLINES, SHEET_GRID},
    {RECORD_PANE, SHEET_WINDOW},
    {RECORD_PLS, SHEET_SETUP},
    {RECORD_DEFCOLWIDTH, SHEET_COLUMN_WIDTH},
    {RECORD_XCT, SHEET_LINK_TABLE},
    {RECORD_CRN, SHEET_LINK_TABLE},
    {RECORD_OBJ, SHEET_CELLS},
    {RECORD_SAVERECALC, SHEET_CALCULATION},
    {RECORD_OBJPROTECT, SHEET_PROTECTION},
    {RECORD_COLINFO, SHEET_COLUMNS},
    {RECORD_GUTS, SHEET_GRID},
    {RECORD_WSBOOL, SHEET_GRID},
    {RECORD_GRIDSET, SHEET_GRID},
    {RECORD_HCENTER, SHEET_PAGE_TEXTS},
    {RECORD_VCENTER, SHEET_PAGE_TEXTS},
    {RECORD_STANDARDWIDTH, SHEET_STANDARD_WIDTH},
    {RECORD_FILTERMODE, SHEET_FILTER},
    {RECORD_AUTOFILTERINFO, SHEET_FILTER},
    {RECORD_AUTOFILTER, SHEET_FILTER},
    {RECORD_SCL, SHEET_WINDOW},
    {RECORD_SETUP, SHEET_SETUP},
    {RECORD_MULRK, SHEET_CELLS},
    {RECORD_MULBLANK, SHEET_CELLS},
    {RECORD_RSTRING, SHEET_CELLS},
    {RECORD_DBCELL, SHEET_CELLS},
    {RECORD_SCENPROTECT, SHEET_PROTECTION},
    {RECORD_MERGEDCELLS, SHEET_MERGES},
    {RECORD_MSODRAWING, SHEET_CELLS},
    {RECORD_PHONETIC, SHEET_MERGES},
    {RECORD_LABELSST, SHEET_CELLS},
    {RECORD_LABELRANGES, SHEET_MERGES},
    {RECORD_CONDFMT, SHEET_CONDITIONS},
    {RECORD_CF, SHEET_CONDITIONS},
    {RECORD_DVAL, SHEET_VALIDATION},
    {RECORD_TXO, SHEET_CELLS},
    {RECORD_HLINK, SHEET_HYPERLINKS},
    {RECORD_CODENAME, SHEET_VALIDATION},
    {RECORD_DV, SHEET_VALIDATION},
    {RECORD_DIMENSIONS, SHEET_DIMENSIONS},
    {RECORD_BLANK, SHEET_CELLS},
    {RECORD_NUMBER, SHEET_CELLS},
    {RECORD_LABEL, SHEET_CELLS},
    {RECORD_BOOLERR, SHEET_CELLS},
    {RECORD_STRING, SHEET_CELLS},
    {RECORD_ROW, SHEET_CELLS},
    {RECORD_INDEX, SHEET_INDEX},
    {RECORD_ARRAY, SHEET_CELLS},
    {RECORD_DEFAULTROWHEIGHT, SHEET_GRID},
    {RECORD_TABLE, SHEET_CELLS},
    {RECORD_WINDOW2, SHEET_WINDOW},
    {RECORD_RK, SHEET_CELLS},
    {RECORD_SHRFMLA, SHEET_CELLS},
    {RECORD_HLINKTOOLTIP, SHEET_HYPERLINKS},
    {RECORD_SHEETEXT, SHEET_TAIL},
    {RECORD_FEATHDR, SHEET_TAIL},
    {RECORD_FEAT, SHEET_TAIL},
    {RECORD_FEATHDR11, SHEET_TAIL},
    {RECORD_FEATURE11, SHEET_TAIL},
    {RECORD_LIST12, SHEET_TAIL},
    {RECORD_FEATURE12, SHEET_TAIL},
    {RECORD_CONDFMT12, SHEET_CONDITIONS},
    {RECORD_CF12, SHEET_CONDITIONS},
    {RECORD_CFEX, SHEET_TAIL},
    {RECORD_PLV, SHEET_WINDOW},
    {RECORD_HEADERFOOTER, SHEET_SETUP},
};

constexpr bool PlacesAscend(std::span<const RecordPlace> rows) {
    for (std::size_t i = 1; i < rows.size(); ++i)
        if (rows[i - 1].id >= rows[i].id) return false;
    return true;
}
static_assert(PlacesAscend(globalsPlaces) && PlacesAscend(sheetPlaces));

u16 FindPlace(std::span<const RecordPlace> rows, u16 id) {
    const auto found = std::lower_bound(rows.begin(), rows.end(), id,
                                        [](const RecordPlace& row, u16 wanted) { return row.id < wanted; });
    return found != rows.end() && found->id == id ? found->place : NO_PLACE;
}

// What the writers put in by themselves: tables of places, sizes of what follows, and parts of records that
// their first part has read.
constexpr u16 anewInGlobals[] = {RECORD_EXTERNCOUNT,  RECORD_CONTINUE, RECORD_TOOLBARHDR,
                                 RECORD_TOOLBAREND,   RECORD_MMS,      RECORD_INTERFACEHDR,
                                 RECORD_INTERFACEEND, RECORD_EXTSST,   RECORD_DSF};
constexpr u16 anewInSheets[] = {RECORD_EXTERNCOUNT, RECORD_CONTINUE, RECORD_SHRFMLA_5, RECORD_DBCELL,
                                RECORD_DIMENSIONS,  RECORD_INDEX,    RECORD_ARRAY,     RECORD_SHRFMLA};

}  // namespace

u16 PlaceInGlobals(u16 id) { return FindPlace(globalsPlaces, id); }
u16 PlaceInSheet(u16 id) { return FindPlace(sheetPlaces, id); }

bool IsWrittenAnew(bool globals, u16 id) {
    if (globals)
        return std::find(std::begin(anewInGlobals), std::end(anewInGlobals), id) != std::end(anewInGlobals);
    return std::find(std::begin(anewInSheets), std::end(anewInSheets), id) != std::end(anewInSheets);
}

bool CarryBytes(CarriedRecords& carried, u16 place, u8 form, ByteView bytes) {
    const u32 start = carried.bytes.Count();
    if (!carried.bytes.AppendMany(bytes.data(), bytes.size())) return false;
    carried.form = form;
    const u32 length = static_cast<u32>(bytes.size());
    if (!carried.runs.IsEmpty() && carried.runs.Last().place == place) {
        carried.runs.Last().length += length;
        return true;
    }
    return carried.runs.Append({place, start, length});
}

bool BeginsBlock(u16 id) { return id == RECORD_BOF || id == RECORD_USERSVIEWBEGIN; }

bool SkipBlock(BiffStream& stream, u16 id, std::size_t* last) {
    const u16 end = id == RECORD_BOF ? RECORD_EOF : RECORD_USERSVIEWEND;
    BiffRecord record;
    for (u32 depth = 1; depth;) {
        const std::size_t before = stream.position;
        if (!NextRecord(stream, record)) return false;
        if (last) *last = before;
        // A view that nothing ends goes no further than its sheet.
        if (id == RECORD_USERSVIEWBEGIN && record.id == RECORD_EOF) {
            stream.position = before;
            return true;
        }
        if (record.id == id) ++depth;
        if (record.id == end) --depth;
    }
    return true;
}

}  // namespace tally
