#include "platform/headless/HeadlessPrinting.h"

namespace tally {
namespace {

struct PrintingState {
    HeadlessPrinterState seen;
    bool inDocument = false, inPage = false;
    Array<DrawRecord> page;  // the one that is drawn on
    DrawTarget target;
};
PrintingState state;

bool Choose(PrintRequest& request) {
    HeadlessPrinterState& seen = state.seen;
    seen.asked = request;
    ++seen.questions;
    if (!seen.accepts) return false;
    request.range = request.allowSelection ? seen.range : PRINT_ALL;
    request.copies = seen.copies;
    return seen.held = true;
}

bool ChooseFile(WideView path) { return state.seen.held = state.seen.file.Assign(path); }

bool Capabilities(PrinterCapabilities& out) {
    out = state.seen.capabilities;
    return state.seen.held;
}

bool BeginDocument(WideView name) {
    if (!state.seen.held || state.inDocument) return false;
    RecordedDocument* document = state.seen.documents.AppendDefault();
    return state.inDocument = document && document->name.Assign(name);
}

DrawTarget* BeginPage() {
    if (!state.inDocument || state.inPage) return nullptr;
    if (state.seen.documents.Last().pages.Count() + 1 == state.seen.failPage) return nullptr;
    const PrinterCapabilities& printer = state.seen.capabilities;
    state.page.Clear();
    state.target = MakeRecordTarget(state.page, printer.printableWidth, printer.printableHeight, printer.dpiX,
                                    printer.dpiY, true);
    state.inPage = true;
    return &state.target;
}

bool EndPage() {
    if (!state.inPage) return false;
    state.inPage = false;
    return state.seen.documents.Last().pages.Append(std::move(state.page));
}

bool EndDocument() {
    if (!state.inDocument || state.inPage) return false;
    state.inDocument = false;
    return state.seen.documents.Last().ended = true;
}

void AbortDocument() {
    if (state.inDocument) state.seen.documents.Last().aborted = true;
    state.inDocument = state.inPage = false;
}

void Release() {
    AbortDocument();
    state.seen.held = false;
}

constexpr PrinterTable table = {
    .choose = Choose,
    .chooseFile = ChooseFile,
    .capabilities = Capabilities,
    .beginDocument = BeginDocument,
    .beginPage = BeginPage,
    .endPage = EndPage,
    .endDocument = EndDocument,
    .abortDocument = AbortDocument,
    .release = Release,
};

}  // namespace

HeadlessPrinterState& HeadlessPrinter() { return state.seen; }
const PrinterTable& HeadlessPrinting() { return table; }
void ResetHeadlessPrinter() { state = PrintingState(); }

}  // namespace tally
