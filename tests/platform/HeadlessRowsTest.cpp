// What the headless platform does when memory fails, and what it forgets between pages, files and fields.

#include <gtest/gtest.h>

#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessPrinting.h"
#include "platform/headless/HeadlessShell.h"
#include "platform/posix/PosixForeign.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class HeadlessRows : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        UseHeadlessShell();
        ResetHeadlessShell();
        ResetHeadlessPrinter();
        Headless().filesInMemory = true;
    }
    void TearDown() override {
        ResetHeadlessPrinter();
        ResetHeadlessShell();
        ResetHeadlessPlatform();
    }
};

TEST_F(HeadlessRows, APageBeginsEmptyWhateverWasLeftOfAnother) {
    const PrinterTable& printer = HeadlessPrinting();
    ASSERT_TRUE(printer.chooseFile(u"/out.pdf"));
    ASSERT_TRUE(printer.beginDocument(u"first"));
    DrawTarget* page = printer.beginPage();
    ASSERT_NE(page, nullptr);
    FillRect(*page, {0, 0, 5, 5}, 1);
    FillRect(*page, {5, 5, 9, 9}, 2);
    printer.abortDocument();
    ASSERT_TRUE(printer.beginDocument(u"second"));
    for (u32 i = 0; i < 2; ++i) {
        page = printer.beginPage();
        ASSERT_NE(page, nullptr);
        EXPECT_EQ(printer.beginPage(), nullptr);
        FillRect(*page, {0, 0, 1, 1}, 3 + i);
        ASSERT_TRUE(printer.endPage());
        EXPECT_FALSE(printer.endPage());
    }
    ASSERT_TRUE(printer.endDocument());
    EXPECT_FALSE(printer.endDocument());
    const HeadlessPrinterState& seen = HeadlessPrinter();
    ASSERT_EQ(seen.documents.Count(), 2u);
    EXPECT_TRUE(seen.documents[0].aborted);
    EXPECT_FALSE(seen.documents[0].ended);
    EXPECT_TRUE(seen.documents[0].pages.IsEmpty());
    EXPECT_TRUE(seen.documents[1].ended);
    ASSERT_EQ(seen.documents[1].pages.Count(), 2u);
    for (u32 i = 0; i < 2; ++i) {
        ASSERT_EQ(seen.documents[1].pages[i].Count(), 1u);
        EXPECT_EQ(seen.documents[1].pages[i][0].colour, 3 + i);
    }
}

TEST_F(HeadlessRows, EachQuestionOfThePrinterIsCounted) {
    PrintRequest request;
    for (u32 i = 1; i <= 3; ++i) {
        HeadlessPrinter().accepts = i == 3;
        EXPECT_EQ(HeadlessPrinting().choose(request), i == 3);
        EXPECT_EQ(HeadlessPrinter().questions, i);
        EXPECT_EQ(HeadlessPrinter().held, i == 3);
    }
}

TEST_F(HeadlessRows, EachFileInMemoryIsFoundAndDeletedWhereverItStands) {
    const WideView paths[] = {u"/a", u"/b", u"/c"};
    for (const WideView gone : paths) {
        for (const WideView path : paths) ASSERT_TRUE(PutMemoryFile(path, {}));
        EXPECT_TRUE(ForeignPlatform().deleteFile(gone));
        for (const WideView path : paths) EXPECT_EQ(FindMemoryFile(path) == nullptr, path == gone);
        EXPECT_FALSE(ForeignPlatform().deleteFile(gone));
        for (const WideView path : paths) IgnoreFailure(ForeignPlatform().deleteFile(path));
        EXPECT_TRUE(Headless().files.IsEmpty());
    }
}

TEST_F(HeadlessRows, AFileThatFindsNoMemoryIsRefused) {
    const u8 bytes[] = {1, 2, 3};
    Headless().files.Clear();
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator(n);
        const bool good = PutMemoryFile(u"/file", bytes);
        failed = allocator.HasFailed();
        EXPECT_EQ(good, !failed) << n;
        EXPECT_EQ(FindMemoryFile(u"/file") != nullptr, good) << n;
        if (failed) EXPECT_LT(n, 9u);
        else EXPECT_GT(n, 3u);
        Headless().files.Clear();
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
    }
}

// A number below those of controls counts what can be filled in: neither labels nor pages.
TEST_F(HeadlessRows, FieldsAreFoundByTheirPlace) {
    const DialogTable table;
    Dialog dialog;
    dialog.table = &table;
    struct Field {
        i32 id;
        ControlKind kind;
    };
    for (const Field& field : {Field{200, CONTROL_LABEL},
                               {201, CONTROL_EDIT},
                               {202, CONTROL_LABEL},
                               {203, CONTROL_EDIT},
                               {204, CONTROL_EDIT}}) {
        Control* control = dialog.controls.AppendDefault();
        ASSERT_NE(control, nullptr);
        control->row.id = field.id;
        control->row.kind = field.kind;
    }
    EXPECT_TRUE(FillIn(dialog, u"0", u"first"));
    EXPECT_TRUE(FillIn(dialog, u"1", u"second"));
    EXPECT_TRUE(FillIn(dialog, u"204", u"third"));
    EXPECT_FALSE(FillIn(dialog, u"3", u"none"));
    EXPECT_FALSE(FillIn(dialog, u"205", u"none"));
    const char* texts[] = {"", "first", "", "second", "third"};
    for (u32 i = 0; i < 5; ++i) EXPECT_EQ(Narrow(dialog.controls[i].text), texts[i]) << i;
}

TEST_F(HeadlessRows, OfSeveralFormsThatFitTheFirstIsTaken) {
    const FileFilter filters[] = {
        {u"texts", u"*.txt"}, {u"books", u"*.xls"}, {u"old books", u"*.xls"}, {u"other", u"*.XLS"}};
    WideText path;
    i32 filter = 0;
    ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(u"/a.xls"));
    ASSERT_TRUE(ShellPlatform().saveFileDialog(std::span(filters), filter, path));
    EXPECT_EQ(filter, 1);
    EXPECT_EQ(Narrow(path), "/a.xls");
}

TEST_F(HeadlessRows, ARecordHoldsWhatAPictureAndAShapeHave) {
    Array<DrawRecord> records;
    DrawTarget target = MakeRecordTarget(records, 50, 50);
    const u32 pixels[] = {1, 2, 3, 4, 5, 6};
    const struct {
        i32 width, height;
        u32 kept;
    } sizes[] = {{3, 2, 6}, {1, 1, 1}, {0, 2, 0}, {2, 0, 0}, {-1, 2, 0}, {2, -3, 0}};
    for (const auto& size : sizes) {
        DrawPicture(target, {1, 2, 9, 8}, {size.width, size.height, pixels});
        const DrawRecord& record = records.Last();
        EXPECT_EQ(record.kind, DRAW_PICTURE);
        EXPECT_EQ(record.rect, (PixelRect{1, 2, 9, 8}));
        EXPECT_EQ(record.picture.Count(), size.kept);
        EXPECT_EQ(record.pictureWidth, size.kept ? size.width : 0);
        EXPECT_EQ(record.pictureHeight, size.kept ? size.height : 0);
    }
    for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
        const Pen pen = {7, PEN_DASH, 2, 3};
        const Brush brush = {.colour = 8, .pattern = 4, .backColour = 9};
        DrawShape(target, {kind, {1, 2, 30, 20}, {3, 4}, {5, 6}}, pen, brush);
        const DrawRecord& record = records.Last();
        EXPECT_EQ(record.kind, DRAW_SHAPE);
        EXPECT_EQ(record.style, kind);
        EXPECT_EQ(record.pen, pen);
        EXPECT_EQ(record.brush, brush);
        EXPECT_EQ(record.start, (PixelPoint{3, 4}));
        EXPECT_EQ(record.end, (PixelPoint{5, 6}));
        EXPECT_EQ(record.colour, 8u);
    }
    EXPECT_EQ(records.Count(), 11u);
}

TEST_F(HeadlessRows, AProgramIsStartedWithAllOfItsWordsOrNotAtAll) {
    const ForeignTable& posix = PosixForeign();
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator(n);
        const u32 process = posix.startProcess(u"/bin/true one \"\" three", SW_SHOWNORMAL);
        failed = allocator.HasFailed();
        EXPECT_EQ(process != 0, !failed) << n;
        ResetPosixForeign();
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
}

}  // namespace
}  // namespace tally
