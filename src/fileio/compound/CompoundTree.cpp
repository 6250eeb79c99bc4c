#include "fileio/compound/CompoundTree.h"

#include <algorithm>

#include "base/Text.h"
#include "fileio/common/Bytes.h"
#include "fileio/compound/CompoundTypes.h"

// Reading the tree. The tables of sectors are put together once; every walk through them has a bound.

namespace tally {
namespace {

struct Container {
    ByteView file;
    u32 sectors = 0;
    Array<u8> fat, miniFat, mini, directory;
};

ByteView SectorAt(const Container& c, u32 sector) {
    return sector < c.sectors ? Part(c.file, (std::size_t{sector} + 1) * SECTOR, SECTOR) : ByteView();
}

bool AppendSector(const Container& c, u32 sector, Array<u8>& out) {
    const ByteView body = SectorAt(c, sector);
    return out.AppendMany(body.data(), body.size()) && out.Resize(out.Count() + SECTOR - body.size());
}

bool ReadFat(Container& c) {
    for (u32 i = 0; i < HEADER_FAT_SECTORS; ++i) {
        const u32 sector = LongAt(c.file, 76 + std::size_t{i} * 4);
        if (sector >= c.sectors) return true;
        if (!AppendSector(c, sector, c.fat)) return false;
    }
    u32 difat = LongAt(c.file, 68);
    for (u32 steps = 0; steps < c.sectors / DIFAT_ENTRIES + 1; ++steps) {
        const ByteView body = SectorAt(c, difat);
        for (u32 i = 0; i < DIFAT_ENTRIES; ++i) {
            const u32 sector = body.empty() ? NO_SECTOR : LongAt(body, std::size_t{i} * 4);
            if (sector >= c.sectors || c.fat.Count() > c.file.size()) return true;
            if (!AppendSector(c, sector, c.fat)) return false;
        }
        difat = LongAt(body, DIFAT_ENTRIES * 4);
    }
    return true;
}

// Appends the sectors of a chain, as far as `limit` bytes go.
bool ReadChain(const Container& c, u32 sector, std::size_t limit, Array<u8>& out) {
    for (u32 steps = 0; steps < c.sectors && out.Count() < limit && sector < c.sectors; ++steps) {
        if (!AppendSector(c, sector, out)) return false;
        sector = std::size_t{sector} * 4 + 4 <= c.fat.Count() ? LongAt(c.fat.Span(), std::size_t{sector} * 4)
                                                              : NO_SECTOR;
    }
    if (out.Count() > limit) out.Truncate(limit);
    return true;
}

bool ReadMiniChain(const Container& c, u32 piece, std::size_t limit, Array<u8>& out) {
    for (u32 steps = 0; steps < MINI_STREAM_LIMIT / MINI_SECTOR && out.Count() < limit; ++steps) {
        const ByteView body = Part(c.mini.Span(), std::size_t{piece} * MINI_SECTOR, MINI_SECTOR);
        if (body.empty()) break;
        if (!out.AppendMany(body.data(), std::min(limit - out.Count(), body.size()))) return false;
        if (std::size_t{piece} * 4 + 4 > c.miniFat.Count()) break;
        piece = LongAt(c.miniFat.Span(), std::size_t{piece} * 4);
    }
    return true;
}

bool OpenContainer(Container& c, ByteView file) {
    c.file = file;
    c.sectors = file.size() > SECTOR ? static_cast<u32>((file.size() - 1) / SECTOR) : 0;
    const std::size_t whole = std::size_t{c.sectors} * SECTOR;
    return ReadFat(c) && ReadChain(c, LongAt(file, 48), whole, c.directory) &&
           ReadChain(c, LongAt(file, 60), whole, c.miniFat) &&
           ReadChain(c, LongAt(c.directory.Span(), 116), whole, c.mini);
}

ByteView EntryAt(const Container& c, u32 index) {
    return Part(c.directory.Span(), std::size_t{index} * ENTRY, ENTRY);
}

bool NameIs(WideView name, WideView other) { return EqualIgnoringCase(name, other); }

bool ReadEntryName(ByteView entry, WideText& name) {
    const u32 bytes = std::min<u32>(WordAt(entry, 64), 64);
    for (u32 at = 0; at + 2 < bytes; at += 2)
        if (!name.Append(static_cast<char16_t>(WordAt(entry, at)))) return false;
    return true;
}

bool ReadEntry(ByteView entry, u32 parent, CarriedEntry& out) {
    out.kind = ByteAt(entry, 66);
    out.parent = parent;
    std::copy_n(entry.begin() + 80, 16, out.classId);
    out.state = LongAt(entry, 96);
    std::copy_n(entry.begin() + 100, 16, out.times);
    return ReadEntryName(entry, out.name);
}

// False when memory fails. `whole` tells whether the file has all bytes of the stream.
bool ReadStream(const Container& c, ByteView entry, std::size_t room, Array<u8>& out, bool& whole) {
    const u32 size = LongAt(entry, 120);
    whole = size <= room;
    if (!whole) return true;
    const u32 start = LongAt(entry, 116);
    if (!(size < MINI_STREAM_LIMIT ? ReadMiniChain(c, start, size, out) : ReadChain(c, start, size, out)))
        return false;
    whole = out.Count() == size;
    return true;
}

// An entry of the directory that is still to be visited.
struct Visit {
    u32 entry;
    u32 parent;  // in the list that is made
};

struct TreeWalk {
    Container container;
    Array<Visit> open;
    Array<bool> seen;
    std::size_t room = 0;  // bytes that the streams may still take
};

bool Push(TreeWalk& walk, u32 entry, u32 parent) {
    if (entry >= walk.seen.Count() || walk.seen[entry]) return true;
    walk.seen[entry] = true;
    return walk.open.Append({entry, parent});
}

bool IsOwnStream(u8 kind, u32 parent, WideView name) {
    return kind == KIND_STREAM && parent == 0 && (NameIs(name, u"Workbook") || NameIs(name, u"Book"));
}

bool VisitEntry(TreeWalk& walk, const Visit& visit, Array<CarriedEntry>& entries) {
    const ByteView entry = EntryAt(walk.container, visit.entry);
    if (!Push(walk, LongAt(entry, 72), visit.parent) || !Push(walk, LongAt(entry, 68), visit.parent))
        return false;
    CarriedEntry made;
    if (!ReadEntry(entry, visit.parent, made)) return false;
    const bool stream = made.kind == KIND_STREAM;
    if ((!stream && made.kind != KIND_STORAGE) || IsOwnStream(made.kind, visit.parent, made.name)) return true;
    if (stream) {
        bool whole = false;
        if (!ReadStream(walk.container, entry, walk.room, made.bytes, whole)) return false;
        if (!whole) return true;
        walk.room -= made.bytes.Count();
    }
    if (!entries.Append(std::move(made))) return false;
    return stream || Push(walk, LongAt(entry, 76), entries.Count() - 1);
}

// Whether there is no more than what is written for a book without any of it.
bool SaysNothing(const Array<CarriedEntry>& entries) {
    constexpr char16_t PROPERTIES = 5;
    if (std::any_of(entries[0].classId, entries[0].classId + 16, [](u8 byte) { return byte != 0; }))
        return false;
    return std::all_of(entries.begin() + 1, entries.end(), [](const CarriedEntry& entry) {
        return entry.bytes.IsEmpty() && !entry.name.IsEmpty() && entry.name[0] == PROPERTIES;
    });
}

}  // namespace

WideView BookStreamName(u8 biffVersion) { return biffVersion == 8 ? WideView(u"Workbook") : WideView(u"Book"); }

bool ReadCompoundTree(ByteView file, Array<CarriedEntry>& entries) {
    entries.Clear();
    TreeWalk walk;
    walk.room = file.size();
    if (!OpenContainer(walk.container, file)) return false;
    const ByteView root = EntryAt(walk.container, 0);
    if (root.size() < ENTRY) return true;
    CarriedEntry* made = entries.AppendDefault();
    if (!made || !ReadEntry(root, 0, *made)) return false;
    made->kind = KIND_ROOT;
    if (!walk.seen.Resize(walk.container.directory.Count() / ENTRY)) return false;
    if (!Push(walk, LongAt(root, 76), 0)) return false;
    while (!walk.open.IsEmpty()) {
        const Visit visit = walk.open.Last();
        walk.open.RemoveLast();
        if (!VisitEntry(walk, visit, entries)) return false;
    }
    if (SaysNothing(entries)) entries.Clear();
    return true;
}

}  // namespace tally
