#include "platform/posix/PosixForeign.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "base/Text.h"

namespace tally {
namespace {

struct StartedPrograms {
    Array<pid_t> running;
};
StartedPrograms started;

bool DeletePlainFile(WideView path) {
    Array<char> narrow;
    struct stat status;
    if (!PathFromWide(narrow, path) || lstat(narrow.Data(), &status) != 0) return false;
    return (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) && unlink(narrow.Data()) == 0;
}

// ---- folders ----------------------------------------------------------------------------------------------

bool IsFolder(DIR* folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_DIR;
    struct stat status;
    return fstatat(dirfd(folder), entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

bool AddMatches(DIR* folder, WideView last, Array<WideText>& names) {
    for (u32 seen = 0; seen < MAX_FOLDER_NAMES; ++seen) {
        const dirent* entry = readdir(folder);
        if (!entry) break;
        WideText name;
        if (!WideFromPath(name, entry->d_name)) return false;
        if (!MatchesFilePattern(name, last) || IsFolder(folder, *entry)) continue;
        if (!names.Append(std::move(name))) return false;
    }
    return true;
}

bool ListFolder(WideView pattern, u32 limit, Array<WideText>& names) {
    WideView folderPart, last;
    SplitFilePattern(pattern, folderPart, last);
    Array<char> path;
    if (!PathFromWide(path, folderPart)) return false;
    DIR* folder = opendir(path.Data());
    if (!folder) return false;
    const u32 first = names.Count();
    const bool good = AddMatches(folder, last, names);
    closedir(folder);
    SortListedNames(names, first, good ? limit : 0);
    return good;
}

// ---- programs ---------------------------------------------------------------------------------------------

// What has ended is taken note of, so that no remains of it stay in the system.
void ReapEnded() {
    u32 kept = 0;
    for (const pid_t process : started.running)
        if (waitpid(process, nullptr, WNOHANG) == 0) started.running[kept++] = process;
    started.running.Truncate(kept);
}

// The words one behind the other, each with its zero, and where each begins.
bool CollectWords(WideView line, Array<char>& words, Array<u32>& starts) {
    for (;;) {
        const bool another = line.find_first_not_of(u" \t") != WideView::npos;
        if (!another) return !starts.IsEmpty();
        const WideView word = NextProgramWord(line);
        Array<char> narrow;
        if (!starts.Append(words.Count())) return false;
        if (word.empty() ? !words.Append('\0')
                         : !PathFromWide(narrow, word) ||
                               !words.AppendMany(narrow.Data(), std::strlen(narrow.Data()) + 1))
            return false;
    }
}

// A session of its own, so that what ends this program does not end that one; its channels lead nowhere, as
// what it writes is no part of what this program writes.
bool Prepare(posix_spawn_file_actions_t& actions, posix_spawnattr_t& attributes) {
    for (const int channel : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const int way = channel == STDIN_FILENO ? O_RDONLY : O_WRONLY;
        if (posix_spawn_file_actions_addopen(&actions, channel, "/dev/null", way, 0) != 0) return false;
    }
    sigset_t all;
    sigfillset(&all);
    return posix_spawnattr_setsigdefault(&attributes, &all) == 0 &&
           posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF) == 0;
}

pid_t Spawn(char* const* words) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0) return 0;
    pid_t process = 0;
    if (posix_spawnattr_init(&attributes) == 0) {
        if (!Prepare(actions, attributes) ||
            posix_spawnp(&process, words[0], &actions, &attributes, words, environ) != 0)
            process = 0;
        posix_spawnattr_destroy(&attributes);
    }
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

u32 StartProcess(WideView line, ShowState) {
    ReapEnded();
    Array<char> words;
    Array<u32> starts;
    Array<char*> pointers;
    if (!CollectWords(line, words, starts) || words[0] == '\0') return 0;
    for (const u32 start : starts)
        if (!pointers.Append(words.Data() + start)) return 0;
    if (!pointers.Append(nullptr) || !started.running.Reserve(started.running.Count() + 1)) return 0;
    const pid_t process = Spawn(pointers.Data());
    if (process <= 0) return 0;
    IgnoreFailure(started.running.Append(process));
    return static_cast<u32>(process);
}

// ---- libraries --------------------------------------------------------------------------------------------

LibraryHandle LoadLibraryAt(WideView path) {
    Array<char> narrow;
    return PathFromWide(narrow, path) ? dlopen(narrow.Data(), RTLD_NOW | RTLD_LOCAL) : nullptr;
}

LibraryProcedure FindProcedure(LibraryHandle library, WideView name) {
    Array<char> narrow;
    if (!library || !PathFromWide(narrow, name)) return nullptr;
    return reinterpret_cast<LibraryProcedure>(dlsym(library, narrow.Data()));
}

void FreeLibraryAt(LibraryHandle library) {
    if (library) dlclose(library);
}

constexpr ForeignTable table = {
    DeletePlainFile, ListFolder, StartProcess, LoadLibraryAt, FindProcedure, FreeLibraryAt,
};

}  // namespace

const ForeignTable& PosixForeign() { return table; }

void SplitFilePattern(WideView pattern, WideView& folder, WideView& last) {
    const std::size_t cut = pattern.rfind(u'/');
    last = cut == WideView::npos ? pattern : pattern.substr(cut + 1);
    folder = cut == WideView::npos ? WideView(u".") : pattern.substr(0, cut ? cut : 1);
}

void SortListedNames(Array<WideText>& names, u32 first, u32 limit) {
    std::sort(names.begin() + first, names.end(),
              [](const WideText& a, const WideText& b) { return a.View() < b.View(); });
    if (names.Count() - first > limit) names.Truncate(first + limit);
}

void ResetPosixForeign() {
    ReapEnded();
    started.running.Clear();
}

}  // namespace tally
