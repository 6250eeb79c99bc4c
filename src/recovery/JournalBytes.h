#pragma once
// Records as bytes. One routine for each record moves it either way, so that what is read is what was written.
// A reader believes nothing: what does not lie within the bytes, or cannot be, ends it.

#include <type_traits>

#include "model/ModelTypes.h"

namespace tally {

struct JournalBytes {
    bool reading = false;
    bool failed = false;  // memory, or bytes that cannot be; nothing moves any more
    ByteView in;
    std::size_t at = 0;
    Array<u8> out;
};

inline JournalBytes ReaderOf(ByteView bytes) {
    JournalBytes bytesOf;
    bytesOf.reading = true;
    bytesOf.in = bytes;
    return bytesOf;
}

// A reader that finds this untrue has failed.
void Demand(JournalBytes& bytes, bool truth);

// The low `size` bytes of a number, the lowest first.
void MoveWord(JournalBytes& bytes, u64& word, u32 size);

template <typename Number>
void Move(JournalBytes& bytes, Number& number) requires(std::is_integral_v<Number>) {
    u64 word = static_cast<u64>(number);
    MoveWord(bytes, word, sizeof(Number));
    if constexpr (std::is_same_v<Number, bool>) Demand(bytes, word < 2);
    if (bytes.reading && !bytes.failed) number = static_cast<Number>(word);
}
void Move(JournalBytes& bytes, double& number);
void Move(JournalBytes& bytes, RefArea& area);
void Move(JournalBytes& bytes, WideText& text);
void Move(JournalBytes& bytes, FormulaTokens& tokens);
// A value as a cell has it: empty, number, text with its tail, boolean or error.
void Move(JournalBytes& bytes, Value& value);
void MoveRaw(JournalBytes& bytes, void* raw, std::size_t size);

template <typename... Fields>
void MoveAll(JournalBytes& bytes, Fields&... fields) {
    (Move(bytes, fields), ...);
}
// A number that a reader takes only between both bounds.
template <typename Number>
void MoveBetween(JournalBytes& bytes, Number& number, i64 least, i64 most) {
    Move(bytes, number);
    Demand(bytes, static_cast<i64>(number) >= least && static_cast<i64>(number) <= most);
}

// The elements of a list, each by move(bytes, element). `leastBytes` that one has bounds what a reader makes.
template <typename T, typename MoveOne>
void MoveList(JournalBytes& bytes, Array<T>& list, u32 leastBytes, MoveOne moveOne) {
    u32 count = list.Count();
    Move(bytes, count);
    Demand(bytes, u64{count} * leastBytes <= bytes.in.size() - bytes.at);
    if (bytes.failed) return;
    if (bytes.reading && !list.Resize(count)) bytes.failed = true;
    for (u32 i = 0; i < count && !bytes.failed; ++i) moveOne(bytes, list[i]);
}

// CRC-32 as zip files have it.
u32 Checksum(ByteView bytes);

}  // namespace tally
