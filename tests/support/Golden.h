#pragma once
// Kept texts in tests/golden. With TALLYMAN_RENEW_GOLDEN in the environment they are written anew instead of
// compared; what has changed is then to be read in the difference.

#include <string>

namespace tally {

// Compares line by line, and stops at the first that differs.
void ExpectGolden(const std::string& file, const std::string& text);

}  // namespace tally
