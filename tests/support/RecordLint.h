#pragma once
// A strict reader of workbook streams, independent of the program's own: it walks the records of a stream as
// the published form describes them and tells everything that a careful reader could stumble over.

#include <string>
#include <vector>

#include "base/Base.h"

namespace tally {

// What is wrong with the workbook stream of the 97 form (8) or the 95 form (7); empty for nothing. `read`: the
// book was a file before, which may have had cells in formats of styles, styles in formats of cells, names
// twice and empty number formats.
std::vector<std::string> LintWorkbook(const std::vector<u8>& stream, u8 form, bool read = false);

// The findings in one text, at most `most` of them.
std::string LintText(const std::vector<std::string>& findings, std::size_t most = 12);

}  // namespace tally
