#include "Common.h"
#include "base/Platform.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "recovery/JournalState.h"
#include "recovery/Snapshot.h"

// A byte that tells what follows: one entry, a whole log, or a snapshot.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 1 || size > 65536) return 0;
    BeginRun();
    ConnectUndo();
    const ByteView bytes(data + 1, size - 1);
    const i32 book = CurrentBook();
    std::size_t at = 0;
    switch (data[0] % 3) {
        case 0: IgnoreFailure(ApplyJournalEntry(book, bytes)); break;
        case 1:
            for (ByteView entry; NextEntry(bytes, 1, at, entry);) {
                if (!ApplyJournalEntry(book, entry)) break;
            }
            IgnoreFailure(IsLogDamaged(bytes, at));
            break;
        default: IgnoreFailure(OpenSnapshot(bytes)); break;
    }
    for (u32 i = 0; i < Books().books.Count(); ++i) {
        CalculateBook(static_cast<i32>(i));
        // What is there can be written again.
        Array<ChangeNote> notes;
        Array<ToldLists> told;
        Array<u8> entry;
        TableSizes sizes;
        for (const Sheet* sheet : Books().books[i]->sheets)
            if (!notes.Append({sheet->serial, {0, MAX_ROWS - 1, 0, MAX_COLUMNS - 1}, JOURNAL_MASK})) return 0;
        IgnoreFailure(WriteJournalEntry(static_cast<i32>(i), notes.Span(), sizes, told, entry));
    }
    ConnectUndo();
    EndRun();
    return 0;
}
