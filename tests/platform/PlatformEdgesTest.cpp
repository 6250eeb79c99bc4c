// Last and first of what the platform takes: links in a chain, items of a list,
// pixels of a device.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/Drawing.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessDrawing.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "platform/posix/PosixFiles.h"

namespace tally {
namespace {

namespace fs = std::filesystem;

class PlatformEdges : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tallyman-edges-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        ResetPosixFiles();
        fs::remove_all(folder);
    }
    fs::path folder;
};

TEST_F(PlatformEdges, ALongChainOfLinksLeadsToANewFileAndALongerOneNowhere) {
    for (const int links : {1, 39, 40, 41, 60}) {
        const std::string name = "chain" + std::to_string(links) + "-";
        for (int i = 0; i < links; ++i)
            fs::create_symlink(name + std::to_string(i + 1), folder / (name + std::to_string(i)));
        const OutputHandle file = PosixCreateFile((folder / (name + "0")).u16string());
        EXPECT_EQ(file != 0, links < 40) << links;
        if (!file) continue;
        EXPECT_TRUE(PosixWriteFile(file, "abc", 3));
        EXPECT_TRUE(PosixCloseFile(file));
        EXPECT_EQ(fs::file_size(folder / (name + std::to_string(links))), 3u);
    }
}

TEST_F(PlatformEdges, WhatIsReadTakesThePlaceOfWhatWasThere) {
    std::ofstream(folder / "file", std::ios::binary) << "new";
    Array<u8> bytes;
    for (const u8 old : {u8{'a'}, u8{'b'}, u8{'c'}, u8{'d'}, u8{'e'}}) ASSERT_TRUE(bytes.Append(old));
    ASSERT_TRUE(PosixReadFile((folder / "file").u16string(), bytes));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "new");
    std::ofstream(folder / "file", std::ios::binary | std::ios::trunc) << "";
    ASSERT_TRUE(PosixReadFile((folder / "file").u16string(), bytes));
    EXPECT_EQ(bytes.Count(), 0u);
}

TEST(PixelOfADevice, IsOneOnAScreenAndAsLargeOnPaper) {
    Array<DrawRecord> records;
    const struct {
        i32 dpiX, dpiY;
        bool printer;
        i32 x, y;
    } rows[] = {{96, 96, false, 1, 1},  {192, 288, false, 1, 1}, {96, 96, true, 1, 1},    {192, 96, true, 2, 1},
                {600, 300, true, 6, 3}, {72, 40, true, 1, 1},    {1200, 600, true, 13, 6}};
    for (const auto& row : rows) {
        const DrawTarget target = MakeRecordTarget(records, 100, 100, row.dpiX, row.dpiY, row.printer);
        EXPECT_EQ(ScreenPixelX(target), row.x) << row.dpiX;
        EXPECT_EQ(ScreenPixelY(target), row.y) << row.dpiY;
    }
}

TEST(FieldsOfADialog, TakeTheItemsThatTheyHave) {
    UseHeadlessPlatform();
    UseHeadlessShell();
    const DialogTable table;
    Dialog dialog;
    dialog.table = &table;
    constexpr ControlKind kinds[] = {CONTROL_LIST, CONTROL_DROP_LIST};
    for (const ControlKind kind : kinds) {
        Control* control = dialog.controls.AppendDefault();
        ASSERT_NE(control, nullptr);
        control->row.id = 200 + static_cast<i32>(dialog.controls.Count());
        control->row.kind = kind;
        for (const WideView text : {u"one", u"two", u"three"})
            ASSERT_TRUE(AddControlItem(dialog, control->row.id, text));
    }
    for (const WideView field : {u"0", u"1"}) {
        const Control& control = dialog.controls[field[0] - u'0'];
        const struct {
            WideView value;
            i32 chosen;
        } rows[] = {{u"0", 0}, {u"three", 2}, {u"two", 1}, {u"2", 2}};
        for (const auto& row : rows) {
            EXPECT_TRUE(FillIn(dialog, field, row.value));
            EXPECT_EQ(control.choice, row.chosen);
        }
        for (const WideView value : {u"3", u"4", u"four", u"-1", u""})
            EXPECT_FALSE(FillIn(dialog, field, value));
    }
    ResetHeadlessShell();
    ResetHeadlessPlatform();
}

}  // namespace
}  // namespace tally
