#include "fileio/compound/CompoundTree.h"
#include "formula/Evaluator.h"
#include "functions/Random.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "support/BiffBuilder.h"
#include "support/FailingAllocator.h"
#include "support/Saving.h"

// A file that memory does not suffice for is not opened at all: never with a part of what it holds.

namespace tally {
namespace {

using Bytes = std::vector<u8>;

class OpenFaults : public Saving {
  protected:
    static void ForgetAll() {
        ResetBooks();
        ResetFormulaEngine();
        Headless().files.Clear();
        Headless().boxes.Clear();
        ResetMemoryFiles();
    }
    // The book that is open, saved in its own form.
    Bytes Resaved() {
        Save(CurrentWorkbook()->biffVersion);
        return File();
    }
    // Fails each allocation of an opening in turn.
    void Walk(WideView path, const Bytes& file) {
        ForgetAll();
        ASSERT_TRUE(OpenFileFromMemory(path, file, OPEN_SILENT_LINKS));
        const Bytes whole = Resaved();
        ForgetAll();
        bool done = false;
        u64 n = 0;
        while (!done) {
            ASSERT_LT(++n, 5000u);
            Random() = RandomState();
            test::FailingAllocator allocator(n);
            {
                QuietMemoryScope quiet;
                const bool opened = OpenFileFromMemory(path, file, OPEN_SILENT_LINKS);
                done = !allocator.HasFailed();
                allocator.StopFailing();
                EXPECT_TRUE(opened || !done) << n;
                EXPECT_EQ(Books().books.Count(), opened ? 1u : 0u) << n;
                if (opened) EXPECT_TRUE(Resaved() == whole) << Narrow(path) << " " << n;
                ForgetAll();
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        }
        EXPECT_GT(n, 5u);
    }
};

TEST_F(OpenFaults, AWorkbookIsOpenedWholeOrNotAtAll) {
    for (const u8 form : {u8{8}, u8{7}}) {
        ForgetAll();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeRichBook();
        AddKept(form);
        Save(form);
        Walk(u"a.xls", File());
    }
}

TEST_F(OpenFaults, FilesOfOtherFormsAreOpenedWholeOrNotAtAll) {
    for (const WideView path : {u"a.pxl", u"a.csv", u"a.txt"}) {
        ForgetAll();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeRichBook();
        CurrentWorkbook()->currentSheet = 0;
        u32 lost = 0;
        ASSERT_TRUE(WriteBookFile(CurrentBook(), path, FileTypeOf(path), lost));
        const MemoryFile* file = FindMemoryFile(path);
        Walk(path, Bytes(file->bytes.begin(), file->bytes.end()));
    }
}

}  // namespace
}  // namespace tally
