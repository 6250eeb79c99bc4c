#include "fileio/LoadState.h"

namespace tally {
namespace {

constexpr u16 CONTINUE = 60;

// A place in the bodies of an SST record and of the records behind it.
struct StringReader {
    BiffStream& stream;
    ByteView body;
    std::size_t at = 0;

    // Goes on with the next record, its first `skip` bytes passed over.
    bool NextBody(std::size_t skip) {
        BiffRecord record;
        if (!NextRecord(stream, record)) return false;
        body = record.body;
        at = skip;
        return true;
    }
};

struct StringHead {
    u32 characters = 0;
    bool wide = false;
    std::size_t tail = 0;  // bytes of runs and phonetic data behind the characters
};

StringHead ReadHead(StringReader& r) {
    StringHead head;
    head.characters = WordAt(r.body, r.at);
    const u8 option = ByteAt(r.body, r.at + 2);
    r.at += 3;
    head.wide = option & 1;
    if (option & 8) {
        head.tail += std::size_t{WordAt(r.body, r.at)} * 4;
        r.at += 2;
    }
    if (option & 4) {
        head.tail += LongAt(r.body, r.at);
        r.at += 4;
    }
    return head;
}

// Copies as many characters as the body holds; returns how many.
u32 CopyCharacters(StringReader& r, bool wide, u32 wanted, char16_t* out) {
    const std::size_t room = r.at < r.body.size() ? (r.body.size() - r.at) / (wide ? 2 : 1) : 0;
    const u32 count = room < wanted ? static_cast<u32>(room) : wanted;
    if (!count) return 0;
    const u8* from = r.body.data() + r.at;
    if (wide) {
        for (u32 i = 0; i < count; ++i) out[i] = static_cast<char16_t>(ReadU16(from + 2 * i));
    } else {
        for (u32 i = 0; i < count; ++i) out[i] = from[i];
    }
    r.at += std::size_t{count} * (wide ? 2 : 1);
    return count;
}

// Texts end at their first zero.
void CutAtZero(TextBlock& block) {
    u32 length = 0;
    while (length < block.length && block.characters[length]) ++length;
    block.length = length;
}

// One string; null when memory fails. `ended` is set when the stream gives no more.
TextBlock* ReadOne(StringReader& r, bool& ended) {
    const StringHead head = ReadHead(r);
    TextBlock* block = MakeTextRoom(head.characters);
    if (!block) return nullptr;
    bool wide = head.wide;
    u32 done = 0;
    while (done < head.characters) {
        done += CopyCharacters(r, wide, head.characters - done, block->characters + done);
        if (done == head.characters) break;
        // A fresh option byte stands ahead of the characters that go on in the next record.
        if (!r.NextBody(1)) {
            ended = true;
            block->characters[done] = 0;
            break;
        }
        wide = ByteAt(r.body, 0) & 1;
    }
    CutAtZero(*block);
    r.at += head.tail;
    return block;
}

}  // namespace

bool ReadSharedStrings(LoadState& load, const BiffRecord& record) {
    const u32 count = LongAt(record.body, 4);
    StringReader r{load.stream, record.body, 8};
    // A string takes three bytes at least, so the bytes that are left bound the count.
    const auto before = static_cast<std::size_t>(record.body.data() - load.stream.bytes.data());
    const std::size_t most = (load.stream.bytes.size() - before) / 3;
    if (static_cast<i32>(count) < 1) return true;
    if (!load.strings.Reserve(load.strings.Count() + (count < most ? count : most))) return false;
    bool ended = false;
    for (u32 i = 0; i < count && !ended; ++i) {
        if (r.at >= r.body.size()) {
            if (PeekRecordId(load.stream) != CONTINUE || !r.NextBody(r.at - r.body.size())) break;
            if (r.at >= r.body.size()) break;
        }
        TextBlock* block = ReadOne(r, ended);
        if (!block) return false;
        if (!load.strings.Append(block)) {
            ReleaseText(block);
            return false;
        }
    }
    return true;
}

}  // namespace tally
