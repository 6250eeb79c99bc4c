#include "apps/tally/Commands.h"
#include "base/Text.h"
#include "fileio/TextFiles.h"
#include "model/BookTable.h"
#include "shell/headless/HeadlessPlatform.h"

namespace tally {

int WriteCurrentBook(const Options& options, const std::string& output) {
    WideText path;
    const std::string named = output == "-" ? "stdout." + options.to : output;
    if (!WideFromUtf8(path, named)) return Complain(EXIT_DATA, "out of memory");
    const FileType type = FileTypeOf(path);
    const u32 boxes = Headless().boxes.Count();
    if (SaveText(CurrentBook(), output == "-" ? WideView(u"-") : path.View(), type)) return EXIT_GOOD;
    return Complain(
        EXIT_FILES, "",
        Headless().boxes.Count() > boxes ? Headless().boxes.Last().text.View() : WideView(u"cannot write"));
}

bool CanWriteTo(const Options& options, const std::string& output, int& status) {
    WideText path;
    if (!WideFromUtf8(path, output == "-" ? "stdout." + options.to : output)) {
        status = Complain(EXIT_DATA, "out of memory");
        return false;
    }
    const FileType type = FileTypeOf(path);
    if (type == FILE_CSV || type == FILE_TXT) return true;
    status = Complain(EXIT_USAGE, output == "-" && options.to.empty() ? "standard output needs --to"
                                                                      : "OUT must be a csv or txt file");
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
