#include <algorithm>
#include <cstring>

#include "base/Array.h"
#include "base/Text.h"
#include "fileio/compound/CompoundTree.h"
#include "fileio/compound/CompoundTypes.h"
#include "formula/TokenWalk.h"

// A compound file: what stands in front of the workbook's stream and what stands behind it. Entries and streams
// have an order of their own, so that the same tree gives the same bytes.

namespace tally {
namespace {

constexpr u8 RED = 0, BLACK = 1;
constexpr std::size_t LARGEST_FILE = 0x7FFFFFFF;

// A directory entry in the making. The entries below one parent follow each other.
struct Node {
    WideView name;
    u8 kind = KIND_STREAM;
    const CarriedEntry* source = nullptr;
    u32 entry = 0;  // in the carried list
    u32 left = NO_SECTOR, right = NO_SECTOR, child = NO_SECTOR;
    u8 colour = BLACK;
    u32 start = END_OF_CHAIN;
    std::size_t size = 0;
};

// An entry that is to be placed under its parent.
struct Item {
    WideView name;
    u32 parent;
    const CarriedEntry* source;  // null for the workbook's stream, and for the empty ones
    u32 entry;
    u8 kind;
};

// The published order of names: shorter ones first, then by upper case.
bool NameBefore(WideView a, WideView b) {
    if (a.size() != b.size()) return a.size() < b.size();
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto upper = [](char16_t c) {
            return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
        };
        if (upper(a[i]) != upper(b[i])) return upper(a[i]) < upper(b[i]);
    }
    return false;
}

bool ItemBefore(const Item& a, const Item& b) {
    return a.parent != b.parent ? a.parent < b.parent : NameBefore(a.name, b.name);
}

bool IsDropped(const CompoundContents& contents, std::size_t entry) {
    return entry < contents.dropped.size() && contents.dropped[entry];
}

// Whether all that is left is what a book without any of it is written with, too.
bool SaysNothing(const CompoundContents& contents) {
    constexpr char16_t PROPERTIES = 5;
    const std::span<const CarriedEntry> entries = contents.entries;
    if (entries.empty()) return true;
    const auto isZero = [](u8 byte) { return byte == 0; };
    if (!IsDropped(contents, 0) && !std::all_of(entries[0].classId, entries[0].classId + 16, isZero))
        return false;
    for (std::size_t i = 1; i < entries.size(); ++i) {
        const CarriedEntry& entry = entries[i];
        const bool empty = entry.bytes.IsEmpty() && !entry.name.IsEmpty() && entry.name[0] == PROPERTIES;
        if (!entry.parent && !empty && !IsDropped(contents, i)) return false;
    }
    return true;
}

bool CollectItems(const CompoundContents& contents, u8 biffVersion, Array<Item>& items) {
    const std::span<const CarriedEntry> entries = contents.entries;
    if (!items.Append({BookStreamName(biffVersion), 0, nullptr, 0, KIND_STREAM})) return false;
    if (entries.empty()) {
        return items.Append({u"\u0005SummaryInformation", 0, nullptr, 0, KIND_STREAM}) &&
               items.Append({u"\u0005DocumentSummaryInformation", 0, nullptr, 0, KIND_STREAM});
    }
    for (u32 i = 1; i < entries.size(); ++i) {
        const CarriedEntry& entry = entries[i];
        if (IsDropped(contents, i)) continue;
        if (!items.Append({entry.name.View(), entry.parent, &entry, i, entry.kind})) return false;
    }
    std::stable_sort(items.begin(), items.end(), ItemBefore);
    return true;
}

// The balanced tree of nodes `first` to `end`; returns its root. All paths have the same count of black nodes,
// since only the lowest level of a tree that is not full is red.
u32 LinkNodes(Array<Node>& nodes, u32 first, u32 end, u32 depth, u32 redDepth) {
    if (first == end) return NO_SECTOR;
    const u32 middle = first + (end - first) / 2;
    nodes[middle].colour = depth == redDepth ? RED : BLACK;
    nodes[middle].left = LinkNodes(nodes, first, middle, depth + 1, redDepth);
    nodes[middle].right = LinkNodes(nodes, middle + 1, end, depth + 1, redDepth);
    return middle;
}

u32 LowestDepth(u32 count) {
    u32 depth = 0;
    while (count >> (depth + 1)) ++depth;
    const bool full = ((count + 1) & count) == 0;
    return full ? NO_SECTOR : depth;
}

bool AddChildren(const Array<Item>& items, u32 parentNode, Array<Node>& nodes) {
    const u32 parent = nodes[parentNode].entry;
    const Item* at = std::lower_bound(items.begin(), items.end(), parent,
                                      [](const Item& item, u32 wanted) { return item.parent < wanted; });
    const u32 first = nodes.Count();
    for (; at != items.end() && at->parent == parent; ++at) {
        Node* node = nodes.AppendDefault();
        if (!node) return false;
        node->name = at->name;
        node->kind = at->kind;
        node->source = at->source;
        node->entry = at->entry;
        if (at->source) node->size = at->source->bytes.Count();
    }
    nodes[parentNode].child = LinkNodes(nodes, first, nodes.Count(), 0, LowestDepth(nodes.Count() - first));
    return true;
}

bool BuildNodes(const CompoundContents& contents, u8 biffVersion, Array<Node>& nodes) {
    Array<Item> items;
    Node* root = nodes.AppendDefault();
    if (!root || !CollectItems(contents, biffVersion, items)) return false;
    root->name = u"Root Entry";
    root->kind = KIND_ROOT;
    root->source = contents.entries.empty() || IsDropped(contents, 0) ? nullptr : &contents.entries[0];
    for (u32 i = 0; i < nodes.Count(); ++i) {
        const bool holds = i == 0 || (nodes[i].kind == KIND_STORAGE && nodes[i].source);
        if (holds && !AddChildren(items, i, nodes)) return false;
    }
    return true;
}

// Sectors of each kind, in the order in which they stand.
struct FileLayout {
    u32 stream = 0;
    u32 large = 0;    // of the carried streams that lie in sectors of their own
    u32 mini = 0;     // of the stream of small streams
    u32 miniFat = 0;  // of its table
    u32 fat = 1;
    u32 directory = 1;
    u32 difat = 0;
    u32 Fat() const { return stream + large + mini + miniFat; }
    u32 Directory() const { return Fat() + fat; }
    u32 Total() const { return Directory() + directory + difat; }
};

u32 SectorsOf(std::size_t bytes) { return static_cast<u32>((bytes + SECTOR - 1) / SECTOR); }
u32 PiecesOf(std::size_t bytes) { return static_cast<u32>((bytes + MINI_SECTOR - 1) / MINI_SECTOR); }
bool IsLarge(const Node& node) { return node.size >= MINI_STREAM_LIMIT; }

// Gives every stream its place; false when the file would be too large.
bool PlaceStreams(Array<Node>& nodes, std::size_t streamBytes, FileLayout& layout) {
    std::size_t all = streamBytes;
    for (const Node& node : nodes) all += node.size;
    if (all > LARGEST_FILE) return false;
    layout.stream = SectorsOf(streamBytes);
    u32 pieces = 0;
    for (Node& node : nodes) {
        if (!node.size || node.kind != KIND_STREAM) continue;
        node.start = IsLarge(node) ? layout.stream + layout.large : pieces;
        (IsLarge(node) ? layout.large : pieces) += IsLarge(node) ? SectorsOf(node.size) : PiecesOf(node.size);
    }
    layout.mini = SectorsOf(std::size_t{pieces} * MINI_SECTOR);
    layout.miniFat = SectorsOf(std::size_t{pieces} * 4);
    if (pieces) nodes[0].start = layout.stream + layout.large;
    nodes[0].size = std::size_t{pieces} * MINI_SECTOR;
    layout.directory = SectorsOf(nodes.Count() * ENTRY);
    for (;;) {
        const u32 fat = (layout.Total() - 1) / 128 + 1;
        const u32 difat =
            fat > HEADER_FAT_SECTORS ? (fat - HEADER_FAT_SECTORS + DIFAT_ENTRIES - 1) / DIFAT_ENTRIES : 0;
        if (fat <= layout.fat && difat <= layout.difat) return true;
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
    PutU32(header + 56, MINI_STREAM_LIMIT);
    PutU32(header + 60, layout.miniFat ? layout.Fat() - layout.miniFat : END_OF_CHAIN);
    PutU32(header + 64, layout.miniFat);
    PutU32(header + 68, layout.difat ? layout.Directory() + layout.directory : END_OF_CHAIN);
    PutU32(header + 72, layout.difat);
    for (u32 i = 0; i < HEADER_FAT_SECTORS; ++i)
        PutU32(header + AT_FAT_LIST + 4 * i, i < layout.fat ? layout.Fat() + i : NO_SECTOR);
}

// A table of chains that is filled from its beginning.
struct ChainTable {
    u8* bytes;
    u32 at = 0;
    void Put(u32 value) { PutU32(bytes + std::size_t{at++} * 4, value); }
    void PutChain(u32 count) {
        for (u32 i = 1; i < count; ++i) Put(at + 1);
        if (count) Put(END_OF_CHAIN);
    }
};

void PutFat(u8* fat, const FileLayout& layout, const Array<Node>& nodes) {
    std::memset(fat, 0xFF, std::size_t{layout.fat} * SECTOR);
    ChainTable table{fat};
    table.PutChain(layout.stream);
    for (const Node& node : nodes)
        if (node.kind == KIND_STREAM && node.source && IsLarge(node)) table.PutChain(SectorsOf(node.size));
    table.PutChain(layout.mini);
    table.PutChain(layout.miniFat);
    for (u32 i = 0; i < layout.fat; ++i) table.Put(FAT_MARK);
    table.PutChain(layout.directory);
    for (u32 i = 0; i < layout.difat; ++i) table.Put(DIFAT_MARK);
}

void PutDifat(u8* difat, const FileLayout& layout) {
    const u32 first = layout.Directory() + layout.directory;
    for (u32 s = 0; s < layout.difat; ++s) {
        u8* sector = difat + std::size_t{s} * SECTOR;
        for (u32 i = 0; i < DIFAT_ENTRIES; ++i) {
            const u32 index = HEADER_FAT_SECTORS + s * DIFAT_ENTRIES + i;
            PutU32(sector + 4 * i, index < layout.fat ? layout.Fat() + index : NO_SECTOR);
        }
        PutU32(sector + 4 * DIFAT_ENTRIES, s + 1 < layout.difat ? first + 1 + s : END_OF_CHAIN);
    }
}

// The carried streams, the small ones in their stream, and its table.
void PutStreams(u8* out, const FileLayout& layout, const Array<Node>& nodes) {
    u8* large = out;
    u8* mini = out + std::size_t{layout.large} * SECTOR;
    u8* const miniFat = mini + std::size_t{layout.mini} * SECTOR;
    std::memset(miniFat, 0xFF, std::size_t{layout.miniFat} * SECTOR);
    ChainTable table{miniFat};
    for (const Node& node : nodes) {
        if (node.kind != KIND_STREAM || !node.source || !node.size) continue;
        u8*& to = IsLarge(node) ? large : mini;
        std::memcpy(to, node.source->bytes.Data(), node.size);
        to += IsLarge(node) ? SectorsOf(node.size) * SECTOR : PiecesOf(node.size) * MINI_SECTOR;
        if (!IsLarge(node)) table.PutChain(PiecesOf(node.size));
    }
}

void PutEntry(u8* entry, const Node& node, bool alone) {
    for (std::size_t i = 0; i < node.name.size() && i < 31; ++i) PutU16(entry + 2 * i, node.name[i]);
    PutU16(entry + 64, static_cast<u32>(std::min<std::size_t>(node.name.size(), 31) + 1) * 2);
    entry[66] = node.kind;
    entry[67] = node.colour;
    PutU32(entry + 68, node.left);
    PutU32(entry + 72, node.right);
    PutU32(entry + 76, node.child);
    if (node.source) {
        std::memcpy(entry + 80, node.source->classId, 16);
        PutU32(entry + 96, node.source->state);
        std::memcpy(entry + 100, node.source->times, 16);
    }
    PutU32(entry + 116, node.kind == KIND_STORAGE ? 0 : node.start);
    PutU32(entry + 120, static_cast<u32>(node.size));
    if (alone && node.kind == KIND_ROOT) PutU32(entry + 124, NO_SECTOR);
}

void PutDirectory(u8* out, const FileLayout& layout, const Array<Node>& nodes) {
    const bool alone =
        std::none_of(nodes.begin(), nodes.end(), [](const Node& node) { return node.source != nullptr; });
    const u32 places = layout.directory * static_cast<u32>(SECTOR / ENTRY);
    for (u32 i = 0; i < places; ++i) {
        u8* entry = out + std::size_t{i} * ENTRY;
        if (i < nodes.Count()) {
            PutEntry(entry, nodes[i], alone);
        } else {
            std::memset(entry + 68, 0xFF, 12);
        }
    }
}

// What stands in front of the stream and behind it. The stream itself is written as it lies.
struct Surroundings {
    u8 header[SECTOR];
    Array<u8> tail;  // zero bytes that fill the stream up, and all that follows
};

bool BuildSurroundings(std::size_t streamBytes, u8 biffVersion, CompoundContents contents, Surroundings& out) {
    if (SaysNothing(contents)) contents = {};
    const std::size_t size = std::max(streamBytes, MINI_STREAM_LIMIT);
    Array<Node> nodes;
    FileLayout layout;
    if (!BuildNodes(contents, biffVersion, nodes) || !PlaceStreams(nodes, size, layout)) return false;
    for (Node& node : nodes) {
        if (node.source || node.name != BookStreamName(biffVersion)) continue;
        node.start = 0;
        node.size = size;
    }
    const std::size_t padding = std::size_t{layout.stream} * SECTOR - streamBytes;
    if (!out.tail.Resize(padding + std::size_t{layout.Total() - layout.stream} * SECTOR)) return false;
    PutHeader(out.header, layout);
    u8* const sectors = out.tail.Data() + padding;
    const auto at = [&](u32 sector) { return sectors + std::size_t{sector - layout.stream} * SECTOR; };
    PutStreams(sectors, layout, nodes);
    PutFat(at(layout.Fat()), layout, nodes);
    PutDirectory(at(layout.Directory()), layout, nodes);
    PutDifat(at(layout.Directory() + layout.directory), layout);
    return true;
}

}  // namespace

bool BuildCompoundFile(ByteView stream, u8 biffVersion, Array<u8>& out, const CompoundContents& contents) {
    Surroundings around;
    out.Truncate(0);
    return BuildSurroundings(stream.size(), biffVersion, contents, around) &&
           out.Reserve(SECTOR + stream.size() + around.tail.Count()) && out.AppendMany(around.header, SECTOR) &&
           out.AppendMany(stream.data(), stream.size()) &&
           out.AppendMany(around.tail.Data(), around.tail.Count());
}

bool WriteCompoundFile(ByteView stream, u8 biffVersion, OutputHandle file, const CompoundContents& contents) {
    Surroundings around;
    const auto write = Platform().writeFile;
    return BuildSurroundings(stream.size(), biffVersion, contents, around) &&
           write(file, around.header, SECTOR) && write(file, stream.data(), stream.size()) &&
           write(file, around.tail.Data(), around.tail.Count());
}

}  // namespace tally
