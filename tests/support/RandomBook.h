#pragma once
// Everything that a user can see of the open books, as text; and books at random for tests that change them.

#include <random>
#include <string>

#include "support/Sandbox.h"

namespace tally {

void CalculateBooks();
// All books, calculated first. Formulas as tokens, with the extern rows that they use told by what those mean.
std::string DumpBooks();

// Fills the current book: three worksheets and a macro sheet with numbers, texts, formulas across sheets,
// names, arrays, merges, rules, hyperlinks and sizes, all within the first twenty rows and twelve columns.
void FillBookAtRandom(std::mt19937& random);

}  // namespace tally
