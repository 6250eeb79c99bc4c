#include "apps/tally/Commands.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "fileio/SaveFile.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

// The form of a workbook: the one that was asked for, else that of the book read.
void ChooseForm(const Options& options) {
    if (!options.form.empty()) CurrentWorkbook()->biffVersion = options.form == "97" ? 8 : 7;
}

// One line on standard error for all that the form cannot hold.
void TellLosses(u32 losses) {
    if (!losses) return;
    WideText list;
    bool good = true;
    for (u32 bit = 1; bit; bit <<= 1) {
        if (!(losses & bit)) continue;
        good = good && (list.IsEmpty() || list.Append(Message(MSG_TALLY_LIST_SEPARATOR))) &&
               list.Append(SaveLossText(bit));
    }
    IgnoreFailure(good ? Complain(EXIT_GOOD, MSG_TALLY_NOT_KEPT, list)
                       : Complain(EXIT_GOOD, MSG_OUT_OF_MEMORY));
}

}  // namespace

int WriteCurrentBook(const Options& options, const std::string& output) {
    WideText path;
    const std::string named = output == "-" ? "stdout." + options.to : output;
    if (!WideFromPath(path, named)) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    const FileType type = FileTypeOf(path);
    if (!options.force && FileHasChanged(*CurrentWorkbook(), path))
        return Complain(EXIT_FILES, MSG_TALLY_FILE_CHANGED, path);
    ChooseForm(options);
    const u32 boxes = Headless().boxes.Count();
    u32 losses = 0;
    if (WriteBookFile(CurrentBook(), output == "-" ? WideView(u"-") : path.View(), type, losses)) {
        // A sheet that was asked for is all that was wanted.
        TellLosses(options.sheet.empty() ? losses : losses & ~u32{LOSS_SHEETS});
        return EXIT_GOOD;
    }
    return ComplainInWords(EXIT_FILES, {},
                           Headless().boxes.Count() > boxes ? Headless().boxes.Last().text.View()
                                                            : Message(MSG_TALLY_CANNOT_WRITE));
}

bool CanWriteTo(const Options& options, const std::string& output, int& status) {
    WideText path;
    if (!WideFromPath(path, output == "-" ? "stdout." + options.to : output)) {
        status = Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
        return false;
    }
    if (!options.form.empty() && options.form != "97" && options.form != "95") {
        status = Complain(EXIT_USAGE, MSG_TALLY_BAD_FORM);
        return false;
    }
    if (CanWrite(FileTypeOf(path))) return true;
    status = Complain(EXIT_USAGE, output == "-" && options.to.empty() ? MSG_TALLY_NEEDS_TO : MSG_TALLY_BAD_OUT);
    return false;
}

int RunConvert(const Options& options) {
    int status = EXIT_GOOD;
    if (!CanWriteTo(options, options.output, status)) return status;
    if (!OpenInput(options.input, options.from, options, status)) return status;
    if (!options.sheet.empty() && !ChooseSheet(options.sheet, status)) return status;
    if (options.recalculate) RecalculateAll();
    return WriteCurrentBook(options, options.output);
}

}  // namespace tally
