#include "shell/posix/PosixFiles.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/Text.h"

namespace tally {
namespace {

constexpr std::size_t BUFFER_BYTES = 1 << 16;

// How the bytes of an output reach their target.
enum OutputWay : u8 {
    WAY_RENAME,    // a file beside the target takes its place
    WAY_IN_PLACE,  // kept in memory until the close: the directory takes no second file
    WAY_STREAM,    // a pipe or a device: written as it comes
};

struct Output {
    OutputWay way = WAY_RENAME;
    bool failed = false;
    int descriptor = -1;
    u64 written = 0;        // bytes handed to the system
    Array<char> target;     // zero-terminated
    Array<char> temporary;  // zero-terminated; WAY_RENAME
    Array<u8> buffer;
};

struct OutputTable {
    Array<Output*> outputs;  // null where an output has ended
};
OutputTable table;

// A path in the form of the system, zero-terminated.
bool NarrowPath(WideView path, Array<char>& out) {
    const std::size_t length = Utf8Length(path);
    if (path.empty() || path.find(u'\0') != WideView::npos || !out.Resize(length + 1)) return false;
    Utf8FromWide(path, out.Data());
    out[length] = 0;
    return true;
}

bool IsStandardStream(const Array<char>& path) { return std::strcmp(path.Data(), "-") == 0; }

bool WriteWhole(int descriptor, const u8* bytes, std::size_t count) {
    while (count) {
        const ssize_t done = write(descriptor, bytes, count);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        bytes += done;
        count -= static_cast<std::size_t>(done);
    }
    return true;
}

bool ReadWhole(int descriptor, std::size_t expected, Array<u8>& out) {
    out.Truncate(0);
    std::size_t room = expected + 1;  // one more, so that the end shows without another growth
    std::size_t filled = 0;
    for (;;) {
        if (!out.ResizeRaw(room)) return false;
        const ssize_t got = read(descriptor, out.Data() + filled, room - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        filled += static_cast<std::size_t>(got);
        if (got == 0) return out.ResizeRaw(filled);
        if (filled == room) room *= 2;
    }
}

Output* OutputAt(OutputHandle file) {
    if (file < 1 || static_cast<u32>(file) > table.outputs.Count()) return nullptr;
    return table.outputs[static_cast<u32>(file) - 1];
}

bool FlushBuffer(Output& output) {
    if (output.failed) return false;
    if (output.way == WAY_IN_PLACE || output.buffer.IsEmpty()) return true;
    output.failed = !WriteWhole(output.descriptor, output.buffer.Data(), output.buffer.Count());
    output.written += output.buffer.Count();
    output.buffer.Truncate(0);
    return !output.failed;
}

// Follows symbolic links, so that the file they lead to is replaced and the link stays.
bool ResolveTarget(Array<char>& path) {
    char* real = realpath(path.Data(), nullptr);
    if (!real) return errno == ENOENT;
    const std::size_t length = std::strlen(real);
    const bool done = path.Resize(length + 1);
    if (done) std::memcpy(path.Data(), real, length + 1);
    free(real);
    return done;
}

bool OpenBeside(Output& output, const struct stat* old) {
    static constexpr char tail[] = ".XXXXXX";
    const std::size_t length = output.target.Count() - 1;
    std::size_t cut = length;
    while (cut && output.target[cut - 1] != '/') --cut;
    // A hidden name, cut so that it stays inside the 255 bytes that a name may have.
    const std::size_t nameLength = length - cut > 200 ? 200 : length - cut;
    if (!output.temporary.AppendMany(output.target.Data(), cut) || !output.temporary.Append('.') ||
        !output.temporary.AppendMany(output.target.Data() + cut, nameLength) ||
        !output.temporary.AppendMany(tail, sizeof tail)) {
        return false;
    }
    output.descriptor = mkstemp(output.temporary.Data());
    if (output.descriptor < 0) return false;
    mode_t mode = 0;
    if (old) {
        mode = old->st_mode & 07777;
        if (old->st_uid != geteuid() || old->st_gid != getegid()) {
            IgnoreFailure(fchown(output.descriptor, old->st_uid, old->st_gid) == 0);
        }
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    IgnoreFailure(fchmod(output.descriptor, mode) == 0);
    output.way = WAY_RENAME;
    return true;
}

bool OpenOutput(Output& output) {
    if (IsStandardStream(output.target)) {
        output.way = WAY_STREAM;
        output.descriptor = dup(STDOUT_FILENO);
        return output.descriptor >= 0;
    }
    if (!ResolveTarget(output.target)) return false;
    struct stat old;
    const bool exists = stat(output.target.Data(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode)) return false;
    if (exists && !S_ISREG(old.st_mode)) {
        output.way = WAY_STREAM;
        output.descriptor = open(output.target.Data(), O_WRONLY | O_CLOEXEC);
        return output.descriptor >= 0;
    }
    if (exists && access(output.target.Data(), W_OK) != 0) return false;
    if (OpenBeside(output, exists ? &old : nullptr)) return true;
    if (!exists) return false;
    output.way = WAY_IN_PLACE;
    output.descriptor = open(output.target.Data(), O_WRONLY | O_CLOEXEC);
    return output.descriptor >= 0;
}

void EndOutput(OutputHandle file) {
    Output*& slot = table.outputs[static_cast<u32>(file) - 1];
    DestroyRecord(slot);
    slot = nullptr;
}

bool CommitOutput(Output& output) {
    bool good = FlushBuffer(output);
    if (good && output.way == WAY_IN_PLACE) {
        good = ftruncate(output.descriptor, 0) == 0 &&
               WriteWhole(output.descriptor, output.buffer.Data(), output.buffer.Count());
    }
    if (good && output.way != WAY_STREAM) good = fsync(output.descriptor) == 0;
    if (close(output.descriptor) != 0) good = false;
    if (output.way == WAY_RENAME) {
        if (good) good = rename(output.temporary.Data(), output.target.Data()) == 0;
        if (!good) unlink(output.temporary.Data());
    }
    return good;
}

}  // namespace

bool PosixReadFile(WideView path, Array<u8>& out) {
    Array<char> narrow;
    if (!NarrowPath(path, narrow)) return false;
    if (IsStandardStream(narrow)) return ReadWhole(STDIN_FILENO, BUFFER_BYTES, out);
    const int descriptor = open(narrow.Data(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    struct stat status;
    const bool good = fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode) &&
                      ReadWhole(descriptor, static_cast<std::size_t>(status.st_size), out);
    close(descriptor);
    return good;
}

bool PosixFileExists(WideView path) {
    Array<char> narrow;
    struct stat status;
    return NarrowPath(path, narrow) && stat(narrow.Data(), &status) == 0 && !S_ISDIR(status.st_mode);
}

OutputHandle PosixCreateFile(WideView path) {
    Output* output = CreateRecord<Output>();
    if (!output) return 0;
    if (!table.outputs.Append(output)) {
        DestroyRecord(output);
        return 0;
    }
    const OutputHandle file = static_cast<OutputHandle>(table.outputs.Count());
    if (!NarrowPath(path, output->target) || !output->buffer.Reserve(BUFFER_BYTES) || !OpenOutput(*output)) {
        EndOutput(file);
        return 0;
    }
    return file;
}

bool PosixWriteFile(OutputHandle file, const void* bytes, std::size_t count) {
    Output* output = OutputAt(file);
    if (!output || output->failed) return false;
    if (output->way != WAY_IN_PLACE && output->buffer.Count() + count > BUFFER_BYTES) {
        if (!FlushBuffer(*output)) return false;
        if (count >= BUFFER_BYTES) {
            output->failed = !WriteWhole(output->descriptor, static_cast<const u8*>(bytes), count);
            output->written += count;
            return !output->failed;
        }
    }
    output->failed = !output->buffer.AppendMany(static_cast<const u8*>(bytes), count);
    return !output->failed;
}

bool PosixPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count) {
    Output* output = OutputAt(file);
    if (!output || !FlushBuffer(*output)) return false;
    if (output->way == WAY_IN_PLACE) {
        if (offset > output->buffer.Count() || count > output->buffer.Count() - offset) return false;
        std::memcpy(output->buffer.Data() + offset, bytes, count);
        return true;
    }
    if (output->way == WAY_STREAM || offset > output->written || count > output->written - offset) return false;
    output->failed =
        pwrite(output->descriptor, bytes, count, static_cast<off_t>(offset)) != static_cast<ssize_t>(count);
    return !output->failed;
}

bool PosixCloseFile(OutputHandle file) {
    Output* output = OutputAt(file);
    if (!output) return false;
    const bool good = CommitOutput(*output);
    EndOutput(file);
    return good;
}

void PosixAbandonFile(OutputHandle file) {
    Output* output = OutputAt(file);
    if (!output) return;
    close(output->descriptor);
    if (output->way == WAY_RENAME) unlink(output->temporary.Data());
    EndOutput(file);
}

bool PosixProgramDirectory(WideText& out) {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) return false;
    std::string_view whole(path, static_cast<std::size_t>(length));
    return WideFromUtf8(out, whole.substr(0, whole.rfind('/') + 1));
}

void ResetPosixFiles() {
    for (u32 i = 0; i < table.outputs.Count(); ++i) PosixAbandonFile(static_cast<OutputHandle>(i + 1));
    table.outputs.Clear();
}

}  // namespace tally
