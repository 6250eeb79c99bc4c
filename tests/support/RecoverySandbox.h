#pragma once
// A program that is killed and started again.

#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/RandomUser.h"

namespace tally {

// Controls of the dialog that offers books, by their numbers.
constexpr WideView OFFERED_BOOKS = u"101", OPEN_OFFERED = u"103", DISCARD_OFFERED = u"104";

class RecoverySandbox : public RandomUser {
  protected:
    void TearDown() override;

    // The journal's timer, until it does not run any more.
    static void Tick();
    // The process ends without a word, and another one begins.
    static void Kill();
    // The window has been painted, and the timer that looks for lost books comes.
    static void LookForBooks();
    // Kill, and the one book that is offered is opened.
    static void KillAndRecover();
    static std::vector<std::string> JournalFiles();
    // What a file keeps of what is used: the areas of a rule in their own order, and of macro sheets the
    // formulas without their values.
    static std::vector<std::string> KeptOfBook();
    // A book at random, which the journal keeps from now on.
    void StartKeptBook(u32 seed);
    // What the shell does behind each message, and all that the journal has to do.
    static void KeepNow();
    // A message that does nothing but be handled.
    static void SendNothing();
    static std::string Title();
};

void SendTimer(i32 timer);

}  // namespace tally
