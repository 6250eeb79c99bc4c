// The platform without a screen: files in memory, refused reads, answers of boxes, fonts with fixed metrics.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/headless/HeadlessDrawing.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"

namespace tally {
namespace {

class Headlessly : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        Headless().filesInMemory = true;
        ResetHeadlessShell();
        UseHeadlessShell();
    }
    void TearDown() override {
        ResetHeadlessShell();
        ResetHeadlessPlatform();
    }
    static ByteView BytesOf(std::string_view text) {
        return {reinterpret_cast<const u8*>(text.data()), text.size()};
    }
    static std::string Contents(WideView path) {
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::string(reinterpret_cast<const char*>(file->bytes.Data()), file->bytes.Count())
                    : "none";
    }
    static ReadOutcome Read(WideView path, bool foreign, std::string& out, FileStamp* stamp = nullptr,
                            bool (*mayBe)(ByteView) = nullptr) {
        Array<u8> bytes;
        FileRequest request;
        request.path = path;
        request.foreign = foreign;
        request.mayBe = mayBe;
        const ReadOutcome outcome = Platform().readPlainFile(request, bytes, stamp);
        out.assign(reinterpret_cast<const char*>(bytes.Data()), bytes.Count());
        return outcome;
    }
};

TEST_F(Headlessly, AnOutputIsAFileOnlyWhenItIsClosed) {
    const PlatformTable& platform = Platform();
    const OutputHandle one = platform.createFile(u"/one"), two = platform.createFile(u"/two");
    ASSERT_NE(one, 0);
    ASSERT_NE(two, 0);
    ASSERT_NE(one, two);
    EXPECT_EQ(platform.createFile({}), 0);
    EXPECT_TRUE(platform.writeFile(one, "abcdef", 6));
    EXPECT_TRUE(platform.writeFile(two, "xyz", 3));
    struct Case {
        u64 offset;
        const char* bytes;
        std::size_t count;
        bool good;
    };
    for (const Case& row : {Case{0, "AB", 2, true},
                            {5, "F", 1, true},
                            {4, "?", 0, true},
                            {6, "?", 0, true},
                            {6, "?", 1, false},
                            {7, "?", 0, false},
                            {5, "??", 2, false},
                            {~u64{0}, "??", 2, false}})
        EXPECT_EQ(platform.patchFile(one, row.offset, row.bytes, row.count), row.good) << row.offset;
    EXPECT_EQ(Contents(u"/one"), "none");
    EXPECT_TRUE(platform.closeFile(one));
    EXPECT_EQ(Contents(u"/one"), "ABcdeF");
    platform.abandonFile(two);
    EXPECT_EQ(Contents(u"/two"), "none");
    for (const OutputHandle gone : {one, two, OutputHandle{0}, OutputHandle{-1}, OutputHandle{99}}) {
        EXPECT_FALSE(platform.writeFile(gone, "x", 1)) << gone;
        EXPECT_FALSE(platform.patchFile(gone, 0, "x", 1)) << gone;
        EXPECT_FALSE(platform.closeFile(gone)) << gone;
        platform.abandonFile(gone);
    }
    EXPECT_EQ(Contents(u"/one"), "ABcdeF");
}

TEST_F(Headlessly, EachWritingIsAnotherVersion) {
    ASSERT_TRUE(PutMemoryFile(u"/a", BytesOf("12345")));
    ASSERT_TRUE(PutMemoryFile(u"/b", BytesOf("")));
    EXPECT_EQ(Headless().files.Count(), 2u);
    FileStamp first, second, other;
    ASSERT_TRUE(Platform().fileStamp(u"/a", first));
    EXPECT_TRUE(first.known);
    EXPECT_EQ(first.size, 5u);
    ASSERT_TRUE(PutMemoryFile(u"/a", BytesOf("67")));
    EXPECT_EQ(Headless().files.Count(), 2u);
    EXPECT_EQ(Contents(u"/a"), "67");
    ASSERT_TRUE(Platform().fileStamp(u"/a", second));
    EXPECT_EQ(second.size, 2u);
    EXPECT_NE(second.seconds, first.seconds);
    EXPECT_FALSE(Platform().fileStamp(u"/c", other));
    EXPECT_TRUE(Platform().fileExists(u"/a"));
    EXPECT_FALSE(Platform().fileExists(u"/c"));
    Array<u8> bytes;
    EXPECT_TRUE(Platform().readFile(u"/a", bytes));
    EXPECT_EQ(bytes.Count(), 2u);
    EXPECT_FALSE(Platform().readFile(u"/c", bytes));
    EXPECT_EQ(bytes.Count(), 0u);
    WideText directory;
    EXPECT_TRUE(Platform().programDirectory(directory));
    EXPECT_EQ(directory.View(), WideView(u"/program/"));
}

TEST_F(Headlessly, AForeignFileIsReadOnlyWithTrust) {
    ASSERT_TRUE(PutMemoryFile(u"/a", BytesOf("text")));
    struct Case {
        TrustState links, trust;
        bool foreign;
        ReadOutcome outcome;
    };
    u32 own = 0, foreign = 0;
    for (const Case& row : {Case{TRUST_CLOSED, TRUST_CLOSED, false, READ_GOOD},
                            {TRUST_CLOSED, TRUST_CLOSED, true, READ_REFUSED},
                            {TRUST_OPEN, TRUST_CLOSED, true, READ_GOOD},
                            {TRUST_CLOSED, TRUST_OPEN, true, READ_GOOD},
                            {TRUST_OPEN, TRUST_OPEN, true, READ_GOOD}}) {
        Headless().links = row.links;
        Headless().trust = row.trust;
        std::string text;
        EXPECT_EQ(Read(u"/a", row.foreign, text), row.outcome);
        EXPECT_EQ(text, row.outcome == READ_GOOD ? "text" : "");
        ++(row.foreign ? foreign : own);
        EXPECT_EQ(Headless().ownReads, own);
        EXPECT_EQ(Headless().foreignReads, foreign);
    }
    std::string text;
    EXPECT_EQ(Read(u"/none", false, text), READ_MISSING);
    FileStamp stamp;
    EXPECT_EQ(Read(u"/a", false, text, &stamp, [](ByteView start) { return start.size() == 4; }), READ_GOOD);
    EXPECT_EQ(stamp.size, 4u);
    EXPECT_EQ(Read(u"/a", false, text, nullptr, [](ByteView start) { return start.size() != 4; }),
              READ_UNWANTED);
}

TEST_F(Headlessly, TheNthFileOperationFailsAndNoOther) {
    for (u32 n = 0; n <= 7; ++n) {
        ResetHeadlessPlatform();
        Headless().filesInMemory = true;
        Headless().failFileOperation = n;
        const PlatformTable& platform = Platform();
        std::string done;
        const OutputHandle file = platform.createFile(u"/f");
        done += file != 0 ? "c" : "-";
        done += platform.writeFile(file, "ab", 2) ? "w" : "-";
        done += platform.patchFile(file, 0, "x", 1) ? "p" : "-";
        done += platform.closeFile(file) ? "e" : "-";
        Array<u8> bytes;
        done += platform.readFile(u"/f", bytes) ? "r" : "-";
        std::string text;
        const ReadOutcome outcome = Read(u"/f", false, text);
        done += outcome == READ_GOOD ? "R" : outcome == READ_FAILED ? "F" : "-";
        static constexpr const char* expected[] = {"cwperR", "------", "c--erR", "cw-erR",
                                                   "cwp---", "cwpe-R", "cwperF", "cwperR"};
        EXPECT_EQ(done, expected[n]) << n;
        EXPECT_EQ(Headless().fileOperations, 6u);
    }
}

TEST_F(Headlessly, ABoxIsAnsweredFromTheScriptElseHarmlessly) {
    struct Case {
        u32 flags;
        i32 answer;
    };
    for (const Case& row : {Case{MB_OK, IDOK},
                            {MB_OKCANCEL, IDCANCEL},
                            {MB_YESNO, IDNO},
                            {MB_YESNOCANCEL, IDCANCEL},
                            {MB_RETRYCANCEL, IDCANCEL},
                            {MB_YESNO | 0x30, IDNO}}) {
        EXPECT_EQ(Platform().messageBox(u"text", u"title", row.flags), row.answer) << row.flags;
        const RecordedBox& box = Headless().boxes.Last();
        EXPECT_EQ(box.text.View(), WideView(u"text"));
        EXPECT_EQ(box.title.View(), WideView(u"title"));
        EXPECT_EQ(box.flags, row.flags);
        EXPECT_EQ(box.answer, row.answer);
    }
    ASSERT_TRUE(Headless().answers.Append(IDYES));
    ASSERT_TRUE(Headless().answers.Append(IDRETRY));
    EXPECT_EQ(Platform().messageBox(u"a", u"b", MB_YESNO), IDYES);
    EXPECT_EQ(Platform().messageBox(u"a", u"b", MB_RETRYCANCEL), IDRETRY);
    EXPECT_EQ(Platform().messageBox(u"a", u"b", MB_YESNO), IDNO);
}

TEST_F(Headlessly, ClockRegionAndFacts) {
    Headless().fixedClock = true;
    Headless().clock = {2024, 2, 29, 23, 58, 57, 123};
    SystemTime now = {};
    Platform().getLocalTime(now);
    EXPECT_EQ(now.year, 2024);
    EXPECT_EQ(now.second, 57);
    EXPECT_EQ(Platform().clockSeconds(), 1u);
    Headless().fixedClock = false;
    Platform().getLocalTime(now);
    EXPECT_GE(now.year, 2024);
    EXPECT_LT(now.year, 3000);
    EXPECT_GE(now.month, 1);
    EXPECT_LE(now.month, 12);
    EXPECT_LT(now.milliseconds, 1000);
    EXPECT_GT(Platform().clockSeconds(), 1700000000u);
    EXPECT_EQ(Platform().getACP(), 1252u);
    Headless().ansiCodePage = 936;
    EXPECT_EQ(Platform().getACP(), 936u);
    Headless().ansiCodePage = 0;
    EXPECT_FALSE(SetHeadlessRegion("xx-YY"));
    EXPECT_STREQ(Headless().tag, "en-US");
    EXPECT_TRUE(SetHeadlessRegion("de-DE"));
    EXPECT_STREQ(Platform().localeTag(), "de-DE");
    u8 family = 0, set = 0;
    EXPECT_FALSE(Platform().findFontFace(u"Any", family, set));
}

// ---- the frame -------------------------------------------------------------------------------------------

TEST_F(Headlessly, TheEntryLineKeepsItsSelectionInside) {
    const ShellPlatformTable& shell = ShellPlatform();
    shell.setEditText(ENTRY_LINE, u"abcdef");
    struct Case {
        i32 start, end, gotStart, gotEnd;
    };
    for (const Case& row : {Case{1, 3, 1, 3}, {-5, 3, 0, 3}, {2, 99, 2, 6}, {4, 1, 4, 4}, {99, 99, 6, 6}}) {
        shell.selectEdit(ENTRY_LINE, row.start, row.end);
        i32 start = -1, end = -1;
        shell.editSelection(ENTRY_LINE, start, end);
        EXPECT_EQ(start, row.gotStart);
        EXPECT_EQ(end, row.gotEnd);
    }
    shell.selectEdit(ENTRY_LINE, 1, 3);
    shell.replaceEditSelection(ENTRY_LINE, u"XYZ");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].text.View(), WideView(u"aXYZdef"));
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 4);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 4);
    shell.selectEdit(ENTRY_LINE, 1, 4);
    shell.editAction(ENTRY_LINE, EDIT_COPY);
    WideText copied;
    ASSERT_TRUE(ReadClipboardText(copied));
    EXPECT_EQ(copied.View(), WideView(u"XYZ"));
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].text.View(), WideView(u"aXYZdef"));
    shell.editAction(ENTRY_LINE, EDIT_CUT);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].text.View(), WideView(u"adef"));
    shell.selectEdit(ENTRY_LINE, 4, 4);
    shell.editAction(ENTRY_LINE, EDIT_PASTE);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].text.View(), WideView(u"adefXYZ"));
    shell.setEditText(ENTRY_LINE, u"q");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 0);
    EXPECT_FALSE(shell.editCanUndo(ENTRY_LINE));
}

struct HeardEdits {
    std::vector<EditHandle> keys, characters, changes;
    char16_t swallowed = 0;
};
HeardEdits heardEdits;

TEST_F(Headlessly, EachEditControlHasItsOwnTextCaretAndPlace) {
    const FrameCalls former = FrameCallsInUse();
    FrameCalls calls = former;
    heardEdits = {};
    calls.editKeyDown = [](EditHandle edit, u32 key, u32) {
        heardEdits.keys.push_back(edit);
        return key == VK_HOME;
    };
    calls.editChar = [](EditHandle edit, u32 character, u32) {
        heardEdits.characters.push_back(edit);
        return character == heardEdits.swallowed;
    };
    calls.editChanged = [](EditHandle edit) { heardEdits.changes.push_back(edit); };
    UseFrameCalls(calls);
    const ShellPlatformTable& shell = ShellPlatform();
    const HeadlessEdit &line = HeadlessFrame().edits[ENTRY_LINE],
                       &comment = HeadlessFrame().edits[COMMENT_EDIT];
    shell.placeEdit(ENTRY_LINE, {0, 0, 100, 20}, true);
    shell.placeEdit(COMMENT_EDIT, {50, 60, 150, 120}, true);
    shell.setEditText(ENTRY_LINE, u"line");
    shell.setEditText(COMMENT_EDIT, u"note");
    shell.selectEdit(ENTRY_LINE, 1, 3);
    shell.focusEdit(COMMENT_EDIT);
    // What the shell does is not told.
    EXPECT_TRUE(heardEdits.changes.empty());
    heardEdits.swallowed = u'b';
    TypeText(u"abc");
    EXPECT_EQ(comment.text.View(), WideView(u"acnote"));
    EXPECT_EQ(heardEdits.characters, (std::vector<EditHandle>(3, COMMENT_EDIT)));
    EXPECT_EQ(heardEdits.changes, (std::vector<EditHandle>(2, COMMENT_EDIT)));
    PressKey(VK_BACK);
    PressKey(VK_RIGHT);
    PressKey(VK_HOME);
    EXPECT_EQ(comment.text.View(), WideView(u"anote"));
    EXPECT_EQ(comment.start, 2);
    EXPECT_EQ(heardEdits.keys, (std::vector<EditHandle>(3, COMMENT_EDIT)));
    EXPECT_EQ(heardEdits.changes.size(), 4u);
    EXPECT_EQ(line.text.View(), WideView(u"line"));
    EXPECT_EQ(line.start, 1);
    EXPECT_EQ(line.end, 3);
    EXPECT_EQ(line.place, (PixelRect{0, 0, 100, 20}));
    shell.focusEdit(ENTRY_LINE);
    TypeText(u"X");
    EXPECT_EQ(line.text.View(), WideView(u"lXe"));
    EXPECT_EQ(comment.text.View(), WideView(u"anote"));
    EXPECT_EQ(heardEdits.changes.back(), ENTRY_LINE);
    shell.placeEdit(COMMENT_EDIT, {}, false);
    EXPECT_TRUE(IsEmptyRect(comment.place));
    EXPECT_FALSE(IsEmptyRect(line.place));
    shell.focusFrame();
    TypeText(u"Y");
    EXPECT_EQ(line.text.View(), WideView(u"lXe"));
    UseFrameCalls(former);
}

TEST_F(Headlessly, APopupGivesTheScriptedItemOnceUnlessItIsGreyOrNotThere) {
    Array<MenuItem> items;
    ASSERT_TRUE(AddMenuItem(items, 7, u"first", true, false) && AddMenuItem(items, 8, u"grey", false, false) &&
                AddMenuItem(items, 9, u"checked", true, true) && AddMenuItem(items, 10, u"too", true, true));
    struct Case {
        i32 answer, chosen;
    };
    for (const Case& row : {Case{7, 7}, {8, 0}, {9, 9}, {11, 0}, {0, 0}}) {
        HeadlessFrame().popupAnswer = row.answer;
        EXPECT_EQ(ShellPlatform().trackPopup(items, 30, 40), row.chosen) << row.answer;
        EXPECT_EQ(ShellPlatform().trackPopup(items, 30, 40), 0);
        EXPECT_EQ(HeadlessFrame().popupX, 30);
        EXPECT_EQ(HeadlessFrame().popupY, 40);
        EXPECT_EQ(HeadlessFrame().popupChecked, 2);
        ASSERT_EQ(HeadlessFrame().popupItems.Count(), 4u);
        EXPECT_EQ(HeadlessFrame().popupItems[1].text.View(), WideView(u"grey"));
    }
}

TEST_F(Headlessly, APopupIsRememberedWithItsColumnsAndItsItemsAreShownAsTheShellPaintsThem) {
    Array<MenuItem> items;
    ASSERT_TRUE(AddMenuItem(items, 7, u"text", true, false) && AddMenuItem(items, 8, u"oval", true, true));
    items[1].newColumn = true;
    items[1].paintedWidth = 16;
    items[1].paintedHeight = 18;
    IgnoreFailure(ShellPlatform().trackPopup(items, 0, 0));
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 2u);
    EXPECT_FALSE(HeadlessFrame().popupItems[0].newColumn);
    EXPECT_FALSE(IsPainted(HeadlessFrame().popupItems[0]));
    EXPECT_TRUE(HeadlessFrame().popupItems[1].newColumn);
    EXPECT_TRUE(HeadlessFrame().popupItems[1].checked);
    const FrameCalls former = FrameCallsInUse();
    FrameCalls calls = former;
    calls.sendMessage = [](const ShellMessage& message) {
        EXPECT_EQ(message.message, u32{WM_DRAWITEM});
        EXPECT_EQ(message.command, 8);
        FillRect(*message.target, message.paint, message.itemState);
        return true;
    };
    UseFrameCalls(calls);
    PaintPopupItem(0, 0);  // a text is not painted
    PaintPopupItem(2, 0);
    EXPECT_TRUE(HeadlessFrame().drawing.IsEmpty());
    PaintPopupItem(1, ITEM_SELECTED | ITEM_CHECKED);
    UseFrameCalls(former);
    ASSERT_EQ(HeadlessFrame().drawing.Count(), 1u);
    EXPECT_EQ(HeadlessFrame().drawing[0].rect, (PixelRect{0, 0, 16, 18}));
    EXPECT_EQ(HeadlessFrame().drawing[0].colour, u32{ITEM_SELECTED | ITEM_CHECKED});
}

TEST_F(Headlessly, TheFrameRemembersWhatItWasTold) {
    const ShellPlatformTable& shell = ShellPlatform();
    shell.setTitle(u"title");
    EXPECT_EQ(HeadlessFrame().title.View(), WideView(u"title"));
    i32 width = 0, height = 0;
    shell.clientSize(width, height);
    EXPECT_EQ(width, 800);
    EXPECT_EQ(height, 600);
    shell.invalidate({1, 2, 1, 9});
    EXPECT_EQ(HeadlessFrame().invalidations, 0u);
    shell.invalidate({1, 2, 2, 9});
    EXPECT_EQ(HeadlessFrame().invalidations, 1u);
    EXPECT_EQ(HeadlessFrame().dirty.Count(), 1u);
    for (const bool on : {true, false}) {
        shell.setCapture(on);
        EXPECT_EQ(HeadlessFrame().captured, on);
        shell.setFullScreen(on);
        EXPECT_EQ(HeadlessFrame().fullScreen, on);
        if (on) shell.startTimer(5, 10);
        else shell.killTimer(5);
        for (i32 timer = 0; timer < 8; ++timer) EXPECT_EQ(HeadlessFrame().timers[timer], on && timer == 5);
        if (on) shell.focusEdit(ENTRY_LINE);
        else shell.focusFrame();
        EXPECT_EQ(HeadlessFrame().focus, on ? ENTRY_LINE : EDIT_NONE);
        shell.placeEdit(ENTRY_LINE, {1, 2, 3, 4}, on);
        EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].place, on ? (PixelRect{1, 2, 3, 4}) : PixelRect());
    }
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    shell.quit();
    EXPECT_TRUE(HeadlessFrame().hasQuit);
    ResetHeadlessShell();
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    EXPECT_TRUE(HasShellPlatform());
}

TEST_F(Headlessly, SettingsAndFileDialogs) {
    const ShellPlatformTable& shell = ShellPlatform();
    WideText text;
    EXPECT_FALSE(shell.readSetting(u"a", u"b", text));
    ASSERT_TRUE(shell.writeSetting(u"a", u"b", u"1"));
    ASSERT_TRUE(shell.writeSetting(u"a", u"c", u"2"));
    ASSERT_TRUE(shell.writeSetting(u"x", u"b", u"3"));
    ASSERT_TRUE(shell.writeSetting(u"A", u"B", u"4"));
    EXPECT_EQ(HeadlessFrame().settings.Count(), 3u);
    ASSERT_TRUE(shell.readSetting(u"a", u"b", text));
    EXPECT_EQ(text.View(), WideView(u"4"));
    ASSERT_TRUE(shell.readSetting(u"x", u"b", text));
    EXPECT_EQ(text.View(), WideView(u"3"));
    EXPECT_FALSE(shell.readSetting(u"x", u"c", text));

    const FileFilter filters[] = {{u"books", u"*.xls"}, {u"lists", u"*.csv"}, {u"texts", u"*.txt"}};
    struct Case {
        const char16_t* path;
        i32 row, filter;
        bool chosen;
    };
    for (const Case& row : {Case{u"", -1, 0, false},
                            {u"/a.csv", -1, 1, true},
                            {u"/a.TXT", -1, 2, true},
                            {u"/a.doc", -1, 0, true},
                            {u".csv", -1, 0, true},
                            {u"/a.csv", 2, 2, true},
                            {u"/a.txt", 0, 0, true}}) {
        ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(row.path) && text.Assign(u"offered"));
        HeadlessFrame().dialogFilter = row.row;
        i32 filter = 0;
        EXPECT_EQ(shell.saveFileDialog(std::span<const FileFilter>(filters, 3), filter, text), row.chosen);
        EXPECT_EQ(filter, row.filter) << row.row;
        EXPECT_EQ(HeadlessFrame().offeredPath.View(), WideView(u"offered"));
        EXPECT_EQ(text.View(), row.chosen ? WideView(row.path) : WideView(u"offered"));
        EXPECT_TRUE(HeadlessFrame().dialogPath.IsEmpty());
    }
}

TEST_F(Headlessly, FontsAreKnownByAllThatTheyAre) {
    FontRequest request;
    request.faceName = u"Arial";
    request.pixelHeight = 10;
    const FontTable& fonts = HeadlessFonts();
    const FontHandle plain = fonts.findFont(request);
    ASSERT_GT(plain, 0);
    EXPECT_EQ(fonts.findFont(request), plain);
    std::vector<FontHandle> all = {plain};
    void (*const changes[])(FontRequest&) = {
        [](FontRequest& font) { font.faceName = u"Times"; },
        [](FontRequest& font) { font.pixelHeight = 11; },
        [](FontRequest& font) { font.weight = 700; },
        [](FontRequest& font) { font.italic = !font.italic; },
        [](FontRequest& font) { font.underline = !font.underline; },
        [](FontRequest& font) { font.strikeout = !font.strikeout; },
        [](FontRequest& font) { font.escapement = 900; },
    };
    for (const auto& change : changes) {
        FontRequest other = request;
        change(other);
        const FontHandle font = fonts.findFont(other);
        for (const FontHandle known : all) EXPECT_NE(font, known);
        EXPECT_EQ(fonts.findFont(other), font);
        all.push_back(font);
    }
    struct Case {
        FontHandle font;
        WideView text;
        i32 width, height;
    };
    for (const Case& row : {Case{plain, u"abc", 15, 13},
                            {plain, u"", 0, 13},
                            {plain, u"a中", 15, 13},
                            {all[2], u"abc", 18, 14},
                            {0, u"ab", 14, 16},
                            {99, u"ab", 14, 16}}) {
        i32 width = -1, height = -1;
        fonts.textExtent(row.font, row.text, width, height);
        EXPECT_EQ(width, row.width) << row.font;
        EXPECT_EQ(height, row.height) << row.font;
    }
}

TEST_F(Headlessly, AMaskHasTheBoxesOfCharactersTurned) {
    // "a b" of five pixels a character, thirteen high; two rows at the top and at the bottom stay free.
    struct Case {
        i32 escapement;
        PixelRect place;
        i32 ink;
    };
    for (const Case& row : {Case{0, {0, 0, 15, 13}, 72},
                            {900, {0, -15, 13, 0}, 72},
                            {1800, {-15, -13, 0, 0}, 72},
                            {2700, {-13, 0, 0, 15}, 72},
                            {-900, {-13, 0, 0, 15}, 72},
                            {3600, {0, 0, 15, 13}, 72},
                            {450, {0, -11, 20, 10}, 72},
                            {1350, {-11, -11, 10, 10}, 72}}) {
        FontRequest request;
        request.pixelHeight = 10;
        request.escapement = row.escapement;
        const FontHandle font = HeadlessFonts().findFont(request);
        TextMask mask;
        ASSERT_TRUE(HeadlessFonts().textMask(font, u"a b", {-99, -99, 99, 99}, mask));
        if (row.escapement % 900 == 0)
            EXPECT_EQ((PixelRect{mask.left, mask.top, mask.left + mask.width, mask.top + mask.height}),
                      row.place)
                << row.escapement;
        i32 ink = 0;
        for (const u8 covered : mask.coverage) ink += covered == 255;
        EXPECT_NEAR(ink, row.ink, row.escapement % 900 ? 6 : 0) << row.escapement;
        // What is wanted of it is the same.
        TextMask part;
        ASSERT_TRUE(HeadlessFonts().textMask(font, u"a b", {-5, -6, 7, 8}, part));
        for (i32 y = 0; y < part.height; ++y)
            for (i32 x = 0; x < part.width; ++x) {
                const i32 at = (part.top + y - mask.top) * mask.width + part.left + x - mask.left;
                EXPECT_EQ(part.coverage[static_cast<u32>(y * part.width + x)],
                          mask.coverage[static_cast<u32>(at)]);
            }
    }
}

TEST_F(Headlessly, ADrawingIsRecordedWithAllOfIt) {
    Array<DrawRecord> records;
    DrawTarget target = MakeRecordTarget(records, 50, 40);
    const PixelPoint points[] = {{7, 3}, {2, 9}, {5, 1}};
    FillRect(target, {1, 2, 3, 4}, {.colour = 5, .pattern = 9, .backColour = 6});
    FillRect(target, {1, 2, 3, 4}, 7);
    FillRect(target, {1, 2, 3, 4}, NO_BRUSH);
    DrawLine(target, 4, 3, 2, 1, {8, PEN_DASH, 2, 3});
    DrawPolyline(target, points, {9, PEN_DOT});
    DrawPolyline(target, points, NO_PEN);
    DrawPolyline(target, {}, {9});
    const PixelRect former = PushClip(target, {5, 5, 9, 9});
    InvertRect(target, {0, 0, 50, 40});
    PopClip(target, former);
    ASSERT_EQ(records.Count(), 5u);
    EXPECT_EQ(records[0].kind, DRAW_PATTERN);
    EXPECT_EQ(records[0].style, 9);
    EXPECT_EQ(records[0].colour, 5u);
    EXPECT_EQ(records[0].backColour, 6u);
    EXPECT_EQ(records[1].kind, DRAW_FILL);
    EXPECT_EQ(records[1].colour, 7u);
    EXPECT_EQ(records[1].rect, (PixelRect{1, 2, 3, 4}));
    EXPECT_EQ(records[2].kind, DRAW_LINE);
    EXPECT_EQ(records[2].rect, (PixelRect{4, 3, 2, 1}));
    EXPECT_EQ(records[2].pen, (Pen{8, PEN_DASH, 2, 3}));
    EXPECT_TRUE(records[2].points.IsEmpty());
    EXPECT_EQ(records[3].kind, DRAW_POLYLINE);
    EXPECT_EQ(records[3].rect, (PixelRect{2, 1, 7, 9}));
    EXPECT_EQ(records[3].points.Count(), 3u);
    EXPECT_EQ(records[4].kind, DRAW_INVERT);
    EXPECT_EQ(records[4].clip, (PixelRect{5, 5, 9, 9}));
    EXPECT_EQ(records[3].clip, (PixelRect{0, 0, 50, 40}));
}

}  // namespace
}  // namespace tally
