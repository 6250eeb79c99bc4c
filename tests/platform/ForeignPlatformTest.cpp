#include "base/ForeignPlatform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/PosixForeign.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

namespace fs = std::filesystem;

class PosixForeignRows : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tallyman-foreign-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        ResetPosixForeign();
        fs::remove_all(folder);
    }
    std::u16string At(const char* name) const { return (folder / name).u16string(); }
    void Put(const char* name) const { std::ofstream(folder / name) << "x"; }
    std::vector<std::string> Listed(const char* pattern, u32 limit = 256) const {
        Array<WideText> names;
        EXPECT_TRUE(table.listFolder(At(pattern), limit, names)) << pattern;
        std::vector<std::string> out;
        for (const WideText& name : names) out.push_back(Narrow(name));
        return out;
    }
    // What the program writes there within a few seconds.
    std::string Written(const char* name) const {
        for (int i = 0; i < 500; ++i) {
            std::ifstream in(folder / name);
            const std::string text{std::istreambuf_iterator<char>(in), {}};
            if (!text.empty() && text.back() == '\n') return text;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return {};
    }
    const ForeignTable& table = PosixForeign();
    fs::path folder;
};

TEST_F(PosixForeignRows, OnlyFilesAreDeleted) {
    Put("a");
    fs::create_directory(folder / "sub");
    fs::create_symlink(folder / "b", folder / "link");
    Put("b");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(table.deleteFile(At("a")));
    EXPECT_FALSE(table.deleteFile(At("a")));
    EXPECT_TRUE(table.deleteFile(At("link")));
    for (const char* name : {"sub", "pipe", "none"}) EXPECT_FALSE(table.deleteFile(At(name))) << name;
    for (const char* name : {"b", "sub", "pipe"}) EXPECT_TRUE(fs::exists(folder / name)) << name;
    EXPECT_FALSE(table.deleteFile(u""));
}

TEST_F(PosixForeignRows, AFolderIsListedInOrderWithoutItsFolders) {
    for (const char* name : {"c.xls", "a.XLS", "b.csv", "plain"}) Put(name);
    fs::create_directory(folder / "sub.xls");
    fs::create_symlink(folder / "sub.xls", folder / "way.xls");
    using Names = std::vector<std::string>;
    EXPECT_EQ(Listed("*.*"), (Names{"a.XLS", "b.csv", "c.xls", "plain"}));
    EXPECT_EQ(Listed("*.xls"), (Names{"a.XLS", "c.xls"}));
    EXPECT_EQ(Listed("*.*", 2), (Names{"a.XLS", "b.csv"}));
    EXPECT_EQ(Listed("*.pxl"), Names{});
    EXPECT_EQ(Listed("b.csv"), Names{"b.csv"});
    Array<WideText> names;
    EXPECT_FALSE(table.listFolder(At("none/*.*"), 9, names));
    EXPECT_EQ(names.Count(), 0u);
}

TEST_F(PosixForeignRows, AProgramGetsItsWordsAndNoShell) {
    std::ofstream(folder / "tell") << "#!/bin/sh\necho \"$0|$1|$2|$#\" >\"${0%/*}/told\"\n";
    fs::permissions(folder / "tell", fs::perms::owner_all);
    const std::u16string line = u"\"" + At("tell") + u"\" \"a b\" $HOME;ls";
    EXPECT_NE(table.startProcess(line, SW_SHOWNORMAL), 0u);
    EXPECT_EQ(Written("told"), (folder / "tell").string() + "|a b|$HOME;ls|2\n");
    EXPECT_EQ(table.startProcess(At("none"), SW_SHOWNORMAL), 0u);
    EXPECT_EQ(table.startProcess(u"", SW_SHOWNORMAL), 0u);
    EXPECT_EQ(table.startProcess(u"\"\" a", SW_SHOWNORMAL), 0u);
}

TEST_F(PosixForeignRows, ALibraryIsLoadedAndItsRoutinesAreFound) {
    const LibraryHandle library = table.loadLibrary(u"libm.so.6");
    ASSERT_NE(library, nullptr);
    const auto root = reinterpret_cast<double (*)(double)>(table.findProcedure(library, u"sqrt"));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root(49), 7);
    EXPECT_EQ(table.findProcedure(library, u"no_such_routine"), nullptr);
    EXPECT_EQ(table.findProcedure(nullptr, u"sqrt"), nullptr);
    table.freeLibrary(library);
    EXPECT_EQ(table.loadLibrary(At("none.so")), nullptr);
}

class HeadlessForeignRows : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        Headless().filesInMemory = true;
    }
    void TearDown() override { ResetHeadlessPlatform(); }
};

TEST_F(HeadlessForeignRows, FilesInMemoryAreListedAndDeleted) {
    for (const char16_t* path : {u"/d/b.xls", u"/d/a.xls", u"/d/e/f.xls", u"/d/c.csv"})
        ASSERT_TRUE(PutMemoryFile(path, {}));
    Array<WideText> names;
    ASSERT_TRUE(ForeignPlatform().listFolder(u"/d/*.xls", 9, names));
    ASSERT_EQ(names.Count(), 2u);
    EXPECT_EQ(names[0].View(), WideView(u"a.xls"));
    EXPECT_EQ(names[1].View(), WideView(u"b.xls"));
    EXPECT_FALSE(ForeignPlatform().listFolder(u"/x/*.*", 9, names));
    EXPECT_TRUE(ForeignPlatform().deleteFile(u"/d/a.xls"));
    EXPECT_FALSE(ForeignPlatform().deleteFile(u"/d/a.xls"));
    EXPECT_EQ(FindMemoryFile(u"/d/a.xls"), nullptr);
    EXPECT_NE(FindMemoryFile(u"/d/b.xls"), nullptr);
}

TEST_F(HeadlessForeignRows, ProgramsAndLibrariesAreRecordedAndAnswered) {
    EXPECT_EQ(ForeignPlatform().startProcess(u"a b", SW_SHOWMINIMIZED), 0u);
    Headless().programNumber = 12;
    EXPECT_EQ(ForeignPlatform().startProcess(u"c", SW_SHOWNORMAL), 12u);
    ASSERT_EQ(Headless().programs.Count(), 2u);
    EXPECT_EQ(Headless().programs[0].line.View(), WideView(u"a b"));
    EXPECT_EQ(Headless().programs[0].show, SW_SHOWMINIMIZED);
    EXPECT_EQ(ForeignPlatform().loadLibrary(u"x"), nullptr);
    Headless().loadsLibraries = true;
    Headless().procedure = [] {};
    const LibraryHandle library = ForeignPlatform().loadLibrary(u"y");
    EXPECT_NE(library, nullptr);
    EXPECT_EQ(ForeignPlatform().findProcedure(library, u"z"), Headless().procedure);
    ForeignPlatform().freeLibrary(library);
    EXPECT_EQ(Headless().librariesFreed, 1u);
    EXPECT_EQ(Headless().libraries.Count(), 2u);
}

}  // namespace
}  // namespace tally
