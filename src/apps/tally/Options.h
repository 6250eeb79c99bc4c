#pragma once
// The command line of tally.

#include <string>

namespace tally {

enum class Command { None, Sheets, Cells, Verify, Convert, Eval, Functions, Replay };

struct Options {
    Command command = Command::None;
    std::string input;
    std::string output;
    std::string formula;
    std::string sheet;  // empty: the command's own choice
    std::string book;
    std::string cell = "A1";
    std::string locale;  // empty: that of the environment
    std::string date;
    std::string from, to;   // extensions, for "-"
    std::string form;       // of workbooks written: "97", "95" or empty
    unsigned codePage = 0;  // 0: that of the region, and UTF-8 for text files
    bool recalculate = false;
    bool document = false;  // the functions as a document
    bool trust = false;
    bool updateLinks = false;
    bool force = false;
};

enum ExitStatus { EXIT_GOOD = 0, EXIT_DATA = 1, EXIT_USAGE = 2, EXIT_FILES = 3 };

// Reads the command line. True when there is a command to run; otherwise `status` is the exit status
// (good after --help and --version).
[[nodiscard]] bool ReadOptions(int count, char** arguments, Options& options, int& status);

}  // namespace tally
