#include "shell/frame/PaintGuard.h"

#include <cassert>
#include <utility>

#include "shell/state/ShellState.h"

namespace tally {
namespace {

void NoteFault() {
    ++Shell().paintFaults;
    assert(Shell().countsPaintFaults && "a paint shows a box, opens a file or calculates");
}

const PlatformTable& Unguarded() { return *Shell().paintGuard->platform; }

i32 GuardedBox(WideView text, WideView title, u32 flags) {
    NoteFault();
    return Unguarded().messageBox(text, title, flags);
}
bool GuardedRead(WideView path, Array<u8>& out) {
    NoteFault();
    return Unguarded().readFile(path, out);
}
ReadOutcome GuardedPlainRead(const FileRequest& request, Array<u8>& out, FileStamp* stamp) {
    NoteFault();
    return Unguarded().readPlainFile(request, out, stamp);
}
void GuardedBegin(LongOperationKind kind) {
    NoteFault();
    Shell().paintGuard->operations.begin(kind);
}

}  // namespace

PaintGuard::PaintGuard() : platform(&Platform()), guarded(Platform()), operations(LongOperations()) {
    outer = std::exchange(Shell().paintGuard, this);
    guarded.messageBox = GuardedBox;
    guarded.readFile = GuardedRead;
    guarded.readPlainFile = GuardedPlainRead;
    SetPlatform(&guarded);
    LongOperations().begin = GuardedBegin;
}

PaintGuard::~PaintGuard() {
    SetPlatform(platform);
    LongOperations() = operations;
    Shell().paintGuard = outer;
}

}  // namespace tally
