#include "recovery/JournalBytes.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "formula/TokenWalk.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u32 TEXT_MOST = 32767;     // characters of a cell
constexpr u32 TAIL_MOST = 1u << 20;  // bytes behind them
constexpr u32 LINE_MOST = 1u << 20;  // characters of any other text

constexpr std::array<u32, 256> checksumTable = [] {
    std::array<u32, 256> table{};
    for (u32 i = 0; i < 256; ++i) {
        u32 value = i;
        for (int bit = 0; bit < 8; ++bit) value = value & 1 ? value >> 1 ^ 0xEDB88320u : value >> 1;
        table[i] = value;
    }
    return table;
}();

// As they lie in memory: what is written is read on the same machine.
void MoveCharacters(JournalBytes& bytes, char16_t* characters, u32 count) {
    MoveRaw(bytes, characters, count * sizeof(char16_t));
}

void MoveTextBlock(JournalBytes& bytes, Value& value) {
    u32 length = bytes.reading ? 0 : value.text->length, tail = bytes.reading ? 0 : value.text->tail;
    MoveBetween(bytes, length, 0, TEXT_MOST);
    MoveBetween(bytes, tail, 0, TAIL_MOST);
    Demand(bytes, u64{length} * 2 + tail <= bytes.in.size() - bytes.at);
    if (bytes.failed) return;
    if (bytes.reading) {
        value.text = MakeTextRoom(length, tail);
        bytes.failed = !value.text;
        if (bytes.failed) return;
        value.type = VT_STRING;
    }
    MoveCharacters(bytes, value.text->characters, length);
    MoveRaw(bytes, TextTailBytes(value.text), tail);
}

}  // namespace

void Demand(JournalBytes& bytes, bool truth) {
    if (bytes.reading && !truth) bytes.failed = true;
}

void MoveWord(JournalBytes& bytes, u64& word, u32 size) {
    if (bytes.failed) return;
    u8 raw[8];
    if (bytes.reading) {
        Demand(bytes, size <= bytes.in.size() - bytes.at);
        word = 0;
        for (u32 i = 0; i < size && !bytes.failed; ++i) word |= u64{bytes.in[bytes.at++]} << (8 * i);
        return;
    }
    for (u32 i = 0; i < size; ++i) raw[i] = static_cast<u8>(word >> (8 * i));
    bytes.failed = !bytes.out.AppendMany(raw, size);
}

void MoveRaw(JournalBytes& bytes, void* raw, std::size_t size) {
    if (bytes.failed || !size) return;
    if (!bytes.reading) {
        bytes.failed = !bytes.out.AppendMany(static_cast<const u8*>(raw), size);
        return;
    }
    Demand(bytes, size <= bytes.in.size() - bytes.at);
    if (bytes.failed) return;
    std::memcpy(raw, bytes.in.data() + bytes.at, size);
    bytes.at += size;
}

void Move(JournalBytes& bytes, double& number) {
    u64 word = std::bit_cast<u64>(number);
    MoveWord(bytes, word, 8);
    if (bytes.reading && !bytes.failed) number = std::bit_cast<double>(word);
}

void Move(JournalBytes& bytes, RefArea& area) {
    MoveAll(bytes, area.firstRow, area.lastRow, area.firstColumn, area.lastColumn);
    Demand(bytes, area.firstRow <= area.lastRow && area.firstColumn <= area.lastColumn);
}

void Move(JournalBytes& bytes, WideText& text) {
    u32 length = text.Length();
    MoveBetween(bytes, length, 0, LINE_MOST);
    Demand(bytes, u64{length} * 2 <= bytes.in.size() - bytes.at);
    if (bytes.failed) return;
    if (bytes.reading) {
        text.Truncate(0);
        bytes.failed = !text.AppendRun(u' ', length);
    }
    if (length && !bytes.failed) MoveCharacters(bytes, text.Data(), length);
}

void Move(JournalBytes& bytes, FormulaTokens& tokens) {
    u16 length = tokens.length, extra = tokens.extraLength;
    bool there = HasFormula(tokens);
    MoveAll(bytes, there, length, extra);
    if (!there || bytes.failed) return;
    Demand(bytes, u64{length} + extra <= bytes.in.size() - bytes.at);
    if (bytes.failed) return;
    if (bytes.reading) bytes.failed = !MakeTokens(tokens, length, extra);
    if (bytes.failed) return;
    MoveRaw(bytes, tokens.bytes, TokenBytes(tokens));
    Demand(bytes, length > 0 && TokensAreWhole(tokens));
}

void Move(JournalBytes& bytes, Value& value) {
    u16 type = value.type;
    Move(bytes, type);
    switch (type) {
        case VT_EMPTY: return;
        case VT_STRING: return MoveTextBlock(bytes, value);
        case VT_NUMBER:
            Move(bytes, value.number);
            Demand(bytes, std::isfinite(value.number));
            break;
        case VT_BOOL: MoveBetween(bytes, value.boolean, 0, 1); break;
        case VT_ERROR: MoveBetween(bytes, value.error, 0, ERROR_COUNT - 1); break;
        default: bytes.failed = true;
    }
    if (bytes.reading && !bytes.failed) value.type = type;
}

u32 Checksum(ByteView bytes) {
    u32 value = ~0u;
    for (const u8 byte : bytes) value = checksumTable[(value ^ byte) & 255] ^ value >> 8;
    return ~value;
}

}  // namespace tally
