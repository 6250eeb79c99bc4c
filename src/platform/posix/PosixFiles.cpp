#include "platform/posix/PosixFiles.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

#include "base/Text.h"
#include "platform/posix/FileSteps.h"
#include "platform/posix/OutputFile.h"

namespace tally {
namespace {

constexpr std::size_t BUFFER_BYTES = 1 << 16;

struct OutputTable {
    Array<OutputFile*> outputs;  // null where an output has ended
};
OutputTable table;

OutputFile* OutputAt(OutputHandle file) {
    if (file < 1 || static_cast<u32>(file) > table.outputs.Count()) return nullptr;
    return table.outputs[static_cast<u32>(file) - 1];
}

void EndOutput(OutputHandle file) {
    OutputFile*& slot = table.outputs[static_cast<u32>(file) - 1];
    DestroyRecord(slot);
    slot = nullptr;
}

// A write beyond the limit of a file's size is a failed write like any other, and not the end of the process.
void IgnoreSizeSignal() {
    struct sigaction old = {};
    if (sigaction(SIGXFSZ, nullptr, &old) == 0 && old.sa_handler == SIG_DFL) signal(SIGXFSZ, SIG_IGN);
}

}  // namespace

OutputHandle PosixCreateFile(WideView path) {
    IgnoreSizeSignal();
    OutputFile* output = CreateRecord<OutputFile>();
    if (!output) return 0;
    if (!table.outputs.Append(output)) {
        DestroyRecord(output);
        return 0;
    }
    const OutputHandle file = static_cast<OutputHandle>(table.outputs.Count());
    if (!PathFromWide(output->target, path) || !output->buffer.Reserve(BUFFER_BYTES) || !OpenOutput(*output)) {
        DropOutput(*output);
        EndOutput(file);
        return 0;
    }
    return file;
}

bool PosixWriteFile(OutputHandle file, const void* bytes, std::size_t count) {
    OutputFile* output = OutputAt(file);
    if (!output || output->failed) return false;
    if (output->way != WAY_IN_PLACE && output->buffer.Count() + count > BUFFER_BYTES) {
        if (!FlushOutput(*output)) return false;
        if (count >= BUFFER_BYTES) {
            output->failed = !WriteWhole(STEP_WRITE, output->descriptor, static_cast<const u8*>(bytes), count);
            output->written += count;
            return !output->failed;
        }
    }
    output->failed = !output->buffer.AppendMany(static_cast<const u8*>(bytes), count);
    return !output->failed;
}

bool PosixPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count) {
    OutputFile* output = OutputAt(file);
    if (!output || !FlushOutput(*output)) return false;
    if (output->way == WAY_IN_PLACE) {
        if (offset > output->buffer.Count() || count > output->buffer.Count() - offset) return false;
        std::memcpy(output->buffer.Data() + offset, bytes, count);
        return true;
    }
    if (output->way == WAY_STREAM || offset > output->written || count > output->written - offset) return false;
    output->failed = !WriteWhole(STEP_WRITE, output->descriptor, static_cast<const u8*>(bytes), count,
                                 static_cast<i64>(offset));
    return !output->failed;
}

bool PosixCloseFile(OutputHandle file) {
    OutputFile* output = OutputAt(file);
    if (!output) return false;
    const bool good = CommitOutput(*output);
    EndOutput(file);
    return good;
}

void PosixAbandonFile(OutputHandle file) {
    OutputFile* output = OutputAt(file);
    if (!output) return;
    DropOutput(*output);
    EndOutput(file);
}

bool PosixProgramDirectory(WideText& out) {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) return false;
    const std::string_view whole(path, static_cast<std::size_t>(length));
    return WideFromPath(out, whole.substr(0, whole.rfind('/') + 1));
}

void ResetPosixFiles() {
    for (u32 i = 0; i < table.outputs.Count(); ++i) PosixAbandonFile(static_cast<OutputHandle>(i + 1));
    table.outputs.Clear();
}

}  // namespace tally
