#pragma once
// A stream of BIFF records in the making, and the compound file around it. The stream stays in memory
// until it is written, so that any place of it can be patched.

#include "base/Array.h"
#include "base/Platform.h"
#include "fileio/biff/RecordNumbers.h"

namespace tally {

// Bytes that a reader takes for the body of one record, in the 97 form and in those before it.
constexpr std::size_t RECORD_ROOM = 8224, RECORD_ROOM_95 = 2080;

struct BiffWriter {
    Array<u8> stream;
    bool failed = false;   // memory ran out; nothing is written then
    u8 sink[RECORD_ROOM];  // takes what a failed writer is given
};

void WriteBytes(BiffWriter& writer, const void* bytes, std::size_t count);
void WriteZeros(BiffWriter& writer, std::size_t count);
void WriteU8(BiffWriter& writer, u32 value);
void WriteU16(BiffWriter& writer, u32 value);
void WriteU32(BiffWriter& writer, u32 value);
void WriteF64(BiffWriter& writer, double value);
void WriteRecordHeader(BiffWriter& writer, u16 id, std::size_t length);
// The header of a record of at most RECORD_ROOM bytes, and room for its body, which the caller fills in
// before anything else is written. Never null.
u8* BeginRecord(BiffWriter& writer, u16 id, std::size_t length);
// A body of any length: what goes beyond `most` bytes stands in CONTINUE records of at most `most` bytes.
void WriteSplitRecord(BiffWriter& writer, u16 id, ByteView body, std::size_t first, std::size_t most);
void WriteRecordU16(BiffWriter& writer, u16 id, u32 value);
void WriteRecordU16Pair(BiffWriter& writer, u16 id, u32 a, u32 b);
void WriteEmptyRecord(BiffWriter& writer, u16 id);
void WriteEof(BiffWriter& writer);
// Bytes of the stream so far.
inline u32 StreamOffset(const BiffWriter& writer) { return writer.stream.Count(); }
// Offset in the file: the header sector lies in front of the stream.
inline u32 FileOffset(const BiffWriter& writer) { return writer.stream.Count() + 512; }
void PatchU32(BiffWriter& writer, u32 value, u32 streamOffset);

}  // namespace tally
