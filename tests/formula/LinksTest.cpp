#include "formula/Links.h"

#include "formula/TokenWalk.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Links : public Sandbox {
  protected:
    static void OwnPath(WideView path) { ASSERT_TRUE(CurrentWorkbook()->path.Assign(path)); }
    static std::string Expanded(WideView stored) {
        WideText out;
        EXPECT_TRUE(ExpandStoredPath(out, stored, *CurrentWorkbook()));
        return Narrow(out);
    }
    static std::string Absolute(WideView path) {
        WideText out;
        EXPECT_TRUE(out.Assign(path));
        EXPECT_TRUE(MakeAbsolutePath(out, *CurrentWorkbook()));
        return Narrow(out);
    }
    static std::string Stored(WideView path) {
        WideText out;
        EXPECT_TRUE(MakeStoredPath(out, path, *CurrentWorkbook()));
        return Narrow(out);
    }
};

TEST_F(Links, StoredPathsExpand) {
    OwnPath(u"C:\\work\\own.xls");
    EXPECT_EQ(Expanded(u"\u0001other.xls"), "other.xls");
    EXPECT_EQ(Expanded(u"\u0001\u0001Dsub\u0003other.xls"), "D:\\sub\\other.xls");
    EXPECT_EQ(Expanded(u"\u0001\u0002sub\u0003other.xls"), "C:\\sub\\other.xls");
}

TEST_F(Links, TheRootMarkInABookWithoutAPathDropsTheDrive) {
    OwnPath(u"");
    EXPECT_EQ(Expanded(u"\u0001\u0002other.xls"), "other.xls");
}

TEST_F(Links, APathWithADriveHasOneKindOfSeparator) {
    OwnPath(u"/home/me/own.xls");
    EXPECT_EQ(Expanded(u"\u0001\u0001Dsub\u0003other.xls"), "D:\\sub\\other.xls");
    EXPECT_EQ(Expanded(u"\u0001sub\u0003other.xls"), "sub/other.xls");
}

TEST_F(Links, RelativePathsStartAtTheBooksDirectory) {
    OwnPath(u"C:\\work\\own.xls");
    EXPECT_EQ(Absolute(u"other.xls"), "C:\\work\\other.xls");
    EXPECT_EQ(Absolute(u"D:\\a\\.\\b.xls"), "D:\\a\\b.xls");
    EXPECT_EQ(Absolute(u"D:\\a\\.\\.\\b.xls"), "D:\\a\\b.xls");
    EXPECT_EQ(Absolute(u"\\\\host\\b.xls"), "\\\\host\\b.xls");
}

TEST_F(Links, TheStoredFormComesBackWhole) {
    OwnPath(u"C:\\work\\own.xls");
    EXPECT_EQ(Stored(u"C:\\work\\other.xls"), "\x01other.xls");
    for (WideView path : {u"C:\\sub\\other.xls", u"D:\\other.xls", u"D:\\a\\b\\other.xls"}) {
        EXPECT_EQ(Expanded(Wide(Stored(path))), Narrow(path));
    }
}

TEST_F(Links, RowsAreFoundBeforeTheyAreAdded) {
    Workbook& book = *CurrentWorkbook();
    const i32 own = FindOrAddExternBook(book, EXTERN_SELF);
    EXPECT_EQ(FindOrAddExternBook(book, EXTERN_SELF), own);
    const i32 link = FindOrAddLink(book, u"/a/Other.xls");
    EXPECT_NE(link, own);
    EXPECT_EQ(FindOrAddLink(book, u"/b/oTHER.xls"), link);
    ExternBook& row = book.externBooks[static_cast<u32>(link)];
    EXPECT_EQ(FindOrAddExternName(row, u"one"), 0);
    EXPECT_EQ(FindOrAddExternName(row, u"two"), 1);
    EXPECT_EQ(FindOrAddExternName(row, u"ONE"), 0);
    EXPECT_EQ(AddExternSheetName(row, u"S"), 0);
    EXPECT_EQ(AddExternSheetName(row, u"s"), 0);
    EXPECT_EQ(FindExternSheet(book, link, 0, 0), FindExternSheet(book, link, 0, 0));
    EXPECT_NE(FindExternSheet(book, link, 0, 0), FindExternSheet(book, own, 0, 0));
}

TEST_F(Links, ALinkThatCannotBeOpenedIsARefError) {
    EXPECT_EQ(Eval("=[missing.xls]S!A1"), "#REF!");
    EXPECT_EQ(Eval("=missing.xls!total"), "#NAME?");
}

TEST_F(Links, TheOwnBookResolvesToItsOwnSheets) {
    ResolvedRef ref{CurrentBook(), CurrentBook(), 0, 0};
    i32 index = -1;
    ASSERT_TRUE(AddExternRef(ref, index));
    ResolvedRef found;
    found.book = CurrentBook();
    found.firstSheet = found.lastSheet = 7;
    ASSERT_TRUE(ResolveExternRef(index, found));
    EXPECT_EQ(found.targetBook, CurrentBook());
    EXPECT_EQ(found.firstSheet, 0);
    EXPECT_EQ(found.lastSheet, 0);
    EXPECT_FALSE(ResolveExternRef(99, found));
    EXPECT_FALSE(ResolveExternRef(-1, found));
}

TEST_F(Links, BuiltInNamesHaveTheirCodes) {
    for (u8 code = 0; code < 14; ++code) EXPECT_EQ(BuiltInNameCode(BuiltInName(code)), code);
    EXPECT_EQ(BuiltInNameCode(u"PRINT_AREA"), 6);
    EXPECT_EQ(BuiltInNameCode(u"foo"), -1);
    EXPECT_TRUE(BuiltInName(14).empty());
}

TEST(TokenOperands, ReferenceClassesFoldToOneNumber) {
    for (u8 token : {u8{0x24}, u8{0x44}, u8{0x64}}) EXPECT_EQ(FoldToken(token), ptgRef);
    EXPECT_EQ(FoldToken(ptgAdd), ptgAdd);
}

TEST(TokenOperands, OperandsKeepTheirRelativeBits) {
    for (u8 nibble = 0; nibble < 16; ++nibble) {
        u8 operand[8] = {}, back = 0xFF;
        WriteAreaOperand(operand, {1, 65535, 2, 255}, nibble);
        const RefArea area = ReadAreaOperand(operand, back);
        EXPECT_EQ(back, nibble);
        EXPECT_EQ(area.firstRow, 1);
        EXPECT_EQ(area.lastRow, 65535);
        EXPECT_EQ(area.firstColumn, 2);
        EXPECT_EQ(area.lastColumn, 255);
    }
}

TEST(TokenOperands, ExtendedTokensFollowTheirSubNumber) {
    for (const auto& [sub, last] : {std::pair{1, 5u}, {7, 5u}, {29, 5u}, {10, 14u}, {11, 14u}, {4, 1u}}) {
        u8 bytes[20] = {ptgExtended, static_cast<u8>(sub)};
        EXPECT_EQ(NextToken(bytes, sizeof bytes, 0), last) << sub;
    }
}

}  // namespace
}  // namespace tally
