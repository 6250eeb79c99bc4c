#include "recovery/JournalState.h"

#include <cstring>

#include "base/Number.h"
#include "base/RecoveryPlatform.h"
#include "base/Text.h"

namespace tally {
namespace {

JournalState state;

constexpr WideView endings[] = {u".book", u".log"};
constexpr u8 LOG_MARK[8] = {'T', 'L', 'Y', 'L', 'O', 'G', 0, 1};
constexpr std::size_t LOG_HEAD = sizeof LOG_MARK + 4, ENTRY_HEAD = 8;

// Up to nine digits.
bool TakeNumber(WideView& text, u32& number) {
    std::size_t length = 0;
    number = 0;
    for (; length < text.size() && length < 9 && IsAsciiDigit(text[length]); ++length)
        number = number * 10 + static_cast<u32>(text[length] - u'0');
    text = text.substr(length);
    return length > 0 && number > 0;
}

void DeleteOf(WideView folder, u32 id, u32 number) {
    WideText path;
    for (const JournalFile file : {FILE_OF_LOG, FILE_OF_SNAPSHOT})
        if (number && JournalPath(path, folder, id, number, file))
            IgnoreFailure(RecoveryPlatform().deleteFile(path));
}

}  // namespace

JournalState& Journal() { return state; }

bool JournalPath(WideText& out, WideView folder, u32 id, u32 number, JournalFile file) {
    return out.Assign(folder) && AppendInteger(out, id) && out.Append(u'-') && AppendInteger(out, number) &&
           out.Append(endings[file]);
}

bool SplitJournalName(WideView name, u32& id, u32& number, JournalFile& file) {
    if (!TakeNumber(name, id) || name.empty() || name.front() != u'-') return false;
    name = name.substr(1);
    if (!TakeNumber(name, number)) return false;
    for (const JournalFile each : {FILE_OF_SNAPSHOT, FILE_OF_LOG}) {
        file = each;
        if (name == endings[each]) return true;
    }
    return false;
}

JournaledBook* FindJournal(i32 book) {
    for (JournaledBook& row : state.books)
        if (row.book == book) return &row;
    return nullptr;
}

JournaledBook* JournalOf(i32 book) {
    if (JournaledBook* found = FindJournal(book)) return found;
    JournaledBook* row = state.books.AppendDefault();
    if (!row) return nullptr;
    row->book = book;
    row->id = ++state.lastId;
    return row;
}

void DropJournal(u32 row) {
    JournaledBook& book = state.books[row];
    // What it writes would come back to an empty place.
    if (book.writer) RecoveryPlatform().stopWriter(book.writer);
    DeleteOf(state.folder, book.id, book.pending);
    DeleteOf(state.folder, book.id, book.snapshot);
    DeleteLostFiles(book);
    state.books.RemoveAt(row);
}

void DeleteLostFiles(JournaledBook& book) {
    if (book.lostFolder.IsEmpty()) return;
    Array<WideText> names;
    if (RecoveryPlatform().listFiles(book.lostFolder, names)) {
        for (const WideText& name : names) {
            u32 id = 0, number = 0;
            JournalFile file = FILE_OF_LOG;
            if (SplitJournalName(name, id, number, file) && id == book.lostId)
                DeleteOf(book.lostFolder, id, number);
        }
    }
    LetFolderGo(book.lostFolder);
    book.lostFolder.Clear();
}

void LetFolderGo(WideView folder) {
    for (u32 i = 0; i < state.held.Count(); ++i) {
        HeldFolder& held = state.held[i];
        if (held.path.View() != folder) continue;
        if (held.users) --held.users;
        if (held.users) return;
        RecoveryPlatform().leaveFolder(folder);
        state.held.RemoveAt(i);
        return;
    }
}

bool BeginLog(u32 number, Array<u8>& out) {
    JournalBytes bytes;
    MoveRaw(bytes, const_cast<u8*>(LOG_MARK), sizeof LOG_MARK);
    Move(bytes, number);
    return !bytes.failed && out.AppendMany(bytes.out.Data(), bytes.out.Count());
}

bool FrameEntry(ByteView entry, Array<u8>& out) {
    JournalBytes bytes;
    u32 length = static_cast<u32>(entry.size()), check = Checksum(entry);
    MoveAll(bytes, length, check);
    return !bytes.failed && out.AppendMany(bytes.out.Data(), bytes.out.Count()) &&
           out.AppendMany(entry.data(), entry.size());
}

bool NextEntry(ByteView log, u32 number, std::size_t& at, ByteView& entry) {
    if (!at) {
        if (log.size() < LOG_HEAD || std::memcmp(log.data(), LOG_MARK, sizeof LOG_MARK) != 0) return false;
        JournalBytes head = ReaderOf(log.subspan(sizeof LOG_MARK, 4));
        u32 told = 0;
        Move(head, told);
        if (told != number) return false;
        at = LOG_HEAD;
    }
    if (log.size() - at < ENTRY_HEAD) return false;
    JournalBytes head = ReaderOf(log.subspan(at, ENTRY_HEAD));
    u32 length = 0, check = 0;
    MoveAll(head, length, check);
    if (!length || length > log.size() - at - ENTRY_HEAD) return false;
    entry = log.subspan(at + ENTRY_HEAD, length);
    if (Checksum(entry) != check) return false;
    at += ENTRY_HEAD + length;
    return true;
}

bool IsLogDamaged(ByteView log, std::size_t at) {
    if (!at) return log.size() >= LOG_HEAD;
    if (log.size() - at < ENTRY_HEAD) return false;
    JournalBytes head = ReaderOf(log.subspan(at, ENTRY_HEAD));
    u32 length = 0;
    Move(head, length);
    return length && length <= log.size() - at - ENTRY_HEAD;
}

}  // namespace tally
