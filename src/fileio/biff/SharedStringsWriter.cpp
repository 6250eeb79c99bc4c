#include <algorithm>
#include <cstring>

#include "fileio/biff/RichText.h"
#include "fileio/biff/SaveState.h"

// The shared string table: every text once, sorted, and the places of every so many strings for those who
// look one up without reading them all.

namespace tally {
namespace {

constexpr u32 BUCKETS = 1027;  // that one EXTSST record has room for
constexpr u32 SMALLEST_BUCKET = 8;
constexpr u32 FIRST_SLOTS = 64;

u32 HashBlock(const TextBlock* block) {
    const u64 mixed = reinterpret_cast<std::uintptr_t>(block) * 0x9E3779B97F4A7C15u;
    return static_cast<u32>(mixed >> 32);
}

// The slot of a block, or the free one where it belongs.
u32 SlotOf(const StringTable& table, const TextBlock* block) {
    const u32 mask = table.slots.Count() - 1;
    for (u32 slot = HashBlock(block) & mask;; slot = (slot + 1) & mask) {
        const u32 place = table.slots[slot];
        if (!place || table.blocks[place - 1] == block) return slot;
    }
}

// Enters the blocks anew into `count` slots, a power of two.
bool Rehash(StringTable& table, u32 count) {
    table.slots.Truncate(0);
    if (!table.slots.ResizeRaw(count)) return false;
    std::memset(table.slots.Data(), 0, std::size_t{count} * sizeof(u32));
    for (u32 i = 0; i < table.blocks.Count(); ++i) table.slots[SlotOf(table, table.blocks[i])] = i + 1;
    return true;
}

bool AddBlock(StringTable& table, TextBlock* block) {
    if (table.blocks.Count() * 2 >= table.slots.Count() &&
        !Rehash(table, std::max(FIRST_SLOTS, table.slots.Count() * 2)))
        return false;
    const u32 slot = SlotOf(table, block);
    if (table.slots[slot]) return true;
    if (!table.blocks.Append(block)) return false;
    table.slots[slot] = table.blocks.Count();
    return true;
}

bool CollectTexts(const CellStore& store, StringTable& table) {
    for (const CellRow& row : store.rows) {
        for (u32 i = 0; i < row.count; ++i) {
            const CellRecord& cell = row.cells[i];
            if (cell.formula || cell.value.type != VT_STRING) continue;
            ++table.references;
            if (!AddBlock(table, cell.value.text)) return false;
        }
    }
    return true;
}

// By their code units, then by what the files say of single characters.
bool TextBefore(const TextBlock* a, const TextBlock* b) {
    const int order = TextView(a).compare(TextView(b));
    if (order) return order < 0;
    const ByteView x = TextTail(a), y = TextTail(b);
    return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
}

// Gives equal texts one number.
bool NumberTexts(StringTable& table) {
    std::sort(table.blocks.begin(), table.blocks.end(), TextBefore);
    if (!table.indexes.ResizeRaw(table.blocks.Count())) return false;
    for (u32 i = 0; i < table.blocks.Count(); ++i) {
        if (!i || TextBefore(table.blocks[i - 1], table.blocks[i])) ++table.unique;
        table.indexes[i] = table.unique - 1;
    }
    return table.slots.IsEmpty() || Rehash(table, table.slots.Count());
}

// The record body in the making.
struct StringOutput {
    BiffWriter& to;
    u16 id = RECORD_SST;
    u32 used = 0;
    u8 body[RECORD_ROOM];
};

void FlushBody(StringOutput& out) {
    u8* record = BeginRecord(out.to, out.id, out.used);
    std::memcpy(record, out.body, out.used);
    out.id = RECORD_CONTINUE;
    out.used = 0;
}

// What follows the characters: each part of `unit` bytes stands in one record.
void PutTail(StringOutput& out, ByteView bytes, std::size_t unit) {
    for (; bytes.size() >= unit; bytes = bytes.subspan(unit)) {
        if (RECORD_ROOM - out.used < unit) FlushBody(out);
        std::memcpy(out.body + out.used, bytes.data(), unit);
        out.used += static_cast<u32>(unit);
    }
}

// The bytes in front of a text's characters.
u32 HeadBytes(ByteView tail) { return 3u + (RunsOf(tail) ? 2u : 0u) + (PhoneticBytes(tail).empty() ? 0u : 4u); }

void PutHead(StringOutput& out, WideView text, ByteView tail) {
    const ByteView phonetic = PhoneticBytes(tail);
    u8* head = out.body + out.used;
    PutU16(head, static_cast<u32>(text.size()));
    head[2] = static_cast<u8>((IsWide(text) ? TEXT_IS_WIDE : 0u) | (RunsOf(tail) ? HAS_RUNS : 0u) |
                              (phonetic.empty() ? 0u : HAS_PHONETIC));
    head += 3;
    if (RunsOf(tail)) {
        PutU16(head, RunsOf(tail));
        head += 2;
    }
    if (!phonetic.empty()) PutU32(head, static_cast<u32>(phonetic.size()));
    out.used += HeadBytes(tail);
}

void PutCharacters(StringOutput& out, WideView text) {
    const bool wide = IsWide(text);
    const u32 width = wide ? 2 : 1;
    for (;;) {
        const std::size_t room = (RECORD_ROOM - out.used) / width;
        const WideView part = text.substr(0, room);
        for (char16_t c : part) {
            out.body[out.used] = static_cast<u8>(c);
            if (wide) out.body[out.used + 1] = static_cast<u8>(c >> 8);
            out.used += width;
        }
        text = text.substr(part.size());
        if (text.empty()) return;
        FlushBody(out);
        out.body[out.used++] = wide;
    }
}

void PutString(StringOutput& out, WideView text, ByteView tail) {
    PutHead(out, text, tail);
    PutCharacters(out, text);
    PutTail(out, RunBytes(tail), RUN_BYTES);
    PutTail(out, PhoneticBytes(tail), 1);
}

}  // namespace

bool BuildStringTable(const Workbook& book, StringTable& table) {
    for (const Sheet* sheet : book.sheets) {
        if ((sheet->kind & SHEET_WITH_CELLS) && !CollectTexts(sheet->cells, table)) return false;
    }
    return NumberTexts(table);
}

u32 StringIndex(const StringTable& table, const TextBlock* text) {
    if (table.slots.IsEmpty()) return 0;
    const u32 place = table.slots[SlotOf(table, text)];
    return place ? table.indexes[place - 1] : 0;
}

void WriteStringTable(SaveState& save) {
    StringTable& table = save.strings;
    if (!BuildStringTable(SavedBook(save), table)) save.writer.failed = true;
    if (save.writer.failed) return;
    const u32 bucket = std::max((table.unique + BUCKETS - 1) / BUCKETS, SMALLEST_BUCKET);
    StringOutput out{save.writer, RECORD_SST, 8, {}};
    PutU32(out.body, table.references);
    PutU32(out.body + 4, table.unique);
    BeginBody(save);
    WriteU16(save.body, bucket);
    for (u32 i = 0; i < table.blocks.Count(); ++i) {
        if (i && table.indexes[i] == table.indexes[i - 1]) continue;
        WideView text = TextView(table.blocks[i]);
        if (text.size() > TEXT_MOST) {
            save.losses |= LOSS_TEXT;
            text = text.substr(0, TEXT_MOST);
        }
        const ByteView tail = TextTail(table.blocks[i]);
        if (RECORD_ROOM - out.used < HeadBytes(tail) + (IsWide(text) ? 2u : 1u)) FlushBody(out);
        if (table.indexes[i] % bucket == 0) {
            WriteU32(save.body, StreamOffset(save.writer) + 4 + out.used);
            WriteU16(save.body, out.used + 4);
            WriteU16(save.body, 0);
        }
        PutString(out, text, tail);
    }
    if (out.used) FlushBody(out);
    IgnoreFailure(EndBody(save, RECORD_EXTSST));
}

}  // namespace tally
