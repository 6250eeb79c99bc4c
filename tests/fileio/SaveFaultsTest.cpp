#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "formula/Recalculation.h"
#include "functions/Random.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "platform/posix/FileSteps.h"
#include "support/FailingAllocator.h"
#include "support/Saving.h"

// What is left when a save fails: the old file whole, the book as it was, one box.

namespace tally {
namespace {

namespace fs = std::filesystem;

class SaveFaults : public Saving {
  protected:
    void SetUp() override {
        Saving::SetUp();
        std::string pattern = (fs::temp_directory_path() / "tallyman-save-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        fs::remove_all(folder);
        Saving::TearDown();
    }
    bool TrySave(WideView path) {
        u32 lost = 0;
        return WriteBookFile(CurrentBook(), path, FILE_XLS, lost);
    }
    static std::string Bytes(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
    // Everything that an allocator made has to go back to it.
    static void ForgetAll() {
        ResetBooks();
        ResetFormulaEngine();
        Headless().files.Clear();
        Headless().boxes.Clear();
        ResetMemoryFiles();
    }
    fs::path folder;
};

TEST_F(SaveFaults, EveryOutputOperationThatFailsLeavesTheOldFileWhole) {
    MakeRichBook();
    CalculateBook(CurrentBook());
    for (const bool inMemory : {true, false}) {
        Headless().filesInMemory = inMemory;
        const std::u16string path = inMemory ? u"a.xls" : Wide((folder / "a.xls").string());
        const auto contents = [&] {
            if (!inMemory) return Bytes(folder / "a.xls");
            const MemoryFile* file = FindMemoryFile(u"a.xls");
            return std::string(file->bytes.begin(), file->bytes.end());
        };
        Put(60, 0, 1);
        ASSERT_TRUE(TrySave(path));
        const std::string old = contents();
        Put(60, 0, 2);
        const auto before = DumpBook(CurrentBook());
        bool saved = false;
        u32 n = 0;
        for (; !saved && n<100; saved = Headless().failFileOperation> Headless().fileOperations) {
            Headless().boxes.Clear();
            Headless().fileOperations = 0;
            Headless().failFileOperation = ++n;
            const bool good = TrySave(path);
            EXPECT_EQ(good, Headless().fileOperations < n) << n;
            EXPECT_EQ(Headless().boxes.Count(), good ? 0u : 1u) << n;
            if (!good) EXPECT_TRUE(contents() == old) << n;
            if (good) EXPECT_TRUE(contents() != old);
        }
        EXPECT_GT(n, 4u);
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
        Headless().failFileOperation = 0;
    }
    EXPECT_EQ(FilesInFolder(), 1u);
}

// A failed create, write, flush or rename on the disk: one box, the old file, and the book still to be saved.
TEST_F(SaveFaults, EveryStepOnTheDiskThatFailsIsToldOnceInEveryForm) {
    Headless().filesInMemory = false;
    static FileStep failing = STEP_COUNT;
    struct Form {
        FileType type;
        const char* name;
    };
    struct Step {
        FileStep step;
        const char* message;
    };
    constexpr Step steps[] = {{STEP_BESIDE, "Unable to open output file\n"},
                              {STEP_WRITE, "不能写入文件\n"},
                              {STEP_FLUSH, "不能写入文件\n"},
                              {STEP_LINK, "不能写入文件\n"},
                              {STEP_RENAME, "不能写入文件\n"}};
    Put(0, 0, 1);
    for (const Form& form :
         {Form{FILE_XLS, "a.xls"}, {FILE_PXL, "a.pxl"}, {FILE_CSV, "a.csv"}, {FILE_TXT, "a.txt"}}) {
        const fs::path path = folder / form.name;
        u32 lost = 0;
        failing = STEP_COUNT;
        ASSERT_TRUE(WriteBookFile(CurrentBook(), Wide(path.string()), form.type, lost));
        const std::string old = Bytes(path);
        Put(0, 0, static_cast<double>(old.size()));
        SetFileStepHook([](FileStep step) { return step == failing ? ENOSPC : 0; });
        for (const Step& row : steps) {
            failing = row.step;
            Headless().boxes.Clear();
            CurrentWorkbook()->dirty = 1;
            EXPECT_FALSE(WriteBookFile(CurrentBook(), Wide(path.string()), form.type, lost)) << row.step;
            ASSERT_EQ(Headless().boxes.Count(), 1u) << form.name << row.step;
            EXPECT_EQ(Narrow(Headless().boxes[0].text), row.message + path.string());
            EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
            EXPECT_TRUE(Bytes(path) == old) << form.name << row.step;
        }
        SetFileStepHook(nullptr);
        ASSERT_TRUE(WriteBookFile(CurrentBook(), Wide(path.string()), form.type, lost));
        EXPECT_FALSE(Bytes(path) == old);
    }
    EXPECT_EQ(FilesInFolder(), 4u);
}

TEST_F(SaveFaults, EveryAllocationThatFailsLeavesFileAndBook) {
    const u8 old[] = {'o', 'l', 'd'};
    for (u8 form : {u8{8}, u8{7}}) {
        bool done = false;
        u64 n = 0;
        std::string whole;
        const auto contents = [] {
            const MemoryFile* file = FindMemoryFile(u"a.xls");
            return std::string(file->bytes.begin(), file->bytes.end());
        };
        while (!done && n < 5000) {
            ++n;
            ForgetAll();
            Random() = RandomState();
            test::FailingAllocator allocator;
            {
                ASSERT_TRUE(PutMemoryFile(u"a.xls", old));
                ASSERT_TRUE(CreateWorkbook(nullptr, false));
                MakeRichBook();
                AddKept(form);
                CurrentWorkbook()->biffVersion = form;
                // Something to calculate.
                CellStore& store = CurrentWorkbook()->sheets[0]->cells;
                for (FormulaCell* formula : store.formulas)
                    SetStale(store, *GetCell(store, formula->row, formula->column));
                allocator.FailAt(n);
                const bool good = TrySave(u"a.xls");
                done = !allocator.HasFailed();
                allocator.StopFailing();
                const std::string first = contents();
                if (!good) {
                    EXPECT_EQ(first, "old") << n;
                    EXPECT_LE(Headless().boxes.Count(), 1u) << n;  // its record may be what failed
                }
                EXPECT_TRUE(good || !done) << n;
                // What the book shows is what it showed, and a second try is good.
                CurrentWorkbook()->currentSheet = 0;
                EXPECT_EQ(Shown("H2"), "caf\u00e9!") << n;
                CurrentWorkbook()->currentSheet = 1;
                ASSERT_TRUE(TrySave(u"a.xls")) << n;
                // A save that has gone well has left nothing out.
                if (whole.empty()) whole = contents();
                EXPECT_TRUE(contents() == whole) << n;
                if (good) EXPECT_TRUE(first == whole) << n;
                ForgetAll();
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        }
        EXPECT_TRUE(done);
        EXPECT_GT(n, 25u);
    }
}

TEST_F(SaveFaults, AFullDiskLeavesTheOldFileWhole) {
    Headless().filesInMemory = false;
    const fs::path path = folder / "a.xls";
    MakeRichBook();
    ASSERT_TRUE(TrySave(Wide(path.string())));
    const std::string old = Bytes(path);
    Put(60, 0, 2);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    for (rlim_t room = 0; room <= old.size(); room += room < 1024 ? 256 : 8192) {
        Headless().boxes.Clear();
        const rlimit small = {room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const bool good = TrySave(Wide(path.string()));
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_FALSE(good) << room;
        EXPECT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_TRUE(Bytes(path) == old) << room;
    }
    EXPECT_EQ(FilesInFolder(), 1u);
    ASSERT_TRUE(TrySave(Wide(path.string())));
    EXPECT_NE(Bytes(path), old);
}

TEST_F(SaveFaults, AProcessThatIsKilledWhileItSavesLeavesTheOldFileOrTheNew) {
    Headless().filesInMemory = false;
    const fs::path path = folder / "a.xls";
    MakeRichBook();
    ASSERT_TRUE(TrySave(Wide(path.string())));
    const std::string old = Bytes(path);
    Put(60, 0, 2);
    ASSERT_TRUE(TrySave(Wide((folder / "new.xls").string())));
    const std::string fresh = Bytes(folder / "new.xls");
    static int left = 0;
    int killed = 0;
    for (int n = 1; n <= killed + 1; ++n) {
        const pid_t child = fork();
        if (!child) {
            left = n;
            SetFileStepHook([](FileStep) {
                if (--left == 0) raise(SIGKILL);
                return 0;
            });
            _exit(TrySave(Wide(path.string())) ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        killed += WIFSIGNALED(status);
        const std::string now = Bytes(path);
        EXPECT_TRUE(now == (WIFSIGNALED(status) ? old : fresh)) << n;
    }
    EXPECT_GE(killed, 6);
    EXPECT_TRUE(Bytes(path) == fresh);
}

}  // namespace
}  // namespace tally
