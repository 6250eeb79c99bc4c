#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <string>

#include "base/Text.h"
#include "fileio/biff/BiffReader.h"
#include "fileio/compound/CompoundReader.h"
#include "fileio/compound/CompoundTree.h"
#include "support/FailingAllocator.h"
#include "support/HexBytes.h"
#include "support/Sandbox.h"

// The container as published: who owns which sector, how the directory is linked, and the tree that is read
// back.

namespace tally {
namespace {

constexpr u32 FREE = 0xFFFFFFFF, END = 0xFFFFFFFE, FAT = 0xFFFFFFFD, DIFAT = 0xFFFFFFFC;

struct Tree {
    Array<CarriedEntry> entries;
    Tree() { Add(0, u"Root Entry", 5, 0); }
    // Returns the number of the entry. Its class and times are its own.
    u32 Add(u32 parent, WideView name, u8 kind, u32 size) {
        CarriedEntry* entry = entries.AppendDefault();
        const u32 index = entries.Count() - 1;
        EXPECT_TRUE(entry->name.Assign(name) && entry->bytes.Resize(size));
        entry->kind = kind;
        entry->parent = parent;
        for (u32 i = 0; i < size; ++i) entry->bytes[i] = static_cast<u8>(i * 3 + index + i / 256);
        if (kind != 2) std::fill_n(entry->classId, 16, static_cast<u8>(index + 1));
        std::fill_n(entry->times, 16, static_cast<u8>(index + 50));
        entry->state = index * 0x01010101;
        return index;
    }
};

Bytes Build(std::size_t streamSize, const Tree* tree = nullptr, std::span<const bool> dropped = {}) {
    const Bytes stream(streamSize, 0x77);
    Array<u8> file;
    const CompoundContents contents =
        tree ? CompoundContents{tree->entries.Span(), dropped} : CompoundContents();
    EXPECT_TRUE(BuildCompoundFile(stream, 8, file, contents));
    return {file.begin(), file.end()};
}

// Walks a container by the published rules alone and tells what breaks them.
class Checker {
  public:
    explicit Checker(const Bytes& bytes) : file(bytes), sectors(static_cast<u32>(bytes.size() / 512) - 1) {}
    std::string Check() {
        Header();
        Tables();
        directory = Chain(LongAt(file, 48));
        miniFat = Chain(LongAt(file, 60));
        Expect(LongAt(file, 64) == miniFat.size() / 512, "count of mini FAT sectors");
        const u32 rootStart = LongAt(directory, 116);
        mini = Chain(rootStart);
        const u32 rootSize = LongAt(directory, 120);
        Expect(mini.size() == (rootSize + 511) / 512 * 512, "root's size");
        Expect((rootStart == END) == (rootSize == 0), "root's start");
        miniOwned.resize(rootSize / 64);
        Expect(rootSize % 64 == 0, "root's size in pieces");
        Storage(0);
        const auto one = [](u32 owners) { return owners == 1; };
        Expect(std::all_of(owned.begin(), owned.end(), one), "owners of a sector");
        Expect(std::all_of(miniOwned.begin(), miniOwned.end(), one), "owners of a piece");
        for (std::size_t i = sectors; i < fat.size() / 4; ++i)
            Expect(LongAt(fat, i * 4) == FREE, "a FAT entry behind the end");
        for (std::size_t i = miniOwned.size(); i < miniFat.size() / 4; ++i)
            Expect(LongAt(miniFat, i * 4) == FREE, "a mini FAT entry behind the end");
        for (std::size_t i = 0; i < directory.size() / 128; ++i) Unused(i);
        return found;
    }
    // Streams by their path.
    std::map<std::string, Bytes> streams;
    std::map<std::string, std::size_t> places;  // entries by their path

  private:
    void Expect(bool good, const char* what) {
        if (!good) (found += what) += "; ";
    }
    void Header() {
        Expect(
            Digits({file.begin(), file.begin() + 34}) ==
                "D0 CF 11 E0 A1 B1 1A E1 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 3E 00 03 00 FE FF 09 "
                "00 06 00",
            "header");
        for (std::size_t at : {34u, 38u, 40u, 52u}) Expect(LongAt(file, at) == 0, "zeros of the header");
        Expect(LongAt(file, 56) == 4096, "limit of small streams");
        Expect(file.size() % 512 == 0, "whole sectors");
        owned.resize(sectors);
    }
    void Tables() {
        const u32 count = LongAt(file, 44);
        for (u32 i = 0; i < 109; ++i) TakeFat(LongAt(file, 76 + i * 4), i < count);
        u32 difat = LongAt(file, 68), left = count > 109 ? count - 109 : 0, steps = 0;
        for (; difat != END && steps < 1000; ++steps) {
            Expect(difat < sectors, "place of a DIFAT sector");
            if (difat >= sectors) break;
            ++owned[difat];
            difats.push_back(difat);
            for (u32 i = 0; i < 127; ++i) {
                TakeFat(LongAt(file, (difat + 1) * 512 + i * 4), left != 0);
                left -= left != 0;
            }
            difat = LongAt(file, (difat + 1) * 512 + 127 * 4);
        }
        Expect(!left && LongAt(file, 72) == steps, "count of DIFAT sectors");
        for (const u32 sector : fats) Expect(LongAt(fat, sector * 4) == FAT, "mark of a FAT sector");
        for (const u32 sector : difats) Expect(LongAt(fat, sector * 4) == DIFAT, "mark of a DIFAT sector");
    }
    void TakeFat(u32 sector, bool there) {
        Expect(there ? sector < sectors : sector == FREE, "list of FAT sectors");
        if (!there || sector >= sectors) return;
        ++owned[sector];
        fats.push_back(sector);
        fat.insert(fat.end(), file.begin() + (sector + 1) * 512, file.begin() + (sector + 2) * 512);
    }
    Bytes Chain(u32 sector) {
        Bytes out;
        for (; sector != END; sector = LongAt(fat, sector * 4)) {
            Expect(sector < sectors && owned[sector] == 0, "chain");
            if (sector >= sectors || owned[sector]) break;
            ++owned[sector];
            out.insert(out.end(), file.begin() + (sector + 1) * 512, file.begin() + (sector + 2) * 512);
        }
        return out;
    }
    Bytes MiniChain(u32 piece) {
        Bytes out;
        for (; piece != END; piece = LongAt(miniFat, piece * 4)) {
            Expect(piece < miniOwned.size() && miniOwned[piece] == 0, "chain of pieces");
            if (piece >= miniOwned.size() || miniOwned[piece]) break;
            ++miniOwned[piece];
            out.insert(out.end(), mini.begin() + piece * 64, mini.begin() + (piece + 1) * 64);
        }
        return out;
    }
    ByteView Entry(std::size_t index) const { return Part(directory, index * 128, 128); }
    std::u16string Name(std::size_t index) {
        const u32 length = WordAt(Entry(index), 64);
        Expect(length >= 2 && length <= 64 && length % 2 == 0, "length of a name");
        std::u16string out;
        for (u32 i = 0; i + 2 < length; i += 2) out += static_cast<char16_t>(WordAt(Entry(index), i));
        for (u32 i = length - 2; i < 64; ++i) Expect(ByteAt(Entry(index), i) == 0, "zeros behind a name");
        return out;
    }
    void Storage(std::size_t index) {
        used.insert({index, true});
        const u32 child = LongAt(Entry(index), 76);
        if (child == FREE) return;
        std::vector<u32> order;
        Node(child, false, order);
        for (std::size_t i = 1; i < order.size(); ++i) {
            const std::u16string a = Name(order[i - 1]), b = Name(order[i]);
            const auto upper = [](std::u16string text) {
                for (char16_t& c : text) c = c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
                return text;
            };
            Expect(a.size() < b.size() || (a.size() == b.size() && upper(a) < upper(b)), "order of names");
        }
    }
    // Returns the count of black nodes on each path.
    u32 Node(u32 index, bool underRed, std::vector<u32>& order) {
        if (index == FREE) return 1;
        Expect(index < directory.size() / 128 && !used.count(index), "link of the directory");
        if (index >= directory.size() / 128 || used.count(index)) return 1;
        used.insert({index, true});
        const bool red = ByteAt(Entry(index), 67) == 0;
        Expect(!red || !underRed, "red below red");
        const u32 left = Node(LongAt(Entry(index), 68), red, order);
        const std::string outer = path;
        path += "/" + Narrow(Name(index));
        places[path] = index;
        if (ByteAt(Entry(index), 66) == 1) Storage(index);
        else Stream(index);
        path = outer;
        order.push_back(index);
        const u32 right = Node(LongAt(Entry(index), 72), red, order);
        Expect(left == right, "black nodes");
        return left + !red;
    }
    void Stream(u32 index) {
        const u32 size = LongAt(Entry(index), 120), start = LongAt(Entry(index), 116);
        Expect(ByteAt(Entry(index), 66) == 2, "kind");
        Expect(LongAt(Entry(index), 76) == FREE, "child of a stream");
        Expect(size || start == END, "start of an empty stream");
        Bytes bytes = size < 4096 ? MiniChain(start) : Chain(start);
        const u32 unit = size < 4096 ? 64 : 512;
        Expect(bytes.size() == (size + unit - 1) / unit * unit, "length of a chain");
        for (std::size_t i = size; i < bytes.size(); ++i) Expect(bytes[i] == 0, "zeros behind a stream");
        bytes.resize(size);
        streams[path] = bytes;
    }
    void Unused(std::size_t index) {
        if (used.count(index)) return;
        const ByteView entry = Entry(index);
        for (std::size_t i = 0; i < 128; ++i)
            Expect(entry[i] == (i >= 68 && i < 80 ? 0xFF : 0), "an unused entry");
    }
    const Bytes& file;
    u32 sectors;
    Bytes fat, directory, mini, miniFat;
    std::vector<u32> owned, miniOwned, fats, difats;
    std::map<std::size_t, bool> used;
    std::string path, found;
};

TEST(Container, EverySectorHasOneOwnerWhateverTheStreamsLength) {
    for (const std::size_t size : {0u, 4095u, 4096u, 4097u, 60928u, 60929u, 64511u, 64512u, 64513u, 65024u,
                                   65025u, 7087104u, 7087105u, 15500000u}) {
        const Bytes file = Build(size);
        Checker checker(file);
        EXPECT_EQ(checker.Check(), "") << size;
        EXPECT_EQ(checker.streams["/Workbook"].size(), std::max<std::size_t>(size, 4096));
    }
}

TEST(Container, TheDirectoryIsABalancedTreeOfAnyNumberOfNames) {
    for (u32 count = 0; count < 70; ++count) {
        Tree tree;
        const u32 storage = tree.Add(0, u"Storage", 1, 0);
        for (u32 i = 0; i < count; ++i) {
            const char16_t name[] = {static_cast<char16_t>(u'a' + i * 7 % 26),
                                     static_cast<char16_t>(u'A' + i / 3 % 26), u'x'};
            tree.Add(i % 2 ? storage : 0, WideView(name, 1 + (i * 5 % 3)), 2, 0);
        }
        // Names that stand twice are none of a tree that was read.
        std::map<std::pair<u32, std::string>, bool> seen;
        for (CarriedEntry& entry : tree.entries) {
            std::string name = Narrow(entry.name);
            for (char& c : name) c = static_cast<char>(std::toupper(c));
            while (!seen.insert({{entry.parent, name}, true}).second) {
                ASSERT_TRUE(entry.name.Append(u'_'));
                name += '_';
            }
        }
        const Bytes file = Build(5000, &tree);
        Checker checker(file);
        EXPECT_EQ(checker.Check(), "") << count;
        EXPECT_EQ(checker.places.size(), count + 2u);
    }
}

TEST(Container, LongNamesAreCutAndNamesAreInOrderOfLengthThenLetters) {
    Tree tree;
    for (const WideView name : {u"zz", u"b", u"B1", u"a_", u"aA", u"\u00E9", u"[", u"WORKBOOJ", u"workbooL"})
        tree.Add(0, name, 2, 1);
    tree.Add(0, std::u16string(40, u'n'), 2, 1);
    const Bytes file = Build(1, &tree);
    Checker checker(file);
    EXPECT_EQ(checker.Check(), "");
    EXPECT_EQ(checker.streams.count("/" + std::string(31, 'n')), 1u);
}

TEST(Container, StreamsOfAllLengthsShareTheContainer) {
    Tree tree;
    std::map<std::string, Bytes> wanted;
    u32 parent = 0;
    std::string path;
    for (const WideView storage : {u"", u"One", u"Two"}) {
        if (!storage.empty()) {
            parent = tree.Add(parent, storage, 1, 0);
            path += "/" + Narrow(storage);
        }
        u32 n = 0;
        for (const u32 size : {0u, 1u, 63u, 64u, 65u, 128u, 4032u, 4095u, 4096u, 4097u, 4608u, 9000u}) {
            const char16_t name[] = {u's', static_cast<char16_t>(u'a' + n++)};
            const u32 index = tree.Add(parent, WideView(name, 2), 2, size);
            const Array<u8>& bytes = tree.entries[index].bytes;
            wanted[path + "/" + Narrow(WideView(name, 2))] = Bytes(bytes.begin(), bytes.end());
        }
    }
    const Bytes file = Build(4500, &tree);
    Checker checker(file);
    EXPECT_EQ(checker.Check(), "");
    wanted["/Workbook"] = Bytes(4500, 0x77);
    EXPECT_TRUE(checker.streams == wanted);
}

// ---- reading the tree back ----------------------------------------------------------------------------------

// One line an entry: path of the parent, name, kind, length, sums.
std::vector<std::string> Lines(const Array<CarriedEntry>& entries) {
    std::vector<std::string> out, paths;
    for (const CarriedEntry& entry : entries) {
        const std::string above = paths.empty() ? "" : paths[entry.parent];
        paths.push_back(above + "/" + Narrow(entry.name));
        std::string line = paths.back() + " " + std::to_string(entry.kind);
        line +=
            " class " + Digits({entry.classId, entry.classId + 16}) + " state " + std::to_string(entry.state);
        line += " times " + Digits({entry.times, entry.times + 16});
        u32 sum = 0;
        for (const u8 byte : entry.bytes) sum = sum * 31 + byte;
        out.push_back(line + " " + std::to_string(entry.bytes.Count()) + " " + std::to_string(sum));
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<std::string> ReadLines(const Bytes& file) {
    Array<CarriedEntry> entries;
    EXPECT_TRUE(ReadCompoundTree(file, entries));
    for (u32 i = 1; i < entries.Count(); ++i) EXPECT_LT(entries[i].parent, i);
    return Lines(entries);
}

// A tree of storages in storages with small and large streams.
void FillTree(Tree& tree) {
    const u32 project = tree.Add(0, u"_VBA_PROJECT_CUR", 1, 0), inner = tree.Add(project, u"VBA", 1, 0);
    tree.Add(inner, u"dir", 2, 700);
    tree.Add(inner, u"ThisWorkbook", 2, 5000);
    tree.Add(project, u"PROJECT", 2, 63);
    tree.Add(0, u"\u0005SummaryInformation", 2, 4096);
    tree.Add(0, u"Empty", 2, 0);
    tree.Add(tree.Add(0, u"MBD1", 1, 0), u"Workbook", 2, 100);
    tree.Add(0, u"Nothing", 1, 0);
}

TEST(Container, TheTreeThatIsReadIsTheOneThatWasWritten) {
    Tree tree;
    FillTree(tree);
    EXPECT_EQ(ReadLines(Build(6000, &tree)), Lines(tree.entries));
    // Beyond 109 FAT sectors, too.
    EXPECT_EQ(ReadLines(Build(8000000, &tree)), Lines(tree.entries));
    EXPECT_EQ(ReadLines(Build(17000000, &tree)), Lines(tree.entries));
}

TEST(Container, WhatIsDroppedStaysOutWithAllBelowIt) {
    Tree tree;
    FillTree(tree);
    const auto without = [&](u32 index) {
        Array<bool> dropped;
        EXPECT_TRUE(dropped.Resize(tree.entries.Count()));
        dropped[index] = true;
        const Bytes file = Build(100, &tree, dropped.Span());
        Checker checker(file);
        EXPECT_EQ(checker.Check(), "");
        return ReadLines(file).size();
    };
    const std::size_t all = tree.entries.Count();
    EXPECT_EQ(without(1), all - 5);
    EXPECT_EQ(without(2), all - 3);
    EXPECT_EQ(without(3), all - 1);
    // Of the root its class goes.
    Array<bool> root;
    ASSERT_TRUE(root.Resize(all));
    root[0] = true;
    Array<CarriedEntry> read;
    ASSERT_TRUE(ReadCompoundTree(Build(100, &tree, root.Span()), read));
    EXPECT_EQ(read.Count(), all);
    EXPECT_EQ(read[0].classId[0], 0);
    EXPECT_EQ(read[0].times[3], 0);
}

TEST(Container, ABookByItselfSaysNothingMore) {
    Array<CarriedEntry> entries;
    ASSERT_TRUE(ReadCompoundTree(Build(100), entries));
    EXPECT_TRUE(entries.IsEmpty());
    struct Row {
        WideView name;
        u32 size;
        u8 kind;
        u8 rootClass;
        u32 read;
    };
    for (const Row& row : {Row{u"\u0005SummaryInformation", 0, 2, 0, 0},
                           {u"\u0005SummaryInformation", 1, 2, 0, 2},
                           {u"\u0005SummaryInformation", 0, 2, 1, 2},
                           {u"SummaryInformation", 0, 2, 0, 2},
                           {u"x", 0, 1, 0, 2},
                           {u"Book", 9, 2, 0, 0},
                           {u"BOOK", 9, 1, 0, 2},
                           {u"Books", 9, 2, 0, 2}}) {
        Tree tree;
        std::fill_n(tree.entries[0].classId, 16, u8{0});
        tree.entries[0].classId[15] = row.rootClass;
        tree.Add(0, row.name, row.kind, row.kind == 2 ? row.size : 0);
        Array<CarriedEntry> read;
        ASSERT_TRUE(ReadCompoundTree(Build(100, &tree), read));
        EXPECT_EQ(read.Count(), row.read) << Narrow(row.name);
    }
}

TEST(Container, WhatIsLeftWithoutContentIsWrittenAsABookByItself) {
    const Bytes plain = Build(100);
    struct Row {
        bool rootDropped, storageDropped;
        u32 properties;
        bool same;
    };
    for (const Row& row :
         {Row{true, true, 0, true}, {false, true, 0, false}, {true, false, 0, false}, {true, true, 7, false}}) {
        Tree tree;
        const u32 storage = tree.Add(0, u"_VBA_PROJECT_CUR", 1, 0);
        tree.Add(storage, u"dir", 2, 100);
        tree.Add(0, u"\u0005SummaryInformation", 2, row.properties);
        Array<bool> dropped;
        ASSERT_TRUE(dropped.Resize(tree.entries.Count()));
        dropped[0] = row.rootDropped;
        dropped[storage] = row.storageDropped;
        const Bytes file = Build(100, &tree, dropped.Span());
        EXPECT_EQ(file == plain, row.same);
        Checker checker(file);
        EXPECT_EQ(checker.Check(), "");
        // What comes back is written with the same bytes.
        Tree read;
        read.entries.Clear();
        ASSERT_TRUE(ReadCompoundTree(file, read.entries));
        EXPECT_TRUE(Build(100, &read) == file);
    }
}

TEST(Container, StreamsThatAreNotWholeAreLeftOut) {
    Tree tree;
    tree.Add(0, u"Large", 2, 5000);
    tree.Add(0, u"Small", 2, 600);
    const Bytes good = Build(100, &tree);
    Checker checker(good);
    ASSERT_EQ(checker.Check(), "");
    const std::size_t directory = (LongAt(good, 48) + 1) * 512;
    const std::size_t fat = (LongAt(good, 76) + 1) * 512, miniFat = (LongAt(good, 60) + 1) * 512;
    const std::size_t large = directory + checker.places["/Large"] * 128;
    const std::size_t small = directory + checker.places["/Small"] * 128;
    const auto streams = [&](std::size_t at, u32 value) {
        Bytes file = good;
        PutU32(file.data() + at, value);
        std::vector<std::string> names;
        Array<CarriedEntry> read;
        EXPECT_TRUE(ReadCompoundTree(file, read));
        for (u32 i = 1; i < read.Count(); ++i)
            names.push_back(Narrow(read[i].name) + std::to_string(read[i].bytes.Count()) + " ");
        std::sort(names.begin(), names.end());
        return std::accumulate(names.begin(), names.end(), std::string());
    };
    const u32 start = LongAt(good, large + 116);
    EXPECT_EQ(streams(0, LongAt(good, 0)), "Large5000 Small600 ");
    EXPECT_EQ(streams(large + 120, 5120), "Large5120 Small600 ");
    EXPECT_EQ(streams(large + 120, 5121), "Small600 ");
    EXPECT_EQ(streams(large + 120, 0x7FFFFFFF), "Small600 ");
    EXPECT_EQ(streams(large + 116, 0x7FFFFFFF), "Small600 ");
    EXPECT_EQ(streams(fat + start * 4, END), "Small600 ");
    EXPECT_EQ(streams(small + 120, 640), "Large5000 Small640 ");
    EXPECT_EQ(streams(small + 120, 641), "Large5000 ");
    EXPECT_EQ(streams(small + 116, 5000), "Large5000 ");
    EXPECT_EQ(streams(miniFat + 8, END), "Large5000 ");
    EXPECT_EQ(streams(60, END), "Large5000 ");
    // The sector behind the last one of the file.
    EXPECT_EQ(streams(fat + (start + 8) * 4, static_cast<u32>(good.size() / 512 - 1)), "Small600 ");
    // A kind that there is not, a link that leads nowhere.
    EXPECT_EQ(streams(large + 66, 0x0100 | 7), "Small600 ");
    EXPECT_EQ(streams(directory + 76, 99), "");
    // Entries that lead to each other end.
    EXPECT_NE(streams(large + 68, static_cast<u32>(checker.places["/Small"])).find("Large5000"),
              std::string::npos);
}

TEST(Container, StreamsTakeTogetherNoMoreThanTheFileHas) {
    Tree tree;
    for (const WideView name : {u"a", u"b", u"c", u"d"}) tree.Add(0, name, 2, name == u"a" ? 50000 : 0);
    Bytes file = Build(100, &tree);
    Checker checker(file);
    ASSERT_EQ(checker.Check(), "");
    const std::size_t directory = (LongAt(file, 48) + 1) * 512;
    const u32 start = LongAt(file, directory + checker.places["/a"] * 128 + 116);
    for (const char* path : {"/b", "/c", "/d"}) {
        PutU32(file.data() + directory + checker.places[path] * 128 + 116, start);
        PutU32(file.data() + directory + checker.places[path] * 128 + 120, 50000);
    }
    Array<CarriedEntry> read;
    ASSERT_TRUE(ReadCompoundTree(file, read));
    EXPECT_EQ(read.Count(), 2u);
}

TEST(Container, AnyFailedAllocationIsTold) {
    Tree tree;
    FillTree(tree);
    for (const bool reading : {true, false}) {
        const Bytes file = Build(6000, &tree);
        for (u64 n = 1;; ++n) {
            ASSERT_LT(n, 500u);
            test::FailingAllocator allocator(n);
            bool good = false;
            {
                Array<CarriedEntry> entries;
                Array<u8> pieces, built;
                ByteView stream;
                if (reading) {
                    good = ReadCompoundTree(file, entries) &&
                           ReadCompoundStream(file, u"Empty", pieces, stream) == STREAM_READ;
                } else {
                    good = BuildCompoundFile(Bytes(5000), 8, built, {tree.entries.Span(), {}});
                }
            }
            EXPECT_EQ(good, !allocator.HasFailed()) << n;
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
            if (!allocator.HasFailed()) break;
        }
    }
}

// ---- the stream of the book ---------------------------------------------------------------------------------

TEST(Container, AStreamOfAnyOrderOfSectorsIsReadInTheOrderOfItsChain) {
    // 4,097 bytes are nine sectors, the last of which holds one byte.
    for (const std::size_t size : {std::size_t{4097}, std::size_t{4608}, std::size_t{5000}}) {
        Bytes stream(size);
        for (std::size_t i = 0; i < size; ++i) stream[i] = static_cast<u8>(i / 512 * 16 + i % 13);
        Array<u8> whole;
        ASSERT_TRUE(BuildCompoundFile(stream, 8, whole));
        const u32 count = static_cast<u32>((size + 511) / 512);
        const std::size_t fat = (LongAt(whole.Span(), 76) + 1) * 512;
        const std::size_t entry = (LongAt(whole.Span(), 48) + 1) * 512 + 128;
        for (u32 i = 0; i + 1 < count; ++i) {
            // Sectors i and i + 1 change places.
            Bytes file(whole.begin(), whole.end());
            std::swap_ranges(file.begin() + (i + 1) * 512, file.begin() + (i + 2) * 512,
                             file.begin() + (i + 2) * 512);
            std::vector<u32> order;
            for (u32 k = 0; k < count; ++k) order.push_back(k == i ? i + 1 : k == i + 1 ? i : k);
            for (u32 k = 0; k < count; ++k)
                PutU32(file.data() + fat + order[k] * 4, k + 1 < count ? order[k + 1] : END);
            PutU32(file.data() + entry + 116, order[0]);
            Array<u8> pieces;
            ByteView read;
            ASSERT_EQ(ReadCompoundStream(file, u"Workbook", pieces, read), STREAM_READ);
            EXPECT_TRUE(std::equal(read.begin(), read.end(), stream.begin(), stream.end())) << size << " " << i;
        }
    }
}

TEST(Container, WhatTheFileDoesNotHoldOfAStreamIsMissing) {
    Bytes file = Build(5000);
    const std::size_t entry = (LongAt(file, 48) + 1) * 512 + 128;
    const auto length = [&](u32 start, u32 size) {
        Bytes changed = file;
        PutU32(changed.data() + entry + 116, start);
        PutU32(changed.data() + entry + 120, size);
        Array<u8> pieces;
        ByteView read;
        EXPECT_EQ(ReadCompoundStream(changed, u"Workbook", pieces, read), STREAM_READ);
        return read.size();
    };
    EXPECT_EQ(length(0, 5000), 5000u);
    EXPECT_EQ(length(0, 5120), 5120u);
    EXPECT_EQ(length(0, 5121), 5120u);
    EXPECT_EQ(length(0, 0xFFFFFFFF), 5120u);
    EXPECT_EQ(length(9, 5000), 512u);
    EXPECT_EQ(length(99, 5000), 0u);
    EXPECT_EQ(length(0xFFFFFFFE, 5000), 0u);
    EXPECT_EQ(length(0, 100), 0u);  // there is no stream of small streams
}

}  // namespace
}  // namespace tally
