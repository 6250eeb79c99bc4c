#include "platform/headless/HeadlessForeign.h"

#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "platform/posix/PosixForeign.h"

namespace tally {
namespace {

bool DeleteOne(WideView path) {
    return Headless().filesInMemory ? MemoryDeleteFile(path) : PosixForeign().deleteFile(path);
}

bool ListFolder(WideView pattern, u32 limit, Array<WideText>& names) {
    return Headless().filesInMemory ? MemoryListFolder(pattern, limit, names)
                                    : PosixForeign().listFolder(pattern, limit, names);
}

u32 StartProcess(WideView line, ShowState show) {
    if (Headless().reachesSystem) return PosixForeign().startProcess(line, show);
    RecordedProgram* program = Headless().programs.AppendDefault();
    if (!program || !program->line.Assign(line)) return 0;
    program->show = show;
    return Headless().programNumber;
}

LibraryHandle LoadLibraryAt(WideView path) {
    if (Headless().reachesSystem) return PosixForeign().loadLibrary(path);
    WideText own;
    if (!own.Assign(path) || !Headless().libraries.Append(std::move(own)) || !Headless().loadsLibraries)
        return nullptr;
    return reinterpret_cast<LibraryHandle>(std::uintptr_t{Headless().libraries.Count()});
}

LibraryProcedure FindProcedure(LibraryHandle library, WideView name) {
    return Headless().reachesSystem ? PosixForeign().findProcedure(library, name) : Headless().procedure;
}

void FreeLibraryAt(LibraryHandle library) {
    if (Headless().reachesSystem) PosixForeign().freeLibrary(library);
    else ++Headless().librariesFreed;
}

constexpr ForeignTable table = {
    DeleteOne, ListFolder, StartProcess, LoadLibraryAt, FindProcedure, FreeLibraryAt,
};

}  // namespace

const ForeignTable& HeadlessForeign() { return table; }

}  // namespace tally
