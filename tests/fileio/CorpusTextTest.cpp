#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "fileio/OpenFile.h"
#include "fileio/text/TextFiles.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

// What the sheets of real workbooks show, beside the csv files that another program wrote of them.

namespace tally {
namespace {

using Table = std::vector<std::vector<std::string>>;

std::string Contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Table FieldsOf(const std::string& text) {
    Table rows(1, {""});
    bool quoted = false;
    for (std::size_t i = text.rfind("\xEF\xBB\xBF", 0) == 0 ? 3 : 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            if (quoted && i + 1 < text.size() && text[i + 1] == '"') {
                rows.back().back() += text[++i];
            } else {
                quoted = !quoted;
            }
        } else if (c == ',' && !quoted) {
            rows.back().emplace_back();
        } else if ((c == '\n' || c == '\r') && !quoted) {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
            rows.push_back({""});
        } else {
            rows.back().back() += c == '\r' ? '\n' : c;
        }
    }
    return rows;
}

// Without the empty rows and columns in front: the other program begins at the first used cell.
Table Cropped(Table rows) {
    const auto bare = [](const std::vector<std::string>& row) {
        return std::all_of(row.begin(), row.end(), [](const std::string& s) { return s.empty(); });
    };
    while (!rows.empty() && bare(rows.front())) rows.erase(rows.begin());
    const auto noFirst = [](const auto& row) { return row.empty() || row.front().empty(); };
    while (!rows.empty() && std::all_of(rows.begin(), rows.end(), noFirst)) {
        for (auto& row : rows) {
            if (!row.empty()) row.erase(row.begin());
        }
    }
    return rows;
}

std::string FieldAt(const Table& table, std::size_t row, std::size_t column) {
    return row < table.size() && column < table[row].size() ? table[row][column] : "";
}

struct Score {
    u32 compared = 0;
    u32 same = 0;
};

void Compare(const Table& expected, const Table& found, Score& score) {
    for (std::size_t row = 0; row < std::max(expected.size(), found.size()); ++row) {
        const std::size_t columns = std::max(row < expected.size() ? expected[row].size() : 0,
                                             row < found.size() ? found[row].size() : 0);
        for (std::size_t column = 0; column < columns; ++column) {
            const std::string wanted = FieldAt(expected, row, column), shown = FieldAt(found, row, column);
            if (wanted.empty() && shown.empty()) continue;
            ++score.compared;
            score.same += wanted == shown;
        }
    }
}

class RealWorkbooks : public Sandbox {
  protected:
    static std::string Written() {
        Headless().filesInMemory = true;
        u32 losses = 0;
        const bool saved = SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses);
        const MemoryFile* file = saved ? FindMemoryFile(u"out.csv") : nullptr;
        const std::string text =
            file ? std::string(reinterpret_cast<const char*>(file->bytes.Data()), file->bytes.Count()) : "";
        Headless().filesInMemory = false;
        return text;
    }
};

TEST_F(RealWorkbooks, ShowWhatAnotherProgramWroteOfThem) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "TALLYMAN_CORPUS is not set";
    Region("en-US");
    Headless().textCodePage = 65001;
    std::map<std::filesystem::path, std::vector<std::pair<i32, std::filesystem::path>>> sheets;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".csv") continue;
        const std::filesystem::path numbered = entry.path().parent_path() / entry.path().stem();
        const std::string number = numbered.extension().string();
        sheets[numbered.parent_path() / numbered.stem()].push_back(
            {std::atoi(number.c_str() + 1), entry.path()});
    }
    Score total;
    for (const auto& [book, texts] : sheets) {
        if (!OpenFile(book.u16string(), OPEN_SILENT_LINKS)) continue;
        Score score;
        for (const auto& [sheet, text] : texts) {
            if (!SheetAt(CurrentBook(), sheet)) continue;
            CurrentWorkbook()->currentSheet = sheet;
            Compare(Cropped(FieldsOf(Contents(text))), Cropped(FieldsOf(Written())), score);
        }
        RemoveBook(CurrentBook());
        if (score.same * 10 < score.compared * 9)
            std::printf("%s: %u of %u\n", book.filename().string().c_str(), score.same, score.compared);
        total.compared += score.compared;
        total.same += score.same;
    }
    std::printf("%u of %u cells show the same text\n", total.same, total.compared);
    // The rest: letters that the other program's code page lacked, years of two digits, ten digits under
    // General in a narrow column, "####", texts written from another state of the same book.
    EXPECT_GE(total.same * 1000, total.compared * 964);
    EXPECT_GT(total.compared, 50000u);
}

}  // namespace
}  // namespace tally
