#include "recovery/Snapshot.h"

#include <algorithm>
#include <cstring>

#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "fileio/SaveFile.h"
#include "fileio/biff/CarriedRecords.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u8 SNAPSHOT_MARK[8] = {'T', 'L', 'Y', 'B', 'O', 'O', 'K', 1};
constexpr std::size_t PREFIX = sizeof SNAPSHOT_MARK + 8;  // with the length of the head and its checksum

void MoveTime(JournalBytes& bytes, SystemTime& time) {
    MoveAll(bytes, time.year, time.month, time.day, time.hour, time.minute, time.second, time.milliseconds);
}

void MoveHead(JournalBytes& bytes, SnapshotHead& head) {
    MoveAll(bytes, head.path, head.untitled);
    MoveBetween(bytes, head.biffVersion, 7, 8);
    MoveAll(bytes, head.textCodePage, head.textMark, head.acceptedLosses);
    FileStamp& stamp = head.stamp;
    MoveAll(bytes, stamp.known, stamp.device, stamp.inode, stamp.size, stamp.seconds, stamp.nanoseconds);
    Move(bytes, head.stale);
    MoveTime(bytes, head.time);
    Demand(bytes, !head.path.IsEmpty());
}

bool HasStaleCells(const Workbook& book) {
    for (const Sheet* sheet : book.sheets) {
        for (const FormulaCell* formula : sheet->cells.formulas) {
            const CellRecord* cell = GetCell(sheet->cells, formula->row, formula->column);
            if (cell && cell->calcState < CALC_CURRENT) return true;
        }
    }
    return false;
}

bool HeadOf(const Workbook& book, SnapshotHead& head) {
    head.untitled = book.untitled;
    head.biffVersion = book.biffVersion == 7 ? 7 : 8;
    head.textCodePage = book.textCodePage;
    head.textMark = book.textMark;
    head.acceptedLosses = book.acceptedLosses;
    head.stamp = book.stamp;
    head.stale = HasStaleCells(book);
    Platform().getLocalTime(head.time);
    return head.path.Assign(book.path);
}

bool HeadBytes(const Workbook& book, Array<u8>& out) {
    SnapshotHead head;
    JournalBytes body, whole;
    if (!HeadOf(book, head)) return false;
    MoveHead(body, head);
    MoveRaw(whole, const_cast<u8*>(SNAPSHOT_MARK), sizeof SNAPSHOT_MARK);
    u32 length = body.out.Count(), check = Checksum(body.out.Span());
    MoveAll(whole, length, check);
    MoveRaw(whole, body.out.Data(), length);
    out = std::move(whole.out);
    return !body.failed && !whole.failed;
}

// No open book has the name of another one's file.
bool FindFreeName(WideView wanted, WideText& name) {
    if (FindOpenBook(wanted, false) < 0) return name.Assign(wanted);
    for (;;) {
        char digits[16];
        std::size_t length = 0;
        for (u32 n = ++Books().newBookNumber; n || !length; n /= 10)
            digits[15 - length++] = static_cast<char>('0' + n % 10);
        if (!name.Assign(u"Book") || !name.AppendAscii({digits + 16 - length, length})) return false;
        if (FindOpenBook(name, false) < 0) return true;
    }
}

}  // namespace

bool CanBeJournaled(const Workbook& book) { return book.biffVersion != 7 || !CarriedLosses(book); }

bool WriteSnapshot(i32 book, WideView path) {
    const QuietMemoryScope quiet;
    Array<u8> head;
    if (!HeadBytes(*BookAt(book), head)) return false;
    const OutputHandle file = Platform().createFile(path);
    if (!file) return false;
    if (Platform().writeFile(file, head.Data(), head.Count()) &&
        WriteBookCopy(book, file, !CanBeJournaled(*BookAt(book))))
        return Platform().closeFile(file);
    Platform().abandonFile(file);
    return false;
}

bool ReadSnapshotHead(ByteView bytes, SnapshotHead& head, ByteView& book) {
    if (bytes.size() < PREFIX || std::memcmp(bytes.data(), SNAPSHOT_MARK, sizeof SNAPSHOT_MARK) != 0)
        return false;
    JournalBytes prefix = ReaderOf(bytes.subspan(sizeof SNAPSHOT_MARK, PREFIX - sizeof SNAPSHOT_MARK));
    u32 length = 0, check = 0;
    MoveAll(prefix, length, check);
    if (length > bytes.size() - PREFIX || Checksum(bytes.subspan(PREFIX, length)) != check) return false;
    JournalBytes body = ReaderOf(bytes.subspan(PREFIX, length));
    MoveHead(body, head);
    book = bytes.subspan(PREFIX + length);
    return !body.failed;
}

bool OpenSnapshot(ByteView bytes) {
    SnapshotHead head;
    ByteView content;
    WideText path, workbook;
    if (!ReadSnapshotHead(bytes, head, content)) return false;
    const QuietMessages quiet;
    const QuietMemoryScope quietMemory;
    // The bytes are a workbook's, whatever the book was read from; its links are looked for beside its own
    // file.
    if (!workbook.Assign(head.path) || !workbook.Append(u".xls")) return false;
    if (!OpenFileFromMemory(workbook, content, OPEN_SILENT_LINKS)) return false;
    Workbook& book = *CurrentWorkbook();
    if (!(head.untitled ? FindFreeName(head.path, path) : path.Assign(head.path))) {
        RemoveBook(CurrentBook());
        return false;
    }
    book.path = std::move(path);
    book.untitled = head.untitled;
    book.biffVersion = head.biffVersion;
    book.textCodePage = head.textCodePage;
    book.textMark = head.textMark;
    book.acceptedLosses = head.acceptedLosses;
    book.stamp = head.stamp;
    book.dirty = 1;
    if (head.stale) MarkAllStale();
    return true;
}

}  // namespace tally
