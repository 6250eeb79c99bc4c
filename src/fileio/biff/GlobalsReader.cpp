#include <algorithm>
#include <utility>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/RecordHandlers.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u16 UTF16_PAGE = 1200;  // and 1201 with the bytes the other way round

// Adds a sheet behind the others. What refers to sheets by number means those of the file, which are not all
// there yet: it is kept from the shift that an inserted sheet brings.
bool AppendSheet(Workbook& book, WideView name, i32 kind) {
    Array<DefinedName> names = std::move(book.names);
    Array<ExternSheet> externSheets = std::move(book.externSheets);
    const bool good = InsertSheet(static_cast<i32>(book.sheets.Count()), &name, kind, false, false);
    book.names = std::move(names);
    book.externSheets = std::move(externSheets);
    return good;
}

bool ReadBoundSheet(LoadState& load, ByteView body) {
    constexpr i32 kinds[] = {SHEET_WORKSHEET, SHEET_MACRO, SHEET_CHART};
    const u8 type = ByteAt(body, 5);
    const i32 kind = type < std::size(kinds) ? kinds[type] : i32{SHEET_MODULE};
    if (ReadBiffString(From(body, 7), load.biffVersion, LoadedBook(load).codePage, ByteAt(body, 6),
                       load.text) == STRING_FAILED) {
        return false;
    }
    return AddBoundSheet(load, load.text, kind, ByteAt(body, 4) & SHEET_STATE_BITS) &&
           load.sheetPositions.Append(LongAt(body, 0));
}

void ReadWindow1(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    const u8 options = ByteAt(body, 8);
    book.showHorizontalScrollBar = (options & SHOWS_HORIZONTAL_BAR) != 0;
    book.showVerticalScrollBar = (options & SHOWS_VERTICAL_BAR) != 0;
    book.showSheetTabs = (options & SHOWS_TABS) != 0;
    load.activeTab = WordAt(body, 10);
    for (std::size_t i = 0; i < std::size(book.options.window); ++i)
        book.options.window[i] = WordAt(body, i * 2);
}

bool ReadTabIds(LoadState& load, ByteView body) {
    for (; body.size() >= 2; body = From(body, 2))
        if (!load.tabIds.Append(WordAt(body, 0))) return false;
    return true;
}

bool ReadWriteAccess(LoadState& load, ByteView body) {
    const bool wide = load.biffVersion == 8;
    LoadedBook(load).userNameLength = wide ? WordAt(body, 0) : ByteAt(body, 0);
    Array<u8>& name = LoadedBook(load).userName;
    name.Truncate(0);
    const ByteView raw = From(body, wide ? 3 : 1);
    return name.Append(wide ? ByteAt(body, 2) : USER_NAME_NARROW) && name.AppendMany(raw.data(), raw.size());
}

bool ReadBookOption(LoadState& load, const BiffRecord& record) {
    for (const BookOptionRecord& row : bookOptionRecords) {
        if (row.id != record.id) continue;
        LoadedBook(load).options.*row.field = WordAt(record.body, 0);
        return true;
    }
    return false;
}

bool ReadDateMode(LoadState& load, ByteView body) {
    LoadedBook(load).date1904 = ByteAt(body, 0) != 0;
    return true;
}

bool ReadCountry(LoadState& load, ByteView body) {
    LoadedBook(load).country[0] = WordAt(body, 0);
    LoadedBook(load).country[1] = WordAt(body, 2);
    return true;
}

bool RefusePassword(LoadState&, ByteView) {
    ShowMessage(Message(MSG_PASSWORD_PROTECTED));
    return false;
}

bool ReadBookFont(LoadState& load, ByteView body) { return ReadFont(load, FONT_OF_BOOKS, body); }

// A routine that needs no memory.
template <void (*read)(LoadState& load, ByteView body)>
bool ReadAlways(LoadState& load, ByteView body) {
    read(load, body);
    return true;
}

// Ascending by id. Options of one word stand in a table of their own; what neither has is carried.
constexpr RecordHandler handlers[] = {
    {RECORD_EXTERNSHEET, ReadExternSheet},
    {RECORD_NAME, ReadName},
    {RECORD_DATEMODE, ReadDateMode},
    {RECORD_EXTERNNAME, ReadExternName},
    {RECORD_FILEPASS, RefusePassword},
    {RECORD_FONT, ReadBookFont},
    {RECORD_WINDOW1, ReadAlways<ReadWindow1>},
    {RECORD_CODEPAGE, ReadAlways<ReadCodePage>},
    {RECORD_XCT, ReadAlways<ReadLinkSheet>},
    {RECORD_CRN, ReadLinkValues},
    {RECORD_WRITEACCESS, ReadWriteAccess},
    {RECORD_BOUNDSHEET, ReadBoundSheet},
    {RECORD_COUNTRY, ReadCountry},
    {RECORD_PALETTE, ReadAlways<ReadPalette>},
    {RECORD_XF, ReadXf},
    {RECORD_SST, ReadSharedStrings},
    {RECORD_TABID, ReadTabIds},
    {RECORD_SUPBOOK, ReadSupbook},
    {RECORD_NAME_3, ReadName},
    {RECORD_EXTERNNAME_3, ReadExternName},
    {RECORD_FONT_3, ReadBookFont},
    {RECORD_STYLE, ReadStyle},
    {RECORD_FORMAT, ReadFormatRecord},
};
static_assert(HandlersAscend(handlers));

// What nobody here understands stays with the book; what goes with a style, with that.
bool CarryGlobal(LoadState& load, const BiffRecord& record, std::size_t start, u16 place) {
    Workbook& book = LoadedBook(load);
    const bool block = BeginsBlock(record.id);
    const std::size_t behind = load.stream.position;
    if (block && !SkipBlock(load.stream, record.id)) load.stream.position = behind;
    while (PeekRecordId(load.stream) == RECORD_CONTINUE) {
        BiffRecord more;
        if (!NextRecord(load.stream, more)) break;
    }
    const ByteView bytes = Part(load.stream.bytes, start, load.stream.position - start);
    if (record.id == RECORD_STYLEEXT && place == GLOBALS_STYLES && !book.styles.IsEmpty()) {
        CarriedBytes& extension = book.styles.Last().extension;
        extension.form = load.biffVersion;
        return extension.bytes.AppendMany(bytes.data(), bytes.size());
    }
    return CarryBytes(book.carried, place, load.biffVersion, bytes);
}

}  // namespace

bool AddBoundSheet(LoadState& load, WideView name, i32 kind, i32 hidden) {
    Workbook& book = LoadedBook(load);
    name = name.substr(0, MAX_SHEET_NAME);
    // The first sheet is the one that the new book came with.
    if (load.boundSheets && !AppendSheet(book, name, kind)) return false;
    book.currentSheet = static_cast<i32>(book.sheets.Count()) - 1;
    ResetSheet(kind, hidden);
    Sheet& sheet = *book.sheets.Last();
    std::fill(std::begin(sheet.name), std::end(sheet.name), u'\0');
    std::copy(name.begin(), name.end(), sheet.name);
    if (load.boundSheets < load.tabIds.Count()) sheet.options.tabId = load.tabIds[load.boundSheets];
    ++load.boundSheets;
    return true;
}

void ReadCodePage(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    book.fileCodePage = WordAt(body, 0);
    // The 97 form names the 16-bit page for all its texts; what is narrow there is so in the region's own page.
    const bool narrow =
        book.fileCodePage && (book.fileCodePage < UTF16_PAGE || book.fileCodePage > UTF16_PAGE + 1);
    if (narrow && Platform().isValidCodePage(book.fileCodePage)) book.codePage = book.fileCodePage;
}

bool ReadGlobals(LoadState& load) {
    BiffRecord record;
    u16 place = GLOBALS_BEGIN;
    LoadedBook(load).carried.form = load.biffVersion;
    for (std::size_t start = load.stream.position; NextRecord(load.stream, record);
         start = load.stream.position) {
        if (record.id == RECORD_EOF) return true;
        const RecordHandler* handler = FindHandler(handlers, record.id);
        // A book may be seen in several windows: the first is its own, the others are kept.
        if (record.id == RECORD_WINDOW1 && std::exchange(load.windowSeen, true)) handler = nullptr;
        if (handler && !handler->read(load, record.body)) return false;
        const bool known = handler || ReadBookOption(load, record);
        const u16 own = PlaceInGlobals(record.id);
        if (own != NO_PLACE) place = own;
        if (!known && !IsWrittenAnew(true, record.id) && !CarryGlobal(load, record, start, place)) return false;
    }
    return false;
}

}  // namespace tally
