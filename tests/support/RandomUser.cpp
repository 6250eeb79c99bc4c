#include "support/RandomUser.h"

#include <algorithm>
#include <vector>

#include "editing/Undo.h"
#include "formula/NameMeaning.h"
#include "formula/Precedents.h"
#include "formula/Recalculation.h"
#include "model/AreaList.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Tables.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BookDump.h"
#include "support/RandomBook.h"

namespace tally {
namespace {

// Commands that change cells, lines, sheets and views of the book at hand.
constexpr i32 walkedCommands[] = {130, 130, 130, 131, 132, 133, 133, 134, 135, 136, 137, 138, 139, 140, 141,
                                  142, 143, 144, 144, 145, 146, 160, 160, 161, 162, 163, 166, 389, 391, 392,
                                  393, 394, 395, 396, 397, 398, 399, 400, 401, 402, 403, 404, 407, 412, 423};

struct Reader {
    i32 sheet = 0, row = 0, column = 0;
    std::vector<std::size_t> reads;  // other formulas
    int state = 0;                   // 1 being visited, 2 done
};

void AddReads(std::vector<Reader>& readers, Reader& reader, const FormulaTokens& tokens) {
    TokenPrecedent found;
    for (u32 at = 0; NextPrecedent(tokens, at, found);) {
        PrecedentSheets sheets;
        if (!ResolvePrecedent(CurrentBook(), reader.sheet, found.externIndex, sheets)) continue;
        for (std::size_t i = 0; i < readers.size(); ++i)
            if (readers[i].sheet >= sheets.first && readers[i].sheet <= sheets.last &&
                AreaHolds(found.area, readers[i].row, readers[i].column))
                reader.reads.push_back(i);
    }
}

bool Circles(std::vector<Reader>& readers, std::size_t at) {
    if (readers[at].state) return readers[at].state == 1;
    readers[at].state = 1;
    for (const std::size_t next : readers[at].reads)
        if (Circles(readers, next)) return true;
    readers[at].state = 2;
    return false;
}

}  // namespace

std::string DumpContent() {
    std::string text = DumpBooks();
    for (std::size_t at = 0; (at = text.find(" first ", at)) != text.npos;)
        text.erase(at, text.find(" cells ", at) - at);
    return text;
}

std::string ContentDifference(const std::string& before, const std::string& after) {
    if (before == after) return "";
    const auto lines = [](const std::string& text) {
        std::vector<std::string> out;
        for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
            end = std::min(text.find('\n', at), text.size());
            out.push_back(text.substr(at, end - at));
        }
        return out;
    };
    return DumpDifference(lines(before), lines(after));
}

bool HasCircle(std::size_t most) {
    const Workbook& book = *CurrentWorkbook();
    std::vector<Reader> readers;
    std::vector<const FormulaTokens*> tokens;
    for (const Sheet* sheet : book.sheets)
        for (const FormulaCell* formula : sheet->cells.formulas) {
            readers.push_back({sheet->index, formula->row, formula->column, {}, 0});
            tokens.push_back(&formula->tokens);
        }
    if (readers.size() > most) return true;
    for (std::size_t i = 0; i < readers.size(); ++i) {
        AddReads(readers, readers[i], *tokens[i]);
        u32 at = 0;
        NameMention mention;
        if (!NextMention(*tokens[i], at, mention)) continue;
        for (const DefinedName& name : book.names) AddReads(readers, readers[i], name.tokens);
    }
    for (std::size_t i = 0; i < readers.size(); ++i)
        if (Circles(readers, i)) return true;
    return false;
}

RefArea RandomUser::Anywhere(bool whole) {
    const u32 row = Below(24), column = Below(14);
    const RefArea area = {static_cast<u16>(row), static_cast<u16>(row + Below(4)), static_cast<u8>(column),
                          static_cast<u8>(column + Below(3))};
    switch (whole ? Below(12) : 3 + Below(9)) {
        case 0: return {area.firstRow, area.lastRow, 0, MAX_COLUMNS - 1};
        case 1: return {0, MAX_ROWS - 1, area.firstColumn, area.lastColumn};
        case 2:
            return {static_cast<u16>(MAX_ROWS - 1 - area.lastRow), MAX_ROWS - 1, area.firstColumn,
                    MAX_COLUMNS - 1};
        case 3:
        case 4:
        case 5: return {area.firstRow, area.firstRow, area.firstColumn, area.firstColumn};
        default: return area;
    }
}

void RandomUser::SelectAnything(bool whole) {
    const RefArea area = Anywhere(whole);
    SelectArea(area, true, area.firstRow, area.firstColumn, true);
}

void RandomUser::AnswerAnything() {
    Headless().answers.Truncate(0);
    Headless().answersUsed = 0;
    Headless().boxes.Truncate(0);
    constexpr i32 answers[] = {IDOK, IDYES, IDNO, IDCANCEL};
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(Headless().answers.Append(answers[Below(4)]));
    ResetHeadlessDialogs();
    ASSERT_TRUE(AnswerDialog(Below(8) != 0));
    for (u32 field = 0; field < 4; ++field) {
        const char16_t name[] = {static_cast<char16_t>(u'0' + field), 0};
        const char16_t value[] = {static_cast<char16_t>(u'0' + Below(6)), 0};
        if (Below(2)) ASSERT_TRUE(EnterInDialog(name, value));
    }
}

void RandomUser::TypeAnything() {
    constexpr WideView texts[] = {u"5",      u"text",     u"=A1+1",  u"=SUM(A1:C3)",
                                  u"12%",    u"1/2/2003", u"=B2&C3", u"=Sheet2!A1*2",
                                  u"'quote", u"TRUE",     u"=1/0",   u"=IF(A1>2,B1,C1)"};
    TypeText(texts[Below(std::size(texts))]);
    constexpr u32 ends[] = {0, 0, KEY_CTRL, KEY_CTRL | KEY_SHIFT};
    PressKey(VK_RETURN, ends[Below(4)]);
    if (IsEditing()) PressKey(VK_ESCAPE);
}

// The later rule of a cell counts.
void RandomUser::TakeRulesApart(Sheet& sheet) {
    for (ValidationRule& rule : sheet.validations) {
        Array<RefArea> areas = std::move(rule.areas);
        rule.areas.Clear();
        for (const RefArea& area : areas) {
            for (ValidationRule& other : sheet.validations) ASSERT_TRUE(SubtractArea(other.areas, area));
            ASSERT_TRUE(rule.areas.Append(area));
        }
    }
}

void RandomUser::StartBook(u32 seed) {
    random.seed(seed + 1);
    ResetBooks();
    ConnectUndo();
    ASSERT_TRUE(CreateWorkbook(nullptr, true));
    FillBookAtRandom(random);
    for (Sheet* sheet : CurrentWorkbook()->sheets) ASSERT_NO_FATAL_FAILURE(TakeRulesApart(*sheet));
    MarkAllStale();
    SelectBook(CurrentBook());
}

i32 RandomUser::GetReady() {
    AnswerAnything();
    if (IsEditing()) PressKey(VK_ESCAPE);
    if (!(CurrentSheet()->kind & SHEET_WITH_CELLS)) SelectSheet(0);
    const bool types = Below(3) == 0 && (CurrentSheet()->kind & SHEET_WITH_CELLS);
    const i32 command = types ? 0 : walkedCommands[Below(std::size(walkedCommands))];
    SelectFor(command);
    return command;
}

void RandomUser::GetReadyFor(i32 command) {
    AnswerAnything();
    SelectFor(command);
}

// What fills every cell of whole columns would fill the books.
void RandomUser::SelectFor(i32 command) {
    const bool fills = !command || (command > 132 && command < 140) || command == 389;
    if (CurrentSheet()->kind & SHEET_WITH_CELLS) SelectAnything(!fills);
}

bool RandomUser::Do(i32 command) {
    if (!command) TypeAnything();
    else if (FindCommand(command)) PickCommand(command);
    else return false;
    // Nobody is told of a change on a macro sheet.
    if (CurrentSheet()->kind == SHEET_MACRO) MarkAllStale();
    return true;
}

}  // namespace tally
