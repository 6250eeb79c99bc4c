#include "platform/headless/HeadlessRecovery.h"

#include "base/Number.h"
#include "base/Text.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "platform/posix/PosixRecovery.h"

namespace tally {
namespace {

constexpr WideView ROOT = u"/recovery/";

bool InMemory() { return Headless().filesInMemory; }
// A program without a screen leaves the user's own folders alone, unless it is told otherwise.
bool NotToday() { return HeadlessFileOperationFails() || (!InMemory() && !Headless().recoversOnDisk); }

// In memory each process that a test plays has a number.
bool OwnFolder(WideText& folder) {
    if (NotToday()) return false;
    if (!InMemory()) return PosixRecovery().ownFolder(folder);
    return folder.Assign(ROOT) && AppendInteger(folder, Headless().process) && folder.Append(u'/');
}

bool LostFolders(Array<WideText>& folders, bool& busy) {
    busy = false;
    if (NotToday()) return false;
    if (!InMemory()) return PosixRecovery().lostFolders(folders, busy);
    WideText own;
    if (!own.Assign(ROOT) || !AppendInteger(own, Headless().process) || !own.Append(u'/')) return false;
    for (const MemoryFile& file : Headless().files) {
        const WideView folder = DirectoryOf(file.path);
        bool known = !folder.starts_with(ROOT) || folder == own.View();
        for (const WideText& each : folders) known = known || each.View() == folder;
        WideText copy;
        if (!known && (!copy.Assign(folder) || !folders.Append(std::move(copy)))) return false;
    }
    return true;
}

void LeaveFolder(WideView folder) {
    if (!InMemory()) PosixRecovery().leaveFolder(folder);
}

bool ListFiles(WideView folder, Array<WideText>& names) {
    if (NotToday()) return false;
    if (!InMemory()) return PosixRecovery().listFiles(folder, names);
    for (const MemoryFile& file : Headless().files) {
        WideText name;
        if (DirectoryOf(file.path) != folder) continue;
        if (!name.Assign(FileNameOf(file.path)) || !names.Append(std::move(name))) return false;
    }
    return true;
}

bool DeleteOne(WideView path) {
    if (NotToday()) return false;
    return InMemory() ? MemoryDeleteFile(path) : PosixRecovery().deleteFile(path);
}

bool AppendOne(WideView path, ByteView bytes) {
    if (NotToday()) return false;
    if (!InMemory()) return PosixRecovery().appendFile(path, bytes);
    Array<u8> all;
    const MemoryFile* old = FindMemoryFile(path);
    if (old && !all.AppendMany(old->bytes.Data(), old->bytes.Count())) return false;
    return all.AppendMany(bytes.data(), bytes.size()) && PutMemoryFile(path, all.Span());
}

void FlushAppended() {
    if (!InMemory()) PosixRecovery().flushAppended();
}

// In memory there is nobody beside the program: the writer has ended when it begins.
constexpr i32 WROTE = 1, DID_NOT = 2;
i32 StartWriter(bool (*write)(void*), void* context) {
    if (NotToday()) return 0;
    if (!InMemory()) return PosixRecovery().startWriter(write, context);
    return write(context) ? WROTE : DID_NOT;
}

WriterState StateOfWriter(i32 writer, bool wait) {
    if (!InMemory()) return PosixRecovery().writerState(writer, wait);
    return writer == WROTE ? WRITER_DONE : WRITER_FAILED;
}

void StopWriter(i32 writer) {
    if (!InMemory()) PosixRecovery().stopWriter(writer);
}

constexpr RecoveryTable table = {
    .ownFolder = OwnFolder,
    .lostFolders = LostFolders,
    .leaveFolder = LeaveFolder,
    .listFiles = ListFiles,
    .deleteFile = DeleteOne,
    .appendFile = AppendOne,
    .flushAppended = FlushAppended,
    .startWriter = StartWriter,
    .writerState = StateOfWriter,
    .stopWriter = StopWriter,
};

}  // namespace

const RecoveryTable& HeadlessRecovery() { return table; }

}  // namespace tally
