#include "support/RecoverySandbox.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>

#include "editing/Undo.h"
#include "platform/headless/HeadlessShell.h"
#include "recovery/Journal.h"
#include "shell/frame/Shell.h"
#include "shell/state/ShellState.h"
#include "support/BookDump.h"

namespace tally {
namespace {

// The areas among some words, column by column, however they were cut.
std::string InOneWay(std::vector<std::string>& words) {
    std::map<int, std::map<int, int>> columns;  // first row of a run: the last
    std::string rest;
    for (const std::string& word : words) {
        int firstRow = 0, lastRow = 0, firstColumn = 0, lastColumn = 0;
        if (std::sscanf(word.c_str(), "%d:%d,%d:%d", &firstRow, &lastRow, &firstColumn, &lastColumn) != 4) {
            rest += word + " ";
            continue;
        }
        for (int column = firstColumn; column <= lastColumn; ++column) columns[column][firstRow] = lastRow;
    }
    for (auto& [column, runs] : columns) {
        int end = -2;
        for (const auto& [first, last] : runs) {
            if (first != end + 1) rest += " column " + std::to_string(column) + ": " + std::to_string(first);
            else rest.erase(rest.rfind('-'));
            end = last;
            rest += "-" + std::to_string(last);
        }
    }
    return rest;
}

}  // namespace

void SendTimer(i32 timer) {
    ShellMessage message;
    message.message = WM_TIMER;
    message.command = timer;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

void RecoverySandbox::TearDown() {
    ResetJournal();
    RandomUser::TearDown();
}

void RecoverySandbox::Tick() {
    for (int turn = 0; turn < 1000 && HeadlessFrame().timers[TIMER_JOURNAL]; ++turn) SendTimer(TIMER_JOURNAL);
    ASSERT_FALSE(HeadlessFrame().timers[TIMER_JOURNAL]);
}

void RecoverySandbox::Kill() {
    // What a process that is gone would have done must not be done: no call tells the journal of the end.
    ResetJournal();
    ForgetBooks();
    ++Headless().process;
    ResetHeadlessShell();
    ResetHeadlessDialogs();
    UseHeadlessShell();
    ResetShell();
    StartShell(u"");
}

void RecoverySandbox::LookForBooks() {
    tally::PaintHeadless();
    SendTimer(TIMER_LOST_BOOKS);
}

void RecoverySandbox::KillAndRecover() {
    Kill();
    ASSERT_TRUE(AnswerDialog(true));
    ASSERT_TRUE(EnterInDialog(OPEN_OFFERED, u""));
    LookForBooks();
}

std::vector<std::string> RecoverySandbox::JournalFiles() {
    std::vector<std::string> names;
    for (const MemoryFile& file : Headless().files)
        if (file.path.View().starts_with(u"/recovery/")) names.push_back(Narrow(file.path.View().substr(10)));
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> RecoverySandbox::KeptOfBook() {
    std::vector<std::string> kept;
    for (std::string& line : DumpBook(CurrentBook(), DUMP_ALL & ~u32{DUMP_VIEWS | DUMP_TABLES})) {
        std::replace(line.begin(), line.end(), '|', ' ');
        std::istringstream words(line);
        std::vector<std::string> all{std::istream_iterator<std::string>(words), {}};
        const bool onSheet = all.size() > 4 && all[0] == "sheet";
        if (onSheet && all[2] == "cell" && all[4] == "value" &&
            SheetAt(CurrentBook(), std::stoi(all[1]))->kind == SHEET_MACRO)
            continue;
        kept.push_back(InOneWay(all));
    }
    std::sort(kept.begin(), kept.end());
    return kept;
}

void RecoverySandbox::StartKeptBook(u32 seed) {
    StartBook(seed);
    ConnectJournal(true);
    CurrentWorkbook()->dirty = 1;
    KeepNow();
}

void RecoverySandbox::KeepNow() {
    SendNothing();
    Tick();
}

void RecoverySandbox::SendNothing() {
    ShellMessage nothing;
    nothing.message = WM_SETFOCUS;
    IgnoreFailure(FrameCallsInUse().sendMessage(nothing));
}

std::string RecoverySandbox::Title() { return Narrow(HeadlessFrame().title); }

}  // namespace tally
