#include "base/Platform.h"

#include "base/Text.h"

namespace tally {
namespace {

// Stands until a real platform is set: a world without files, with one locale and a fixed clock.
bool NoFile(WideView, Array<u8>&) { return false; }
bool NoPath(WideView) { return false; }
OutputHandle NoCreate(WideView) { return 0; }
bool NoWrite(OutputHandle, const void*, std::size_t) { return false; }
bool NoPatch(OutputHandle, u64, const void*, std::size_t) { return false; }
bool NoClose(OutputHandle) { return false; }
void NoAbandon(OutputHandle) {}
bool NoDirectory(WideText&) { return false; }
u32 LatinPage() { return 1252; }
u32 Utf8Page() { return 65001; }
bool NoPage(u32) { return false; }
bool NoLead(u32, u8) { return false; }
bool WidenBytes(u32, ByteView bytes, WideText& out) {
    for (u8 byte : bytes) {
        if (!out.Append(static_cast<char16_t>(byte))) return false;
    }
    return true;
}
bool NarrowText(u32, WideView text, Array<u8>& out) {
    for (char16_t c : text) {
        if (!out.Append(c < 256 ? static_cast<u8>(c) : u8{'?'})) return false;
    }
    return true;
}
bool NoLocale(i32, WideText&) { return false; }
const char* RootTag() { return "en-US"; }
void FixedTime(SystemTime& out) { out = {2000, 1, 1, 0, 0, 0, 0}; }
u32 NoSeconds() { return 0; }
i32 NoBox(WideView, WideView, u32) { return IDCANCEL; }
void FixedMetrics(ScreenMetrics& out) { out = {16, 3, 7, 96, 96, 34, 0}; }
bool NoFace(WideView, u8&, u8&) { return false; }
TrustState ClosedTrust(ForeignUse) { return TRUST_CLOSED; }
ReadOutcome NoPlainFile(const FileRequest&, Array<u8>&, FileStamp*) { return READ_MISSING; }
bool NoStamp(WideView, FileStamp&) { return false; }

const PlatformTable emptyPlatform = {
    NoFile,   NoPath,       NoCreate, NoWrite,     NoPatch,    NoClose,  NoAbandon, NoDirectory, LatinPage,
    Utf8Page, NoPage,       NoLead,   WidenBytes,  NarrowText, NoLocale, RootTag,   FixedTime,   NoSeconds,
    NoBox,    FixedMetrics, NoFace,   ClosedTrust, nullptr,    nullptr,  nullptr,   NoPlainFile, NoStamp,
};

struct PlatformState {
    const PlatformTable* table = &emptyPlatform;
    u32 quiet = 0;  // QuietMessages that live
};
PlatformState state;

}  // namespace

const PlatformTable& Platform() { return *state.table; }
void SetPlatform(const PlatformTable* table) { state.table = table ? table : &emptyPlatform; }

bool IsNetworkPath(WideView path) {
    const auto isSeparator = [](char16_t c) { return c == u'/' || c == u'\\'; };
    return (path.size() > 1 && isSeparator(path[0]) && isSeparator(path[1])) ||
           path.find(u"://") != WideView::npos;
}

QuietMessages::QuietMessages() { ++state.quiet; }
QuietMessages::~QuietMessages() { --state.quiet; }

void ShowMessage(WideView text) {
    if (!state.quiet) IgnoreFailure(Platform().messageBox(text, PROGRAM_NAME, MB_OK));
}

bool FormatWith(WideText& out, WideView pattern, WideView insert) {
    const std::size_t cut = pattern.find(u"%s");
    out.Truncate(0);
    if (cut == WideView::npos) return out.Assign(pattern);
    return out.Append(pattern.substr(0, cut)) && AppendEscaped(out, insert) &&
           out.Append(pattern.substr(cut + 2));
}

void ShowMessageWith(WideView pattern, WideView insert) {
    WideText text;
    ShowMessage(FormatWith(text, pattern, insert) ? text.View() : pattern);
}

}  // namespace tally
