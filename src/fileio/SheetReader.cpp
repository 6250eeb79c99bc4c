#include <algorithm>

#include "fileio/CarriedRecords.h"
#include "fileio/OptionRecords.h"
#include "fileio/SheetRecords.h"

namespace tally {
namespace {

constexpr u16 RECORD_EOF = 10, RECORD_BOF = 2057;

struct RecordHandler {
    u16 id;
    bool (*read)(LoadState& load, ByteView body);  // false ends the load: memory has failed
};

// Ascending by id. What is not listed is passed over.
constexpr RecordHandler handlers[] = {
    {6, ReadFormulaRecord},
    {12, ReadOption<&SheetOptions::iterations>},
    {13, ReadOption<&SheetOptions::calculationMode>},
    {15, ReadOption<&SheetOptions::referenceMode>},
    {RECORD_DELTA, ReadDelta},
    {17, ReadOption<&SheetOptions::iteration>},
    {18, ReadProtect},
    {19, ReadPassword},
    {20, ReadHeader},
    {21, ReadFooter},
    {23, ReadExternSheet},
    {RECORD_VERTICAL_BREAKS, ReadColumnBreaks},
    {RECORD_HORIZONTAL_BREAKS, ReadRowBreaks},
    {29, ReadSelection},
    {35, ReadExternName},
    {38, ReadMargin<&PageSettings::leftMargin>},
    {39, ReadMargin<&PageSettings::rightMargin>},
    {40, ReadMargin<&PageSettings::topMargin>},
    {41, ReadMargin<&PageSettings::bottomMargin>},
    {42, ReadPageFlag<&PageSettings::printHeaders>},
    {43, ReadPageFlag<&PageSettings::printGridlines>},
    {65, ReadPane},
    {77, ReadPrinter},
    {85, ReadDefaultColumnWidth},
    {89, ReadLinkSheetOfSheet},
    {90, ReadLinkValues},
    {RECORD_SAVERECALC, ReadOption<&SheetOptions::recalculateOnSave>},
    {RECORD_OBJPROTECT, ReadOption<&SheetOptions::protectObjects>},
    {125, ReadColumnInfo},
    {128, ReadGuts},
    {129, ReadSheetOptions},
    {130, ReadPageFlag<&PageSettings::gridSet>},
    {131, ReadPageFlag<&PageSettings::centreHorizontally>},
    {132, ReadPageFlag<&PageSettings::centreVertically>},
    {153, ReadStandardWidth},
    {155, ReadFilterMode},
    {157, ReadFilterInfo},
    {158, ReadFilterColumn},
    {160, ReadZoom},
    {161, ReadPageSetup},
    {189, ReadMulRk},
    {190, ReadMulBlank},
    {214, ReadRichText},
    {RECORD_SCENPROTECT, ReadOption<&SheetOptions::protectScenarios>},
    {229, ReadMergedCells},
    {253, ReadSharedText},
    {432, ReadConditionalFormat},
    {433, ReadCondition},
    {434, ReadValidationList},
    {440, ReadHyperlink},
    {446, ReadValidation},
    {513, ReadBlank},
    {515, ReadNumberCell},
    {516, ReadLabel},
    {517, ReadBoolOrError},
    {518, ReadFormulaRecord},
    {519, ReadStringResult},
    {520, ReadRow},
    {549, ReadDefaultRowHeight},
    {566, ReadDataTable},
    {574, ReadWindow2},
    {638, ReadRkCell},
    {1030, ReadFormulaRecord},
    {2146, ReadSheetExtension},
};

constexpr bool HandlersAscend() {
    for (std::size_t i = 1; i < std::size(handlers); ++i) {
        if (handlers[i - 1].id >= handlers[i].id) return false;
    }
    return true;
}
static_assert(HandlersAscend());

const RecordHandler* FindHandler(u16 id) {
    const RecordHandler* found =
        std::lower_bound(std::begin(handlers), std::end(handlers), id,
                         [](const RecordHandler& h, u16 wanted) { return h.id < wanted; });
    return found != std::end(handlers) && found->id == id ? found : nullptr;
}

// What nobody here understands stays with the sheet, a block and what goes on behind a record as a whole.
bool CarryRecord(LoadState& load, const BiffRecord& record, std::size_t start, u16 place) {
    const std::size_t behind = load.stream.position;
    if (BeginsBlock(record.id) && !SkipBlock(load.stream, record.id)) {
        if (record.id == RECORD_BOF) return false;
        load.stream.position = behind;
    }
    while (PeekRecordId(load.stream) == RECORD_CONTINUE) {
        BiffRecord more;
        if (!NextRecord(load.stream, more)) break;
    }
    return CarryBytes(LoadedSheet(load).carried, place, load.biffVersion,
                      Part(load.stream.bytes, start, load.stream.position - start));
}

bool ReadRecords(LoadState& load) {
    u16 place = SHEET_BEGIN;
    BiffRecord record;
    for (std::size_t start = load.stream.position; NextRecord(load.stream, record);
         start = load.stream.position) {
        if (record.id == RECORD_EOF) return true;
        const RecordHandler* handler = FindHandler(record.id);
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
    const RecordHandler* handler = FindHandler(id);
    return !handler || handler->read(load, body);
}

bool ReadSheet(LoadState& load) {
    FreeShared(load.shared);
    FreeShared(load.arrays);
    load.lastCellKnown = false;
    LoadedSheet(load).carried.form = load.biffVersion;
    const bool good = ReadRecords(load);
    FreeShared(load.shared);
    FreeShared(load.arrays);
    return good;
}

bool KeepSubstream(LoadState& load) {
    const std::size_t start = load.stream.position;
    std::size_t end = start;
    if (!SkipBlock(load.stream, RECORD_BOF, &end)) return false;
    return CarryBytes(LoadedSheet(load).carried, SHEET_BEGIN, load.biffVersion,
                      Part(load.stream.bytes, start, end - start));
}

}  // namespace tally
