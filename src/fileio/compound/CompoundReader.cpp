#include "fileio/compound/CompoundReader.h"

#include "base/Text.h"
#include "fileio/common/Bytes.h"
#include "fileio/compound/CompoundTypes.h"

namespace tally {
namespace {

struct CompoundFile {
    ByteView bytes;
    u32 sectors = 0;   // that can lie in the file, the last one perhaps cut
    Array<u32> difat;  // numbers of the FAT sectors behind the first 109
};

struct DirectoryEntry {
    u32 start = 0;
    u32 size = 0;
};

ByteView SectorAt(const CompoundFile& file, u32 sector) {
    return sector < file.sectors ? Part(file.bytes, (std::size_t{sector} + 1) * SECTOR, SECTOR) : ByteView();
}

u32 FatSectorNumber(const CompoundFile& file, u32 index) {
    if (index < HEADER_FAT_SECTORS) return LongAt(file.bytes, AT_FAT_LIST + std::size_t{index} * 4);
    index -= HEADER_FAT_SECTORS;
    return index < file.difat.Count() ? file.difat[index] : END_OF_CHAIN;
}

// The successor of a sector; anything that is no sector of the file ends the chain.
u32 NextFatEntry(const CompoundFile& file, u32 sector) {
    const ByteView fat = SectorAt(file, FatSectorNumber(file, sector / 128));
    return fat.empty() ? END_OF_CHAIN : LongAt(fat, std::size_t{sector % 128} * 4);
}

bool ReadDifat(CompoundFile& file) {
    u32 sector = LongAt(file.bytes, AT_FIRST_DIFAT);
    for (u32 steps = 0; steps < file.sectors / 128 + 1; ++steps) {
        const ByteView body = SectorAt(file, sector);
        if (body.empty()) break;
        for (std::size_t i = 0; i < DIFAT_ENTRIES; ++i) {
            if (!file.difat.Append(LongAt(body, i * 4))) return false;
        }
        sector = LongAt(body, DIFAT_ENTRIES * 4);
    }
    return true;
}

// Appends the sectors of a chain, as far as `limit` bytes go.
bool ReadChain(const CompoundFile& file, u32 sector, std::size_t limit, Array<u8>& out) {
    for (u32 steps = 0; steps < file.sectors && out.Count() < limit; ++steps) {
        const ByteView body = SectorAt(file, sector);
        if (body.empty()) break;
        const std::size_t wanted = limit - out.Count() < SECTOR ? limit - out.Count() : SECTOR;
        const std::size_t there = wanted < body.size() ? wanted : body.size();
        if (!out.AppendMany(body.data(), there)) return false;
        // A sector that the end of the file cuts off reads as zeros behind it.
        if (!out.Resize(out.Count() + wanted - there)) return false;
        sector = NextFatEntry(file, sector);
    }
    return true;
}

// Whether a stream's sectors follow each other and none is cut.
bool LiesInOnePiece(const CompoundFile& file, const DirectoryEntry& entry) {
    const std::size_t count = (std::size_t{entry.size} + SECTOR - 1) / SECTOR;
    if (entry.start >= file.sectors || count > file.sectors - entry.start) return false;
    if (entry.size > file.bytes.size() - (std::size_t{entry.start} + 1) * SECTOR) return false;
    const u32 last = entry.start + static_cast<u32>(count) - 1;
    for (u32 sector = entry.start; sector < last; ++sector) {
        if (NextFatEntry(file, sector) != sector + 1) return false;
    }
    return true;
}

// ---- the directory ------------------------------------------------------------------------------------

// In which storage an entry lies, as far as the trees tell.
enum EntryPlace : u8 { PLACE_UNKNOWN, PLACE_ROOT, PLACE_INSIDE };

struct Directory {
    Array<u8> bytes;  // entries of 128 bytes, the root's first
    Array<u8> places;
    u32 Count() const { return static_cast<u32>(bytes.Count() / ENTRY); }
    ByteView Entry(u32 index) const { return Part(bytes.Span(), std::size_t{index} * ENTRY, ENTRY); }
};

bool EntryIs(ByteView entry, WideView name) {
    if (WordAt(entry, 64) != (name.size() + 1) * 2 || WordAt(entry, name.size() * 2)) return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (FoldChar(static_cast<char16_t>(WordAt(entry, i * 2))) != FoldChar(name[i])) return false;
    }
    return true;
}

// Marks the entries of the tree whose top is `first`, those that have no mark yet.
bool MarkTree(Directory& directory, u32 first, EntryPlace place, Array<u32>& open) {
    open.Truncate(0);
    if (!open.Append(first)) return false;
    while (!open.IsEmpty()) {
        const u32 index = open.Last();
        open.RemoveLast();
        if (index >= directory.Count() || directory.places[index] != PLACE_UNKNOWN) continue;
        directory.places[index] = place;
        const ByteView entry = directory.Entry(index);
        if (!open.Append(LongAt(entry, 68)) || !open.Append(LongAt(entry, 72))) return false;
    }
    return true;
}

// Reads all entries and tells the root's own from those of storages inside it, such as an embedded book's.
bool ReadDirectory(const CompoundFile& file, Directory& directory) {
    const std::size_t whole = std::size_t{file.sectors} * SECTOR;
    if (!ReadChain(file, LongAt(file.bytes, AT_FIRST_DIRECTORY), whole, directory.bytes) ||
        !directory.places.Resize(directory.Count())) {
        return false;
    }
    if (!directory.Count()) return true;
    directory.places[0] = PLACE_INSIDE;
    Array<u32> open;
    if (!MarkTree(directory, LongAt(directory.Entry(0), 76), PLACE_ROOT, open)) return false;
    for (u32 i = 1; i < directory.Count(); ++i) {
        const ByteView entry = directory.Entry(i);
        if (ByteAt(entry, 66) == KIND_STORAGE && !MarkTree(directory, LongAt(entry, 76), PLACE_INSIDE, open))
            return false;
    }
    return true;
}

// A stream of the root. Where a damaged tree does not lead to it, an entry that no storage claims will do.
bool FindStream(const Directory& directory, WideView name, DirectoryEntry& found) {
    for (const EntryPlace place : {PLACE_ROOT, PLACE_UNKNOWN}) {
        for (u32 i = 0; i < directory.Count(); ++i) {
            const ByteView entry = directory.Entry(i);
            if (directory.places[i] != place || ByteAt(entry, 66) != KIND_STREAM || !EntryIs(entry, name))
                continue;
            found = {LongAt(entry, 116), LongAt(entry, 120)};
            return true;
        }
    }
    return false;
}

// A stream below the limit lies in 64-byte pieces of the root's stream.
bool ReadMiniStream(const CompoundFile& file, const DirectoryEntry& entry, const DirectoryEntry& root,
                    Array<u8>& out) {
    Array<u8> mini, fat;
    const std::size_t whole = std::size_t{file.sectors} * SECTOR;
    if (!ReadChain(file, root.start, whole, mini) ||
        !ReadChain(file, LongAt(file.bytes, AT_FIRST_MINI_FAT), whole, fat)) {
        return false;
    }
    u32 piece = entry.start;
    for (std::size_t steps = 0; steps < MINI_STREAM_LIMIT / MINI_SECTOR && out.Count() < entry.size; ++steps) {
        const ByteView body = Part(mini.Span(), std::size_t{piece} * MINI_SECTOR, MINI_SECTOR);
        if (body.empty()) break;
        const std::size_t wanted = entry.size - out.Count();
        if (!out.AppendMany(body.data(), wanted < body.size() ? wanted : body.size())) return false;
        if (std::size_t{piece} * 4 + 4 > fat.Count()) break;
        piece = LongAt(fat.Span(), std::size_t{piece} * 4);
    }
    return true;
}

}  // namespace

StreamResult ReadCompoundStream(ByteView bytes, WideView name, Array<u8>& pieces, ByteView& stream) {
    CompoundFile file;
    file.bytes = bytes;
    file.sectors = bytes.size() > SECTOR ? static_cast<u32>((bytes.size() - 1) / SECTOR) : 0;
    Directory directory;
    DirectoryEntry entry;
    if (!ReadDifat(file) || !ReadDirectory(file, directory)) return STREAM_NO_MEMORY;
    if (!FindStream(directory, name, entry)) return STREAM_MISSING;
    const DirectoryEntry root = {LongAt(directory.Entry(0), 116), LongAt(directory.Entry(0), 120)};
    if (entry.size >= MINI_STREAM_LIMIT && LiesInOnePiece(file, entry)) {
        stream = bytes.subspan((std::size_t{entry.start} + 1) * SECTOR, entry.size);
        return STREAM_READ;
    }
    pieces.Truncate(0);
    const std::size_t size = entry.size < bytes.size() ? entry.size : bytes.size();
    if (!pieces.Reserve(size + 1)) return STREAM_NO_MEMORY;
    const bool good = entry.size < MINI_STREAM_LIMIT ? ReadMiniStream(file, entry, root, pieces)
                                                     : ReadChain(file, entry.start, entry.size, pieces);
    stream = pieces.Span();
    return good ? STREAM_READ : STREAM_NO_MEMORY;
}

}  // namespace tally
