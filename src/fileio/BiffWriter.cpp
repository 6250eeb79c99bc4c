#include "fileio/BiffWriter.h"

#include <cstring>

#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr std::size_t SECTOR = 512;
constexpr std::size_t ENTRY = 128;
constexpr u32 FREE = 0xFFFFFFFF, END_OF_CHAIN = 0xFFFFFFFE, FAT_MARK = 0xFFFFFFFD, DIFAT_MARK = 0xFFFFFFFC;
constexpr u32 HEADER_FAT_SECTORS = 109;
constexpr u32 DIFAT_ENTRIES = 127;
constexpr std::size_t SMALLEST_STREAM = 4096;  // a shorter one would lie in a mini stream

// Sectors of each kind, in the order in which they stand.
struct FileLayout {
    u32 stream = 0;
    u32 fat = 1;
    u32 difat = 0;
    u32 Directory() const { return stream + fat; }
    u32 Total() const { return stream + fat + 1 + difat; }
};

FileLayout PlanSectors(std::size_t streamBytes) {
    FileLayout layout;
    layout.stream = static_cast<u32>((streamBytes + SECTOR - 1) / SECTOR);
    for (;;) {
        const u32 fat = (layout.Total() - 1) / 128 + 1;
        const u32 difat =
            fat > HEADER_FAT_SECTORS ? (fat - HEADER_FAT_SECTORS + DIFAT_ENTRIES - 1) / DIFAT_ENTRIES : 0;
        if (fat <= layout.fat && difat <= layout.difat) return layout;
        layout.fat = fat;
        layout.difat = difat;
    }
}

void PutHeader(u8* header, const FileLayout& layout) {
    static constexpr u8 start[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    std::memset(header, 0, SECTOR);
    std::memcpy(header, start, sizeof start);
    PutU16(header + 24, 0x3E);
    PutU16(header + 26, 3);
    PutU16(header + 28, 0xFFFE);
    PutU16(header + 30, 9);
    PutU16(header + 32, 6);
    PutU32(header + 44, layout.fat);
    PutU32(header + 48, layout.Directory());
    PutU32(header + 56, SMALLEST_STREAM);
    PutU32(header + 60, END_OF_CHAIN);
    PutU32(header + 68, layout.difat ? layout.Directory() + 1 : END_OF_CHAIN);
    PutU32(header + 72, layout.difat);
    for (u32 i = 0; i < HEADER_FAT_SECTORS; ++i)
        PutU32(header + 76 + 4 * i, i < layout.fat ? layout.stream + i : FREE);
}

void PutFat(u8* fat, const FileLayout& layout) {
    std::memset(fat, 0xFF, std::size_t{layout.fat} * SECTOR);
    u32 at = 0;
    const auto put = [&](u32 value) { PutU32(fat + std::size_t{at++} * 4, value); };
    for (u32 i = 1; i < layout.stream; ++i) put(i);
    put(END_OF_CHAIN);
    for (u32 i = 0; i < layout.fat; ++i) put(FAT_MARK);
    put(END_OF_CHAIN);
    for (u32 i = 0; i < layout.difat; ++i) put(DIFAT_MARK);
}

void PutDifat(u8* difat, const FileLayout& layout) {
    for (u32 s = 0; s < layout.difat; ++s) {
        u8* sector = difat + std::size_t{s} * SECTOR;
        for (u32 i = 0; i < DIFAT_ENTRIES; ++i) {
            const u32 index = HEADER_FAT_SECTORS + s * DIFAT_ENTRIES + i;
            PutU32(sector + 4 * i, index < layout.fat ? layout.stream + index : FREE);
        }
        PutU32(sector + 4 * DIFAT_ENTRIES, s + 1 < layout.difat ? layout.Directory() + 2 + s : END_OF_CHAIN);
    }
}

struct DirectoryEntry {
    WideView name;
    u8 type;
    u32 left, right, child, start, size, last;
};

void PutEntry(u8* entry, const DirectoryEntry& row) {
    std::memset(entry, 0, ENTRY);
    for (std::size_t i = 0; i < row.name.size(); ++i) PutU16(entry + 2 * i, row.name[i]);
    PutU16(entry + 64, static_cast<u32>(row.name.size() + 1) * 2);
    entry[66] = row.type;
    entry[67] = 1;
    PutU32(entry + 68, row.left);
    PutU32(entry + 72, row.right);
    PutU32(entry + 76, row.child);
    PutU32(entry + 116, row.start);
    PutU32(entry + 120, row.size);
    PutU32(entry + 124, row.last);
}

// The stream's entry, and two empty ones that other programs look for.
void PutDirectory(u8* sector, u8 biffVersion, u32 streamSize) {
    const DirectoryEntry rows[] = {
        {u"Root Entry", 5, FREE, FREE, 2, END_OF_CHAIN, 0, FREE},
        {biffVersion == 8 ? WideView(u"Workbook") : WideView(u"Book"), 2, FREE, FREE, FREE, 0, streamSize, 0},
        {u"\u0005SummaryInformation", 2, 1, 3, FREE, END_OF_CHAIN, 0, 0},
        {u"\u0005DocumentSummaryInformation", 2, FREE, FREE, FREE, END_OF_CHAIN, 0, 0},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) PutEntry(sector + i * ENTRY, rows[i]);
}

}  // namespace

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
void WriteEof(BiffWriter& writer) { WriteEmptyRecord(writer, 10); }

void PatchU32(BiffWriter& writer, u32 value, u32 streamOffset) {
    if (streamOffset + 4 <= writer.stream.Count()) PutU32(writer.stream.Data() + streamOffset, value);
}

namespace {

// What stands in front of the stream and behind it. The stream itself is written as it lies.
struct Surroundings {
    FileLayout layout;
    u8 header[SECTOR];
    std::size_t padding = 0;  // zero bytes behind the stream
    Array<u8> tail;           // padding, FAT, directory, DIFAT
};

bool BuildSurroundings(std::size_t streamBytes, u8 biffVersion, Surroundings& out) {
    const std::size_t size = streamBytes < SMALLEST_STREAM ? SMALLEST_STREAM : streamBytes;
    if (size > 0x7FFFFFFF) return false;
    const FileLayout layout = out.layout = PlanSectors(size);
    out.padding = std::size_t{layout.stream} * SECTOR - streamBytes;
    if (!out.tail.Resize(out.padding + std::size_t{layout.Total() - layout.stream} * SECTOR)) return false;
    PutHeader(out.header, layout);
    u8* sectors = out.tail.Data() + out.padding;
    PutFat(sectors, layout);
    PutDirectory(sectors + std::size_t{layout.fat} * SECTOR, biffVersion, static_cast<u32>(size));
    PutDifat(sectors + (std::size_t{layout.fat} + 1) * SECTOR, layout);
    return true;
}

}  // namespace

bool BuildCompoundFile(ByteView stream, u8 biffVersion, Array<u8>& out) {
    Surroundings around;
    out.Truncate(0);
    return BuildSurroundings(stream.size(), biffVersion, around) &&
           out.Reserve(SECTOR + stream.size() + around.tail.Count()) && out.AppendMany(around.header, SECTOR) &&
           out.AppendMany(stream.data(), stream.size()) &&
           out.AppendMany(around.tail.Data(), around.tail.Count());
}

bool WriteCompoundFile(const BiffWriter& writer, u8 biffVersion, OutputHandle file) {
    Surroundings around;
    const auto write = Platform().writeFile;
    return !writer.failed && BuildSurroundings(writer.stream.Count(), biffVersion, around) &&
           write(file, around.header, SECTOR) && write(file, writer.stream.Data(), writer.stream.Count()) &&
           write(file, around.tail.Data(), around.tail.Count());
}

}  // namespace tally
