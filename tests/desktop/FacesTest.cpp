// Faces that are not installed, and those that stand in for them.

#include "platform/qt/QtFaces.h"

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>

#include "platform/qt/QtFonts.h"
#include "platform/qt/QtText.h"

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

}  // namespace
}  // namespace tally
