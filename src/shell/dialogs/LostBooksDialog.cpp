// The books that were not saved, and what becomes of each.

#include <algorithm>

#include "base/MessageTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { LABEL = 100, BOOKS, BUTTONS, OPEN, DISCARD };

constexpr ControlRow rows[] = {
    {.id = LABEL, .kind = CONTROL_LABEL, .text = MSG_LOST_BOOKS_LIST, .cell = {0, 0}},
    {.id = BOOKS, .kind = CONTROL_LIST, .cell = {1, 0}, .width = 70, .lines = 8},
    {.id = BUTTONS, .kind = CONTROL_PAGE, .cell = {2, 0}, .flags = CONTROL_NATURAL | CONTROL_RIGHT},
    {.id = OPEN,
     .kind = CONTROL_BUTTON,
     .text = MSG_LOST_BOOKS_OPEN,
     .cell = {0, 0},
     .container = BUTTONS,
     .flags = CONTROL_DEFAULT},
    {.id = DISCARD,
     .kind = CONTROL_BUTTON,
     .text = MSG_LOST_BOOKS_DISCARD,
     .cell = {0, 1},
     .container = BUTTONS},
    {.id = IDCANCEL,
     .kind = CONTROL_BUTTON,
     .text = MSG_LOST_BOOKS_LATER,
     .cell = {0, 2},
     .container = BUTTONS},
};

struct Asked {
    LostBooksQuestion& question;
    Array<u32> listed;  // the books that nothing was chosen for
};

bool FillList(Dialog& dialog, const Asked& asked, i32 choice) {
    ClearControlItems(dialog, BOOKS);
    for (const u32 book : asked.listed)
        if (!AddControlItem(dialog, BOOKS, asked.question.items[book])) return false;
    SetControlChoice(dialog, BOOKS, std::min(choice, static_cast<i32>(asked.listed.Count()) - 1));
    return true;
}

// The chosen book leaves the list; the last one ends the dialog.
bool Choose(Dialog& dialog, Asked& asked, LostBookChoice choice) {
    const i32 chosen = ControlChoice(dialog, BOOKS);
    if (chosen < 0 || static_cast<u32>(chosen) >= asked.listed.Count()) return true;
    asked.question.choices[asked.listed[static_cast<u32>(chosen)]] = choice;
    asked.listed.RemoveAt(static_cast<u32>(chosen));
    if (asked.listed.IsEmpty()) EndDialog(dialog, true);
    else IgnoreFailure(FillList(dialog, asked, chosen));
    return true;
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& asked = *static_cast<Asked*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            for (u32 i = 0; i < asked.question.items.size(); ++i)
                if (!asked.listed.Append(i)) return false;
            return FillList(dialog, asked, 0);
        case DIALOG_PRESSED:
            if (event.control == OPEN) return Choose(dialog, asked, LOST_BOOK_OPEN);
            if (event.control == DISCARD) return Choose(dialog, asked, LOST_BOOK_DISCARD);
            return true;
        case DIALOG_DOUBLE_CLICK: return !Choose(dialog, asked, LOST_BOOK_OPEN);
        default: return true;
    }
}
constexpr DialogTable table = {
    .title = MSG_LOST_BOOKS_TITLE, .rows = rows, .procedure = Procedure, .buttons = BUTTONS_NONE};

}  // namespace

void AskLostBooks(LostBooksQuestion& question) {
    Asked asked{question, {}};
    // However it ends, what was chosen until then counts.
    IgnoreFailure(RunDialog(table, &asked));
}

}  // namespace tally
