#include <algorithm>

#include "fileio/SheetRecords.h"

namespace tally {
namespace {

constexpr u16 RECORD_EOF = 10, RECORD_BOF = 2057;
constexpr u16 CUSTOM_VIEW_BEGIN = 426, CUSTOM_VIEW_END = 427;

struct RecordHandler {
    u16 id;
    bool (*read)(LoadState& load, ByteView body);  // false ends the load: memory has failed
};

// Ascending by id. What is not listed is passed over.
constexpr RecordHandler handlers[] = {
    {6, ReadFormulaRecord},
    {18, ReadProtect},
    {19, ReadPassword},
    {20, ReadHeader},
    {21, ReadFooter},
    {23, ReadExternSheet},
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

// A substream inside the sheet's own, such as that of a chart on it. Its records are not the sheet's.
bool SkipSubstream(BiffStream& stream) {
    BiffRecord record;
    for (u32 depth = 1; depth;) {
        if (!NextRecord(stream, record)) return false;
        if (record.id == RECORD_BOF) ++depth;
        if (record.id == RECORD_EOF) --depth;
    }
    return true;
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
    // The records of a custom view are those of the sheet once more, as that view has them.
    bool customView = false;
    BiffRecord record;
    while (NextRecord(load.stream, record)) {
        if (record.id == RECORD_EOF) {
            FreeShared(load.shared);
            FreeShared(load.arrays);
            return true;
        }
        if (record.id == CUSTOM_VIEW_BEGIN || record.id == CUSTOM_VIEW_END)
            customView = record.id == CUSTOM_VIEW_BEGIN;
        if (customView) continue;
        if (record.id == RECORD_BOF) {
            if (!SkipSubstream(load.stream)) return false;
            continue;
        }
        if (!ReadSheetRecord(load, record.id, record.body)) return false;
    }
    return false;
}

bool ReadChartRecords(LoadState& load) {
    const std::size_t start = load.stream.position;
    // Charts in charts do not occur, but a nested substream must not end this one.
    u32 depth = 0;
    BiffRecord record;
    for (;;) {
        const std::size_t before = load.stream.position;
        if (!NextRecord(load.stream, record)) return false;
        if (record.id == RECORD_BOF) ++depth;
        if (record.id != RECORD_EOF) continue;
        if (depth == 0) {
            LoadedSheet(load).chart.biffVersion = load.biffVersion;
            Array<u8>& records = LoadedSheet(load).chart.records;
            return records.AppendMany(load.stream.bytes.data() + start, before - start);
        }
        --depth;
    }
}

}  // namespace tally
