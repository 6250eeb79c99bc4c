// The rows of the windowing toolkit on the platform without a screen.

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessPrinting.h"
#include "platform/headless/HeadlessShell.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ShellContract : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        ResetHeadlessShell();
        UseHeadlessShell();
    }
    void TearDown() override {
        ResetHeadlessShell();
        ResetHeadlessPlatform();
    }
    static ByteView Bytes(std::string_view text) {
        return {reinterpret_cast<const u8*>(text.data()), text.size()};
    }
    const ShellPlatformTable& Shell() { return ShellPlatform(); }
};

TEST_F(ShellContract, NamedFormatsHaveOneNumberEach) {
    EXPECT_EQ(RegisterClipboardFormat(u"Tallyman"), u32{CF_PRIVATE});
    EXPECT_EQ(RegisterClipboardFormat(u"csv"), u32{CF_CSV});
    EXPECT_EQ(RegisterClipboardFormat(u"html format"), u32{CF_HTML});
    EXPECT_EQ(RegisterClipboardFormat(u""), 0u);
    EXPECT_TRUE(ClipboardFormatName(CF_TEXT).empty());
    EXPECT_TRUE(ClipboardFormatName(CF_FIRST_FREE).empty());
    u32 last = CF_HTML;
    for (u32 i = 0; i < 256; ++i) {
        const std::u16string name = Wide("Name " + std::to_string(i));
        const u32 format = RegisterClipboardFormat(name);
        EXPECT_EQ(format, last + 1);
        EXPECT_EQ(ClipboardFormatName(format), WideView(name));
        last = format;
    }
    EXPECT_EQ(RegisterClipboardFormat(u"One more"), 0u);
    EXPECT_EQ(RegisterClipboardFormat(u"name 7"), CF_FIRST_FREE + 7u);
}

TEST_F(ShellContract, TheClipboardHoldsWhatWasPutThereLast) {
    const u32 own = RegisterClipboardFormat(u"Cells");
    const ClipboardItem items[] = {{CF_CSV, Bytes("1,2")},
                                   {CF_HTML, Bytes("<b>")},
                                   {own, Bytes({"\0\1", 2})},
                                   {CF_TEXT, {}},
                                   {CF_PRIVATE, {}}};
    ASSERT_TRUE(Shell().putClipboard(std::span(items)));
    Array<u8> bytes;
    for (const ClipboardItem& item : items) {
        const bool isText = item.format == CF_TEXT;
        EXPECT_EQ(Shell().clipboardHas(item.format), !isText) << item.format;
        EXPECT_EQ(Shell().readClipboard(item.format, bytes), !isText) << item.format;
        EXPECT_TRUE(std::ranges::equal(bytes.Span(), item.bytes)) << item.format;
    }
    ASSERT_TRUE(Shell().putClipboard(std::span(items).first(1)));
    EXPECT_FALSE(Shell().clipboardHas(CF_HTML));
    EXPECT_FALSE(Shell().readClipboard(CF_HTML, bytes));
    HeadlessFrame().clipboardLocked = true;
    EXPECT_FALSE(Shell().clipboardHas(CF_CSV));
    EXPECT_FALSE(Shell().readClipboard(CF_CSV, bytes));
    EXPECT_FALSE(Shell().putClipboard(std::span(items)));
}

TEST_F(ShellContract, TextIsUnitsOnTheClipboardAndTheMarkerGoesWithIt) {
    const auto formats = [&] {
        std::string all;
        for (const u32 format : {u32{CF_TEXT}, u32{CF_UNICODETEXT}, u32{CF_PRIVATE}, 99u})
            all += Shell().clipboardHas(format) ? "1" : "0";
        return all;
    };
    EXPECT_EQ(formats(), "0000");
    const WideView text = u"a\r\n中", other = u"other";
    ASSERT_TRUE(PutClipboardText(&text, Bytes("a\r\n?")));
    EXPECT_EQ(formats(), "1110");
    Array<u8> bytes;
    ASSERT_TRUE(Shell().readClipboard(CF_UNICODETEXT, bytes));
    EXPECT_EQ(bytes.Count(), 8u);
    ASSERT_TRUE(Shell().readClipboard(CF_TEXT, bytes));
    EXPECT_TRUE(std::ranges::equal(bytes.Span(), Bytes("a\r\n?")));
    WideText read;
    ASSERT_TRUE(ReadClipboardText(read));
    EXPECT_EQ(read.View(), text);
    // Another program's text takes the marker away; without one there is nothing.
    CopyElsewhere(&other);
    EXPECT_EQ(formats(), "1100");
    ASSERT_TRUE(ReadClipboardText(read));
    EXPECT_EQ(read.View(), other);
    HeadlessFrame().clipboardLocked = true;
    EXPECT_EQ(formats(), "0000");
    EXPECT_FALSE(ReadClipboardText(read));
    EXPECT_TRUE(read.IsEmpty());
    EXPECT_FALSE(PutClipboardText(&text, Bytes("a")));
    HeadlessFrame().clipboardLocked = false;
    CopyElsewhere(nullptr);
    EXPECT_EQ(formats(), "0000");
    ASSERT_TRUE(PutClipboardText(nullptr, {}));
    EXPECT_EQ(formats(), "0010");
    EXPECT_FALSE(ReadClipboardText(read));
    EXPECT_TRUE(read.IsEmpty());
}

TEST_F(ShellContract, KeysThatWaitAreTakenByOneQuestion) {
    const auto press = [](u32 key) { ASSERT_TRUE(HeadlessFrame().waitingKeys.Append(key)); };
    EXPECT_FALSE(Shell().keyWaits(WAITING_ANY));
    press('A');
    EXPECT_FALSE(Shell().keyWaits(WAITING_ESCAPE));
    EXPECT_FALSE(Shell().keyWaits(WAITING_ANY));
    press('A');
    EXPECT_TRUE(Shell().keyWaits(WAITING_ANY));
    press('A');
    press(VK_ESCAPE);
    EXPECT_TRUE(Shell().keyWaits(WAITING_ESCAPE));
    EXPECT_FALSE(Shell().keyWaits(WAITING_ESCAPE));
    EXPECT_EQ(HeadlessFrame().keyQuestions, 6u);
}

TEST_F(ShellContract, PagesAreRecordedAsTheyWereDrawn) {
    const PrinterTable& printer = *Shell().printer;
    PrinterCapabilities capabilities;
    PrintRequest request;
    EXPECT_FALSE(printer.choose(request));
    EXPECT_FALSE(printer.capabilities(capabilities));
    EXPECT_FALSE(printer.beginDocument(u"Tallyman"));
    HeadlessPrinter().accepts = true;
    HeadlessPrinter().range = PRINT_SELECTION;
    HeadlessPrinter().copies = 3;
    ASSERT_TRUE(printer.choose(request));
    EXPECT_EQ(request.range, PRINT_ALL);
    request.allowSelection = true;
    ASSERT_TRUE(printer.choose(request));
    EXPECT_EQ(request.range, PRINT_SELECTION);
    EXPECT_EQ(request.copies, 3);
    ASSERT_TRUE(printer.capabilities(capabilities));
    EXPECT_EQ(printer.beginPage(), nullptr);
    ASSERT_TRUE(printer.beginDocument(u"Tallyman"));
    EXPECT_FALSE(printer.beginDocument(u"another"));
    for (i32 page = 0; page < 2; ++page) {
        DrawTarget* target = printer.beginPage();
        ASSERT_NE(target, nullptr);
        EXPECT_EQ(printer.beginPage(), nullptr);
        EXPECT_TRUE(target->printer);
        EXPECT_EQ(target->dpiX, capabilities.dpiX);
        EXPECT_EQ(target->width, capabilities.printableWidth);
        EXPECT_EQ(target->height, capabilities.printableHeight);
        FillRect(*target, {page, 1, 20, 30}, 0x0000FF);
        EXPECT_FALSE(printer.endDocument());
        EXPECT_TRUE(printer.endPage());
    }
    EXPECT_FALSE(printer.endPage());
    EXPECT_TRUE(printer.endDocument());
    EXPECT_FALSE(printer.endDocument());
    const HeadlessPrinterState& seen = HeadlessPrinter();
    ASSERT_EQ(seen.documents.Count(), 1u);
    EXPECT_TRUE(seen.documents[0].ended);
    ASSERT_EQ(seen.documents[0].pages.Count(), 2u);
    for (u32 page = 0; page < 2; ++page) EXPECT_EQ(seen.documents[0].pages[page].Count(), 1u) << page;
    printer.release();
    EXPECT_FALSE(printer.capabilities(capabilities));
}

TEST_F(ShellContract, ADocumentCanBeLeftAndAPageCanFail) {
    const PrinterTable& printer = *Shell().printer;
    ASSERT_TRUE(printer.chooseFile(u"/tmp/a.pdf"));
    EXPECT_EQ(HeadlessPrinter().file.View(), WideView(u"/tmp/a.pdf"));
    HeadlessPrinter().failPage = 2;
    ASSERT_TRUE(printer.beginDocument(u"x"));
    ASSERT_NE(printer.beginPage(), nullptr);
    ASSERT_TRUE(printer.endPage());
    EXPECT_EQ(printer.beginPage(), nullptr);
    printer.abortDocument();
    EXPECT_TRUE(HeadlessPrinter().documents[0].aborted);
    EXPECT_FALSE(HeadlessPrinter().documents[0].ended);
    EXPECT_TRUE(printer.beginDocument(u"y"));
}

}  // namespace
}  // namespace tally
