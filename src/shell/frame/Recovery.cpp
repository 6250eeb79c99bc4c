#include "shell/frame/Recovery.h"

#include <utility>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Text.h"
#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "recovery/LostBooks.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

// Milliseconds between two looks, and how many there are when a process that has ended still writes.
constexpr i32 FIRST_SEARCH = 100, NEXT_SEARCH = 1000;
constexpr u32 MOST_SEARCHES = 30;

bool AppendTwoDigits(WideText& out, char16_t before, u32 number) {
    return out.Append(before) && (number > 9 || out.Append(u'0')) && AppendInteger(out, number);
}

// Name, folder and time.
bool DescribeLostBook(const LostBook& book, WideText& out) {
    const WideView folder = DirectoryOf(book.path);
    const SystemTime& t = book.time;
    return AppendEscaped(out, FileNameOf(book.path)) && out.Append(u"   ") &&
           (folder.empty() || (AppendEscaped(out, folder) && out.Append(u"   "))) &&
           AppendInteger(out, t.year) && AppendTwoDigits(out, u'-', t.month) &&
           AppendTwoDigits(out, u'-', t.day) && AppendTwoDigits(out, u' ', t.hour) &&
           AppendTwoDigits(out, u':', t.minute);
}

// What is not asked about is left for another start.
bool AskAboutBooks(const Array<LostBook>& lost, Array<LostBookChoice>& choices) {
    Array<WideText> texts;
    Array<WideView> items;
    if (!choices.Resize(lost.Count()) || !texts.Resize(lost.Count())) return false;
    for (u32 i = 0; i < lost.Count(); ++i)
        if (!DescribeLostBook(lost[i], texts[i]) || !items.Append(texts[i].View())) return false;
    LostBooksQuestion question = {items.Span(), choices.Span()};
    AskLostBooks(question);
    return true;
}

void Recover(const LostBook& lost) {
    switch (RecoverLostBook(lost)) {
        case RECOVERED_IN_PART: ShowMessageWith(Message(MSG_RECOVERED_IN_PART), FileNameOf(lost.path)); break;
        case NOT_RECOVERED: ShowMessageWith(Message(MSG_NOT_RECOVERED), FileNameOf(lost.path)); break;
        case NAME_IS_OPEN: ShowMessageWith(Message(MSG_RECOVERY_NAME_OPEN), FileNameOf(lost.path)); break;
        case RECOVERED_WHOLE: break;
    }
}

void OfferLostBooks(const Array<LostBook>& lost) {
    Array<LostBookChoice> choices;
    const bool asked = AskAboutBooks(lost, choices);
    for (u32 i = 0; i < lost.Count(); ++i) {
        const LostBookChoice choice = asked ? choices[i] : LOST_BOOK_LATER;
        if (choice == LOST_BOOK_OPEN) Recover(lost[i]);
        else if (choice == LOST_BOOK_DISCARD) DiscardLostBook(lost[i]);
        else LeaveLostBook(lost[i]);
    }
    ShowCurrentBook();
}

// True when another search is wanted.
bool Search() {
    Array<LostBook> lost;
    bool busy = false;
    bool good = false;
    {
        const QuietMemoryScope quiet;
        good = FindLostBooks(lost, busy);
    }
    if (!lost.IsEmpty()) OfferLostBooks(lost);
    return good && busy && ++Shell().lostSearches < MOST_SEARCHES;
}

}  // namespace

void KeepChanges() {
    if (!NoteChanges() || std::exchange(Shell().journalWaits, true)) return;
    ShellPlatform().startTimer(TIMER_JOURNAL, JOURNAL_PERIOD);
}

void SearchLostBooks() { ShellPlatform().startTimer(TIMER_LOST_BOOKS, FIRST_SEARCH); }

bool RecoveryTimer(const ShellMessage& message) {
    if (message.command == TIMER_JOURNAL) {
        if (JournalTick()) return true;
        Shell().journalWaits = false;
        ShellPlatform().killTimer(TIMER_JOURNAL);
        return true;
    }
    ShellPlatform().killTimer(TIMER_LOST_BOOKS);
    // The window is there first, and nobody is interrupted.
    const bool waits =
        !Shell().painted || IsEditing() || Shell().messageDepth > 1 || Shell().gesture != GESTURE_NONE;
    if (waits || Search()) ShellPlatform().startTimer(TIMER_LOST_BOOKS, waits ? FIRST_SEARCH : NEXT_SEARCH);
    return true;
}

}  // namespace tally
