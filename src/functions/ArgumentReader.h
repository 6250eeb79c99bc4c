#pragma once
// Reads the arguments of a handler one after the other. All are coerced before any is judged; the first
// that cannot be coerced ends the call with its error, a value outside its domain with "#NUM!".

#include "functions/DateArguments.h"

namespace tally {

struct ArgumentReader {
    Value* arguments;
    Value& result;
    const EvalContext& context;
    i32 next = 0;
    bool good = true;
    bool inside = true;

    double Number();
    double NumberOr(double missing);
    // Cut to what an i32 holds.
    i32 Integer();
    i32 IntegerOr(i32 missing);
    // A serial of the 1900 system.
    i32 Date();
    WideView Text();
    void Require(bool condition) { inside = inside && condition; }
    // Whether the call goes on; otherwise the error is in `result`.
    bool Done();
};

}  // namespace tally
