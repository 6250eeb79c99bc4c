#include <algorithm>

#include "fileio/text/TextFiles.h"

// In which code page a delimited text is.

namespace tally {
namespace {

constexpr u16 UTF8_PAGE = 65001;
constexpr u16 WESTERN_PAGE = 1252;  // every byte is a character in it

struct MarkRow {
    u16 page;
    u8 length;
    u8 bytes[3];
};
constexpr MarkRow marks[] = {
    {UTF8_PAGE, 3, {0xEF, 0xBB, 0xBF}}, {1200, 2, {0xFF, 0xFE, 0}}, {1201, 2, {0xFE, 0xFF, 0}}};

// The bytes that follow the first one of a UTF-8 character, and what the second one is at least and at most;
// a count of 4 stands for a byte that begins none.
struct Utf8Lead {
    u8 following, least, most;
};
Utf8Lead LeadOf(u8 byte) {
    if (byte < 0x80) return {0, 0, 0};
    if (byte < 0xC2 || byte > 0xF4) return {4, 0, 0};
    if (byte < 0xE0) return {1, 0x80, 0xBF};
    if (byte < 0xF0)
        return {2, static_cast<u8>(byte == 0xE0 ? 0xA0 : 0x80), static_cast<u8>(byte == 0xED ? 0x9F : 0xBF)};
    return {3, static_cast<u8>(byte == 0xF0 ? 0x90 : 0x80), static_cast<u8>(byte == 0xF4 ? 0x8F : 0xBF)};
}

bool IsUtf8(ByteView bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] < 0x80) continue;
        const Utf8Lead lead = LeadOf(bytes[i]);
        if (lead.following > 3 || bytes.size() - i <= lead.following) return false;
        if (bytes[i + 1] < lead.least || bytes[i + 1] > lead.most) return false;
        for (u32 k = 2; k <= lead.following; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
        }
        i += lead.following;
    }
    return true;
}

}  // namespace

TextCoding CodingOfText(ByteView file) {
    for (const MarkRow& row : marks) {
        if (file.size() >= row.length && std::equal(row.bytes, row.bytes + row.length, file.begin()))
            return {row.page, row.length};
    }
    const u32 page = Platform().getTextCodePage();
    if (page != UTF8_PAGE || IsUtf8(file)) return {static_cast<u16>(page), 0};
    const u32 region = Platform().getACP();
    return {region == UTF8_PAGE ? WESTERN_PAGE : static_cast<u16>(region), 0};
}

ByteView MarkOfPage(u16 page) {
    for (const MarkRow& row : marks) {
        if (row.page == page) return {row.bytes, row.length};
    }
    return {};
}

}  // namespace tally
