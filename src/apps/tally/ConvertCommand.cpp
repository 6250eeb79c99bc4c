#include "apps/tally/Commands.h"
#include "base/Text.h"
#include "fileio/TextFiles.h"
#include "model/BookTable.h"
#include "shell/headless/HeadlessPlatform.h"

namespace tally {

int RunConvert(const Options& options) {
    WideText path;
    const std::string named = options.output == "-" ? "stdout." + options.to : options.output;
    if (!WideFromUtf8(path, named)) return Complain(EXIT_DATA, "out of memory");
    const FileType type = FileTypeOf(path);
    if (type != FILE_CSV && type != FILE_TXT) {
        return Complain(EXIT_USAGE, options.output == "-" && options.to.empty()
                                        ? "standard output needs --to"
                                        : "OUT must be a csv or txt file");
    }
    int status = EXIT_GOOD;
    if (!OpenInput(options.input, options.from, options, status)) return status;
    if (!options.sheet.empty() && !ChooseSheet(options.sheet, status)) return status;
    if (options.recalculate) RecalculateAll();
    const u32 boxes = Headless().boxes.Count();
    if (SaveText(CurrentBook(), options.output == "-" ? WideView(u"-") : path.View(), type)) return EXIT_GOOD;
    return Complain(
        EXIT_FILES, "",
        Headless().boxes.Count() > boxes ? Headless().boxes.Last().text.View() : WideView(u"cannot write"));
}

}  // namespace tally
