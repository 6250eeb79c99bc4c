// What lies beside the programs on a desktop tells of them what they tell of themselves.

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "apps/TallyRun.h"

namespace tally {
namespace {

std::string Packaged(const std::string& name) {
    std::ifstream file(fs::path(TALLYMAN_PACKAGING) / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> Matches(const std::string& text, const std::string& pattern) {
    std::set<std::string> found;
    const std::regex form(pattern);
    for (auto match = std::sregex_iterator(text.begin(), text.end(), form); match != std::sregex_iterator();
         ++match)
        found.insert((*match)[1]);
    return found;
}
std::set<std::string> OptionsOf(const std::string& help) { return Matches(help, "\\n  (?:-h,)?(--[a-z-]+)"); }

class Packaging : public Tally {
  protected:
    std::set<std::string> Subcommands() const {
        const std::string help = Run("--help").output;
        const std::size_t start = help.find("Subcommands:");
        return Matches(help.substr(start, help.find("\n\n", start) - start), "\\n  ([a-z]+)");
    }
    // What bash offers at the end of these words.
    std::set<std::string> Completed(const std::string& words) const {
        const std::string script = "source '" TALLYMAN_PACKAGING "/tally.bash'; COMP_WORDS=(" + words +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                                   "$(complete -p \"${COMP_WORDS[0]}\" | sed \"s/.*-F \\([^ ]*\\).*/\\1/\"); "
                                   "printf \"%s\\n\" \"${COMPREPLY[@]}\"";
        Put("script.sh", script);
        FILE* pipe = popen(("cd '" + folder.string() + "' && bash --norc script.sh").c_str(), "r");
        std::set<std::string> lines;
        if (!pipe) return lines;
        std::string line;
        for (int unit; (unit = fgetc(pipe)) != EOF;) {
            if (unit != '\n') line += static_cast<char>(unit);
            else if (!line.empty()) lines.insert(std::exchange(line, {}));
        }
        EXPECT_EQ(pclose(pipe), 0) << words;
        return lines;
    }
};

using Words = std::set<std::string>;

TEST_F(Packaging, TheManualTellsOfEveryOptionAndSubcommand) {
    const std::string manual = Packaged("tally.1");
    const Words options = Matches(manual, "\\.It Fl (?:h , Fl )?-([a-z-]+)");
    const Words subcommands = Matches(manual, "\\.It Cm ([a-z]+)");
    Words expected;
    for (const std::string& option : OptionsOf(Run("--help").output)) expected.insert(option.substr(2));
    EXPECT_EQ(expected.size(), 7u);
    EXPECT_EQ(subcommands, Subcommands());
    EXPECT_EQ(subcommands.size(), 7u);
    for (const std::string& subcommand : subcommands) {
        const Words own = OptionsOf(Run(subcommand + " --help").output);
        const std::size_t start = manual.find(".It Cm " + subcommand);
        const std::string line = manual.substr(start, manual.find('\n', start) - start);
        for (const std::string& option : own) {
            expected.insert(option.substr(2));
            if (option != "--help")
                EXPECT_NE(line.find("Fl -" + option.substr(2)), std::string::npos) << line << option;
        }
        EXPECT_EQ(Matches(line, "Fl -([a-z-]+)").size(), own.size() - 1) << line;
    }
    EXPECT_EQ(options, expected);
}

TEST_F(Packaging, TheDesktopProgramsManualTellsOfItsOptions) {
    const Words options = Matches(Packaged("tallyman.1"), "\\.It Fl (?:h , Fl )?-([a-z-]+)");
    EXPECT_EQ(options, (Words{"help", "version"}));
}

TEST_F(Packaging, BashCompletesSubcommandsAndOptions) {
    EXPECT_EQ(Completed("tally ''"), Subcommands());
    EXPECT_EQ(Completed("tally co"), Words{"convert"});
    Words common = OptionsOf(Run("--help").output);
    EXPECT_EQ(Completed("tally --"), common);
    for (const std::string& subcommand : Subcommands()) {
        Words all = OptionsOf(Run(subcommand + " --help").output);
        all.insert(common.begin(), common.end());
        EXPECT_EQ(Completed("tally " + subcommand + " --"), all) << subcommand;
    }
    EXPECT_EQ(Completed("tally --sheet convert ''"), Subcommands())
        << "the value of an option is no subcommand";
    EXPECT_EQ(Completed("tallyman -"), (Words{"-h", "--help", "--version"}));
}

TEST_F(Packaging, BashCompletesFilesAndValues) {
    Put("book one.xls", "");
    Put("list.csv", "");
    Put("picture.png", "");
    Put("steps.tally", "");
    fs::create_directory(folder / "folder");
    const Words books{"book one.xls", "list.csv", "folder"};
    EXPECT_EQ(Completed("tally cells ''"), books);
    EXPECT_EQ(Completed("tally convert list.csv ''"), books);
    EXPECT_EQ(Completed("tally eval =A1 --book bo"), Words{"book one.xls"});
    EXPECT_EQ(Completed("tally replay st"), Words{"steps.tally"});
    EXPECT_EQ(Completed("tallyman li"), Words{"list.csv"});
    EXPECT_EQ(Completed("tally convert list.csv --to x"), (Words{"xls", "xlt"}));
    EXPECT_EQ(Completed("tally convert list.csv --form ''"), (Words{"95", "97"}));
    EXPECT_EQ(Completed("tally cells list.csv --from p"), Words{"pxl"});
    EXPECT_EQ(Completed("tally cells list.csv --date ''"), Words{});
}

u32 BigEndian(const std::string& bytes, std::size_t at) {
    u32 number = 0;
    for (std::size_t i = at; i < at + 4; ++i) number = number << 8 | static_cast<u8>(bytes.at(i));
    return number;
}

TEST_F(Packaging, IconsHaveTheSizesOfTheirNames) {
    for (const u32 size : {16u, 22u, 24u, 32u, 48u, 64u, 128u, 256u}) {
        const std::string png = Packaged("icons/tallyman-" + std::to_string(size) + ".png");
        ASSERT_GT(png.size(), 24u);
        EXPECT_EQ(BigEndian(png, 16), size);
        EXPECT_EQ(BigEndian(png, 20), size);
    }
    EXPECT_NE(Packaged("icons/tallyman.svg").find("<svg"), std::string::npos);
}

// The names in the files fit together; a desktop would otherwise show a grey sheet and a nameless program.
TEST_F(Packaging, DesktopFileTypesAndDescriptionAgree) {
    const std::string desktop = Packaged("tallyman.desktop"), types = Packaged("tallyman.xml");
    const std::string description = Packaged("org.tallyman.Tallyman.metainfo.xml");
    const std::string line = "\n" + *Matches(desktop, "\\nMimeType=([^\\n]*)").begin();
    const Words opened = Matches(line, "[;\\n]([^;\\n]+)(?=;)");
    EXPECT_TRUE(opened.count("application/vnd.ms-excel"));
    for (const std::string& own : Matches(types, "<mime-type type=\"([^\"]*)\""))
        EXPECT_TRUE(opened.count(own)) << own;
    for (const std::string& told : Matches(description, "<mediatype>([^<]*)<"))
        EXPECT_TRUE(opened.count(told)) << told;
    EXPECT_EQ(Matches(types, "<glob pattern=\"([^\"]*)\""), (Words{"*.pxl", "*.pxt"}));
    EXPECT_EQ(Matches(description, "<launchable type=\"desktop-id\">([^<]*)<"), Words{"tallyman.desktop"});
    EXPECT_EQ(Matches(desktop, "\\n(?:Icon|TryExec|StartupWMClass)=([^\\n]*)"), Words{"tallyman"});
    EXPECT_EQ(Matches(description, "<release version=\"([^\"]*)\""), Words{TALLYMAN_VERSION});
    EXPECT_NE(Packaged("debian/changelog").find("tallyman (" TALLYMAN_VERSION ")"), std::string::npos);
}

}  // namespace
}  // namespace tally
