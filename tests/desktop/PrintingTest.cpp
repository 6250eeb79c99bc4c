// Paper that is a PDF file, without a screen and without a printer.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

class DesktopPrinting : public testing::Test {
  protected:
    void TearDown() override { printer.release(); }
    QString Path() const { return folder.filePath(QStringLiteral("表.pdf")); }
    QByteArray Printed() const {
        QFile file(Path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    const PrinterTable& printer = *QtShellPlatform().printer;
    QTemporaryDir folder;
};

TEST_F(DesktopPrinting, AFileHasThePagesThatWereDrawn) {
    const QString path = Path();
    EXPECT_FALSE(printer.beginDocument(u"Tallyman"));
    ASSERT_TRUE(printer.chooseFile(ViewOf(path)));
    PrinterCapabilities capabilities;
    ASSERT_TRUE(printer.capabilities(capabilities));
    EXPECT_EQ(capabilities.dpiX, 600);
    EXPECT_EQ(capabilities.dpiY, 600);
    // 210 by 297 millimetres.
    EXPECT_NEAR(capabilities.paperWidth, 4960, 10);
    EXPECT_NEAR(capabilities.paperHeight, 7016, 10);
    EXPECT_GT(capabilities.offsetX, 0);
    EXPECT_NEAR(capabilities.printableWidth, capabilities.paperWidth - 2 * capabilities.offsetX, 4);
    EXPECT_NEAR(capabilities.printableHeight, capabilities.paperHeight - 2 * capabilities.offsetY, 4);
    EXPECT_EQ(printer.beginPage(), nullptr);
    ASSERT_TRUE(printer.beginDocument(u"Tallyman"));
    EXPECT_FALSE(printer.beginDocument(u"Tallyman"));
    for (int page = 0; page < 3; ++page) {
        DrawTarget* target = printer.beginPage();
        ASSERT_NE(target, nullptr);
        EXPECT_EQ(printer.beginPage(), nullptr);
        EXPECT_TRUE(target->printer);
        EXPECT_EQ(target->dpiX, 600);
        EXPECT_EQ(target->width, capabilities.printableWidth);
        EXPECT_EQ(target->height, capabilities.printableHeight);
        FillRect(*target, {100, 100, 400, 200}, 0x0000FF);
        EXPECT_FALSE(printer.endDocument());
        EXPECT_TRUE(printer.endPage());
    }
    EXPECT_TRUE(printer.endDocument());
    const QByteArray file = Printed();
    EXPECT_TRUE(file.startsWith("%PDF-"));
    EXPECT_TRUE(file.contains("/Count 3"));
}

TEST_F(DesktopPrinting, WhatIsReleasedPrintsNoMore) {
    const QString path = Path();
    ASSERT_TRUE(printer.chooseFile(ViewOf(path)));
    ASSERT_TRUE(printer.beginDocument(u"x"));
    ASSERT_NE(printer.beginPage(), nullptr);
    printer.abortDocument();
    EXPECT_FALSE(printer.endPage());
    EXPECT_FALSE(printer.endDocument());
    printer.release();
    EXPECT_FALSE(printer.beginDocument(u"x"));
    PrinterCapabilities capabilities;
    EXPECT_FALSE(printer.capabilities(capabilities));
}

TEST_F(DesktopPrinting, AFileThatCannotBeMadeIsADocumentThatDoesNotBegin) {
    ASSERT_TRUE(printer.chooseFile(u"/nowhere/at/all/x.pdf"));
    EXPECT_FALSE(printer.beginDocument(u"x"));
}

}  // namespace
}  // namespace tally
