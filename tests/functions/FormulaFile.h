#pragma once
// Runs a file of tests/data/functions: a formula and what it shows a line.

#include <string>
#include <vector>

#include "support/Sandbox.h"

namespace tally {

class FormulaFile : public Sandbox {
  public:
    static std::vector<std::string> LinesOf(const char* name);

  protected:
    // Lines of the file:
    //   # a remark
    //   [NAME]             a section
    //   B1: text           types the text into a cell
    //   1904               the book counts from 1904 from here on; 1900 takes it back
    //   second sheet       inserts Sheet2 behind Sheet1
    //   region TAG         the user's region
    //   =FORMULA -> text   what the formula shows in a cell of the format General
    //   =FORMULA ~ number  the shown number agrees to fourteen digits
    // Every section begins in a new book of the 1900 system.
    static void Check(const char* name);
    // The functions that the rows of the file call, by the names of its sections.
    static std::vector<std::string> Sections(const char* name);
};

}  // namespace tally
