#include "functions/FormulaFile.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace tally {
namespace {

// Whether a shown number has fourteen digits of the expected one.
bool IsClose(const std::string& shown, const std::string& expected) {
    char *shownEnd = nullptr, *expectedEnd = nullptr;
    const double a = std::strtod(shown.c_str(), &shownEnd);
    const double b = std::strtod(expected.c_str(), &expectedEnd);
    return !*shownEnd && shownEnd != shown.c_str() && !*expectedEnd && expectedEnd != expected.c_str() &&
           std::fabs(a - b) <= 1e-14 * std::fabs(b);
}

bool IsSection(const std::string& line) { return line.size() > 2 && line.front() == '[' && line.back() == ']'; }

}  // namespace

std::vector<std::string> FormulaFile::LinesOf(const char* name) {
    std::ifstream in(std::string(TALLYMAN_TEST_DATA) + "/functions/" + name);
    EXPECT_TRUE(in.good()) << name;
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> FormulaFile::Sections(const char* name) {
    std::vector<std::string> sections;
    for (const std::string& line : LinesOf(name)) {
        if (IsSection(line)) sections.push_back(line.substr(1, line.size() - 2));
    }
    return sections;
}

void FormulaFile::Check(const char* name) {
    int number = 0, rows = 0;
    for (const std::string& line : LinesOf(name)) {
        ++number;
        const std::size_t arrow = line.rfind(" -> ");
        const std::size_t tilde = line.rfind(" ~ ");
        const std::size_t colon = line.find(": ");
        if (line.empty() || line[0] == '#') continue;
        if (IsSection(line)) {
            Region("en-US");
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
        } else if (line == "1904" || line == "1900") {
            CurrentWorkbook()->date1904 = line == "1904";
        } else if (line == "second sheet") {
            ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        } else if (line.starts_with("region ")) {
            Region(line.c_str() + 7);
        } else if (line[0] == '=' && arrow != std::string::npos) {
            EXPECT_EQ(Eval(line.substr(0, arrow)), line.substr(arrow + 4))
                << name << ":" << number << " " << line;
            ++rows;
        } else if (line[0] == '=' && tilde != std::string::npos) {
            const std::string shown = Eval(line.substr(0, tilde));
            EXPECT_TRUE(IsClose(shown, line.substr(tilde + 3)))
                << name << ":" << number << " " << line << "\n is " << shown;
            ++rows;
        } else if (colon != std::string::npos) {
            Enter(line.substr(0, colon), line.substr(colon + 2));
        } else {
            ADD_FAILURE() << name << ":" << number << " is no row: " << line;
        }
    }
    EXPECT_GT(rows, 0) << name;
}

}  // namespace tally
