// The command-line program in both languages.

#include <algorithm>

#include "apps/TallyRun.h"

namespace tally {
namespace {

class TallyLanguage : public Tally {
  protected:
    Outcome Chinese(const std::string& arguments) const { return Run(arguments, "TALLYMAN_LANGUAGE=zh "); }
    Outcome English(const std::string& arguments) const { return Run(arguments, "TALLYMAN_LANGUAGE=en "); }
    static bool IsAscii(const std::string& text) {
        return std::all_of(text.begin(), text.end(),
                           [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    }
};

constexpr const char* subcommands[] = {"sheets", "cells", "verify", "convert", "eval", "functions", "replay"};

TEST_F(TallyLanguage, ErrorLinesSpeakTheLanguageOfTheRun) {
    PutBook("a.xls");
    Put("bad.xls", "no book");
    Put("s.txt", "enter 5\nexpect A1 6\n");
    Put("grey.txt", "command 401\n");
    Put("sum.txt", "enter =1+\n");
    fs::create_directory(folder / "folder.xls");
    const struct {
        const char *arguments, *english, *chinese;
    } rows[] = {
        {"", "a subcommand is required (see tally --help)", "需要一个子命令（见 tally --help）"},
        {"nonsense", "unknown subcommand nonsense (see tally --help)",
         "未知的子命令 nonsense（见 tally --help）"},
        {"--locale de-DE sheet a.xls", "unknown subcommand sheet (see tally --help)",
         "未知的子命令 sheet（见 tally --help）"},
        {"--frob", "unexpected argument --frob (see tally --help)", "多余的参数 --frob（见 tally --help）"},
        {"eval", "FORMULA is required (see tally --help)", "需要 FORMULA（见 tally --help）"},
        {"convert a.xls", "OUT is required (see tally --help)", "需要 OUT（见 tally --help）"},
        {"eval =1 =2", "unexpected argument =2 (see tally --help)", "多余的参数 =2（见 tally --help）"},
        {"sheets a.xls --frob", "unexpected argument --frob (see tally --help)",
         "多余的参数 --frob（见 tally --help）"},
        {"eval =1 --sheet", "--sheet needs a value (see tally --help)",
         "--sheet 需要一个值（见 tally --help）"},
        {"eval =1 --code-page x", "--code-page = x cannot be understood (see tally --help)",
         "无法理解 --code-page = x（见 tally --help）"},
        {"eval =1 --code-page 77", "unknown --code-page", "未知的 --code-page"},
        {"eval =1 --locale xx", "unknown --locale", "未知的 --locale"},
        {"sheets none.xls", "none.xls: no such file", "none.xls：没有这个文件"},
        {"sheets folder.xls", "folder.xls: it is a directory", "folder.xls：这是一个目录"},
        {"sheets bad.xls", "bad.xls: it is not a workbook", "bad.xls：这不是工作簿"},
        {"sheets a.doc", "a.doc: File type not recognised", "a.doc: File type not recognised"},
        {"cells a.xls --sheet Third", "no sheet of that name: Third", "没有名为 Third 的工作表"},
        {"convert - out.csv", "standard input needs --from", "标准输入须带 --from"},
        {"convert a.xls none/out.csv", "Unable to open output file none/out.csv",
         "Unable to open output file none/out.csv"},
        {"replay folder.xls", "folder.xls: it is a directory", "folder.xls：这是一个目录"},
        {"replay none.txt", "none.txt: no such file", "none.txt：没有这个文件"},
        {"replay s.txt", "the cell shows: 5\ntally: s.txt:2: the cell shows something else",
         "单元格显示：5\ntally: s.txt:2: 单元格显示的是其他内容"},
        {"replay grey.txt", "grey.txt:1: the command is grey", "grey.txt:1: 该命令当前不可用"},
        {"replay sum.txt", "box: There is an error in the formula you entered",
         "消息框：There is an error in the formula you entered"},
    };
    for (const auto& row : rows) {
        const Outcome english = English(row.arguments), chinese = Chinese(row.arguments);
        EXPECT_EQ(english.output, "tally: " + std::string(row.english) + "\n") << row.arguments;
        EXPECT_EQ(chinese.output, "tally: " + std::string(row.chinese) + "\n") << row.arguments;
        EXPECT_EQ(english.status, chinese.status) << row.arguments;
        EXPECT_EQ(Run(row.arguments).output, english.output) << row.arguments;
    }
}

TEST_F(TallyLanguage, WhatIsLostIsListedInTheLanguageOfTheRun) {
    PutBook("a.xls");
    EXPECT_EQ(English("convert a.xls a.csv").output,
              "tally: not kept: formulas that the form does not know; their values stay, all sheets but one\n");
    EXPECT_EQ(Chinese("convert a.xls a.csv").output, "tally: 未保留：公式（保留结果）、其他工作表\n");
}

TEST_F(TallyLanguage, WhatIsWrittenForOtherProgramsIsTheSame) {
    PutBook("a.xls");
    for (const char* arguments : {"sheets a.xls", "cells a.xls", "verify a.xls", "eval =1/0", "functions",
                                  "functions --document", "convert a.xls - --to xls", "--version"})
        EXPECT_TRUE(English(arguments).output == Chinese(arguments).output) << arguments;
}

TEST_F(TallyLanguage, EveryHelpSpeaksTheLanguageOfTheRun) {
    std::vector<std::string> all = {"--help"};
    for (const char* name : subcommands) all.push_back(std::string(name) + " --help");
    for (const std::string& arguments : all) {
        const Outcome english = English(arguments), chinese = Chinese(arguments);
        EXPECT_EQ(english.status, 0);
        EXPECT_EQ(chinese.status, 0);
        EXPECT_TRUE(IsAscii(english.output)) << english.output;
        EXPECT_NE(english.output.find("Usage: tally"), std::string::npos) << english.output;
        EXPECT_NE(chinese.output.find("用法: tally"), std::string::npos) << chinese.output;
        for (const char* word : {"Usage", "Options", "OPTIONS", "Positionals", "Subcommands", "SUBCOMMAND",
                                 "REQUIRED", "Print", "Display", "Example"})
            EXPECT_EQ(chinese.output.find(word), std::string::npos) << word << " in\n" << chinese.output;
        // Behind the name of each option stands what it does, in Chinese.
        EXPECT_FALSE(IsAscii(chinese.output));
    }
}

TEST_F(TallyLanguage, EachHelpEndsWithAnExampleThatIsUnderstood) {
    PutBook("book.xls");
    Put("steps.txt", "enter 1\n");
    fs::rename(folder / "book.xls", folder / "source.xls");
    for (const char* name : subcommands) {
        const std::string help = English(std::string(name) + " --help").output;
        const std::string start = "Example:\n  tally " + std::string(name);
        const std::size_t at = help.find(start);
        ASSERT_NE(at, std::string::npos) << help;
        const std::size_t from = at + 17, end = help.find('\n', from);
        std::string example = help.substr(from, end - from);
        fs::copy_file(folder / "source.xls", folder / "book.xls", fs::copy_options::overwrite_existing);
        const std::size_t sheet = example.find("Sheet1");
        if (sheet != std::string::npos) example.replace(sheet, 6, "First");
        const Outcome outcome = Run(example);
        EXPECT_EQ(outcome.status, 0) << example << ": " << outcome.output;
        EXPECT_NE(Chinese(std::string(name) + " --help").output.find("例如：\n  tally " + std::string(name)),
                  std::string::npos);
    }
    EXPECT_NE(English("--help").output.find("Example:\n  tally "), std::string::npos);
}

TEST_F(TallyLanguage, TheSessionChoosesUnlessToldOtherwise) {
    const std::string english = "tally: none.xls: no such file\n", chinese = "tally: none.xls：没有这个文件\n";
    EXPECT_EQ(Run("sheets none.xls", "LC_ALL=zh_CN.UTF-8 ").output, chinese);
    EXPECT_EQ(Run("sheets none.xls", "LC_ALL= LC_MESSAGES=zh_TW LANG=en_US ").output, chinese);
    EXPECT_EQ(Run("sheets none.xls", "LC_ALL=de_DE.UTF-8 ").output, english);
    EXPECT_EQ(Run("sheets none.xls", "LC_ALL=zh_CN.UTF-8 TALLYMAN_LANGUAGE=en ").output, english);
}

}  // namespace
}  // namespace tally
