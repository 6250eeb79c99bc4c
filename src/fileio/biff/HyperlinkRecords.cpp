#include "fileio/biff/HyperlinkRecords.h"

#include "fileio/biff/SheetRecords.h"

namespace tally {
namespace {

// The narrow path of a file moniker, with a "..\" for each level up.
bool ReadFileMoniker(LoadState& load, ByteView area, WideText& target, std::size_t& end) {
    const u32 levels = WordAt(area, 16);
    const std::size_t length = LongAt(area, 18);
    for (u32 i = 0; i < levels && i < 256; ++i) {
        if (!target.Append(u"..\\")) return false;
    }
    const std::size_t behind = 22 + length + 4 + FILE_FILLER;
    const std::size_t more = LongAt(area, behind);
    end = behind + 4 + more;
    // The path in 16-bit characters, where the file has it, keeps what the code page lacks.
    if (more > WIDE_PATH_HEAD) {
        if (!ReadWideCharacters(Part(area, behind + 4 + WIDE_PATH_HEAD, more - WIDE_PATH_HEAD), load.text))
            return false;
    } else if (ReadBiffString(Part(area, 22, length), 7, LoadedBook(load).codePage,
                              length < area.size() ? length : area.size(), load.text) == STRING_FAILED) {
        return false;
    }
    return target.Append(load.text.View());
}

// A text behind its count of characters; `at` goes on behind it.
bool ReadCounted(ByteView body, std::size_t& at, WideText& out) {
    const std::size_t bytes = std::size_t{LongAt(body, at)} * 2;
    const bool good = ReadWideCharacters(Part(body, at + 4, bytes), out);
    at += 4 + bytes;
    return good;
}

bool ReadLinkTarget(LoadState& load, ByteView area, u32 flags, WideText& target, std::size_t& end) {
    if (flags & LINK_IS_UNC) {
        const std::size_t bytes = std::size_t{LongAt(area, 0)} * 2;
        end = 4 + bytes;
        return ReadWideCharacters(Part(area, 4, bytes), target);
    }
    if (ByteAt(area, 0) == 3) return ReadFileMoniker(load, area, target, end);
    const std::size_t bytes = LongAt(area, 16);
    end = 20 + bytes;
    return ReadWideCharacters(Part(area, 20, bytes), target);
}

}  // namespace

bool ReadHyperlink(LoadState& load, ByteView body) {
    Hyperlink link;
    link.area = {WordAt(body, 0), WordAt(body, 2), ByteAt(body, 4), ByteAt(body, 6)};
    const u32 flags = LongAt(body, 28);
    std::size_t at = 32;
    if ((flags & LINK_HAS_DESCRIPTION) && !ReadCounted(body, at, link.description)) return false;
    if ((flags & LINK_HAS_FRAME) && !ReadCounted(body, at, link.frame)) return false;
    if (flags & LINK_HAS_TARGET) {
        std::size_t end = 0;
        if (!ReadLinkTarget(load, From(body, at), flags, link.target, end)) return false;
        at += end;
    }
    if ((flags & LINK_HAS_LOCATION) && !ReadCounted(body, at, link.location)) return false;
    return LoadedSheet(load).hyperlinks.Append(std::move(link));
}

}  // namespace tally
