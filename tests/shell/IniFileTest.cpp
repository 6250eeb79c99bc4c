#include "shell/frame/IniFile.h"

#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/Settings.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class IniFileTest : public ShellSandbox {
  protected:
    static std::string Value(std::u16string_view text, WideView section, WideView key) {
        WideText value;
        return FindIniValue(text, section, key, value) ? Narrow(value) : "none";
    }
    static void PutFile(WideView path, const std::string& bytes) {
        const OutputHandle file = Platform().createFile(path);
        ASSERT_TRUE(Platform().writeFile(file, bytes.data(), bytes.size()) && Platform().closeFile(file));
    }
    static std::string GetFile(WideView path) {
        Array<u8> bytes;
        EXPECT_TRUE(Platform().readFile(path, bytes));
        return {reinterpret_cast<const char*>(bytes.Data()), bytes.Count()};
    }
    static std::string Put(std::u16string_view text, WideView section, WideView key, WideView value) {
        WideText own;
        EXPECT_TRUE(own.Assign(text) && PutIniValue(own, section, key, value));
        return Narrow(own);
    }
};

TEST_F(IniFileTest, AFileBesideTheProgramTakesAllSettings) {
    SaveSettings();  // no file: the user's store
    WideText path;
    EXPECT_FALSE(SettingsUseIni(path));
    const u32 rows = HeadlessFrame().settings.Count();
    EXPECT_GT(rows, 0u);
    HeadlessFrame().settings.Clear();
    PutFile(u"/program/tallyman.ini", "; kept\n[Options]\nStsBarFunc=-3\nFmtIndex=0\nStdCx=77\nEntStyle=133\n");
    EXPECT_TRUE(SettingsUseIni(path));
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 6);  // a negative number is none
    EXPECT_FALSE(Shell().bandHidden[BAND_ENTRY]);
    Shell().bandHidden[BAND_STANDARD] = true;
    WideText recent;
    ASSERT_TRUE(recent.Assign(u"/x/表.xls") && Shell().recent.Append(std::move(recent)));
    SaveSettings();
    EXPECT_EQ(HeadlessFrame().settings.Count(), 0u);
    const std::string file = GetFile(u"/program/tallyman.ini");
    for (const char* line :
         {"; kept\n", "FmtIndex=0\n", "StdCx=77\n", "FmlCx=800\r\n", "StdStyle=140\r\n", "EntStyle=133\n",
          "StsBarFunc=6\n", "FmlIndex=1\r\n", "[Recent files]\r\nFile1=/x/\xE8\xA1\xA8.xls\r\n"})
        EXPECT_NE(file.find(line), std::string::npos) << line << '\n' << file;
    ResetShell();
    LoadSettings();
    EXPECT_TRUE(Shell().bandHidden[BAND_STANDARD]);
    ASSERT_EQ(Shell().recent.Count(), 1u);
    EXPECT_EQ(Narrow(Shell().recent[0]), "/x/表.xls");
}

TEST_F(IniFileTest, AFileThatCannotBeWrittenStaysAsItWasWithoutAWord) {
    const std::string old = "[Options]\nStsBarFunc=2\n";
    u32 kept = 0;
    for (u32 n = 1; n < 8; ++n) {
        PutFile(u"/program/tallyman.ini", old);
        LoadSettings();
        EXPECT_EQ(Shell().aggregate, 2);
        Headless().fileOperations = 0;
        Headless().failFileOperation = n;
        SaveSettings();
        Headless().failFileOperation = 0;
        const std::string file = GetFile(u"/program/tallyman.ini");
        kept += file == old;
        EXPECT_TRUE(file == old || file.find("File9=\r\n") != std::string::npos) << n;
    }
    EXPECT_GT(kept, 1u);
    EXPECT_EQ(Headless().boxes.Count(), 0u);
}

TEST_F(IniFileTest, ValuesStandInTheirSections) {
    constexpr std::u16string_view text =
        u"a=0\r\n ; a comment = 1\r\n[ One ]\r\n a = 1 ; more\r\nA=2\r\nb==x "
        u"y=\n[Two]\na=3\rc=\n[one]\nd=4\nlonely\n=5";
    struct Case {
        WideView section, key;
        const char* value;
    };
    const Case cases[] = {
        {u"One", u"a", "1"},    {u"ONE", u"A", "1"},         {u"One", u"b", "=x y="}, {u"Two", u"a", "3"},
        {u"Two", u"c", ""},     {u"One", u"d", "4"},         {u"Two", u"d", "none"},  {u"Three", u"a", "none"},
        {u"One", u"c", "none"}, {u"One", u"lonely", "none"},
    };
    for (const Case& row : cases) EXPECT_EQ(Value(text, row.section, row.key), row.value);
}

// Whatever stands in the file, a value is found where there is one and nothing else is taken for one.
TEST_F(IniFileTest, DamagedTextsGiveWhatCanBeReadOfThem) {
    using namespace std::literals;
    struct Case {
        std::u16string text;
        const char* value;
    };
    const Case cases[] = {
        {u"", "none"},
        {u"k=1", "none"},
        {u"[S", "none"},
        {u"[S\nk=1", "none"},
        {u"[S]k=1", "none"},
        {u"]S[\nk=1", "none"},
        {u"[]\nk=1", "none"},
        {u"[S]\nk", "none"},
        {u"[S]\nk=", ""},
        {u"[S]\nk=\n[T]\nk=2", ""},
        {u"[S]\n=1\nk=2", "2"},
        {u"[S]\nkk=1\nk=2", "2"},
        {u"[S]\n\0k=1\nk=2"s, "2"},
        {u"[S]\nk=1]", "1]"},
        {u"[S]\nk=[1", "[1"},
        {u"[S] ; why\n\tk =\t1 ; why", "1"},
        {u"[S]\n;k=1\nk=2", "2"},
        {u"[S\n[S]\nk=1", "1"},
        {u"\r\r\n\n[S]\rk=1\r", "1"},
        {u"[S]\nk=1\nk=2", "1"},
        {u"[S]\nk=" + std::u16string(100000, u'x'), "long"},
    };
    for (const Case& row : cases) {
        const std::string value = Value(row.text, u"S", u"k");
        EXPECT_EQ(value.size() > 1000 ? "long" : value, row.value) << Narrow(row.text.substr(0, 40));
        // What is put into it can be read again.
        WideText text;
        ASSERT_TRUE(text.Assign(row.text) && PutIniValue(text, u"S", u"k", u"new"));
        EXPECT_EQ(Value(text.View(), u"S", u"k"), "new") << Narrow(row.text.substr(0, 40));
    }
}

TEST_F(IniFileTest, FilesOfBrokenBytesAreRead) {
    for (const std::string& bytes :
         {std::string(), std::string("\xFF"), std::string("\xFF\xFE"), std::string("\xFF\xFE["),
          std::string("\xEF\xBB"), std::string("\xEF\xBB\xBF"), std::string("[S]\n\xC3\x28=\xFF\n\0\0", 11)}) {
        PutFile(u"/p/x.ini", bytes);
        WideText value;
        EXPECT_TRUE(IniRead(u"S", u"k", u"7", value, u"/p/x.ini"));
        EXPECT_EQ(Narrow(value), "7");
        EXPECT_TRUE(IniWrite(u"S", u"k", u"1", u"/p/x.ini"));
        EXPECT_TRUE(IniRead(u"S", u"k", u"7", value, u"/p/x.ini"));
        EXPECT_EQ(Narrow(value), "1");
    }
}

TEST_F(IniFileTest, WithoutAKeyAllKeysOfTheSectionAreGiven) {
    PutFile(u"/p/x.ini", "a=1\n[S]\nOne=1\n two =2;\n;three=3\nfour\n[T]\nfive=5\n[s]\nsix=6\n");
    WideText keys;
    const auto given = [&](WideView section) {
        EXPECT_TRUE(IniRead(section, u"", u"none", keys, u"/p/x.ini"));
        std::string all = Narrow(keys);
        for (char& c : all) c = c ? c : '|';
        return all;
    };
    EXPECT_EQ(given(u"S"), "One|two|six|");
    EXPECT_EQ(given(u"T"), "five|");
    EXPECT_EQ(given(u"U"), "");
    EXPECT_TRUE(IniRead(u"S", u"", u"none", keys, u"/p/missing.ini"));
    EXPECT_EQ(Narrow(keys), "none");
}

// An empty file takes over from the user's store, which stays as it was; without the file that store counts
// again.
TEST_F(IniFileTest, AnEmptyFileTakesAllSettingsAndLeavesTheUsersStoreAlone) {
    Shell().aggregate = 3;
    Shell().statusBarShown = false;
    SaveSettings();
    const auto stored = [] {
        std::string all;
        for (const SettingRow& row : HeadlessFrame().settings)
            all += Narrow(row.section) + "/" + Narrow(row.key) + "=" + Narrow(row.value) + "\n";
        return all;
    };
    const std::string before = stored();
    EXPECT_NE(before.find("StsBarFunc=3"), std::string::npos);
    PutFile(u"/program/tallyman.ini", "");
    ResetShell();
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 6);
    EXPECT_TRUE(Shell().statusBarShown);
    EXPECT_FALSE(Shell().bandHidden[BAND_STANDARD]);
    EXPECT_FALSE(Shell().bandHidden[BAND_FORMULA]);
    EXPECT_TRUE(Shell().bandHidden[BAND_FORMAT]);
    EXPECT_TRUE(Shell().bandHidden[BAND_ENTRY]);
    Shell().aggregate = 1;
    SaveSettings();
    EXPECT_EQ(stored(), before);
    ResetShell();
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 1);
    Headless().files.Clear();
    ResetShell();
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 3);
    EXPECT_FALSE(Shell().statusBarShown);
}

TEST_F(IniFileTest, AValueIsReplacedWhereItStandsOrAdded) {
    EXPECT_EQ(Put(u"", u"S", u"k", u"1"), "[S]\r\nk=1\r\n");
    EXPECT_EQ(Put(u"; mine", u"S", u"k", u"1"), "; mine\r\n[S]\r\nk=1\r\n");
    EXPECT_EQ(Put(u"[S]\r\nK = 1 ; why\r\nl=2", u"s", u"k", u"7"), "[S]\r\nK =7; why\r\nl=2");
    EXPECT_EQ(Put(u"[S]\r\na=1\r\n\r\n[T]\r\nk=2\r\n", u"S", u"k", u"3"),
              "[S]\r\na=1\r\nk=3\r\n\r\n[T]\r\nk=2\r\n");
    EXPECT_EQ(Put(u"[S]", u"S", u"k", u"3"), "[S]\r\nk=3\r\n");
    EXPECT_EQ(Put(u"[S]\nk=1\n[S]\nk=2\n", u"S", u"k", u"3"), "[S]\nk=3\n[S]\nk=2\n");
}

TEST_F(IniFileTest, WhatIsPutIsFoundAgain) {
    WideText text;
    for (int round = 0; round < 3; ++round)
        for (const char16_t* section : {u"S", u"T"})
            for (const char16_t* key : {u"a", u"b", u"c"}) {
                const std::u16string value =
                    std::u16string(section) + key + static_cast<char16_t>(u'0' + round);
                ASSERT_TRUE(PutIniValue(text, section, key, value));
                EXPECT_EQ(Value(text.View(), section, key), Narrow(value));
            }
    EXPECT_EQ(Narrow(text), "[S]\r\na=Sa2\r\nb=Sb2\r\nc=Sc2\r\n[T]\r\na=Ta2\r\nb=Tb2\r\nc=Tc2\r\n");
}

TEST_F(IniFileTest, TheFileKeepsItsForm) {
    const std::string forms[] = {"[S]\r\nk=\xC3\xA9\r\n", "\xEF\xBB\xBF[S]\r\nk=\xC3\xA9\r\n",
                                 std::string("\xFF\xFE[\0S\0]\0\r\0\n\0k\0=\0\xE9\0\r\0\n\0", 24)};
    Headless().textCodePage = 65001;
    for (const std::string& form : forms) {
        PutFile(u"/p/x.ini", form);
        WideText value;
        EXPECT_TRUE(IniRead(u"S", u"k", u"", value, u"/p/x.ini"));
        EXPECT_EQ(Narrow(value), "é");
        EXPECT_TRUE(IniWrite(u"S", u"k", u"é", u"/p/x.ini"));
        EXPECT_EQ(GetFile(u"/p/x.ini"), form);
    }
    WideText value;
    EXPECT_TRUE(IniRead(u"S", u"none", u"7", value, u"/p/x.ini"));
    EXPECT_EQ(Narrow(value), "7");
    EXPECT_TRUE(IniRead(u"S", u"none", u"8", value, u"/p/missing.ini"));
    EXPECT_EQ(Narrow(value), "8");
    EXPECT_FALSE(IniWrite(u"S", u"k", u"1", u"/p/missing.ini"));
}

}  // namespace
}  // namespace tally
