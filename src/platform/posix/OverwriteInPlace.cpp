#include "platform/posix/OverwriteInPlace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "base/Array.h"
#include "platform/posix/FileSteps.h"

namespace tally {
namespace {

struct OldFile {
    int descriptor = -1;
    Array<u8> bytes;
};

bool ReadOld(OldFile& old) {
    struct stat status;
    if (StepFails(STEP_KEEP) || fstat(old.descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (!old.bytes.ResizeRaw(size)) return false;
    for (std::size_t filled = 0; filled < size;) {
        const ssize_t got =
            pread(old.descriptor, old.bytes.Data() + filled, size - filled, static_cast<off_t>(filled));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        filled += static_cast<std::size_t>(got);
    }
    return true;
}

// Only what is safe between a fork and the end of the process.
bool PutBack(const OldFile& old) {
    const u8* bytes = old.bytes.Data();
    for (std::size_t done = 0; done < old.bytes.Count();) {
        const ssize_t got =
            pwrite(old.descriptor, bytes + done, old.bytes.Count() - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        done += static_cast<std::size_t>(got);
    }
    return ftruncate(old.descriptor, static_cast<off_t>(old.bytes.Count())) == 0 && fsync(old.descriptor) == 0;
}

// ---- the second process --------------------------------------------------------------------------------

struct Guard {
    pid_t process = -1;
    int line = -1;  // a byte on it says that all is well; its end without one, that this process died
};

[[noreturn]] void StandGuard(int line, const OldFile& old) {
    // A signal to the whole group or terminal must not end both.
    setsid();
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) signal(number, SIG_IGN);
    u8 word = 0;
    ssize_t got = 0;
    do {
        got = read(line, &word, 1);
    } while (got < 0 && errno == EINTR);
    if (got == 0) IgnoreFailure(PutBack(old));
    _exit(0);
}

bool StartGuard(const OldFile& old, Guard& guard) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    guard.process = fork();
    if (guard.process == 0) {
        close(ends[1]);
        StandGuard(ends[0], old);
    }
    close(ends[0]);
    guard.line = ends[1];
    if (guard.process > 0) return true;
    close(guard.line);
    return false;
}

void EndGuard(const Guard& guard) {
    const u8 word = 1;
    IgnoreFailure(write(guard.line, &word, 1));
    close(guard.line);
    while (waitpid(guard.process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// ---- the new content -----------------------------------------------------------------------------------

// Blocks for the whole new file, those over the old one's holes included.
bool ReserveRoom(const OldFile& old, std::size_t count) {
    if (!count) return true;
    if (StepFails(STEP_RESERVE)) return false;
    const int error =
        fallocate(old.descriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(count)) == 0 ? 0 : errno;
    // A file system that cannot promise room shows a lack of it when the end is written, which comes first.
    return error == 0 || error == EOPNOTSUPP || error == ENOSYS;
}

// What lies behind the old end first: it needs room and destroys nothing.
bool PutNew(const OldFile& old, const u8* bytes, std::size_t count) {
    const std::size_t oldCount = old.bytes.Count();
    if (!ReserveRoom(old, count)) return false;
    if (count > oldCount && (!WriteWhole(STEP_OVERWRITE, old.descriptor, bytes + oldCount, count - oldCount,
                                         static_cast<i64>(oldCount)) ||
                             fsync(old.descriptor) != 0)) {
        return false;
    }
    if (!WriteWhole(STEP_OVERWRITE, old.descriptor, bytes, count < oldCount ? count : oldCount, 0))
        return false;
    if (count < oldCount &&
        (StepFails(STEP_SHORTEN) || ftruncate(old.descriptor, static_cast<off_t>(count)) != 0))
        return false;
    return !StepFails(STEP_FLUSH) && fsync(old.descriptor) == 0;
}

}  // namespace

bool OverwriteInPlace(const char* path, const u8* bytes, std::size_t count) {
    OldFile old;
    old.descriptor = open(path, O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (old.descriptor < 0) return false;
    Guard guard;
    bool good = ReadOld(old) && StartGuard(old, guard);
    if (good) {
        good = PutNew(old, bytes, count);
        if (!good) IgnoreFailure(PutBack(old));
        EndGuard(guard);
    }
    close(old.descriptor);
    return good;
}

}  // namespace tally
