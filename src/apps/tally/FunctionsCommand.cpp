#include <cstdio>
#include <iterator>
#include <string>

#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

struct CategoryRow {
    u8 category;
    const char* name;
};
// In the order of the list of functions; macro rows behind those of worksheets.
constexpr CategoryRow categories[] = {
    {CATEGORY_ALL, "listed under all"},
    {CATEGORY_FINANCIAL, "financial"},
    {CATEGORY_DATE, "date and time"},
    {CATEGORY_MATH, "math and trigonometry"},
    {CATEGORY_STATISTICAL, "statistical"},
    {CATEGORY_LOOKUP, "lookup and reference"},
    {CATEGORY_DATABASE, "database"},
    {CATEGORY_TEXT, "text"},
    {CATEGORY_LOGICAL, "logical"},
    {CATEGORY_INFORMATION, "information"},
    {CATEGORY_ENGINEERING, "engineering"},
    {CATEGORY_MACRO_CONTROL, "macro control"},
    {CATEGORY_MACRO_COMMAND, "macro commands"},
};

const char* CategoryName(u8 category) {
    for (const CategoryRow& row : categories) {
        if (row.category == category) return row.name;
    }
    return "none";
}

enum class State { Works, False, NotAvailable, Pending, Count };
constexpr const char* stateNames[] = {"works", "FALSE", "#N/A", "to be built"};
static_assert(std::size(stateNames) == static_cast<std::size_t>(State::Count));

// FALSE and NA do what their names say; the other rows of their handlers do nothing else.
State StateOf(const FunctionEntry& entry) {
    if (entry.handler == HandlerPending) return State::Pending;
    if (entry.handler == ReturnFalse && entry.name != u"FALSE") return State::False;
    if (entry.handler == ReturnNA && entry.name != u"NA") return State::NotAvailable;
    return State::Works;
}

// The rows are ASCII.
std::string Narrow(WideView text) { return {text.begin(), text.end()}; }

// ---- the list as a document -----------------------------------------------------------------------

u32 CountOf(u8 category, State state) {
    u32 count = 0;
    for (const FunctionEntry& entry : FunctionTable)
        count += entry.category == category && StateOf(entry) == state;
    return count;
}

u32 CountOf(State state) {
    u32 count = 0;
    for (const FunctionEntry& entry : FunctionTable) count += StateOf(entry) == state;
    return count;
}

void PrintNames(u8 category, State state, const char* heading) {
    if (!CountOf(category, state)) return;
    std::printf("\n%s: ", heading);
    const char* separator = "";
    for (const FunctionEntry& entry : FunctionTable) {
        if (entry.category != category || StateOf(entry) != state) continue;
        std::printf("%s`%s`", separator, Narrow(entry.name).c_str());
        separator = ", ";
    }
    std::printf(".\n");
}

void PrintWorking(u8 category) {
    if (!CountOf(category, State::Works)) return;
    std::printf("\n");
    for (const FunctionEntry& entry : FunctionTable) {
        if (entry.category != category || StateOf(entry) != State::Works) continue;
        const std::string hint = entry.argumentHint == u" " ? "" : Narrow(entry.argumentHint);
        std::printf("- `%s(%s)`\n", Narrow(entry.name).c_str(), hint.c_str());
    }
}

void PrintDocument() {
    std::printf(
        "# Functions\n\nMade by `tally functions --document`; a test compares.\n\n"
        "Of %d functions and commands %u are carried out, %u are accepted and yield FALSE, %u yield \"#N/A\" "
        "and %u are to be built. Arguments in brackets may be left out.\n",
        FUNCTION_ROWS, CountOf(State::Works), CountOf(State::False), CountOf(State::NotAvailable),
        CountOf(State::Pending));
    for (const CategoryRow& row : categories) {
        std::string title = row.name;
        title[0] = static_cast<char>(title[0] - 32);
        std::printf("\n## %s\n", title.c_str());
        PrintWorking(row.category);
        PrintNames(row.category, State::Pending, "To be built");
        PrintNames(row.category, State::NotAvailable, "Yields \"#N/A\"");
        PrintNames(row.category, State::False, "Accepted, yields FALSE");
    }
}

}  // namespace

int RunFunctions(const Options& options) {
    if (options.document) {
        PrintDocument();
    } else {
        for (const FunctionEntry& entry : FunctionTable) {
            FunctionLine line;
            line.name = entry.name;
            line.category = CategoryName(entry.category);
            line.signature = entry.signature;
            line.hint = entry.argumentHint == u" " ? WideView() : entry.argumentHint;
            line.state = stateNames[static_cast<std::size_t>(StateOf(entry))];
            WriteFunctionLine(line);
        }
    }
    return FinishLines();
}

}  // namespace tally
