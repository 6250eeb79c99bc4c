#include <algorithm>

#include "fileio/biff/SaveState.h"
#include "fileio/biff/SheetRecords.h"
#include "model/CellStore.h"

// XCT and CRN: the values that the cells of linked files had when they were last seen.

namespace tally {
namespace {

constexpr std::size_t VALUE_BYTES = 9, CRN_HEAD = 4, LINK_TEXT_MOST = 255;
enum LinkValueType : u8 { LINK_EMPTY = 0, LINK_NUMBER = 1, LINK_TEXT = 2, LINK_BOOLEAN = 4, LINK_ERROR = 16 };

u32 KeyOf(const ExternCell& cell) {
    return static_cast<u32>(cell.sheet) << 24 | u32{cell.row} << 8 | cell.column;
}

bool IsBefore(const ExternCell& a, const ExternCell& b) {
    if (a.sheet != b.sheet) return a.sheet < b.sheet;
    return a.row != b.row ? a.row < b.row : a.column < b.column;
}

// Puts a cell in its place; one that is known already stays.
bool PutLinkCell(Array<ExternCell>& cells, ExternCell cell) {
    if (cells.IsEmpty() || IsBefore(cells.Last(), cell)) return cells.Append(std::move(cell));
    ExternCell* place = std::lower_bound(cells.begin(), cells.end(), cell, IsBefore);
    if (place != cells.end() && !IsBefore(cell, *place)) return true;
    return cells.InsertAt(static_cast<u32>(place - cells.begin()), std::move(cell));
}

// The value at the start of `body`; `used` gets its bytes, 0 when it is cut off.
bool ReadLinkValue(LoadState& load, ByteView body, ExternCell& out, std::size_t& used) {
    out.type = ByteAt(body, 0);
    used = body.size() < VALUE_BYTES ? 0 : VALUE_BYTES;
    switch (out.type) {
        case LINK_NUMBER: out.number = DoubleAt(body, 1); return true;
        case LINK_BOOLEAN:
        case LINK_ERROR: out.number = ByteAt(body, 1); return true;
        case LINK_TEXT: break;
        default: out.type = LINK_EMPTY; return true;
    }
    const bool wide = load.biffVersion == 8;
    const std::size_t head = wide ? 3 : 2;
    const std::size_t length = wide ? WordAt(body, 1) : ByteAt(body, 1);
    const std::size_t bytes =
        ReadBiffString(From(body, head), load.biffVersion, LoadedBook(load).codePage, length, out.text);
    used = body.size() < head ? 0 : head + bytes;
    return bytes != STRING_FAILED;
}

}  // namespace

void ReadLinkSheet(LoadState& load, ByteView body) {
    load.linkBook = static_cast<i32>(LoadedBook(load).externBooks.Count()) - 1;
    load.linkSheet = body.size() < 4 ? -1 : WordAt(body, 2);
}

bool ReadLinkSheetOfSheet(LoadState& load, ByteView body) {
    if (load.biffVersion == 8) {
        ReadLinkSheet(load, body);
        return true;
    }
    load.linkBook = load.linkSheet = -1;
    const u64 failures = FailedAllocations();
    if (!load.externTable.IsEmpty())
        load.linkBook = ExternBookOfEntry(load, load.externTable.Last(), load.linkSheet);
    return FailedAllocations() == failures;
}

bool ReadLinkValues(LoadState& load, ByteView body) {
    Array<ExternBook>& books = LoadedBook(load).externBooks;
    if (load.linkBook < 0 || static_cast<u32>(load.linkBook) >= books.Count()) return true;
    ExternBook& book = books[static_cast<u32>(load.linkBook)];
    if (book.kind != EXTERN_FILE) return true;
    const u8 last = ByteAt(body, 0);
    ByteView rest = From(body, CRN_HEAD);
    for (u32 column = ByteAt(body, 1); column <= last && !rest.empty(); ++column) {
        ExternCell cell;
        cell.sheet = static_cast<i16>(load.linkSheet);
        cell.row = WordAt(body, 2);
        cell.column = static_cast<u8>(column);
        std::size_t used = 0;
        if (!ReadLinkValue(load, rest, cell, used)) return false;
        if (!used) return true;
        rest = From(rest, used);
        if (!PutLinkCell(book.cells, std::move(cell))) return false;
    }
    return true;
}

// ---- writing ----------------------------------------------------------------------------------------------

namespace {

void PutLinkValue(SaveState& save, const ExternCell& cell) {
    BiffWriter& to = save.body;
    WriteU8(to, cell.type);
    if (cell.type == LINK_NUMBER) return WriteF64(to, cell.number);
    if (cell.type == LINK_TEXT) {
        if (save.biffVersion != 8) return WriteShortString(save, to, cell.text);
        return WriteLongString(save, to, CutText(save, cell.text, LINK_TEXT_MOST));
    }
    WriteU8(to, cell.type == LINK_EMPTY ? 0u : static_cast<u32>(cell.number));
    WriteZeros(to, VALUE_BYTES - 2);
}

// Room that a value may take in its record.
std::size_t RoomOf(const ExternCell& cell) {
    return cell.type == LINK_TEXT ? 4 + cell.text.Length() * 2 : VALUE_BYTES;
}

// The end of the cells from `first` on that go into one record.
u32 EndOfRun(const Array<ExternCell>& cells, u32 first, u32 end, std::size_t most) {
    std::size_t bytes = CRN_HEAD + RoomOf(cells[first]);
    u32 at = first + 1;
    for (; at < end && KeyOf(cells[at]) == KeyOf(cells[at - 1]) + 1 && cells[at].column; ++at) {
        bytes += RoomOf(cells[at]);
        if (bytes > most) break;
    }
    return at;
}

}  // namespace

void WriteLinkValues(SaveState& save, const ExternBook& book, i32 sheet) {
    const bool form8 = save.biffVersion == 8;
    const Array<ExternCell>& cells = book.cells;
    u32 at =
        static_cast<u32>(std::partition_point(cells.begin(), cells.end(),
                                              [sheet](const ExternCell& cell) { return cell.sheet < sheet; }) -
                         cells.begin());
    u32 end = at;
    while (end < cells.Count() && cells[end].sheet == sheet) ++end;
    if (at == end) return;
    const bool named = form8 && sheet >= 0;
    u8* head = BeginRecord(save.writer, RECORD_XCT, named ? 4 : 2);
    PutU16(head, 0);
    if (named) PutU16(head + 2, static_cast<u32>(sheet));
    const u32 countAt = StreamOffset(save.writer) - (named ? 4 : 2);
    u32 count = 0;
    while (at < end) {
        const u32 next = EndOfRun(cells, at, end, RoomOf(save));
        BeginBody(save);
        WriteU8(save.body, cells[next - 1].column);
        WriteU8(save.body, cells[at].column);
        WriteU16(save.body, cells[at].row);
        for (; at < next; ++at) PutLinkValue(save, cells[at]);
        count += EndBody(save, RECORD_CRN);
    }
    if (!save.writer.failed) PutU16(save.writer.stream.Data() + countAt, std::min<u32>(count, 0xFFFF));
}

}  // namespace tally
