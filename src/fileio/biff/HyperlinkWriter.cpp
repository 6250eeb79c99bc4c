#include "base/Text.h"
#include "fileio/biff/HyperlinkRecords.h"
#include "fileio/biff/SaveState.h"

// HLINK records: where a cell leads to, as an address, a file or a place in the book.

namespace tally {
namespace {

// Class identifiers of the published structures.
constexpr u8 standardLink[] = {0xD0, 0xC9, 0xEA, 0x79, 0xF9, 0xBA, 0xCE, 0x11,
                               0x8C, 0x82, 0x00, 0xAA, 0x00, 0x4B, 0xA9, 0x0B};
constexpr u8 urlMoniker[] = {0xE0, 0xC9, 0xEA, 0x79, 0xF9, 0xBA, 0xCE, 0x11,
                             0x8C, 0x82, 0x00, 0xAA, 0x00, 0x4B, 0xA9, 0x0B};
constexpr u8 fileMoniker[] = {0x03, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                              0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};

enum TargetKind : u8 { TARGET_NONE, TARGET_UNC, TARGET_URL, TARGET_FILE };

// Letters, digits and a few signs in front of a colon make an address; one letter is a drive.
bool HasScheme(WideView text) {
    std::size_t length = 0;
    while (length < text.size() &&
           (IsAsciiLetter(text[length]) || (length && (IsAsciiDigit(text[length]) || text[length] == u'+' ||
                                                       text[length] == u'-' || text[length] == u'.')))) {
        ++length;
    }
    return length > 1 && length < text.size() && text[length] == u':';
}

TargetKind KindOf(WideView target) {
    if (target.empty()) return TARGET_NONE;
    if (target.starts_with(u"\\\\")) return TARGET_UNC;
    return HasScheme(target) ? TARGET_URL : TARGET_FILE;
}

// Characters with a zero behind them.
void PutTerminated(BiffWriter& to, WideView text) {
    WriteCharacters(to, text, true);
    WriteU16(to, 0);
}

// The text behind its count of characters.
void PutCounted(BiffWriter& to, WideView text) {
    WriteU32(to, static_cast<u32>(text.size()) + 1);
    PutTerminated(to, text);
}

void PutUrl(BiffWriter& to, WideView target) {
    WriteBytes(to, urlMoniker, sizeof urlMoniker);
    WriteU32(to, static_cast<u32>(target.size() + 1) * 2);
    PutTerminated(to, target);
}

// A path, each level up in front of it as a count. It stands there twice, in the code page and in 16 bits.
void PutFile(SaveState& save, WideView target) {
    BiffWriter& to = save.body;
    u32 levels = 0;
    while (target.starts_with(u"..\\") && levels < 255) {
        target.remove_prefix(3);
        ++levels;
    }
    const u32 losses = save.losses;
    const ByteView narrow = NarrowText(save, target, RECORD_ROOM);
    save.losses = losses;  // the 16-bit form keeps all
    WriteBytes(to, fileMoniker, sizeof fileMoniker);
    WriteU16(to, levels);
    WriteU32(to, static_cast<u32>(narrow.size()) + 1);
    WriteBytes(to, narrow.data(), narrow.size());
    WriteU8(to, 0);
    WriteU32(to, 0xDEADFFFF);
    WriteZeros(to, FILE_FILLER);
    WriteU32(to, static_cast<u32>(target.size()) * 2 + u32{WIDE_PATH_HEAD});
    WriteU32(to, static_cast<u32>(target.size()) * 2);
    WriteU16(to, 3);
    WriteCharacters(to, target, true);
}

bool WriteHyperlink(SaveState& save, const Hyperlink& link) {
    const WideView target = link.target;
    const TargetKind kind = KindOf(target);
    BeginBody(save);
    BiffWriter& to = save.body;
    for (u16 word :
         {link.area.firstRow, link.area.lastRow, u16{link.area.firstColumn}, u16{link.area.lastColumn}})
        WriteU16(to, word);
    WriteBytes(to, standardLink, sizeof standardLink);
    WriteU32(to, 2);
    const bool absolute = kind == TARGET_UNC || kind == TARGET_URL ||
                          (kind == TARGET_FILE && target.size() > 1 && target[1] == u':');
    WriteU32(to, (kind != TARGET_NONE ? LINK_HAS_TARGET : 0u) | (absolute ? LINK_IS_ABSOLUTE : 0u) |
                     (kind == TARGET_UNC ? LINK_IS_UNC : 0u) |
                     (link.location.IsEmpty() ? 0u : LINK_HAS_LOCATION) |
                     (link.description.IsEmpty() ? 0u : LINK_HAS_DESCRIPTION) |
                     (link.frame.IsEmpty() ? 0u : LINK_HAS_FRAME));
    if (!link.description.IsEmpty()) PutCounted(to, link.description);
    if (!link.frame.IsEmpty()) PutCounted(to, link.frame);
    if (kind == TARGET_UNC) PutCounted(to, target);
    if (kind == TARGET_URL) PutUrl(to, target);
    if (kind == TARGET_FILE) PutFile(save, target);
    if (!link.location.IsEmpty()) PutCounted(to, link.location);
    return EndBody(save, RECORD_HLINK);
}

}  // namespace

void WriteHyperlinks(SaveState& save, const Sheet& sheet) {
    for (const Hyperlink& link : sheet.hyperlinks) {
        if (!WriteHyperlink(save, link)) save.losses |= LOSS_HYPERLINKS;
    }
}

}  // namespace tally
