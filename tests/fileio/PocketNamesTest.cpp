#include "fileio/SaveFile.h"
#include "formula/Links.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

// Names in the pocket form: those that it cannot hold go, and all that lead to them.

namespace tally {
namespace {

class PocketNames : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        Headless().filesInMemory = true;
    }
    static void NewBook() {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
    }
    // The names that come back, in their order.
    static std::string NamesBack() {
        losses = 0;
        EXPECT_TRUE(WriteBookFile(CurrentBook(), u"a.pxl", FILE_PXL, losses));
        const MemoryFile* file = FindMemoryFile(u"a.pxl");
        const std::vector<u8> bytes(file->bytes.begin(), file->bytes.end());
        ResetBooks();
        EXPECT_TRUE(OpenFileFromMemory(u"b.pxl", bytes, OPEN_SILENT_LINKS));
        std::string out;
        for (const DefinedName& name : CurrentWorkbook()->names) out += Narrow(name.text) + " ";
        return out;
    }
    static inline u32 losses = 0;
};

TEST_F(PocketNames, ANameThatIsRefusedTakesAllThatLeadToItAlong) {
    const char* names[] = {"aa", "bb", "cc", "dd", "ee"};
    for (int bad = 0; bad < 5; ++bad) {
        for (int user = 0; user < 5; ++user) {
            NewBook();
            std::string expected;
            for (int i = 0; i < 5; ++i) DefineName(names[i], "=1");
            for (int i = 0; i < 5; ++i) {
                if (i == bad) DefineName(names[i], "={1,2}");
                else if (i == user) DefineName(names[i], std::string("=") + names[bad] + "+1");
                else expected += std::string(names[i]) + " ";
            }
            EXPECT_EQ(NamesBack(), expected) << bad << " " << user;
            EXPECT_EQ(losses, u32{LOSS_NAMES});
        }
    }
}

TEST_F(PocketNames, ChainsOfNamesAreRefusedWhole) {
    for (const bool forward : {true, false}) {
        NewBook();
        for (int i = 0; i < 40; ++i) DefineName("n" + std::to_string(i) + "x", "=1");
        for (int i = 0; i < 40; ++i) {
            const int next = forward ? i + 1 : i - 1;
            const bool last = next < 0 || next == 40;
            DefineName("n" + std::to_string(i) + "x", last ? "={1}" : "=n" + std::to_string(next) + "x");
        }
        DefineName("good", "=2");
        DefineName("user", "=good");
        EXPECT_EQ(NamesBack(), "good user ");
    }
    // One that goes to and fro more often than the walks do: what leads to names goes, the others stay.
    NewBook();
    for (int i = 0; i < 40; ++i) DefineName("n" + std::to_string(i) + "x", "=1");
    std::vector<int> order;
    for (int i = 0; i < 20; ++i) order.insert(order.end(), {i, 39 - i});
    for (std::size_t i = 0; i < 40; ++i)
        DefineName("n" + std::to_string(order[i]) + "x",
                   i == 39 ? "={1}" : "=n" + std::to_string(order[i + 1]) + "x");
    DefineName("good", "=2");
    EXPECT_EQ(NamesBack().find("n0x"), std::string::npos);
    EXPECT_EQ(CurrentWorkbook()->names.Count(), 1u);
}

TEST_F(PocketNames, NamesWithoutAFormulaStayWhereOneUsesThem) {
    NewBook();
    const WideView macro = u"Macro";
    ASSERT_TRUE(InsertSheet(1, &macro, SHEET_MACRO, false, false));
    Enter("A1", "=onMacro");
    CurrentWorkbook()->currentSheet = 0;
    Enter("A1", "=onSheet");
    DefineName("named", "=ofName");
    AddName(*CurrentWorkbook(), u"alone", 0);
    EXPECT_EQ(NamesBack(), "onSheet ofName named ");
    EXPECT_EQ(FormulaOf("A1"), "=onSheet");
}

TEST_F(PocketNames, TheSheetThatOpensIsTheNextWorksheetBefore) {
    const struct {
        i32 kinds[4];
        i32 current, opened;
    } rows[] = {{{16, 16, 16, 16}, 2, 2},
                {{16, 64, 16, 32}, 3, 1},
                {{16, 64, 16, 32}, 1, 0},
                {{64, 16, 16, 16}, 0, 0},
                {{64, 16, 16, 16}, 3, 2}};
    for (const auto& row : rows) {
        NewBook();
        for (i32 i = 1; i < 4; ++i) {
            const std::u16string text = u"S" + std::u16string(1, static_cast<char16_t>(u'a' + i));
            const WideView name = text;
            ASSERT_TRUE(InsertSheet(i, &name, row.kinds[i], false, false));
        }
        CurrentWorkbook()->sheets[0]->kind = row.kinds[0];
        CurrentWorkbook()->currentSheet = row.current;
        NamesBack();
        EXPECT_EQ(CurrentWorkbook()->currentSheet, row.opened);
    }
}

TEST_F(PocketNames, TheZoomIsThatOfTheFirstWorksheet) {
    const struct {
        i32 first, second, read;
    } rows[] = {{100, 50, 100}, {50, 100, 50}, {75, 20, 75}, {400, 10, 400}, {33, 10, 33}};
    for (const auto& row : rows) {
        NewBook();
        const WideView name = u"Two";
        ASSERT_TRUE(InsertSheet(1, &name, SHEET_WORKSHEET, false, false));
        CurrentWorkbook()->sheets[0]->zoomPercent = row.first;
        CurrentWorkbook()->sheets[1]->zoomPercent = row.second;
        NamesBack();
        for (u32 i = 0; i < 2; ++i) EXPECT_EQ(CurrentWorkbook()->sheets[i]->zoomPercent, row.read);
    }
}

}  // namespace
}  // namespace tally
