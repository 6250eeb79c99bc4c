#include "platform/headless/HeadlessPlatform.h"

#include <time.h>

#include <cstring>

#include "base/Number.h"
#include "base/Text.h"
#include "platform/headless/HeadlessForeign.h"
#include "platform/headless/HeadlessRecovery.h"
#include "platform/headless/MemoryFiles.h"
#include "platform/posix/CodePages.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixForeign.h"
#include "platform/posix/PosixRecovery.h"
#include "platform/posix/Regions.h"
#include "platform/posix/SystemFacts.h"

namespace tally {
namespace {

HeadlessState state;

bool NextFileOperationFails() { return HeadlessFileOperationFails(); }

bool HeadlessReadFile(WideView path, Array<u8>& out) {
    if (NextFileOperationFails()) return false;
    ++state.ownReads;
    return state.filesInMemory ? MemoryReadFile(path, out) : PosixReadFile(path, out);
}
ReadOutcome HeadlessReadPlainFile(const FileRequest& request, Array<u8>& out, FileStamp* stamp) {
    ++(request.foreign ? state.foreignReads : state.ownReads);
    if (request.foreign && state.links == TRUST_CLOSED && state.trust == TRUST_CLOSED) return READ_REFUSED;
    if (NextFileOperationFails()) return READ_FAILED;
    return state.filesInMemory ? MemoryReadPlainFile(request, out, stamp)
                               : PosixReadPlainFile(request, out, stamp);
}
bool HeadlessFileStamp(WideView path, FileStamp& out) {
    return state.filesInMemory ? MemoryFileStamp(path, out) : PosixFileStamp(path, out);
}
bool HeadlessFileExists(WideView path) {
    return state.filesInMemory ? FindMemoryFile(path) != nullptr : PosixFileExists(path);
}
OutputHandle HeadlessCreateFile(WideView path) {
    if (NextFileOperationFails()) return 0;
    return state.filesInMemory ? MemoryCreateFile(path) : PosixCreateFile(path);
}
bool HeadlessWriteFile(OutputHandle file, const void* bytes, std::size_t count) {
    if (NextFileOperationFails()) return false;
    return state.filesInMemory ? MemoryWriteFile(file, bytes, count) : PosixWriteFile(file, bytes, count);
}
bool HeadlessPatchFile(OutputHandle file, u64 offset, const void* bytes, std::size_t count) {
    if (NextFileOperationFails()) return false;
    return state.filesInMemory ? MemoryPatchFile(file, offset, bytes, count)
                               : PosixPatchFile(file, offset, bytes, count);
}
void HeadlessAbandonFile(OutputHandle file) {
    state.filesInMemory ? MemoryAbandonFile(file) : PosixAbandonFile(file);
}
bool HeadlessCloseFile(OutputHandle file) {
    if (NextFileOperationFails()) {
        HeadlessAbandonFile(file);
        return false;
    }
    return state.filesInMemory ? MemoryCloseFile(file) : PosixCloseFile(file);
}
bool HeadlessProgramDirectory(WideText& out) {
    return state.filesInMemory ? out.Assign(u"/program/") : PosixProgramDirectory(out);
}

u32 HeadlessGetACP() {
    return state.ansiCodePage ? state.ansiCodePage : FindRegion(state.tag, nullptr).ansiCodePage;
}
u32 HeadlessTextCodePage() { return state.textCodePage; }

bool HeadlessLocaleInfo(i32 item, WideText& out) {
    return RegionItem(FindRegion(state.tag, nullptr), item, out);
}
const char* HeadlessLocaleTag() { return state.tag; }

void HeadlessLocalTime(SystemTime& out) {
    if (state.fixedClock) {
        out = state.clock;
        return;
    }
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts = {};
    localtime_r(&now.tv_sec, &parts);
    out = {static_cast<u16>(parts.tm_year + 1900), static_cast<u16>(parts.tm_mon + 1),
           static_cast<u16>(parts.tm_mday),        static_cast<u16>(parts.tm_hour),
           static_cast<u16>(parts.tm_min),         static_cast<u16>(parts.tm_sec),
           static_cast<u16>(now.tv_nsec / 1000000)};
}

u32 HeadlessClockSeconds() {
    // A fixed clock fixes the random numbers too.
    return state.fixedClock ? 1u : static_cast<u32>(time(nullptr));
}

i32 HarmlessAnswer(u32 flags) {
    switch (flags & 0xF) {
        case MB_OKCANCEL:
        case MB_YESNOCANCEL:
        case MB_RETRYCANCEL: return IDCANCEL;
        case MB_YESNO: return IDNO;
        default: return IDOK;
    }
}

i32 HeadlessMessageBox(WideView text, WideView title, u32 flags) {
    i32 answer = HarmlessAnswer(flags);
    if (state.answersUsed < state.answers.Count()) answer = state.answers[state.answersUsed++];
    if (state.boxShown) state.boxShown(text, flags);
    // A box that cannot be recorded has still been shown.
    if (RecordedBox* box = state.boxes.AppendDefault()) {
        IgnoreFailure(box->text.Assign(text) && box->title.Assign(title));
        box->flags = flags;
        box->answer = answer;
    }
    return answer;
}

void HeadlessMetrics(ScreenMetrics& out) {
    const i32 size = MulDiv(13, state.dotsPerInch, 96);
    out = {size + 3, 3, (size + 1) / 2, state.dotsPerInch, state.dotsPerInch, 34, 0};
}

bool HeadlessFontFace(WideView, u8&, u8&) { return false; }
TrustState HeadlessTrust(ForeignUse use) { return use == FOREIGN_LINK ? state.links : state.trust; }
bool HeadlessDirectory(WideText& out) {
    return state.filesInMemory ? out.Assign(u"/") : PosixCurrentDirectory(out);
}

const PlatformTable headlessTable = {
    HeadlessReadFile,    HeadlessFileExists,
    HeadlessCreateFile,  HeadlessWriteFile,
    HeadlessPatchFile,   HeadlessCloseFile,
    HeadlessAbandonFile, HeadlessProgramDirectory,
    HeadlessGetACP,      HeadlessTextCodePage,
    IcuIsValidCodePage,  IcuIsLeadByte,
    IcuToWide,           IcuToBytes,
    HeadlessLocaleInfo,  HeadlessLocaleTag,
    HeadlessLocalTime,   HeadlessClockSeconds,
    HeadlessMessageBox,  HeadlessMetrics,
    HeadlessFontFace,    HeadlessTrust,
    PosixMemoryStatus,   PosixVersion,
    HeadlessDirectory,   HeadlessReadPlainFile,
    HeadlessFileStamp,
};

}  // namespace

HeadlessState& Headless() { return state; }

bool HeadlessFileOperationFails() {
    ++state.fileOperations;
    if (!state.failFileOperation) return false;
    return state.failsFromThere ? state.fileOperations >= state.failFileOperation
                                : state.fileOperations == state.failFileOperation;
}

void ResetHeadlessPlatform() {
    ResetPosixFiles();
    ResetPosixForeign();
    ResetPosixRecovery();
    ResetMemoryFiles();
    ResetCodePages();
    state = HeadlessState();
    SetCollationLocale(state.tag);
}

void UseHeadlessPlatform() {
    ResetHeadlessPlatform();
    SetPlatform(&headlessTable);
    SetForeignPlatform(&HeadlessForeign());
    SetRecoveryPlatform(&HeadlessRecovery());
}

bool SetHeadlessRegion(std::string_view tag) {
    bool known = false;
    const Region& region = FindRegion(tag, &known);
    if (!known) return false;
    std::memcpy(state.tag, region.tag, std::strlen(region.tag) + 1);
    SetCollationLocale(state.tag);
    return true;
}

}  // namespace tally
