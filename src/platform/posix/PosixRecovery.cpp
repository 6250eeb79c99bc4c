#include "platform/posix/PosixRecovery.h"

#include <aio.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/Text.h"

namespace tally {
namespace {

constexpr std::string_view LOCK_NAME = "lock";
constexpr mode_t PRIVATE_FOLDER = 0700, PRIVATE_FILE = 0600;
constexpr int LOW_PRIORITY = 5;           // a busy machine must not keep it from its end
constexpr unsigned WRITER_SECONDS = 300;  // a writer that is not done by then will never be
constexpr int WAIT_STEPS = 1000;          // of WAIT_MILLISECONDS
constexpr long WAIT_MILLISECONDS = 10;
constexpr u32 FLUSHES = 8;  // under way at a time

// A folder that this process holds.
struct LockedFolder {
    Array<char> path;  // with a separator and a zero at its end
    int lock = -1;
};

// A file that the system is bringing to the disk. It does not move while it does.
struct Flush {
    aiocb request;
    bool busy = false;
};

struct RecoveryState {
    Array<LockedFolder> locked;
    Array<pid_t> writers;  // a writer's number is its place, from 1; 0 where one has ended
    i32 own = -1;          // in `locked`
};
RecoveryState state;
Flush flushes[FLUSHES];

bool AppendTo(Array<char>& path, std::string_view text) {
    // The zero at the end moves.
    if (!path.IsEmpty()) path.RemoveLast();
    return path.AppendMany(text.data(), text.size()) && path.Append('\0');
}
bool AssignTo(Array<char>& path, std::string_view text) {
    path.Truncate(0);
    return AppendTo(path, text);
}

// Makes a folder and those above it.
bool MakeFolders(Array<char>& path) {
    for (u32 i = 1; i + 1 < path.Count(); ++i) {
        if (path[i] != '/') continue;
        path[i] = '\0';
        const bool made = mkdir(path.Data(), PRIVATE_FOLDER) == 0 || errno == EEXIST;
        path[i] = '/';
        if (!made) return false;
    }
    return true;
}

// With a separator at its end. A relative path counts as none.
bool StateFolder(Array<char>& path) {
    const char* const state_home = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    if (state_home && *state_home == '/')
        return AssignTo(path, state_home) && AppendTo(path, "/tallyman/recovery/");
    return home && *home == '/' && AssignTo(path, home) && AppendTo(path, "/.local/state/tallyman/recovery/");
}

// The lock of a folder; -1 when another process has it, or there is none and none is made.
int LockFolder(const Array<char>& folder, bool make) {
    Array<char> path;
    if (!AssignTo(path, folder.Data()) || !AppendTo(path, LOCK_NAME)) return -1;
    const int lock = open(path.Data(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | (make ? O_CREAT : 0), PRIVATE_FILE);
    if (lock < 0) return -1;
    if (flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
    const int error = errno;
    close(lock);
    errno = error;
    return -1;
}

// "PID-CHANCE".
bool NameFolder(Array<char>& path) {
    u64 chance = 0;
    if (getrandom(&chance, sizeof chance, 0) != sizeof chance) return false;
    char name[48];
    char* end = std::to_chars(name, name + sizeof name, static_cast<long>(getpid())).ptr;
    *end++ = '-';
    end = std::to_chars(end, name + sizeof name, chance, 16).ptr;
    *end++ = '/';
    return AppendTo(path, {name, static_cast<std::size_t>(end - name)});
}

bool OwnFolder(WideText& folder) {
    if (state.own < 0) {
        LockedFolder fresh;
        if (!StateFolder(fresh.path) || !NameFolder(fresh.path) || !MakeFolders(fresh.path)) return false;
        fresh.lock = LockFolder(fresh.path, true);
        const int lock = fresh.lock;
        if (lock < 0 || !state.locked.Append(std::move(fresh))) {
            if (lock >= 0) close(lock);
            return false;
        }
        state.own = static_cast<i32>(state.locked.Count()) - 1;
    }
    return WideFromPath(folder, state.locked[static_cast<u32>(state.own)].path.Data());
}

// ---- lost folders ---------------------------------------------------------------------------------

bool IsHeld(const Array<char>& path) {
    for (const LockedFolder& folder : state.locked)
        if (!folder.path.IsEmpty() && std::strcmp(folder.path.Data(), path.Data()) == 0) return true;
    return false;
}

// A folder whose process is gone while its lock is held: a writer of it is at work.
bool IsProcessGone(std::string_view name) {
    long process = 0;
    const auto end = std::from_chars(name.data(), name.data() + name.size(), process);
    return end.ec == std::errc() && process > 0 && kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

bool TakeFolder(const Array<char>& above, std::string_view name, Array<WideText>& folders, bool& busy) {
    LockedFolder found;
    WideText wide;
    if (!AssignTo(found.path, above.Data()) || !AppendTo(found.path, name) || !AppendTo(found.path, "/"))
        return false;
    if (IsHeld(found.path)) return true;
    found.lock = LockFolder(found.path, false);
    if (found.lock < 0) {
        busy = busy || (errno == EWOULDBLOCK && IsProcessGone(name));
        // What never came to have a lock is empty, or another's.
        if (errno == ENOENT) rmdir(found.path.Data());
        return true;
    }
    const int lock = found.lock;
    if (WideFromPath(wide, found.path.Data()) && folders.Reserve(std::size_t{folders.Count()} + 1) &&
        state.locked.Append(std::move(found)))
        return folders.Append(std::move(wide));
    close(lock);
    return false;
}

bool LostFolders(Array<WideText>& folders, bool& busy) {
    Array<char> above;
    busy = false;
    if (!StateFolder(above)) return false;
    DIR* list = opendir(above.Data());
    if (!list) return errno == ENOENT;
    bool good = true;
    while (const dirent* entry = good ? readdir(list) : nullptr)
        if (entry->d_name[0] != '.') good = TakeFolder(above, entry->d_name, folders, busy);
    closedir(list);
    return good;
}

LockedFolder* FindLocked(WideView folder) {
    Array<char> path;
    if (!PathFromWide(path, folder)) return nullptr;
    for (LockedFolder& each : state.locked)
        if (!each.path.IsEmpty() && std::strcmp(each.path.Data(), path.Data()) == 0) return &each;
    return nullptr;
}

bool ListFiles(WideView folder, Array<WideText>& names) {
    Array<char> path;
    DIR* list = PathFromWide(path, folder) ? opendir(path.Data()) : nullptr;
    if (!list) return false;
    bool good = true;
    while (const dirent* entry = good ? readdir(list) : nullptr) {
        if (entry->d_type == DT_DIR || entry->d_name == LOCK_NAME || entry->d_name[0] == '.') continue;
        WideText name;
        good = WideFromPath(name, entry->d_name) && names.Append(std::move(name));
    }
    closedir(list);
    return good;
}

// The lock goes last, under itself: who waits for it finds the folder gone.
void LeaveFolder(WideView folder) {
    LockedFolder* locked = FindLocked(folder);
    Array<WideText> names;
    if (!locked) return;
    Array<char> lockPath;
    if (ListFiles(folder, names) && names.IsEmpty() && AssignTo(lockPath, locked->path.Data()) &&
        AppendTo(lockPath, LOCK_NAME)) {
        unlink(lockPath.Data());
        rmdir(locked->path.Data());
    }
    close(locked->lock);
    if (state.own >= 0 && locked == &state.locked[static_cast<u32>(state.own)]) state.own = -1;
    locked->path.Clear();
    locked->lock = -1;
}

bool DeleteFile(WideView path) {
    Array<char> narrow;
    return PathFromWide(narrow, path) && unlink(narrow.Data()) == 0;
}

// ---- logs -----------------------------------------------------------------------------------------

// Those that have come to their end are closed. With `wait` all have.
void ReapFlushes(bool wait) {
    for (Flush& flush : flushes) {
        if (!flush.busy) continue;
        const aiocb* list[] = {&flush.request};
        while (wait && aio_error(&flush.request) == EINPROGRESS) aio_suspend(list, 1, nullptr);
        if (aio_error(&flush.request) == EINPROGRESS) continue;
        aio_return(&flush.request);
        close(flush.request.aio_fildes);
        flush.busy = false;
    }
}

// The descriptor is closed when the disk has it all.
void FlushSoon(int file) {
    ReapFlushes(false);
    for (Flush& flush : flushes) {
        if (flush.busy) continue;
        std::memset(&flush.request, 0, sizeof flush.request);
        flush.request.aio_fildes = file;
        flush.request.aio_sigevent.sigev_notify = SIGEV_NONE;
        if (aio_fsync(O_DSYNC, &flush.request) != 0) break;
        flush.busy = true;
        return;
    }
    // The disk lags far behind: what comes later takes this along.
    close(file);
}

bool WriteBehind(int file, ByteView bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool AppendFile(WideView path, ByteView bytes) {
    Array<char> narrow;
    struct stat before;
    if (!PathFromWide(narrow, path)) return false;
    const int file = open(narrow.Data(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, PRIVATE_FILE);
    if (file < 0) return false;
    if (fstat(file, &before) == 0 && WriteBehind(file, bytes)) {
        FlushSoon(file);
        return true;
    }
    // A half of it would hide all that comes later.
    IgnoreFailure(ftruncate(file, before.st_size) == 0);
    close(file);
    return false;
}

void FlushAppended() { ReapFlushes(true); }

// ---- writers --------------------------------------------------------------------------------------

// In the child. It outlives its parent's end, since it writes what the user would lose.
[[noreturn]] void RunWriter(bool (*write)(void*), void* context) {
    for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) signal(number, SIG_IGN);
    signal(SIGALRM, SIG_DFL);
    alarm(WRITER_SECONDS);
    setpriority(PRIO_PROCESS, 0, LOW_PRIORITY);
    _exit(write(context) ? 0 : 1);
}

i32 StartWriter(bool (*write)(void*), void* context) {
    if (!state.writers.Reserve(std::size_t{state.writers.Count()} + 1)) return 0;
    const pid_t process = fork();
    if (process < 0) return 0;
    if (process == 0) RunWriter(write, context);
    IgnoreFailure(state.writers.Append(process));
    return static_cast<i32>(state.writers.Count());
}

void PauseShortly() {
    const timespec pause = {0, WAIT_MILLISECONDS * 1000000};
    nanosleep(&pause, nullptr);
}

WriterState StateOfWriter(i32 writer, bool wait) {
    if (writer < 1 || static_cast<u32>(writer) > state.writers.Count()) return WRITER_FAILED;
    pid_t& process = state.writers[static_cast<u32>(writer) - 1];
    if (!process) return WRITER_FAILED;
    int status = 0;
    pid_t ended = waitpid(process, &status, WNOHANG);
    for (int i = 0; wait && i < WAIT_STEPS && (ended == 0 || (ended < 0 && errno == EINTR)); ++i) {
        PauseShortly();
        ended = waitpid(process, &status, WNOHANG);
    }
    if (ended == 0 || (ended < 0 && errno == EINTR)) return WRITER_RUNNING;
    process = 0;
    return ended > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? WRITER_DONE : WRITER_FAILED;
}

void StopWriter(i32 writer) {
    if (StateOfWriter(writer, false) != WRITER_RUNNING) return;
    pid_t& process = state.writers[static_cast<u32>(writer) - 1];
    kill(process, SIGKILL);
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    process = 0;
}

constexpr RecoveryTable table = {
    .ownFolder = OwnFolder,
    .lostFolders = LostFolders,
    .leaveFolder = LeaveFolder,
    .listFiles = ListFiles,
    .deleteFile = DeleteFile,
    .appendFile = AppendFile,
    .flushAppended = FlushAppended,
    .startWriter = StartWriter,
    .writerState = StateOfWriter,
    .stopWriter = StopWriter,
};

}  // namespace

const RecoveryTable& PosixRecovery() { return table; }

void ResetPosixRecovery() {
    ReapFlushes(true);
    for (const LockedFolder& folder : state.locked)
        if (folder.lock >= 0) close(folder.lock);
    state = RecoveryState();
}

}  // namespace tally
