#pragma once
// The platform without a screen: for the command-line program and for tests. What it would show it
// records, what it would ask it answers from a script, and its clock and region can be fixed.

#include "base/ForeignPlatform.h"
#include "base/Platform.h"

namespace tally {

// A box that was shown, and what it was answered.
struct RecordedBox {
    WideText text;
    WideText title;
    u32 flags = 0;
    i32 answer = 0;
};

// A file that exists only inside this process.
struct MemoryFile {
    WideText path;
    Array<u8> bytes;
    u64 version = 0;  // another one after each writing
};

// A program that was asked for.
struct RecordedProgram {
    WideText line;
    ShowState show = SW_SHOWNORMAL;
};

struct HeadlessState {
    char tag[36] = "en-US";
    u32 ansiCodePage = 0;  // 0: that of the region
    u32 textCodePage = 65001;
    bool fixedClock = false;
    SystemTime clock = {};            // when fixed
    TrustState trust = TRUST_CLOSED;  // of everything but links
    TrustState links = TRUST_CLOSED;
    i32 dotsPerInch = 96;  // of the screen; its font is 13 pixels high at 96
    // Called for each box; null records only.
    void (*boxShown)(WideView text, u32 flags) = nullptr;
    Array<RecordedBox> boxes;
    // Answers of the next boxes, first first. Afterwards every box is answered with the button that
    // changes nothing: Cancel, else No, else OK.
    Array<i32> answers;
    u32 answersUsed = 0;
    // Files kept in memory instead of on disk.
    bool filesInMemory = false;
    Array<MemoryFile> files;
    // The n-th file operation from now on fails, counted from 1; 0 none does.
    u32 failFileOperation = 0;
    bool failsFromThere = false;  // and so does every one behind it
    u32 fileOperations = 0;
    bool recoversOnDisk = false;  // unsaved books are kept among the user's own files when these are on disk
    u32 process = 1;              // the process that is played: what another one has locked in memory is lost
    // Files that were asked for, by the user and by a book; the refused ones count.
    u32 ownReads = 0;
    u32 foreignReads = 0;
    // Programs and libraries are those of the system. Otherwise they are recorded and answered from here.
    bool reachesSystem = false;
    Array<RecordedProgram> programs;
    u32 programNumber = 0;      // of the next program; 0: it does not start
    Array<WideText> libraries;  // that were asked for; the handle tells the place, from 1
    bool loadsLibraries = false;
    LibraryProcedure procedure = nullptr;  // what every name in a library stands for
    u32 librariesFreed = 0;
};
HeadlessState& Headless();
// Counts a file operation; true for one that is to fail.
bool HeadlessFileOperationFails();

// Puts the headless platform in force in its first state: en-US, the real clock, files on disk.
void UseHeadlessPlatform();
// False, and nothing changed, for a language that the program does not know.
[[nodiscard]] bool SetHeadlessRegion(std::string_view tag);
void ResetHeadlessPlatform();

// ---- for tests ------------------------------------------------------------------------------------
[[nodiscard]] bool PutMemoryFile(WideView path, ByteView bytes);
const MemoryFile* FindMemoryFile(WideView path);

}  // namespace tally
