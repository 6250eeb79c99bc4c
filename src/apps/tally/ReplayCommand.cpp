#include <cstdio>

#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "apps/tally/Replay.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "shell/frame/Shell.h"

namespace tally {
namespace {

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    return text;
}

// The lines of a box stand beside each other.
void TellBox(WideView text, u32) {
    WideText line;
    for (const char16_t c : text)
        if (!line.Append(c == u'\n' ? u' ' : c)) break;
    IgnoreFailure(Complain(EXIT_GOOD, MSG_TALLY_BOX, line));
}

// True when an answer in the script had no field or value of that name, which has been told.
bool HasMisunderstoodForm(const std::string& place) {
    HeadlessDialogState& forms = HeadlessDialogs();
    bool misunderstood = false;
    for (const RecordedDialog& form : forms.shown) {
        if (form.understood) continue;
        misunderstood = true;
        IgnoreFailure(ComplainAt(EXIT_DATA, place, MSG_TALLY_FORM_REFUSES, form.title));
    }
    forms.shown.Truncate(0);
    return misunderstood;
}

// A script may come from a pipe; only of one that cannot be read it is asked what it is.
int TellUnreadScript(WideView path, const std::string& name) {
    FileRequest request;
    Array<u8> bytes;
    request.path = path;
    const ReadOutcome outcome = Platform().readPlainFile(request, bytes, nullptr);
    return TellUnread(name, outcome == READ_GOOD ? READ_FAILED : outcome);
}

int RunLine(std::string_view line, const std::string& place) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (line.empty() || line.front() == '#') return EXIT_GOOD;
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    const ReplayStep* step = FindReplayStep(line.substr(0, end));
    if (!step) {
        WideText word;
        IgnoreFailure(WideFromPath(word, line.substr(0, end)));
        return ComplainAt(EXIT_USAGE, place, MSG_TALLY_UNKNOWN_STEP, word);
    }
    int status = EXIT_GOOD;
    // One blank stands between the word and what belongs to it.
    const std::string_view rest =
        step->verbatim ? line.substr(std::min(end + 1, line.size())) : Trimmed(line.substr(end));
    if (const u16 fault = step->run(rest, status)) return ComplainAt(status, place, fault);
    return HasMisunderstoodForm(place) ? EXIT_DATA : EXIT_GOOD;
}

int RunScript(std::string_view text, const std::string& name) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const int status = RunLine(text.substr(0, end), name + ":" + std::to_string(number) + ": ");
        if (status != EXIT_GOOD) return status;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return EXIT_GOOD;
}

}  // namespace

int RunReplay(const Options& options) {
    WideText path;
    Array<u8> script;
    if (!WideFromPath(path, options.input)) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    int status = EXIT_GOOD;
    if (!options.output.empty() && !CanWriteTo(options, options.output, status)) return status;
    UseHeadlessShell();
    Headless().boxShown = TellBox;
    StartShell(u"");
    if (!options.book.empty() && !OpenInput(options.book, "", options, status)) return status;
    if (!options.book.empty()) ShowReplayedBook();
    if (!Platform().readFile(path, script)) return TellUnreadScript(path, options.input);
    status = RunScript({reinterpret_cast<const char*>(script.Data()), script.Count()}, options.input);
    if (status == EXIT_GOOD) status = FinishLines();
    if (status != EXIT_GOOD || options.output.empty()) return status;
    return WriteCurrentBook(options, options.output);
}

}  // namespace tally
