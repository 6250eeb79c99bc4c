#include "platform/posix/OutputFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "platform/posix/FileSteps.h"
#include "platform/posix/NamedTemporaries.h"
#include "platform/posix/OverwriteInPlace.h"

namespace tally {
namespace {

constexpr int MOST_LINKS = 40;
constexpr std::size_t MOST_OF_A_NAME = 200;  // of the 255 bytes that a name may have

bool IsStandardStream(const Array<char>& path) { return std::strcmp(path.Data(), "-") == 0; }

bool AssignPath(Array<char>& out, std::string_view path) {
    out.Truncate(0);
    return out.AppendMany(path.data(), path.size()) && out.Append('\0');
}

std::string_view FolderOf(std::string_view path) { return path.substr(0, path.rfind('/') + 1); }

// What a link says, seen from the folder that the link lies in.
bool FollowLink(Array<char>& path) {
    char link[4096];
    const ssize_t length = readlink(path.Data(), link, sizeof link);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof link) return false;
    const std::string_view where(link, static_cast<std::size_t>(length));
    Array<char> next;
    if (where.front() != '/') {
        const std::string_view folder = FolderOf(path.Data());
        if (!next.AppendMany(folder.data(), folder.size())) return false;
    }
    if (!next.AppendMany(where.data(), where.size()) || !next.Append('\0')) return false;
    path = std::move(next);
    return true;
}

// Follows symbolic links, so that the file they lead to is replaced and the link stays; where there is none
// yet, to the place where it would be.
bool ResolveTarget(Array<char>& path) {
    if (char* real = realpath(path.Data(), nullptr)) {
        const bool done = AssignPath(path, real);
        free(real);
        return done;
    }
    if (errno != ENOENT) return false;
    for (int links = 0; links < MOST_LINKS; ++links) {
        struct stat status;
        if (lstat(path.Data(), &status) != 0) return errno == ENOENT;
        if (!S_ISLNK(status.st_mode)) return true;
        if (!FollowLink(path)) return false;
    }
    return false;
}

// ---- the file beside the target ------------------------------------------------------------------------

// The folder takes no second file, for whatever space there is.
bool IsRefusal(int error) { return error == EACCES || error == EPERM || error == EROFS; }

// A hidden name that no file has, most likely.
bool MakeTemporaryName(OutputFile& output) {
    const std::string_view target = output.target.Data();
    const std::string_view folder = FolderOf(target);
    u64 chance = 0;
    if (getrandom(&chance, sizeof chance, 0) != sizeof chance) return false;
    char digits[17] = {'.'};
    const auto end = std::to_chars(digits + 1, digits + sizeof digits, chance, 16).ptr;
    output.temporary.Truncate(0);
    return output.temporary.AppendMany(folder.data(), folder.size()) && output.temporary.Append('.') &&
           output.temporary.AppendMany(target.data() + folder.size(),
                                       std::min(target.size() - folder.size(), MOST_OF_A_NAME)) &&
           output.temporary.AppendMany(digits, static_cast<std::size_t>(end - digits)) &&
           output.temporary.Append('\0');
}

// A file that has no name yet is gone with its process, whatever ends it.
bool OpenWithoutName(OutputFile& output, mode_t mode) {
    Array<char> folder;
    const std::string_view own = FolderOf(output.target.Data());
    if (StepFails(STEP_BESIDE) || !AssignPath(folder, own.empty() ? std::string_view(".") : own)) return false;
    // The name comes through this folder.
    if (access("/proc/self/fd", X_OK) != 0) {
        errno = EOPNOTSUPP;
        return false;
    }
    output.descriptor = open(folder.Data(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
    return output.descriptor >= 0;
}

bool OpenWithName(OutputFile& output, mode_t mode) {
    if (StepFails(STEP_NAMED) || !NoteTemporary(output.temporary.Data())) return false;
    output.descriptor = open(output.temporary.Data(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, mode);
    output.named = output.descriptor >= 0;
    if (output.named) return true;
    const int error = errno;
    ForgetTemporary(output.temporary.Data());
    errno = error;
    return false;
}

bool CopyAttribute(const char* from, int to, const char* name) {
    Array<char> value;
    const ssize_t size = getxattr(from, name, nullptr, 0);
    if (size < 0 || !value.Resize(static_cast<std::size_t>(size) + 1)) return false;
    const ssize_t got = getxattr(from, name, value.Data(), static_cast<std::size_t>(size));
    return got == size && fsetxattr(to, name, value.Data(), static_cast<std::size_t>(size), 0) == 0;
}

bool CopyAttributes(const char* from, int to) {
    const ssize_t size = listxattr(from, nullptr, 0);
    if (size < 0) return errno == ENOTSUP;
    Array<char> names;
    if (!names.Resize(static_cast<std::size_t>(size) + 1)) return false;
    const ssize_t got = listxattr(from, names.Data(), static_cast<std::size_t>(size));
    if (got < 0) return false;
    for (ssize_t i = 0; i < got; i += static_cast<ssize_t>(std::strlen(names.Data() + i)) + 1) {
        if (!CopyAttribute(from, to, names.Data() + i)) return false;
    }
    return true;
}

// Owner, mode and attributes of the old file. False when the new one cannot have them.
bool TakeLooks(const OutputFile& output, const struct stat& old) {
    if (StepFails(STEP_LOOKS)) return false;
    if ((old.st_uid != geteuid() || old.st_gid != getegid()) &&
        fchown(output.descriptor, old.st_uid, old.st_gid) != 0) {
        return false;
    }
    // What the folder gives to new files the old one need not have.
    IgnoreFailure(fremovexattr(output.descriptor, "system.posix_acl_access"));
    return fchmod(output.descriptor, old.st_mode & 07777) == 0 &&
           CopyAttributes(output.target.Data(), output.descriptor);
}

// True also for a folder that refuses a second file: the way is another one then.
bool OpenBeside(OutputFile& output, const struct stat* old) {
    const mode_t mode = old ? 0600 : 0666;
    output.way = WAY_RENAME;
    if (!MakeTemporaryName(output)) return false;
    const bool opened = OpenWithoutName(output, mode) ||
                        ((errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOENT) &&
                         OpenWithName(output, mode));
    if (opened && (!old || TakeLooks(output, *old))) return true;
    if (!opened && (!old || !IsRefusal(errno))) return false;
    if (opened) DropOutput(output);
    output.way = WAY_IN_PLACE;
    return true;
}

// ---- the end -------------------------------------------------------------------------------------------

// A signal between the two steps would leave the second name behind.
struct SignalsBlocked {
    sigset_t before;
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
};

bool GiveName(OutputFile& output) {
    if (output.named) return true;
    if (StepFails(STEP_LINK)) return false;
    char own[64];
    std::snprintf(own, sizeof own, "/proc/self/fd/%d", output.descriptor);
    output.named = linkat(AT_FDCWD, own, AT_FDCWD, output.temporary.Data(), AT_SYMLINK_FOLLOW) == 0;
    return output.named;
}

// True when the file beside stands in the target's place; `errno` tells why not.
bool TakePlace(OutputFile& output) {
    const SignalsBlocked blocked;
    if (!GiveName(output)) return false;
    if (!StepFails(STEP_RENAME) && rename(output.temporary.Data(), output.target.Data()) == 0) {
        ForgetTemporary(output.temporary.Data());
        output.named = false;
        return true;
    }
    const int error = errno;
    unlink(output.temporary.Data());
    ForgetTemporary(output.temporary.Data());
    output.named = false;
    errno = error;
    return false;
}

bool LoadWritten(OutputFile& output) {
    const auto count = static_cast<std::size_t>(output.written);
    if (!output.buffer.ResizeRaw(count)) return false;
    for (std::size_t filled = 0; filled < count;) {
        const ssize_t got =
            pread(output.descriptor, output.buffer.Data() + filled, count - filled, static_cast<off_t>(filled));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        filled += static_cast<std::size_t>(got);
    }
    return true;
}

bool CommitBeside(OutputFile& output) {
    if (StepFails(STEP_FLUSH) || fsync(output.descriptor) != 0) return false;
    if (TakePlace(output)) return true;
    // A folder that takes new files and lets none be replaced: a sticky one, or a file that is a mount.
    if (!IsRefusal(errno) && errno != EBUSY) return false;
    struct stat old;
    return stat(output.target.Data(), &old) == 0 && LoadWritten(output) &&
           OverwriteInPlace(output.target.Data(), output.buffer.Data(), output.buffer.Count());
}

bool CommitStream(OutputFile& output) {
    const int descriptor = output.descriptor;
    output.descriptor = -1;
    return close(descriptor) == 0;
}

}  // namespace

bool OpenOutput(OutputFile& output) {
    if (IsStandardStream(output.target)) {
        output.way = WAY_STREAM;
        output.descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
        return output.descriptor >= 0;
    }
    if (!ResolveTarget(output.target)) return false;
    struct stat old;
    const bool exists = stat(output.target.Data(), &old) == 0;
    if (!exists) return errno == ENOENT && OpenBeside(output, nullptr);
    if (S_ISDIR(old.st_mode)) return false;
    if (!S_ISREG(old.st_mode)) {
        output.way = WAY_STREAM;
        output.descriptor = open(output.target.Data(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        return output.descriptor >= 0;
    }
    if (faccessat(AT_FDCWD, output.target.Data(), W_OK, AT_EACCESS) != 0) return false;
    if (old.st_nlink == 1) return OpenBeside(output, &old);
    // The other names would go on leading to the old bytes.
    output.way = WAY_IN_PLACE;
    return true;
}

bool FlushOutput(OutputFile& output) {
    if (output.failed) return false;
    if (output.way == WAY_IN_PLACE || output.buffer.IsEmpty()) return true;
    output.failed = !WriteWhole(STEP_WRITE, output.descriptor, output.buffer.Data(), output.buffer.Count());
    output.written += output.buffer.Count();
    output.buffer.Truncate(0);
    return !output.failed;
}

bool CommitOutput(OutputFile& output) {
    bool good = FlushOutput(output);
    if (good) {
        switch (output.way) {
            case WAY_IN_PLACE:
                good = OverwriteInPlace(output.target.Data(), output.buffer.Data(), output.buffer.Count());
                break;
            case WAY_RENAME: good = CommitBeside(output); break;
            case WAY_STREAM: good = CommitStream(output); break;
        }
    }
    DropOutput(output);
    return good;
}

void DropOutput(OutputFile& output) {
    if (output.descriptor >= 0) close(output.descriptor);
    output.descriptor = -1;
    if (!output.named) return;
    unlink(output.temporary.Data());
    ForgetTemporary(output.temporary.Data());
    output.named = false;
}

}  // namespace tally
