#include <algorithm>

#include "fileio/biff/LoadState.h"
#include "fileio/biff/RichText.h"

namespace tally {
namespace {

// A place in the bodies of an SST record and of the CONTINUE records behind it.
struct StringReader {
    BiffStream& stream;
    ByteView body;
    std::size_t at = 0;
    bool ended = false;  // the stream gives no more

    // Goes on with the next record, its first `skip` bytes passed over.
    bool NextBody(std::size_t skip) {
        BiffRecord record;
        if (PeekRecordId(stream) != RECORD_CONTINUE || !NextRecord(stream, record)) {
            ended = true;
            return false;
        }
        body = record.body;
        at = skip;
        return true;
    }
    // Goes over to the record in which the next byte lies. What is no character may be cut anywhere, runs and
    // phonetic data over several records as well.
    bool AtByte() {
        while (at >= body.size()) {
            if (!NextBody(at - body.size())) return false;
        }
        return true;
    }
    u32 TakeBytes(u32 count) {
        u32 value = 0;
        for (u32 i = 0; i < count && AtByte(); ++i) value |= u32{body[at++]} << (8 * i);
        return value;
    }
};

struct StringHead {
    u32 characters = 0;
    bool wide = false;
    u32 runs = 0;      // formats of single characters, 4 bytes each
    u32 phonetic = 0;  // bytes behind them
    std::size_t Tail() const { return std::size_t{runs} * RUN_BYTES + phonetic; }
};

StringHead ReadHead(StringReader& r) {
    StringHead head;
    head.characters = r.TakeBytes(2);
    const u32 option = r.TakeBytes(1);
    head.wide = option & TEXT_IS_WIDE;
    if (option & HAS_RUNS) head.runs = r.TakeBytes(2);
    if (option & HAS_PHONETIC) head.phonetic = r.TakeBytes(4);
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
    if (length < block.length) ShortenText(block, length);
}

std::size_t BytesLeft(const StringReader& r) {
    const std::size_t before = std::min(r.stream.position, r.stream.bytes.size());
    return r.stream.bytes.size() - before + (r.at < r.body.size() ? r.body.size() - r.at : 0);
}

// The runs and phonetic data of a text, behind the count of its runs.
void ReadTail(StringReader& r, const StringHead& head, TextBlock& block) {
    u8* out = TextTailBytes(&block);
    PutU16(out, head.runs);
    out += RUN_COUNT_BYTES;
    for (std::size_t left = head.Tail(); left && r.AtByte();) {
        const std::size_t part = std::min(left, r.body.size() - r.at);
        std::copy_n(r.body.begin() + static_cast<std::ptrdiff_t>(r.at), part, out);
        out += part;
        r.at += part;
        left -= part;
    }
    // A tail that the file cuts off says nothing.
    if (r.ended) block.tail = 0;
}

// One string; null when memory fails.
TextBlock* ReadOne(StringReader& r) {
    const StringHead head = ReadHead(r);
    const bool hasTail = head.Tail() && head.Tail() <= BytesLeft(r);
    TextBlock* block = MakeTextRoom(head.characters, hasTail ? RUN_COUNT_BYTES + head.Tail() : 0);
    if (!block) return nullptr;
    bool wide = head.wide;
    u32 done = 0;
    while (done < head.characters) {
        done += CopyCharacters(r, wide, head.characters - done, block->characters + done);
        if (done == head.characters) break;
        // A fresh option byte stands ahead of the characters that go on in the next record.
        if (!r.NextBody(1)) {
            block->characters[done] = 0;
            break;
        }
        wide = ByteAt(r.body, 0) & TEXT_IS_WIDE;
    }
    if (!r.ended && hasTail) {
        ReadTail(r, head, *block);
    } else {
        block->tail = 0;
        r.at += head.Tail();
    }
    CutAtZero(*block);
    return block;
}

}  // namespace

bool ReadSharedStrings(LoadState& load, ByteView body) {
    const u32 count = LongAt(body, 4);
    StringReader r{load.stream, body, 8, false};
    // A string takes three bytes at least, so the bytes that are left bound the count.
    const auto before = static_cast<std::size_t>(body.data() - load.stream.bytes.data());
    const std::size_t most = (load.stream.bytes.size() - before) / 3;
    if (static_cast<i32>(count) < 1) return true;
    if (!load.strings.Reserve(load.strings.Count() + (count < most ? count : most))) return false;
    for (u32 i = 0; i < count && r.AtByte(); ++i) {
        TextBlock* block = ReadOne(r);
        if (!block) return false;
        if (!load.strings.Append(block)) {
            ReleaseText(block);
            return false;
        }
    }
    return true;
}

}  // namespace tally
