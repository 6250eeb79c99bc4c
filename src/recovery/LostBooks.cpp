#include "recovery/LostBooks.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/RecoveryPlatform.h"
#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "recovery/JournalState.h"
#include "recovery/Snapshot.h"

namespace tally {
namespace {

struct FoundSnapshot {
    u32 id = 0, number = 0;
};

// The snapshots in a folder, those of one book together, the newest first.
bool ListSnapshots(WideView folder, Array<FoundSnapshot>& found) {
    Array<WideText> names;
    if (!RecoveryPlatform().listFiles(folder, names)) return false;
    for (const WideText& name : names) {
        FoundSnapshot one;
        JournalFile file = FILE_OF_LOG;
        if (!SplitJournalName(name, one.id, one.number, file) || file != FILE_OF_SNAPSHOT) continue;
        if (!found.Append(one)) return false;
    }
    std::sort(found.begin(), found.end(), [](const FoundSnapshot& a, const FoundSnapshot& b) {
        return a.id != b.id ? a.id < b.id : a.number > b.number;
    });
    return true;
}

bool ReadJournalFile(WideView folder, u32 id, u32 number, JournalFile file, Array<u8>& bytes) {
    WideText path;
    return JournalPath(path, folder, id, number, file) && Platform().readFile(path, bytes);
}

// Without a snapshot the rest of a folder says nothing.
void EmptyFolder(WideView folder) {
    Array<WideText> names;
    WideText path;
    if (!RecoveryPlatform().listFiles(folder, names)) return;
    for (const WideText& name : names)
        if (path.Assign(folder) && path.Append(name.View())) IgnoreFailure(RecoveryPlatform().deleteFile(path));
}

bool AddLostBook(WideView folder, const FoundSnapshot& found, Array<LostBook>& lost) {
    Array<u8> bytes;
    SnapshotHead head;
    ByteView book;
    // What cannot be read now stays where it is.
    if (!ReadJournalFile(folder, found.id, found.number, FILE_OF_SNAPSHOT, bytes) ||
        !ReadSnapshotHead(bytes.Span(), head, book))
        return true;
    LostBook one;
    one.id = found.id;
    one.path = std::move(head.path);
    one.time = head.time;
    return one.folder.Assign(folder) && lost.Append(std::move(one));
}

// Of one folder; it is left at once when there is none in it.
bool FindInFolder(WideView folder, Array<LostBook>& lost) {
    Array<FoundSnapshot> found;
    HeldFolder held;
    const u32 before = lost.Count();
    bool good = ListSnapshots(folder, found);
    if (good && found.IsEmpty()) EmptyFolder(folder);
    u32 last = 0;
    for (const FoundSnapshot& one : found) {
        if (one.id == last) continue;
        const u32 count = lost.Count();
        good = good && AddLostBook(folder, one, lost);
        if (lost.Count() > count) last = one.id;
    }
    held.users = lost.Count() - before;
    good = good && held.path.Assign(folder);
    if (good && held.users && Journal().held.Append(std::move(held))) return true;
    lost.Truncate(before);
    RecoveryPlatform().leaveFolder(folder);
    return good;
}

bool IsEarlier(const LostBook& a, const LostBook& b) {
    const auto key = [](const SystemTime& t) {
        return std::array<u32, 3>{u32{t.year} << 16 | u32{t.month} << 8 | t.day,
                                  u32{t.hour} << 16 | u32{t.minute} << 8 | t.second, t.milliseconds};
    };
    return key(a.time) < key(b.time);
}

// Whether all of a log was put into the book.
bool ApplyLog(i32 book, u32 number, ByteView log) {
    const QuietMessages quiet;
    const QuietMemoryScope quietMemory;
    std::size_t at = 0;
    for (ByteView entry; NextEntry(log, number, at, entry);)
        if (!ApplyJournalEntry(book, entry)) return false;
    return !IsLogDamaged(log, at);
}

// The newest snapshot that opens, with its log.
RecoverOutcome OpenNewest(const LostBook& lost) {
    Array<FoundSnapshot> found;
    if (!ListSnapshots(lost.folder, found)) return NOT_RECOVERED;
    bool newest = true;
    for (const FoundSnapshot& one : found) {
        Array<u8> bytes, log;
        if (one.id != lost.id) continue;
        if (!ReadJournalFile(lost.folder, one.id, one.number, FILE_OF_SNAPSHOT, bytes) ||
            !OpenSnapshot(bytes.Span())) {
            newest = false;
            continue;
        }
        const bool hasLog = ReadJournalFile(lost.folder, one.id, one.number, FILE_OF_LOG, log);
        const bool whole = !hasLog || ApplyLog(CurrentBook(), one.number, log.Span());
        return whole && newest ? RECOVERED_WHOLE : RECOVERED_IN_PART;
    }
    return NOT_RECOVERED;
}

}  // namespace

bool FindLostBooks(Array<LostBook>& lost, bool& busy) {
    Array<WideText> folders;
    busy = false;
    const u32 first = lost.Count();
    bool good = RecoveryPlatform().lostFolders(folders, busy);
    for (const WideText& folder : folders) {
        if (good) good = FindInFolder(folder, lost);
        else RecoveryPlatform().leaveFolder(folder);
    }
    std::sort(lost.begin() + first, lost.end(), IsEarlier);
    return good;
}

RecoverOutcome RecoverLostBook(const LostBook& lost) {
    const i32 previous = CurrentBook();
    // An untitled book takes another number where its own is in use.
    const bool titled = lost.path.View().find_first_of(u"/\\") != WideView::npos;
    const i32 twin = titled ? FindOpenBook(lost.path, false) : -1;
    if (twin >= 0 && BookAt(twin)->dirty) {
        LeaveLostBook(lost);
        return NAME_IS_OPEN;
    }
    const RecoverOutcome outcome = OpenNewest(lost);
    if (outcome == NOT_RECOVERED) {
        if (BookAt(previous)) Books().currentBook = previous;
        LeaveLostBook(lost);
        return outcome;
    }
    if (twin >= 0) RemoveBook(twin);
    JournaledBook* row = JournalOf(CurrentBook());
    if (!row || !row->lostFolder.Assign(lost.folder)) {
        LeaveLostBook(lost);
        return outcome;
    }
    row->recovered = true;
    row->lostId = lost.id;
    return outcome;
}

void DiscardLostBook(const LostBook& lost) {
    JournaledBook row;
    row.lostId = lost.id;
    if (row.lostFolder.Assign(lost.folder)) DeleteLostFiles(row);
    else LeaveLostBook(lost);
}

void LeaveLostBook(const LostBook& lost) { LetFolderGo(lost.folder); }

}  // namespace tally
