#include <sstream>
#include <string>
#include <vector>

#include "formula/FormulaTypes.h"
#include "functions/FormulaFile.h"
#include "functions/Handlers.h"

// What holds of the calls of all functions alike, and the table of their rows.

namespace tally {
namespace {

// A line of calls.txt: a name, its arguments as they are written, and what a text in place of a number gives.
struct Call {
    std::string name;
    std::vector<std::string> arguments;
    std::string unread = "#VALUE!";

    std::string With(std::size_t first, const char* one, std::size_t second = SIZE_MAX,
                     const char* other = "") const {
        std::string text = "=" + name;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            text += i ? ',' : '(';
            text += i == first ? one : i == second ? other : arguments[i];
        }
        return text + ")";
    }
    bool IsTruth(std::size_t i) const { return arguments[i] == "TRUE" || arguments[i] == "FALSE"; }
    bool IsNumber(std::size_t i) const {
        const std::string& text = arguments[i];
        return std::isdigit(text[0]) || text[0] == '-' || IsTruth(i) || text.starts_with("DATE(");
    }
};

Call ReadCall(const std::string& line) {
    Call call;
    const std::size_t open = line.find('('), close = line.rfind(')');
    call.name = line.substr(0, open);
    if (close + 2 < line.size()) call.unread = line.substr(close + 2);
    i32 depth = 0;
    bool quoted = false, begins = true;
    for (std::size_t i = open + 1; i < close; ++i) {
        const char c = line[i];
        if (c == '"') quoted = !quoted;
        if (!quoted && (c == '(' || c == '{')) ++depth;
        if (!quoted && (c == ')' || c == '}')) --depth;
        const bool separates = !quoted && !depth && c == ',';
        if (begins) call.arguments.emplace_back();
        begins = separates;
        if (!separates) call.arguments.back() += c;
    }
    return call;
}

class Calls : public FormulaFile {
  protected:
    static std::vector<Call> All() {
        std::vector<Call> calls;
        for (const std::string& line : LinesOf("calls.txt")) {
            if (!line.empty() && line[0] != '#') calls.push_back(ReadCall(line));
        }
        EXPECT_GT(calls.size(), 250u);
        return calls;
    }
};

TEST_F(Calls, WithOrdinaryArgumentsYieldNoError) {
    for (const Call& call : All()) {
        const std::string shown = Eval(call.With(SIZE_MAX, ""));
        EXPECT_FALSE(shown.starts_with('#') || shown == "fault") << call.With(SIZE_MAX, "") << " " << shown;
    }
}

// Where a truth value is wanted any error is one of its kind.
TEST_F(Calls, YieldTheErrorOfAnyArgumentAndOfTwoTheFirst) {
    for (const Call& call : All()) {
        for (std::size_t i = 0; i < call.arguments.size(); ++i) {
            const bool asTruth = call.IsTruth(i) && call.name != "AND" && call.name != "OR";
            const char* expected = asTruth ? "#VALUE!" : "#NULL!";
            const std::string one = call.With(i, "#NULL!");
            EXPECT_EQ(Eval(one), expected) << one;
            for (std::size_t k = i + 1; k < call.arguments.size(); ++k) {
                const std::string two = call.With(i, "#NULL!", k, "#REF!");
                EXPECT_EQ(Eval(two), expected) << two;
            }
        }
    }
}

TEST_F(Calls, RefuseATextInThePlaceOfANumber) {
    for (const Call& call : All()) {
        for (std::size_t i = 0; call.unread != "any" && i < call.arguments.size(); ++i) {
            const std::string text = call.With(i, "\"x\"");
            if (call.IsNumber(i)) EXPECT_EQ(Eval(text), call.unread) << text;
        }
    }
}

TEST_F(Calls, ReadTheirArgumentsFromCellsAndFromOneElementOfAnArray) {
    for (const Call& call : All()) {
        const std::string plain = Eval(call.With(SIZE_MAX, ""));
        for (std::size_t i = 0; i < call.arguments.size(); ++i) {
            if (!call.IsNumber(i) || call.name == "RANDBETWEEN") continue;
            Enter("B1", "=" + call.arguments[i]);
            EXPECT_EQ(Eval(call.With(i, "B1")), plain) << call.With(i, "B1") << " of " << call.arguments[i];
        }
    }
}

TEST(FunctionRows, HaveTheirNumbersSignaturesCategoriesAndFormats) {
    i32 row = 0;
    for (const std::string& line : FormulaFile::LinesOf("rows.txt")) {
        if (line.empty() || line[0] == '#') continue;
        ASSERT_LT(row, FUNCTION_ROWS);
        const FunctionEntry& entry = FunctionTable[row++];
        std::istringstream in(line);
        std::string name, number, signature, category;
        i32 format = 0;
        in >> name >> number >> signature >> category >> format;
        ASSERT_FALSE(in.fail()) << line;
        EXPECT_EQ(Narrow(entry.name), name);
        if (number == "-") {
            EXPECT_EQ(entry.id, entry.category) << name;
        } else {
            const i32 id = std::stoi(number) | (number.back() == 'c' ? COMMAND_BIT : 0);
            EXPECT_EQ(entry.id, id) << name;
        }
        if (std::isdigit(signature[0])) {
            EXPECT_EQ(entry.signature.size(), std::stoul(signature)) << name;
        } else if (signature == "*") {
            EXPECT_EQ(entry.signature.size(), static_cast<std::size_t>(MAX_ARGUMENTS)) << name;
        } else {
            EXPECT_EQ(entry.signature, signature == "-" ? "" : signature) << name;
        }
        if (category != "*") EXPECT_EQ(std::to_string(entry.category), category) << name;
        EXPECT_EQ(entry.proposedFormat, format) << name;
    }
    EXPECT_EQ(row, FUNCTION_ROWS);
}

}  // namespace
}  // namespace tally
