#include <algorithm>
#include <cstring>

#include "fileio/biff/RichText.h"
#include "fileio/biff/SaveState.h"

// Texts in records, and records whose length is not known beforehand.

namespace tally {
namespace {

constexpr std::size_t SHORT_MOST = 255;
constexpr std::size_t NARROW_MOST = 2048;  // bytes of a text of the 95 form

bool IsAscii(WideView text) {
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; });
}

bool IsHighSurrogate(char16_t c) { return (c & 0xFC00) == 0xD800; }

// Converts into save.narrow; false when it does not come back.
bool ConvertOnce(SaveState& save, WideView text) {
    save.narrow.Truncate(0);
    const u64 failures = FailedAllocations();
    const bool good = Platform().wideCharToMultiByte(save.codePage, text, save.narrow);
    if (!good && FailedAllocations() != failures) save.writer.failed = true;
    save.wide.Truncate(0);
    return good && Platform().multiByteToWideChar(save.codePage, save.narrow.Span(), save.wide) &&
           save.wide.View() == text;
}

// Converts what is not plain ASCII and notes whether it comes back.
void Convert(SaveState& save, WideView text) {
    if (ConvertOnce(save, text)) return;
    save.losses |= LOSS_CHARACTERS;
    WideText twin;
    if (!WidenTwins(save.codePage, text, twin)) save.writer.failed = true;
    else if (twin.View() != text) IgnoreFailure(ConvertOnce(save, twin));
}

}  // namespace

bool IsWide(WideView text) {
    return std::any_of(text.begin(), text.end(), [](char16_t c) { return c > 255; });
}

WideView CutText(SaveState& save, WideView text, std::size_t most) {
    if (text.size() <= most) return text;
    save.losses |= LOSS_TEXT;
    text = text.substr(0, most);
    return most && IsHighSurrogate(text.back()) ? text.substr(0, most - 1) : text;
}

ByteView NarrowText(SaveState& save, WideView text, std::size_t most) {
    text = CutText(save, text, most);
    if (IsAscii(text)) {
        if (!save.narrow.ResizeRaw(text.size())) {
            save.writer.failed = true;
            return {};
        }
        std::copy(text.begin(), text.end(), save.narrow.begin());
        return save.narrow.Span();
    }
    Convert(save, text);
    // Characters of two bytes and more: fewer of them fit.
    while (save.narrow.Count() > most && !text.empty()) {
        const std::size_t excess = (save.narrow.Count() - most + 3) / 4;
        text = CutText(save, text, text.size() - std::min(excess, text.size()));
        Convert(save, text);
    }
    return save.narrow.Span();
}

void WriteCharacters(BiffWriter& to, WideView text, bool wide) {
    const std::size_t before = to.stream.Count();
    const std::size_t bytes = text.size() * (wide ? 2 : 1);
    if (!to.failed && before + bytes > to.stream.Capacity()) {
        to.failed = !to.stream.Reserve((before + bytes) + (before + bytes) / 2);
    }
    if (to.failed || !to.stream.ResizeRaw(before + bytes)) {
        to.failed = true;
        return;
    }
    u8* out = to.stream.Data() + before;
    if (!wide) {
        for (std::size_t i = 0; i < text.size(); ++i) out[i] = static_cast<u8>(text[i]);
        return;
    }
    for (std::size_t i = 0; i < text.size(); ++i) PutU16(out + 2 * i, text[i]);
}

void WriteShortString(SaveState& save, BiffWriter& to, WideView text) {
    if (save.biffVersion != 8) {
        const ByteView bytes = NarrowText(save, text, SHORT_MOST);
        WriteU8(to, static_cast<u32>(bytes.size()));
        WriteBytes(to, bytes.data(), bytes.size());
        return;
    }
    text = CutText(save, text, SHORT_MOST);
    WriteU8(to, static_cast<u32>(text.size()));
    WriteU8(to, IsWide(text));
    WriteCharacters(to, text, IsWide(text));
}

void WriteLongString(SaveState& save, BiffWriter& to, WideView text) {
    if (save.biffVersion != 8) {
        const ByteView bytes = NarrowText(save, text, NARROW_MOST);
        WriteU16(to, static_cast<u32>(bytes.size()));
        WriteBytes(to, bytes.data(), bytes.size());
        return;
    }
    text = CutText(save, text, TEXT_MOST);
    WriteU16(to, static_cast<u32>(text.size()));
    WriteU8(to, IsWide(text));
    WriteCharacters(to, text, IsWide(text));
}

void WriteSplitString(SaveState& save, u16 id, WideView text) {
    const bool wide = IsWide(text);
    const std::size_t width = wide ? 2 : 1;
    BeginBody(save);
    if (save.biffVersion != 8 || 3 + text.size() * width <= RECORD_ROOM) {
        WriteLongString(save, save.body, text);
        IgnoreFailure(EndBody(save, id));
        return;
    }
    text = CutText(save, text, TEXT_MOST);
    WriteU16(save.body, static_cast<u32>(text.size()));
    for (;;) {
        WriteU8(save.body, wide);
        const WideView part = text.substr(0, (RECORD_ROOM - save.body.stream.Count()) / width);
        WriteCharacters(save.body, part, wide);
        if (save.body.failed) save.writer.failed = true;
        IgnoreFailure(EndBody(save, id));
        text = text.substr(part.size());
        if (text.empty() || save.writer.failed) return;
        id = RECORD_CONTINUE;
        BeginBody(save);
    }
}

void BeginBody(SaveState& save) {
    save.body.stream.Truncate(0);
    save.body.failed = save.writer.failed;
}

bool EndBody(SaveState& save, u16 id) {
    save.writer.failed = save.writer.failed || save.body.failed;
    const Array<u8>& bytes = save.body.stream;
    if (bytes.Count() > RoomOf(save)) return false;
    WriteRecordHeader(save.writer, id, bytes.Count());
    WriteBytes(save.writer, bytes.Data(), bytes.Count());
    return true;
}

}  // namespace tally
