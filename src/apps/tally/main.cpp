#include <unistd.h>

#include <cstdio>
#include <new>
#include <string>

#include "apps/tally/Commands.h"
#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "fileio/OpenFile.h"
#include "formula/Recalculation.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/Regions.h"

namespace tally {
namespace {

struct CommandRow {
    Command command;
    int (*run)(const Options& options);
};
constexpr CommandRow commands[] = {
    {Command::Sheets, RunSheets},       {Command::Cells, RunCells}, {Command::Verify, RunVerify},
    {Command::Convert, RunConvert},     {Command::Eval, RunEval},   {Command::Replay, RunReplay},
    {Command::Functions, RunFunctions},
};

// YYYY-MM-DDTHH:MM:SS, or the date alone.
bool ReadClock(const std::string& text, SystemTime& out) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, used = 0;
    const int found = std::sscanf(text.c_str(), "%4d-%2d-%2d%nT%2d:%2d:%2d%n", &year, &month, &day, &used,
                                  &hour, &minute, &second, &used);
    if ((found != 3 && found != 6) || static_cast<std::size_t>(used) != text.size()) return false;
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 ||
        second > 59)
        return false;
    out = {static_cast<u16>(year),
           static_cast<u16>(month),
           static_cast<u16>(day),
           static_cast<u16>(hour),
           static_cast<u16>(minute),
           static_cast<u16>(second),
           0};
    return true;
}

// Puts the options that all commands share in force.
bool ApplyOptions(const Options& options, int& status) {
    status = EXIT_USAGE;
    if (options.locale.empty()) {
        char tag[36];
        RegionTagFromEnvironment(tag);
        // An environment in a language that is not known stays with the default.
        IgnoreFailure(SetHeadlessRegion(tag));
    } else if (!SetHeadlessRegion(options.locale)) {
        Complain(status, MSG_TALLY_UNKNOWN_LOCALE);
        return false;
    }
    HeadlessState& headless = Headless();
    if (options.codePage) {
        if (!Platform().isValidCodePage(options.codePage)) {
            Complain(status, MSG_TALLY_UNKNOWN_CODE_PAGE);
            return false;
        }
        headless.ansiCodePage = headless.textCodePage = options.codePage;
    }
    if (!options.date.empty()) {
        if (!ReadClock(options.date, headless.clock)) {
            Complain(status, MSG_TALLY_BAD_DATE);
            return false;
        }
        headless.fixedClock = true;
    }
    if (options.trust) headless.trust = TRUST_OPEN;
    headless.reachesSystem = options.trust;
    if (options.updateLinks) headless.links = TRUST_OPEN;
    return true;
}

// One line for what calculations left as it was.
int TellStops(int status) {
    const CalculationReport report = TakeCalculationReport();
    if (status != EXIT_GOOD) return status;
    if (report.stops[STOP_MEMORY]) return Complain(EXIT_FILES, MSG_OUT_OF_MEMORY);
    const u32 stopped = report.stops[STOP_BOUND];
    if (!stopped) return status;
    if (stopped == 1) return Complain(EXIT_DATA, MSG_TALLY_ONE_STOPPED);
    WideText count;
    IgnoreFailure(AppendInteger(count, static_cast<i32>(stopped)));
    return Complain(EXIT_DATA, MSG_TALLY_SOME_STOPPED, count);
}

// Strings and the making of lines are the library's, which has no other way to fail. What is not yet written is
// not written.
[[noreturn]] void NoMemory() {
    // Nothing here asks for memory.
    char line[128] = "tally: ";
    std::size_t length = std::char_traits<char>::length(line);
    const WideView text = Message(MSG_OUT_OF_MEMORY).substr(0, 32);
    Utf8FromWide(text, line + length);
    length += Utf8Length(text);
    line[length++] = '\n';
    IgnoreFailure(write(STDERR_FILENO, line, length) > 0);
    _exit(EXIT_FILES);
}

int Run(const Options& options) {
    int status = EXIT_GOOD;
    UseHeadlessPlatform();
    if (!ApplyOptions(options, status)) return status;
    if (!ReadLocaleSettings()) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    ConnectLinkOpener();
    for (const CommandRow& row : commands) {
        if (row.command == options.command) return TellStops(row.run(options));
    }
    return EXIT_USAGE;
}

}  // namespace
}  // namespace tally

int main(int count, char** arguments) {
    std::set_new_handler(tally::NoMemory);
    tally::SetLanguage(tally::LanguageFromEnvironment());
    tally::Options options;
    int status = tally::EXIT_GOOD;
    if (!tally::ReadOptions(count, arguments, options, status)) return status;
    return tally::Run(options);
}
