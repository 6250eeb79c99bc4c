#include "model/Trust.h"

#include "base/MessageTable.h"
#include "base/Text.h"
#include "model/BookTable.h"

namespace tally {
namespace {

struct TrustRecord {
    bool closed = false;
};
TrustRecord record;

ExternBook* LinkAt(i32 book, i32 externBook) {
    Workbook* workbook = BookAt(book);
    if (!workbook || externBook < 0 || static_cast<u32>(externBook) >= workbook->externBooks.Count())
        return nullptr;
    return &workbook->externBooks[static_cast<u32>(externBook)];
}

bool AppendLine(WideText& text, WideView line) { return text.Append(line) && text.Append(u'\n'); }

bool QuestionText(i32 book, ForeignUse use, WideView target, WideText& text) {
    return FormatWith(text, Message(MSG_TRUST_BOOK), FileNameOf(BookAt(book)->path)) && text.Append(u'\n') &&
           AppendLine(text, TrustUseText(use)) && AppendEscaped(text, target) && text.Append(u'\n') &&
           text.Append(Message(MSG_TRUST_QUESTION));
}

bool MayReadLink(i32 book, i32 externBook, WideView path) {
    if (IsNetworkPath(path)) return false;
    const TrustState state = TrustOf(book, FOREIGN_LINK);
    if (state != TRUST_ASK) return state == TRUST_OPEN;
    if (LinkAt(book, externBook) && LinkAt(book, externBook)->trusted) return true;
    // Without the note nobody is asked, which is the safe side.
    if (CanAskForLink(book, externBook, path) && BookAt(book)->wantedLink.IsEmpty())
        IgnoreFailure(BookAt(book)->wantedLink.Assign(path));
    return false;
}

}  // namespace

WideView TrustUseText(ForeignUse use) { return Message(static_cast<u16>(MSG_TRUST_USE_FIRST + u32{use})); }

TrustState TrustOf(i32 book, ForeignUse use) {
    if (record.closed) return TRUST_CLOSED;
    const TrustState state = Platform().trustState(use);
    if (state != TRUST_ASK) return state;
    if (!BookAt(book) || BookAt(book)->trust[use] == TRUST_REFUSED) return TRUST_CLOSED;
    return BookAt(book)->trust[use] == TRUST_GRANTED ? TRUST_OPEN : TRUST_ASK;
}

void CloseTrust(bool closed) { record.closed = closed; }

bool MayReachOutside(i32 book, ForeignUse use, WideView target) {
    const TrustState state = TrustOf(book, use);
    if (state != TRUST_ASK) return state == TRUST_OPEN;
    WideText text;
    if (!QuestionText(book, use, target, text)) return false;
    const i32 answer = Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2);
    // The box runs a loop of its own.
    if (!BookAt(book)) return false;
    BookAt(book)->trust[use] = answer == IDYES ? TRUST_GRANTED : TRUST_REFUSED;
    return answer == IDYES;
}

bool CanAskForLink(i32 book, i32 externBook, WideView path) {
    const ExternBook* link = LinkAt(book, externBook);
    // A book that was itself opened for a link asks for nothing: nobody sees it.
    return link && !link->trusted && !BookAt(book)->hiddenLink && TrustOf(book, FOREIGN_LINK) == TRUST_ASK &&
           !IsNetworkPath(path);
}

ReadOutcome ReadLinkedFile(i32 book, i32 externBook, const FileRequest& request, Array<u8>& out) {
    if (!MayReadLink(book, externBook, request.path)) return READ_REFUSED;
    FileRequest foreign = request;
    foreign.foreign = true;
    return Platform().readPlainFile(foreign, out, nullptr);
}

void ResetTrust() { record = TrustRecord(); }

}  // namespace tally
