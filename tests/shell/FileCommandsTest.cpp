// Opening, closing, the first book, and what is remembered from one start to the next.

#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Settings.h"
#include "shell/frame/Shell.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BiffBuilder.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FileCommandsTest : public ShellSandbox {
  protected:
    static void Put(WideView path, std::string_view text) {
        ASSERT_TRUE(PutMemoryFile(path, ByteView(reinterpret_cast<const u8*>(text.data()), text.size())));
    }
    static void Answer(WideView field, WideView value) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(field, value));
    }
    static std::string Setting(WideView section, WideView key) {
        WideText text;
        return ShellPlatform().readSetting(section, key, text) ? Narrow(text) : "none";
    }
    static void TypeAndEnter(WideView text) {
        TypeText(text);
        PressKey(VK_RETURN);
    }
};

TEST_F(FileCommandsTest, ATemplateBesideTheProgramIsTheFirstBook) {
    WideText path;
    ASSERT_TRUE(Platform().programDirectory(path) && path.Append(u"Book.xlt"));
    BiffBuilder builder;
    builder.Globals({"Mine"}).Bof(0x10).Number(1, 1, 5).Eof();
    const std::vector<u8> file = builder.File();
    ASSERT_TRUE(PutMemoryFile(path, ByteView(file.data(), file.size())));
    u32 books = 1;
    for (const char* name : {"Book2", "Book3"}) {
        PickCommand(110);
        EXPECT_EQ(Books().books.Count(), ++books);  // an untouched one before it stays
        EXPECT_EQ(Narrow(CurrentWorkbook()->path), name);
        EXPECT_TRUE(CurrentWorkbook()->untitled);
        EXPECT_EQ(Shown("B2"), "5");
        EXPECT_EQ(Narrow(HeadlessFrame().title), std::string("Tallyman - ") + name);
    }
    // The template itself may be open to be changed.
    ASSERT_TRUE(OpenBookFile(path, false));
    PickCommand(110);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book4");
    EXPECT_EQ(Narrow(BookAt(3)->path), Narrow(path));
    EXPECT_TRUE(Shell().recent.IsEmpty());
    // At the start it is the first book and no other.
    ResetShell();
    ResetBooks();
    StartShell(u"");
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
    EXPECT_EQ(Shown("B2"), "5");
}

TEST_F(FileCommandsTest, FilesDroppedOnTheFrameAreOpenedInTurn) {
    Put(u"/one.csv", "1\n");
    Put(u"/two.csv", "2\n");
    const WideView both[] = {u"/one.csv", u"/missing.csv", u"/two.csv"};
    DropFiles(both);
    EXPECT_EQ(Headless().boxes.Count(), 1u);  // of the missing one, as when it is opened by its name
    EXPECT_EQ(Books().books.Count(), 2u);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - two.csv");
    ASSERT_EQ(Shell().recent.Count(), 2u);
    EXPECT_EQ(Narrow(Shell().recent[0]), "/two.csv");
    EXPECT_EQ(Narrow(Shell().recent[1]), "/one.csv");
}

TEST_F(FileCommandsTest, FilesAreNotDroppedIntoAnEntryOrADialog) {
    Put(u"/one.csv", "1\n");
    const WideView one[] = {u"/one.csv"};
    TypeText(u"12");
    DropFiles(one);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - Book1");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "12");
    Dialog dialog;
    Shell().modal = &dialog;
    DropFiles(one);
    Shell().modal = nullptr;
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - Book1");
    DropFiles(one);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - one.csv");
}

TEST_F(FileCommandsTest, ATemplateThatCannotBeReadIsToldAndTheBuiltInBookIsMade) {
    Put(u"/program/Book.xlt", "no workbook");
    PickCommand(110);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "Invalid data in input file");
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book2");
    EXPECT_EQ(Shown("B2"), "");
}

// A start with a path that opens but does not read tells why and begins with the default book.
TEST_F(FileCommandsTest, APathAtTheStartThatDoesNotReadGivesItsMessageAndTheFirstBook) {
    Put(u"/bad.xls", "no workbook");
    for (const WideView line : {WideView(u"/bad.xls"), WideView(u"\"/bad.xls\"")}) {
        ResetShell();
        ResetBooks();
        Headless().boxes.Clear();
        StartShell(line);
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(Narrow(Headless().boxes[0].text), "Invalid data in input file");
        ASSERT_EQ(Books().books.Count(), 1u);
        EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
        EXPECT_TRUE(Shell().recent.IsEmpty());
    }
}

TEST_F(FileCommandsTest, WhileTypingNoBookIsOpenedOrMade) {
    Put(u"/a.csv", "1\n");
    AddRecentFile(u"/a.csv");
    TypeText(u"x");
    ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(u"/a.csv"));
    for (const i32 command : {110, 111, 118}) PickCommand(command);
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Line(), "x");
    PressKey(VK_ESCAPE);
    PickCommand(119);  // there is no second one
    PickCommand(118);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/a.csv");
    EXPECT_EQ(Shown("A1"), "1");
}

TEST_F(FileCommandsTest, ACancelledDialogOpensNothing) {
    PickCommand(111);
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_TRUE(Shell().recent.IsEmpty());
}

TEST_F(FileCommandsTest, ABookThatIsOpenIsShownAgainAndNotReadTwice) {
    Put(u"/a.csv", "1\n");
    Put(u"/b.csv", "2\n");
    ASSERT_TRUE(OpenBookFile(u"/a.csv", true));
    ASSERT_TRUE(OpenBookFile(u"/b.csv", false));
    BookAt(0)->hiddenLink = 1;
    IgnoreFailure(OpenBookFile(u"/A.csv", true));
    EXPECT_EQ(Books().books.Count(), 2u);
    EXPECT_EQ(BookAt(0)->hiddenLink, 0);
    ASSERT_EQ(Shell().recent.Count(), 1u);
}

TEST_F(FileCommandsTest, ClosingAsksAndEachAnswerIsDone) {
    Put(u"/a.csv", "1\n");
    struct Case {
        i32 answer;
        u32 books;
        const char* file;
    };
    for (const Case& row : {Case{IDCANCEL, 1, "1\n"}, {IDNO, 0, "1\n"}, {IDYES, 0, "7"}}) {
        TearDown();
        SetUp();
        Put(u"/a.csv", "1\n");
        ASSERT_TRUE(OpenBookFile(u"/a.csv", true));
        TypeAndEnter(u"7");
        ASSERT_TRUE(Headless().answers.Append(row.answer));
        PickCommand(112);
        EXPECT_EQ(Books().books.Count(), row.books);
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_NE(Narrow(Headless().boxes[0].text).find("a.csv"), std::string::npos);
        const MemoryFile* file = FindMemoryFile(u"/a.csv");
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->bytes[0], static_cast<u8>(row.file[0]));
    }
}

TEST_F(FileCommandsTest, LeavingAsksForEachChangedBookAndStopsAtACancel) {
    TypeAndEnter(u"1");
    PickCommand(110);
    PickCommand(110);
    TypeAndEnter(u"3");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(127);  // the other changed one is cancelled
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Shown("A1"), "1");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(127);
    EXPECT_TRUE(HeadlessFrame().hasQuit);
    EXPECT_EQ(CurrentBook(), -1);
}

TEST_F(FileCommandsTest, TheTitleBearsTheNameOfTheFile) {
    Put(u"/some where/list.csv", "1\n");
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - Book1");
    ASSERT_TRUE(OpenBookFile(u"/some where/list.csv", true));
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - list.csv");
    PickCommand(112);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman");
}

TEST_F(FileCommandsTest, BarsAndFilesAreRememberedUnderTheirKeys) {
    const char16_t* styles[] = {u"StdStyle", u"FmlStyle", u"FmtStyle", u"EntStyle"};
    const char* shown[] = {"132", "133", "133", "133"};
    const char* hidden[] = {"140", "141", "141", "141"};
    for (u32 i = 0; i < 4; ++i) Shell().bandHidden[i] = false;
    AddRecentFile(u"/two.csv");
    AddRecentFile(u"/one.csv");
    SaveSettings();
    for (u32 i = 0; i < 4; ++i) EXPECT_EQ(Setting(u"Options", styles[i]), shown[i]) << i;
    EXPECT_EQ(Setting(u"Recent files", u"File1"), "/one.csv");
    EXPECT_EQ(Setting(u"Recent files", u"File2"), "/two.csv");
    EXPECT_EQ(Setting(u"Recent files", u"File9"), "");
    EXPECT_EQ(Setting(u"Recent files", u"File10"), "none");
    EXPECT_EQ(Setting(u"Options", u"StsBarShow"), "1");
    EXPECT_EQ(Setting(u"Options", u"StsBarFunc"), "6");
    for (u32 i = 0; i < 4; ++i) Shell().bandHidden[i] = true;
    SaveSettings();
    for (u32 i = 0; i < 4; ++i) EXPECT_EQ(Setting(u"Options", styles[i]), hidden[i]) << i;
    for (u32 i = 0; i < 4; ++i) {
        ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", styles[i], i % 2 ? u"0" : u"8"));
    }
    ResetShell();
    LoadSettings();
    for (u32 i = 0; i < 4; ++i) EXPECT_EQ(Shell().bandHidden[i], i % 2 == 0) << i;
    ASSERT_EQ(Shell().recent.Count(), 2u);
    EXPECT_EQ(Narrow(Shell().recent[1]), "/two.csv");
}

TEST_F(FileCommandsTest, SettingsThatAreNoNumbersAreTheDefaults) {
    for (const char16_t* text : {u"", u"x", u"-1", u"1x", u"2147483648", u"99999999999999999999", u"7"}) {
        ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"StsBarFunc", text));
        LoadSettings();
        EXPECT_EQ(Shell().aggregate, 6) << Narrow(text);
    }
    ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"StsBarFunc", u"0"));
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 0);
    for (const auto& [text, closed] : {std::pair{u"0", false}, {u"1", true}}) {
        ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"TrustClosed", text));
        LoadSettings();
        EXPECT_EQ(Shell().trustClosed, closed);
        SaveSettings();
        EXPECT_EQ(Setting(u"Options", u"TrustClosed"), Narrow(text));
    }
    ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"TrustClosed", u"0"));
    LoadSettings();
}

TEST_F(FileCommandsTest, AFullScreenComesBackAtTheNextStart) {
    PickCommand(421);
    SaveSettings();
    ResetBooks();
    ResetShell();
    HeadlessFrame().fullScreen = false;
    StartShell(u"");
    EXPECT_TRUE(HeadlessFrame().fullScreen);
    EXPECT_TRUE(IsEmptyRect(Shell().layout.toolbar));
    PickCommand(421);
    EXPECT_FALSE(HeadlessFrame().fullScreen);
}

TEST_F(FileCommandsTest, TheLimitsOfScaleNamesAndSizesAreTaken) {
    const auto boxes = [] { return Headless().boxes.Count(); };
    for (const auto& [text, zoom] : {std::pair{u"10", 10}, {u"400", 400}, {u"55.9", 55}}) {
        Answer(u"显示比例(&Z) %", text);
        PickCommand(410);
        EXPECT_EQ(CurrentSheet()->zoomPercent, zoom);
    }
    EXPECT_EQ(boxes(), 0u);
    for (const char16_t* text : {u"9.9", u"9", u"400.5", u"x", u""}) {
        const u32 before = boxes();
        Answer(u"显示比例(&Z) %", text);
        PickCommand(410);
        EXPECT_EQ(CurrentSheet()->zoomPercent, 55);
        EXPECT_EQ(boxes(), before + 1);
    }
    const std::u16string longest(31, u'n');
    Answer(u"名称", longest);
    PickCommand(400);
    EXPECT_EQ(WideView(CurrentSheet()->name), WideView(longest));
    for (const char16_t bad : std::u16string_view(u"\\/?*[]:")) {
        const u32 before = boxes();
        Answer(u"名称", std::u16string(u"a") + bad);
        PickCommand(400);
        EXPECT_EQ(boxes(), before + 1);
    }
    Answer(u"名称", longest + u"n");
    PickCommand(400);
    EXPECT_EQ(WideView(CurrentSheet()->name), WideView(longest));
}

TEST_F(FileCommandsTest, HidingASheetGoesToTheNextElseToTheOneBefore) {
    PickCommand(163);
    PickCommand(163);
    SelectSheet(1);
    PickCommand(401);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    PickCommand(401);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    PickCommand(401);  // the last one stays
    EXPECT_EQ(CurrentSheet()->hidden, 0);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    Answer(u"工作表", u"Sheet3");
    PickCommand(402);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    PickCommand(130);
    EXPECT_EQ(CurrentWorkbook()->sheets[2]->hidden, 1);
    ASSERT_TRUE(AnswerDialog(false));
    PickCommand(402);
    EXPECT_EQ(CurrentWorkbook()->sheets[1]->hidden, 1);
}

TEST_F(FileCommandsTest, SheetsAreInsertedBehindAllOthers) {
    Select("C3");
    PickCommand(163);
    PickCommand(166);
    ASSERT_EQ(CurrentWorkbook()->sheets.Count(), 3u);
    EXPECT_EQ(CurrentWorkbook()->sheets[1]->kind, SHEET_WORKSHEET);
    EXPECT_EQ(CurrentWorkbook()->sheets[2]->kind, SHEET_MACRO);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    TypeText(u"1");
    PickCommand(163);
    EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 3u);
}

}  // namespace
}  // namespace tally
