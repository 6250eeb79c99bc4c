// A question that one line of text answers.

#include "base/MessageTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { LABEL = 100, LINE };

LineQuestion& QuestionOf(const Dialog& dialog) { return *static_cast<LineQuestion*>(dialog.context); }

void FollowText(Dialog& dialog) {
    const LineQuestion& question = QuestionOf(dialog);
    if (question.acceptable) EnableControl(dialog, IDOK, question.acceptable(ControlText(dialog, LINE)));
}

bool AcceptLine(Dialog& dialog) {
    LineQuestion& question = QuestionOf(dialog);
    const WideView text = ControlText(dialog, LINE);
    const u16 fault = question.fault ? question.fault(text, question.context) : u16{0};
    if (!fault) return question.text.Assign(text);
    ShowMessage(Message(fault));
    SelectControlText(dialog, LINE);
    return false;
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    const LineQuestion& question = QuestionOf(dialog);
    switch (event.kind) {
        case DIALOG_START:
            if (!SetControlLabel(dialog, LABEL, Message(question.label)) ||
                !SetControlText(dialog, LINE, question.text) || !dialog.title.Assign(Message(question.title)))
                return false;
            SelectControlText(dialog, LINE);
            FollowText(dialog);
            return true;
        case DIALOG_CHANGED: FollowText(dialog); return true;
        case DIALOG_ACCEPT: return AcceptLine(dialog);
        default: return true;
    }
}

// The three tables differ in the kind of the line.
template <ControlKind KIND>
struct LineTable {
    static constexpr ControlRow rows[] = {
        {.id = LABEL, .kind = CONTROL_LABEL, .cell = {0, 0}},
        {.id = LINE, .kind = KIND, .cell = {0, 1}, .width = 24},
    };
    static constexpr DialogTable table = {.rows = rows, .procedure = Procedure};
};

}  // namespace

bool AskLine(LineQuestion& question) {
    if (question.secret) return RunDialog(LineTable<CONTROL_SECRET>::table, &question);
    if (question.reference) return RunDialog(LineTable<CONTROL_REFERENCE>::table, &question);
    return RunDialog(LineTable<CONTROL_EDIT>::table, &question);
}

}  // namespace tally
