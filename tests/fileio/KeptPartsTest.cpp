#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>

#include "functions/Random.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FileLister.h"
#include "support/Saving.h"

// Real workbooks, saved in their own form: what another program finds in them is there as before.

namespace tally {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// Records that a save writes in its own way: their count says nothing, but a kind that was there stays there.
constexpr unsigned rewritten[] = {6,   12,  13,  14,  15,  16,  17,  18,  19,   20,  21,  23,  24,  25,  29,
                                  34,  38,  39,  40,  41,  42,  43,  49,  61,   64,  65,  66,  77,  85,  92,
                                  95,  99,  125, 128, 129, 130, 131, 132, 133,  141, 156, 160, 161, 189, 190,
                                  193, 214, 215, 218, 221, 224, 225, 226, 229,  252, 253, 255, 317, 352, 353,
                                  430, 431, 432, 433, 434, 439, 440, 444, 446,  512, 513, 515, 516, 517, 519,
                                  520, 523, 545, 549, 566, 574, 638, 659, 1054, 2146};

// What may go, and why.
struct Excuse {
    unsigned id;
    const char* reason;
};
constexpr Excuse excuses[] = {
    {0, "zero bytes that fill a stream up"},
    {22, "the count of links stands in another record"},
    {60, "long records are divided anew"},
    {89, "a linked file without values"},
    {188, "shared formulas are written one by one"},
    {513, "a cell that looks as its column does"},
    {190, "cells that look as their column does"},
    {229, "an empty list of merged areas"},
    {434, "an empty list of rules"},
    {191, "empty"},
    {192, "empty"},
    {439, "of one word that the older form need not have"},
    {516, "texts go into the shared table"},
    {515, "a number that has a short form"},
    {638, "numbers that stand together"},
    {189, "numbers that are errors in memory"},
    {214, "texts go into the shared table"},
    {1054, "formats that hold their standard text"},
    {146, "the standard colours"},
    {1212, "shared formulas are written one by one"},
    {125, "columns as all others"},
    {153, "a width of whole characters stands in another record"},
    {155, "the filter's mark"},
    {38, "a margin of 0"},
    {39, "a margin of 0"},
    {40, "a margin of 0"},
    {41, "a margin of 0"},
    {18, "protection that is off"},
    {19, "protection that is off"},
    {25, "protection that is off"},
    {99, "protection that is off"},
    {221, "protection that is off"},
    {215, "places of rows"},
    {77, "the printer's data of another kind of machine"},
    {140, "an empty country"},
    {92, "an empty name of a user"},
    {26, "no breaks"},
    {27, "no breaks"},
    {157, "a filter's columns"},
    {160, "the ordinary zoom"},
    {65, "an empty split"},
    {23, "links that nothing uses"},
    {24, "names without a formula that nothing uses"},
    {35, "names of links that nothing uses"},
    {90, "values of links that nothing uses"},
    {519, "texts of formulas without a text"},
};

const char* ReasonOf(unsigned id) {
    for (const Excuse& row : excuses)
        if (row.id == id) return row.reason;
    return nullptr;
}

using Counts = std::map<unsigned, unsigned>;

Counts CountRecords(const ListedFile& file, bool globals) {
    Counts out;
    for (const ListedSubstream& substream : file.substreams) {
        if ((substream.type == 5) != globals) continue;
        for (const ListedRecord& record : substream.records)
            ++out[record.depth ? record.id + 0x10000 : record.id];
    }
    return out;
}

bool IsOwnStream(const std::string& path) {
    std::string lower;
    for (char c : path) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower == "/workbook" || lower == "/book";
}

unsigned CountAll(const ListedFile& file, unsigned id) {
    unsigned count = 0;
    for (const ListedSubstream& substream : file.substreams) count += substream.Count(id);
    return count;
}

unsigned Charts(const ListedFile& file) {
    unsigned count = 0;
    for (const ListedSubstream& substream : file.substreams)
        for (const ListedRecord& record : substream.records) count += record.depth == 1 && record.id == 2057;
    return count;
}

unsigned Entries(const ListedFile& file, const char* prefix, bool inside = false) {
    unsigned count = 0;
    for (const auto& [path, bytes] : file.entries)
        count += inside ? path.find(prefix) != std::string::npos : path.rfind(prefix, 0) == 0;
    return count;
}

unsigned Breaks(const ListedFile& file) {
    unsigned count = 0;
    for (const ListedSubstream& substream : file.substreams)
        for (const ListedRecord& record : substream.records)
            if (!record.depth && (record.id == 26 || record.id == 27) && !record.body.empty())
                count += record.body[0];
    return count;
}

struct Subject {
    const char* name;
    unsigned (*count)(const ListedFile& file);
};
constexpr Subject subjects[] = {
    {"macro projects", [](const ListedFile& f) { return Entries(f, "/_VBA_PROJECT"); }},
    {"comments", [](const ListedFile& f) { return CountAll(f, 28); }},
    {"drawings", [](const ListedFile& f) { return CountAll(f, 93) + CountAll(f, 236); }},
    {"charts on sheets", Charts},
    {"pivot tables", [](const ListedFile& f) { return CountAll(f, 176); }},
    {"embedded objects", [](const ListedFile& f) { return Entries(f, "/MBD"); }},
    {"values of links", [](const ListedFile& f) { return CountAll(f, 90); }},
    {"properties", [](const ListedFile& f) { return Entries(f, "/\x05"); }},
    {"custom views", [](const ListedFile& f) { return CountAll(f, 426); }},
    {"page breaks", Breaks},
};

// Cells that look as their column does are left out, and a sheet without them may end further to the left.
std::vector<ListedRecord> WithoutExtents(const ListedFile& file) {
    std::vector<ListedRecord> out;
    for (const ListedSubstream& substream : file.substreams) {
        for (ListedRecord record : substream.records) {
            if (record.id == 512) record.body.clear();
            if (record.id == 520 && record.body.size() > 5) record.body[4] = record.body[5] = 0;
            // Places in the stream.
            if (record.id == 523 || record.id == 133 || record.id == 215) continue;
            out.push_back(std::move(record));
        }
    }
    return out;
}

class KeptParts : public Sandbox {
  protected:
    static Bytes Save(WideView path, u32& losses) {
        EXPECT_TRUE(WriteBookFile(CurrentBook(), path, FILE_XLS, losses));
        const MemoryFile* file = FindMemoryFile(path);
        return file ? Bytes(file->bytes.begin(), file->bytes.end()) : Bytes();
    }
    static bool Open(const Bytes& bytes) {
        ResetBooks();
        Random() = RandomState();
        return OpenFileFromMemory(u"1.xls", bytes, OPEN_SILENT_LINKS);
    }
    static std::string LostEntries(const ListedFile& before, const ListedFile& after) {
        std::string out;
        for (const auto& [path, bytes] : before.entries) {
            if (IsOwnStream(path)) continue;
            const auto found = after.entries.find(path);
            if (found == after.entries.end()) out += path + " is missing; ";
            else if (found->second != bytes) out += path + " differs; ";
        }
        return out;
    }
    static std::string LostRecords(const ListedFile& before, const ListedFile& after, bool globals,
                                   std::map<std::string, unsigned>& excused) {
        std::string out;
        const Counts was = CountRecords(before, globals), is = CountRecords(after, globals);
        for (const auto& [id, count] : was) {
            const auto found = is.find(id);
            const unsigned now = found == is.end() ? 0 : found->second;
            const bool own = std::find(std::begin(rewritten), std::end(rewritten), id) != std::end(rewritten);
            if (now == count || (own && now)) continue;
            const char* reason = ReasonOf(id);
            if (reason) ++excused[std::to_string(id) + " " + reason];
            else
                out += (globals ? "globals " : "sheets ") + std::to_string(id) + ": " + std::to_string(count) +
                       " became " + std::to_string(now) + "; ";
        }
        return out;
    }
};

TEST_F(KeptParts, RealWorkbooksKeepTheirStreamsAndRecordsInTheirOwnForm) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "no corpus";
    Headless().filesInMemory = true;
    std::map<std::string, unsigned> excused;
    std::map<std::string, std::pair<unsigned, unsigned>> kept;
    unsigned saved = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const auto extension = entry.path().extension();
        if (extension != ".xls" && extension != ".xlt") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        const Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const ListedFile before = ListFile(bytes);
        if (!before.good || !Open(bytes)) continue;
        SCOPED_TRACE(entry.path().filename());
        u32 losses = 0;
        const Bytes first = Save(u"1.xls", losses);
        const ListedFile after = ListFile(first);
        ++saved;
        EXPECT_EQ(losses & ~u32{LOSS_FORMULAS | LOSS_TEXT | LOSS_CHARACTERS}, 0u);
        if (before.form) EXPECT_EQ(after.form, before.form);
        EXPECT_EQ(LostEntries(before, after), "");
        EXPECT_EQ(LostRecords(before, after, true, excused), "");
        EXPECT_EQ(LostRecords(before, after, false, excused), "");
        for (const Subject& subject : subjects) {
            kept[subject.name].first += subject.count(before) != 0;
            kept[subject.name].second +=
                subject.count(before) != 0 && subject.count(after) == subject.count(before);
        }
        // What was written is written the same again.
        if (!Open(first)) ADD_FAILURE() << "what was saved does not open";
        EXPECT_TRUE(WithoutExtents(ListFile(Save(u"1.xls", losses))) == WithoutExtents(after));
    }
    EXPECT_GT(saved, 100u);
    for (const auto& [name, counts] : kept) {
        std::printf("%-20s kept whole in %u of %u books\n", name.c_str(), counts.second, counts.first);
        EXPECT_EQ(counts.first, counts.second) << name;
    }
    for (const auto& [reason, count] : excused) std::printf("%u books: %s\n", count, reason.c_str());
}

}  // namespace
}  // namespace tally
