#pragma once
// What each command of tally does. Every routine returns the exit status and has told a failure on
// standard error.

#include "apps/tally/Options.h"
#include "base/Platform.h"
#include "model/Value.h"

namespace tally {

int RunSheets(const Options& options);
int RunCells(const Options& options);
int RunVerify(const Options& options);
int RunConvert(const Options& options);
int RunEval(const Options& options);
int RunFunctions(const Options& options);
int RunReplay(const Options& options);

// ---- shared by the commands -----------------------------------------------------------------------

// One line on standard error: a message with its "%s" replaced. Returns `status`.
int Complain(int status, u16 message, WideView insert = {});
// The same behind a place in a script.
int ComplainAt(int status, std::string_view place, u16 message, WideView insert = {});
// The same for what the command line holds.
int ComplainOf(int status, u16 message, std::string_view insert);
// The same for a text that is in words already; of several lines one is made.
int ComplainInWords(int status, std::string_view place, WideView text);
// A message as the library of options wants it.
std::string MessageText(u16 message, std::string_view insert = {});
// Tells why a file could not be read. Returns the status.
int TellUnread(const std::string& path, ReadOutcome outcome);
// Opens the input of a command as the current book; a failure has been told.
[[nodiscard]] bool OpenInput(const std::string& path, const std::string& form, const Options& options,
                             int& status);
// Makes the sheet of that name current. False, and told, when there is none.
[[nodiscard]] bool ChooseSheet(const std::string& name, int& status);
// Whether `output` names a form that can be written. False, and told, when it does not.
[[nodiscard]] bool CanWriteTo(const Options& options, const std::string& output, int& status);
// Writes the current book to a file that CanWriteTo let pass; "-" is standard output.
int WriteCurrentBook(const Options& options, const std::string& output);
// The stored cells of an area as lines, brought up to date. False when memory fails.
[[nodiscard]] bool WriteCells(i32 book, i32 sheet, const RefArea& area);
// Brings the lines out; the status of a command that has written all it had to say.
int FinishLines();
// Sets every formula of the current book stale and calculates it.
void RecalculateAll();

}  // namespace tally
