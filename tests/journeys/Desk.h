#pragma once
// The desktop program in a real window on a virtual display: what a user types and clicks goes through the
// display server, and what comes of it is read from window titles and saved files.

#include <string>
#include <vector>

namespace tally::journeys {

struct Output {
    int code = -1;
    std::string text;
};
// Runs a program to its end; code 127 when it is not there.
Output RunTool(const std::vector<std::string>& arguments);

// Starts the display server and a window manager, once. False, with what is missing, when they cannot be had.
bool OpenDisplay(std::string& missing);
void CloseDisplay();

// A message bus of this run's own, on an open display. False, with what is missing, when it does not start.
bool OpenBus(std::string& missing);
// An input method on the bus, with this engine; programs that start from now on use it.
bool OpenInputMethod(const std::string& engine);
// Ends the program, the input method and the bus.
void CloseInputMethod();

// Starts the program with these arguments; one at a time.
void StartProgram(const std::vector<std::string>& arguments);
// Waits for the end of the program and gives its exit code; -1 when it does not end.
int ProgramEnd();
// Ends the program without giving it the time for anything.
void KillProgram();
// What the program keeps for its next start is gone.
void ForgetState();
// Ends a program that a failed test has left running.
void StopProgram();

// A directory of this run's own, with a separator at its end.
std::string Scratch();
void WriteBytes(const std::string& path, const std::string& bytes);

// ---- what a user does ----------------------------------------------------------------------------------
void Press(const std::vector<std::string>& keys);
// Opens a menu by its key and picks an item by its letter; the menu is gone afterwards.
void PickFromMenu(const std::string& menu, const std::string& item);
void Type(const std::string& text);
// One press, move and release with the left button, in pixels of the screen.
void Click(int x, int y);
void Drag(int fromX, int fromY, int toX, int toY);
void Wheel(int x, int y, int notches);  // below zero towards the user
constexpr int SCREEN_WIDTH = 1280, SCREEN_HEIGHT = 800;

// ---- what a user sees ------------------------------------------------------------------------------------
// Waits until the window in front has this title and the keyboard. False when it never comes.
bool WaitForTitle(const std::string& title);
// Waits a second for another title.
bool WaitForOtherTitle(const std::string& title);
// Title of the window in front now.
std::string Title();
// The pixels of the screen, line by line.
struct Picture {
    std::string lines;
    std::size_t lineBytes = 0;
};
Picture Screen();
// Waits until more than a blinking caret is different on the screen.
bool WaitForOtherPicture(const Picture& before);
// Waits for a file and gives its bytes; empty when it never comes.
std::string SavedText(const std::string& path);

}  // namespace tally::journeys
