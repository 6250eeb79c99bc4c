#include <utility>

#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/RecordHandlers.h"
#include "fileio/biff/SheetRecords.h"

namespace tally {
namespace {

// Ascending by id. What is not listed is passed over.
constexpr RecordHandler handlers[] = {
    {RECORD_FORMULA, ReadFormulaRecord},
    {RECORD_CALCCOUNT, ReadOption<&SheetOptions::iterations>},
    {RECORD_CALCMODE, ReadOption<&SheetOptions::calculationMode>},
    {RECORD_REFMODE, ReadOption<&SheetOptions::referenceMode>},
    {RECORD_DELTA, ReadDelta},
    {RECORD_ITERATION, ReadOption<&SheetOptions::iteration>},
    {RECORD_PROTECT, ReadProtect},
    {RECORD_PASSWORD, ReadPassword},
    {RECORD_HEADER, ReadHeader},
    {RECORD_FOOTER, ReadFooter},
    {RECORD_EXTERNSHEET, ReadExternSheet},
    {RECORD_VERTICALPAGEBREAKS, ReadColumnBreaks},
    {RECORD_HORIZONTALPAGEBREAKS, ReadRowBreaks},
    {RECORD_SELECTION, ReadSelection},
    {RECORD_EXTERNNAME, ReadExternName},
    {RECORD_LEFTMARGIN, ReadMargin<&PageSettings::leftMargin>},
    {RECORD_RIGHTMARGIN, ReadMargin<&PageSettings::rightMargin>},
    {RECORD_TOPMARGIN, ReadMargin<&PageSettings::topMargin>},
    {RECORD_BOTTOMMARGIN, ReadMargin<&PageSettings::bottomMargin>},
    {RECORD_PRINTHEADERS, ReadPageFlag<&PageSettings::printHeaders>},
    {RECORD_PRINTGRIDLINES, ReadPageFlag<&PageSettings::printGridlines>},
    {RECORD_PANE, ReadPane},
    {RECORD_PLS, ReadPrinter},
    {RECORD_DEFCOLWIDTH, ReadDefaultColumnWidth},
    {RECORD_XCT, ReadLinkSheetOfSheet},
    {RECORD_CRN, ReadLinkValues},
    {RECORD_SAVERECALC, ReadOption<&SheetOptions::recalculateOnSave>},
    {RECORD_OBJPROTECT, ReadOption<&SheetOptions::protectObjects>},
    {RECORD_COLINFO, ReadColumnInfo},
    {RECORD_GUTS, ReadGuts},
    {RECORD_WSBOOL, ReadSheetOptions},
    {RECORD_GRIDSET, ReadPageFlag<&PageSettings::gridSet>},
    {RECORD_HCENTER, ReadPageFlag<&PageSettings::centreHorizontally>},
    {RECORD_VCENTER, ReadPageFlag<&PageSettings::centreVertically>},
    {RECORD_STANDARDWIDTH, ReadStandardWidth},
    {RECORD_FILTERMODE, ReadFilterMode},
    {RECORD_AUTOFILTERINFO, ReadFilterInfo},
    {RECORD_AUTOFILTER, ReadFilterColumn},
    {RECORD_SCL, ReadZoom},
    {RECORD_SETUP, ReadPageSetup},
    {RECORD_MULRK, ReadMulRk},
    {RECORD_MULBLANK, ReadMulBlank},
    {RECORD_RSTRING, ReadRichText},
    {RECORD_SCENPROTECT, ReadOption<&SheetOptions::protectScenarios>},
    {RECORD_MERGEDCELLS, ReadMergedCells},
    {RECORD_LABELSST, ReadSharedText},
    {RECORD_CONDFMT, ReadConditionalFormat},
    {RECORD_CF, ReadCondition},
    {RECORD_DVAL, ReadValidationList},
    {RECORD_HLINK, ReadHyperlink},
    {RECORD_DV, ReadValidation},
    {RECORD_BLANK, ReadBlank},
    {RECORD_NUMBER, ReadNumberCell},
    {RECORD_LABEL, ReadLabel},
    {RECORD_BOOLERR, ReadBoolOrError},
    {RECORD_FORMULA_3, ReadFormulaRecord},
    {RECORD_STRING, ReadStringResult},
    {RECORD_ROW, ReadRow},
    {RECORD_DEFAULTROWHEIGHT, ReadDefaultRowHeight},
    {RECORD_TABLE, ReadDataTable},
    {RECORD_WINDOW2, ReadWindow2},
    {RECORD_RK, ReadRkCell},
    {RECORD_FORMULA_4, ReadFormulaRecord},
    {RECORD_SHEETEXT, ReadSheetExtension},
};

static_assert(HandlersAscend(handlers));

// What nobody here understands stays with the sheet, a block and what goes on behind a record as a whole.
bool CarryRecord(LoadState& load, const BiffRecord& record, std::size_t start, u16 place) {
    const std::size_t behind = load.stream.position;
    if (BeginsBlock(record.id) && !SkipBlock(load.stream, record.id)) load.stream.position = behind;
    while (PeekRecordId(load.stream) == RECORD_CONTINUE) {
        BiffRecord more;
        if (!NextRecord(load.stream, more)) break;
    }
    return CarryBytes(LoadedSheet(load).carried, place, load.biffVersion,
                      Part(load.stream.bytes, start, load.stream.position - start));
}

bool IsOfView(u16 id) {
    return id == RECORD_WINDOW2 || id == RECORD_SCL || id == RECORD_PANE || id == RECORD_SELECTION;
}

bool ReadRecords(LoadState& load) {
    u16 place = SHEET_BEGIN;
    bool another = false;  // view than the first, in another window of the book
    BiffRecord record;
    for (std::size_t start = load.stream.position; NextRecord(load.stream, record);
         start = load.stream.position) {
        if (record.id == RECORD_EOF) return true;
        if (record.id == RECORD_WINDOW2) another = std::exchange(load.viewSeen, true);
        if (another && IsOfView(record.id)) {
            place = SHEET_SELECTION;
            if (!CarryRecord(load, record, start, place)) return false;
            continue;
        }
        const RecordHandler* handler = FindHandler(handlers, record.id);
        if (handler && !handler->read(load, record.body)) return false;
        const u16 own = PlaceInSheet(record.id);
        if (own != NO_PLACE) place = own;
        if (!handler && !IsWrittenAnew(false, record.id) && !CarryRecord(load, record, start, place))
            return false;
    }
    return false;
}

}  // namespace

bool ReadSheetRecord(LoadState& load, u16 id, ByteView body) {
    const RecordHandler* handler = FindHandler(handlers, id);
    return !handler || handler->read(load, body);
}

bool ReadSheet(LoadState& load) {
    FreeShared(load.shared);
    FreeShared(load.arrays);
    load.lastCellKnown = load.viewSeen = false;
    LoadedSheet(load).carried.form = load.biffVersion;
    return ReadRecords(load);
}

bool KeepSubstream(LoadState& load) {
    const std::size_t start = load.stream.position;
    std::size_t end = start;
    if (!SkipBlock(load.stream, RECORD_BOF, &end)) return false;
    return CarryBytes(LoadedSheet(load).carried, SHEET_BEGIN, load.biffVersion,
                      Part(load.stream.bytes, start, end - start));
}

}  // namespace tally
