#pragma once
// A user who does anything at all: keys, texts, the mouse, commands, dialogs and boxes answered at random,
// files saved and opened again, another program's clipboard, another screen.

#include <deque>
#include <random>
#include <string>

#include "base/Base.h"

namespace tally {

struct Monkey {
    std::mt19937 random;
    std::deque<std::string> trail;  // the last acts, to tell how a fault came
    u64 acts = 0;
    u32 commands = 0, saved = 0, opened = 0, dialogs = 0, undone = 0;  // what it got to

    explicit Monkey(u32 seed) : random(seed) {}
};

// One act. The headless platform and a started shell must be in force; files are expected in memory.
void ActAtRandom(Monkey& monkey);
// Paints all, and undoes all that can be undone.
void TakeAllBack(Monkey& monkey);
std::string TrailOf(const Monkey& monkey);

}  // namespace tally
