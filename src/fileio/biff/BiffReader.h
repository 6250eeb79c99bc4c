#pragma once
// A stream of BIFF records in memory. Nothing is read beyond its end: a short record reads as zeros.

#include "base/Array.h"
#include "base/WideText.h"
#include "fileio/biff/RecordNumbers.h"
#include "fileio/common/Bytes.h"

namespace tally {

struct BiffStream {
    ByteView bytes;
    std::size_t position = 0;
};

// A record's body, cut to what the stream holds.
struct BiffRecord {
    u16 id = 0;
    ByteView body;
};

// The next record; false at the end of the stream.
[[nodiscard]] bool NextRecord(BiffStream& stream, BiffRecord& record);
// The id of the next record without reading it; 0 at the end.
u16 PeekRecordId(const BiffStream& stream);

// The first byte of Workbook::userName: 0 and 1 are the option byte of its characters; this one stands for
// bytes of the book's code page.
constexpr u8 USER_NAME_NARROW = 2;

constexpr std::size_t STRING_FAILED = static_cast<std::size_t>(-1);

// A string of `length` characters at the start of `bytes`, overwriting `out`: with an option byte in
// version 8, else in the code page. Returns the bytes that it takes; STRING_FAILED when memory fails.
std::size_t ReadBiffString(ByteView bytes, u8 biffVersion, u16 codePage, std::size_t length, WideText& out);
// 16-bit characters, cut at the first zero.
[[nodiscard]] bool ReadWideCharacters(ByteView bytes, WideText& out);
// The number that an RK value stands for.
double DecodeRk(u32 rk);

}  // namespace tally
