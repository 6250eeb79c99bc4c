#include "platform/posix/CodePages.h"

#include <unicode/ucnv.h>

#include <cstdio>

#include "base/Text.h"

namespace tally {
namespace {

constexpr u32 UTF16_PAGE = 1200;
constexpr u32 UTF8_PAGE = 65001;

// Pages whose converter has a name that the number does not give away.
struct PageName {
    u32 page;
    const char* name;
};
constexpr PageName pageNames[] = {
    {708, "iso-8859-6"},      {720, "ibm-720"},       {932, "windows-932"},      {936, "windows-936"},
    {949, "windows-949"},     {950, "windows-950"},   {1200, "UTF-16LE"},        {1201, "UTF-16BE"},
    {10000, "macintosh"},     {10006, "x-mac-greek"}, {10007, "x-mac-cyrillic"}, {10029, "x-mac-ce"},
    {10081, "x-mac-turkish"}, {20127, "us-ascii"},    {20866, "koi8-r"},         {20932, "euc-jp"},
    {21866, "koi8-u"},        {32768, "macintosh"},   {32769, "windows-1252"},   {50220, "iso-2022-jp"},
    {51932, "euc-jp"},        {51936, "gb2312"},      {51949, "euc-kr"},         {52936, "hz-gb-2312"},
    {54936, "gb18030"},       {65000, "UTF-7"},
};

// Ranges of the first byte of a two-byte character.
struct LeadRange {
    u32 page;
    u8 first, last;
};
constexpr LeadRange leadRanges[] = {
    {932, 0x81, 0x9F}, {932, 0xE0, 0xFC}, {936, 0x81, 0xFE}, {949, 0x81, 0xFE}, {950, 0x81, 0xFE},
};

constexpr u32 KEPT_CONVERTERS = 4;

struct KeptConverter {
    u32 page = 0;
    UConverter* converter = nullptr;
};
struct ConverterTable {
    KeptConverter kept[KEPT_CONVERTERS];
    u32 next = 0;  // the place that the next new converter takes
};
ConverterTable table;

u32 EffectivePage(u32 page) { return page ? page : Platform().getACP(); }

bool KeepsAscii(u32 page) {
    return page != UTF16_PAGE && page != 1201 && page != 65000 && page != 50220 && page != 52936 &&
           page != 37 && page != 500;
}

UConverter* OpenConverter(u32 page) {
    char name[24];
    const char* chosen = nullptr;
    for (const PageName& row : pageNames) {
        if (row.page == page) chosen = row.name;
    }
    if (!chosen) {
        const char* form = page >= 28591 && page <= 28605                  ? "iso-8859-%u"
                           : page == 874 || (page >= 1250 && page <= 1258) ? "windows-%u"
                                                                           : "ibm-%u";
        std::snprintf(name, sizeof name, form, page >= 28591 && page <= 28605 ? page - 28590 : page);
        chosen = name;
    }
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(chosen, &status);
    if (U_FAILURE(status)) return nullptr;
    // What a page lacks shows as a question mark, and not as whatever the page has for it: in some that is a
    // blank.
    if (KeepsAscii(page)) ucnv_setSubstChars(converter, "?", 1, &status);
    return converter;
}

// The converter of a page, in its initial state; null for a page that there is not.
UConverter* ConverterOf(u32 page) {
    for (KeptConverter& kept : table.kept) {
        if (kept.converter && kept.page == page) {
            ucnv_reset(kept.converter);
            return kept.converter;
        }
    }
    UConverter* opened = OpenConverter(page);
    if (!opened) return nullptr;
    KeptConverter& place = table.kept[table.next];
    table.next = (table.next + 1) % KEPT_CONVERTERS;
    if (place.converter) ucnv_close(place.converter);
    place = {page, opened};
    return opened;
}

std::size_t AsciiRun(ByteView bytes) {
    std::size_t i = 0;
    while (i < bytes.size() && bytes[i] < 0x80) ++i;
    return i;
}

bool AppendBytesAsText(ByteView bytes, WideText& out) {
    return out.AppendAscii({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace

bool IcuIsValidCodePage(u32 codePage) {
    const u32 page = EffectivePage(codePage);
    return page == UTF8_PAGE || ConverterOf(page) != nullptr;
}

bool IcuIsLeadByte(u32 codePage, u8 byte) {
    const u32 page = EffectivePage(codePage);
    for (const LeadRange& range : leadRanges) {
        if (range.page == page && byte >= range.first && byte <= range.last) return true;
    }
    return false;
}

bool IcuToWide(u32 codePage, ByteView bytes, WideText& out) {
    const u32 page = EffectivePage(codePage);
    if (KeepsAscii(page)) {
        const std::size_t run = AsciiRun(bytes);
        if (!AppendBytesAsText(bytes.first(run), out)) return false;
        bytes = bytes.subspan(run);
        if (bytes.empty()) return true;
    }
    if (page == UTF8_PAGE) return AppendUtf8(out, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    UConverter* converter = ConverterOf(page);
    if (!converter) return false;
    const char* source = reinterpret_cast<const char*>(bytes.data());
    const char* const end = source + bytes.size();
    char16_t chunk[512];
    for (;;) {
        UErrorCode status = U_ZERO_ERROR;
        char16_t* target = chunk;
        ucnv_toUnicode(converter, &target, chunk + std::size(chunk), &source, end, nullptr, true, &status);
        if (!out.Append(WideView(chunk, static_cast<std::size_t>(target - chunk)))) return false;
        if (status != U_BUFFER_OVERFLOW_ERROR) return U_SUCCESS(status);
    }
}

bool IcuToBytes(u32 codePage, WideView text, Array<u8>& out) {
    const u32 page = EffectivePage(codePage);
    if (page == UTF8_PAGE) {
        const std::size_t had = out.Count();
        if (!out.ResizeRaw(had + Utf8Length(text))) return false;
        Utf8FromWide(text, reinterpret_cast<char*>(out.Data() + had));
        return true;
    }
    UConverter* converter = ConverterOf(page);
    if (!converter) return false;
    const char16_t* source = text.data();
    const char16_t* const end = source + text.size();
    char chunk[512];
    for (;;) {
        UErrorCode status = U_ZERO_ERROR;
        char* target = chunk;
        ucnv_fromUnicode(converter, &target, chunk + std::size(chunk), &source, end, nullptr, true, &status);
        if (!out.AppendMany(reinterpret_cast<const u8*>(chunk), static_cast<std::size_t>(target - chunk)))
            return false;
        if (status != U_BUFFER_OVERFLOW_ERROR) return U_SUCCESS(status);
    }
}

void ResetCodePages() {
    for (KeptConverter& kept : table.kept) {
        if (kept.converter) ucnv_close(kept.converter);
    }
    table = ConverterTable();
}

}  // namespace tally
