#include "platform/headless/MemoryFiles.h"

#include <algorithm>
#include <cstring>

#include "base/Text.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/PosixForeign.h"

namespace tally {
namespace {

// Outputs in the making; an ended one has an empty path.
struct MemoryOutputs {
    Array<MemoryFile> open;
    u64 versions = 0;
};
MemoryOutputs outputs;

MemoryFile* OutputAt(OutputHandle file) {
    if (file < 1 || static_cast<u32>(file) > outputs.open.Count()) return nullptr;
    MemoryFile& output = outputs.open[static_cast<u32>(file) - 1];
    return output.path.IsEmpty() ? nullptr : &output;
}

MemoryFile* FindFile(WideView path) {
    for (MemoryFile& file : Headless().files) {
        if (file.path.View() == path) return &file;
    }
    return nullptr;
}

}  // namespace

const MemoryFile* FindMemoryFile(WideView path) { return FindFile(path); }

bool PutMemoryFile(WideView path, ByteView bytes) {
    Array<u8> copy;
    if (!copy.AppendMany(bytes.data(), bytes.size())) return false;
    MemoryFile* file = FindFile(path);
    if (!file) {
        MemoryFile fresh;
        if (!fresh.path.Assign(path) || !Headless().files.Append(std::move(fresh))) return false;
        file = &Headless().files.Last();
    }
    file->bytes = std::move(copy);
    file->version = ++outputs.versions;
    return true;
}

bool MemoryReadFile(WideView path, Array<u8>& out) {
    const MemoryFile* file = FindFile(path);
    out.Truncate(0);
    return file && out.AppendMany(file->bytes.Data(), file->bytes.Count());
}

ReadOutcome MemoryReadPlainFile(const FileRequest& request, Array<u8>& out, FileStamp* stamp) {
    const MemoryFile* file = FindFile(request.path);
    if (!file) return READ_MISSING;
    const ByteView all = file->bytes.Span();
    if (request.mayBe && !request.mayBe(all.first(std::min(all.size(), READ_START)))) return READ_UNWANTED;
    if (stamp) IgnoreFailure(MemoryFileStamp(request.path, *stamp));
    return MemoryReadFile(request.path, out) ? READ_GOOD : READ_NO_ROOM;
}

bool MemoryDeleteFile(WideView path) {
    Array<MemoryFile>& files = Headless().files;
    for (u32 i = 0; i < files.Count(); ++i) {
        if (files[i].path.View() != path) continue;
        files.RemoveAt(i);
        return true;
    }
    return false;
}

// A folder is there when a file lies in it or below.
bool MemoryListFolder(WideView pattern, u32 limit, Array<WideText>& names) {
    const WideView folder = pattern.substr(0, pattern.size() - FileNameOf(pattern).size());
    const u32 first = names.Count();
    bool isThere = false;
    for (const MemoryFile& file : Headless().files) {
        if (!file.path.View().starts_with(folder)) continue;
        isThere = true;
        const WideView name = file.path.View().substr(folder.size());
        if (name.find(u'/') != WideView::npos || !MatchesFilePattern(name, FileNameOf(pattern))) continue;
        WideText own;
        if (!own.Assign(name) || !names.Append(std::move(own))) return false;
    }
    SortListedNames(names, first, limit);
    return isThere;
}

bool MemoryFileStamp(WideView path, FileStamp& out) {
    const MemoryFile* file = FindFile(path);
    if (!file) return false;
    out = {};
    out.known = true;
    out.size = file->bytes.Count();
    out.seconds = static_cast<i64>(file->version);
    return true;
}

OutputHandle MemoryCreateFile(WideView path) {
    MemoryFile* output = path.empty() ? nullptr : outputs.open.AppendDefault();
    if (!output || !output->path.Assign(path)) return 0;
    return static_cast<OutputHandle>(outputs.open.Count());
}

bool MemoryWriteFile(OutputHandle file, const void* bytes, std::size_t count) {
    MemoryFile* output = OutputAt(file);
    return output && output->bytes.AppendMany(static_cast<const u8*>(bytes), count);
}

bool MemoryPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count) {
    MemoryFile* output = OutputAt(file);
    if (!output || offset > output->bytes.Count() || count > output->bytes.Count() - offset) return false;
    std::memcpy(output->bytes.Data() + offset, bytes, count);
    return true;
}

bool MemoryCloseFile(OutputHandle file) {
    MemoryFile* output = OutputAt(file);
    if (!output) return false;
    const bool good = PutMemoryFile(output->path, output->bytes.Span());
    MemoryAbandonFile(file);
    return good;
}

void MemoryAbandonFile(OutputHandle file) {
    MemoryFile* output = OutputAt(file);
    if (!output) return;
    output->path.Clear();
    output->bytes.Clear();
}

void ResetMemoryFiles() { outputs.open.Clear(); }

}  // namespace tally
