#include "platform/posix/NamedTemporaries.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace tally {
namespace {

constexpr int endingSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};
constexpr u32 ROOM = 8;

// Read by a signal handler, which may allocate nothing and lock nothing.
struct TemporaryTable {
    std::atomic<const char*> paths[ROOM] = {};
    bool handling = false;
};
TemporaryTable table;

void EndProcess(int number) {
    for (const std::atomic<const char*>& path : table.paths) {
        if (const char* name = path.load()) unlink(name);
    }
    signal(number, SIG_DFL);
    raise(number);
}

// A signal that somebody else handles or ignores stays theirs.
void HandleSignals() {
    if (table.handling) return;
    table.handling = true;
    for (const int number : endingSignals) {
        struct sigaction old = {};
        if (sigaction(number, nullptr, &old) != 0 || old.sa_handler != SIG_DFL) continue;
        struct sigaction fresh = {};
        fresh.sa_handler = EndProcess;
        IgnoreFailure(sigaction(number, &fresh, nullptr));
    }
}

}  // namespace

bool NoteTemporary(const char* path) {
    HandleSignals();
    for (std::atomic<const char*>& place : table.paths) {
        const char* none = nullptr;
        if (place.compare_exchange_strong(none, path)) return true;
    }
    return false;
}

void ForgetTemporary(const char* path) {
    for (std::atomic<const char*>& place : table.paths) {
        const char* same = path;
        if (place.compare_exchange_strong(same, nullptr)) return;
    }
}

}  // namespace tally
