#include "fileio/CarriedRecords.h"

#include <algorithm>

// The order of records, as published for both forms.

namespace tally {
namespace {

constexpr u16 RECORD_EOF = 10, RECORD_BOF = 2057, VIEW_BEGIN = 426, VIEW_END = 427;

struct RecordPlace {
    u16 id;
    u16 place;
};

// Both ascending by id.
constexpr RecordPlace globalsPlaces[] = {
    {14, GLOBALS_DATES},      {18, GLOBALS_PROTECTION},  {19, GLOBALS_PROTECTION},  {22, GLOBALS_LINKS},
    {23, GLOBALS_LINKS},      {24, GLOBALS_NAMES},       {25, GLOBALS_PROTECTION},  {34, GLOBALS_DATES},
    {35, GLOBALS_LINKS},      {49, GLOBALS_FORMATS},     {61, GLOBALS_WINDOW},      {64, GLOBALS_BACKUP},
    {66, GLOBALS_CODE_PAGE},  {89, GLOBALS_LINKS},       {90, GLOBALS_LINKS},       {91, GLOBALS_USER},
    {92, GLOBALS_USER},       {133, GLOBALS_SHEETS},     {134, GLOBALS_BEGIN},      {140, GLOBALS_COUNTRY},
    {141, GLOBALS_BACKUP},    {146, GLOBALS_PALETTE},    {154, GLOBALS_PROTECTION}, {156, GLOBALS_PROTECTION},
    {191, GLOBALS_INTERFACE}, {192, GLOBALS_INTERFACE},  {193, GLOBALS_INTERFACE},  {211, GLOBALS_TABS},
    {218, GLOBALS_DATES},     {224, GLOBALS_FORMATS},    {225, GLOBALS_INTERFACE},  {226, GLOBALS_INTERFACE},
    {235, GLOBALS_DRAWINGS},  {237, GLOBALS_DRAWINGS},   {252, GLOBALS_STRINGS},    {255, GLOBALS_STRINGS},
    {317, GLOBALS_TABS},      {352, GLOBALS_SELF_NAMES}, {353, GLOBALS_CODE_PAGE},  {425, GLOBALS_PALETTE},
    {430, GLOBALS_LINKS},     {431, GLOBALS_PROTECTION}, {439, GLOBALS_DATES},      {441, GLOBALS_CODE_PAGE},
    {442, GLOBALS_TABS},      {444, GLOBALS_PROTECTION}, {445, GLOBALS_TABS},       {448, GLOBALS_CODE_PAGE},
    {449, GLOBALS_DRAWINGS},  {659, GLOBALS_STYLES},     {1054, GLOBALS_FORMATS},   {2067, GLOBALS_DRAWINGS},
    {2150, GLOBALS_DRAWINGS}, {2172, GLOBALS_FORMATS},   {2173, GLOBALS_FORMATS},   {2189, GLOBALS_STYLES},
    {2190, GLOBALS_STYLES},   {2196, GLOBALS_NAMES},     {4188, GLOBALS_PALETTE},
};
constexpr RecordPlace sheetPlaces[] = {
    {6, SHEET_CELLS},         {12, SHEET_CALCULATION},
    {13, SHEET_CALCULATION},  {15, SHEET_CALCULATION},
    {16, SHEET_CALCULATION},  {17, SHEET_CALCULATION},
    {18, SHEET_PROTECTION},   {19, SHEET_PROTECTION},
    {20, SHEET_PAGE_TEXTS},   {21, SHEET_PAGE_TEXTS},
    {22, SHEET_LINK_TABLE},   {23, SHEET_LINK_TABLE},
    {26, SHEET_PAGE_TEXTS},   {27, SHEET_PAGE_TEXTS},
    {28, SHEET_CELLS},        {29, SHEET_SELECTION},
    {35, SHEET_LINK_TABLE},   {38, SHEET_SETUP},
    {39, SHEET_SETUP},        {40, SHEET_SETUP},
    {41, SHEET_SETUP},        {42, SHEET_GRID},
    {43, SHEET_GRID},         {65, SHEET_WINDOW},
    {77, SHEET_SETUP},        {85, SHEET_COLUMN_WIDTH},
    {89, SHEET_LINK_TABLE},   {90, SHEET_LINK_TABLE},
    {93, SHEET_CELLS},        {95, SHEET_CALCULATION},
    {99, SHEET_PROTECTION},   {125, SHEET_COLUMNS},
    {128, SHEET_GRID},        {129, SHEET_GRID},
    {130, SHEET_GRID},        {131, SHEET_PAGE_TEXTS},
    {132, SHEET_PAGE_TEXTS},  {153, SHEET_STANDARD_WIDTH},
    {155, SHEET_FILTER},      {157, SHEET_FILTER},
    {158, SHEET_FILTER},      {160, SHEET_WINDOW},
    {161, SHEET_SETUP},       {189, SHEET_CELLS},
    {190, SHEET_CELLS},       {214, SHEET_CELLS},
    {215, SHEET_CELLS},       {221, SHEET_PROTECTION},
    {229, SHEET_MERGES},      {236, SHEET_CELLS},
    {239, SHEET_MERGES},      {253, SHEET_CELLS},
    {351, SHEET_MERGES},      {432, SHEET_CONDITIONS},
    {433, SHEET_CONDITIONS},  {434, SHEET_VALIDATION},
    {438, SHEET_CELLS},       {440, SHEET_HYPERLINKS},
    {442, SHEET_VALIDATION},  {446, SHEET_VALIDATION},
    {512, SHEET_DIMENSIONS},  {513, SHEET_CELLS},
    {515, SHEET_CELLS},       {516, SHEET_CELLS},
    {517, SHEET_CELLS},       {519, SHEET_CELLS},
    {520, SHEET_CELLS},       {523, SHEET_INDEX},
    {545, SHEET_CELLS},       {549, SHEET_GRID},
    {566, SHEET_CELLS},       {574, SHEET_WINDOW},
    {638, SHEET_CELLS},       {1212, SHEET_CELLS},
    {2048, SHEET_HYPERLINKS}, {2146, SHEET_TAIL},
    {2151, SHEET_TAIL},       {2152, SHEET_TAIL},
    {2161, SHEET_TAIL},       {2162, SHEET_TAIL},
    {2167, SHEET_TAIL},       {2168, SHEET_TAIL},
    {2169, SHEET_CONDITIONS}, {2170, SHEET_CONDITIONS},
    {2171, SHEET_TAIL},       {2187, SHEET_WINDOW},
    {2204, SHEET_SETUP},
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
constexpr u16 anewInGlobals[] = {22, 60, 191, 192, 193, 225, 226, 255, 353};
constexpr u16 anewInSheets[] = {22, 60, 188, 215, 512, 523, 545, 1212};

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

bool BeginsBlock(u16 id) { return id == RECORD_BOF || id == VIEW_BEGIN; }

bool SkipBlock(BiffStream& stream, u16 id, std::size_t* last) {
    const u16 end = id == RECORD_BOF ? RECORD_EOF : VIEW_END;
    BiffRecord record;
    for (u32 depth = 1; depth;) {
        const std::size_t before = stream.position;
        if (!NextRecord(stream, record)) return false;
        if (last) *last = before;
        // A view that nothing ends goes no further than its sheet.
        if (id == VIEW_BEGIN && record.id == RECORD_EOF) {
            stream.position = before;
            return true;
        }
        if (record.id == id) ++depth;
        if (record.id == end) --depth;
    }
    return true;
}

}  // namespace tally
