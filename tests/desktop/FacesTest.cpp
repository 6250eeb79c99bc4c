// Faces that are not installed, and those that stand in for them.

#include "platform/qt/QtFaces.h"

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtText.h"
#include "shell/grid/CellLook.h"

namespace tally {
namespace {

TEST(Faces, WhatIsAsWideStandsIn) {
    struct Case {
        WideView name;
        const char* face;
    };
    const Case cases[] = {
        {u"Calibri", "Carlito"},
        {u"calibri", "Carlito"},
        {u"Cambria", "Caladea"},
        {u"Arial", "Liberation Sans"},
        {u"Helvetica", "Liberation Sans"},
        {u"Times", "Liberation Serif"},
        {u"Times New Roman", "Liberation Serif"},
        {u"Courier", "Liberation Mono"},
        {u"Courier New", "Liberation Mono"},
        {u"Nothing Known", ""},
    };
    for (const Case& row : cases)
        EXPECT_EQ(CompatibleFace(row.name).toStdString(), row.face) << ToQString(row.name).toStdString();
}

// Under both of their names, and asked for on their side.
TEST(Faces, FacesOfWideCharactersHaveThem) {
    for (const WideView name :
         {WideView(u"宋体"), WideView(u"SimSun"), WideView(u"@宋体"), WideView(u"ＭＳ ゴシック"),
          WideView(u"MS Gothic"), WideView(u"新細明體"), WideView(u"굴림"), WideView(u"Gulim")}) {
        const QString face = CompatibleFace(name);
        ASSERT_FALSE(face.isEmpty()) << ToQString(name).toStdString();
        EXPECT_TRUE(QFontDatabase::writingSystems(face).contains(QFontDatabase::SimplifiedChinese));
    }
}

TEST(Faces, OnlyInstalledOnesAreLookedForTheWishedOneFirst) {
    EXPECT_EQ(FacesFor(u"Liberation Serif").first().toStdString(), "Liberation Serif");
    struct Case {
        WideView name;
        const char* first;
    };
    const Case cases[] = {
        {u"Unheard Of", "Liberation Sans"},      {u"Unheard Of Mono", "Liberation Mono"},
        {u"Unheard Roman", "Liberation Serif"},  {u"Georgia Unheard", "Liberation Serif"},
        {u"Some Sans Serif", "Liberation Sans"},
    };
    for (const Case& row : cases) {
        const QStringList faces = FacesFor(row.name);
        EXPECT_EQ(faces.first().toStdString(), row.first);
        for (const QString& face : faces) EXPECT_TRUE(QFontDatabase::hasFamily(face)) << face.toStdString();
    }
}

TEST(Faces, AFontOfAMissingFaceIsMadeOfTheOneThatStandsIn) {
    for (const auto& [wished, found] : {std::pair{u"Helvetica", "Liberation Sans"},
                                        {u"Times", "Liberation Serif"},
                                        {u"Courier", "Liberation Mono"}}) {
        FontRequest request;
        request.faceName = wished;
        request.pixelHeight = 20;
        if (QFontDatabase::hasFamily(ToQString(wished))) continue;
        EXPECT_EQ(QFontInfo(FontOf(QtFindFont(request)).font).family().toStdString(), found);
    }
}

// Columns are counted in it: the digit of the first font of a book, at the resolution of the screen.
TEST(DigitWidthTest, IsThatOfTheBooksOwnFont) {
    SetShellPlatform(&QtShellPlatform());
    const struct {
        WideView face;
        u16 height;
        const char* stands;  // the face that stands for it here; the row is passed without it
        i32 digit;
    } rows[] = {
        {u"Arial", 160, "Liberation Sans", 6},
        {u"Arial", 200, "Liberation Sans", 7},
        {u"Arial", 240, "Liberation Sans", 9},
        {u"Times New Roman", 200, "Liberation Serif", 7},
        {u"Times New Roman", 240, "Liberation Serif", 8},
        {u"Courier New", 200, "Liberation Mono", 8},
        {u"Courier New", 240, "Liberation Mono", 10},
        {u"Calibri", 220, "Carlito", 8},
        {u"Cambria", 220, "Caladea", 8},
    };
    ScreenMetrics screen = {};
    QtPlatform().getScreenMetrics(screen);
    screen.logPixelsX = screen.logPixelsY = 96;
    for (const auto& row : rows) {
        if (!QFontDatabase::hasFamily(QString::fromLatin1(row.stands))) continue;
        Workbook book;
        ASSERT_TRUE(book.fonts.AppendDefault());
        FontRecord& font = book.fonts.Last();
        font.height = row.height;
        std::copy(row.face.begin(), row.face.end(), font.faceName);
        EXPECT_EQ(DigitWidth(book, screen), row.digit) << row.stands << " " << row.height;
    }
}

}  // namespace
}  // namespace tally
