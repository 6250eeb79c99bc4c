#pragma once
// A printer without paper: choices are scripted, documents recorded page by page.

#include "platform/Printing.h"
#include "platform/headless/HeadlessDrawing.h"

namespace tally {

struct RecordedDocument {
    WideText name;
    Array<Array<DrawRecord>> pages;
    bool ended = false;    // by endDocument
    bool aborted = false;  // by abortDocument
};

struct HeadlessPrinterState {
    bool accepts = false;          // the next question is answered with OK
    PrintRange range = PRINT_ALL;  // and this, where a selection is allowed
    i32 copies = 1;
    PrintRequest asked;  // what the last question began with
    u32 questions = 0;
    u32 failPage = 0;  // the n-th page of a document cannot be begun, counted from 1; 0 none
    PrinterCapabilities capabilities = {600, 600, 4960, 7016, 100, 100, 4760, 6816};
    WideText file;  // that was chosen without a question
    bool held = false;
    Array<RecordedDocument> documents;
};
HeadlessPrinterState& HeadlessPrinter();
const PrinterTable& HeadlessPrinting();
void ResetHeadlessPrinter();

}  // namespace tally
