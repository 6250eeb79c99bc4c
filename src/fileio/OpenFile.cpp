#include "fileio/OpenFile.h"

#include <algorithm>
#include <optional>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/biff/LoadState.h"
#include "fileio/compound/CompoundReader.h"
#include "fileio/compound/CompoundTree.h"
#include "fileio/pocket/PocketFiles.h"
#include "fileio/text/TextFiles.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/Carried.h"
#include "model/CellStore.h"
#include "model/Trust.h"

namespace tally {
namespace {

constexpr u16 COMPOUND_SIGNATURE = 0xCFD0;

bool IsBof(u16 id) {
    return id == RECORD_BOF_2 || id == RECORD_BOF_3 || id == RECORD_BOF_4 || id == RECORD_BOF;
}

// Sorts out to which sheets the list leads. A position without a BOF says nothing.
bool PlaceSheets(LoadState& load) {
    for (u32 i = 0; i < load.sheetPositions.Count(); ++i) {
        const u32 position = load.sheetPositions[i];
        const bool leads = position >= load.stream.position && IsBof(WordAt(load.stream.bytes, position));
        if (!(leads ? load.places.Append({position, i, false}) : load.unplaced.Append(i))) return false;
    }
    std::sort(load.places.begin(), load.places.end(), [](const SheetPlace& a, const SheetPlace& b) {
        return a.position != b.position ? a.position < b.position : a.sheet < b.sheet;
    });
    return true;
}

// The sheet whose substream begins at a position of the stream; false for one that belongs to none.
bool TakeSheetAt(LoadState& load, std::size_t position, i32& sheet) {
    SheetPlace* place =
        std::lower_bound(load.places.begin(), load.places.end(), position,
                         [](const SheetPlace& row, std::size_t wanted) { return row.position < wanted; });
    if (place != load.places.end() && place->position == position) {
        if (place->read) return false;
        place->read = true;
        sheet = static_cast<i32>(place->sheet);
        return true;
    }
    if (load.nextUnplaced == load.unplaced.Count()) return false;
    sheet = static_cast<i32>(load.unplaced[load.nextUnplaced++]);
    return true;
}

// The globals and what stands behind them.
bool ReadBookGlobals(LoadState& load, const BiffRecord& bof) {
    load.biffVersion = bof.id != RECORD_BOF || ByteAt(bof.body, 1) == 5 ? 7 : 8;
    LoadedBook(load).biffVersion = load.biffVersion;
    if (!ReadGlobals(load) || !PlaceSheets(load)) return false;
    if (load.biffVersion != 8) ResolveNameSheets(load);
    // A sheet has a table of its own.
    load.externTable.Clear();
    return true;
}

// The carried records of a sheet of the 95 form hold numbers of the sheet's own table.
bool KeepLinkTable(LoadState& load) {
    CarriedRecords& carried = LoadedSheet(load).carried;
    if (carried.runs.IsEmpty()) return true;
    const u64 failures = FailedAllocations();
    for (const ExternSheetEntry& entry : load.externTable) {
        i32 sheet = 0;
        const i32 row = ExternBookOfEntry(load, entry, sheet);
        const i32 index = row < 0 ? -1 : FindExternSheet(LoadedBook(load), row, sheet, sheet);
        if (index < 0) return FailedAllocations() == failures;
        if (!carried.links.Append(static_cast<u16>(index))) return false;
    }
    return true;
}

bool ReadSheetSubstream(LoadState& load, i32 type) {
    LoadedBook(load).currentSheet = load.sheet;
    const i32 kind = LoadedSheet(load).kind;
    if (kind != type) ResetSheet(type, LoadedSheet(load).hidden);
    const bool kept = type == SUBSTREAM_CHART || type == SUBSTREAM_MODULE;
    const bool good = kept ? KeepSubstream(load) : ReadSheet(load);
    if (load.biffVersion != 8 && good && !KeepLinkTable(load)) return false;
    if (load.biffVersion != 8) load.externTable.Clear();
    return good;
}

bool ReadSubstreams(LoadState& load) {
    BiffRecord record;
    u32 sheetsRead = 0;
    for (std::size_t at = load.stream.position; NextRecord(load.stream, record); at = load.stream.position) {
        if (!IsBof(record.id)) continue;
        const u16 type = WordAt(record.body, 2);
        switch (type) {
            case SUBSTREAM_GLOBALS:
                if (!ReadBookGlobals(load, record)) return false;
                break;
            case SUBSTREAM_MODULE:
            case SUBSTREAM_SHEET:
            case SUBSTREAM_CHART:
            case SUBSTREAM_MACRO:
                if (!TakeSheetAt(load, at, load.sheet)) break;
                if (!ReadSheetSubstream(load, type)) return false;
                if (++sheetsRead == load.boundSheets) return true;
                break;
            default: break;
        }
    }
    return true;
}

// The cells that change by themselves are out of date once everything is there. They are calculated when
// they are first shown, so that a book with many of them opens at once.
void AgeVolatiles(LoadState& load) {
    if (load.hasVolatiles) LoadedBook(load).dirty = 1;
    MarkVolatileCells();
}

bool OpenCompoundWorkbook(ByteView file, LoadState& load) {
    Array<u8> pieces;
    ByteView stream;
    StreamResult result = ReadCompoundStream(file, u"Workbook", pieces, stream);
    if (result == STREAM_MISSING) result = ReadCompoundStream(file, u"Book", pieces, stream);
    if (result == STREAM_MISSING) ShowMessage(Message(MSG_WORKBOOK_NOT_FOUND));
    if (result != STREAM_READ) return false;
    load.stream.bytes = stream;
    if (!ReadSubstreams(load)) return false;
    Workbook& book = LoadedBook(load);
    if (!ReadCompoundTree(file, book.entries) || !MarkSheetsRead(book)) return false;
    book.entriesForm = load.biffVersion;
    book.currentSheet = static_cast<u32>(load.activeTab) < book.sheets.Count() ? load.activeTab : 0;
    AgeVolatiles(load);
    return true;
}

bool IsWorkbookStart(u16 first) {
    return first == RECORD_BOF_2 || first == RECORD_BOF_3 || first == RECORD_BOF_4 ||
           first == COMPOUND_SIGNATURE;
}

bool ReadWorkbook(ByteView file, LoadState& load) {
    const u16 first = file.size() < 2 ? u16{0} : WordAt(file, 0);
    if (first == RECORD_BOF_2 || first == RECORD_BOF_3 || first == RECORD_BOF_4) {
        load.stream.bytes = file;
        return ReadOldBook(load, first);
    }
    if (first == COMPOUND_SIGNATURE) return OpenCompoundWorkbook(file, load);
    ShowMessage(Message(MSG_INVALID_DATA));
    return false;
}

bool ReadByType(FileType type, ByteView file, char16_t delimiter, LoadState& load) {
    switch (type) {
        case FILE_CSV:
        case FILE_TXT: return ReadText(load.book, file, type, delimiter);
        case FILE_XLS:
        case FILE_XLT: return ReadWorkbook(file, load);
        case FILE_PXL:
        case FILE_PXT:
            if (!ReadPocket(load, file)) return false;
            AgeVolatiles(load);
            return true;
        default: return false;
    }
}

// A file that is longer than a workbook's first bytes allow is not read to its end.
bool MayBeWorkbook(ByteView start) { return start.size() >= 2 && IsWorkbookStart(WordAt(start, 0)); }

// The first open replaces the empty book that the program started with. Returns the new book.
i32 CloseUntouchedFirstBook(i32 book) {
    if (book != 1 || Books().books.Count() != 2) return book;
    const Workbook& first = *BookAt(0);
    if (first.dirty || first.path.View() != u"Book1") return book;
    RemoveBook(0);
    return 0;
}

bool SameFileOpen(WideView path, u32 flags) {
    const i32 open = FindOpenBook(path, false);
    if (open < 0) return false;
    if (!(flags & OPEN_HIDDEN_LINK)) {
        BookAt(open)->hiddenLink = 0;
        Books().currentBook = open;
        Calls().booksChanged();
    }
    return true;
}

FileRequest RequestFor(WideView path, char16_t delimiter) {
    const FileType type = delimiter ? FILE_CSV : FileTypeOf(path);
    return {.path = path, .mayBe = type == FILE_XLS || type == FILE_XLT ? MayBeWorkbook : nullptr};
}

i32 OpenLink(i32 asking, i32 externBook, WideView path) {
    if (FileTypeOf(path) == FILE_UNKNOWN) return -1;
    Array<u8> bytes;
    if (ReadLinkedFile(asking, externBook, RequestFor(path, 0), bytes) != READ_GOOD) return -1;
    const QuietMessages quiet;
    const i32 current = CurrentBook();
    const bool opened = OpenFileFromMemory(path, bytes.Span(), OPEN_HIDDEN_LINK | OPEN_SILENT_LINKS);
    const i32 book = opened ? FindOpenBook(path, false) : -1;
    Books().currentBook = current;
    return book;
}

void TellUnread(ReadOutcome outcome, WideView path) {
    if (outcome == READ_UNWANTED) ShowMessage(Message(MSG_INVALID_DATA));
    else ShowMessageWith(Message(MSG_CANNOT_READ_FILE), path);
}

}  // namespace

bool OpenFile(WideView path, u32 flags, char16_t delimiter, ReadOutcome* outcome) {
    if (!(flags & OPEN_TEMPLATE) && SameFileOpen(path, flags)) return true;
    if (!delimiter && FileTypeOf(path) == FILE_UNKNOWN) {
        ShowMessage(Message(MSG_FILE_TYPE_UNKNOWN));
        return false;
    }
    Array<u8> bytes;
    FileStamp stamp;
    const ReadOutcome got = Platform().readPlainFile(RequestFor(path, delimiter), bytes, &stamp);
    if (outcome) *outcome = got;
    if (got != READ_GOOD) {
        TellUnread(got, path);
        return false;
    }
    if (!OpenFileFromMemory(path, bytes.Span(), flags, delimiter)) return false;
    if (Workbook* book = CurrentWorkbook()) book->stamp = stamp;
    return true;
}

bool OpenFileFromMemory(WideView path, ByteView bytes, u32 flags, char16_t delimiter) {
    const bool hidden = (flags & OPEN_HIDDEN_LINK) != 0;
    // What opens in the background shows no box.
    std::optional<QuietMessages> quiet;
    if (hidden) quiet.emplace();
    const FileType type = delimiter ? FILE_CSV : FileTypeOf(path);
    if (type == FILE_UNKNOWN) {
        ShowMessage(Message(MSG_FILE_TYPE_UNKNOWN));
        return false;
    }
    const i32 previous = CurrentBook();
    if (!CreateWorkbook(&path, false)) return false;
    i32 book = CurrentBook();
    BookAt(book)->hiddenLink = hidden;
    bool good = false;
    {
        LoadState load;
        load.book = book;
        good = ReadByType(type, bytes, delimiter, load);
    }
    if (!good) {
        RemoveBook(book);
        Books().currentBook = previous < static_cast<i32>(Books().books.Count()) ? previous : -1;
        return false;
    }
    if (!(flags & (OPEN_HIDDEN_LINK | OPEN_TEMPLATE))) book = CloseUntouchedFirstBook(book);
    DropDependents();
    if (!BookAt(book)->externBooks.IsEmpty())
        UpdateLinks(book, !(flags & OPEN_SILENT_LINKS), (flags & OPEN_UPDATE_LINKS) != 0);
    if (!hidden) RefreshLinksTo(book);
    if (!hidden) Calls().booksChanged();
    return true;
}

bool FileHasChanged(const Workbook& book, WideView path) {
    FileStamp own, there;
    if (!book.stamp.known || !Platform().fileStamp(book.path, own) || own == book.stamp) return false;
    return path == book.path.View() ||
           (Platform().fileStamp(path, there) && there.device == own.device && there.inode == own.inode);
}

void ConnectLinkOpener() { SetLinkOpener(OpenLink); }

}  // namespace tally
