#include "functions/FunctionState.h"

#include "functions/Random.h"

namespace tally {

void ResetFunctions() { Random() = RandomState(); }

}  // namespace tally
