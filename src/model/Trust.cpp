#include "model/Trust.h"

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "model/BookTable.h"

namespace tally {
namespace {

enum BookTrust : u8 { TRUST_NOT_ASKED = 0, TRUST_REFUSED = 1, TRUST_GRANTED = 2 };

}  // namespace

bool MayReachOutside(i32 book) {
    const TrustState state = Platform().trustState();
    if (state != TRUST_ASK) return state == TRUST_OPEN;
    if (!BookAt(book)) return false;
    if (BookAt(book)->trust == TRUST_NOT_ASKED) {
        WideText text;
        if (!FormatWith(text, Message(MSG_TRUST_BOOK), FileNameOf(BookAt(book)->path))) return false;
        const i32 answer = Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2);
        // The box runs a loop of its own.
        if (!BookAt(book)) return false;
        BookAt(book)->trust = answer == IDYES ? TRUST_GRANTED : TRUST_REFUSED;
    }
    return BookAt(book)->trust == TRUST_GRANTED;
}

}  // namespace tally
