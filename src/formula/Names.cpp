#include "base/Text.h"
#include "formula/Links.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr WideView builtInNames[] = {
    u"Consolidate_Area", u"Auto_Open",       u"Auto_Close",   u"Extract",         u"Database",
    u"Criteria",         u"Print_Area",      u"Print_Titles", u"Recorder",        u"Data_Form",
    u"Auto_Activate",    u"Auto_Deactivate", u"Sheet_Title",  u"_FilterDatabase",
};
constexpr u32 MAX_NAMES = 0xFFFE;  // a token holds the row plus one

}  // namespace

i32 FindName(const Workbook& book, WideView text, u16 sheet) {
    for (u32 i = 0; i < book.names.Count(); ++i) {
        const DefinedName& name = book.names[i];
        if (name.sheet == sheet && name.text.Length() == text.size() && EqualIgnoringCase(name.text, text)) {
            return static_cast<i32>(i);
        }
    }
    return -1;
}

i32 AddName(Workbook& book, WideView text, u16 sheet) {
    if (book.names.Count() >= MAX_NAMES) return -1;
    DefinedName* name = book.names.AppendDefault();
    if (!name) return -1;
    name->sheet = sheet;
    if (!name->text.Assign(text)) {
        book.names.RemoveLast();
        return -1;
    }
    return static_cast<i32>(book.names.Count()) - 1;
}

WideView BuiltInName(u8 code) { return code < std::size(builtInNames) ? builtInNames[code] : WideView(); }

i32 BuiltInNameCode(WideView text) {
    for (u32 i = 0; i < std::size(builtInNames); ++i) {
        if (EqualIgnoringCase(builtInNames[i], text)) return static_cast<i32>(i);
    }
    return -1;
}

bool GetFilterArea(i32 book, i32 sheet, RefArea& area) {
    const Workbook* workbook = BookAt(book);
    if (!workbook) return false;
    const i32 row = FindName(*workbook, BuiltInName(13), static_cast<u16>(sheet + 1));
    if (row < 0) return false;
    const FormulaTokens& tokens = workbook->names[static_cast<u32>(row)].tokens;
    if (tokens.length < 11 || FoldToken(tokens.bytes[0]) != ptgArea3d) return false;
    u8 nibble = 0;
    area = ReadAreaOperand(tokens.bytes + 3, nibble);
    return true;
}

}  // namespace tally
