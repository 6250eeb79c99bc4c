#include "model/ForeignAccess.h"

#include "model/BookTable.h"
#include "model/Trust.h"

namespace tally {
namespace {

bool MayReach(i32 book, ForeignUse use, WideView path, WideView shown) {
    return !path.empty() && !IsNetworkPath(path) && MayReachOutside(book, use, shown);
}
bool MayReach(i32 book, ForeignUse use, WideView path) { return MayReach(book, use, path, path); }

}  // namespace

ReadOutcome ReadForeignFile(i32 book, const FileRequest& request, Array<u8>& out) {
    out.Truncate(0);
    if (!MayReach(book, FOREIGN_READ, request.path)) return READ_REFUSED;
    FileRequest foreign = request;
    foreign.foreign = true;
    return Platform().readPlainFile(foreign, out, nullptr);
}

OutputHandle CreateForeignFile(i32 book, WideView path) {
    return MayReach(book, FOREIGN_WRITE, path) ? Platform().createFile(path) : 0;
}

bool DeleteForeignFile(i32 book, WideView path) {
    return MayReach(book, FOREIGN_DELETE, path) && ForeignPlatform().deleteFile(path);
}

bool ListForeignFolder(i32 book, WideView pattern, u32 limit, Array<WideText>& names) {
    const WideView wanted = pattern.empty() ? WideView(u"*.*") : pattern;
    return MayReach(book, FOREIGN_READ, wanted) && ForeignPlatform().listFolder(wanted, limit, names);
}

u32 StartForeignProgram(i32 book, WideView line, ShowState show) {
    WideView rest = line;
    const WideView program = NextProgramWord(rest);
    return MayReach(book, FOREIGN_PROGRAM, program, line) ? ForeignPlatform().startProcess(line, show) : 0;
}

LibraryHandle LoadForeignLibrary(i32 book, i32 sheet, WideView path) {
    const Sheet* asking = SheetAt(book, sheet);
    if (!asking || asking->kind != SHEET_MACRO) return nullptr;
    return MayReach(book, FOREIGN_LIBRARY, path) ? ForeignPlatform().loadLibrary(path) : nullptr;
}

LibraryProcedure FindForeignProcedure(LibraryHandle library, WideView name) {
    return library && !name.empty() ? ForeignPlatform().findProcedure(library, name) : nullptr;
}

void FreeForeignLibrary(LibraryHandle library) {
    if (library) ForeignPlatform().freeLibrary(library);
}

}  // namespace tally
