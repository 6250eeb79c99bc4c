#include "formula/CallClasses.h"

#include <algorithm>

#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr u16 fixedReferences[] = {79, 94, 89, 257, 1, 95};  // ABSREF ACTIVE.CELL CALLER EVALUATE IF SELECTION
constexpr u16 variableReferences[] = {150, 100, 1,  29,
                                      148, 78,  147};  // CALL CHOOSE IF INDEX INDIRECT OFFSET TEXTREF
// What gives arrays: DOCUMENTS FILES GET.DOCUMENT, and LINEST TREND LOGEST GROWTH, so that a sum sees all of
// them.
constexpr u16 variableArrays[] = {93, 166, 188, 49, 50, 51, 52};

char ValueArgumentLetter(char wanted, bool arrayMode) {
    if (arrayMode && wanted != 'V') return 'A';
    if (wanted == 'T' || wanted == 'R') return arrayMode ? 'V' : 'T';
    if (wanted == 'U' || wanted == 'A') return arrayMode ? 'V' : 'A';
    return 'V';
}

}  // namespace

char ArgumentLetter(char signature, char wanted, bool arrayMode, bool addIn) {
    if (signature >= 'a' && signature <= 'z') signature = static_cast<char>(signature - 32);
    switch (signature) {
        case 'C':
        case 'R': return 'R';
        case 'Q': return 'A';
        case 'T': return 'T';
        case 'U': return 'U';
        case 'V': return ValueArgumentLetter(wanted, arrayMode);
        case 'W': return !addIn && (wanted == 'T' || wanted == 'R') ? 'R' : 'W';
        default: return arrayMode ? 'A' : 'V';
    }
}

bool IsFixedFunction(const FunctionEntry& entry) {
    return entry.id < COMMAND_BIT && std::all_of(entry.signature.begin(), entry.signature.end(),
                                                 [](char c) { return c >= 'A' && c <= 'Z'; });
}

u32 FixedCallClass(u16 id, char wanted, bool arrayMode) {
    const bool isRef = IsOneOf(fixedReferences, id);
    switch (wanted) {
        case 'R': return isRef ? CLASS_REFERENCE : arrayMode ? CLASS_ARRAY : CLASS_VALUE;
        case 'T': return arrayMode ? CLASS_ARRAY : CLASS_VALUE;
        case 'V': return CLASS_VALUE;
        case 'A': return CLASS_ARRAY;
        case 'U': return isRef || arrayMode ? CLASS_REFERENCE : CLASS_ARRAY;
        case 'W': return isRef ? CLASS_REFERENCE : CLASS_VALUE;
        default: return CLASS_REFERENCE;
    }
}

u32 VariableCallClass(u16 id, char wanted, bool arrayMode) {
    const bool isRef = IsOneOf(variableReferences, id);
    const bool isArray = IsOneOf(variableArrays, id) || arrayMode;
    switch (wanted) {
        case 'R': return isRef ? CLASS_REFERENCE : isArray ? CLASS_ARRAY : CLASS_VALUE;
        case 'T': return isArray ? CLASS_ARRAY : CLASS_VALUE;
        case 'V': return CLASS_VALUE;
        case 'A': return CLASS_ARRAY;
        case 'U': return isRef || arrayMode ? CLASS_REFERENCE : CLASS_ARRAY;
        case 'W': return isRef ? CLASS_REFERENCE : CLASS_VALUE;
        default: return CLASS_REFERENCE;
    }
}

}  // namespace tally
