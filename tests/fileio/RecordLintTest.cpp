#include "support/RecordLint.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/Platform.h"
#include "fileio/compound/CompoundReader.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Saving.h"

// Saved workbooks before a strict reader.

namespace tally {
namespace {

namespace fs = std::filesystem;

class Linted : public Saving {
  protected:
    std::string Lint(u8 form) {
        Save(form);
        return LintText(LintWorkbook(Stream(), form));
    }
};

TEST_F(Linted, AFreshBookHasNothingToFind) {
    for (const u8 form : {u8{8}, u8{7}}) EXPECT_EQ(Lint(form), "") << int{form};
}

TEST_F(Linted, ABookOfEverythingHasNothingToFind) {
    MakeRichBook();
    for (const u8 form : {u8{8}, u8{7}}) EXPECT_EQ(Lint(form), "") << int{form};
}

// Real workbooks, read and saved in both forms.
TEST_F(Linted, RealWorkbooksSavedAnewHaveNothingToFind) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "TALLYMAN_CORPUS is not set";
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".xls") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    int opened = 0;
    for (const fs::path& path : files) {
        ResetBooks();
        Headless().files.Clear();
        Headless().filesInMemory = false;
        const bool good = OpenFile(path.u16string(), OPEN_SILENT_LINKS);
        Headless().filesInMemory = true;
        if (!good) continue;
        ++opened;
        for (const u8 form : {u8{8}, u8{7}}) {
            Save(form);
            EXPECT_EQ(LintText(LintWorkbook(Stream(), form, true)), "") << path << " form " << int{form};
        }
    }
    EXPECT_GT(opened, 100);
}

}  // namespace
}  // namespace tally
