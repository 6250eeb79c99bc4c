#include "apps/tally/Commands.h"
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
    std::string list;
    for (u32 bit = 1; bit; bit <<= 1) {
        if (losses & bit) list.append(list.empty() ? "" : ", ").append(SaveLossText(bit));
    }
    IgnoreFailure(Complain(EXIT_GOOD, "not kept: " + list));
}

}  // namespace

int WriteCurrentBook(const Options& options, const std::string& output) {
    WideText path;
    const std::string named = output == "-" ? "stdout." + options.to : output;
    if (!WideFromPath(path, named)) return Complain(EXIT_DATA, "out of memory");
    const FileType type = FileTypeOf(path);
    if (!options.force && FileHasChanged(*CurrentWorkbook(), path))
        return Complain(EXIT_FILES,
                        output + ": another program changed the file meanwhile; --force replaces it");
    ChooseForm(options);
    const u32 boxes = Headless().boxes.Count();
    u32 losses = 0;
    if (WriteBookFile(CurrentBook(), output == "-" ? WideView(u"-") : path.View(), type, losses)) {
        // A sheet that was asked for is all that was wanted.
        TellLosses(options.sheet.empty() ? losses : losses & ~u32{LOSS_SHEETS});
        return EXIT_GOOD;
    }
    return Complain(
        EXIT_FILES, "",
        Headless().boxes.Count() > boxes ? Headless().boxes.Last().text.View() : WideView(u"cannot write"));
}

bool CanWriteTo(const Options& options, const std::string& output, int& status) {
    WideText path;
    if (!WideFromPath(path, output == "-" ? "stdout." + options.to : output)) {
        status = Complain(EXIT_DATA, "out of memory");
        return false;
    }
    if (!options.form.empty() && options.form != "97" && options.form != "95") {
        status = Complain(EXIT_USAGE, "--form is 97 or 95");
        return false;
    }
    if (CanWrite(FileTypeOf(path))) return true;
    status = Complain(EXIT_USAGE, output == "-" && options.to.empty()
                                      ? "standard output needs --to"
                                      : "OUT must be an xls, xlt, pxl, pxt, csv or txt file");
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
