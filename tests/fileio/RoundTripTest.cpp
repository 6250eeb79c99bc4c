#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "fileio/SaveFile.h"
#include "functions/Random.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

// Real workbooks, read, saved and read again.

namespace tally {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> CorpusFiles() {
    std::vector<fs::path> files;
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (folder && fs::is_directory(folder)) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const auto extension = entry.path().extension();
            if (extension == ".xls" || extension == ".xlt") files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

class RoundTrip : public Sandbox {
  protected:
    // Every file under one name, for the cells that show it.
    static bool Read(const fs::path& path) {
        Random() = RandomState();
        Array<u8> bytes;
        EXPECT_TRUE(Platform().readFile(Wide(path.string()), bytes));
        return OpenFileFromMemory(u"1.xls", bytes.Span(), OPEN_SILENT_LINKS);
    }
    // The current book as a file in memory, in that form; returns its losses.
    static u32 Save(WideView path, u8 form) {
        CurrentWorkbook()->biffVersion = form;
        u32 losses = 0;
        EXPECT_TRUE(WriteBookFile(CurrentBook(), path, FILE_XLS, losses)) << Narrow(path);
        return losses;
    }
    static std::vector<u8> Bytes(WideView path) {
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::vector<u8>(file->bytes.begin(), file->bytes.end()) : std::vector<u8>();
    }
    static bool ReadMemory(const std::vector<u8>& bytes, WideView path) {
        Random() = RandomState();
        return OpenFileFromMemory(path, bytes, OPEN_SILENT_LINKS);
    }
    static void Forget() {
        ResetBooks();
        Headless().files.Clear();
    }
    // Opens each file of the corpus, saves it in a form and compares what comes back.
    static void WalkCorpus(u8 form, u32 parts);
};

// What no cell of the older form can say: rows below its last one, in formulas of both sides, and in views.
// Printer names lose what stands behind their end; charts are kept in their own form only.
std::vector<std::string> InOlderForm(const std::vector<std::string>& lines) {
    std::vector<std::string> out;
    for (std::string line : lines) {
        if (line.find(" printer ") != std::string::npos || line.find(" chart ") != std::string::npos) continue;
        if (line.find(" formula ") != std::string::npos || line.find("name ") == 0) {
            for (std::size_t at = 0; (at = line.find("65536", at)) != std::string::npos; ++at)
                line.replace(at, 5, "16384");
        }
        if (line.find(" view ") != std::string::npos) {
            std::string cut;
            for (std::size_t at = 0; at < line.size();) {
                std::size_t end = at;
                while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end]))) ++end;
                cut += end > at ? std::to_string(std::min(std::stoi(line.substr(at, end - at)), 16383))
                                : line.substr(at, 1);
                at = end > at ? end : at + 1;
            }
            line = cut;
        }
        // The length of the user's name counts characters in one form and bytes in the other.
        if (line.find("book ") == 0) line.erase(std::min(line.find(" user "), line.size()));
        out.push_back(line);
    }
    return out;
}

// The parts of the current book, each by itself.
std::map<u32, std::vector<std::string>> PartsOf(u32 parts, bool rows95) {
    std::map<u32, std::vector<std::string>> out;
    for (u32 part = 1; part <= parts; part <<= 1) {
        if (!(parts & part)) continue;
        auto lines = DumpBook(CurrentBook(), part, rows95);
        out[part] = rows95 ? InOlderForm(lines) : std::move(lines);
    }
    return out;
}

// Formulas and texts that the form cannot hold come back as other ones, by design.
constexpr u32 losesCells = LOSS_FORMULAS | LOSS_TEXT | LOSS_CHARACTERS;

void RoundTrip::WalkCorpus(u8 form, u32 parts) {
    const std::vector<fs::path> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    int opened = 0, whole = 0, changed = 0;
    for (const fs::path& path : files) {
        Forget();
        Headless().filesInMemory = false;
        if (!Read(path)) continue;
        ++opened;
        Headless().filesInMemory = true;
        const bool rows95 = form == 7;
        // A page that has all characters, so that their loss does not hide others.
        if (rows95 && CurrentWorkbook()->biffVersion == 8) CurrentWorkbook()->codePage = 65001;
        const auto before = PartsOf(parts, rows95);
        const u32 losses = Save(u"1.xls", form);
        const std::vector<u8> first = Bytes(u"1.xls");
        EXPECT_EQ(Save(u"2.xls", form), losses) << path;
        EXPECT_EQ(Bytes(u"2.xls"), first) << path << ": saved twice";
        ResetBooks();
        ASSERT_TRUE(ReadMemory(first, u"1.xls")) << path;
        EXPECT_EQ(CurrentWorkbook()->biffVersion, form);
        IgnoreFailure(Save(u"3.xls", form));
        const bool same = Bytes(u"3.xls") == first;
        changed += !same;
        EXPECT_TRUE(same || form == 7) << path << ": saved anew";
        u32 compared = parts;
        if (losses & losesCells)
            compared &= ~u32{DUMP_VALUES | DUMP_FORMULAS | DUMP_NAMES | DUMP_TABS | DUMP_PAGES | DUMP_KEPT};
        if (losses & (LOSS_FORMATS | LOSS_CHARACTERS | LOSS_RICH_TEXT))
            compared &= ~u32{DUMP_LOOKS | DUMP_TABLES | DUMP_SIZES | DUMP_KEPT};
        whole += compared == parts;
        const auto after = PartsOf(compared, rows95);
        for (const auto& [part, lines] : after)
            EXPECT_EQ(DumpDifference(before.at(part), lines), "") << path << " losses " << losses;
    }
    // The older form's tables of links are made anew by what formulas use: the names of add-ins may come in
    // another order, and the values of what nothing uses go.
    EXPECT_LE(changed, 6);
    EXPECT_GT(opened, 100);
    RecordProperty("opened", opened);
    RecordProperty("whole", whole);
    EXPECT_GT(whole, opened * 3 / 4) << opened;
}

TEST_F(RoundTrip, WhatTheCorpusHoldsComesBackFromTheNewerForm) { WalkCorpus(8, DUMP_ALL); }

TEST_F(RoundTrip, WhatTheOlderFormHasRoomForComesBackFromIt) {
    WalkCorpus(7, DUMP_ALL & ~u32{DUMP_RULES | DUMP_MERGES | DUMP_LINKS | DUMP_LINK_VALUES});
}

}  // namespace
}  // namespace tally
