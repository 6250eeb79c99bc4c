#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "fileio/biff/BiffReader.h"
#include "fileio/biff/BiffWriter.h"
#include "fileio/compound/CompoundReader.h"
#include "fileio/compound/CompoundTree.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

std::vector<u8> Pattern(std::size_t size) {
    std::vector<u8> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<u8>(i * 7 + i / 512);
    return bytes;
}

// The stream of a file, copied.
StreamResult Read(ByteView file, WideView name, std::vector<u8>& out) {
    Array<u8> pieces;
    ByteView stream;
    const StreamResult result = ReadCompoundStream(file, name, pieces, stream);
    out.assign(stream.begin(), stream.end());
    return result;
}

Array<u8> Built(const std::vector<u8>& stream, u8 version = 8) {
    Array<u8> file;
    EXPECT_TRUE(BuildCompoundFile(stream, version, file));
    return file;
}

TEST(Compound, StreamsOfEveryLengthComeBack) {
    for (std::size_t size :
         {0u, 1u, 4095u, 4096u, 4097u, 60000u, 65024u, 65025u, 65536u, 7087104u, 7087105u, 16000000u}) {
        const std::vector<u8> stream = Pattern(size);
        const Array<u8> file = Built(stream);
        EXPECT_EQ(file.Count() % 512, 0u);
        std::vector<u8> back;
        ASSERT_EQ(Read(file.Span(), u"Workbook", back), STREAM_READ) << size;
        ASSERT_EQ(back.size(), std::max<std::size_t>(size, 4096));
        EXPECT_TRUE(std::equal(stream.begin(), stream.end(), back.begin())) << size;
    }
}

TEST(Compound, ASmallBookHasAStreamOfExactly4096Bytes) {
    const Array<u8> file = Built({1, 2, 3});
    ASSERT_EQ(file.Count(), 512u + 4096 + 512 + 512);
    EXPECT_EQ(LongAt(file.Span(), 44), 1u);
    EXPECT_EQ(LongAt(file.Span(), 48), 9u);
    EXPECT_EQ(LongAt(file.Span(), 76), 8u);
    const ByteView directory = From(file.Span(), 512 * 10);
    EXPECT_EQ(LongAt(directory, 128 + 120), 4096u);
    EXPECT_EQ(WordAt(directory, 128 + 64), 18u);
    EXPECT_EQ(WordAt(directory, 256 + 64), 40u);
    EXPECT_EQ(WordAt(directory, 384 + 64), 56u);
}

TEST(Compound, TheNameIsThatOfTheVersionInAnyCase) {
    const Array<u8> file = Built({1}, 7);
    std::vector<u8> back;
    EXPECT_EQ(Read(file.Span(), u"Book", back), STREAM_READ);
    EXPECT_EQ(Read(file.Span(), u"BOOK", back), STREAM_READ);
    EXPECT_EQ(Read(file.Span(), u"Workbook", back), STREAM_MISSING);
    EXPECT_EQ(Read(file.Span(), u"Boo", back), STREAM_MISSING);
    EXPECT_EQ(Read(file.Span(), u"Bool", back), STREAM_MISSING);
}

constexpr u32 NONE = 0xFFFFFFFF;

struct Entry {
    WideView name;
    u8 type;  // 1 storage, 2 stream, 5 root
    u32 left, right, child;
};

// A file of one FAT sector whose entries that are streams have 4,096 bytes of the entry's own number.
std::vector<u8> FileWithDirectory(const std::vector<Entry>& entries) {
    const u32 directorySectors = static_cast<u32>((entries.size() + 3) / 4);
    std::vector<u8> file((2 + directorySectors + entries.size() * 8) * 512, 0);
    const Array<u8> header = Built({1});
    std::copy(header.begin(), header.begin() + 512, file.begin());
    PutU32(file.data() + 44, 1);
    PutU32(file.data() + 48, 1);
    PutU32(file.data() + 76, 0);
    u8* fat = file.data() + 512;
    std::fill(fat, fat + 512, u8{0xFF});
    for (u32 i = 0; i < directorySectors; ++i)
        PutU32(fat + 4 * (1 + i), i + 1 < directorySectors ? i + 2 : 0xFFFFFFFE);
    for (u32 i = 0; i < entries.size(); ++i) {
        u8* out = file.data() + 1024 + i * 128;
        for (u32 k = 0; k < entries[i].name.size(); ++k) PutU16(out + 2 * k, entries[i].name[k]);
        PutU16(out + 64, static_cast<u32>(entries[i].name.size() + 1) * 2);
        out[66] = entries[i].type;
        PutU32(out + 68, entries[i].left);
        PutU32(out + 72, entries[i].right);
        PutU32(out + 76, entries[i].child);
        const u32 start = 1 + directorySectors + i * 8;
        PutU32(out + 116, entries[i].type == 2 ? start : 0xFFFFFFFE);
        PutU32(out + 120, entries[i].type == 2 ? 4096 : 0);
        for (u32 k = 0; k < 8; ++k) PutU32(fat + 4 * (start + k), k < 7 ? start + k + 1 : 0xFFFFFFFE);
        std::fill_n(file.begin() + (start + 1) * 512, 4096, static_cast<u8>(i));
    }
    return file;
}

// The number of the entry that a name leads to; -1 where it leads to none.
int EntryRead(const std::vector<Entry>& entries, WideView name) {
    std::vector<u8> back;
    return Read(FileWithDirectory(entries), name, back) == STREAM_READ && back.size() == 4096 ? back[0] : -1;
}

TEST(Compound, AStreamOfAnEmbeddedBookIsNotTakenForTheFilesOwn) {
    // The embedded one stands first in the directory.
    const std::vector<Entry> both = {{u"Root Entry", 5, NONE, NONE, 1},
                                     {u"MBD0001", 1, NONE, 3, 2},
                                     {u"Workbook", 2, NONE, NONE, NONE},
                                     {u"Workbook", 2, NONE, NONE, NONE}};
    EXPECT_EQ(EntryRead(both, u"Workbook"), 3);
    // A book only inside is none of the file's.
    const std::vector<Entry> inside = {{u"Root Entry", 5, NONE, NONE, 1},
                                       {u"MBD0001", 1, NONE, NONE, 2},
                                       {u"Data", 1, NONE, NONE, 3},
                                       {u"Workbook", 2, NONE, NONE, NONE}};
    EXPECT_EQ(EntryRead(inside, u"Workbook"), -1);
}

TEST(Compound, TheRootsTreeIsWalkedToBothSidesWhateverItsOrder) {
    const std::vector<Entry> entries = {
        {u"Root Entry", 5, NONE, NONE, 3}, {u"Alpha", 2, NONE, NONE, NONE}, {u"WORKBOOK", 2, NONE, NONE, NONE},
        {u"Middle", 2, 4, 1, NONE},        {u"Beta", 2, NONE, 2, NONE},
    };
    EXPECT_EQ(EntryRead(entries, u"Workbook"), 2);
    EXPECT_EQ(EntryRead(entries, u"alpha"), 1);
    EXPECT_EQ(EntryRead(entries, u"Middle"), 3);
}

TEST(Compound, AStreamThatNoTreeLeadsToIsFoundWhereNoStorageClaimsIt) {
    std::vector<Entry> entries = {{u"Root Entry", 5, NONE, NONE, 77},
                                  {u"MBD0001", 1, NONE, NONE, 2},
                                  {u"Workbook", 2, NONE, NONE, NONE},
                                  {u"Workbook", 2, NONE, NONE, NONE}};
    EXPECT_EQ(EntryRead(entries, u"Workbook"), 3);
    // A tree that bites its tail, and a storage that has the name.
    entries[0].child = 3;
    entries[3].left = 3;
    entries[3].right = 0;
    EXPECT_EQ(EntryRead(entries, u"Workbook"), 3);
    entries[3].type = 1;
    EXPECT_EQ(EntryRead(entries, u"Workbook"), -1);
}

// A stream below 4,096 bytes lies in 64-byte pieces of the root's stream.
TEST(Compound, AStreamOf4095BytesIsReadThroughTheMiniStream) {
    const std::vector<u8> stream = Pattern(4095);
    Array<u8> file = Built(std::vector<u8>(4096, 0));
    // Sectors 0 to 7 hold the mini stream; a mini FAT goes behind the directory.
    u8* bytes = file.Data();
    std::copy(stream.begin(), stream.end(), bytes + 512);
    u8* directory = bytes + 512 * 10;
    PutU32(directory + 116, 0);
    PutU32(directory + 120, 4096);
    PutU32(directory + 128 + 116, 0);
    PutU32(directory + 128 + 120, 4095);
    const u32 miniFat = file.Count() / 512 - 1;
    ASSERT_TRUE(file.Resize(file.Count() + 512));
    PutU32(file.Data() + 60, miniFat);
    for (u32 i = 0; i < 128; ++i) {
        PutU32(file.Data() + (miniFat + 1) * 512 + i * 4, i < 63 ? i + 1 : 0xFFFFFFFE);
    }
    std::vector<u8> back;
    ASSERT_EQ(Read(file.Span(), u"Workbook", back), STREAM_READ);
    ASSERT_EQ(back.size(), 4095u);
    EXPECT_TRUE(std::equal(stream.begin(), stream.end(), back.begin()));
}

TEST(Compound, AStreamInOnePieceIsReadWhereItLies) {
    Array<u8> file = Built(Pattern(60000));
    Array<u8> pieces;
    ByteView stream;
    ASSERT_EQ(ReadCompoundStream(file.Span(), u"Workbook", pieces, stream), STREAM_READ);
    EXPECT_EQ(stream.data(), file.Data() + 512);
    EXPECT_TRUE(pieces.IsEmpty());
    // The first two sectors change places: the same bytes out of two pieces.
    const u32 fat = (LongAt(file.Span(), 76) + 1) * 512;
    std::swap_ranges(file.Data() + 512, file.Data() + 1024, file.Data() + 1024);
    PutU32(file.Data() + fat + 4, 0);
    PutU32(file.Data() + fat, 2);
    PutU32(file.Data() + LongAt(file.Span(), 48) * 512 + 512 + 128 + 116, 1);
    ASSERT_EQ(ReadCompoundStream(file.Span(), u"Workbook", pieces, stream), STREAM_READ);
    const std::vector<u8> expected = Pattern(60000);
    ASSERT_EQ(stream.size(), expected.size());
    EXPECT_NE(stream.data(), file.Data() + 512);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), stream.begin()));
    // A sector that the end of the file cuts reads as zeros behind it.
    const Array<u8> whole = Built(Pattern(5000));
    ASSERT_EQ(ReadCompoundStream(whole.Span().first(512 + 4900), u"Workbook", pieces, stream), STREAM_MISSING);
}

TEST(Compound, DamagedChainsEnd) {
    const Array<u8> whole = Built(Pattern(60000));
    std::vector<u8> back;
    for (std::size_t at = 0; at + 4 <= whole.Count(); at += at < 512 || at > 60000 ? 4 : 512) {
        for (u32 value : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFEu}) {
            Array<u8> file;
            ASSERT_TRUE(file.AppendMany(whole.Data(), whole.Count()));
            PutU32(file.Data() + at, value);
            Read(file.Span(), u"Workbook", back);
        }
    }
    for (u32 length : {0u, 1u, 2u, 511u, 512u, 513u, 1024u, 30000u}) {
        Read(whole.Span().first(length), u"Workbook", back);
    }
}

TEST(BiffRecords, ShortRecordsReadAsZeros) {
    const u8 bytes[] = {6, 0, 10, 0, 1, 2, 3};
    BiffStream stream{bytes, 0};
    BiffRecord record;
    ASSERT_TRUE(NextRecord(stream, record));
    EXPECT_EQ(record.body.size(), 3u);
    EXPECT_EQ(WordAt(record.body, 2), 3u);
    EXPECT_EQ(LongAt(record.body, 1), 0x0302u);
    EXPECT_EQ(LongAt(record.body, 100), 0u);
    EXPECT_EQ(DoubleAt(record.body, 100), 0.0);
    EXPECT_FALSE(NextRecord(stream, record));
}

TEST(BiffRecords, RkValues) {
    EXPECT_EQ(DecodeRk(0x3FF00000), 1.0);
    EXPECT_EQ(DecodeRk(0x3FF00001), 0.01);
    EXPECT_EQ(DecodeRk((12345678u << 2) | 2), 12345678.0);
    EXPECT_EQ(DecodeRk((12345678u << 2) | 3), 123456.78);
    EXPECT_EQ(DecodeRk(static_cast<u32>(-4 * 5) | 2), -5.0);
}

TEST(BiffRecords, TheWriterFramesAndPatches) {
    BiffWriter writer;
    WriteRecordU16Pair(writer, 0x20, 1, 2);
    WriteU32(writer, 0);
    PatchU32(writer, 0x01020304, 8);
    WriteEof(writer);
    const u8 expected[] = {0x20, 0, 4, 0, 1, 0, 2, 0, 4, 3, 2, 1, 10, 0, 0, 0};
    ASSERT_EQ(writer.stream.Count(), sizeof expected);
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), writer.stream.begin()));
    EXPECT_EQ(FileOffset(writer) - StreamOffset(writer), 512u);
}

}  // namespace
}  // namespace tally
