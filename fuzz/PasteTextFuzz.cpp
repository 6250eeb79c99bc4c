#include "Common.h"
#include "editing/Clipboard.h"
#include "editing/PasteText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"

// A byte for the shape of the selection, one for what is done with what was pasted, then another program's
// text.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 2 || size > 4096) return 0;
    BeginRun();
    ConnectUndo();
    ConnectClipboard();
    WideText text, copied;
    PasteRequest request;
    request.area = {0, static_cast<u16>(data[0] & 15), 0, static_cast<u8>(data[0] >> 4)};
    if (InputText(data + 2, size - 2, text) && PasteText(request, text)) {
        CalculateBook(0);
        // What is pasted can be copied, turned over itself and taken back; nothing is left then.
        const RefArea pasted = CurrentSheet()->view.selection;
        if (CopyCells(0, 0, pasted)) {
            IgnoreFailure(ClipboardBlockText(copied));
            PasteRequest again;
            again.area = {pasted.lastRow, pasted.lastRow, pasted.firstColumn, pasted.firstColumn};
            again.mode = 1 + (data[1] & 7);
            again.operation = 1 + (data[1] >> 3 & 3);
            again.skipBlanks = (data[1] & 32) != 0;
            again.transpose = (data[1] & 64) != 0;
            IgnoreFailure(PasteBlock(again));
            CalculateBook(0);
        }
        while (UndoLast()) {
        }
        if (CurrentSheet()->cells.count) __builtin_trap();
    }
    ConnectUndo();
    ConnectClipboard();
    EndRun();
    return 0;
}
