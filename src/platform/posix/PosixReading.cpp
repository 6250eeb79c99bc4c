#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/Text.h"
#include "platform/posix/PosixFiles.h"

namespace tally {
namespace {

constexpr std::size_t BUFFER_BYTES = 1 << 16;

enum ReadEnd : u8 { READ_TO_END, READ_TO_LIMIT, READ_BROKEN, READ_OUT_OF_MEMORY };

// Appends to `out`, up to `limit` bytes in all; `expected` is how many there may be.
ReadEnd ReadOn(int descriptor, std::size_t expected, std::size_t limit, Array<u8>& out) {
    std::size_t filled = out.Count();
    std::size_t room = expected + 1;  // one more, so that the end shows without another growth
    for (;;) {
        if (room > limit) room = limit;
        if (room < filled || !out.ResizeRaw(room)) return READ_OUT_OF_MEMORY;
        if (filled == limit) return READ_TO_LIMIT;
        const ssize_t got = read(descriptor, out.Data() + filled, room - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return READ_BROKEN;
        filled += static_cast<std::size_t>(got);
        if (got == 0) return out.ResizeRaw(filled) ? READ_TO_END : READ_OUT_OF_MEMORY;
        if (filled == room) room *= 2;
    }
}

constexpr std::size_t NO_LIMIT = static_cast<std::size_t>(-1);

ReadOutcome OutcomeOf(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENAMETOOLONG: return READ_MISSING;
        case EACCES:
        case EPERM: return READ_NO_ACCESS;
        case ELOOP: return READ_NOT_PLAIN;
        default: return READ_FAILED;
    }
}

ReadOutcome KindOf(const struct stat& status) {
    if (S_ISDIR(status.st_mode)) return READ_FOLDER;
    return S_ISREG(status.st_mode) ? READ_GOOD : READ_NOT_PLAIN;
}

// What the system itself shows as files is no file of a user, and can be without an end.
bool IsMadeUp(int descriptor) {
    struct statfs where;
    if (fstatfs(descriptor, &where) != 0) return false;
    for (const long magic :
         {long{PROC_SUPER_MAGIC}, long{SYSFS_MAGIC}, long{DEBUGFS_MAGIC}, long{TRACEFS_MAGIC}}) {
        if (static_cast<long>(where.f_type) == magic) return true;
    }
    return false;
}

FileStamp StampOf(const struct stat& status) {
    return {true,
            static_cast<u64>(status.st_dev),
            static_cast<u64>(status.st_ino),
            static_cast<u64>(status.st_size),
            static_cast<i64>(status.st_mtim.tv_sec),
            static_cast<u32>(status.st_mtim.tv_nsec)};
}

// Looks before it opens: the mere opening of a pipe can wait for ever, and that of a device can do things.
ReadOutcome OpenPlain(const FileRequest& request, int& descriptor, struct stat& status) {
    Array<char> path;
    if (!PathFromWide(path, request.path)) return READ_MISSING;
    if (request.foreign && IsNetworkPath(request.path)) return READ_NOT_PLAIN;
    if (stat(path.Data(), &status) != 0) return OutcomeOf(errno);
    if (KindOf(status) != READ_GOOD) return KindOf(status);
    descriptor = open(path.Data(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return OutcomeOf(errno);
    // Another one may stand there by now.
    if (fstat(descriptor, &status) != 0) return READ_FAILED;
    if (request.foreign && IsMadeUp(descriptor)) return READ_NOT_PLAIN;
    return KindOf(status);
}

ReadOutcome ReadContents(const FileRequest& request, int descriptor, std::size_t size, Array<u8>& out) {
    out.Truncate(0);
    if (request.mayBe) {
        const ReadEnd end = ReadOn(descriptor, READ_START, READ_START, out);
        if (end == READ_OUT_OF_MEMORY) return READ_NO_ROOM;
        if (end == READ_BROKEN) return READ_FAILED;
        if (!request.mayBe(out.Span())) return READ_UNWANTED;
    }
    switch (ReadOn(descriptor, std::max(size, std::size_t{out.Count()}), NO_LIMIT, out)) {
        case READ_BROKEN: return READ_FAILED;
        case READ_OUT_OF_MEMORY: return READ_NO_ROOM;
        default: return READ_GOOD;
    }
}

}  // namespace

ReadOutcome PosixReadPlainFile(const FileRequest& request, Array<u8>& out, FileStamp* stamp) {
    int descriptor = -1;
    struct stat status;
    ReadOutcome outcome = OpenPlain(request, descriptor, status);
    if (outcome == READ_GOOD)
        outcome = ReadContents(request, descriptor, static_cast<std::size_t>(status.st_size), out);
    if (outcome == READ_GOOD && stamp) *stamp = StampOf(status);
    if (descriptor >= 0) close(descriptor);
    if (outcome != READ_GOOD) out.Clear();
    return outcome;
}

bool PosixFileStamp(WideView path, FileStamp& out) {
    Array<char> narrow;
    struct stat status;
    if (!PathFromWide(narrow, path) || stat(narrow.Data(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    out = StampOf(status);
    return true;
}

bool PosixReadFile(WideView path, Array<u8>& out) {
    Array<char> narrow;
    out.Truncate(0);
    if (!PathFromWide(narrow, path)) return false;
    if (std::strcmp(narrow.Data(), "-") == 0)
        return ReadOn(STDIN_FILENO, BUFFER_BYTES, NO_LIMIT, out) == READ_TO_END;
    const int descriptor = open(narrow.Data(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return false;
    struct stat status;
    const bool good =
        fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode) &&
        ReadOn(descriptor, static_cast<std::size_t>(status.st_size), NO_LIMIT, out) == READ_TO_END;
    close(descriptor);
    return good;
}

bool PosixFileExists(WideView path) {
    Array<char> narrow;
    struct stat status;
    return PathFromWide(narrow, path) && stat(narrow.Data(), &status) == 0 && !S_ISDIR(status.st_mode);
}

}  // namespace tally
