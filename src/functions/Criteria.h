#pragma once
// The criteria of COUNTIF, SUMIF and the database functions.

#include "formula/FormulaTypes.h"

namespace tally {

enum CriteriaKind : u8 {
    CRITERIA_NEVER,
    CRITERIA_ZERO,
    CRITERIA_NUMBER,
    CRITERIA_BOOL,
    CRITERIA_ERROR,
    // The texts: their rest is what stands behind the operator.
    CRITERIA_EQUAL,
    CRITERIA_DIFFERENT,
    CRITERIA_LESS,
    CRITERIA_LESS_EQUAL,
    CRITERIA_GREATER,
    CRITERIA_GREATER_EQUAL,
};

// A criteria value taken apart, for many cells. Holds a view of the value's text.
struct Criteria {
    CriteriaKind kind = CRITERIA_NEVER;
    bool matchesEmpty = false;
    bool matchesFilled = false;  // every cell that is not empty
    bool isNumber = false;       // the rest reads as `number`
    bool isPlain = false;        // the rest is no number, boolean or error
    bool hasWildcards = false;
    bool isBool = false;      // the rest reads TRUE or FALSE: no text is equal to it
    bool fromStart = false;   // equal to every text that begins with the rest
    bool noBooleans = false;  // equal to no boolean
    double number = 0;
    i32 code = 0;  // of a boolean or error
    WideView rest;
};
Criteria TakeCriteria(const Value& criteria);
// Those of the database functions: a text without an operator matches what begins with it, and texts match no
// booleans.
Criteria TakeDatabaseCriteria(const Value& criteria);
bool Matches(const Criteria& criteria, const Value& cell);

// Whether a cell's value meets a criteria value.
bool CriteriaMatch(const Value& criteria, const Value& cell);
// Whether two numbers differ by no more than the last places of a double.
bool Near(double a, double b);
// "*", "?" and "~" over the whole text.
bool WildcardMatch(WideView pattern, WideView text, bool caseSensitive);

}  // namespace tally
