#include "fileio/biff/BiffWriter.h"

#include <cstring>

#include "formula/TokenWalk.h"

namespace tally {

void WriteBytes(BiffWriter& writer, const void* bytes, std::size_t count) {
    if (!writer.failed) writer.failed = !writer.stream.AppendMany(static_cast<const u8*>(bytes), count);
}

void WriteZeros(BiffWriter& writer, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) WriteU8(writer, 0);
}

void WriteU8(BiffWriter& writer, u32 value) {
    if (!writer.failed) writer.failed = !writer.stream.Append(static_cast<u8>(value));
}

void WriteU16(BiffWriter& writer, u32 value) {
    u8 bytes[2];
    PutU16(bytes, value & 0xFFFF);
    WriteBytes(writer, bytes, sizeof bytes);
}

void WriteU32(BiffWriter& writer, u32 value) {
    u8 bytes[4];
    PutU32(bytes, value);
    WriteBytes(writer, bytes, sizeof bytes);
}

void WriteF64(BiffWriter& writer, double value) {
    u8 bytes[8];
    PutF64(bytes, value);
    WriteBytes(writer, bytes, sizeof bytes);
}

void WriteRecordHeader(BiffWriter& writer, u16 id, std::size_t length) {
    WriteU16(writer, id);
    WriteU16(writer, static_cast<u32>(length));
}

u8* BeginRecord(BiffWriter& writer, u16 id, std::size_t length) {
    const std::size_t before = writer.stream.Count();
    const std::size_t wanted = before + 4 + length;
    // Growth in steps, so that a stream of many records is not copied for each of them.
    if (!writer.failed && wanted > writer.stream.Capacity())
        writer.failed = !writer.stream.Reserve(wanted + wanted / 2 + RECORD_ROOM);
    if (writer.failed || !writer.stream.ResizeRaw(wanted)) {
        writer.failed = true;
        return writer.sink;
    }
    u8* header = writer.stream.Data() + before;
    PutU16(header, id);
    PutU16(header + 2, static_cast<u32>(length));
    return header + 4;
}

void WriteSplitRecord(BiffWriter& writer, u16 id, ByteView body, std::size_t first, std::size_t most) {
    for (std::size_t room = first;; room = most) {
        const ByteView part = body.first(body.size() < room ? body.size() : room);
        WriteRecordHeader(writer, id, part.size());
        WriteBytes(writer, part.data(), part.size());
        body = body.subspan(part.size());
        if (body.empty()) return;
        id = RECORD_CONTINUE;
    }
}

void WriteRecordU16(BiffWriter& writer, u16 id, u32 value) {
    WriteRecordHeader(writer, id, 2);
    WriteU16(writer, value);
}

void WriteRecordU16Pair(BiffWriter& writer, u16 id, u32 a, u32 b) {
    WriteRecordHeader(writer, id, 4);
    WriteU16(writer, a);
    WriteU16(writer, b);
}

void WriteEmptyRecord(BiffWriter& writer, u16 id) { WriteRecordHeader(writer, id, 0); }
void WriteEof(BiffWriter& writer) { WriteEmptyRecord(writer, RECORD_EOF); }

void PatchU32(BiffWriter& writer, u32 value, u32 streamOffset) {
    if (streamOffset + 4 <= writer.stream.Count()) PutU32(writer.stream.Data() + streamOffset, value);
}

}  // namespace tally
