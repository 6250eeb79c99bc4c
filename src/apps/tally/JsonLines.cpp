#include "apps/tally/JsonLines.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "base/Text.h"
#include "formula/FormulaText.h"

namespace tally {
namespace {

using Json = nlohmann::ordered_json;

std::string Narrow(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    return out;
}

std::string CellName(i32 row, i32 column) {
    WideText name;
    return CellToText(row, column, false, false, name) ? Narrow(name) : std::string();
}

// A whole number without a decimal point; both forms read back to the same double.
Json NumberJson(double number) {
    const bool whole =
        number == std::trunc(number) && std::fabs(number) < 1e15 && !(number == 0 && std::signbit(number));
    return whole ? Json(static_cast<i64>(number)) : Json(number);
}

Json ValueJson(const Value& value) {
    switch (value.type) {
        case VT_NUMBER: return NumberJson(value.number);
        case VT_STRING: return Narrow(TextOf(value));
        case VT_BOOL: return value.boolean != 0;
        case VT_ERROR: return Narrow(ErrorText(value.error));
        default: return nullptr;
    }
}

const char* TypeName(const Value& value) {
    switch (value.type) {
        case VT_NUMBER: return "number";
        case VT_STRING: return "text";
        case VT_BOOL: return "boolean";
        case VT_ERROR: return "error";
        default: return "blank";
    }
}

void WriteLine(const Json& line) {
    const std::string text = line.dump();
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

}  // namespace

void WriteCellLine(const CellLine& line) {
    Json json;
    json["sheet"] = Narrow(line.sheet);
    json["cell"] = CellName(line.row, line.column);
    if (!line.formula.empty()) json["formula"] = Narrow(line.formula);
    json["type"] = TypeName(*line.value);
    json["value"] = ValueJson(*line.value);
    json["text"] = Narrow(line.text);
    json["format"] = Narrow(line.format);
    WriteLine(json);
}

void WriteSheetLine(const SheetLine& line) {
    WriteLine({{"index", line.index},
               {"name", Narrow(line.name)},
               {"kind", line.kind},
               {"hidden", line.hidden},
               {"rows", line.rows},
               {"columns", line.columns}});
}

void WriteFunctionLine(const FunctionLine& line) {
    WriteLine({{"name", Narrow(line.name)},
               {"category", line.category},
               {"signature", line.signature},
               {"hint", Narrow(line.hint)},
               {"state", line.state}});
}

void WriteDifferenceLine(WideView sheet, i32 row, i32 column, WideView formula, const Value& saved,
                         const Value& computed) {
    WriteLine({{"sheet", Narrow(sheet)},
               {"cell", CellName(row, column)},
               {"formula", Narrow(formula)},
               {"saved", ValueJson(saved)},
               {"computed", ValueJson(computed)}});
}

void WriteVerifyLine(const VerifyCounts& counts) {
    WriteLine({{"formulas", counts.formulas},
               {"equal", counts.equal},
               {"different", counts.different},
               {"volatile", counts.volatileOnes},
               {"kept", counts.kept}});
}

bool FlushLines() { return std::fflush(stdout) == 0 && !std::ferror(stdout); }

}  // namespace tally
