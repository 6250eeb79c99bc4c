#include "platform/posix/FileSteps.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tally {
namespace {

// Large writes go in pieces, so that a test can stop between two.
constexpr std::size_t PIECE = 1 << 16;

struct StepState {
    FileStepHook hook = nullptr;
};
StepState state;

}  // namespace

void SetFileStepHook(FileStepHook hook) { state.hook = hook; }

bool StepFails(FileStep step) {
    const int error = state.hook ? state.hook(step) : 0;
    if (error) errno = error;
    return error != 0;
}

bool WriteWhole(FileStep step, int descriptor, const u8* bytes, std::size_t count, i64 offset) {
    while (count) {
        if (StepFails(step)) return false;
        const std::size_t piece = std::min(count, PIECE);
        const ssize_t done =
            offset < 0 ? write(descriptor, bytes, piece) : pwrite(descriptor, bytes, piece, offset);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        bytes += done;
        count -= static_cast<std::size_t>(done);
        if (offset >= 0) offset += done;
    }
    return true;
}

}  // namespace tally
